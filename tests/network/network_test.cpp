#include <korvantix/container.hpp>
#include <korvantix/model.hpp>
#include <korvantix/network.hpp>

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <complex>
#include <cstddef>
#include <stdexcept>
#include <string>
#include <vector>

#include "test_support.hpp"

namespace korvantix {
namespace {

using C = std::complex<double>;
using Zs = std::vector<C>;
using Convert = Matrix (*)(const Matrix&, const Zs&);

const C j(0.0, 1.0);
const double kPi = std::acos(-1.0);

// Entry-wise |got - want| <= tol * max(1, |want|).
void expect_near(const Matrix& got, const Matrix& want, double tol, const std::string& what) {
  ASSERT_EQ(got.size(), want.size()) << what;
  for (std::size_t k = 0; k < got.size(); ++k) {
    EXPECT_LE(std::abs(got[k] - want[k]), tol * std::max(1.0, std::abs(want[k])))
        << what << " entry " << k << ": " << got[k] << " != " << want[k];
  }
}

bool finite(C c) {
  return std::isfinite(c.real()) && std::isfinite(c.imag());
}

// One circuit in closed form; an empty matrix marks a parameter set that does not exist.
struct Circuit {
  const char* name;
  Zs zref;
  Matrix s, z, y, h, g, abcd;
};

std::vector<Circuit> circuits() {
  const double t = kPi / 3;  // electrical length of the line
  const C yp(0.02, 0.02);    // shunt admittance
  const C z1(50, 20), z2(30, -10), zl(20, 35), zr(40, -15);
  const double through = 2 * std::sqrt(z1.real() * z2.real());
  return {
      {"series 100 ohm",
       {50, 50},
       {0.5, 0.5, 0.5, 0.5},
       {},
       {0.01, -0.01, -0.01, 0.01},
       {100, 1, -1, 0},
       {0, -1, 1, 100},
       {1, 100, 0, 1}},
      {"shunt admittance",
       {50, 50},
       {-yp * 50. / (2. + yp * 50.), 2. / (2. + yp * 50.), 2. / (2. + yp * 50.),
        -yp * 50. / (2. + yp * 50.)},
       {1. / yp, 1. / yp, 1. / yp, 1. / yp},
       {},
       {0, 1, -1, yp},
       {yp, -1, 1, 0},
       {1, 0, yp, 1}},
      {"matched line of 60 degrees",
       {50, 50},
       {0, std::exp(-j * t), std::exp(-j * t), 0},
       {-j * 50. / std::tan(t), -j * 50. / std::sin(t), -j * 50. / std::sin(t),
        -j * 50. / std::tan(t)},
       {-j / (50 * std::tan(t)), j / (50 * std::sin(t)), j / (50 * std::sin(t)),
        -j / (50 * std::tan(t))},
       {j * 50. * std::tan(t), 1 / std::cos(t), -1 / std::cos(t), j * std::tan(t) / 50.},
       {j * std::tan(t) / 50., -1 / std::cos(t), 1 / std::cos(t), j * 50. * std::tan(t)},
       {std::cos(t), j * 50. * std::sin(t), j * std::sin(t) / 50., std::cos(t)}},
      {"matched 6 dB attenuator",
       {50, 50},
       {0, 0.5, 0.5, 0},
       {250. / 3, 200. / 3, 200. / 3, 250. / 3},
       {1. / 30, -2. / 75, -2. / 75, 1. / 30},
       {30, 0.8, -0.8, 0.012},
       {0.012, -0.8, 0.8, 30},
       {1.25, 37.5, 0.015, 1.25}},
      // Power waves: a through between complex references reflects (Z2 - Z1*) / (Z1 + Z2).
      {"through between complex references",
       {z1, z2},
       {(z2 - std::conj(z1)) / (z1 + z2), through / (z1 + z2), through / (z1 + z2),
        (z1 - std::conj(z2)) / (z1 + z2)},
       {},
       {},
       {0, 1, -1, 0},
       {0, -1, 1, 0},
       {1, 0, 0, 1}},
      {"load on a complex reference",
       {zr},
       {(zl - std::conj(zr)) / (zl + zr)},
       {zl},
       {1. / zl},
       {},
       {},
       {}},
  };
}

struct Conversion {
  const char* name;
  Convert to, from;
  Matrix Circuit::*value;
};

const Conversion kConversions[] = {
    {"z", s_to_z, z_to_s, &Circuit::z},
    {"y", s_to_y, y_to_s, &Circuit::y},
    {"h", s_to_h, h_to_s, &Circuit::h},
    {"g", s_to_g, g_to_s, &Circuit::g},
    {"abcd", s_to_abcd, abcd_to_s, &Circuit::abcd},
};

TEST(Network, ClosedForms) {
  for (const Circuit& c : circuits()) {
    for (const Conversion& k : kConversions) {
      const std::string what = std::string(c.name) + ", " + k.name;
      const Matrix& want = c.*k.value;
      if (c.zref.size() != 2 && want.empty()) continue;  // 2-port forms of a 1-port
      const Matrix got = k.to(c.s, c.zref);
      if (want.empty()) {
        // As the arithmetic falls: an exactly zero pivot, or rounding just beside it.
        bool any = false;
        for (C v : got)
          any = any || !finite(v) || std::abs(v) > 1e12;
        EXPECT_TRUE(any) << what << " should not exist";
        continue;
      }
      expect_near(got, want, 1e-13, what);
      expect_near(k.from(want, c.zref), c.s, 1e-13, what + " back");
    }
  }
}

// Real references reduce to Z = sqrt(R) (1 - S)^-1 (1 + S) sqrt(R), worked out by hand for a
// 2-port with S = [[0, s], [s, 0]] on 50 and 75 ohms: Z11 = 50 (1 + s^2) / (1 - s^2),
// Z12 = sqrt(50 * 75) 2 s / (1 - s^2), and Y = Z^-1.
TEST(Network, RealReferencesPerPort) {
  const double s = 0.25, d = 1 - s * s, r = std::sqrt(50.0 * 75.0);
  const Matrix z{50 * (1 + s * s) / d, r * 2 * s / d, r * 2 * s / d, 75 * (1 + s * s) / d};
  expect_near(s_to_z({0, s, s, 0}, {50, 75}), z, 1e-13, "z");
  const C det = z[0] * z[3] - z[1] * z[2];
  expect_near(s_to_y({0, s, s, 0}, {50, 75}), {z[3] / det, -z[1] / det, -z[2] / det, z[0] / det},
              1e-13, "y");
}

// A deterministic, non-symmetric, lossy N x N S-matrix.
Matrix test_s(std::size_t n) {
  Matrix s(n * n);
  for (std::size_t r = 0; r < n; ++r) {
    for (std::size_t c = 0; c < n; ++c) {
      s[r * n + c] = C(0.3 * std::cos(1.0 + r + 2.0 * c), 0.25 * std::sin(0.5 + 3.0 * r - c));
    }
  }
  return s;
}

// The last complex reference has a negative resistance: the waves divide by sqrt|R|.
TEST(Network, RoundTrips) {
  const Zs real{50, 75, 25, 100}, complex{C(50, 20), C(30, -10), C(75, 5), C(-10, -40)};
  for (const Zs* refs : {&real, &complex}) {
    for (std::size_t n = 1; n <= 4; ++n) {
      const Zs zref(refs->begin(), refs->begin() + static_cast<std::ptrdiff_t>(n));
      const Matrix s = test_s(n);
      for (const Conversion& k : kConversions) {
        if (n != 2 && k.to != s_to_z && k.to != s_to_y) continue;
        const std::string what = std::string(k.name) + ", " + std::to_string(n) + " ports";
        expect_near(k.from(k.to(s, zref), zref), s, 1e-13, what);
      }
      // Y is the inverse of Z.
      const Matrix z = s_to_z(s, zref), y = s_to_y(s, zref);
      for (std::size_t r = 0; r < n; ++r) {
        for (std::size_t c = 0; c < n; ++c) {
          C sum = 0;
          for (std::size_t m = 0; m < n; ++m)
            sum += z[r * n + m] * y[m * n + c];
          EXPECT_NEAR(std::abs(sum - (r == c ? 1.0 : 0.0)), 0.0, 1e-13);
        }
      }
    }
  }
}

TEST(Network, SingularMatricesGiveNonFiniteEntries) {
  const Zs zref{50, 75};
  const struct {
    const char* name;
    Matrix got;
  } cases[] = {
      {"z of an open", s_to_z({1, 0, 0, 1}, zref)},
      {"y of a short", s_to_y({-1, 0, 0, -1}, zref)},
      {"s of z = -zref", z_to_s({-50, 0, 0, -75}, zref)},
      {"s of y = -1/zref", y_to_s({-1. / 50, 0, 0, -1. / 75}, zref)},
      {"abcd of an isolator", s_to_abcd({0, 0, 0, 0}, zref)},
      {"z on a reactive reference", s_to_z({0}, {C(0, 50)})},
  };
  for (const auto& c : cases) {
    for (C v : c.got)
      EXPECT_FALSE(finite(v)) << c.name;
  }
  // A matched port beside an open one keeps its own impedance.
  const Matrix z = s_to_z({1, 0, 0, 0}, {50, 50});
  EXPECT_FALSE(finite(z[0]));
  EXPECT_NEAR(std::abs(z[3] - 50.0), 0.0, 1e-13);
}

TEST(Network, WrongSizes) {
  const Matrix four(4);
  const struct {
    Convert f;
    Matrix m;
    Zs zref;
    const char* text;
  } cases[] = {
      {s_to_z, Matrix(3), {50, 50}, "expected a matrix of 4 entries for 2 ports, found 3"},
      {y_to_s, four, {50}, "expected a matrix of 1 entries for 1 ports, found 4"},
      {s_to_y, four, {}, "expected a matrix of 0 entries for 0 ports, found 4"},
      {g_to_s, Matrix(9), {50, 50}, "expected a matrix of 4 entries for 2 ports, found 9"},
      {s_to_h, Matrix(9), {50, 50, 50}, "s_to_h needs 2 ports, found 3"},
      {h_to_s, four, {50}, "h_to_s needs 2 ports, found 1"},
      {s_to_g, four, {}, "s_to_g needs 2 ports, found 0"},
      {s_to_abcd, Matrix(1), {50}, "s_to_abcd needs 2 ports, found 1"},
      {abcd_to_s, Matrix(9), {50, 50, 50}, "abcd_to_s needs 2 ports, found 3"},
  };
  for (const auto& c : cases)
    EXPECT_THROW_MSG(c.f(c.m, c.zref), std::runtime_error, c.text);
  EXPECT_THROW_MSG(renormalize(SMatrixSample(2, 1e9), {50}), std::runtime_error,
                   "expected 2 reference impedances, found 1");
}

TEST(Network, RenormalizeSample) {
  const std::vector<PortDataName> names{{"Gamma", 1}};
  SMatrixSample s(2, 3e9, names);
  s.S() = test_s(2);
  s.Zref() = {50, C(30, -10)};
  s.set({"Gamma", 1}, C(0.5, 2));
  const Zs zref{C(75, 15), 20};

  const SMatrixSample r = renormalize(s, zref);
  EXPECT_EQ(r.frequency(), 3e9);
  EXPECT_EQ(r.Zref(), zref);
  EXPECT_EQ(r({"Gamma", 1}), C(0.5, 2));
  EXPECT_EQ(r.port_data_names(), names);
  expect_near(r.S(), z_to_s(s_to_z(s.S(), s.Zref()), zref), 1e-13, "through z");
  expect_near(renormalize(r, s.Zref()).S(), s.S(), 1e-13, "back");
  EXPECT_EQ(renormalize(s, s.Zref()), s);  // the identity, bit for bit

  // A resistor of 100 ohms seen from 50 ohms, then from a complex reference.
  SMatrixSample load(1, 1e6);
  load.S() = {1.0 / 3};
  load.Zref() = {50};
  expect_near(renormalize(load, {75}).S(), {1.0 / 7}, 1e-15, "75 ohms");
  expect_near(renormalize(load, {C(40, -15)}).S(), {(100. - C(40, 15)) / (100. + C(40, -15))},
              1e-15, "complex");
  // An open has no Z, yet reflects fully on any reference.
  load.S() = {1};
  expect_near(renormalize(load, {C(30, 40)}).S(), {1}, 1e-15, "open");
}

TEST(Network, RenormalizeContainer) {
  const std::vector<PortDataName> names{{"Zpi", 0}, {"Zpi", 1}};
  SMatrixContainer c(2, names);
  c.name(0) = "in";
  c.name(1) = "out";
  c.add_global_property("source", "solver");
  c.add_port_property(1, "k", "v");
  for (double f : {1e9, 2e9}) {
    SMatrixSample s(2, f, names);
    s.S() = test_s(2);
    s.S()[0] *= f / 1e9;
    s.Zref() = {C(50, f / 1e8), 50};
    c.add(s);
  }
  const Zs zref{50, 50};
  const SMatrixContainer r = renormalize(c, zref);
  ASSERT_EQ(r.nbSamples(), 2u);
  for (auto a = c.begin_samples(), b = r.begin_samples(); a != c.end_samples(); ++a, ++b) {
    EXPECT_EQ(*b, renormalize(*a, zref));
  }
  EXPECT_EQ(r.name(0), "in");
  EXPECT_EQ(r.name(1), "out");
  EXPECT_EQ(r.port_data_names(), names);
  EXPECT_EQ(r.get_global_properties(), c.get_global_properties());
  EXPECT_EQ(r.get_port_properties(1), c.get_port_properties(1));
  EXPECT_EQ(r.nbModels(), 0u);

  EXPECT_THROW_MSG(renormalize(c, {50}), std::runtime_error,
                   "expected 2 reference impedances, found 1");
  c.add(SMatrixModel(2, 3e9, 4e9, names));
  EXPECT_THROW_MSG(renormalize(c, zref), std::runtime_error,
                   "renormalize needs samples: the container holds models");
}

}  // namespace
}  // namespace korvantix
