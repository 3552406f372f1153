// Speed of the kvx-file readers and writers, each against a baseline timed in the same run.
// Data: containers of 2, 4 and 32 ports (100,000 samples for 2 and 4 ports, 1,000 for 32, so
// that each holds at least a million complex values), two port data names and six models that
// use every scalar kind. Every row reports MB/s of file bytes (the baseline rows are labelled
// "baseline"). Times are wall-clock times of one pass; reads and copies are timed up to the
// finished container, whose destruction falls outside the clock. The headline rows time the
// public functions as a user calls them: a path in (a file in the page cache) and a fresh
// container out; the *_core rows time the parsers on bytes already in memory, so that the cost
// of the file path shows beside them. The counters compare the median times of each row and its
// baselines, timed in the same interleaved iterations:
//   ascii/write        vs_ofstream       = ofstream writer time / ours        (goal >= 4)
//   ascii/format       time_vs_to_chars  = ours / bare to_chars loop time     (goal <= 1.5)
//   ascii/read         vs_ifstream       = ifstream token extraction / read(c, path) (goal >= 4)
//   ascii/read_core    vs_istream        = istringstream extraction / core    (goal >= 4)
//   binary/format      time_vs_copy      = ours / container copy time         (goal <= 1.5)
//                      vs_ascii          = ascii/format time / ours           (goal >= 5)
//   binary/write_file  time_vs_copy      = write_binary(c, path) / copy time  (goal <= 1.5)
//   binary/read        time_vs_copy      = read(c, path) / copy time          (goal <= 1.5)
//                      vs_ascii          = ascii/read time / ours             (goal >= 5)
//   binary/read_core   time_vs_copy, vs_ascii (against ascii/read_core)       (same goals)
//   scaling/*          time_vs_half      = time of twice the data / time of the data (<= 2)
// Run with --benchmark_repetitions=3 --benchmark_report_aggregates_only=true for medians.
#include <korvantix/container.hpp>
#include <korvantix/io.hpp>
#include <korvantix/scalar.hpp>

#include <benchmark/benchmark.h>

#include <algorithm>
#include <charconv>
#include <chrono>
#include <complex>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <functional>
#include <locale>
#include <map>
#include <memory>
#include <random>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "detail/output_buffer.hpp"
#include "io/ascii_reader.hpp"
#include "io/ascii_writer.hpp"
#include "io/binary_reader.hpp"
#include "io/binary_writer.hpp"

