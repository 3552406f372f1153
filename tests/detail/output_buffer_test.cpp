#include "detail/output_buffer.hpp"

#include <gtest/gtest.h>

#include <complex>
#include <cstdio>
#include <cstring>
#include <limits>
#include <memory>
#include <random>
#include <string>

#include "detail/number_format.hpp"

namespace korvantix::detail {
namespace {

using FilePtr = std::unique_ptr<std::FILE, int (*)(std::FILE*)>;

// The text `write` puts through a buffer into a string (handed over by the destructor); a
// buffer on a file must write the same bytes (handed over by flush).
template <class Write>
std::string through_buffers(Write write) {
  std::string sink;
  {
    OutputBuffer out(sink);
    write(out);
  }
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
      const std::uint64_t bits = random();
      double x;
      std::memcpy(&x, &bits, sizeof x);
      const int precision = static_cast<int>(n % 18);
      out.put('\t');
      out.scientific(x, precision);
      out.put(std::string_view(" , "));
      out.general_upper(x, precision);
      out.put(' ');
      out.general(x, precision);
      out.count(n * 2654435761u);
      out.raw(&x, sizeof x);
      out.complex({-x, x / 3}, precision);
      expected += '\t';
      append_scientific(expected, x, precision);
      expected += " , ";
      append_general_upper(expected, x, precision);
      expected += ' ';
      append_general(expected, x, precision);
      append_count(expected, n * 2654435761u);
      expected.append(reinterpret_cast<const char*>(&x), sizeof x);
      expected += '(';
      append_scientific(expected, -x, precision);
      expected += ',';
      append_scientific(expected, x / 3, precision);
      expected += ')';
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
    std::vector<char> text(static_cast<std::size_t>(std::snprintf(nullptr, 0, format, 5000, x)) +
                           1);
    std::snprintf(text.data(), text.size(), format, 5000, x);
    expected += text.data();
  }
  EXPECT_TRUE(expected + "|-inf" == through_buffers([&](OutputBuffer& out) {
                out.put("head");
                out.raw(block.data(), block.size());  // bigger than the buffer: goes out directly
                out.put('|');
                out.scientific(0.1,
                               5000);  // past the direct range: zeros padded before the exponent
                out.put('|');
                out.general(1e300, 5000);
                out.put('|');
                out.general_upper(-0.1, 5000);
                out.put('|');
                out.scientific(-std::numeric_limits<double>::infinity(), 5000);
              }));
}

// A stream opened for reading refuses every write: the text is lost without an error, at the
// explicit flush and at the destructor's.
TEST(OutputBuffer, FailedWritesAreNotReported) {
  const std::string path = ::testing::TempDir() + "korvantix_output_buffer_read_only";
  FilePtr(std::fopen(path.c_str(), "wb"), std::fclose);
  FilePtr read_only(std::fopen(path.c_str(), "rb"), std::fclose);
  ASSERT_NE(read_only, nullptr);
  {
    OutputBuffer out(read_only.get());
    out.put("text");
    EXPECT_NO_THROW(out.flush());
    out.put("more");
  }
  std::remove(path.c_str());
}

}  // namespace
}  // namespace korvantix::detail
