#pragma once

#include <complex>
#include <stdexcept>
#include <vector>

#include "detail/message.hpp"

namespace korvantix::detail {

/// Pole term k reads residue k: refuses a pole-zero model with fewer residues than poles
/// (surplus residues are harmless).
inline void check_residues(const std::vector<std::complex<double>>& poles,
                           const std::vector<std::complex<double>>& residues) {
  if (residues.size() < poles.size()) {
    throw std::runtime_error(message("pole-zero model needs one residue per pole, found ",
                                     residues.size(), " residues for ", poles.size(), " poles"));
  }
}

}  // namespace korvantix::detail
