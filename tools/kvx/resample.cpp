// kvx resample: a container evaluated on a new frequency plan.

#include "commands.hpp"

#include <algorithm>
#include <cmath>
#include <iostream>

namespace kvx {

using namespace korvantix;

namespace {

// n frequencies from lo to hi, evenly spaced or evenly spaced in their logarithm.
std::vector<double> plain_grid(double lo, double hi, std::size_t n, bool logarithmic) {
  std::vector<double> grid(n, lo);
  for (std::size_t k = 1; k < n; ++k) {
    const double t = static_cast<double>(k) / static_cast<double>(n - 1);
    grid[k] = logarithmic ? lo * std::pow(hi / lo, t) : lo + t * (hi - lo);
  }
  if (n > 1) grid.back() = hi;
  return grid;
}

}  // namespace

int run_resample(const ResampleOptions& options) {
  const OutputFormat format = output_format(options.output, options.format);
  const SamplingType plan = sampling_type(options.plan);
  if (options.interpolation != "mag-phase" && options.interpolation != "real-imag")
    throw UsageError("unknown interpolation " + options.interpolation);
  const InterpolationType interpolation =
      options.interpolation == "mag-phase" ? MAG_PHASE : REAL_IMAG;
  const bool bounded = !options.from.empty() || !options.to.empty();
  if (bounded && plan == Adaptive)
    throw UsageError("--from and --to apply to the linear, log and linlog plans");
  std::optional<double> from, to;
  if (!options.from.empty()) from = parse_frequency(options.from);
  if (!options.to.empty()) to = parse_frequency(options.to);
  if (from && to && !(*from < *to)) throw UsageError("--from must be below --to");

  const SMatrixContainer c = load(options.input);
  if (c.empty()) throw std::runtime_error(options.input + ": no data to resample");
  const double lo = from.value_or(c.from());
  const double hi = to.value_or(c.to());
  const std::vector<double> discrete = c.discrete_frequencies();
  const auto inside = static_cast<std::size_t>(std::count_if(
      discrete.begin(), discrete.end(), [&](double f) { return f >= lo && f <= hi; }));

  std::vector<double> frequencies;
  if (options.points < inside) {
    // The library's plans keep every stored frequency; thinning needs a plain grid instead.
    const bool logarithmic = plan == Logarithmic && lo > 0;
    std::cerr << "kvx: note: " << options.points << " points are fewer than the " << inside
              << " frequencies in the band; using a plain " << (logarithmic ? "log" : "linear")
              << " grid\n";
    frequencies = plain_grid(lo, hi, options.points, logarithmic);
  } else if (plan == Adaptive) {
    frequencies = c.sample_frequencies_adaptively(options.points);
  } else {
    frequencies = c.sample_frequencies(options.points, plan, from, to);
  }
  const SMatrixContainer out = evaluate_at(c, frequencies, interpolation, "resampling");
  write_output(out, options.output, format);
  return 0;
}

}  // namespace kvx
