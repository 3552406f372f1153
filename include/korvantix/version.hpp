#pragma once

#include <korvantix/config.hpp>

namespace korvantix {

/// The library's name, "KORVANTIX" (static storage).
KORVANTIX_API const char* libname();
/// The library version (major.minor.patch, from the build). The kvx-file format version (2.3.0)
/// is a separate number.
KORVANTIX_API int major_version();
KORVANTIX_API int minor_version();
KORVANTIX_API int patchlevel();

}  // namespace korvantix
