// Reading through a refilled window gives exactly what reading from memory gives, however the
// input is cut into pieces; and the public readers on what is not a plain file (a directory, a
// device, a pipe) read it or refuse it with their own message, at once.
#include <korvantix/container.hpp>
#include <korvantix/io.hpp>

#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <cstring>
#include <filesystem>
#include <functional>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "detail/output_buffer.hpp"
#include "io/ascii_reader.hpp"
#include "io/ascii_writer.hpp"
#include "io/binary_reader.hpp"
#include "io/binary_writer.hpp"
#include "io/window.hpp"
#include "io_test_support.hpp"
#include "pieces.hpp"
#include "test_support.hpp"

#if !defined(_WIN32)
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#endif

namespace korvantix {
namespace {

using test::Pieces;

std::string binary_of(const SMatrixContainer& c) {
  std::string bytes;
  detail::OutputBuffer out(bytes);
  detail::format_binary(c, out);
  out.flush();
  return bytes;
}

// What a read gives, as text: the container written back (bit exact) or the error's text.
std::string outcome(const std::function<void(SMatrixContainer&)>& read) {
  SMatrixContainer c;
  try {
    read(c);
  } catch (const std::runtime_error& error) {
    return std::string("error: ") + error.what();
  }
  return binary_of(c);
}

std::string names_outcome(const std::function<void(std::vector<std::string>&)>& read) {
  std::vector<std::string> names;
  try {
    read(names);
  } catch (const std::runtime_error& error) {
    return std::string("error: ") + error.what();
  }
  std::string joined;
  for (const std::string& name : names)
    joined += name + '\n';
  return joined;
}

std::vector<std::string> inputs() {
  std::vector<std::string> all;
  for (const auto& entry : std::filesystem::directory_iterator(KORVANTIX_TEST_DATA_DIR)) {
    all.push_back(test::read_bytes(entry.path().string()));
  }
  std::string ascii;
  {
    detail::OutputBuffer out(ascii);
    detail::format_ascii(test::rich_container(), out, 17);
  }
  // A text longer than the window, and a word that is.
  all.push_back(ascii.substr(0, ascii.find("GLOBAL PROPERTIES 2")) + "GLOBAL PROPERTIES 1 <" +
                std::string(300, 'k') + "> <v> " + ascii.substr(ascii.find("PORT PROPERTIES 0")));
  all.push_back(ascii.substr(0, ascii.find("GLOBAL")) + std::string(200, 'W'));
  all.push_back(ascii);
  all.push_back(binary_of(test::rich_container()));
  return all;
}

TEST(Window, PiecesReadAsMemoryReads) {
  for (const std::string& input : inputs()) {
    const bool ascii = detail::has_ascii_magic(input);
    const auto parse = [ascii](detail::Window window, SMatrixContainer& c) {
      ascii ? detail::parse_ascii(std::move(window), c)
            : detail::parse_binary(std::move(window), c);
    };
    const auto names = [ascii](detail::Window window, std::vector<std::string>& n) {
      ascii ? detail::parse_port_names_ascii(std::move(window), n)
            : detail::parse_port_names_binary(std::move(window), n);
    };
    const std::string expected =
        outcome([&](SMatrixContainer& c) { parse(detail::Window(input), c); });
    const std::string expected_names =
        names_outcome([&](std::vector<std::string>& n) { names(detail::Window(input), n); });
    for (const std::size_t piece : {1, 3, 1000}) {
      for (const std::int64_t hint : {std::int64_t{-1}, static_cast<std::int64_t>(input.size())}) {
        Pieces source(input, piece);
        EXPECT_EQ(outcome([&](SMatrixContainer& c) { parse(detail::Window(source, hint, 1), c); }),
                  expected)
            << input.substr(0, 40) << " in pieces of " << piece << ", size hint " << hint;
        Pieces again(input, piece);
        EXPECT_EQ(names_outcome([&](std::vector<std::string>& n) {
                    names(detail::Window(again, hint, 1), n);
                  }),
                  expected_names);
      }
    }
  }
}

TEST(Window, EveryPrefixFailsAsInMemory) {
  std::string text;
  {
    detail::OutputBuffer out(text);
    detail::format_ascii(test::rich_container(), out, 3);
  }
  for (const std::string& input : {text, binary_of(test::rich_container())}) {
    for (std::size_t n = 0; n < input.size(); ++n) {
      const std::string_view prefix = std::string_view(input).substr(0, n);
      const auto parse = [&](detail::Window window, SMatrixContainer& c) {
        detail::has_ascii_magic(input) ? detail::parse_ascii(std::move(window), c)
                                       : detail::parse_binary(std::move(window), c);
      };
      Pieces source(prefix, 2);
      EXPECT_EQ(outcome([&](SMatrixContainer& c) { parse(detail::Window(source, -1, 1), c); }),
                outcome([&](SMatrixContainer& c) { parse(detail::Window(prefix), c); }))
          << n;
    }
  }
}

// A count is checked against the rest of the input: from the size of a file, by reading ahead
// where the size is unknown, exactly once the input has ended.
TEST(Window, HoldsCountsTheRestOfTheInput) {
  const std::string bytes(100, 'x');
  Pieces known(bytes, 7);
  detail::Window sized(known, 100, 16);
  sized.fill(10);
  sized.consume(10);
  EXPECT_TRUE(sized.holds(45, 2));
  EXPECT_FALSE(sized.holds(46, 2));
  EXPECT_LT(sized.size(), 90u);  // nothing read ahead for that
  Pieces unknown(bytes, 7);
  detail::Window pipe(unknown, -1, 16);
  EXPECT_TRUE(pipe.holds(25, 4));
  EXPECT_GE(pipe.size(), 100u);
  EXPECT_FALSE(pipe.holds(101, 1));
  EXPECT_FALSE(pipe.holds(~std::uint64_t{0}, 2));
  EXPECT_TRUE(pipe.holds(~std::uint64_t{0}, 0));
}

#if !defined(_WIN32)
// The public readers on a directory, devices and pipes.
class SpecialFiles : public ::testing::Test {
 protected:
  void SetUp() override { std::signal(SIGPIPE, SIG_IGN); }

