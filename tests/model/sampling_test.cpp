#include <algorithm>
#include <cmath>
#include <cstddef>

#include "model/adaptive.hpp"
#include "model/model_test_support.hpp"
#include "model/sampling.hpp"

namespace korvantix {
namespace {

using namespace testing;
const double kMax = std::numeric_limits<double>::max();
constexpr double kPi = 3.141592653589793;
const auto kSeven = static_cast<SamplingType>(7), kNine = static_cast<SamplingType>(9);

void expect_near_all(const Freqs& actual, const Freqs& expected) {
  ASSERT_EQ(actual.size(), expected.size());
  for (std::size_t k = 0; k < expected.size(); ++k)
    EXPECT_NEAR(actual[k], expected[k], std::fabs(expected[k]) * 1e-12 + 1e-12) << "index " << k;
}

TEST(BandSampler, PointsDegenerateBandsAndRefusals) {
  const SMatrixModel band(0, 1e9, 2e9), point(0, 1e9, 1e9);
  expect_near_all(band.sample_frequencies(4, Linear, true), {1e9, 4e9 / 3, 5e9 / 3, 2e9});
  expect_near_all(band.sample_frequencies(2, Linear, false), {4e9 / 3, 5e9 / 3});
  EXPECT_EQ(band.sample_frequencies(1, Linear, false), Freqs{1.5e9});
  expect_near_all(band.sample_frequencies(1, Logarithmic, false), {std::sqrt(2.0) * 1e9});
  // Endpoints are the band edges themselves, not computed points.
  const Freqs with_ends = band.sample_frequencies(5, Logarithmic, true);
  EXPECT_EQ(std::make_pair(with_ends.front(), with_ends.back()), std::make_pair(1e9, 2e9));
  EXPECT_EQ(band.sample_frequencies(2, Linear, true), (Freqs{1e9, 2e9}));
  // Below 1 Hz the geometric grid starts at 1 Hz, not at the band edge.
  for (double from : {0.0, 0.5}) {
    expect_near_all(SMatrixModel(0, from, 1e4).sample_frequencies(3, Logarithmic, false),
                    {10.0, 100.0, 1000.0});
  }
  EXPECT_TRUE(band.sample_frequencies(0, Linear, false).empty());
  EXPECT_TRUE(band.sample_frequencies(0, kNine, false).empty());
  // The degenerate check comes before the type check.
  EXPECT_EQ(point.sample_frequencies(1, kSeven, true), Freqs{1e9});
  const char* one = "unable to obtain 1 samples including the endpoints";
  expect_throws({
      {[&] { band.sample_frequencies(0, Linear, true); },
       "it is not possible to obtain 0 samples over a range, including the endpoint"},
      {[&] { band.sample_frequencies(1, Linear, true); }, one},
      {[&] { band.sample_frequencies(1, Logarithmic, true); }, one},
      {[&] { band.sample_frequencies(3, kSeven, false); }, "Sampling type 7 not supported"},
      {[&] { band.sample_frequencies(3, Adaptive, true); }, "Sampling type 3 not supported"},
      {[&] { point.sample_frequencies(2, Linear, false); },
       "unable to obtain 2 different samples in degenerate frequency range [1e+09 , 1e+09]"},
  });
}

TEST(ContainerPlan, DiscreteFrequenciesCountRulesAndMessages) {
  SMatrixContainer c = samples_at({3e9, 1e9, 5e9});
  c.add(SMatrixModel(1, 5e9, 6e9));
  c.add(SMatrixModel(1, 2e9, 2e9));
  EXPECT_EQ(c.discrete_frequencies(), (Freqs{1e9, 2e9, 3e9, 5e9, 6e9}));
  EXPECT_EQ(c.minNbSamples(), 5u);
  EXPECT_TRUE(SMatrixContainer(2).discrete_frequencies().empty());
  EXPECT_EQ(SMatrixContainer(2).minNbSamples(), 0u);

  expect_near_all(samples_at({1e9, 2e9}).sample_frequencies(4, Linear),
                  {1e9, 4e9 / 3, 5e9 / 3, 2e9});
  EXPECT_TRUE(SMatrixContainer(1).sample_frequencies(0, static_cast<SamplingType>(42)).empty());
  SMatrixContainer d = samples_at({1e9, 2e9, 3e9});
  d.add(SMatrixModel(1, 4e9, 5e9));
  const Freqs all{1e9, 2e9, 3e9, 4e9, 5e9};
  // As many points as there are samples yields the discrete set, even though it is larger.
  EXPECT_EQ(d.sample_frequencies(3, static_cast<SamplingType>(42)), all);
  EXPECT_EQ(d.sample_frequencies(5, static_cast<SamplingType>(42)), all);
  EXPECT_EQ(d.sample_frequencies(3, Linear, 1.5e9, 4.5e9), (Freqs{2e9, 3e9, 4e9}));
  EXPECT_EQ(d.sample_frequencies(3, Linear, 3.5e9, 3.7e9), Freqs{});
  // A bound outside the set is not added; equal bounds stay.
  EXPECT_EQ(d.sample_frequencies(2, Linear, 2e9, 3e9), (Freqs{2e9, 3e9}));
  const std::string unable = "Unable to obtain 4 samples:\nThe container contains ",
                    unable_2 = "Unable to obtain 2 samples:\nThe container ";
  EXPECT_THROW_MSG(d.sample_frequencies(4, Linear), RE,
                   "The container contains more discrete frequencies than the requested number "
                   "of frequencies");
  EXPECT_THROW_MSG(d.sample_frequencies(6, kNine), RE, "Sampling type 9 not supported");
  EXPECT_THROW_MSG(d.sample_frequencies(4, Linear, 1.5e9, 2.5e9), RE,
                   unable + "only 1 discrete frequency");
  EXPECT_THROW_MSG(d.sample_frequencies(4, Linear, 3.2e9, 3.8e9), RE,
                   unable + "no discrete frequency in [3.2e+09 , 3.8e+09]");
  for (SamplingType t : {Linear, Adaptive, kNine})
    EXPECT_THROW_MSG(SMatrixContainer(2).sample_frequencies(2, t), RE, unable_2 + "is empty");
}

TEST(ContainerPlan, SharesGoToWidestGapsTiesToTheLowest) {
  // Linear: widths 1 and 2, three extra points: proportional shares 1 and 2.
  expect_near_all(samples_at({0, 1, 3}).sample_frequencies(6, Linear),
                  {0, 0.5, 1, 5.0 / 3, 7.0 / 3, 3});
  // One extra point: shares 0 and 0, the wider gap gets it. Two extra: shares 0 and 1, then
  // steps 1 and 1 tie and the lower gap wins.
  EXPECT_EQ(samples_at({0, 1, 3}).sample_frequencies(4, Linear), (Freqs{0, 1, 2, 3}));
  EXPECT_EQ(samples_at({0, 1, 3}).sample_frequencies(5, Linear), (Freqs{0, 0.5, 1, 2, 3}));
  EXPECT_EQ(samples_at({0, 1, 2}).sample_frequencies(4, Linear), (Freqs{0, 0.5, 1, 2}));
  // Logarithmic: ratios 10 and 100, one extra point: the larger ratio wins. Two extra: shares
  // 0 and 1, then step ratios 10 and 10 tie and the lower gap wins.
  const SMatrixContainer c = samples_at({1, 10, 1000});
  expect_near_all(c.sample_frequencies(4, Logarithmic), {1, 10, 100, 1000});
  expect_near_all(c.sample_frequencies(5, Logarithmic), {1, std::sqrt(10.0), 10, 100, 1000});
  // A gap starting at DC is spaced from 1 Hz; a gap wholly below 1 Hz takes no point.
  expect_near_all(samples_at({0, 1e4}).sample_frequencies(5, Logarithmic), {0, 10, 100, 1000, 1e4});
  expect_near_all(samples_at({0.1, 0.5, 100}).sample_frequencies(4, Logarithmic),
                  {0.1, 0.5, 10, 100});
  EXPECT_THROW_MSG(
      samples_at({0.1, 0.5}).sample_frequencies(3, Logarithmic), RE,
      "Unable to obtain 3 samples:\nLogarithmic sampling needs frequencies above 1 Hz");
}

TEST(ContainerPlan, LinearLogarithmicSplitsAtTheBestSwitch) {
  // Switch at 1e6 with two logarithmic points (0 and 1e6), nine linear points from 1e6 up; the
  // shared switch frequency is kept once.
  const Freqs plan = samples_at({0, 1e6, 1e9}).sample_frequencies(10, LinearLogarithmic);
  Freqs expected{0};
  for (int i = 0; i <= 8; ++i)
    expected.push_back(1e6 + i * (999e6 / 8));
  expect_near_all(plan, expected);
  EXPECT_EQ(std::make_pair(plan[1], plan.back()), std::make_pair(1e6, 1e9));
  // The fallback drops the bounds: the best switch is 2e9, the lowest frequency in range, so
  // all of [1e9, 3e9] is sampled linearly although fmin was 1.5e9.
  EXPECT_EQ(samples_at({1e9, 2e9, 3e9}).sample_frequencies(4, LinearLogarithmic, 1.5e9),
            (Freqs{1e9, 1.5e9, 2e9, 3e9}));
}

TEST(LinLogSearch, IntervalDifferenceLogIntervalsAndSwitchFrequency) {
  // Logarithmic step below 100: 100 - 100 / 10 = 90; linear step above: (300 - 100) / 2.
  EXPECT_DOUBLE_EQ(detail::lin_log_interval_difference(2, 4, 1, 100, 300), 10.0);
  EXPECT_EQ(detail::lin_log_interval_difference(3, 3, 1, 100, 300), kMax);
  using Count = std::pair<std::size_t, double>;
  EXPECT_EQ(detail::optimal_number_of_log_intervals(2, 1, 100, 280, 1, 3), (Count{0, kMax}));
  // d(1) = -39, d(3) > 0, d(2) = 180 / 2 - 90 = 0 exactly: found by bisection.
  EXPECT_EQ(detail::optimal_number_of_log_intervals(5, 1, 100, 280, 1, 3), (Count{2, 0.0}));
  // d(1) = -24, d(2) = 60: at the last step the upper end wins whatever the magnitudes.
  const Count last_step = detail::optimal_number_of_log_intervals(4, 1, 100, 250, 1, 2);
  EXPECT_EQ(last_step.first, 2u);
  EXPECT_DOUBLE_EQ(last_step.second, 60.0);
  // Same sign at both ends: the smaller magnitude, d(1) = 100 / 3 against d(3) = 100.
  const Count same_sign = detail::optimal_number_of_log_intervals(5, 1, 1, 101, 1, 3);
  EXPECT_EQ(same_sign.first, 1u);
  EXPECT_DOUBLE_EQ(same_sign.second, 100.0 / 3);
  // An empty bracket ends at once instead of bisecting forever.
  EXPECT_EQ(detail::optimal_number_of_log_intervals(5, 1, 100, 1000, 3, 2).first, 2u);

  using Switch = std::pair<double, std::size_t>;
  // Too few candidates, or more candidates than points (no plan keeps them all): none.
  for (const Freqs& f : {Freqs{}, {0.0}, {0.0, 0.5}, {0.0, 7.0}, {7.0}})
    EXPECT_EQ(detail::optimal_switch_frequency(f, 5), (Switch{-1.0, 0})) << f.size();
  EXPECT_EQ(detail::optimal_switch_frequency({1, 2, 3, 4, 5}, 3), (Switch{-1.0, 0}));
  EXPECT_EQ(detail::optimal_switch_frequency({0, 1e6, 1e9}, 10), (Switch{1e6, 2}));
  // Without DC the lowest frequency is itself the first candidate; with mismatches 1e9 and
  // 4.1e8 of equal sign the second candidate wins.
  EXPECT_EQ(detail::optimal_switch_frequency({1e9, 2e9, 3e9}, 4), (Switch{2e9, 3}));
}

TEST(DecadeGrid, RoundedDecadesInsideTheBand) {
  const Freqs grid = samples_at({0.0, 2e10}).lf_sample_frequencies();
  ASSERT_EQ(grid.size(), 55u);
  EXPECT_EQ(Freqs(grid.begin(), grid.begin() + 15),
            (Freqs{1, 10, 100, 1000, 10000, 12589, 15849, 19953, 25119, 31623, 39811, 50119, 63096,
                   79433, 100000}));
  EXPECT_EQ(std::make_pair(grid[53], grid.back()), std::make_pair(794328235.0, 1e9));
  EXPECT_EQ(samples_at({500, 2e4}).lf_sample_frequencies(),
            (Freqs{1000, 10000, 10024, 12619, 15887, 20000}));
  EXPECT_TRUE(samples_at({3e9, 2e10}).lf_sample_frequencies().empty());
  EXPECT_THROW_MSG(SMatrixContainer(1).lf_sample_frequencies(), RE, "empty container");
}

TEST(AdaptivePlan, RefusalsComeFirst) {
  const SMatrixContainer c = samples_at({1e9, 2e9, 3e9}), one = samples_at({1e9});
  EXPECT_THROW_MSG(c.sample_frequencies_adaptively(2), RE,
                   "The requested number of samples (=2) must be >= the number of discrete "
                   "samples (=3)");
  EXPECT_EQ(c.sample_frequencies_adaptively(3), (Freqs{1e9, 2e9, 3e9}));
  // fmin and fmax are ignored for the adaptive type.
  EXPECT_EQ(c.sample_frequencies(3, Adaptive, 1.5e9, 2.5e9), (Freqs{1e9, 2e9, 3e9}));
  EXPECT_THROW_MSG(one.sample_frequencies_adaptively(2), RE, "only 1 sample available");
  EXPECT_THROW_MSG(one.sample_frequencies_adaptively(0), RE,
                   "The requested number of samples (=0) must be >= the number of discrete "
                   "samples (=1)");
  EXPECT_EQ(one.sample_frequencies_adaptively(1), Freqs{1e9});
  EXPECT_TRUE(SMatrixContainer(1).sample_frequencies_adaptively(0).empty());
  EXPECT_THROW_MSG(SMatrixContainer(1).sample_frequencies_adaptively(3), RE,
                   "Unable to obtain 3 samples:\nThe container is empty");
}

TEST(AdaptivePlan, SplitsWhereTheFunctionBends) {
  const auto flat = [](double, detail::EntryValues& v) { v.assign(4, C(0.5, -0.5)); };
  // Equal deviations (none): the wider gap first, then the lower one.
  EXPECT_EQ(detail::adaptive_plan({0, 8}, 5, flat), (Freqs{0, 2, 4, 6, 8}));
  EXPECT_EQ(detail::adaptive_plan({0, 8}, 4, flat), (Freqs{0, 2, 4, 8}));
  EXPECT_EQ(detail::adaptive_plan({0, 1, 9}, 5, flat), (Freqs{0, 1, 3, 5, 9}));
  // Gaps without a double strictly inside cannot be split: the plan stops short.
  const double next = std::nextafter(1.0, 2.0);
  EXPECT_EQ(detail::adaptive_plan({1.0, next}, 4, flat), (Freqs{1.0, next}));
  // Linear up to 5, constant above: interpolation is exact everywhere except across the kink,
  // so the splits close in on it where an even plan would give 0, 2, 4, 6, 8.
  const auto kink = [](double f, detail::EntryValues& v) { v.assign(1, C(std::min(f, 5.0), 0)); };
  EXPECT_EQ(detail::adaptive_plan({0, 8}, 5, kink), (Freqs{0, 4, 5, 6, 8}));
  // The deviation is the largest distance from the polar interpolation.
  EXPECT_DOUBLE_EQ(detail::interpolation_deviation({C(0, 0), C(1, 0)}, {C(0, 0), C(3, 0)},
                                                   {C(0, 0.5), C(2, 0)}, 0.5),
                   0.5);
}

// The largest error of straight-line (real/imaginary) interpolation between the planned points
// against the container on a grid ten times finer than the largest planned gap needs.
double max_interpolation_error(const SMatrixContainer& c, const Freqs& plan) {
  std::vector<C> at_plan;
  for (double f : plan)
    at_plan.push_back(c(f, 0, 0, MAG_PHASE));
  double worst = 0.0;
  for (int k = 0; k <= 20000; ++k) {
    const double f = 1e9 + k * 5e4;
    const auto hi =
        static_cast<std::size_t>(std::upper_bound(plan.begin(), plan.end(), f) - plan.begin());
    if (hi == 0 || hi >= plan.size()) continue;
    const double w = (f - plan[hi - 1]) / (plan[hi] - plan[hi - 1]);
    worst = std::max(worst,
                     std::abs((1 - w) * at_plan[hi - 1] + w * at_plan[hi] - c(f, 0, 0, MAG_PHASE)));
  }
  return worst;
}

TEST(AdaptivePlan, BeatsTheLinearPlanOnAResonance) {
  // A one-port resonator: two conjugate poles of quality factor 100 near 1.37 GHz, over a model
  // band of 1 to 2 GHz (discrete frequencies: the band edges only).
  const double w0 = 2 * kPi * 1.37, sigma = w0 / 200;  // scale 1e9: s = j * 2 pi * f / 1e9
  const C pole(-sigma, w0);
  const PoleZeroModel h(1e9, {pole, std::conj(pole)}, {C(sigma, 0), C(sigma, 0)}, C(0.1, 0), 0.0);
  SMatrixModel m(1, 1e9, 2e9);
  m.set(0, 0, &h);
  SMatrixContainer c(1);
  c.add(m);
  for (std::size_t n : {41u, 81u}) {
    const Freqs adaptive = c.sample_frequencies(n, Adaptive),
                linear = c.sample_frequencies(n, Linear);
    ASSERT_EQ(adaptive.size(), n);
    EXPECT_TRUE(std::is_sorted(adaptive.begin(), adaptive.end()));
    EXPECT_EQ(std::adjacent_find(adaptive.begin(), adaptive.end()), adaptive.end());
    EXPECT_EQ(std::make_pair(adaptive.front(), adaptive.back()), std::make_pair(1e9, 2e9));
    const double e_adaptive = max_interpolation_error(c, adaptive);
    const double e_linear = max_interpolation_error(c, linear);
    EXPECT_LT(e_adaptive, 0.05 * e_linear)
        << n << " points: adaptive " << e_adaptive << ", linear " << e_linear;
  }
}

}  // namespace
}  // namespace korvantix