namespace {

using korvantix::PortDataName;
using korvantix::ScalarModel;
using korvantix::SMatrixContainer;
using korvantix::SMatrixModel;
using korvantix::SMatrixSample;
using C = std::complex<double>;
namespace detail = korvantix::detail;

constexpr int kPrecision = 16;

// ---------------------------------------------------------------------------------------------
// Data

std::size_t samples_for(std::size_t ports) {
  return ports >= 32 ? 1000 : 100000;
}

std::vector<std::unique_ptr<ScalarModel>> every_kind(std::mt19937_64& random) {
  using namespace korvantix;
  std::uniform_real_distribution<double> unit(-1.0, 1.0);
  auto values = [&](std::size_t n) {
    std::vector<C> v(n);
    for (C& z : v)
      z = C(unit(random), unit(random));
    return v;
  };
  std::vector<double> knots(12);
  for (std::size_t k = 0; k < knots.size(); ++k)
    knots[k] = 1e9 * static_cast<double>(k + 1);
  std::vector<std::unique_ptr<ScalarModel>> kinds;
  kinds.push_back(std::make_unique<PolynomialModel>(values(8)));
  kinds.push_back(std::make_unique<RationalModel>(values(6), values(6), 1e9));
  kinds.push_back(std::make_unique<PoleZeroModel>(1e9, values(8), values(8), C(1, 0), C(0, 1)));
  auto table = std::make_unique<StaticTableModel>(
      3, std::vector<Transformation::Type>{Transformation::Inverse});
  for (std::size_t k = 0; k < 12; ++k)
    table->addSample(knots[k], C(1.5 + unit(random), unit(random)));
  kinds.push_back(std::move(table));
  kinds.push_back(
      std::make_unique<SparameterSplineModel>(knots, values(12), values(12), std::nullopt));
  kinds.push_back(std::make_unique<SparameterSplineModel>(knots, values(12), values(12),
                                                          std::vector<double>{5e8, 2e10}));
  return kinds;
}

SMatrixContainer make_container(std::size_t ports, std::size_t samples) {
  std::mt19937_64 random(ports * 1000003 + samples);
  std::uniform_real_distribution<double> unit(-1.0, 1.0);
  const std::vector<PortDataName> names = {{"Gamma", 0}, {"Zpi", 1}};
  SMatrixContainer c(ports, names);
  for (std::size_t i = 0; i < ports; ++i) {
    c.name(i) = "port " + std::to_string(i);
    c.add_port_property(i, "impedance", "50 Ohm");
  }
  c.add_global_property("origin", "benchmark");
  for (std::size_t k = 0; k < samples; ++k) {
    SMatrixSample s(ports, 1e9 + 1e4 * static_cast<double>(k), names);
    for (C& z : s.S())
      z = C(unit(random), unit(random));
    for (C& z : s.Zref())
      z = C(50.0 + unit(random), unit(random));
    for (const PortDataName& name : names)
      s.set(name, C(unit(random), unit(random)));
    c.add(s);
  }
  const auto kinds = every_kind(random);
  for (std::size_t m = 0; m < 6; ++m) {
    SMatrixModel model(ports, 1e12 + 1e10 * static_cast<double>(m),
                       1e12 + 1e10 * static_cast<double>(m) + 5e9, names);
    for (std::size_t k = 0; k < model.S().size(); ++k)
      model.set(k / ports, k % ports, kinds[(k + m) % kinds.size()].get());
    for (std::size_t i = 0; i < ports; ++i)
      model.setZref(i, kinds[(i + m + 1) % kinds.size()].get());
    for (const PortDataName& name : names)
      model.set(name, kinds[m].get());
    c.add(model);
  }
  return c;
}

struct Data {
  SMatrixContainer container;
  std::string ascii;
  std::string binary;
  std::vector<double> numbers;  // every double of the ASCII text, in order
  std::string ascii_path;       // the same texts as files
  std::string binary_path;
};

std::string ascii_text(const SMatrixContainer& c) {
  std::string text;
  detail::OutputBuffer out(text);
  detail::format_ascii(c, out, kPrecision);
  out.flush();
  return text;
}

std::string binary_text(const SMatrixContainer& c) {
  std::string text;
  detail::OutputBuffer out(text);
  detail::format_binary(c, out);
  out.flush();
  return text;
}

void collect_numbers(const ScalarModel& m, std::vector<double>& out);

void push(std::vector<double>& out, const std::vector<C>& values) {
  for (const C& z : values)
    out.push_back(z.real()), out.push_back(z.imag());
}

std::vector<double> numbers_of(const SMatrixContainer& c) {
  std::vector<double> out;
  for (auto s = c.begin_samples(); s != c.end_samples(); ++s) {
    out.push_back(s->frequency());
    push(out, s->S());
    push(out, s->Zref());
    for (auto d = s->begin_port_data(); d != s->end_port_data(); ++d)
      push(out, {d->second});
  }
  for (auto m = c.begin_models(); m != c.end_models(); ++m) {
    out.push_back(m->from()), out.push_back(m->to());
    for (const auto& e : m->S())
      collect_numbers(*e, out);
    for (const auto& e : m->Zref())
      collect_numbers(*e, out);
    for (auto d = m->begin_port_data(); d != m->end_port_data(); ++d)
      collect_numbers(*d->second, out);
  }
  return out;
}

void collect_numbers(const ScalarModel& model, std::vector<double>& out) {
  using namespace korvantix;
  switch (model.type()) {
    case ScalarModel::Polynomial:
      push(out, dynamic_cast<const PolynomialModel&>(model).coef());
      break;
    case ScalarModel::Rational: {
      const auto& m = dynamic_cast<const RationalModel&>(model);
      out.push_back(m.scale());
      push(out, m.nominator()), push(out, m.denominator());
      break;
    }
    case ScalarModel::PoleZero: {
      const auto& m = dynamic_cast<const PoleZeroModel&>(model);
      push(out, m.poles()), push(out, m.residues());
      push(out, {m.constantFactor(), m.linearFactor()});
      out.push_back(m.scale());
      break;
    }
    case ScalarModel::StaticTable: {
      const auto& m = dynamic_cast<const StaticTableModel&>(model);
      for (std::size_t k = 0; k < m.nbSamples(); ++k) {
        out.push_back(m.getSample(k).first);
        push(out, {m.getSample(k).second});
      }
      break;
    }
    default: {
      const auto& m = dynamic_cast<const SparameterSplineModel&>(model);
      out.insert(out.end(), m.freqs().begin(), m.freqs().end());
      push(out, m.samples()), push(out, m.coefs());
      if (m.subtraction_freqs()) {
        out.insert(out.end(), m.subtraction_freqs()->begin(), m.subtraction_freqs()->end());
      }
    }
  }
}

const Data& data(std::size_t ports, std::size_t samples) {
  static std::map<std::pair<std::size_t, std::size_t>, std::unique_ptr<Data>> cache;
  std::unique_ptr<Data>& slot = cache[{ports, samples}];
  if (!slot) {
    slot = std::make_unique<Data>();
    slot->container = make_container(ports, samples);
    slot->ascii = ascii_text(slot->container);
    slot->binary = binary_text(slot->container);
    slot->numbers = numbers_of(slot->container);
    // The files the public reads start from, written once and read once so that they sit in
    // the page cache.
    const std::string stem =
        "/tmp/korvantix_bench_" + std::to_string(ports) + "_" + std::to_string(samples);
    slot->ascii_path = stem + ".kvx";
    slot->binary_path = stem + ".kvxb";
    korvantix::write_ascii(slot->container, slot->ascii_path.c_str(), kPrecision);
    korvantix::write_binary(slot->container, slot->binary_path.c_str());
    SMatrixContainer warm;
    korvantix::read(warm, slot->ascii_path.c_str());
    korvantix::read(warm, slot->binary_path.c_str());
  }
  return *slot;
}

const Data& data_of(const benchmark::State& state) {
  const auto ports = static_cast<std::size_t>(state.range(0));
  return data(ports, samples_for(ports));
}

// ---------------------------------------------------------------------------------------------
// Baselines: what a stream-based reader and writer of the same format cost.

// The whole file through std::ofstream with operator<<, std::scientific and precision 16;
// complex values through the standard complex inserter, as a stream writer would.
void stream_write(const SMatrixContainer& c, const char* path) {
  using namespace korvantix;
  std::ofstream out(path, std::ios::trunc);
  out.setf(std::ios::scientific, std::ios::floatfield);
  out.precision(kPrecision);
  const std::size_t n = c.nbPorts();
  out << "ASCII KORVANTIX" << 2 << " " << 3 << " " << 0 << "\n";
  out << "\nPORTS " << n;
  for (std::size_t i = 0; i < n; ++i)
    out << "\n\t<" << c.name(i) << ">";
  out << "\n\nPORT DATA NAMES " << c.port_data_names().size();
  for (const PortDataName& name : c.port_data_names())
    out << "\n\t" << name.first << " " << name.second;
  out << "\n\nGLOBAL PROPERTIES " << c.get_global_properties().size();
  for (const auto& [k, v] : c.get_global_properties())
    out << "\n\t<" << k << "> <" << v << ">";
  for (std::size_t i = 0; i < n; ++i) {
    out << "\nPORT PROPERTIES " << i << " " << c.get_port_properties(i).size();
    for (const auto& [k, v] : c.get_port_properties(i))
      out << "\n\t<" << k << "> <" << v << ">";
  }
  out << "\n\nSAMPLES " << c.nbSamples();
  for (auto s = c.begin_samples(); s != c.end_samples(); ++s) {
    out << "\nFREQ " << s->frequency() << " Hz\n\tS";
    for (std::size_t i = 0; i < n; ++i) {
      out << "\n\t";
      for (std::size_t j = 0; j < n; ++j)
        out << "\t" << (*s)(i, j);
    }
    out << "\n\tZref\n\t";
    for (const C& z : s->Zref())
      out << "\t" << z;
    for (auto d = s->begin_port_data(); d != s->end_port_data(); ++d)
      out << "\n\t" << d->first.first << " " << d->first.second << " " << d->second;
  }
  auto list = [&](const std::vector<C>& values) {
    for (const C& z : values)
      out << "\t" << z;
  };
  auto model_text = [&](const ScalarModel& model) {
    switch (model.type()) {
      case ScalarModel::Polynomial: {
        const auto& m = dynamic_cast<const PolynomialModel&>(model);
        out << "\n\t\tPOLY " << m.size() << "\n\t\t";
        list(m.coef());
        break;
      }
      case ScalarModel::Rational: {
        const auto& m = dynamic_cast<const RationalModel&>(model);
        out << "\n\t\tRAT " << m.scale() << " " << m.nominator().size() << " "
            << m.denominator().size() << "\n\t\t";
        list(m.nominator());
        out << "\n\t\t";
        list(m.denominator());
        break;
      }
      case ScalarModel::PoleZero: {
        const auto& m = dynamic_cast<const PoleZeroModel&>(model);
        out << "\n\t\tPOLEZERO " << m.nbPoles() << "\n\t\t\tPOLES";
        list(m.poles());
        out << "\n\t\t\tRESIDUES";
        list(m.residues());
        out << "\n\t\t\tCONSTANT\t" << m.constantFactor() << "\n\t\t\tLINEAR\t" << m.linearFactor()
            << "\n\t\t\tFREQSCALE\t" << m.scale();
        break;
      }
      case ScalarModel::StaticTable: {
        const auto& m = dynamic_cast<const StaticTableModel&>(model);
        out << "\n\t\tSTATICTABLE " << m.degree() << " " << m.nbTransformations() << " "
            << m.nbSamples();
        if (m.nbTransformations() > 0) out << "\n\t\t\t";
        for (std::size_t k = 0; k < m.nbTransformations(); ++k)
          out << (m.getTransformation(k) == Transformation::Inverse ? "Inverse " : "Squared ");
        for (std::size_t k = 0; k < m.nbSamples(); ++k)
          out << "\n\t\t\t" << m.getSample(k).first << "\t" << m.getSample(k).second;
        break;
      }
      default: {
        const auto& m = dynamic_cast<const SparameterSplineModel&>(model);
        const bool causal = model.type() == ScalarModel::CausalityEnforcedSparameterSpline;
        out << (causal ? "\n\t\tCAUSALITYENFORCEDSPARASPLINE " : "\n\t\tSPARASPLINE ")
            << m.nbKnots();
        if (causal) out << " " << m.subtraction_freqs()->size();
        out << "\n\t\t\tFREQS";
        for (const double f : m.freqs())
          out << "\t" << f;
        out << "\n\t\t\tSAMPLES";
        list(m.samples());
        out << "\n\t\t\tCOEFS";
        list(m.coefs());
        if (causal) {
          out << "\n\t\t\tSUBTRACTION_FREQS";
          for (const double f : *m.subtraction_freqs())
            out << "\t" << f;
        }
      }
    }
  };
  out << "\nMODELS " << c.nbModels();
  for (auto m = c.begin_models(); m != c.end_models(); ++m) {
    out << "\nFREQRANGE " << m->from() << " " << m->to() << " Hz\n\tS";
    for (const auto& e : m->S())
      model_text(*e);
    out << "\n\tZref";
    for (const auto& e : m->Zref())
      model_text(*e);
    for (auto d = m->begin_port_data(); d != m->end_port_data(); ++d) {
      out << "\n\t" << d->first.first << " " << d->first.second << " ";
      model_text(*d->second);
    }
  }
}

// The same tokens as the grammar reads them, extracted with operator>> from a stream into plain
// values (no container is built, which favours the baseline).
std::size_t stream_read(std::istream& in) {
  in.imbue(std::locale::classic());
  std::string word;
  std::size_t tokens = 0;
  auto words = [&](int n) {
    for (int k = 0; k < n; ++k)
      in >> word, ++tokens;
  };
  auto count = [&] {
    unsigned long long n = 0;
    in >> n;
    ++tokens;
    return static_cast<std::size_t>(n);
  };
  auto real = [&] {
    double x = 0;
    in >> x;
    ++tokens;
    return x;
  };
  std::vector<C> values;
  auto complexes = [&](std::size_t n) {
    values.resize(n);
    for (C& z : values)
      in >> z;
    tokens += n;
  };
  auto text_token = [&] {
    char c = 0;
    do
      in >> c;
    while (in && c != '<');
    std::string t;
    int depth = 0;
    while (in.get(c)) {
      if (c == '<') ++depth;
      if (c == '>' && depth-- == 0) break;
      t += c;
    }
    ++tokens;
    return t;
  };
  std::function<void()> scalar_model = [&] {
    in >> word;
    if (word == "POLY") {
      complexes(count());
    } else if (word == "RAT") {
      real();
      const std::size_t a = count();
      const std::size_t b = count();
      complexes(a), complexes(b);
    } else if (word == "POLEZERO") {
      const std::size_t n = count();
      words(1), complexes(n), words(1), complexes(n), words(1), complexes(1), words(1);
      complexes(1), words(1), real();
    } else if (word == "STATICTABLE") {
      count();
      const std::size_t t = count();
      const std::size_t s = count();
      words(static_cast<int>(t));
      for (std::size_t k = 0; k < s; ++k)
        real(), complexes(1);
    } else {
      const bool causal = word == "CAUSALITYENFORCEDSPARASPLINE";
      const std::size_t n = count();
      const std::size_t m = causal ? count() : 0;
      words(1);
      for (std::size_t k = 0; k < n; ++k)
        real();
      words(1), complexes(n), words(1), complexes(n);
      if (causal) {
        words(1);
        for (std::size_t k = 0; k < m; ++k)
          real();
      }
    }
  };
  char magic[15];
  in.read(magic, sizeof magic);
  int version[3];
  in >> version[0] >> version[1] >> version[2];
  words(1);
  const std::size_t n = count();
  for (std::size_t i = 0; i < n; ++i)
    text_token();
  words(3);
  const std::size_t names = count();
  for (std::size_t k = 0; k < names; ++k)
    words(1), count();
  words(2);
  for (std::size_t k = count(); k > 0; --k)
    text_token(), text_token();
  for (std::size_t p = 0; p < n; ++p) {
    words(2), count();
    for (std::size_t k = count(); k > 0; --k)
      text_token(), text_token();
  }
  words(1);
  for (std::size_t k = count(); k > 0; --k) {
    words(1), real(), words(2), complexes(n * n), words(1), complexes(n);
    for (std::size_t d = 0; d < names; ++d)
      words(1), count(), complexes(1);
  }
  words(1);
  for (std::size_t k = count(); k > 0; --k) {
    words(1), real(), real(), words(2);
    for (std::size_t e = 0; e < n * n; ++e)
      scalar_model();
    words(1);
    for (std::size_t e = 0; e < n; ++e)
      scalar_model();
    for (std::size_t d = 0; d < names; ++d) {
      words(1), count();
      scalar_model();
    }
  }
  return in.fail() ? 0 : tokens;
}

// Every double of the file by a bare std::to_chars loop into memory, one separator each.
std::size_t to_chars_loop(const std::vector<double>& numbers, std::vector<char>& memory) {
  char* p = memory.data();
  char* const end = memory.data() + memory.size();
  for (const double x : numbers) {
    p = std::to_chars(p, end, x, std::chars_format::scientific, kPrecision).ptr;
    *p++ = '\t';
  }
  return static_cast<std::size_t>(p - memory.data());
}

std::size_t stream_read(const std::string& text) {
  std::istringstream in(text);
  return stream_read(in);
}

// ---------------------------------------------------------------------------------------------
// Timing. A row times its own pass and, in the same iterations, every pass it is compared with,
// alternating which goes first, so that both see the same heap and the same machine load; the
// ratios come from the median pass of each. Passes are timed in wall-clock time, what a user
// waits for, file system calls included.

double wall_seconds() {
  return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

double median(std::vector<double> values) {
  if (values.empty()) return 0.0;
  std::sort(values.begin(), values.end());
  const std::size_t n = values.size();
  return n % 2 == 1 ? values[n / 2] : 0.5 * (values[n / 2 - 1] + values[n / 2]);
}

using Pass = std::function<void()>;

// Containers made by a timed pass are parked here and destroyed once the clock has stopped:
// reading and copying are timed as building a container, not also tearing one down.
SMatrixContainer& parked() {
  static SMatrixContainer container;
  return container;
}

struct Times {
  double ours = 0.0;
  std::vector<double> others;
};

// Runs `ours` once per iteration and reports its wall-clock time as the iteration's (manual)
// time; each baseline runs in the same iteration, alternately before and after, and every
// counter uses the median time of each pass.
Times time_row(benchmark::State& state, const Pass& ours, std::size_t bytes,
               const std::vector<Pass>& others = {}) {
  std::vector<double> ours_all;
  std::vector<std::vector<double>> others_all(others.size());
  auto timed = [](const Pass& pass, std::vector<double>& all) {
    const double start = wall_seconds();
    pass();
    const double seconds = wall_seconds() - start;
    all.push_back(seconds);
    parked() = SMatrixContainer();
    return seconds;
  };
  auto compare = [&] {
    for (std::size_t k = 0; k < others.size(); ++k)
      timed(others[k], others_all[k]);
  };
  bool others_first = false;
  for (auto _ : state) {
    if (others_first) compare();
    state.SetIterationTime(timed(ours, ours_all));
    if (!others_first) compare();
    others_first = !others_first;
  }
  Times times;
  times.ours = median(ours_all);
  for (const std::vector<double>& all : others_all)
    times.others.push_back(median(all));
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * bytes));
  return times;
}

