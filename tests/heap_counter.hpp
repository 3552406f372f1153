#pragma once

// Replaces the global operator new and delete with ones that count the bytes held (g_current)
// and the most held since g_peak was last reset. Include it in exactly one source file of a test
// program of its own: the replacement applies to the whole program.

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <new>

namespace {

// Each block carries its size in front, so that delete can subtract it; 16 bytes keep the
// alignment malloc gives.
constexpr std::size_t kHeader = 16;
std::size_t g_current = 0;
std::size_t g_peak = 0;

void* counted_new(std::size_t size) noexcept {
  void* block = std::malloc(size + kHeader);
  if (block == nullptr) return nullptr;
  std::memcpy(block, &size, sizeof size);
  g_current += size;
  g_peak = std::max(g_peak, g_current);
  return static_cast<char*>(block) + kHeader;
}

void counted_delete(void* p) noexcept {
  if (p == nullptr) return;
  void* block = static_cast<char*>(p) - kHeader;
  std::size_t size = 0;
  std::memcpy(&size, block, sizeof size);
  g_current -= size;
  std::free(block);
}

void* counted_new_or_throw(std::size_t size) {
  void* p = counted_new(size);
  if (p == nullptr) throw std::bad_alloc();
  return p;
}

}  // namespace

void* operator new(std::size_t size) {
  return counted_new_or_throw(size);
}
void* operator new[](std::size_t size) {
  return counted_new_or_throw(size);
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
  return counted_new(size);
}
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
  return counted_new(size);
}
void operator delete(void* p) noexcept {
  counted_delete(p);
}
void operator delete[](void* p) noexcept {
  counted_delete(p);
}
void operator delete(void* p, std::size_t) noexcept {
  counted_delete(p);
}
void operator delete[](void* p, std::size_t) noexcept {
  counted_delete(p);
}
void operator delete(void* p, const std::nothrow_t&) noexcept {
  counted_delete(p);
}
void operator delete[](void* p, const std::nothrow_t&) noexcept {
  counted_delete(p);
}
