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

using C = std::complex<double>;
using V = std::vector<C>;
using Owned = std::unique_ptr<ScalarModel>;
using SM = ScalarModel;
using Trio = std::array<C, 3>;
using Flags = std::vector<bool>;
using RE = std::runtime_error;
constexpr double kTwoPi = 6.283185307179586;
constexpr double kInf = std::numeric_limits<double>::infinity();
const double kNaN = std::nan("");

// Same bits in both parts (NaN payloads and signed zeros included).
bool same_bits(C a, C b) {
  return std::memcmp(&a, &b, sizeof a) == 0;
}

// Value, first and second derivative at f.
Trio vdd(const ScalarModel& m, double f) {
  return {m.evaluate(f), m.evaluate_derivative(f), m.evaluate_derivative_2(f)};
}

// |a - b| within rel * max(1, |b|).
::testing::AssertionResult near(C a, C b, double rel) {
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
  V values(size), work;
  m.evaluate(freqs, values, work);
  ASSERT_EQ(values.size(), freqs.size());
  for (std::size_t i = 0; i < freqs.size(); ++i)
    EXPECT_TRUE(same_bits(values[i], m.evaluate(freqs[i]))) << m.type() << " at " << freqs[i];
}

// What operator<< writes, in the given precision.
template <class T>
std::string text(const T& value, int precision = 6) {
  std::ostringstream out;
  out.precision(precision);
  out << value;
  return out.str();
}

// A model from outside the library that claims a code of its choice.
struct Foreign : PolynomialModel {
  explicit Foreign(std::int32_t kind) : PolynomialModel(C(1, 0)), code(kind) {}
  Type type() const override { return static_cast<Type>(code); }
  std::int32_t code;
};

// The refusal of a sample frequency already in a table.
std::string duplicate(const char* f) {
  return std::string("The FittedScalarModel already contains a sample at") + f + " Hz";
}

// Shows the stored (transformed) values.
struct Probe : StaticTableModel {
  using FittedScalarModel::sample_values;
  using StaticTableModel::StaticTableModel;
};

Probe table(std::size_t degree, const std::vector<double>& t, const V& y,
            const std::vector<Transformation::Type>& trafos = {}) {
  Probe model(degree, trafos);
  for (std::size_t i = 0; i < t.size(); ++i)
    model.addSample(t[i], y[i]);
  return model;
}

TEST(ScalarModel, EqualMeansSameKindAndSameData) {
  const PolynomialModel p({{1, 2}, {3, 4}});
  const StaticTableModel tab = table(2, {1.0}, {{1, 1}}, {Transformation::Inverse});
  const Owned models[] = {Owned(p.clone()),
                          Owned(RationalModel({{1, 2}, {3, 4}}, {1.0}).clone()),
                          Owned(PoleZeroModel(1.0, {{-1, 0}}, {1.0}, {0, 0}, {0, 0}).clone()),
                          Owned(tab.clone()),
                          Owned(SparameterSplineModel({0, 1}, {0.0, 1.0}, {0.0, 0.0}).clone()),
                          Owned(SM::createConjugate(&p)),
                          Owned(SM::createNorm(&p)),
                          Owned(SM::createSum(&p, &tab)),
                          Owned(SM::createDifference(&p, &tab)),
                          Owned(SM::createProduct(&p, &tab))};
  for (const Owned& m : models) {
    const Owned copy(m->clone());
    EXPECT_TRUE(copy.get() != m.get() && m->equal(copy.get())) << m->type();
    for (const Owned& other : models)
      EXPECT_EQ(m->equal(other.get()), &other == &m) << m->type();
  }
  EXPECT_EQ(models[0]->evaluate(0.5), models[1]->evaluate(0.5));  // equal values are not enough
  // Codes above 998 never compare equal; a foreign class claiming code 1 is a polynomial.
  const Foreign unknown(999), polynomial(ScalarModel::Polynomial);
  EXPECT_EQ((Flags{unknown.equal(&unknown), polynomial.equal(&polynomial)}), (Flags{0, 1}));

  // The generic batch resizes and leaves work alone.
  const RationalModel r({1.0}, {0.0, 1.0});
  V values(5, C(9, 9)), work(2, C(7, 7));
  r.evaluate({1.0, 4.0, 0.5}, values, work);
  EXPECT_EQ(values, (V{{1, 0}, {0.25, 0}, {2, 0}}));
  EXPECT_EQ(work, V(2, C(7, 7)));
  r.evaluate({}, values, work);
  EXPECT_TRUE(values.empty());
}

