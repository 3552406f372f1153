#pragma once

/// \file
/// Block allocation for the nodes of one node-based standard container.

#include <cstddef>
#include <memory>
#include <new>
#include <type_traits>
#include <vector>

namespace korvantix {
namespace detail {

/// Memory for the equally sized nodes of one container: carved from blocks that double in size
/// and recycled through a free list, released all at once when the arena goes. A container of
/// 100,000 samples then costs about 17 allocations for its nodes instead of 100,000, and
/// destroying it frees blocks instead of walking the heap node by node. Not thread-safe: one
/// arena serves one container, which is only modified by one thread at a time.
class NodeArena {
 public:
  NodeArena() = default;
  NodeArena(const NodeArena&) = delete;
  NodeArena& operator=(const NodeArena&) = delete;
  ~NodeArena() {
    for (void* block : blocks_)
      ::operator delete(block);
  }

  /// Room for one node of `bytes` bytes, or null when the arena serves nodes of another size
  /// (the caller then uses the global heap).
  void* allocate(std::size_t bytes) {
    const std::size_t size = slot_size(bytes);
    if (node_size_ == 0) node_size_ = size;
    if (size != node_size_) return nullptr;
    if (free_ != nullptr) {
      Free* node = free_;
      free_ = node->next;
      return node;
    }
    if (next_ == end_) grow();
    void* node = next_;
    next_ += node_size_;
    return node;
  }

  /// Whether `bytes`-byte nodes come from this arena.
  bool serves(std::size_t bytes) const noexcept { return slot_size(bytes) == node_size_; }

  /// Takes back a node this arena handed out.
  void deallocate(void* node) noexcept { free_ = ::new (node) Free{free_}; }

 private:
  struct Free {
    Free* next;
  };

  static std::size_t slot_size(std::size_t bytes) noexcept {
    constexpr std::size_t align = alignof(std::max_align_t);
    const std::size_t size = bytes < sizeof(Free) ? sizeof(Free) : bytes;
    return (size + align - 1) / align * align;
  }

  void grow() {
    blocks_.reserve(blocks_.size() + 1);  // so that push_back cannot throw and leak the block
    const std::size_t bytes = block_nodes_ * node_size_;
    char* block = static_cast<char*>(::operator new(bytes));
    blocks_.push_back(block);
    next_ = block;
    end_ = block + bytes;
    if (block_nodes_ < kMaxBlockNodes) block_nodes_ *= 2;
  }

  static constexpr std::size_t kMaxBlockNodes = 4096;

  std::size_t node_size_ = 0;  // fixed by the first allocation
  std::size_t block_nodes_ = 8;
  Free* free_ = nullptr;
  char* next_ = nullptr;
  char* end_ = nullptr;
  std::vector<void*> blocks_;
};

/// Allocator drawing single nodes from a NodeArena shared by its copies and rebinds. A copied
/// set gets an arena of its own, copy assignment keeps the target's arena, and a move takes
/// the source's along with its nodes. A moved-from set still shares that arena until it is
/// given a fresh one (assigning it a new, empty set does), which an owner that uses it again
/// must do.
template <class T>
class ArenaAllocator {
 public:
  using value_type = T;
  using propagate_on_container_copy_assignment = std::false_type;
  using propagate_on_container_move_assignment = std::true_type;
  using propagate_on_container_swap = std::true_type;
  using is_always_equal = std::false_type;

  ArenaAllocator() : arena_(std::make_shared<NodeArena>()) {}
  // Moving copies: a moved-from container still needs an arena to allocate from.
  ArenaAllocator(const ArenaAllocator&) noexcept = default;
  ArenaAllocator& operator=(const ArenaAllocator&) noexcept = default;
  template <class U>
  ArenaAllocator(const ArenaAllocator<U>& other) noexcept : arena_(other.arena_) {}

  ArenaAllocator select_on_container_copy_construction() const { return ArenaAllocator(); }

  T* allocate(std::size_t n) {
    if (n == 1) {
      if (void* node = arena_->allocate(sizeof(T))) return static_cast<T*>(node);
    }
    return static_cast<T*>(::operator new(n * sizeof(T)));
  }

  void deallocate(T* p, std::size_t n) noexcept {
    if (n == 1 && arena_->serves(sizeof(T))) {
      arena_->deallocate(p);
    } else {
      ::operator delete(p);
    }
  }

  template <class U>
  bool operator==(const ArenaAllocator<U>& other) const noexcept {
    return arena_ == other.arena_;
  }
  template <class U>
  bool operator!=(const ArenaAllocator<U>& other) const noexcept {
    return arena_ != other.arena_;
  }

 private:
  template <class U>
  friend class ArenaAllocator;

  std::shared_ptr<NodeArena> arena_;
};

}  // namespace detail
}  // namespace korvantix
