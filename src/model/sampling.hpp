#pragma once

// The arithmetic of the frequency plans, as free functions over plain frequency lists so that
// the container's members stay thin and the tests can reach every branch directly.

#include <korvantix/model.hpp>

#include <cstddef>
#include <string>
#include <utility>
#include <vector>

namespace korvantix::detail {

/// The largest finite double: the "no plan" mismatch of the linear-log search.
inline constexpr double kNoPlan = 1.79769313486231570815e+308;

/// Linear step above fswitch minus the last logarithmic step below it, for k logarithmic and
/// m - k linear intervals between fstart and fend; kNoPlan when m < k + 1.
double lin_log_interval_difference(std::size_t k, std::size_t m, double fstart, double fswitch,
                                   double fend);

/// The number of logarithmic intervals in [kmin, kmax] whose mismatch is nearest to a seamless
/// switch, with that mismatch; (0, kNoPlan) when n < 3.
std::pair<std::size_t, double> optimal_number_of_log_intervals(std::size_t n, double fstart,
                                                               double fswitch, double fend,
                                                               std::size_t kmin, std::size_t kmax);

/// The best switch frequency among the ascending discrete frequencies and the number of
/// logarithmic points up to it (both ends counted); (-1, 0) when there is no candidate.
std::pair<double, std::size_t> optimal_switch_frequency(const std::vector<double>& discrete,
                                                        std::size_t n);

/// Fills the gaps of the ascending, duplicate-free frequencies `kept` (at least two) up to n
/// points with Linear or Logarithmic spacing, keeping every element of `kept`.
/// Throws std::runtime_error "internal error" when the proportional shares exceed the extra
/// count, "Unable to obtain <n> samples:\nLogarithmic sampling needs frequencies above 1 Hz"
/// for a Logarithmic plan whose range ends at or below 1 Hz.
std::vector<double> fill_gaps(const std::vector<double>& kept, std::size_t n, SamplingType type);

/// Ten rounded points per decade from 1e4 Hz to 1e9 Hz and one per decade from 1 Hz to 1e4 Hz,
/// restricted to [from, to], ascending without duplicates.
std::vector<double> decade_grid(double from, double to);

/// "Sampling type <value> not supported".
std::string unsupported_sampling_type(SamplingType type);

}  // namespace korvantix::detail
