// Throughput of the kvx-file cores on an in-memory container of 4 ports, 4000 samples and 40
// pole-zero models (about 4 MB of ASCII text). Every row reports MB/s of file bytes; the rows
// marked "baseline" are measured in the same run and each other row carries the counter
// "vs_baseline": its speed divided by its baseline's (best of a few passes each).
//   ascii/write  vs ascii/ostream_numbers: an ostringstream printing the same doubles at
//                precision 16 (the least a stream-based writer pays);
//   ascii/read   vs ascii/istream_words: an istringstream splitting the same text into words
//                (the least a stream-based reader pays, before converting any number);
//   binary/write and binary/read vs binary/memcpy: copying the same number of bytes.
#include <korvantix/container.hpp>
#include <korvantix/scalar.hpp>

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <complex>
#include <cstring>
#include <locale>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "detail/output_buffer.hpp"
#include "io/ascii_reader.hpp"
#include "io/ascii_writer.hpp"
#include "io/binary_reader.hpp"
#include "io/binary_writer.hpp"

namespace {

using korvantix::SMatrixContainer;
using C = std::complex<double>;
using Clock = std::chrono::steady_clock;

const SMatrixContainer& container() {
  static const SMatrixContainer data = [] {
    std::mt19937_64 random(7);
    std::uniform_real_distribution<double> value(-1.0, 1.0);
    const std::vector<korvantix::PortDataName> names = {{"Gamma", 0}, {"Zpi", 3}};
    SMatrixContainer c(4, names);
    for (int k = 0; k < 4000; ++k) {
      korvantix::SMatrixSample s(4, 1e9 + k * 1e6, names);
      for (C& z : s.S())
        z = C(value(random), value(random));
      for (C& z : s.Zref())
        z = C(50 + value(random), value(random));
      for (const auto& name : names)
        s.set(name, C(value(random), value(random)));
      c.add(s);
    }
    for (int k = 0; k < 40; ++k) {
      korvantix::SMatrixModel m(4, 1e10 + k * 1e8, 1e10 + k * 1e8 + 5e7, names);
      std::vector<C> poles(8), residues(8);
      for (C& p : poles)
        p = C(value(random), value(random));
      for (C& r : residues)
        r = C(value(random), value(random));
      const korvantix::PoleZeroModel entry(1e9, poles, residues, C(value(random), 0), C());
      for (std::size_t i = 0; i < 4; ++i) {
        for (std::size_t j = 0; j < 4; ++j)
          m.set(i, j, &entry);
      }
      c.add(m);
    }
    return c;
  }();
  return data;
}

template <class Format>
std::string file(Format format) {
  std::string out;
  {
    korvantix::detail::OutputBuffer buffer(out);
    format(buffer);
  }
  return out;
}

const std::string& ascii_text() {
  static const std::string text = file([](korvantix::detail::OutputBuffer& b) {
    korvantix::detail::format_ascii(container(), b, 16);
  });
  return text;
}

const std::string& binary_bytes() {
  static const std::string bytes = file(
      [](korvantix::detail::OutputBuffer& b) { korvantix::detail::format_binary(container(), b); });
  return bytes;
}

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

std::size_t ostream_numbers() {
  std::ostringstream out;
  out.imbue(std::locale::classic());
  out << std::scientific;
  out.precision(16);
  for (auto s = container().begin_samples(); s != container().end_samples(); ++s) {
    out << s->frequency() << '\n';
    for (const C& z : s->S())
      out << z << '\t';
    for (const C& z : s->Zref())
      out << z << '\t';
    for (auto d = s->begin_port_data(); d != s->end_port_data(); ++d)
      out << d->second << '\t';
  }
  return out.str().size();
}

std::size_t istream_words() {
  std::istringstream in(ascii_text());
  in.imbue(std::locale::classic());
  std::string word;
  std::size_t n = 0;
  while (in >> word)
    ++n;
  return n;
}

std::size_t copy_bytes(std::vector<char>& to) {
  std::memcpy(to.data(), binary_bytes().data(), binary_bytes().size());
  return to.size();
}

template <class Pass>
void run(benchmark::State& state, std::size_t bytes, Pass pass, double baseline_seconds) {
  double best = 1e300;
  for (auto _ : state) {
    const auto start = Clock::now();
    benchmark::DoNotOptimize(pass());
    best = std::min(best, std::chrono::duration<double>(Clock::now() - start).count());
  }
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * bytes));
  if (baseline_seconds > 0.0) {
    state.counters["vs_baseline"] = baseline_seconds / best;
  } else {
    state.SetLabel("baseline");
  }
}

void ascii_ostream_numbers(benchmark::State& state) {
  run(state, ascii_text().size(), ostream_numbers, 0.0);
}

void ascii_write(benchmark::State& state) {
  static const double baseline = best_seconds(ostream_numbers);
  std::string out;
  out.reserve(ascii_text().size());
  run(
      state, ascii_text().size(),
      [&] {
        out.clear();
        korvantix::detail::OutputBuffer buffer(out);
        korvantix::detail::format_ascii(container(), buffer, 16);
        buffer.flush();
        return out.size();
      },
      baseline);
}

void ascii_istream_words(benchmark::State& state) {
  run(state, ascii_text().size(), istream_words, 0.0);
}

void ascii_read(benchmark::State& state) {
  static const double baseline = best_seconds(istream_words);
  run(
      state, ascii_text().size(),
      [] {
        SMatrixContainer c;
        korvantix::detail::parse_ascii(ascii_text(), c);
        return c.nbSamples();
      },
      baseline);
}

void binary_memcpy(benchmark::State& state) {
  std::vector<char> to(binary_bytes().size());
  run(
      state, binary_bytes().size(), [&] { return copy_bytes(to); }, 0.0);
}

double memcpy_seconds() {
  static const double seconds = [] {
    std::vector<char> to(binary_bytes().size());
    return best_seconds([&] { return copy_bytes(to); });
  }();
  return seconds;
}

void binary_write(benchmark::State& state) {
  std::string out;
  out.reserve(binary_bytes().size());
  run(
      state, binary_bytes().size(),
      [&] {
        out.clear();
        korvantix::detail::OutputBuffer buffer(out);
        korvantix::detail::format_binary(container(), buffer);
        buffer.flush();
        return out.size();
      },
      memcpy_seconds());
}

void binary_read(benchmark::State& state) {
  run(
      state, binary_bytes().size(),
      [] {
        SMatrixContainer c;
        korvantix::detail::parse_binary(binary_bytes(), c);
        return c.nbSamples();
      },
      memcpy_seconds());
}

}  // namespace

BENCHMARK(ascii_ostream_numbers)->Name("ascii/ostream_numbers")->Unit(benchmark::kMillisecond);
BENCHMARK(ascii_write)->Name("ascii/write")->Unit(benchmark::kMillisecond);
BENCHMARK(ascii_istream_words)->Name("ascii/istream_words")->Unit(benchmark::kMillisecond);
BENCHMARK(ascii_read)->Name("ascii/read")->Unit(benchmark::kMillisecond);
BENCHMARK(binary_memcpy)->Name("binary/memcpy")->Unit(benchmark::kMillisecond);
BENCHMARK(binary_write)->Name("binary/write")->Unit(benchmark::kMillisecond);
BENCHMARK(binary_read)->Name("binary/read")->Unit(benchmark::kMillisecond);

BENCHMARK_MAIN();
