#include <korvantix/scalar.hpp>

#include <memory>

#include "scalar/scalar_test_support.hpp"

namespace korvantix {
namespace {

using testing::Complex;
using Owned = std::unique_ptr<ScalarModel>;

// A model from outside the library that claims a code of its choice.
struct Foreign : PolynomialModel {
  explicit Foreign(std::int32_t kind) : PolynomialModel(Complex(1, 0)), code(kind) {}
  Type type() const override { return static_cast<Type>(code); }
  std::int32_t code;
};

TEST(ScalarModel, EqualMeansSameKindAndSameData) {
  const PolynomialModel p({{1, 2}, {3, 4}});
  StaticTableModel table(2, {Transformation::Inverse});
  table.addSample(1.0, {1, 1});
  const Owned models[] = {Owned(p.clone()),
                          Owned(RationalModel({{1, 2}, {3, 4}}, {1.0}).clone()),
                          Owned(PoleZeroModel(1.0, {{-1, 0}}, {1.0}, {0, 0}, {0, 0}).clone()),
                          Owned(table.clone()),
                          Owned(SparameterSplineModel({0, 1}, {0.0, 1.0}, {0.0, 0.0}).clone()),
                          Owned(ScalarModel::createConjugate(&p)),
                          Owned(ScalarModel::createNorm(&p)),
                          Owned(ScalarModel::createSum(&p, &table)),
                          Owned(ScalarModel::createDifference(&p, &table)),
                          Owned(ScalarModel::createProduct(&p, &table))};
  for (const Owned& m : models) {
    const Owned copy(m->clone());
    EXPECT_TRUE(copy.get() != m.get() && m->equal(copy.get())) << m->type();
    for (const Owned& other : models) {
      if (other.get() != m.get()) {
        EXPECT_FALSE(m->equal(other.get())) << m->type();
      }
    }
  }
  // Equal values are not enough.
  EXPECT_EQ(models[0]->evaluate(0.5), models[1]->evaluate(0.5));
}

TEST(ScalarModel, CodesAbove998NeverCompareEqual) {
  const Foreign unknown(999), polynomial(ScalarModel::Polynomial);
  EXPECT_FALSE(unknown.equal(&unknown));
  EXPECT_TRUE(polynomial.equal(&polynomial));  // same class, same code: compared as a polynomial
}

TEST(ScalarModel, GenericBatchResizesAndLeavesWorkAlone) {
  const RationalModel r({1.0}, {0.0, 1.0});
  std::vector<Complex> values(5, Complex(9, 9)), work(2, Complex(7, 7));
  r.evaluate({1.0, 4.0, 0.5}, values, work);
  EXPECT_EQ(values, (std::vector<Complex>{{1, 0}, {0.25, 0}, {2, 0}}));
  EXPECT_EQ(work, (std::vector<Complex>(2, Complex(7, 7))));
  r.evaluate({}, values, work);
  EXPECT_TRUE(values.empty());
}

}  // namespace
}  // namespace korvantix
