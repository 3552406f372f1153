#include "import/text_lines.hpp"

#include <charconv>
#include <cstring>
#include <limits>
#include <stdexcept>

#include "detail/message.hpp"

namespace korvantix::detail {

bool LineReader::next(std::string_view& line) {
  window_.consume(pending_);
  pending_ = 0;
  std::size_t scanned = 0;
  for (;;) {
    // Taken again on every round: more() may move the unconsumed bytes.
    const std::string_view text(window_.data(), window_.size());
    const void* end = std::memchr(text.data() + scanned, '\n', text.size() - scanned);
    if (end != nullptr) {
      const std::size_t length = static_cast<const char*>(end) - text.data();
      pending_ = length + 1;
      line = text.substr(0, length);
      break;
    }
    scanned = text.size();
    if (scanned > kMaxLine) {
      fail_at(number_ + 1, "expected a line of at most ", kMaxLine, " bytes, found a longer one");
    }
    if (window_.more()) continue;
    if (window_.size() == 0) return false;
    pending_ = window_.size();
    line = std::string_view(window_.data(), window_.size());
    break;
  }
  if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
  ++number_;
  return true;
}

std::string_view trim(std::string_view text) noexcept {
  while (!text.empty() && is_blank(text.front()))
    text.remove_prefix(1);
  while (!text.empty() && is_blank(text.back()))
    text.remove_suffix(1);
  return text;
}

std::size_t count_tokens(std::string_view text, bool commas) noexcept {
  std::size_t n = 0;
  while (!next_token(text, commas).empty())
    ++n;
  return n;
}

bool parse_number(std::string_view token, double& value) noexcept {
  const char* first = token.data();
  const char* last = first + token.size();
  // from_chars takes no '+'; a second sign after it stays an error.
  if (first != last && *first == '+' && last - first > 1 && first[1] != '-' && first[1] != '+')
    ++first;
  if (first == last) return false;
  const std::from_chars_result r = std::from_chars(first, last, value);
  return r.ec == std::errc() && r.ptr == last;
}

bool parse_count(std::string_view token, std::uint64_t& value) noexcept {
  if (!token.empty() && token.front() == '+') token.remove_prefix(1);
  if (token.empty() || token.front() < '0' || token.front() > '9') return false;
  const std::from_chars_result r =
      std::from_chars(token.data(), token.data() + token.size(), value);
  return r.ec == std::errc() && r.ptr == token.data() + token.size();
}

namespace {

char lower(char c) noexcept {
  return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

}  // namespace

bool iequals(std::string_view a, std::string_view b) noexcept {
  if (a.size() != b.size()) return false;
  for (std::size_t i = 0; i < a.size(); ++i) {
    if (lower(a[i]) != lower(b[i])) return false;
  }
  return true;
}

bool istarts_with(std::string_view text, std::string_view prefix) noexcept {
  return text.size() >= prefix.size() && iequals(text.substr(0, prefix.size()), prefix);
}

std::string found(std::string_view token) {
  constexpr std::size_t kShown = 40;
  if (token.empty()) return "end of line";
  if (token.size() <= kShown) return "\"" + std::string(token) + "\"";
  return "\"" + std::string(token.substr(0, kShown)) + "...\"";
}

bool parse_port_name(std::string_view text, std::uint64_t& k, std::string_view& name) noexcept {
  text = trim(text);
  if (!istarts_with(text, "Port[")) return false;
  text.remove_prefix(5);
  const std::size_t close = text.find(']');
  if (close == std::string_view::npos || !parse_count(text.substr(0, close), k) || k == 0)
    return false;
  text = trim(text.substr(close + 1));
  if (!text.empty() && text.front() == '=') text = trim(text.substr(1));
  name = text;
  return true;
}

}  // namespace korvantix::detail
