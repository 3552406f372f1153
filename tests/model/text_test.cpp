#include <korvantix/container.hpp>
#include <korvantix/scalar.hpp>

#include <gtest/gtest.h>

#include <complex>
#include <iomanip>
#include <sstream>
#include <string>
#include <tuple>
#include <utility>

namespace korvantix {
namespace {

using C = std::complex<double>;

template <class T>
std::string text(const T& value) {
  std::ostringstream out;
  out << value;
  return out.str();
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

TEST(Text, Sample) {
  SMatrixSample s(2, 1e9, {{"Zpi", 1}, {"Gamma", 0}});
  s.Zref(0) = C(50, 0);
  s.Zref(1) = C(75, -1);
  s(0, 1) = C(0.5, -0.25);
  s(1, 0) = C(1e-9, 0);
  s.set({"Gamma", 0}, C(0, 2));
  EXPECT_EQ(text(s),
            "Sample at 1e+09 Hz:"
            "\n\t(50,0) | \t(0,0)\t(0.5,-0.25)"
            "\n\t(75,-1) | \t(1e-09,0)\t(0,0)"
            "\n\tGamma[0]\t(0,2)"
            "\n\tZpi[1]\t(0,0)");
  std::ostringstream out;
  out << std::setprecision(3) << SMatrixSample(0, 1.23456e9);
  EXPECT_EQ(out.str(), "Sample at 1.23e+09 Hz:");
}

TEST(Text, Model) {
  SMatrixModel m(2, 1e9, 2.5e9, {{"Zpi", 0}});
  const PolynomialModel z{C(50, 0)}, p(C(1, 0), C(2, 0));
  m.setZref(1, &z);
  m.set(1, 0, &p);
  m.set({"Zpi", 0}, &z);
  EXPECT_EQ(text(m),
            "Model in [1e+09 , 2.5e+09 ] Hz:"
            "\n\tZref(0) : Polynomial Model: "
            "\n\tZref(1) : Polynomial Model: (50,0)*freq^0"
            "\n\tS(0,0) : Polynomial Model: "
            "\n\tS(0,1) : Polynomial Model: "
            "\n\tS(1,0) : Polynomial Model: (1,0)*freq^0 + (2,0)*freq^1"
            "\n\tS(1,1) : Polynomial Model: "
            "\n\tZpi[0] : Polynomial Model: (50,0)*freq^0");
}

TEST(Text, Container) {
  EXPECT_EQ(text(SMatrixContainer()),
            "Scattering matrix container: \nGlobal properties: \nPort models: ");

  SMatrixContainer c(2);
  c.name(0) = "in";
  c.add_global_property("k", "v");
  c.add_global_property("a", "b");
  c.add_port_property(1, "x", "y");
  c.add(SMatrixModel(2, 2e9, 3e9));
  c.add(SMatrixModel(1, 0.5e9, 0.5e9));  // a model of another port count is accepted
  SMatrixSample s(1, 1e9);
  s(0, 0) = C(0.5, 0);
  c.add(s);
  const std::string expected =
      "Scattering matrix container: \n\tin\n\tport_1"
      "\nGlobal properties: \n\ta = b\n\tk = v"
      "\nProperties for port <in> : "
      "\nProperties for port <port_1> : \n\tx = y"
      "\nPort models: "
      "\nSample at 1e+09 Hz:\n\t(0,0) | \t(0.5,0)"  // samples first, then the models
      "\nModel in [5e+08 , 5e+08 ] Hz:\n\tZref(0) : Polynomial Model: "
      "\n\tS(0,0) : Polynomial Model: "
      "\nModel in [2e+09 , 3e+09 ] Hz:"
      "\n\tZref(0) : Polynomial Model: \n\tZref(1) : Polynomial Model: "
      "\n\tS(0,0) : Polynomial Model: \n\tS(0,1) : Polynomial Model: "
      "\n\tS(1,0) : Polynomial Model: \n\tS(1,1) : Polynomial Model: ";
  EXPECT_EQ(text(c), expected);
  EXPECT_EQ(text(static_cast<const SMatrixEvaluator*>(&c)), expected);
}

TEST(Text, EvaluatorPointerDispatch) {
  const SMatrixSample s(1, 2e9);
  const SMatrixModel m(1, 1e9, 2e9);
  EXPECT_EQ(text(static_cast<const SMatrixEvaluator*>(&s)), text(s));
  EXPECT_EQ(text(static_cast<const SMatrixEvaluator*>(&m)), text(m));
  EXPECT_EQ(text(&s), text(s));  // a derived pointer prefers this over the void* output
  EXPECT_EQ(text(static_cast<const SMatrixEvaluator*>(nullptr)), "");
  const OtherEvaluator unknown(static_cast<SMatrixEvaluator::Type>(7));
  const OtherEvaluator mixed(SMatrixEvaluator::MIXED);
  EXPECT_EQ(text(static_cast<const SMatrixEvaluator*>(&unknown)), "");
  EXPECT_EQ(text(static_cast<const SMatrixEvaluator*>(&mixed)), "");
}

}  // namespace
}  // namespace korvantix
