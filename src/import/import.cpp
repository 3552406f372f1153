// The public readers: the path is opened, its size taken for the allocation bounds, and the file
// streamed through one reused window into the grammar cores.
#include <korvantix/import.hpp>
#include <korvantix/io.hpp>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <stdexcept>
#include <string>
#include <string_view>

#include "detail/message.hpp"
#include "import/readers.hpp"
#include "import/text_lines.hpp"
#include "io/path.hpp"
#include "io/window.hpp"

namespace korvantix {
namespace {

// identify looks at no more than this.
constexpr std::size_t kHead = 4096;

// Streams the file through the window the native readers use. The size bounds what the file can
// justify allocating; an input without one (a pipe, a device) counts as empty, so that a port
// count read from it is refused instead of trusted.
template <class Parse>
void read_file(const char* path, Parse&& parse) {
  detail::FileSource source(path);
  const std::int64_t hint = source.size_hint();
  detail::Window window(source, hint);
  parse(window, std::string(path), hint >= 0 ? static_cast<std::uint64_t>(hint) : 0);
}

bool has_extension(std::string_view path, std::string_view ext) {
  return path.size() > ext.size() && detail::iequals(path.substr(path.size() - ext.size()), ext);
}

// ".sNp" (any case) or ".ts".
bool touchstone_extension(std::string_view path) {
  if (has_extension(path, ".ts")) return true;
  const std::size_t dot = path.rfind('.');
  if (dot == std::string_view::npos) return false;
  const std::string_view ext = path.substr(dot + 1);
  std::uint64_t n = 0;
  return ext.size() >= 3 && (ext.front() == 's' || ext.front() == 'S') &&
         (ext.back() == 'p' || ext.back() == 'P') && ext[1] >= '0' && ext[1] <= '9' &&
         detail::parse_count(ext.substr(1, ext.size() - 2), n);
}

// What the first content line of a text says: CITIFILE and its version, a Touchstone option
// line ("1.1") or [Version] keyword; unknown otherwise (a head of comments included).
DataFileIdentity identify_text(std::string_view head) {
  detail::Window window(head);
  detail::LineReader lines(window, "");
  std::string_view line;
  while (lines.next(line)) {
    std::string_view content = detail::trim(line.substr(0, line.find('!')));
    if (content.empty()) continue;
    const std::string_view word = detail::next_token(content);
    if (word == "CITIFILE") return {DataFormat::citifile, std::string(detail::next_token(content))};
    if (word.front() == '#') return {DataFormat::touchstone, "1.1"};
    if (detail::iequals(word, "[Version]")) {
      const std::string_view v = detail::next_token(content);
      if (v == "2.0" || v == "2.1") return {DataFormat::touchstone, std::string(v)};
    }
    break;
  }
  return {};
}

// "<major>.<minor>.<patch>" of a kvx-file: three numbers after the ASCII magic, or three int32
// after the binary one, in the byte order of the machine that wrote them (the writer's marker
// 0x11223344 follows them and tells).
std::string kvx_version(std::string_view head, bool binary) {
  if (binary) {
    constexpr std::size_t kMagic = 15;  // "BINARYKORVANTIX"
    std::int32_t v[4] = {};
    if (head.size() < kMagic + sizeof v) return "";
    std::memcpy(v, head.data() + kMagic, sizeof v);
    if (v[3] != 0x11223344) {
      for (std::int32_t& x : v) {
        const auto u = static_cast<std::uint32_t>(x);
        x = static_cast<std::int32_t>((u >> 24) | ((u >> 8) & 0xff00u) | ((u << 8) & 0xff0000u) |
                                      (u << 24));
      }
    }
    return std::to_string(v[0]) + "." + std::to_string(v[1]) + "." + std::to_string(v[2]);
  }
  std::string_view rest = head.substr(std::min<std::size_t>(head.size(), 15));  // "ASCII KORVANTIX"
  rest = rest.substr(0, rest.find('\n'));
  std::string version;
  for (int k = 0; k < 3; ++k) {
    const std::string_view t = detail::next_token(rest);
    std::uint64_t n = 0;
    if (!detail::parse_count(t, n)) return "";
    version += (k == 0 ? "" : ".") + std::string(t);
  }
  return version;
}

}  // namespace

void read_touchstone(SMatrixContainer& container, const char* path) {
  read_file(path, [&](detail::Window& window, const std::string& name, std::uint64_t size) {
    detail::parse_touchstone(window, name, size, container, nullptr);
  });
}

void read_touchstone(SMatrixContainer& container, const char* path,
                     std::vector<NoiseParameters>& noise) {
  read_file(path, [&](detail::Window& window, const std::string& name, std::uint64_t size) {
    detail::parse_touchstone(window, name, size, container, &noise);
  });
}

void read_cti(SMatrixContainer& container, const char* path) {
  read_file(path, [&](detail::Window& window, const std::string& name, std::uint64_t) {
    detail::parse_citi(window, name, container);
  });
}

DataFileIdentity identify(const char* path) {
  const std::string head = detail::load_head(path, kHead);
  if (is_binary(path)) return {DataFormat::kvx_binary, kvx_version(head, true)};
  if (is_ascii(path)) return {DataFormat::kvx_ascii, kvx_version(head, false)};
  DataFileIdentity identity = identify_text(head);
  if (identity.format != DataFormat::unknown) return identity;
  const std::string_view name(path);
  if (has_extension(name, ".kvx")) return {DataFormat::kvx_ascii, ""};
  // A version-1 file may start with its data: no option line is required.
  if (touchstone_extension(name)) return {DataFormat::touchstone, "1.1"};
  if (has_extension(name, ".cti") || has_extension(name, ".citi"))
    return {DataFormat::citifile, ""};
  return {};
}

void read_any(SMatrixContainer& container, const char* path) {
  switch (identify(path).format) {
    case DataFormat::kvx_ascii:
    case DataFormat::kvx_binary:
      read(container, path);
      return;
    case DataFormat::touchstone:
      read_touchstone(container, path);
      return;
    case DataFormat::citifile:
      read_cti(container, path);
      return;
    case DataFormat::unknown:
      break;
  }
  throw std::runtime_error(detail::message(path, ": not a kvx-file, Touchstone file or CITIfile"));
}

}  // namespace korvantix
