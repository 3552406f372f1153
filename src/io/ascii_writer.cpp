#include "io/ascii_writer.hpp"

#include <korvantix/container.hpp>
#include <korvantix/io.hpp>
#include <korvantix/scalar.hpp>

#include <cstring>
#include <stdexcept>
#include <string_view>

#include "detail/message.hpp"
#include "detail/number_format.hpp"
#include "io/grammar.hpp"
#include "io/keywords.hpp"
#include "io/path.hpp"

namespace korvantix {
namespace detail {
namespace {

// The file's vocabulary on the output side: counts in decimal, reals in scientific notation,
// complex values as "(re,im)", texts between "<" and ">". Everything is first assembled in a
// small staging area on the stack and handed to the buffer in blocks: a complex value is then a
// handful of stores and two conversions instead of five calls into the buffer.
class AsciiWriter {
 public:
  AsciiWriter(OutputBuffer& out, int precision)
      : out_(out), precision_(precision), direct_(precision <= kMaxDirectPrecision) {}
  AsciiWriter(const AsciiWriter&) = delete;
  AsciiWriter& operator=(const AsciiWriter&) = delete;

  /// Hands the staged text to the buffer; the owner calls it at the end and on a failure.
  void finish() {
    out_.raw(stage_, used_);
    used_ = 0;
  }

  AsciiWriter& put(char c) {
    room(1);
    stage_[used_++] = c;
    return *this;
  }
  AsciiWriter& put(std::string_view text) {
    if (text.size() > kStage / 2) {
      finish();
      out_.put(text);
      return *this;
    }
    room(text.size());
    std::memcpy(stage_ + used_, text.data(), text.size());
    used_ += text.size();
    return *this;
  }
  AsciiWriter& count(std::uint64_t n) {
    room(20);
    used_ = static_cast<std::size_t>(write_count(stage_ + used_, n) - stage_);
    return *this;
  }
  AsciiWriter& real(double x) {
    if (!direct_) {
      // Beyond the direct precision the buffer pads the zeros every double runs into.
      finish();
      out_.scientific(x, precision_);
      return *this;
    }
    room(number_room(precision_));
    used_ = static_cast<std::size_t>(write_scientific(stage_ + used_, x, precision_) - stage_);
    return *this;
  }
  AsciiWriter& complex(const std::complex<double>& z) {
    if (!direct_) {
      finish();
      out_.complex(z, precision_);
      return *this;
    }
    room(2 * number_room(precision_) + 3);
    char* p = stage_ + used_;
    *p++ = '(';
    p = write_scientific(p, z.real(), precision_);
    *p++ = ',';
    p = write_scientific(p, z.imag(), precision_);
    *p++ = ')';
    used_ = static_cast<std::size_t>(p - stage_);
    return *this;
  }
  AsciiWriter& text(std::string_view t) { return put('<').put(t).put('>'); }
  AsciiWriter& reals(const std::vector<double>& values) {
    for (double x : values)
      put('\t').real(x);
    return *this;
  }
  AsciiWriter& complexes(const std::vector<std::complex<double>>& values) {
    for (const std::complex<double>& z : values)
      put('\t').complex(z);
    return *this;
  }

  void scalar_model(const ScalarModel& model);
  void container(const SMatrixContainer& c);

 private:
  static constexpr const char* kWhat = "ascii io";
  template <class Model>
  static const Model& as(const ScalarModel& model) {
    return concrete_model<Model>(model, kWhat);
  }

  void properties(const SMatrixContainer::PropertyMap& map) {
    for (const auto& [key, value] : map)
      put("\n\t").text(key).put(" ").text(value);
  }

  void room(std::size_t n) {
    if (kStage - used_ < n) finish();
  }

  // Holds the longest single item: a complex value at the largest direct precision.
  static constexpr std::size_t kStage = std::size_t{1} << 14;
  static_assert(kStage >= 2 * number_room(kMaxDirectPrecision) + 3);

