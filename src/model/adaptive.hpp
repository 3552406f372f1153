#pragma once

// The adaptive sampling plan over any function of frequency, so tests can drive it with a
// closed-form function as well as with a container.

#include <complex>
#include <cstddef>
#include <functional>
#include <vector>

namespace korvantix::detail {

/// The S entries of one evaluation, row-major.
using EntryValues = std::vector<std::complex<double>>;
/// Fills the entries at a frequency (resizing the vector as needed); its errors propagate.
using EntryFunction = std::function<void(double frequency, EntryValues& values)>;

/// The largest distance, over all entries, between `mid` and the magnitude-phase interpolation of
/// `lo` and `hi` at weight w; 0 when nothing is comparable (a NaN counts as no deviation).
double interpolation_deviation(const EntryValues& lo, const EntryValues& hi, const EntryValues& mid,
                               double w);

/// Greedy bisection: starting from the ascending, distinct `knots` (at least two), repeatedly
/// splits at its midpoint the gap whose midpoint deviates most from the magnitude-phase
/// interpolation of the gap's ends (ties: the wider gap, then the lower one), until n points or
/// until no gap can be split any more. Returns the points ascending; the knots are always among
/// them.
std::vector<double> adaptive_plan(const std::vector<double>& knots, std::size_t n,
                                  const EntryFunction& entries);

}  // namespace korvantix::detail