std::string scratch_path(const char* name) {
  return "/tmp/korvantix_bench_" + std::string(name) + ".kvx";
}

// Passes shared by rows and baselines.
Pass ofstream_pass(const Data& d) {
  return [&d] { stream_write(d.container, scratch_path("ofstream").c_str()); };
}
Pass to_chars_pass(const Data& d) {
  return [&d] {
    static std::vector<char> memory;
    memory.resize(d.numbers.size() * 32);
    benchmark::DoNotOptimize(to_chars_loop(d.numbers, memory));
  };
}
Pass istream_pass(const Data& d) {
  return [&d] { benchmark::DoNotOptimize(stream_read(d.ascii)); };
}
Pass ifstream_pass(const std::string& path) {
  return [path] {
    std::ifstream in(path);
    benchmark::DoNotOptimize(stream_read(in));
  };
}
// The public read into a fresh container, from a path.
Pass public_read_pass(const std::string& path) {
  return [path] {
    SMatrixContainer c;
    korvantix::read(c, path.c_str());
    parked() = std::move(c);
  };
}
Pass copy_pass(const Data& d) {
  return [&d] {
    SMatrixContainer copy(d.container);
    parked() = std::move(copy);
  };
}
Pass ascii_format_pass(const Data& d) {
  return [&d] {
    std::string text;
    text.reserve(d.ascii.size());
    detail::OutputBuffer out(text);
    detail::format_ascii(d.container, out, kPrecision);
    out.flush();
    benchmark::DoNotOptimize(text.data());
  };
}
Pass binary_format_pass(const Data& d) {
  return [&d] {
    std::string bytes;
    bytes.reserve(d.binary.size());
    detail::OutputBuffer out(bytes);
    detail::format_binary(d.container, out);
    out.flush();
    benchmark::DoNotOptimize(bytes.data());
  };
}
Pass ascii_read_pass(const std::string& text) {
  return [&text] {
    SMatrixContainer c;
    detail::parse_ascii(text, c);
    parked() = std::move(c);
  };
}
Pass binary_read_pass(const std::string& bytes) {
  return [&bytes] {
    SMatrixContainer c;
    detail::parse_binary(bytes, c);
    parked() = std::move(c);
  };
}

