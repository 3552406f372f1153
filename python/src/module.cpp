// The extension module korvantix._korvantix: the shared vocabulary (enumerations, the evaluator
// base), the array conversions, then each family from its own file.

#include <korvantix/evaluator.hpp>
#include <korvantix/export.hpp>
#include <korvantix/import.hpp>
#include <korvantix/io.hpp>
#include <korvantix/model.hpp>
#include <korvantix/version.hpp>

#include <string>
#include <utility>

#include "bindings.hpp"

namespace korvantix::python {

namespace {

std::string shape_text(const py::array& a) {
  std::string text = "(";
  for (py::ssize_t k = 0; k < a.ndim(); ++k) {
    if (k > 0) text += ", ";
    text += std::to_string(a.shape(k));
  }
  return text + (a.ndim() == 1 ? ",)" : ")");
}

// Numbers of any real kind (bool, integers, floats) convert; complex values, strings and
// objects do not, whatever numpy's casting rules would allow.
bool is_real_kind(const py::array& a) {
  const char kind = a.dtype().kind();
  return kind == 'b' || kind == 'i' || kind == 'u' || kind == 'f';
}

py::array as_numeric_array(py::handle obj, const char* name, const char* expected) {
  py::array a = py::array::ensure(obj);
  if (!a) {
    PyErr_Clear();
    throw py::value_error(std::string(name) + " must be an array of shape " + expected);
  }
  return a;
}

}  // namespace

std::vector<double> real_vector(py::handle obj, const char* name, bool* scalar) {
  py::array a = as_numeric_array(obj, name, "(F,)");
  if (!is_real_kind(a) || a.ndim() > 1 || (a.ndim() == 0 && scalar == nullptr)) {
    throw py::value_error(
        std::string(name) + " must be a real array of shape (F,), got " +
        (is_real_kind(a) ? "shape " + shape_text(a) : "dtype " + std::string(py::str(a.dtype()))));
  }
  if (scalar != nullptr) *scalar = a.ndim() == 0;
  auto values = py::array_t<double, py::array::c_style | py::array::forcecast>::ensure(a);
  return std::vector<double>(values.data(), values.data() + values.size());
}

std::vector<Complex> complex_vector(py::handle obj, const char* name) {
  py::array a = as_numeric_array(obj, name, "(K,)");
  const char kind = a.dtype().kind();
  if (a.ndim() != 1 || !(is_real_kind(a) || kind == 'c')) {
    throw py::value_error(
        std::string(name) + " must be a complex array of shape (K,), got " +
        (a.ndim() != 1 ? "shape " + shape_text(a) : "dtype " + std::string(py::str(a.dtype()))));
  }
  auto values = py::array_t<Complex, py::array::c_style | py::array::forcecast>::ensure(a);
  return std::vector<Complex>(values.data(), values.data() + values.size());
}

py::array_t<Complex, py::array::c_style> complex_array(py::handle obj, const char* name,
                                                       const std::vector<py::ssize_t>& shape,
                                                       const char* expected) {
  py::array a = as_numeric_array(obj, name, expected);
  const char kind = a.dtype().kind();
  bool fits = is_real_kind(a) || kind == 'c';
  fits = fits && a.ndim() == static_cast<py::ssize_t>(shape.size());
  for (std::size_t k = 0; fits && k < shape.size(); ++k)
    fits = a.shape(static_cast<py::ssize_t>(k)) == shape[k];
  if (!fits) {
    std::string wanted = "(";
    for (std::size_t k = 0; k < shape.size(); ++k)
      wanted += (k > 0 ? ", " : "") + std::to_string(shape[k]);
    wanted += shape.size() == 1 ? ",)" : ")";
    throw py::value_error(std::string(name) + " must be a complex array of shape " + expected +
                          " = " + wanted + ", got " +
                          (is_real_kind(a) || kind == 'c'
                               ? "shape " + shape_text(a)
                               : "dtype " + std::string(py::str(a.dtype()))));
  }
  return py::array_t<Complex, py::array::c_style | py::array::forcecast>::ensure(a);
}

RealArray to_array(const std::vector<double>& values) {
  RealArray a(static_cast<py::ssize_t>(values.size()));
  std::copy(values.begin(), values.end(), a.mutable_data());
  return a;
}

ComplexArray to_array(const std::vector<Complex>& values) {
  ComplexArray a(static_cast<py::ssize_t>(values.size()));
  std::copy(values.begin(), values.end(), a.mutable_data());
  return a;
}

std::string path_of(py::handle obj) {
  // os.fsencode gives the bytes the file system sees (str through the file system encoding,
  // bytes unchanged), so a path that is not UTF-8 reaches the library's own check.
  return py::module_::import("os").attr("fsencode")(obj).cast<std::string>();
}

}  // namespace korvantix::python

