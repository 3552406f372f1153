#include <korvantix/scalar.hpp>

#include <memory>

#include "scalar/scalar_test_support.hpp"
#include "test_support.hpp"

namespace korvantix {
namespace {

using testing::Complex;

// g(f) = (1 + 2j) f^3 - j f at 0, 1, 2 with its exact second derivatives: the spline is g on
// every interval and, through the extended end cubics, outside the knots too.
Complex g(double f) {
  return Complex(1, 2) * (f * f * f) - Complex(0, 1) * f;
}
Complex g1(double f) {
  return Complex(1, 2) * (3 * f * f) - Complex(0, 1);
}
Complex g2(double f) {
  return Complex(1, 2) * (6 * f);
}

SparameterSplineModel cubic() {
  return SparameterSplineModel({0, 1, 2}, {g(0), g(1), g(2)}, {g2(0), g2(1), g2(2)});
}

TEST(SparameterSplineModel, IntervalsAndValues) {
  const SparameterSplineModel s = cubic();
  EXPECT_EQ(s.spline_interval_idx(-3.0), 0u);
  EXPECT_EQ(s.spline_interval_idx(0.5), 0u);
  EXPECT_EQ(s.spline_interval_idx(1.0), 1u);  // an interior knot starts its interval
  EXPECT_EQ(s.spline_interval_idx(2.0), 1u);
  EXPECT_EQ(s.spline_interval_idx(5.0), 1u);
  for (double f : {-0.5, 0.0, 0.3, 1.0, 1.75, 2.0, 3.0}) {
    EXPECT_TRUE(testing::near(s.evaluate(f), g(f), 1e-14)) << f;
    EXPECT_TRUE(testing::near(s.evaluate_derivative(f), g1(f), 1e-14)) << f;
    EXPECT_TRUE(testing::near(s.evaluate_derivative_2(f), g2(f), 1e-14)) << f;
  }
  // Without curvature it is the broken line through the samples.
  const SparameterSplineModel line({1, 3, 4}, {{2, 0}, {6, -2}, {0, 1}}, {0.0, 0.0, 0.0});
  EXPECT_EQ(line.evaluate(3.0), Complex(6, -2));
  EXPECT_EQ(line.evaluate(2.0), Complex(4, -1));
  EXPECT_EQ(line.evaluate(3.5), Complex(3, -0.5));
  EXPECT_EQ(line.evaluate_derivative(2.0), Complex(2, -1));
}

TEST(SparameterSplineModel, IsConstant) {
  EXPECT_TRUE(SparameterSplineModel({1}, {{4, 4}}, {{9, 9}}).is_constant());
  EXPECT_TRUE(SparameterSplineModel({1, 2}, {{4, 4}, {4, 4}}, {0.0, 0.0}).is_constant());
  EXPECT_FALSE(SparameterSplineModel({1, 2}, {{4, 4}, {4, 4}}, {{0, 0}, {0, 1}}).is_constant());
  EXPECT_FALSE(SparameterSplineModel({1, 2}, {{4, 4}, {4, 5}}, {0.0, 0.0}).is_constant());
}

TEST(SparameterSplineModel, CausalityEnforcedSplinesNeverEqualThroughEqual) {
  const SparameterSplineModel plain = cubic();
  const SparameterSplineModel causal(plain.freqs(), plain.samples(), plain.coefs(),
                                     std::vector<double>{0.5});
  EXPECT_EQ(plain.type(), ScalarModel::SparameterSpline);
  EXPECT_EQ(causal.type(), ScalarModel::CausalityEnforcedSparameterSpline);
  EXPECT_EQ(SparameterSplineModel({}, {}, {}, std::vector<double>{}).type(), 6);
  EXPECT_TRUE(plain == cubic() && plain.equal(&plain));
  EXPECT_NE(plain, causal);
  const SparameterSplineModel causal_copy = causal;
  EXPECT_EQ(causal, causal_copy);
  EXPECT_FALSE(causal.equal(&causal_copy) || causal.equal(&causal));
  EXPECT_NE(causal, SparameterSplineModel(plain.freqs(), plain.samples(), plain.coefs(),
                                          std::vector<double>{0.5, 0.75}));
  const std::unique_ptr<ScalarModel> clone(causal.clone());
  EXPECT_EQ(static_cast<const SparameterSplineModel&>(*clone), causal);
}

TEST(SparameterSplineModel, SizesAndKnotCounts) {
  const SparameterSplineModel nothing({}, {}, {});
  EXPECT_TRUE(nothing.empty());
  EXPECT_EQ(nothing.nbKnots(), 0u);
  const SparameterSplineModel uneven({1, 2, 3}, {0.0, 1.0}, {0.0, 0.0, 0.0});
  const char* text =
      "Number of knots undefined : unequal sizes of spline frequencies (3), samples (2) and "
      "coefficients (3)";
  EXPECT_THROW_MSG(uneven.nbKnots(), std::runtime_error, text);
  EXPECT_THROW_MSG(uneven.evaluate(1.5), std::runtime_error, text);
  EXPECT_THROW_MSG(uneven.evaluate_derivative_2(1.5), std::runtime_error, text);
  const SparameterSplineModel single({1}, {1.0}, {0.0});
  std::vector<Complex> values, work;
  EXPECT_THROW_MSG(single.evaluate({1.0}, values, work), std::runtime_error,
                   "spline model needs at least 2 knots, found 1");
  EXPECT_THROW_MSG(nothing.evaluate_derivative(1.0), std::runtime_error,
                   "spline model needs at least 2 knots, found 0");
  EXPECT_THROW_MSG(nothing.spline_interval_idx(1.0), std::runtime_error,
                   "spline model needs at least 2 knots, found 0");
}

}  // namespace
}  // namespace korvantix
