#include <korvantix/scalar.hpp>

#include <cmath>
#include <limits>
#include <memory>
#include <random>

#include "scalar/scalar_test_support.hpp"

namespace korvantix {
namespace {

using testing::Coefs;
using testing::Complex;
using testing::same_bits;

TEST(PolynomialModel, EmptyIsZeroEmptyAndConstant) {
  const PolynomialModel p;
  EXPECT_TRUE(p.empty());
  EXPECT_TRUE(p.is_constant());
  EXPECT_EQ(p.evaluate(3.0), Complex(0, 0));
  EXPECT_EQ(p.evaluate_derivative(3.0), Complex(0, 0));
  EXPECT_EQ(p.type(), ScalarModel::Polynomial);
}

TEST(PolynomialModel, LowDegreeValuesAndDerivatives) {
  const Complex c0(1, 2), c1(3, -1), c2(0.5, 0.25);
  const PolynomialModel constant(c0), line(c0, c1), parabola(c0, c1, c2);
  for (double f : {-2.0, 0.0, 7.5}) {
    EXPECT_EQ(constant.evaluate(f), c0);
    EXPECT_EQ(constant.evaluate_derivative(f), Complex(0, 0));
    EXPECT_EQ(constant.evaluate_derivative_2(f), Complex(0, 0));
    EXPECT_EQ(line.evaluate_derivative(f), c1);
    EXPECT_EQ(line.evaluate_derivative_2(f), Complex(0, 0));
  }
  EXPECT_EQ(parabola.evaluate(2.0), c0 + 2.0 * c1 + 4.0 * c2);
  EXPECT_EQ(parabola.evaluate_derivative(2.0), c1 + 4.0 * c2);
  EXPECT_EQ(parabola.evaluate_derivative_2(2.0), 2.0 * c2);
  EXPECT_TRUE(constant.is_constant());
  EXPECT_FALSE(line.is_constant());
}

TEST(PolynomialModel, BracedListsAreCoefficientLists) {
  EXPECT_EQ(PolynomialModel({1.0, 2.0}).coef(), (Coefs{{1, 0}, {2, 0}}));
  EXPECT_EQ(PolynomialModel({{1, 2}}).coef(), (Coefs{{1, 2}}));
  EXPECT_EQ(PolynomialModel({{1, 2}, {3, 4}, {5, 6}}).size(), 3u);
  const PolynomialModel braced{Complex(1, 2), Complex(3, 4)};
  EXPECT_EQ(braced, PolynomialModel(Complex(1, 2), Complex(3, 4)));
  EXPECT_TRUE(PolynomialModel{}.empty());
}

TEST(PolynomialModel, DerivativesMatchFiniteDifferences) {
  const PolynomialModel p(
      Coefs{{1, -1}, {0.5, 2}, {-3, 0.25}, {0.75, -0.5}, {0.125, 1}, {-0.2, 0.3}});
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
  std::uniform_real_distribution<double> coefficient(-2.0, 2.0);
  std::vector<Complex> coef(9);
  for (Complex& c : coef)
    c = {coefficient(random), coefficient(random)};
  const PolynomialModel p(coef);
  // More than one block of the batch loop, and abscissas that make signed zeros, overflow and
  // NaN.
  std::vector<double> freqs = {0.0,
                               -0.0,
                               1e300,
                               -1e300,
                               std::numeric_limits<double>::infinity(),
                               std::numeric_limits<double>::quiet_NaN()};
  std::uniform_real_distribution<double> exponent(-30.0, 30.0);
  while (freqs.size() < 700)
    freqs.push_back(coefficient(random) * std::exp(exponent(random)));
  std::vector<Complex> values(1000, Complex(5, 5)), work;
  p.evaluate(freqs, values, work);
  ASSERT_EQ(values.size(), freqs.size());
  for (std::size_t i = 0; i < freqs.size(); ++i) {
    EXPECT_TRUE(same_bits(values[i], p.evaluate(freqs[i]))) << "at " << freqs[i];
  }
  EXPECT_TRUE(work.empty());
  p.evaluate(std::vector<double>{}, values, work);
  EXPECT_TRUE(values.empty());
}

TEST(PolynomialModel, EqualityIsExact) {
  const PolynomialModel a(Coefs{{1, 2}, {3, 4}});
  EXPECT_EQ(a, PolynomialModel(Coefs{{1, 2}, {3, 4}}));
  EXPECT_NE(a, PolynomialModel(Coefs{{1, 2}, {3, 4}, {0, 0}}));
  EXPECT_NE(a, PolynomialModel(Coefs{{1, 2}, {3, std::nextafter(4.0, 5.0)}}));
  const PolynomialModel with_nan(Coefs{{std::nan(""), 0}});
  EXPECT_NE(with_nan, with_nan);
  const std::unique_ptr<ScalarModel> copy(a.clone());
  EXPECT_TRUE(copy->equal(&a));
}

TEST(RationalModel, ValueAtScaledFrequency) {
  const RationalModel r({{1, 0}}, {{1, 0}, {1, 0}}, 2.0);
  EXPECT_EQ(r.evaluate(2.0), Complex(0.5, 0));
  EXPECT_FALSE(r.is_constant());
  EXPECT_FALSE(RationalModel({{1, 0}}, {{1, 0}}).is_constant());
}

TEST(RationalModel, DerivativesAreWithRespectToTheScaledFrequency) {
  // N = 1, D = 1 + x, x = f / 2. At f = 2: dR/dx = -1/(1+x)^2 = -0.25 (not the -0.125 of d/df).
  const RationalModel r({{1, 0}}, {{1, 0}, {1, 0}}, 2.0);
  EXPECT_DOUBLE_EQ(r.evaluate_derivative(2.0).real(), -0.25);
  // The second derivative takes value and slope at x / scale = 0.5: R = 2/3, R' = -4/9, so
  // (0 - 2 * (-4/9) * 1 - 0) / 2 = 4/9 instead of the true 2/(1+x)^3 = 0.25.
  EXPECT_DOUBLE_EQ(r.evaluate_derivative_2(2.0).real(), 4.0 / 9.0);
  // With scale 1 it is the exact second derivative.
  const RationalModel unscaled({{1, 0}}, {{1, 0}, {1, 0}});
  EXPECT_DOUBLE_EQ(unscaled.evaluate_derivative_2(1.0).real(), 0.25);
}

TEST(RationalModel, DerivativesMatchFiniteDifferencesAtScaleOne) {
  const RationalModel r({{1, 2}, {0.5, -1}, {0.25, 0}}, {{2, 1}, {0, 1}, {1, 0.5}});
  const double f = 0.8;
  EXPECT_TRUE(testing::near(
      r.evaluate_derivative(f),
      testing::central_difference([&](double x) { return r.evaluate(x); }, f, 1e-5), 1e-8));
  EXPECT_TRUE(testing::near(
      r.evaluate_derivative_2(f),
      testing::central_difference([&](double x) { return r.evaluate_derivative(x); }, f, 1e-5),
      1e-7));
}

TEST(RationalModel, DegenerateQuotientsDoNotThrow) {
  const RationalModel pole({{1, 0}}, {{0, 0}, {1, 0}});
  const Complex at_pole = pole.evaluate(0.0);
  EXPECT_FALSE(std::isfinite(at_pole.real()) && std::isfinite(at_pole.imag()));
  const RationalModel nothing;
  EXPECT_TRUE(nothing.empty());
  EXPECT_TRUE(std::isnan(nothing.evaluate(1.0).real()));
  EXPECT_FALSE(RationalModel({}, {{1, 0}}).empty());
}

TEST(RationalModel, EqualityIgnoresTheScale) {
  const RationalModel a({{1, 0}}, {{1, 0}, {2, 0}}, 1.0);
  const RationalModel b({{1, 0}}, {{1, 0}, {2, 0}}, 5.0);
  EXPECT_EQ(a, b);
  EXPECT_TRUE(a.equal(&b));
  EXPECT_NE(a, RationalModel({{1, 0}}, {{1, 0}, {3, 0}}));
  const std::unique_ptr<ScalarModel> copy(b.clone());
  EXPECT_EQ(static_cast<const RationalModel&>(*copy).scale(), 5.0);
}

}  // namespace
}  // namespace korvantix