  // Writes bytes (repeated `times` times, or until the reader goes away when 0) into a fresh
  // pipe from a thread while read runs on its path.
  static void through_pipe(const std::string& bytes, int times,
                           const std::function<void(const char*)>& read) {
    const std::string path = test::scratch("pipe.kvx");
    ASSERT_EQ(::mkfifo(path.c_str(), 0600), 0);
    std::thread writer([&] {
      const int fd = ::open(path.c_str(), O_WRONLY);
      for (int k = 0; fd >= 0 && (times == 0 || k < times); ++k) {
        std::size_t done = 0;
        while (done < bytes.size()) {
          const ssize_t n = ::write(fd, bytes.data() + done, bytes.size() - done);
          if (n <= 0) break;
          done += static_cast<std::size_t>(n);
        }
        if (done < bytes.size()) break;  // the reader has gone
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
};

TEST_F(SpecialFiles, DirectoryIsRefusedWithTheOpenMessage) {
  const std::string dir = test::scratch("directory");
  std::filesystem::create_directory(dir);
  const std::string unable = "Unable to read <" + dir + ">";
  SMatrixContainer c;
  std::vector<std::string> names;
  EXPECT_THROW_MSG(read(c, dir.c_str()), std::runtime_error, unable);
  EXPECT_THROW_MSG(read_ascii(c, dir.c_str()), std::runtime_error, unable);
  EXPECT_THROW_MSG(read_binary(c, dir.c_str()), std::runtime_error, unable);
  EXPECT_THROW_MSG(readPortNames(names, dir.c_str()), std::runtime_error, unable);
  EXPECT_THROW_MSG(can_read(dir.c_str()), std::runtime_error, unable);
  std::filesystem::remove(dir);
}

TEST_F(SpecialFiles, EndlessDevicesFailAtTheMagic) {
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

TEST_F(SpecialFiles, PipeWithAFileLargerThanTheWindow) {
  SMatrixContainer big(2);
  for (int k = 0; k < 20000; ++k) {
    SMatrixSample s(2, 1e6 * (k + 1));
    s(0, 1) = test::C(k, -1.0 / (k + 1));
    big.add(s);
  }
  std::string ascii;
  {
    detail::OutputBuffer out(ascii);
    detail::format_ascii(big, out, 17);
  }
  const std::string binary = binary_of(big);
  const std::string& text = ascii;
  ASSERT_GT(binary.size(), 2 * detail::Window::kCapacity);
  for (const std::string* bytes : {&text, &binary}) {
    through_pipe(*bytes, 1, [&](const char* path) {
      SMatrixContainer back;
      read(back, path);
      EXPECT_EQ(binary_of(back), binary);
    });
  }
}

TEST_F(SpecialFiles, PipeWithEndlessGarbage) {
  const std::string garbage(4096, '\x5A');
  through_pipe(garbage, 0, [](const char* path) {
    SMatrixContainer c;
    EXPECT_THROW_MSG(read_binary(c, path), std::runtime_error, "not a binary kvx-file");
  });
  through_pipe(garbage, 0, [](const char* path) {
    SMatrixContainer c;
    EXPECT_THROW_MSG(read(c, path), std::runtime_error, "unknown korvantix file format");
  });
}
#endif

}  // namespace
}  // namespace korvantix
