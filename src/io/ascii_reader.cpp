#include "io/ascii_reader.hpp"

#include <korvantix/container.hpp>
#include <korvantix/io.hpp>

#include <stdexcept>
#include <utility>

#include "detail/message.hpp"
#include "io/grammar.hpp"
#include "io/keywords.hpp"

// The layout of an ASCII kvx-file, version 2.3 (whitespace between tokens is free; texts are
// written <in angle brackets>, nested brackets balanced):
//
//   ASCII KORVANTIX2 3 0                           magic, then major minor patch
//   PORTS <n> <name>...                            or PROPAGATIONCONSTANT YES|NO: no ports
//   PORT DATA NAMES <k> (<name> <index>)...        2.3 only
//   GLOBAL PROPERTIES <m> (<key> <value>)...
//   PORT PROPERTIES <p> <m> (<key> <value>)...     once per port, p = 0, 1, ...
//   PORT MODELS <k> (<text> <count>)...            2.2 only, read and dropped
//   SAMPLES <count>
//   FREQ <f> Hz S <N*N complexes> Zref <N complexes> (<name> <index> <complex>)...
//   MODELS <count>
//   FREQRANGE <from> <to> Hz S <N*N scalar models> Zref <N scalar models>
//     (<name> <index> <scalar model>)...
//
// A complex is (re,im); a scalar model opens with its keyword (POLY, RAT, POLEZERO,
// STATICTABLE, SPARASPLINE, CAUSALITYENFORCEDSPARASPLINE). The reader below has one function
// per section, in this order.

namespace korvantix {
namespace detail {
namespace {

// Least number of bytes one item of a list takes in the file, separator included; a count
// that sizes an allocation is refused when the rest of the input cannot hold that many. Lists
// that are read item by item grow as their items arrive instead, so that a short file fails
// with the grammar's own message.
constexpr std::size_t kValueBytes = 2;       // "\t1", or "(1)"
constexpr std::size_t kPortBlockBytes = 20;  // "\nPORT PROPERTIES 0 0"
constexpr std::size_t kManyPorts = 1024;

constexpr const char* kDevelopmentVersion =
    "scii kvx version 1.x.x not supported (development version)";

std::string port_data_name_text(std::string_view name, std::uint64_t index) {
  return message(name, "[", index, "]");
}

std::vector<double> reals(AsciiTokens& tokens, std::size_t n) {
  std::vector<double> values(n);
  for (double& v : values)
    v = tokens.real();
  return values;
}

std::vector<std::complex<double>> complexes(AsciiTokens& tokens, std::size_t n) {
  std::vector<std::complex<double>> values(n);
  for (std::complex<double>& v : values)
    v = tokens.complex();
  return values;
}

class AsciiReader {
 public:
  AsciiReader(AsciiTokens& tokens, Grammar grammar) : tokens_(tokens), grammar_(grammar) {}

  void read(SMatrixContainer& container) {
    read_ports();
    if (grammar_.has_port_data_names) read_port_data_names();
    container = header_container(port_names_, port_data_names_);
    read_global_properties(container);
    read_port_properties(container);
    if (grammar_.has_port_models) read_port_models();
    read_samples(container);
    read_models(container);
    // A number that failed inside the last values is caught by no later keyword.
    if (tokens_.failed()) throw std::runtime_error("parsing error: invalid or missing number");
  }

 private:
  void read_ports() {
    const std::string_view word = tokens_.word();
    if (word == kvx::kPropagationConstant) {
      // Such files leave out the port section altogether: they describe no ports.
      propagation_constant_ = tokens_.word() == kvx::kYes;
      return;
    }
    if (word != kvx::kPorts) {
      throw std::runtime_error(
          message("syntax error: expected PROPAGATIONCONSTANT or PORTS, but found ", word));
    }
    nb_ports_ = tokens_.count();
    for (std::size_t i = 0; i < nb_ports_; ++i) {
      port_names_.push_back(tokens_.text());
    }
    // A container costs far more per port than a name in the file; each port also needs its
    // property block further on. Small counts are left to the grammar's own messages.
    if (nb_ports_ > kManyPorts && !tokens_.window().holds(nb_ports_, kPortBlockBytes))
      port_count_too_large();
  }

