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
using testing::same_bits;

constexpr double kTwoPi = 6.283185307179586;

PoleZeroModel three_poles() {
  return PoleZeroModel(1e9, {{-0.5, 2}, {-0.5, -2}, {-3, 0}}, {{1, 0.5}, {1, -0.5}, {2, 0}},
                       {0.1, -0.2}, {0.01, 0.03});
}

TEST(PoleZeroModel, DefaultAndConstantModels) {
  const PoleZeroModel nothing;
  EXPECT_TRUE(nothing.empty());
  EXPECT_FALSE(nothing.is_constant());
  EXPECT_EQ(nothing.evaluate(1e9), Complex(0, 0));
  EXPECT_EQ(nothing.scale(), 1.0);

  const PoleZeroModel constant(1.0, {}, {}, {2, -1}, {0, 0});
  EXPECT_FALSE(constant.empty());
  EXPECT_FALSE(constant.is_constant());
  EXPECT_EQ(constant.evaluate(123.0), Complex(2, -1));
  EXPECT_EQ(constant.evaluate_derivative(123.0), Complex(0, 0));
  EXPECT_FALSE(PoleZeroModel(1.0, {}, {}, {0, 0}, {0, -0.5}).empty());
  // Residues without poles are not looked at.
  EXPECT_TRUE(PoleZeroModel(1.0, {}, {{1, 0}}, {0, 0}, {0, 0}).empty());
}

TEST(PoleZeroModel, LinearTermAndSinglePole) {
  // s = j * 2 pi * 1.5 / 3 = j pi; e * s = (2 + j) * j pi = -pi + 2 pi j.
  const PoleZeroModel linear(3.0, {}, {}, {1, 0}, {2, 1});
  const double pi = kTwoPi / 2;
  EXPECT_DOUBLE_EQ(linear.evaluate(1.5).real(), 1.0 - pi);
  EXPECT_DOUBLE_EQ(linear.evaluate(1.5).imag(), 2.0 * pi);
  // d/df = j * 2 pi * e / scale.
  const Complex slope = linear.evaluate_derivative(1.5);
  EXPECT_DOUBLE_EQ(slope.real(), -kTwoPi / 3.0);
  EXPECT_DOUBLE_EQ(slope.imag(), 2.0 * kTwoPi / 3.0);
  EXPECT_EQ(linear.evaluate_derivative_2(1.5), Complex(0, 0));

  const PoleZeroModel one_pole(kTwoPi, {{-1, 0}}, {{1, 0}}, {0, 0}, {0, 0});
  EXPECT_EQ(one_pole.evaluate(0.0), Complex(1, 0));
}

TEST(PoleZeroModel, DerivativesAreInHertz) {
  const PoleZeroModel model = three_poles();
  for (double f : {1e8, 3.2e8, 9e8}) {
    EXPECT_TRUE(testing::near(
        model.evaluate_derivative(f),
        testing::central_difference([&](double x) { return model.evaluate(x); }, f, 1e3),
        1e-7 * std::abs(model.evaluate_derivative(f))));
    EXPECT_TRUE(testing::near(
        model.evaluate_derivative_2(f),
        testing::central_difference([&](double x) { return model.evaluate_derivative(x); }, f, 1e3),
        1e-6 * std::abs(model.evaluate_derivative_2(f))));
  }
}

TEST(PoleZeroModel, FewerResiduesThanPolesIsRefused) {
  const PoleZeroModel model(1.0, {{-1, 0}, {-2, 0}}, {{1, 0}}, {0, 0}, {0, 0});
  const char* text = "pole-zero model needs one residue per pole, found 1 residues for 2 poles";
  std::vector<Complex> values, work;
  EXPECT_THROW_MSG(model.evaluate(1.0), std::runtime_error, text);
  EXPECT_THROW_MSG(model.evaluate({1.0}, values, work), std::runtime_error, text);
  EXPECT_THROW_MSG(model.evaluate_derivative(1.0), std::runtime_error, text);
  EXPECT_THROW_MSG(model.evaluate_derivative_2(1.0), std::runtime_error, text);
  // A surplus residue is ignored.
  const PoleZeroModel surplus(1.0, {{-1, 0}}, {{1, 0}, {7, 7}}, {0, 0}, {0, 0});
  EXPECT_EQ(surplus.evaluate(0.0), Complex(1, 0));
}

TEST(PoleZeroModel, EqualityComparesTheScale) {
  const PoleZeroModel a = three_poles();
  PoleZeroModel b = a;
  EXPECT_EQ(a, b);
  b.scale() = 2e9;
  EXPECT_NE(a, b);
  EXPECT_FALSE(a.equal(&b));
  b = a;
  b.residue(2) = {2, std::numeric_limits<double>::quiet_NaN()};
  EXPECT_NE(b, b);
}

TEST(PoleZeroModel, BatchHasTheBitsOfTheSingleForm) {
  const PoleZeroModel model = three_poles();
  std::vector<double> freqs;
  for (int i = -50; i <= 1000; ++i)
    freqs.push_back(i * 1.3e6);
  // Non-finite input takes the runtime's division.
  freqs.push_back(std::numeric_limits<double>::infinity());
  freqs.push_back(std::numeric_limits<double>::quiet_NaN());
  std::vector<Complex> values(3), work;
  model.evaluate(freqs, values, work);
  ASSERT_EQ(values.size(), freqs.size());
  for (std::size_t i = 0; i < freqs.size(); ++i) {
    EXPECT_TRUE(same_bits(values[i], model.evaluate(freqs[i]))) << "at " << freqs[i];
  }
}

// The inline division must be the runtime's to the bit, on tame operands (its fast path) and
// on everything else (where it defers).
TEST(ComplexDivision, MatchesTheRuntimeBitForBit) {
  std::mt19937_64 random(11);
  std::uniform_real_distribution<double> mantissa(-1.0, 1.0);
  std::uniform_int_distribution<int> exponent(-1074, 1023);
  const double specials[] = {0.0,
                             -0.0,
                             1.0,
                             -1.0,
                             0x1p-300,
                             0x1p300,
                             0x1.fffffffffffffp-301,
                             0x1.0000000000001p300,
                             std::numeric_limits<double>::denorm_min(),
                             std::numeric_limits<double>::max(),
                             std::numeric_limits<double>::infinity(),
                             -std::numeric_limits<double>::infinity(),
                             std::numeric_limits<double>::quiet_NaN()};
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
    const Complex n(pick(), pick());
    const Complex q(pick(), pick());
    const Complex expected = n / q;
    ASSERT_TRUE(same_bits(detail::divide(n, q), expected)) << n << " / " << q;
  }
}

}  // namespace
}  // namespace korvantix
