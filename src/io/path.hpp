#pragma once

#include <cstdint>
#include <cstdio>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "io/window.hpp"

namespace korvantix::detail {

/// Closes a file handle owned by File.
struct FileCloser {
  void operator()(std::FILE* f) const noexcept { std::fclose(f); }
};

/// An open C file that closes itself.
using File = std::unique_ptr<std::FILE, FileCloser>;

/// Opens a UTF-8 path after the long-path conversion; nullptr when it cannot be opened (or is
/// null).
/// mode as for fopen ("rb", "wb", "w", ...). May throw std::range_error("bad conversion").
File open_file(const char* path, const char* mode);

/// open_file(path, "rb"). Throws std::runtime_error "Unable to read <path>" when it does not
/// open (a null path included) and std::range_error("bad conversion").
File open_for_reading(const char* path);
/// open_file(path, "wb"). Throws std::runtime_error "Unable to write to <path>" when it does not
/// open (a null path included) and std::range_error("bad conversion").
File open_for_writing(const char* path);

/// A file opened for a streamed read through a Window: a regular file, a pipe or a device,
/// read unbuffered in the window's own chunks.
class FileSource final : public ByteSource {
 public:
  /// Throws as open_for_reading does, and std::runtime_error "Unable to read <path>" for a
  /// directory.
  explicit FileSource(const char* path);
  /// Throws std::runtime_error "Unable to read <path>" when reading fails.
  std::size_t read(char* out, std::size_t n) override;
  /// The size of a regular file; -1 for anything whose size says nothing (pipes, devices).
  std::int64_t size_hint() const noexcept { return size_hint_; }

 private:
  File file_;
  std::string path_;
  std::int64_t size_hint_ = -1;
};

/// The first `size` bytes of the file (fewer when it is shorter), for telling formats apart.
/// Throws as FileSource does.
std::string load_head(const char* path, std::size_t size);

/// Strict UTF-8 to UTF-16: overlong forms, encoded surrogates, code points above U+10FFFF and
/// cut sequences throw std::range_error("bad conversion").
std::u16string utf8_to_utf16(std::string_view text);
/// UTF-16 to UTF-8; an unpaired surrogate throws std::range_error("bad conversion").
std::string utf16_to_utf8(std::u16string_view text);

/// Whether TAVRO_LONGPATHSUPPORT is present in the environment (its value is not looked at).
bool long_path_support();

/// Makes a relative UTF-16 path absolute; nullopt when it cannot (result of 1024 units or more).
using FullPathFunction = std::optional<std::u16string> (*)(const std::u16string& relative);

/// The platform's full-path function: _wfullpath on Windows; elsewhere the path joined to the
/// current directory with backslashes and "." and ".." segments resolved, a path beginning with
/// a backslash being taken from the root.
std::optional<std::u16string> platform_full_path(const std::u16string& relative);

/// The long-path rewrite with an exchangeable full-path step (tests pass their own). Consults
/// TAVRO_LONGPATHSUPPORT like the public to_long_path; returns an empty string when the full
/// path cannot be formed, so that the open that follows fails.
std::string to_long_path(const std::string& path, bool add_prefix, FullPathFunction full_path);

}  // namespace korvantix::detail
