#pragma once

#include "detail/output_buffer.hpp"

namespace korvantix {

class SMatrixContainer;
class ScalarModel;

namespace detail {

/// Writes the whole binary kvx-file of container to out. Throws std::runtime_error "binary
/// write for scalar model <code> not supported" for a model that is not one of the kinds 1 to 6
/// (what was written before stays in out).
void format_binary(const SMatrixContainer& container, OutputBuffer& out);

/// Writes one scalar model in its binary form (type code and body). Same failure.
void format_scalar_model_binary(const ScalarModel& model, OutputBuffer& out);

}  // namespace detail
}  // namespace korvantix