  void read_port_data_names() {
    tokens_.expect(kvx::kPort);
    tokens_.expect(kvx::kData);
    tokens_.expect(kvx::kNames);
    const std::uint64_t n = tokens_.count();
    // The list grows as its entries arrive; past a failed token nothing more is read, and the
    // next keyword reports the failure.
    for (std::uint64_t k = 0; k < n && !tokens_.failed(); ++k) {
      std::string name(tokens_.word());
      const std::size_t index = tokens_.count();
      port_data_names_.emplace_back(std::move(name), index);
    }
  }

  void read_global_properties(SMatrixContainer& container) {
    tokens_.expect(kvx::kGlobal);
    tokens_.expect(kvx::kProperties);
    const std::uint64_t n = tokens_.count();
    for (std::uint64_t k = 0; k < n; ++k) {
      const std::string key = tokens_.text();
      container.add_global_property(key, tokens_.text());
    }
  }

  void read_port_properties(SMatrixContainer& container) {
    for (std::size_t p = 0; p < nb_ports_; ++p) {
      tokens_.expect(kvx::kPort);
      tokens_.expect(kvx::kProperties);
      const std::uint64_t q = tokens_.count();
      if (q != p) {
        throw std::runtime_error(
            message("expected PORT PROPERTIES ", p, ", but found PORT PROPERTIES ", q));
      }
      const std::uint64_t n = tokens_.count();
      for (std::uint64_t k = 0; k < n; ++k) {
        const std::string key = tokens_.text();
        container.add_port_property(p, key, tokens_.text());
      }
    }
  }

  // Version 2.2 kept a list of port models here that nothing uses any more.
  void read_port_models() {
    tokens_.expect(kvx::kPort);
    tokens_.expect(kvx::kModels);
    const std::uint64_t n = tokens_.count();
    for (std::uint64_t k = 0; k < n; ++k) {
      tokens_.text();
      tokens_.count();
    }
  }

  [[noreturn]] void port_count_too_large() const {
    throw std::runtime_error(
        message("parsing error: port count ", nb_ports_, " too large for the rest of the file"));
  }

  // N x N values must fit into what is left before a sample allocates them.
  void check_matrix_fits(std::size_t item_bytes) {
    if (!tokens_.window().holds(square_saturated(nb_ports_), item_bytes)) port_count_too_large();
  }

  // The next port-data name and index must be `expected`; otherwise `failure` followed by what
  // was found.
  void expect_port_data_name(const PortDataName& expected, const char* failure) {
    const std::string name(tokens_.word());  // the window may move on while the index is read
    const std::uint64_t index = tokens_.count();
    if (name != expected.first || index != expected.second) {
      throw std::runtime_error(message(failure, port_data_name_text(name, index)));
    }
  }

  void read_samples(SMatrixContainer& container) {
    tokens_.expect(kvx::kSamples);
    const std::uint64_t n = tokens_.count();
    const std::size_t ports = nb_ports_;
    for (std::uint64_t k = 0; k < n; ++k) {
      tokens_.expect(kvx::kFreq);
      const double f = tokens_.real();
      tokens_.expect(kvx::kHz);
      check_matrix_fits(kValueBytes);
      SMatrixSample sample(ports, f, port_data_names_);
      tokens_.expect(kvx::kS);
      for (std::complex<double>& s : sample.S())
        s = tokens_.complex();
      tokens_.expect(kvx::kZref);
      for (std::complex<double>& z : sample.Zref())
        z = tokens_.complex();
      for (const PortDataName& expected : port_data_names_) {
        expect_port_data_name(expected, "unexpected port data name: ");
        sample.set(expected, tokens_.complex());
      }
      // A propagation-constant file has no ports, so the keyword has no values after it.
      if (propagation_constant_) tokens_.expect(kvx::kPropagationConstant);
      // A sample read after a failed number is not kept; the next keyword reports the failure.
      if (!tokens_.failed()) container.add(std::move(sample));
    }
  }

