#include <korvantix/scalar.hpp>

#include <algorithm>

namespace korvantix {

PolynomialModel::PolynomialModel(const std::vector<std::complex<double>>& coef) : coef_(coef) {}

PolynomialModel::PolynomialModel(std::initializer_list<std::complex<double>> coef) : coef_(coef) {}

PolynomialModel::PolynomialModel(const std::complex<double>& c0) : coef_{c0} {}

PolynomialModel::PolynomialModel(const std::complex<double>& c0, const std::complex<double>& c1)
    : coef_{c0, c1} {}

PolynomialModel::PolynomialModel(const std::complex<double>& c0, const std::complex<double>& c1,
                                 const std::complex<double>& c2)
    : coef_{c0, c1, c2} {}

bool PolynomialModel::operator==(const PolynomialModel& other) const {
  return coef_ == other.coef_;
}

// Horner's scheme on the real and imaginary parts separately: a complex times the real x is two
// real products, and the batch form below repeats exactly these operations per abscissa.
std::complex<double> PolynomialModel::evaluate(const std::vector<std::complex<double>>& coef,
                                               double x) {
  double re = 0.0;
  double im = 0.0;
  for (std::size_t k = coef.size(); k-- > 0;) {
    re = re * x + coef[k].real();
    im = im * x + coef[k].imag();
  }
  return {re, im};
}

std::complex<double> PolynomialModel::evaluate_derivative(
    const std::vector<std::complex<double>>& coef, double x) {
  const std::size_t n = coef.size();
  if (n <= 1) return {};
  double re = 0.0;
  double im = 0.0;
  double factor = static_cast<double>(n - 1);
  for (std::size_t k = n - 1; k >= 1; --k, factor -= 1.0) {
    re = re * x + factor * coef[k].real();
    im = im * x + factor * coef[k].imag();
  }
  return {re, im};
}

std::complex<double> PolynomialModel::evaluate_derivative_2(
    const std::vector<std::complex<double>>& coef, double x) {
  const std::size_t n = coef.size();
  if (n <= 2) return {};
  double re = 0.0;
  double im = 0.0;
  double factor = static_cast<double>(n - 1);
  for (std::size_t k = n - 1; k >= 2; --k, factor -= 1.0) {
    const double weight = factor * (factor - 1.0);
    re = re * x + weight * coef[k].real();
    im = im * x + weight * coef[k].imag();
  }
  return {re, im};
}

void PolynomialModel::evaluate(const std::vector<std::complex<double>>& coef,
                               const std::vector<double>& xs,
                               std::vector<std::complex<double>>& values) {
  values.resize(xs.size());
  // Blocks of separate real and imaginary accumulators stay in the first-level cache and give
  // the compiler plain double loops to vectorise, while every abscissa still sees the very
  // operations of the single form, in the same order: the bits agree.
  constexpr std::size_t kBlock = 256;
  double re[kBlock];
  double im[kBlock];
  for (std::size_t start = 0; start < xs.size(); start += kBlock) {
    const std::size_t count = std::min(kBlock, xs.size() - start);
    const double* x = xs.data() + start;
    std::fill_n(re, count, 0.0);
    std::fill_n(im, count, 0.0);
    for (std::size_t k = coef.size(); k-- > 0;) {
      const double c_re = coef[k].real();
      const double c_im = coef[k].imag();
      for (std::size_t i = 0; i < count; ++i) {
        re[i] = re[i] * x[i] + c_re;
        im[i] = im[i] * x[i] + c_im;
      }
    }
    for (std::size_t i = 0; i < count; ++i)
      values[start + i] = {re[i], im[i]};
  }
}

ScalarModel* PolynomialModel::clone() const {
  return new PolynomialModel(*this);
}

bool PolynomialModel::empty() const {
  return coef_.empty();
}

ScalarModel::Type PolynomialModel::type() const {
  return Polynomial;
}

void PolynomialModel::evaluate(const std::vector<double>& freqs,
                               std::vector<std::complex<double>>& values,
                               std::vector<std::complex<double>>& /*work*/) const {
  evaluate(coef_, freqs, values);
}

std::complex<double> PolynomialModel::evaluate(double freq) const {
  return evaluate(coef_, freq);
}

std::complex<double> PolynomialModel::evaluate_derivative(double freq) const {
  return evaluate_derivative(coef_, freq);
}

std::complex<double> PolynomialModel::evaluate_derivative_2(double freq) const {
  return evaluate_derivative_2(coef_, freq);
}

bool PolynomialModel::is_constant() const {
  return coef_.size() <= 1;
}

}  // namespace korvantix
