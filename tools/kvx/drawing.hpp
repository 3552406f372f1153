#pragma once

// The arithmetic behind kvx's pictures, apart from any SVG: round tick values, engineering
// unit prefixes, phase unwrapping and the circles of the Smith chart.

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

namespace kvx {

/// An axis with round limits: ticks at first, first + step, ... up to last.
struct Axis {
  double first;
  double last;
  double step;
  /// The tick values, computed as first + k * step so that no error accumulates.
  std::vector<double> ticks() const;
};

/// A 1, 2 or 5 times a power of ten step that splits [lo, hi] into about `target` intervals,
/// with the limits widened outwards to multiples of it. An empty range is widened around its
/// value first (by 1 for 0, else by a tenth of the value's magnitude).
Axis nice_axis(double lo, double hi, int target = 6);

/// A tick value printed with as many decimals as the step needs and no more ("2.5", "-10").
std::string tick_label(double value, double step);

/// An engineering prefix for values up to `magnitude`: the divisor and the prefixed unit
/// ("GHz" with divisor 1e9 for 2.4e9 and "Hz"); hertz itself below 1 kHz, terahertz at most.
struct UnitScale {
  double divisor;
  std::string unit;
};
UnitScale engineering_unit(double magnitude, const std::string& unit);

/// Ticks of a logarithmic axis over [lo, hi] (both positive): every power of ten inside with
/// labels, the 2..9 multiples as unlabelled minor lines; over less than a decade the labelled
/// ticks are those of nice_axis. Returns (value, labelled) pairs in increasing order.
struct LogTick {
  double value;
  bool labelled;
};
std::vector<LogTick> log_ticks(double lo, double hi);

/// Phase in degrees made continuous: each value moves by the multiple of 360 that brings it
/// within 180 degrees of its unwrapped predecessor.
std::vector<double> unwrap_degrees(const std::vector<double>& degrees);

/// A curve thinned for drawing: of each run of consecutive points that fall into the same pixel
/// column (column(x) equal) only the first, the lowest, the highest and the last stay, in their
/// order, so that the drawn envelope is the same as with every point.
std::vector<std::pair<double, double>> decimate(
    const std::vector<std::pair<double, double>>& points,
    const std::function<long(double)>& column);

/// A circle of the Smith chart in reflection-coefficient coordinates.
struct Circle {
  double cx;
  double cy;
  double r;
};
/// Points of constant normalised resistance r: centre (r / (1 + r), 0), radius 1 / (1 + r).
Circle resistance_circle(double r);
/// Points of constant normalised reactance x (x != 0): centre (1, 1 / x), radius 1 / |x|.
Circle reactance_circle(double x);
/// Where the reactance circle of x meets the outer circle: the reflection coefficient of the
/// pure reactance j x, (j x - 1) / (j x + 1), as (re, im).
std::pair<double, double> reactance_on_rim(double x);

}  // namespace kvx
