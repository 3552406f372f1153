#include <iomanip>
#include <memory>
#include <tuple>
#include <utility>

#include "model/model_test_support.hpp"

namespace korvantix {
namespace {

using namespace testing;
using Strings = std::vector<std::string>;
const std::string kZero(sizeof(C), '\0');  // the bits of C()

TEST(Sample, ConstructionKeysClonesAndMoves) {
  const SMatrixSample s(2, 1e9);
  EXPECT_EQ(bits(s), "2" + bits(C(1e9)) + std::string(6 * sizeof(C), '\0'));
  EXPECT_EQ(std::make_tuple(s.type(), s.from(), s.to(), s.S().size(), s.port_data_names()),
            std::make_tuple(SMatrixEvaluator::SAMPLE, 1e9, 1e9, std::size_t{4}, Names{}));
  // Port-data keys: name first (a prefix sorts first), then the index; a repeat is kept once.
  const SMatrixSample k(1, 1.0, {{"Zpi", 1}, {"Zpi", 0}, {"Gamma", 5}, {"Zpi", 1}, {"Zp", 9}});
  EXPECT_EQ(k.port_data_names(), (Names{{"Gamma", 5}, {"Zp", 9}, {"Zpi", 0}, {"Zpi", 1}}));
  EXPECT_EQ(bits(k), bits(SMatrixSample(1, 1.0)) + "Gamma[5]" + kZero + "Zp[9]" + kZero + "Zpi[0]" +
                         kZero + "Zpi[1]" + kZero);

  SMatrixSample a = make_sample(2, 3e9, C(1, 2), {{"Zpi", 1}, {"Gamma", 0}});
  a.set({"Zpi", 1}, C(-2, 0));
  const SMatrixSample original = a;
  const std::unique_ptr<SMatrixEvaluator> clone(a.clone());
  auto& copy = dynamic_cast<SMatrixSample&>(*clone);
  EXPECT_EQ(bits(copy), bits(original));
  copy(0, 1) = copy.Zref(1) = copy({"Zpi", 1}) = C(42, 42);  // a deep copy: a is untouched
  copy.setFrequency(1.0);
  // Evaluation at its own frequency only, whatever the type.
  EXPECT_EQ((Flags{a.evaluate(3e9, REAL_IMAG) == original,
                   a.evaluate(3e9, static_cast<InterpolationType>(99)) == original}),
            Flags(2, true));
  expect_throws<std::out_of_range>(
      {{[&] { a.evaluate(3.0000001e9, MAG_PHASE); }, ""},
       {[] { SMatrixSample(1, kNaN).evaluate(kNaN, MAG_PHASE); }, ""}});
  // Moves leave the default state: no ports at -1 Hz.
  SMatrixSample b(std::move(a)), c(3, 5.0);
  c = std::move(b);
  const std::string empty = "0" + bits(C(-1));
  EXPECT_EQ((Strings{bits(SMatrixSample()), bits(a), bits(b), bits(c)}),
            (Strings{empty, empty, empty, bits(original)}));
}

TEST(Sample, PortDataLookup) {
  SMatrixSample s(2, 1e9, {{"Gamma", 0}, {"Zpi", 1}, {"Zpv", 1}, {"Zvi", 0}});
  const SMatrixSample& cs = s;
  const char* unknown = "modalParameter: unknown modalPortParameter";
  expect_throws({{[&] { s.set(PortDataName("Gamma", 1), C(1, 2)); }, "Gamma[1] is not available"},
                 {[&] { s(PortDataName("Zpi", 0)); }, "Zpi[0] is not available"},
                 {[&] { cs(PortDataName("Zp", 1)); }, "Zp[1] is not available"},
                 {[&] { s.modalParameter(0, Zpi); }, "Zpi[0] is not available"},
                 {[&] { s.modalParameter(0, ModalPortParameterType(4)); }, unknown},
                 {[&] { s.modalParameter(0, ModalPortParameterType(-1)); }, unknown},
                 {[&] { s.modalParameter(0, ModalPortParameterType(7)); }, unknown}});
  EXPECT_EQ(s.port_data_names().size(), 4u);  // nothing was inserted
  s.set({"Gamma", 0}, C(0, 7));
  s({"Zpi", 1}) = C(1, 0);
  s({"Zpv", 1}) = C(2, 0);
  s({"Zvi", 0}) = C(3, 0);
  EXPECT_EQ((Values{s.modalParameter(0, Gamma), s.modalParameter(1, Zpi), s.modalParameter(1, Zpv),
                    cs.modalParameter(0, Zvi)}),
            (Values{{0, 7}, {1, 0}, {2, 0}, {3, 0}}));
  // Past eight entries the lookup bisects: every key still finds its own value.
  for (std::size_t n : {8, 9, 12}) {
    Names names;
    Values expected, found;
    for (std::size_t k = 0; k < n; ++k)
      names.emplace_back(k % 2 ? "Zpi" : "Gamma", k), expected.emplace_back(k, -1.0 * k);
    SMatrixSample big(1, 1.0, names);
    for (std::size_t k = 0; k < n; ++k)
      big.set(names[k], expected[k]);
    for (const PortDataName& key : names)
      found.push_back(std::as_const(big)(key));
    EXPECT_EQ(found, expected) << n;
    expect_throws({{[&] { big(PortDataName("Gamma", 1)); }, "Gamma[1] is not available"},
                   {[&] { big(PortDataName("Zvi", 0)); }, "Zvi[0] is not available"}});
  }
}

TEST(Sample, ExactEqualityAndSymmetry) {
  SMatrixSample a(2, 1e9, {{"Zpi", 0}});
  SMatrixSample b = a, c = a;
  a(0, 1) = C(1, 0.0);
  b(0, 1) = C(1, -0.0);  // negative zero equals zero
  c(0, 1) = C(1, 1e-300);
  SMatrixSample n(1, 1.0), z(2, 1.0), p(1, 1.0, {{"Zpi", 0}});
  n(0, 0) = C(kNaN, 0);
  z.Zref(1) = C(50, 0);
  SMatrixSample q = p;
  q.set({"Zpi", 0}, C(0, 1));
  EXPECT_EQ((Flags{a == b, a == c, n == SMatrixSample(n), n == n,
                   SMatrixSample(1, kNaN) == SMatrixSample(1, kNaN), z == SMatrixSample(2, 1.0),
                   SMatrixSample(1, 1.0) == SMatrixSample(2, 1.0),
                   p == SMatrixSample(1, 1.0, {{"Zpi", 1}}), p == q, a != c}),
            (Flags{1, 0, 0, 0, 0, 0, 0, 0, 0, 1}));

  // Symmetry looks at the off-diagonal pairs only.
  SMatrixSample s(3, 1.0);
  s(0, 0) = C(9, 9);
  s.Zref(0) = C(50, 0);
  s(0, 2) = s(2, 0) = C(0.5, 0.5);
  Flags symmetric{s.is_symmetric(), SMatrixSample().is_symmetric()};
  s(2, 1) = C(0, 1e-12);
  symmetric.push_back(s.is_symmetric());
  s(1, 2) = C(0, 1e-12);
  symmetric.push_back(s.is_symmetric());
  s(1, 2) = s(2, 1) = C(kNaN, 0);
  symmetric.push_back(s.is_symmetric());
  EXPECT_EQ(symmetric, (Flags{1, 1, 0, 1, 0}));
}

TEST(Evaluator, EqualDispatchesOnType) {
  const SMatrixSample a(1, 1e9), b(1, 1e9), c(1, 2e9);
  const SMatrixModel m(1, 1e9, 2e9), m2(1, 1e9, 2e9), m3(1, 1e9, 3e9);
  const SMatrixContainer x(1), y(1);
  const auto eq = SMatrixEvaluator::equal;
  EXPECT_EQ((Flags{eq(nullptr, &a), eq(&a, nullptr), eq(nullptr, nullptr), eq(&a, &b), eq(&a, &c),
                   eq(&a, &m), eq(&m, &m2), eq(&m, &m3), eq(&x, &a)}),
            (Flags{0, 0, 0, 1, 0, 0, 1, 0, 0}));
  EXPECT_THROW_MSG(eq(&x, &y), RE, "ModelInterface::equal not supported for MIXED");
}

// A model whose entry (i, j) is the polynomial (i + 1) + (j + 1) * 1e-9 f, Zref(i) = 50 + i and
// port datum ("Zpi", 0) = 0 + 1e-9 f i: every slot is told apart by its value.
SMatrixModel numbered_model(double from, double to) {
  SMatrixModel m(2, from, to, {{"Zpi", 0}});
  for (std::size_t i = 0; i < 2; ++i) {
    const PolynomialModel zref{C(50.0 + i, 0)};
    m.setZref(i, &zref);
    for (std::size_t j = 0; j < 2; ++j) {
      const PolynomialModel entry(C(i + 1.0, 0), C((j + 1) * 1e-9, 0));
      m.set(i, j, &entry);
    }
  }
  const PolynomialModel datum(C(0, 0), C(0, 1e-9));
  m.set({"Zpi", 0}, &datum);
  return m;
}

TEST(Model, BandChecksDefaultSlotsAndEvaluation) {
  SMatrixModel band(1, 1e9, 2e9);
  const SMatrixModel numbered = numbered_model(1e9, 3e9), point(1, 1e9, 1e9);
  expect_throws({
      {[] { SMatrixModel(2, 5e9, 1e9); }, "invalid frequency range [5e+09 , 1e+09]"},
      {[] { SMatrixModel(1, kNaN, 1e9); }, "invalid frequency range [nan , 1e+09]"},
      {[] { SMatrixModel(1, 0.0, kNaN, Names(1, PortDataName("Zpi", 0))); },
       "invalid frequency range [0 , nan]"},
      {[&] { band.setFrequencyRange(3e9, 2.5e9); }, "invalid frequency range [3e+09 , 2.5e+09]"},
  });
  // Out-of-band messages differ by form.
  expect_throws<std::out_of_range>({
      {[&] { numbered.evaluate_symm(0.5e9, MAG_PHASE); }, "5e+08 not in [1e+09 , 3e+09]"},
      {[&] { point.evaluate(1.0000001e9, MAG_PHASE); }, "1e+09 not in [1e+09 , 1e+09]"},
      {[&] { point.evaluate(kNaN, MAG_PHASE); }, "nan not in [1e+09 , 1e+09]"},
      {[&] { band(2.5e9, 0, 0); }, ""},
      {[&] { band.Zref(0.5e9, 0); }, ""},
  });
  EXPECT_EQ(band.getFrequencyRange(), std::make_pair(1e9, 2e9));
  EXPECT_EQ(
      (Values{band(2e9, 0, 0), band.Zref(1e9, 0), C(point.evaluate(1e9, MAG_PHASE).frequency())}),
      (Values{0.0, 0.0, 1e9}));
  band.setFrequencyRange(3e9, 3e9);
  EXPECT_EQ(std::make_pair(band.from(), band.to()), std::make_pair(3e9, 3e9));

  const SMatrixModel m(2, 1e9, 2e9, {{"Zpi", 1}, {"Gamma", 0}, {"Zpi", 1}});
  EXPECT_EQ(std::make_tuple(m.type(), m.S().size(), m.Zref().size()),
            std::make_tuple(SMatrixEvaluator::MODEL, std::size_t{4}, std::size_t{2}));
  const Names keys = {{"Gamma", 0}, {"Zpi", 1}};
  EXPECT_EQ(m.port_data_names(), keys);
  const PolynomialModel empty;
  EXPECT_TRUE(m(0, 1).equal(&empty));
  EXPECT_EQ(std::make_pair(m({"Zpi", 1}).type(), m.Zref(1).type()),
            std::make_pair(ScalarModel::Polynomial, ScalarModel::Polynomial));
  EXPECT_EQ(m.evaluate(1.5e9, MAG_PHASE), SMatrixSample(2, 1.5e9, keys));

  // Every slot filled; the symmetric form reads the upper triangle.
  const SMatrixSample s = numbered.evaluate(2e9, REAL_IMAG),
                      u = numbered.evaluate_symm(2e9, MAG_PHASE);
  EXPECT_EQ(s.frequency(), 2e9);
  EXPECT_EQ(s.S(), (Values{{3, 0}, {5, 0}, {4, 0}, {6, 0}}));  // (i + 1) + (j + 1) * 2
  EXPECT_EQ(u.S(), (Values{{3, 0}, {5, 0}, {5, 0}, {6, 0}}));
  EXPECT_EQ(s.Zref(), (Values{{50, 0}, {51, 0}}));
  EXPECT_EQ((Values{s({"Zpi", 0}), u({"Zpi", 0}), numbered(2e9, 1, 0), numbered.Zref(2e9, 1)}),
            (Values{{0, 2}, {0, 2}, {4, 0}, {51, 0}}));
}

TEST(Model, LessFreqSharedEndPointsAndOverlaps) {
  const SMatrixModel::less_freq less;
  auto m = [](double a, double b) { return SMatrixModel(0, a, b); };
  // {a0, a1, b0, b1, a < b}: touching proper bands may coexist, a single point on the edge
  // collides, and so do overlap and containment.
  const double cases[][5] = {{1, 2, 2, 3, 1}, {1, 2, 2, 2, 0}, {2, 2, 2, 3, 0}, {2, 2, 2, 2, 0},
                             {1, 3, 2, 4, 0}, {1, 4, 2, 3, 0}, {1, 1, 2, 2, 1}, {1, 2, 3, 4, 1}};
  for (const auto& c : cases) {
    EXPECT_EQ(less(m(c[0], c[1]), m(c[2], c[3])), c[4] == 1) << c[0] << " " << c[1];
    EXPECT_FALSE(less(m(c[2], c[3]), m(c[0], c[1]))) << c[0] << " " << c[1];
  }
}

TEST(Model, SetStoresClonesSymmetryComparesContent) {
  SMatrixModel m(1, 0.0, 1.0, {{"Zpi", 0}});
  {
    const PolynomialModel p{C(7, 0)};
    m.set(0, 0, &p);
    m.setZref(0, &p);
  }  // p is gone; the model holds its own copies
  EXPECT_EQ((Values{m(0.5, 0, 0), m.Zref(0.5, 0)}), (Values{{7, 0}, {7, 0}}));
  const PolynomialModel q{C(1, 0)};
  expect_throws({{[&] { m.set(PortDataName("Gamma", 0), &q); }, "Gamma[0] is not available"},
                 {[&] { m(PortDataName("Zpi", 1)); }, "Zpi[1] is not available"}});
  EXPECT_EQ(m.port_data_names(), (Names{{"Zpi", 0}}));

  SMatrixModel s(2, 0.0, 1.0);
  const PolynomialModel a{C(1, 2)}, b{C(1, 2)}, c{C(1, 3)};
  s.set(0, 1, &a);
  s.set(1, 0, &b);
  const bool before = s.is_symmetric();
  s.set(1, 0, &c);
  EXPECT_EQ((Flags{before, s.is_symmetric(), SMatrixModel().is_symmetric()}), (Flags{1, 0, 1}));
  EXPECT_EQ((Values{s.evaluate_symm(0.5, MAG_PHASE)(1, 0), s.evaluate(0.5, MAG_PHASE)(1, 0)}),
            (Values{{1, 2}, {1, 3}}));
}

TEST(Model, DeepCopiesMovesAndEquality) {
  SMatrixModel a = numbered_model(1e9, 2e9);
  SMatrixModel b = a;
  EXPECT_EQ(a, b);
  EXPECT_NE(a.S()[0].get(), b.S()[0].get());
  const PolynomialModel p{C(9, 9)};
  b.set(1, 1, &p);
  EXPECT_EQ(a(1.5e9, 1, 1), C(5, 0));  // 2 + 2 * 1.5, undisturbed
  const std::unique_ptr<SMatrixEvaluator> clone(a.clone());
  EXPECT_TRUE(static_cast<const SMatrixModel&>(*clone) == a);

  SMatrixModel c(std::move(a)), d(3, 5.0, 6.0);
  EXPECT_TRUE(a.nbPorts() == 0 && a.S().empty() && a.Zref().empty());
  EXPECT_EQ(a.begin_port_data(), a.end_port_data());
  EXPECT_EQ(a.getFrequencyRange(), std::make_pair(1e9, 2e9));  // band left as it was
  d = std::move(c);
  EXPECT_EQ(c.nbPorts(), 0u);
  EXPECT_EQ(d, numbered_model(1e9, 2e9));
  d = b;
  EXPECT_EQ(d, b);

  // Every part takes part in the comparison.
  const SMatrixModel base = numbered_model(1e9, 2e9);
  SMatrixModel zref = base, datum = base;
  zref.setZref(1, &p);
  datum.set({"Zpi", 0}, &p);
  EXPECT_EQ((Flags{base == numbered_model(1e9, 2e9), base != b, base == numbered_model(1e9, 2.5e9),
                   base == numbered_model(0.5e9, 2e9), base == zref, base == datum,
                   SMatrixModel(1, 0, 1, {{"Zpi", 0}}) == SMatrixModel(1, 0, 1, {{"Zpv", 0}}),
                   SMatrixModel(1, 0, 1) == SMatrixModel(2, 0, 1)}),
            (Flags{1, 1, 0, 0, 0, 0, 0, 0}));
}

// A sample that reports any type code: the pointer printer must not trust the code alone.
struct Coded : SMatrixSample {
  explicit Coded(Type t) : SMatrixSample(1, 2e9), code(t) {}
  Type type() const override { return code; }
  Type code;
};

TEST(Text, PortDatumNameAndLocation) {
  EXPECT_EQ(text(PortDataName("Gamma", 2)) + text(PortDataName("", 0)), "Gamma[2][0]");
  std::ostringstream out;
  out << std::make_pair(0.123456, std::make_tuple(1.5e9, std::size_t{1}, std::size_t{12}));
  out << "|" << 3.14159265 << " " << 2.0 << "|";  // the precision 4 stays, the widths do not
  out << std::make_pair(-1234.5, std::make_tuple(12345678.9, std::size_t{1000}, std::size_t{0}));
  EXPECT_EQ(
      out.str(),
      " 0.123@(   1.5e+09 Hz, r=  1, c= 12)|3.142 2|-1.23e+03@( 1.235e+07 Hz, r=1000, c=  0)");
}

TEST(Text, SampleAndModel) {
  SMatrixSample s(2, 1e9, {{"Zpi", 1}, {"Gamma", 0}});
  s.Zref() = {C(50, 0), C(75, -1)};
  s(0, 1) = C(0.5, -0.25);
  s(1, 0) = C(1e-9, 0);
  s.set({"Gamma", 0}, C(0, 2));
  EXPECT_EQ(text(s),
            "Sample at 1e+09 Hz:\n\t(50,0) | \t(0,0)\t(0.5,-0.25)\n\t(75,-1) | \t(1e-09,0)\t(0,0)"
            "\n\tGamma[0]\t(0,2)\n\tZpi[1]\t(0,0)");
  std::ostringstream out;
  out << std::setprecision(3) << SMatrixSample(0, 1.23456e9);
  EXPECT_EQ(out.str(), "Sample at 1.23e+09 Hz:");

  SMatrixModel m(2, 1e9, 2.5e9, {{"Zpi", 0}});
  const PolynomialModel z{C(50, 0)}, p(C(1, 0), C(2, 0));
  m.setZref(1, &z);
  m.set(1, 0, &p);
  m.set({"Zpi", 0}, &z);
  EXPECT_EQ(text(m),
            "Model in [1e+09 , 2.5e+09 ] Hz:\n\tZref(0) : Polynomial Model: "
            "\n\tZref(1) : Polynomial Model: (50,0)*freq^0\n\tS(0,0) : Polynomial Model: "
            "\n\tS(0,1) : Polynomial Model: "
            "\n\tS(1,0) : Polynomial Model: (1,0)*freq^0 + (2,0)*freq^1"
            "\n\tS(1,1) : Polynomial Model: \n\tZpi[0] : Polynomial Model: (50,0)*freq^0");
}

TEST(Text, ContainerAndPointerDispatch) {
  EXPECT_EQ(text(SMatrixContainer()),
            "Scattering matrix container: \nGlobal properties: \nPort models: ");
  SMatrixContainer c(2);
  c.name(0) = "in";
  c.add_global_property("k", "v");
  c.add_global_property("a", "b");
  c.add_port_property(1, "x", "y");
  c.add(SMatrixModel(2, 2e9, 3e9));
  c.add(SMatrixModel(1, 0.5e9, 0.5e9));  // a model of another port count is accepted
  c.add(make_sample(1, 1e9, C(-49.5, 0)));
  const std::string expected =
      "Scattering matrix container: \n\tin\n\tport_1\nGlobal properties: \n\ta = b\n\tk = v"
      "\nProperties for port <in> : \nProperties for port <port_1> : \n\tx = y\nPort models: "
      "\nSample at 1e+09 Hz:\n\t(50,0) | \t(-49.5,0)"  // samples first, then the models
      "\nModel in [5e+08 , 5e+08 ] Hz:\n\tZref(0) : Polynomial Model: "
      "\n\tS(0,0) : Polynomial Model: \nModel in [2e+09 , 3e+09 ] Hz:"
      "\n\tZref(0) : Polynomial Model: \n\tZref(1) : Polynomial Model: "
      "\n\tS(0,0) : Polynomial Model: \n\tS(0,1) : Polynomial Model: "
      "\n\tS(1,0) : Polynomial Model: \n\tS(1,1) : Polynomial Model: ";
  EXPECT_EQ(text(c), expected);

  using E = const SMatrixEvaluator*;
  const SMatrixSample s(1, 2e9);
  const SMatrixModel m(1, 1e9, 2e9);
  const Coded seven(SMatrixEvaluator::Type(7)), mixed(SMatrixEvaluator::MIXED),
      model(SMatrixEvaluator::MODEL);
  // A derived pointer prefers this printer over the void* output.
  EXPECT_EQ((Strings{text(E(&c)), text(E(&s)), text(&s), text(E(&m)), text(E(&seven)),
                     text(E(&mixed)), text(E(&model)), text(E(nullptr))}),
            (Strings{expected, text(s), text(s), text(m), "", "", "", ""}));
}

}  // namespace
}  // namespace korvantix
