// Placeholder definitions so that every user of the interface links; replaced by the
// implementation.
#include <korvantix/network.hpp>

#include <stdexcept>

namespace korvantix {

namespace {
[[noreturn]] void pending() {
  throw std::logic_error("network: not implemented yet");
}
using Z = std::vector<std::complex<double>>;
}  // namespace

Matrix s_to_z(const Matrix&, const Z&) {
  pending();
}
Matrix z_to_s(const Matrix&, const Z&) {
  pending();
}
Matrix s_to_y(const Matrix&, const Z&) {
  pending();
}
Matrix y_to_s(const Matrix&, const Z&) {
  pending();
}
Matrix s_to_h(const Matrix&, const Z&) {
  pending();
}
Matrix h_to_s(const Matrix&, const Z&) {
  pending();
}
Matrix s_to_g(const Matrix&, const Z&) {
  pending();
}
Matrix g_to_s(const Matrix&, const Z&) {
  pending();
}
Matrix s_to_abcd(const Matrix&, const Z&) {
  pending();
}
Matrix abcd_to_s(const Matrix&, const Z&) {
  pending();
}
SMatrixSample renormalize(const SMatrixSample&, const Z&) {
  pending();
}
SMatrixContainer renormalize(const SMatrixContainer&, const Z&) {
  pending();
}

}  // namespace korvantix
