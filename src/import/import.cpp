// Placeholder definitions so that every user of the interface links: kvx-files only, the
// foreign readers still to come.
#include <korvantix/import.hpp>
#include <korvantix/io.hpp>

#include <stdexcept>
#include <string>

namespace korvantix {

void read_touchstone(SMatrixContainer&, const char*) {
  throw std::logic_error("read_touchstone: not implemented yet");
}
void read_touchstone(SMatrixContainer&, const char*, std::vector<NoiseParameters>&) {
  throw std::logic_error("read_touchstone: not implemented yet");
}
void read_cti(SMatrixContainer&, const char*) {
  throw std::logic_error("read_cti: not implemented yet");
}

DataFileIdentity identify(const char* path) {
  if (is_binary(path)) return {DataFormat::kvx_binary, "2.3.0"};
  if (is_ascii(path)) return {DataFormat::kvx_ascii, "2.3.0"};
  return {};
}

void read_any(SMatrixContainer& container, const char* path) {
  if (identify(path).format == DataFormat::unknown)
    throw std::runtime_error(std::string(path) + ": not a kvx-file, Touchstone file or CITIfile");
  read(container, path);
}

}  // namespace korvantix
