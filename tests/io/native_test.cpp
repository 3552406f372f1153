#include <cmath>
#include <filesystem>
#include <functional>
#include <locale>

#include "io_test_support.hpp"

namespace korvantix {
namespace {

using test::C;

// A host locale that prints 1,5 and groups thousands, installed globally for one test.
struct CommaPunct : std::numpunct<char> {
  char do_decimal_point() const override { return ','; }
  char do_thousands_sep() const override { return '.'; }
  std::string do_grouping() const override { return "\3"; }
};

TEST(NativeFiles, RoundTripsWhateverTheGlobalLocale) {
  SMatrixContainer c = test::every_kind();
  SMatrixSample odd(2, 7e9, c.port_data_names());
  odd.S() = {C(std::nan(""), -std::nan("")), C(-0.0, 1e-310), C(1.0 / 3, 2.0 / 3),
             C(std::numeric_limits<double>::max(), std::numeric_limits<double>::denorm_min())};
  c.add(odd);
  const std::string ascii = test::ascii_of(c, 16);  // in the classic locale
  const std::string binary = test::binary_of(c);
  const std::locale old = std::locale::global(std::locale(std::locale::classic(), new CommaPunct));
  for (const FileFormat format : {ASCII, BINARY}) {
    const std::string path = test::scratch("roundtrip.kvx");
    write(c, path.c_str(), format);
    EXPECT_EQ(test::read_bytes(path), format == ASCII ? ascii : binary);
    EXPECT_EQ(is_ascii(path.c_str()), format == ASCII);
    EXPECT_EQ(is_binary(path.c_str()), format == BINARY);
    EXPECT_TRUE(can_read(path.c_str()));
    SMatrixContainer back(5);
    read(back, path.c_str());
    EXPECT_EQ(test::binary_of(back), binary);
    std::vector<std::string> names = {"x"};
    readPortNames(names, path.c_str());
    EXPECT_EQ(names, (std::vector<std::string>{"x", "in <a> port", "out"}));
  }
  std::locale::global(old);
  // Any other format value writes nothing.
  const std::string path = test::scratch("variant.kvx");
  for (const int format : {0, 3, -1}) {
    EXPECT_NO_THROW(write(c, path.c_str(), static_cast<FileFormat>(format)));
    EXPECT_FALSE(std::ifstream(path).good()) << format;
  }
}

TEST(NativeFiles, DetectionAndFailures) {
  const std::string empty = test::scratch("empty.kvx");
  test::write_bytes(empty, "");
  const std::string other = test::scratch("other.kvx");
  test::write_bytes(other, "ASCII KORVANTI");
  EXPECT_FALSE(can_read(empty.c_str()));
  EXPECT_FALSE(can_read(other.c_str()));
  SMatrixContainer back;
  std::vector<std::string> names;
  EXPECT_THROW_MSG(read(back, other.c_str()), std::runtime_error, "unknown korvantix file format");
  EXPECT_THROW_MSG(readPortNames(names, empty.c_str()), std::runtime_error,
                   "unknown korvantix file format");
  EXPECT_THROW_MSG(read(back, nullptr), std::runtime_error, "Unable to read <>");
  EXPECT_THROW_MSG(write(back, nullptr, BINARY), std::runtime_error, "Unable to write to <>");
  EXPECT_THROW_MSG(read(back, "\xC3("), std::range_error, "bad conversion");
  // What cannot be opened (or read, as a directory) fails in every public call alike.
  const std::string dir = test::scratch("directory");
  std::filesystem::create_directory(dir);
  for (const std::string& path : {test::scratch("missing.kvx"), dir}) {
    const char* p = path.c_str();
    const std::function<void()> calls[] = {
        [&] { read(back, p); },        [&] { read_ascii(back, p); },
        [&] { read_binary(back, p); }, [&] { readPortNames(names, p); },
        [&] { can_read(p); },          [&] { readPortNames_binary(names, p); },
        [&] { is_ascii(p); },          [&] { is_binary(p); }};
    for (const auto& call : calls) {
      EXPECT_THROW_MSG(call(), std::runtime_error, "Unable to read <" + path + ">");
    }
  }
  std::filesystem::remove(dir);
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
