#pragma once

// The line layer shared by the foreign-format readers: the lines of a byte window (the one the
// native readers stream through) with their numbers, and the tokens and numbers of a line, read
// exactly and locale-free.

#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>

#include "detail/message.hpp"
#include "io/window.hpp"

namespace korvantix::detail {

/// The lines of a window, without their "\n" or "\r\n"; a line stays valid until the next call.
/// A line longer than the window grows it, up to kMaxLine bytes: no text file of these formats
/// has such lines, and an endless input without line ends (a device, a pipe) must not grow the
/// window without bound.
class LineReader {
 public:
  /// 64 MiB.
  static constexpr std::size_t kMaxLine = std::size_t{64} << 20;
  /// `path` names the input in the one message of next().
  LineReader(Window& window, std::string_view path) : window_(window), path_(path) {}
  /// The next line; false at the end of the input. Throws std::runtime_error "<path>:<line>:
  /// expected a line of at most 67108864 bytes, found a longer one".
  bool next(std::string_view& line);
  /// The 1-based number of the line last returned (0 before the first).
  std::size_t number() const { return number_; }

  /// Throws std::runtime_error "<path>:<line>: " followed by the pieces; line 0 (nothing read
  /// yet) shows as line 1.
  template <class... Pieces>
  [[noreturn]] void fail_at(std::size_t line, const Pieces&... pieces) const {
    throw std::runtime_error(message(path_, ':', line == 0 ? 1 : line, ": ", pieces...));
  }
  /// fail_at the line last returned.
  template <class... Pieces>
  [[noreturn]] void fail(const Pieces&... pieces) const {
    fail_at(number_, pieces...);
  }

 private:
  Window& window_;
  std::string_view path_;
  std::size_t pending_ = 0;
  std::size_t number_ = 0;
};

/// Blank, tab, and the other white space a line can still hold once its end is taken off.
constexpr bool is_blank(char c) noexcept {
  return c == ' ' || c == '\t' || c == '\r' || c == '\v' || c == '\f';
}

/// text without leading and trailing blanks.
std::string_view trim(std::string_view text) noexcept;

/// Takes the next token off the front of text: tokens are separated by blanks, and also by
/// commas when `commas` is set. Empty when text holds no more token. Inline: it runs once per
/// number of a file.
inline std::string_view next_token(std::string_view& text, bool commas = false) noexcept {
  const auto separates = [commas](char c) { return is_blank(c) || (commas && c == ','); };
  const char* p = text.data();
  const char* const end = p + text.size();
  while (p != end && separates(*p))
    ++p;
  const char* const first = p;
  while (p != end && !separates(*p))
    ++p;
  text = std::string_view(p, static_cast<std::size_t>(end - p));
  return std::string_view(first, static_cast<std::size_t>(p - first));
}

/// The number of tokens left in text.
std::size_t count_tokens(std::string_view text, bool commas = false) noexcept;

/// Reads a whole token as a double: an optional sign ('+' too), decimal digits with an optional
/// point and exponent, or inf, infinity, nan in any case. Exact (correctly rounded), so the 17
/// significant digits the writers print read back bit for bit. False for anything else,
/// including a magnitude out of the double range.
bool parse_number(std::string_view token, double& value) noexcept;

/// Reads a whole token of decimal digits (an optional '+') as a count; false beyond 2^64 - 1.
bool parse_count(std::string_view token, std::uint64_t& value) noexcept;

/// ASCII case-insensitive equality.
bool iequals(std::string_view a, std::string_view b) noexcept;
/// Whether text starts with prefix, ASCII case-insensitively.
bool istarts_with(std::string_view text, std::string_view prefix) noexcept;

/// How a message shows what a file holds: the token in double quotes (cut after 40 bytes with
/// "..."), or `end of line` when it is empty.
std::string found(std::string_view token);

/// Reads a port name comment "Port[<k>] <name>" or "Port[<k>] = <name>" (Port in any case, the
/// text after the comment mark): k >= 1, the name without the blanks around it and the "=".
bool parse_port_name(std::string_view text, std::uint64_t& k, std::string_view& name) noexcept;

}  // namespace korvantix::detail
