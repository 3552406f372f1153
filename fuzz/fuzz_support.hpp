#pragma once

// What every fuzz target shares: the input as a string_view, and the one rule of the readers:
// bad input ends in exactly the documented exception type with a text, anything else (another
// exception type, an empty message, a crash) escapes so that the fuzzer reports it.

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <stdexcept>
#include <string_view>
#include <typeinfo>

namespace korvantix::fuzz {

inline std::string_view as_text(const std::uint8_t* data, std::size_t size) {
  return std::string_view(reinterpret_cast<const char*>(data), size);
}

/// Runs parse(); a std::runtime_error of exactly that type with a non-empty text is the
/// documented refusal of bad input and is swallowed (the result is then false). Derived types
/// (range_error, overflow_error, ...) and every other exception escape.
template <class Parse>
bool refused_cleanly(Parse&& parse) {
  try {
    parse();
    return true;
  } catch (const std::runtime_error& error) {
    if (typeid(error) != typeid(std::runtime_error) || *error.what() == '\0') throw;
    return false;
  }
}

/// Stops the run with a message the fuzzer shows (for broken invariants, not for bad input).
[[noreturn]] inline void invariant_broken(const char* what) {
  std::fprintf(stderr, "invariant broken: %s\n", what);
  std::abort();
}

}  // namespace korvantix::fuzz