// ---------------------------------------------------------------------------------------------
// Rows

void ascii_write_ofstream(benchmark::State& state) {
  const Data& d = data_of(state);
  time_row(state, ofstream_pass(d), d.ascii.size());
  // The baseline is only fair if it writes the very same bytes.
  std::string written(d.ascii.size() + 1, '\0');
  if (std::FILE* file = std::fopen(scratch_path("ofstream").c_str(), "rb")) {
    written.resize(std::fread(&written[0], 1, written.size(), file));
    std::fclose(file);
  }
  if (written != d.ascii) state.SkipWithError("the stream writer wrote other bytes");
  state.SetLabel("baseline");
}

void ascii_write(benchmark::State& state) {
  const Data& d = data_of(state);
  const std::string path = scratch_path("ascii");
  const Times t =
      time_row(state, [&] { korvantix::write_ascii(d.container, path.c_str(), kPrecision); },
               d.ascii.size(), {ofstream_pass(d)});
  state.counters["vs_ofstream"] = t.others[0] / t.ours;
}

void ascii_to_chars(benchmark::State& state) {
  const Data& d = data_of(state);
  time_row(state, to_chars_pass(d), d.ascii.size());
  state.SetLabel("baseline: bare to_chars of the same doubles");
}

void ascii_format(benchmark::State& state) {
  const Data& d = data_of(state);
  const Times t = time_row(state, ascii_format_pass(d), d.ascii.size(), {to_chars_pass(d)});
  state.counters["time_vs_to_chars"] = t.ours / t.others[0];
}