  OutputBuffer& out_;
  int precision_;
  bool direct_;
  std::size_t used_ = 0;
  char stage_[kStage];
};

void AsciiWriter::scalar_model(const ScalarModel& model) {
  switch (model.type()) {
    case ScalarModel::Polynomial: {
      const auto& m = as<PolynomialModel>(model);
      put("\n\t\t").put(kvx::kPoly).put(" ").count(m.size()).put("\n\t\t").complexes(m.coef());
      return;
    }
    case ScalarModel::Rational: {
      const auto& m = as<RationalModel>(model);
      put("\n\t\t").put(kvx::kRat).put(" ").real(m.scale()).put(" ");
      count(m.nominator().size()).put(" ").count(m.denominator().size());
      put("\n\t\t").complexes(m.nominator()).put("\n\t\t").complexes(m.denominator());
      return;
    }
    case ScalarModel::PoleZero: {
      const auto& m = as<PoleZeroModel>(model);
      put("\n\t\t").put(kvx::kPoleZero).put(" ").count(m.nbPoles());
      put("\n\t\t\t").put(kvx::kPoles).complexes(m.poles());
      put("\n\t\t\t").put(kvx::kResidues).complexes(m.residues());
      put("\n\t\t\t").put(kvx::kConstant).put("\t").complex(m.constantFactor());
      put("\n\t\t\t").put(kvx::kLinear).put("\t").complex(m.linearFactor());
      put("\n\t\t\t").put(kvx::kFreqScale).put("\t").real(m.scale());
      return;
    }
    case ScalarModel::StaticTable: {
      const auto& m = as<StaticTableModel>(model);
      put("\n\t\t").put(kvx::kStaticTable).put(" ").count(m.degree()).put(" ");
      count(m.nbTransformations()).put(" ").count(m.nbSamples());
      if (m.nbTransformations() > 0) put("\n\t\t\t");
      for (std::size_t k = 0; k < m.nbTransformations(); ++k) {
        // Each name carries its own blank; a code outside the list is written as nothing.
        const Transformation::Type t = m.getTransformation(k);
        if (t == Transformation::Inverse) put(kvx::kInverse).put(" ");
        if (t == Transformation::Squared) put(kvx::kSquared).put(" ");
      }
      for (std::size_t k = 0; k < m.nbSamples(); ++k) {
        const auto [f, v] = m.getSample(k);
        put("\n\t\t\t").real(f).put("\t").complex(v);
      }
      return;
    }
    case ScalarModel::SparameterSpline:
    case ScalarModel::CausalityEnforcedSparameterSpline: {
      const auto& m = as<SparameterSplineModel>(model);
      const bool causal = model.type() == ScalarModel::CausalityEnforcedSparameterSpline;
      put("\n\t\t").put(causal ? kvx::kCausalitySpline : kvx::kSparaSpline).put(" ");
      count(m.nbKnots());
      // A code-6 spline always carries its subtraction frequencies.
      const std::vector<double> none;
      const std::vector<double>& subtraction =
          m.subtraction_freqs() ? *m.subtraction_freqs() : none;
      if (causal) put(" ").count(subtraction.size());
      put("\n\t\t\t").put(kvx::kFreqs).reals(m.freqs());
      put("\n\t\t\t").put(kvx::kSamples).complexes(m.samples());
      put("\n\t\t\t").put(kvx::kCoefs).complexes(m.coefs());
      if (causal) put("\n\t\t\t").put(kvx::kSubtractionFreqs).reals(subtraction);
      return;
    }
    default:
      unsupported_scalar_model(kWhat, model.type());
  }
}

void AsciiWriter::container(const SMatrixContainer& c) {
  const std::size_t n = c.nbPorts();
  const FormatVersion version = written_format_version();
  put(kvx::kAsciiMagic).count(static_cast<std::uint64_t>(version.major)).put(" ");
  count(static_cast<std::uint64_t>(version.minor)).put(" ");
  count(static_cast<std::uint64_t>(version.patch)).put("\n");

  put("\n").put(kvx::kPorts).put(" ").count(n);
  for (std::size_t i = 0; i < n; ++i)
    put("\n\t").text(c.name(i));
  put("\n");

  // Port data names are written bare, unlike every other name in the file.
  put("\nPORT DATA NAMES ").count(c.port_data_names().size());
  for (const PortDataName& name : c.port_data_names()) {
    put("\n\t").put(name.first).put(" ").count(name.second);
  }
  put("\n");

  put("\nGLOBAL PROPERTIES ").count(c.get_global_properties().size());
  properties(c.get_global_properties());
  for (std::size_t i = 0; i < n; ++i) {
    const SMatrixContainer::PropertyMap& map = c.get_port_properties(i);
    put("\nPORT PROPERTIES ").count(i).put(" ").count(map.size());
    properties(map);
  }
  put("\n");

  put("\n").put(kvx::kSamples).put(" ").count(c.nbSamples());
  for (auto s = c.begin_samples(); s != c.end_samples(); ++s) {
    put("\n").put(kvx::kFreq).put(" ").real(s->frequency()).put(" ").put(kvx::kHz);
    put("\n\t").put(kvx::kS);
    // Row-major storage: row i is entries i * n .. i * n + n - 1.
    const std::complex<double>* entry = s->S().data();
    for (std::size_t i = 0; i < n; ++i) {
      put("\n\t");
      for (std::size_t j = 0; j < n; ++j)
        put('\t').complex(*entry++);
    }
    put("\n\t").put(kvx::kZref).put("\n\t").complexes(s->Zref());
    for (auto d = s->begin_port_data(); d != s->end_port_data(); ++d) {
      put("\n\t").put(d->first.first).put(" ").count(d->first.second).put(" ").complex(d->second);
    }
  }

  put("\n").put(kvx::kModels).put(" ").count(c.nbModels());
  for (auto m = c.begin_models(); m != c.end_models(); ++m) {
    put("\n").put(kvx::kFreqRange).put(" ").real(m->from()).put(" ").real(m->to());
    put(" ").put(kvx::kHz);
    put("\n\t").put(kvx::kS);
    for (const SMatrixModel::ScalarModelPtr& entry : m->S())
      scalar_model(*entry);
    put("\n\t").put(kvx::kZref);
    for (const SMatrixModel::ScalarModelPtr& entry : m->Zref())
      scalar_model(*entry);
    for (auto d = m->begin_port_data(); d != m->end_port_data(); ++d) {
      put("\n\t").put(d->first.first).put(" ").count(d->first.second).put(" ");
      scalar_model(*d->second);
    }
  }
}

// Writes with `write`, then hands the staged text to out, also when `write` fails: what was
// written before a failure stays written, as it would on a stream.
template <class Write>
void format(OutputBuffer& out, int precision, Write write) {
  AsciiWriter writer(out, precision);
  try {
    write(writer);
  } catch (...) {
    writer.finish();
    throw;
  }
  writer.finish();
}

}  // namespace

void format_ascii(const SMatrixContainer& container, OutputBuffer& out, int precision) {
  format(out, precision, [&](AsciiWriter& writer) { writer.container(container); });
}

void format_scalar_model(const ScalarModel& model, OutputBuffer& out, int precision) {
  format(out, precision, [&](AsciiWriter& writer) { writer.scalar_model(model); });
}

}  // namespace detail

void write_ascii(const SMatrixContainer& container, const char* path, int precision) {
  const detail::File file = detail::open_for_writing(path);
  // On a failure half-way the buffer's destructor still hands over what was written, so the
  // partial file holds everything up to the model that could not be written.
  detail::OutputBuffer out(file.get());
  detail::format_ascii(container, out, precision);
  out.flush();
}

}  // namespace korvantix
