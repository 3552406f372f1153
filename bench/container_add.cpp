// Adding samples to a container: 100,000 four-port samples per round, in ascending frequency
// (as readers and loaders add them) and shuffled. The baseline, timed in the same round, pushes
// the same samples into a std::vector; "ratio" is the container's time over the baseline's.
// BM_Copy copies a container of those 100,000 samples, against copying the std::vector that
// holds them, timed in the same round.

#include <korvantix/container.hpp>

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <complex>
#include <cstddef>
#include <random>
#include <vector>

namespace {

constexpr std::size_t kSamples = 100000;
constexpr std::size_t kPorts = 4;

std::vector<korvantix::SMatrixSample> make_samples(bool shuffled) {
  std::mt19937_64 random(12345);
  std::uniform_real_distribution<double> value(-1.0, 1.0);
  std::vector<korvantix::SMatrixSample> samples;
  samples.reserve(kSamples);
  for (std::size_t k = 0; k < kSamples; ++k) {
    korvantix::SMatrixSample s(kPorts, 1e6 + 1e4 * static_cast<double>(k));
    for (auto& entry : s.S())
      entry = {value(random), value(random)};
    for (auto& z : s.Zref())
      z = {50.0, 0.0};
    samples.push_back(std::move(s));
  }
  if (shuffled) std::shuffle(samples.begin(), samples.end(), random);
  return samples;
}

double seconds_since(std::chrono::steady_clock::time_point start) {
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

void add_samples(benchmark::State& state, bool shuffled) {
  const std::vector<korvantix::SMatrixSample> samples = make_samples(shuffled);
  double container_seconds = 0.0;
  double baseline_seconds = 0.0;
  for (auto _ : state) {
    {
      std::vector<korvantix::SMatrixSample> copies;
      const auto start = std::chrono::steady_clock::now();
      copies.reserve(samples.size());
      for (const auto& s : samples)
        copies.push_back(s);
      benchmark::DoNotOptimize(copies.data());
      baseline_seconds += seconds_since(start);
    }
    korvantix::SMatrixContainer container(kPorts);
    const auto start = std::chrono::steady_clock::now();
    for (const auto& s : samples)
      container.add(s);
    benchmark::DoNotOptimize(container.nbSamples());
    const double elapsed = seconds_since(start);
    container_seconds += elapsed;
    state.SetIterationTime(elapsed);
  }
  const double adds = static_cast<double>(state.iterations()) * static_cast<double>(kSamples);
  state.SetItemsProcessed(static_cast<std::int64_t>(adds));
  state.counters["ns_per_add"] = 1e9 * container_seconds / adds;
  state.counters["baseline_ns_per_push"] = 1e9 * baseline_seconds / adds;
  state.counters["ratio"] = container_seconds / baseline_seconds;
  state.counters["ms_per_100k"] = 1e3 * container_seconds / static_cast<double>(state.iterations());
}

void BM_AddAscending(benchmark::State& state) {
  add_samples(state, false);
}
void BM_AddShuffled(benchmark::State& state) {
  add_samples(state, true);
}

void BM_Copy(benchmark::State& state) {
  const std::vector<korvantix::SMatrixSample> samples = make_samples(false);
  korvantix::SMatrixContainer source(kPorts);
  for (const auto& s : samples)
    source.add(s);
  double container_seconds = 0.0;
  double baseline_seconds = 0.0;
  for (auto _ : state) {
    {
      const auto start = std::chrono::steady_clock::now();
      const std::vector<korvantix::SMatrixSample> copies(samples);
      benchmark::DoNotOptimize(copies.data());
      baseline_seconds += seconds_since(start);
    }
    const auto start = std::chrono::steady_clock::now();
    const korvantix::SMatrixContainer copy(source);
    benchmark::DoNotOptimize(copy.nbSamples());
    const double elapsed = seconds_since(start);
    container_seconds += elapsed;
    state.SetIterationTime(elapsed);
  }
  const double rounds = static_cast<double>(state.iterations());
  state.counters["ms_per_copy"] = 1e3 * container_seconds / rounds;
  state.counters["baseline_ms"] = 1e3 * baseline_seconds / rounds;
  state.counters["ratio"] = container_seconds / baseline_seconds;
}

BENCHMARK(BM_AddAscending)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(BM_AddShuffled)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Copy)->UseManualTime()->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