void ascii_read_istream(benchmark::State& state) {
  const Data& d = data_of(state);
  time_row(state, istream_pass(d), d.ascii.size());
  if (stream_read(d.ascii) == 0) state.SkipWithError("the stream reader failed");
  state.SetLabel("baseline");
}

void ascii_read_ifstream(benchmark::State& state) {
  const Data& d = data_of(state);
  time_row(state, ifstream_pass(d.ascii_path), d.ascii.size());
  std::ifstream in(d.ascii_path);
  if (stream_read(in) == 0) state.SkipWithError("the stream reader failed");
  state.SetLabel("baseline");
}

void ascii_read(benchmark::State& state) {
  const Data& d = data_of(state);
  const Times t = time_row(state, public_read_pass(d.ascii_path), d.ascii.size(),
                           {ifstream_pass(d.ascii_path)});
  state.counters["vs_ifstream"] = t.others[0] / t.ours;
  state.SetLabel("read(container, path)");
}

void ascii_read_core(benchmark::State& state) {
  const Data& d = data_of(state);
  const Times t = time_row(state, ascii_read_pass(d.ascii), d.ascii.size(), {istream_pass(d)});
  state.counters["vs_istream"] = t.others[0] / t.ours;
  state.SetLabel("from memory");
}

void container_copy(benchmark::State& state) {
  const Data& d = data_of(state);
  time_row(state, copy_pass(d), d.binary.size());
  state.SetLabel("baseline: copy-construct the container");
}

