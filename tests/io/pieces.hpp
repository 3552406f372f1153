#pragma once

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <string_view>

#include "io/window.hpp"

namespace korvantix::test {

// Hands out at most `piece` bytes per read, so that every token meets a refill somewhere.
class Pieces final : public detail::ByteSource {
 public:
  Pieces(std::string_view data, std::size_t piece) : data_(data), piece_(piece) {}
  std::size_t read(char* out, std::size_t n) override {
    n = std::min({n, piece_, data_.size()});
    std::memcpy(out, data_.data(), n);
    data_.remove_prefix(n);
    return n;
  }

 private:
  std::string_view data_;
  std::size_t piece_;
};

}  // namespace korvantix::test
