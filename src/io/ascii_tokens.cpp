#include "io/ascii_tokens.hpp"

#include <charconv>
#include <cstring>
#include <stdexcept>
#include <system_error>

#include "detail/message.hpp"
#include "detail/number_parse.hpp"

namespace korvantix::detail {
namespace {

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

std::string_view AsciiTokens::word() {
  if (failed_) return {};
  const char* first = skip_space(pos_, end_);
  const char* last = first;
  while (last != end_ && !is_space(*last))
    ++last;
  pos_ = last;
  if (first == last) failed_ = true;
  return std::string_view(first, static_cast<std::size_t>(last - first));
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
  const ParseResult result = parse_count(pos_, end_, value);
  pos_ = result.ptr;
  if (!result.ok) failed_ = true;
  return value;
}

std::uint64_t AsciiTokens::count(std::size_t min_item_bytes) {
  const std::uint64_t n = count();
  if (n > remaining() / min_item_bytes) {
    throw std::runtime_error(
        message("parsing error: count ", n, " too large for the rest of the file"));
  }
  return n;
}

int AsciiTokens::integer() {
  if (failed_) return 0;
  int value = 0;
  const ParseResult result = parse_int(pos_, end_, value);
  pos_ = result.ptr;
  if (!result.ok) failed_ = true;
  return value;
}

double AsciiTokens::real() {
  if (failed_) return 0.0;
  double value = 0.0;
  const char* const first = skip_space(pos_, end_);
  if (const char* const last = plain_decimal(first, end_, value)) {
    pos_ = last;
    return value;
  }
  const ParseResult result = parse_real(pos_, end_, value);
  pos_ = result.ptr;
  if (!result.ok) failed_ = true;
  return value;
}

std::complex<double> AsciiTokens::complex() {
  if (failed_) return {};
  // "(re,im)" exactly as the writers print it; anything else (blanks inside, one part, a bare
  // real, a failure) goes the stream's way.
  const char* const open = skip_space(pos_, end_);
  if (open != end_ && *open == '(') {
    double re = 0.0;
    double im = 0.0;
    const char* const comma = plain_decimal(open + 1, end_, re);
    if (comma != nullptr && comma != end_ && *comma == ',') {
      const char* const close = plain_decimal(comma + 1, end_, im);
      if (close != nullptr && close != end_ && *close == ')') {
        pos_ = close + 1;
        return {re, im};
      }
    }
  }
  std::complex<double> value;
  const ParseResult result = parse_complex(pos_, end_, value);
  pos_ = result.ptr;
  if (!result.ok) failed_ = true;
  return value;
}

std::string AsciiTokens::text() {
  const void* open = failed_ || pos_ == end_ ? nullptr : std::memchr(pos_, '<', remaining());
  if (open == nullptr) {
    pos_ = end_;
    throw std::runtime_error("parsing error: reached end of file while searching for '<'");
  }
  const char* const first = static_cast<const char*>(open) + 1;
  std::size_t depth = 0;
  for (const char* p = first; p != end_; ++p) {
    if (*p == '<') {
      ++depth;
    } else if (*p == '>') {
      if (depth == 0) {
        pos_ = p + 1;
        return std::string(first, p);
      }
      --depth;
    }
  }
  pos_ = end_;
  throw std::runtime_error("parsing error: reached end of file while searching for '>'");
}

}  // namespace korvantix::detail