  void read_models(SMatrixContainer& container) {
    tokens_.expect(kvx::kModels);
    const std::uint64_t n = tokens_.count();
    const std::size_t ports = nb_ports_;
    for (std::uint64_t k = 0; k < n; ++k) {
      tokens_.expect(kvx::kFreqRange);
      const double from = tokens_.real();
      const double to = tokens_.real();
      tokens_.expect(kvx::kHz);
      SMatrixModel(0, from, to);  // the band is refused before its entries are read
      // The entries are kept as they arrive and the model is made once they are all there, so
      // a file too short for its model fails at the first entry missing, with the grammar's
      // own message, and nothing is allocated ahead of the file.
      tokens_.expect(kvx::kS);
      std::vector<SMatrixModel::ScalarModelPtr> s;
      for (std::uint64_t e = 0; e < square_saturated(ports); ++e)
        s.push_back(read_scalar_model(tokens_));
      tokens_.expect(kvx::kZref);
      std::vector<SMatrixModel::ScalarModelPtr> z;
      for (std::uint64_t e = 0; e < ports; ++e)
        z.push_back(read_scalar_model(tokens_));
      SMatrixModel model(ports, from, to, port_data_names_);
      model.S() = std::move(s);
      model.Zref() = std::move(z);
      for (const PortDataName& expected : port_data_names_) {
        expect_port_data_name(expected, "unexpected port data name when parsing the models: ");
        model.set(expected, read_scalar_model(tokens_).get());
      }
      if (propagation_constant_) tokens_.expect(kvx::kPropagationConstant);
      if (!tokens_.failed()) container.add(std::move(model));
    }
  }

