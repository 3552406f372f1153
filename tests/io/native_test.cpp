// The public calls on files: round trips, detection and failures, and on what is not a plain
// file (a device, a pipe), which they read or refuse with their own message, at once; and the
// window they read through.

#include <cmath>
#include <csignal>
#include <filesystem>
#include <functional>
#include <locale>
#include <thread>

#include "io/window.hpp"
#include "io_test_support.hpp"
#include "pieces.hpp"

#if !defined(_WIN32)
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#endif

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
  const std::string ascii = test::written(c, 16);  // in the classic locale
  const std::string binary = test::written(c);
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
    EXPECT_EQ(test::written(back), binary);
    std::vector<std::string> names = {"x"};
    readPortNames(names, path.c_str());
    EXPECT_EQ(names, (std::vector<std::string>{"x", "in <a> port", "out"}));
  }
  std::locale::global(old);
}

TEST(NativeFiles, DetectionAndFailures) {
  // Neither magic, or a cut one, or endless bytes of a device: refused at the magic.
  const std::string empty = test::scratch("empty.kvx");
  std::ofstream{empty};
  const std::string other = test::scratch("other.kvx");
  std::ofstream(other) << "ASCII KORVANTI";
  std::vector<std::string> others = {empty, other};
#if !defined(_WIN32)
  others.insert(others.end(), {"/dev/zero", "/dev/urandom"});
#endif
  SMatrixContainer back;
  std::vector<std::string> names;
  for (const std::string& path : others) {
    const char* p = path.c_str();
    EXPECT_FALSE(can_read(p)) << path;
    EXPECT_THROW_MSG(read(back, p), std::runtime_error, "unknown korvantix file format");
    EXPECT_THROW_MSG(readPortNames(names, p), std::runtime_error, "unknown korvantix file format");
    EXPECT_THROW_MSG(read_ascii(back, p), std::runtime_error, "not an ascii kvx-file");
    EXPECT_THROW_MSG(readPortNames_ascii(names, p), std::runtime_error, "not an ascii kvx-file");
    EXPECT_THROW_MSG(read_binary(back, p), std::runtime_error, "not a binary kvx-file");
  }
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
  // Files of this library up to major 2 are readable, whatever their minor and patch.
  EXPECT_TRUE(can_read_from_version("KORVANTIX", 2, 99, 99));
  EXPECT_TRUE(can_read_from_version("KORVANTIX", -5, 0, 0));
  EXPECT_FALSE(can_read_from_version("KORVANTIX", 3, 0, 0));
  for (const char* library : {"korvantix", "KORVANTIX ", static_cast<const char*>(nullptr)})
    EXPECT_FALSE(can_read_from_version(library, 1, 0, 0)) << (library ? library : "null");
}

// A count is checked against the rest of the input: from the size of a file, by reading ahead
// where the size is unknown, exactly once the input has ended.
TEST(Window, HoldsCountsTheRestOfTheInput) {
  const std::string bytes(100, 'x');
  test::Pieces known(bytes, 7), unknown(bytes, 7);
  detail::Window sized(known, 100, 16), pipe(unknown, -1, 16);
  sized.fill(10);
  sized.consume(10);
  EXPECT_TRUE(sized.holds(45, 2));
  EXPECT_FALSE(sized.holds(46, 2));
  EXPECT_LT(sized.size(), 90u);  // nothing read ahead for that
  EXPECT_TRUE(pipe.holds(25, 4));
  EXPECT_GE(pipe.size(), 100u);
  EXPECT_FALSE(pipe.holds(101, 1));
  EXPECT_FALSE(pipe.holds(~std::uint64_t{0}, 2));
  EXPECT_TRUE(pipe.holds(~std::uint64_t{0}, 0));
}

#if !defined(_WIN32)
// A large file through a pipe, whose size is unknown: read in many windows as from a file.
TEST(SpecialFiles, PipesOfLargeFiles) {
  std::signal(SIGPIPE, SIG_IGN);
  const SMatrixContainer big = test::many_samples(2, 20000);
  const std::string binary = test::written(big);
  ASSERT_GT(binary.size(), 2 * detail::Window::kCapacity);
  for (const std::string& bytes : {test::written(big, 17), binary}) {
    const std::string path = test::scratch("pipe.kvx");
    ASSERT_EQ(::mkfifo(path.c_str(), 0600), 0);
    std::thread writer([&] { std::ofstream(path, std::ios::binary) << bytes; });
    SMatrixContainer back;
    EXPECT_NO_THROW(read(back, path.c_str()));
    // Opening a pipe waits for its other end: should the read have failed before opening it, a
    // reader that comes and goes releases the writer.
    ::close(::open(path.c_str(), O_RDONLY | O_NONBLOCK));
    writer.join();
    EXPECT_EQ(test::written(back), binary);
    std::remove(path.c_str());
  }
}
#endif

}  // namespace
}  // namespace korvantix
