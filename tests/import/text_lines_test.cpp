#include "import/text_lines.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <limits>
#include <string>
#include <string_view>
#include <vector>

#include "import/import_support.hpp"

namespace korvantix::detail {
namespace {

std::vector<std::string> all_lines(TextSource& source) {
  LineReader lines(source);
  std::vector<std::string> out;
  std::string_view line;
  while (lines.next(line)) {
    out.emplace_back(line);
    EXPECT_EQ(lines.number(), out.size());
  }
  return out;
}

TEST(TextLines, LinesFromMemoryAndFromAWindowSmallerThanALine) {
  const std::string text = "first\r\n\nthird line, longer than the window\r\nlast without end";
  const std::vector<std::string> expected = {"first", "", "third line, longer than the window",
                                             "last without end"};
  MemorySource memory(text);
  EXPECT_EQ(all_lines(memory), expected);
  const std::string path = testing_import::scratch_path("lines.txt");
  testing_import::write_text(path, text);
  for (std::size_t capacity : {0, 1, 3, 7, 4096}) {
    std::FILE* f = std::fopen(path.c_str(), "rb");
    ASSERT_NE(f, nullptr);
    FileSource source(f, capacity);
    EXPECT_EQ(all_lines(source), expected) << capacity;
    std::fclose(f);
  }
  std::remove(path.c_str());
}

TEST(TextLines, TokensAndHowMessagesShowThem) {
  EXPECT_EQ(count_tokens(" a\t bb,c ,, d "), 4u);  // "bb,c" and ",," are tokens
  EXPECT_EQ(count_tokens(" a\t bb,c ,, d ", true), 4u);
  EXPECT_EQ(found(""), "end of line");
  EXPECT_EQ(found(std::string(41, 'x')), "\"" + std::string(40, 'x') + "...\"");
}

TEST(TextLines, NumbersAreExactAndWholeTokens) {
  struct Case {
    const char* text;
    double value;
  };
  const Case good[] = {
      {"0.10000000000000001", 0.1},
      {"+1.0000000000000000e+09", 1e9},
      {"-2.2250738585072014E-308", -2.2250738585072014e-308},
      {"4.9406564584124654e-324", std::numeric_limits<double>::denorm_min()},
      {"1.7976931348623157e308", std::numeric_limits<double>::max()},
      {"1.", 1.0},
      {".5", 0.5},
      {"-INF", -std::numeric_limits<double>::infinity()},
  };
  for (const Case& c : good) {
    double v = 0.0;
    EXPECT_TRUE(parse_number(c.text, v)) << c.text;
    EXPECT_EQ(v, c.value) << c.text;
  }
  double v = 0.0;
  EXPECT_TRUE(parse_number("nan", v) && std::isnan(v));
  for (const char* bad : {"", "+", "++1", "+-1", "1e", "1e400", "0x10", "1,5", "1.5.", "e5"})
    EXPECT_FALSE(parse_number(bad, v)) << bad;
  std::uint64_t n = 0;
  EXPECT_TRUE(parse_count("+18446744073709551615", n) && n == 18446744073709551615u);
  for (const char* bad : {"18446744073709551616", "-1", "1.0", ""})
    EXPECT_FALSE(parse_count(bad, n)) << bad;
}

}  // namespace
}  // namespace korvantix::detail
