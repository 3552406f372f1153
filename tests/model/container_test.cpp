#include <korvantix/container.hpp>
#include <korvantix/scalar.hpp>

#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <limits>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "model/storage.hpp"
#include "test_support.hpp"

namespace korvantix {
namespace {

using C = std::complex<double>;
const double kNaN = std::numeric_limits<double>::quiet_NaN();

std::vector<double> sample_frequencies_of(const SMatrixContainer& c) {
  std::vector<double> f;
  for (auto it = c.begin_samples(); it != c.end_samples(); ++it)
    f.push_back(it->frequency());
  return f;
}

std::vector<std::pair<double, double>> bands_of(const SMatrixContainer& c) {
  std::vector<std::pair<double, double>> bands;
  for (auto it = c.begin_models(); it != c.end_models(); ++it)
    bands.emplace_back(it->from(), it->to());
  return bands;
}

TEST(ContainerConstruction, DefaultPortsAndEmptyMaps) {
  const SMatrixContainer c(3);
  EXPECT_EQ(c.type(), SMatrixEvaluator::MIXED);
  EXPECT_EQ(c.name(0), "port_0");
  EXPECT_EQ(c.name(2), "port_2");
  EXPECT_THROW_MSG(c.name(3), std::runtime_error, "port index out of bounds");
  for (std::size_t i = 0; i <= 3; ++i)
    EXPECT_TRUE(c.get_port_properties(i).empty());
  EXPECT_EQ(&c.get_port_properties(3), &c.get_global_properties());
  EXPECT_THROW_MSG(c.get_port_properties(4), std::out_of_range, "invalid vector subscript");
  EXPECT_TRUE(c.empty());
  EXPECT_EQ(c.nbSamples(), 0u);
  EXPECT_EQ(c.nbModels(), 0u);

  const SMatrixContainer d(2, {{"Zpi", 1}, {"Gamma", 0}, {"Zpi", 1}});
  const std::vector<PortDataName> sorted = {{"Gamma", 0}, {"Zpi", 1}, {"Zpi", 1}};
  EXPECT_EQ(d.port_data_names(), sorted);  // duplicates are kept

  EXPECT_EQ(SMatrixContainer(), SMatrixContainer(0));
}

TEST(ContainerSamples, AnyInsertionOrderIteratesAscending) {
  SMatrixContainer c(1);
  for (double f : {3e9, 1e9, 5e9, 2e9, 4e9, 0.0})
    c.add(SMatrixSample(1, f));
  EXPECT_EQ(sample_frequencies_of(c), (std::vector<double>{0.0, 1e9, 2e9, 3e9, 4e9, 5e9}));
  std::vector<double> reversed;
  for (auto it = c.rbegin_samples(); it != c.rend_samples(); ++it)
    reversed.push_back(it->frequency());
  EXPECT_EQ(reversed, (std::vector<double>{5e9, 4e9, 3e9, 2e9, 1e9, 0.0}));
  EXPECT_FALSE(c.empty());
  EXPECT_EQ(c.nbSamples(), 6u);
}

TEST(ContainerSamples, DuplicateFrequenciesAreRefused) {
  SMatrixContainer c(1);
  c.add(SMatrixSample(1, 1e9));
  c.add(SMatrixSample(1, 2e9));
  c.add(SMatrixSample(1, 0.0));
  const SMatrixContainer before = c;
  // Middle, last and first positions each take a different path through add.
  EXPECT_THROW_MSG(c.add(SMatrixSample(1, 1e9)), std::runtime_error,
                   "S-matrix sample at 1e+09 Hz is already available");
  EXPECT_THROW_MSG(c.add(SMatrixSample(1, 2e9)), std::runtime_error,
                   "S-matrix sample at 2e+09 Hz is already available");
  EXPECT_THROW_MSG(c.add(SMatrixSample(1, -0.0)), std::runtime_error,
                   "S-matrix sample at -0 Hz is already available");
  EXPECT_THROW_MSG(c.add(SMatrixSample(1, kNaN)), std::runtime_error,
                   "S-matrix sample at nan Hz is already available");
  EXPECT_EQ(c, before);
  c.add(SMatrixSample(1, 1.5e9));
  c.add(SMatrixSample(1, std::nextafter(2e9, 0.0)));
  EXPECT_EQ(c.nbSamples(), 5u);
}

TEST(ContainerSamples, NaNFrequencyIsEquivalentToEverySample) {
  SMatrixContainer c(1);
  c.add(SMatrixSample(1, kNaN));  // an empty set takes it
  EXPECT_THROW_MSG(c.add(SMatrixSample(1, 1e9)), std::runtime_error,
                   "S-matrix sample at 1e+09 Hz is already available");
  EXPECT_THROW_MSG(c.add(SMatrixSample(1, kNaN)), std::runtime_error,
                   "S-matrix sample at nan Hz is already available");
  EXPECT_EQ(c.nbSamples(), 1u);
}

TEST(ContainerSamples, SampleStoredIsACopyWithItsPolarFormOnDemand) {
  SMatrixContainer c(2);
  SMatrixSample s(2, 1e9);
  s(0, 1) = C(-1, 1e-300);
  s(1, 0) = C(-1, -0.0);
  s(1, 1) = C(3, 4);
  s.Zref(1) = C(0, -50);
  c.add(s);
  s(1, 1) = C(0, 0);
  const detail::StoredSample& stored = *detail::ContainerStorage::position(c.begin_samples());
  EXPECT_EQ(stored.sample(1, 1), C(3, 4));
  const detail::Polar* polar = stored.polar();
  EXPECT_EQ(stored.polar(), polar);  // computed once, then kept
  EXPECT_EQ(polar[3].magnitude, 5.0);
  EXPECT_EQ(polar[3].phase, std::atan2(4.0, 3.0));
  EXPECT_EQ(polar[1].phase, std::atan2(1e-300, -1.0));  // just below +pi
  EXPECT_EQ(polar[2].phase, -std::atan2(0.0, -1.0));    // the sign of zero picks -pi
  EXPECT_EQ(polar[0].magnitude, 0.0);
  EXPECT_EQ(polar[5].magnitude, 50.0);  // Zref(1) follows the four S entries
  EXPECT_EQ(polar[5].phase, -std::atan2(1.0, 0.0));
}

TEST(ContainerSamples, PortDataMustMatchTheNames) {
  SMatrixContainer plain(2);
  EXPECT_THROW_MSG(plain.add(SMatrixSample(2, 1e9, {{"Zpi", 0}})), std::runtime_error,
                   "Port data of S-sample and S-container must be identical:  sample: Zpi[0]:  "
                   "container:");
  SMatrixContainer named(2, {{"Zpi", 1}, {"Gamma", 0}});
  EXPECT_THROW_MSG(named.add(SMatrixSample(2, 1e9, {{"Zpi", 0}, {"Gamma", 0}})), std::runtime_error,
                   "Port data of S-sample and S-container must be identical:  sample: Gamma[0] "
                   "Zpi[0]:  container: Gamma[0] Zpi[1]");
  named.add(SMatrixSample(7, 1e9, {{"Zpi", 1}, {"Gamma", 0}}));  // port count is not compared
  // A name listed twice can never be matched by a sample, whose keys are unique.
  SMatrixContainer twice(1, {{"Zpi", 0}, {"Zpi", 0}});
  EXPECT_THROW_MSG(twice.add(SMatrixSample(1, 1e9, {{"Zpi", 0}})), std::runtime_error,
                   "Port data of S-sample and S-container must be identical:  sample: Zpi[0]:  "
                   "container: Zpi[0] Zpi[0]");
  EXPECT_EQ(plain.nbSamples(), 0u);
  EXPECT_EQ(named.nbSamples(), 1u);
}

TEST(ContainerModels, OverlapsNameTheLowestOverlappedModel) {
  SMatrixContainer c(1);
  c.add(SMatrixModel(1, 2e9, 3e9));
  c.add(SMatrixModel(1, 1e9, 2e9));
  c.add(SMatrixModel(1, 5e9, 5e9));
  const SMatrixContainer before = c;
  const std::string lower = "overlaps with an existing model at [1e+09 , 2e+09] Hz";
  const std::string upper = "overlaps with an existing model at [2e+09 , 3e+09] Hz";
  EXPECT_THROW_MSG(c.add(SMatrixModel(1, 2e9, 2e9)), std::runtime_error,
                   "S-matrix model at [2e+09 , 2e+09] Hz " + lower);
  EXPECT_THROW_MSG(c.add(SMatrixModel(1, 1.5e9, 2.5e9)), std::runtime_error,
                   "S-matrix model at [1.5e+09 , 2.5e+09] Hz " + lower);
  EXPECT_THROW_MSG(c.add(SMatrixModel(1, 0.0, 9e9)), std::runtime_error,
                   "S-matrix model at [0 , 9e+09] Hz " + lower);
  EXPECT_THROW_MSG(c.add(SMatrixModel(1, 2.5e9, 4e9)), std::runtime_error,
                   "S-matrix model at [2.5e+09 , 4e+09] Hz " + upper);
  EXPECT_THROW_MSG(c.add(SMatrixModel(1, 3e9, 3e9)), std::runtime_error,
                   "S-matrix model at [3e+09 , 3e+09] Hz " + upper);
  EXPECT_THROW_MSG(c.add(SMatrixModel(1, 4e9, 5e9)), std::runtime_error,
                   "S-matrix model at [4e+09 , 5e+09] Hz overlaps with an existing model at "
                   "[5e+09 , 5e+09] Hz");
  EXPECT_EQ(c, before);
  c.add(SMatrixModel(1, 3e9, 4e9));
  c.add(SMatrixModel(1, 0.0, 0.5e9));
  const std::vector<std::pair<double, double>> expected = {
      {0.0, 0.5e9}, {1e9, 2e9}, {2e9, 3e9}, {3e9, 4e9}, {5e9, 5e9}};
  EXPECT_EQ(bands_of(c), expected);
  std::vector<double> reversed;
  for (auto it = c.rbegin_models(); it != c.rend_models(); ++it)
    reversed.push_back(it->from());
  EXPECT_EQ(reversed, (std::vector<double>{5e9, 3e9, 2e9, 1e9, 0.0}));
}

TEST(ContainerModels, PortDataMustMatchTheNames) {
  SMatrixContainer c(1, {{"Gamma", 1}});
  EXPECT_THROW_MSG(c.add(SMatrixModel(1, 1e9, 2e9, {{"Zpi", 0}})), std::runtime_error,
                   "Port data of S-model and S-container must be identical\n  model: Zpi[0]\n  "
                   "container: Gamma[1]");
  EXPECT_THROW_MSG(c.add(SMatrixModel(1, 1e9, 2e9)), std::runtime_error,
                   "Port data of S-model and S-container must be identical\n  model:\n  "
                   "container: Gamma[1]");
  c.add(SMatrixModel(1, 1e9, 2e9, {{"Gamma", 1}}));
  // The port-data check comes before the overlap check.
  EXPECT_THROW_MSG(c.add(SMatrixModel(1, 1e9, 2e9)), std::runtime_error,
                   "Port data of S-model and S-container must be identical\n  model:\n  "
                   "container: Gamma[1]");
  EXPECT_EQ(c.nbModels(), 1u);
}

TEST(ContainerModels, SamplesMayLieInsideModelBands) {
  SMatrixContainer c(1);
  c.add(SMatrixModel(1, 1e9, 2e9));
  c.add(SMatrixSample(1, 1.5e9));
  c.add(SMatrixSample(1, 1e9));
  EXPECT_EQ(c.nbSamples(), 2u);
  EXPECT_EQ(c.nbModels(), 1u);
}

TEST(ContainerProperties, MessagesAndTheGlobalIndex) {
  SMatrixContainer c(3);
  EXPECT_TRUE(SMatrixContainer::is_valid_property("k", ""));
  EXPECT_FALSE(SMatrixContainer::is_valid_property("", "x"));
  EXPECT_THROW_MSG(c.add_global_property("", "x"), std::runtime_error,
                   "invalid property key=<>, val=<x>");
  // The key is checked before the index.
  EXPECT_THROW_MSG(c.add_port_property(9, "", "v"), std::runtime_error,
                   "invalid property key=<>, val=<v>");
  EXPECT_THROW_MSG(c.add_port_property(4, "k", "v"), std::out_of_range, "invalid vector subscript");
  c.add_port_property(3, "k", "v");  // index N is the global map
  EXPECT_EQ(c.get_global_property("k"), "v");
  c.add_global_property("k", "w");  // overwrites
  EXPECT_EQ(c.get_port_property(3, "k"), "w");
  c.add_port_property(1, "k", "port");
  EXPECT_EQ(c.get_port_property(1, "k"), "port");
  EXPECT_EQ(c.get_global_property("k"), "w");

  const SMatrixContainer before = c;
  EXPECT_THROW_MSG(c.get_port_property(0, "k"), std::runtime_error,
                   "property <k> for port <0> does not exist");
  EXPECT_THROW_MSG(c.get_port_property(4, "k"), std::out_of_range, "invalid vector subscript");
  EXPECT_THROW_MSG(c.get_global_property("x"), std::runtime_error,
                   "global property <x> does not exist");
  EXPECT_THROW_MSG(c.clear_global_property("x"), std::runtime_error,
                   "global property <x> does not exist");
  EXPECT_THROW_MSG(c.clear_port_property(2, "k"), std::runtime_error,
                   "property <k> for port <2> does not exist");
  EXPECT_THROW_MSG(c.clear_port_property(4, "k"), std::out_of_range, "invalid vector subscript");
  EXPECT_THROW_MSG(c.clear_port_properties(4), std::out_of_range, "invalid vector subscript");
  EXPECT_EQ(c, before);

  c.clear_port_property(1, "k");
  EXPECT_TRUE(c.get_port_properties(1).empty());
  c.clear_port_property(3, "k");
  EXPECT_TRUE(c.get_global_properties().empty());
}

TEST(ContainerClear, KeepsPortNamesAndPortDataNames) {
  SMatrixContainer c(2, {{"Zpi", 0}});
  c.name(0) = "in";
  c.add_global_property("g", "1");
  c.add_port_property(1, "p", "2");
  c.add(SMatrixSample(2, 1e9, {{"Zpi", 0}}));
  c.add(SMatrixModel(2, 2e9, 3e9, {{"Zpi", 0}}));
  c.clear();
  EXPECT_TRUE(c.empty());
  EXPECT_EQ(c.name(0), "in");
  EXPECT_EQ(c.port_data_names(), (std::vector<PortDataName>{{"Zpi", 0}}));
  for (std::size_t i = 0; i <= 2; ++i)
    EXPECT_TRUE(c.get_port_properties(i).empty());
}

TEST(ContainerReset, KeepsPropertyMapsAtTheirIndices) {
  SMatrixContainer c(2);
  c.name(1) = "out";
  c.add_global_property("g", "global");
  c.add_port_property(0, "p", "port0");
  c.add(SMatrixSample(2, 1e9));
  c.add(SMatrixModel(2, 2e9, 3e9));

  c.reset(3, {{"Zpi", 2}, {"Gamma", 0}});
  EXPECT_EQ(c.nbPorts(), 3u);
  EXPECT_EQ(c.name(1), "port_1");
  EXPECT_EQ(c.name(2), "port_2");
  EXPECT_TRUE(c.empty());
  EXPECT_EQ(c.port_data_names(), (std::vector<PortDataName>{{"Gamma", 0}, {"Zpi", 2}}));
  EXPECT_EQ(c.get_port_property(0, "p"), "port0");
  // The former global map (index 2) is now port 2's map, and the new global map is empty.
  EXPECT_EQ(c.get_port_property(2, "g"), "global");
  EXPECT_TRUE(c.get_global_properties().empty());

  c.add_port_property(1, "q", "port1");
  c.reset(1, {});
  EXPECT_EQ(c.get_global_property("q"), "port1");  // port 1's map is now the global one
  EXPECT_EQ(c.get_port_property(0, "p"), "port0");
  EXPECT_THROW_MSG(c.name(1), std::runtime_error, "port index out of bounds");
  EXPECT_THROW_MSG(c.get_port_properties(2), std::out_of_range, "invalid vector subscript");
}

TEST(ContainerEquality, EveryFieldTakesPart) {
  SMatrixContainer a(2, {{"Zpi", 0}});
  a.add_global_property("g", "1");
  a.add(SMatrixSample(2, 1e9, {{"Zpi", 0}}));
  a.add(SMatrixModel(2, 2e9, 3e9, {{"Zpi", 0}}));
  SMatrixContainer b = a;
  EXPECT_EQ(a, b);

  b.add_global_property("g", "2");
  EXPECT_NE(a, b);
  EXPECT_THROW_MSG(SMatrixEvaluator::equal(&a, &b), std::runtime_error,
                   "ModelInterface::equal not supported for MIXED");

  b = a;
  b.name(1) = "x";
  EXPECT_NE(a, b);

  b = a;
  SMatrixSample s(2, 1e9, {{"Zpi", 0}});
  s(0, 0) = C(0, 1);
  b.clear_samples();
  b.add(s);
  EXPECT_NE(a, b);

  b = a;
  b.clear_models();
  b.add(SMatrixModel(2, 2e9, 3.5e9, {{"Zpi", 0}}));
  EXPECT_NE(a, b);

  // The port-data-name list is not compared by itself.
  EXPECT_EQ(SMatrixContainer(1, {{"Zpi", 0}}), SMatrixContainer(1));
  EXPECT_NE(SMatrixContainer(1), SMatrixContainer(2));
}

TEST(ContainerCopy, DeepCopyCloneAndMove) {
  SMatrixContainer a(2, {{"Zpi", 0}});
  a.add_port_property(1, "p", "v");
  a.add(SMatrixSample(2, 1e9, {{"Zpi", 0}}));
  a.add(SMatrixModel(2, 2e9, 3e9, {{"Zpi", 0}}));
  const SMatrixContainer original = a;

  std::unique_ptr<SMatrixEvaluator> clone(a.clone());
  EXPECT_EQ(static_cast<const SMatrixContainer&>(*clone), original);

  SMatrixContainer b(std::move(a));
  EXPECT_EQ(b, original);
  EXPECT_EQ(b.begin_samples()->frequency(), 1e9);
  EXPECT_EQ(a, SMatrixContainer(0));
  EXPECT_TRUE(a.port_data_names().empty());
  EXPECT_TRUE(a.get_global_properties().empty());

  SMatrixContainer c(5);
  c = std::move(b);
  EXPECT_EQ(c, original);
  EXPECT_EQ(b, SMatrixContainer(0));
  a = c;
  a.add(SMatrixSample(2, 5e9, {{"Zpi", 0}}));
  EXPECT_EQ(c, original);
}

TEST(ContainerCopy, EveryContainerOwnsTheMemoryOfItsSamples) {
  // Samples live in blocks owned by their container: copies, the targets of moves and
  // moved-from containers must each stay usable when the others change or go away. Enough
  // samples to span several blocks; the sanitizer build catches any shared or freed block.
  auto filled = [](std::size_t n, double offset) {
    SMatrixContainer c(1);
    for (std::size_t k = 0; k < n; ++k)
      c.add(SMatrixSample(1, offset + static_cast<double>(n - k)));
    return c;
  };
  auto copy = std::make_unique<SMatrixContainer>(filled(300, 0.0));
  SMatrixContainer kept = *copy;
  SMatrixContainer assigned = filled(5, 1000.0);
  assigned = *copy;
  copy.reset();
  EXPECT_EQ(kept, assigned);
  EXPECT_EQ(kept.nbSamples(), 300u);
  EXPECT_EQ(sample_frequencies_of(kept).back(), 300.0);

  SMatrixContainer moved(std::move(kept));
  for (int k = 0; k < 100; ++k) {
    kept.add(SMatrixSample(0, 500.0 + k));
    moved.add(SMatrixSample(1, 500.0 + k));
  }
  EXPECT_EQ(kept.nbSamples(), 100u);
  EXPECT_EQ(moved.nbSamples(), 400u);

  moved.clear_samples();
  moved.add(SMatrixSample(1, 1.0));
  assigned = std::move(moved);
  EXPECT_EQ(sample_frequencies_of(assigned), std::vector<double>{1.0});
  EXPECT_EQ(moved.nbSamples(), 0u);
  moved.add(SMatrixSample(0, 2.0));
  EXPECT_EQ(sample_frequencies_of(moved), std::vector<double>{2.0});
}
TEST(ContainerSamples, AddingAnRvalueTakesTheSampleOverOnlyOnSuccess) {
  SMatrixContainer c(1);
  SMatrixSample first(1, 1e9);
  first(0, 0) = C(0.5, -0.5);
  c.add(std::move(first));
  EXPECT_EQ(first.frequency(), -1.0);  // taken over: the moved-from state
  EXPECT_EQ(c.begin_samples()->operator()(0, 0), C(0.5, -0.5));

  SMatrixSample duplicate(1, 1e9);
  duplicate(0, 0) = C(2, 3);
  EXPECT_THROW_MSG(c.add(std::move(duplicate)), std::runtime_error,
                   "S-matrix sample at 1e+09 Hz is already available");
  EXPECT_EQ(duplicate.frequency(), 1e9);  // a refused sample is left as it was
  EXPECT_EQ(duplicate(0, 0), C(2, 3));
  EXPECT_EQ(c.nbSamples(), 1u);
}

TEST(ContainerModels, AddingAnRvalueTakesTheModelOverOnlyOnSuccess) {
  SMatrixContainer c(1);
  SMatrixModel first(1, 1e9, 2e9);
  const PolynomialModel half(C(0.5, 0));
  first.set(0, 0, &half);
  c.add(std::move(first));
  EXPECT_EQ(first.nbPorts(), 0u);  // taken over: the moved-from state
  EXPECT_EQ(c.begin_models()->operator()(1.5e9, 0, 0), C(0.5, 0));

  SMatrixModel overlapping(1, 1.5e9, 3e9);
  EXPECT_THROW_MSG(c.add(std::move(overlapping)), std::runtime_error,
                   "S-matrix model at [1.5e+09 , 3e+09] Hz overlaps with an existing model at "
                   "[1e+09 , 2e+09] Hz");
  EXPECT_EQ(overlapping.nbPorts(), 1u);  // a refused model is left as it was
  EXPECT_EQ(overlapping.S().size(), 1u);
  EXPECT_EQ(c.nbModels(), 1u);
}

}  // namespace
}  // namespace korvantix
