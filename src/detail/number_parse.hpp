#pragma once

#include <complex>
#include <cstdint>

namespace korvantix::detail {

// Locale-free readers of the number tokens of the text formats. Each one behaves exactly as the
// formatted extraction of a classic-locale std::istream over the same bytes (libstdc++): it skips
// white space, consumes the same characters, stores the same value and fails in the same cases.
// The one deliberate extension: parse_real (and so parse_complex) also reads the non-finite
// spellings the writers print, which a stream refuses: see parse_real.

/// True for the bytes a classic-locale stream skips: ' ', '\t', '\n', '\v', '\f', '\r'.
constexpr bool is_space(char c) noexcept {
  return c == ' ' || (c >= '\t' && c <= '\r');
}

/// The first byte of [first, last) that is not white space, or last.
const char* skip_space(const char* first, const char* last) noexcept;

/// Where an extraction stopped and whether it worked, in the stream's terms: ok == false is the
/// stream's failbit, ptr == last its eofbit; ptr is the first byte not consumed.
struct ParseResult {
  const char* ptr;
  bool ok;
};

/// Reads a double as `stream >> value`: optional '+' or '-', digits with at most one '.', an
/// optional exponent 'e' or 'E' with optional sign (only after a mantissa digit). Consumes the
/// longest prefix of that shape even when it fails ("1e+" consumes all three bytes). Results:
/// - white space up to last: fails, value unchanged, ptr == last;
/// - no mantissa digit or no exponent digit after 'e': fails, value = 0;
/// - a magnitude beyond the largest double ("1e400"): fails, value = +-DBL_MAX;
/// - a magnitude too small ("1e-400", subnormal range): succeeds with the rounded value (+-0);
/// - hexadecimal is not read: "0x1p3" reads 0 and stops at 'x'.
/// Extension: where the stream would fail on the first byte after the optional sign, the
/// case-insensitive words "inf", "infinity" and "nan" are read as +-infinity and a quiet NaN
/// carrying the sign ("-nan" keeps its sign bit), so every text the writers print reads back.
ParseResult parse_real(const char* first, const char* last, double& value) noexcept;

/// Reads a complex number as `stream >> value`: "(re,im)", "(re)" or a bare real, white space
/// allowed before every part. value changes only on success; on failure ptr is where the stream
/// would stand (a mismatched closing byte is put back, as the stream does).
ParseResult parse_complex(const char* first, const char* last,
                          std::complex<double>& value) noexcept;

/// Reads an unsigned 64-bit integer as `stream >> value` into unsigned long long: optional '+'
/// or '-', decimal digits. Like the stream, a '-' negates modulo 2^64 ("-1" succeeds with
/// 18446744073709551615), so callers must bound counts anyway; beyond 2^64-1 it fails with the
/// maximum; no digit fails with 0; white space up to last fails with value unchanged.
ParseResult parse_count(const char* first, const char* last, std::uint64_t& value) noexcept;

/// Reads an int as `stream >> value`: out of range fails with INT_MIN or INT_MAX; no digit
/// fails with 0; white space up to last fails with value unchanged.
ParseResult parse_int(const char* first, const char* last, int& value) noexcept;

}  // namespace korvantix::detail
