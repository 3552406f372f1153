// The CITIfile reader core on arbitrary bytes: it reads, or refuses with a std::runtime_error.
#include <korvantix/container.hpp>

#include "fuzz_support.hpp"
#include "import/readers.hpp"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  korvantix::SMatrixContainer container;
  korvantix::fuzz::refused_cleanly([&] {
    korvantix::detail::parse_citi(korvantix::fuzz::as_text(data, size), "f.cti", container);
  });
  return 0;
}
