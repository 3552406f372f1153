#pragma once

// The element rule of the container's interpolation between a lower and an upper neighbour.

#include <korvantix/evaluator.hpp>

#include <cmath>
#include <complex>
#include <cstddef>

#include "detail/facts.hpp"
#include "model/storage.hpp"

namespace korvantix::detail {

// The polar form exactly as the container caches it for every stored entry.
inline Polar polar_of(const std::complex<double>& z) {
  return {std::abs(z), std::atan2(z.imag(), z.real())};
}

// A hint to start loading `bytes` bytes at `data` into the cache; no effect on any result.
inline void prefetch(const void* data, std::size_t bytes) {
#if defined(__GNUC__)
  const char* const first = static_cast<const char*>(data);
  for (std::size_t k = 0; k < bytes; k += 64)
    __builtin_prefetch(first + k);
#else
  static_cast<void>(data);
  static_cast<void>(bytes);
#endif
}

inline bool same_entry(const std::complex<double>& a, const std::complex<double>& b) {
  return a.real() == b.real() && a.imag() == b.imag();
}

inline std::complex<double> interpolate_real_imag(const std::complex<double>& a,
                                                  const std::complex<double>& b, double w) {
  const double v = 1.0 - w;
  return {v * a.real() + w * b.real(), v * a.imag() + w * b.imag()};
}

inline std::complex<double> interpolate_mag_phase(const Polar& a, const Polar& b, double w) {
  const double magnitude = (1.0 - w) * a.magnitude + w * b.magnitude;
  // Only differences strictly beyond pi are wrapped: 1 and -1 interpolate through +j. The
  // phases come from atan2, so d lies in [-2pi, 2pi] (or is NaN) and each loop runs at most
  // once; they stay loops to keep the rule's exact arithmetic.
  double d = b.phase - a.phase;
  while (d > kPi)
    d -= kTwoPi;
  while (d < -kPi)
    d += kTwoPi;
  const double phase = a.phase + w * d;
  // The polar construction written out: std::polar asserts a non-negative magnitude in checked
  // builds, and a NaN or infinite magnitude must give the products below, not an abort.
  return {magnitude * std::cos(phase), magnitude * std::sin(phase)};
}

// One interpolated entry; any interpolation type other than the two known ones gives 0+0i for
// entries that differ.
inline std::complex<double> interpolate_entry(const std::complex<double>& a, const Polar& pa,
                                              const std::complex<double>& b, const Polar& pb,
                                              double w, InterpolationType t) {
  if (same_entry(a, b)) return a;
  if (t == REAL_IMAG) return interpolate_real_imag(a, b, w);
  if (t == MAG_PHASE) return interpolate_mag_phase(pa, pb, w);
  return {};
}

inline std::complex<double> interpolate_entry(const std::complex<double>& a,
                                              const std::complex<double>& b, double w,
                                              InterpolationType t) {
  if (same_entry(a, b)) return a;
  if (t == REAL_IMAG) return interpolate_real_imag(a, b, w);
  if (t == MAG_PHASE) return interpolate_mag_phase(polar_of(a), polar_of(b), w);
  return {};
}

// Throws std::runtime_error "smatrix sample interpolation size mismatch: <na> != <nb>" when the
// neighbours' port counts differ.
void check_interpolation_size(std::size_t na, std::size_t nb);

// The sample between a (lower) and b (upper) at weight w: frequency (1 - w) fa + w fb, no port
// data, every S and Zref entry by the element rule. a_polar and b_polar are the cached polar
// forms of the entries (S row-major, then Zref) or null to compute them here; both give the
// same bits. Throws the size-mismatch error above.
SMatrixSample interpolate_samples(const SMatrixSample& a, const Polar* a_polar,
                                  const SMatrixSample& b, const Polar* b_polar, double w,
                                  InterpolationType t);

}  // namespace korvantix::detail