void binary_format(benchmark::State& state) {
  const Data& d = data_of(state);
  const Times t =
      time_row(state, binary_format_pass(d), d.binary.size(), {copy_pass(d), ascii_format_pass(d)});
  state.counters["time_vs_copy"] = t.ours / t.others[0];
  state.counters["vs_ascii"] = t.others[1] / t.ours;
}

void binary_read(benchmark::State& state) {
  const Data& d = data_of(state);
  const Times t = time_row(state, public_read_pass(d.binary_path), d.binary.size(),
                           {copy_pass(d), public_read_pass(d.ascii_path)});
  state.counters["time_vs_copy"] = t.ours / t.others[0];
  state.counters["vs_ascii"] = t.others[1] / t.ours;
  state.SetLabel("read(container, path)");
}

void binary_read_core(benchmark::State& state) {
  const Data& d = data_of(state);
  const Times t = time_row(state, binary_read_pass(d.binary), d.binary.size(),
                           {copy_pass(d), ascii_read_pass(d.ascii)});
  state.counters["time_vs_copy"] = t.ours / t.others[0];
  state.counters["vs_ascii"] = t.others[1] / t.ours;
  state.SetLabel("from memory");
}

void binary_write_file(benchmark::State& state) {
  const Data& d = data_of(state);
  const std::string path = scratch_path("binary");
  const Times t = time_row(state, [&] { korvantix::write_binary(d.container, path.c_str()); },
                           d.binary.size(), {copy_pass(d)});
  state.counters["time_vs_copy"] = t.ours / t.others[0];
  state.SetLabel("write_binary(container, path)");
}

