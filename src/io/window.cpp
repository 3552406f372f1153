#include "io/window.hpp"

#include <algorithm>
#include <cstring>
#include <limits>

namespace korvantix::detail {
namespace {

// The least buffer worth a read call; a tiny file still gets one this large.
constexpr std::size_t kMinCapacity = 64;

}  // namespace

Window::Window(ByteSource& source, std::int64_t size_hint, std::size_t capacity)
    : pos_(nullptr), end_(nullptr), source_(&source) {
  if (size_hint >= 0) {
    known_ = true;
    size_ = static_cast<std::uint64_t>(size_hint);
    // One byte more than the file, so that the read that finds its end has room to try.
    if (size_ < capacity) capacity = static_cast<std::size_t>(size_) + 1;
  }
  capacity_ = std::max(capacity, kMinCapacity);
  buffer_.reset(new char[capacity_]);
  pos_ = end_ = buffer_.get();
}

bool Window::more() {
  if (source_ == nullptr) return false;
  char* base = buffer_.get();
  const std::size_t kept = size();
  dropped_ += static_cast<std::uint64_t>(pos_ - base);
  if (kept == capacity_) {
    // One token fills the whole buffer: it grows, so that the token stays contiguous.
    std::unique_ptr<char[]> larger(new char[2 * capacity_]);
    std::memcpy(larger.get(), pos_, kept);
    buffer_ = std::move(larger);
    capacity_ *= 2;
    base = buffer_.get();
  } else if (pos_ != base && kept != 0) {
    std::memmove(base, pos_, kept);
  }
  pos_ = base;
  end_ = base + kept;
  const std::size_t got = source_->read(base + kept, capacity_ - kept);
  if (got == 0) {
    source_ = nullptr;
    return false;
  }
  end_ += got;
  return true;
}

std::size_t Window::fill(std::size_t n) {
  while (size() < n && more()) {
  }
  return size();
}

bool Window::holds(std::uint64_t count, std::uint64_t item_bytes) {
  if (item_bytes == 0 || count <= size() / item_bytes) return true;
  if (eof()) return false;
  if (known_) {
    const std::uint64_t offset = dropped_ + static_cast<std::uint64_t>(pos_ - buffer_.get());
    const std::uint64_t rest = size_ > offset ? size_ - offset : 0;
    return count <= rest / item_bytes;
  }
  // No size to go by: the bytes must be read to be believed. What is buffered never exceeds
  // what the input really holds.
  if (count > std::numeric_limits<std::size_t>::max() / item_bytes) return false;
  return fill(static_cast<std::size_t>(count * item_bytes)) >= count * item_bytes;
}

}  // namespace korvantix::detail
