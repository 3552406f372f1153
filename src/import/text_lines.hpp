#pragma once

// The line layer shared by the foreign-format readers: a byte source with a fill/consume window,
// lines with their numbers, and the tokens and numbers of a line, read exactly and locale-free.

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string>
#include <string_view>

namespace korvantix::detail {

/// A window over the input bytes: available() shows the bytes not consumed yet, fill() makes
/// more of them available (keeping those), consume(n) drops the first n.
class TextSource {
 public:
  virtual ~TextSource() = default;
  virtual std::string_view available() const = 0;
  /// False at the end of the input (nothing was added).
  virtual bool fill() = 0;
  virtual void consume(std::size_t n) = 0;
};

/// The whole input already in memory (tests, fuzzers).
class MemorySource final : public TextSource {
 public:
  explicit MemorySource(std::string_view text) : rest_(text) {}
  std::string_view available() const override { return rest_; }
  bool fill() override { return false; }
  void consume(std::size_t n) override { rest_.remove_prefix(n); }

 private:
  std::string_view rest_;
};

/// An open file read through one reused buffer of `capacity` bytes, which grows only to hold
/// a line longer than itself.
class FileSource final : public TextSource {
 public:
  FileSource(std::FILE* file, std::size_t capacity);
  std::string_view available() const override {
    return std::string_view(buffer_.data() + begin_, end_ - begin_);
  }
  bool fill() override;
  void consume(std::size_t n) override { begin_ += n; }

 private:
  std::FILE* file_;
  std::string buffer_;
  std::size_t begin_ = 0;
  std::size_t end_ = 0;
};

/// The lines of a source, without their "\n" or "\r\n"; a line stays valid until the next call.
class LineReader {
 public:
  explicit LineReader(TextSource& source) : source_(source) {}
  /// The next line; false at the end of the input.
  bool next(std::string_view& line);
  /// The 1-based number of the line last returned (0 before the first).
  std::size_t number() const { return number_; }

 private:
  TextSource& source_;
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
