// Network-parameter conversions over stacks of matrices, and renormalisation.

#include <korvantix/container.hpp>
#include <korvantix/network.hpp>

#include <algorithm>
#include <string>
#include <vector>

#include "bindings.hpp"

namespace korvantix::python {

namespace {

using Conversion = Matrix (*)(const Matrix&, const std::vector<Complex>&);

// One library call per matrix of a (N, N) or (F, N, N) stack; zref a number, (N,) or (F, N).
py::object convert(Conversion conversion, py::handle matrices, py::handle zref_obj) {
  py::array a = py::array::ensure(matrices);
  if (!a || (a.ndim() != 2 && a.ndim() != 3) || a.shape(a.ndim() - 1) != a.shape(a.ndim() - 2)) {
    PyErr_Clear();
    throw py::value_error("expected a complex array of shape (N, N) or (F, N, N)");
  }
  const bool single = a.ndim() == 2;
  const py::ssize_t f_count = single ? 1 : a.shape(0);
  const py::ssize_t ports = a.shape(a.ndim() - 1);
  const ComplexArray m = single
                             ? complex_array(a, "matrix", {ports, ports}, "(N, N)")
                             : complex_array(a, "matrices", {f_count, ports, ports}, "(F, N, N)");
  const py::array zref_probe = py::array::ensure(zref_obj);
  const py::ssize_t zref_dims = zref_probe ? zref_probe.ndim() : 1;
  PyErr_Clear();
  ComplexArray zref;
  if (zref_dims == 0) {
    zref = complex_array(zref_obj, "zref", {}, "() or (N,) or (F, N)");
  } else if (zref_dims == 1 || single) {
    zref = complex_array(zref_obj, "zref", {ports}, "() or (N,) or (F, N)");
  } else {
    zref = complex_array(zref_obj, "zref", {f_count, ports}, "() or (N,) or (F, N)");
  }
  const auto n = static_cast<std::size_t>(ports);
  ComplexArray out(std::vector<py::ssize_t>(a.shape(), a.shape() + a.ndim()));
  const Complex* src = m.data();
  const Complex* zd = zref.data();
  Complex* dst = out.mutable_data();
  {
    py::gil_scoped_release release;
    Matrix matrix(n * n);
    std::vector<Complex> z(n);
    for (py::ssize_t k = 0; k < f_count; ++k) {
      std::copy(src + k * ports * ports, src + (k + 1) * ports * ports, matrix.begin());
      for (std::size_t i = 0; i < n; ++i)
        z[i] = zref_dims == 0 ? zd[0] : zref_dims == 1 ? zd[i] : zd[k * ports + i];
      const Matrix result = conversion(matrix, z);
      std::copy(result.begin(), result.end(), dst + k * ports * ports);
    }
  }
  return std::move(out);
}

void def_conversion(py::module_& m, const char* name, Conversion conversion, const char* doc) {
  m.def(
      name,
      [conversion](py::handle matrices, py::handle zref) {
        return convert(conversion, matrices, zref);
      },
      py::arg("matrices"), py::arg("zref") = 50.0, doc);
}

}  // namespace

void bind_network(py::module_& m) {
  def_conversion(m, "s_to_z", &s_to_z, "Impedance parameters of S, (N, N) or (F, N, N).");
  def_conversion(m, "z_to_s", &z_to_s, "Scattering parameters of Z.");
  def_conversion(m, "s_to_y", &s_to_y, "Admittance parameters of S.");
  def_conversion(m, "y_to_s", &y_to_s, "Scattering parameters of Y.");
  def_conversion(m, "s_to_h", &s_to_h,
                 "Hybrid parameters of a 2-port S. RuntimeError \"s_to_h needs 2 ports, found "
                 "<N>\" for another port count.");
  def_conversion(m, "h_to_s", &h_to_s, "Scattering parameters of a 2-port H.");
  def_conversion(m, "s_to_g", &s_to_g, "Inverse hybrid parameters of a 2-port S.");
  def_conversion(m, "g_to_s", &g_to_s, "Scattering parameters of a 2-port G.");
  def_conversion(m, "s_to_abcd", &s_to_abcd, "Chain (ABCD) parameters of a 2-port S.");
  def_conversion(m, "abcd_to_s", &abcd_to_s, "Scattering parameters of a 2-port ABCD.");
  m.def(
      "renormalize",
      [](const SMatrixContainer& c, py::handle zref_obj) {
        const auto ports = static_cast<py::ssize_t>(c.nbPorts());
        const ComplexArray z = complex_array(zref_obj, "zref", {ports}, "(N,)");
        const std::vector<Complex> zref(z.data(), z.data() + z.size());
        py::gil_scoped_release release;
        return renormalize(c, zref);
      },
      py::arg("container"), py::arg("zref"),
      "A copy of the container with every sample referred to the impedances zref (N,). "
      "RuntimeError \"renormalize needs samples: the container holds models\".");
}

}  // namespace korvantix::python
