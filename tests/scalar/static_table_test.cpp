#include <korvantix/scalar.hpp>

#include <cmath>
#include <limits>
#include <memory>

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

// Reference: the Lagrange polynomial through samples [first, first + count) at f.
double lagrange(const std::vector<double>& t, const std::vector<double>& y, std::size_t first,
                std::size_t count, double f) {
  double sum = 0;
  for (std::size_t j = first; j < first + count; ++j) {
    double basis = 1;
    for (std::size_t i = first; i < first + count; ++i) {
      if (i != j) basis *= (f - t[i]) / (t[j] - t[i]);
    }
    sum += y[j] * basis;
  }
  return sum;
}

TEST(StaticTableModel, SamplesStaySortedAndDuplicatesAreRefused) {
  StaticTableModel model(2);
  model.addSample(3.0, {3, 0});
  model.addSample(1.0, {1, 0});
  model.addSample(2.0, {2, 0});
  ASSERT_EQ(model.nbSamples(), 3u);
  for (std::size_t i = 0; i < 3; ++i) {
    EXPECT_EQ(model.getSample(i), std::make_pair(i + 1.0, Complex(i + 1.0, 0)));
  }
  EXPECT_THROW_MSG(model.addSample(2.0, {9, 9}), std::runtime_error,
                   "The FittedScalarModel already contains a sample at2 Hz");
  EXPECT_THROW_MSG(model.addSample(std::nan(""), {9, 9}), std::runtime_error,
                   "The FittedScalarModel cannot hold a sample at nan Hz");
  EXPECT_EQ(model.nbSamples(), 3u);
  EXPECT_EQ(model.getSample(1).second, Complex(2, 0));
  StaticTableModel big(2);
  big.addSample(2.5e9, {0, 0});
  EXPECT_THROW_MSG(big.addSample(2.5e9, {0, 0}), std::runtime_error,
                   "The FittedScalarModel already contains a sample at2.5e+09 Hz");
}

TEST(StaticTableModel, TransformationsApplyForwardAndBack) {
  Probe squared(2, {Transformation::Squared});
  squared.addSample(1.0, {0, 2});
  EXPECT_EQ(squared.sample_values()[0], Complex(-4, 0));
  EXPECT_EQ(squared.getSample(0).second, Complex(0, 2));

  // Forward 1/v then v^2; back sqrt then 1/v. 2 -> 0.25 -> 2 and 4 -> 0.0625 -> 4, exactly.
  Probe chain(2, {Transformation::Inverse, Transformation::Squared});
  chain.addSample(1.0, {2, 0});
  chain.addSample(3.0, {4, 0});
  EXPECT_EQ(chain.sample_values()[0], Complex(0.25, 0));
  EXPECT_EQ(chain.getSample(1).second, Complex(4, 0));
  // The fit is linear in the transformed domain: 1/sqrt(0.15625) at the midpoint.
  EXPECT_DOUBLE_EQ(chain.evaluate(2.0).real(), 1.0 / std::sqrt(0.15625));

  Probe unknown(2, {static_cast<Transformation::Type>(7)});
  unknown.addSample(1.0, {0, 2});
  EXPECT_EQ(unknown.sample_values()[0], Complex(0, 2));
}

TEST(StaticTableModel, DegreeSelectsTheStencil) {
  const std::vector<double> t = {1, 2, 3};
  const std::vector<Complex> y = {{1, 0}, {4, 1}, {9, 2}};  // f^2 + j (f - 1)
  EXPECT_EQ(table(2, t, y).evaluate(2.5), Complex(6.5, 1.5));
  EXPECT_TRUE(testing::near(table(3, t, y).evaluate(2.5), Complex(6.25, 1.5), 1e-15));
  EXPECT_TRUE(testing::near(table(10, t, y).evaluate(1.5), Complex(2.25, 0.5), 1e-15));
}

