#include <korvantix/container.hpp>
#include <korvantix/scalar.hpp>

#include <gtest/gtest.h>

#include <complex>
#include <stdexcept>
#include <vector>

#include "test_support.hpp"

namespace korvantix {
namespace {

using C = std::complex<double>;

// Samples every 1e8 Hz from 1e9 to 2e9 and a model over [3e9, 4e9], all asymmetric.
SMatrixContainer mixed() {
  SMatrixContainer c(2);
  for (int k = 10; k <= 20; ++k) {
    SMatrixSample s(2, k * 1e8);
    s.S() = {C(k, 1), C(-k, 2), C(1, k), C(k * 0.5, -k)};
    s.Zref() = {C(50, k), C(50, -k)};
    c.add(s);
  }
  SMatrixModel m(2, 3e9, 4e9);
  const PolynomialModel p(C(1, 1), C(1e-9, 0));
  m.set(1, 0, &p);
  c.add(m);
  return c;
}

TEST(ContainerLoad, MatchesEvaluateInListOrderForAnyThreadCount) {
  const SMatrixContainer c = mixed();
  const SMatrixContainer copy = c;
  std::vector<double> freqs;
  for (int k = 0; k < 300; ++k) {  // shuffled, inside [1e9, 2e9) and [3e9, 4e9)
    const int r = (k * 37) % 300;
    freqs.push_back(r < 150 ? 1e9 + r * 6e6 : 3e9 + (r - 150) * 6e6);
  }
  for (const std::size_t threads : {0, 1, 2, 3, 16, 1000}) {
    std::vector<SMatrixSample> samples(5, SMatrixSample(1, 7.0));
    c.load(freqs, samples, threads);
    ASSERT_EQ(samples.size(), freqs.size());
    for (std::size_t k = 0; k < freqs.size(); ++k) {
      ASSERT_EQ(samples[k], c.evaluate(freqs[k], MAG_PHASE)) << threads << " threads, " << k;
    }
  }
  EXPECT_EQ(c, copy);
  std::vector<SMatrixSample> samples(3);
  c.load({}, samples, 4);
  EXPECT_TRUE(samples.empty());
}

TEST(ContainerLoad, SymmetricContainerUsesSymmetricEvaluation) {
  // Rational models compare equal whatever their scale, so this model counts as symmetric
  // although S(1, 0) evaluates differently from S(0, 1).
  SMatrixContainer c(2);
  SMatrixModel m(2, 1e9, 2e9);
  const RationalModel upper({C(1, 0)}, {C(1, 0), C(1, 0)}, 1e9),
      lower({C(1, 0)}, {C(1, 0), C(1, 0)}, 2e9);
  m.set(0, 1, &upper);
  m.set(1, 0, &lower);
  c.add(m);
  ASSERT_TRUE(c.is_symmetric());
  std::vector<SMatrixSample> samples;
  c.load({1.5e9}, samples, 2);
  EXPECT_EQ(samples[0](1, 0), samples[0](0, 1));
  EXPECT_NE(samples[0](1, 0), c.evaluate(1.5e9, MAG_PHASE)(1, 0));
}

TEST(ContainerLoad, FirstErrorReachesTheCallerAfterAllThreadsStop) {
  const SMatrixContainer c = mixed();
  std::vector<double> freqs(2000, 1.5e9);
  for (const std::size_t bad : {std::size_t{0}, std::size_t{999}, freqs.size() - 1}) {
    std::vector<double> list = freqs;
    list[bad] = 5e9;
    for (const std::size_t threads : {1, 2, 8}) {
      std::vector<SMatrixSample> samples(1, SMatrixSample(1, 7.0));
      EXPECT_THROW_MSG(c.load(list, samples, threads), std::runtime_error,
                       "5e+09 Hz does not belong to [1e+09, 4e+09] Hz");
      EXPECT_EQ(samples, std::vector<SMatrixSample>(1, SMatrixSample(1, 7.0)));  // untouched
    }
  }
}

TEST(ContainerLoad, RandomPoleZeroModels) {
  SMatrixContainer c(3, {{"Gamma", 1}});
  EXPECT_THROW_MSG(c.load_random_pole_zero_models(1e9, 2e9, 3, 5), std::runtime_error,
                   "nbZeros must be identical to nbPoles, nbPoles + 1 or nbPoles = 2");
  EXPECT_THROW_MSG(c.load_random_pole_zero_models(1e9, 2e9, 3, 2), std::runtime_error,
                   "nbZeros must be identical to nbPoles, nbPoles + 1 or nbPoles = 2");
  EXPECT_THROW_MSG(c.load_random_pole_zero_models(2e9, 1e9, 3, 3), std::runtime_error,
                   "invalid frequency range [2e+09 , 1e+09]");
  EXPECT_TRUE(c.empty());

  c.load_random_pole_zero_models(1e9, 2e9, 5, 6);
  ASSERT_EQ(c.nbModels(), 1u);
  const SMatrixModel& m = *c.begin_models();
  EXPECT_EQ(m.getFrequencyRange(), std::make_pair(1e9, 2e9));
  EXPECT_TRUE(c.is_symmetric());
  for (std::size_t k = 0; k < 9; ++k) {
    const auto& entry = dynamic_cast<const PoleZeroModel&>(*m.S()[k]);
    ASSERT_EQ(entry.nbPoles(), 5u);
    ASSERT_EQ(entry.residues().size(), 5u);
    for (const C& pole : entry.poles())
      EXPECT_LT(pole.real(), 0.0);             // stable
    EXPECT_NE(entry.linearFactor(), C(0, 0));  // nbPoles + 1 zeros
  }
  EXPECT_EQ(m.Zref(1.5e9, 2), C(50, 0));
  EXPECT_EQ(m({"Gamma", 1}).type(), ScalarModel::PoleZero);

  SMatrixContainer again(3, {{"Gamma", 1}});
  again.load_random_pole_zero_models(1e9, 2e9, 5, 6);
  EXPECT_EQ(again, c);  // the same seed every time
  EXPECT_THROW_MSG(c.load_random_pole_zero_models(1.5e9, 3e9, 2, 2), std::runtime_error,
                   "S-matrix model at [1.5e+09 , 3e+09] Hz overlaps with an existing model at "
                   "[1e+09 , 2e+09] Hz");

  // Zero counts: nbPoles -> constant term only; two poles accept any count, strictly proper
  // unless the count is 2 or 3.
  SMatrixContainer one(1);
  one.load_random_pole_zero_models(1e9, 2e9, 4, 4);
  one.load_random_pole_zero_models(3e9, 4e9, 2, 0);
  auto model = one.begin_models();
  const auto& proper = dynamic_cast<const PoleZeroModel&>((*model)(0, 0));
  EXPECT_NE(proper.constantFactor(), C(0, 0));
  EXPECT_EQ(proper.linearFactor(), C(0, 0));
  const auto& strict = dynamic_cast<const PoleZeroModel&>((*++model)(0, 0));
  EXPECT_EQ(strict.constantFactor(), C(0, 0));
  EXPECT_EQ(strict.linearFactor(), C(0, 0));
  EXPECT_EQ(strict.nbPoles(), 2u);
}

}  // namespace
}  // namespace korvantix
