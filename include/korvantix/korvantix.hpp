#pragma once

/// \file
/// Everything korvantix offers: samples, models, containers, scalar models, the native kvx-files,
/// the Touchstone and CITIfile export and import, network-parameter conversions and comparison.

#include <korvantix/compare.hpp>
#include <korvantix/config.hpp>
#include <korvantix/container.hpp>
#include <korvantix/container_evaluator.hpp>
#include <korvantix/evaluator.hpp>
#include <korvantix/export.hpp>
#include <korvantix/import.hpp>
#include <korvantix/io.hpp>
#include <korvantix/model.hpp>
#include <korvantix/network.hpp>
#include <korvantix/scalar.hpp>
#include <korvantix/version.hpp>
