#pragma once

/// \file
/// Network-parameter conversions of one N x N matrix (row-major, as SMatrixSample::S()) with one
/// reference impedance per port, and renormalisation of samples and containers.
///
/// Waves are power waves (Kurokawa): with the port voltage V, current I and reference impedance
/// Z_k = R_k + jX_k of port k, a_k = (V_k + Z_k I_k) / (2 sqrt|R_k|) and
/// b_k = (V_k - Z_k* I_k) / (2 sqrt|R_k|). With F = diag(1 / (2 sqrt|R_k|)), G = diag(Z_k):
///   Z = F^-1 (1 - S)^-1 (S G + G*) F,          S = F (Z - G*) (Z + G)^-1 F^-1,
///   Y = Z^-1,                                  S = F (1 - G* Y) (1 + G Y)^-1 F^-1.
/// For real reference impedances these are the usual travelling-wave formulas
/// (Z = sqrt(R) (1 - S)^-1 (1 + S) sqrt(R)). The 2-port forms (H, G, ABCD) go through Z and Y:
/// H = [[1/Y22... ]] by the textbook two-port tables, with ABCD = [[A, B], [C, D]] as
/// V1 = A V2 + B I2, I1 = C V2 + D I2 (I2 flowing out of port 2).
///
/// Singular matrices (an open circuit's Y, a short's Z) give non-finite entries rather than an
/// exception, as the arithmetic falls. Wrong sizes throw std::runtime_error "expected a matrix
/// of <N*N> entries for <N> ports, found <k>" (N is the number of reference impedances), and
/// the 2-port forms "<name> needs 2 ports, found <N>" for other port counts (name: s_to_h, ...).

#include <korvantix/config.hpp>
#include <korvantix/container.hpp>
#include <korvantix/evaluator.hpp>

#include <complex>
#include <vector>

namespace korvantix {

/// One N x N complex matrix, row-major.
using Matrix = std::vector<std::complex<double>>;

/// Impedance parameters of s.
KORVANTIX_API Matrix s_to_z(const Matrix& s, const std::vector<std::complex<double>>& zref);
/// Scattering parameters of z.
KORVANTIX_API Matrix z_to_s(const Matrix& z, const std::vector<std::complex<double>>& zref);
/// Admittance parameters of s.
KORVANTIX_API Matrix s_to_y(const Matrix& s, const std::vector<std::complex<double>>& zref);
/// Scattering parameters of y.
KORVANTIX_API Matrix y_to_s(const Matrix& y, const std::vector<std::complex<double>>& zref);
/// Hybrid (h) parameters of a 2-port s.
KORVANTIX_API Matrix s_to_h(const Matrix& s, const std::vector<std::complex<double>>& zref);
/// Scattering parameters of a 2-port h.
KORVANTIX_API Matrix h_to_s(const Matrix& h, const std::vector<std::complex<double>>& zref);
/// Inverse hybrid (g) parameters of a 2-port s.
KORVANTIX_API Matrix s_to_g(const Matrix& s, const std::vector<std::complex<double>>& zref);
/// Scattering parameters of a 2-port g.
KORVANTIX_API Matrix g_to_s(const Matrix& g, const std::vector<std::complex<double>>& zref);
/// Chain (ABCD) parameters of a 2-port s.
KORVANTIX_API Matrix s_to_abcd(const Matrix& s, const std::vector<std::complex<double>>& zref);
/// Scattering parameters of a 2-port abcd.
KORVANTIX_API Matrix abcd_to_s(const Matrix& a, const std::vector<std::complex<double>>& zref);

/// The sample referred to the new reference impedances (S converted through Z; frequency and
/// port data kept). Throws the size message above when zref does not have one entry per port.
KORVANTIX_API SMatrixSample renormalize(const SMatrixSample& sample,
                                        const std::vector<std::complex<double>>& zref);
/// Every stored sample renormalised; ports, names, properties and port-data names kept. This is
/// the way to make a container with complex or frequency-dependent reference impedances
/// exportable to Touchstone. Throws std::runtime_error "renormalize needs samples: the
/// container holds models" for a container with models, and the size message.
KORVANTIX_API SMatrixContainer renormalize(const SMatrixContainer& container,
                                           const std::vector<std::complex<double>>& zref);

}  // namespace korvantix
