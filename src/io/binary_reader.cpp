#include "io/binary_reader.hpp"

#include <korvantix/container.hpp>
#include <korvantix/io.hpp>

#include <optional>
#include <stdexcept>
#include <utility>

#include "detail/message.hpp"
#include "io/grammar.hpp"
#include "io/keywords.hpp"

// The layout of a binary kvx-file, version 2.3, in the writer's byte order; a count is an i32
// (negative refused), a string a count and its bytes, a complex two f64:
//
//   "BINARYKORVANTIX"  i32 major, minor, patch  i32 0x11223344 (byte-order marker)
//   count ports, string name per port
//   count, (string name, i32 index) per port-data name        2.3 only
//   count, (string key, string value) per global property
//   per port: count, (string key, string value) per property
//   count, (string, i32) per port model                        2.2 only, read and dropped
//   count samples, per sample: f64 frequency, count N*N, complexes S (row-major),
//     count N, complexes Zref, one complex per port-data name
//   count models, per model: f64 from, f64 to, N*N + N scalar models (S, then Zref), one
//     scalar model per port-data name; a scalar model is an i32 type code and its body
//
// The reader below has one function per section, in this order.

namespace korvantix {
namespace detail {
namespace {

// Least number of bytes one item takes in the file; see BinaryCursor::count.
constexpr std::size_t kStringBytes = 4;                     // length
constexpr std::size_t kNamedIndexBytes = kStringBytes + 4;  // name, index
constexpr std::size_t kPropertyBytes = 2 * kStringBytes;    // key, value
constexpr std::size_t kPortBytes = kStringBytes + 4;        // name, property count
constexpr std::size_t kSampleBytes = 8 + 4 + 4;             // frequency, two list lengths
constexpr std::size_t kModelBytes = 8 + 8;                  // band
constexpr std::size_t kTableSampleBytes = 8 + 16;           // frequency, value
constexpr std::size_t kComplexBytes = sizeof(std::complex<double>);

constexpr const char* kDevelopmentVersion =
    "binary kvx version 1.x.x not supported (development version)";

// Looks at the magic before anything else is read, and steps over it.
void expect_magic(BinaryCursor& cursor) {
  if (!has_binary_magic(cursor.window().peek(kvx::kMagicSize))) {
    throw std::runtime_error("not a binary kvx-file");
  }
  cursor.window().consume(kvx::kMagicSize);
}

void read_endianness_marker(BinaryCursor& cursor) {
  if (cursor.i32() != kvx::kEndiannessMarker) {
    throw std::runtime_error("reader and file use different endianness");
  }
}

// A file of the other byte order has byte-swapped version numbers too, so it would be refused
// as an unknown version; its swapped marker tells the true reason.
void refuse_swapped_file(BinaryCursor& cursor) {
  std::int32_t marker = 0;
  if (cursor.peek_i32(marker) && marker == kvx::kSwappedEndiannessMarker) {
    throw std::runtime_error("reader and file use different endianness");
  }
}

FormatVersion read_version(BinaryCursor& cursor) {
  const int major = cursor.i32();
  const int minor = cursor.i32();
  const int patch = cursor.i32();
  if (major != 1 && major != 2) refuse_swapped_file(cursor);
  return {major, minor, patch};
}

class BinaryReader {
 public:
  BinaryReader(BinaryCursor& cursor, Grammar grammar) : cursor_(cursor), grammar_(grammar) {}

  void read(SMatrixContainer& container) {
    read_endianness_marker(cursor_);
    read_ports();
    if (grammar_.has_port_data_names) read_port_data_names();
    container = header_container(port_names_, port_data_names_);
    read_global_properties(container);
    read_port_properties(container);
    if (grammar_.has_port_models) read_port_models();
    read_samples(container);
    read_models(container);
  }

 private:
  void read_ports() {
    nb_ports_ = cursor_.count(kPortBytes);
    port_names_.reserve(nb_ports_);
    for (std::size_t i = 0; i < nb_ports_; ++i)
      port_names_.push_back(cursor_.string());
  }

