#include <korvantix/model.hpp>
#include <korvantix/scalar.hpp>

#include <gtest/gtest.h>

#include <complex>
#include <limits>
#include <memory>
#include <stdexcept>
#include <utility>
#include <vector>

#include "test_support.hpp"

namespace korvantix {
namespace {

using C = std::complex<double>;
const double kNaN = std::numeric_limits<double>::quiet_NaN();

// A model whose entry (i, j) is the polynomial (i + 1) + (j + 1) * 1e-9 f, Zref(i) = 50 + i and
// port datum ("Zpi", 0) = 0 + 1e-9 f i: every slot is told apart by its value.
SMatrixModel numbered_model(double from, double to) {
  SMatrixModel m(2, from, to, {{"Zpi", 0}});
  for (std::size_t i = 0; i < 2; ++i) {
    const PolynomialModel zref{C(50.0 + static_cast<double>(i), 0)};
    m.setZref(i, &zref);
    for (std::size_t j = 0; j < 2; ++j) {
      const PolynomialModel entry(C(static_cast<double>(i + 1), 0),
                                  C(static_cast<double>(j + 1) * 1e-9, 0));
      m.set(i, j, &entry);
    }
  }
  const PolynomialModel datum(C(0, 0), C(0, 1e-9));
  m.set({"Zpi", 0}, &datum);
  return m;
}

TEST(ModelConstruction, BandIsChecked) {
  EXPECT_THROW_MSG(SMatrixModel(2, 5e9, 1e9), std::runtime_error,
                   "invalid frequency range [5e+09 , 1e+09]");
  EXPECT_THROW_MSG(SMatrixModel(1, kNaN, 1e9), std::runtime_error,
                   "invalid frequency range [nan , 1e+09]");
  EXPECT_THROW_MSG(SMatrixModel(1, 0.0, kNaN, {{"Zpi", 0}}), std::runtime_error,
                   "invalid frequency range [0 , nan]");

  SMatrixModel m(1, 1e9, 2e9);
  EXPECT_THROW_MSG(m.setFrequencyRange(3e9, 2.5e9), std::runtime_error,
                   "invalid frequency range [3e+09 , 2.5e+09]");
  EXPECT_EQ(m.getFrequencyRange(), std::make_pair(1e9, 2e9));
  m.setFrequencyRange(3e9, 3e9);
  EXPECT_EQ(m.from(), 3e9);
  EXPECT_EQ(m.to(), 3e9);
}

TEST(ModelConstruction, EverySlotHoldsADefaultPolynomial) {
  const SMatrixModel m(2, 1e9, 2e9, {{"Zpi", 1}, {"Gamma", 0}, {"Zpi", 1}});
  EXPECT_EQ(m.type(), SMatrixEvaluator::MODEL);
  ASSERT_EQ(m.S().size(), 4u);
  ASSERT_EQ(m.Zref().size(), 2u);
  const std::vector<PortDataName> keys = {{"Gamma", 0}, {"Zpi", 1}};
  EXPECT_EQ(m.port_data_names(), keys);
  const PolynomialModel empty;
  EXPECT_TRUE(m(0, 1).equal(&empty));
  EXPECT_EQ(m({"Zpi", 1}).type(), ScalarModel::Polynomial);
  EXPECT_EQ(m.Zref(1).type(), ScalarModel::Polynomial);
  const SMatrixSample s = m.evaluate(1.5e9, MAG_PHASE);
  EXPECT_EQ(s, SMatrixSample(2, 1.5e9, keys));
}

TEST(ModelEvaluate, FillsEverySlotFromItsModel) {
  const SMatrixModel m = numbered_model(1e9, 3e9);
  const SMatrixSample s = m.evaluate(2e9, REAL_IMAG);
  EXPECT_EQ(s.frequency(), 2e9);
  EXPECT_EQ(s(0, 0), C(3, 0));  // 1 + 1 * 2
  EXPECT_EQ(s(0, 1), C(5, 0));  // 1 + 2 * 2
  EXPECT_EQ(s(1, 0), C(4, 0));
  EXPECT_EQ(s(1, 1), C(6, 0));
  EXPECT_EQ(s.Zref(0), C(50, 0));
  EXPECT_EQ(s.Zref(1), C(51, 0));
  EXPECT_EQ(s({"Zpi", 0}), C(0, 2));
  EXPECT_EQ(m(2e9, 1, 0), C(4, 0));
  EXPECT_EQ(m.Zref(2e9, 1), C(51, 0));
}

TEST(ModelEvaluate, SymmetricFormReadsTheUpperTriangleOnly) {
  const SMatrixModel m = numbered_model(1e9, 3e9);
  const SMatrixSample s = m.evaluate_symm(2e9, MAG_PHASE);
  EXPECT_EQ(s(0, 1), C(5, 0));
  EXPECT_EQ(s(1, 0), C(5, 0));
  EXPECT_EQ(s(1, 1), C(6, 0));
  EXPECT_EQ(s({"Zpi", 0}), C(0, 2));
  EXPECT_THROW_MSG(m.evaluate_symm(0.5e9, MAG_PHASE), std::out_of_range,
                   "5e+08 not in [1e+09 , 3e+09]");
}

TEST(ModelEvaluate, OutOfBandMessagesDifferByForm) {
  const SMatrixModel point(1, 1e9, 1e9);
  EXPECT_EQ(point.evaluate(1e9, MAG_PHASE).frequency(), 1e9);
  EXPECT_THROW_MSG(point.evaluate(1.0000001e9, MAG_PHASE), std::out_of_range,
                   "1e+09 not in [1e+09 , 1e+09]");
  EXPECT_THROW_MSG(point.evaluate(kNaN, MAG_PHASE), std::out_of_range,
                   "nan not in [1e+09 , 1e+09]");

  const SMatrixModel band(1, 1e9, 1.5e9);
  EXPECT_THROW_MSG(band(2e9, 0, 0), std::out_of_range, "");
  EXPECT_THROW_MSG(band.Zref(0.5e9, 0), std::out_of_range, "");
  EXPECT_NO_THROW(band(1.5e9, 0, 0));
  EXPECT_NO_THROW(band.Zref(1e9, 0));
}

TEST(ModelLessFreq, SharedEndPointsAndOverlaps) {
  const SMatrixModel::less_freq less;
  auto m = [](double a, double b) { return SMatrixModel(0, a, b); };
  struct Case {
    double a0, a1, b0, b1;
    bool a_less_b, b_less_a;
  };
  const Case cases[] = {
      {1, 2, 2, 3, true, false},   // touching proper bands may coexist
      {1, 2, 2, 2, false, false},  // a single point on the edge collides
      {2, 2, 2, 3, false, false}, {2, 2, 2, 2, false, false},
      {1, 3, 2, 4, false, false},  // overlap
      {1, 4, 2, 3, false, false},  // containment
      {1, 1, 2, 2, true, false},   // disjoint points
      {1, 2, 3, 4, true, false},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(less(m(c.a0, c.a1), m(c.b0, c.b1)), c.a_less_b) << c.a0 << " " << c.a1;
    EXPECT_EQ(less(m(c.b0, c.b1), m(c.a0, c.a1)), c.b_less_a) << c.a0 << " " << c.a1;
  }
}

TEST(ModelSet, StoresClonesAndRefusesUnknownKeys) {
  SMatrixModel m(1, 0.0, 1.0, {{"Zpi", 0}});
  {
    const PolynomialModel p{C(7, 0)};
    m.set(0, 0, &p);
    m.setZref(0, &p);
  }  // p is gone; the model holds its own copies
  EXPECT_EQ(m(0.5, 0, 0), C(7, 0));
  EXPECT_EQ(m.Zref(0.5, 0), C(7, 0));

  const PolynomialModel q{C(1, 0)};
  EXPECT_THROW_MSG(m.set({"Gamma", 0}, &q), std::runtime_error, "Gamma[0] is not available");
  EXPECT_THROW_MSG(m({"Zpi", 1}), std::runtime_error, "Zpi[1] is not available");
  EXPECT_EQ(m.port_data_names(), (std::vector<PortDataName>{{"Zpi", 0}}));
}

TEST(ModelSymmetry, ComparesModelsByContent) {
  SMatrixModel m(2, 0.0, 1.0);
  const PolynomialModel a{C(1, 2)}, b{C(1, 2)}, c{C(1, 3)};
  m.set(0, 1, &a);
  m.set(1, 0, &b);
  EXPECT_TRUE(m.is_symmetric());
  m.set(1, 0, &c);
  EXPECT_FALSE(m.is_symmetric());
  EXPECT_EQ(m.evaluate_symm(0.5, MAG_PHASE)(1, 0), C(1, 2));
  EXPECT_EQ(m.evaluate(0.5, MAG_PHASE)(1, 0), C(1, 3));
  EXPECT_TRUE(SMatrixModel().is_symmetric());
}

TEST(ModelCopy, DeepCopiesAndMovesLeaveNoPorts) {
  SMatrixModel a = numbered_model(1e9, 2e9);
  SMatrixModel b = a;
  EXPECT_TRUE(a == b);
  EXPECT_NE(a.S()[0].get(), b.S()[0].get());
  const PolynomialModel p{C(9, 9)};
  b.set(1, 1, &p);
  EXPECT_TRUE(a != b);
  EXPECT_EQ(a(1.5e9, 1, 1), C(5, 0));  // 2 + 2 * 1.5, undisturbed

  std::unique_ptr<SMatrixEvaluator> clone(a.clone());
  EXPECT_TRUE(static_cast<const SMatrixModel&>(*clone) == a);

  SMatrixModel c(std::move(a));
  EXPECT_EQ(a.nbPorts(), 0u);
  EXPECT_TRUE(a.S().empty());
  EXPECT_TRUE(a.Zref().empty());
  EXPECT_EQ(a.begin_port_data(), a.end_port_data());
  EXPECT_EQ(a.getFrequencyRange(), std::make_pair(1e9, 2e9));  // band left as it was

  SMatrixModel d(3, 5.0, 6.0);
  d = std::move(c);
  EXPECT_EQ(c.nbPorts(), 0u);
  EXPECT_EQ(d, numbered_model(1e9, 2e9));
  d = b;
  EXPECT_EQ(d, b);
}

TEST(ModelEquality, EveryPartTakesPart) {
  const SMatrixModel base = numbered_model(1e9, 2e9);
  EXPECT_NE(base, numbered_model(1e9, 2.5e9));
  EXPECT_NE(base, numbered_model(0.5e9, 2e9));
  SMatrixModel zref = base;
  const PolynomialModel other{C(1, 0)};
  zref.setZref(1, &other);
  EXPECT_NE(base, zref);
  SMatrixModel datum = base;
  datum.set({"Zpi", 0}, &other);
  EXPECT_NE(base, datum);
  EXPECT_NE(SMatrixModel(1, 0, 1, {{"Zpi", 0}}), SMatrixModel(1, 0, 1, {{"Zpv", 0}}));
  EXPECT_NE(SMatrixModel(1, 0, 1), SMatrixModel(2, 0, 1));
}

}  // namespace
}  // namespace korvantix
