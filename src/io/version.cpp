#include <korvantix/version.hpp>

namespace korvantix {

const char* libname() {
  return "KORVANTIX";
}
int major_version() {
  return 2;
}
int minor_version() {
  return 11;
}
int patchlevel() {
  return 3;
}

}  // namespace korvantix