  AsciiTokens& tokens_;
  Grammar grammar_;
  bool propagation_constant_ = false;
  std::size_t nb_ports_ = 0;
  std::vector<std::string> port_names_;
  std::vector<PortDataName> port_data_names_;
};

std::unique_ptr<ScalarModel> read_polynomial(AsciiTokens& tokens) {
  const std::size_t n = tokens.count(kValueBytes);
  return std::make_unique<PolynomialModel>(complexes(tokens, n));
}

std::unique_ptr<ScalarModel> read_rational(AsciiTokens& tokens) {
  const double scale = tokens.real();
  const std::size_t a = tokens.count(kValueBytes);
  const std::size_t b = tokens.count(kValueBytes);
  std::vector<std::complex<double>> nominator = complexes(tokens, a);
  std::vector<std::complex<double>> denominator = complexes(tokens, b);
  return std::make_unique<RationalModel>(nominator, denominator, scale);
}

std::unique_ptr<ScalarModel> read_pole_zero(AsciiTokens& tokens) {
  const std::size_t n = tokens.count(2 * kValueBytes);
  tokens.expect(kvx::kPoles);
  const std::vector<std::complex<double>> poles = complexes(tokens, n);
  tokens.expect(kvx::kResidues);
  const std::vector<std::complex<double>> residues = complexes(tokens, n);
  tokens.expect(kvx::kConstant);
  const std::complex<double> constant = tokens.complex();
  tokens.expect(kvx::kLinear);
  const std::complex<double> linear = tokens.complex();
  tokens.expect(kvx::kFreqScale);
  const double scale = tokens.real();
  return std::make_unique<PoleZeroModel>(scale, poles, residues, constant, linear);
}

std::unique_ptr<ScalarModel> read_static_table(AsciiTokens& tokens) {
  const std::uint64_t degree = tokens.count();
  const std::size_t t = tokens.count(kValueBytes);
  const std::size_t s = tokens.count(2 * kValueBytes);
  std::vector<Transformation::Type> transformations;
  transformations.reserve(t);
  for (std::size_t k = 0; k < t; ++k) {
    const std::string_view word = tokens.word();
    if (word == kvx::kInverse) {
      transformations.push_back(Transformation::Inverse);
    } else if (word == kvx::kSquared) {
      transformations.push_back(Transformation::Squared);
    } else {
      throw std::runtime_error(message("parsing error, unknown transformation type <", word, ">"));
    }
  }
  std::vector<std::pair<double, std::complex<double>>> samples(s);
  for (auto& [f, v] : samples) {
    f = tokens.real();
    v = tokens.complex();
  }
  // After a failed number the values are zeros; the grammar reports the failure instead.
  if (tokens.failed()) return std::make_unique<StaticTableModel>(1);
  return make_static_table(degree, transformations, samples);
}

std::unique_ptr<ScalarModel> read_spline(AsciiTokens& tokens, bool causality_enforced) {
  const std::size_t n = tokens.count(3 * kValueBytes);
  const std::size_t m = causality_enforced ? tokens.count(kValueBytes) : 0;
  tokens.expect(kvx::kFreqs);
  std::vector<double> freqs = reals(tokens, n);
  tokens.expect(kvx::kSamples);
  std::vector<std::complex<double>> samples = complexes(tokens, n);
  tokens.expect(kvx::kCoefs);
  std::vector<std::complex<double>> coefs = complexes(tokens, n);
  std::optional<std::vector<double>> subtraction_freqs;
  if (causality_enforced) {
    tokens.expect(kvx::kSubtractionFreqs);
    subtraction_freqs = reals(tokens, m);
  }
  if (tokens.failed()) return std::make_unique<PolynomialModel>();
  return make_spline(std::move(freqs), std::move(samples), std::move(coefs),
                     std::move(subtraction_freqs));
}

// The magic test, before anything else is read, and the three version numbers that follow it.
FormatVersion read_header(AsciiTokens& tokens) {
  if (!has_ascii_magic(tokens.window().peek(kvx::kMagicSize))) {
    throw std::runtime_error("not an ascii kvx-file");
  }
  tokens.window().consume(kvx::kMagicSize);
  const int major = tokens.integer();
  const int minor = tokens.integer();
  const int patch = tokens.integer();
  return {major, minor, patch};
}

}  // namespace

bool has_ascii_magic(std::string_view data) noexcept {
  return data.substr(0, kvx::kMagicSize) == kvx::kAsciiMagic;
}

std::unique_ptr<ScalarModel> read_scalar_model(AsciiTokens& tokens) {
  const std::string_view word = tokens.word();
  if (word == kvx::kPoly) return read_polynomial(tokens);
  if (word == kvx::kRat) return read_rational(tokens);
  if (word == kvx::kPoleZero) return read_pole_zero(tokens);
  if (word == kvx::kStaticTable) return read_static_table(tokens);
  if (word == kvx::kSparaSpline) return read_spline(tokens, false);
  if (word == kvx::kCausalitySpline) return read_spline(tokens, true);
  throw std::runtime_error(message(
      "syntax error: exptected POLY or RAT or POLEZERO or STATICTABLE or SPARASPLINE but found <",
      word, ">"));
}

void parse_ascii(Window window, SMatrixContainer& container) {
  AsciiTokens tokens(std::move(window));
  const FormatVersion v = read_header(tokens);
  const Grammar grammar = select_grammar(v.major, v.minor, v.patch, kDevelopmentVersion);
  AsciiReader(tokens, grammar).read(container);
}

void parse_port_names_ascii(Window window, std::vector<std::string>& names) {
  AsciiTokens tokens(std::move(window));
  const FormatVersion v = read_header(tokens);
  if (v.major == 1) throw std::runtime_error(kDevelopmentVersion);
  tokens.expect(kvx::kPorts);
  const std::uint64_t n = tokens.count();
  for (std::uint64_t i = 0; i < n; ++i)
    names.push_back(tokens.text());
}

}  // namespace detail

}  // namespace korvantix
