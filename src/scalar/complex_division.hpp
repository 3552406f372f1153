#pragma once

#include <cmath>
#include <complex>

namespace korvantix::detail {

/// Whether v is zero or of a magnitude in [2^-300, 2^300]: for such operands no product, ratio
/// or denominator of Smith's algorithm comes near underflow or overflow.
inline bool is_tame(double v) {
  const double magnitude = std::fabs(v);
  return magnitude == 0.0 || (magnitude >= 0x1p-300 && magnitude <= 0x1p300);
}

/// n / q with the bits of the standard complex division. The runtime's division is Smith's
/// algorithm plus rescaling steps and an infinity/NaN recovery that only change anything when
/// an operand is huge, tiny or not finite; for tame operands those steps are exact no-ops (the
/// rescaling is by powers of two), so the plain formulas give the same bits without the call.
/// Everything else goes to the runtime.
inline std::complex<double> divide(const std::complex<double>& n, const std::complex<double>& q) {
  const double a = n.real();
  const double b = n.imag();
  const double c = q.real();
  const double d = q.imag();
  if (!(is_tame(a) && is_tame(b) && is_tame(c) && is_tame(d)) || (c == 0.0 && d == 0.0)) {
    return n / q;
  }
  if (std::fabs(c) < std::fabs(d)) {
    const double ratio = c / d;
    const double denom = c * ratio + d;
    return {(a * ratio + b) / denom, (b * ratio - a) / denom};
  }
  const double ratio = d / c;
  const double denom = d * ratio + c;
  return {(b * ratio + a) / denom, (b - a * ratio) / denom};
}

}  // namespace korvantix::detail
