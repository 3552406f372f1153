#pragma once

// Helpers of the kvx-file tests: the writers' bytes of a container (the bit-exact oracle of
// every round trip), the outcome of a read as text, a container holding every kind of content,
// scratch files and builders of hand-made files. It brings what the tests of this folder use.

#include <korvantix/container.hpp>
#include <korvantix/io.hpp>
#include <korvantix/scalar.hpp>

#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <fstream>
#include <limits>
#include <stdexcept>
#include <typeinfo>

#include "detail/output_buffer.hpp"
#include "io/ascii_reader.hpp"
#include "io/ascii_writer.hpp"
#include "io/binary_reader.hpp"
#include "io/binary_writer.hpp"
#include "test_support.hpp"

namespace korvantix::test {

using C = std::complex<double>;

inline std::string read_bytes(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

/// A fresh path in the test's scratch directory; the file is removed first.
inline std::string scratch(const std::string& name) {
  const std::string path = ::testing::TempDir() + "korvantix_io_" + name;
  std::remove(path.c_str());
  return path;
}

inline std::string data_file(const std::string& name) {
  return std::string(KORVANTIX_TEST_DATA_DIR) + "/" + name;
}

/// What the writers make of c: by default the binary form, which holds every stored double bit
/// for bit (NaN payloads and causal splines included, which never compare equal), so equal bytes
/// mean equal content; given a precision, the ASCII form.
inline std::string written(const SMatrixContainer& c, int precision = -1) {
  std::string bytes;
  detail::OutputBuffer out(bytes);
  precision < 0 ? detail::format_binary(c, out) : detail::format_ascii(c, out, precision);
  out.flush();
  return bytes;
}

/// A read of either variant through window, in full or of its port names only: the container's
/// binary bytes or the names one a line, or "error: " and the text of the refusal, which must be
/// a plain, non-empty std::runtime_error.
inline std::string outcome(detail::Window window, bool ascii, bool names = false) {
  try {
    std::string text;
    if (names) {
      std::vector<std::string> list;
      ascii ? detail::parse_port_names_ascii(std::move(window), list)
            : detail::parse_port_names_binary(std::move(window), list);
      for (const std::string& name : list)
        text += name + '\n';
    } else {
      SMatrixContainer c;
      ascii ? detail::parse_ascii(std::move(window), c)
            : detail::parse_binary(std::move(window), c);
      text = written(c);
    }
    return text;
  } catch (const std::exception& error) {
    EXPECT_EQ(typeid(error), typeid(std::runtime_error)) << error.what();
    EXPECT_STRNE(error.what(), "");
    return std::string("error: ") + error.what();
  }
}

/// A file refused with its message; where `names` is set, the port-name reader refuses it alike.
struct Refusal {
  std::string input;
  std::string message;
  bool names = false;
};

inline void expect_refusals(bool ascii, const std::vector<Refusal>& cases) {
  for (const Refusal& c : cases) {
    SCOPED_TRACE("row " + std::to_string(&c - cases.data()) + ": " + c.message);
    EXPECT_EQ(outcome(detail::Window(c.input), ascii), "error: " + c.message);
    if (c.names) {
      EXPECT_EQ(outcome(detail::Window(c.input), ascii, true), "error: " + c.message);
    }
  }
}

/// The container read from bytes by the reader that their magic selects.
inline SMatrixContainer parse(const std::string& bytes) {
  SMatrixContainer c;
  detail::has_ascii_magic(bytes) ? detail::parse_ascii(bytes, c) : detail::parse_binary(bytes, c);
  return c;
}

/// The golden file holding every kind of content: each kind of scalar model, port data, awkward
/// names and properties, signed zero, a subnormal, infinity and NaN.
inline SMatrixContainer every_kind() {
  return parse(read_bytes(data_file("binary_v23_every_kind.kvx")));
}

/// n samples at 1, 2, ... MHz with one non-zero entry each: files many windows long.
inline SMatrixContainer many_samples(std::size_t ports, int n) {
  SMatrixContainer c(ports);
  for (int k = 0; k < n; ++k) {
    SMatrixSample s(ports, 1e6 * (k + 1));
    s(0, 1) = C(k, -1.0 / (k + 1));
    c.add(s);
  }
  return c;
}

/// A 2.3 ASCII file up to its samples: n ports with empty names, nothing else.
inline std::string ascii_ports(int n) {
  std::string text = "ASCII KORVANTIX2 3 0 PORTS " + std::to_string(n);
  for (int i = 0; i < n; ++i)
    text += " <>";
  text += " PORT DATA NAMES 0 GLOBAL PROPERTIES 0";
  for (int i = 0; i < n; ++i)
    text += " PORT PROPERTIES " + std::to_string(i) + " 0";
  return text;
}

/// Native-order values for hand-made binary files.
class Bytes {
 public:
  Bytes& raw(const std::string& s) {
    data_ += s;
    return *this;
  }
  Bytes& i32(std::int32_t v) { return pod(v); }
  Bytes& f64(double v) { return pod(v); }
  Bytes& complex(C z) { return f64(z.real()).f64(z.imag()); }
  Bytes& str(const std::string& s) { return i32(static_cast<std::int32_t>(s.size())).raw(s); }
  /// Magic, version and endianness marker.
  Bytes& header(int major, int minor, int patch) {
    return raw("BINARYKORVANTIX").i32(major).i32(minor).i32(patch).i32(0x11223344);
  }
  /// A 2.3 file up to its samples: n ports with empty names, nothing else. Every count after
  /// the port count is a zero: n name lengths, the two empty lists, n empty property lists.
  Bytes& ports(int n) { return header(2, 3, 0).i32(n).raw(std::string(8 * n + 8, '\0')); }
  const std::string& str() const { return data_; }

 private:
  template <class T>
  Bytes& pod(T v) {
    return raw(std::string(reinterpret_cast<const char*>(&v), sizeof v));
  }
  std::string data_;
};

}  // namespace korvantix::test
