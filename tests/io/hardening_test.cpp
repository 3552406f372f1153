// The readers under attack and against a reference: every proper prefix of every golden file is
// refused, single-byte damage to small goldens reads or is refused with the documented type, and
// the fast ASCII reader gives exactly what plain stream extraction of the grammar gives.
#include <korvantix/container.hpp>
#include <korvantix/scalar.hpp>

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <complex>
#include <cstring>
#include <filesystem>
#include <functional>
#include <locale>
#include <map>
#include <optional>
#include <random>
#include <set>
#include <sstream>
#include <stdexcept>
#include <string>
#include <typeinfo>
#include <utility>
#include <vector>

#include "detail/number_parse.hpp"
#include "detail/output_buffer.hpp"
#include "io/ascii_reader.hpp"
#include "io/ascii_writer.hpp"
#include "io/binary_reader.hpp"
#include "io/binary_writer.hpp"
#include "io_test_support.hpp"

namespace korvantix {
namespace {

namespace fs = std::filesystem;
using test::C;

enum class Variant { Ascii, Binary };

struct Golden {
  std::string name;
  std::string bytes;
  Variant variant;
};

// Every kvx-file under tests/data, by its magic; the failing examples are included, since a prefix
// of a bad file must be refused as well.
std::vector<Golden> golden_files() {
  std::vector<Golden> files;
  for (const fs::directory_entry& entry : fs::directory_iterator(KORVANTIX_TEST_DATA_DIR)) {
    if (!entry.is_regular_file()) continue;
    std::string bytes = test::read_bytes(entry.path().string());
    const std::string name = entry.path().filename().string();
    if (detail::has_ascii_magic(bytes)) {
      files.push_back({name, std::move(bytes), Variant::Ascii});
    } else if (detail::has_binary_magic(bytes)) {
      files.push_back({name, std::move(bytes), Variant::Binary});
    }
  }
  std::sort(files.begin(), files.end(),
            [](const Golden& a, const Golden& b) { return a.name < b.name; });
  return files;
}

// The outcome of one read: nullopt when it worked, else the text of the std::runtime_error.
// Any other exception type (a derived one included) is a failure of the test.
template <class Read>
std::optional<std::string> refusal(Read&& read, const std::string& where) {
  try {
    read();
    return std::nullopt;
  } catch (const std::runtime_error& error) {
    EXPECT_EQ(typeid(error), typeid(std::runtime_error)) << where << ": " << error.what();
    EXPECT_STRNE(error.what(), "") << where;
    return std::string(error.what());
  } catch (const std::exception& error) {
    ADD_FAILURE() << where << ": undocumented exception " << typeid(error).name() << ": "
                  << error.what();
    return std::string(error.what());
  }
}

std::optional<std::string> read_any(std::string_view bytes, Variant variant,
                                    const std::string& where) {
  SMatrixContainer container;
  return refusal(
      [&] {
        if (variant == Variant::Ascii) {
          detail::parse_ascii(bytes, container);
        } else {
          detail::parse_binary(bytes, container);
        }
      },
      where);
}

std::optional<std::string> read_names(std::string_view bytes, Variant variant,
                                      const std::string& where) {
  std::vector<std::string> names;
  return refusal(
      [&] {
        if (variant == Variant::Ascii) {
          detail::parse_port_names_ascii(bytes, names);
        } else {
          detail::parse_port_names_binary(bytes, names);
        }
      },
      where);
}

std::string binary_text(const SMatrixContainer& container) {
  std::string text;
  detail::OutputBuffer out(text);
  detail::format_binary(container, out);
  out.flush();
  return text;
}

std::string ascii_text(const SMatrixContainer& container, int precision) {
  std::string text;
  detail::OutputBuffer out(text);
  detail::format_ascii(container, out, precision);
  out.flush();
  return text;
}

TEST(Goldens, BinaryGoldensAreWhatTheWriterWrites) {
  // The current-version binary goldens were written by the library: reading and writing them
  // again gives the same bytes, so the sweeps below start from genuine files.
  for (const char* name : {"binary_v23_every_kind.kvx", "binary_v23_empty.kvx"}) {
    const std::string bytes = test::read_bytes(test::data_file(name));
    SMatrixContainer c;
    detail::parse_binary(bytes, c);
    EXPECT_EQ(binary_text(c), bytes) << name;
  }
  SMatrixContainer every;
  detail::parse_binary(test::read_bytes(test::data_file("binary_v23_every_kind.kvx")), every);
  EXPECT_EQ(ascii_text(every, 16), test::read_bytes(test::data_file("ascii_v23_every_kind.kvx")));
  for (const char* name : {"binary_v20_one_port.kvx", "binary_v22_port_models.kvx"}) {
    SMatrixContainer old;
    detail::parse_binary(test::read_bytes(test::data_file(name)), old);
    ASSERT_EQ(old.nbPorts(), 1u) << name;
    EXPECT_EQ(old.name(0), "p");
    EXPECT_EQ(old.get_global_property("k"), "v");
    ASSERT_EQ(old.nbSamples(), 1u);
    EXPECT_EQ(old.begin_samples()->Zref(0), C(50, 0));
  }
}

// An ASCII file may end in a number or a keyword that a shorter cut still spells correctly:
// those prefixes are genuine files and read. Every other proper prefix must be refused.
struct ReadablePrefixes {
  const char* file;
  std::size_t first;
  std::size_t last;
};
const ReadablePrefixes kReadableAsciiPrefixes[] = {
    // "MODELS 0\n" without its line end.
    {"ascii_v22_portmodels.kvx", 158, 158},
    // "FREQSCALE\t6.283185307179586e+00\r\n" cut after a digit, after the "." or inside the
    // exponent ("6.28e+0"), and without its line end.
    {"ascii_v23_crlf.kvx", 605, 622},
    {"ascii_v23_crlf.kvx", 625, 627},
    // "FREQSCALE\t2.0000000000000000e+09" cut after a digit or after the ".", and cut to
    // "e+0"; cuts to "e" and "e+" leave no number.
    {"ascii_v23_every_kind.kvx", 2374, 2391},
    {"ascii_v23_every_kind.kvx", 2394, 2394},
};

TEST(Truncation, EveryProperPrefixOfEveryGoldenFileIsRefused) {
  std::set<std::pair<std::string, std::size_t>> readable;
  std::size_t files = 0;
  for (const Golden& file : golden_files()) {
    ++files;
    for (std::size_t n = 0; n < file.bytes.size(); ++n) {
      const std::string where = file.name + " cut to " + std::to_string(n) + " bytes";
      const std::string_view prefix = std::string_view(file.bytes).substr(0, n);
      if (!read_any(prefix, file.variant, where)) {
        EXPECT_EQ(file.variant, Variant::Ascii) << where << " read";
        readable.emplace(file.name, n);
      }
      read_names(prefix, file.variant, where);
    }
  }
  EXPECT_GE(files, 8u);
  std::set<std::pair<std::string, std::size_t>> expected;
  for (const ReadablePrefixes& range : kReadableAsciiPrefixes) {
    for (std::size_t n = range.first; n <= range.last; ++n)
      expected.emplace(range.file, n);
  }
  EXPECT_EQ(readable, expected);
}

TEST(ByteFlips, DamagedSmallGoldensReadOrAreRefused) {
  std::size_t reads = 0;
  std::set<std::string> messages;
  for (const Golden& file : golden_files()) {
    if (file.bytes.size() > 4096) continue;
    for (std::size_t pos = 0; pos < file.bytes.size(); ++pos) {
      for (const unsigned char value : {0x00, 0xFF, 0x7F, 0x80}) {
        std::string damaged = file.bytes;
        damaged[pos] = static_cast<char>(value);
        const std::string where = file.name + " byte " + std::to_string(pos) + " set to " +
                                  std::to_string(static_cast<int>(value));
        const std::optional<std::string> refused = read_any(damaged, file.variant, where);
        if (refused) messages.insert(*refused);
        read_names(damaged, file.variant, where);
        ++reads;
      }
    }
  }
  EXPECT_GT(reads, 10000u);
  // The damage reaches the checks a hostile file has to pass, not just the magic.
  for (const char* expected :
       {"not a binary kvx-file", "not an ascii kvx-file",
        "reader and file use different endianness", "binary read for scalar model 0 not supported",
        "S-matrix list of 0 entries for 2 ports"}) {
    EXPECT_EQ(messages.count(expected), 1u) << expected;
  }
}

// The token layer reads the writers' number form straight through from_chars and leaves
// everything else to the stream-exact parsers; both ways must agree on value (bit for bit),
// position and failure for every spelling, near misses included.
TEST(AsciiTokens, NumbersAgreeWithTheStreamExactParsers) {
  const char* const reals[] = {"1",
                               "-1",
                               "1.",
                               "-.5",
                               ".5",
                               "+1",
                               "-0",
                               "00012",
                               "1e5",
                               "1e+05",
                               "1E-5",
                               "1e",
                               "1e+",
                               "1e+x",
                               "1.5.3",
                               "1..",
                               "1e5e",
                               "1e5.",
                               "0x1p3",
                               "1e400",
                               "-1e400",
                               "1e-400",
                               "-1e-400",
                               "4.9406564584124654e-324",
                               "2.4703282292062327e-324",
                               "2.2250738585072011e-308",
                               "1-2",
                               "1+2",
                               "inf",
                               "-inf",
                               "nan",
                               "-nan",
                               "Infinity",
                               "12345678901234567890123",
                               "-",
                               ".",
                               "e5",
                               "1.0000000000000000e+09",
                               "-9.9999999999999995e-01",
                               "1,",
                               "1)",
                               "1(",
                               "7\t",
                               "\r\n3"};
  for (const char* token : reals) {
    for (const std::string& text : {std::string(token), std::string(token) + " rest"}) {
      detail::AsciiTokens tokens(text);
      const double fast = tokens.real();
      double exact = 0.0;
      const detail::ParseResult result =
          detail::parse_real(text.data(), text.data() + text.size(), exact);
      EXPECT_EQ(tokens.failed(), !result.ok) << text;
      EXPECT_EQ(tokens.remaining(),
                static_cast<std::size_t>(text.data() + text.size() - result.ptr))
          << text;
      EXPECT_EQ(std::memcmp(&fast, &exact, sizeof fast), 0) << text << ": " << fast << " " << exact;
    }
  }
  const char* const complexes[] = {"(1,2)",
                                   "(1, 2)",
                                   "( 1,2)",
                                   "(1,2 )",
                                   "(1)",
                                   "(1,2",
                                   "(1,2]",
                                   "(1e,2)",
                                   "(inf,-nan)",
                                   "(-0,-0)",
                                   "(1.5e+09,-2.5e-09)",
                                   "(+1,2)",
                                   "(1,+2)",
                                   "1",
                                   "(1;2)",
                                   "(1,2e400)",
                                   "(1e-400,5)",
                                   "(1,2)x",
                                   "(1.,.5)",
                                   "(1e5e,2)",
                                   "(1,2e+)",
                                   "((1,2)",
                                   "(1,(2)",
                                   "(5e-324,-0)",
                                   "(-nan,nan)x",
                                   "(",
                                   "()",
                                   "(,)",
                                   "(1,)"};
  for (const char* token : complexes) {
    for (const std::string& text : {std::string(token), std::string(token) + " rest"}) {
      detail::AsciiTokens tokens(text);
      const C fast = tokens.complex();
      C exact;
      const detail::ParseResult result =
          detail::parse_complex(text.data(), text.data() + text.size(), exact);
      EXPECT_EQ(tokens.failed(), !result.ok) << text;
      EXPECT_EQ(tokens.remaining(),
                static_cast<std::size_t>(text.data() + text.size() - result.ptr))
          << text;
      if (result.ok) {
        EXPECT_EQ(std::memcmp(&fast, &exact, sizeof fast), 0) << text << ": " << fast << exact;
      }
    }
  }
}

// ---------------------------------------------------------------------------------------------
// A reference reader of the ASCII grammar through plain formatted stream extraction, as a
// stream-based reader would do it. It throws on any failed extraction: the files it is given
// are valid.

class StreamReader {
 public:
  explicit StreamReader(const std::string& text) : in_(text) { in_.imbue(std::locale::classic()); }

