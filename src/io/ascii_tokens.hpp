#pragma once

#include <complex>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>

#include "io/window.hpp"

namespace korvantix::detail {

/// The vocabulary of an ASCII kvx-file read through a Window, with the semantics of formatted
/// stream extraction in the classic locale: white space (carriage returns included) separates
/// tokens, and a number that cannot be read puts the reader into a failed state instead of
/// throwing. From then on every word is empty and every number 0, so the next expected keyword
/// reports the problem; failed() lets the grammar check at its end that nothing went wrong.
/// A token that runs into the end of the window is read again once the window has more, so a
/// refill never splits one.
class AsciiTokens {
 public:
  explicit AsciiTokens(Window window) noexcept : window_(std::move(window)) {}
  explicit AsciiTokens(std::string_view text) noexcept : window_(text) {}

  /// The window, for the magic test before the first token.
  Window& window() noexcept { return window_; }
  /// Unconsumed bytes in the window (for an in-memory text: the bytes not yet consumed).
  std::size_t remaining() const noexcept { return window_.size(); }
  /// Whether an extraction failed (a bad number, or a word at the end of the text).
  bool failed() const noexcept { return failed_; }

  /// The next white-space delimited word; empty (and failed) at the end of the text. The view
  /// points into the window and lasts until the next token is read.
  std::string_view word();
  /// Reads a word. Throws std::runtime_error "syntax error: expected <keyword>, but found <word>"
  /// unless it is keyword.
  void expect(std::string_view keyword);
  /// An unsigned 64-bit number ("-1" wraps round, as for a stream). A failing read gives what
  /// the stream stores (0, or the maximum on overflow); in the failed state every number is 0.
  std::uint64_t count();
  /// The length of a list about to be allocated, whose items take at least min_item_bytes each.
  /// Throws std::runtime_error "parsing error: count <n> too large for the rest of the file"
  /// when the rest of the input cannot hold them.
  std::uint64_t count(std::size_t min_item_bytes);
  /// A signed int (the format version), failing as count() does (INT_MIN or INT_MAX on overflow).
  int integer();
  /// A double in any form a stream reads, plus the non-finite forms the writer prints.
  double real();
  /// "(re,im)", "(re)" or a bare real.
  std::complex<double> complex();
  /// The text between the next "<" and its matching ">" (nested pairs kept, everything in
  /// between raw). Anything before the "<" is skipped. Throws std::runtime_error "parsing error:
  /// reached end of file while searching for '<'" (also in the failed state) or "...'>'".
  std::string text();

 private:
  // The first byte that is not white space, reading on as far as needed (consumed space is
  // dropped, so a long run of it does not grow the window).
  const char* skip_space();
  // Runs a number parser from the next token on, again after each refill while it stops at
  // the end of the window; consumes what it read and records a failure.
  template <class Parse>
  void number(Parse&& parse);

  Window window_;
  bool failed_ = false;
};

}  // namespace korvantix::detail
