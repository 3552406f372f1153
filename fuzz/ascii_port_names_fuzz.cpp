// The ASCII port-name reader core on arbitrary bytes. It appends to what the vector holds, so
// the names read must follow the entry that was there before.
#include <string>
#include <vector>

#include "fuzz_support.hpp"
#include "io/ascii_reader.hpp"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  std::vector<std::string> names{"kept"};
  korvantix::fuzz::refused_cleanly([&] {
    korvantix::detail::parse_port_names_ascii(korvantix::fuzz::as_text(data, size), names);
  });
  if (names.empty() || names.front() != "kept") {
    korvantix::fuzz::invariant_broken("the names held before were touched");
  }
  return 0;
}
