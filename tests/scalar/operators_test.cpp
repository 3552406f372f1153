#include <korvantix/scalar.hpp>

#include <memory>

#include "scalar/scalar_test_support.hpp"
#include "test_support.hpp"

namespace korvantix {
namespace {

using testing::Complex;
using Owned = std::unique_ptr<ScalarModel>;

TEST(ScalarOperator, ValuesCodesAndConstancy) {
  const PolynomialModel a(Complex(3, 4));
  const PolynomialModel b({{1, 2}, {3, -1}});
  const RationalModel r({1.0}, {1.0});
  const PolynomialModel empty;
  const Owned conjugate(ScalarModel::createConjugate(&b)), norm(ScalarModel::createNorm(&a)),
      sum(ScalarModel::createSum(&a, &b)), difference(ScalarModel::createDifference(&a, &b)),
      product(ScalarModel::createProduct(&a, &b));
  EXPECT_EQ(conjugate->evaluate(1.0), Complex(4, -1));
  EXPECT_EQ(conjugate->evaluate_derivative(1.0), Complex(3, 1));
  EXPECT_EQ(norm->evaluate(9.0), Complex(25, 0));
  EXPECT_EQ(sum->evaluate(1.0), Complex(7, 5));
  EXPECT_EQ(difference->evaluate(1.0), Complex(-1, 3));
  EXPECT_EQ(product->evaluate(1.0), Complex(8, 19));
  EXPECT_EQ((std::vector<int>{conjugate->type(), norm->type(), sum->type(), difference->type(),
                              product->type()}),
            (std::vector<int>{101, 102, 201, 202, 203}));
  EXPECT_TRUE(Owned(ScalarModel::createSum(&a, &a))->is_constant());
  EXPECT_FALSE(Owned(ScalarModel::createSum(&a, &r))->is_constant());
  EXPECT_FALSE(Owned(ScalarModel::createNorm(&empty))->empty());
}

// Derivatives against finite differences of the operator's own value and slope, on operands
// whose derivatives are all non-trivial.
TEST(ScalarOperator, DerivativesFollowTheRulesOfCalculus) {
  const PolynomialModel a({{1, -2}, {0.5, 1}, {-0.25, 0.75}, {0.1, 0.2}});
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
  EXPECT_EQ(models[1]->evaluate_derivative_2(0.3).imag(), 0.0);
}

TEST(ScalarOperator, OwnsClonesAndComparesPositionally) {
  auto a = std::make_unique<PolynomialModel>(Complex(5, 0));
  auto b = std::make_unique<PolynomialModel>(Complex(2, 0), Complex(1, 0));
  const Owned ab(ScalarModel::createDifference(a.get(), b.get()));
  const Owned ba(ScalarModel::createDifference(b.get(), a.get()));
  EXPECT_NE(static_cast<const ScalarOperator<DifferenceTraits>&>(*ab).operand(0), a.get());
  a.reset();
  b.reset();
  EXPECT_EQ(ab->evaluate(1.0), Complex(2, 0));
  const Owned copy(ab->clone());
  EXPECT_TRUE(copy->equal(ab.get()));
  EXPECT_FALSE(ab->equal(ba.get()));
  // Operands are compared through equal, so a causality-enforced operand spoils it.
  const SparameterSplineModel causal({0, 1}, {0.0, 1.0}, {0.0, 0.0}, std::vector<double>{});
  const Owned conjugate(ScalarModel::createConjugate(&causal));
  EXPECT_FALSE(conjugate->equal(conjugate.get()));
}

TEST(ScalarOperator, OperandFailuresPassThroughBFirst) {
  const StaticTableModel low = [] {
    StaticTableModel m(2);
    m.addSamples({{1, 0.0}, {2, 0.0}});
    return m;
  }();
  StaticTableModel high(2);
  high.addSamples({{5, 0.0}, {6, 0.0}});
  const Owned sum(ScalarModel::createSum(&low, &high));
  EXPECT_THROW_MSG(sum->evaluate(3.0), std::out_of_range,
                   "3 does not belong to tabulation interval [5 , 6]");
  EXPECT_THROW_MSG(sum->evaluate_derivative(1.5), std::runtime_error,
                   "FittedScalarModel::evaluate_derivative is not supported yet");
}

}  // namespace
}  // namespace korvantix
