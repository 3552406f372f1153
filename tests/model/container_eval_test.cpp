#include <korvantix/container.hpp>
#include <korvantix/scalar.hpp>

#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <cstring>
#include <limits>
#include <optional>
#include <random>
#include <sstream>
#include <stdexcept>
#include <thread>
#include <vector>

#include "model/interpolation.hpp"
#include "test_support.hpp"

namespace korvantix {
namespace {

using C = std::complex<double>;
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInf = std::numeric_limits<double>::infinity();

// S(i, j) = base + (i * N + j), Zref(i) = 50 + i, every port datum base * 10.
SMatrixSample make_sample(std::size_t n, double f, C base,
                          const std::vector<PortDataName>& names = {}) {
  SMatrixSample s(n, f, names);
  for (std::size_t k = 0; k < n * n; ++k)
    s.S()[k] = base + static_cast<double>(k);
  for (std::size_t i = 0; i < n; ++i)
    s.Zref(i) = 50.0 + static_cast<double>(i);
  for (const PortDataName& key : names)
    s.set(key, base * 10.0);
  return s;
}

// Every S entry, Zref and port datum is c0 + c1 * f.
SMatrixModel make_model(std::size_t n, double from, double to, C c0, C c1 = 0.0,
                        const std::vector<PortDataName>& names = {}) {
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

bool same_bits(double a, double b) {
  return std::memcmp(&a, &b, sizeof a) == 0;
}
bool same_bits(C a, C b) {
  return same_bits(a.real(), b.real()) && same_bits(a.imag(), b.imag());
}

::testing::AssertionResult same_bits(const SMatrixSample& a, const SMatrixSample& b) {
  if (a.nbPorts() != b.nbPorts() || !same_bits(a.frequency(), b.frequency()) ||
      a.S().size() != b.S().size() || a.Zref().size() != b.Zref().size() ||
      a.port_data_names() != b.port_data_names()) {
    return ::testing::AssertionFailure() << "shape or frequency differ";
  }
  for (std::size_t k = 0; k < a.S().size(); ++k) {
    if (!same_bits(a.S()[k], b.S()[k])) return ::testing::AssertionFailure() << "S[" << k << "]";
  }
  for (std::size_t k = 0; k < a.Zref().size(); ++k) {
    if (!same_bits(a.Zref(k), b.Zref(k))) return ::testing::AssertionFailure() << "Zref " << k;
  }
  for (auto it = a.begin_port_data(); it != a.end_port_data(); ++it) {
    if (!same_bits(it->second, b(it->first))) return ::testing::AssertionFailure() << "datum";
  }
  return ::testing::AssertionSuccess();
}

TEST(ElementRule, HandComputedValues) {
  using detail::interpolate_entry;
  EXPECT_EQ(interpolate_entry(C(1, 2), C(3, -4), 0.5, REAL_IMAG), C(2, -1));
  EXPECT_EQ(interpolate_entry(C(1, 0), C(-1, 0), 0.5, REAL_IMAG), C(0, 0));
  // A phase difference of exactly pi is not wrapped: 1 and -1 meet at +j.
  const C up = interpolate_entry(C(1, 0), C(-1, 0), 0.5, MAG_PHASE);
  EXPECT_EQ(up.imag(), 1.0);
  EXPECT_NEAR(up.real(), 0.0, 1e-16);
  // 170 and -170 degrees: the short way round passes through 180, not through 0.
  const double deg = detail::kPi / 180.0;
  const C wrap =
      interpolate_entry(std::polar(2.0, 170 * deg), std::polar(4.0, -170 * deg), 0.5, MAG_PHASE);
  EXPECT_NEAR(wrap.real(), -3.0, 1e-12);
  EXPECT_NEAR(wrap.imag(), 0.0, 1e-12);
  // Magnitude 2 -> 4 and phase 0 -> pi/2 at w = 0.25: 2.5 at pi/8.
  const C quarter = interpolate_entry(C(2, 0), C(0, 4), 0.25, MAG_PHASE);
  EXPECT_NEAR(std::abs(quarter), 2.5, 1e-15);
  EXPECT_NEAR(std::arg(quarter), detail::kPi / 8, 1e-15);
  // Equal entries come back unchanged whatever the type; unknown types zero the rest.
  const auto seven = static_cast<InterpolationType>(7);
  EXPECT_EQ(interpolate_entry(C(3, 3), C(3, 3), 0.5, seven), C(3, 3));
  EXPECT_EQ(interpolate_entry(C(3, 3), C(1, 3), 0.5, seven), C(0, 0));
  // A NaN magnitude goes through the products of the polar form (no assertion, no abort).
  const C nan = interpolate_entry(C(kNaN, 0), C(1, 0), 0.5, MAG_PHASE);
  EXPECT_TRUE(std::isnan(nan.real()));
  const C inf = interpolate_entry(C(kInf, 0), C(1, 0), 0.5, MAG_PHASE);
  EXPECT_EQ(inf.real(), kInf);
  EXPECT_TRUE(std::isnan(inf.imag()));  // inf * sin(0)
}

TEST(ContainerEvaluate, SamplesOnly) {
  const std::vector<PortDataName> names{{"Zpi", 0}};
  SMatrixContainer c(2, names);
  c.add(make_sample(2, 1e9, C(1, 1), names));
  c.add(make_sample(2, 2e9, C(3, -1), names));
  const SMatrixSample mid = c.evaluate(1.5e9, REAL_IMAG);
  EXPECT_EQ(mid.frequency(), 1.5e9);
  EXPECT_EQ(mid(0, 1), C(3, 0));
  EXPECT_EQ(mid.Zref(1), C(51, 0));
  EXPECT_TRUE(mid.port_data_names().empty());  // interpolated samples carry no port data
  EXPECT_EQ(c(1.5e9, 1, 0, REAL_IMAG), C(4, 0));
  EXPECT_EQ(c(1.5e9, {"Zpi", 0}, REAL_IMAG), C(20, 0));
  EXPECT_EQ(c.modalParameter(1.5e9, 0, Zpi, REAL_IMAG), C(20, 0));
  EXPECT_EQ(c.Zref(1.5e9, 0, MAG_PHASE), C(50, 0));
  EXPECT_EQ(c.evaluate(2e9, REAL_IMAG), make_sample(2, 2e9, C(3, -1), names));
  EXPECT_EQ(c.evaluate(2e9, static_cast<InterpolationType>(7))(0, 0), C(3, -1));
  EXPECT_EQ(c.evaluate(1.5e9, static_cast<InterpolationType>(7))(0, 0), C(0, 0));
  EXPECT_EQ(c(std::vector<double>{2e9, 1e9, 1.5e9}, 0, 0, REAL_IMAG),
            (std::vector<C>{C(3, -1), C(1, 1), C(2, 0)}));

  const char* outside = "Hz does not belong to [1e+09, 2e+09] Hz";
  EXPECT_THROW_MSG(c.evaluate(2.5e9, REAL_IMAG), std::runtime_error,
                   std::string("2.5e+09 ") + outside);
  EXPECT_THROW_MSG(c.evaluate_symm(0.5e9, MAG_PHASE), std::runtime_error,
                   std::string("5e+08 ") + outside);
  EXPECT_THROW_MSG(c(kNaN, 0, 0, MAG_PHASE), std::runtime_error, std::string("nan ") + outside);
  EXPECT_THROW_MSG(c.Zref(std::vector<double>{1e9, 3e9, kNaN}, 0, MAG_PHASE), std::runtime_error,
                   std::string("3e+09 ") + outside);
  EXPECT_THROW_MSG(c.modalParameter(1e9, 0, static_cast<ModalPortParameterType>(7), REAL_IMAG),
                   std::runtime_error, "modalParameter: unknown modalPortParameter");
  EXPECT_THROW_MSG(c.modalParameter(1e9, 0, Gamma, REAL_IMAG), std::runtime_error,
                   "Gamma[0] is not available");
  EXPECT_THROW_MSG(c(1e9, 0, 2, REAL_IMAG), std::runtime_error, "port index out of bounds");
  EXPECT_THROW_MSG(c.Zref(1.2e9, 2, REAL_IMAG), std::runtime_error, "port index out of bounds");
}

TEST(ContainerEvaluate, ExtentSymmetryAndSizeMismatch) {
  SMatrixContainer c(2);
  EXPECT_THROW_MSG(c.from(), std::runtime_error, "empty container");
  EXPECT_THROW_MSG(c.evaluate(1e9, REAL_IMAG), std::runtime_error, "empty container");
  EXPECT_TRUE(c.is_symmetric());
  c.add(make_model(2, 3e9, 4e9, 1.0));
  EXPECT_EQ(c.from(), 3e9);
  c.add(make_sample(2, 5e9, 1.0));
  EXPECT_EQ(c.from(), 3e9);
  EXPECT_EQ(c.to(), 5e9);
  EXPECT_FALSE(c.is_symmetric());   // S(0, 1) = 2 differs from S(1, 0) = 3
  c.add(make_sample(1, 6e9, 1.0));  // a container does not check a sample's port count
  EXPECT_THROW_MSG(c.evaluate(5.5e9, REAL_IMAG), std::runtime_error,
                   "smatrix sample interpolation size mismatch: 2 != 1");
  EXPECT_THROW_MSG(c(5.5e9, 0, 0, REAL_IMAG), std::runtime_error,
                   "smatrix sample interpolation size mismatch: 2 != 1");
}

TEST(ContainerEvaluate, NeighboursMixingModelsAndSamples) {
  SMatrixContainer a(1);
  a.add(make_model(1, 1e9, 2e9, 1.0));
  a.add(make_sample(1, 3e9, 9.0));
  // No model above 2.5e9 and no sample before the sample above: out of range.
  EXPECT_THROW_MSG(a.evaluate(2.5e9, REAL_IMAG), std::runtime_error,
                   "2.5e+09 Hz does not belong to [1e+09, 3e+09] Hz");
  a.add(make_model(1, 4e9, 5e9, 5.0));
  // Below a model and above every sample before it: bridged to the model before only.
  // the nearer sample at 3e9 is not used: 1 at 2e9, 5 at 4e9.
  EXPECT_EQ(a.evaluate(3.5e9, REAL_IMAG)(0, 0), C(4, 0));
  EXPECT_EQ(a.evaluate(2.5e9, REAL_IMAG)(0, 0), C(5, 0));  // 1 at 2e9, 9 at 3e9
  EXPECT_EQ(a.evaluate(1.5e9, REAL_IMAG)(0, 0), C(1, 0));  // inside the first band

  // Samples nearer than the model edges replace them; on a tie the model edge stays.
  SMatrixContainer b(1);
  b.add(make_model(1, 1e9, 2e9, 0.0, 1e-9));  // value f / 1e9
  b.add(make_model(1, 4e9, 5e9, 0.0, 1e-9));
  b.add(make_sample(1, 2e9, 100.0));  // inside the first band, at its upper edge
  b.add(make_sample(1, 3.5e9, 7.0));
  EXPECT_EQ(b.evaluate(3e9, REAL_IMAG).frequency(), 3e9);
  EXPECT_NEAR(b(3e9, 0, 0, REAL_IMAG).real(), 16.0 / 3, 1e-14);  // model 2 at 2e9, sample 7
  SMatrixContainer d(1);
  d.add(make_model(1, 1e9, 2e9, 0.0, 1e-9));
  d.add(make_model(1, 4e9, 5e9, 0.0, 1e-9));
  d.add(make_sample(1, 4e9, 100.0));  // ties with the second model's lower edge
  d.add(make_sample(1, 3e9, 6.0));
  EXPECT_NEAR(d(2.5e9, 0, 0, REAL_IMAG).real(), 4.0, 1e-14);  // model 2 at 2e9, sample 6
  EXPECT_NEAR(d(3.5e9, 0, 0, REAL_IMAG).real(), 5.0, 1e-14);  // sample 6, model 4 at 4e9
}

TEST(ContainerEvaluate, SymmetricFormUsesUpperTriangle) {
  SMatrixContainer c(2);
  SMatrixModel m = make_model(2, 1e9, 2e9, 1.0);
  const PolynomialModel other(C(7, 0));
  m.set(1, 0, &other);
  c.add(m);
  c.add(make_model(2, 3e9, 4e9, 1.0));
  EXPECT_EQ(c.evaluate(1.5e9, REAL_IMAG)(1, 0), C(7, 0));
  EXPECT_EQ(c.evaluate_symm(1.5e9, REAL_IMAG)(1, 0), C(1, 0));
  // The edges of neighbouring models are taken symmetrically too: 1 at 2e9, then 7 at 2e9.
  EXPECT_EQ(c.evaluate_symm(2.5e9, REAL_IMAG)(1, 0), C(1, 0));
  EXPECT_EQ(c.evaluate(2.5e9, REAL_IMAG)(1, 0), C(4, 0));
}

// The neighbour search exactly as a front-to-back walk over both sets, for comparison.
struct Walk {
  std::optional<SMatrixSample> hit, lower, upper;
  double f_lower = 0, f_upper = 0;
};

Walk walk(const SMatrixContainer& c, double f, bool symm) {
  const auto eval = [&](const SMatrixModel& m, double x) {
    return symm ? m.evaluate_symm(x, MAG_PHASE) : m.evaluate(x, MAG_PHASE);
  };
  Walk r;
  const SMatrixModel* before = nullptr;
  for (auto m = c.begin_models(); m != c.end_models(); before = &*m, ++m) {
    if (!(f <= m->to())) continue;
    if (m->from() <= f) {
      r.hit = eval(*m, f);
      return r;
    }
    r.upper = eval(*m, r.f_upper = m->from());
    if (before) r.lower = eval(*before, r.f_lower = before->to());
    break;
  }
  const SMatrixSample* previous = nullptr;
  for (auto s = c.begin_samples(); s != c.end_samples(); previous = &*s, ++s) {
    if (!(f <= s->frequency())) continue;
    if (s->frequency() <= f) {
      r.hit = *s;
      return r;
    }
    if (!r.upper || s->frequency() < r.f_upper) r.upper = *s, r.f_upper = s->frequency();
    if (previous && (!r.lower || previous->frequency() > r.f_lower)) {
      r.lower = *previous, r.f_lower = previous->frequency();
    }
    break;
  }
  if (!r.lower || !r.upper) {
    std::ostringstream text;
    text << f << " Hz does not belong to [" << c.from() << ", " << c.to() << "] Hz";
    throw std::runtime_error(text.str());
  }
  return r;
}

// A value or the text of the exception that replaced it.
template <class T>
struct Outcome {
  std::optional<T> value;
  std::string error;
};

template <class F>
auto capture(F f) -> Outcome<decltype(f())> {
  try {
    return {f(), {}};
  } catch (const std::exception& error) {
    return {std::nullopt, error.what()};
  }
}

// Applies f to a successful walk; a failed walk's text passes through without a new throw.
template <class F>
auto from_walk(const Outcome<Walk>& r, F f) -> Outcome<decltype(f(*r.value))> {
  if (!r.value) return {std::nullopt, r.error};
  return capture([&] { return f(*r.value); });
}

template <class T>
::testing::AssertionResult same(const Outcome<T>& expected, const Outcome<T>& actual) {
  if (expected.error != actual.error || expected.value.has_value() != actual.value.has_value()) {
    return ::testing::AssertionFailure()
           << "\"" << expected.error << "\" vs \"" << actual.error << "\"";
  }
  if (expected.value && !same_bits(*expected.value, *actual.value)) {
    return ::testing::AssertionFailure() << "different bits";
  }
  return ::testing::AssertionSuccess();
}

SMatrixContainer random_container(std::mt19937& rng) {
  const auto pick = [&](int n) { return static_cast<int>(rng() % static_cast<unsigned>(n)); };
  const C values[] = {C(1, 0), C(-1, 0), C(0, 1), C(0.5, -0.5), C(-2, -1e-300), C(3, 4)};
  const auto value = [&] { return pick(3) ? values[pick(6)] : C(rng() % 1000 / 7.0, -0.25); };
  const std::size_t n = 1 + pick(2);
  const std::vector<PortDataName> names{{"Zpi", 0}};
  SMatrixContainer c(n, names);
  for (int k = pick(4), at = pick(3); k > 0; --k) {
    const int from = at + pick(3);
    at = from + pick(4);
    try {
      c.add(make_model(n, from, at, value(), value() * 0.125, names));
    } catch (const std::runtime_error&) {  // a touching single-point band
    }
  }
  for (int k = pick(9); k > 0; --k) {
    const double f = pick(20) ? pick(21) : pick(3) ? kInf : pick(2) ? -kInf : kNaN;
    SMatrixSample s(pick(12) ? n : 3 - n, f, names);
    for (C& x : s.S())
      x = value();
    for (C& x : s.Zref())
      x = value();
    s.set(names[0], value());
    try {
      c.add(s);
    } catch (const std::runtime_error&) {  // a frequency already stored
    }
  }
  return c;
}

TEST(ContainerEvaluate, LogSearchMatchesTheWalk) {
  std::mt19937 rng(20240611);
  std::vector<double> queries{kNaN, -kNaN, kInf, -kInf, 0.3, 20.7};
  for (int k = -2; k <= 44; ++k)
    queries.push_back(k / 2.0);
  const InterpolationType types[] = {REAL_IMAG, MAG_PHASE, static_cast<InterpolationType>(7)};
  for (int round = 0; round < 2000; ++round) {
    const SMatrixContainer c = random_container(rng);
    const std::size_t last = c.nbPorts() - 1;
    for (const double f : queries) {
      const auto where = [&] {
        return "round " + std::to_string(round) + " f " + std::to_string(f);
      };
      const Outcome<Walk> plain = capture([&] { return walk(c, f, false); });
      const Outcome<Walk> symm = capture([&] { return walk(c, f, true); });
      for (const InterpolationType t : types) {
        const auto whole = [&](const Walk& r) {
          if (r.hit) return *r.hit;
          if (*r.lower == *r.upper) return *r.lower;
          const double w = (f - r.f_lower) / (r.f_upper - r.f_lower);
          return detail::interpolate_samples(*r.lower, nullptr, *r.upper, nullptr, w, t);
        };
        ASSERT_TRUE(same(from_walk(plain, whole), capture([&] { return c.evaluate(f, t); })))
            << where();
        ASSERT_TRUE(same(from_walk(symm, whole), capture([&] { return c.evaluate_symm(f, t); })))
            << where();
        // Single entries follow the same search; the expectation reads the entry off the walk.
        const auto entry = [&](auto get) {
          return [&, get](const Walk& r) {
            if (r.hit) return get(*r.hit);
            detail::check_interpolation_size(r.lower->nbPorts(), r.upper->nbPorts());
            const double w = (f - r.f_lower) / (r.f_upper - r.f_lower);
            return detail::interpolate_entry(get(*r.lower), get(*r.upper), w, t);
          };
        };
        const auto check = [&](const SMatrixSample& s) {
          if (last >= s.nbPorts()) throw std::runtime_error("port index out of bounds");
        };
        const auto s0 = [&](const SMatrixSample& s) { return check(s), s(0, last); };
        const auto zref = [&](const SMatrixSample& s) { return check(s), s.Zref(last); };
        const auto zpi = [&](const SMatrixSample& s) { return s({"Zpi", 0}); };
        ASSERT_TRUE(same(from_walk(plain, entry(s0)), capture([&] { return c(f, 0, last, t); })))
            << where();
        ASSERT_TRUE(
            same(from_walk(plain, entry(zref)), capture([&] { return c.Zref(f, last, t); })))
            << where();
        ASSERT_TRUE(same(from_walk(plain, entry(zpi)),
                         capture([&] { return c.modalParameter(f, 0, Zpi, t); })))
            << where();
      }
    }
  }
}

TEST(ContainerEvaluate, ConcurrentReadersAgree) {
  SMatrixContainer c(4);
  std::mt19937 rng(7);
  for (int k = 0; k < 300; ++k) {
    SMatrixSample s(4, k * 1e7);
    for (C& x : s.S())
      x = C(rng() % 100 - 50.0, rng() % 100 - 50.0);
    c.add(s);
  }
  c.add(make_model(4, 3e9, 4e9, C(0.5, 0.5), 1e-10));
  std::vector<double> freqs;
  for (int k = 0; k < 2000; ++k)
    freqs.push_back(k % 10 ? k * 1.4e6 + 1.5e3 : 3e9 + k * 1e5);
  // The expectations come from a copy, so the threads find c's magnitude-phase caches still
  // empty and race to fill them.
  const SMatrixContainer reference = c;
  std::vector<SMatrixSample> expected;
  for (const double f : freqs)
    expected.push_back(reference.evaluate(f, MAG_PHASE));
  std::vector<int> mismatches(4, 0);
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([&, t] {
      for (std::size_t k = 0; k < freqs.size(); ++k) {
        if (!same_bits(c.evaluate(freqs[k], MAG_PHASE), expected[k])) ++mismatches[t];
      }
    });
  }
  for (std::thread& thread : threads)
    thread.join();
  EXPECT_EQ(mismatches, std::vector<int>(4, 0));
}

}  // namespace
}  // namespace korvantix
