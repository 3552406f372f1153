#pragma once

// The cores of the foreign-format readers: each parses a byte window; `path` names the file in
// messages (and gives Touchstone its .sNp extension), `size` is the input's size in bytes,
// which bounds what the file can justify allocating. The container receives the result only
// when the whole input was read.

#include <korvantix/container.hpp>
#include <korvantix/import.hpp>

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "import/text_lines.hpp"

namespace korvantix::detail {

/// Reads Touchstone text; the noise block goes to `noise` when it is not null.
void parse_touchstone(Window& window, const std::string& path, std::uint64_t size,
                      SMatrixContainer& container, std::vector<NoiseParameters>* noise);
/// parse_touchstone on text held in memory.
void parse_touchstone(std::string_view text, const std::string& path, SMatrixContainer& container,
                      std::vector<NoiseParameters>* noise);

/// Reads the first package of CITIfile text.
void parse_citi(Window& window, const std::string& path, SMatrixContainer& container);
/// parse_citi on text held in memory.
void parse_citi(std::string_view text, const std::string& path, SMatrixContainer& container);

}  // namespace korvantix::detail
