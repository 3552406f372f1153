// The window's count check, and the public readers on what is not a plain file (a device, a
// pipe): they read it or refuse it with their own message, at once.

#include <csignal>
#include <functional>
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

// A count is checked against the rest of the input: from the size of a file, by reading ahead
// where the size is unknown, exactly once the input has ended.
TEST(Window, HoldsCountsTheRestOfTheInput) {
  const std::string bytes(100, 'x');
  test::Pieces known(bytes, 7);
  detail::Window sized(known, 100, 16);
  sized.fill(10);
  sized.consume(10);
  EXPECT_TRUE(sized.holds(45, 2));
  EXPECT_FALSE(sized.holds(46, 2));
  EXPECT_LT(sized.size(), 90u);  // nothing read ahead for that
  test::Pieces unknown(bytes, 7);
  detail::Window pipe(unknown, -1, 16);
  EXPECT_TRUE(pipe.holds(25, 4));
  EXPECT_GE(pipe.size(), 100u);
  EXPECT_FALSE(pipe.holds(101, 1));
  EXPECT_FALSE(pipe.holds(~std::uint64_t{0}, 2));
  EXPECT_TRUE(pipe.holds(~std::uint64_t{0}, 0));
}

#if !defined(_WIN32)
// Writes bytes into a fresh pipe from a thread while read runs on its path.
void through_pipe(const std::string& bytes, const std::function<void(const char*)>& read) {
  std::signal(SIGPIPE, SIG_IGN);
  const std::string path = test::scratch("pipe.kvx");
  ASSERT_EQ(::mkfifo(path.c_str(), 0600), 0);
  std::thread writer([&] {
    const int fd = ::open(path.c_str(), O_WRONLY);
    for (std::size_t done = 0; fd >= 0 && done < bytes.size();) {
      const ssize_t n = ::write(fd, bytes.data() + done, bytes.size() - done);
      if (n <= 0) break;  // the reader has gone
      done += static_cast<std::size_t>(n);
    }
    if (fd >= 0) ::close(fd);
  });
  read(path.c_str());
  // Opening a pipe waits for its other end: should read have failed before opening it, a
  // reader that comes and goes releases the writer.
  const int unblock = ::open(path.c_str(), O_RDONLY | O_NONBLOCK);
  if (unblock >= 0) ::close(unblock);
  writer.join();
  std::remove(path.c_str());
}

TEST(SpecialFiles, EndlessDevicesFailAtTheMagic) {
  SMatrixContainer c;
  std::vector<std::string> names;
  for (const char* device : {"/dev/zero", "/dev/urandom"}) {
    EXPECT_THROW_MSG(read_ascii(c, device), std::runtime_error, "not an ascii kvx-file");
    EXPECT_THROW_MSG(read_binary(c, device), std::runtime_error, "not a binary kvx-file");
    EXPECT_THROW_MSG(readPortNames_ascii(names, device), std::runtime_error,
                     "not an ascii kvx-file");
    EXPECT_THROW_MSG(read(c, device), std::runtime_error, "unknown korvantix file format");
    EXPECT_FALSE(can_read(device));
  }
}

TEST(SpecialFiles, PipesOfLargeFiles) {
  SMatrixContainer big(2);
  for (int k = 0; k < 20000; ++k) {
    SMatrixSample s(2, 1e6 * (k + 1));
    s(0, 1) = test::C(k, -1.0 / (k + 1));
    big.add(s);
  }
  const std::string binary = test::binary_of(big);
  ASSERT_GT(binary.size(), 2 * detail::Window::kCapacity);
  for (const std::string& bytes : {test::ascii_of(big, 17), binary}) {
    through_pipe(bytes, [&](const char* path) {
      SMatrixContainer back;
      read(back, path);
      EXPECT_EQ(test::binary_of(back), binary);
    });
  }
}
#endif

}  // namespace
}  // namespace korvantix
