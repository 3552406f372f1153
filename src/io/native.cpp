#include <korvantix/io.hpp>

#include <cstring>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>

#include "io/ascii_reader.hpp"
#include "io/binary_reader.hpp"
#include "io/keywords.hpp"
#include "io/path.hpp"
#include "io/window.hpp"

namespace korvantix {

namespace {

// Parses the file at path through a window over it, the file opened once.
template <class Parse>
void parse_file(const char* path, Parse&& parse) {
  detail::FileSource source(path);
  parse(detail::Window(source, source.size_hint()));
}

// The magic is read through the window that the reader then goes on with, so a pipe is read
// once and the format cannot change between the test and the read. The two magics differ in
// their first byte, so the order of the tests does not matter.
template <class Binary, class Ascii>
void read_either(const char* path, Binary&& binary, Ascii&& ascii) {
  parse_file(path, [&](detail::Window window) {
    const std::string_view head = window.peek(detail::kvx::kMagicSize);
    if (detail::has_binary_magic(head)) {
      binary(std::move(window));
    } else if (detail::has_ascii_magic(head)) {
      ascii(std::move(window));
    } else {
      throw std::runtime_error("unknown korvantix file format");
    }
  });
}

std::string head(const char* path) {
  return detail::load_head(path, detail::kvx::kMagicSize);
}

}  // namespace

bool is_ascii(const char* path) {
  return detail::has_ascii_magic(head(path));
}

bool is_binary(const char* path) {
  return detail::has_binary_magic(head(path));
}

void read_ascii(SMatrixContainer& container, const char* path) {
  parse_file(path,
             [&](detail::Window window) { detail::parse_ascii(std::move(window), container); });
}

void read_binary(SMatrixContainer& container, const char* path) {
  parse_file(path,
             [&](detail::Window window) { detail::parse_binary(std::move(window), container); });
}

void readPortNames_ascii(std::vector<std::string>& names, const char* path) {
  parse_file(path, [&](detail::Window window) {
    detail::parse_port_names_ascii(std::move(window), names);
  });
}

void readPortNames_binary(std::vector<std::string>& names, const char* path) {
  parse_file(path, [&](detail::Window window) {
    detail::parse_port_names_binary(std::move(window), names);
  });
}

bool can_read(const char* path) {
  const std::string magic = head(path);
  return detail::has_ascii_magic(magic) || detail::has_binary_magic(magic);
}

void read(SMatrixContainer& container, const char* path) {
  read_either(
      path, [&](detail::Window window) { detail::parse_binary(std::move(window), container); },
      [&](detail::Window window) { detail::parse_ascii(std::move(window), container); });
}

void readPortNames(std::vector<std::string>& names, const char* path) {
  read_either(
      path,
      [&](detail::Window window) { detail::parse_port_names_binary(std::move(window), names); },
      [&](detail::Window window) { detail::parse_port_names_ascii(std::move(window), names); });
}

void write(const SMatrixContainer& container, const char* path, FileFormat format) {
  if (format == ASCII) {
    write_ascii(container, path, 16);
  } else if (format == BINARY) {
    write_binary(container, path);
  }
}

bool can_read_from_version(const char* library, int major, int /*minor*/, int /*patch*/) {
  return library != nullptr && std::strcmp(library, "KORVANTIX") == 0 && major <= 2;
}

}  // namespace korvantix