TEST(PolynomialModel, ValuesDerivativesBatchAndEquality) {
  const C c0(1, 2), c1(3, -1), c2(0.5, 0.25);
  const PolynomialModel none, constant(c0), line(c0, c1), parabola(c0, c1, c2);
  EXPECT_EQ((Flags{none.empty(), none.is_constant(), constant.is_constant(), line.is_constant()}),
            (Flags{1, 1, 1, 0}));
  EXPECT_EQ(none.evaluate(3.0), C(0, 0));
  for (double f : {-2.0, 7.5}) {
    EXPECT_EQ(vdd(constant, f), (Trio{c0, 0.0, 0.0}));
    EXPECT_EQ(vdd(line, f), (Trio{c0 + f * c1, c1, 0.0}));
  }
  EXPECT_EQ(vdd(parabola, 2.0), (Trio{c0 + 2.0 * c1 + 4.0 * c2, c1 + 4.0 * c2, 2.0 * c2}));
  // A braced list is a coefficient list, whatever its length.
  EXPECT_EQ(PolynomialModel({1.0, 2.0}).coef(), (V{{1, 0}, {2, 0}}));
  EXPECT_EQ(PolynomialModel({{1, 2}}).coef(), (V{{1, 2}}));
  const PolynomialModel p({{1, -1}, {0.5, 2}, {-3, 0.25}, {0.75, -0.5}, {0.125, 1}, {-0.2, 0.3}});
  for (double f : {-1.3, 0.4, 1.7})
    expect_derivatives(p, f, 1e-5, 1e-8, 1e-8);

  std::mt19937_64 random(7);
  std::uniform_real_distribution<double> uniform(-2.0, 2.0);
  V coef(9);
  for (C& c : coef)
    c = {uniform(random), uniform(random)};
  // Several blocks of the batch loop, signed zeros, overflow and NaN.
  std::vector<double> freqs = {0.0, -0.0, 1e300, kInf, kNaN};
  while (freqs.size() < 700)
    freqs.push_back(uniform(random) * std::exp(15 * uniform(random)));
  expect_batch_bits(PolynomialModel(coef), freqs, 1000);
  V values(2), work;
  p.evaluate(std::vector<double>{}, values, work);
  EXPECT_TRUE(values.empty() && work.empty());

  // Equality is exact.
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
  EXPECT_EQ(r[0], C(0.5, 0));
  EXPECT_DOUBLE_EQ(r[1].real(), -0.25);
  EXPECT_DOUBLE_EQ(r[2].real(), 4.0 / 9.0);
  // With scale 1 both derivatives are exact.
  expect_derivatives(RationalModel({{1, 2}, {0.5, -1}, {0.25, 0}}, {{2, 1}, {0, 1}, {1, 0.5}}), 0.8,
                     1e-5, 1e-8, 1e-7);
  const C at_pole = RationalModel({1.0}, {0.0, 1.0}).evaluate(0.0);
  EXPECT_FALSE(std::isfinite(at_pole.real()) && std::isfinite(at_pole.imag()));
  EXPECT_TRUE(std::isnan(RationalModel().evaluate(1.0).real()));
  EXPECT_EQ((Flags{RationalModel().empty(), RationalModel({}, {1.0}).empty(),
                   RationalModel({1.0}, {1.0}).is_constant()}),
            (Flags{1, 0, 0}));
  // The scale takes no part in the comparison.
  const RationalModel a({1.0}, {1.0, 2.0}, 1.0), b({1.0}, {1.0, 2.0}, 5.0);
  EXPECT_TRUE(a == b && a.equal(&b));
  EXPECT_NE(a, RationalModel({1.0}, {1.0, 3.0}));
}

