#pragma once

// The tool's heap, made ready for the tens of megabytes a conversion builds in a fresh process.

#include <cstddef>
#include <thread>

namespace kvx {

// On a virtual machine the first touch of each page costs about as much as parsing the numbers
// put in it. The heap therefore grows in large steps that the kernel may back with huge pages.
// Call once, first thing in main.
void prepare_heap();

// Faults in the next `bytes` of the heap on a second thread while this one goes on (reading a
// file of that size, say), so that the kernel zeroes the pages on another core instead of in
// the middle of the parse. The pages are only populated, never written: the contents stay
// whatever malloc put there. Joins the thread when destroyed. Without kernel support it does
// nothing.
class HeapPrefault {
 public:
  explicit HeapPrefault(std::size_t bytes);
  ~HeapPrefault();
  HeapPrefault(const HeapPrefault&) = delete;
  HeapPrefault& operator=(const HeapPrefault&) = delete;

 private:
  std::thread thread_;
};

}  // namespace kvx
