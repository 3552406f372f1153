#include <korvantix/container.hpp>
#include <korvantix/scalar.hpp>

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <complex>
#include <cstddef>
#include <stdexcept>
#include <vector>

#include "model/adaptive.hpp"
#include "test_support.hpp"

namespace korvantix {
namespace {

using C = std::complex<double>;
constexpr double kPi = 3.141592653589793;

TEST(AdaptivePlan, RefusalsComeFirst) {
  SMatrixContainer c(1);
  for (double f : {1e9, 2e9, 3e9})
    c.add(SMatrixSample(1, f));
  EXPECT_THROW_MSG(c.sample_frequencies_adaptively(2), std::runtime_error,
                   "The requested number of samples (=2) must be >= the number of discrete "
                   "samples (=3)");
  EXPECT_EQ(c.sample_frequencies_adaptively(3), (std::vector<double>{1e9, 2e9, 3e9}));
  // fmin and fmax are ignored for the adaptive type.
  EXPECT_EQ(c.sample_frequencies(3, Adaptive, 1.5e9, 2.5e9), (std::vector<double>{1e9, 2e9, 3e9}));

  SMatrixContainer one(1);
  one.add(SMatrixSample(1, 1e9));
  EXPECT_THROW_MSG(one.sample_frequencies_adaptively(2), std::runtime_error,
                   "only 1 sample available");
  EXPECT_THROW_MSG(one.sample_frequencies_adaptively(0), std::runtime_error,
                   "The requested number of samples (=0) must be >= the number of discrete "
                   "samples (=1)");
  EXPECT_EQ(one.sample_frequencies_adaptively(1), std::vector<double>{1e9});

  EXPECT_TRUE(SMatrixContainer(1).sample_frequencies_adaptively(0).empty());
  EXPECT_THROW_MSG(SMatrixContainer(1).sample_frequencies_adaptively(3), std::runtime_error,
                   "Unable to obtain 3 samples:\nThe container is empty");
}

TEST(AdaptivePlan, FlatFunctionIsBisectedEvenlyFromTheBottom) {
  const auto flat = [](double, detail::EntryValues& v) { v.assign(4, C(0.5, -0.5)); };
  // Equal deviations (none): the wider gap first, then the lower one.
  EXPECT_EQ(detail::adaptive_plan({0, 8}, 5, flat), (std::vector<double>{0, 2, 4, 6, 8}));
  EXPECT_EQ(detail::adaptive_plan({0, 8}, 4, flat), (std::vector<double>{0, 2, 4, 8}));
  EXPECT_EQ(detail::adaptive_plan({0, 1, 9}, 5, flat), (std::vector<double>{0, 1, 3, 5, 9}));
  // Gaps without a double strictly inside cannot be split: the plan stops short.
  const double next = std::nextafter(1.0, 2.0);
  EXPECT_EQ(detail::adaptive_plan({1.0, next}, 4, flat), (std::vector<double>{1.0, next}));
}

TEST(AdaptivePlan, SplitsWhereTheFunctionBends) {
  // Linear up to 5, constant above: interpolation is exact everywhere except across the kink,
  // so the splits close in on it where an even plan would give 0, 2, 4, 6, 8.
  const auto kink = [](double f, detail::EntryValues& v) { v.assign(1, C(std::min(f, 5.0), 0)); };
  EXPECT_EQ(detail::adaptive_plan({0, 8}, 5, kink), (std::vector<double>{0, 4, 5, 6, 8}));
}

TEST(AdaptivePlan, DeviationIsTheLargestDistanceFromThePolarInterpolation) {
  EXPECT_DOUBLE_EQ(detail::interpolation_deviation({C(0, 0), C(1, 0)}, {C(0, 0), C(3, 0)},
                                                   {C(0, 0.5), C(2, 0)}, 0.5),
                   0.5);
}

// A one-port resonator: two conjugate poles of quality factor 100 near 1.37 GHz, over a model
// band of 1 to 2 GHz (discrete frequencies: the band edges only).
SMatrixContainer resonator() {
  const double w0 = 2 * kPi * 1.37;  // scale 1e9: s = j * 2 pi * f / 1e9
  const double sigma = w0 / 200;
  const C pole(-sigma, w0);
  const PoleZeroModel h(1e9, {pole, std::conj(pole)}, {C(sigma, 0), C(sigma, 0)}, C(0.1, 0),
                        C(0, 0));
  SMatrixModel m(1, 1e9, 2e9);
  m.set(0, 0, &h);
  SMatrixContainer c(1);
  c.add(m);
  return c;
}

// The largest error of straight-line (real/imaginary) interpolation between the planned points
// against the container on a grid ten times finer than the largest planned gap needs.
double max_interpolation_error(const SMatrixContainer& c, const std::vector<double>& plan) {
  std::vector<C> at_plan;
  for (double f : plan)
    at_plan.push_back(c(f, 0, 0, MAG_PHASE));
  double worst = 0.0;
  for (int k = 0; k <= 20000; ++k) {
    const double f = 1e9 + k * 5e4;
    const std::size_t hi =
        static_cast<std::size_t>(std::upper_bound(plan.begin(), plan.end(), f) - plan.begin());
    if (hi == 0 || hi >= plan.size()) continue;
    const double w = (f - plan[hi - 1]) / (plan[hi] - plan[hi - 1]);
    const C line = (1 - w) * at_plan[hi - 1] + w * at_plan[hi];
    worst = std::max(worst, std::abs(line - c(f, 0, 0, MAG_PHASE)));
  }
  return worst;
}

TEST(AdaptivePlan, BeatsTheLinearPlanOnAResonance) {
  const SMatrixContainer c = resonator();
  for (std::size_t n : {41u, 81u}) {
    const std::vector<double> adaptive = c.sample_frequencies(n, Adaptive);
    const std::vector<double> linear = c.sample_frequencies(n, Linear);
    ASSERT_EQ(adaptive.size(), n);
    EXPECT_TRUE(std::is_sorted(adaptive.begin(), adaptive.end()));
    EXPECT_EQ(std::adjacent_find(adaptive.begin(), adaptive.end()), adaptive.end());
    EXPECT_EQ(adaptive.front(), 1e9);
    EXPECT_EQ(adaptive.back(), 2e9);
    const double e_adaptive = max_interpolation_error(c, adaptive);
    const double e_linear = max_interpolation_error(c, linear);
    EXPECT_LT(e_adaptive, 0.05 * e_linear)
        << n << " points: adaptive " << e_adaptive << ", linear " << e_linear;
  }
}

}  // namespace
}  // namespace korvantix
