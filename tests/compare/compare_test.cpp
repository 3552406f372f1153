#include <korvantix/compare.hpp>
#include <korvantix/io.hpp>

#include <gtest/gtest.h>

#include "test_support.hpp"

namespace korvantix {
namespace {

using C = std::complex<double>;
using Where = std::tuple<double, std::size_t, std::size_t>;
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

// A 3-port sample at f: S(i, j) = (i + 1) + j(j + 1)i, every Zref 50 and the port datum
// Gamma[0] = f, each plus the offset o; S(0, 2) is larger by 1 when f is `bump`.
SMatrixSample base_sample(double f, C o = {}, double bump = 0) {
  SMatrixSample s(3, f, {{"Gamma", 0}});
  s.S() = {1. + o, C(1, 2) + o, C(1, 6 + (f == bump)) + o,
           2. + o, C(2, 2) + o, C(2, 6) + o,
           3. + o, C(3, 2) + o, C(3, 6) + o};
  s.Zref().assign(3, 50.0 + o);
  s({"Gamma", 0}) = f + o;
  return s;
}

SMatrixContainer container_at(const std::vector<double>& freqs, C offset = {}, double bump = 0) {
  SMatrixContainer c(3, {{"Gamma", 0}});
  for (const double f : freqs)
    c.add(base_sample(f, offset, bump));
  return c;
}

// b is a plus an offset on every entry, then plus changes of single entries; -1 marks NaN.
TEST(Distance, SamplesModelsAndEvaluatorsAgainstClosedFormsAndRefusals) {
  using Changes = std::vector<std::tuple<std::size_t, std::size_t, C>>;
  const std::tuple<C, Changes, double, double, std::size_t, std::size_t> cases[] = {
      {{}, {}, 0.0, 0.0, 0, 0},                 // identical
      {{0.375, -0.5}, {}, 0.625, 0.625, 0, 0},  // the first of equal maxima
      {{}, {{2, 1, {3.0, 4.0}}}, 5.0 / 3.0, 5.0, 2, 1},
      {{}, {{2, 0, {0.0, 2.0}}, {1, 2, {-2.0, 0.0}}}, 0.9428090415820634, 2.0, 1, 2},  // tie
      {{}, {{0, 1, {100.0, 0.0}}, {2, 2, {kNaN, 0.0}}}, -1, -1, 2, 2},  // NaN beats 100
      {{}, {{1, 0, {0.0, kNaN}}, {2, 2, {kNaN, 0.0}}}, -1, -1, 1, 0}};  // the first NaN
  const auto denan = [](double x) { return std::isnan(x) ? -1.0 : x; };
  for (const auto& [offset, changes, rms, max, row, column] : cases) {
    SMatrixSample a = base_sample(2e9), b = base_sample(7e9, offset);  // frequency not compared
    for (const auto& [i, j, change] : changes)
      b(i, j) += change;
    EXPECT_EQ(std::make_tuple(denan(distance(a, b)), denan(max_distance(a, b).first),
                              max_distance(a, b).second),
              std::make_tuple(rms, max, Where(2e9, row, column)));
  }
  // An infinite entry that both hold is no difference (inf - inf would be NaN).
  SMatrixSample a = base_sample(1.0), b = base_sample(1.0, {0.0, 3.0});
  a(1, 1) = b(1, 1) = C(std::numeric_limits<double>::infinity(), 1.0);
  EXPECT_DOUBLE_EQ(distance(a, b), std::sqrt(8.0));
  // Scalar models: |p(f) - q(f)| = f.
  const PolynomialModel p(C(1.0, 2.0)), q(C(1.0, 2.0), C(1.0, 0.0));
  const std::vector<double> freqs = {1.0, 3.0, 2.0, 3.0};
  EXPECT_DOUBLE_EQ(distance(p, q, freqs), std::sqrt((1.0 + 9.0 + 4.0 + 9.0) / 4.0));
  EXPECT_EQ(max_distance(p, q, freqs), DistanceLocation(3.0, Where(3.0, 0, 0)));
  EXPECT_EQ(distance(p, q, {2.0}), 2.0);  // a single difference
  // Port counts and frequency lists are refused before anything is evaluated (the containers
  // are empty: any evaluation would throw "empty container"), the frequencies first.
  const SMatrixContainer two(2), three(3);
  const char* ports = "cannot compare networks of 2 and 3 ports";
  const char* none = "no frequencies to compare at";
  EXPECT_THROW_MSG(distance(two, three, {1e9}), std::runtime_error, ports);
  EXPECT_THROW_MSG(max_distance(SMatrixSample(2), SMatrixSample(3)), std::runtime_error, ports);
  EXPECT_THROW_MSG(max_distance(two, three, {}), std::runtime_error, none);
  EXPECT_THROW_MSG(distance(p, p, {}), std::runtime_error, none);
  EXPECT_THROW_MSG(max_distance(p, p, {}), std::runtime_error, none);

  // a and b have samples at 1, 2 and 3 GHz; b's S(0, 2) is 1 larger at 2 GHz only, so with
  // REAL_IMAG the difference is 1 - |f - 2 GHz| / 1 GHz in S(0, 2) alone. Frequencies come in any
  // order and repeat; errors of evaluation pass through.
  const SMatrixContainer c = container_at({1e9, 2e9, 3e9}),
                         e = container_at({1e9, 2e9, 3e9}, {}, 2e9);
  const std::vector<double> any = {3e9, 1e9, 2e9, 2e9, 1.25e9, 3e9, 1e9, 2.75e9};
  EXPECT_DOUBLE_EQ(distance(c, e, any, REAL_IMAG), std::sqrt(2.125 / 72));
  EXPECT_EQ(max_distance(e, c, any, REAL_IMAG), DistanceLocation(1.0, Where(2e9, 0, 2)));
  EXPECT_THROW_MSG(max_distance(c, e, {2e9, 4e9}), std::runtime_error,
                   "4e+09 Hz does not belong to [1e+09, 3e+09] Hz");
}

// On stored samples of both, every S entry, Zref and port datum subtracts; at 3 GHz the second
// interpolates (no port data), so the difference has none either.
TEST(DifferenceContainer, EvaluatesFirstMinusSecondOverTheOverlapAndRefuses) {
  const SMatrixContainer a = container_at({1e9, 2e9, 3e9});
  const SMatrixDifferenceContainer d(a, container_at({2e9, 4e9}, {.5, 1}));
  const C x(-.5, -1);
  const SMatrixSample at2 = d.evaluate(2e9, REAL_IMAG), at3 = d.evaluate(3e9, REAL_IMAG);
  EXPECT_EQ(std::make_tuple(at2.frequency(), at2.S(), at2.Zref(), at2({"Gamma", 0})),
            std::make_tuple(2e9, std::vector<C>(9, x), std::vector<C>(3, x), x));
  EXPECT_EQ(std::make_tuple(at3.frequency(), at3.S(), at3.port_data_names().size()),
            std::make_tuple(3e9, at2.S(), std::size_t{0}));
  EXPECT_THROW_MSG(d.evaluate(1e9, REAL_IMAG), std::out_of_range, "1e+09 not in [2e+09 , 3e+09]");
  EXPECT_THROW_MSG(d.evaluate(kNaN, REAL_IMAG), std::out_of_range, "nan not in [2e+09 , 3e+09]");
  SMatrixContainer renamed = a, zero(3);
  renamed.name(1) = "out";
  EXPECT_THROW_MSG(SMatrixDifferenceContainer(a, SMatrixContainer(2)), std::runtime_error,
                   "cannot compare networks of 3 and 2 ports");
  EXPECT_THROW_MSG(SMatrixDifferenceContainer(a, renamed), std::runtime_error,
                   "port names differ: <port_0, port_1, port_2> and <port_0, out, port_2>; "
                   "permute one container to the other's port order first");
  EXPECT_THROW_MSG(SMatrixDifferenceContainer(a, container_at({3.5e9, 4e9})), std::runtime_error,
                   "the networks share no frequency band: [1e+09 , 3e+09] and [3.5e+09 , 4e+09]");
  EXPECT_THROW_MSG(SMatrixDifferenceContainer(a, zero), std::runtime_error, "empty container");
  // Bands that touch share one frequency.
  const SMatrixDifferenceContainer touching(a, container_at({3e9, 4e9}, 1.0));
  EXPECT_EQ(touching.evaluate(3e9, MAG_PHASE)(2, 2), C(-1.0));
  // base_sample is not symmetric; a container of one zero sample is.
  zero.add(SMatrixSample(3, 1e9));
  EXPECT_TRUE(SMatrixDifferenceContainer(zero, zero).is_symmetric());
  EXPECT_FALSE(SMatrixDifferenceContainer(zero, a).is_symmetric());
  EXPECT_FALSE(SMatrixDifferenceContainer(a, zero).is_symmetric());
  // From files, read()'s errors passing through; printed as both containers under a heading.
  const std::string path = ::testing::TempDir() + "korvantix_compare.kvx";
  write(a, path.c_str(), BINARY);
  const SMatrixDifferenceContainer files(path.c_str(), path.c_str());
  EXPECT_THROW_MSG(SMatrixDifferenceContainer(path.c_str(), "no/such.kvx"), std::runtime_error,
                   "Unable to read <no/such.kvx>");
  std::remove(path.c_str());
  const auto text = [](const auto& v) { return (std::ostringstream() << v).str(); };
  EXPECT_EQ(text(files), "Difference of two S-matrix containers over [1e+09 , 3e+09] Hz:\n" +
                             text(a) + "\n" + text(a));
  EXPECT_EQ(text(static_cast<const SMatrixEvaluator*>(&files)), text(files));
}

}  // namespace
}  // namespace korvantix
