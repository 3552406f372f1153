#include <korvantix/scalar.hpp>

#include <memory>

#include "scalar/scalar_test_support.hpp"
#include "test_support.hpp"

namespace korvantix {
namespace {

using testing::Coefs;
using testing::Complex;
using Owned = std::unique_ptr<ScalarModel>;

TEST(ScalarOperator, Values) {
  const PolynomialModel a(Complex(3, 4));
  const PolynomialModel b(Coefs{{1, 2}, {3, -1}});
  EXPECT_EQ(Owned(ScalarModel::createNorm(&a))->evaluate(9.0), Complex(25, 0));
  const Owned conjugate(ScalarModel::createConjugate(&b));
  EXPECT_EQ(conjugate->evaluate(1.0), Complex(4, -1));
  EXPECT_EQ(conjugate->evaluate_derivative(1.0), Complex(3, 1));
  EXPECT_EQ(Owned(ScalarModel::createSum(&a, &b))->evaluate(1.0), Complex(7, 5));
  EXPECT_EQ(Owned(ScalarModel::createDifference(&a, &b))->evaluate(1.0), Complex(-1, 3));
  EXPECT_EQ(Owned(ScalarModel::createProduct(&a, &b))->evaluate(1.0), Complex(8, 19));
}

TEST(ScalarOperator, TypeCodesAndConstancy) {
  const PolynomialModel c1(Complex(1, 0)), c2(Complex(2, 0)), empty;
  const RationalModel r({{1, 0}}, {{1, 0}});
  EXPECT_EQ(Owned(ScalarModel::createConjugate(&c1))->type(), 101);
  EXPECT_EQ(Owned(ScalarModel::createNorm(&c1))->type(), 102);
  EXPECT_EQ(Owned(ScalarModel::createSum(&c1, &c2))->type(), 201);
  EXPECT_EQ(Owned(ScalarModel::createDifference(&c1, &c2))->type(), 202);
  EXPECT_EQ(Owned(ScalarModel::createProduct(&c1, &c2))->type(), 203);
  EXPECT_TRUE(Owned(ScalarModel::createSum(&c1, &c2))->is_constant());
  EXPECT_FALSE(Owned(ScalarModel::createSum(&c1, &r))->is_constant());
  EXPECT_FALSE(Owned(ScalarModel::createNorm(&empty))->empty());
}

// Product and norm derivatives against finite differences of the operator's own value and
// slope, with operands whose derivatives are all non-trivial.
TEST(ScalarOperator, DerivativesFollowTheRulesOfCalculus) {
  const PolynomialModel a(Coefs{{1, -2}, {0.5, 1}, {-0.25, 0.75}, {0.1, 0.2}});
  const PoleZeroModel b(10.0, {{-1, 3}, {-2, -1}}, {{1, 1}, {0.5, -2}}, {0.3, 0}, {0.02, 0.01});
  const Owned models[] = {
      Owned(ScalarModel::createProduct(&a, &b)), Owned(ScalarModel::createNorm(&b)),
      Owned(ScalarModel::createConjugate(&b)), Owned(ScalarModel::createDifference(&a, &b))};
  for (const Owned& m : models) {
    for (double f : {0.3, 1.1}) {
      EXPECT_TRUE(testing::near(
          m->evaluate_derivative(f),
          testing::central_difference([&](double x) { return m->evaluate(x); }, f, 1e-6), 1e-7))
          << m->type() << " at " << f;
      EXPECT_TRUE(testing::near(
          m->evaluate_derivative_2(f),
          testing::central_difference([&](double x) { return m->evaluate_derivative(x); }, f, 1e-6),
          1e-6))
          << m->type() << " at " << f;
    }
  }
  const Owned norm(ScalarModel::createNorm(&b));
  EXPECT_EQ(norm->evaluate_derivative(0.3).imag(), 0.0);
  EXPECT_EQ(norm->evaluate_derivative_2(0.3).imag(), 0.0);
}

TEST(ScalarOperator, OwnsClonesOfItsOperands) {
  auto a = std::make_unique<PolynomialModel>(Complex(5, 0));
  auto b = std::make_unique<PolynomialModel>(Complex(2, 0), Complex(1, 0));
  const Owned difference(ScalarModel::createDifference(a.get(), b.get()));
  const auto& op = static_cast<const ScalarOperator<DifferenceTraits>&>(*difference);
  EXPECT_NE(op.operand(0), a.get());
  a.reset();
  b.reset();
  EXPECT_EQ(difference->evaluate(1.0), Complex(2, 0));
  const Owned copy(difference->clone());
  EXPECT_NE(static_cast<const ScalarOperator<DifferenceTraits>&>(*copy).operand(1), op.operand(1));
  EXPECT_TRUE(copy->equal(difference.get()));
}

TEST(ScalarOperator, EqualityIsPositional) {
  const PolynomialModel a(Complex(1, 0)), b(Complex(2, 0));
  const Owned ab(ScalarModel::createSum(&a, &b));
  const Owned ab_again(ScalarModel::createSum(&a, &b));
  const Owned ba(ScalarModel::createSum(&b, &a));
  EXPECT_TRUE(ab->equal(ab_again.get()));
  EXPECT_FALSE(ab->equal(ba.get()));
  EXPECT_EQ(ab->evaluate(0.0), ba->evaluate(0.0));
  const Owned product(ScalarModel::createProduct(&a, &b));
  EXPECT_FALSE(ab->equal(product.get()));
  // Operands are compared through equal, so a causality-enforced operand spoils it.
  const SparameterSplineModel causal({0, 1}, {{0, 0}, {1, 0}}, {{0, 0}, {0, 0}},
                                     std::vector<double>{});
  const Owned conjugate(ScalarModel::createConjugate(&causal));
  EXPECT_FALSE(conjugate->equal(conjugate.get()));
}

TEST(ScalarOperator, OperandFailuresPassThrough) {
  StaticTableModel low(2), high(2);
  low.addSample(1, {0, 0});
  low.addSample(2, {0, 0});
  high.addSample(5, {0, 0});
  high.addSample(6, {0, 0});
  const Owned sum(ScalarModel::createSum(&low, &high));
  // b is asked first.
  EXPECT_THROW_MSG(sum->evaluate(3.0), std::out_of_range,
                   "3 does not belong to tabulation interval [5 , 6]");
  EXPECT_THROW_MSG(sum->evaluate_derivative(1.5), std::runtime_error,
                   "FittedScalarModel::evaluate_derivative is not supported yet");
  std::vector<Complex> values, work;
  const Owned conjugate(ScalarModel::createConjugate(&low));
  conjugate->evaluate({1.0, 1.5, 2.0}, values, work);
  EXPECT_EQ(values.size(), 3u);
}

}  // namespace
}  // namespace korvantix
