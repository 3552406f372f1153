#include "drawing.hpp"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <utility>

namespace kvx {

std::vector<double> Axis::ticks() const {
  std::vector<double> values;
  const auto count = static_cast<long>(std::llround((last - first) / step));
  for (long k = 0; k <= count; ++k) {
    const double value = first + static_cast<double>(k) * step;
    // first + k * step can land a hair off zero; a tick labelled "-0" looks broken.
    values.push_back(std::abs(value) < step * 1e-9 ? 0.0 : value);
  }
  return values;
}

Axis nice_axis(double lo, double hi, int target) {
  if (lo > hi) std::swap(lo, hi);
  if (!(hi > lo)) {
    const double pad = lo == 0.0 ? 1.0 : std::abs(lo) / 10.0;
    lo -= pad;
    hi += pad;
  }
  const double raw = (hi - lo) / std::max(target, 1);
  const double power = std::pow(10.0, std::floor(std::log10(raw)));
  double step = 10.0 * power;
  for (const double factor : {1.0, 2.0, 5.0})
    if (factor * power >= raw * (1 - 1e-9)) {
      step = factor * power;
      break;
    }
  // A limit within rounding of a multiple stays on it rather than growing a whole step.
  const double first = std::floor(lo / step + 1e-9) * step;
  const double last = std::ceil(hi / step - 1e-9) * step;
  return {first, last, step};
}

std::string tick_label(double value, double step) {
  const int decimals = std::max(0, static_cast<int>(-std::floor(std::log10(step) + 1e-9)));
  char text[64];
  std::snprintf(text, sizeof text, "%.*f", decimals, value);
  std::string label = text;
  if (label.find_first_not_of("-0.") == std::string::npos) label = "0";
  return label;
}

UnitScale engineering_unit(double magnitude, const std::string& unit) {
  static const std::pair<double, const char*> kPrefixes[] = {
      {1e12, "T"}, {1e9, "G"}, {1e6, "M"}, {1e3, "k"}};
  for (const auto& [divisor, prefix] : kPrefixes)
    if (std::abs(magnitude) >= divisor) return {divisor, prefix + unit};
  return {1.0, unit};
}

std::vector<LogTick> log_ticks(double lo, double hi) {
  std::vector<LogTick> ticks;
  if (hi / lo < 10.0) {
    for (const double value : nice_axis(lo, hi).ticks())
      if (value >= lo * (1 - 1e-12) && value <= hi * (1 + 1e-12)) ticks.push_back({value, true});
    return ticks;
  }
  for (int exponent = static_cast<int>(std::floor(std::log10(lo)));
       exponent <= static_cast<int>(std::ceil(std::log10(hi))); ++exponent) {
    const double decade = std::pow(10.0, exponent);
    for (int multiple = 1; multiple <= 9; ++multiple) {
      const double value = multiple * decade;
      if (value >= lo * (1 - 1e-12) && value <= hi * (1 + 1e-12))
        ticks.push_back({value, multiple == 1});
    }
  }
  return ticks;
}

std::vector<double> unwrap_degrees(const std::vector<double>& degrees) {
  std::vector<double> out(degrees);
  for (std::size_t k = 1; k < out.size(); ++k)
    out[k] -= 360.0 * std::round((out[k] - out[k - 1]) / 360.0);
  return out;
}

std::vector<std::pair<double, double>> decimate(
    const std::vector<std::pair<double, double>>& points,
    const std::function<long(double)>& column) {
  std::vector<std::pair<double, double>> out;
  for (std::size_t first = 0; first < points.size();) {
    const long current = column(points[first].first);
    std::size_t last = first, low = first, high = first;
    while (last + 1 < points.size() && column(points[last + 1].first) == current) {
      ++last;
      if (points[last].second < points[low].second) low = last;
      if (points[last].second > points[high].second) high = last;
    }
    std::size_t keep[] = {first, std::min(low, high), std::max(low, high), last};
    for (std::size_t k = 0; k < 4; ++k)
      if (k == 0 || keep[k] != keep[k - 1]) out.push_back(points[keep[k]]);
    first = last + 1;
  }
  return out;
}

Circle resistance_circle(double r) {
  return {r / (1.0 + r), 0.0, 1.0 / (1.0 + r)};
}

Circle reactance_circle(double x) {
  return {1.0, 1.0 / x, 1.0 / std::abs(x)};
}

std::pair<double, double> reactance_on_rim(double x) {
  // (jx - 1) / (jx + 1) = (x^2 - 1 + 2jx) / (x^2 + 1)
  const double d = x * x + 1.0;
  return {(x * x - 1.0) / d, 2.0 * x / d};
}

}  // namespace kvx
