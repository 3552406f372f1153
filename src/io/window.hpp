#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string_view>

namespace korvantix::detail {

/// Where the bytes of a streamed window come from.
class ByteSource {
 public:
  virtual ~ByteSource() = default;
  /// Up to n bytes into out; 0 only at the end of the input. Throws std::runtime_error when
  /// reading fails.
  virtual std::size_t read(char* out, std::size_t n) = 0;
};

/// The bytes a reader has not consumed yet, seen through one contiguous range: either a whole
/// input already in memory (not copied), or a reused buffer over a ByteSource, refilled on demand
/// with the unconsumed tail moved to the front. Parsers read straight from data()..end() and ask
/// for more() only when a token runs into end(); everything else about refills lives here.
/// Pointers into the window stay valid until the next fill(), more() or holds().
class Window {
 public:
  /// 1 MiB: large enough that refills cost nothing next to parsing, small enough to stay in
  /// the caches of a desktop machine.
  static constexpr std::size_t kCapacity = std::size_t{1} << 20;

  /// The whole input in memory; nothing is copied and there is nothing more to read.
  explicit Window(std::string_view data) noexcept
      : pos_(data.data()), end_(data.data() + data.size()), size_(data.size()), known_(true) {}

  /// A buffer of `capacity` bytes over source, which must outlive the window. size_hint is the
  /// input's size when it is known (a regular file), so that counts can be checked without
  /// reading ahead; negative when unknown.
  Window(ByteSource& source, std::int64_t size_hint, std::size_t capacity = kCapacity);

  /// First unconsumed byte.
  const char* data() const noexcept { return pos_; }
  /// One past the last byte read so far.
  const char* end() const noexcept { return end_; }
  /// Unconsumed bytes in the window.
  std::size_t size() const noexcept { return static_cast<std::size_t>(end_ - pos_); }
  /// Whether the window holds everything that is left of the input.
  bool eof() const noexcept { return source_ == nullptr; }

  /// Drops the next n bytes (n <= size()).
  void consume(std::size_t n) noexcept { pos_ += n; }
  /// Drops everything before p, a pointer into [data(), end()].
  void seek(const char* p) noexcept { pos_ = p; }

  /// Reads more of the input behind the unconsumed bytes (moving them to the front, or growing
  /// the buffer when they fill it). False once the input has ended. Either way the unconsumed
  /// bytes may have moved: pointers into the window must be taken again from data().
  bool more();
  /// Reads until at least n bytes are unconsumed or the input has ended; returns size().
  std::size_t fill(std::size_t n);
  /// The next n bytes without consuming them (fewer at the end of the input).
  std::string_view peek(std::size_t n) {
    fill(n);
    return std::string_view(pos_, n < size() ? n : size());
  }
  /// Whether the rest of the input holds at least count * item_bytes bytes. Exact for an input
  /// in memory or read to its end, taken from the size hint for a file of known size, and read
  /// ahead for an input of unknown size (a pipe), so that what a count may allocate is always
  /// backed by bytes that exist.
  bool holds(std::uint64_t count, std::uint64_t item_bytes);

 private:
  const char* pos_;
  const char* end_;
  ByteSource* source_ = nullptr;
  std::unique_ptr<char[]> buffer_;
  std::size_t capacity_ = 0;
  std::uint64_t dropped_ = 0;  // bytes moved out of the buffer's front by refills
  std::uint64_t size_ = 0;     // the whole input's size, when known_
  bool known_ = false;
};

}  // namespace korvantix::detail
