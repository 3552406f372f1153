#include <korvantix/container_evaluator.hpp>
#include <korvantix/scalar.hpp>

#include <gtest/gtest.h>

#include <complex>
#include <limits>
#include <memory>
#include <stdexcept>
#include <vector>

#include "test_support.hpp"

namespace korvantix {
namespace {

using C = std::complex<double>;

SMatrixContainer three_samples() {
  SMatrixContainer c(2);
  for (int k = 1; k <= 3; ++k) {
    SMatrixSample s(2, k * 1e9);
    s.S() = {C(k, 0), C(0, k), C(0, -k), C(-k, k)};
    s.Zref() = {C(50, k), C(25, 0)};
    c.add(s);
  }
  return c;
}

TEST(ContainerEvaluator, AnswersFromTheEvaluatedList) {
  SMatrixContainer c = three_samples();
  const std::vector<double> list{2.5e9, 1e9, 1.5e9, 2.5e9, 3e9};
  const SMatrixContainerEvaluator e(c, list, 2);
  c.clear();  // the evaluator keeps its own results
  const SMatrixContainer source = three_samples();

  EXPECT_EQ(e.type(), SMatrixEvaluator::MIXED);
  EXPECT_EQ(e.nbPorts(), 2u);
  EXPECT_EQ(e.frequencies(), list);
  EXPECT_EQ(e.from(), 1e9);
  EXPECT_EQ(e.to(), 3e9);
  EXPECT_FALSE(e.is_symmetric());
  ASSERT_EQ(e.samples().size(), list.size());
  for (std::size_t k = 0; k < list.size(); ++k) {
    EXPECT_EQ(e.samples()[k], source.evaluate(list[k], MAG_PHASE));
  }
  // MAG_PHASE results whatever type is asked for.
  EXPECT_EQ(e.evaluate(1.5e9, REAL_IMAG), source.evaluate(1.5e9, MAG_PHASE));
  EXPECT_NE(e.evaluate(1.5e9, REAL_IMAG), source.evaluate(1.5e9, REAL_IMAG));
  EXPECT_EQ(&e.sample(2.5e9), &e.samples()[0]);  // a repeated frequency: its first position
  EXPECT_TRUE(e.contains(3e9));
  EXPECT_FALSE(e.contains(2e9));

  std::vector<C> zref, s10;
  for (const double f : list) {
    zref.push_back(source.Zref(f, 0, MAG_PHASE));
    s10.push_back(source(f, 1, 0, MAG_PHASE));
  }
  EXPECT_EQ(e.Zref(0), zref);
  EXPECT_EQ(e(1, 0), s10);

  EXPECT_THROW_MSG(e.evaluate(2e9, MAG_PHASE), std::out_of_range,
                   "2e+09 Hz is not an evaluated frequency");
  EXPECT_THROW_MSG(e.sample(std::numeric_limits<double>::quiet_NaN()), std::out_of_range,
                   "nan Hz is not an evaluated frequency");
  EXPECT_THROW_MSG(e.Zref(2), std::runtime_error, "port index out of bounds");
  EXPECT_THROW_MSG(e(0, 2), std::runtime_error, "port index out of bounds");

  const std::unique_ptr<SMatrixEvaluator> copy(e.clone());
  EXPECT_EQ(copy->evaluate(3e9, MAG_PHASE), e.sample(3e9));
}

TEST(ContainerEvaluator, EmptyListAndFailures) {
  const SMatrixContainer c = three_samples();
  const SMatrixContainerEvaluator empty(c, {});
  EXPECT_TRUE(empty.is_symmetric());
  EXPECT_THROW_MSG(empty.from(), std::runtime_error, "empty container");
  EXPECT_THROW_MSG(empty.to(), std::runtime_error, "empty container");
  EXPECT_THROW_MSG(SMatrixContainerEvaluator(c, {1e9, 4e9}), std::runtime_error,
                   "4e+09 Hz does not belong to [1e+09, 3e+09] Hz");
}

}  // namespace
}  // namespace korvantix