TEST(PoleZeroModel, ClosedFormsDerivativesAndBatch) {
  const PoleZeroModel constant(1.0, {}, {}, {2, -1}, {0, 0});
  EXPECT_EQ((Flags{PoleZeroModel().empty(), constant.empty(), constant.is_constant(),
                   PoleZeroModel(1.0, {}, {1.0}, {0, 0}, {0, 0}).empty()}),
            (Flags{1, 0, 0, 1}));  // residues are not looked at
  EXPECT_EQ(PoleZeroModel().evaluate(1e9), C(0, 0));
  EXPECT_EQ(constant.evaluate(123.0), C(2, -1));
  EXPECT_EQ(constant.evaluate_derivative(123.0), C(0, 0));

  // s = j 2 pi 1.5 / 3 = j pi and e s = (2 + j) j pi = -pi + 2 pi j; d/df = j 2 pi e / 3.
  const PoleZeroModel linear(3.0, {}, {}, {1, 0}, {2, 1});
  const Trio l = vdd(linear, 1.5);
  EXPECT_DOUBLE_EQ(l[0].real(), 1.0 - kTwoPi / 2);
  EXPECT_DOUBLE_EQ(l[0].imag(), kTwoPi);
  EXPECT_DOUBLE_EQ(l[1].real(), -kTwoPi / 3.0);
  EXPECT_DOUBLE_EQ(l[1].imag(), 2.0 * kTwoPi / 3.0);
  EXPECT_EQ(l[2], C(0, 0));
  EXPECT_EQ(PoleZeroModel(kTwoPi, {{-1, 0}}, {1.0}, {0, 0}, {0, 0}).evaluate(0.0), C(1, 0));
  // Unlike a rational model, the scale takes part in the comparison.
  PoleZeroModel other = linear;
  EXPECT_EQ(other, linear);
  other.scale() = 2.0;
  EXPECT_FALSE(other == linear || other.equal(&linear));

  const PoleZeroModel model(1e9, {{-0.5, 2}, {-0.5, -2}, {-3, 0}}, {{1, 0.5}, {1, -0.5}, {2, 0}},
                            {0.1, -0.2}, {0.01, 0.03});
  for (double f : {1e8, 3.2e8, 9e8}) {  // derivatives are in hertz
    const Trio at = vdd(model, f);
    expect_derivatives(model, f, 1e3, 1e-7 * std::abs(at[1]), 1e-6 * std::abs(at[2]));
  }
  // Poles on both sides of the frequency sweep take both orientations of the division; the
  // last block holds non-finite frequencies and takes the runtime's division.
  std::vector<double> freqs{kInf, kNaN};
  for (int i = -50; i <= 1000; ++i)
    freqs.insert(freqs.end() - 2, i * 1.3e6);
  expect_batch_bits(model, freqs);
}

TEST(PoleZeroModel, FewerResiduesThanPolesIsRefused) {
  const PoleZeroModel model(1.0, {{-1, 0}, {-2, 0}}, {1.0}, {0, 0}, {0, 0});
  const char* text = "pole-zero model needs one residue per pole, found 1 residues for 2 poles";
  V values, work;
  EXPECT_THROW_MSG(model.evaluate(1.0), RE, text);
  EXPECT_THROW_MSG(model.evaluate({1.0}, values, work), RE, text);
  EXPECT_THROW_MSG(model.evaluate_derivative(1.0), RE, text);
  EXPECT_THROW_MSG(model.evaluate_derivative_2(1.0), RE, text);
  EXPECT_EQ(PoleZeroModel(1.0, {{-1, 0}}, {1.0, 7.0}, {0, 0}, {0, 0}).evaluate(0.0), C(1, 0));
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
    const C n(pick(), pick()), q(pick(), pick());
    ASSERT_TRUE(same_bits(detail::divide(n, q), n / q)) << n << " / " << q;
  }
}

// g(f) = (1 + 2j) f^3 - j f with its derivatives: with the exact curvatures at 0, 1, 2 the
// spline is g on every interval and, through the extended end cubics, outside the knots too.
Trio g(double f) {
  return {C(1, 2) * (f * f * f) - C(0, 1) * f, C(1, 2) * (3 * f * f) - C(0, 1), C(1, 2) * (6 * f)};
}

