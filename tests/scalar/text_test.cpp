#include <korvantix/scalar.hpp>

#include <memory>
#include <sstream>

#include "scalar/scalar_test_support.hpp"
#include "test_support.hpp"

namespace korvantix {
namespace {

using testing::Complex;
using Owned = std::unique_ptr<ScalarModel>;

template <class T>
std::string text(const T& value) {
  std::ostringstream out;
  out << value;
  return out.str();
}

std::string as_pointer(const ScalarModel& model) {
  return text(&model);
}

struct Foreign : PolynomialModel {
  explicit Foreign(std::int32_t kind) : code(kind) {}
  Type type() const override { return static_cast<Type>(code); }
  std::int32_t code;
};

TEST(ScalarText, PolynomialsInTheStreamsSettings) {
  const PolynomialModel p(Complex(1, 0), Complex(2, 0));
  EXPECT_EQ(text(p), "Polynomial Model: (1,0)*freq^0 + (2,0)*freq^1");
  EXPECT_EQ(as_pointer(p), text(p));
  std::ostringstream out;
  out.precision(3);
  out << PolynomialModel(Complex(1.23456, -0.5));
  EXPECT_EQ(out.str(), "Polynomial Model: (1.23,-0.5)*freq^0");
  EXPECT_EQ(text(RationalModel({1.0, 2.0}, {3.0}, 2.5)),
            "Rational Model: ( (1,0)*(freq/2.5)^0 + (2,0)*(freq/2.5)^1 ) / ( (3,0)*(freq/2.5)^0 )");
}

TEST(ScalarText, PoleZero) {
  EXPECT_EQ(text(PoleZeroModel(1.0, {}, {}, {1, 0}, {0, 0})),
            "Pole-Zero Model:  + (1,0), with s = j*omega/1");
  EXPECT_EQ(text(PoleZeroModel(6.283185307179586, {{-1, 0}, {-2, 1}}, {1.0, 2.0}, {0, 0}, {0, 1})),
            "Pole-Zero Model: (1,0)/(s-(-1,0)) + (2,0)/(s-(-2,1)) + (0,1) x s, with s = "
            "j*omega/6.28319");
  // Negative zeros are zero: no factor term.
  EXPECT_EQ(text(PoleZeroModel(2e9, {}, {}, {0, -0.0}, {-0.0, 0})),
            "Pole-Zero Model: , with s = j*omega/2e+09");
  EXPECT_THROW_MSG(text(PoleZeroModel(1.0, {{-1, 0}}, {}, {0, 0}, {0, 0})), std::runtime_error,
                   "pole-zero model needs one residue per pole, found 0 residues for 1 poles");
}

TEST(ScalarText, SplinesAndTables) {
  const SparameterSplineModel plain({0, 1, 2}, {0.0, 0.0, 0.0}, {0.0, 0.0, 0.0});
  const SparameterSplineModel causal(plain.freqs(), plain.samples(), plain.coefs(),
                                     std::vector<double>{5, 6});
  EXPECT_EQ(as_pointer(plain), "S-parameter Spline Model: 3 knots");
  EXPECT_EQ(text(causal), "S-parameter Spline Model: 3 knots2 subtraction frequencies");
  EXPECT_EQ(as_pointer(causal), "");

  StaticTableModel chain(2, {Transformation::Inverse, Transformation::Squared});
  chain.addSamples({{2.0, 4.0}, {1.0, 2.0}});
  EXPECT_EQ(as_pointer(chain),
            "Static Table Model (degree=2, trafo=(inv(x))^2) : [1 -> (2,0)] , [2 -> (4,0)]");
  EXPECT_EQ(text(StaticTableModel(3)), "Static Table Model (degree=3) : ");
  const StaticTableModel odd(1, {static_cast<Transformation::Type>(7), Transformation::Inverse});
  EXPECT_EQ(text(odd), "Static Table Model (degree=1, trafo=inv(x)) : ");
}

TEST(ScalarText, PointerDispatch) {
  const PolynomialModel a(Complex(1, 0));
  const std::pair<Owned, const char*> operators[] = {
      {Owned(ScalarModel::createConjugate(&a)), "conjugate of a scalar model"},
      {Owned(ScalarModel::createNorm(&a)), "norm of a scalar model"},
      {Owned(ScalarModel::createSum(&a, &a)), "sum of scalar models"},
      {Owned(ScalarModel::createDifference(&a, &a)), "difference of scalar models"},
      {Owned(ScalarModel::createProduct(&a, &a)), "product of scalar models"}};
  for (const auto& [model, expected] : operators)
    EXPECT_EQ(as_pointer(*model), expected);
  EXPECT_EQ(as_pointer(Foreign(999)), "unknown scalar model type");
  EXPECT_EQ(text(static_cast<const ScalarModel*>(nullptr)), "");
  for (std::int32_t code : {0, 7, 100, 998, 1000, -1}) {
    EXPECT_EQ(as_pointer(Foreign(code)), "") << code;
  }
}

}  // namespace
}  // namespace korvantix
