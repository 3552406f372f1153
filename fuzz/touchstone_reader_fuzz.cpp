// The Touchstone reader core on arbitrary bytes: it reads, or refuses with a std::runtime_error.
// The first byte picks the file name, so that the .sNp port count is fuzzed too.
#include <korvantix/container.hpp>
#include <korvantix/import.hpp>

#include <string>
#include <vector>

#include "fuzz_support.hpp"
#include "import/readers.hpp"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const std::string kNames[] = {"f.s1p", "f.s2p", "f.s3p", "f.s4p", "f.ts", "f.S12P"};
  if (size == 0) return 0;
  const std::string& name = kNames[data[0] % 6];
  korvantix::SMatrixContainer container;
  std::vector<korvantix::NoiseParameters> noise;
  const bool read = korvantix::fuzz::refused_cleanly([&] {
    korvantix::detail::parse_touchstone(korvantix::fuzz::as_text(data + 1, size - 1), name,
                                        container, &noise);
  });
  if (read && container.nbPorts() == 0) korvantix::fuzz::invariant_broken("a file without ports");
  return 0;
}
