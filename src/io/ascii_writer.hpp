#pragma once

#include "detail/output_buffer.hpp"

namespace korvantix {

class SMatrixContainer;
class ScalarModel;

namespace detail {

/// Writes the whole ASCII kvx-file of container to out, doubles in scientific notation with
/// `precision` digits after the point. Throws std::runtime_error "ascii io for scalar model
/// <code> not supported" for a model that is not one of the kinds 1 to 6 (what was written
/// before stays in out).
void format_ascii(const SMatrixContainer& container, OutputBuffer& out, int precision);

/// Writes one scalar model in its ASCII form ("\n\t\t" and the keyword first). Same failure.
void format_scalar_model(const ScalarModel& model, OutputBuffer& out, int precision);

}  // namespace detail
}  // namespace korvantix
