// S-matrix models: N x N scalar models over a frequency band.

#include <korvantix/model.hpp>
#include <korvantix/scalar.hpp>

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "bindings.hpp"

namespace korvantix::python {

namespace {

void check_port(const SMatrixModel& m, std::size_t i) {
  if (i >= m.nbPorts()) throw py::index_error("port index out of bounds");
}

std::unique_ptr<ScalarModel> clone(const ScalarModel& s) {
  return std::unique_ptr<ScalarModel>(s.clone());
}

}  // namespace

void bind_model(py::module_& m) {
  py::class_<SMatrixModel, SMatrixEvaluator>(
      m, "SMatrixModel",
      "An N-port S-matrix as scalar models over the band [from, to] Hz. Every entry starts as "
      "the zero polynomial; set() stores copies of the models given.")
      .def(py::init<std::size_t, double, double, const std::vector<PortDataName>&>(), py::arg("n"),
           py::arg("fmin"), py::arg("fmax"),
           py::arg("port_data_names") = std::vector<PortDataName>(),
           "Raises RuntimeError \"invalid frequency range [<from> , <to>]\" unless fmin <= fmax.")
      .def(
          "set",
          [](SMatrixModel& self, std::size_t i, std::size_t j, const ScalarModel& s) {
            check_port(self, i);
            check_port(self, j);
            self.set(i, j, &s);
          },
          py::arg("i"), py::arg("j"), py::arg("model"),
          "Stores a copy of model as S entry (i, j). IndexError for an index >= N.")
      .def(
          "get",
          [](const SMatrixModel& self, std::size_t i, std::size_t j) {
            check_port(self, i);
            check_port(self, j);
            return clone(self(i, j));
          },
          py::arg("i"), py::arg("j"), "A copy of the model of S entry (i, j).")
      .def(
          "set_zref",
          [](SMatrixModel& self, std::size_t i, const ScalarModel& s) {
            check_port(self, i);
            self.setZref(i, &s);
          },
          py::arg("i"), py::arg("model"),
          "Stores a copy of model as the reference impedance of port i.")
      .def(
          "zref",
          [](const SMatrixModel& self, std::size_t i) {
            check_port(self, i);
            return clone(self.Zref(i));
          },
          py::arg("i"), "A copy of the reference-impedance model of port i.")
      .def(
          "set_port_data",
          [](SMatrixModel& self, const PortDataName& key, const ScalarModel& s) {
            self.set(key, &s);
          },
          py::arg("key"), py::arg("model"),
          "Replaces the model of an existing port-data key (name, port). RuntimeError "
          "\"<name>[<index>] is not available\" for another key.")
      .def_property_readonly("port_data_names", &SMatrixModel::port_data_names)
      .def(
          "evaluate",
          [](const SMatrixModel& self, py::handle freqs_obj) -> py::object {
            bool scalar = false;
            const std::vector<double> freqs = real_vector(freqs_obj, "freqs", &scalar);
            const std::size_t n = self.nbPorts();
            const auto f_count = static_cast<py::ssize_t>(freqs.size());
            const auto ports = static_cast<py::ssize_t>(n);
            ComplexArray out({f_count, ports, ports});
            Complex* dst = out.mutable_data();
            {
              py::gil_scoped_release release;
              for (double f : freqs) {
                const SMatrixSample s = self.evaluate(f, MAG_PHASE);
                dst = std::copy(s.S().begin(), s.S().end(), dst);
              }
            }
            if (scalar) return out[py::int_(0)];
            return std::move(out);
          },
          py::arg("freqs"),
          "S at freqs: complex128 of shape (F, N, N), (N, N) for a single number. IndexError "
          "\"<f> not in [<from> , <to>]\" for a frequency outside the band.")
      .def(
          "sample_frequencies",
          [](const SMatrixModel& self, std::size_t n, SamplingType type, bool endpoints) {
            std::vector<double> freqs;
            {
              py::gil_scoped_release release;
              freqs = self.sample_frequencies(n, type, endpoints);
            }
            return to_array(freqs);
          },
          py::arg("n"), py::arg("type") = Linear, py::arg("include_endpoints") = true,
          "n frequencies inside the band, spaced by type.")
      .def("__eq__", &SMatrixModel::operator==, py::is_operator())
      .def("__str__", [](const SMatrixModel& self) { return text_of(self); })
      .def("__repr__", [](const SMatrixModel& self) {
        return "<SMatrixModel " + std::to_string(self.nbPorts()) + " ports [" +
               py::str(py::float_(self.from())).cast<std::string>() + ", " +
               py::str(py::float_(self.to())).cast<std::string>() + "] Hz>";
      });
  m.attr("SMatrixModel").attr("__hash__") = py::none();
}

}  // namespace korvantix::python
