// Batch evaluation of scalar models against the same number of single-frequency calls, timed
// side by side in every iteration so the ratio holds on a busy machine.
//
// Counters: ns_per_value (batch), single_ns_per_value (one virtual evaluate(f) per value) and
// single_over_batch (> 1 means the batch form is faster).

#include <korvantix/scalar.hpp>

#include <benchmark/benchmark.h>

#include <chrono>
#include <cmath>
#include <complex>
#include <memory>
#include <vector>

namespace {

using Complex = std::complex<double>;
using Clock = std::chrono::steady_clock;

constexpr std::size_t kFrequencies = 100000;

std::vector<double> frequencies() {
  std::vector<double> freqs(kFrequencies);
  for (std::size_t i = 0; i < kFrequencies; ++i)
    freqs[i] = 1e6 + 2e5 * static_cast<double>(i);
  return freqs;
}

std::unique_ptr<korvantix::ScalarModel> pole_zero_model() {
  std::vector<Complex> poles, residues;
  for (int k = 0; k < 25; ++k) {
    const Complex pole(-0.05 - 0.01 * k, 0.5 + 0.8 * k);
    const Complex residue(0.1 + 0.02 * k, -0.03 * k);
    poles.push_back(pole);
    poles.push_back(std::conj(pole));
    residues.push_back(residue);
    residues.push_back(std::conj(residue));
  }
  return std::make_unique<korvantix::PoleZeroModel>(1e9, poles, residues, Complex(0.01, 0),
                                                    Complex(1e-3, 0));
}

std::unique_ptr<korvantix::ScalarModel> polynomial_model() {
  std::vector<Complex> coef;
  for (int k = 0; k <= 8; ++k)
    coef.emplace_back(1.0 / (k + 1), std::pow(-0.5, k));
  return std::make_unique<korvantix::PolynomialModel>(coef);
}

void compare(benchmark::State& state, const korvantix::ScalarModel& model) {
  const std::vector<double> freqs = frequencies();
  std::vector<Complex> values, work, singles(freqs.size());
  double batch_seconds = 0;
  double single_seconds = 0;
  for (auto _ : state) {
    const auto t0 = Clock::now();
    model.evaluate(freqs, values, work);
    benchmark::DoNotOptimize(values.data());
    const auto t1 = Clock::now();
    for (std::size_t i = 0; i < freqs.size(); ++i)
      singles[i] = model.evaluate(freqs[i]);
    benchmark::DoNotOptimize(singles.data());
    const auto t2 = Clock::now();
    const double batch = std::chrono::duration<double>(t1 - t0).count();
    batch_seconds += batch;
    single_seconds += std::chrono::duration<double>(t2 - t1).count();
    state.SetIterationTime(batch);
  }
  if (values != singles) state.SkipWithError("batch and single values differ");
  const double count = static_cast<double>(state.iterations()) * static_cast<double>(freqs.size());
  state.counters["ns_per_value"] = 1e9 * batch_seconds / count;
  state.counters["single_ns_per_value"] = 1e9 * single_seconds / count;
  state.counters["single_over_batch"] = single_seconds / batch_seconds;
  state.SetItemsProcessed(static_cast<std::int64_t>(count));
}

void PoleZero50Poles(benchmark::State& state) {
  compare(state, *pole_zero_model());
}
void Polynomial8(benchmark::State& state) {
  compare(state, *polynomial_model());
}

BENCHMARK(PoleZero50Poles)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(Polynomial8)->UseManualTime()->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
