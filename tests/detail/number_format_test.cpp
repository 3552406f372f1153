#include "detail/number_format.hpp"

#include <gtest/gtest.h>

#include <cstdio>
#include <limits>
#include <locale>
#include <sstream>
#include <string>
#include <vector>

#include "double_samples.hpp"

namespace korvantix::detail {
namespace {

using test::varied_doubles;

constexpr double kInf = std::numeric_limits<double>::infinity();
constexpr double kNan = std::numeric_limits<double>::quiet_NaN();
constexpr int kPrecisions[] = {0, 1, 6, 16, 17};

std::string scientific(double x, int precision) {
  std::string out;
  append_scientific(out, x, precision);
  return out;
}

std::string general(double x, int precision) {
  std::string out;
  append_general(out, x, precision);
  return out;
}

std::string general_upper(double x, int precision) {
  std::string out;
  append_general_upper(out, x, precision);
  return out;
}

std::string printf_text(const char* format, double x, int precision) {
  std::vector<char> text(static_cast<std::size_t>(std::snprintf(nullptr, 0, format, precision, x)) +
                         1);
  std::snprintf(text.data(), text.size(), format, precision, x);
  return text.data();
}

// One reused stream per format: the reference the writers used to be built on.
class StreamReference {
 public:
  explicit StreamReference(bool scientific) {
    stream_.imbue(std::locale::classic());
    if (scientific) stream_ << std::scientific;
  }
  std::string operator()(double x, int precision) {
    stream_.str(std::string());
    stream_.precision(precision);
    stream_ << x;
    return stream_.str();
  }