SparameterSplineModel cubic(std::optional<std::vector<double>> subtraction = std::nullopt) {
  return SparameterSplineModel({0, 1, 2}, {g(0)[0], g(1)[0], g(2)[0]}, {g(0)[2], g(1)[2], g(2)[2]},
                               subtraction);
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
  EXPECT_EQ((V{line.evaluate(3.0), line.evaluate(2.0), line.evaluate(3.5)}),
            (V{{6, -2}, {4, -1}, {3, -0.5}}));
  EXPECT_EQ(line.evaluate_derivative(2.0), C(2, -1));
  // Constant with one sample, or equal samples without curvature.
  EXPECT_EQ((Flags{SparameterSplineModel({1}, {{4, 4}}, {{9, 9}}).is_constant(),
                   SparameterSplineModel({1, 2}, {{4, 4}, {4, 4}}, {0.0, 0.0}).is_constant(),
                   SparameterSplineModel({1, 2}, {{4, 4}, {4, 4}}, {0.0, {0, 1}}).is_constant(),
                   SparameterSplineModel({1, 2}, {{4, 4}, {4, 5}}, {0.0, 0.0}).is_constant()}),
            (Flags{1, 1, 0, 0}));
}

TEST(SparameterSplineModel, CausalityEnforcedSplinesNeverEqualThroughEqual) {
  const SparameterSplineModel plain = cubic(), causal = cubic(std::vector<double>{0.5});
  EXPECT_EQ(plain.type(), ScalarModel::SparameterSpline);
  EXPECT_EQ(causal.type(), ScalarModel::CausalityEnforcedSparameterSpline);
  EXPECT_EQ(SparameterSplineModel({}, {}, {}, std::vector<double>{}).type(), 6);
  EXPECT_TRUE(plain == cubic() && plain.equal(&plain));
  EXPECT_NE(plain, causal);
  const SparameterSplineModel causal_copy = causal;
  EXPECT_EQ(causal, causal_copy);
  EXPECT_FALSE(causal.equal(&causal_copy) || causal.equal(&causal));
  EXPECT_NE(causal, cubic(std::vector<double>{0.5, 0.75}));
  EXPECT_EQ(static_cast<const SparameterSplineModel&>(*Owned(causal.clone())), causal);
}

TEST(SparameterSplineModel, SizesAndKnotCounts) {
  const SparameterSplineModel nothing({}, {}, {}), uneven({1, 2, 3}, {0.0, 1.0}, {0.0, 0.0, 0.0});
  EXPECT_TRUE(nothing.empty());
  EXPECT_EQ(nothing.nbKnots(), 0u);
  const char* text =
      "Number of knots undefined : unequal sizes of spline frequencies (3), samples (2) and "
      "coefficients (3)";
  EXPECT_THROW_MSG(uneven.nbKnots(), RE, text);
  EXPECT_THROW_MSG(uneven.evaluate(1.5), RE, text);
  EXPECT_THROW_MSG(uneven.evaluate_derivative_2(1.5), RE, text);
  const char* two = "spline model needs at least 2 knots, found 0";
  V values, work;
  EXPECT_THROW_MSG(SparameterSplineModel({1}, {1.0}, {0.0}).evaluate({1.0}, values, work), RE,
                   "spline model needs at least 2 knots, found 1");
  EXPECT_THROW_MSG(nothing.evaluate_derivative(1.0), RE, two);
  EXPECT_THROW_MSG(nothing.spline_interval_idx(1.0), RE, two);
}

TEST(StaticTableModel, SortedInsertionAndRefusals) {
  StaticTableModel model = table(2, {3, 1, 2}, {3.0, 1.0, 2.0});
  for (std::size_t i = 0; i < 3; ++i)
    EXPECT_EQ(model.getSample(i), std::make_pair(i + 1.0, C(i + 1.0, 0)));
  EXPECT_THROW_MSG(model.addSample(2.0, 9.0), RE, duplicate("2"));
  EXPECT_THROW_MSG(model.addSample(kNaN, 9.0), RE,
                   "The FittedScalarModel cannot hold a sample at nan Hz");
  EXPECT_THROW_MSG(table(2, {2.5e9, 2.5e9}, {0.0, 0.0}), RE, duplicate("2.5e+09"));
  EXPECT_EQ(model, table(2, {1, 2, 3}, {1.0, 2.0, 3.0}));
  EXPECT_EQ((Flags{model.empty(), StaticTableModel(2, {Transformation::Squared}).empty()}),
            (Flags{0, 1}));

  const char* outside = " does not belong to tabulation interval [1 , 3]";
  EXPECT_THROW_MSG(model.evaluate(0.5), std::out_of_range, std::string("0.5") + outside);
  EXPECT_THROW_MSG(model.evaluate(3.5), std::out_of_range, std::string("3.5") + outside);
  EXPECT_THROW_MSG(model.evaluate_derivative(2.0), RE,
                   "FittedScalarModel::evaluate_derivative is not supported yet");
  EXPECT_THROW_MSG(model.evaluate_derivative_2(2.0), RE,
                   "FittedScalarModel::evaluate_derivative_2 is not supported yet");
  EXPECT_THROW_MSG(StaticTableModel(2).evaluate(1.0), RE,
                   "static table model without samples cannot be evaluated");
  EXPECT_THROW_MSG(table(0, {1, 3}, {0.0, 1.0}).evaluate(3.0), RE,
                   "static table model of degree 0 cannot be evaluated");
  EXPECT_TRUE(std::isnan(model.evaluate(kNaN).real()));
}

