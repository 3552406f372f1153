#pragma once

// What the comparisons share: the difference of two entries and the port-count check.

#include <complex>
#include <cstddef>

namespace korvantix::detail {

// a - b, but exactly 0 for equal entries: an infinite entry equal in both networks would
// otherwise differ by inf - inf = NaN. A NaN entry is never equal, so it still gives NaN.
inline std::complex<double> difference(const std::complex<double>& a,
                                       const std::complex<double>& b) {
  if (a.real() == b.real() && a.imag() == b.imag()) return {};
  return a - b;
}

// Throws std::runtime_error "cannot compare networks of <na> and <nb> ports" when they differ.
void check_port_counts(std::size_t na, std::size_t nb);

}  // namespace korvantix::detail
