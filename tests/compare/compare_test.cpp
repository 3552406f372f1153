#include <korvantix/compare.hpp>
#include <korvantix/io.hpp>

#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <cstdio>
#include <limits>
#include <memory>
#include <sstream>
#include <stdexcept>
#include <string>
#include <tuple>
#include <vector>

#include "test_support.hpp"

namespace korvantix {
namespace {

using C = std::complex<double>;
using Where = std::tuple<double, std::size_t, std::size_t>;
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInf = std::numeric_limits<double>::infinity();

// A 3-port sample at f with distinct entries S(i, j) = (i + 1) + j*(j + 1)i.
SMatrixSample base_sample(double f) {
  SMatrixSample s(3, f);
  for (std::size_t i = 0; i < 3; ++i)
    for (std::size_t j = 0; j < 3; ++j)
      s(i, j) = C(1.0 + static_cast<double>(i), static_cast<double>(j * (j + 1)));
  return s;
}

SMatrixContainer container_at(const std::vector<double>& freqs, C offset = {}) {
  SMatrixContainer c(3);
  for (const double f : freqs) {
    SMatrixSample s = base_sample(f);
    for (auto& x : s.S())
      x += offset;
    c.add(s);
  }
  return c;
}

TEST(Distance, SamplesWithDifferencesKnownInClosedForm) {
  struct Case {
    const char* what;
    C offset;                                                  // added to every entry of b
    std::vector<std::tuple<std::size_t, std::size_t, C>> bad;  // then added to single entries
    double rms, max;                                           // NaN: both are NaN
    std::size_t row, column;
  };
  const std::vector<Case> cases = {
      {"identical", {}, {}, 0.0, 0.0, 0, 0},
      {"constant offset, first of equal maxima", {0.375, -0.5}, {}, 0.625, 0.625, 0, 0},
      {"one bad entry", {}, {{2, 1, {3.0, 4.0}}}, 5.0 / 3.0, 5.0, 2, 1},
      {"tie in row-major order",
       {},
       {{2, 0, {0.0, 2.0}}, {1, 2, {-2.0, 0.0}}},
       0.9428090415820634,
       2.0,
       1,
       2},
      {"NaN after a larger number",
       {},
       {{0, 1, {100.0, 0.0}}, {2, 2, {kNaN, 0.0}}},
       kNaN,
       kNaN,
       2,
       2},
      {"first of two NaNs", {}, {{1, 0, {0.0, kNaN}}, {2, 2, {kNaN, 0.0}}}, kNaN, kNaN, 1, 0},
  };
  for (const Case& c : cases) {
    const SMatrixSample a = base_sample(2e9);
    SMatrixSample b = base_sample(7e9);  // a sample's frequency is not compared
    for (auto& x : b.S())
      x += c.offset;
    for (const auto& [i, j, change] : c.bad)
      b(i, j) += change;
    const DistanceLocation worst = max_distance(a, b);
    if (std::isnan(c.max)) {
      EXPECT_TRUE(std::isnan(distance(a, b)) && std::isnan(worst.first)) << c.what;
    } else {
      EXPECT_DOUBLE_EQ(distance(a, b), c.rms) << c.what;
      EXPECT_EQ(worst.first, c.max) << c.what;
    }
    EXPECT_EQ(worst.second, Where(2e9, c.row, c.column)) << c.what;
  }
  // An infinite entry that both hold is no difference (inf - inf would be NaN).
  SMatrixSample a = base_sample(1.0), b = base_sample(1.0);
  a(1, 1) = b(1, 1) = C(kInf, 1.0);
  b(0, 0) += 3.0;
  EXPECT_DOUBLE_EQ(distance(a, b), 1.0);
}

TEST(Distance, ScalarModels) {
  // |(1 + 2i) - (1 + 2i + f)| = f.
  const PolynomialModel a(C(1.0, 2.0));
  const PolynomialModel b(C(1.0, 2.0), C(1.0, 0.0));
  const std::vector<double> freqs = {1.0, 3.0, 2.0, 3.0};
  EXPECT_DOUBLE_EQ(distance(a, b, freqs), std::sqrt((1.0 + 9.0 + 4.0 + 9.0) / 4.0));
  EXPECT_EQ(max_distance(a, b, freqs), DistanceLocation(3.0, Where(3.0, 0, 0)));
  EXPECT_EQ(distance(a, a, freqs), 0.0);
  const PolynomialModel nan(C(kNaN, 0.0));
  EXPECT_EQ(std::get<0>(max_distance(a, nan, freqs).second), 1.0);
}

// Two 3-port containers with samples at 1, 2 and 3 GHz; the second's S(0, 2) is 1 larger at
// 2 GHz only.
struct Pair {
  SMatrixContainer a = container_at({1e9, 2e9, 3e9});
  SMatrixContainer b = [] {
    SMatrixContainer c(3);
    for (const double f : {1e9, 2e9, 3e9}) {
      SMatrixSample s = base_sample(f);
      if (f == 2e9) s(0, 2) += 1.0;
      c.add(s);
    }
    return c;
  }();
};

TEST(Distance, EvaluatorsAtListedFrequencies) {
  const Pair p;
  const std::vector<double> freqs = {1e9, 1.5e9, 2e9, 2.5e9};
  // REAL_IMAG interpolates the difference linearly: 0.5 at 1.5 and 2.5 GHz, 1 at 2 GHz.
  EXPECT_DOUBLE_EQ(distance(p.a, p.b, freqs, REAL_IMAG), std::sqrt(1.5 / 36.0));
  EXPECT_EQ(max_distance(p.a, p.b, freqs, REAL_IMAG), DistanceLocation(1.0, Where(2e9, 0, 2)));
  // A sample is an evaluator too, answering only at its own frequency.
  const SMatrixSample s = base_sample(2e9);
  EXPECT_EQ(max_distance(s, p.b, {2e9}).second, Where(2e9, 0, 2));
  EXPECT_THROW_MSG(distance(s, p.b, {1e9}), std::out_of_range, "");
  EXPECT_THROW_MSG(max_distance(p.a, p.b, {2e9, 4e9}), std::runtime_error,
                   "4e+09 Hz does not belong to [1e+09, 3e+09] Hz");
}

TEST(Distance, FrequenciesInAnyOrderAgreeWithAReferenceLoop) {
  const Pair p;
  SMatrixContainer with_model = p.b;  // a model makes the container evaluate every frequency
  with_model.add(SMatrixModel(3, 3.5e9, 4e9));
  const std::vector<double> freqs = {3e9, 1e9, 2e9, 2e9, 1.25e9, 3e9, 1e9, 2.75e9};
  for (const SMatrixContainer* b : {&p.b, static_cast<const SMatrixContainer*>(&with_model)}) {
    double sum = 0.0, largest = -1.0;
    Where at;
    for (const double f : freqs) {
      const SMatrixSample sa = p.a.evaluate(f, MAG_PHASE), sb = b->evaluate(f, MAG_PHASE);
      for (std::size_t i = 0; i < 3; ++i) {
        for (std::size_t j = 0; j < 3; ++j) {
          const double d = std::abs(sa(i, j) - sb(i, j));
          sum += d * d;
          if (d > largest) std::tie(largest, at) = std::make_tuple(d, Where(f, i, j));
        }
      }
    }
    EXPECT_DOUBLE_EQ(distance(p.a, *b, freqs), std::sqrt(sum / (9.0 * 8.0)));
    EXPECT_EQ(max_distance(*b, p.a, freqs), DistanceLocation(largest, at));
  }
}

TEST(Distance, RefusalsComeBeforeAnyEvaluation) {
  // The containers are empty, so any evaluation would throw "empty container".
  const SMatrixContainer two(2), three(3);
  const SMatrixSample s2(2, 1.0), s3(3, 1.0);
  const PolynomialModel m;
  const std::string ports = "cannot compare networks of 2 and 3 ports";
  const std::string none = "no frequencies to compare at";
  EXPECT_THROW_MSG(distance(two, three, {1e9}), std::runtime_error, ports);
  EXPECT_THROW_MSG(max_distance(two, three, {1e9}), std::runtime_error, ports);
  EXPECT_THROW_MSG(distance(s2, s3), std::runtime_error, ports);
  EXPECT_THROW_MSG(max_distance(s2, s3), std::runtime_error, ports);
  EXPECT_THROW_MSG(distance(two, two, {}), std::runtime_error, none);
  EXPECT_THROW_MSG(max_distance(two, three, {}), std::runtime_error, none);
  EXPECT_THROW_MSG(distance(m, m, {}), std::runtime_error, none);
  EXPECT_THROW_MSG(max_distance(m, m, {}), std::runtime_error, none);
}

TEST(DifferenceContainer, EvaluatesFirstMinusSecondOverTheOverlap) {
  const std::vector<PortDataName> keys = {{"Gamma", 0}, {"Zpi", 1}};
  SMatrixContainer a(2, keys), b(2, keys);
  for (const double f : {1e9, 2e9, 3e9}) {
    SMatrixSample s(2, f, keys);
    s(0, 1) = C(f / 1e9, 1.0);
    s.Zref(0) = 50.0;
    s(keys[0]) = C(0.0, f / 1e9);
    a.add(s);
  }
  for (const double f : {2e9, 4e9}) {
    SMatrixSample s(2, f, keys);
    s(0, 1) = C(0.0, 1.0);
    s.Zref(0) = 49.0;
    s(keys[1]) = 2.0;
    b.add(s);
  }
  const SMatrixDifferenceContainer d(a, b);
  EXPECT_EQ(std::make_tuple(d.type(), d.nbPorts(), d.from(), d.to()),
            std::make_tuple(SMatrixEvaluator::MIXED, std::size_t{2}, 2e9, 3e9));
  EXPECT_TRUE(d.first() == a && d.second() == b);

  // On stored samples of both: every entry and datum subtracts.
  const SMatrixSample at2 = d.evaluate(2e9, REAL_IMAG);
  EXPECT_EQ(std::make_tuple(at2.frequency(), at2(0, 1), at2.Zref(0), at2(keys[0]), at2(keys[1])),
            std::make_tuple(2e9, C(2.0, 0.0), C(1.0), C(0.0, 2.0), C(-2.0)));
  // At 3 GHz the second interpolates (no port data), so the difference has none either.
  const SMatrixSample at3 = d.evaluate(3e9, REAL_IMAG);
  EXPECT_EQ(std::make_tuple(at3.frequency(), at3(0, 1), at3.port_data_names().size()),
            std::make_tuple(3e9, C(3.0, 0.0), std::size_t{0}));
  // The difference container is an evaluator like any other.
  EXPECT_EQ(max_distance(d, SMatrixSample(2, 2e9), {2e9}, REAL_IMAG),
            DistanceLocation(2.0, Where(2e9, 0, 1)));

  std::unique_ptr<SMatrixEvaluator> copy(d.clone());
  EXPECT_EQ(copy->evaluate(2.5e9, MAG_PHASE), d.evaluate(2.5e9, MAG_PHASE));
  EXPECT_THROW_MSG(d.evaluate(1e9, REAL_IMAG), std::out_of_range, "1e+09 not in [2e+09 , 3e+09]");
  EXPECT_THROW_MSG(d.evaluate(kNaN, REAL_IMAG), std::out_of_range, "nan not in [2e+09 , 3e+09]");
}

TEST(DifferenceContainer, RefusalsAndSymmetry) {
  const SMatrixContainer a = container_at({1e9, 2e9});
  SMatrixContainer renamed = a;
  renamed.name(1) = "out";
  EXPECT_THROW_MSG(SMatrixDifferenceContainer(a, SMatrixContainer(2)), std::runtime_error,
                   "cannot compare networks of 3 and 2 ports");
  EXPECT_THROW_MSG(SMatrixDifferenceContainer(a, renamed), std::runtime_error,
                   "port names differ: <port_0, port_1, port_2> and <port_0, out, port_2>; "
                   "permute one container to the other's port order first");
  EXPECT_THROW_MSG(SMatrixDifferenceContainer(a, container_at({2.5e9, 3e9})), std::runtime_error,
                   "the networks share no frequency band: [1e+09 , 2e+09] and [2.5e+09 , 3e+09]");
  EXPECT_THROW_MSG(SMatrixDifferenceContainer(a, SMatrixContainer(3)), std::runtime_error,
                   "empty container");
  // Bands that touch share one frequency.
  const SMatrixDifferenceContainer touching(a, container_at({2e9, 3e9}, 1.0));
  EXPECT_EQ(std::make_pair(touching.from(), touching.to()), std::make_pair(2e9, 2e9));
  EXPECT_EQ(touching.evaluate(2e9, MAG_PHASE)(2, 2), C(-1.0));
  // base_sample is not symmetric; a container of one zero sample is.
  SMatrixContainer zero(3);
  zero.add(SMatrixSample(3, 1e9));
  EXPECT_TRUE(SMatrixDifferenceContainer(zero, zero).is_symmetric());
  EXPECT_FALSE(SMatrixDifferenceContainer(zero, a).is_symmetric());
  EXPECT_FALSE(SMatrixDifferenceContainer(a, zero).is_symmetric());
}

TEST(DifferenceContainer, ReadFromTwoFiles) {
  const SMatrixContainer a = container_at({1e9, 2e9}), b = container_at({1e9, 2e9}, {0.0, 0.5});
  const std::string path_a = ::testing::TempDir() + "korvantix_compare_a.kvx";
  const std::string path_b = ::testing::TempDir() + "korvantix_compare_b.kvx";
  write(a, path_a.c_str(), ASCII);
  write(b, path_b.c_str(), BINARY);
  const SMatrixDifferenceContainer d(path_a.c_str(), path_b.c_str());
  EXPECT_TRUE(d.first() == a && d.second() == b);
  EXPECT_DOUBLE_EQ(distance(d, SMatrixSample(3, 1.5e9), {1.5e9}, REAL_IMAG), 0.5);
  std::remove(path_b.c_str());
  EXPECT_THROW_MSG(SMatrixDifferenceContainer(path_a.c_str(), path_b.c_str()), std::runtime_error,
                   "Unable to read <" + path_b + ">");
  std::remove(path_a.c_str());
}

TEST(DifferenceContainer, Prints) {
  const SMatrixContainer a = container_at({1e9}), b = container_at({1e9, 2e9});
  const SMatrixDifferenceContainer d(a, b);
  std::ostringstream direct, through_pointer, expected;
  direct << d;
  through_pointer << static_cast<const SMatrixEvaluator*>(&d);
  expected << "Difference of two S-matrix containers over [1e+09 , 1e+09] Hz:\n" << a << "\n" << b;
  EXPECT_EQ(direct.str(), expected.str());
  EXPECT_EQ(through_pointer.str(), expected.str());
}

}  // namespace
}  // namespace korvantix
