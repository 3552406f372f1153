// Touchstone export throughput: a 4-port container of 100,000 frequencies and a 32-port one of
// 1,000 frequencies, written by TouchstoneFile (version 2.0, no date line) and by a naive
// std::ofstream writer of the same layout that streams every value with operator<<. Both files
// are checked to be byte-identical before timing. Each row reports MB/s of file text; the
// TouchstoneFile rows carry "vs_ofstream", their speed divided by the naive writer's, both timed
// in this same run (best of a few passes).
#include <korvantix/container.hpp>
#include <korvantix/export.hpp>

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <complex>
#include <cstddef>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <locale>
#include <random>
#include <string>

namespace {

using korvantix::SMatrixContainer;
using korvantix::SMatrixSample;
using Clock = std::chrono::steady_clock;

const SMatrixContainer& container(std::size_t ports, std::size_t frequencies) {
  static SMatrixContainer four;
  static SMatrixContainer thirty_two;
  SMatrixContainer& c = ports == 4 ? four : thirty_two;
  if (c.nbPorts() == 0) {
    c = SMatrixContainer(ports);
    std::mt19937_64 random(7);
    std::uniform_real_distribution<double> value(-1.0, 1.0);
    for (std::size_t k = 0; k < frequencies; ++k) {
      SMatrixSample s(ports, 1e6 + 1e4 * static_cast<double>(k));
      for (std::size_t i = 0; i < ports; ++i) {
        s.Zref(i) = 50.0;
        for (std::size_t j = 0; j < ports; ++j)
          s(i, j) = {value(random), value(random)};
      }
      c.add(s);
    }
  }
  return c;
}

std::string path_for(const char* name) {
  return (std::filesystem::temp_directory_path() / name).string();
}

void write_korvantix(const SMatrixContainer& c, const std::string& path) {
  korvantix::TouchstoneFile file(c);
  file.setPath(path);
  file.setVersion(2);
  file.write();
}

// The same layout, one operator<< per value: the way a writer on top of std::ofstream does it.
void write_naive(const SMatrixContainer& c, const std::string& path) {
  std::ofstream out(path);
  out.imbue(std::locale::classic());
  const std::size_t n = c.nbPorts();
  out << "[Version] 2.0\n# Hz S RI R " << 50.0 << "\n[Number of Ports] " << n;
  if (n == 2) out << "\n[Two-Port Data Order] 21_12";
  out << "\n[Number of Frequencies] " << c.nbSamples() << "\n[Network Data]";
  for (std::size_t i = 0; i < n; ++i)
    out << "\n! Port[" << i + 1 << "] " << c.name(i);
  out.precision(16);
  out << std::scientific;
  for (auto it = c.begin_samples(); it != c.end_samples(); ++it) {
    out << "\n" << it->frequency() << " ";
    for (std::size_t i = 0; i < n; ++i) {
      for (std::size_t j = 0; j < n; ++j) {
        if (j % 4 == 0 && (i != 0 || j != 0)) out << "\n    ";
        out << (*it)(i, j).real() << " " << (*it)(i, j).imag() << " ";
      }
    }
  }
  out << "\n[End]\n";
}

std::string slurp(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

template <class Writer>
double best_seconds(Writer writer, int passes) {
  double best = 1e300;
  for (int p = 0; p < passes; ++p) {
    const auto start = Clock::now();
    writer();
    best = std::min(best, std::chrono::duration<double>(Clock::now() - start).count());
  }
  return best;
}

void export_touchstone(benchmark::State& state) {
  const std::size_t ports = static_cast<std::size_t>(state.range(0));
  const SMatrixContainer& c = container(ports, static_cast<std::size_t>(state.range(1)));
  const std::string ours = path_for("korvantix_bench_ours.snp");
  const std::string naive = path_for("korvantix_bench_naive.snp");
  write_korvantix(c, ours);
  write_naive(c, naive);
  const std::string text = slurp(ours);
  if (text != slurp(naive)) {
    state.SkipWithError("the two writers disagree");
    return;
  }
  const double naive_seconds = best_seconds([&] { write_naive(c, naive); }, 3);
  double our_seconds = 1e300;
  for (auto _ : state) {
    const auto start = Clock::now();
    write_korvantix(c, ours);
    our_seconds =
        std::min(our_seconds, std::chrono::duration<double>(Clock::now() - start).count());
  }
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * text.size()));
  state.counters["naive_MB/s"] = static_cast<double>(text.size()) / naive_seconds / 1e6;
  state.counters["vs_ofstream"] = naive_seconds / our_seconds;
  std::remove(ours.c_str());
  std::remove(naive.c_str());
}

void naive_ofstream(benchmark::State& state) {
  const SMatrixContainer& c =
      container(static_cast<std::size_t>(state.range(0)), static_cast<std::size_t>(state.range(1)));
  const std::string naive = path_for("korvantix_bench_naive.snp");
  write_naive(c, naive);
  const std::size_t size = slurp(naive).size();
  for (auto _ : state)
    write_naive(c, naive);
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * size));
  std::remove(naive.c_str());
}

}  // namespace

BENCHMARK(export_touchstone)->Args({4, 100000})->Args({32, 1000})->Unit(benchmark::kMillisecond);
BENCHMARK(naive_ofstream)->Args({4, 100000})->Args({32, 1000})->Unit(benchmark::kMillisecond);

BENCHMARK_MAIN();
