#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace korvantix::detail {

/// Appends x exactly as an std::ostream set to std::scientific with precision p prints it
/// ("1.0000000000000000e+09", "0e+00" at p=0, "-0.0e+00", "inf", "-inf", "nan", "-nan").
/// A negative precision means 6, as for the stream. Throws only std::bad_alloc.
void append_scientific(std::string& out, double x, int precision);
/// Appends x exactly as printf("%.*G", p, x) prints it ("1000000000", "1.5E-07", "INF", "NAN").
/// A precision of 0 means 1 and a negative one 6, as for printf. Throws only std::bad_alloc.
void append_general_upper(std::string& out, double x, int precision);
/// Appends x exactly as an std::ostream with default flags and precision p prints it ("%.*g").
/// Throws only std::bad_alloc.
void append_general(std::string& out, double x, int precision);
/// Appends an unsigned integer in plain decimal. Throws only std::bad_alloc.
void append_count(std::string& out, std::uint64_t n);

/// Largest precision the char* writers below handle directly; beyond it every further digit of
/// a double's exact decimal expansion is zero (OutputBuffer and the append_ functions pad).
constexpr int kMaxDirectPrecision = 800;
/// Room the char* writers below need for a precision p (already clamped to the direct range).
constexpr std::size_t number_room(int precision) noexcept {
  return static_cast<std::size_t>(precision < 0 ? 6 : precision) + 16;
}

/// Writes the append_scientific text at precision in [0, kMaxDirectPrecision] (or negative) to
/// first, which has number_room(precision) bytes; returns the end. Never throws.
char* write_scientific(char* first, double x, int precision) noexcept;
/// The append_scientific text of x at any precision, written as write_scientific writes it at
/// min(precision, kMaxDirectPrecision) to first (number_room(kMaxDirectPrecision) bytes): the
/// full text is [first, exponent), then `zeros` zeros, then [exponent, last). No double has
/// more than 767 significant decimal digits, so every digit past the direct precision is a zero
/// and is padded instead of formatted. Never throws.
struct ScientificText {
  char* exponent;
  char* last;
  std::size_t zeros;
};
ScientificText write_scientific_padded(char* first, double x, int precision) noexcept;
/// Writes the append_general_upper text under the same terms as write_scientific.
char* write_general_upper(char* first, double x, int precision) noexcept;
/// Writes the append_general text under the same terms as write_scientific.
char* write_general(char* first, double x, int precision) noexcept;
/// Writes n in decimal to first, which has at least 20 bytes; returns the end. Never throws.
char* write_count(char* first, std::uint64_t n) noexcept;

}  // namespace korvantix::detail