TEST(StaticTableModel, TransformationsApplyForwardAndBack) {
  const Probe squared = table(2, {1.0}, {{0, 2}}, {Transformation::Squared});
  EXPECT_EQ(squared.sample_values()[0], C(-4, 0));
  EXPECT_EQ(squared.getSample(0).second, C(0, 2));
  // Forward 1/v then v^2, back sqrt then 1/v: 2 -> 0.25 and 4 -> 0.0625, exactly.
  const Probe chain =
      table(2, {1.0, 3.0}, {2.0, 4.0}, {Transformation::Inverse, Transformation::Squared});
  EXPECT_EQ(chain.sample_values()[0], C(0.25, 0));
  EXPECT_EQ(chain.getSample(1).second, C(4, 0));
  // The fit is linear in the transformed domain.
  EXPECT_DOUBLE_EQ(chain.evaluate(2.0).real(), 1.0 / std::sqrt(0.15625));
  V values, work;
  chain.evaluate({1.5, 2.0, 3.0}, values, work);
  EXPECT_TRUE(same_bits(values[1], chain.evaluate(2.0)));
  EXPECT_EQ(values[2], C(4, 0));
  const auto unknown = static_cast<Transformation::Type>(7);
  EXPECT_EQ(table(2, {1.0}, {{0, 2}}, {unknown}).sample_values()[0], C(0, 2));
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
      for (std::size_t i = c.first; i < c.first + c.degree; ++i)
        basis *= i == j ? 1.0 : (c.f - t[i]) / (t[j] - t[i]);
      expected += y[j] * basis;
    }
    EXPECT_NEAR(table(c.degree, t, {y.begin(), y.end()}).evaluate(c.f).real(), expected, 1e-12)
        << "degree " << c.degree << " at " << c.f;
  }
  // Sample hits and flat parts are exact; the tolerance applies to the first sample at or
  // above the frequency.
  const StaticTableModel m =
      table(3, {1, 2, 3, 4}, {{0.1, 1.0 / 3}, {0.1, 0.7}, {0.1, -0.2}, {0.1, 2.0 / 7}});
  EXPECT_EQ((V{m.evaluate(3.0), m.evaluate(std::nextafter(3.0, 2.0)), m.evaluate(4.0)}),
            (V{{0.1, -0.2}, {0.1, -0.2}, {0.1, 2.0 / 7}}));
  EXPECT_EQ(m.evaluate(2.4).real(), 0.1);
}

TEST(StaticTableModel, BulkFillMatchesOneByOneAndFailsCleanly) {
  std::vector<std::pair<double, C>> descending;
  for (int i = 20000; i > 0; --i)
    descending.emplace_back(i * 1e6, C(i, -i));
  StaticTableModel bulk = table(4, {0.5e6}, {{7, 7}}, {Transformation::Squared}), single = bulk;
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
  EXPECT_THROW_MSG(model.addSamples({{5, 0.0}, {4, 0.0}, {4, 1.0}, {2, 0.0}}), RE, duplicate("4"));
  EXPECT_THROW_MSG(model.addSamples({{5, 0.0}, {1, 0.0}, {5, 0.0}}), RE, duplicate("1"));
  EXPECT_THROW_MSG(model.addSamples({{5, 0.0}, {kNaN, 0.0}, {2, 0.0}}), RE,
                   "The FittedScalarModel cannot hold a sample at nan Hz");
  EXPECT_EQ(model, before);
  EXPECT_NE(model, table(3, {1, 2}, {1.0, 2.0}));
  EXPECT_NE(model, table(2, {1, 2}, {1.0, {2, 1e-300}}));
  model.addSamples({{1.5, 0.0}, {0.5, 0.0}, {3, 0.0}});
  EXPECT_EQ(model, table(2, {0.5, 1, 1.5, 2, 3}, {0.0, 1.0, 0.0, 2.0, 0.0}));
}