TEST(StaticTableModel, StencilSlidesAndStopsAtTheEnds) {
  const std::vector<double> t = {0, 1, 2, 3, 4, 5, 6, 7};
  const std::vector<double> re = {3, 1, 4, 1, 5, 9, 2, 6};
  std::vector<Complex> y;
  for (double v : re)
    y.emplace_back(v, 0);
  struct Case {
    std::size_t degree;
    double f;
    std::size_t first;
  };
  // Even stencils are centred on the interval, odd ones take one more sample on the left.
  for (const Case& c : {Case{4, 2.5, 1}, Case{4, 0.5, 0}, Case{4, 6.5, 4}, Case{3, 2.5, 1},
                        Case{3, 0.5, 0}, Case{3, 6.5, 5}, Case{2, 4.5, 4}, Case{5, 3.5, 1}}) {
    const double expected = lagrange(t, re, c.first, c.degree, c.f);
    EXPECT_NEAR(table(c.degree, t, y).evaluate(c.f).real(), expected, 1e-12)
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
  EXPECT_EQ(model.evaluate(1.0), Complex(0.1, 1.0 / 3));
  EXPECT_EQ(model.evaluate(4.0), Complex(0.1, 2.0 / 7));
}

TEST(StaticTableModel, Refusals) {
  const StaticTableModel model = table(2, {1, 3}, {{0, 0}, {1, 0}});
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
  EXPECT_THROW_MSG(table(0, {1, 3}, {{0, 0}, {1, 0}}).evaluate(3.0), std::runtime_error,
                   "static table model of degree 0 cannot be evaluated");
  EXPECT_TRUE(std::isnan(model.evaluate(std::nan("")).real()));
}

TEST(StaticTableModel, BatchMatchesSingleThroughTheInverseChain) {
  StaticTableModel model(3, {Transformation::Inverse});
  for (int i = 0; i < 20; ++i)
    model.addSample(i, {1.0 + i, 0.5 * i - 3});
  std::vector<double> freqs;
  for (int i = 0; i < 40; ++i)
    freqs.push_back(i * 0.475);
  std::vector<Complex> values, work;
  model.evaluate(freqs, values, work);
  ASSERT_EQ(values.size(), freqs.size());
  for (std::size_t i = 0; i < freqs.size(); ++i) {
    EXPECT_TRUE(testing::same_bits(values[i], model.evaluate(freqs[i])));
  }
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
  EXPECT_EQ(bulk.getSample(0).first, 0.5e6);
  EXPECT_EQ(bulk.getSample(20000).first, 2e10);
  for (std::size_t i = 0; i < single.nbSamples(); ++i) {
    EXPECT_EQ(bulk.getSample(i), single.getSample(i));
  }

  // The first failure in list order wins; the table is untouched.
  StaticTableModel model = table(2, {1, 2}, {{1, 0}, {2, 0}});
  const StaticTableModel before = model;
  EXPECT_THROW_MSG(model.addSamples({{5, {0, 0}}, {4, {0, 0}}, {4, {1, 0}}, {2, {0, 0}}}),
                   std::runtime_error, "The FittedScalarModel already contains a sample at4 Hz");
  EXPECT_THROW_MSG(model.addSamples({{5, {0, 0}}, {1, {0, 0}}, {5, {0, 0}}}), std::runtime_error,
                   "The FittedScalarModel already contains a sample at1 Hz");
  EXPECT_THROW_MSG(model.addSamples({{5, {0, 0}}, {std::nan(""), {0, 0}}, {2, {0, 0}}}),
                   std::runtime_error, "The FittedScalarModel cannot hold a sample at nan Hz");
  EXPECT_EQ(model, before);
  model.addSamples({{1.5, {0, 0}}, {0.5, {0, 0}}, {3, {0, 0}}});
  EXPECT_EQ(model.nbSamples(), 5u);
  EXPECT_EQ(model.getSample(2), std::make_pair(1.5, Complex(0, 0)));
}

TEST(StaticTableModel, EqualityAndClone) {
  const StaticTableModel a = table(2, {1, 2}, {{1, 0}, {2, 0}});
  EXPECT_EQ(a, table(2, {2, 1}, {{2, 0}, {1, 0}}));
  EXPECT_NE(a, table(3, {1, 2}, {{1, 0}, {2, 0}}));
  EXPECT_NE(a, table(2, {1, 2}, {{1, 0}, {2, 1e-300}}));
  EXPECT_NE(a, StaticTableModel(2, {Transformation::Inverse}));
  const StaticTableModel with_nan = table(2, {1}, {{std::nan(""), 0}});
  EXPECT_NE(with_nan, with_nan);
  const std::unique_ptr<ScalarModel> copy(a.clone());
  EXPECT_EQ(copy->type(), ScalarModel::StaticTable);
  EXPECT_TRUE(copy->equal(&a));
  EXPECT_FALSE(copy->empty());
  EXPECT_TRUE(StaticTableModel(2).empty());
  EXPECT_FALSE(a.is_constant());
}

}  // namespace
}  // namespace korvantix
