#include <korvantix/scalar.hpp>

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstring>
#include <limits>
#include <memory>
#include <random>
#include <sstream>

#include "scalar/complex_division.hpp"
#include "test_support.hpp"

namespace korvantix {
namespace {

using Complex = std::complex<double>;
using Coefs = std::vector<Complex>;
using Owned = std::unique_ptr<ScalarModel>;
using Trio = std::array<Complex, 3>;
constexpr double kTwoPi = 6.283185307179586;
constexpr double kInf = std::numeric_limits<double>::infinity();
const double kNaN = std::nan("");

// Same bits in both parts (NaN payloads and signed zeros included).
bool same_bits(Complex a, Complex b) {
  return std::memcmp(&a, &b, sizeof a) == 0;
}

// Value, first and second derivative at f.
Trio vdd(const ScalarModel& m, double f) {
  return {m.evaluate(f), m.evaluate_derivative(f), m.evaluate_derivative_2(f)};
}

// |a - b| within rel * max(1, |b|).
::testing::AssertionResult near(Complex a, Complex b, double rel) {
  if (std::abs(a - b) <= rel * std::max(1.0, std::abs(b))) return ::testing::AssertionSuccess();
  return ::testing::AssertionFailure() << a << " differs from " << b;
}

// Both derivatives of m at f against central differences (step h) of its own value and slope.
void expect_derivatives(const ScalarModel& m, double f, double h, double rel1, double rel2) {
  const Trio below = vdd(m, f - h), above = vdd(m, f + h), at = vdd(m, f);
  EXPECT_TRUE(near(at[1], (above[0] - below[0]) / (2 * h), rel1)) << m.type() << " at " << f;
  EXPECT_TRUE(near(at[2], (above[1] - below[1]) / (2 * h), rel2)) << m.type() << " at " << f;
}

// The batch form gives the bits of the single form everywhere; values starts at a wrong size.
void expect_batch_bits(const ScalarModel& m, const std::vector<double>& freqs, size_t size = 3) {
  std::vector<Complex> values(size), work;
  m.evaluate(freqs, values, work);
  ASSERT_EQ(values.size(), freqs.size());
  for (std::size_t i = 0; i < freqs.size(); ++i)
    EXPECT_TRUE(same_bits(values[i], m.evaluate(freqs[i]))) << m.type() << " at " << freqs[i];
}

template <class T>
std::string text(const T& value) {
  std::ostringstream out;
  out << value;
  return out.str();
}

std::string as_pointer(const ScalarModel& model) {
  return text(&model);
}

// A model from outside the library that claims a code of its choice.
struct Foreign : PolynomialModel {
  explicit Foreign(std::int32_t kind) : PolynomialModel(Complex(1, 0)), code(kind) {}
  Type type() const override { return static_cast<Type>(code); }
  std::int32_t code;
};

StaticTableModel table(std::size_t degree, const std::vector<double>& t,
                       const std::vector<Complex>& y) {
  StaticTableModel model(degree);
  for (std::size_t i = 0; i < t.size(); ++i)
    model.addSample(t[i], y[i]);
  return model;
}

TEST(ScalarModel, EqualMeansSameKindAndSameData) {
  const PolynomialModel p({{1, 2}, {3, 4}});
  StaticTableModel tab(2, {Transformation::Inverse});
  tab.addSample(1.0, {1, 1});
  const Owned models[] = {Owned(p.clone()),
                          Owned(RationalModel({{1, 2}, {3, 4}}, {1.0}).clone()),
                          Owned(PoleZeroModel(1.0, {{-1, 0}}, {1.0}, {0, 0}, {0, 0}).clone()),
                          Owned(tab.clone()),
                          Owned(SparameterSplineModel({0, 1}, {0.0, 1.0}, {0.0, 0.0}).clone()),
                          Owned(ScalarModel::createConjugate(&p)),
                          Owned(ScalarModel::createNorm(&p)),
                          Owned(ScalarModel::createSum(&p, &tab)),
                          Owned(ScalarModel::createDifference(&p, &tab)),
                          Owned(ScalarModel::createProduct(&p, &tab))};
  for (const Owned& m : models) {
    const Owned copy(m->clone());
    EXPECT_TRUE(copy.get() != m.get() && m->equal(copy.get())) << m->type();
    for (const Owned& other : models)
      EXPECT_EQ(m->equal(other.get()), &other == &m) << m->type();
  }
  EXPECT_EQ(models[0]->evaluate(0.5), models[1]->evaluate(0.5));  // equal values are not enough
  // Codes above 998 never compare equal; a foreign class claiming code 1 is a polynomial.
  const Foreign unknown(999), polynomial(ScalarModel::Polynomial);
  EXPECT_FALSE(unknown.equal(&unknown));
  EXPECT_TRUE(polynomial.equal(&polynomial));
}

TEST(ScalarModel, GenericBatchResizesAndLeavesWorkAlone) {
  const RationalModel r({1.0}, {0.0, 1.0});
  std::vector<Complex> values(5, Complex(9, 9)), work(2, Complex(7, 7));
  r.evaluate({1.0, 4.0, 0.5}, values, work);
  EXPECT_EQ(values, (Coefs{{1, 0}, {0.25, 0}, {2, 0}}));
  EXPECT_EQ(work, Coefs(2, Complex(7, 7)));
  r.evaluate({}, values, work);
  EXPECT_TRUE(values.empty());
}

TEST(PolynomialModel, ValuesDerivativesAndBatch) {
  const PolynomialModel none;
  EXPECT_TRUE(none.empty() && none.is_constant());
  EXPECT_EQ(none.evaluate(3.0), Complex(0, 0));
  const Complex c0(1, 2), c1(3, -1), c2(0.5, 0.25);
  const PolynomialModel constant(c0), line(c0, c1), parabola(c0, c1, c2);
  EXPECT_TRUE(constant.is_constant());
  EXPECT_FALSE(line.is_constant());
  for (double f : {-2.0, 7.5}) {
    EXPECT_EQ(vdd(constant, f), (Trio{c0, 0.0, 0.0}));
    EXPECT_EQ(vdd(line, f), (Trio{c0 + f * c1, c1, 0.0}));
  }
  EXPECT_EQ(vdd(parabola, 2.0), (Trio{c0 + 2.0 * c1 + 4.0 * c2, c1 + 4.0 * c2, 2.0 * c2}));
  // A braced list is a coefficient list, whatever its length.
  EXPECT_EQ(PolynomialModel({1.0, 2.0}).coef(), (Coefs{{1, 0}, {2, 0}}));
  EXPECT_EQ(PolynomialModel({{1, 2}}).coef(), (Coefs{{1, 2}}));
  const PolynomialModel p({{1, -1}, {0.5, 2}, {-3, 0.25}, {0.75, -0.5}, {0.125, 1}, {-0.2, 0.3}});
  for (double f : {-1.3, 0.4, 1.7})
    expect_derivatives(p, f, 1e-5, 1e-8, 1e-8);

  std::mt19937_64 random(7);
  std::uniform_real_distribution<double> uniform(-2.0, 2.0);
  Coefs coef(9);
  for (Complex& c : coef)
    c = {uniform(random), uniform(random)};
  // Several blocks of the batch loop, signed zeros, overflow and NaN.
  std::vector<double> freqs = {0.0, -0.0, 1e300, kInf, kNaN};
  while (freqs.size() < 700)
    freqs.push_back(uniform(random) * std::exp(15 * uniform(random)));
  expect_batch_bits(PolynomialModel(coef), freqs, 1000);
  std::vector<Complex> values(2), work;
  p.evaluate(std::vector<double>{}, values, work);
  EXPECT_TRUE(values.empty() && work.empty());
}

TEST(PolynomialModel, EqualityIsExact) {
  const PolynomialModel a({{1, 2}, {3, 4}}), with_nan({{kNaN, 0}});
  EXPECT_EQ(a, PolynomialModel({{1, 2}, {3, 4}}));
  EXPECT_NE(a, PolynomialModel({{1, 2}, {3, 4}, {0, 0}}));
  EXPECT_NE(with_nan, with_nan);
}

TEST(RationalModel, ScaledFrequencyDegenerateQuotientsAndEquality) {
  // N = 1, D = 1 + x, x = f / 2; at f = 2: R = 0.5 and dR/dx = -1/(1+x)^2 = -0.25 (d/df would
  // be -0.125). The second derivative takes value and slope at x / scale = 0.5: R = 2/3,
  // R' = -4/9, so (0 - 2 (-4/9) 1 - 0) / 2 = 4/9 where the true value is 2/(1+x)^3 = 0.25.
  const Trio r = vdd(RationalModel({1.0}, {1.0, 1.0}, 2.0), 2.0);
  EXPECT_EQ(r[0], Complex(0.5, 0));
  EXPECT_DOUBLE_EQ(r[1].real(), -0.25);
  EXPECT_DOUBLE_EQ(r[2].real(), 4.0 / 9.0);
  EXPECT_FALSE(RationalModel({1.0}, {1.0}).is_constant());
  // With scale 1 both derivatives are exact.
  expect_derivatives(RationalModel({{1, 2}, {0.5, -1}, {0.25, 0}}, {{2, 1}, {0, 1}, {1, 0.5}}), 0.8,
                     1e-5, 1e-8, 1e-7);

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
  const Trio l = vdd(linear, 1.5);
  EXPECT_DOUBLE_EQ(l[0].real(), 1.0 - kTwoPi / 2);
  EXPECT_DOUBLE_EQ(l[0].imag(), kTwoPi);
  EXPECT_DOUBLE_EQ(l[1].real(), -kTwoPi / 3.0);
  EXPECT_DOUBLE_EQ(l[1].imag(), 2.0 * kTwoPi / 3.0);
  EXPECT_EQ(l[2], Complex(0, 0));
  EXPECT_EQ(PoleZeroModel(kTwoPi, {{-1, 0}}, {1.0}, {0, 0}, {0, 0}).evaluate(0.0), Complex(1, 0));

  // Unlike a rational model, the scale takes part in the comparison.
  PoleZeroModel other = linear;
  EXPECT_EQ(other, linear);
  other.scale() = 2.0;
  EXPECT_FALSE(other == linear || other.equal(&linear));

  const PoleZeroModel model = three_poles();  // derivatives are in hertz
  for (double f : {1e8, 3.2e8, 9e8}) {
    const Trio at = vdd(model, f);
    expect_derivatives(model, f, 1e3, 1e-7 * std::abs(at[1]), 1e-6 * std::abs(at[2]));
  }
  // Poles on both sides of the frequency sweep take both orientations of the division; the
  // last block holds non-finite frequencies and takes the runtime's division.
  std::vector<double> freqs;
  for (int i = -50; i <= 1000; ++i)
    freqs.push_back(i * 1.3e6);
  freqs.insert(freqs.end(), {kInf, kNaN});
  expect_batch_bits(model, freqs);
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

// The inline division must give the runtime's bits on tame operands (its own formulas) and on
// everything else (where it defers).
TEST(ComplexDivision, MatchesTheRuntimeBitForBit) {
  std::mt19937_64 random(11);
  std::uniform_real_distribution<double> mantissa(-1.0, 1.0);
  std::uniform_int_distribution<int> exponent(-1074, 1023);
  const double specials[] = {0.0,      -0.0, 1.0,   0x1p-300, 0x1p300, 0x1.fffffffffffffp-301,
                             4.9e-324, kInf, -kInf, kNaN,     1.7e308, 0x1.0000000000001p300};
  auto pick = [&]() -> double {
    const int kind = static_cast<int>(random() % 4);
    if (kind == 0) return specials[random() % std::size(specials)];
    return kind == 3 ? mantissa(random)
                     : std::ldexp(mantissa(random), exponent(random) / (kind == 1 ? 1 : 4));
  };
  for (int i = 0; i < 200000; ++i) {
    const Complex n(pick(), pick()), q(pick(), pick());
    ASSERT_TRUE(same_bits(detail::divide(n, q), n / q)) << n << " / " << q;
  }
}

// g(f) = (1 + 2j) f^3 - j f at 0, 1, 2 with its exact second derivatives: the spline is g on
// every interval and, through the extended end cubics, outside the knots too.
Trio g(double f) {
  return {Complex(1, 2) * (f * f * f) - Complex(0, 1) * f,
          Complex(1, 2) * (3 * f * f) - Complex(0, 1), Complex(1, 2) * (6 * f)};
}

SparameterSplineModel cubic() {
  return SparameterSplineModel({0, 1, 2}, {g(0)[0], g(1)[0], g(2)[0]}, {g(0)[2], g(1)[2], g(2)[2]});
}

TEST(SparameterSplineModel, IntervalsValuesAndConstancy) {
  const SparameterSplineModel s = cubic();
  // An interior knot starts its interval.
  for (auto [f, i] : {std::pair{-3.0, 0u}, {0.5, 0u}, {1.0, 1u}, {2.0, 1u}, {5.0, 1u}})
    EXPECT_EQ(s.spline_interval_idx(f), i) << f;
  for (double f : {-0.5, 0.0, 0.3, 1.0, 1.75, 2.0, 3.0}) {
    for (int k = 0; k < 3; ++k)
      EXPECT_TRUE(near(vdd(s, f)[k], g(f)[k], 1e-14)) << f << " derivative " << k;
  }
  // Without curvature it is the broken line through the samples.
  const SparameterSplineModel line({1, 3, 4}, {{2, 0}, {6, -2}, {0, 1}}, {0.0, 0.0, 0.0});
  EXPECT_EQ(line.evaluate(3.0), Complex(6, -2));
  EXPECT_EQ(line.evaluate(2.0), Complex(4, -1));
  EXPECT_EQ(line.evaluate(3.5), Complex(3, -0.5));
  EXPECT_EQ(line.evaluate_derivative(2.0), Complex(2, -1));
  // Constant with one sample, or equal samples without curvature.
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
  const Owned clone(causal.clone());
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
  const char* two = "spline model needs at least 2 knots, found 0";
  std::vector<Complex> values, work;
  EXPECT_THROW_MSG(SparameterSplineModel({1}, {1.0}, {0.0}).evaluate({1.0}, values, work),
                   std::runtime_error, "spline model needs at least 2 knots, found 1");
  EXPECT_THROW_MSG(nothing.evaluate_derivative(1.0), std::runtime_error, two);
  EXPECT_THROW_MSG(nothing.spline_interval_idx(1.0), std::runtime_error, two);
}

// Shows the stored (transformed) values.
struct Probe : StaticTableModel {
  using FittedScalarModel::sample_values;
  using StaticTableModel::StaticTableModel;
};

TEST(StaticTableModel, SortedInsertionAndRefusals) {
  StaticTableModel model = table(2, {3, 1, 2}, {3.0, 1.0, 2.0});
  for (std::size_t i = 0; i < 3; ++i)
    EXPECT_EQ(model.getSample(i), std::make_pair(i + 1.0, Complex(i + 1.0, 0)));
  EXPECT_THROW_MSG(model.addSample(2.0, 9.0), std::runtime_error,
                   "The FittedScalarModel already contains a sample at2 Hz");
  EXPECT_THROW_MSG(model.addSample(kNaN, 9.0), std::runtime_error,
                   "The FittedScalarModel cannot hold a sample at nan Hz");
  EXPECT_THROW_MSG(table(2, {2.5e9, 2.5e9}, {0.0, 0.0}), std::runtime_error,
                   "The FittedScalarModel already contains a sample at2.5e+09 Hz");
  EXPECT_EQ(model, table(2, {1, 2, 3}, {1.0, 2.0, 3.0}));
  EXPECT_FALSE(model.empty());
  EXPECT_TRUE(StaticTableModel(2, {Transformation::Squared}).empty());

  EXPECT_THROW_MSG(model.evaluate(0.5), std::out_of_range,
                   "0.5 does not belong to tabulation interval [1 , 3]");
  EXPECT_THROW_MSG(model.evaluate(3.5), std::out_of_range,
                   "3.5 does not belong to tabulation interval [1 , 3]");
  EXPECT_THROW_MSG(model.evaluate_derivative(2.0), std::runtime_error,
                   "FittedScalarModel::evaluate_derivative is not supported yet");
  EXPECT_THROW_MSG(model.evaluate_derivative_2(2.0), std::runtime_error,
                   "FittedScalarModel::evaluate_derivative_2 is not supported yet");
  EXPECT_THROW_MSG(StaticTableModel(2).evaluate(1.0), std::runtime_error,
                   "static table model without samples cannot be evaluated");
  EXPECT_THROW_MSG(table(0, {1, 3}, {0.0, 1.0}).evaluate(3.0), std::runtime_error,
                   "static table model of degree 0 cannot be evaluated");
  EXPECT_TRUE(std::isnan(model.evaluate(kNaN).real()));
}

TEST(StaticTableModel, TransformationsApplyForwardAndBack) {
  Probe squared(2, {Transformation::Squared});
  squared.addSample(1.0, {0, 2});
  EXPECT_EQ(squared.sample_values()[0], Complex(-4, 0));
  EXPECT_EQ(squared.getSample(0).second, Complex(0, 2));
  // Forward 1/v then v^2, back sqrt then 1/v: 2 -> 0.25 and 4 -> 0.0625, exactly.
  Probe chain(2, {Transformation::Inverse, Transformation::Squared});
  chain.addSample(1.0, 2.0);
  chain.addSample(3.0, 4.0);
  EXPECT_EQ(chain.sample_values()[0], Complex(0.25, 0));
  EXPECT_EQ(chain.getSample(1).second, Complex(4, 0));
  // The fit is linear in the transformed domain.
  EXPECT_DOUBLE_EQ(chain.evaluate(2.0).real(), 1.0 / std::sqrt(0.15625));
  std::vector<Complex> values, work;
  chain.evaluate({1.5, 2.0, 3.0}, values, work);
  EXPECT_TRUE(same_bits(values[1], chain.evaluate(2.0)));
  EXPECT_EQ(values[2], Complex(4, 0));
  Probe unknown(2, {static_cast<Transformation::Type>(7)});
  unknown.addSample(1.0, {0, 2});
  EXPECT_EQ(unknown.sample_values()[0], Complex(0, 2));
}

TEST(StaticTableModel, StencilSlidesAndStopsAtTheEnds) {
  const std::vector<double> t = {0, 1, 2, 3, 4, 5, 6, 7}, y = {3, 1, 4, 1, 5, 9, 2, 6};
  EXPECT_TRUE(
      near(table(3, {1, 2, 3}, {{1, 0}, {4, 1}, {9, 2}}).evaluate(2.5), {6.25, 1.5}, 1e-15));
  EXPECT_TRUE(near(table(10, {1, 2, 3}, {1.0, 4.0, 9.0}).evaluate(1.5), 2.25, 1e-15));
  struct Case {
    std::size_t degree;
    double f;
    std::size_t first;
  };
  // Even stencils centre on the interval, odd ones take the extra sample on the left.
  for (const Case& c : {Case{4, 2.5, 1}, Case{4, 0.5, 0}, Case{4, 6.5, 4}, Case{3, 2.5, 1},
                        Case{3, 0.5, 0}, Case{3, 6.5, 5}, Case{2, 4.5, 4}, Case{5, 3.5, 1}}) {
    double expected = 0;  // the Lagrange polynomial through samples first ... first+degree-1
    for (std::size_t j = c.first; j < c.first + c.degree; ++j) {
      double basis = 1;
      for (std::size_t i = c.first; i < c.first + c.degree; ++i) {
        if (i != j) basis *= (c.f - t[i]) / (t[j] - t[i]);
      }
      expected += y[j] * basis;
    }
    EXPECT_NEAR(table(c.degree, t, {y.begin(), y.end()}).evaluate(c.f).real(), expected, 1e-12)
        << "degree " << c.degree << " at " << c.f;
  }
  // Sample hits and flat parts are exact; the tolerance applies to the first sample at or
  // above the frequency.
  const StaticTableModel m =
      table(3, {1, 2, 3, 4}, {{0.1, 1.0 / 3}, {0.1, 0.7}, {0.1, -0.2}, {0.1, 2.0 / 7}});
  EXPECT_EQ(m.evaluate(3.0), Complex(0.1, -0.2));
  EXPECT_EQ(m.evaluate(std::nextafter(3.0, 2.0)), Complex(0.1, -0.2));
  EXPECT_EQ(m.evaluate(2.4).real(), 0.1);
  EXPECT_EQ(m.evaluate(4.0), Complex(0.1, 2.0 / 7));
}

TEST(StaticTableModel, BulkFillMatchesOneByOneAndFailsCleanly) {
  std::vector<std::pair<double, Complex>> descending;
  for (int i = 20000; i > 0; --i)
    descending.emplace_back(i * 1e6, Complex(i, -i));
  StaticTableModel bulk(4, {Transformation::Squared}), single(4, {Transformation::Squared});
  bulk.addSample(0.5e6, {7, 7});
  single.addSample(0.5e6, {7, 7});
  bulk.addSamples(descending);
  for (std::size_t i = descending.size(); i-- > descending.size() - 50;)
    single.addSample(descending[i].first, descending[i].second);
  ASSERT_EQ(bulk.nbSamples(), 20001u);
  EXPECT_EQ(bulk.getSample(20000).first, 2e10);
  for (std::size_t i = 0; i < single.nbSamples(); ++i)
    EXPECT_EQ(bulk.getSample(i), single.getSample(i));
  // The first failure in list order wins, and the table is untouched.
  StaticTableModel model = table(2, {1, 2}, {1.0, 2.0});
  const StaticTableModel before = model;
  EXPECT_THROW_MSG(model.addSamples({{5, 0.0}, {4, 0.0}, {4, 1.0}, {2, 0.0}}), std::runtime_error,
                   "The FittedScalarModel already contains a sample at4 Hz");
  EXPECT_THROW_MSG(model.addSamples({{5, 0.0}, {1, 0.0}, {5, 0.0}}), std::runtime_error,
                   "The FittedScalarModel already contains a sample at1 Hz");
  EXPECT_THROW_MSG(model.addSamples({{5, 0.0}, {kNaN, 0.0}, {2, 0.0}}), std::runtime_error,
                   "The FittedScalarModel cannot hold a sample at nan Hz");
  EXPECT_EQ(model, before);
  EXPECT_NE(model, table(3, {1, 2}, {1.0, 2.0}));
  EXPECT_NE(model, table(2, {1, 2}, {1.0, {2, 1e-300}}));
  model.addSamples({{1.5, 0.0}, {0.5, 0.0}, {3, 0.0}});
  EXPECT_EQ(model, table(2, {0.5, 1, 1.5, 2, 3}, {0.0, 1.0, 0.0, 2.0, 0.0}));
}

TEST(ScalarOperator, ValuesCodesAndConstancy) {
  const PolynomialModel a(Complex(3, 4)), b({{1, 2}, {3, -1}}), empty;
  const RationalModel r({1.0}, {1.0});
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
// whose derivatives are all non-trivial; batches against the single form.
TEST(ScalarOperator, DerivativesAndBatches) {
  const PolynomialModel a({{1, -2}, {0.5, 1}, {-0.25, 0.75}, {0.1, 0.2}});
  const PoleZeroModel b(10.0, {{-1, 3}, {-2, -1}}, {{1, 1}, {0.5, -2}}, {0.3, 0}, {0.02, 0.01});
  const Owned models[] = {
      Owned(ScalarModel::createProduct(&a, &b)), Owned(ScalarModel::createNorm(&b)),
      Owned(ScalarModel::createConjugate(&b)), Owned(ScalarModel::createDifference(&a, &b)),
      Owned(ScalarModel::createSum(&a, &b))};
  for (const Owned& m : models) {
    for (double f : {0.3, 1.1})
      expect_derivatives(*m, f, 1e-6, 1e-7, 1e-6);
    expect_batch_bits(*m, {0.0, 0.3, 1.1, 7.5, -2.0});
  }
  EXPECT_EQ(models[1]->evaluate_derivative_2(0.3).imag(), 0.0);
  // (1+2j) + (3-j) f + (0.5+0.25j) f^2 plus (1-j) f^3 at f = 2: slopes (5,0) + (12,-12),
  // curvatures (1,0.5) + (12,-12).
  const PolynomialModel p(Complex(1, 2), Complex(3, -1), Complex(0.5, 0.25)),
      q({0.0, 0.0, 0.0, {1, -1}});
  EXPECT_EQ(vdd(*Owned(ScalarModel::createSum(&p, &q)), 2.0),
            (Trio{Complex(17, -7), Complex(17, -12), Complex(13, -11.5)}));
}

TEST(ScalarOperator, OwnsClonesComparesPositionallyAndPassesFailuresBFirst) {
  auto a = std::make_unique<PolynomialModel>(Complex(5, 0));
  auto b = std::make_unique<PolynomialModel>(Complex(2, 0), Complex(1, 0));
  const Owned ab(ScalarModel::createDifference(a.get(), b.get()));
  const Owned ba(ScalarModel::createDifference(b.get(), a.get()));
  EXPECT_NE(static_cast<const ScalarOperator<DifferenceTraits>&>(*ab).operand(0), a.get());
  a.reset();
  b.reset();
  EXPECT_EQ(ab->evaluate(1.0), Complex(2, 0));
  EXPECT_TRUE(Owned(ab->clone())->equal(ab.get()));
  EXPECT_FALSE(ab->equal(ba.get()));
  // Operands are compared through equal, so a causality-enforced operand spoils it.
  const SparameterSplineModel causal({0, 1}, {0.0, 1.0}, {0.0, 0.0}, std::vector<double>{});
  const Owned conjugate(ScalarModel::createConjugate(&causal));
  EXPECT_FALSE(conjugate->equal(conjugate.get()));

  const StaticTableModel low = table(2, {1, 2}, {0.0, 0.0}), high = table(2, {5, 6}, {0.0, 0.0});
  const Owned sum(ScalarModel::createSum(&low, &high));
  EXPECT_THROW_MSG(sum->evaluate(3.0), std::out_of_range,
                   "3 does not belong to tabulation interval [5 , 6]");
  EXPECT_THROW_MSG(sum->evaluate_derivative(1.5), std::runtime_error,
                   "FittedScalarModel::evaluate_derivative is not supported yet");
}

TEST(ScalarText, PolynomialsAndRationalsInTheStreamsSettings) {
  const PolynomialModel p(Complex(1, 0), Complex(2, 0));
  EXPECT_EQ(text(p), "Polynomial Model: (1,0)*freq^0 + (2,0)*freq^1");
  EXPECT_EQ(as_pointer(p), text(p));
  std::ostringstream out;
  out.precision(3);
  out << PolynomialModel(Complex(1.23456, -0.5));
  EXPECT_EQ(out.str(), "Polynomial Model: (1.23,-0.5)*freq^0");
  EXPECT_EQ(text(RationalModel({1.0, 2.0}, {3.0}, 2.5)),
            "Rational Model: ( (1,0)*(freq/2.5)^0 + (2,0)*(freq/2.5)^1 ) / ( (3,0)*(freq/2.5)^0 )");
}

TEST(ScalarText, PoleZero) {
  EXPECT_EQ(text(PoleZeroModel(1.0, {}, {}, {1, 0}, {0, 0})),
            "Pole-Zero Model:  + (1,0), with s = j*omega/1");
  EXPECT_EQ(text(PoleZeroModel(kTwoPi, {{-1, 0}, {-2, 1}}, {1.0, 2.0}, {0, 0}, {0, 1})),
            "Pole-Zero Model: (1,0)/(s-(-1,0)) + (2,0)/(s-(-2,1)) + (0,1) x s, with s = "
            "j*omega/6.28319");
  // Negative zeros are zero: no factor term.
  EXPECT_EQ(text(PoleZeroModel(2e9, {}, {}, {0, -0.0}, {-0.0, 0})),
            "Pole-Zero Model: , with s = j*omega/2e+09");
  EXPECT_THROW_MSG(text(PoleZeroModel(1.0, {{-1, 0}}, {}, {0, 0}, {0, 0})), std::runtime_error,
                   "pole-zero model needs one residue per pole, found 0 residues for 1 poles");
}

TEST(ScalarText, SplinesAndTables) {
  const SparameterSplineModel plain({0, 1, 2}, {0.0, 0.0, 0.0}, {0.0, 0.0, 0.0});
  const SparameterSplineModel causal(plain.freqs(), plain.samples(), plain.coefs(),
                                     std::vector<double>{5, 6});
  EXPECT_EQ(as_pointer(plain), "S-parameter Spline Model: 3 knots");
  EXPECT_EQ(text(causal), "S-parameter Spline Model: 3 knots2 subtraction frequencies");
  EXPECT_EQ(as_pointer(causal), "");
  StaticTableModel chain(2, {Transformation::Inverse, Transformation::Squared});
  chain.addSamples({{2.0, 4.0}, {1.0, 2.0}});
  EXPECT_EQ(as_pointer(chain),
            "Static Table Model (degree=2, trafo=(inv(x))^2) : [1 -> (2,0)] , [2 -> (4,0)]");
  EXPECT_EQ(text(StaticTableModel(3)), "Static Table Model (degree=3) : ");
  const StaticTableModel odd(1, {static_cast<Transformation::Type>(7), Transformation::Inverse});
  EXPECT_EQ(text(odd), "Static Table Model (degree=1, trafo=inv(x)) : ");
}

TEST(ScalarText, PointerDispatch) {
  const PolynomialModel a(Complex(1, 0));
  const std::pair<Owned, const char*> operators[] = {
      {Owned(ScalarModel::createConjugate(&a)), "conjugate of a scalar model"},
      {Owned(ScalarModel::createNorm(&a)), "norm of a scalar model"},
      {Owned(ScalarModel::createSum(&a, &a)), "sum of scalar models"},
      {Owned(ScalarModel::createDifference(&a, &a)), "difference of scalar models"},
      {Owned(ScalarModel::createProduct(&a, &a)), "product of scalar models"}};
  for (const auto& [model, expected] : operators)
    EXPECT_EQ(as_pointer(*model), expected);
  EXPECT_EQ(as_pointer(Foreign(999)), "unknown scalar model type");
  EXPECT_EQ(text(static_cast<const ScalarModel*>(nullptr)), "");
  for (std::int32_t code : {0, 7, 100, 998, 1000, -1})
    EXPECT_EQ(as_pointer(Foreign(code)), "") << code;
}

}  // namespace
}  // namespace korvantix