TEST(ScalarOperator, ValuesCodesTextAndConstancy) {
  const PolynomialModel a(C(3, 4)), b({{1, 2}, {3, -1}}), empty;
  const struct {
    Owned model;
    int code;
    double f;
    C value;
    const char* text;
  } operators[] = {
      {Owned(SM::createConjugate(&b)), 101, 1.0, {4, -1}, "conjugate of a scalar model"},
      {Owned(SM::createNorm(&a)), 102, 9.0, {25, 0}, "norm of a scalar model"},
      {Owned(SM::createSum(&a, &b)), 201, 1.0, {7, 5}, "sum of scalar models"},
      {Owned(SM::createDifference(&a, &b)), 202, 1.0, {-1, 3}, "difference of scalar models"},
      {Owned(SM::createProduct(&a, &b)), 203, 1.0, {8, 19}, "product of scalar models"}};
  for (const auto& [model, code, f, value, description] : operators) {
    EXPECT_EQ(model->type(), code);
    EXPECT_EQ(model->evaluate(f), value) << code;
    EXPECT_EQ(text(model.get()), description);
  }
  EXPECT_EQ(operators[0].model->evaluate_derivative(1.0), C(3, 1));
  const RationalModel r({1.0}, {1.0});
  EXPECT_EQ(
      (Flags{Owned(SM::createSum(&a, &a))->is_constant(),
             Owned(SM::createSum(&a, &r))->is_constant(), Owned(SM::createNorm(&empty))->empty()}),
      (Flags{1, 0, 0}));
}

// Derivatives against finite differences of the operator's own value and slope, on operands
// whose derivatives are all non-trivial; batches against the single form.
TEST(ScalarOperator, DerivativesAndBatches) {
  const PolynomialModel a({{1, -2}, {0.5, 1}, {-0.25, 0.75}, {0.1, 0.2}});
  const PoleZeroModel b(10.0, {{-1, 3}, {-2, -1}}, {{1, 1}, {0.5, -2}}, {0.3, 0}, {0.02, 0.01});
  const Owned models[] = {Owned(SM::createProduct(&a, &b)), Owned(SM::createNorm(&b)),
                          Owned(SM::createConjugate(&b)), Owned(SM::createDifference(&a, &b)),
                          Owned(SM::createSum(&a, &b))};
  for (const Owned& m : models) {
    for (double f : {0.3, 1.1})
      expect_derivatives(*m, f, 1e-6, 1e-7, 1e-6);
    expect_batch_bits(*m, {0.0, 0.3, 1.1, 7.5, -2.0});
  }
  EXPECT_EQ(models[1]->evaluate_derivative_2(0.3).imag(), 0.0);
  // (1+2j) + (3-j) f + (0.5+0.25j) f^2 plus (1-j) f^3 at f = 2: values (9,1) + (8,-8), slopes
  // (5,0) + (12,-12), curvatures (1,0.5) + (12,-12).
  const PolynomialModel p(C(1, 2), C(3, -1), C(0.5, 0.25)), q({0.0, 0.0, 0.0, {1, -1}});
  EXPECT_EQ(vdd(*Owned(SM::createSum(&p, &q)), 2.0), (Trio{C(17, -7), C(17, -12), C(13, -11.5)}));
}

