#include <korvantix/scalar.hpp>

#include <cmath>
#include <limits>
#include <random>

#include "scalar/scalar_test_support.hpp"

namespace korvantix {
namespace {

using testing::Coefs;
using testing::Complex;

TEST(PolynomialModel, LowDegrees) {
  const PolynomialModel none;
  EXPECT_TRUE(none.empty() && none.is_constant());
  EXPECT_EQ(none.evaluate(3.0), Complex(0, 0));
  const Complex c0(1, 2), c1(3, -1), c2(0.5, 0.25);
  const PolynomialModel constant(c0), line(c0, c1), parabola(c0, c1, c2);
  EXPECT_TRUE(constant.is_constant());
  EXPECT_FALSE(line.is_constant());
  for (double f : {-2.0, 7.5}) {
    EXPECT_EQ(constant.evaluate_derivative(f), Complex(0, 0));
    EXPECT_EQ(line.evaluate_derivative(f), c1);
    EXPECT_EQ(line.evaluate_derivative_2(f), Complex(0, 0));
  }
  EXPECT_EQ(parabola.evaluate(2.0), c0 + 2.0 * c1 + 4.0 * c2);
  EXPECT_EQ(parabola.evaluate_derivative(2.0), c1 + 4.0 * c2);
  EXPECT_EQ(parabola.evaluate_derivative_2(2.0), 2.0 * c2);
  // A braced list is a coefficient list, whatever its length.
  EXPECT_EQ(PolynomialModel({1.0, 2.0}).coef(), (Coefs{{1, 0}, {2, 0}}));
  EXPECT_EQ(PolynomialModel({{1, 2}}).coef(), (Coefs{{1, 2}}));
}

TEST(PolynomialModel, DerivativesMatchFiniteDifferences) {
  const PolynomialModel p({{1, -1}, {0.5, 2}, {-3, 0.25}, {0.75, -0.5}, {0.125, 1}, {-0.2, 0.3}});
  for (double f : {-1.3, 0.4, 1.7}) {
    EXPECT_TRUE(testing::near(
        p.evaluate_derivative(f),
        testing::central_difference([&](double x) { return p.evaluate(x); }, f, 1e-5), 1e-8));
    EXPECT_TRUE(testing::near(
        p.evaluate_derivative_2(f),
        testing::central_difference([&](double x) { return p.evaluate_derivative(x); }, f, 1e-5),
        1e-8));
  }
}

TEST(PolynomialModel, BatchHasTheBitsOfTheSingleForm) {
  std::mt19937_64 random(7);
  std::uniform_real_distribution<double> uniform(-2.0, 2.0);
  Coefs coef(9);
  for (Complex& c : coef)
    c = {uniform(random), uniform(random)};
  const PolynomialModel p(coef);
  // Several blocks of the batch loop, signed zeros, overflow and NaN.
  std::vector<double> freqs = {0.0, -0.0, 1e300, std::numeric_limits<double>::infinity(),
                               std::numeric_limits<double>::quiet_NaN()};
  while (freqs.size() < 700)
    freqs.push_back(uniform(random) * std::exp(15 * uniform(random)));
  std::vector<Complex> values(1000), work;
  p.evaluate(freqs, values, work);
  ASSERT_EQ(values.size(), freqs.size());
  for (std::size_t i = 0; i < freqs.size(); ++i) {
    EXPECT_TRUE(testing::same_bits(values[i], p.evaluate(freqs[i]))) << freqs[i];
  }
  p.evaluate(std::vector<double>{}, values, work);
  EXPECT_TRUE(values.empty() && work.empty());
}

TEST(PolynomialModel, EqualityIsExact) {
  const PolynomialModel a({{1, 2}, {3, 4}});
  EXPECT_EQ(a, PolynomialModel({{1, 2}, {3, 4}}));
  EXPECT_NE(a, PolynomialModel({{1, 2}, {3, 4}, {0, 0}}));
  const PolynomialModel with_nan({{std::nan(""), 0}});
  EXPECT_NE(with_nan, with_nan);
}

TEST(RationalModel, ScaledFrequencyAndItsDerivatives) {
  // N = 1, D = 1 + x, x = f / 2; at f = 2: R = 0.5 and dR/dx = -1/(1+x)^2 = -0.25 (d/df would
  // be -0.125). The second derivative takes value and slope at x / scale = 0.5: R = 2/3,
  // R' = -4/9, so (0 - 2 (-4/9) 1 - 0) / 2 = 4/9 where the true value is 2/(1+x)^3 = 0.25.
  const RationalModel r({1.0}, {1.0, 1.0}, 2.0);
  EXPECT_EQ(r.evaluate(2.0), Complex(0.5, 0));
  EXPECT_DOUBLE_EQ(r.evaluate_derivative(2.0).real(), -0.25);
  EXPECT_DOUBLE_EQ(r.evaluate_derivative_2(2.0).real(), 4.0 / 9.0);
  EXPECT_FALSE(RationalModel({1.0}, {1.0}).is_constant());

  // With scale 1 both derivatives are exact.
  const RationalModel q({{1, 2}, {0.5, -1}, {0.25, 0}}, {{2, 1}, {0, 1}, {1, 0.5}});
  EXPECT_TRUE(testing::near(
      q.evaluate_derivative(0.8),
      testing::central_difference([&](double x) { return q.evaluate(x); }, 0.8, 1e-5), 1e-8));
  EXPECT_TRUE(testing::near(
      q.evaluate_derivative_2(0.8),
      testing::central_difference([&](double x) { return q.evaluate_derivative(x); }, 0.8, 1e-5),
      1e-7));
}

TEST(RationalModel, DegenerateQuotientsAndEquality) {
  const Complex at_pole = RationalModel({1.0}, {0.0, 1.0}).evaluate(0.0);
  EXPECT_FALSE(std::isfinite(at_pole.real()) && std::isfinite(at_pole.imag()));
  EXPECT_TRUE(RationalModel().empty());
  EXPECT_TRUE(std::isnan(RationalModel().evaluate(1.0).real()));
  EXPECT_FALSE(RationalModel({}, {1.0}).empty());
  // The scale takes no part in the comparison.
  const RationalModel a({1.0}, {1.0, 2.0}, 1.0), b({1.0}, {1.0, 2.0}, 5.0);
  EXPECT_TRUE(a == b && a.equal(&b));
  EXPECT_NE(a, RationalModel({1.0}, {1.0, 3.0}));
}

}  // namespace
}  // namespace korvantix
