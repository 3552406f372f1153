#include <korvantix/scalar.hpp>

#include <memory>
#include <sstream>

#include "scalar/scalar_test_support.hpp"

namespace korvantix {
namespace {

using testing::Coefs;
using testing::Complex;
using Owned = std::unique_ptr<ScalarModel>;

// A model from outside the library with a code of its choice.
struct Foreign : ScalarModel {
  explicit Foreign(Type kind) : code(kind) {}
  ScalarModel* clone() const override { return new Foreign(*this); }
  bool empty() const override { return false; }
  Type type() const override { return code; }
  void evaluate(const std::vector<double>& freqs, std::vector<Complex>& values,
                std::vector<Complex>& work) const override {
    ScalarModel::evaluate(freqs, values, work);
  }
  Complex evaluate(double freq) const override { return {freq, 1}; }
  Complex evaluate_derivative(double) const override { return {1, 0}; }
  Complex evaluate_derivative_2(double) const override { return {}; }
  Type code;
};

TEST(ScalarModel, EveryKindEqualsItsClone) {
  const PolynomialModel p(Coefs{{1, 2}, {3, 4}});
  StaticTableModel table(2, {Transformation::Inverse});
  table.addSample(1.0, {1, 1});
  const Owned models[] = {
      Owned(p.clone()),
      Owned(RationalModel({{1, 0}}, {{1, 0}, {1, 0}}, 2.0).clone()),
      Owned(PoleZeroModel(1.0, {{-1, 0}}, {{1, 0}}, {0, 0}, {0, 0}).clone()),
      Owned(table.clone()),
      Owned(SparameterSplineModel({0, 1}, {{0, 0}, {1, 0}}, {{0, 0}, {0, 0}}).clone()),
      Owned(ScalarModel::createConjugate(&p)),
      Owned(ScalarModel::createNorm(&p)),
      Owned(ScalarModel::createSum(&p, &table)),
      Owned(ScalarModel::createDifference(&p, &table)),
      Owned(ScalarModel::createProduct(&p, &table))};
  for (const Owned& m : models) {
    const Owned copy(m->clone());
    EXPECT_NE(copy.get(), m.get());
    EXPECT_TRUE(m->equal(copy.get())) << m->type();
    for (const Owned& other : models) {
      if (other.get() != m.get()) {
        EXPECT_FALSE(m->equal(other.get())) << m->type();
      }
    }
  }
}

TEST(ScalarModel, EqualNeedsTheSameKind) {
  const PolynomialModel constant(Complex(2, 0));
  const RationalModel quotient({{2, 0}}, {{1, 0}});
  EXPECT_EQ(constant.evaluate(3.0), quotient.evaluate(3.0));
  EXPECT_FALSE(constant.equal(&quotient));
  EXPECT_FALSE(quotient.equal(&constant));
}

TEST(ScalarModel, ForeignCodes) {
  const Foreign unknown(static_cast<ScalarModel::Type>(999));
  EXPECT_FALSE(unknown.equal(&unknown));
  // A foreign class borrowing a library code is not mistaken for that class.
  const Foreign impostor(ScalarModel::Polynomial);
  const PolynomialModel p(Complex(1, 0));
  EXPECT_FALSE(p.equal(&impostor));
  EXPECT_FALSE(impostor.is_constant());
}

TEST(ScalarModel, GenericBatchResizesAndEvaluatesInOrder) {
  const Foreign model(static_cast<ScalarModel::Type>(1000));
  std::vector<Complex> values(5, Complex(9, 9)), work(2, Complex(7, 7));
  model.evaluate({1.0, 2.0}, values, work);
  EXPECT_EQ(values, (std::vector<Complex>{{1, 1}, {2, 1}}));
  EXPECT_EQ(work.size(), 2u);
  model.evaluate({}, values, work);
  EXPECT_TRUE(values.empty());
  const RationalModel r({{1, 0}}, {{0, 0}, {1, 0}});
  r.evaluate({1.0, 4.0, 0.5}, values, work);
  EXPECT_EQ(values, (std::vector<Complex>{{1, 0}, {0.25, 0}, {2, 0}}));
}

}  // namespace
}  // namespace korvantix
