#include "model/node_arena.hpp"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <set>
#include <vector>

namespace korvantix {
namespace detail {
namespace {

struct Node {
  double payload[5];
};

TEST(NodeArena, NodesAreDistinctAlignedAndRecycled) {
  ArenaAllocator<Node> allocator;
  std::vector<Node*> nodes;
  // Several blocks' worth: every node distinct and aligned for any type.
  for (int k = 0; k < 5000; ++k) {
    Node* node = allocator.allocate(1);
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(node) % alignof(std::max_align_t), 0u);
    node->payload[4] = k;
    nodes.push_back(node);
  }
  EXPECT_EQ(std::set<Node*>(nodes.begin(), nodes.end()).size(), nodes.size());
  for (int k = 0; k < 5000; ++k)
    EXPECT_EQ(nodes[k]->payload[4], k);

  allocator.deallocate(nodes[7], 1);
  EXPECT_EQ(allocator.allocate(1), nodes[7]);

  // Arrays and nodes of another size come from the global heap and go back there.
  Node* array = allocator.allocate(3);
  allocator.deallocate(array, 3);
  ArenaAllocator<char> bytes(allocator);
  char* c = bytes.allocate(1);
  bytes.deallocate(c, 1);
  for (Node* node : nodes)
    allocator.deallocate(node, 1);
}

TEST(NodeArena, CopiedContainersGetTheirOwnArena) {
  const ArenaAllocator<Node> a;
  const ArenaAllocator<Node> shared(a);
  const ArenaAllocator<double> rebound(a);
  EXPECT_TRUE(shared == a);
  EXPECT_TRUE(rebound == a);
  EXPECT_TRUE(a.select_on_container_copy_construction() != a);
  EXPECT_TRUE(ArenaAllocator<Node>() != a);
}

}  // namespace
}  // namespace detail
}  // namespace korvantix
