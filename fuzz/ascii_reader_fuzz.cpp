// The ASCII kvx reader core on arbitrary bytes: it reads, or refuses with a std::runtime_error.
#include <korvantix/container.hpp>

#include "fuzz_support.hpp"
#include "io/ascii_reader.hpp"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  korvantix::SMatrixContainer container;
  korvantix::fuzz::refused_cleanly(
      [&] { korvantix::detail::parse_ascii(korvantix::fuzz::as_text(data, size), container); });
  return 0;
}
