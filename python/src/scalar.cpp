// Scalar models: complex functions of the frequency, evaluated over arrays.

#include <korvantix/scalar.hpp>

#include <memory>
#include <vector>

#include "bindings.hpp"

namespace korvantix::python {

namespace {

using Owned = std::unique_ptr<ScalarModel>;

// The values at every frequency through the model's batch loop, without the GIL.
py::object evaluate(const ScalarModel& model, py::handle freqs_obj) {
  bool scalar = false;
  const std::vector<double> freqs = real_vector(freqs_obj, "freqs", &scalar);
  std::vector<Complex> values;
  {
    py::gil_scoped_release release;
    std::vector<Complex> work;
    model.evaluate(freqs, values, work);
  }
  if (scalar) return py::cast(values.front());
  return to_array(values);
}

}  // namespace

void bind_scalar(py::module_& m) {
  py::class_<ScalarModel>(m, "ScalarModel", "A complex function of the frequency in Hz.")
      .def("evaluate", &evaluate, py::arg("freqs"),
           "The values at freqs: complex128 of shape (F,), or a complex for a single number.")
      .def("__call__", &evaluate, py::arg("freqs"), "Same as evaluate.")
      .def(
          "derivative", [](const ScalarModel& s, double f) { return s.evaluate_derivative(f); },
          py::arg("freq"), "The first derivative at freq (each kind documents its variable).")
      .def(
          "type", [](const ScalarModel& s) { return static_cast<int>(s.type()); },
          "The type code stored in kvx-files (1 polynomial, 2 rational, 3 pole-zero, ...).")
      .def("empty", &ScalarModel::empty, "Whether the model carries no data.")
      .def(
          "__eq__", [](const ScalarModel& a, const ScalarModel& b) { return a.equal(&b); },
          py::is_operator())
      .def("__str__", [](const ScalarModel& s) { return text_of(&s); })
      .def(
          "conjugate", [](const ScalarModel& a) { return Owned(ScalarModel::createConjugate(&a)); },
          "The complex conjugate model.")
      .def(
          "norm", [](const ScalarModel& a) { return Owned(ScalarModel::createNorm(&a)); },
          "The model of |a|.")
      .def(
          "__add__",
          [](const ScalarModel& a, const ScalarModel& b) {
            return Owned(ScalarModel::createSum(&a, &b));
          },
          py::is_operator())
      .def(
          "__sub__",
          [](const ScalarModel& a, const ScalarModel& b) {
            return Owned(ScalarModel::createDifference(&a, &b));
          },
          py::is_operator())
      .def(
          "__mul__",
          [](const ScalarModel& a, const ScalarModel& b) {
            return Owned(ScalarModel::createProduct(&a, &b));
          },
          py::is_operator());
  // Comparison is by value, so instances are not hashable.
  m.attr("ScalarModel").attr("__hash__") = py::none();

  py::class_<PolynomialModel, ScalarModel>(m, "PolynomialModel",
                                           "sum of coefficients[k] * freq**k.")
      .def(py::init([](py::handle c) {
             return std::make_unique<PolynomialModel>(complex_vector(c, "coefficients"));
           }),
           py::arg("coefficients"), "Coefficients in ascending order of power, shape (K,).")
      .def_property_readonly(
          "coefficients", [](const PolynomialModel& p) { return to_array(p.coef()); },
          "The coefficients, ascending.");

  py::class_<RationalModel, ScalarModel>(
      m, "RationalModel", "num(x) / den(x) in the scaled frequency x = freq / scale.")
      .def(py::init([](py::handle num, py::handle den, double scale) {
             return std::make_unique<RationalModel>(complex_vector(num, "num"),
                                                    complex_vector(den, "den"), scale);
           }),
           py::arg("num"), py::arg("den"), py::arg("scale") = 1.0,
           "Ascending numerator and denominator coefficients and the frequency divisor.")
      .def_property_readonly("num", [](const RationalModel& r) { return to_array(r.nominator()); })
      .def_property_readonly("den",
                             [](const RationalModel& r) { return to_array(r.denominator()); })
      .def_property_readonly("scale", [](const RationalModel& r) { return r.scale(); });

  py::class_<PoleZeroModel, ScalarModel>(
      m, "PoleZeroModel", "d + e*s + sum(r_k / (s - p_k)) with s = 2j*pi*freq / scale.")
      .def(py::init([](double scale, py::handle poles, py::handle residues, Complex d, Complex e) {
             return std::make_unique<PoleZeroModel>(scale, complex_vector(poles, "poles"),
                                                    complex_vector(residues, "residues"), d, e);
           }),
           py::arg("scale"), py::arg("poles"), py::arg("residues"), py::arg("d") = Complex(),
           py::arg("e") = Complex(),
           "Evaluation raises RuntimeError when there are fewer residues than poles.")
      .def_property_readonly("scale", [](const PoleZeroModel& p) { return p.scale(); })
      .def_property_readonly("poles", [](const PoleZeroModel& p) { return to_array(p.poles()); })
      .def_property_readonly("residues",
                             [](const PoleZeroModel& p) { return to_array(p.residues()); })
      .def_property_readonly("d", [](const PoleZeroModel& p) { return p.constantFactor(); })
      .def_property_readonly("e", [](const PoleZeroModel& p) { return p.linearFactor(); });

  py::class_<SparameterSplineModel, ScalarModel>(
      m, "SparameterSplineModel", "Complex cubic spline from knots, values and second derivatives.")
      .def(py::init([](py::handle freqs, py::handle values, py::handle coefs) {
             return std::make_unique<SparameterSplineModel>(real_vector(freqs, "freqs"),
                                                            complex_vector(values, "values"),
                                                            complex_vector(coefs, "coefs"));
           }),
           py::arg("freqs"), py::arg("values"), py::arg("coefs"))
      .def_property_readonly("freqs",
                             [](const SparameterSplineModel& s) { return to_array(s.freqs()); })
      .def_property_readonly("values",
                             [](const SparameterSplineModel& s) { return to_array(s.samples()); })
      .def_property_readonly("coefs",
                             [](const SparameterSplineModel& s) { return to_array(s.coefs()); });

  py::class_<StaticTableModel, ScalarModel>(m, "StaticTableModel",
                                            "Piecewise polynomial fit of tabulated values.");
}

}  // namespace korvantix::python
