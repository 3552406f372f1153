#include <korvantix/network.hpp>

#include <cmath>
#include <cstddef>
#include <stdexcept>
#include <utility>

#include "detail/message.hpp"

namespace korvantix {

namespace {

using Complex = std::complex<double>;
using Impedances = std::vector<Complex>;

// X = A^-1 B for an n x n matrix A and an n x m matrix B, both row-major, by LU decomposition
// with partial pivoting; A and B are overwritten. A zero pivot is divided by as it stands, so a
// singular A gives non-finite entries instead of an exception. Exact zeros are skipped in the
// elimination: the result is the same for a regular A, and the block of ports decoupled from
// a singular one stays finite instead of catching a 0/0 (an open port 1 leaves Z22 intact).
Matrix solve(Matrix a, Matrix b, std::size_t n, std::size_t m) {
  for (std::size_t k = 0; k < n; ++k) {
    std::size_t pivot = k;
    for (std::size_t i = k + 1; i < n; ++i) {
      if (std::norm(a[i * n + k]) > std::norm(a[pivot * n + k])) pivot = i;
    }
    if (pivot != k) {
      for (std::size_t j = 0; j < n; ++j)
        std::swap(a[k * n + j], a[pivot * n + j]);
      for (std::size_t j = 0; j < m; ++j)
        std::swap(b[k * m + j], b[pivot * m + j]);
    }
    for (std::size_t i = k + 1; i < n; ++i) {
      if (a[i * n + k] == Complex(0.0)) continue;
      const Complex l = a[i * n + k] / a[k * n + k];
      for (std::size_t j = k + 1; j < n; ++j)
        a[i * n + j] -= l * a[k * n + j];
      for (std::size_t j = 0; j < m; ++j)
        b[i * m + j] -= l * b[k * m + j];
    }
  }
  for (std::size_t k = n; k-- > 0;) {
    for (std::size_t i = k + 1; i < n; ++i) {
      const Complex u = a[k * n + i];
      if (u == Complex(0.0)) continue;
      for (std::size_t j = 0; j < m; ++j)
        b[k * m + j] -= u * b[i * m + j];
    }
    for (std::size_t j = 0; j < m; ++j)
      b[k * m + j] /= a[k * n + k];
  }
  return b;
}

Matrix transpose(const Matrix& a, std::size_t n) {
  Matrix t(a.size());
  for (std::size_t i = 0; i < n; ++i) {
    for (std::size_t j = 0; j < n; ++j)
      t[j * n + i] = a[i * n + j];
  }
  return t;
}

// B A^-1 (the solution X of X A = B), through A^T X^T = B^T.
Matrix right_divide(const Matrix& b, const Matrix& a, std::size_t n) {
  return transpose(solve(transpose(a, n), transpose(b, n), n, n), n);
}

// The port voltages and currents as rows over some basis vector x: V = v x, I = i x.
struct PortRows {
  Matrix v;
  Matrix i;
};

// V and I over the incident waves a, with b = S a: inverting the power-wave definition,
// V_k = (Z_k* a_k + Z_k b_k) / p_k and I_k = (a_k - b_k) / p_k with p_k = R_k / sqrt|R_k|.
PortRows rows_over_waves(const Matrix& s, const Impedances& zref) {
  const std::size_t n = zref.size();
  PortRows rows{Matrix(n * n), Matrix(n * n)};
  for (std::size_t k = 0; k < n; ++k) {
    const Complex z = zref[k];
    const double p = z.real() / std::sqrt(std::abs(z.real()));
    for (std::size_t j = 0; j < n; ++j) {
      const Complex incident = j == k ? 1.0 : 0.0;
      rows.v[k * n + j] = (std::conj(z) * incident + z * s[k * n + j]) / p;
      rows.i[k * n + j] = (incident - s[k * n + j]) / p;
    }
  }
  return rows;
}

// S from V and I over any basis x: a = F (V + G I) x and b = F (V - G* I) x give S = b a^-1,
// with F = diag(1 / (2 sqrt|R_k|)) and G = diag(Z_k).
Matrix s_of_rows(const PortRows& rows, const Impedances& zref) {
  const std::size_t n = zref.size();
  Matrix a(n * n);
  Matrix b(n * n);
  for (std::size_t k = 0; k < n; ++k) {
    const Complex z = zref[k];
    const double f = 1.0 / (2.0 * std::sqrt(std::abs(z.real())));
    for (std::size_t j = 0; j < n; ++j) {
      const Complex v = rows.v[k * n + j];
      const Complex i = rows.i[k * n + j];
      a[k * n + j] = f * (v + z * i);
      b[k * n + j] = f * (v - std::conj(z) * i);
    }
  }
  return right_divide(b, a, n);
}

// Every parameter set is y = P x for vectors x and y that each list one voltage or current per
// port (times a sign). Which ones is all that distinguishes Z, Y, H, G and ABCD.
enum class Kind { z, y, h, g, abcd };

struct Term {
  std::size_t port;
  bool current;
  double sign;
};

// Entry m of x (dependent false) or y (dependent true) for parameters of the kind.
Term term(Kind kind, bool dependent, std::size_t m) {
  switch (kind) {
    case Kind::z:  // x = I, y = V
      return {m, !dependent, 1.0};
    case Kind::y:  // x = V, y = I
      return {m, dependent, 1.0};
    case Kind::h:  // x = (I1, V2), y = (V1, I2)
      return {m, (m == 0) != dependent, 1.0};
    case Kind::g:  // x = (V1, I2), y = (I1, V2)
      return {m, (m == 0) == dependent, 1.0};
    case Kind::abcd:  // x = (V2, -I2), y = (V1, I1)
      if (dependent) return {0, m == 1, 1.0};
      return {1, m == 1, m == 1 ? -1.0 : 1.0};
  }
  return {m, false, 1.0};
}

void check_size(const Matrix& m, const Impedances& zref) {
  const std::size_t n = zref.size();
  if (m.size() != n * n) {
    throw std::runtime_error(detail::message("expected a matrix of ", n * n, " entries for ", n,
                                             " ports, found ", m.size()));
  }
}

void check_two_port(const char* name, const Matrix& m, const Impedances& zref) {
  if (zref.size() != 2) {
    throw std::runtime_error(detail::message(name, " needs 2 ports, found ", zref.size()));
  }
  check_size(m, zref);
}

// P = Y X^-1 where X and Y are the rows of x and y over the incident waves.
Matrix from_s(Kind kind, const Matrix& s, const Impedances& zref) {
  const std::size_t n = zref.size();
  const PortRows rows = rows_over_waves(s, zref);
  Matrix x(n * n);
  Matrix y(n * n);
  for (std::size_t m = 0; m < n; ++m) {
    const Term tx = term(kind, false, m);
    const Term ty = term(kind, true, m);
    const Matrix& from_x = tx.current ? rows.i : rows.v;
    const Matrix& from_y = ty.current ? rows.i : rows.v;
    for (std::size_t j = 0; j < n; ++j) {
      x[m * n + j] = tx.sign * from_x[tx.port * n + j];
      y[m * n + j] = ty.sign * from_y[ty.port * n + j];
    }
  }
  return right_divide(y, x, n);
}

// V and I as rows over x (an x entry is a unit row, a y entry a row of P), then S.
Matrix to_s(Kind kind, const Matrix& p, const Impedances& zref) {
  const std::size_t n = zref.size();
  PortRows rows{Matrix(n * n), Matrix(n * n)};
  for (std::size_t m = 0; m < n; ++m) {
    const Term tx = term(kind, false, m);
    const Term ty = term(kind, true, m);
    (tx.current ? rows.i : rows.v)[tx.port * n + m] = tx.sign;
    Matrix& to_y = ty.current ? rows.i : rows.v;
    for (std::size_t j = 0; j < n; ++j)
      to_y[ty.port * n + j] = ty.sign * p[m * n + j];
  }
  return s_of_rows(rows, zref);
}

}  // namespace

Matrix s_to_z(const Matrix& s, const Impedances& zref) {
  check_size(s, zref);
  return from_s(Kind::z, s, zref);
}

Matrix z_to_s(const Matrix& z, const Impedances& zref) {
  check_size(z, zref);
  return to_s(Kind::z, z, zref);
}

Matrix s_to_y(const Matrix& s, const Impedances& zref) {
  check_size(s, zref);
  return from_s(Kind::y, s, zref);
}

Matrix y_to_s(const Matrix& y, const Impedances& zref) {
  check_size(y, zref);
  return to_s(Kind::y, y, zref);
}

Matrix s_to_h(const Matrix& s, const Impedances& zref) {
  check_two_port("s_to_h", s, zref);
  return from_s(Kind::h, s, zref);
}

Matrix h_to_s(const Matrix& h, const Impedances& zref) {
  check_two_port("h_to_s", h, zref);
  return to_s(Kind::h, h, zref);
}

Matrix s_to_g(const Matrix& s, const Impedances& zref) {
  check_two_port("s_to_g", s, zref);
  return from_s(Kind::g, s, zref);
}

Matrix g_to_s(const Matrix& g, const Impedances& zref) {
  check_two_port("g_to_s", g, zref);
  return to_s(Kind::g, g, zref);
}

Matrix s_to_abcd(const Matrix& s, const Impedances& zref) {
  check_two_port("s_to_abcd", s, zref);
  return from_s(Kind::abcd, s, zref);
}

Matrix abcd_to_s(const Matrix& a, const Impedances& zref) {
  check_two_port("abcd_to_s", a, zref);
  return to_s(Kind::abcd, a, zref);
}

SMatrixSample renormalize(const SMatrixSample& sample, const Impedances& zref) {
  const std::size_t n = sample.nbPorts();
  if (zref.size() != n) {
    throw std::runtime_error(
        detail::message("expected ", n, " reference impedances, found ", zref.size()));
  }
  SMatrixSample result(sample);
  // Same impedances: the identity, bit for bit, rather than a round trip through rounding.
  if (sample.Zref() == zref) return result;
  // The port voltages and currents over the old waves, re-expressed in the new waves: equal
  // to z_to_s(s_to_z(S)) where Z exists, and finite where it does not (an open port).
  result.S() = s_of_rows(rows_over_waves(sample.S(), sample.Zref()), zref);
  result.Zref() = zref;
  return result;
}

SMatrixContainer renormalize(const SMatrixContainer& container, const Impedances& zref) {
  if (container.nbModels() != 0) {
    throw std::runtime_error("renormalize needs samples: the container holds models");
  }
  const std::size_t n = container.nbPorts();
  if (zref.size() != n) {
    throw std::runtime_error(
        detail::message("expected ", n, " reference impedances, found ", zref.size()));
  }
  // Built afresh rather than copied: a copy would duplicate every sample only to replace it.
  SMatrixContainer result(n, container.port_data_names());
  for (std::size_t k = 0; k < n; ++k) {
    result.name(k) = container.name(k);
    for (const auto& [key, value] : container.get_port_properties(k)) {
      result.add_port_property(k, key, value);
    }
  }
  for (const auto& [key, value] : container.get_global_properties()) {
    result.add_global_property(key, value);
  }
  for (auto it = container.begin_samples(); it != container.end_samples(); ++it) {
    result.add(renormalize(*it, zref));
  }
  return result;
}

}  // namespace korvantix
