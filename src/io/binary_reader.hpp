#pragma once

#include <korvantix/scalar.hpp>

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "io/binary_cursor.hpp"

namespace korvantix {

class SMatrixContainer;

namespace detail {

/// Whether data starts with the 15 bytes "BINARYKORVANTIX".
bool has_binary_magic(std::string_view data) noexcept;

/// Reads a whole binary kvx-file seen through window (magic included) into container, replacing
/// its content once the port names have been read. Throws as read_binary does, apart from the
/// open failure.
void parse_binary(Window window, SMatrixContainer& container);
/// parse_binary over bytes in memory.
inline void parse_binary(std::string_view data, SMatrixContainer& container) {
  parse_binary(Window(data), container);
}

/// Appends the port names of the binary kvx-file seen through window to names. Throws as
/// readPortNames_binary does, apart from the open failure.
void parse_port_names_binary(Window window, std::vector<std::string>& names);
/// parse_port_names_binary over bytes in memory.
inline void parse_port_names_binary(std::string_view data, std::vector<std::string>& names) {
  parse_port_names_binary(Window(data), names);
}

/// Reads one scalar model (type code and body).
/// Throws std::runtime_error "binary read for scalar model <code> not supported" for an unknown
/// code, the cursor's errors and the validation errors of the file formats.
std::unique_ptr<ScalarModel> read_scalar_model(BinaryCursor& cursor);

}  // namespace detail
}  // namespace korvantix
