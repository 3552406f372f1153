#pragma once

#include <korvantix/scalar.hpp>

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "io/ascii_tokens.hpp"

namespace korvantix {

class SMatrixContainer;

namespace detail {

/// Whether data starts with the 15 bytes "ASCII KORVANTIX".
bool has_ascii_magic(std::string_view data) noexcept;

/// Reads a whole ASCII kvx-file seen through window (magic included) into container, replacing
/// its content at the point where the ports have been read. Throws as read_ascii does, apart
/// from the open failure.
void parse_ascii(Window window, SMatrixContainer& container);
/// parse_ascii over a text in memory.
inline void parse_ascii(std::string_view data, SMatrixContainer& container) {
  parse_ascii(Window(data), container);
}

/// Appends the port names of the ASCII kvx-file seen through window to names. Throws as
/// readPortNames_ascii does, apart from the open failure.
void parse_port_names_ascii(Window window, std::vector<std::string>& names);
/// parse_port_names_ascii over a text in memory.
inline void parse_port_names_ascii(std::string_view data, std::vector<std::string>& names) {
  parse_port_names_ascii(Window(data), names);
}

/// Reads one scalar model (keyword and body).
/// Throws std::runtime_error "syntax error: exptected POLY or RAT or POLEZERO or STATICTABLE or
/// SPARASPLINE but found <word>" for an unknown keyword, and the token and validation errors.
std::unique_ptr<ScalarModel> read_scalar_model(AsciiTokens& tokens);

}  // namespace detail
}  // namespace korvantix
