#include <korvantix/container.hpp>
#include <korvantix/model.hpp>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <optional>
#include <queue>
#include <set>
#include <stdexcept>
#include <utility>
#include <vector>

#include "detail/message.hpp"
#include "model/sampling.hpp"

namespace korvantix {
namespace detail {
namespace {

// Converts a floored share to a count. A negative share (a logarithmic gap wholly below 1 Hz)
// or a NaN one (a range reaching infinity) gets nothing, and a share beyond the range of
// size_t is clamped, so the conversion is never undefined.
std::size_t to_count(double share) {
  if (!(share >= 0.0)) return 0;
  if (share >= 18446744073709551615.0) return std::numeric_limits<std::size_t>::max();
  return static_cast<std::size_t>(share);
}

// One gap of the plan with the value the remainder step ranks it by.
struct GapRank {
  double value;
  std::size_t index;
};

// The remainder goes one point at a time to the gap of largest value; a gap replaces the running
// best only when strictly larger, starting from 0.0 at gap 0, so ties go to the lowest gap and a
// gap whose value is not above 0 (or NaN) never wins over gap 0. A heap keyed the same way gives
// the identical choice without rescanning every gap for every point.
struct RankOrder {
  bool operator()(const GapRank& a, const GapRank& b) const {
    if (a.value != b.value) return a.value < b.value;
    return a.index > b.index;
  }
};

// Every sample frequency and every model band edge. A NaN sample frequency compares false with
// everything, so what the set holds then depends on the order of insertion: the plans insert
// the samples first, minNbSamples the models first, and with a NaN sample the two may differ.
enum InsertionOrder { SamplesFirst, ModelsFirst };
std::set<double> discrete_set(const SMatrixContainer& c, InsertionOrder order) {
  std::set<double> all;
  const auto add_samples = [&] {
    for (auto it = c.begin_samples(); it != c.end_samples(); ++it)
      all.insert(it->frequency());
  };
  if (order == SamplesFirst) add_samples();
  for (auto it = c.begin_models(); it != c.end_models(); ++it) {
    all.insert(it->from());
    all.insert(it->to());
  }
  if (order == ModelsFirst) add_samples();
  return all;
}

}  // namespace

std::string unsupported_sampling_type(SamplingType type) {
  return message("Sampling type ", static_cast<std::int32_t>(type), " not supported");
}

double lin_log_interval_difference(std::size_t k, std::size_t m, double fstart, double fswitch,
                                   double fend) {
  if (m < k + 1) return kNoPlan;
  const double ratio = std::pow(fswitch / fstart, 1.0 / static_cast<double>(k));
  return (fend - fswitch) / static_cast<double>(m - k) - (fswitch - fswitch / ratio);
}

std::pair<std::size_t, double> optimal_number_of_log_intervals(std::size_t n, double fstart,
                                                               double fswitch, double fend,
                                                               std::size_t kmin, std::size_t kmax) {
  if (n < 3) return {0, kNoPlan};
  const std::size_t m = n - 1;
  double dlo = lin_log_interval_difference(kmin, m, fstart, fswitch, fend);
  double dhi = lin_log_interval_difference(kmax, m, fstart, fswitch, fend);
  if (dlo * dhi <= 0.0) {
    while (dlo != 0.0) {
      if (dhi == 0.0) return {kmax, 0.0};
      // At the last step the upper end wins whatever the magnitudes. The ">=" also ends the
      // search for an empty bracket (kmin > kmax), which would otherwise never shrink.
      if (kmin + 1 >= kmax) return {kmax, dhi};
      const std::size_t mid = kmin + (kmax - kmin) / 2;
      const double dmid = lin_log_interval_difference(mid, m, fstart, fswitch, fend);
      if (dmid == 0.0) return {mid, 0.0};
      if (dmid * dlo < 0.0) {
        kmax = mid;
        dhi = dmid;
      } else {
        kmin = mid;
        dlo = dmid;
      }
    }
    return {kmin, 0.0};
  }
  if (std::fabs(dhi) <= std::fabs(dlo)) return {kmax, dhi};
  return {kmin, dlo};
}

std::pair<double, std::size_t> optimal_switch_frequency(const std::vector<double>& discrete,
                                                        std::size_t n) {
  const std::pair<double, std::size_t> none{-1.0, 0};
  if (discrete.empty()) return none;
  std::size_t p = 0;
  double fstart = discrete[0];
  if (discrete[0] == 0.0) {
    // A DC point cannot start a geometric grid: start at 1 Hz, or at the next point when that
    // one is still at or below 1 Hz. The count loses the DC point once only.
    if (n > 0) --n;
    fstart = 1.0;
    p = 1;
    if (p < discrete.size() && discrete[p] <= 1.0) {
      fstart = discrete[p];
      p = 2;
    }
  }
  if (p >= discrete.size() || discrete[p] == discrete.back()) return none;
  const std::size_t candidates = discrete.size() - p;
  // With no point to spare beyond the candidates there is no plan that keeps them all; the
  // interval bracket [j + 1, j + n - K] would be empty and the bisection could not end.
  if (candidates >= n) return none;
  const std::size_t spare = n - candidates;
  const double fend = discrete.back();

  double best_frequency = discrete[p];
  auto best = optimal_number_of_log_intervals(n, fstart, discrete[p], fend, 1, spare);
  for (std::size_t j = 1; p + j < discrete.size(); ++j) {
    const auto next =
        optimal_number_of_log_intervals(n, fstart, discrete[p + j], fend, j + 1, j + spare);
    // Across a sign change the candidate whose linear step is the larger wins; otherwise the
    // smaller mismatch wins, ties keeping the lower candidate.
    const bool better = best.second * next.second < 0.0
                            ? next.second > 0.0
                            : std::fabs(best.second) > std::fabs(next.second);
    if (better) {
      best = next;
      best_frequency = discrete[p + j];
    }
  }
  return {best_frequency, best.first + 1};
}

namespace {

// How many extra points each gap of `kept` gets, with what its spacing needs to rank it.
struct GapShares {
  std::vector<std::size_t> counts;
  std::vector<double> ratios;  // logarithmic step base per gap (Logarithmic only)
};

// Each gap's floored share of the extra points, proportional to its width (Linear) or to its
// logarithmic width (Logarithmic).
GapShares proportional_shares(const std::vector<double>& kept, std::size_t n, SamplingType type) {
  const std::size_t gap_count = kept.size() - 1;
  const double extra = static_cast<double>(n - kept.size());
  GapShares shares{std::vector<std::size_t>(gap_count, 0), {}};
  if (type == Linear) {
    const double total = kept.back() - kept.front();
    for (std::size_t g = 0; g < gap_count; ++g)
      shares.counts[g] = to_count(std::floor((kept[g + 1] - kept[g]) * extra / total));
    return shares;
  }
  // Geometric grids start at 1 Hz at the lowest, so a range that never rises above 1 Hz has
  // no room for a single logarithmic point.
  if (!(kept.back() > 1.0)) {
    throw std::runtime_error(message("Unable to obtain ", n, " samples:\n",
                                     "Logarithmic sampling needs frequencies above 1 Hz"));
  }
  const double first = kept.front() > 1.0 ? kept.front() : 1.0;
  const double log_range = std::log(kept.back() / first);
  shares.ratios.resize(gap_count);
  for (std::size_t g = 0; g < gap_count; ++g) {
    const double base = kept[g] > 1.0 ? kept[g] : 1.0;
    shares.ratios[g] = kept[g + 1] / base;
    shares.counts[g] = to_count(std::floor(std::log(shares.ratios[g]) * extra / log_range));
  }
  return shares;
}

// Hands the points the floored shares left over to the gaps one at a time, each to the gap
// whose next step would be the largest.
void distribute_remainder(const std::vector<double>& kept, std::size_t extra, SamplingType type,
                          GapShares& shares) {
  std::vector<std::size_t>& counts = shares.counts;
  std::size_t assigned = 0;
  for (std::size_t count : counts) {
    if (count > extra - assigned) throw std::runtime_error("internal error");
    assigned += count;
  }
  auto rank = [&](std::size_t g) {
    const double next = static_cast<double>(counts[g] + 1);
    return type == Linear ? (kept[g + 1] - kept[g]) / next : std::pow(shares.ratios[g], 1.0 / next);
  };
  std::priority_queue<GapRank, std::vector<GapRank>, RankOrder> heap;
  for (std::size_t g = 0; g < counts.size(); ++g) {
    const double value = rank(g);
    if (value > 0.0) heap.push({value, g});
  }
  for (std::size_t left = extra - assigned; left > 0; --left) {
    if (heap.empty()) {
      counts[0] += left;
      break;
    }
    const std::size_t g = heap.top().index;
    heap.pop();
    ++counts[g];
    const double value = rank(g);
    if (value > 0.0) heap.push({value, g});
  }
}

}  // namespace

std::vector<double> fill_gaps(const std::vector<double>& kept, std::size_t n, SamplingType type) {
  GapShares shares = proportional_shares(kept, n, type);
  distribute_remainder(kept, n - kept.size(), type, shares);
  std::vector<double> result;
  result.reserve(n);
  for (std::size_t g = 0; g + 1 < kept.size(); ++g) {
    const SMatrixModel gap(0, kept[g], kept[g + 1]);
    const std::vector<double> inner = gap.sample_frequencies(shares.counts[g], type, false);
    result.insert(result.end(), inner.begin(), inner.end());
  }
  result.insert(result.end(), kept.begin(), kept.end());
  std::sort(result.begin(), result.end());
  return result;
}

std::vector<double> decade_grid(double from, double to) {
  const double q = std::pow(10.0, 0.1);
  std::set<double> grid;
  if (from < 1e9 && to > 10000.0) {
    for (double f = std::min(to, 1e9); from <= f; f = f / q) {
      if (f < 10000.0) break;
      grid.insert(std::round(f));
    }
  }
  if (from < 10000.0 && to > 0.0) {
    for (double f = std::min(to, 10000.0); from <= f; f = f / 10.0) {
      if (f < 1.0) break;
      grid.insert(std::round(f));
    }
  }
  return {grid.begin(), grid.end()};
}

}  // namespace detail

std::vector<double> SMatrixModel::sample_frequencies(std::size_t n, SamplingType type,
                                                     bool includeEndpoints) const {
  std::vector<double> result;
  result.reserve(n);
  if (n == 0) {
    if (includeEndpoints) {
      throw std::runtime_error(
          "it is not possible to obtain 0 samples over a range, including the endpoint");
    }
    return result;
  }
  const double a = from_;
  const double b = to_;
  // The degenerate band is looked at before the type, so one point of it comes back for any
  // type, even an unsupported one.
  if (a == b) {
    if (n != 1) {
      throw std::runtime_error(detail::message("unable to obtain ", n,
                                               " different samples in degenerate frequency range [",
                                               a, " , ", b, "]"));
    }
    result.push_back(a);
    return result;
  }
  if (type != Linear && type != Logarithmic) {
    throw std::runtime_error(detail::unsupported_sampling_type(type));
  }
  if (n == 1 && includeEndpoints) {
    throw std::runtime_error(
        detail::message("unable to obtain ", "1", " samples including the endpoints"));
  }
  if (type == Linear && n == 1) {
    result.push_back((b + a) * 0.5);
    return result;
  }
  std::size_t inner = n;
  if (includeEndpoints) {
    result.push_back(a);
    inner -= 2;
  }
  if (inner != 0) {
    const double intervals = static_cast<double>(inner + 1);
    if (type == Linear) {
      // Every point from `a` directly: accumulating the step would drift.
      const double step = (b - a) / intervals;
      for (std::size_t i = 1; i <= inner; ++i)
        result.push_back(a + static_cast<double>(i) * step);
    } else {
      // Below 1 Hz (0 included) the geometric grid deliberately starts at 1 Hz instead of at a.
      const double base = a >= 1.0 ? a : 1.0;
      const double ratio =
          a >= 1.0 ? std::pow(b / a, 1.0 / intervals) : std::pow(b, 1.0 / intervals);
      for (std::size_t i = 1; i <= inner; ++i) {
        result.push_back(std::pow(ratio, static_cast<double>(i)) * base);
      }
    }
  }
  if (includeEndpoints) result.push_back(b);
  return result;
}

std::vector<double> SMatrixContainer::discrete_frequencies() const {
  const std::set<double> all = detail::discrete_set(*this, detail::SamplesFirst);
  return {all.begin(), all.end()};
}

std::size_t SMatrixContainer::minNbSamples() const {
  return detail::discrete_set(*this, detail::ModelsFirst).size();
}

std::vector<double> SMatrixContainer::sample_frequencies(std::size_t n, SamplingType type,
                                                         std::optional<double> fmin,
                                                         std::optional<double> fmax) const {
  if (n == 0) return {};
  if (type == Adaptive) return sample_frequencies_adaptively(n);
  if (empty()) {
    throw std::runtime_error(
        detail::message("Unable to obtain ", n, " samples:\n", "The container is empty"));
  }
  const std::set<double> all = detail::discrete_set(*this, detail::SamplesFirst);
  const double lo = fmin ? *fmin : *all.begin();
  const double hi = fmax ? *fmax : *all.rbegin();
  std::vector<double> kept;
  for (double f : all) {
    if (!(f < lo) && !(f > hi)) kept.push_back(f);
  }
  // Asking for as many points as there are samples deliberately yields exactly the discrete
  // frequencies in range, even when there are fewer of them.
  if (n == nbSamples()) n = kept.size();
  if (n <= kept.size()) {
    if (n == kept.size()) return kept;
    throw std::runtime_error(
        "The container contains more discrete frequencies than the requested number of "
        "frequencies");
  }
  if (kept.size() == 1) {
    throw std::runtime_error(detail::message("Unable to obtain ", n, " samples:\n",
                                             "The container contains only 1 discrete frequency"));
  }
  if (kept.empty()) {
    throw std::runtime_error(detail::message("Unable to obtain ", n, " samples:\n",
                                             "The container contains no discrete frequency in [",
                                             lo, " , ", hi, "]"));
  }
  if (type == Linear || type == Logarithmic) return detail::fill_gaps(kept, n, type);
  if (type != LinearLogarithmic) {
    throw std::runtime_error(detail::unsupported_sampling_type(type));
  }
  // The switch is searched over all discrete frequencies of the container, not only those in
  // [lo, hi].
  const auto [fswitch, log_points] = detail::optimal_switch_frequency(discrete_frequencies(), n);
  const double f0 = kept.front();
  if (f0 < fswitch && log_points < n) {
    const std::vector<double> low = sample_frequencies(log_points, Logarithmic, f0, fswitch);
    const std::vector<double> high =
        sample_frequencies(n + 1 - log_points, Linear, fswitch, kept.back());
    std::set<double> merged(low.begin(), low.end());
    merged.insert(high.begin(), high.end());
    return {merged.begin(), merged.end()};
  }
  // The fallback samples the whole discrete range: the caller's fmin and fmax are dropped on
  // purpose.
  return sample_frequencies(n, Linear);
}

std::vector<double> SMatrixContainer::lf_sample_frequencies() const {
  return detail::decade_grid(from(), to());
}

}  // namespace korvantix