  SMatrixContainer read() {
    char magic[15];
    in_.read(magic, sizeof magic);
    int major = 0, minor = 0, patch = 0;
    in_ >> major >> minor >> patch;
    check();
    if (major != 2 || minor > 3) throw std::runtime_error("version");
    const bool port_data = minor == 3;
    const bool port_models = minor == 2;

    std::size_t n = 0;
    std::vector<std::string> port_names;
    bool propagation = false;
    const std::string first = word();
    if (first == "PROPAGATIONCONSTANT") {
      propagation = word() == "YES";
    } else {
      if (first != "PORTS") throw std::runtime_error("ports");
      n = count();
      for (std::size_t i = 0; i < n; ++i)
        port_names.push_back(text());
    }
    std::vector<PortDataName> names;
    if (port_data) {
      expect("PORT"), expect("DATA"), expect("NAMES");
      for (std::size_t k = count(); k > 0; --k) {
        std::string name = word();
        names.emplace_back(name, count());
      }
    }
    SMatrixContainer c = port_data ? SMatrixContainer(n, names) : SMatrixContainer(n);
    for (std::size_t i = 0; i < n; ++i)
      c.name(i) = port_names[i];
    expect("GLOBAL"), expect("PROPERTIES");
    for (std::size_t k = count(); k > 0; --k) {
      const std::string key = text();
      c.add_global_property(key, text());
    }
    for (std::size_t p = 0; p < n; ++p) {
      expect("PORT"), expect("PROPERTIES");
      if (count() != p) throw std::runtime_error("port number");
      for (std::size_t k = count(); k > 0; --k) {
        const std::string key = text();
        c.add_port_property(p, key, text());
      }
    }
    if (port_models) {
      expect("PORT"), expect("MODELS");
      for (std::size_t k = count(); k > 0; --k)
        text(), count();
    }
    expect("SAMPLES");
    for (std::size_t k = count(); k > 0; --k) {
      expect("FREQ");
      const double f = real();
      expect("Hz");
      SMatrixSample s = port_data ? SMatrixSample(n, f, names) : SMatrixSample(n, f);
      expect("S");
      for (std::size_t i = 0; i < n * n; ++i)
        s.S()[i] = complex();
      expect("Zref");
      for (std::size_t i = 0; i < n; ++i)
        s.Zref(i) = complex();
      for (const PortDataName& name : names) {
        expect(name.first);
        if (count() != name.second) throw std::runtime_error("port data index");
        s.set(name, complex());
      }
      if (propagation) {
        expect("PROPAGATIONCONSTANT");
        for (std::size_t i = 0; i < n; ++i)
          complex();
      }
      c.add(s);
    }
    expect("MODELS");
    for (std::size_t k = count(); k > 0; --k) {
      expect("FREQRANGE");
      const double from = real();
      const double to = real();
      expect("Hz");
      SMatrixModel m = port_data ? SMatrixModel(n, from, to, names) : SMatrixModel(n, from, to);
      expect("S");
      for (std::size_t i = 0; i < n * n; ++i)
        m.S()[i] = scalar_model();
      expect("Zref");
      for (std::size_t i = 0; i < n; ++i)
        m.Zref()[i] = scalar_model();
      for (const PortDataName& name : names) {
        expect(name.first);
        if (count() != name.second) throw std::runtime_error("port data index");
        m.set(name, scalar_model().get());
      }
      if (propagation) {
        expect("PROPAGATIONCONSTANT");
        for (std::size_t i = 0; i < n; ++i)
          scalar_model();
      }
      c.add(m);
    }
    return c;
  }

