#include <korvantix/network.hpp>

#include <gtest/gtest.h>

#include "test_support.hpp"

namespace korvantix {
namespace {

using C = std::complex<double>;
using Zs = std::vector<C>;
using Convert = Matrix (*)(const Matrix&, const Zs&);
const Convert kTo[] = {s_to_z, s_to_y, s_to_h, s_to_g, s_to_abcd};
const Convert kFrom[] = {z_to_s, y_to_s, h_to_s, g_to_s, abcd_to_s};
const auto finite = [](C v) { return std::isfinite(v.real()) && std::isfinite(v.imag()); };

// Entry-wise |got - want| <= 1e-13 max(1, |want|). A non-finite want marks a parameter set that
// does not exist: got is then non-finite or huge (an exactly zero pivot, or rounding beside it).
void expect_near(const Matrix& got, const Matrix& want) {
  for (std::size_t k = 0; k < std::max(got.size(), want.size()); ++k)  // at(): sizes differ
    EXPECT_TRUE(std::abs(got.at(k) - want.at(k)) <= 1e-13 * std::max(1.0, std::abs(want[k])) ||
                !(finite(want[k]) || std::abs(got[k]) < 1e12));
}

// Each 2-port is given by its chain matrix; Z, Y, H and G follow from the textbook relations,
// S on references Z1, Z2 from the power-wave formulas (Frickey): with d = A Z2 + B + C Z1 Z2 +
// D Z1, S11 = (A Z2 + B - C Z1* Z2 - D Z1*) / d, S12 = 2 (AD - BC) sqrt(R1 R2) / d,
// S21 = 2 sqrt(R1 R2) / d, S22 = (-A Z2* + B - C Z1 Z2* + D Z1) / d. Renormalising goes
// through the waves, so it works where Z does not exist; to a container's own references it
// is the identity, bit for bit, and port names, properties and port data are kept.
TEST(Network, TwoPortsInClosedFormAndRenormalized) {
  const C yp(0.02, 0.02), z1(50, 20), z2(30, -10), a3(1.2, .3), b3(40, -25), c3(.01, .004);
  const C circuits[][6] = {{1, 100, 0, 1, 50, 50},             // series resistor: no Z
                           {1, 0, yp, 1, 50, 50},              // shunt admittance: no Y
                           {1.25, 37.5, 0.015, 1.25, 50, 50},  // matched 6 dB attenuator
                           {1, 0, 0, 1, z1, z2},  // a through reflects between complex references
                           {a3, b3, c3, C(.9, -.2), 50, 75},  // not reciprocal
                           {a3, b3, c3, C(.9, -.2), z1, z2}};
  SMatrixContainer container(2, {{"Gamma", 1}});
  for (const auto& [a, b, c, d, r1, r2] : circuits) {
    const C det = a * d - b * c, den = a * r2 + b + c * r1 * r2 + d * r1;
    const double g = 2 * std::sqrt(r1.real() * r2.real());
    const Matrix s{(a * r2 + b - c * std::conj(r1) * r2 - d * std::conj(r1)) / den, det * g / den,
                   g / den, (-a * std::conj(r2) + b - c * r1 * std::conj(r2) + d * r1) / den};
    // Z, Y, H, G and ABCD, each row-major.
    const C p[] = {a / c,  det / c, 1. / c,  d / c,   d / b, -det / b, -1. / b,
                   a / b,  b / d,   det / d, -1. / d, c / d, c / a,    -det / a,
                   1. / a, b / a,   a,       b,       c,     d};
    for (int k = 0; k < 5; ++k)
      expect_near(kTo[k](s, {r1, r2}), Matrix(p + 4 * k, p + 4 * k + 4));
    SMatrixSample x(2, std::abs(den), container.port_data_names());
    x.S() = s;
    x.Zref() = {r1, r2};
    expect_near(renormalize(x, {z2, z1}).S(), abcd_to_s({a, b, c, d}, {z2, z1}));
    if (r1 == z1) container.add(x);
  }
  container.name(0) = "in";
  container.add_global_property("source", "solver");
  container.add_port_property(1, "k", "v");
  EXPECT_TRUE(renormalize(container, {z1, z2}) == container);
  EXPECT_EQ(renormalize(container, {z2, z1}).begin_samples()->Zref(), Zs({z2, z1}));
  EXPECT_THROW_MSG(renormalize(*container.begin_samples(), {50}), std::runtime_error,
                   "expected 2 reference impedances, found 1");
  container.add(SMatrixModel(2, 9e9, 1e10, container.port_data_names()));
  EXPECT_THROW_MSG(renormalize(container, {50}), std::runtime_error,
                   "renormalize needs samples: the container holds models");
}

// Coupled N-ports go there and back, coupled strongly enough that the elimination pivots (power
// waves divide by sqrt|R|: the last R is negative).
TEST(Network, RoundTripsAndWrongSizes) {
  const Zs refs{C(50, 20), C(30, -10), C(75, 5), C(-10, -40)};
  for (std::size_t n = 1; n <= 4; ++n) {
    const Zs zref(refs.begin(), refs.begin() + static_cast<std::ptrdiff_t>(n));
    Matrix s(n * n);
    for (std::size_t k = 0; k < n * n; ++k)
      s[k] = C(0.9 * std::cos(1.0 + k / n + 2.0 * (k % n)), 0.6 * std::sin(3. * (k / n) - k % n));
    for (int k = 0; k < (n == 2 ? 5 : 2); ++k)
      expect_near(kFrom[k](kTo[k](s, zref), zref), s);
  }
  const char* names[] = {"s_to_z", "s_to_y", "s_to_h", "s_to_g", "s_to_abcd",
                         "z_to_s", "y_to_s", "h_to_s", "g_to_s", "abcd_to_s"};
  for (int k = 0; k < 10; ++k) {  // the 2-port forms check the port count first
    const std::string three = k % 5 < 2 ? "expected a matrix of 9 entries for 3 ports, found 4"
                                        : names[k] + std::string(" needs 2 ports, found 3");
    const Convert f = k < 5 ? kTo[k] : kFrom[k - 5];
    EXPECT_THROW_MSG(f(Matrix(4), Zs(3, 50)), std::runtime_error, three);
    EXPECT_THROW_MSG(f(Matrix(9), Zs(2, 50)), std::runtime_error,
                     "expected a matrix of 4 entries for 2 ports, found 9");
  }
}

}  // namespace
}  // namespace korvantix
