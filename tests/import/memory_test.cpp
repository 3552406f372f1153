// The allocation ceiling of the foreign readers: one read never holds more than 32 times the
// file size plus 1 MiB on the heap, whatever counts the file claims, for the densest files
// (the smallest sample text per sample). The global operator new of this program counts every
// byte, so it is a test program of its own.
#include <korvantix/container.hpp>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <new>
#include <stdexcept>
#include <string>

#include "import/readers.hpp"

#include "heap_counter.hpp"

namespace korvantix {
namespace {

constexpr std::size_t kMiB = std::size_t{1} << 20;

// Peak heap above what was held before, over one read (the container built and the exception
// thrown included).
std::size_t peak_of_read(const std::string& bytes, bool citi, const char* name) {
  SMatrixContainer container;
  const std::size_t before = g_current;
  g_peak = g_current;
  try {
    if (citi)
      detail::parse_citi(bytes, name, container);
    else
      detail::parse_touchstone(bytes, name, container, nullptr);
  } catch (const std::runtime_error&) {
  }
  return g_peak - before;
}

// Frequencies 1, 2, 3, ... with zero values: the least text per sample.
std::string dense_touchstone(std::size_t samples, const char* values) {
  std::string text = "# Hz RI\n";
  for (std::size_t k = 1; k <= samples; ++k)
    text += std::to_string(k) + values;
  return text;
}

std::string dense_citi(std::size_t samples) {
  std::string text = "CITIFILE A.01.01\nVAR freq MAG " + std::to_string(samples) +
                     "\nDATA S[1,1] MAG\nVAR_LIST_BEGIN\n";
  for (std::size_t k = 1; k <= samples; ++k)
    text += std::to_string(k) + "\n";
  text += "VAR_LIST_END\nBEGIN\n";
  for (std::size_t k = 1; k <= samples; ++k)
    text += "0\n";
  return text + "END\n";
}

TEST(ImportMemoryCeiling, DenseAndBoastfulFiles) {
  struct Case {
    std::string bytes;
    bool citi;
    const char* name;
  };
  const Case cases[] = {
      {dense_touchstone(200000, " 0 0\n"), false, "f.s1p"},
      {dense_touchstone(50000, " 0 0 0 0 0 0 0 0\n"), false, "f.s2p"},
      {"[Version] 2.0\n[Number of Ports] 2\n[Number of Frequencies] 999999999999\n"
       "[Network Data]\n1 0 0 0 0 0 0 0 0\n",
       false, "f.ts"},
      {"1 0 0\n", false, "f.s100000p"},
      {dense_citi(200000), true, "f.cti"},
      {"CITIFILE A.01.01\nVAR freq MAG 4000000000\nDATA S[60000,60000] RI\nSEG_LIST_BEGIN\n"
       "SEG 1 2 4000000000\nSEG_LIST_END\nBEGIN\n1,1\n",
       true, "f.cti"},
  };
  for (const Case& c : cases) {
    const std::size_t peak = peak_of_read(c.bytes, c.citi, c.name);
    EXPECT_LE(peak, 32 * c.bytes.size() + kMiB) << c.name << " of " << c.bytes.size() << " bytes";
  }
  // The counting sees the reads at all.
  EXPECT_GT(peak_of_read(cases[0].bytes, false, "f.s1p"), cases[0].bytes.size());
}

}  // namespace
}  // namespace korvantix
