#pragma once

/// \file
/// Everything korvantix offers: samples, models, containers, scalar models, the native kvx-files
/// and the Touchstone and CITIfile export.

#include <korvantix/config.hpp>
#include <korvantix/container.hpp>
#include <korvantix/container_evaluator.hpp>
#include <korvantix/evaluator.hpp>
#include <korvantix/export.hpp>
#include <korvantix/io.hpp>
#include <korvantix/model.hpp>
#include <korvantix/scalar.hpp>
#include <korvantix/version.hpp>
