#pragma once

// Helpers shared by the model tests.

#include <korvantix/container.hpp>
#include <korvantix/model.hpp>
#include <korvantix/scalar.hpp>

#include <gtest/gtest.h>

#include <complex>
#include <functional>
#include <initializer_list>
#include <limits>
#include <sstream>
#include <string>
#include <vector>

#include "test_support.hpp"

namespace korvantix::testing {

using C = std::complex<double>;
using Names = std::vector<PortDataName>;
using RE = std::runtime_error;
using Flags = std::vector<bool>;
using Values = std::vector<C>;
using Freqs = std::vector<double>;
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInf = std::numeric_limits<double>::infinity();

/// What operator<< writes.
template <class T>
std::string text(const T& value) {
  std::ostringstream out;
  out << value;
  return out.str();
}

/// S(i, j) = base + (i * N + j), Zref(i) = 50 + i, every port datum base * 10.
inline SMatrixSample make_sample(std::size_t n, double f, C base, const Names& names = {}) {
  SMatrixSample s(n, f, names);
  for (std::size_t k = 0; k < n * n; ++k)
    s.S()[k] = base + static_cast<double>(k);
  for (std::size_t i = 0; i < n; ++i)
    s.Zref(i) = 50.0 + static_cast<double>(i);
  for (const PortDataName& key : names)
    s.set(key, base * 10.0);
  return s;
}

/// Every S entry, Zref and port datum is c0 + c1 * f.
inline SMatrixModel make_model(std::size_t n, double from, double to, C c0, C c1 = 0.0,
                               const Names& names = {}) {
  SMatrixModel m(n, from, to, names);
  const PolynomialModel p(c0, c1);
  for (std::size_t i = 0; i < n; ++i) {
    m.setZref(i, &p);
    for (std::size_t j = 0; j < n; ++j)
      m.set(i, j, &p);
  }
  for (const PortDataName& key : names)
    m.set(key, &p);
  return m;
}

/// A one-port container with a zero sample at each frequency.
inline SMatrixContainer samples_at(const std::vector<double>& frequencies) {
  SMatrixContainer c(1);
  for (double f : frequencies)
    c.add(SMatrixSample(1, f));
  return c;
}

/// The bits of a value, to compare values exactly (NaN payloads and signed zeros included).
inline std::string bits(C v) {
  return std::string(reinterpret_cast<const char*>(&v), sizeof v);
}

/// The bits of a sample: port count, frequency, S, Zref and port data.
inline std::string bits(const SMatrixSample& s) {
  std::string out = text(s.nbPorts()) + bits(C(s.frequency(), 0));
  for (const C& v : s.S())
    out += bits(v);
  for (const C& v : s.Zref())
    out += bits(v);
  for (auto it = s.begin_port_data(); it != s.end_port_data(); ++it)
    out += text(it->first) + bits(it->second);
  return out;
}

/// Each call throws exactly E with the text beside it.
template <class E = RE>
void expect_throws(std::initializer_list<std::pair<std::function<void()>, std::string>> rows) {
  int row = 0;
  for (const auto& [call, message] : rows) {
    SCOPED_TRACE("row " + std::to_string(row++));
    EXPECT_THROW_MSG(call(), E, message);
  }
}

/// The bits of what f returns, or the text of what it throws.
template <class F>
std::string outcome(F f) {
  try {
    return bits(f());
  } catch (const std::exception& error) {
    return std::string("throws ") + error.what();
  }
}

}  // namespace korvantix::testing