  void read_port_data_names() {
    const std::size_t n = cursor_.count(kNamedIndexBytes);
    port_data_names_.reserve(n);
    for (std::size_t k = 0; k < n; ++k) {
      std::string name = cursor_.string();
      // Indices are stored in 4 bytes; read them unsigned so that 2^31 .. 2^32-1 come back.
      const auto index = static_cast<std::uint32_t>(cursor_.i32());
      port_data_names_.emplace_back(std::move(name), index);
    }
  }

  void read_global_properties(SMatrixContainer& container) {
    const std::size_t n = cursor_.count(kPropertyBytes);
    for (std::size_t k = 0; k < n; ++k) {
      const std::string key = cursor_.string();
      container.add_global_property(key, cursor_.string());
    }
  }

  void read_port_properties(SMatrixContainer& container) {
    for (std::size_t p = 0; p < nb_ports_; ++p) {
      const std::size_t n = cursor_.count(kPropertyBytes);
      for (std::size_t k = 0; k < n; ++k) {
        const std::string key = cursor_.string();
        container.add_port_property(p, key, cursor_.string());
      }
    }
  }

  // Version 2.2 kept a list of (name, number) port models here that nothing uses any more.
  void read_port_models() {
    const std::size_t n = cursor_.count(kNamedIndexBytes);
    for (std::size_t k = 0; k < n; ++k) {
      cursor_.string();
      cursor_.i32();
    }
  }

  [[noreturn]] void bad_list(std::size_t found, const char* what) const {
    throw std::runtime_error(
        message(what, " list of ", found, " entries for ", nb_ports_, " ports"));
  }

  void read_samples(SMatrixContainer& container) {
    const std::size_t n = cursor_.count(kSampleBytes);
    const std::size_t ports = nb_ports_;
    std::optional<SMatrixSample> blank;
    for (std::size_t k = 0; k < n; ++k) {
      const double f = cursor_.f64();
      const std::size_t entries = cursor_.count(kComplexBytes);
      // N * N is never formed: it could overflow where entries, bounded by the file, cannot.
      const bool square =
          ports == 0 ? entries == 0 : entries % ports == 0 && entries / ports == ports;
      if (!square) bad_list(entries, "S-matrix");
      // Samples start as copies of one blank that carries the port-data keys, so they are not
      // ordered again for every sample. The blank holds no S-matrix and no impedances (each
      // sample gets them straight from the file) and is made once the file has shown room
      // for its matrix.
      if (!blank) {
        blank = SMatrixSample(ports, 0.0, port_data_names_);
        blank->S() = {};
        blank->Zref() = {};
      }
      SMatrixSample sample(*blank);
      sample.setFrequency(f);
      cursor_.complexes(sample.S(), entries);
      const std::size_t impedances = cursor_.count(kComplexBytes);
      if (impedances != ports) bad_list(impedances, "Zref");
      cursor_.complexes(sample.Zref(), ports);
      for (const PortDataName& name : port_data_names_)
        sample.set(name, cursor_.complex());
      container.add(std::move(sample));
    }
  }

  void read_models(SMatrixContainer& container) {
    const std::size_t n = cursor_.count(kModelBytes);
    const std::uint64_t ports = nb_ports_;
    for (std::size_t k = 0; k < n; ++k) {
      const double from = cursor_.f64();
      const double to = cursor_.f64();
      SMatrixModel(0, from, to);  // the band is refused before its entries are read
      // The entries are kept as they arrive and the model is made once they are all there, so
      // a file too short for its model fails at the first entry missing, with that entry's own
      // message, and nothing is allocated ahead of the file.
      std::vector<SMatrixModel::ScalarModelPtr> s;
      for (std::uint64_t e = 0; e < square_saturated(ports); ++e)
        s.push_back(read_scalar_model(cursor_));
      std::vector<SMatrixModel::ScalarModelPtr> z;
      for (std::uint64_t e = 0; e < ports; ++e)
        z.push_back(read_scalar_model(cursor_));
      SMatrixModel model(ports, from, to, port_data_names_);
      model.S() = std::move(s);
      model.Zref() = std::move(z);
      for (const PortDataName& name : port_data_names_) {
        model.set(name, read_scalar_model(cursor_).get());
      }
      container.add(std::move(model));
    }
  }

