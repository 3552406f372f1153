#pragma once

#include <cstdio>
#include <memory>
#include <string>

namespace korvantix::detail {

/// Closes a file handle owned by File.
struct FileCloser {
  void operator()(std::FILE* f) const noexcept { std::fclose(f); }
};

/// An open C file that closes itself.
using File = std::unique_ptr<std::FILE, FileCloser>;

/// Opens a UTF-8 path after the long-path conversion; nullptr when it cannot be opened.
/// mode as for fopen ("rb", "wb", "w", ...). May throw std::range_error("bad conversion").
File open_file(const char* path, const char* mode);

}  // namespace korvantix::detail
