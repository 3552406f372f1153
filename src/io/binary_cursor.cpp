#include "io/binary_cursor.hpp"

#include <stdexcept>

#include "detail/message.hpp"

namespace korvantix::detail {

void BinaryCursor::truncated() {
  throw std::runtime_error("unexpected end of binary kvx-file");
}

std::size_t BinaryCursor::count(std::size_t min_item_bytes) {
  const std::int32_t n = i32();
  if (n < 0) throw std::runtime_error(message("negative count ", n, " in binary kvx-file"));
  const auto size = static_cast<std::size_t>(n);
  if (min_item_bytes != 0 && size > remaining() / min_item_bytes) {
    throw std::runtime_error(
        message("count ", n, " too large for the rest of the binary kvx-file"));
  }
  return size;
}

std::string BinaryCursor::string() {
  const std::size_t n = count(1);
  std::string text(pos_, n);
  pos_ += n;
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
