// Touchstone export throughput: a 4-port container of 100,000 frequencies and a 32-port one of
// 1,000 frequencies, written by TouchstoneFile (version 2.0, no date line) and by a naive
// std::ofstream writer of the same layout that streams every value with operator<<. Both files
// are checked to be byte-identical before timing. Each row reports MB/s of file text; the
// TouchstoneFile rows carry "vs_ofstream", their speed divided by the naive writer's in process
// CPU time, and "vs_ofstream_wall" in wall-clock time (which includes the same file-system work
// for both, and the noise of a shared machine), both timed in this same run (best of a few
// passes).
#include <korvantix/container.hpp>
#include <korvantix/export.hpp>

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <complex>
#include <cstddef>
#include <cstdio>
#include <ctime>
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

// Wall-clock and process CPU seconds of one call.
struct Seconds {
  double wall;
  double cpu;
};

template <class Writer>
Seconds timed(Writer writer) {
  const auto wall = Clock::now();
  const std::clock_t cpu = std::clock();
  writer();
  return {std::chrono::duration<double>(Clock::now() - wall).count(),
          static_cast<double>(std::clock() - cpu) / CLOCKS_PER_SEC};
}

void keep_best(Seconds& best, const Seconds& next) {
  best.wall = std::min(best.wall, next.wall);
  best.cpu = std::min(best.cpu, next.cpu);
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
  Seconds naive_best{1e300, 1e300};
  for (int p = 0; p < 3; ++p)
    keep_best(naive_best, timed([&] { write_naive(c, naive); }));
  Seconds our_best{1e300, 1e300};
  for (auto _ : state)
    keep_best(our_best, timed([&] { write_korvantix(c, ours); }));
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * text.size()));
  state.counters["naive_MB/s"] = static_cast<double>(text.size()) / naive_best.cpu / 1e6;
  state.counters["vs_ofstream"] = naive_best.cpu / our_best.cpu;
  state.counters["vs_ofstream_wall"] = naive_best.wall / our_best.wall;
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
