#include <korvantix/container.hpp>
#include <korvantix/scalar.hpp>

#include <gtest/gtest.h>

#include <complex>
#include <stdexcept>
#include <string>
#include <vector>

#include "test_support.hpp"

namespace korvantix {
namespace {

using C = std::complex<double>;

// Ports P1, P2; port datum Zpi[0]; one property per port and one global; an asymmetric sample
// and an asymmetric model.
SMatrixContainer two_ports() {
  const std::vector<PortDataName> names{{"Zpi", 0}};
  SMatrixContainer c(2, names);
  c.name(0) = "P1";
  c.name(1) = "P2";
  c.add_global_property("g", "global");
  c.add_port_property(0, "k", "first");
  c.add_port_property(1, "k", "second");
  SMatrixSample s(2, 1e9, names);
  s.S() = {C(1, 0), C(2, 0), C(3, 0), C(4, 0)};
  s.Zref() = {C(50, 0), C(75, 0)};
  s.set({"Zpi", 0}, C(9, 9));
  c.add(s);
  SMatrixModel m(2, 2e9, 3e9, names);
  const PolynomialModel s01(C(5, 0)), s10(C(6, 0));
  m.set(0, 1, &s01);
  m.set(1, 0, &s10);
  c.add(m);
  return c;
}

TEST(ContainerPermute, SwapsPortsEverywhere) {
  const SMatrixContainer source = two_ports();
  const SMatrixContainer copy = source;
  const SMatrixContainer swapped = source.permute(std::vector<std::string>{"P2", "P1"});
  EXPECT_EQ(source, copy);
  EXPECT_EQ(swapped.name(0), "P2");
  EXPECT_EQ(swapped.name(1), "P1");
  EXPECT_EQ(swapped.get_port_property(0, "k"), "second");
  EXPECT_EQ(swapped.get_port_property(1, "k"), "first");
  EXPECT_EQ(swapped.get_global_property("g"), "global");
  EXPECT_EQ(swapped.port_data_names(), (std::vector<PortDataName>{{"Zpi", 1}}));
  const SMatrixSample& s = *swapped.begin_samples();
  EXPECT_EQ(s.S(), (std::vector<C>{C(4, 0), C(3, 0), C(2, 0), C(1, 0)}));
  EXPECT_EQ(s.Zref(), (std::vector<C>{C(75, 0), C(50, 0)}));
  EXPECT_EQ(s({"Zpi", 1}), C(9, 9));
  EXPECT_EQ(swapped(2.5e9, 0, 1, REAL_IMAG), C(6, 0));
  EXPECT_EQ(swapped(2.5e9, 1, 0, REAL_IMAG), C(5, 0));
  EXPECT_EQ(swapped.permute(std::vector<std::string>{"P1", "P2"}), source);
  EXPECT_EQ(source.permute(std::vector<std::string>{"P1", "P2"}), source);
}

TEST(ContainerPermute, Refusals) {
  const SMatrixContainer c = two_ports();
  EXPECT_THROW_MSG(c.permute(std::vector<std::string>{"P1", "P2", "P3"}), std::runtime_error,
                   "expected 2 port names, found 3");
  EXPECT_THROW_MSG(c.permute(std::vector<std::string>{"P1", "P3"}), std::runtime_error,
                   "port name list does not contain port name <P2>");
  // A port datum of a port the container does not have cannot be remapped.
  SMatrixContainer far(2, {{"Zpi", 5}});
  EXPECT_THROW_MSG(far.permute(std::vector<std::string>{"port_1", "port_0"}), std::runtime_error,
                   "port index out of bounds");
  // Neither can a stored sample with more ports than the container.
  SMatrixContainer odd(2);
  odd.add(SMatrixSample(3, 1e9));
  EXPECT_THROW_MSG(odd.permute(std::vector<std::string>{"port_1", "port_0"}), std::runtime_error,
                   "port index out of bounds");
}

TEST(ContainerPermute, SharedNameLandsOnOnePort) {
  SMatrixContainer c(2);
  c.name(0) = "A";
  c.name(1) = "A";
  SMatrixSample s(2, 1e9);
  s.S() = {C(1, 0), C(2, 0), C(3, 0), C(4, 0)};
  c.add(s);
  const SMatrixContainer merged = c.permute(std::vector<std::string>{"A", "B"});
  EXPECT_EQ(merged.name(0), "A");
  EXPECT_EQ(merged.name(1), "port_1");
  EXPECT_EQ((*merged.begin_samples())(0, 0), C(4, 0));  // the last source entry wins
}

}  // namespace
}  // namespace korvantix
