#include <korvantix/io.hpp>

#include <cstring>
#include <stdexcept>

namespace korvantix {

// can_read tests the ASCII magic first, read and readPortNames the binary one: the two magics
// differ in their first byte, so the answers agree for every file.

bool can_read(const char* path) {
  return is_ascii(path) || is_binary(path);
}

void read(SMatrixContainer& container, const char* path) {
  if (is_binary(path)) {
    read_binary(container, path);
  } else if (is_ascii(path)) {
    read_ascii(container, path);
  } else {
    throw std::runtime_error("unknown korvantix file format");
  }
}

void readPortNames(std::vector<std::string>& names, const char* path) {
  if (is_binary(path)) {
    readPortNames_binary(names, path);
  } else if (is_ascii(path)) {
    readPortNames_ascii(names, path);
  } else {
    throw std::runtime_error("unknown korvantix file format");
  }
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
