#include <korvantix/scalar.hpp>

namespace korvantix {

RationalModel::RationalModel(const std::vector<std::complex<double>>& nominator,
                             const std::vector<std::complex<double>>& denominator)
    : nominator_(nominator), denominator_(denominator) {}

RationalModel::RationalModel(const std::vector<std::complex<double>>& nominator,
                             const std::vector<std::complex<double>>& denominator, double scale)
    : scale_(scale), nominator_(nominator), denominator_(denominator) {}

void RationalModel::scale_freq(double& freq) const {
  freq /= scale_;
}

// The scale is left out on purpose: two models that differ only in it compare equal.
bool RationalModel::operator==(const RationalModel& other) const {
  return nominator_ == other.nominator_ && denominator_ == other.denominator_;
}

ScalarModel* RationalModel::clone() const {
  return new RationalModel(*this);
}

bool RationalModel::empty() const {
  return nominator_.empty() && denominator_.empty();
}

ScalarModel::Type RationalModel::type() const {
  return Rational;
}

void RationalModel::evaluate(const std::vector<double>& freqs,
                             std::vector<std::complex<double>>& values,
                             std::vector<std::complex<double>>& work) const {
  ScalarModel::evaluate(freqs, values, work);
}

std::complex<double> RationalModel::evaluate(double freq) const {
  scale_freq(freq);
  return PolynomialModel::evaluate(nominator_, freq) /
         PolynomialModel::evaluate(denominator_, freq);
}

// With respect to the scaled frequency: no 1/scale chain factor.
std::complex<double> RationalModel::evaluate_derivative(double freq) const {
  scale_freq(freq);
  const std::complex<double> n = PolynomialModel::evaluate(nominator_, freq);
  const std::complex<double> d = PolynomialModel::evaluate(denominator_, freq);
  const std::complex<double> n1 = PolynomialModel::evaluate_derivative(nominator_, freq);
  const std::complex<double> d1 = PolynomialModel::evaluate_derivative(denominator_, freq);
  return (n1 * d - n * d1) / (d * d);
}

std::complex<double> RationalModel::evaluate_derivative_2(double freq) const {
  scale_freq(freq);
  // Value and first derivative are taken through the public operations with the frequency
  // already scaled, so they scale it a second time: the result is defined that way (see
  // scalar.hpp), and with scale 1 it is the exact second derivative of N/D.
  const std::complex<double> value = evaluate(freq);
  const std::complex<double> slope = evaluate_derivative(freq);
  const std::complex<double> n2 = PolynomialModel::evaluate_derivative_2(nominator_, freq);
  const std::complex<double> d = PolynomialModel::evaluate(denominator_, freq);
  const std::complex<double> d1 = PolynomialModel::evaluate_derivative(denominator_, freq);
  const std::complex<double> d2 = PolynomialModel::evaluate_derivative_2(denominator_, freq);
  return (n2 - 2.0 * slope * d1 - value * d2) / d;
}

}  // namespace korvantix