// Twice the samples must cost at most twice the time, read as a user reads them.
void scaling_read(benchmark::State& state, bool binary) {
  const Data& half = data(4, 50000);
  const Data& full = data(4, 100000);
  const std::string& small = binary ? half.binary_path : half.ascii_path;
  const std::string& large = binary ? full.binary_path : full.ascii_path;
  const Times t =
      time_row(state, public_read_pass(large), binary ? full.binary.size() : full.ascii.size(),
               {public_read_pass(small)});
  state.counters["time_vs_half"] = t.ours / t.others[0];
}

// A file holding one static table whose samples are stored in descending frequency order.
std::string descending_table(std::size_t n, bool binary) {
  std::string text;
  detail::OutputBuffer out(text);
  auto i32 = [&](std::int32_t v) { out.raw(&v, sizeof v); };
  auto f64 = [&](double v) { out.raw(&v, sizeof v); };
  if (binary) {
    out.put("BINARYKORVANTIX");
    for (std::int32_t v : {2, 3, 0, 0x11223344, 1})
      i32(v);
    i32(1), out.put("p");
    for (std::int32_t v : {0, 0, 0, 0, 1})  // names, properties, port 0, samples, models
      i32(v);
    f64(1e9), f64(2e9);
    for (std::int32_t v : {4, 2, 0, static_cast<std::int32_t>(n)})
      i32(v);
    for (std::size_t k = n; k > 0; --k)
      f64(static_cast<double>(k)), f64(0.5), f64(-0.5);
    i32(1), i32(0);  // Zref: empty polynomial
  } else {
    out.put(
        "ASCII KORVANTIX2 3 0\nPORTS 1 <p>\nPORT DATA NAMES 0\nGLOBAL PROPERTIES 0\n"
        "PORT PROPERTIES 0 0\nSAMPLES 0\nMODELS 1\nFREQRANGE 1e9 2e9 Hz\nS\nSTATICTABLE 2 0 ");
    out.count(n);
    for (std::size_t k = n; k > 0; --k) {
      out.put("\n\t\t\t");
      out.scientific(static_cast<double>(k), kPrecision);
      out.put("\t(5.0000000000000000e-01,-5.0000000000000000e-01)");
    }
    out.put("\nZref POLY 0");
  }
  out.flush();
  return text;
}