  BinaryCursor& cursor_;
  Grammar grammar_;
  std::size_t nb_ports_ = 0;
  std::vector<std::string> port_names_;
  std::vector<PortDataName> port_data_names_;
};

std::unique_ptr<ScalarModel> read_static_table(BinaryCursor& cursor) {
  const std::size_t degree = cursor.count(0);
  check_static_table_degree(degree);
  const std::size_t t = cursor.count(4);
  const std::size_t s = cursor.count(kTableSampleBytes);
  std::vector<Transformation::Type> transformations(t);
  // Codes outside the list are kept: both transformation chains skip them.
  for (Transformation::Type& type : transformations) {
    type = static_cast<Transformation::Type>(cursor.i32());
  }
  std::vector<std::pair<double, std::complex<double>>> samples(s);
  for (auto& [f, v] : samples) {
    f = cursor.f64();
    v = cursor.complex();
  }
  return make_static_table(degree, transformations, samples);
}

}  // namespace

bool has_binary_magic(std::string_view data) noexcept {
  return data.substr(0, kvx::kMagicSize) == kvx::kBinaryMagic;
}

std::unique_ptr<ScalarModel> read_scalar_model(BinaryCursor& cursor) {
  const std::int32_t code = cursor.i32();
  switch (code) {
    case ScalarModel::Polynomial:
      return std::make_unique<PolynomialModel>(cursor.complex_list());
    case ScalarModel::Rational: {
      const double scale = cursor.f64();
      const std::vector<std::complex<double>> nominator = cursor.complex_list();
      const std::vector<std::complex<double>> denominator = cursor.complex_list();
      return std::make_unique<RationalModel>(nominator, denominator, scale);
    }
    case ScalarModel::PoleZero: {
      const std::vector<std::complex<double>> poles = cursor.complex_list();
      const std::vector<std::complex<double>> residues = cursor.complex_list();
      check_pole_zero_counts(poles.size(), residues.size());
      const std::complex<double> constant = cursor.complex();
      const std::complex<double> linear = cursor.complex();
      const double scale = cursor.f64();
      return std::make_unique<PoleZeroModel>(scale, poles, residues, constant, linear);
    }
    case ScalarModel::StaticTable:
      return read_static_table(cursor);
    case ScalarModel::SparameterSpline:
    case ScalarModel::CausalityEnforcedSparameterSpline: {
      std::vector<double> freqs = cursor.real_list();
      std::vector<std::complex<double>> samples = cursor.complex_list();
      std::vector<std::complex<double>> coefs = cursor.complex_list();
      std::optional<std::vector<double>> subtraction_freqs;
      if (code == ScalarModel::CausalityEnforcedSparameterSpline) {
        subtraction_freqs = cursor.real_list();
      }
      return make_spline(std::move(freqs), std::move(samples), std::move(coefs),
                         std::move(subtraction_freqs));
    }
    default:
      unsupported_scalar_model("binary read", code);
  }
}

void parse_binary(Window window, SMatrixContainer& container) {
  BinaryCursor cursor(std::move(window));
  expect_magic(cursor);
  const FormatVersion v = read_version(cursor);
  const Grammar grammar = select_grammar(v.major, v.minor, v.patch, kDevelopmentVersion);
  BinaryReader(cursor, grammar).read(container);
}

void parse_port_names_binary(Window window, std::vector<std::string>& names) {
  BinaryCursor cursor(std::move(window));
  expect_magic(cursor);
  const FormatVersion v = read_version(cursor);
  if (v.major == 1) throw std::runtime_error(kDevelopmentVersion);
  read_endianness_marker(cursor);
  const std::size_t n = cursor.count(kStringBytes);
  for (std::size_t i = 0; i < n; ++i)
    names.push_back(cursor.string());
}

}  // namespace detail

}  // namespace korvantix
