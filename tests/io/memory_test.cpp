// The allocation ceiling of the readers: one read never holds more than 32 times the file size
// plus 1 MiB on the heap, whatever counts the file claims. The global operator new of this
// program counts every byte, so it is a test program of its own.

#include <algorithm>
#include <cctype>

#include "io/window.hpp"
#include "io_test_support.hpp"

#include "heap_counter.hpp"

namespace korvantix {
namespace {

using test::Bytes;

// Peak heap above what was held before, over one read (the container it builds and the
// exception it may throw included).
template <class Read>
std::size_t peak_of(Read&& read) {
  const std::size_t before = g_current;
  g_peak = g_current;
  try {
    read();
  } catch (const std::runtime_error&) {
  }
  return g_peak - before;
}

// Checks the larger peak of the full read and of the port-name read of bytes against the
// ceiling, and returns it.
std::size_t expect_within_ceiling(const std::string& bytes, const std::string& what) {
  const bool ascii = detail::has_ascii_magic(bytes);
  SMatrixContainer c;
  std::vector<std::string> n;
  const std::size_t peak = std::max(
      peak_of([&] { ascii ? detail::parse_ascii(bytes, c) : detail::parse_binary(bytes, c); }),
      peak_of([&] {
        ascii ? detail::parse_port_names_ascii(bytes, n)
              : detail::parse_port_names_binary(bytes, n);
      }));
  EXPECT_LE(peak, 32 * bytes.size() + (std::size_t{1} << 20)) << what;
  return peak;
}

// Real files with counts no file of their size can hold: each number of the ASCII golden, and
// every 4-byte window of the binary ones (which covers every count position, whatever the
// layout), replaced in turn.
TEST(MemoryCeiling, CountsAtEveryPosition) {
  const std::string ascii = test::read_bytes(test::data_file("ascii_v23_every_kind.kvx"));
  std::size_t replaced = 0;
  for (std::size_t pos = 0; pos < ascii.size(); ++pos) {
    if (!std::isdigit(static_cast<unsigned char>(ascii[pos])) ||
        (pos > 0 && !std::isspace(static_cast<unsigned char>(ascii[pos - 1])))) {
      continue;
    }
    const std::size_t end = std::min(ascii.find_first_not_of("0123456789", pos), ascii.size());
    for (const char* count :
         {"18446744073709551615", "9223372036854775808", "4294967296", "2147483648", "-1"}) {
      expect_within_ceiling(ascii.substr(0, pos) + count + ascii.substr(end),
                            std::string(count) + " at byte " + std::to_string(pos));
    }
    ++replaced;
  }
  EXPECT_GT(replaced, 20u);
  for (const char* name :
       {"binary_v23_every_kind.kvx", "binary_v20_one_port.kvx", "binary_v22_port_models.kvx"}) {
    const std::string golden = test::read_bytes(test::data_file(name));
    for (std::size_t pos = 0; pos + 4 <= golden.size(); ++pos) {
      for (const std::uint32_t count : {0xFFFFFFFFu, 0x7FFFFFFFu, 0x80000000u, 0x00100000u}) {
        std::string file = golden;
        std::memcpy(&file[pos], &count, sizeof count);
        expect_within_ceiling(
            file, name + (": " + std::to_string(count)) + " at byte " + std::to_string(pos));
      }
    }
  }
  // A sample and a model claiming 30,000 ports, whose N x N matrix would need far more.
  const Bytes ports = Bytes().ports(30000);
  expect_within_ceiling(Bytes(ports).i32(1).f64(1e9).i32(30000 * 30000).str(), "sample");
  expect_within_ceiling(Bytes(ports).i32(0).i32(1).f64(1).f64(2).i32(1).i32(0).str(), "model");
  // The same in ASCII: 5,000 ports fit in a file of 129 KB, their 400 MB matrix does not.
  for (const char* rest :
       {"", " SAMPLES 1 FREQ 1e9 Hz S", " SAMPLES 0 MODELS 1 FREQRANGE 1 2 Hz S"})
    expect_within_ceiling(test::ascii_ports(5000) + rest, std::string("ascii") + rest);
}

// The densest objects a file can ask for: models whose every entry is the shortest scalar
// model there is ("POLY 0" in 7 bytes, a code and an empty list in 8), each a heap object of its
// own, first in the model being read and then in the container's copy.
TEST(MemoryCeiling, ModelsOfEmptyScalarModels) {
  const int ports = 40;
  const int models = 64;
  std::string text = test::ascii_ports(ports) + " SAMPLES 0 MODELS " + std::to_string(models);
  Bytes b = Bytes().ports(ports).i32(0).i32(models);
  for (int m = 0; m < models; ++m) {
    text += " FREQRANGE " + std::to_string(m) + " " + std::to_string(m) + ".5 Hz S";
    b.f64(m).f64(m + 0.5);
    for (int k = 0; k < ports * ports + ports; ++k) {
      if (k == ports * ports) text += " Zref";
      text += " POLY 0";
      b.i32(1).i32(0);
    }
  }
  SMatrixContainer check;
  detail::parse_ascii(text, check);
  EXPECT_EQ(check.nbModels(), 64u);
  detail::parse_binary(b.str(), check);
  EXPECT_EQ(check.nbModels(), 64u);
  expect_within_ceiling(text, "ascii");
  // The peak is measured at all: a real read shows up.
  EXPECT_GT(expect_within_ceiling(b.str(), "binary"), b.str().size());
}

// A read of a file needs its window beyond what reading the same bytes from memory needs, and
// nothing that grows with the file: here files ten times the window and more.
TEST(MemoryCeiling, StreamedReadNeedsOnlyTheWindow) {
  const SMatrixContainer big = test::many_samples(4, 40000);
  for (const FileFormat format : {BINARY, ASCII}) {
    const std::string path = test::scratch("memory_big.kvx");
    write(big, path.c_str(), format);
    const std::string bytes = test::read_bytes(path);
    ASSERT_GT(bytes.size(), 10 * detail::Window::kCapacity);
    SMatrixContainer from_file, from_memory;
    const std::size_t file_peak = peak_of([&] { read(from_file, path.c_str()); });
    const std::size_t memory_peak = peak_of([&] {
      format == ASCII ? detail::parse_ascii(bytes, from_memory)
                      : detail::parse_binary(bytes, from_memory);
    });
    EXPECT_EQ(from_file.nbSamples(), 40000u);
    EXPECT_EQ(from_memory.nbSamples(), 40000u);
    EXPECT_LE(file_peak, memory_peak + detail::Window::kCapacity + 4096) << format;
    std::remove(path.c_str());
  }
}

}  // namespace
}  // namespace korvantix