TEST(ScalarOperator, OwnsClonesComparesPositionallyAndPassesFailuresBFirst) {
  auto a = std::make_unique<PolynomialModel>(C(5, 0));
  auto b = std::make_unique<PolynomialModel>(C(2, 0), C(1, 0));
  const Owned ab(SM::createDifference(a.get(), b.get()));
  const Owned ba(SM::createDifference(b.get(), a.get()));
  EXPECT_NE(static_cast<const ScalarOperator<DifferenceTraits>&>(*ab).operand(0), a.get());
  a.reset();
  b.reset();
  EXPECT_EQ(ab->evaluate(1.0), C(2, 0));
  EXPECT_TRUE(Owned(ab->clone())->equal(ab.get()));
  EXPECT_FALSE(ab->equal(ba.get()));
  // Operands are compared through equal, so a causality-enforced operand spoils it.
  const SparameterSplineModel causal({0, 1}, {0.0, 1.0}, {0.0, 0.0}, std::vector<double>{});
  const Owned conjugate(SM::createConjugate(&causal));
  EXPECT_FALSE(conjugate->equal(conjugate.get()));

  const StaticTableModel low = table(2, {1, 2}, {0.0, 0.0}), high = table(2, {5, 6}, {0.0, 0.0});
  const Owned sum(SM::createSum(&low, &high));
  EXPECT_THROW_MSG(sum->evaluate(3.0), std::out_of_range,
                   "3 does not belong to tabulation interval [5 , 6]");
  EXPECT_THROW_MSG(sum->evaluate_derivative(1.5), RE,
                   "FittedScalarModel::evaluate_derivative is not supported yet");
}

TEST(ScalarText, EveryKindAndThePointerDispatch) {
  const PolynomialModel p(C(1, 0), C(2, 0));
  EXPECT_EQ(text(p), "Polynomial Model: (1,0)*freq^0 + (2,0)*freq^1");
  EXPECT_EQ(text(&p), text(p));
  EXPECT_EQ(text(PolynomialModel(C(1.23456, -0.5)), 3), "Polynomial Model: (1.23,-0.5)*freq^0");
  EXPECT_EQ(text(RationalModel({1.0, 2.0}, {3.0}, 2.5)),
            "Rational Model: ( (1,0)*(freq/2.5)^0 + (2,0)*(freq/2.5)^1 ) / ( (3,0)*(freq/2.5)^0 )");
  EXPECT_EQ(text(PoleZeroModel(1.0, {}, {}, {1, 0}, {0, 0})),
            "Pole-Zero Model:  + (1,0), with s = j*omega/1");
  EXPECT_EQ(text(PoleZeroModel(kTwoPi, {{-1, 0}, {-2, 1}}, {1.0, 2.0}, {0, 0}, {0, 1})),
            "Pole-Zero Model: (1,0)/(s-(-1,0)) + (2,0)/(s-(-2,1)) + (0,1) x s, with s = "
            "j*omega/6.28319");
  // Negative zeros are zero: no factor term.
  EXPECT_EQ(text(PoleZeroModel(2e9, {}, {}, {0, -0.0}, {-0.0, 0})),
            "Pole-Zero Model: , with s = j*omega/2e+09");
  EXPECT_THROW_MSG(text(PoleZeroModel(1.0, {{-1, 0}}, {}, {0, 0}, {0, 0})), RE,
                   "pole-zero model needs one residue per pole, found 0 residues for 1 poles");

  const SparameterSplineModel plain({0, 1, 2}, {0.0, 0.0, 0.0}, {0.0, 0.0, 0.0});
  const SparameterSplineModel causal(plain.freqs(), plain.samples(), plain.coefs(),
                                     std::vector<double>{5, 6});
  EXPECT_EQ(text(&plain), "S-parameter Spline Model: 3 knots");
  EXPECT_EQ(text(causal), "S-parameter Spline Model: 3 knots2 subtraction frequencies");
  EXPECT_EQ(text(&causal), "");
  StaticTableModel chain(2, {Transformation::Inverse, Transformation::Squared});
  chain.addSamples({{2.0, 4.0}, {1.0, 2.0}});
  EXPECT_EQ(text(&chain),
            "Static Table Model (degree=2, trafo=(inv(x))^2) : [1 -> (2,0)] , [2 -> (4,0)]");
  EXPECT_EQ(text(StaticTableModel(3)), "Static Table Model (degree=3) : ");
  const StaticTableModel odd(1, {static_cast<Transformation::Type>(7), Transformation::Inverse});
  EXPECT_EQ(text(odd), "Static Table Model (degree=1, trafo=inv(x)) : ");

  EXPECT_EQ(text(static_cast<const ScalarModel*>(nullptr)), "");
  for (std::int32_t code : {999, 0, 7, 100, 998, 1000, -1}) {
    const Foreign foreign(code);
    EXPECT_EQ(text(&foreign), code == 999 ? "unknown scalar model type" : "") << code;
  }
}

}  // namespace
}  // namespace korvantix
