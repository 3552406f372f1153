#pragma once

/// \file
/// Network-parameter conversions of one N x N matrix (row-major, as SMatrixSample::S()) with one
/// reference impedance per port, and renormalisation of samples and containers. Every function
/// takes and returns un-normalised values: Z and H11, G22, B in ohms, Y and H22, G11, C in
/// siemens (a file that stores normalised values is de-normalised before the call).
///
/// Waves are power waves (Kurokawa). Port k has voltage V_k, current I_k flowing into the port
/// and reference impedance Z_k = R_k + jX_k; then
///   a_k = (V_k + Z_k I_k) / (2 sqrt|R_k|),   b_k = (V_k - Z_k* I_k) / (2 sqrt|R_k|),   b = S a.
/// With F = diag(1 / (2 sqrt|R_k|)) and G = diag(Z_k) (G* its conjugate, 1 the identity):
///   Z = F^-1 (1 - S)^-1 (S G + G*) F,          S = F (Z - G*) (Z + G)^-1 F^-1,
///   Y = Z^-1 = F^-1 (S G + G*)^-1 (1 - S) F,   S = F (1 - G* Y) (1 + G Y)^-1 F^-1.
/// For real positive references R = diag(R_k) every usual wave definition agrees, and these
/// reduce to Z = sqrt(R) (1 - S)^-1 (1 + S) sqrt(R) and S = sqrt(R)^-1 (Z - R) (Z + R)^-1 sqrt(R).
///
/// The 2-port forms follow the textbook definitions, with I2 flowing into port 2 as above:
///   H:    V1 = h11 I1 + h12 V2,   I2 = h21 I1 + h22 V2;
///   G:    I1 = g11 V1 + g12 I2,   V2 = g21 V1 + g22 I2   (G = H^-1);
///   ABCD: V1 = A V2 + B (-I2),    I1 = C V2 + D (-I2)    (-I2 flows out of port 2).
/// Where Z exists they equal, with det Z = Z11 Z22 - Z12 Z21,
///   H = [[det Z, Z12], [-Z21, 1]] / Z22,   G = [[1, -Z12], [Z21, det Z]] / Z11,
///   ABCD = [[Z11, det Z], [1, Z22]] / Z21,
/// but they are computed from the waves, so they exist wherever the circuit has them (a series
/// element has H, G and ABCD but no Z). Every conversion writes the parameter set as y = P x,
/// where x and y each hold one voltage or current per port (Z: x = I, y = V; Y: x = V, y = I;
/// H: x = (I1, V2); G: x = (V1, I2); ABCD: x = (V2, -I2)). From S, the waves give
///   V_k = (Z_k* a_k + Z_k b_k) / p_k,   I_k = (a_k - b_k) / p_k,   p_k = R_k / sqrt|R_k|,
/// so x = X a, y = Y a and P = Y X^-1. Back to S, V and I are linear in x, hence
/// a = F (V + G I) = A x, b = F (V - G* I) = B x and S = B A^-1. Both solve with LU
/// decomposition and partial pivoting; the results equal the closed forms above up to
/// rounding.
///
/// Singular matrices (the Z of an open circuit, S = 1; the Y of a short, S = -1; the ABCD of a
/// 2-port that does not transmit; any reference with R_k = 0) give non-finite entries (NaN or
/// infinity) rather than an exception, as the arithmetic falls: a nearly singular matrix gives
/// large finite entries instead. Wrong sizes throw std::runtime_error "expected a matrix of
/// <N*N> entries for <N> ports, found <k>" (N is the number of reference impedances), and the
/// 2-port forms first "<name> needs 2 ports, found <N>" for other port counts (name: s_to_h,
/// h_to_s, s_to_g, g_to_s, s_to_abcd, abcd_to_s).

#include <korvantix/config.hpp>
#include <korvantix/container.hpp>
#include <korvantix/evaluator.hpp>

#include <complex>
#include <vector>

namespace korvantix {

/// One N x N complex matrix, row-major.
using Matrix = std::vector<std::complex<double>>;

/// Impedance parameters of s. Throws the size message.
KORVANTIX_API Matrix s_to_z(const Matrix& s, const std::vector<std::complex<double>>& zref);
/// Scattering parameters of z. Throws the size message.
KORVANTIX_API Matrix z_to_s(const Matrix& z, const std::vector<std::complex<double>>& zref);
/// Admittance parameters of s. Throws the size message.
KORVANTIX_API Matrix s_to_y(const Matrix& s, const std::vector<std::complex<double>>& zref);
/// Scattering parameters of y. Throws the size message.
KORVANTIX_API Matrix y_to_s(const Matrix& y, const std::vector<std::complex<double>>& zref);
/// Hybrid (h) parameters of a 2-port s. Throws "s_to_h needs 2 ports, found <N>", then the size
/// message.
KORVANTIX_API Matrix s_to_h(const Matrix& s, const std::vector<std::complex<double>>& zref);
/// Scattering parameters of a 2-port h. Throws "h_to_s needs 2 ports, found <N>", then the size
/// message.
KORVANTIX_API Matrix h_to_s(const Matrix& h, const std::vector<std::complex<double>>& zref);
/// Inverse hybrid (g) parameters of a 2-port s. Throws "s_to_g needs 2 ports, found <N>", then the
/// size message.
KORVANTIX_API Matrix s_to_g(const Matrix& s, const std::vector<std::complex<double>>& zref);
/// Scattering parameters of a 2-port g. Throws "g_to_s needs 2 ports, found <N>", then the size
/// message.
KORVANTIX_API Matrix g_to_s(const Matrix& g, const std::vector<std::complex<double>>& zref);
/// Chain (ABCD) parameters of a 2-port s. Throws "s_to_abcd needs 2 ports, found <N>", then the
/// size message.
KORVANTIX_API Matrix s_to_abcd(const Matrix& s, const std::vector<std::complex<double>>& zref);
/// Scattering parameters of a 2-port abcd. Throws "abcd_to_s needs 2 ports, found <N>", then the
/// size message.
KORVANTIX_API Matrix abcd_to_s(const Matrix& a, const std::vector<std::complex<double>>& zref);

/// The sample referred to the new reference impedances: S equals z_to_s(s_to_z(S, old), zref)
/// but is computed from the waves without forming Z, so a sample without Z (an open port)
/// renormalises too; to the sample's own impedances it is returned unchanged, bit for bit.
/// Frequency and port data are kept. Throws std::runtime_error "expected <N> reference
/// impedances, found <count>" when zref does not have one entry per port.
KORVANTIX_API SMatrixSample renormalize(const SMatrixSample& sample,
                                        const std::vector<std::complex<double>>& zref);
/// Every stored sample renormalised as above; port names, properties and port-data names kept.
/// This is the way to make a container with complex or frequency-dependent reference
/// impedances exportable to Touchstone. Throws std::runtime_error "renormalize needs samples:
/// the container holds models" for a container with models, then the sample form's "expected
/// <N> reference impedances, found <count>".
KORVANTIX_API SMatrixContainer renormalize(const SMatrixContainer& container,
                                           const std::vector<std::complex<double>>& zref);

}  // namespace korvantix
