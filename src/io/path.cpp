#include "io/path.hpp"

#include <korvantix/io.hpp>

#include <cstdlib>
#include <stdexcept>
#include <vector>

#include "detail/message.hpp"

#if defined(_WIN32)
#include <stdlib.h>
#include <sys/stat.h>
#include <sys/types.h>
#else
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#endif

namespace korvantix {
namespace detail {
namespace {

[[noreturn]] void bad_conversion() {
  throw std::range_error("bad conversion");
}

// A null path cannot be opened; its message shows it as empty.
const char* shown(const char* path) {
  return path != nullptr ? path : "";
}

constexpr std::size_t kFullPathBuffer = 1024;

constexpr std::u16string_view kPrefix = u"\\\\?\\";

#if !defined(_WIN32)
std::optional<std::string> current_directory() {
  std::vector<char> buffer(256);
  for (;;) {
    if (::getcwd(buffer.data(), buffer.size()) != nullptr) return std::string(buffer.data());
    if (errno != ERANGE || buffer.size() >= 65536) return std::nullopt;
    buffer.resize(buffer.size() * 2);
  }
}
#endif

}  // namespace

std::u16string utf8_to_utf16(std::string_view text) {
  std::u16string out;
  out.reserve(text.size());
  const auto* p = reinterpret_cast<const unsigned char*>(text.data());
  const auto* const end = p + text.size();
  while (p != end) {
    const unsigned char lead = *p++;
    if (lead < 0x80) {
      out.push_back(static_cast<char16_t>(lead));
      continue;
    }
    std::size_t extra = 0;
    char32_t cp = 0;
    char32_t min = 0;
    if (lead >= 0xC2 && lead <= 0xDF) {
      extra = 1, cp = lead & 0x1Fu, min = 0x80;
    } else if (lead >= 0xE0 && lead <= 0xEF) {
      extra = 2, cp = lead & 0x0Fu, min = 0x800;
    } else if (lead >= 0xF0 && lead <= 0xF4) {
      extra = 3, cp = lead & 0x07u, min = 0x10000;
    } else {
      bad_conversion();  // stray continuation byte, overlong two-byte lead, or above U+10FFFF
    }
    if (static_cast<std::size_t>(end - p) < extra) bad_conversion();
    for (std::size_t k = 0; k < extra; ++k, ++p) {
      if ((*p & 0xC0u) != 0x80u) bad_conversion();
      cp = (cp << 6) | (*p & 0x3Fu);
    }
    if (cp < min || cp > 0x10FFFF || (cp >= 0xD800 && cp <= 0xDFFF)) bad_conversion();
    if (cp < 0x10000) {
      out.push_back(static_cast<char16_t>(cp));
    } else {
      cp -= 0x10000;
      out.push_back(static_cast<char16_t>(0xD800 + (cp >> 10)));
      out.push_back(static_cast<char16_t>(0xDC00 + (cp & 0x3FFu)));
    }
  }
  return out;
}

std::string utf16_to_utf8(std::u16string_view text) {
  std::string out;
  out.reserve(text.size());
  for (std::size_t i = 0; i < text.size(); ++i) {
    char32_t cp = text[i];
    if (cp >= 0xD800 && cp <= 0xDBFF) {
      if (i + 1 == text.size() || text[i + 1] < 0xDC00 || text[i + 1] > 0xDFFF) bad_conversion();
      cp = 0x10000 + ((cp - 0xD800) << 10) + (text[++i] - 0xDC00u);
    } else if (cp >= 0xDC00 && cp <= 0xDFFF) {
      bad_conversion();
    }
    if (cp < 0x80) {
      out.push_back(static_cast<char>(cp));
    } else if (cp < 0x800) {
      out.push_back(static_cast<char>(0xC0 | (cp >> 6)));
      out.push_back(static_cast<char>(0x80 | (cp & 0x3F)));
    } else if (cp < 0x10000) {
      out.push_back(static_cast<char>(0xE0 | (cp >> 12)));
      out.push_back(static_cast<char>(0x80 | ((cp >> 6) & 0x3F)));
      out.push_back(static_cast<char>(0x80 | (cp & 0x3F)));
    } else {
      out.push_back(static_cast<char>(0xF0 | (cp >> 18)));
      out.push_back(static_cast<char>(0x80 | ((cp >> 12) & 0x3F)));
      out.push_back(static_cast<char>(0x80 | ((cp >> 6) & 0x3F)));
      out.push_back(static_cast<char>(0x80 | (cp & 0x3F)));
    }
  }
  return out;
}

bool long_path_support() {
  return std::getenv("TAVRO_LONGPATHSUPPORT") != nullptr;
}

std::optional<std::u16string> platform_full_path(const std::u16string& relative) {
#if defined(_WIN32)
  static_assert(sizeof(wchar_t) == sizeof(char16_t), "UTF-16 wide characters expected");
  const std::wstring wide(relative.begin(), relative.end());
  wchar_t buffer[kFullPathBuffer];
  if (::_wfullpath(buffer, wide.c_str(), kFullPathBuffer) == nullptr) return std::nullopt;
  const std::wstring full(buffer);
  return std::u16string(full.begin(), full.end());
#else
  // A path that starts with a backslash lies on the current drive, which here is the root.
  std::u16string joined;
  if (relative.empty() || relative.front() != u'\\') {
    const std::optional<std::string> cwd = current_directory();
    if (!cwd) return std::nullopt;
    try {
      joined = utf8_to_utf16(*cwd);
    } catch (const std::range_error&) {
      return std::nullopt;  // a directory name that is not UTF-8 has no UTF-16 form
    }
    for (char16_t& c : joined) {
      if (c == u'/') c = u'\\';
    }
    joined += u'\\';
  }
  joined += relative;

  // Resolve "." and ".." lexically, as the Windows function does; ".." at the root stays there.
  std::vector<std::u16string> segments;
  std::size_t start = 0;
  while (start <= joined.size()) {
    std::size_t stop = joined.find(u'\\', start);
    if (stop == std::u16string::npos) stop = joined.size();
    std::u16string segment = joined.substr(start, stop - start);
    if (segment == u"..") {
      if (!segments.empty()) segments.pop_back();
    } else if (!segment.empty() && segment != u".") {
      segments.push_back(std::move(segment));
    }
    start = stop + 1;
  }
  std::u16string full;
  for (const std::u16string& segment : segments)
    full += u'\\' + segment;
  if (full.empty()) full = u"\\";
  if (!joined.empty() && joined.back() == u'\\' && full.back() != u'\\') full += u'\\';
  if (full.size() >= kFullPathBuffer) return std::nullopt;  // the terminator must fit as well
  return full;
#endif
}

std::string to_long_path(const std::string& path, bool add_prefix, FullPathFunction full_path) {
  if (!long_path_support()) return path;
  std::u16string wide = utf8_to_utf16(path);
  if (wide.size() > 4 && (wide.compare(0, 4, kPrefix) == 0 || wide.compare(0, 4, u"//?/") == 0)) {
    wide.erase(0, 4);
  }
  for (char16_t& c : wide) {
    if (c == u'/') c = u'\\';
  }
  // The search resumes one character behind each hit, so a run of three separators keeps two.
  for (std::size_t hit = wide.find(u"\\\\"); hit != std::u16string::npos;
       hit = wide.find(u"\\\\", hit + 1)) {
    wide.replace(hit, 2, u"\\");
  }
  // The "/" test can no longer succeed after the separators were turned round; a leading single
  // backslash therefore counts as relative and is resolved against the current drive.
  const bool absolute =
      !wide.empty() && (wide.front() == u'/' || (wide.size() >= 2 && wide[1] == u':'));
  if (!absolute) {
    std::optional<std::u16string> full = full_path(wide);
    if (!full) return std::string();
    wide = std::move(*full);
  }
  if (add_prefix) wide.insert(0, kPrefix);
  return utf16_to_utf8(wide);
}

File open_file(const char* path, const char* mode) {
  if (path == nullptr) return nullptr;
#if defined(_WIN32)
  const std::wstring native = to_native_path(path);
  if (native.empty()) return nullptr;
  const std::string narrow_mode(mode);
  const std::wstring wide_mode(narrow_mode.begin(), narrow_mode.end());
  return File(::_wfopen(native.c_str(), wide_mode.c_str()));
#else
  // No extended-length form exists here, so the file is opened by its UTF-8 path unchanged;
  // the path is still checked to be UTF-8 so that bad text fails alike on every platform.
  utf8_to_utf16(path);
  return File(std::fopen(path, mode));
#endif
}

File open_for_reading(const char* path) {
  File file = open_file(path, "rb");
  if (!file) throw std::runtime_error(message("Unable to read <", shown(path), ">"));
  return file;
}

File open_for_writing(const char* path) {
  File file = open_file(path, "wb");
  if (!file) throw std::runtime_error(message("Unable to write to <", shown(path), ">"));
  return file;
}

FileSource::FileSource(const char* path) : file_(open_for_reading(path)), path_(path) {
  int kind = 0;
  std::int64_t size = -1;
#if defined(_WIN32)
  struct _stat64 info;
  if (::_fstat64(::_fileno(file_.get()), &info) == 0)
    kind = info.st_mode & _S_IFMT, size = info.st_size;
  const bool directory = kind == _S_IFDIR;
  const bool regular = kind == _S_IFREG;
#else
  struct stat info;
  if (::fstat(::fileno(file_.get()), &info) == 0) kind = info.st_mode & S_IFMT, size = info.st_size;
  const bool directory = S_ISDIR(kind);
  const bool regular = S_ISREG(kind);
#endif
  // A directory opens for reading on some systems but has no bytes to give.
  if (directory) throw std::runtime_error(message("Unable to read <", path_, ">"));
  if (regular) size_hint_ = size;
  // The window is the only buffer: stdio's own would add a copy of every byte.
  std::setvbuf(file_.get(), nullptr, _IONBF, 0);
}

std::size_t FileSource::read(char* out, std::size_t n) {
  const std::size_t got = std::fread(out, 1, n, file_.get());
  if (got == 0 && std::ferror(file_.get()) != 0) {
    throw std::runtime_error(message("Unable to read <", path_, ">"));
  }
  return got;
}

std::string load_head(const char* path, std::size_t size) {
  FileSource source(path);
  std::string head(size, '\0');
  std::size_t got = 0;
  while (got < size) {
    const std::size_t n = source.read(&head[got], size - got);
    if (n == 0) break;
    got += n;
  }
  head.resize(got);
  return head;
}

}  // namespace detail

std::string to_long_path(const std::string& path, bool add_prefix) {
  return detail::to_long_path(path, add_prefix, &detail::platform_full_path);
}

std::wstring to_native_path(const std::string& path) {
  const std::u16string units = detail::utf8_to_utf16(to_long_path(path, true));
  return std::wstring(units.begin(), units.end());
}

}  // namespace korvantix
