#include <korvantix/container.hpp>
#include <korvantix/evaluator.hpp>
#include <korvantix/model.hpp>

#include <gtest/gtest.h>

#include <complex>
#include <limits>
#include <stdexcept>
#include <utility>
#include <vector>

#include "test_support.hpp"

namespace korvantix {
namespace {

using C = std::complex<double>;
const double kNaN = std::numeric_limits<double>::quiet_NaN();

TEST(SampleConstruction, ZeroFilledWithRequestedSizes) {
  const SMatrixSample s(2, 1e9);
  EXPECT_EQ(s.nbPorts(), 2u);
  EXPECT_EQ(s.S(), std::vector<C>(4));
  EXPECT_EQ(s.Zref(), std::vector<C>(2));
  EXPECT_EQ(s.begin_port_data(), s.end_port_data());
  EXPECT_EQ(s.from(), 1e9);
  EXPECT_EQ(s.to(), 1e9);
  EXPECT_EQ(s.type(), SMatrixEvaluator::SAMPLE);

  const SMatrixSample d;
  EXPECT_EQ(d.nbPorts(), 0u);
  EXPECT_EQ(d.frequency(), -1.0);
  EXPECT_TRUE(d.S().empty());
}

TEST(SampleConstruction, PortDataKeysAreUniqueAndOrdered) {
  // Name first (a prefix sorts first), then the index; a repeated name is kept once.
  const SMatrixSample s(1, 1.0, {{"Zpi", 1}, {"Zpi", 0}, {"Gamma", 5}, {"Zpi", 1}, {"Zp", 9}});
  const std::vector<PortDataName> expected = {{"Gamma", 5}, {"Zp", 9}, {"Zpi", 0}, {"Zpi", 1}};
  EXPECT_EQ(s.port_data_names(), expected);
  for (auto it = s.begin_port_data(); it != s.end_port_data(); ++it)
    EXPECT_EQ(it->second, C());
}

TEST(SampleEvaluate, OnlyAtItsOwnFrequency) {
  SMatrixSample s(2, 1e9, {{"Zpi", 0}});
  s(0, 1) = C(0.5, -0.25);
  EXPECT_EQ(s.evaluate(1e9, REAL_IMAG), s);
  EXPECT_EQ(s.evaluate(1e9, static_cast<InterpolationType>(99)), s);
  EXPECT_THROW_MSG(s.evaluate(1.0000001e9, MAG_PHASE), std::out_of_range, "");
  SMatrixSample nan_sample(1, kNaN);
  EXPECT_THROW_MSG(nan_sample.evaluate(kNaN, MAG_PHASE), std::out_of_range, "");
}

TEST(SamplePortData, AbsentKeysThrowAndNothingIsInserted) {
  SMatrixSample s(2, 1e9, {{"Zpi", 0}});
  EXPECT_THROW_MSG(s.set({"Gamma", 0}, C(1, 2)), std::runtime_error, "Gamma[0] is not available");
  EXPECT_THROW_MSG(s({"Zpi", 1}), std::runtime_error, "Zpi[1] is not available");
  const SMatrixSample& cs = s;
  EXPECT_THROW_MSG(cs({"Zp", 0}), std::runtime_error, "Zp[0] is not available");
  EXPECT_EQ(s.port_data_names(), (std::vector<PortDataName>{{"Zpi", 0}}));
  EXPECT_THROW_MSG(s.modalParameter(1, Zpi), std::runtime_error, "Zpi[1] is not available");
}

TEST(SamplePortData, ModalParametersMapToTheirNames) {
  SMatrixSample s(2, 1e9, {{"Gamma", 0}, {"Zpi", 1}, {"Zpv", 1}, {"Zvi", 0}});
  s.set({"Gamma", 0}, C(0, 7));
  s({"Zpi", 1}) = C(1, 0);
  s({"Zpv", 1}) = C(2, 0);
  s({"Zvi", 0}) = C(3, 0);
  EXPECT_EQ(s.modalParameter(0, Gamma), C(0, 7));
  EXPECT_EQ(s.modalParameter(1, Zpi), C(1, 0));
  EXPECT_EQ(s.modalParameter(1, Zpv), C(2, 0));
  const SMatrixSample& cs = s;
  EXPECT_EQ(cs.modalParameter(0, Zvi), C(3, 0));
  for (int bad : {4, -1, 7}) {
    EXPECT_THROW_MSG(s.modalParameter(0, static_cast<ModalPortParameterType>(bad)),
                     std::runtime_error, "modalParameter: unknown modalPortParameter");
  }
}

TEST(SampleMove, LeavesTheDefaultState) {
  SMatrixSample a(2, 1e9, {{"Zpi", 0}});
  a(1, 0) = C(1, 1);
  SMatrixSample b(std::move(a));
  EXPECT_EQ(a.nbPorts(), 0u);
  EXPECT_EQ(a.frequency(), -1.0);
  EXPECT_TRUE(a.S().empty());
  EXPECT_TRUE(a.Zref().empty());
  EXPECT_EQ(a.begin_port_data(), a.end_port_data());
  EXPECT_EQ(b.nbPorts(), 2u);
  EXPECT_EQ(b(1, 0), C(1, 1));

  SMatrixSample c(3, 5.0);
  c = std::move(b);
  EXPECT_EQ(b.nbPorts(), 0u);
  EXPECT_EQ(b.frequency(), -1.0);
  EXPECT_EQ(c.frequency(), 1e9);
  EXPECT_EQ(c.port_data_names(), (std::vector<PortDataName>{{"Zpi", 0}}));
}

TEST(SampleEquality, ExactComparison) {
  SMatrixSample a(2, 1e9, {{"Zpi", 0}});
  SMatrixSample b = a;
  a(0, 1) = C(1, 0.0);
  b(0, 1) = C(1, -0.0);
  EXPECT_TRUE(a == b);  // negative zero equals zero

  b(0, 1) = C(1, 1e-300);
  EXPECT_TRUE(a != b);

  SMatrixSample n1(1, 1.0), n2(1, 1.0);
  n1(0, 0) = n2(0, 0) = C(kNaN, 0);
  EXPECT_FALSE(n1 == n2);
  EXPECT_FALSE(n1 == n1);
  EXPECT_FALSE(SMatrixSample(1, kNaN) == SMatrixSample(1, kNaN));

  SMatrixSample z1(2, 1.0), z2(2, 1.0);
  z2.Zref(1) = C(50, 0);
  EXPECT_FALSE(z1 == z2);
  EXPECT_FALSE(SMatrixSample(1, 1.0) == SMatrixSample(2, 1.0));
  EXPECT_FALSE(SMatrixSample(1, 1.0, {{"Zpi", 0}}) == SMatrixSample(1, 1.0, {{"Zpi", 1}}));
  SMatrixSample p1(1, 1.0, {{"Zpi", 0}}), p2 = p1;
  p2.set({"Zpi", 0}, C(0, 1));
  EXPECT_FALSE(p1 == p2);
}

TEST(SampleSymmetry, OffDiagonalPairsOnly) {
  SMatrixSample s(3, 1.0);
  s(0, 0) = C(9, 9);
  s.Zref(0) = C(50, 0);
  s(0, 2) = s(2, 0) = C(0.5, 0.5);
  EXPECT_TRUE(s.is_symmetric());
  s(2, 1) = C(0, 1e-12);
  EXPECT_FALSE(s.is_symmetric());
  s(1, 2) = C(0, 1e-12);
  EXPECT_TRUE(s.is_symmetric());
  s(1, 2) = s(2, 1) = C(kNaN, 0);
  EXPECT_FALSE(s.is_symmetric());
  EXPECT_TRUE(SMatrixSample().is_symmetric());
}

TEST(EvaluatorEqual, DispatchesOnType) {
  const SMatrixSample a(1, 1e9), b(1, 1e9), c(1, 2e9);
  const SMatrixModel m(1, 1e9, 2e9), m2(1, 1e9, 2e9), m3(1, 1e9, 3e9);
  const SMatrixContainer x(1), y(1);
  EXPECT_FALSE(SMatrixEvaluator::equal(nullptr, &a));
  EXPECT_FALSE(SMatrixEvaluator::equal(&a, nullptr));
  EXPECT_FALSE(SMatrixEvaluator::equal(nullptr, nullptr));
  EXPECT_TRUE(SMatrixEvaluator::equal(&a, &b));
  EXPECT_FALSE(SMatrixEvaluator::equal(&a, &c));
  EXPECT_FALSE(SMatrixEvaluator::equal(&a, &m));
  EXPECT_TRUE(SMatrixEvaluator::equal(&m, &m2));
  EXPECT_FALSE(SMatrixEvaluator::equal(&m, &m3));
  EXPECT_FALSE(SMatrixEvaluator::equal(&x, &a));
  EXPECT_THROW_MSG(SMatrixEvaluator::equal(&x, &y), std::runtime_error,
                   "ModelInterface::equal not supported for MIXED");
}

}  // namespace
}  // namespace korvantix
