// kvx convert of a 4-port, 100,000-frequency Touchstone file to a binary kvx-file, timed as a
// user runs it (a process started with the paths, the output complete on disk when it exits),
// against the same work done in this process with read_touchstone and write_binary. The two
// are interleaved in every iteration (their order alternating) and the counters report the
// medians of the wall-clock times and of the per-iteration ratio; both outputs are checked to be
// byte-identical first.
#include <korvantix/container.hpp>
#include <korvantix/export.hpp>
#include <korvantix/import.hpp>
#include <korvantix/io.hpp>

#include <benchmark/benchmark.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <complex>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

extern char** environ;

namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

constexpr std::size_t kPorts = 4;
constexpr std::size_t kFrequencies = 100000;

const fs::path& input() {
  static const fs::path path = [] {
    const fs::path dir =
        fs::temp_directory_path() / ("kvx-convert-bench-" + std::to_string(::getpid()));
    fs::create_directories(dir);
    korvantix::SMatrixContainer c(kPorts);
    std::mt19937_64 random(11);
    std::uniform_real_distribution<double> value(-1.0, 1.0);
    for (std::size_t k = 0; k < kFrequencies; ++k) {
      korvantix::SMatrixSample s(kPorts, 1e9 + 1e4 * static_cast<double>(k));
      for (auto& entry : s.S())
        entry = {value(random), value(random)};
      for (auto& z : s.Zref())
        z = 50.0;
      c.add(std::move(s));
    }
    write(c, (dir / "input.s4p").c_str(), korvantix::Touchstone);
    return dir / "input.s4p";
  }();
  return path;
}

std::string bytes(const fs::path& path) {
  std::ifstream in(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

double run_kvx(const fs::path& out) {
  const std::string in = input().string(), target = out.string();
  const char* argv[] = {KVX_PATH, "convert", in.c_str(), target.c_str(), nullptr};
  const auto start = Clock::now();
  pid_t pid = 0;
  if (posix_spawn(&pid, KVX_PATH, nullptr, nullptr, const_cast<char**>(argv), environ) != 0)
    throw std::runtime_error("cannot start " KVX_PATH);
  int status = 0;
  waitpid(pid, &status, 0);
  const double seconds = std::chrono::duration<double>(Clock::now() - start).count();
  if (!WIFEXITED(status) || WEXITSTATUS(status) != 0)
    throw std::runtime_error("kvx convert failed");
  return seconds;
}

double run_library(const fs::path& out) {
  const auto start = Clock::now();
  korvantix::SMatrixContainer c;
  korvantix::read_touchstone(c, input().c_str());
  korvantix::write_binary(c, out.c_str());
  return std::chrono::duration<double>(Clock::now() - start).count();
}

double median(std::vector<double> values) {
  std::sort(values.begin(), values.end());
  const std::size_t n = values.size();
  return n % 2 ? values[n / 2] : (values[n / 2 - 1] + values[n / 2]) / 2;
}

void BM_KvxConvertTouchstoneToBinary(benchmark::State& state) {
  const fs::path dir = input().parent_path();
  const fs::path tool_out = dir / "tool.kvxb", library_out = dir / "library.kvxb";
  try {
    run_library(library_out);
    run_kvx(tool_out);
  } catch (const std::exception& error) {
    state.SkipWithError(error.what());
    return;
  }
  if (bytes(tool_out) != bytes(library_out)) {
    state.SkipWithError("kvx and the library wrote different files");
    return;
  }
  std::vector<double> tool, library, ratio;
  for (auto _ : state) {
    fs::remove(tool_out);
    fs::remove(library_out);
    double t = 0, l = 0;
    if (tool.size() % 2 == 0) {
      t = run_kvx(tool_out);
      l = run_library(library_out);
    } else {
      l = run_library(library_out);
      t = run_kvx(tool_out);
    }
    tool.push_back(t);
    library.push_back(l);
    ratio.push_back(t / l);
    state.SetIterationTime(t);
  }
  const double size = static_cast<double>(fs::file_size(input()));
  state.counters["kvx_s"] = median(tool);
  state.counters["library_s"] = median(library);
  state.counters["ratio"] = median(ratio);
  state.counters["kvx_MB_per_s"] = size / 1e6 / median(tool);
  fs::remove_all(dir);
}

BENCHMARK(BM_KvxConvertTouchstoneToBinary)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond)
    ->Iterations(31);

}  // namespace

BENCHMARK_MAIN();
