// The allocation ceiling of the foreign readers: one read never holds more than 32 times the
// file size plus 1 MiB on the heap, whatever counts the file claims, for the densest files
// (the smallest sample text per sample). The global operator new of this program counts every
// byte, so it is a test program of its own.
#include <gtest/gtest.h>

#include "import/readers.hpp"

#include "heap_counter.hpp"

namespace korvantix {
namespace {

// Peak heap above what was held before, over one read (the container built and the exception
// thrown included).
std::size_t peak_of_read(const std::string& bytes, const std::string& name) {
  SMatrixContainer container;
  const std::size_t before = g_current;
  g_peak = g_current;
  try {
    name == "f.cti" ? detail::parse_citi(bytes, name, container)
                    : detail::parse_touchstone(bytes, name, container, nullptr);
  } catch (const std::runtime_error&) {
  }
  return g_peak - before;
}

// Frequencies 1, 2, 3, ... with zero values: the least text per sample.
std::string dense(std::size_t samples, const std::string& head, const std::string& values,
                  const std::string& tail = "") {
  std::string text = head;
  for (std::size_t k = 1; k <= samples; ++k)
    text += std::to_string(k) + values;
  return text + tail;
}

TEST(ImportMemoryCeiling, DenseAndBoastfulFiles) {
  std::string zeros;
  for (int k = 0; k < 200000; ++k)
    zeros += "0\n";
  const std::string cases[][2] = {
      {dense(200000, "# Hz RI\n", " 0 0\n"), "f.s1p"},
      {dense(50000, "# Hz RI\n", " 0 0 0 0 0 0 0 0\n"), "f.s2p"},
      {"[Version] 2.0\n[Number of Ports] 2\n[Number of Frequencies] 999999999999\n"
       "[Network Data]\n1 0 0 0 0 0 0 0 0\n",
       "f.ts"},
      {"1 0 0\n", "f.s100000p"},
      // The frequency list, then one 0 per sample.
      {dense(200000, "CITIFILE A.01.01\nVAR freq MAG 200000\nDATA S[1,1] MAG\nVAR_LIST_BEGIN\n",
             "\n", "VAR_LIST_END\nBEGIN\n" + zeros + "END\n"),
       "f.cti"},
      {"CITIFILE A.01.01\nVAR freq MAG 4000000000\nDATA S[60000,60000] RI\nSEG_LIST_BEGIN\n"
       "SEG 1 2 4000000000\nSEG_LIST_END\nBEGIN\n1,1\n",
       "f.cti"}};
  for (const auto& [bytes, name] : cases)
    EXPECT_LE(peak_of_read(bytes, name), 32 * bytes.size() + (std::size_t{1} << 20))
        << name << " of " << bytes.size() << " bytes";
  // The counting sees the reads at all.
  EXPECT_GT(peak_of_read(cases[0][0], "f.s1p"), cases[0][0].size());
}

}  // namespace
}  // namespace korvantix
