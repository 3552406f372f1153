#include "import/text_lines.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <cstring>

#include "import/import_support.hpp"
#include "io/pieces.hpp"
#include "test_support.hpp"

namespace korvantix::detail {
namespace {

// CRLF and LF ends, an empty line, a line longer than the smallest window and a last line
// without an end, read from memory and from sources that deliver a few bytes at a time.
TEST(TextLines, LinesFromMemoryAndFromAWindowSmallerThanALine) {
  const std::string long_line(300, 'x');
  const std::string text = "first\r\n\n" + long_line + "\r\nlast without end";
  const std::vector<std::string> expected = {"first", "", long_line, "last without end"};
  for (std::size_t piece : {0, 1, 3, 7, 4096}) {
    for (std::size_t capacity : {0, 4096}) {
      test::Pieces source(text, piece);
      Window window = piece == 0 ? Window(text) : Window(source, -1, capacity);
      LineReader lines(window, "t");
      std::vector<std::string> got;
      for (std::string_view line; lines.next(line);) {
        got.emplace_back(line);
        EXPECT_EQ(lines.number(), got.size());
      }
      EXPECT_EQ(got, expected) << piece << " " << capacity;
    }
  }
}

// An endless input without line ends (a device such as /dev/zero) ends in a message, not in an
// unbounded window.
TEST(TextLines, AnEndlessLineIsRefused) {
  struct Zeros final : ByteSource {
    std::size_t read(char* out, std::size_t n) override { return std::memset(out, 0, n), n; }
  } zeros;
  Window window(zeros, -1);
  LineReader lines(window, "zero.s2p");
  std::string_view line;
  EXPECT_THROW_MSG(lines.next(line), std::runtime_error,
                   "zero.s2p:1: expected a line of at most 67108864 bytes, found a longer one");
}

// Numbers are exact (compared with strtod's) and whole tokens.
TEST(TextLines, TokensNumbersAndCounts) {
  EXPECT_EQ(count_tokens(" a\t bb,c ,, d "), 4u);  // "bb,c" and ",," are tokens
  EXPECT_EQ(count_tokens(" a\t bb,c ,, d ", true), 4u);
  EXPECT_EQ(found(""), "end of line");
  EXPECT_EQ(found(std::string(41, 'x')), "\"" + std::string(40, 'x') + "...\"");
  for (const auto& row : testing_import::rows(R"(
0.10000000000000001 | 0.1
+1.0000000000000000e+09 | 1e9
-2.2250738585072014E-308 | -2.2250738585072014e-308
4.9406564584124654e-324 | 4.9406564584124654e-324
1.7976931348623157e308 | 1.7976931348623157e308
1. | 1
.5 | 0.5
-INF | -inf
nan | nan)")) {
    double v = 0.0;
    const double want = std::strtod(row[1].c_str(), nullptr);
    EXPECT_TRUE(parse_number(row[0], v) && (v == want || (std::isnan(v) && std::isnan(want))))
        << row[0];
  }
  double v = 0.0;
  for (const char* bad : {"", "+", "++1", "+-1", "1e", "1e400", "0x10", "1,5", "1.5.", "e5"})
    EXPECT_FALSE(parse_number(bad, v)) << bad;
  std::uint64_t n = 0;
  EXPECT_TRUE(parse_count("+18446744073709551615", n) && n == 18446744073709551615u);
  for (const char* bad : {"18446744073709551616", "-1", "1.0", ""})
    EXPECT_FALSE(parse_count(bad, n)) << bad;
}

}  // namespace
}  // namespace korvantix::detail
