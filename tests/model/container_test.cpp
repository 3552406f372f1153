#include <korvantix/container_evaluator.hpp>

#include <cmath>
#include <cstdint>
#include <memory>
#include <set>
#include <tuple>
#include <utility>

#include "model/model_test_support.hpp"
#include "model/node_arena.hpp"
#include "model/storage.hpp"

namespace korvantix {
namespace {

using namespace testing;
using Bands = std::vector<std::pair<double, double>>;
const char* kSubscript = "invalid vector subscript";

// The lower edges (a sample's frequency) of what an iterator range visits, in order.
template <class It>
Freqs froms(It first, It last) {
  Freqs f;
  for (; first != last; ++first)
    f.push_back(first->from());
  return f;
}

Freqs samples_of(const SMatrixContainer& c) {
  return froms(c.begin_samples(), c.end_samples());
}

std::string duplicate(const std::string& f) {
  return "S-matrix sample at " + f + " Hz is already available";
}

std::string overlap(const std::string& band, const std::string& existing) {
  return "S-matrix model at " + band + " Hz overlaps with an existing model at " + existing + " Hz";
}

// Ports P1, P2; port datum Zpi[0]; one property per port and one global; an asymmetric sample
// and an asymmetric model.
SMatrixContainer two_ports() {
  SMatrixContainer c(2, {{"Zpi", 0}});
  c.name(0) = "P1";
  c.name(1) = "P2";
  c.add_global_property("g", "global");
  c.add_port_property(0, "k", "first");
  c.add_port_property(1, "k", "second");
  c.add(make_sample(2, 1e9, 1.0, {{"Zpi", 0}}));  // S = 1 2 3 4, Zref = 50 51, Zpi[0] = 10
  SMatrixModel m(2, 2e9, 3e9, {{"Zpi", 0}});
  const PolynomialModel s01(C(5, 0)), s10(C(6, 0));
  m.set(0, 1, &s01);
  m.set(1, 0, &s10);
  c.add(m);
  return c;
}

TEST(Container, SamplesIterateAscendingAndDuplicatesAreRefused) {
  SMatrixContainer c = samples_at({3e9, 1e9, 5e9, 2e9, 4e9, 0.0});
  EXPECT_EQ(samples_of(c), (Freqs{0.0, 1e9, 2e9, 3e9, 4e9, 5e9}));
  EXPECT_EQ(froms(c.rbegin_samples(), c.rend_samples()), (Freqs{5e9, 4e9, 3e9, 2e9, 1e9, 0.0}));
  EXPECT_EQ(std::make_pair(c.empty(), c.nbSamples()), std::make_pair(false, std::size_t{6}));

  c = samples_at({1e9, 2e9, 0.0});
  const SMatrixContainer before = c;
  SMatrixContainer n = samples_at({kNaN}), r(1);
  SMatrixSample first = make_sample(1, 1e9, C(0.5, -0.5)), again = make_sample(1, 1e9, C(2, 3));
  r.add(std::move(first));
  // Middle, last and first positions each take a different path through add. A NaN frequency
  // is equivalent to every sample; an empty set takes it.
  expect_throws({{[&] { c.add(SMatrixSample(1, 1e9)); }, duplicate("1e+09")},
                 {[&] { c.add(SMatrixSample(1, 2e9)); }, duplicate("2e+09")},
                 {[&] { c.add(SMatrixSample(1, -0.0)); }, duplicate("-0")},
                 {[&] { c.add(SMatrixSample(1, kNaN)); }, duplicate("nan")},
                 {[&] { n.add(SMatrixSample(1, 1e9)); }, duplicate("1e+09")},
                 {[&] { n.add(SMatrixSample(1, kNaN)); }, duplicate("nan")},
                 {[&] { r.add(std::move(again)); }, duplicate("1e+09")}});
  EXPECT_EQ(c, before);
  c.add(SMatrixSample(1, 1.5e9));
  c.add(SMatrixSample(1, std::nextafter(2e9, 0.0)));
  EXPECT_EQ((std::vector<std::size_t>{c.nbSamples(), n.nbSamples(), r.nbSamples()}),
            (std::vector<std::size_t>{5, 1, 1}));
  // An rvalue is taken over only on success.
  EXPECT_EQ(first.frequency(), -1.0);  // the moved-from state
  EXPECT_EQ((*r.begin_samples())(0, 0), C(0.5, -0.5));
  EXPECT_EQ(again, make_sample(1, 1e9, C(2, 3)));
}

TEST(Container, SampleStoredIsACopyWithItsPolarFormOnDemand) {
  SMatrixContainer c(2);
  SMatrixSample s(2, 1e9);
  s.S() = {C(0, 0), C(-1, 1e-300), C(-1, -0.0), C(3, 4)};
  s.Zref(1) = C(0, -50);
  c.add(s);
  s(1, 1) = C(0, 0);
  const detail::StoredSample& stored = *detail::ContainerStorage::position(c.begin_samples());
  EXPECT_EQ(stored.sample(1, 1), C(3, 4));
  const detail::Polar* polar = stored.polar();
  EXPECT_EQ(stored.polar(), polar);  // computed once, then kept
  // Just below +pi for S(0, 1); the sign of zero picks -pi for S(1, 0); Zref(1) follows the four
  // S entries.
  EXPECT_EQ((Freqs{polar[3].magnitude, polar[3].phase, polar[1].phase, polar[2].phase,
                   polar[0].magnitude, polar[5].magnitude, polar[5].phase}),
            (Freqs{5.0, std::atan2(4.0, 3.0), std::atan2(1e-300, -1.0), -std::atan2(0.0, -1.0), 0.0,
                   50.0, -std::atan2(1.0, 0.0)}));
}

TEST(Container, PortDataMustMatchAndModelsMustNotOverlap) {
  const std::string sample = "Port data of S-sample and S-container must be identical:  sample: ";
  const std::string model = "Port data of S-model and S-container must be identical\n  model:";
  SMatrixContainer plain(2), named(2, {{"Zpi", 1}, {"Gamma", 0}}),
      twice(1, {{"Zpi", 0}, {"Zpi", 0}}), g(1, {{"Gamma", 1}});
  named.add(SMatrixSample(7, 1e9, {{"Zpi", 1}, {"Gamma", 0}}));  // port count is not compared
  g.add(SMatrixModel(1, 1e9, 2e9, {{"Gamma", 1}}));
  SMatrixContainer c(1);
  c.add(SMatrixModel(1, 2e9, 3e9));
  c.add(SMatrixModel(1, 1e9, 2e9));
  c.add(SMatrixModel(1, 5e9, 5e9));
  const SMatrixContainer before = c;
  const std::string lower = "[1e+09 , 2e+09]", upper = "[2e+09 , 3e+09]";
  const Names zpi{{"Zpi", 0}}, both{{"Zpi", 0}, {"Gamma", 0}};
  expect_throws({
      {[&] { plain.add(SMatrixSample(2, 1e9, zpi)); }, sample + "Zpi[0]:  container:"},
      {[&] { named.add(SMatrixSample(2, 1e9, both)); },
       sample + "Gamma[0] Zpi[0]:  container: Gamma[0] Zpi[1]"},
      // A name listed twice can never be matched by a sample, whose keys are unique.
      {[&] { twice.add(SMatrixSample(1, 1e9, zpi)); },
       sample + "Zpi[0]:  container: Zpi[0] Zpi[0]"},
      {[&] { g.add(SMatrixModel(1, 3e9, 4e9, zpi)); }, model + " Zpi[0]\n  container: Gamma[1]"},
      // The port-data check comes before the overlap check.
      {[&] { g.add(SMatrixModel(1, 1e9, 2e9)); }, model + "\n  container: Gamma[1]"},
      // Overlaps name the lowest model overlapped.
      {[&] { c.add(SMatrixModel(1, 2e9, 2e9)); }, overlap("[2e+09 , 2e+09]", lower)},
      {[&] { c.add(SMatrixModel(1, 1.5e9, 2.5e9)); }, overlap("[1.5e+09 , 2.5e+09]", lower)},
      {[&] { c.add(SMatrixModel(1, 0.0, 9e9)); }, overlap("[0 , 9e+09]", lower)},
      {[&] { c.add(SMatrixModel(1, 2.5e9, 4e9)); }, overlap("[2.5e+09 , 4e+09]", upper)},
      {[&] { c.add(SMatrixModel(1, 3e9, 3e9)); }, overlap("[3e+09 , 3e+09]", upper)},
      {[&] { c.add(SMatrixModel(1, 4e9, 5e9)); }, overlap("[4e+09 , 5e+09]", "[5e+09 , 5e+09]")},
  });
  EXPECT_EQ((std::vector<std::size_t>{plain.nbSamples(), twice.nbSamples(), named.nbSamples(),
                                      g.nbModels()}),
            (std::vector<std::size_t>{0, 0, 1, 1}));
  EXPECT_EQ(c, before);
  c.add(SMatrixModel(1, 3e9, 4e9));
  c.add(SMatrixModel(1, 0.0, 0.5e9));
  c.add(SMatrixSample(1, 1.5e9));  // samples may lie inside model bands
  c.add(SMatrixSample(1, 1e9));
  Bands bands;
  for (auto it = c.begin_models(); it != c.end_models(); ++it)
    bands.emplace_back(it->from(), it->to());
  EXPECT_EQ(bands, (Bands{{0.0, 0.5e9}, {1e9, 2e9}, {2e9, 3e9}, {3e9, 4e9}, {5e9, 5e9}}));
  EXPECT_EQ(froms(c.rbegin_models(), c.rend_models()), (Freqs{5e9, 3e9, 2e9, 1e9, 0.0}));
  EXPECT_EQ(c.nbSamples(), 2u);

  // An rvalue is taken over only on success; a refused model is left as it was.
  SMatrixContainer r(1);
  SMatrixModel first = make_model(1, 1e9, 2e9, 0.5), overlapping(1, 1.5e9, 3e9);
  r.add(std::move(first));
  EXPECT_THROW_MSG(r.add(std::move(overlapping)), RE,
                   overlap("[1.5e+09 , 3e+09]", "[1e+09 , 2e+09]"));
  EXPECT_EQ(std::make_tuple(first.nbPorts(), overlapping.nbPorts(), overlapping.S().size(),
                            r.nbModels(), (*r.begin_models())(1.5e9, 0, 0)),
            std::make_tuple(0ul, 1ul, 1ul, 1ul, C(0.5, 0)));
}

TEST(Container, PropertiesAndTheGlobalIndex) {
  const SMatrixContainer fresh(3);
  EXPECT_EQ(fresh.type(), SMatrixEvaluator::MIXED);
  for (std::size_t i = 0; i <= 3; ++i)
    EXPECT_TRUE(fresh.get_port_properties(i).empty());
  EXPECT_EQ(&fresh.get_port_properties(3), &fresh.get_global_properties());
  EXPECT_TRUE(fresh.empty() && fresh.nbSamples() + fresh.nbModels() == 0);
  EXPECT_EQ((Flags{SMatrixContainer::is_valid_property("k", ""),
                   SMatrixContainer::is_valid_property("", "x")}),
            (Flags{1, 0}));
  SMatrixContainer c(3);
  c.add_port_property(3, "k", "v");  // index N is the global map
  EXPECT_EQ(c.get_global_property("k"), "v");
  c.add_global_property("k", "w");  // overwrites
  EXPECT_EQ(c.get_port_property(3, "k"), "w");
  c.add_port_property(1, "k", "port");
  EXPECT_EQ(c.get_port_property(1, "k") + c.get_global_property("k"), "portw");
  const SMatrixContainer before = c;
  expect_throws({
      {[&] { fresh.name(3); }, "port index out of bounds"},
      {[&] { c.add_global_property("", "x"); }, "invalid property key=<>, val=<x>"},
      {[&] { c.add_port_property(9, "", "v"); }, "invalid property key=<>, val=<v>"},  // key first
      {[&] { c.get_port_property(0, "k"); }, "property <k> for port <0> does not exist"},
      {[&] { c.get_global_property("x"); }, "global property <x> does not exist"},
      {[&] { c.clear_global_property("x"); }, "global property <x> does not exist"},
      {[&] { c.clear_port_property(2, "k"); }, "property <k> for port <2> does not exist"},
  });
  expect_throws<std::out_of_range>({{[&] { fresh.get_port_properties(4); }, kSubscript},
                                    {[&] { c.add_port_property(4, "k", "v"); }, kSubscript},
                                    {[&] { c.get_port_property(4, "k"); }, kSubscript},
                                    {[&] { c.clear_port_property(4, "k"); }, kSubscript},
                                    {[&] { c.clear_port_properties(4); }, kSubscript}});
  EXPECT_EQ(c, before);
  c.clear_port_property(1, "k");
  c.clear_port_property(3, "k");
  EXPECT_EQ(c, fresh);

  // clear_properties empties every map, the global one included, and keeps the rest; clear
  // empties everything but the port names and port-data names.
  SMatrixContainer d = two_ports(), expected = d, cleared = d;
  expected.clear_global_property("g");
  expected.clear_port_property(0, "k");
  expected.clear_port_property(1, "k");
  d.clear_properties();
  EXPECT_EQ(d, expected);
  expected.clear_samples();
  expected.clear_models();
  cleared.clear();
  EXPECT_EQ(cleared, expected);
  EXPECT_EQ(cleared.port_data_names(), (Names{{"Zpi", 0}}));
}

TEST(Container, ResetKeepsThePropertyMapsAtTheirIndices) {
  SMatrixContainer r(2);
  r.name(1) = "out";
  r.add_global_property("g", "global");
  r.add_port_property(0, "p", "port0");
  r.add(SMatrixSample(2, 1e9));
  r.add(SMatrixModel(2, 2e9, 3e9));
  r.reset(3, {{"Zpi", 2}, {"Gamma", 0}, {"Zpi", 2}});
  EXPECT_EQ(r.nbPorts(), 3u);
  EXPECT_EQ(r.name(0) + r.name(1) + r.name(2), "port_0port_1port_2");
  EXPECT_TRUE(r.empty());
  EXPECT_EQ(r.port_data_names(), (Names{{"Gamma", 0}, {"Zpi", 2}, {"Zpi", 2}}));  // repeats kept
  EXPECT_EQ(r.get_port_property(0, "p"), "port0");
  // The former global map (index 2) is now port 2's map, and the new global map is empty.
  EXPECT_EQ(r.get_port_property(2, "g"), "global");
  EXPECT_TRUE(r.get_global_properties().empty());
  r.add_port_property(1, "q", "port1");
  r.reset(1, {});
  EXPECT_EQ(r.get_global_property("q"), "port1");  // port 1's map is now the global one
  EXPECT_EQ(r.get_port_property(0, "p"), "port0");
  EXPECT_THROW_MSG(r.name(1), RE, "port index out of bounds");
  EXPECT_THROW_MSG(r.get_port_properties(2), std::out_of_range, kSubscript);
}

TEST(Container, EqualityCopiesAndMoves) {
  SMatrixContainer a = two_ports();
  const SMatrixContainer original = a;
  SMatrixContainer property = a, name = a, sample = a, model = a;
  property.add_global_property("g", "2");
  EXPECT_THROW_MSG(SMatrixEvaluator::equal(&a, &property), RE,
                   "ModelInterface::equal not supported for MIXED");
  name.name(1) = "x";
  sample.clear_samples();
  sample.add(make_sample(2, 1e9, 0.0, {{"Zpi", 0}}));  // differs from two_ports' sample
  model.clear_models();
  model.add(SMatrixModel(2, 2e9, 3.5e9, {{"Zpi", 0}}));
  // Every field takes part, except the port-data-name list by itself.
  EXPECT_EQ((Flags{a == property, a == name, a == sample, a == model,
                   SMatrixContainer(1) == SMatrixContainer(2),
                   SMatrixContainer(1, {{"Zpi", 0}}) == SMatrixContainer(1),
                   SMatrixContainer() == SMatrixContainer(0)}),
            (Flags{0, 0, 0, 0, 0, 1, 1}));

  const std::unique_ptr<SMatrixEvaluator> clone(a.clone());
  EXPECT_EQ(static_cast<const SMatrixContainer&>(*clone), original);
  SMatrixContainer b(std::move(a)), c(5);
  EXPECT_EQ(b, original);
  EXPECT_EQ(b.begin_samples()->frequency(), 1e9);
  EXPECT_EQ(a, SMatrixContainer(0));
  EXPECT_TRUE(a.port_data_names().empty() && a.get_global_properties().empty());
  c = std::move(b);
  EXPECT_EQ(c, original);
  EXPECT_EQ(b, SMatrixContainer(0));
  a = c;
  a.add(SMatrixSample(2, 5e9, {{"Zpi", 0}}));
  EXPECT_EQ(c, original);
}

TEST(Container, EveryContainerOwnsTheMemoryOfItsSamples) {
  // Samples live in blocks owned by their container: copies, the targets of moves and
  // moved-from containers must each stay usable when the others change or go away. Enough
  // samples to span several blocks; the sanitizer build catches any shared or freed block.
  Freqs many;
  for (int k = 300; k > 0; --k)
    many.push_back(k);
  auto copy = std::make_unique<SMatrixContainer>(samples_at(many));
  SMatrixContainer kept = *copy, assigned = samples_at({1001, 1002});
  assigned = *copy;
  copy.reset();
  EXPECT_EQ(kept, assigned);
  EXPECT_EQ(std::make_pair(kept.nbSamples(), samples_of(kept).back()),
            std::make_pair(300ul, 300.0));
  SMatrixContainer moved(std::move(kept));
  for (int k = 0; k < 100; ++k) {
    kept.add(SMatrixSample(0, 500.0 + k));
    moved.add(SMatrixSample(1, 500.0 + k));
  }
  EXPECT_EQ(std::make_pair(kept.nbSamples(), moved.nbSamples()), std::make_pair(100ul, 400ul));
  moved.clear_samples();
  moved.add(SMatrixSample(1, 1.0));
  assigned = std::move(moved);
  moved.add(SMatrixSample(0, 2.0));
  EXPECT_EQ(std::make_pair(samples_of(assigned), samples_of(moved)),
            std::make_pair(Freqs{1.0}, Freqs{2.0}));
}

struct Node {
  double payload[5];
};

TEST(NodeArena, NodesAreDistinctAlignedRecycledAndNotShared) {
  detail::ArenaAllocator<Node> allocator;
  std::vector<Node*> nodes;
  // Several blocks' worth: every node distinct and aligned for any type.
  for (int k = 0; k < 5000; ++k) {
    nodes.push_back(allocator.allocate(1));
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(nodes.back()) % alignof(std::max_align_t), 0u);
    nodes.back()->payload[4] = k;
  }
  EXPECT_EQ(std::set<Node*>(nodes.begin(), nodes.end()).size(), nodes.size());
  for (int k = 0; k < 5000; ++k)
    EXPECT_EQ(nodes[k]->payload[4], k);
  allocator.deallocate(nodes[7], 1);
  EXPECT_EQ(allocator.allocate(1), nodes[7]);
  // Arrays and nodes of another size come from the global heap and go back there.
  allocator.deallocate(allocator.allocate(3), 3);
  detail::ArenaAllocator<char> bytes(allocator);
  bytes.deallocate(bytes.allocate(1), 1);
  for (Node* node : nodes)
    allocator.deallocate(node, 1);
  // Copied containers get their own arena.
  const detail::ArenaAllocator<Node> a, shared(a);
  const detail::ArenaAllocator<double> rebound(a);
  EXPECT_EQ((Flags{shared == a, rebound == a, a.select_on_container_copy_construction() == a,
                   detail::ArenaAllocator<Node>() == a}),
            (Flags{1, 1, 0, 0}));
}

TEST(ContainerPermute, SwapsPortsEverywhere) {
  using Ports = std::vector<std::string>;
  const SMatrixContainer source = two_ports(), copy = source;
  const SMatrixContainer swapped = source.permute(Ports{"P2", "P1"});
  EXPECT_EQ(source, copy);
  EXPECT_EQ(swapped.name(0) + swapped.name(1) + swapped.get_port_property(0, "k") +
                swapped.get_port_property(1, "k") + swapped.get_global_property("g"),
            "P2P1secondfirstglobal");
  EXPECT_EQ(swapped.port_data_names(), (Names{{"Zpi", 1}}));
  const SMatrixSample& s = *swapped.begin_samples();
  EXPECT_EQ(s.S(), (Values{{4, 0}, {3, 0}, {2, 0}, {1, 0}}));
  EXPECT_EQ((Values{s.Zref(0), s.Zref(1), s({"Zpi", 1}), swapped(2.5e9, 0, 1, REAL_IMAG),
                    swapped(2.5e9, 1, 0, REAL_IMAG)}),
            (Values{{51, 0}, {50, 0}, {10, 0}, {6, 0}, {5, 0}}));
  EXPECT_EQ(swapped.permute(Ports{"P1", "P2"}), source);
  EXPECT_EQ(source.permute(Ports{"P1", "P2"}), source);

  // Neither a port datum of a port the container lacks nor a sample with more ports than the
  // container can be remapped.
  SMatrixContainer far(2, {{"Zpi", 5}}), odd(2);
  odd.add(SMatrixSample(3, 1e9));
  const Ports three{"P1", "P2", "P3"}, wrong{"P1", "P3"}, swap{"port_1", "port_0"};
  expect_throws({
      {[&] { source.permute(three); }, "expected 2 port names, found 3"},
      {[&] { source.permute(wrong); }, "port name list does not contain port name <P2>"},
      {[&] { far.permute(swap); }, "port index out of bounds"},
      {[&] { odd.permute(swap); }, "port index out of bounds"},
  });

  // A shared name lands on one port; the last source entry wins.
  SMatrixContainer shared(2);
  shared.name(0) = shared.name(1) = "A";
  shared.add(make_sample(2, 1e9, 1.0));
  const SMatrixContainer merged = shared.permute(Ports{"A", "B"});
  EXPECT_EQ(merged.name(0) + merged.name(1), "Aport_1");
  EXPECT_EQ((*merged.begin_samples())(0, 0), C(4, 0));
}

TEST(ContainerEvaluator, AnswersFromTheEvaluatedList) {
  SMatrixContainer c(2);
  for (int k = 1; k <= 3; ++k) {
    SMatrixSample s(2, k * 1e9);
    s.S() = {C(k, 0), C(0, k), C(0, -k), C(-k, k)};
    s.Zref() = {C(50, k), C(25, 0)};
    c.add(s);
  }
  const SMatrixContainer source = c;
  const Freqs list{2.5e9, 1e9, 1.5e9, 2.5e9, 3e9}, beyond{1e9, 4e9};
  const SMatrixContainerEvaluator e(c, list, 2), empty(source, {});
  c.clear();  // the evaluator keeps its own results
  EXPECT_EQ(std::make_tuple(e.type(), e.nbPorts(), e.frequencies(), e.from(), e.to()),
            std::make_tuple(SMatrixEvaluator::MIXED, 2ul, list, 1e9, 3e9));
  EXPECT_EQ((Flags{e.is_symmetric(), empty.is_symmetric(), e.contains(3e9), e.contains(2e9)}),
            (Flags{0, 1, 1, 0}));
  ASSERT_EQ(e.samples().size(), list.size());
  Values zref, s10;
  for (std::size_t k = 0; k < list.size(); ++k) {
    EXPECT_EQ(e.samples()[k], source.evaluate(list[k], MAG_PHASE));
    zref.push_back(source.Zref(list[k], 0, MAG_PHASE));
    s10.push_back(source(list[k], 1, 0, MAG_PHASE));
  }
  EXPECT_EQ(std::make_pair(e.Zref(0), e(1, 0)), std::make_pair(zref, s10));
  // MAG_PHASE results whatever type is asked for.
  EXPECT_EQ(e.evaluate(1.5e9, REAL_IMAG), source.evaluate(1.5e9, MAG_PHASE));
  EXPECT_NE(e.evaluate(1.5e9, REAL_IMAG), source.evaluate(1.5e9, REAL_IMAG));
  EXPECT_EQ(&e.sample(2.5e9), &e.samples()[0]);  // a repeated frequency: its first position
  const std::unique_ptr<SMatrixEvaluator> copy(e.clone());
  EXPECT_EQ(copy->evaluate(3e9, MAG_PHASE), e.sample(3e9));
  expect_throws<std::out_of_range>(
      {{[&] { e.evaluate(2e9, MAG_PHASE); }, "2e+09 Hz is not an evaluated frequency"},
       {[&] { e.sample(kNaN); }, "nan Hz is not an evaluated frequency"}});
  expect_throws({{[&] { e.Zref(2); }, "port index out of bounds"},
                 {[&] { e(0, 2); }, "port index out of bounds"},
                 {[&] { empty.from(); }, "empty container"},
                 {[&] { empty.to(); }, "empty container"},
                 {[&] { SMatrixContainerEvaluator(source, beyond); },
                  "4e+09 Hz does not belong to [1e+09, 3e+09] Hz"}});
}

}  // namespace
}  // namespace korvantix
