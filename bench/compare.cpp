// Comparison of two containers.
//
// BM_MaxDistance/0 (the headline): max_distance of two four-port containers of 100,000 samples
// each, at the same 100,000 frequencies, over those frequencies, as a user calls it (default
// MAG_PHASE). The baseline, timed in the same rounds and interleaved with it, evaluates both
// containers at the same frequencies with evaluate; "overhead" is the median comparison time
// over the median baseline time, minus 1 (the goal: at most 0.20; negative when comparing is
// faster than evaluating). The row's time and "ns_per_entry" are per compared entry (16 per
// frequency). "distance_overhead" is the same figure for distance.
//
// BM_MaxDistance/1: the same at the 100,000 midpoints between the samples, where both
// containers interpolate: the comparison then has to evaluate, and the overhead is that of the
// comparison proper.

#include <korvantix/compare.hpp>
#include <korvantix/container.hpp>

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <complex>
#include <cstddef>
#include <random>
#include <vector>

namespace {

using korvantix::SMatrixContainer;
using korvantix::SMatrixSample;

constexpr std::size_t kPorts = 4;
constexpr std::size_t kSamples = 100000;

// A measured-looking network and a simulated one close to it: the same frequencies, every
// entry moved by up to 1e-3.
void make_pair(SMatrixContainer& a, SMatrixContainer& b, std::vector<double>& freqs) {
  std::mt19937_64 random(2026);
  std::uniform_real_distribution<double> value(-1.0, 1.0);
  a = SMatrixContainer(kPorts);
  b = SMatrixContainer(kPorts);
  freqs.clear();
  for (std::size_t k = 0; k < kSamples; ++k) {
    const double f = 1e9 + 1e9 * static_cast<double>(k) / static_cast<double>(kSamples);
    freqs.push_back(f);
    SMatrixSample s(kPorts, f);
    for (auto& z : s.Zref())
      z = 50.0;
    for (auto& entry : s.S())
      entry = {value(random), value(random)};
    a.add(s);
    for (auto& entry : s.S())
      entry += std::complex<double>(1e-3 * value(random), 1e-3 * value(random));
    b.add(std::move(s));
  }
}

double seconds_since(std::chrono::steady_clock::time_point start) {
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

double median(std::vector<double> v) {
  std::sort(v.begin(), v.end());
  const std::size_t n = v.size();
  return n % 2 == 1 ? v[n / 2] : 0.5 * (v[n / 2 - 1] + v[n / 2]);
}

// What a comparison cannot avoid: both containers evaluated at every frequency.
double time_evaluation(const SMatrixContainer& a, const SMatrixContainer& b,
                       const std::vector<double>& freqs) {
  const auto start = std::chrono::steady_clock::now();
  for (const double f : freqs) {
    SMatrixSample sa = a.evaluate(f, korvantix::MAG_PHASE);
    SMatrixSample sb = b.evaluate(f, korvantix::MAG_PHASE);
    benchmark::DoNotOptimize(sa.S().data());
    benchmark::DoNotOptimize(sb.S().data());
  }
  return seconds_since(start);
}

void BM_MaxDistance(benchmark::State& state) {
  SMatrixContainer a, b;
  std::vector<double> freqs;
  make_pair(a, b, freqs);
  if (state.range(0) == 1) {
    for (std::size_t k = 0; k + 1 < freqs.size(); ++k)
      freqs[k] = 0.5 * (freqs[k] + freqs[k + 1]);
    freqs.pop_back();
  }
  const double entries = static_cast<double>(freqs.size() * kPorts * kPorts);
  std::vector<double> baseline, worst, rms;
  time_evaluation(a, b, freqs);  // warms the caches and the allocator for every row alike
  for (auto _ : state) {
    baseline.push_back(time_evaluation(a, b, freqs));
    auto start = std::chrono::steady_clock::now();
    const korvantix::DistanceLocation at = korvantix::max_distance(a, b, freqs);
    worst.push_back(seconds_since(start));
    benchmark::DoNotOptimize(at);
    start = std::chrono::steady_clock::now();
    const double d = korvantix::distance(a, b, freqs);
    rms.push_back(seconds_since(start));
    benchmark::DoNotOptimize(d);
    state.SetIterationTime(worst.back());
  }
  state.SetItemsProcessed(
      static_cast<std::int64_t>(static_cast<double>(state.iterations()) * entries));
  state.counters["ns_per_entry"] = 1e9 * median(worst) / entries;
  state.counters["baseline_ns_per_entry"] = 1e9 * median(baseline) / entries;
  state.counters["overhead"] = median(worst) / median(baseline) - 1.0;
  state.counters["distance_overhead"] = median(rms) / median(baseline) - 1.0;
}

BENCHMARK(BM_MaxDistance)
    ->Arg(0)
    ->Arg(1)
    ->UseManualTime()
    ->Iterations(15)
    ->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