void scaling_table(benchmark::State& state, bool binary) {
  static const std::string small_ascii = descending_table(100000, false);
  static const std::string large_ascii = descending_table(200000, false);
  static const std::string small_binary = descending_table(100000, true);
  static const std::string large_binary = descending_table(200000, true);
  const std::string& small = binary ? small_binary : small_ascii;
  const std::string& large = binary ? large_binary : large_ascii;
  auto pass = [binary](const std::string& text) {
    return binary ? binary_read_pass(text) : ascii_read_pass(text);
  };
  const Times t = time_row(state, pass(large), large.size(), {pass(small)});
  state.counters["time_vs_half"] = t.ours / t.others[0];
}

void apply_ports(benchmark::internal::Benchmark* b) {
  b->Arg(2)->Arg(4)->Arg(32)->ArgName("ports")->UseManualTime()->Unit(benchmark::kMillisecond);
}

}  // namespace

BENCHMARK(ascii_write_ofstream)->Name("ascii/write_ofstream")->Apply(apply_ports);
BENCHMARK(ascii_write)->Name("ascii/write")->Apply(apply_ports);
BENCHMARK(ascii_to_chars)->Name("ascii/to_chars_loop")->Apply(apply_ports);
BENCHMARK(ascii_format)->Name("ascii/format")->Apply(apply_ports);
BENCHMARK(ascii_read_ifstream)->Name("ascii/read_ifstream")->Apply(apply_ports);
BENCHMARK(ascii_read)->Name("ascii/read")->Apply(apply_ports);
BENCHMARK(ascii_read_istream)->Name("ascii/read_istream")->Apply(apply_ports);
BENCHMARK(ascii_read_core)->Name("ascii/read_core")->Apply(apply_ports);
BENCHMARK(container_copy)->Name("binary/container_copy")->Apply(apply_ports);
BENCHMARK(binary_format)->Name("binary/format")->Apply(apply_ports);
BENCHMARK(binary_read)->Name("binary/read")->Apply(apply_ports);
BENCHMARK(binary_read_core)->Name("binary/read_core")->Apply(apply_ports);
BENCHMARK(binary_write_file)->Name("binary/write_file")->Apply(apply_ports);
BENCHMARK_CAPTURE(scaling_read, ascii, false)
    ->Name("scaling/ascii_read_file_4ports_100k_vs_50k")
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(scaling_read, binary, true)
    ->Name("scaling/binary_read_file_4ports_100k_vs_50k")
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(scaling_table, ascii, false)
    ->Name("scaling/ascii_descending_table_200k_vs_100k")
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(scaling_table, binary, true)
    ->Name("scaling/binary_descending_table_200k_vs_100k")
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);

BENCHMARK_MAIN();
