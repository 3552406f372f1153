#include <korvantix/scalar.hpp>

namespace korvantix {

namespace {

using Complex = std::complex<double>;

// The arithmetic of each kind, on the operands' value and derivatives. Every operand quantity
// is fetched only when the rule needs it, so an operand without derivatives fails only where a
// derivative is really asked for. Binary kinds ask b before a.

Complex value(ConjugateTraits, const ScalarModel& a, double f) {
  return std::conj(a.evaluate(f));
}
Complex slope(ConjugateTraits, const ScalarModel& a, double f) {
  return std::conj(a.evaluate_derivative(f));
}
Complex curvature(ConjugateTraits, const ScalarModel& a, double f) {
  return std::conj(a.evaluate_derivative_2(f));
}

Complex value(NormTraits, const ScalarModel& a, double f) {
  const Complex v = a.evaluate(f);
  return {v.real() * v.real() + v.imag() * v.imag(), 0.0};
}
Complex slope(NormTraits, const ScalarModel& a, double f) {
  const Complex v = a.evaluate(f);
  const Complex d1 = a.evaluate_derivative(f);
  return {2.0 * (v.real() * d1.real() + v.imag() * d1.imag()), 0.0};
}
Complex curvature(NormTraits, const ScalarModel& a, double f) {
  const Complex v = a.evaluate(f);
  const Complex d1 = a.evaluate_derivative(f);
  const Complex d2 = a.evaluate_derivative_2(f);
  const double slope_norm = d1.real() * d1.real() + d1.imag() * d1.imag();
  return {2.0 * (slope_norm + (v.real() * d2.real() + v.imag() * d2.imag())), 0.0};
}

Complex value(SumTraits, const ScalarModel& a, const ScalarModel& b, double f) {
  const Complex vb = b.evaluate(f);
  return a.evaluate(f) + vb;
}
Complex slope(SumTraits, const ScalarModel& a, const ScalarModel& b, double f) {
  const Complex db = b.evaluate_derivative(f);
  return a.evaluate_derivative(f) + db;
}
Complex curvature(SumTraits, const ScalarModel& a, const ScalarModel& b, double f) {
  const Complex db = b.evaluate_derivative_2(f);
  return a.evaluate_derivative_2(f) + db;
}

Complex value(DifferenceTraits, const ScalarModel& a, const ScalarModel& b, double f) {
  const Complex vb = b.evaluate(f);
  return a.evaluate(f) - vb;
}
Complex slope(DifferenceTraits, const ScalarModel& a, const ScalarModel& b, double f) {
  const Complex db = b.evaluate_derivative(f);
  return a.evaluate_derivative(f) - db;
}
Complex curvature(DifferenceTraits, const ScalarModel& a, const ScalarModel& b, double f) {
  const Complex db = b.evaluate_derivative_2(f);
  return a.evaluate_derivative_2(f) - db;
}

Complex value(ProductTraits, const ScalarModel& a, const ScalarModel& b, double f) {
  const Complex vb = b.evaluate(f);
  return a.evaluate(f) * vb;
}
Complex slope(ProductTraits, const ScalarModel& a, const ScalarModel& b, double f) {
  const Complex vb = b.evaluate(f);
  const Complex va = a.evaluate(f);
  const Complex db = b.evaluate_derivative(f);
  const Complex da = a.evaluate_derivative(f);
  return da * vb + va * db;
}
Complex curvature(ProductTraits, const ScalarModel& a, const ScalarModel& b, double f) {
  const Complex vb = b.evaluate(f);
  const Complex va = a.evaluate(f);
  const Complex db = b.evaluate_derivative(f);
  const Complex da = a.evaluate_derivative(f);
  const Complex d2b = b.evaluate_derivative_2(f);
  const Complex d2a = a.evaluate_derivative_2(f);
  return d2a * vb + 2.0 * da * db + va * d2b;
}

// Calls fn(traits, operands..., f) with the operand list unpacked.
template <class Traits, class Operands, class Fn>
Complex apply(const Operands& operands, double f, Fn fn) {
  if constexpr (Traits::arity == 1) {
    return fn(Traits{}, *operands[0], f);
  } else {
    return fn(Traits{}, *operands[0], *operands[1], f);
  }
}

}  // namespace

template <class Traits>
ScalarOperator<Traits>::ScalarOperator(const ScalarOperator& other) : ScalarModel(other) {
  for (std::size_t i = 0; i < Traits::arity; ++i)
    operands_[i].reset(other.operands_[i]->clone());
}

template <class Traits>
ScalarOperator<Traits>::~ScalarOperator() = default;

template <class Traits>
bool ScalarOperator<Traits>::operator==(const ScalarOperator& other) const {
  for (std::size_t i = 0; i < Traits::arity; ++i) {
    if (!operands_[i]->equal(other.operands_[i].get())) return false;
  }
  return true;
}

template <class Traits>
ScalarModel* ScalarOperator<Traits>::clone() const {
  return new ScalarOperator(*this);
}

template <class Traits>
bool ScalarOperator<Traits>::empty() const {
  return false;
}

template <class Traits>
ScalarModel::Type ScalarOperator<Traits>::type() const {
  return Traits::code;
}

template <class Traits>
void ScalarOperator<Traits>::evaluate(const std::vector<double>& freqs,
                                      std::vector<std::complex<double>>& values,
                                      std::vector<std::complex<double>>& work) const {
  ScalarModel::evaluate(freqs, values, work);
}

template <class Traits>
std::complex<double> ScalarOperator<Traits>::evaluate(double freq) const {
  return apply<Traits>(operands_, freq, [](const auto&... args) { return value(args...); });
}

template <class Traits>
std::complex<double> ScalarOperator<Traits>::evaluate_derivative(double freq) const {
  return apply<Traits>(operands_, freq, [](const auto&... args) { return slope(args...); });
}

template <class Traits>
std::complex<double> ScalarOperator<Traits>::evaluate_derivative_2(double freq) const {
  return apply<Traits>(operands_, freq, [](const auto&... args) { return curvature(args...); });
}

template <class Traits>
bool ScalarOperator<Traits>::is_constant() const {
  for (const auto& operand : operands_) {
    if (!operand->is_constant()) return false;
  }
  return true;
}

template class ScalarOperator<ConjugateTraits>;
template class ScalarOperator<NormTraits>;
template class ScalarOperator<SumTraits>;
template class ScalarOperator<DifferenceTraits>;
template class ScalarOperator<ProductTraits>;

}  // namespace korvantix
