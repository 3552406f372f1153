// Comparison of networks and of scalar models.

#include <korvantix/compare.hpp>

#include <tuple>
#include <vector>

#include "bindings.hpp"

namespace korvantix::python {

namespace {

py::tuple located(const DistanceLocation& d) {
  const auto& [f, row, column] = d.second;
  return py::make_tuple(d.first, f, row, column);
}

}  // namespace

void bind_compare(py::module_& m) {
  m.def(
      "distance",
      [](const SMatrixEvaluator& a, const SMatrixEvaluator& b, py::handle freqs_obj,
         InterpolationType t) {
        const std::vector<double> freqs = real_vector(freqs_obj, "freqs");
        py::gil_scoped_release release;
        return distance(a, b, freqs, t);
      },
      py::arg("a"), py::arg("b"), py::arg("freqs"), py::arg("interpolation") = MAG_PHASE,
      "RMS of |a - b| over every S entry at every frequency. RuntimeError \"no frequencies to "
      "compare at\" and \"cannot compare networks of <Na> and <Nb> ports\".");
  m.def(
      "distance",
      [](const ScalarModel& a, const ScalarModel& b, py::handle freqs_obj) {
        const std::vector<double> freqs = real_vector(freqs_obj, "freqs");
        py::gil_scoped_release release;
        return distance(a, b, freqs);
      },
      py::arg("a"), py::arg("b"), py::arg("freqs"), "RMS of |a - b| over the frequencies.");
  m.def(
      "max_distance",
      [](const SMatrixEvaluator& a, const SMatrixEvaluator& b, py::handle freqs_obj,
         InterpolationType t) {
        const std::vector<double> freqs = real_vector(freqs_obj, "freqs");
        DistanceLocation d;
        {
          py::gil_scoped_release release;
          d = max_distance(a, b, freqs, t);
        }
        return located(d);
      },
      py::arg("a"), py::arg("b"), py::arg("freqs"), py::arg("interpolation") = MAG_PHASE,
      "(value, frequency, row, column) of the largest |a - b|, first in frequency order, then "
      "row, then column; NaN wins. Raises as distance does.");
  m.def(
      "max_distance",
      [](const ScalarModel& a, const ScalarModel& b, py::handle freqs_obj) {
        const std::vector<double> freqs = real_vector(freqs_obj, "freqs");
        DistanceLocation d;
        {
          py::gil_scoped_release release;
          d = max_distance(a, b, freqs);
        }
        return located(d);
      },
      py::arg("a"), py::arg("b"), py::arg("freqs"),
      "(value, frequency, 0, 0) of the largest |a - b| over the frequencies.");
}

}  // namespace korvantix::python
