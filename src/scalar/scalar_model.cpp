#include <korvantix/scalar.hpp>

namespace korvantix {

namespace {

// The type code decides the class; the cast still checks, so a foreign subclass that borrows a
// code compares unequal instead of being misread.
template <class Model>
bool equal_as(const ScalarModel* a, const ScalarModel* b) {
  const auto* left = dynamic_cast<const Model*>(a);
  const auto* right = dynamic_cast<const Model*>(b);
  return left != nullptr && right != nullptr && *left == *right;
}

}  // namespace

ScalarModel::~ScalarModel() = default;

bool ScalarModel::is_constant() const {
  return false;
}

void ScalarModel::evaluate(const std::vector<double>& freqs,
                           std::vector<std::complex<double>>& values,
                           std::vector<std::complex<double>>& /*work*/) const {
  values.resize(freqs.size());
  for (std::size_t i = 0; i < freqs.size(); ++i)
    values[i] = evaluate(freqs[i]);
}

bool ScalarModel::equal(const ScalarModel* other) const {
  const Type other_code = other->type();
  const Type code = type();
  if (other_code != code) return false;
  if (code > 998) return false;
  switch (code) {
    case Polynomial:
      return equal_as<PolynomialModel>(this, other);
    case Rational:
      return equal_as<RationalModel>(this, other);
    case PoleZero:
      return equal_as<PoleZeroModel>(this, other);
    case StaticTable:
      return equal_as<StaticTableModel>(this, other);
    case SparameterSpline:
      return equal_as<SparameterSplineModel>(this, other);
    case Conjugate:
      return equal_as<ScalarOperator<ConjugateTraits>>(this, other);
    case Norm:
      return equal_as<ScalarOperator<NormTraits>>(this, other);
    case Sum:
      return equal_as<ScalarOperator<SumTraits>>(this, other);
    case Difference:
      return equal_as<ScalarOperator<DifferenceTraits>>(this, other);
    case Product:
      return equal_as<ScalarOperator<ProductTraits>>(this, other);
    default:
      // Code 6 included: a causality-enforced spline never compares equal through this test,
      // not even to itself, and callers depend on that.
      return false;
  }
}

ScalarModel* ScalarModel::createConjugate(const ScalarModel* a) {
  return new ScalarOperator<ConjugateTraits>(a);
}

ScalarModel* ScalarModel::createNorm(const ScalarModel* a) {
  return new ScalarOperator<NormTraits>(a);
}

ScalarModel* ScalarModel::createSum(const ScalarModel* a, const ScalarModel* b) {
  return new ScalarOperator<SumTraits>(a, b);
}

ScalarModel* ScalarModel::createDifference(const ScalarModel* a, const ScalarModel* b) {
  return new ScalarOperator<DifferenceTraits>(a, b);
}

ScalarModel* ScalarModel::createProduct(const ScalarModel* a, const ScalarModel* b) {
  return new ScalarOperator<ProductTraits>(a, b);
}

}  // namespace korvantix
