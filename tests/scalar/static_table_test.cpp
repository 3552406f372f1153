#include <korvantix/scalar.hpp>

#include <cmath>

#include "scalar/scalar_test_support.hpp"
#include "test_support.hpp"

namespace korvantix {
namespace {

using testing::Complex;

// Shows the stored (transformed) values.
struct Probe : StaticTableModel {
  using FittedScalarModel::sample_values;
  using StaticTableModel::StaticTableModel;
};

StaticTableModel table(std::size_t degree, const std::vector<double>& t,
                       const std::vector<Complex>& y) {
  StaticTableModel model(degree);
  for (std::size_t i = 0; i < t.size(); ++i)
    model.addSample(t[i], y[i]);
  return model;
}

TEST(StaticTableModel, SortedInsertionAndRefusals) {
  StaticTableModel model = table(2, {3, 1, 2}, {3.0, 1.0, 2.0});
  for (std::size_t i = 0; i < 3; ++i) {
    EXPECT_EQ(model.getSample(i), std::make_pair(i + 1.0, Complex(i + 1.0, 0)));
  }
  EXPECT_THROW_MSG(model.addSample(2.0, 9.0), std::runtime_error,
                   "The FittedScalarModel already contains a sample at2 Hz");
  EXPECT_THROW_MSG(model.addSample(std::nan(""), 9.0), std::runtime_error,
                   "The FittedScalarModel cannot hold a sample at nan Hz");
  EXPECT_THROW_MSG(table(2, {2.5e9, 2.5e9}, {0.0, 0.0}), std::runtime_error,
                   "The FittedScalarModel already contains a sample at2.5e+09 Hz");
  EXPECT_EQ(model, table(2, {1, 2, 3}, {1.0, 2.0, 3.0}));

  EXPECT_THROW_MSG(model.evaluate(0.5), std::out_of_range,
                   "0.5 does not belong to tabulation interval [1 , 3]");
  EXPECT_THROW_MSG(model.evaluate(3.5), std::out_of_range,
                   "3.5 does not belong to tabulation interval [1 , 3]");
  EXPECT_THROW_MSG(model.evaluate_derivative(2.0), std::runtime_error,
                   "FittedScalarModel::evaluate_derivative is not supported yet");
  EXPECT_THROW_MSG(model.evaluate_derivative_2(2.0), std::runtime_error,
                   "FittedScalarModel::evaluate_derivative_2 is not supported yet");
  EXPECT_THROW_MSG(StaticTableModel(2).evaluate(1.0), std::runtime_error,
                   "static table model without samples cannot be evaluated");
  EXPECT_THROW_MSG(table(0, {1, 3}, {0.0, 1.0}).evaluate(3.0), std::runtime_error,
                   "static table model of degree 0 cannot be evaluated");
  EXPECT_TRUE(std::isnan(model.evaluate(std::nan("")).real()));
}

TEST(StaticTableModel, TransformationsApplyForwardAndBack) {
  Probe squared(2, {Transformation::Squared});
  squared.addSample(1.0, {0, 2});
  EXPECT_EQ(squared.sample_values()[0], Complex(-4, 0));
  EXPECT_EQ(squared.getSample(0).second, Complex(0, 2));
  // Forward 1/v then v^2, back sqrt then 1/v: 2 -> 0.25 and 4 -> 0.0625, exactly.
  Probe chain(2, {Transformation::Inverse, Transformation::Squared});
  chain.addSample(1.0, 2.0);
  chain.addSample(3.0, 4.0);
  EXPECT_EQ(chain.sample_values()[0], Complex(0.25, 0));
  EXPECT_EQ(chain.getSample(1).second, Complex(4, 0));
  // The fit is linear in the transformed domain.
  EXPECT_DOUBLE_EQ(chain.evaluate(2.0).real(), 1.0 / std::sqrt(0.15625));
  std::vector<Complex> values, work;
  chain.evaluate({1.5, 2.0, 3.0}, values, work);
  EXPECT_TRUE(testing::same_bits(values[1], chain.evaluate(2.0)));
  EXPECT_EQ(values[2], Complex(4, 0));
  Probe unknown(2, {static_cast<Transformation::Type>(7)});
  unknown.addSample(1.0, {0, 2});
  EXPECT_EQ(unknown.sample_values()[0], Complex(0, 2));
}

TEST(StaticTableModel, StencilSlidesAndStopsAtTheEnds) {
  const std::vector<double> t = {0, 1, 2, 3, 4, 5, 6, 7};
  const std::vector<double> y = {3, 1, 4, 1, 5, 9, 2, 6};
  const StaticTableModel all = table(3, {1, 2, 3}, {{1, 0}, {4, 1}, {9, 2}});
  EXPECT_TRUE(testing::near(all.evaluate(2.5), Complex(6.25, 1.5), 1e-15));
  EXPECT_TRUE(testing::near(table(10, {1, 2, 3}, {1.0, 4.0, 9.0}).evaluate(1.5), 2.25, 1e-15));
  struct Case {
    std::size_t degree;
    double f;
    std::size_t first;
  };
  // Even stencils centre on the interval, odd ones take the extra sample on the left.
  for (const Case& c : {Case{4, 2.5, 1}, Case{4, 0.5, 0}, Case{4, 6.5, 4}, Case{3, 2.5, 1},
                        Case{3, 0.5, 0}, Case{3, 6.5, 5}, Case{2, 4.5, 4}, Case{5, 3.5, 1}}) {
    double expected = 0;  // the Lagrange polynomial through samples first ... first+degree-1
    for (std::size_t j = c.first; j < c.first + c.degree; ++j) {
      double basis = 1;
      for (std::size_t i = c.first; i < c.first + c.degree; ++i) {
        if (i != j) basis *= (c.f - t[i]) / (t[j] - t[i]);
      }
      expected += y[j] * basis;
    }
    EXPECT_NEAR(table(c.degree, t, {y.begin(), y.end()}).evaluate(c.f).real(), expected, 1e-12)
        << "degree " << c.degree << " at " << c.f;
  }
}

TEST(StaticTableModel, SampleHitsAndFlatPartsAreExact) {
  const StaticTableModel model =
      table(3, {1, 2, 3, 4}, {{0.1, 1.0 / 3}, {0.1, 0.7}, {0.1, -0.2}, {0.1, 2.0 / 7}});
  EXPECT_EQ(model.evaluate(3.0), Complex(0.1, -0.2));
  // The tolerance applies to the first sample at or above the frequency.
  EXPECT_EQ(model.evaluate(std::nextafter(3.0, 2.0)), Complex(0.1, -0.2));
  EXPECT_EQ(model.evaluate(2.4).real(), 0.1);
  EXPECT_EQ(model.evaluate(4.0), Complex(0.1, 2.0 / 7));
}

TEST(StaticTableModel, BulkFillMatchesOneByOneAndFailsCleanly) {
  std::vector<std::pair<double, Complex>> descending;
  for (int i = 20000; i > 0; --i)
    descending.emplace_back(i * 1e6, Complex(i, -i));
  StaticTableModel bulk(4, {Transformation::Squared}), single(4, {Transformation::Squared});
  bulk.addSample(0.5e6, {7, 7});
  single.addSample(0.5e6, {7, 7});
  bulk.addSamples(descending);
  for (std::size_t i = descending.size(); i-- > descending.size() - 50;) {
    single.addSample(descending[i].first, descending[i].second);
  }
  ASSERT_EQ(bulk.nbSamples(), 20001u);
  EXPECT_EQ(bulk.getSample(20000).first, 2e10);
  for (std::size_t i = 0; i < single.nbSamples(); ++i) {
    EXPECT_EQ(bulk.getSample(i), single.getSample(i));
  }
  // The first failure in list order wins, and the table is untouched.
  StaticTableModel model = table(2, {1, 2}, {1.0, 2.0});
  const StaticTableModel before = model;
  EXPECT_THROW_MSG(model.addSamples({{5, 0.0}, {4, 0.0}, {4, 1.0}, {2, 0.0}}), std::runtime_error,
                   "The FittedScalarModel already contains a sample at4 Hz");
  EXPECT_THROW_MSG(model.addSamples({{5, 0.0}, {1, 0.0}, {5, 0.0}}), std::runtime_error,
                   "The FittedScalarModel already contains a sample at1 Hz");
  EXPECT_THROW_MSG(model.addSamples({{5, 0.0}, {std::nan(""), 0.0}, {2, 0.0}}), std::runtime_error,
                   "The FittedScalarModel cannot hold a sample at nan Hz");
  EXPECT_EQ(model, before);
  EXPECT_NE(model, table(3, {1, 2}, {1.0, 2.0}));
  EXPECT_NE(model, table(2, {1, 2}, {1.0, {2, 1e-300}}));
  model.addSamples({{1.5, 0.0}, {0.5, 0.0}, {3, 0.0}});
  EXPECT_EQ(model, table(2, {0.5, 1, 1.5, 2, 3}, {0.0, 1.0, 0.0, 2.0, 0.0}));
}

}  // namespace
}  // namespace korvantix
