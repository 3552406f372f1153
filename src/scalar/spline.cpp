#include <korvantix/scalar.hpp>

#include <stdexcept>

#include "detail/message.hpp"

namespace korvantix {

SparameterSplineModel::SparameterSplineModel(std::vector<double> freqs,
                                             std::vector<std::complex<double>> samples,
                                             std::vector<std::complex<double>> coefs,
                                             std::optional<std::vector<double>> subtraction_freqs)
    : freqs_(std::move(freqs)),
      samples_(std::move(samples)),
      coefs_(std::move(coefs)),
      subtraction_freqs_(std::move(subtraction_freqs)) {}

std::size_t SparameterSplineModel::nbKnots() const {
  if (freqs_.size() != samples_.size() || freqs_.size() != coefs_.size()) {
    throw std::runtime_error(detail::message(
        "Number of knots undefined : unequal sizes of spline frequencies (", freqs_.size(),
        "), samples (", samples_.size(), ") and coefficients (", coefs_.size(), ")"));
  }
  return freqs_.size();
}

namespace {

void check_knot_count(std::size_t count) {
  if (count < 2) {
    throw std::runtime_error(detail::message("spline model needs at least 2 knots, found ", count));
  }
}

}  // namespace

// A linear scan on purpose: it defines the interval even for knots that are not ascending, and
// a frequency equal to an interior knot takes the interval that starts there.
std::size_t SparameterSplineModel::spline_interval_idx(double freq) const {
  const std::size_t n = freqs_.size();
  check_knot_count(n);
  std::size_t i = 0;
  while (i < n - 1 && !(freq < freqs_[i + 1]))
    ++i;
  return i == n - 1 ? n - 2 : i;
}

bool SparameterSplineModel::operator==(const SparameterSplineModel& other) const {
  if (freqs_ != other.freqs_ || samples_ != other.samples_ || coefs_ != other.coefs_) return false;
  if (!subtraction_freqs_ || !other.subtraction_freqs_) {
    return !subtraction_freqs_ && !other.subtraction_freqs_;
  }
  return *subtraction_freqs_ == *other.subtraction_freqs_;
}

ScalarModel* SparameterSplineModel::clone() const {
  return new SparameterSplineModel(*this);
}

bool SparameterSplineModel::empty() const {
  return freqs_.empty();
}

ScalarModel::Type SparameterSplineModel::type() const {
  return static_cast<Type>(SparameterSpline + (subtraction_freqs_ ? 1 : 0));
}

void SparameterSplineModel::evaluate(const std::vector<double>& freqs,
                                     std::vector<std::complex<double>>& values,
                                     std::vector<std::complex<double>>& work) const {
  ScalarModel::evaluate(freqs, values, work);
}

namespace {

// The interval around one frequency and what all three evaluations take from it.
struct Span {
  double a;                     // left knot
  double b;                     // right knot
  double h;                     // b - a
  double da;                    // freq - a
  double db;                    // b - freq
  std::complex<double> y0, y1;  // values at a and b
  std::complex<double> m0, m1;  // second derivatives at a and b
};

Span span_at(const SparameterSplineModel& model, double freq) {
  model.nbKnots();  // evaluation reads all three vectors at the same indices
  const std::size_t i = model.spline_interval_idx(freq);
  const double a = model.freqs()[i];
  const double b = model.freqs()[i + 1];
  return {a,
          b,
          b - a,
          freq - a,
          b - freq,
          model.samples()[i],
          model.samples()[i + 1],
          model.coefs()[i],
          model.coefs()[i + 1]};
}

// The bracket shared by value and slope; each sixth is divided separately.
std::complex<double> curvature_term(const Span& s, double freq) {
  return s.m0 * (s.a + freq - 2.0 * s.b) / 6.0 + s.m1 * (2.0 * s.a - s.b - freq) / 6.0;
}

}  // namespace

std::complex<double> SparameterSplineModel::evaluate(double freq) const {
  const Span s = span_at(*this, freq);
  return (s.y0 * s.db + s.y1 * s.da + s.da * s.db * curvature_term(s, freq)) / s.h;
}

std::complex<double> SparameterSplineModel::evaluate_derivative(double freq) const {
  const Span s = span_at(*this, freq);
  return (s.y1 - s.y0 + (s.a + s.b - 2.0 * freq) * curvature_term(s, freq) +
          (s.m0 - s.m1) * s.da * s.db / 6.0) /
         s.h;
}

std::complex<double> SparameterSplineModel::evaluate_derivative_2(double freq) const {
  const Span s = span_at(*this, freq);
  return (s.m0 * s.db + s.m1 * s.da) / s.h;
}

bool SparameterSplineModel::is_constant() const {
  if (samples_.size() <= 1) return true;
  for (std::size_t i = 1; i < samples_.size(); ++i) {
    if (samples_[i] != samples_[i - 1]) return false;
  }
  for (const std::complex<double>& coef : coefs_) {
    if (coef.real() != 0.0 || coef.imag() != 0.0) return false;
  }
  return true;
}

}  // namespace korvantix
