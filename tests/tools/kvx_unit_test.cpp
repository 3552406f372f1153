// The arithmetic of kvx's pictures and argument helpers, against values worked out by hand.

#include "chart.hpp"
#include "common.hpp"
#include "drawing.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "test_support.hpp"

namespace {

using namespace kvx;

TEST(Drawing, NiceAxisChoosesOneTwoFiveStepsAndRoundLimits) {
  struct Case {
    double lo, hi;
    int target;
    double first, last, step;
  };
  for (const Case& c :
       std::vector<Case>{{0, 1, 6, 0, 1, 0.2},          // raw 0.167 -> 0.2
                         {-53.7, 0, 6, -60, 0, 10},     // raw 8.95 -> 10, limit widened to -60
                         {1.5, 3.5, 8, 1.5, 3.5, 0.5},  // raw 0.25 -> 0.5, limits already multiples
                         {3.5, 1.5, 8, 1.5, 3.5, 0.5},  // reversed input
                         {5, 5, 6, 4.4, 5.6, 0.2},    // empty range widened by a tenth: [4.5, 5.5]
                         {0, 0, 6, -1, 1, 0.5},       // empty range at zero widened by 1
                         {-700, 0, 6, -800, 0, 200},  // raw 116.7 -> 200
                         {1e-3, 1.1e-3, 5, 1e-3, 1.1e-3, 2e-5}}) {
    const Axis axis = nice_axis(c.lo, c.hi, c.target);
    EXPECT_NEAR(axis.step, c.step, c.step * 1e-12) << c.lo << ' ' << c.hi;
    EXPECT_NEAR(axis.first, c.first, c.step * 1e-9) << c.lo << ' ' << c.hi;
    EXPECT_NEAR(axis.last, c.last, c.step * 1e-9) << c.lo << ' ' << c.hi;
  }
  // Ticks are computed, not accumulated, and a hair off zero prints as 0.
  const std::vector<double> ticks = nice_axis(-0.3, 0.3, 6).ticks();
  ASSERT_EQ(ticks.size(), 7u);
  EXPECT_EQ(ticks[3], 0.0);
  EXPECT_EQ(tick_label(ticks[3], 0.1), "0");
}

TEST(Drawing, TickLabelsUseTheDecimalsOfTheStep) {
  EXPECT_EQ(tick_label(2.5, 0.5) + ' ' + tick_label(2.0, 0.5) + ' ' + tick_label(-10, 10) + ' ' +
                tick_label(1e-17, 0.1) + ' ' + tick_label(-1e-17, 0.25) + ' ' +
                tick_label(0.00125, 0.00025),
            "2.5 2.0 -10 0 0 0.0013");
}

TEST(Drawing, EngineeringUnitsAndFrequencyTexts) {
  struct Case {
    double magnitude, divisor;
    const char* unit;
  };
  for (const Case& c : std::vector<Case>{{999, 1, "Hz"},
                                         {1000, 1e3, "kHz"},
                                         {2.4e9, 1e9, "GHz"},
                                         {-5e6, 1e6, "MHz"},
                                         {3e15, 1e12, "THz"},
                                         {0, 1, "Hz"}}) {
    const UnitScale scale = engineering_unit(c.magnitude, "Hz");
    EXPECT_EQ(scale.divisor, c.divisor) << c.magnitude;
    EXPECT_EQ(scale.unit, c.unit) << c.magnitude;
  }
  EXPECT_EQ(
      format_frequency(2.4e9) + ", " + format_frequency(1.2345678e6) + ", " + format_frequency(50),
      "2.4 GHz, 1.23457 MHz, 50 Hz");
}

TEST(Drawing, LogTicksLabelDecadesAndFallBackBelowOneDecade) {
  const std::vector<LogTick> ticks = log_ticks(1e6, 1e8);
  ASSERT_EQ(ticks.size(), 19u);  // 1..9 x 1e6, 1..9 x 1e7, 1e8
  EXPECT_TRUE(ticks[0].labelled);
  EXPECT_FALSE(ticks[1].labelled);
  EXPECT_DOUBLE_EQ(ticks[1].value, 2e6);
  EXPECT_TRUE(ticks[9].labelled);
  EXPECT_DOUBLE_EQ(ticks[18].value, 1e8);
  const std::vector<LogTick> narrow = log_ticks(1.5e9, 3.5e9);  // nice_axis: 0.5e9 steps
  ASSERT_EQ(narrow.size(), 5u);
  EXPECT_DOUBLE_EQ(narrow[0].value, 1.5e9);
  EXPECT_DOUBLE_EQ(narrow[4].value, 3.5e9);
}

TEST(Drawing, UnwrapKeepsEachStepWithinHalfATurn) {
  EXPECT_EQ(unwrap_degrees({170, -170, -10, 170, 180}),
            (std::vector<double>{170, 190, 350, 530, 540}));
  EXPECT_EQ(unwrap_degrees({-179, 179, 0}), (std::vector<double>{-179, -181, -360}));
  EXPECT_TRUE(unwrap_degrees({}).empty());
}

TEST(Drawing, DecimationKeepsTheEnvelopeOfEachPixelColumn) {
  // Columns of width 10: {0, 3, 5, 9} keep first, low (3), high (5) and last; {12} alone;
  // {20, 21} first and last only, the low and high being among them.
  const std::vector<std::pair<double, double>> points{{0, 1}, {3, -4}, {4, 0},  {5, 7},
                                                      {9, 2}, {12, 0}, {20, 5}, {21, 6}};
  EXPECT_EQ(decimate(points, [](double x) { return static_cast<long>(x / 10); }),
            (std::vector<std::pair<double, double>>{
                {0, 1}, {3, -4}, {5, 7}, {9, 2}, {12, 0}, {20, 5}, {21, 6}}));
  // High before low keeps their order.
  EXPECT_EQ(decimate({{0, 0}, {1, 5}, {2, 1}, {3, -5}, {4, 2}}, [](double) { return 0L; }),
            (std::vector<std::pair<double, double>>{{0, 0}, {1, 5}, {3, -5}, {4, 2}}));
}

TEST(Drawing, SmithCirclesPassThroughTheirDefiningPoints) {
  // r = 1 passes through the centre and the open circuit; x = -2 through -j2's rim point.
  const Circle r1 = resistance_circle(1), x2 = reactance_circle(-2);
  EXPECT_EQ(std::make_tuple(r1.cx, r1.cy, r1.r, x2.cx, x2.cy, x2.r),
            std::make_tuple(0.5, 0.0, 0.5, 1.0, -0.5, 0.5));
  const auto [re, im] = reactance_on_rim(-2);  // (-2j - 1) / (-2j + 1) = (3 - 4j) / 5
  EXPECT_DOUBLE_EQ(re, 0.6);
  EXPECT_DOUBLE_EQ(im, -0.8);
  EXPECT_NEAR(std::hypot(re - x2.cx, im - x2.cy), x2.r, 1e-15);
  EXPECT_EQ(reactance_on_rim(1), (std::pair<double, double>(0.0, 1.0)));
}

TEST(Arguments, FrequenciesTakeEngineeringSuffixes) {
  for (const auto& [text, hertz] : std::vector<std::pair<const char*, double>>{{"2.4GHz", 2.4e9},
                                                                               {"500 MHz", 5e8},
                                                                               {"1e9", 1e9},
                                                                               {"10k", 1e4},
                                                                               {"3Hz", 3},
                                                                               {"0.5THz", 5e11},
                                                                               {"7 hz", 7}})
    EXPECT_EQ(parse_frequency(text), hertz) << text;
  for (const char* text : {"2.4XHz", "-1GHz", "", "GHz", "1e9 Hz Hz", "nan", "5m"})
    EXPECT_THROW_MSG(parse_frequency(text), UsageError, std::string("invalid frequency ") + text);
}

TEST(Arguments, EntriesByNameAndTheDefaults) {
  const auto entries = parse_entries("S21,s11,S1_12", 12, false);
  ASSERT_EQ(entries.size(), 3u);
  EXPECT_EQ(std::make_tuple(entries[0].row, entries[0].column, entries[2].row, entries[2].column),
            std::make_tuple(1u, 0u, 0u, 11u));
  EXPECT_EQ(entry_name(9, 10, 12), "S10_11");
  EXPECT_EQ(entry_name(1, 0, 2), "S21");
  EXPECT_EQ(parse_entries("", 5, false).size(), 16u);
  EXPECT_EQ(parse_entries("", 3, true).size(), 6u);  // on and below the diagonal
  for (const auto& [list, message] : std::vector<std::pair<const char*, const char*>>{
           {"S2", "invalid entry S2"},
           {"X21", "invalid entry X21"},
           {"S21,,S11", "invalid entry "},
           {"S0_1", "invalid entry S0_1"},
           {"S31", "entry S31 needs 3 ports, the network has 2"}})
    EXPECT_THROW_MSG(parse_entries(list, 2, false), UsageError, message);
}

TEST(Chart, TextIsEscapedForXml) {
  EXPECT_EQ(escape_xml("a<b & \"c\" 'd'>"), "a&lt;b &amp; &quot;c&quot; &apos;d&apos;&gt;");
}

}  // namespace
