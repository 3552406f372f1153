#include <korvantix/scalar.hpp>

#include <ostream>

#include "scalar/checks.hpp"

namespace korvantix {

// Numbers go out with the stream's own settings; nothing here changes them.

std::ostream& operator<<(std::ostream& out, const PolynomialModel& model) {
  out << "Polynomial Model: ";
  for (std::size_t k = 0; k < model.size(); ++k) {
    if (k > 0) out << " + ";
    out << model(k) << "*freq^" << k;
  }
  return out;
}

namespace {

void put_scaled_terms(std::ostream& out, const std::vector<std::complex<double>>& coef,
                      double scale) {
  for (std::size_t k = 0; k < coef.size(); ++k) {
    if (k > 0) out << " + ";
    out << coef[k] << "*(freq/" << scale << ")^" << k;
  }
}

}  // namespace

std::ostream& operator<<(std::ostream& out, const RationalModel& model) {
  out << "Rational Model: "
      << "( ";
  put_scaled_terms(out, model.nominator(), model.scale());
  out << " ) / ( ";
  put_scaled_terms(out, model.denominator(), model.scale());
  return out << " )";
}

std::ostream& operator<<(std::ostream& out, const PoleZeroModel& model) {
  detail::check_residues(model.poles(), model.residues());
  out << "Pole-Zero Model: ";
  for (std::size_t i = 0; i < model.nbPoles(); ++i) {
    if (i > 0) out << " + ";
    out << model.residue(i) << "/(s-" << model.pole(i) << ")";
  }
  // The factors get their " + " even without a pole term before them: the text may start
  // with it.
  if (model.linearFactor() != std::complex<double>())
    out << " + " << model.linearFactor() << " x s";
  if (model.constantFactor() != std::complex<double>()) out << " + " << model.constantFactor();
  return out << ", with s = j*omega/" << model.scale();
}

std::ostream& operator<<(std::ostream& out, const SparameterSplineModel& model) {
  out << "S-parameter Spline Model: " << model.nbKnots() << " knots";
  if (model.type() == ScalarModel::CausalityEnforcedSparameterSpline) {
    // No separator before the count: the text is exact, and callers match it as it stands.
    out << model.subtraction_freqs()->size() << " subtraction frequencies";
  }
  return out;
}

std::ostream& operator<<(std::ostream& out, const StaticTableModel& model) {
  out << "Static Table Model (degree=" << model.degree();
  const std::size_t nb = model.nbTransformations();
  if (nb > 0) {
    out << ", trafo=";
    for (std::size_t i = nb; i-- > 0;) {
      switch (model.getTransformation(i)) {
        case Transformation::Inverse:
          out << "inv(";
          break;
        case Transformation::Squared:
          out << "(";
          break;
        default:
          break;
      }
    }
    out << "x";
    for (std::size_t i = 0; i < nb; ++i) {
      switch (model.getTransformation(i)) {
        case Transformation::Inverse:
          out << ")";
          break;
        case Transformation::Squared:
          out << ")^2";
          break;
        default:
          break;
      }
    }
  }
  out << ") : ";
  for (std::size_t i = 0; i < model.nbSamples(); ++i) {
    if (i > 0) out << " , ";
    const std::pair<double, std::complex<double>> sample = model.getSample(i);
    out << "[" << sample.first << " -> " << sample.second << "]";
  }
  return out;
}

namespace {

template <class Model>
std::ostream& put_as(std::ostream& out, const ScalarModel* model) {
  if (const auto* concrete = dynamic_cast<const Model*>(model)) out << *concrete;
  return out;
}

}  // namespace

std::ostream& operator<<(std::ostream& out, const ScalarModel* model) {
  if (model == nullptr) return out;
  switch (static_cast<std::int32_t>(model->type())) {
    case ScalarModel::Polynomial:
      return put_as<PolynomialModel>(out, model);
    case ScalarModel::Rational:
      return put_as<RationalModel>(out, model);
    case ScalarModel::PoleZero:
      return put_as<PoleZeroModel>(out, model);
    case ScalarModel::StaticTable:
      return put_as<StaticTableModel>(out, model);
    case ScalarModel::SparameterSpline:
      return put_as<SparameterSplineModel>(out, model);
    case ScalarModel::Conjugate:
      return out << "conjugate of a scalar model";
    case ScalarModel::Norm:
      return out << "norm of a scalar model";
    case ScalarModel::Sum:
      return out << "sum of scalar models";
    case ScalarModel::Difference:
      return out << "difference of scalar models";
    case ScalarModel::Product:
      return out << "product of scalar models";
    case 999:
      return out << "unknown scalar model type";
    default:
      // Code 6 (the causality-enforced spline) and every other code print nothing: only the
      // kinds listed above have a description.
      return out;
  }
}

}  // namespace korvantix
