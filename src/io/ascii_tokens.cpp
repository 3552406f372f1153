#include "io/ascii_tokens.hpp"

#include <charconv>
#include <cstring>
#include <stdexcept>
#include <system_error>

#include "detail/message.hpp"
#include "detail/number_parse.hpp"

namespace korvantix::detail {
namespace {

constexpr std::ptrdiff_t kPeek = 8;

// The writers' own number form ("-1.2500000000000000e+09") read by from_chars alone, without
// parse_real's scan of the stream grammar. Taken only where both are sure to agree: a digit
// first (after an optional '-'), a clean conversion, and the number followed by a byte that
// cannot continue it (the stream would stop there too). nullptr sends the caller to parse_real,
// which also handles every failure and every non-finite spelling.
const char* plain_decimal(const char* p, const char* end, double& value) noexcept {
  const char* const digit = p != end && *p == '-' ? p + 1 : p;
  if (digit == end || *digit < '0' || *digit > '9') return nullptr;
  double parsed = 0.0;
  const std::from_chars_result result = std::from_chars(p, end, parsed);
  if (result.ec != std::errc()) return nullptr;
  if (result.ptr != end) {
    const char c = *result.ptr;
    if ((c >= '0' && c <= '9') || c == '.' || c == 'e' || c == 'E' || c == '+' || c == '-') {
      return nullptr;
    }
  }
  value = parsed;
  return result.ptr;
}

}  // namespace

const char* AsciiTokens::skip_space() {
  for (;;) {
    const char* const p = detail::skip_space(window_.data(), window_.end());
    window_.seek(p);
    if (p != window_.end() || !window_.more()) return window_.data();
  }
}

template <class Parse>
void AsciiTokens::number(Parse&& parse) {
  skip_space();
  for (;;) {
    const ParseResult result = parse(window_.data(), window_.end());
    const auto used = static_cast<std::size_t>(result.ptr - window_.data());
    // A parser looks at most kPeek bytes past where it stops (the longest is "infinity" after
    // "inf"); one that stopped further inside the window saw everything it needed. A refill
    // keeps the token's first byte at data(), even when it finds nothing more.
    if (window_.end() - result.ptr >= kPeek || !window_.more()) {
      window_.consume(used);
      if (!result.ok) failed_ = true;
      return;
    }
  }
}

std::string_view AsciiTokens::word() {
  if (failed_) return {};
  std::size_t length = 0;
  for (;;) {
    const char* const first = skip_space();
    const char* last = first + length;
    while (last != window_.end() && !is_space(*last))
      ++last;
    length = static_cast<std::size_t>(last - first);
    if (last != window_.end() || !window_.more()) {
      const std::string_view found(window_.data(), length);
      window_.consume(length);
      if (length == 0) failed_ = true;
      return found;
    }
  }
}

void AsciiTokens::expect(std::string_view keyword) {
  const std::string_view found = word();
  if (found != keyword) {
    throw std::runtime_error(message("syntax error: expected ", keyword, ", but found ", found));
  }
}

std::uint64_t AsciiTokens::count() {
  if (failed_) return 0;
  std::uint64_t value = 0;
  number([&](const char* first, const char* last) {
    value = 0;  // each attempt starts afresh, as the stream would on these bytes
    return parse_count(first, last, value);
  });
  return value;
}

std::uint64_t AsciiTokens::count(std::size_t min_item_bytes) {
  const std::uint64_t n = count();
  if (!window_.holds(n, min_item_bytes)) {
    throw std::runtime_error(
        message("parsing error: count ", n, " too large for the rest of the file"));
  }
  return n;
}

int AsciiTokens::integer() {
  if (failed_) return 0;
  int value = 0;
  number([&](const char* first, const char* last) {
    value = 0;
    return parse_int(first, last, value);
  });
  return value;
}

double AsciiTokens::real() {
  if (failed_) return 0.0;
  double value = 0.0;
  number([&](const char* first, const char* last) {
    value = 0.0;
    if (const char* const stop = plain_decimal(first, last, value)) return ParseResult{stop, true};
    return parse_real(first, last, value);
  });
  return value;
}

std::complex<double> AsciiTokens::complex() {
  if (failed_) return {};
  std::complex<double> value;
  number([&](const char* first, const char* last) {
    // "(re,im)" exactly as the writers print it; anything else (blanks inside, one part, a bare
    // real, a failure) goes the stream's way.
    value = {};
    if (first != last && *first == '(') {
      double re = 0.0;
      double im = 0.0;
      const char* const comma = plain_decimal(first + 1, last, re);
      if (comma != nullptr && comma != last && *comma == ',') {
        const char* const close = plain_decimal(comma + 1, last, im);
        if (close != nullptr && close != last && *close == ')') {
          value = {re, im};
          return ParseResult{close + 1, true};
        }
      }
    }
    return parse_complex(first, last, value);
  });
  return value;
}

std::string AsciiTokens::text() {
  const void* open = nullptr;
  while (!failed_ && open == nullptr) {
    open = std::memchr(window_.data(), '<', window_.size());
    if (open == nullptr) {
      window_.seek(window_.end());
      if (!window_.more()) break;
    }
  }
  if (open == nullptr) {
    window_.seek(window_.end());
    throw std::runtime_error("parsing error: reached end of file while searching for '<'");
  }
  window_.seek(static_cast<const char*>(open) + 1);
  // A text longer than the window is collected piece by piece rather than growing the window.
  std::string out;
  std::size_t depth = 0;
  for (;;) {
    const char* const first = window_.data();
    for (const char* p = first; p != window_.end(); ++p) {
      if (*p == '<') {
        ++depth;
      } else if (*p == '>') {
        if (depth == 0) {
          out.append(first, p);
          window_.seek(p + 1);
          return out;
        }
        --depth;
      }
    }
    out.append(first, window_.end());
    window_.seek(window_.end());
    if (!window_.more()) break;
  }
  throw std::runtime_error("parsing error: reached end of file while searching for '>'");
}

}  // namespace korvantix::detail
