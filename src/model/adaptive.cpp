#include <korvantix/container.hpp>
#include <korvantix/evaluator.hpp>

#include <algorithm>
#include <cmath>
#include <complex>
#include <cstddef>
#include <queue>
#include <stdexcept>
#include <vector>

#include "detail/message.hpp"
#include "model/adaptive.hpp"
#include "model/interpolation.hpp"

namespace korvantix {
namespace detail {
namespace {

struct Gap {
  double deviation;
  double lo;
  double hi;
};

// Largest deviation first; among equals the wider gap, then the lower one, so a container that
// linear interpolation reproduces exactly is bisected evenly from the bottom up.
struct GapOrder {
  bool operator()(const Gap& a, const Gap& b) const {
    if (a.deviation != b.deviation) return a.deviation < b.deviation;
    const double wa = a.hi - a.lo;
    const double wb = b.hi - b.lo;
    if (wa != wb) return wa < wb;
    return a.lo > b.lo;
  }
};

// The midpoint written so that it cannot overflow for any pair of finite frequencies.
double midpoint(double lo, double hi) {
  return lo * 0.5 + hi * 0.5;
}

}  // namespace

double interpolation_deviation(const EntryValues& lo, const EntryValues& hi, const EntryValues& mid,
                               double w) {
  const std::size_t count = std::min({lo.size(), hi.size(), mid.size()});
  double worst = 0.0;
  for (std::size_t k = 0; k < count; ++k) {
    const double d = std::abs(mid[k] - interpolate_entry(lo[k], hi[k], w, MAG_PHASE));
    if (d > worst) worst = d;
  }
  return worst;
}

std::vector<double> adaptive_plan(const std::vector<double>& knots, std::size_t n,
                                  const EntryFunction& entries) {
  std::vector<double> points = knots;
  if (n <= points.size()) return points;
  points.reserve(n);

  // Only the ranking of each gap is kept, not the entries of its ends: for N ports that would
  // be N * N values per point. A split evaluates the ends again instead.
  EntryValues lo_values;
  EntryValues hi_values;
  EntryValues mid_values;
  std::priority_queue<Gap, std::vector<Gap>, GapOrder> gaps;
  auto rank = [&](double lo, double hi, const EntryValues& lo_v, const EntryValues& hi_v) {
    const double mid = midpoint(lo, hi);
    if (!(lo < mid && mid < hi)) return;  // no double strictly inside: the gap is final
    entries(mid, mid_values);
    const double w = (mid - lo) / (hi - lo);
    gaps.push({interpolation_deviation(lo_v, hi_v, mid_values, w), lo, hi});
  };

  EntryValues next;
  entries(knots[0], lo_values);
  for (std::size_t k = 1; k < knots.size(); ++k) {
    entries(knots[k], next);
    rank(knots[k - 1], knots[k], lo_values, next);
    std::swap(lo_values, next);
  }

  EntryValues centre;
  while (points.size() < n && !gaps.empty()) {
    const Gap gap = gaps.top();
    gaps.pop();
    const double mid = midpoint(gap.lo, gap.hi);
    points.push_back(mid);
    entries(gap.lo, lo_values);
    entries(mid, centre);
    entries(gap.hi, hi_values);
    rank(gap.lo, mid, lo_values, centre);
    rank(mid, gap.hi, centre, hi_values);
  }
  std::sort(points.begin(), points.end());
  return points;
}

}  // namespace detail

std::vector<double> SMatrixContainer::sample_frequencies_adaptively(std::size_t n) const {
  const std::vector<double> discrete = discrete_frequencies();
  if (n < discrete.size()) {
    throw std::runtime_error(
        detail::message("The requested number of samples (=", n, ") ",
                        "must be >= the number of discrete samples (=", discrete.size(), ")"));
  }
  if (discrete.size() == 1 && n >= 2) throw std::runtime_error("only 1 sample available");
  if (n == discrete.size()) return discrete;
  if (discrete.empty()) {
    throw std::runtime_error(
        detail::message("Unable to obtain ", n, " samples:\n", "The container is empty"));
  }
  return detail::adaptive_plan(discrete, n, [this](double f, detail::EntryValues& values) {
    values = evaluate(f, MAG_PHASE).S();
  });
}

}  // namespace korvantix