 private:
  std::ostringstream stream_;
};

TEST(NumberFormat, ScientificKnownTexts) {
  EXPECT_EQ(scientific(1e9, 16), "1.0000000000000000e+09");
  EXPECT_EQ(scientific(1e9, 0), "1e+09");
  EXPECT_EQ(scientific(1.0, 16), "1.0000000000000000e+00");
  EXPECT_EQ(scientific(0.0, 16), "0.0000000000000000e+00");
  EXPECT_EQ(scientific(-0.0, 1), "-0.0e+00");
  EXPECT_EQ(scientific(1e-300, 1), "1.0e-300");
  EXPECT_EQ(scientific(2.5, 0), "2e+00");  // ties go to even, as printf rounds
  EXPECT_EQ(scientific(3.5, 0), "4e+00");
  EXPECT_EQ(scientific(kInf, 16), "inf");
  EXPECT_EQ(scientific(-kInf, 16), "-inf");
  EXPECT_EQ(scientific(kNan, 16), "nan");
  EXPECT_EQ(scientific(-kNan, 16), "-nan");
  EXPECT_EQ(scientific(1.5, -3), "1.500000e+00");  // a negative precision means 6
}

TEST(NumberFormat, GeneralKnownTexts) {
  EXPECT_EQ(general(50.0, 6), "50");
  EXPECT_EQ(general(1e9, 6), "1e+09");
  EXPECT_EQ(general(2.5e9, 6), "2.5e+09");
  EXPECT_EQ(general(0.1, 6), "0.1");
  EXPECT_EQ(general(1234.5, 0), "1e+03");  // 0 significant digits print as 1
  EXPECT_EQ(general(0.0001, 6), "0.0001");
  EXPECT_EQ(general(0.00001, 6), "1e-05");
  EXPECT_EQ(general(-kNan, 6), "-nan");

  EXPECT_EQ(general_upper(1e9, 17), "1000000000");
  EXPECT_EQ(general_upper(1.5e-7, 17), "1.4999999999999999E-07");
  EXPECT_EQ(general_upper(1.5e-7, 6), "1.5E-07");
  EXPECT_EQ(general_upper(1e300, 3), "1E+300");
  EXPECT_EQ(general_upper(kInf, 17), "INF");
  EXPECT_EQ(general_upper(-kInf, 17), "-INF");
  EXPECT_EQ(general_upper(kNan, 17), "NAN");
  EXPECT_EQ(general_upper(-kNan, 17), "-NAN");
  EXPECT_EQ(general_upper(0.75, 0), "0.8");

  std::string counts;
  append_count(counts, 0);
  counts += ' ';
  append_count(counts, std::numeric_limits<std::uint64_t>::max());
  EXPECT_EQ(counts, "0 18446744073709551615");
}

TEST(NumberFormat, AppendsToExistingText) {
  std::string out = "FREQ ";
  append_scientific(out, 1e9, 2);
  out += " Hz";
  EXPECT_EQ(out, "FREQ 1.00e+09 Hz");
}

const std::vector<double>& comparison_values() {
  static const std::vector<double> values = varied_doubles(test::kComparisonCount);
  return values;
}

// Builds the text of all comparison values, one per line, with the function under test and
// with the reference, and reports the first lines that differ.
template <class Ours, class Reference>
void expect_same_lines(int precision, Ours ours, Reference reference) {
  std::string actual;
  std::string expected;
  for (const double x : comparison_values()) {
    ours(actual, x);
    actual += '\n';
  }
  reference(expected);
  if (actual == expected) return;
  std::istringstream a(actual);
  std::istringstream e(expected);
  std::string line_a;
  std::string line_e;
  int reported = 0;
  for (std::size_t i = 0; std::getline(a, line_a) && std::getline(e, line_e) && reported < 5; ++i) {
    if (line_a != line_e) {
      ++reported;
      ADD_FAILURE() << "precision " << precision << " bits " << std::hex
                    << test::to_bits(comparison_values()[i]) << ": " << line_a << " != " << line_e;
    }
  }
  EXPECT_TRUE(reported > 0) << "texts differ in length only";
}

// The reference streams every value into one stream: the same formatting path as one value at
// a time, without a string copy per value.
void stream_all(std::string& expected, bool scientific, int precision) {
  std::ostringstream stream;
  stream.imbue(std::locale::classic());
  if (scientific) stream << std::scientific;
  stream.precision(precision);
  for (const double x : comparison_values())
    stream << x << '\n';
  expected = stream.str();
}

// One test per precision, each over the whole set of comparison values.
class NumberFormatComparison : public ::testing::TestWithParam<int> {};

TEST_P(NumberFormatComparison, ScientificMatchesStream) {
  const int precision = GetParam();
  expect_same_lines(
      precision, [&](std::string& out, double x) { append_scientific(out, x, precision); },
      [&](std::string& out) { stream_all(out, true, precision); });
}

TEST_P(NumberFormatComparison, GeneralMatchesStream) {
  const int precision = GetParam();
  expect_same_lines(
      precision, [&](std::string& out, double x) { append_general(out, x, precision); },
      [&](std::string& out) { stream_all(out, false, precision); });
}

TEST_P(NumberFormatComparison, GeneralUpperMatchesPrintf) {
  const int precision = GetParam();
  expect_same_lines(
      precision, [&](std::string& out, double x) { append_general_upper(out, x, precision); },
      [&](std::string& out) {
        char text[64];
        for (const double x : comparison_values()) {
          std::snprintf(text, sizeof text, "%.*G\n", precision, x);
          out += text;
        }
      });
}

INSTANTIATE_TEST_SUITE_P(Precisions, NumberFormatComparison, ::testing::ValuesIn(kPrecisions));

// Precisions past the directly formatted range are padded, not formatted: the padding must land
// before the exponent and the digits must still be the exact expansion.
TEST(NumberFormat, VeryLargePrecisionsMatchReference) {
  StreamReference stream_scientific(true);
  StreamReference stream_general(false);
  const double values[] = {std::numeric_limits<double>::denorm_min(),
                           -std::numeric_limits<double>::max(),
                           1e300,
                           0.1,
                           -0.0,
                           -kNan,
                           kInf,
                           1.0 / 3.0};
  for (const int precision :
       {kMaxDirectPrecision - 1, kMaxDirectPrecision, kMaxDirectPrecision + 1, 1500, 5000}) {
    for (const double x : values) {
      EXPECT_EQ(scientific(x, precision), stream_scientific(x, precision)) << precision;
      EXPECT_EQ(general(x, precision), stream_general(x, precision)) << precision;
      EXPECT_EQ(general_upper(x, precision), printf_text("%.*G", x, precision)) << precision;
    }
  }
}

TEST(NumberFormat, NegativePrecisionMeansSix) {
  StreamReference stream_scientific(true);
  StreamReference stream_general(false);
  for (const double x : {1.0 / 3.0, 1e9, -2.5e-7}) {
    EXPECT_EQ(scientific(x, -1), stream_scientific(x, -1));
    EXPECT_EQ(general(x, -7), stream_general(x, -7));
    EXPECT_EQ(general_upper(x, -2), printf_text("%.*G", x, -2));
  }
}

}  // namespace
}  // namespace korvantix::detail
