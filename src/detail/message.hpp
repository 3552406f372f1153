#pragma once

#include <locale>
#include <sstream>
#include <string>

namespace korvantix::detail {

/// Builds an exception text by streaming every piece with default formatting: integers in
/// decimal, doubles with six significant digits in the shorter of fixed and scientific form
/// (1e+09, 2.5e+09). The classic locale keeps a host's decimal comma out of the texts.
template <class... Pieces>
std::string message(const Pieces&... pieces) {
  std::ostringstream out;
  out.imbue(std::locale::classic());
  (out << ... << pieces);
  return out.str();
}

}  // namespace korvantix::detail
