#include <korvantix/scalar.hpp>

#include <cmath>
#include <limits>
#include <random>

#include "scalar/complex_division.hpp"
#include "scalar/scalar_test_support.hpp"
#include "test_support.hpp"

namespace korvantix {
namespace {

using testing::Complex;

constexpr double kTwoPi = 6.283185307179586;

PoleZeroModel three_poles() {
  return PoleZeroModel(1e9, {{-0.5, 2}, {-0.5, -2}, {-3, 0}}, {{1, 0.5}, {1, -0.5}, {2, 0}},
                       {0.1, -0.2}, {0.01, 0.03});
}

TEST(PoleZeroModel, ClosedForms) {
  EXPECT_TRUE(PoleZeroModel().empty());
  EXPECT_EQ(PoleZeroModel().evaluate(1e9), Complex(0, 0));
  const PoleZeroModel constant(1.0, {}, {}, {2, -1}, {0, 0});
  EXPECT_FALSE(constant.empty() || constant.is_constant());
  EXPECT_EQ(constant.evaluate(123.0), Complex(2, -1));
  EXPECT_EQ(constant.evaluate_derivative(123.0), Complex(0, 0));
  EXPECT_TRUE(PoleZeroModel(1.0, {}, {1.0}, {0, 0}, {0, 0}).empty());  // residues not looked at

  // s = j 2 pi 1.5 / 3 = j pi and e s = (2 + j) j pi = -pi + 2 pi j; d/df = j 2 pi e / 3.
  const PoleZeroModel linear(3.0, {}, {}, {1, 0}, {2, 1});
  EXPECT_DOUBLE_EQ(linear.evaluate(1.5).real(), 1.0 - kTwoPi / 2);
  EXPECT_DOUBLE_EQ(linear.evaluate(1.5).imag(), kTwoPi);
  EXPECT_DOUBLE_EQ(linear.evaluate_derivative(1.5).real(), -kTwoPi / 3.0);
  EXPECT_DOUBLE_EQ(linear.evaluate_derivative(1.5).imag(), 2.0 * kTwoPi / 3.0);
  EXPECT_EQ(linear.evaluate_derivative_2(1.5), Complex(0, 0));

  EXPECT_EQ(PoleZeroModel(kTwoPi, {{-1, 0}}, {1.0}, {0, 0}, {0, 0}).evaluate(0.0), Complex(1, 0));

  // Unlike a rational model, the scale takes part in the comparison.
  PoleZeroModel other = linear;
  EXPECT_EQ(other, linear);
  other.scale() = 2.0;
  EXPECT_FALSE(other == linear || other.equal(&linear));
}

TEST(PoleZeroModel, DerivativesAreInHertz) {
  const PoleZeroModel model = three_poles();
  for (double f : {1e8, 3.2e8, 9e8}) {
    const Complex d1 = model.evaluate_derivative(f), d2 = model.evaluate_derivative_2(f);
    EXPECT_TRUE(testing::near(
        d1, testing::central_difference([&](double x) { return model.evaluate(x); }, f, 1e3),
        1e-7 * std::abs(d1)));
    EXPECT_TRUE(testing::near(
        d2,
        testing::central_difference([&](double x) { return model.evaluate_derivative(x); }, f, 1e3),
        1e-6 * std::abs(d2)));
  }
}

TEST(PoleZeroModel, FewerResiduesThanPolesIsRefused) {
  const PoleZeroModel model(1.0, {{-1, 0}, {-2, 0}}, {1.0}, {0, 0}, {0, 0});
  const char* text = "pole-zero model needs one residue per pole, found 1 residues for 2 poles";
  std::vector<Complex> values, work;
  EXPECT_THROW_MSG(model.evaluate(1.0), std::runtime_error, text);
  EXPECT_THROW_MSG(model.evaluate({1.0}, values, work), std::runtime_error, text);
  EXPECT_THROW_MSG(model.evaluate_derivative(1.0), std::runtime_error, text);
  EXPECT_THROW_MSG(model.evaluate_derivative_2(1.0), std::runtime_error, text);
  EXPECT_EQ(PoleZeroModel(1.0, {{-1, 0}}, {1.0, 7.0}, {0, 0}, {0, 0}).evaluate(0.0), Complex(1, 0));
}

TEST(PoleZeroModel, BatchHasTheBitsOfTheSingleForm) {
  // Poles on both sides of the frequency sweep take both orientations of the division; the
  // last block holds non-finite frequencies and takes the runtime's division.
  const PoleZeroModel model = three_poles();
  std::vector<double> freqs;
  for (int i = -50; i <= 1000; ++i)
    freqs.push_back(i * 1.3e6);
  freqs.push_back(std::numeric_limits<double>::infinity());
  freqs.push_back(std::numeric_limits<double>::quiet_NaN());
  std::vector<Complex> values(3), work;
  model.evaluate(freqs, values, work);
  ASSERT_EQ(values.size(), freqs.size());
  for (std::size_t i = 0; i < freqs.size(); ++i) {
    EXPECT_TRUE(testing::same_bits(values[i], model.evaluate(freqs[i]))) << freqs[i];
  }
}

// The inline division must give the runtime's bits on tame operands (its own formulas) and on
// everything else (where it defers).
TEST(ComplexDivision, MatchesTheRuntimeBitForBit) {
  std::mt19937_64 random(11);
  std::uniform_real_distribution<double> mantissa(-1.0, 1.0);
  std::uniform_int_distribution<int> exponent(-1074, 1023);
  const double inf = std::numeric_limits<double>::infinity();
  const double specials[] = {
      0.0,      -0.0,    1.0, 0x1p-300, 0x1p300,     0x1.fffffffffffffp-301, 0x1.0000000000001p300,
      4.9e-324, 1.7e308, inf, -inf,     std::nan("")};
  auto pick = [&]() -> double {
    switch (random() % 4) {
      case 0:
        return specials[random() % std::size(specials)];
      case 1:
        return std::ldexp(mantissa(random), exponent(random));
      case 2:
        return std::ldexp(mantissa(random), exponent(random) / 4);
      default:
        return mantissa(random);
    }
  };
  for (int i = 0; i < 200000; ++i) {
    const Complex n(pick(), pick()), q(pick(), pick());
    ASSERT_TRUE(testing::same_bits(detail::divide(n, q), n / q)) << n << " / " << q;
  }
}

}  // namespace
}  // namespace korvantix
