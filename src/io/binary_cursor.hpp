#pragma once

#include <complex>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <iterator>
#include <string>
#include <string_view>
#include <vector>

namespace korvantix::detail {

/// Bounds-checked reading of the binary kvx-file's native-order values from an in-memory byte
/// range. Every read checks what is left first and copies with memcpy (no alignment needed);
/// every list length is checked against the bytes left before anything is allocated.
/// Throws std::runtime_error "unexpected end of binary kvx-file", "negative count <n> in
/// binary kvx-file" and "count <n> too large for the rest of the binary kvx-file".
class BinaryCursor {
 public:
  explicit BinaryCursor(std::string_view data) noexcept
      : pos_(data.data()), end_(data.data() + data.size()) {}

  /// Bytes not yet read.
  std::size_t remaining() const noexcept { return static_cast<std::size_t>(end_ - pos_); }

  /// Copies the next n bytes to out.
  void bytes(void* out, std::size_t n) {
    need(n);
    if (n != 0) std::memcpy(out, pos_, n);
    pos_ += n;
  }
  /// A 4-byte signed integer.
  std::int32_t i32() {
    std::int32_t v;
    bytes(&v, sizeof v);
    return v;
  }
  /// An 8-byte IEEE double, bit for bit.
  double f64() {
    double v;
    bytes(&v, sizeof v);
    return v;
  }
  /// Real part then imaginary part, bit for bit.
  std::complex<double> complex() {
    double parts[2];
    bytes(parts, sizeof parts);
    return {parts[0], parts[1]};
  }
  /// A list length whose items take at least min_item_bytes each (at least 1).
  std::size_t count(std::size_t min_item_bytes);
  /// A length-prefixed byte string.
  std::string string();
  /// A counted list of doubles.
  std::vector<double> real_list();
  /// A counted list of complex values.
  std::vector<std::complex<double>> complex_list();
  /// Replaces the contents of out by the next n complex values.
  void complexes(std::vector<std::complex<double>>& out, std::size_t n) {
    need_items(n, sizeof(std::complex<double>));
    // Constructed straight from the bytes: a resize would first write n zeros over them.
    const Complexes first(pos_);
    pos_ += n * sizeof(std::complex<double>);
    out.assign(first, Complexes(pos_));
  }

 private:
  void need(std::size_t n) const {
    if (n > remaining()) truncated();
  }
  void need_items(std::size_t n, std::size_t item_bytes) const {
    if (n > remaining() / item_bytes) truncated();
  }
  [[noreturn]] static void truncated();

  // The complex values stored from p on, not necessarily aligned, each loaded with memcpy.
  class Complexes {
   public:
    using iterator_category = std::forward_iterator_tag;
    using value_type = std::complex<double>;
    using difference_type = std::ptrdiff_t;
    using pointer = const std::complex<double>*;
    using reference = std::complex<double>;

    Complexes() = default;
    explicit Complexes(const char* p) noexcept : p_(p) {}
    std::complex<double> operator*() const noexcept {
      double parts[2];
      std::memcpy(parts, p_, sizeof parts);
      return {parts[0], parts[1]};
    }
    Complexes& operator++() noexcept {
      p_ += sizeof(std::complex<double>);
      return *this;
    }
    Complexes operator++(int) noexcept {
      Complexes before = *this;
      ++*this;
      return before;
    }
    bool operator==(const Complexes& other) const noexcept { return p_ == other.p_; }
    bool operator!=(const Complexes& other) const noexcept { return p_ != other.p_; }

   private:
    const char* p_ = nullptr;
  };

  const char* pos_;
  const char* end_;
};

}  // namespace korvantix::detail