 private:
  void check() {
    if (!in_.fail()) return;
    in_.clear();
    const auto at = in_.tellg();
    std::string next(40, '\0');
    in_.read(&next[0], 40);
    next.resize(static_cast<std::size_t>(in_.gcount()));
    throw std::runtime_error("stream extraction failed at byte " + std::to_string(at) + ": " +
                             next);
  }
  std::string word() {
    std::string w;
    in_ >> w;
    check();
    return w;
  }
  void expect(const std::string& keyword) {
    if (word() != keyword) throw std::runtime_error("expected " + keyword);
  }
  std::size_t count() {
    unsigned long long n = 0;
    in_ >> n;
    check();
    return n;
  }
  double real() {
    double x = 0;
    in_ >> x;
    check();
    return x;
  }
  C complex() {
    C z;
    in_ >> z;
    check();
    return z;
  }
  std::vector<C> complexes(std::size_t n) {
    std::vector<C> values(n);
    for (C& z : values)
      z = complex();
    return values;
  }
  std::vector<double> reals(std::size_t n) {
    std::vector<double> values(n);
    for (double& x : values)
      x = real();
    return values;
  }
  std::string text() {
    char c = 0;
    do {
      in_ >> c;
      check();
    } while (c != '<');
    std::string t;
    int depth = 0;
    while (in_.get(c)) {
      if (c == '<') ++depth;
      if (c == '>' && depth-- == 0) return t;
      t += c;
    }
    throw std::runtime_error("no '>'");
  }
  std::unique_ptr<ScalarModel> scalar_model() {
    const std::string kind = word();
    if (kind == "POLY") return std::make_unique<PolynomialModel>(complexes(count()));
    if (kind == "RAT") {
      const double scale = real();
      const std::size_t a = count();
      const std::size_t b = count();
      const std::vector<C> nominator = complexes(a);
      return std::make_unique<RationalModel>(nominator, complexes(b), scale);
    }
    if (kind == "POLEZERO") {
      const std::size_t n = count();
      expect("POLES");
      const std::vector<C> poles = complexes(n);
      expect("RESIDUES");
      const std::vector<C> residues = complexes(n);
      expect("CONSTANT");
      const C constant = complex();
      expect("LINEAR");
      const C linear = complex();
      expect("FREQSCALE");
      return std::make_unique<PoleZeroModel>(real(), poles, residues, constant, linear);
    }
    if (kind == "STATICTABLE") {
      const std::size_t degree = count();
      const std::size_t t = count();
      const std::size_t s = count();
      std::vector<Transformation::Type> list;
      for (std::size_t k = 0; k < t; ++k)
        list.push_back(word() == "Inverse" ? Transformation::Inverse : Transformation::Squared);
      auto table = std::make_unique<StaticTableModel>(degree, list);
      for (std::size_t k = 0; k < s; ++k) {
        const double f = real();
        table->addSample(f, complex());
      }
      return table;
    }
    const bool causal = kind == "CAUSALITYENFORCEDSPARASPLINE";
    if (!causal && kind != "SPARASPLINE") throw std::runtime_error("scalar model " + kind);
    const std::size_t n = count();
    const std::size_t m = causal ? count() : 0;
    expect("FREQS");
    std::vector<double> freqs = reals(n);
    expect("SAMPLES");
    std::vector<C> samples = complexes(n);
    expect("COEFS");
    std::vector<C> coefs = complexes(n);
    std::optional<std::vector<double>> subtraction;
    if (causal) {
      expect("SUBTRACTION_FREQS");
      subtraction = reals(m);
    }
    return std::make_unique<SparameterSplineModel>(freqs, samples, coefs, subtraction);
  }

