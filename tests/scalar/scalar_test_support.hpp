#pragma once

// Helpers shared by the scalar model tests.

#include <korvantix/scalar.hpp>

#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <cstring>
#include <functional>
#include <vector>

namespace korvantix::testing {

using Complex = std::complex<double>;
/// A coefficient list.
using Coefs = std::vector<Complex>;

/// Same bits in both parts (NaN payloads and signed zeros included).
inline bool same_bits(const Complex& a, const Complex& b) {
  return std::memcmp(&a, &b, sizeof(Complex)) == 0;
}

/// Central difference of g at x with step h.
inline Complex central_difference(const std::function<Complex(double)>& g, double x, double h) {
  return (g(x + h) - g(x - h)) / (2.0 * h);
}

/// |a - b| within rel * max(1, |b|).
inline ::testing::AssertionResult near(const Complex& a, const Complex& b, double rel) {
  if (std::abs(a - b) <= rel * std::max(1.0, std::abs(b))) return ::testing::AssertionSuccess();
  return ::testing::AssertionFailure() << a << " differs from " << b;
}

}  // namespace korvantix::testing