PYBIND11_MODULE(_korvantix, m) {
  namespace kvx = korvantix;
  namespace py = pybind11;
  // pybind11 already maps std::runtime_error to RuntimeError, std::out_of_range to IndexError
  // and std::range_error to ValueError, each with what() as the message: exactly the mapping
  // this module promises, so no translator of our own is registered.
  m.doc() = "S-parameter data of N-port networks: samples, models, containers and their files.";
  m.attr("__version__") = std::to_string(kvx::major_version()) + "." +
                          std::to_string(kvx::minor_version()) + "." +
                          std::to_string(kvx::patchlevel());

  py::enum_<kvx::InterpolationType>(m, "InterpolationType",
                                    "How a container interpolates between stored samples.")
      .value("REAL_IMAG", kvx::REAL_IMAG, "Linear in real and imaginary part.")
      .value("MAG_PHASE", kvx::MAG_PHASE, "Linear in magnitude and (shortest-way) phase.")
      .export_values();
  py::enum_<kvx::SamplingType>(m, "SamplingType", "Kinds of frequency plan.")
      .value("Linear", kvx::Linear)
      .value("Logarithmic", kvx::Logarithmic)
      .value("Adaptive", kvx::Adaptive)
      .value("LinearLogarithmic", kvx::LinearLogarithmic)
      .export_values();
  py::enum_<kvx::FileFormat>(m, "FileFormat", "The native kvx-file variants.")
      .value("ASCII", kvx::ASCII)
      .value("BINARY", kvx::BINARY)
      .export_values();
  py::enum_<kvx::ExportFormat>(m, "ExportFormat", "Foreign file formats written by write().")
      .value("Citifile", kvx::Citifile)
      .value("Touchstone", kvx::Touchstone, "Touchstone, version 1.1 or 2.0 as the data needs.")
      .value("TouchstoneV1", kvx::TouchstoneV1)
      .value("TouchstoneV2", kvx::TouchstoneV2)
      .export_values();
  py::enum_<kvx::DataFormat>(m, "DataFormat", "What identify() recognised.")
      .value("unknown", kvx::DataFormat::unknown)
      .value("kvx_ascii", kvx::DataFormat::kvx_ascii)
      .value("kvx_binary", kvx::DataFormat::kvx_binary)
      .value("touchstone", kvx::DataFormat::touchstone)
      .value("citifile", kvx::DataFormat::citifile);

  py::class_<kvx::SMatrixEvaluator>(m, "SMatrixEvaluator",
                                    "Base of everything that yields an S-matrix over frequency.")
      .def("nbPorts", &kvx::SMatrixEvaluator::nbPorts, "The number of ports N.")
      .def("is_symmetric", &kvx::SMatrixEvaluator::is_symmetric,
           "Whether S(i, j) equals S(j, i) everywhere.")
      .def(
          "band", [](const kvx::SMatrixEvaluator& e) { return std::make_pair(e.from(), e.to()); },
          "(from, to) in Hz. Raises RuntimeError \"empty container\" for an empty container.");

  korvantix::python::bind_scalar(m);
  korvantix::python::bind_model(m);
  korvantix::python::bind_container(m);
  korvantix::python::bind_io(m);
  korvantix::python::bind_compare(m);
  korvantix::python::bind_network(m);
}
