#include "detail/number_parse.hpp"

#include <charconv>
#include <cmath>
#include <limits>
#include <system_error>

namespace korvantix::detail {

namespace {

constexpr bool is_digit(char c) noexcept {
  return c >= '0' && c <= '9';
}

constexpr char to_lower(char c) noexcept {
  return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

// Case-insensitive match of the lower-case word at p; the end of the match or nullptr.
const char* match_word(const char* p, const char* last, const char* word) noexcept {
  for (; *word != '\0'; ++word, ++p) {
    if (p == last || to_lower(*p) != *word) return nullptr;
  }
  return p;
}

// The non-finite spellings the writers print (and "infinity"); nullptr when p holds none.
const char* read_non_finite(const char* p, const char* last, bool negative,
                            double& value) noexcept {
  const double sign = negative ? -1.0 : 1.0;
  if (const char* end = match_word(p, last, "inf")) {
    value = sign * std::numeric_limits<double>::infinity();
    const char* const longer = match_word(end, last, "inity");
    return longer != nullptr ? longer : end;
  }
  if (const char* end = match_word(p, last, "nan")) {
    value = std::copysign(std::numeric_limits<double>::quiet_NaN(), sign);
    return end;
  }
  return nullptr;
}

// Decides whether a decimal that from_chars found out of range lies above the largest double or
// below the smallest subnormal: the decimal exponent of its leading digit is then either
// beyond +308 or beneath -323, so its sign alone decides. Saturating sums keep absurdly long
// digit runs and exponents from overflowing.
bool beyond_largest(const char* mantissa, const char* last) noexcept {
  constexpr long long kSaturation = 1'000'000'000'000LL;
  long long lead = 0;  // decimal exponent of the first non-zero digit, plus one
  bool seen_point = false;
  bool seen_nonzero = false;
  const char* p = mantissa;
  for (; p != last && *p != 'e' && *p != 'E'; ++p) {
    if (*p == '.') {
      seen_point = true;
    } else if (seen_nonzero) {
      if (!seen_point && lead < kSaturation) ++lead;
    } else if (*p != '0') {
      seen_nonzero = true;
      lead = seen_point ? lead : 1;
    } else if (seen_point && lead > -kSaturation) {
      --lead;
    }
  }
  long long exponent = 0;
  if (p != last) {
    ++p;
    const bool negative = *p == '-';
    if (*p == '+' || *p == '-') ++p;
    for (; p != last && exponent < kSaturation; ++p)
      exponent = exponent * 10 + (*p - '0');
    if (negative) exponent = -exponent;
  }
  return lead + exponent > 0;
}

// The shared core of the integer extractions: sign, then decimal digits accumulated against
// limit (the stream's own overflow rule). Leaves value untouched when only white space remains.
struct IntegerText {
  ParseResult result;
  std::uint64_t magnitude;
  bool blank;  // nothing but white space: the stream leaves the value alone
  bool negative;
  bool overflow;
};

IntegerText read_integer(const char* first, const char* last, std::uint64_t positive_limit,
                         std::uint64_t negative_limit) noexcept {
  IntegerText text{{last, false}, 0, true, false, false};
  const char* p = skip_space(first, last);
  if (p == last) return text;
  text.blank = false;
  if (*p == '+' || *p == '-') {
    text.negative = *p == '-';
    ++p;
  }
  const std::uint64_t limit = text.negative ? negative_limit : positive_limit;
  const char* const digits = p;
  for (; p != last && is_digit(*p); ++p) {
    const auto digit = static_cast<std::uint64_t>(*p - '0');
    // The stream keeps consuming digits after an overflow; so do we.
    if (text.overflow || text.magnitude > (limit - digit) / 10) {
      text.overflow = true;
    } else {
      text.magnitude = text.magnitude * 10 + digit;
    }
  }
  text.result = {p, p != digits && !text.overflow};
  return text;
}

}  // namespace

const char* skip_space(const char* first, const char* last) noexcept {
  while (first != last && is_space(*first))
    ++first;
  return first;
}

ParseResult parse_real(const char* first, const char* last, double& value) noexcept {
  const char* p = skip_space(first, last);
  if (p == last) return {last, false};
  const char* const number = *p == '+' ? p + 1 : p;  // from_chars refuses a leading '+'
  const bool negative = *p == '-';
  if (*p == '+' || *p == '-') ++p;
  if (p != last && !is_digit(*p) && *p != '.') {
    if (const char* end = read_non_finite(p, last, negative, value)) return {end, true};
  }

  // The stream's grammar: it consumes every byte that fits the shape so far and only then asks
  // whether the whole is a number ("1e" and "-." consume their bytes and fail).
  const char* const mantissa = p;
  bool mantissa_digit = false;
  bool point = false;
  bool exponent = false;
  bool exponent_digit = false;
  for (; p != last; ++p) {
    const char c = *p;
    if (is_digit(c)) {
      (exponent ? exponent_digit : mantissa_digit) = true;
    } else if (c == '.' && !point && !exponent) {
      point = true;
    } else if ((c == 'e' || c == 'E') && !exponent && mantissa_digit) {
      exponent = true;
      if (p + 1 != last && (p[1] == '+' || p[1] == '-')) ++p;
    } else {
      break;
    }
  }
  if (!mantissa_digit || (exponent && !exponent_digit)) {
    value = 0.0;
    return {p, false};
  }

  double parsed = 0.0;
  const std::from_chars_result result = std::from_chars(number, p, parsed);
  if (result.ec == std::errc::result_out_of_range) {
    if (beyond_largest(mantissa, p)) {
      parsed = std::numeric_limits<double>::infinity();
    } else {
      parsed = 0.0;
    }
    if (negative) parsed = -parsed;
  }
  if (std::isinf(parsed)) {
    // An overflowing text fails with the largest double of its sign, as the stream has it.
    value = std::copysign(std::numeric_limits<double>::max(), parsed);
    return {p, false};
  }
  value = parsed;
  return {p, true};
}

ParseResult parse_complex(const char* first, const char* last,
                          std::complex<double>& value) noexcept {
  const char* p = skip_space(first, last);
  if (p == last) return {last, false};
  if (*p != '(') {
    double real = 0.0;
    const ParseResult result = parse_real(p, last, real);
    if (result.ok) value = real;
    return result;
  }
  double real = 0.0;
  ParseResult result = parse_real(p + 1, last, real);
  if (!result.ok) return result;
  p = skip_space(result.ptr, last);
  if (p == last) return {last, false};
  if (*p == ')') {
    value = real;
    return {p + 1, true};
  }
  // A byte other than ',' or ')' is put back: the position stays on it.
  if (*p != ',') return {p, false};
  double imag = 0.0;
  result = parse_real(p + 1, last, imag);
  if (!result.ok) return result;
  p = skip_space(result.ptr, last);
  if (p == last) return {last, false};
  if (*p != ')') return {p, false};
  value = std::complex<double>(real, imag);
  return {p + 1, true};
}

ParseResult parse_count(const char* first, const char* last, std::uint64_t& value) noexcept {
  constexpr std::uint64_t kMax = std::numeric_limits<std::uint64_t>::max();
  const IntegerText text = read_integer(first, last, kMax, kMax);
  if (text.blank) return text.result;
  if (text.overflow) {
    value = kMax;
  } else if (!text.result.ok) {
    value = 0;
  } else {
    // Unsigned wrap-around: "-1" is 2^64 - 1, as the stream computes it.
    value = text.negative ? 0 - text.magnitude : text.magnitude;
  }
  return text.result;
}

ParseResult parse_int(const char* first, const char* last, int& value) noexcept {
  // The stream reads a long and narrows it, failing with the nearer bound when out of range.
  constexpr std::uint64_t kLongMax = std::numeric_limits<std::int64_t>::max();
  const IntegerText text = read_integer(first, last, kLongMax, kLongMax + 1);
  if (text.blank) return text.result;
  std::int64_t wide = 0;
  if (text.overflow) {
    wide = text.negative ? std::numeric_limits<std::int64_t>::min()
                         : std::numeric_limits<std::int64_t>::max();
  } else if (text.result.ok) {
    wide = text.negative ? static_cast<std::int64_t>(0 - text.magnitude)
                         : static_cast<std::int64_t>(text.magnitude);
  }
  if (wide < std::numeric_limits<int>::min()) {
    value = std::numeric_limits<int>::min();
    return {text.result.ptr, false};
  }
  if (wide > std::numeric_limits<int>::max()) {
    value = std::numeric_limits<int>::max();
    return {text.result.ptr, false};
  }
  value = static_cast<int>(wide);
  return text.result;
}

}  // namespace korvantix::detail
