// The number writers against printf and the number readers against a classic-locale stream,
// over hand-picked texts and over doubles of every class where number text goes wrong; the
// output buffer against the writers.

#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <locale>
#include <memory>
#include <random>
#include <sstream>
#include <string>
#include <tuple>
#include <vector>

#include "detail/number_format.hpp"
#include "detail/number_parse.hpp"
#include "detail/output_buffer.hpp"

namespace korvantix::detail {
namespace {

using C = std::complex<double>;
using U64 = std::uint64_t;

#ifdef NDEBUG
constexpr std::size_t kComparisonCount = 1'000'000;
#else
constexpr std::size_t kComparisonCount = 150'000;  // Debug builds are slow
#endif

double from_bits(U64 bits) {
  double x;
  std::memcpy(&x, &bits, sizeof x);
  return x;
}

// Random bit patterns (NaN payloads and infinities included), short decimals of every magnitude
// (powers of ten, subnormals, three-digit exponents) and their neighbours, binary fractions
// ending in a decimal 5 (exact rounding ties), full mantissas of moderate magnitude (where %g
// switches between fixed and exponent form), and the few special values.
std::vector<double> varied_doubles(std::size_t n, const std::vector<double>& few) {
  std::mt19937_64 random(20240611);
  std::vector<double> values(few);
  for (std::size_t i = 0; i < n; ++i) {
    const U64 bits = random(), r = random();
    const double sign = (bits >> 63) != 0 ? -1.0 : 1.0;
    const double decimal = std::strtod((std::to_string(r >> (bits % 64)) + "e" +
                                        std::to_string(static_cast<int>(bits % 640) - 330))
                                           .c_str(),
                                       nullptr);
    values.push_back(
        i % 5 == 0   ? from_bits(bits)
        : i % 5 == 1 ? sign * decimal
        : i % 5 == 2 ? sign * std::nextafter(decimal, (r & 1) != 0 ? 0.0 : HUGE_VAL)
        : i % 5 == 3 ? sign * std::ldexp(static_cast<double>(2 * (r % (1 << 20)) + 1),
                                         static_cast<int>(bits % 60) - 40)
                     : from_bits((bits & ~(U64{0xfff} << 52)) | ((1003 + r % 80) << 52)) * sign);
  }
  return values;
}

// What a reader made of a text: the value (and its bytes, so that -0 and the sign of a NaN
// count), how many bytes it consumed and whether it worked.
template <class T>
std::string outcome(T value, std::ptrdiff_t consumed, bool ok) {
  std::ostringstream out;
  out << value << (ok ? " ok" : " failed") << ", consumed " << consumed << ", bytes";
  unsigned char bytes[sizeof value];
  std::memcpy(bytes, &value, sizeof value);
  for (const unsigned char b : bytes)
    out << ' ' << static_cast<int>(b);
  return out.str();
}

struct Parse {
  static ParseResult of(const char* f, const char* l, double& v) { return parse_real(f, l, v); }
  static ParseResult of(const char* f, const char* l, C& v) { return parse_complex(f, l, v); }
  static ParseResult of(const char* f, const char* l, U64& v) { return parse_count(f, l, v); }
  static ParseResult of(const char* f, const char* l, int& v) { return parse_int(f, l, v); }
};

// The outcome of our reader on text, from the sentinel value.
template <class T>
std::string we_read(const std::string& text, T value) {
  const ParseResult r = Parse::of(text.data(), text.data() + text.size(), value);
  return outcome(value, r.ptr - text.data(), r.ok);
}

// Our reader against the stream on one text.
template <class T>
void agrees(const std::string& text, T value) {
  const std::string ours = we_read(text, value);
  std::istringstream in(text);
  in.imbue(std::locale::classic());
  in >> value;
  const bool ok = !in.fail();
  in.clear();
  const std::string stream = outcome(value, in.tellg(), ok);
  EXPECT_EQ(ours, stream) << '"' << text << '"';
}

// agrees() on every text of a list separated by '|'.
template <class T>
void all_agree(const std::string& list, T sentinel) {
  std::istringstream texts(list);
  for (std::string text; std::getline(texts, text, '|');)
    agrees(text, sentinel);
}

// Every writer against printf (a stream's scientific and default float output are printf's
// conversions too), appending to text already there: over the varied doubles at the usual
// precisions, and over a few values at negative precisions and at precisions around and far
// past the directly formatted range, where the padding must land before the exponent. One in
// fifteen finite texts at the usual precisions must read back as the stream reads it.
TEST(NumberText, WritersMatchPrintfAndReadBackAsTheStreamDoes) {
  std::vector<double> few;
  std::istringstream texts(
      "4.9e-324 -1.7976931348623157e308 2.2250738585072014e-308 1e300 0.1 -0 -nan inf 1.5 0 nan "
      "-inf 0.3333333333333333 -2.5e-7 1.5e-7 2.5 3.5 9.5 0.95 0.75 99999.5 1234.5 50 1e9 2.5e9 "
      "1e-5 1e-4 123456 1234567");
  for (std::string text; texts >> text;)
    few.push_back(std::strtod(text.c_str(), nullptr));
  const std::vector<double> values = varied_doubles(kComparisonCount, few);
  const std::pair<void (*)(std::string&, double, int), const char*> forms[] = {
      {append_scientific, "%.*e"}, {append_general, "%.*g"}, {append_general_upper, "%.*G"}};
  std::string ours, expected;
  std::size_t n = 0;
  for (const int precision : {0, 1, 6, 16, 17, -1, -7, kMaxDirectPrecision - 1, kMaxDirectPrecision,
                              kMaxDirectPrecision + 1, 1500, 5000}) {
    for (const auto& [append, format] : forms) {
      for (const double x : precision >= 0 && precision <= 17 ? values : few) {
        ours = "|";
        append(ours, x, precision);
        expected.assign(
            static_cast<std::size_t>(std::snprintf(nullptr, 0, format, precision, x)) + 1, '|');
        std::snprintf(&expected[1], expected.size(), format, precision, x);
        ASSERT_EQ(ours, expected) << format << " at " << precision;
        if (precision >= 0 && precision <= 17 && std::isfinite(x) && ++n % 15 == 0) {
          agrees(std::string(expected.c_str() + 1) + " ", -7.0);
          ASSERT_FALSE(HasFailure());
        }
      }
    }
  }
}

TEST(NumberText, OddRealTextsReadAsTheStreamReadsThem) {
  char largest[400];  // the largest double written out in full
  std::snprintf(largest, sizeof largest, "%.0f", std::numeric_limits<double>::max());
  all_agree(
      "| | "
      "\t\n\v\f\r|\b1|\0161|1e|1e+|1E-|.|-|+|+.5|-.5|-.|1.|5.e3|0x1p3|0X10|1.2.3|+-1|-+1|.e5|e5|"
      "-e5|1ee5|1e5.3|00.e1|000123.4500|1,5|1e+-5|  \r\n-17.25e-2 next|1e5x|1e400|-1e400|1e-400|"
      "-1e-400|4.9e-324|2.4703282292062328e-324|2.4703282292062327e-324|-2.4703282292062327e-324|"
      "2.2250738585072011e-308|1.7976931348623157e308|1.7976931348623158e308|"
      "1.7976931348623159e308|0.00000000001e319|1e-99999999999999999999|1e99999999999999999999|"
      "-0e99999999999999999999|0e-5|-0|9007199254740993|0.1000000000000000055511151231257827|i|"
      "+i|-x|(1)|" +
          std::string(largest) + "|" + largest + ".1|0." + std::string(400, '0') + "1" +
          std::string(800, '7') + "|1" + std::string(5000, '0') + "e-5000",
      -7.0);
}

// The writers print non-finite values, which a stream refuses; these spellings read back.
TEST(NumberText, NonFiniteSpellingsReadBack) {
  const double inf = std::numeric_limits<double>::infinity();
  const double nan = std::numeric_limits<double>::quiet_NaN();
  const std::tuple<const char*, double, int, bool> cases[] = {
      {"inf", inf, 3, true},        {"-inf", -inf, 4, true},
      {"+inf", inf, 4, true},       {"INF", inf, 3, true},
      {" Infinity,", inf, 9, true}, {"-infinit", -inf, 4, true},  // "inf", then "init"
      {"nan", nan, 3, true},        {"-nan", -nan, 4, true},      // the sign bit survives
      {"NAN)", nan, 3, true},       {"+NaN", nan, 4, true},
      {"in", 0.0, 0, false},        {"-in", 0.0, 1, false},
      {"na", 0.0, 0, false},        {"i nf", 0.0, 0, false}};
  for (const auto& [text, value, consumed, ok] : cases)
    EXPECT_EQ(we_read(text, -7.0), outcome(value, consumed, ok));
  EXPECT_EQ(we_read("(inf,-nan)", C(-7.0, -7.0)), outcome(C(inf, -nan), 10, true));
}

TEST(NumberText, ComplexAndIntegerFormsReadAsTheStreamReadsThem) {
  all_agree(
      "(1,2)|( 1 , 2 )|(\n1\t,\r2\n)|(1)|1|-5x|(1,2|(1;2)|(1,2]|(1 2)|(x)|(1,x)||  |(|)|(1e400,2)|"
      "(1,1e400)|(1,2)x|(1,)|(,1)|((1,2))|(1,2,3)|(-0,-0)|(1e-400,5)|(.5e1,-.)|(1.,2.)|(+1,+2)|"
      " ( 1 ) |(1e)",
      C(-7.0, -7.0));
  // "-1" is a count of 2^64 - 1 for the stream too: callers must bound counts anyway.
  const std::string integers =
      "0|007|+5|-1|-0|18446744073709551615|18446744073709551616|-18446744073709551615|"
      "-18446744073709551616|99999999999999999999999|2147483647|2147483648|-2147483648|"
      "-2147483649|9223372036854775807|9223372036854775808|-9223372036854775808|"
      "-9223372036854775809||  |x|-|+|- 1|0x5|12.5|1e3| \r\n42 43|\b1";
  all_agree(integers, U64{7});
  all_agree(integers, 7);
}

// Random short texts over the bytes that matter to the number grammars: whatever the stream
// does with them, the readers must do too.
TEST(NumberText, RandomTextsReadAsTheStreamReadsThem) {
  const std::string alphabet = "0123456789+-.eE ()\t,x";
  std::mt19937_64 random(99);
  for (std::size_t i = 0; i < kComparisonCount / 4 && !HasFailure(); ++i) {
    std::string text(random() % 12, ' ');
    for (char& c : text) {
      // Digits twice as likely, so that many texts are numbers or nearly numbers.
      const std::size_t pick = random() % (alphabet.size() + 10);
      c = pick < alphabet.size() ? alphabet[pick] : static_cast<char>('0' + pick % 10);
    }
    agrees(text, -7.0);
    agrees(text, C(-7.0, -7.0));
    agrees(text, U64{7});
    agrees(text, 7);
  }
}

using FilePtr = std::unique_ptr<std::FILE, int (*)(std::FILE*)>;

// The text `write` puts through a buffer into a string; a buffer on a file must write the same
// bytes.
template <class Write>
std::string through_buffers(Write write) {
  std::string sink;
  write(*std::make_unique<OutputBuffer>(sink));  // its destructor hands the rest over
  FilePtr file(std::tmpfile(), std::fclose);
  OutputBuffer out(file.get());
  write(out);
  out.flush();
  std::string from_file(sink.size() + 1, '\0');
  std::rewind(file.get());
  from_file.resize(std::fread(from_file.data(), 1, from_file.size(), file.get()));
  EXPECT_TRUE(from_file == sink);
  return sink;
}

// Every kind of item, enough of them to cross the buffer boundary many times; the expected
// text is built with the append_ functions alongside.
TEST(OutputBuffer, HoldsExactlyTheAppendedTextAcrossManyBlocks) {
  std::string expected;
  const std::string text = through_buffers([&](OutputBuffer& out) {
    expected.clear();
    std::mt19937_64 random(3);
    for (std::uint64_t n = 0; n < 60'000; ++n) {
      const double x = from_bits(random());
      const int precision = static_cast<int>(n % 18);
      out.put('\t');
      out.scientific(x, precision);
      out.put(std::string_view(" , "));
      out.general_upper(x, precision);
      out.general(x, precision);
      out.count(n * 2654435761u);
      out.raw(&x, sizeof x);
      expected += '\t';
      append_scientific(expected, x, precision);
      expected += " , ";
      append_general_upper(expected, x, precision);
      append_general(expected, x, precision);
      append_count(expected, n * 2654435761u);
      expected.append(reinterpret_cast<const char*>(&x), sizeof x);
    }
  });
  EXPECT_GT(text.size(), 4 * OutputBuffer::kCapacity);
  EXPECT_TRUE(text == expected);
  std::string sink;
  OutputBuffer(sink).complex({1e9, -0.0}, 16);
  EXPECT_EQ(sink, "(1.0000000000000000e+09,-0.0000000000000000e+00)");
}

TEST(OutputBuffer, LargeBlocksAndPrecisionsKeepTheirPlace) {
  const std::string block(OutputBuffer::kCapacity + 17, 'b');
  std::string expected = "head" + block;
  for (const auto& [format, x] : {std::pair("|%.*e", 0.1), {"|%.*g", 1e300}, {"|%.*G", -0.1}}) {
    std::string text(static_cast<std::size_t>(std::snprintf(nullptr, 0, format, 5000, x)), ' ');
    std::snprintf(text.data(), text.size() + 1, format, 5000, x);
    expected += text;
  }
  EXPECT_TRUE(expected + "|-inf|0|18446744073709551615" == through_buffers([&](OutputBuffer& out) {
                out.put("head");
                out.raw(block.data(), block.size());  // bigger than the buffer: goes out directly
                out.put('|');
                // past the direct range: zeros padded before the exponent
                out.scientific(0.1, 5000);
                out.put('|');
                out.general(1e300, 5000);
                out.put('|');
                out.general_upper(-0.1, 5000);
                out.put('|');
                out.scientific(-std::numeric_limits<double>::infinity(), 5000);
                out.put('|');
                out.count(0);
                out.put('|');
                out.count(std::numeric_limits<std::uint64_t>::max());
              }));
}

// A file open for reading refuses every write: the text is lost without an error.
TEST(OutputBuffer, FailedWritesAreNotReported) {
  FilePtr read_only(std::fopen("/dev/null", "rb"), std::fclose);
  ASSERT_NE(read_only, nullptr);
  OutputBuffer out(read_only.get());
  out.put("text");
  EXPECT_NO_THROW(out.flush());
  out.put("more");  // nor does the destructor's flush fail
}

}  // namespace
}  // namespace korvantix::detail
