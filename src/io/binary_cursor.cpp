#include "io/binary_cursor.hpp"

#include <algorithm>
#include <stdexcept>

#include "detail/message.hpp"

namespace korvantix::detail {

void BinaryCursor::truncated() {
  throw std::runtime_error("unexpected end of binary kvx-file");
}

// Copied piece by piece as the window refills, so a long item never grows the window.
void BinaryCursor::bytes_across(char* out, std::size_t n) {
  while (n != 0) {
    if (window_.size() == 0 && !window_.more()) truncated();
    const std::size_t piece = std::min(n, window_.size());
    std::memcpy(out, window_.data(), piece);
    window_.consume(piece);
    out += piece;
    n -= piece;
  }
}

void BinaryCursor::complexes_across(std::vector<std::complex<double>>& out, std::size_t n) {
  // The count has been checked against the rest of the input, but the input may still end
  // early: nothing is allocated before the window shows that it can, or is no smaller than
  // the values themselves.
  if (!window_.holds(n, sizeof(std::complex<double>))) truncated();
  out.resize(n);
  bytes_across(reinterpret_cast<char*>(out.data()), n * sizeof(std::complex<double>));
}

std::size_t BinaryCursor::count(std::size_t min_item_bytes) {
  const std::int32_t n = i32();
  if (n < 0) throw std::runtime_error(message("negative count ", n, " in binary kvx-file"));
  const auto size = static_cast<std::size_t>(n);
  if (!window_.holds(size, min_item_bytes)) {
    throw std::runtime_error(
        message("count ", n, " too large for the rest of the binary kvx-file"));
  }
  return size;
}

std::string BinaryCursor::string() {
  const std::size_t n = count(1);
  if (n <= window_.size()) {
    std::string text(window_.data(), n);
    window_.consume(n);
    return text;
  }
  std::string text(n, '\0');
  bytes_across(text.data(), n);
  return text;
}

std::vector<double> BinaryCursor::real_list() {
  const std::size_t n = count(sizeof(double));
  std::vector<double> values(n);
  bytes(values.data(), n * sizeof(double));
  return values;
}

std::vector<std::complex<double>> BinaryCursor::complex_list() {
  const std::size_t n = count(sizeof(std::complex<double>));
  std::vector<std::complex<double>> values;
  complexes(values, n);
  return values;
}

}  // namespace korvantix::detail
