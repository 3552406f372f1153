#include <iomanip>
#include <memory>
#include <tuple>
#include <utility>

#include "model/model_test_support.hpp"

namespace korvantix {
namespace {

using namespace testing;

TEST(Sample, ConstructionKeysAndMoves) {
  const SMatrixSample s(2, 1e9);
  EXPECT_EQ(
      std::make_tuple(s.nbPorts(), s.S(), s.Zref(), s.port_data_names(), s.from(), s.to()),
      std::make_tuple(std::size_t{2}, std::vector<C>(4), std::vector<C>(2), Names{}, 1e9, 1e9));
  EXPECT_EQ(s.type(), SMatrixEvaluator::SAMPLE);
  // Port-data keys: name first (a prefix sorts first), then the index; a repeat is kept once.
  const SMatrixSample k(1, 1.0, {{"Zpi", 1}, {"Zpi", 0}, {"Gamma", 5}, {"Zpi", 1}, {"Zp", 9}});
  EXPECT_EQ(k.port_data_names(), (Names{{"Gamma", 5}, {"Zp", 9}, {"Zpi", 0}, {"Zpi", 1}}));
  for (auto it = k.begin_port_data(); it != k.end_port_data(); ++it)
    EXPECT_EQ(it->second, C());

  // Moves leave the default state: no ports at -1 Hz.
  const auto expect_default = [](const SMatrixSample& d) {
    EXPECT_EQ(std::make_tuple(d.nbPorts(), d.frequency(), d.S().size(), d.Zref().size()),
              std::make_tuple(std::size_t{0}, -1.0, std::size_t{0}, std::size_t{0}));
    EXPECT_EQ(d.begin_port_data(), d.end_port_data());
  };
  expect_default(SMatrixSample());
  SMatrixSample a(2, 1e9, {{"Zpi", 0}});
  a(1, 0) = C(1, 1);
  SMatrixSample b(std::move(a));
  expect_default(a);
  EXPECT_EQ(b(1, 0), C(1, 1));
  SMatrixSample c(3, 5.0);
  c = std::move(b);
  expect_default(b);
  EXPECT_EQ(std::make_tuple(c.frequency(), c.nbPorts(), c.port_data_names()),
            std::make_tuple(1e9, std::size_t{2}, Names{{"Zpi", 0}}));
}

TEST(Sample, CloneIsAnIndependentDeepCopy) {
  SMatrixSample s = make_sample(2, 3e9, C(1, 2), {{"Zpi", 1}, {"Gamma", 0}});
  s.set({"Zpi", 1}, C(-2, 0));
  const SMatrixSample original = s;
  const std::unique_ptr<SMatrixEvaluator> clone(s.clone());
  auto& copy = dynamic_cast<SMatrixSample&>(*clone);
  EXPECT_EQ(bits(copy), bits(original));  // frequency, S, Zref and port data
  copy(0, 1) = copy.Zref(1) = copy({"Zpi", 1}) = C(42, 42);
  copy.setFrequency(1.0);
  EXPECT_EQ(bits(s), bits(original));
}

TEST(Sample, EvaluatesOnlyAtItsOwnFrequency) {
  SMatrixSample s(2, 1e9, {{"Zpi", 0}});
  s(0, 1) = C(0.5, -0.25);
  EXPECT_EQ(s.evaluate(1e9, REAL_IMAG), s);
  EXPECT_EQ(s.evaluate(1e9, static_cast<InterpolationType>(99)), s);
  EXPECT_THROW_MSG(s.evaluate(1.0000001e9, MAG_PHASE), std::out_of_range, "");
  EXPECT_THROW_MSG(SMatrixSample(1, kNaN).evaluate(kNaN, MAG_PHASE), std::out_of_range, "");
}

TEST(Sample, PortDataLookup) {
  SMatrixSample s(2, 1e9, {{"Gamma", 0}, {"Zpi", 1}, {"Zpv", 1}, {"Zvi", 0}});
  const SMatrixSample& cs = s;
  EXPECT_THROW_MSG(s.set({"Gamma", 1}, C(1, 2)), RE, "Gamma[1] is not available");
  EXPECT_THROW_MSG(s({"Zpi", 0}), RE, "Zpi[0] is not available");
  EXPECT_THROW_MSG(cs({"Zp", 1}), RE, "Zp[1] is not available");
  EXPECT_THROW_MSG(s.modalParameter(0, Zpi), RE, "Zpi[0] is not available");
  EXPECT_EQ(s.port_data_names().size(), 4u);  // nothing was inserted
  s.set({"Gamma", 0}, C(0, 7));
  s({"Zpi", 1}) = C(1, 0);
  s({"Zpv", 1}) = C(2, 0);
  s({"Zvi", 0}) = C(3, 0);
  EXPECT_EQ((std::vector<C>{s.modalParameter(0, Gamma), s.modalParameter(1, Zpi),
                            s.modalParameter(1, Zpv), cs.modalParameter(0, Zvi)}),
            (std::vector<C>{{0, 7}, {1, 0}, {2, 0}, {3, 0}}));
  for (int bad : {4, -1, 7}) {
    EXPECT_THROW_MSG(s.modalParameter(0, static_cast<ModalPortParameterType>(bad)), RE,
                     "modalParameter: unknown modalPortParameter");
  }
  // Past eight entries the lookup bisects: every key still finds its own value.
  for (std::size_t n : {8, 9, 12}) {
    Names names;
    for (std::size_t k = 0; k < n; ++k)
      names.emplace_back(k % 2 ? "Zpi" : "Gamma", k);
    SMatrixSample big(1, 1.0, names);
    for (std::size_t k = 0; k < n; ++k)
      big.set(names[k], C(k, -1.0 * k));
    for (std::size_t k = 0; k < n; ++k)
      EXPECT_EQ(std::as_const(big)(names[k]), C(k, -1.0 * k)) << n << " " << k;
    EXPECT_THROW_MSG(big({"Gamma", 1}), RE, "Gamma[1] is not available");
    EXPECT_THROW_MSG(big({"Zvi", 0}), RE, "Zvi[0] is not available");
  }
}

TEST(Sample, ExactEqualityAndSymmetry) {
  SMatrixSample a(2, 1e9, {{"Zpi", 0}});
  SMatrixSample b = a;
  a(0, 1) = C(1, 0.0);
  b(0, 1) = C(1, -0.0);
  EXPECT_TRUE(a == b);  // negative zero equals zero
  b(0, 1) = C(1, 1e-300);
  EXPECT_TRUE(a != b);
  SMatrixSample n(1, 1.0), z(2, 1.0), p(1, 1.0, {{"Zpi", 0}});
  n(0, 0) = C(kNaN, 0);
  z.Zref(1) = C(50, 0);
  SMatrixSample q = p;
  q.set({"Zpi", 0}, C(0, 1));
  EXPECT_EQ((Flags{n == SMatrixSample(n), n == n, SMatrixSample(1, kNaN) == SMatrixSample(1, kNaN),
                   z == SMatrixSample(2, 1.0), SMatrixSample(1, 1.0) == SMatrixSample(2, 1.0),
                   p == SMatrixSample(1, 1.0, {{"Zpi", 1}}), p == q}),
            Flags(7, false));

  // Symmetry looks at the off-diagonal pairs only.
  SMatrixSample s(3, 1.0);
  s(0, 0) = C(9, 9);
  s.Zref(0) = C(50, 0);
  s(0, 2) = s(2, 0) = C(0.5, 0.5);
  EXPECT_TRUE(s.is_symmetric());
  s(2, 1) = C(0, 1e-12);
  EXPECT_FALSE(s.is_symmetric());
  s(1, 2) = C(0, 1e-12);
  EXPECT_TRUE(s.is_symmetric());
  s(1, 2) = s(2, 1) = C(kNaN, 0);
  EXPECT_FALSE(s.is_symmetric());
  EXPECT_TRUE(SMatrixSample().is_symmetric());
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

TEST(Model, BandChecksAndDefaultSlots) {
  EXPECT_THROW_MSG(SMatrixModel(2, 5e9, 1e9), RE, "invalid frequency range [5e+09 , 1e+09]");
  EXPECT_THROW_MSG(SMatrixModel(1, kNaN, 1e9), RE, "invalid frequency range [nan , 1e+09]");
  EXPECT_THROW_MSG(SMatrixModel(1, 0.0, kNaN, {{"Zpi", 0}}), RE,
                   "invalid frequency range [0 , nan]");
  SMatrixModel band(1, 1e9, 2e9);
  EXPECT_THROW_MSG(band.setFrequencyRange(3e9, 2.5e9), RE,
                   "invalid frequency range [3e+09 , 2.5e+09]");
  EXPECT_EQ(band.getFrequencyRange(), std::make_pair(1e9, 2e9));
  band.setFrequencyRange(3e9, 3e9);
  EXPECT_EQ(std::make_pair(band.from(), band.to()), std::make_pair(3e9, 3e9));

  const SMatrixModel m(2, 1e9, 2e9, {{"Zpi", 1}, {"Gamma", 0}, {"Zpi", 1}});
  EXPECT_EQ(m.type(), SMatrixEvaluator::MODEL);
  ASSERT_EQ(m.S().size(), 4u);
  ASSERT_EQ(m.Zref().size(), 2u);
  const Names keys = {{"Gamma", 0}, {"Zpi", 1}};
  EXPECT_EQ(m.port_data_names(), keys);
  const PolynomialModel empty;
  EXPECT_TRUE(m(0, 1).equal(&empty));
  EXPECT_EQ(m({"Zpi", 1}).type(), ScalarModel::Polynomial);
  EXPECT_EQ(m.Zref(1).type(), ScalarModel::Polynomial);
  EXPECT_EQ(m.evaluate(1.5e9, MAG_PHASE), SMatrixSample(2, 1.5e9, keys));
}

TEST(Model, EvaluateFillsEverySlotAndTheSymmetricFormReadsTheUpperTriangle) {
  const SMatrixModel m = numbered_model(1e9, 3e9);
  const SMatrixSample s = m.evaluate(2e9, REAL_IMAG), u = m.evaluate_symm(2e9, MAG_PHASE);
  EXPECT_EQ(s.frequency(), 2e9);
  EXPECT_EQ(s.S(), (std::vector<C>{{3, 0}, {5, 0}, {4, 0}, {6, 0}}));  // (i + 1) + (j + 1) * 2
  EXPECT_EQ(s.Zref(), (std::vector<C>{{50, 0}, {51, 0}}));
  EXPECT_EQ(s({"Zpi", 0}), C(0, 2));
  EXPECT_EQ(m(2e9, 1, 0), C(4, 0));
  EXPECT_EQ(m.Zref(2e9, 1), C(51, 0));
  EXPECT_EQ(u.S(), (std::vector<C>{{3, 0}, {5, 0}, {5, 0}, {6, 0}}));
  EXPECT_EQ(u({"Zpi", 0}), C(0, 2));
  EXPECT_THROW_MSG(m.evaluate_symm(0.5e9, MAG_PHASE), std::out_of_range,
                   "5e+08 not in [1e+09 , 3e+09]");

  // Out-of-band messages differ by form.
  const SMatrixModel point(1, 1e9, 1e9), band(1, 1e9, 1.5e9);
  EXPECT_EQ(point.evaluate(1e9, MAG_PHASE).frequency(), 1e9);
  EXPECT_THROW_MSG(point.evaluate(1.0000001e9, MAG_PHASE), std::out_of_range,
                   "1e+09 not in [1e+09 , 1e+09]");
  EXPECT_THROW_MSG(point.evaluate(kNaN, MAG_PHASE), std::out_of_range,
                   "nan not in [1e+09 , 1e+09]");
  EXPECT_THROW_MSG(band(2e9, 0, 0), std::out_of_range, "");
  EXPECT_THROW_MSG(band.Zref(0.5e9, 0), std::out_of_range, "");
  EXPECT_NO_THROW(band(1.5e9, 0, 0));
  EXPECT_NO_THROW(band.Zref(1e9, 0));
}

TEST(Model, LessFreqSharedEndPointsAndOverlaps) {
  const SMatrixModel::less_freq less;
  auto m = [](double a, double b) { return SMatrixModel(0, a, b); };
  struct Case {
    double a0, a1, b0, b1;
    bool a_less_b;
  };
  // Touching proper bands may coexist, a single point on the edge collides, and so do overlap
  // and containment.
  for (const Case& c : {Case{1, 2, 2, 3, true},
                        {1, 2, 2, 2, false},
                        {2, 2, 2, 3, false},
                        {2, 2, 2, 2, false},
                        {1, 3, 2, 4, false},
                        {1, 4, 2, 3, false},
                        {1, 1, 2, 2, true},
                        {1, 2, 3, 4, true}}) {
    EXPECT_EQ(less(m(c.a0, c.a1), m(c.b0, c.b1)), c.a_less_b) << c.a0 << " " << c.a1;
    EXPECT_FALSE(less(m(c.b0, c.b1), m(c.a0, c.a1))) << c.a0 << " " << c.a1;
  }
}

TEST(Model, SetStoresClonesSymmetryComparesContent) {
  SMatrixModel m(1, 0.0, 1.0, {{"Zpi", 0}});
  {
    const PolynomialModel p{C(7, 0)};
    m.set(0, 0, &p);
    m.setZref(0, &p);
  }  // p is gone; the model holds its own copies
  EXPECT_EQ(m(0.5, 0, 0), C(7, 0));
  EXPECT_EQ(m.Zref(0.5, 0), C(7, 0));
  const PolynomialModel q{C(1, 0)};
  EXPECT_THROW_MSG(m.set({"Gamma", 0}, &q), RE, "Gamma[0] is not available");
  EXPECT_THROW_MSG(m({"Zpi", 1}), RE, "Zpi[1] is not available");
  EXPECT_EQ(m.port_data_names(), (Names{{"Zpi", 0}}));

  SMatrixModel s(2, 0.0, 1.0);
  const PolynomialModel a{C(1, 2)}, b{C(1, 2)}, c{C(1, 3)};
  s.set(0, 1, &a);
  s.set(1, 0, &b);
  EXPECT_TRUE(s.is_symmetric());
  s.set(1, 0, &c);
  EXPECT_FALSE(s.is_symmetric());
  EXPECT_EQ(s.evaluate_symm(0.5, MAG_PHASE)(1, 0), C(1, 2));
  EXPECT_EQ(s.evaluate(0.5, MAG_PHASE)(1, 0), C(1, 3));
  EXPECT_TRUE(SMatrixModel().is_symmetric());
}

TEST(Model, DeepCopiesMovesAndEquality) {
  SMatrixModel a = numbered_model(1e9, 2e9);
  SMatrixModel b = a;
  EXPECT_TRUE(a == b);
  EXPECT_NE(a.S()[0].get(), b.S()[0].get());
  const PolynomialModel p{C(9, 9)};
  b.set(1, 1, &p);
  EXPECT_TRUE(a != b);
  EXPECT_EQ(a(1.5e9, 1, 1), C(5, 0));  // 2 + 2 * 1.5, undisturbed
  const std::unique_ptr<SMatrixEvaluator> clone(a.clone());
  EXPECT_TRUE(static_cast<const SMatrixModel&>(*clone) == a);

  SMatrixModel c(std::move(a));
  EXPECT_EQ(a.nbPorts(), 0u);
  EXPECT_TRUE(a.S().empty() && a.Zref().empty());
  EXPECT_EQ(a.begin_port_data(), a.end_port_data());
  EXPECT_EQ(a.getFrequencyRange(), std::make_pair(1e9, 2e9));  // band left as it was
  SMatrixModel d(3, 5.0, 6.0);
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
  EXPECT_EQ((Flags{base == numbered_model(1e9, 2.5e9), base == numbered_model(0.5e9, 2e9),
                   base == zref, base == datum,
                   SMatrixModel(1, 0, 1, {{"Zpi", 0}}) == SMatrixModel(1, 0, 1, {{"Zpv", 0}}),
                   SMatrixModel(1, 0, 1) == SMatrixModel(2, 0, 1)}),
            Flags(6, false));
}

// An evaluator that reports any type code without being one of the library's classes.
class OtherEvaluator : public SMatrixEvaluator {
 public:
  explicit OtherEvaluator(Type type) : type_(type) {}
  Type type() const override { return type_; }
  bool is_symmetric() const override { return true; }
  SMatrixEvaluator* clone() const override { return new OtherEvaluator(*this); }
  double from() const override { return 0.0; }
  double to() const override { return 0.0; }
  SMatrixSample evaluate(double f, InterpolationType) const override { return SMatrixSample(0, f); }

 private:
  Type type_;
};

TEST(Text, PortDatumNameAndLocation) {
  EXPECT_EQ(text(PortDataName("Gamma", 2)), "Gamma[2]");
  EXPECT_EQ(text(PortDataName("", 0)), "[0]");
  std::ostringstream out;
  out << std::make_pair(0.123456, std::make_tuple(1.5e9, std::size_t{1}, std::size_t{12}));
  EXPECT_EQ(out.str(), " 0.123@(   1.5e+09 Hz, r=  1, c= 12)");
  out.str("");
  out << 3.14159265 << " " << 2.0;  // the precision 4 stays, the widths do not
  EXPECT_EQ(out.str(), "3.142 2");
  out.str("");
  out << std::make_pair(-1234.5, std::make_tuple(12345678.9, std::size_t{1000}, std::size_t{0}));
  EXPECT_EQ(out.str(), "-1.23e+03@( 1.235e+07 Hz, r=1000, c=  0)");
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
  EXPECT_EQ(text(static_cast<const SMatrixEvaluator*>(&c)), expected);

  const SMatrixSample s(1, 2e9);
  const SMatrixModel m(1, 1e9, 2e9);
  const OtherEvaluator unknown(static_cast<SMatrixEvaluator::Type>(7)),
      mixed(SMatrixEvaluator::MIXED);
  EXPECT_EQ(text(static_cast<const SMatrixEvaluator*>(&s)), text(s));
  EXPECT_EQ(text(static_cast<const SMatrixEvaluator*>(&m)), text(m));
  EXPECT_EQ(text(&s), text(s));  // a derived pointer prefers this over the void* output
  EXPECT_EQ(text(static_cast<const SMatrixEvaluator*>(nullptr)), "");
  EXPECT_EQ(text(static_cast<const SMatrixEvaluator*>(&unknown)), "");
  EXPECT_EQ(text(static_cast<const SMatrixEvaluator*>(&mixed)), "");
}

}  // namespace
}  // namespace korvantix
