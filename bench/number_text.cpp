// Number text throughput: formatting a million doubles the way the writers do (scientific, 16
// digits) and parsing the text back the way the readers do. Every row reports MB/s of text; the
// stream versions are the baselines, and each other row carries the counter "vs_stream": its
// speed divided by the stream's, both timed in this same run (best of a few passes).
//   format/OutputBuffer and format/to_chars_loop (the ceiling) vs format/ostringstream,
//   parse/parse_real vs parse/istringstream.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <charconv>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <locale>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "detail/number_format.hpp"
#include "detail/number_parse.hpp"
#include "detail/output_buffer.hpp"

namespace {

constexpr std::size_t kValues = 1'000'000;
constexpr int kPrecision = 16;

const std::vector<double>& values() {
  static const std::vector<double> data = [] {
    std::mt19937_64 random(42);
    std::uniform_real_distribution<double> mantissa(-10.0, 10.0);
    std::uniform_int_distribution<int> exponent(-12, 12);
    std::vector<double> v(kValues);
    for (double& x : v)
      x = mantissa(random) * std::pow(10.0, exponent(random));
    return v;
  }();
  return data;
}

// The text every formatter produces and the parsers read: one value per line.
const std::string& text() {
  static const std::string data = [] {
    std::string out;
    korvantix::detail::OutputBuffer buffer(out);
    for (const double x : values()) {
      buffer.scientific(x, kPrecision);
      buffer.put('\n');
    }
    buffer.flush();
    return out;
  }();
  return data;
}

using Clock = std::chrono::steady_clock;

std::size_t format_stream() {
  std::ostringstream out;
  out.imbue(std::locale::classic());
  out << std::scientific;
  out.precision(kPrecision);
  for (const double x : values())
    out << x << '\n';
  return out.str().size();
}

std::size_t format_buffer(std::string& out) {
  out.clear();
  korvantix::detail::OutputBuffer buffer(out);
  for (const double x : values()) {
    buffer.scientific(x, kPrecision);
    buffer.put('\n');
  }
  buffer.flush();
  return out.size();
}

std::size_t format_to_chars(std::vector<char>& memory) {
  char* p = memory.data();
  for (const double x : values()) {
    p = std::to_chars(p, p + 32, x, std::chars_format::scientific, kPrecision).ptr;
    *p++ = '\n';
  }
  return static_cast<std::size_t>(p - memory.data());
}

double parse_stream() {
  std::istringstream in(text());
  in.imbue(std::locale::classic());
  double sum = 0.0;
  double x = 0.0;
  while (in >> x)
    sum += x;
  return sum;
}

double parse_ours() {
  const char* const last = text().data() + text().size();
  const char* p = text().data();
  double sum = 0.0;
  double x = 0.0;
  for (;;) {
    const korvantix::detail::ParseResult result = korvantix::detail::parse_real(p, last, x);
    if (!result.ok) break;
    sum += x;
    p = result.ptr;
  }
  return sum;
}

// Best of three passes of a stream baseline, measured once per run for the ratio counters.
template <class Pass>
double best_seconds(Pass pass) {
  double best = 1e300;
  for (int i = 0; i < 3; ++i) {
    const auto start = Clock::now();
    benchmark::DoNotOptimize(pass());
    best = std::min(best, std::chrono::duration<double>(Clock::now() - start).count());
  }
  return best;
}

double format_stream_seconds() {
  static const double seconds = best_seconds(format_stream);
  return seconds;
}

double parse_stream_seconds() {
  static const double seconds = best_seconds(parse_stream);
  return seconds;
}

// Runs pass under the benchmark loop, reports MB/s and items/s and, given a baseline, the
// speed ratio against it.
template <class Pass>
void run(benchmark::State& state, Pass pass, double baseline_seconds) {
  double best = 1e300;
  for (auto _ : state) {
    const auto start = Clock::now();
    benchmark::DoNotOptimize(pass());
    best = std::min(best, std::chrono::duration<double>(Clock::now() - start).count());
  }
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * text().size()));
  state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations() * kValues));
  if (baseline_seconds > 0.0) state.counters["vs_stream"] = baseline_seconds / best;
}

void format_ostringstream(benchmark::State& state) {
  run(state, format_stream, 0.0);
  state.SetLabel("baseline");
}

void format_output_buffer(benchmark::State& state) {
  std::string out;
  out.reserve(text().size());
  run(
      state, [&] { return format_buffer(out); }, format_stream_seconds());
}

void format_to_chars_loop(benchmark::State& state) {
  std::vector<char> memory(text().size() + 64);
  run(
      state, [&] { return format_to_chars(memory); }, format_stream_seconds());
  state.SetLabel("bare to_chars into memory");
}

void parse_istringstream(benchmark::State& state) {
  run(state, parse_stream, 0.0);
  state.SetLabel("baseline");
}

void parse_parse_real(benchmark::State& state) {
  run(state, parse_ours, parse_stream_seconds());
}

}  // namespace

BENCHMARK(format_ostringstream)->Name("format/ostringstream")->Unit(benchmark::kMillisecond);
BENCHMARK(format_output_buffer)->Name("format/OutputBuffer")->Unit(benchmark::kMillisecond);
BENCHMARK(format_to_chars_loop)->Name("format/to_chars_loop")->Unit(benchmark::kMillisecond);
BENCHMARK(parse_istringstream)->Name("parse/istringstream")->Unit(benchmark::kMillisecond);
BENCHMARK(parse_parse_real)->Name("parse/parse_real")->Unit(benchmark::kMillisecond);

BENCHMARK_MAIN();
