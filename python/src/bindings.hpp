#pragma once

// What the binding files share: the array conversions at the boundary and the functions that
// register each family with the module.

#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>
#include <pybind11/stl.h>

#include <complex>
#include <cstddef>
#include <sstream>
#include <string>
#include <vector>

namespace korvantix::python {

namespace py = pybind11;
using Complex = std::complex<double>;
using ComplexArray = py::array_t<Complex, py::array::c_style>;
using RealArray = py::array_t<double, py::array::c_style>;

/// Frequencies given as a number, a sequence or a real array of shape (F,). `scalar` tells
/// whether a single number was given (the caller then drops the frequency axis of its result).
/// Throws py::value_error "<name> must be a real array of shape (F,), got <what>".
std::vector<double> real_vector(py::handle obj, const char* name, bool* scalar = nullptr);
/// A complex list such as coefficients or poles: any real or complex array of shape (K,).
std::vector<Complex> complex_vector(py::handle obj, const char* name);
/// obj as a contiguous complex128 array of exactly `shape`; `expected` is the shape as the
/// message names it, e.g. "(F, N, N)". Throws py::value_error naming both.
py::array_t<Complex, py::array::c_style> complex_array(py::handle obj, const char* name,
                                                       const std::vector<py::ssize_t>& shape,
                                                       const char* expected);
/// A new real array holding values.
RealArray to_array(const std::vector<double>& values);
/// A new complex array holding values.
ComplexArray to_array(const std::vector<Complex>& values);
/// A path from str, bytes or os.PathLike, as the bytes the file system sees.
std::string path_of(py::handle obj);
/// The text an object prints with operator<<.
template <typename T>
std::string text_of(const T& value) {
  std::ostringstream out;
  out << value;
  return out.str();
}

void bind_scalar(py::module_& m);
void bind_model(py::module_& m);
void bind_container(py::module_& m);
void bind_io(py::module_& m);
void bind_compare(py::module_& m);
void bind_network(py::module_& m);

}  // namespace korvantix::python
