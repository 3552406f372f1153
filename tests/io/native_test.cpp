#include <korvantix/container.hpp>
#include <korvantix/io.hpp>
#include <korvantix/scalar.hpp>

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <locale>
#include <stdexcept>
#include <string>

#include "io/ascii_writer.hpp"
#include "io_test_support.hpp"
#include "test_support.hpp"

namespace korvantix {
namespace {

using test::C;

// A host locale that prints 1,5 and groups thousands, installed globally for one test.
struct CommaPunct : std::numpunct<char> {
  char do_decimal_point() const override { return ','; }
  char do_thousands_sep() const override { return '.'; }
  std::string do_grouping() const override { return "\3"; }
};

class GlobalLocale {
 public:
  GlobalLocale() : old_(std::locale::global(std::locale(std::locale::classic(), new CommaPunct))) {}
  ~GlobalLocale() { std::locale::global(old_); }

 private:
  std::locale old_;
};

TEST(NativeFiles, RoundTripsEveryKindOfContent) {
  const SMatrixContainer original = test::rich_container();
  for (const FileFormat format : {ASCII, BINARY}) {
    const std::string path = test::scratch("roundtrip.kvx");
    write(original, path.c_str(), format);
    SMatrixContainer back(5);
    read(back, path.c_str());
    test::expect_same_container(original, back);
  }
}

TEST(NativeFiles, AsciiRewriteIsByteIdentical) {
  SMatrixContainer c = test::rich_container();
  SMatrixSample odd(2, 7e9, c.port_data_names());
  odd.S() = {C(std::nan(""), -std::nan("")), C(-0.0, 1e-310), C(1.0 / 3, 2.0 / 3),
             C(std::numeric_limits<double>::max(), std::numeric_limits<double>::denorm_min())};
  c.add(odd);
  const std::string first = test::scratch("first.kvx");
  const std::string second = test::scratch("second.kvx");
  write(c, first.c_str(), ASCII);
  SMatrixContainer back;
  read_ascii(back, first.c_str());
  write_ascii(back, second.c_str(), 16);
  EXPECT_EQ(test::read_bytes(first), test::read_bytes(second));
  // The rational model's scale takes no part in its equality; the bytes show it came back.
  EXPECT_EQ(dynamic_cast<const RationalModel&>(back.begin_models()->operator()(0, 1)).scale(), 1e9);
}

TEST(NativeFiles, IndependentOfTheGlobalLocale) {
  const SMatrixContainer c = test::rich_container();
  const std::string classic = test::scratch("classic.kvx");
  write(c, classic.c_str(), ASCII);
  GlobalLocale comma;
  const std::string local = test::scratch("comma.kvx");
  write(c, local.c_str(), ASCII);
  EXPECT_EQ(test::read_bytes(classic), test::read_bytes(local));
  SMatrixContainer back;
  read(back, local.c_str());
  test::expect_same_container(c, back);
  EXPECT_THROW_MSG(read(back, "/nonexistent-dir/1234.kvx"), std::runtime_error,
                   "Unable to read </nonexistent-dir/1234.kvx>");
}

TEST(NativeFiles, WritesTheRequestedVariantOnly) {
  const SMatrixContainer c = test::rich_container();
  const std::string path = test::scratch("variant.kvx");
  for (const int format : {0, 3, -1}) {
    EXPECT_NO_THROW(write(c, path.c_str(), static_cast<FileFormat>(format)));
    EXPECT_FALSE(std::ifstream(path).good()) << format;
  }
  write(c, path.c_str(), ASCII);
  std::string expected;
  {
    detail::OutputBuffer out(expected);
    detail::format_ascii(c, out, 16);
  }
  EXPECT_EQ(test::read_bytes(path), expected);
  EXPECT_TRUE(is_ascii(path.c_str()));
  EXPECT_FALSE(is_binary(path.c_str()));
  write(c, path.c_str(), BINARY);
  EXPECT_TRUE(is_binary(path.c_str()));
  EXPECT_FALSE(is_ascii(path.c_str()));
}

TEST(NativeFiles, DetectionAndPortNames) {
  const SMatrixContainer c = test::rich_container();
  const std::string ascii = test::scratch("names.kvx");
  const std::string binary = test::scratch("names.kvxb");
  write(c, ascii.c_str(), ASCII);
  write(c, binary.c_str(), BINARY);
  for (const std::string& path : {ascii, binary}) {
    EXPECT_TRUE(can_read(path.c_str()));
    std::vector<std::string> names = {"x"};
    readPortNames(names, path.c_str());
    EXPECT_EQ(names, (std::vector<std::string>{"x", "in <a<b>c> port", "out"}));
  }

  const std::string empty = test::scratch("empty.kvx");
  test::write_bytes(empty, "");
  EXPECT_FALSE(can_read(empty.c_str()));
  const std::string other = test::scratch("other.kvx");
  test::write_bytes(other, "ASCII KORVANTI");
  EXPECT_FALSE(can_read(other.c_str()));
  SMatrixContainer back;
  std::vector<std::string> names;
  EXPECT_THROW_MSG(read(back, other.c_str()), std::runtime_error, "unknown korvantix file format");
  EXPECT_THROW_MSG(readPortNames(names, empty.c_str()), std::runtime_error,
                   "unknown korvantix file format");

  const std::string missing = test::scratch("missing.kvx");
  const std::string unable = "Unable to read <" + missing + ">";
  EXPECT_THROW_MSG(can_read(missing.c_str()), std::runtime_error, unable);
  EXPECT_THROW_MSG(is_ascii(missing.c_str()), std::runtime_error, unable);
  EXPECT_THROW_MSG(is_binary(missing.c_str()), std::runtime_error, unable);
  EXPECT_THROW_MSG(readPortNames(names, missing.c_str()), std::runtime_error, unable);
  EXPECT_THROW_MSG(read_ascii(back, missing.c_str()), std::runtime_error, unable);
  EXPECT_THROW_MSG(read_binary(back, missing.c_str()), std::runtime_error, unable);
  EXPECT_THROW_MSG(readPortNames_binary(names, missing.c_str()), std::runtime_error, unable);
  EXPECT_THROW_MSG(read(back, "\xC3("), std::range_error, "bad conversion");
  EXPECT_THROW_MSG(read(back, nullptr), std::runtime_error, "Unable to read <>");
  EXPECT_THROW_MSG(write(back, nullptr, BINARY), std::runtime_error, "Unable to write to <>");
}

TEST(NativeFiles, Versions) {
  EXPECT_TRUE(can_read_from_version("KORVANTIX", 2, 99, 99));
  EXPECT_TRUE(can_read_from_version("KORVANTIX", -5, 0, 0));
  EXPECT_FALSE(can_read_from_version("KORVANTIX", 3, 0, 0));
  EXPECT_FALSE(can_read_from_version("korvantix", 1, 0, 0));
  EXPECT_FALSE(can_read_from_version("KORVANTIX ", 1, 0, 0));
  EXPECT_FALSE(can_read_from_version(nullptr, 1, 0, 0));
}

}  // namespace
}  // namespace korvantix
