#include "detail/number_parse.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <limits>
#include <locale>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "detail/number_format.hpp"
#include "double_samples.hpp"

namespace korvantix::detail {
namespace {

using test::to_bits;

// What a classic-locale istringstream makes of text: the value it stores (starting from a
// sentinel), how many bytes it consumed and whether it failed.
template <class T>
struct Outcome {
  T value;
  std::size_t consumed;
  bool ok;
};

template <class T>
Outcome<T> stream_reads(const std::string& text, T sentinel) {
  std::istringstream in(text);
  in.imbue(std::locale::classic());
  T value = sentinel;
  in >> value;
  const bool ok = !in.fail();
  in.clear();
  const auto position = in.tellg();
  return {value, position < 0 ? text.size() : static_cast<std::size_t>(position), ok};
}

template <class T, class Parse>
Outcome<T> we_read(const std::string& text, T sentinel, Parse parse) {
  T value = sentinel;
  const ParseResult result = parse(text.data(), text.data() + text.size(), value);
  return {value, static_cast<std::size_t>(result.ptr - text.data()), result.ok};
}

bool same(double a, double b) {
  return to_bits(a) == to_bits(b);
}
bool same(std::complex<double> a, std::complex<double> b) {
  return same(a.real(), b.real()) && same(a.imag(), b.imag());
}
template <class T>
bool same(T a, T b) {
  return a == b;
}

// Compares parser and stream on one text; returns false (and reports) on any difference.
template <class T, class Parse>
bool agrees(const std::string& text, T sentinel, Parse parse) {
  const Outcome<T> expected = stream_reads(text, sentinel);
  const Outcome<T> actual = we_read(text, sentinel, parse);
  if (same(expected.value, actual.value) && expected.consumed == actual.consumed &&
      expected.ok == actual.ok) {
    return true;
  }
  ADD_FAILURE() << "\"" << text << "\": stream read " << expected.value << " ok " << expected.ok
                << " consumed " << expected.consumed << ", parser read " << actual.value << " ok "
                << actual.ok << " consumed " << actual.consumed;
  return false;
}

const auto real = [](const char* f, const char* l, double& v) { return parse_real(f, l, v); };
const auto complex = [](const char* f, const char* l, std::complex<double>& v) {
  return parse_complex(f, l, v);
};
const auto count = [](const char* f, const char* l, std::uint64_t& v) {
  return parse_count(f, l, v);
};
const auto integer = [](const char* f, const char* l, int& v) { return parse_int(f, l, v); };

TEST(NumberParse, RealOddInputsMatchStream) {
  const std::string long_mantissa = "0." + std::string(400, '0') + "1" + std::string(800, '7');
  const char* texts[] = {
      "",
      " ",
      " \t\n\v\f\r",
      "1e",
      "1e+",
      "1E-",
      ".",
      "-",
      "+",
      "+.5",
      "-.5",
      "-.",
      "1.",
      "5.e3",
      "0x1p3",
      "0X10",
      "1.2.3",
      "+-1",
      "-+1",
      ".e5",
      "e5",
      "-e5",
      "1ee5",
      "1e5.3",
      "00.e1",
      "000123.4500",
      "1,5",
      "1e+-5",
      "  \r\n-17.25e-2 next",
      "1e5x",
      "1e400",
      "-1e400",
      "1e-400",
      "-1e-400",
      "4.9e-324",
      "2.4703282292062328e-324",
      "2.4703282292062327e-324",
      "-2.4703282292062327e-324",
      "2.2250738585072011e-308",
      "1.7976931348623157e308",
      "1.7976931348623158e308",
      "1.7976931348623159e308",
      "0.00000000001e319",
      "1e-99999999999999999999",
      "1e99999999999999999999",
      "-0e99999999999999999999",
      "0e-5",
      "-0",
      "9007199254740993",
      "0.1000000000000000055511151231257827",
      "17976931348623157081452742373170435679807056752584499659891747680315726078002853876058955"
      "86327668781715404589535143824642343213268894641827684675467035375169860499105765512820762"
      "45490090389328944075868508455133942304583236903222948165808559332123348274797826204144723"
      "168738177180919299881250404026184124858368",
      "1797693134862315708145274237317043567980705675258449965989174768031572607800285387605895586"
      "327668781715404589535143824642343213268894641827684675467035375169860499105765512820762454"
      "900903893289440758685084551339423045832369032229481658085593321233482747978262041447231687"
      "38177180919299881250404026184124858368.1",
      "i",
      "+i",
      "-x",
      "(1)"};
  for (const char* text : texts)
    agrees<double>(text, -7.0, real);
  agrees<double>(long_mantissa, -7.0, real);
  agrees<double>("1" + std::string(5000, '0') + "e-5000", -7.0, real);
}

// The writers print non-finite values, which a stream refuses; these spellings read back.
TEST(NumberParse, RealReadsNonFiniteSpellings) {
  struct Case {
    const char* text;
    double value;
    std::size_t consumed;
    bool ok;
  };
  const double inf = std::numeric_limits<double>::infinity();
  const double nan = std::numeric_limits<double>::quiet_NaN();
  const Case cases[] = {
      {"inf", inf, 3, true},        {"-inf", -inf, 4, true},
      {"+inf", inf, 4, true},       {"INF", inf, 3, true},
      {" Infinity,", inf, 9, true}, {"-infinit", -inf, 4, true},  // "inf", then "init"
      {"nan", nan, 3, true},        {"-nan", -nan, 4, true},
      {"NAN)", nan, 3, true},       {"+NaN", nan, 4, true},
      {"in", 0.0, 0, false},        {"-in", 0.0, 1, false},
      {"na", 0.0, 0, false},        {"i nf", 0.0, 0, false},
  };
  for (const Case& c : cases) {
    const Outcome<double> read = we_read<double>(c.text, -7.0, real);
    EXPECT_TRUE(same(read.value, c.value)) << c.text << " read " << read.value;
    EXPECT_EQ(read.consumed, c.consumed) << c.text;
    EXPECT_EQ(read.ok, c.ok) << c.text;
  }
  // Signs of NaN survive: "-nan" and "nan" differ exactly in the sign bit.
  EXPECT_TRUE(std::signbit(we_read<double>("-nan", 0.0, real).value));
  EXPECT_FALSE(std::signbit(we_read<double>("nan", 0.0, real).value));
}

TEST(NumberParse, RealMatchesStreamOnPrintedValues) {
  const std::vector<double> values = test::varied_doubles(test::kComparisonCount, 7);
  const int precisions[] = {0, 1, 6, 16, 17};
  std::istringstream in;
  in.imbue(std::locale::classic());
  std::string text;
  std::size_t mismatches = 0;
  for (std::size_t i = 0; i < values.size(); ++i) {
    if (std::isnan(values[i]) || std::isinf(values[i])) continue;  // the stream refuses them
    const int precision = precisions[i % 5];
    text.clear();
    switch (i / 5 % 3) {
      case 0:
        append_scientific(text, values[i], precision);
        break;
      case 1:
        append_general(text, values[i], precision);
        break;
      default:
        append_general_upper(text, values[i], precision);
        break;
    }
    text += ' ';
    in.clear();
    in.str(text);
    double expected = -7.0;
    in >> expected;
    const bool expected_ok = !in.fail();
    in.clear();
    const auto expected_consumed = static_cast<std::ptrdiff_t>(in.tellg());
    double actual = -7.0;
    const ParseResult result = parse_real(text.data(), text.data() + text.size(), actual);
    if ((!same(actual, expected) || result.ok != expected_ok ||
         result.ptr - text.data() != expected_consumed) &&
        ++mismatches <= 5) {
      ADD_FAILURE() << "\"" << text << "\": parser " << actual << ", stream " << expected;
    }
  }
  EXPECT_EQ(mismatches, 0u);
}

// Random short texts over the bytes that matter to the number grammars: whatever the stream
// does with them, the parsers must do too (value, bytes consumed, failure).
TEST(NumberParse, RandomTextsMatchStream) {
  const std::string alphabet = "0123456789+-.eE ()\t,x";
  std::mt19937_64 random(99);
#ifdef NDEBUG
  constexpr int kTexts = 200'000;
#else
  constexpr int kTexts = 40'000;
#endif
  int failures = 0;
  for (int i = 0; i < kTexts && failures < 10; ++i) {
    std::string text(random() % 12, ' ');
    for (char& c : text) {
      // Digits twice as likely, so that many texts are numbers or nearly numbers.
      const std::size_t pick = random() % (alphabet.size() + 10);
      c = pick < alphabet.size() ? alphabet[pick] : static_cast<char>('0' + pick % 10);
    }
    failures += !agrees<double>(text, -7.0, real);
    failures += !agrees<std::complex<double>>(text, {-7.0, -7.0}, complex);
    failures += !agrees<std::uint64_t>(text, 7, count);
    failures += !agrees<int>(text, 7, integer);
  }
  EXPECT_EQ(failures, 0);
}

TEST(NumberParse, ComplexFormsMatchStream) {
  const char* texts[] = {
      "(1,2)",   "( 1 , 2 )", "(\n1\t,\r2\n)", "(1)",        "1",         "-5x",     "(1,2",
      "(1;2)",   "(1,2]",     "(1 2)",         "(x)",        "(1,x)",     "",        "  ",
      "(",       ")",         "(1e400,2)",     "(1,1e400)",  "(1,2)x",    "(1,)",    "(,1)",
      "((1,2))", "(1,2,3)",   "(-0,-0)",       "(1e-400,5)", "(.5e1,-.)", "(1.,2.)", "(+1,+2)",
      " ( 1 ) ", "(1e)"};
  for (const char* text : texts)
    agrees<std::complex<double>>(text, {-7.0, -7.0}, complex);
}

TEST(NumberParse, ComplexReadsWrittenNonFiniteParts) {
  std::complex<double> value;
  const std::string text = "(inf,-nan)";
  const ParseResult result = parse_complex(text.data(), text.data() + text.size(), value);
  EXPECT_TRUE(result.ok);
  EXPECT_EQ(result.ptr, text.data() + text.size());
  EXPECT_EQ(value.real(), std::numeric_limits<double>::infinity());
  EXPECT_TRUE(std::isnan(value.imag()) && std::signbit(value.imag()));
}

TEST(NumberParse, IntegersMatchStream) {
  const char* texts[] = {"0",
                         "007",
                         "+5",
                         "-1",
                         "-0",
                         "18446744073709551615",
                         "18446744073709551616",
                         "-18446744073709551615",
                         "-18446744073709551616",
                         "99999999999999999999999",
                         "2147483647",
                         "2147483648",
                         "-2147483648",
                         "-2147483649",
                         "9223372036854775807",
                         "9223372036854775808",
                         "-9223372036854775808",
                         "-9223372036854775809",
                         "",
                         "  ",
                         "x",
                         "-",
                         "+",
                         "- 1",
                         "0x5",
                         "12.5",
                         "1e3",
                         " \r\n42 43"};
  for (const char* text : texts) {
    agrees<std::uint64_t>(text, 7, count);
    agrees<int>(text, 7, integer);
  }
}

// A reader takes "-1" for a count of 2^64 - 1 exactly as the stream does; the callers bound
// counts by what the input can hold, so this is where that absurd value comes from.
TEST(NumberParse, NegativeCountWrapsAsTheStreamDoes) {
  std::uint64_t value = 0;
  const std::string text = "-1";
  const ParseResult result = parse_count(text.data(), text.data() + text.size(), value);
  EXPECT_TRUE(result.ok);
  EXPECT_EQ(value, std::numeric_limits<std::uint64_t>::max());
}

TEST(NumberParse, SkipsExactlyTheStreamsWhiteSpace) {
  for (int c = 0; c < 256; ++c) {
    const std::string text{static_cast<char>(c), '5'};
    std::istringstream in(text);
    in.imbue(std::locale::classic());
    in >> std::ws;
    const bool stream_skips = in.tellg() == 1;
    EXPECT_EQ(is_space(static_cast<char>(c)), stream_skips) << c;
    EXPECT_EQ(skip_space(text.data(), text.data() + 2) == text.data() + 1, stream_skips) << c;
  }
}

}  // namespace
}  // namespace korvantix::detail
