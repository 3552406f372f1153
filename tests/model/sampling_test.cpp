#include <korvantix/container.hpp>
#include <korvantix/model.hpp>

#include <gtest/gtest.h>

#include <cmath>
#include <cstddef>
#include <limits>
#include <stdexcept>
#include <vector>

#include "model/sampling.hpp"
#include "test_support.hpp"

namespace korvantix {
namespace {

const double kMax = std::numeric_limits<double>::max();

SMatrixContainer samples_at(const std::vector<double>& frequencies) {
  SMatrixContainer c(1);
  for (double f : frequencies)
    c.add(SMatrixSample(1, f));
  return c;
}

void expect_near_all(const std::vector<double>& actual, const std::vector<double>& expected) {
  ASSERT_EQ(actual.size(), expected.size());
  for (std::size_t k = 0; k < expected.size(); ++k) {
    EXPECT_NEAR(actual[k], expected[k], std::fabs(expected[k]) * 1e-12 + 1e-12) << "index " << k;
  }
}

TEST(BandSampler, LinearAndLogarithmicPoints) {
  const SMatrixModel band(0, 1e9, 2e9);
  expect_near_all(band.sample_frequencies(4, Linear, true), {1e9, 4e9 / 3, 5e9 / 3, 2e9});
  expect_near_all(band.sample_frequencies(2, Linear, false), {4e9 / 3, 5e9 / 3});
  EXPECT_EQ(band.sample_frequencies(1, Linear, false), std::vector<double>{1.5e9});
  expect_near_all(band.sample_frequencies(1, Logarithmic, false), {std::sqrt(2.0) * 1e9});
  // Endpoints are the band edges themselves, not computed points.
  const auto with_ends = band.sample_frequencies(5, Logarithmic, true);
  EXPECT_EQ(with_ends.front(), 1e9);
  EXPECT_EQ(with_ends.back(), 2e9);
  EXPECT_EQ(band.sample_frequencies(2, Linear, true), (std::vector<double>{1e9, 2e9}));

  // Below 1 Hz the geometric grid starts at 1 Hz, not at the band edge.
  expect_near_all(SMatrixModel(0, 0.0, 1e4).sample_frequencies(3, Logarithmic, false),
                  {10.0, 100.0, 1000.0});
  expect_near_all(SMatrixModel(0, 0.5, 1e4).sample_frequencies(3, Logarithmic, false),
                  {10.0, 100.0, 1000.0});
}

TEST(BandSampler, ZeroDegenerateAndRefusals) {
  const SMatrixModel band(0, 1e9, 2e9);
  EXPECT_TRUE(band.sample_frequencies(0, Linear, false).empty());
  EXPECT_TRUE(band.sample_frequencies(0, static_cast<SamplingType>(9), false).empty());
  EXPECT_THROW_MSG(band.sample_frequencies(0, Linear, true), std::runtime_error,
                   "it is not possible to obtain 0 samples over a range, including the endpoint");
  for (SamplingType t : {Linear, Logarithmic}) {
    EXPECT_THROW_MSG(band.sample_frequencies(1, t, true), std::runtime_error,
                     "unable to obtain 1 samples including the endpoints");
  }
  EXPECT_THROW_MSG(band.sample_frequencies(3, static_cast<SamplingType>(7), false),
                   std::runtime_error, "Sampling type 7 not supported");
  EXPECT_THROW_MSG(band.sample_frequencies(3, Adaptive, true), std::runtime_error,
                   "Sampling type 3 not supported");

  // The degenerate check comes before the type check.
  const SMatrixModel point(0, 1e9, 1e9);
  EXPECT_EQ(point.sample_frequencies(1, static_cast<SamplingType>(7), true),
            std::vector<double>{1e9});
  EXPECT_THROW_MSG(point.sample_frequencies(2, Linear, false), std::runtime_error,
                   "unable to obtain 2 different samples in degenerate frequency range "
                   "[1e+09 , 1e+09]");
}

TEST(ContainerPlan, DiscreteFrequenciesMergeSamplesAndBandEdges) {
  SMatrixContainer c = samples_at({3e9, 1e9, 5e9});
  c.add(SMatrixModel(1, 5e9, 6e9));
  c.add(SMatrixModel(1, 2e9, 2e9));
  EXPECT_EQ(c.discrete_frequencies(), (std::vector<double>{1e9, 2e9, 3e9, 5e9, 6e9}));
  EXPECT_EQ(c.minNbSamples(), 5u);
  EXPECT_TRUE(SMatrixContainer(2).discrete_frequencies().empty());
  EXPECT_EQ(SMatrixContainer(2).minNbSamples(), 0u);
}

TEST(ContainerPlan, CountRulesAndMessages) {
  const SMatrixContainer two = samples_at({1e9, 2e9});
  expect_near_all(two.sample_frequencies(4, Linear), {1e9, 4e9 / 3, 5e9 / 3, 2e9});
  EXPECT_TRUE(SMatrixContainer(1).sample_frequencies(0, static_cast<SamplingType>(42)).empty());

  SMatrixContainer c = samples_at({1e9, 2e9, 3e9});
  c.add(SMatrixModel(1, 4e9, 5e9));
  const std::vector<double> all{1e9, 2e9, 3e9, 4e9, 5e9};
  // As many points as there are samples yields the discrete set, even though it is larger.
  EXPECT_EQ(c.sample_frequencies(3, static_cast<SamplingType>(42)), all);
  EXPECT_EQ(c.sample_frequencies(3, Linear, 1.5e9, 4.5e9), (std::vector<double>{2e9, 3e9, 4e9}));
  EXPECT_EQ(c.sample_frequencies(3, Linear, 3.5e9, 3.7e9), std::vector<double>{});
  EXPECT_EQ(c.sample_frequencies(5, static_cast<SamplingType>(42)), all);
  // A bound outside the set is not added; equal bounds stay.
  EXPECT_EQ(c.sample_frequencies(2, Linear, 2e9, 3e9), (std::vector<double>{2e9, 3e9}));
  EXPECT_THROW_MSG(c.sample_frequencies(4, Linear), std::runtime_error,
                   "The container contains more discrete frequencies than the requested number "
                   "of frequencies");
  EXPECT_THROW_MSG(c.sample_frequencies(6, static_cast<SamplingType>(9)), std::runtime_error,
                   "Sampling type 9 not supported");
  EXPECT_THROW_MSG(c.sample_frequencies(4, Linear, 1.5e9, 2.5e9), std::runtime_error,
                   "Unable to obtain 4 samples:\nThe container contains only 1 discrete frequency");
  EXPECT_THROW_MSG(c.sample_frequencies(4, Linear, 3.2e9, 3.8e9), std::runtime_error,
                   "Unable to obtain 4 samples:\nThe container contains no discrete frequency "
                   "in [3.2e+09 , 3.8e+09]");
  for (SamplingType t : {Linear, Adaptive, static_cast<SamplingType>(9)}) {
    EXPECT_THROW_MSG(SMatrixContainer(2).sample_frequencies(2, t), std::runtime_error,
                     "Unable to obtain 2 samples:\nThe container is empty");
  }
}

TEST(ContainerPlan, LinearSharesGoToWidestGapsTiesToTheLowest) {
  // Widths 1 and 2, three extra points: proportional shares 1 and 2.
  expect_near_all(samples_at({0, 1, 3}).sample_frequencies(6, Linear),
                  {0, 0.5, 1, 5.0 / 3, 7.0 / 3, 3});
  // One extra point: shares 0 and 0, the wider gap gets it.
  EXPECT_EQ(samples_at({0, 1, 3}).sample_frequencies(4, Linear), (std::vector<double>{0, 1, 2, 3}));
  // Two extra: shares 0 and 1, then steps 1 and 1 tie and the lower gap wins.
  EXPECT_EQ(samples_at({0, 1, 3}).sample_frequencies(5, Linear),
            (std::vector<double>{0, 0.5, 1, 2, 3}));
  EXPECT_EQ(samples_at({0, 1, 2}).sample_frequencies(4, Linear),
            (std::vector<double>{0, 0.5, 1, 2}));
}

TEST(ContainerPlan, LogarithmicSharesFollowRatiosTiesToTheLowest) {
  const SMatrixContainer c = samples_at({1, 10, 1000});
  // Ratios 10 and 100, one extra point: the larger ratio wins.
  expect_near_all(c.sample_frequencies(4, Logarithmic), {1, 10, 100, 1000});
  // Two extra: shares 0 and 1, then step ratios 10 and 10 tie and the lower gap wins.
  expect_near_all(c.sample_frequencies(5, Logarithmic), {1, std::sqrt(10.0), 10, 100, 1000});
  // A gap starting at DC is spaced from 1 Hz.
  expect_near_all(samples_at({0, 1e4}).sample_frequencies(5, Logarithmic), {0, 10, 100, 1000, 1e4});
  // A gap wholly below 1 Hz takes no point (its share would be negative).
  expect_near_all(samples_at({0.1, 0.5, 100}).sample_frequencies(4, Logarithmic),
                  {0.1, 0.5, 10, 100});
  EXPECT_THROW_MSG(
      samples_at({0.1, 0.5}).sample_frequencies(3, Logarithmic), std::runtime_error,
      "Unable to obtain 3 samples:\nLogarithmic sampling needs frequencies above 1 Hz");
}

TEST(ContainerPlan, LinearLogarithmicSplitsAtTheBestSwitch) {
  // Switch at 1e6 with two logarithmic points (0 and 1e6), nine linear points from 1e6 up; the
  // shared switch frequency is kept once.
  const auto plan = samples_at({0, 1e6, 1e9}).sample_frequencies(10, LinearLogarithmic);
  std::vector<double> expected{0};
  for (int i = 0; i <= 8; ++i)
    expected.push_back(1e6 + i * (999e6 / 8));
  expect_near_all(plan, expected);
  EXPECT_EQ(plan[1], 1e6);
  EXPECT_EQ(plan.back(), 1e9);
}

TEST(ContainerPlan, LinearLogarithmicFallbackDropsTheBounds) {
  // The best switch is 2e9, the lowest frequency in range: the fallback samples all of
  // [1e9, 3e9] linearly although fmin was 1.5e9.
  const SMatrixContainer c = samples_at({1e9, 2e9, 3e9});
  EXPECT_EQ(c.sample_frequencies(4, LinearLogarithmic, 1.5e9),
            (std::vector<double>{1e9, 1.5e9, 2e9, 3e9}));
}

TEST(LinLogSearch, IntervalDifference) {
  // Logarithmic step below 100: 100 - 100 / 10 = 90; linear step above: (300 - 100) / 2.
  EXPECT_DOUBLE_EQ(detail::lin_log_interval_difference(2, 4, 1, 100, 300), 10.0);
  EXPECT_EQ(detail::lin_log_interval_difference(3, 3, 1, 100, 300), kMax);
}

TEST(LinLogSearch, NumberOfLogIntervals) {
  EXPECT_EQ(detail::optimal_number_of_log_intervals(2, 1, 100, 280, 1, 3),
            (std::pair<std::size_t, double>{0, kMax}));
  // d(1) = -39, d(3) > 0, d(2) = 180 / 2 - 90 = 0 exactly: found by bisection.
  EXPECT_EQ(detail::optimal_number_of_log_intervals(5, 1, 100, 280, 1, 3),
            (std::pair<std::size_t, double>{2, 0.0}));
  // d(1) = -24, d(2) = 60: at the last step the upper end wins whatever the magnitudes.
  const auto last_step = detail::optimal_number_of_log_intervals(4, 1, 100, 250, 1, 2);
  EXPECT_EQ(last_step.first, 2u);
  EXPECT_DOUBLE_EQ(last_step.second, 60.0);
  // Same sign at both ends: the smaller magnitude, d(1) = 100 / 3 against d(3) = 100.
  const auto same_sign = detail::optimal_number_of_log_intervals(5, 1, 1, 101, 1, 3);
  EXPECT_EQ(same_sign.first, 1u);
  EXPECT_DOUBLE_EQ(same_sign.second, 100.0 / 3);
  // An empty bracket ends at once instead of bisecting forever.
  EXPECT_EQ(detail::optimal_number_of_log_intervals(5, 1, 100, 1000, 3, 2).first, 2u);
}

TEST(LinLogSearch, SwitchFrequency) {
  const std::pair<double, std::size_t> none{-1.0, 0};
  EXPECT_EQ(detail::optimal_switch_frequency({}, 5), none);
  EXPECT_EQ(detail::optimal_switch_frequency({0.0}, 5), none);
  EXPECT_EQ(detail::optimal_switch_frequency({0.0, 0.5}, 5), none);
  EXPECT_EQ(detail::optimal_switch_frequency({0.0, 7.0}, 5), none);
  EXPECT_EQ(detail::optimal_switch_frequency({7.0}, 5), none);
  // More candidates than points: no plan keeps them all.
  EXPECT_EQ(detail::optimal_switch_frequency({1, 2, 3, 4, 5}, 3), none);
  EXPECT_EQ(detail::optimal_switch_frequency({0, 1e6, 1e9}, 10),
            (std::pair<double, std::size_t>{1e6, 2}));
  // Without DC the lowest frequency is itself the first candidate; with mismatches 1e9 and
  // 4.1e8 of equal sign the second candidate wins.
  EXPECT_EQ(detail::optimal_switch_frequency({1e9, 2e9, 3e9}, 4),
            (std::pair<double, std::size_t>{2e9, 3}));
}

TEST(DecadeGrid, RoundedDecadesInsideTheBand) {
  const SMatrixContainer c = samples_at({0.0, 2e10});
  const std::vector<double> grid = c.lf_sample_frequencies();
  ASSERT_EQ(grid.size(), 55u);
  const std::vector<double> head{1,     10,    100,   1000,  10000, 12589, 15849, 19953,
                                 25119, 31623, 39811, 50119, 63096, 79433, 100000};
  EXPECT_EQ(std::vector<double>(grid.begin(), grid.begin() + 15), head);
  EXPECT_EQ(grid[53], 794328235.0);
  EXPECT_EQ(grid.back(), 1e9);

  EXPECT_EQ(samples_at({500, 2e4}).lf_sample_frequencies(),
            (std::vector<double>{1000, 10000, 10024, 12619, 15887, 20000}));
  EXPECT_TRUE(samples_at({3e9, 2e10}).lf_sample_frequencies().empty());
  EXPECT_THROW_MSG(SMatrixContainer(1).lf_sample_frequencies(), std::runtime_error,
                   "empty container");
}

}  // namespace
}  // namespace korvantix
