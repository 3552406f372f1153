#pragma once

/// \file
/// Symbol visibility of the public interface. The shared library is built with hidden
/// visibility; everything a user may call is marked with KORVANTIX_API.

#if defined(KORVANTIX_STATIC)
#define KORVANTIX_API
#elif defined(_WIN32)
#if defined(KORVANTIX_BUILDING)
#define KORVANTIX_API __declspec(dllexport)
#else
#define KORVANTIX_API __declspec(dllimport)
#endif
#else
#define KORVANTIX_API __attribute__((visibility("default")))
#endif
