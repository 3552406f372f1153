#include "detail/output_buffer.hpp"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <locale>
#include <sstream>
#include <string>
#include <vector>

#include "detail/number_format.hpp"
#include "double_samples.hpp"

namespace korvantix::detail {
namespace {

struct FileCloser {
  void operator()(std::FILE* f) const { std::fclose(f); }
};
using TempFile = std::unique_ptr<std::FILE, FileCloser>;

std::string contents(std::FILE* file) {
  std::rewind(file);
  std::string text;
  char block[4096];
  std::size_t n = 0;
  while ((n = std::fread(block, 1, sizeof block, file)) > 0)
    text.append(block, n);
  return text;
}

// Writes every kind of item, enough of them to cross the buffer boundary many times, and builds
// the same text with the append_ functions alongside.
std::string write_mix(OutputBuffer& out) {
  std::string expected;
  const std::vector<double> values = test::varied_doubles(60'000, 3);
  std::uint64_t n = 0;
  for (const double x : values) {
    const int precision = static_cast<int>(n % 18);
    out.put('\t');
    expected += '\t';
    out.scientific(x, precision);
    append_scientific(expected, x, precision);
    out.put(std::string_view(" , "));
    expected += " , ";
    out.general_upper(x, precision);
    append_general_upper(expected, x, precision);
    out.put(' ');
    expected += ' ';
    out.general(x, precision);
    append_general(expected, x, precision);
    out.count(n * 2654435761u);
    append_count(expected, n * 2654435761u);
    out.raw(&x, sizeof x);
    expected.append(reinterpret_cast<const char*>(&x), sizeof x);
    ++n;
  }
  return expected;
}

TEST(OutputBuffer, StringSinkHoldsExactlyTheAppendedText) {
  std::string sink;
  std::string expected;
  {
    OutputBuffer out(sink);
    expected = write_mix(out);
    EXPECT_GT(expected.size(), 4 * OutputBuffer::kCapacity);
  }  // the destructor hands over the rest
  EXPECT_EQ(sink.size(), expected.size());
  EXPECT_TRUE(sink == expected);
}

TEST(OutputBuffer, FileGetsTheSameBytesInOrder) {
  TempFile file(std::tmpfile());
  ASSERT_NE(file, nullptr);
  OutputBuffer out(file.get());
  const std::string expected = write_mix(out);
  out.flush();
  EXPECT_TRUE(contents(file.get()) == expected);
}

std::string printf_text(const char* format, double x, int precision) {
  std::vector<char> text(static_cast<std::size_t>(std::snprintf(nullptr, 0, format, precision, x)) +
                         1);
  std::snprintf(text.data(), text.size(), format, precision, x);
  return text.data();
}

TEST(OutputBuffer, LargeBlocksAndPrecisionsKeepTheirPlace) {
  std::string sink;
  const std::string block(OutputBuffer::kCapacity + 17, 'b');
  {
    OutputBuffer out(sink);
    out.put("head");
    out.raw(block.data(), block.size());  // bigger than the buffer: goes out directly
    out.put('|');
    out.scientific(0.1, 5000);  // past the direct range: zeros padded before the exponent
    out.put('|');
    out.general(1e300, 5000);
    out.put('|');
    out.general_upper(-0.1, 5000);
    out.put('|');
    out.scientific(-std::numeric_limits<double>::infinity(), 5000);
  }
  const std::string expected = "head" + block + "|" + printf_text("%.*e", 0.1, 5000) + "|" +
                               printf_text("%.*g", 1e300, 5000) + "|" +
                               printf_text("%.*G", -0.1, 5000) + "|-inf";
  EXPECT_TRUE(sink == expected);
}

TEST(OutputBuffer, ComplexMatchesScientificStreamInsertion) {
  const std::complex<double> values[] = {{1e9, -0.0},
                                         {-1.5e-300, std::numeric_limits<double>::infinity()},
                                         {std::numeric_limits<double>::quiet_NaN(), 0.1}};
  for (const int precision : {0, 16}) {
    std::string sink;
    std::ostringstream stream;
    stream.imbue(std::locale::classic());
    stream << std::scientific;
    stream.precision(precision);
    {
      OutputBuffer out(sink);
      for (const std::complex<double>& z : values) {
        out.complex(z, precision);
        stream << z;
      }
    }
    EXPECT_EQ(sink, stream.str());
  }
  std::string sink;
  OutputBuffer(sink).complex({1e9, -0.0}, 16);
  EXPECT_EQ(sink, "(1.0000000000000000e+09,-0.0000000000000000e+00)");
}

TEST(OutputBuffer, FailedWritesAreNotReported) {
  // A stream opened for reading refuses every write; the text is lost without an error.
  const std::string path = ::testing::TempDir() + "korvantix_output_buffer_read_only";
  TempFile(std::fopen(path.c_str(), "wb"));
  TempFile read_only(std::fopen(path.c_str(), "rb"));
  ASSERT_NE(read_only, nullptr);
  {
    OutputBuffer out(read_only.get());
    out.put("text");
    EXPECT_NO_THROW(out.flush());
    out.put("more");
  }  // nor does the destructor's flush throw
  std::remove(path.c_str());
}

}  // namespace
}  // namespace korvantix::detail
