#include <algorithm>
#include <cmath>
#include <memory>
#include <optional>
#include <random>
#include <utility>

#include "model/interpolation.hpp"
#include "model/model_test_support.hpp"

namespace korvantix {
namespace {

using namespace testing;
const auto kSeven = static_cast<InterpolationType>(7);

TEST(ElementRule, HandComputedValues) {
  using detail::interpolate_entry;
  const double deg = detail::kPi / 180.0;
  struct Case {
    C a, b;
    double w;
    InterpolationType type;
    C expected;
    double tolerance;
  };
  // A phase difference of exactly pi is not wrapped: 1 and -1 meet at +j. 170 and -170 degrees:
  // the short way round passes through 180, not through 0. Magnitude 2 -> 4 and phase 0 -> pi/2
  // at w = 0.25: 2.5 at pi/8. Equal entries come back unchanged whatever the type; unknown types
  // zero the rest.
  for (const Case& c :
       {Case{{1, 2}, {3, -4}, 0.5, REAL_IMAG, {2, -1}, 0},
        {{1, 0}, {-1, 0}, 0.5, REAL_IMAG, 0.0, 0},
        {{1, 0}, {-1, 0}, 0.5, MAG_PHASE, {0, 1}, 1e-16},
        {std::polar(2.0, 170 * deg), std::polar(4.0, -170 * deg), 0.5, MAG_PHASE, -3.0, 1e-12},
        {{2, 0}, {0, 4}, 0.25, MAG_PHASE, std::polar(2.5, detail::kPi / 8), 1e-14},
        {{3, 3}, {3, 3}, 0.5, kSeven, {3, 3}, 0},
        {{3, 3}, {1, 3}, 0.5, kSeven, 0.0, 0}}) {
    EXPECT_LE(std::abs(interpolate_entry(c.a, c.b, c.w, c.type) - c.expected), c.tolerance)
        << c.a << " " << c.b << " " << c.type;
  }
  // A NaN magnitude goes through the products of the polar form (no assertion, no abort).
  const C nan = interpolate_entry(C(kNaN, 0), C(1, 0), 0.5, MAG_PHASE),
          inf = interpolate_entry(C(kInf, 0), C(1, 0), 0.5, MAG_PHASE);
  EXPECT_EQ((Flags{std::isnan(nan.real()), inf.real() == kInf, std::isnan(inf.imag())}),
            Flags(3, true));  // inf * sin(0) is NaN
}

TEST(ContainerEvaluate, SamplesOnlyExtentAndRefusals) {
  const Names names{{"Zpi", 0}};
  SMatrixContainer c(2, names), empty(2), e(2);
  c.add(make_sample(2, 1e9, C(1, 1), names));
  c.add(make_sample(2, 2e9, C(3, -1), names));
  const SMatrixSample mid = c.evaluate(1.5e9, REAL_IMAG);
  EXPECT_EQ(mid.frequency(), 1.5e9);
  EXPECT_TRUE(mid.port_data_names().empty());  // interpolated samples carry no port data
  EXPECT_EQ(
      (Values{mid(0, 1), mid.Zref(1), c(1.5e9, 1, 0, REAL_IMAG), c(1.5e9, {"Zpi", 0}, REAL_IMAG),
              c.modalParameter(1.5e9, 0, Zpi, REAL_IMAG), c.Zref(1.5e9, 0, MAG_PHASE),
              c.evaluate(2e9, kSeven)(0, 0), c.evaluate(1.5e9, kSeven)(0, 0)}),
      (Values{{3, 0}, {51, 0}, {4, 0}, {20, 0}, {20, 0}, {50, 0}, {3, -1}, {0, 0}}));
  EXPECT_EQ(c.evaluate(2e9, REAL_IMAG), make_sample(2, 2e9, C(3, -1), names));
  EXPECT_EQ(c(Freqs{2e9, 1e9, 1.5e9}, 0, 0, REAL_IMAG), (Values{{3, -1}, {1, 1}, {2, 0}}));

  e.add(make_model(2, 3e9, 4e9, 1.0));
  EXPECT_EQ(e.from(), 3e9);
  e.add(make_sample(2, 5e9, 1.0));
  EXPECT_EQ(std::make_pair(e.from(), e.to()), std::make_pair(3e9, 5e9));
  // S(0, 1) = 2 differs from S(1, 0) = 3.
  EXPECT_EQ((Flags{empty.is_symmetric(), e.is_symmetric()}), (Flags{1, 0}));
  e.add(make_sample(1, 6e9, 1.0));  // a container does not check a sample's port count
  const std::string outside = " Hz does not belong to [1e+09, 2e+09] Hz";
  const Freqs three{1e9, 3e9, kNaN};
  const char* mismatch = "smatrix sample interpolation size mismatch: 2 != 1";
  expect_throws({
      {[&] { empty.from(); }, "empty container"},
      {[&] { empty.evaluate(1e9, REAL_IMAG); }, "empty container"},
      {[&] { c.evaluate(2.5e9, REAL_IMAG); }, "2.5e+09" + outside},
      {[&] { c.evaluate_symm(0.5e9, MAG_PHASE); }, "5e+08" + outside},
      {[&] { c(kNaN, 0, 0, MAG_PHASE); }, "nan" + outside},
      {[&] { c.Zref(three, 0, MAG_PHASE); }, "3e+09" + outside},
      {[&] { c.modalParameter(1e9, 0, ModalPortParameterType(7), REAL_IMAG); },
       "modalParameter: unknown modalPortParameter"},
      {[&] { c.modalParameter(1e9, 0, Gamma, REAL_IMAG); }, "Gamma[0] is not available"},
      {[&] { c(1e9, 0, 2, REAL_IMAG); }, "port index out of bounds"},
      {[&] { c.Zref(1.2e9, 2, REAL_IMAG); }, "port index out of bounds"},
      {[&] { e.evaluate(5.5e9, REAL_IMAG); }, mismatch},
      {[&] { e(5.5e9, 0, 0, REAL_IMAG); }, mismatch},
  });
}

// The walk below draws models whose entries are all alike; an asymmetric model shows that the
// symmetric form reads the upper triangle, of the edges of neighbouring models too (1 at 2e9,
// then 7 at 2e9).
TEST(ContainerEvaluate, SymmetricFormUsesUpperTriangle) {
  SMatrixContainer c(2);
  SMatrixModel m = make_model(2, 1e9, 2e9, 1.0);
  const PolynomialModel other(C(7, 0));
  m.set(1, 0, &other);
  c.add(m);
  c.add(make_model(2, 3e9, 4e9, 1.0));
  EXPECT_EQ((Values{c.evaluate(1.5e9, REAL_IMAG)(1, 0), c.evaluate_symm(1.5e9, REAL_IMAG)(1, 0),
                    c.evaluate_symm(2.5e9, REAL_IMAG)(1, 0), c.evaluate(2.5e9, REAL_IMAG)(1, 0)}),
            (Values{7.0, 1.0, 1.0, 4.0}));
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
    if (m->from() <= f) return r.hit = eval(*m, f), r;
    r.upper = eval(*m, r.f_upper = m->from());
    if (before) r.lower = eval(*before, r.f_lower = before->to());
    break;
  }
  const SMatrixSample* previous = nullptr;
  for (auto s = c.begin_samples(); s != c.end_samples(); previous = &*s, ++s) {
    if (!(f <= s->frequency())) continue;
    if (s->frequency() <= f) return r.hit = *s, r;
    if (!r.upper || s->frequency() < r.f_upper) r.upper = *s, r.f_upper = s->frequency();
    if (previous && (!r.lower || previous->frequency() > r.f_lower)) {
      r.lower = *previous, r.f_lower = previous->frequency();
    }
    break;
  }
  if (!r.lower || !r.upper) {
    throw RE(text(f) + " Hz does not belong to [" + text(c.from()) + ", " + text(c.to()) + "] Hz");
  }
  return r;
}

SMatrixContainer random_container(std::mt19937& rng) {
  const auto pick = [&](int n) { return static_cast<int>(rng() % static_cast<unsigned>(n)); };
  const C values[] = {C(1, 0), C(-1, 0), C(0, 1), C(0.5, -0.5), C(-2, -1e-300), C(3, 4)};
  const auto value = [&] { return pick(3) ? values[pick(6)] : C(rng() % 1000 / 7.0, -0.25); };
  const std::size_t n = 1 + pick(2);
  const Names names{{"Zpi", 0}};
  SMatrixContainer c(n, names);
  for (int k = pick(4), at = pick(3); k > 0; --k) {
    const int from = at + pick(3);
    at = from + pick(4);
    try {
      c.add(make_model(n, from, at, value(), value() * 0.125, names));
    } catch (const RE&) {  // a touching single-point band
    }
  }
  for (int k = pick(9); k > 0; --k) {
    const double f = pick(20) ? pick(21) : pick(3) ? kInf : pick(2) ? -kInf : kNaN;
    SMatrixSample s(pick(12) ? n : 3 - n, f, names);
    std::generate(s.S().begin(), s.S().end(), value);
    std::generate(s.Zref().begin(), s.Zref().end(), value);
    s.set(names[0], value());
    try {
      c.add(s);
    } catch (const RE&) {  // a frequency already stored
    }
  }
  return c;
}

TEST(ContainerEvaluate, LogSearchMatchesTheWalk) {
  std::mt19937 rng(20240611);
  std::vector<double> queries{kNaN, -kNaN, kInf, -kInf, 0.3, 20.7};
  for (int k = -2; k <= 44; ++k)
    queries.push_back(k / 2.0);
  for (int round = 0; round < 2000; ++round) {
    const SMatrixContainer c = random_container(rng);
    const std::size_t last = c.nbPorts() - 1;
    for (const double f : queries) {
      SCOPED_TRACE("round " + std::to_string(round) + " f " + std::to_string(f));
      std::optional<Walk> plain, symm;
      std::string error;
      try {
        plain = walk(c, f, false);
        symm = walk(c, f, true);
      } catch (const std::exception& e) {
        error = std::string("throws ") + e.what();
      }
      // The walk's hit through `at`, or its neighbours through `between`; a failed walk's text.
      const auto expect = [&](const std::optional<Walk>& w, auto at, auto between) {
        if (!w) return error;
        return outcome([&] {
          if (w->hit) return at(*w->hit);
          return between(*w->lower, *w->upper, (f - w->f_lower) / (w->f_upper - w->f_lower));
        });
      };
      const auto check = [&](const SMatrixSample& s) {
        if (last >= s.nbPorts()) throw RE("port index out of bounds");
      };
      const auto same = [](const SMatrixSample& s) { return s; };
      const auto s0 = [&](const SMatrixSample& s) { return check(s), s(0, last); };
      const auto zref = [&](const SMatrixSample& s) { return check(s), s.Zref(last); };
      const auto zpi = [](const SMatrixSample& s) { return s({"Zpi", 0}); };
      for (const InterpolationType t : {REAL_IMAG, MAG_PHASE, kSeven}) {
        const auto whole = [&](const SMatrixSample& a, const SMatrixSample& b, double w) {
          return a == b ? a : detail::interpolate_samples(a, nullptr, b, nullptr, w, t);
        };
        // Single entries follow the same search; the expectation reads the entry off the walk.
        const auto entry = [&](auto get) {
          return [&, get](const SMatrixSample& a, const SMatrixSample& b, double w) {
            detail::check_interpolation_size(a.nbPorts(), b.nbPorts());
            return detail::interpolate_entry(get(a), get(b), w, t);
          };
        };
        ASSERT_EQ(expect(plain, same, whole), outcome([&] { return c.evaluate(f, t); }));
        ASSERT_EQ(expect(symm, same, whole), outcome([&] { return c.evaluate_symm(f, t); }));
        ASSERT_EQ(expect(plain, s0, entry(s0)), outcome([&] { return c(f, 0, last, t); }));
        ASSERT_EQ(expect(plain, zref, entry(zref)), outcome([&] { return c.Zref(f, last, t); }));
        ASSERT_EQ(expect(plain, zpi, entry(zpi)),
                  outcome([&] { return c.modalParameter(f, 0, Zpi, t); }));
      }
    }
  }
}

// Samples every 1e8 Hz from 1e9 to 2e9 and a model over [3e9, 4e9], all asymmetric.
SMatrixContainer mixed() {
  SMatrixContainer c(2);
  for (int k = 10; k <= 20; ++k) {
    SMatrixSample s(2, k * 1e8);
    s.S() = {C(k, 1), C(-k, 2), C(1, k), C(k * 0.5, -k)};
    s.Zref() = {C(50, k), C(50, -k)};
    c.add(s);
  }
  SMatrixModel m(2, 3e9, 4e9);
  const PolynomialModel p(C(1, 1), C(1e-9, 0));
  m.set(1, 0, &p);
  c.add(m);
  return c;
}

TEST(ContainerLoad, MatchesEvaluateInListOrderForAnyThreadCountAndStopsAtTheFirstError) {
  // The expectations come from a copy, so the first load's threads find the magnitude-phase
  // caches of `source` still empty and race to fill them. Copies made once those caches are
  // filled load the same, even after the original is gone.
  auto source = std::make_unique<SMatrixContainer>(mixed());
  const SMatrixContainer c = *source;
  Freqs freqs;
  std::vector<std::string> expected;
  for (int k = 0; k < 300; ++k) {  // shuffled, inside [1e9, 2e9) and [3e9, 4e9)
    const int r = (k * 37) % 300;
    freqs.push_back(r < 150 ? 1e9 + r * 6e6 : 3e9 + (r - 150) * 6e6);
    expected.push_back(bits(c.evaluate(freqs.back(), MAG_PHASE)));
  }
  const auto expect_loads = [&](const SMatrixContainer& from, std::size_t threads) {
    std::vector<SMatrixSample> samples(5, SMatrixSample(1, 7.0));
    from.load(freqs, samples, threads);
    ASSERT_EQ(samples.size(), freqs.size());
    for (std::size_t k = 0; k < freqs.size(); ++k)
      ASSERT_EQ(bits(samples[k]), expected[k]) << threads << " threads, " << k;
  };
  for (const std::size_t threads : {4, 0, 1, 2, 3, 16, 1000})
    expect_loads(*source, threads);
  EXPECT_EQ(*source, c);
  const SMatrixContainer copy = *source;
  SMatrixContainer assigned(1);
  assigned = *source;
  source.reset();
  expect_loads(copy, 2);
  expect_loads(assigned, 2);
  std::vector<SMatrixSample> samples(3);
  c.load({}, samples, 4);
  EXPECT_TRUE(samples.empty());
  // The first error reaches the caller after all threads stop, the output untouched.
  for (const std::size_t bad : {0, 999, 1999}) {
    std::vector<double> list(2000, 1.5e9);
    list[bad] = 5e9;
    for (const std::size_t threads : {1, 2, 8}) {
      samples.assign(1, SMatrixSample(1, 7.0));
      EXPECT_THROW_MSG(c.load(list, samples, threads), RE,
                       "5e+09 Hz does not belong to [1e+09, 4e+09] Hz");
      EXPECT_EQ(samples, std::vector<SMatrixSample>(1, SMatrixSample(1, 7.0)));
    }
  }
  // Rational models compare equal whatever their scale, so this model counts as symmetric
  // although S(1, 0) evaluates differently from S(0, 1): a symmetric container loads with the
  // symmetric evaluation.
  SMatrixContainer symmetric(2);
  SMatrixModel m(2, 1e9, 2e9);
  const RationalModel upper({1.0}, {1.0, 1.0}, 1e9), lower({1.0}, {1.0, 1.0}, 2e9);
  m.set(0, 1, &upper);
  m.set(1, 0, &lower);
  symmetric.add(m);
  ASSERT_TRUE(symmetric.is_symmetric());
  symmetric.load({1.5e9}, samples, 2);
  EXPECT_EQ(samples[0](1, 0), samples[0](0, 1));
  EXPECT_NE(samples[0](1, 0), symmetric.evaluate(1.5e9, MAG_PHASE)(1, 0));
}

// load_S against evaluate (or evaluate_symm) one frequency at a time, on ascending runs with
// repeats (the walked search) and on descending ones (a search from the root each time).
TEST(ContainerLoadS, EqualsEvaluateBitForBit) {
  std::mt19937 rng(99);
  for (int round = 0; round < 300; ++round) {
    const SMatrixContainer c = random_container(rng);
    const std::size_t size = c.nbPorts() * c.nbPorts();
    for (const InterpolationType t : {REAL_IMAG, MAG_PHASE, kSeven}) {
      std::vector<double> freqs;
      std::string expected;
      for (int k = -4; k <= 180; ++k) {
        try {
          const SMatrixSample s =
              c.is_symmetric() ? c.evaluate_symm(k / 8.0, t) : c.evaluate(k / 8.0, t);
          if (s.nbPorts() != c.nbPorts()) continue;
          freqs.insert(freqs.end(), 1 + k % 2, k / 8.0);
          for (int copy = 0; copy <= k % 2; ++copy)
            for (const C& x : s.S())
              expected += bits(x);
        } catch (const RE&) {
        }
      }
      for (const bool ascending : {true, false}) {
        if (!ascending) std::reverse(freqs.begin(), freqs.end());
        std::vector<C> out(freqs.size() * size);
        c.load_S(freqs.data(), freqs.size(), t, out.data(), ascending ? 1 : 3);
        std::string got;
        for (std::size_t k = 0; k < out.size(); ++k)
          got += bits(out[ascending ? k : (freqs.size() - 1 - k / size) * size + k % size]);
        ASSERT_EQ(got, expected) << "round " << round;
      }
    }
  }
  // The failure of the lowest position, whatever the threads; a sample of another port count.
  const SMatrixContainer c = mixed();
  std::vector<double> list(5000, 1.5e9);
  list[4999] = 5e9;
  list[2999] = 0.5e9;
  std::vector<C> out(list.size() * 4);
  for (const std::size_t threads : {1, 2, 8}) {
    EXPECT_THROW_MSG(c.load_S(list.data(), list.size(), MAG_PHASE, out.data(), threads), RE,
                     "5e+08 Hz does not belong to [1e+09, 4e+09] Hz");
  }
  SMatrixContainer two(2);
  two.add(SMatrixSample(2, 1e9));
  two.add(SMatrixSample(1, 2e9));
  const double at[] = {1e9, 2e9, 1.5e9};
  EXPECT_THROW_MSG(two.load_S(at, 2, MAG_PHASE, out.data(), 1), RE,
                   "S-matrix sample at 2e+09 Hz has 1 ports, the container has 2");
  EXPECT_THROW_MSG(two.load_S(at + 2, 1, MAG_PHASE, out.data(), 1), RE,
                   "smatrix sample interpolation size mismatch: 2 != 1");
}

TEST(ContainerLoad, RandomPoleZeroModels) {
  SMatrixContainer c(3, {{"Gamma", 1}}), again = c, one(1);
  const char* zeros = "nbZeros must be identical to nbPoles, nbPoles + 1 or nbPoles = 2";
  expect_throws({{[&] { c.load_random_pole_zero_models(1e9, 2e9, 3, 5); }, zeros},
                 {[&] { c.load_random_pole_zero_models(1e9, 2e9, 3, 2); }, zeros},
                 {[&] { c.load_random_pole_zero_models(2e9, 1e9, 3, 3); },
                  "invalid frequency range [2e+09 , 1e+09]"}});
  EXPECT_TRUE(c.empty());
  c.load_random_pole_zero_models(1e9, 2e9, 5, 6);
  again.load_random_pole_zero_models(1e9, 2e9, 5, 6);
  EXPECT_EQ(again, c);  // the same seed every time
  ASSERT_EQ(c.nbModels(), 1u);
  const SMatrixModel& m = *c.begin_models();
  EXPECT_EQ(std::make_tuple(m.from(), m.to(), m.S().size(), c.is_symmetric(), m.Zref(1.5e9, 2),
                            m({"Gamma", 1}).type()),
            std::make_tuple(1e9, 2e9, 9ul, true, C(50, 0), ScalarModel::PoleZero));
  for (const auto& s : m.S()) {
    const auto& entry = dynamic_cast<const PoleZeroModel&>(*s);
    ASSERT_EQ(std::make_pair(entry.nbPoles(), entry.residues().size()), std::make_pair(5ul, 5ul));
    for (const C& pole : entry.poles())
      EXPECT_LT(pole.real(), 0.0);             // stable
    EXPECT_NE(entry.linearFactor(), C(0, 0));  // nbPoles + 1 zeros
  }
  EXPECT_THROW_MSG(c.load_random_pole_zero_models(1.5e9, 3e9, 2, 2), RE,
                   "S-matrix model at [1.5e+09 , 3e+09] Hz overlaps with an existing model at "
                   "[1e+09 , 2e+09] Hz");

  // Zero counts: nbPoles -> constant term only; two poles accept any count, strictly proper
  // unless the count is 2 or 3.
  one.load_random_pole_zero_models(1e9, 2e9, 4, 4);
  one.load_random_pole_zero_models(3e9, 4e9, 2, 0);
  auto model = one.begin_models();
  const auto& proper = dynamic_cast<const PoleZeroModel&>((*model)(0, 0));
  const auto& strict = dynamic_cast<const PoleZeroModel&>((*++model)(0, 0));
  EXPECT_EQ(
      (Flags{proper.constantFactor() == 0.0, proper.linearFactor() == 0.0,
             strict.constantFactor() == 0.0, strict.linearFactor() == 0.0, strict.nbPoles() == 2}),
      (Flags{0, 1, 1, 1, 1}));
}

}  // namespace
}  // namespace korvantix
