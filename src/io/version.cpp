#include <korvantix/version.hpp>

// The numbers come from the project's version in CMake, so the code and the package files
// cannot disagree.
#if !defined(KORVANTIX_VERSION_MAJOR) || !defined(KORVANTIX_VERSION_MINOR) || \
    !defined(KORVANTIX_VERSION_PATCH)
#error "the build defines KORVANTIX_VERSION_MAJOR, _MINOR and _PATCH from the project version"
#endif

namespace korvantix {

const char* libname() {
  return "KORVANTIX";
}
int major_version() {
  return KORVANTIX_VERSION_MAJOR;
}
int minor_version() {
  return KORVANTIX_VERSION_MINOR;
}
int patchlevel() {
  return KORVANTIX_VERSION_PATCH;
}

}  // namespace korvantix
