// The S-matrix container: samples in and out as arrays, evaluation over arrays of frequencies.

#include <korvantix/container.hpp>
#include <korvantix/model.hpp>

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <numeric>
#include <sstream>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "bindings.hpp"

namespace korvantix::python {

namespace {

void copy_s(const SMatrixSample& s, std::size_t n, Complex* dst) {
  if (s.S().size() != n * n) {
    std::ostringstream text;
    text << "S-matrix sample at " << s.frequency() << " Hz has " << s.nbPorts()
         << " ports, the container has " << n;
    throw std::runtime_error(text.str());
  }
  std::copy(s.S().begin(), s.S().end(), dst);
}

py::object evaluate(const SMatrixContainer& c, py::handle freqs_obj, InterpolationType t) {
  bool scalar = false;
  const std::vector<double> freqs = real_vector(freqs_obj, "freqs", &scalar);
  const auto ports = static_cast<py::ssize_t>(c.nbPorts());
  ComplexArray out({static_cast<py::ssize_t>(freqs.size()), ports, ports});
  Complex* dst = out.mutable_data();
  {
    py::gil_scoped_release release;
    c.load_S(freqs.data(), freqs.size(), t, dst, 0);
  }
  if (scalar) return out[py::int_(0)];
  return std::move(out);
}

py::tuple samples(const SMatrixContainer& c) {
  const std::size_t n = c.nbPorts();
  const auto count = static_cast<py::ssize_t>(c.nbSamples());
  const auto ports = static_cast<py::ssize_t>(n);
  RealArray freqs(count);
  ComplexArray s({count, ports, ports});
  ComplexArray zref({count, ports});
  double* f = freqs.mutable_data();
  Complex* sd = s.mutable_data();
  Complex* zd = zref.mutable_data();
  {
    py::gil_scoped_release release;
    for (auto it = c.begin_samples(); it != c.end_samples(); ++it) {
      copy_s(*it, n, sd);
      sd += n * n;
      zd = std::copy(it->Zref().begin(), it->Zref().end(), zd);
      *f++ = it->frequency();
    }
  }
  return py::make_tuple(freqs, s, zref);
}

// Samples with the container's port-data keys (0 unless port_data gives values).
std::vector<SMatrixSample> make_samples(const SMatrixContainer& c, py::handle freqs_obj,
                                        py::handle s_obj, py::handle zref_obj,
                                        py::handle port_data) {
  const std::vector<double> freqs = real_vector(freqs_obj, "freqs");
  const std::size_t n = c.nbPorts();
  const auto f_count = static_cast<py::ssize_t>(freqs.size());
  const auto ports = static_cast<py::ssize_t>(n);
  const ComplexArray s = complex_array(s_obj, "s", {f_count, ports, ports}, "(F, N, N)");
  // zref: one value for every port and frequency, one per port, or one per port and frequency.
  const py::ssize_t zref_dims =
      py::array::ensure(zref_obj) ? py::array::ensure(zref_obj).ndim() : 1;
  ComplexArray zref;
  std::size_t zref_stride = 0;
  if (zref_dims == 0) {
    zref = complex_array(zref_obj, "zref", {}, "() or (N,) or (F, N)");
  } else if (zref_dims == 1) {
    zref = complex_array(zref_obj, "zref", {ports}, "() or (N,) or (F, N)");
  } else {
    zref = complex_array(zref_obj, "zref", {f_count, ports}, "() or (N,) or (F, N)");
    zref_stride = n;
  }
  const std::vector<PortDataName>& names = c.port_data_names();
  std::vector<std::pair<PortDataName, ComplexArray>> data;
  if (!port_data.is_none()) {
    for (auto item : py::cast<py::dict>(port_data)) {
      data.emplace_back(item.first.cast<PortDataName>(),
                        complex_array(item.second, "port_data value", {f_count}, "(F,)"));
    }
  }

  std::vector<SMatrixSample> result;
  result.reserve(freqs.size());
  const Complex* sd = s.data();
  const Complex* zd = zref.data();
  for (std::size_t k = 0; k < freqs.size(); ++k) {
    SMatrixSample sample(n, freqs[k], names);
    std::copy(sd + k * n * n, sd + (k + 1) * n * n, sample.S().begin());
    for (std::size_t i = 0; i < n; ++i)
      sample.Zref(i) = zref_dims == 0 ? zd[0] : zd[k * zref_stride + i];
    for (const auto& [key, values] : data)
      sample.set(key, values.data()[k]);
    result.push_back(std::move(sample));
  }
  return result;
}

// All samples or none: every conflict the container would report is found before anything is
// added, and the failing add is then replayed where it cannot change anything, so the error
// carries the container's own message.
void add_samples(SMatrixContainer& c, py::handle freqs, py::handle s, py::handle zref,
                 py::handle port_data) {
  std::vector<SMatrixSample> batch = make_samples(c, freqs, s, zref, port_data);
  py::gil_scoped_release release;
  std::vector<std::size_t> order(batch.size());
  std::iota(order.begin(), order.end(), 0);
  std::stable_sort(order.begin(), order.end(), [&](std::size_t a, std::size_t b) {
    return batch[a].frequency() < batch[b].frequency();
  });
  // The first listed sample whose frequency is stored or repeats an earlier listed one.
  std::size_t conflict = batch.size();
  std::size_t earlier = batch.size();
  auto stored = c.begin_samples();
  for (std::size_t k = 0; k < order.size(); ++k) {
    const double f = batch[order[k]].frequency();
    while (stored != c.end_samples() && stored->frequency() < f)
      ++stored;
    const bool repeated = k > 0 && batch[order[k - 1]].frequency() == f;
    const bool is_stored = stored != c.end_samples() && stored->frequency() == f;
    if ((repeated || is_stored) && order[k] < conflict) {
      conflict = order[k];
      earlier = repeated ? order[k - 1] : batch.size();
    }
  }
  if (conflict < batch.size()) {
    if (earlier == batch.size()) {
      c.add(batch[conflict]);  // throws, c unchanged
    } else {
      SMatrixContainer scratch(c.nbPorts(), c.port_data_names());
      scratch.add(batch[earlier]);
      scratch.add(batch[conflict]);  // throws the duplicate's message
    }
  }
  for (std::size_t k : order)
    c.add(std::move(batch[k]));
}

std::vector<std::string> port_names(const SMatrixContainer& c) {
  std::vector<std::string> names;
  for (std::size_t i = 0; i < c.nbPorts(); ++i)
    names.push_back(c.name(i));
  return names;
}

void set_port_names(SMatrixContainer& c, const std::vector<std::string>& names) {
  if (names.size() != c.nbPorts()) {
    throw py::value_error("expected " + std::to_string(c.nbPorts()) + " port names, found " +
                          std::to_string(names.size()));
  }
  for (std::size_t i = 0; i < names.size(); ++i)
    c.name(i) = names[i];
}

// Seconds the C++ evaluation of the same queries takes as a C++ user would call it, into an
// array with load_S (into `out`, a fresh array from the caller, whose memory numpy obtains as
// it does for evaluate) or into samples with load (out None): the baselines of
// python/bench/evaluate.py, timed here so that no Python conversion is counted.
double cpp_load_seconds(const SMatrixContainer& c, py::handle freqs_obj, py::object out) {
  const std::vector<double> freqs = real_vector(freqs_obj, "freqs");
  Complex* s = nullptr;
  if (!out.is_none()) {
    auto array = out.cast<ComplexArray>();
    if (static_cast<std::size_t>(array.size()) != freqs.size() * c.nbPorts() * c.nbPorts())
      throw py::value_error("out has the wrong size");
    s = array.mutable_data();
  }
  py::gil_scoped_release release;
  const auto start = std::chrono::steady_clock::now();
  if (s != nullptr) {
    c.load_S(freqs.data(), freqs.size(), MAG_PHASE, s, 0);
  } else {
    std::vector<SMatrixSample> result;
    c.load(freqs, result, 0);
  }
  const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - start;
  return elapsed.count();
}

}  // namespace

void bind_container(py::module_& m) {
  using C = SMatrixContainer;
  py::class_<C, SMatrixEvaluator>(
      m, "SMatrixContainer",
      "Samples and models of one N-port network, with port names and properties, evaluated at "
      "any frequency.")
      .def(py::init<std::size_t, const std::vector<PortDataName>&>(), py::arg("n") = 0,
           py::arg("port_data_names") = std::vector<PortDataName>(),
           "Ports port_0 .. port_<n-1>; port_data_names is a list of (name, port) keys that "
           "every sample and model carries.")
      .def_property("port_names", &port_names, &set_port_names,
                    "The port names, a list of N str (ValueError for another length).")
      .def_property_readonly(
          "port_data_names", [](const C& c) { return c.port_data_names(); },
          "The (name, port) keys of the port data, sorted.")
      .def("add_samples", &add_samples, py::arg("freqs"), py::arg("s"), py::arg("zref") = 50.0,
           py::arg("port_data") = py::none(),
           "Adds one sample per frequency: freqs (F,), s (F, N, N), zref a number, (N,) or "
           "(F, N); port_data maps (name, port) keys to (F,) arrays (keys not given are 0). "
           "All samples or none are added: RuntimeError \"S-matrix sample at <f> Hz is already "
           "available\" for a frequency stored or given twice.")
      .def("samples", &samples,
           "The stored samples as (freqs (F,), s (F, N, N), zref (F, N)), by frequency.")
      .def("evaluate", &evaluate, py::arg("freqs"), py::arg("interpolation") = MAG_PHASE,
           "S at freqs: complex128 of shape (F, N, N), (N, N) for a single number. RuntimeError "
           "\"<f> Hz does not belong to [<from>, <to>] Hz\" outside the data.")
      .def(
          "add", [](C& c, const SMatrixModel& model) { c.add(model); }, py::arg("model"),
          "Adds a copy of an SMatrixModel. RuntimeError when its band overlaps a stored model.")
      .def("nbSamples", &C::nbSamples, "The number of stored samples.")
      .def("nbModels", &C::nbModels, "The number of stored models.")
      .def(
          "models",
          [](const C& c) { return std::vector<SMatrixModel>(c.begin_models(), c.end_models()); },
          "Copies of the stored models, by band.")
      .def("empty", &C::empty, "True without samples and models.")
      .def(
          "sample_frequencies",
          [](const C& c, std::size_t n, SamplingType type, std::optional<double> fmin,
             std::optional<double> fmax) {
            std::vector<double> freqs;
            {
              py::gil_scoped_release release;
              freqs = c.sample_frequencies(n, type, fmin, fmax);
            }
            return to_array(freqs);
          },
          py::arg("n"), py::arg("type") = Linear, py::arg("fmin") = py::none(),
          py::arg("fmax") = py::none(),
          "A plan of n frequencies that keeps every discrete frequency (Linear, Logarithmic, "
          "LinearLogarithmic or Adaptive).")
      .def(
          "discrete_frequencies", [](const C& c) { return to_array(c.discrete_frequencies()); },
          "The sample frequencies and model band edges, ascending.")
      .def(
          "permute",
          [](const C& c, const std::vector<std::string>& names) { return c.permute(names); },
          py::arg("names"), "A container whose port k is the port named names[k].")
      .def("load_random_pole_zero_models", &C::load_random_pole_zero_models, py::arg("fmin"),
           py::arg("fmax"), py::arg("nb_poles"), py::arg("nb_zeros"),
           "Adds a reproducible random stable pole-zero model over [fmin, fmax].")
      .def("add_global_property", &C::add_global_property, py::arg("key"), py::arg("value"),
           "Sets a global property. RuntimeError \"invalid property key=<key>, val=<value>\" "
           "for an empty key.")
      .def("add_port_property", &C::add_port_property, py::arg("port"), py::arg("key"),
           py::arg("value"),
           "Sets a property of a port (port N: the global map). IndexError \"invalid vector "
           "subscript\" for port > N.")
      .def(
          "global_properties", [](const C& c) { return c.get_global_properties(); },
          "The global properties as a dict.")
      .def(
          "port_properties", [](const C& c, std::size_t i) { return c.get_port_properties(i); },
          py::arg("port"), "The properties of a port as a dict.")
      .def("clear_samples", &C::clear_samples, "Drops every sample.")
      .def("clear_models", &C::clear_models, "Drops every model.")
      .def("__eq__", &C::operator==, py::is_operator(),
           "Exact equality of ports, names, properties, samples and models.")
      .def("__copy__", [](const C& c) { return C(c); })
      .def(
          "__deepcopy__", [](const C& c, py::dict) { return C(c); }, py::arg("memo"))
      .def("__str__", [](const C& c) { return text_of(c); })
      .def("__repr__", [](const C& c) {
        return "<SMatrixContainer " + std::to_string(c.nbPorts()) + " ports, " +
               std::to_string(c.nbSamples()) + " samples, " + std::to_string(c.nbModels()) +
               " models>";
      });
  m.attr("SMatrixContainer").attr("__hash__") = py::none();
  m.def("_cpp_load_seconds", &cpp_load_seconds, py::arg("container"), py::arg("freqs"),
        py::arg("out"),
        "Benchmark baseline: seconds of SMatrixContainer::load_S into out, or of load when out "
        "is None, at freqs with MAG_PHASE, timed in C++.");
}

}  // namespace korvantix::python
