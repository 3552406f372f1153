#pragma once

#include <complex>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <iterator>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "io/window.hpp"

namespace korvantix::detail {

/// Bounds-checked reading of the binary kvx-file's native-order values through a Window. Every
/// read checks what is there first and copies with memcpy (no alignment needed); an item that
/// runs past the window is completed from the next refill; every list length is checked against
/// the rest of the input before anything is allocated.
/// Throws std::runtime_error "unexpected end of binary kvx-file", "negative count <n> in
/// binary kvx-file" and "count <n> too large for the rest of the binary kvx-file".
class BinaryCursor {
 public:
  explicit BinaryCursor(Window window) noexcept : window_(std::move(window)) {}
  explicit BinaryCursor(std::string_view data) noexcept : window_(data) {}

  /// The window, for the magic test before the first value.
  Window& window() noexcept { return window_; }

  /// Copies the next n bytes to out.
  void bytes(void* out, std::size_t n) {
    if (n > window_.size()) return bytes_across(static_cast<char*>(out), n);
    if (n != 0) std::memcpy(out, window_.data(), n);
    window_.consume(n);
  }
  /// A 4-byte signed integer.
  std::int32_t i32() {
    std::int32_t v;
    bytes(&v, sizeof v);
    return v;
  }
  /// The next 4-byte integer without consuming it; false when fewer than 4 bytes are left.
  bool peek_i32(std::int32_t& v) {
    const std::string_view next = window_.peek(sizeof v);
    if (next.size() < sizeof v) return false;
    std::memcpy(&v, next.data(), sizeof v);
    return true;
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
  /// A list length whose items take at least min_item_bytes each (0: not checked).
  std::size_t count(std::size_t min_item_bytes);
  /// A length-prefixed byte string.
  std::string string();
  /// A counted list of doubles.
  std::vector<double> real_list();
  /// A counted list of complex values.
  std::vector<std::complex<double>> complex_list();
  /// Replaces the contents of out by the next n complex values.
  void complexes(std::vector<std::complex<double>>& out, std::size_t n) {
    constexpr std::size_t item = sizeof(std::complex<double>);
    if (n > window_.size() / item) return complexes_across(out, n);
    // Constructed straight from the bytes: a resize would first write n zeros over them.
    const Complexes first(window_.data());
    window_.consume(n * item);
    out.assign(first, Complexes(window_.data()));
  }

 private:
  void bytes_across(char* out, std::size_t n);
  void complexes_across(std::vector<std::complex<double>>& out, std::size_t n);
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

  Window window_;
};

}  // namespace korvantix::detail
