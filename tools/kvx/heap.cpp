#include "heap.hpp"

#if defined(__GLIBC__)
#include <malloc.h>
#include <sys/mman.h>
#include <unistd.h>
#endif

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <system_error>

namespace kvx {

void prepare_heap() {
#if defined(__GLIBC__)
  constexpr std::size_t kStep = std::size_t(256) << 20;
  mallopt(M_TOP_PAD, static_cast<int>(kStep));
  mallopt(M_TRIM_THRESHOLD, static_cast<int>(4 * kStep));
  mallopt(M_MMAP_THRESHOLD, 64 << 20);
  char* const before = static_cast<char*>(sbrk(0));
  // Beyond the initial heap, so that it grows by kStep; volatile, or the pair is optimised away.
  void* volatile block = std::malloc(std::size_t(1) << 20);
  std::free(block);
  char* const after = static_cast<char*>(sbrk(0));
  if (before != reinterpret_cast<char*>(-1) && after > before)
    madvise(before, static_cast<std::size_t>(after - before), MADV_HUGEPAGE);
#endif
}

HeapPrefault::HeapPrefault(std::size_t bytes) {
#if defined(__GLIBC__) && defined(MADV_POPULATE_WRITE)
  // The next allocations are carved from where a fresh block lands, up to the end of the heap.
  // Volatile, or the pair is optimised away.
  void* volatile probe = std::malloc(1);
  if (probe == nullptr) return;
  const auto first = reinterpret_cast<std::uintptr_t>(probe) & ~std::uintptr_t(4095);
  std::free(probe);
  const auto end = reinterpret_cast<std::uintptr_t>(sbrk(0));
  if (end == std::uintptr_t(-1) || end <= first) return;
  const std::size_t length = std::min<std::size_t>(bytes, end - first) & ~std::size_t(4095);
  try {
    thread_ = std::thread(
        [first, length] { madvise(reinterpret_cast<void*>(first), length, MADV_POPULATE_WRITE); });
  } catch (const std::system_error&) {
    // Without a thread the pages are faulted in as they are used, as without this class.
  }
#else
  static_cast<void>(bytes);
#endif
}

HeapPrefault::~HeapPrefault() {
  if (thread_.joinable()) thread_.join();
}

}  // namespace kvx
