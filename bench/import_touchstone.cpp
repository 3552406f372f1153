// Speed of read_touchstone on a 4-port, 100,000-frequency Touchstone 1.1 file written by the
// library (about 80 MB): a path in, a fresh container out, wall-clock. The baseline reads the
// same numbers with a plain std::ifstream >> double loop (skipping the "!" and "#" lines) into
// a vector. Each iteration times one read of each, interleaved; the counters are the medians:
//   MB/s           our read             baseline_MB/s   the ifstream loop
//   vs_ifstream    baseline time / ours (goal >= 5)
// A second row times the parsing core on the file's text already in memory.
#include <korvantix/container.hpp>
#include <korvantix/export.hpp>
#include <korvantix/import.hpp>

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <complex>
#include <cstdio>
#include <fstream>
#include <limits>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "import/readers.hpp"

namespace {

using korvantix::SMatrixContainer;
using korvantix::SMatrixSample;
using C = std::complex<double>;
using Clock = std::chrono::steady_clock;

constexpr std::size_t kPorts = 4;
constexpr std::size_t kFrequencies = 100000;

struct File {
  std::string path;
  double megabytes = 0.0;
  std::string text;
};

const File& file() {
  static const File f = [] {
    std::mt19937_64 random(42);
    std::uniform_real_distribution<double> unit(-1.0, 1.0);
    SMatrixContainer c(kPorts);
    for (std::size_t k = 0; k < kFrequencies; ++k) {
      SMatrixSample s(kPorts, 1e9 + 1e4 * static_cast<double>(k));
      for (C& z : s.S())
        z = C(unit(random), unit(random));
      for (C& z : s.Zref())
        z = 50.0;
      c.add(std::move(s));
    }
    File out;
    out.path = "/tmp/korvantix_bench_import.s4p";
    korvantix::write(c, out.path.c_str(), korvantix::TouchstoneV1);
    std::ifstream in(out.path, std::ios::binary);
    std::ostringstream text;
    text << in.rdbuf();
    out.text = text.str();
    out.megabytes = static_cast<double>(out.text.size()) / 1e6;
    return out;
  }();
  return f;
}

std::vector<double> ifstream_numbers(const std::string& path) {
  std::vector<double> values;
  std::ifstream in(path);
  while (in >> std::ws) {
    const int c = in.peek();
    if (c == '!' || c == '#') {
      in.ignore(std::numeric_limits<std::streamsize>::max(), '\n');
      continue;
    }
    double v = 0.0;
    if (!(in >> v)) break;
    values.push_back(v);
  }
  return values;
}

double seconds_since(Clock::time_point start) {
  return std::chrono::duration<double>(Clock::now() - start).count();
}

double median(std::vector<double> v) {
  std::sort(v.begin(), v.end());
  return v[v.size() / 2];
}

void read_touchstone_file(benchmark::State& state) {
  const File& f = file();
  std::vector<double> ours;
  std::vector<double> baseline;
  for (auto _ : state) {
    double t = 0.0;
    {
      SMatrixContainer c;
      const Clock::time_point start = Clock::now();
      korvantix::read_touchstone(c, f.path.c_str());
      t = seconds_since(start);
      if (c.nbSamples() != kFrequencies) state.SkipWithError("wrong sample count");
    }
    ours.push_back(t);
    state.SetIterationTime(t);
    const Clock::time_point start = Clock::now();
    const std::vector<double> values = ifstream_numbers(f.path);
    baseline.push_back(seconds_since(start));
    benchmark::DoNotOptimize(values.data());
  }
  state.counters["MB/s"] = f.megabytes / median(ours);
  state.counters["baseline_MB/s"] = f.megabytes / median(baseline);
  state.counters["vs_ifstream"] = median(baseline) / median(ours);
  state.counters["file_MB"] = f.megabytes;
}

void parse_touchstone_in_memory(benchmark::State& state) {
  const File& f = file();
  for (auto _ : state) {
    SMatrixContainer c;
    korvantix::detail::parse_touchstone(f.text, f.path, c, nullptr);
    benchmark::DoNotOptimize(c.nbSamples());
  }
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * f.text.size()));
}

BENCHMARK(read_touchstone_file)->Unit(benchmark::kMillisecond)->UseManualTime()->Iterations(5);
BENCHMARK(parse_touchstone_in_memory)->Unit(benchmark::kMillisecond)->Iterations(3);

}  // namespace

BENCHMARK_MAIN();
