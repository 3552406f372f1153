#include "detail/number_format.hpp"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <system_error>

namespace korvantix::detail {

namespace {

// Streams and printf both read a negative precision as "not given", which means 6.
int normalized(int precision) noexcept {
  return precision < 0 ? 6 : precision;
}

// %g and %G print at least one significant digit: a precision of 0 means 1.
int normalized_general(int precision) noexcept {
  return precision == 0 ? 1 : normalized(precision);
}

char* write_chars(char* first, double x, std::chars_format format, int precision) noexcept {
  // number_room() covers the longest text: sign, digit, point, precision digits and a
  // three-digit exponent, or the sign, the zeros and the digits of a small fixed-point %g.
  const std::to_chars_result result =
      std::to_chars(first, first + number_room(precision), x, format, precision);
  return result.ptr;
}

}  // namespace

char* write_scientific(char* first, double x, int precision) noexcept {
  return write_chars(first, x, std::chars_format::scientific, normalized(precision));
}

char* write_general(char* first, double x, int precision) noexcept {
  return write_chars(first, x, std::chars_format::general, normalized_general(precision));
}

char* write_general_upper(char* first, double x, int precision) noexcept {
  char* const last = write_general(first, x, precision);
  // Only 'e' and the letters of "inf" and "nan" can occur.
  for (char* p = first; p != last; ++p) {
    if (*p >= 'a' && *p <= 'z') *p = static_cast<char>(*p - 'a' + 'A');
  }
  return last;
}

char* write_count(char* first, std::uint64_t n) noexcept {
  return std::to_chars(first, first + 20, n).ptr;
}

ScientificText write_scientific_padded(char* first, double x, int precision) noexcept {
  precision = normalized(precision);
  const int direct = std::min(precision, kMaxDirectPrecision);
  char* const last = write_scientific(first, x, direct);
  if (direct == precision || !std::isfinite(x)) return {last, last, 0};
  return {std::find(first, last, 'e'), last, static_cast<std::size_t>(precision - direct)};
}

void append_scientific(std::string& out, double x, int precision) {
  char text[number_room(kMaxDirectPrecision)];
  const ScientificText written = write_scientific_padded(text, x, precision);
  out.append(text, written.exponent);
  out.append(written.zeros, '0');
  out.append(written.exponent, written.last);
}

void append_general(std::string& out, double x, int precision) {
  // %g drops trailing zeros and, past 767 significant digits, has nothing but zeros left to
  // print; the direct precision gives the same text as any larger one.
  char text[number_room(kMaxDirectPrecision)];
  out.append(text, write_general(text, x, std::min(precision, kMaxDirectPrecision)));
}

void append_general_upper(std::string& out, double x, int precision) {
  char text[number_room(kMaxDirectPrecision)];
  out.append(text, write_general_upper(text, x, std::min(precision, kMaxDirectPrecision)));
}

void append_count(std::string& out, std::uint64_t n) {
  char text[20];
  out.append(text, write_count(text, n));
}

}  // namespace korvantix::detail
