#include <korvantix/scalar.hpp>

#include <algorithm>
#include <cmath>

#include "detail/facts.hpp"
#include "scalar/checks.hpp"
#include "scalar/complex_division.hpp"

namespace korvantix {

PoleZeroModel::PoleZeroModel(double scale, const std::vector<std::complex<double>>& poles,
                             const std::vector<std::complex<double>>& residues,
                             std::complex<double> constantFactor, std::complex<double> linearFactor)
    : scale_(scale),
      poles_(poles),
      residues_(residues),
      constantFactor_(constantFactor),
      linearFactor_(linearFactor) {}

bool PoleZeroModel::operator==(const PoleZeroModel& other) const {
  return poles_ == other.poles_ && residues_ == other.residues_ &&
         constantFactor_ == other.constantFactor_ && linearFactor_ == other.linearFactor_ &&
         scale_ == other.scale_;
}

ScalarModel* PoleZeroModel::clone() const {
  return new PoleZeroModel(*this);
}

bool PoleZeroModel::empty() const {
  return poles_.empty() && constantFactor_ == std::complex<double>() &&
         linearFactor_ == std::complex<double>();
}

ScalarModel::Type PoleZeroModel::type() const {
  return PoleZero;
}

namespace {

// The sum over the poles of r / (s - p)^power at s = j w, power 2 or 3: the derivatives' terms.
std::complex<double> residue_sum(const std::vector<std::complex<double>>& poles,
                                 const std::vector<std::complex<double>>& residues, double w,
                                 int power) {
  const std::complex<double> s(0.0, w);
  std::complex<double> sum;
  for (std::size_t k = 0; k < poles.size(); ++k) {
    const std::complex<double> x = s - poles[k];
    sum += detail::divide(residues[k], power == 2 ? x * x : x * x * x);
  }
  return sum;
}

// Adds r / (s_i - p) to (re[i], im[i]) for s_i = j w[i], with the bits of detail::divide. With
// tame operands the division is Smith's formula, written here without branches (both
// orientations share one ratio, one denominator and the products a*ratio and b*ratio; selects
// pick the terms) so that the compiler can run several frequencies per instruction.
void add_pole_term(const std::complex<double>& r, const std::complex<double>& p, const double* w,
                   double* re, double* im, std::size_t count) {
  const double a = r.real();
  const double b = r.imag();
  const double c = 0.0 - p.real();  // real part of s - p, as the complex subtraction forms it
  const double p_im = p.imag();
  bool tame = detail::is_tame(a) && detail::is_tame(b) && detail::is_tame(c);
  if (tame) {
    // No early exit: this stays a vectorised reduction.
    int wild = 0;
    for (std::size_t i = 0; i < count; ++i) {
      const double d = w[i] - p_im;
      wild |= static_cast<int>(!detail::is_tame(d)) | static_cast<int>(c == 0.0 && d == 0.0);
    }
    tame = wild == 0;
  }
  if (!tame) {
    for (std::size_t i = 0; i < count; ++i) {
      const std::complex<double> q = detail::divide(r, {c, w[i] - p_im});
      re[i] += q.real();
      im[i] += q.imag();
    }
    return;
  }
  const double abs_c = std::fabs(c);
  for (std::size_t i = 0; i < count; ++i) {
    const double d = w[i] - p_im;
    const bool d_larger = abs_c < std::fabs(d);
    const double big = d_larger ? d : c;
    const double small = d_larger ? c : d;
    const double ratio = small / big;
    const double denom = small * ratio + big;
    const double a_ratio = a * ratio;
    const double b_ratio = b * ratio;
    const double x = (d_larger ? a_ratio : b_ratio) + (d_larger ? b : a);
    const double y = (d_larger ? b_ratio : b) - (d_larger ? a : a_ratio);
    re[i] += x / denom;
    im[i] += y / denom;
  }
}

}  // namespace

void PoleZeroModel::evaluate(const std::vector<double>& freqs,
                             std::vector<std::complex<double>>& values,
                             std::vector<std::complex<double>>& /*work*/) const {
  detail::check_residues(poles_, residues_);
  values.resize(freqs.size());
  const double c = detail::kTwoPi / scale_;
  // Blocks of frequencies, pole by pole: every frequency still gets d + e*s and then the pole
  // terms in pole order, exactly the operations of the single form.
  constexpr std::size_t kBlock = 128;
  double w[kBlock];
  double re[kBlock];
  double im[kBlock];
  for (std::size_t start = 0; start < freqs.size(); start += kBlock) {
    const std::size_t count = std::min(kBlock, freqs.size() - start);
    for (std::size_t i = 0; i < count; ++i) {
      w[i] = freqs[start + i] * c;
      const std::complex<double> h =
          constantFactor_ + linearFactor_ * std::complex<double>(0.0, w[i]);
      re[i] = h.real();
      im[i] = h.imag();
    }
    for (std::size_t k = 0; k < poles_.size(); ++k) {
      add_pole_term(residues_[k], poles_[k], w, re, im, count);
    }
    for (std::size_t i = 0; i < count; ++i)
      values[start + i] = {re[i], im[i]};
  }
}

std::complex<double> PoleZeroModel::evaluate(double freq) const {
  detail::check_residues(poles_, residues_);
  const double c = detail::kTwoPi / scale_;
  const std::complex<double> s(0.0, freq * c);
  std::complex<double> h = constantFactor_ + linearFactor_ * s;
  for (std::size_t k = 0; k < poles_.size(); ++k)
    h += detail::divide(residues_[k], s - poles_[k]);
  return h;
}

// With respect to the frequency in hertz: ds/df = j*c.
std::complex<double> PoleZeroModel::evaluate_derivative(double freq) const {
  detail::check_residues(poles_, residues_);
  const double c = detail::kTwoPi / scale_;
  return std::complex<double>(0.0, c) *
         (linearFactor_ - residue_sum(poles_, residues_, freq * c, 2));
}

std::complex<double> PoleZeroModel::evaluate_derivative_2(double freq) const {
  detail::check_residues(poles_, residues_);
  const double c = detail::kTwoPi / scale_;
  return -2.0 * c * c * residue_sum(poles_, residues_, freq * c, 3);
}

}  // namespace korvantix
