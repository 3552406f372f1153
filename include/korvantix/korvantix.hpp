#pragma once

/// \file
/// Everything korvantix offers: samples, models, containers, scalar models, the native kvx-files
/// and the Touchstone and CITIfile export.

#include <korvantix/version.hpp>