  std::istringstream in_;
};

// What a reader made of a file: the binary bytes of the container (bit-exact, NaN included), or
// the text of the error it raised.
struct Outcome {
  bool read;
  std::string bytes_or_error;
  bool operator==(const Outcome& other) const {
    return read == other.read && bytes_or_error == other.bytes_or_error;
  }
};

std::ostream& operator<<(std::ostream& out, const Outcome& outcome) {
  if (!outcome.read) return out << "error: " << outcome.bytes_or_error;
  return out << "a container of " << outcome.bytes_or_error.size() << " binary bytes";
}

Outcome outcome_of(const std::function<SMatrixContainer()>& read) {
  try {
    return {true, binary_text(read())};
  } catch (const std::exception& error) {
    return {false, error.what()};
  }
}

// Finite doubles across the whole range: ordinary values, huge and tiny magnitudes, subnormals
// and signed zeros (stream extraction refuses the non-finite words, so they stay out).
double random_value(std::mt19937_64& random) {
  std::uniform_int_distribution<int> pick(0, 9);
  std::uniform_real_distribution<double> unit(-1.0, 1.0);
  std::uniform_int_distribution<int> exponent(-307, 307);
  switch (pick(random)) {
    case 0:
      return -0.0;
    case 1:
      return 4.9406564584124654e-324 * std::uniform_int_distribution<int>(1, 1000)(random);
    case 2:
      return unit(random) * std::pow(10.0, exponent(random));
    default:
      return unit(random);
  }
}

C random_complex(std::mt19937_64& random) {
  return {random_value(random), random_value(random)};
}

std::unique_ptr<ScalarModel> random_scalar_model(std::mt19937_64& random) {
  std::uniform_int_distribution<std::size_t> length(0, 5);
  auto complexes = [&](std::size_t n) {
    std::vector<C> values(n);
    for (C& z : values)
      z = random_complex(random);
    return values;
  };
  switch (std::uniform_int_distribution<int>(1, 6)(random)) {
    case 1:
      return std::make_unique<PolynomialModel>(complexes(length(random)));
    case 2:
      return std::make_unique<RationalModel>(complexes(length(random)), complexes(length(random)),
                                             1e9);
    case 3: {
      const std::size_t n = length(random);
      return std::make_unique<PoleZeroModel>(random_value(random), complexes(n), complexes(n),
                                             random_complex(random), random_complex(random));
    }
    case 4: {
      std::vector<Transformation::Type> list;
      for (std::size_t k = length(random) % 3; k > 0; --k) {
        list.push_back(random() % 2 ? Transformation::Inverse : Transformation::Squared);
      }
      auto table = std::make_unique<StaticTableModel>(1 + length(random), list);
      // Frequencies in descending order, which the reader must take in any order; moderate
      // values, as a square or an inverse of an extreme one is no longer finite.
      std::uniform_real_distribution<double> unit(-1.0, 1.0);
      for (std::size_t k = length(random); k > 0; --k)
        table->addSample(1e6 * static_cast<double>(k), C(unit(random), unit(random)));
      return table;
    }
    default: {
      const std::size_t n = 2 + length(random);
      std::vector<double> freqs(n);
      for (std::size_t k = 0; k < n; ++k)
        freqs[k] = 1e9 + 1e8 * static_cast<double>(k);
      std::optional<std::vector<double>> subtraction;
      if (random() % 2) subtraction = std::vector<double>{random_value(random)};
      return std::make_unique<SparameterSplineModel>(freqs, complexes(n), complexes(n),
                                                     subtraction);
    }
  }
}

SMatrixContainer random_container(std::mt19937_64& random) {
  const std::size_t n = std::uniform_int_distribution<std::size_t>(0, 3)(random);
  std::vector<PortDataName> names;
  for (std::size_t k = std::uniform_int_distribution<std::size_t>(0, 2)(random); k > 0; --k) {
    names.emplace_back(random() % 2 ? "Zpi" : "Gamma", random() % 4);
  }
  std::sort(names.begin(), names.end());
  names.erase(std::unique(names.begin(), names.end()), names.end());
  SMatrixContainer c(n, names);
  for (std::size_t i = 0; i < n; ++i) {
    c.name(i) = "port " + std::to_string(i) + " <" + std::to_string(random() % 100) + ">";
    c.add_port_property(i, "k", std::to_string(random()));
  }
  c.add_global_property("title", "a random\ncontainer");
  for (std::size_t k = std::uniform_int_distribution<std::size_t>(0, 6)(random); k > 0; --k) {
    SMatrixSample s(n, 1e9 * static_cast<double>(k) + static_cast<double>(random() % 1000), names);
    for (C& z : s.S())
      z = random_complex(random);
    for (C& z : s.Zref())
      z = random_complex(random);
    for (const PortDataName& name : names)
      s.set(name, random_complex(random));
    c.add(s);
  }
  for (std::size_t k = std::uniform_int_distribution<std::size_t>(0, 3)(random); k > 0; --k) {
    SMatrixModel m(n, 1e9 * static_cast<double>(k), 1e9 * static_cast<double>(k) + 5e8, names);
    for (auto& entry : m.S())
      entry = random_scalar_model(random);
    for (auto& entry : m.Zref())
      entry = random_scalar_model(random);
    for (const PortDataName& name : names)
      m.set(name, random_scalar_model(random).get());
    c.add(m);
  }
  return c;
}

TEST(AsciiReference, SameResultAsStreamExtractionOnGeneratedFiles) {
  std::mt19937_64 random(20240611);
  std::size_t errors = 0;
  for (int round = 0; round < 60; ++round) {
    const SMatrixContainer c = random_container(random);
    for (const int precision : {16, 9, 3, 0}) {
      std::string text = ascii_text(c, precision);
      if (round % 3 == 0) {
        // Carriage returns before every line feed, as another platform's text mode stores them.
        std::string crlf;
        for (const char ch : text)
          crlf += ch == '\n' ? std::string("\r\n") : std::string(1, ch);
        text = crlf;
      }
      const Outcome fast = outcome_of([&] {
        SMatrixContainer read;
        detail::parse_ascii(text, read);
        return read;
      });
      const Outcome reference = outcome_of([&] { return StreamReader(text).read(); });
      ASSERT_EQ(fast, reference) << "round " << round << ", precision " << precision;
      errors += !fast.read;
    }
  }
  // Coarse precisions make some samples, bands or table frequencies coincide; the container's
  // refusals must then agree too, but most files must read.
  EXPECT_LT(errors, 60u);
}

TEST(AsciiReference, SameResultOnTheAsciiGoldens) {
  for (const Golden& file : golden_files()) {
    if (file.variant != Variant::Ascii || file.name.rfind("fail_", 0) == 0) continue;
    // Non-finite values are beyond stream extraction.
    if (file.bytes.find("nan") != std::string::npos ||
        file.bytes.find("inf") != std::string::npos) {
      continue;
    }
    const Outcome fast = outcome_of([&] {
      SMatrixContainer read;
      detail::parse_ascii(file.bytes, read);
      return read;
    });
    EXPECT_EQ(fast, outcome_of([&] { return StreamReader(file.bytes).read(); })) << file.name;
    EXPECT_TRUE(fast.read) << file.name << ": " << fast;
  }
}

}  // namespace
}  // namespace korvantix
