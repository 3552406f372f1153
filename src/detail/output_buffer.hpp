#pragma once

#include <complex>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>
#include <string_view>

namespace korvantix::detail {

/// Collects text (or bytes) in a large in-memory buffer and hands it to a std::FILE* (or appends
/// it to a std::string) in big blocks. Numbers are formatted straight into the buffer, byte for
/// byte as the number_format.hpp functions produce them. The destination is not owned; the
/// destructor flushes what is left. Nothing here throws except std::bad_alloc (construction, or
/// a string sink growing); a failing write to the file is not reported, as for a stream whose
/// write sets its fail state, and the text is lost.
class OutputBuffer {
 public:
  /// Size of the in-memory buffer; every full buffer goes to the file in one fwrite.
  static constexpr std::size_t kCapacity = std::size_t{1} << 18;

  /// Writes to file (not owned, must outlive the buffer or its last flush()).
  explicit OutputBuffer(std::FILE* file);
  /// Appends to sink instead of a file (for tests and in-memory writers).
  explicit OutputBuffer(std::string& sink);
  OutputBuffer(const OutputBuffer&) = delete;
  OutputBuffer& operator=(const OutputBuffer&) = delete;
  /// Flushes the rest; a failure at that point is not reported.
  ~OutputBuffer();

  /// Appends one character.
  void put(char c) {
    if (pos_ == end_) drain();
    *pos_++ = c;
  }
  /// Appends the bytes of text as they are.
  void put(std::string_view text) { raw(text.data(), text.size()); }
  /// Appends x as append_scientific does.
  void scientific(double x, int precision);
  /// Appends z as a scientific stream inserts a complex number: "(" re "," im ")", no blanks.
  void complex(std::complex<double> z, int precision);
  /// Appends x as append_general_upper does.
  void general_upper(double x, int precision);
  /// Appends x as append_general does.
  void general(double x, int precision);
  /// Appends n in decimal.
  void count(std::uint64_t n);
  /// Appends size bytes from data unchanged (binary output).
  void raw(const void* data, std::size_t size);
  /// Hands everything buffered to the destination and fflush()es a file.
  void flush();

 private:
  void drain();
  void ensure(std::size_t room) {
    if (static_cast<std::size_t>(end_ - pos_) < room) drain();
  }
  void zeros(std::size_t n);

  std::FILE* file_ = nullptr;
  std::string* sink_ = nullptr;
  std::unique_ptr<char[]> data_;
  char* pos_ = nullptr;
  char* end_ = nullptr;
};

}  // namespace korvantix::detail
