#include "detail/output_buffer.hpp"

#include <algorithm>
#include <cstring>

#include "detail/number_format.hpp"

namespace korvantix::detail {

OutputBuffer::OutputBuffer(std::FILE* file)
    : file_(file), data_(new char[kCapacity]), pos_(data_.get()), end_(data_.get() + kCapacity) {}

OutputBuffer::OutputBuffer(std::string& sink)
    : sink_(&sink), data_(new char[kCapacity]), pos_(data_.get()), end_(data_.get() + kCapacity) {}

OutputBuffer::~OutputBuffer() {
  try {
    flush();
  } catch (...) {
    // A string sink that cannot grow any more: the text is lost, as a failing file write is.
  }
}

void OutputBuffer::drain() {
  const auto size = static_cast<std::size_t>(pos_ - data_.get());
  pos_ = data_.get();
  if (size == 0) return;
  if (sink_ != nullptr) {
    sink_->append(data_.get(), size);
  } else {
    std::fwrite(data_.get(), 1, size, file_);
  }
}

void OutputBuffer::flush() {
  drain();
  if (file_ != nullptr) std::fflush(file_);
}

void OutputBuffer::raw(const void* data, std::size_t size) {
  const auto* bytes = static_cast<const char*>(data);
  if (size >= kCapacity) {
    // A block at least as large as the buffer goes out directly instead of in pieces.
    drain();
    if (sink_ != nullptr) {
      sink_->append(bytes, size);
    } else {
      std::fwrite(bytes, 1, size, file_);
    }
    return;
  }
  while (size > 0) {
    if (pos_ == end_) drain();
    const std::size_t n = std::min(size, static_cast<std::size_t>(end_ - pos_));
    std::memcpy(pos_, bytes, n);
    pos_ += n;
    bytes += n;
    size -= n;
  }
}

void OutputBuffer::zeros(std::size_t n) {
  while (n > 0) {
    if (pos_ == end_) drain();
    const std::size_t run = std::min(n, static_cast<std::size_t>(end_ - pos_));
    std::memset(pos_, '0', run);
    pos_ += run;
    n -= run;
  }
}

void OutputBuffer::scientific(double x, int precision) {
  if (precision <= kMaxDirectPrecision) {
    ensure(number_room(precision));
    pos_ = write_scientific(pos_, x, precision);
    return;
  }
  ensure(number_room(kMaxDirectPrecision));
  const ScientificText written = write_scientific_padded(pos_, x, precision);
  // The exponent moves behind the zeros.
  char tail[8];
  const auto tail_size = static_cast<std::size_t>(written.last - written.exponent);
  std::memcpy(tail, written.exponent, tail_size);
  pos_ = written.exponent;
  zeros(written.zeros);
  raw(tail, tail_size);
}

void OutputBuffer::complex(std::complex<double> z, int precision) {
  put('(');
  scientific(z.real(), precision);
  put(',');
  scientific(z.imag(), precision);
  put(')');
}

void OutputBuffer::general(double x, int precision) {
  // %g strips trailing zeros, so the direct precision already prints every digit there is.
  precision = std::min(precision, kMaxDirectPrecision);
  ensure(number_room(precision));
  pos_ = write_general(pos_, x, precision);
}

void OutputBuffer::general_upper(double x, int precision) {
  precision = std::min(precision, kMaxDirectPrecision);
  ensure(number_room(precision));
  pos_ = write_general_upper(pos_, x, precision);
}

void OutputBuffer::count(std::uint64_t n) {
  ensure(20);
  pos_ = write_count(pos_, n);
}

}  // namespace korvantix::detail
