#include "io/binary_writer.hpp"

#include <korvantix/container.hpp>
#include <korvantix/io.hpp>
#include <korvantix/scalar.hpp>

#include <stdexcept>

#include "detail/message.hpp"
#include "io/grammar.hpp"
#include "io/keywords.hpp"
#include "io/path.hpp"

namespace korvantix {
namespace detail {
namespace {

// Native-order values straight into the buffer; every count, length, index and code is a
// 4-byte integer, so 64-bit counts are narrowed (the format cannot hold more).
class BinaryWriter {
 public:
  explicit BinaryWriter(OutputBuffer& out) : out_(out) {}

  BinaryWriter& i32(std::int32_t v) {
    out_.raw(&v, sizeof v);
    return *this;
  }
  BinaryWriter& count(std::size_t n) { return i32(static_cast<std::int32_t>(n)); }
  BinaryWriter& f64(double x) {
    out_.raw(&x, sizeof x);
    return *this;
  }
  BinaryWriter& complex(const std::complex<double>& z) {
    const double parts[2] = {z.real(), z.imag()};
    out_.raw(parts, sizeof parts);
    return *this;
  }
  BinaryWriter& string(const std::string& s) {
    count(s.size());
    out_.raw(s.data(), s.size());
    return *this;
  }
  BinaryWriter& real_list(const std::vector<double>& values) {
    count(values.size());
    out_.raw(values.data(), values.size() * sizeof(double));
    return *this;
  }
  BinaryWriter& complex_list(const std::vector<std::complex<double>>& values) {
    count(values.size());
    out_.raw(values.data(), values.size() * sizeof(std::complex<double>));
    return *this;
  }

  void scalar_model(const ScalarModel& model);
  void container(const SMatrixContainer& c);

 private:
  static constexpr const char* kWhat = "binary write";
  template <class Model>
  static const Model& as(const ScalarModel& model) {
    return concrete_model<Model>(model, kWhat);
  }

  void properties(const SMatrixContainer::PropertyMap& map) {
    count(map.size());
    for (const auto& [key, value] : map)
      string(key).string(value);
  }

  OutputBuffer& out_;
};

void BinaryWriter::scalar_model(const ScalarModel& model) {
  const ScalarModel::Type code = model.type();
  switch (code) {
    case ScalarModel::Polynomial:
      i32(code).complex_list(as<PolynomialModel>(model).coef());
      return;
    case ScalarModel::Rational: {
      const auto& m = as<RationalModel>(model);
      i32(code).f64(m.scale()).complex_list(m.nominator()).complex_list(m.denominator());
      return;
    }
    case ScalarModel::PoleZero: {
      const auto& m = as<PoleZeroModel>(model);
      i32(code).complex_list(m.poles()).complex_list(m.residues());
      complex(m.constantFactor()).complex(m.linearFactor()).f64(m.scale());
      return;
    }
    case ScalarModel::StaticTable: {
      const auto& m = as<StaticTableModel>(model);
      i32(code).count(m.degree()).count(m.nbTransformations()).count(m.nbSamples());
      for (std::size_t k = 0; k < m.nbTransformations(); ++k)
        i32(m.getTransformation(k));
      for (std::size_t k = 0; k < m.nbSamples(); ++k) {
        const auto [f, v] = m.getSample(k);
        f64(f).complex(v);
      }
      return;
    }
    case ScalarModel::SparameterSpline:
    case ScalarModel::CausalityEnforcedSparameterSpline: {
      const auto& m = as<SparameterSplineModel>(model);
      // Lists of different lengths would make a file no reader accepts: refuse them here.
      m.nbKnots();
      i32(code).real_list(m.freqs()).complex_list(m.samples()).complex_list(m.coefs());
      if (code == ScalarModel::CausalityEnforcedSparameterSpline) {
        const std::vector<double> none;
        real_list(m.subtraction_freqs() ? *m.subtraction_freqs() : none);
      }
      return;
    }
    default:
      unsupported_scalar_model(kWhat, model.type());
  }
}

void BinaryWriter::container(const SMatrixContainer& c) {
  const std::size_t n = c.nbPorts();
  const FormatVersion version = written_format_version();
  out_.put(kvx::kBinaryMagic);
  i32(version.major).i32(version.minor).i32(version.patch).i32(kvx::kEndiannessMarker);

  count(n);
  for (std::size_t i = 0; i < n; ++i)
    string(c.name(i));
  const std::vector<PortDataName>& names = c.port_data_names();
  count(names.size());
  for (const PortDataName& name : names)
    string(name.first).count(name.second);
  properties(c.get_global_properties());
  for (std::size_t i = 0; i < n; ++i)
    properties(c.get_port_properties(i));

  // Port data go without their names, one value per header name in the header's order.
  count(c.nbSamples());
  for (auto s = c.begin_samples(); s != c.end_samples(); ++s) {
    f64(s->frequency()).complex_list(s->S()).complex_list(s->Zref());
    for (const PortDataName& name : names)
      complex((*s)(name));
  }
  count(c.nbModels());
  for (auto m = c.begin_models(); m != c.end_models(); ++m) {
    f64(m->from()).f64(m->to());
    for (const SMatrixModel::ScalarModelPtr& entry : m->S())
      scalar_model(*entry);
    for (const SMatrixModel::ScalarModelPtr& entry : m->Zref())
      scalar_model(*entry);
    for (const PortDataName& name : names)
      scalar_model((*m)(name));
  }
}

}  // namespace

void format_binary(const SMatrixContainer& container, OutputBuffer& out) {
  BinaryWriter(out).container(container);
}

void format_scalar_model_binary(const ScalarModel& model, OutputBuffer& out) {
  BinaryWriter(out).scalar_model(model);
}

}  // namespace detail

void write_binary(const SMatrixContainer& container, const char* path) {
  const detail::File file = detail::open_for_writing(path);
  detail::OutputBuffer out(file.get());
  detail::format_binary(container, out);
  out.flush();
}

}  // namespace korvantix
