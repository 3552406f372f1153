#pragma once

// Helpers of the kvx-file tests: a container holding every kind of content, a content
// comparison that also covers causality-enforced splines, scratch files and a byte builder for
// hand-made binary files.

#include <korvantix/container.hpp>
#include <korvantix/scalar.hpp>

#include <gtest/gtest.h>

#include <complex>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <iterator>
#include <limits>
#include <string>
#include <vector>

namespace korvantix::test {

using C = std::complex<double>;

inline std::string read_bytes(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

inline void write_bytes(const std::string& path, const std::string& bytes) {
  std::ofstream(path, std::ios::binary | std::ios::trunc) << bytes;
}

/// A fresh path in the test's scratch directory; the file is removed first.
inline std::string scratch(const std::string& name) {
  const std::string path = ::testing::TempDir() + "korvantix_io_" + name;
  std::remove(path.c_str());
  return path;
}

inline std::string data_file(const std::string& name) {
  return std::string(KORVANTIX_TEST_DATA_DIR) + "/" + name;
}

/// Same content, with the spline's own operator== for code 6 (ScalarModel::equal never says
/// equal there) and bit-exact comparison for everything else stored as doubles.
inline bool same_scalar(const ScalarModel& a, const ScalarModel& b) {
  if (a.type() != b.type()) return false;
  if (a.type() == ScalarModel::CausalityEnforcedSparameterSpline) {
    return dynamic_cast<const SparameterSplineModel&>(a) ==
           dynamic_cast<const SparameterSplineModel&>(b);
  }
  return a.equal(&b);
}

inline void expect_same_container(const SMatrixContainer& a, const SMatrixContainer& b) {
  ASSERT_EQ(a.nbPorts(), b.nbPorts());
  for (std::size_t i = 0; i < a.nbPorts(); ++i)
    EXPECT_EQ(a.name(i), b.name(i));
  EXPECT_EQ(a.port_data_names(), b.port_data_names());
  for (std::size_t i = 0; i <= a.nbPorts(); ++i) {
    EXPECT_EQ(a.get_port_properties(i), b.get_port_properties(i)) << "property map " << i;
  }
  ASSERT_EQ(a.nbSamples(), b.nbSamples());
  for (auto s = a.begin_samples(), t = b.begin_samples(); s != a.end_samples(); ++s, ++t) {
    EXPECT_TRUE(*s == *t) << "sample at " << s->frequency();
  }
  ASSERT_EQ(a.nbModels(), b.nbModels());
  for (auto m = a.begin_models(), n = b.begin_models(); m != a.end_models(); ++m, ++n) {
    EXPECT_EQ(m->from(), n->from());
    EXPECT_EQ(m->to(), n->to());
    for (std::size_t k = 0; k < m->S().size(); ++k) {
      EXPECT_TRUE(same_scalar(*m->S()[k], *n->S()[k])) << "S entry " << k;
    }
    for (std::size_t k = 0; k < m->Zref().size(); ++k) {
      EXPECT_TRUE(same_scalar(*m->Zref()[k], *n->Zref()[k])) << "Zref " << k;
    }
    auto d = n->begin_port_data();
    for (auto e = m->begin_port_data(); e != m->end_port_data(); ++e, ++d) {
      ASSERT_TRUE(d != n->end_port_data());
      EXPECT_EQ(e->first, d->first);
      EXPECT_TRUE(same_scalar(*e->second, *d->second)) << e->first.first;
    }
  }
}

/// One model of each of the six storable kinds, in code order.
inline std::vector<std::unique_ptr<ScalarModel>> every_scalar_kind() {
  std::vector<std::unique_ptr<ScalarModel>> kinds;
  kinds.push_back(std::make_unique<PolynomialModel>(C(1, -2), C(0.5, 0), C(-0.0, 3e-310)));
  kinds.push_back(std::make_unique<RationalModel>(std::vector<C>{C(1, 1)},
                                                  std::vector<C>{C(1, 0), C(2, -1)}, 1e9));
  kinds.push_back(std::make_unique<PoleZeroModel>(2e9, std::vector<C>{C(-1, 2), C(-1, -2)},
                                                  std::vector<C>{C(3, 0), C(0, 4)}, C(0.25, 0),
                                                  C(0, -1e-12)));
  auto table = std::make_unique<StaticTableModel>(3);
  table->addSample(3e9, C(0.5, 0.25));
  table->addSample(1e9, C(1, 0));
  table->addSample(2e9, C(0.75, -0.125));
  kinds.push_back(std::move(table));
  kinds.push_back(std::make_unique<SparameterSplineModel>(
      std::vector<double>{1e9, 2e9, 4e9}, std::vector<C>{C(1, 0), C(0.5, 0.5), C(0, 1)},
      std::vector<C>{C(0, 0), C(1e-19, 0), C(0, 0)}, std::nullopt));
  kinds.push_back(std::make_unique<SparameterSplineModel>(
      std::vector<double>{1e9, 3e9}, std::vector<C>{C(1, 1), C(2, 2)},
      std::vector<C>{C(0, 0), C(0, 0)}, std::vector<double>{5e8, 7e9, 8e9}));
  return kinds;
}

/// Two ports with awkward names and properties, two port data names, two samples (one with
/// negative zero, a subnormal and infinities; NaN is left out as it never compares equal) and two
/// models using every scalar kind.
inline SMatrixContainer rich_container() {
  const std::vector<PortDataName> names = {{"Gamma", 1}, {"Zpi", 0}};
  SMatrixContainer c(2, names);
  c.name(0) = "in <a<b>c> port";
  c.name(1) = "out";
  c.add_global_property("author", "two words");
  c.add_global_property("note", "line one\nline two");
  c.add_port_property(0, "k e y", "<v>");
  c.add_port_property(1, "empty", "");

  SMatrixSample a(2, 1e9, names);
  a(0, 0) = C(-0.0, 0.5);
  a(0, 1) = C(4.9406564584124654e-324, -1.0 / 3.0);
  a(1, 0) = C(std::numeric_limits<double>::infinity(), -std::numeric_limits<double>::infinity());
  a(1, 1) = C(1e300, -2.5e-300);
  a.Zref(0) = C(50, 0);
  a.Zref(1) = C(75, -1e-3);
  a.set({"Gamma", 1}, C(0.125, 2));
  a.set({"Zpi", 0}, C(-7, 0));
  c.add(a);
  SMatrixSample b(2, 2.5e9, names);
  b(1, 0) = C(0.1, 0.2);
  c.add(b);

  auto kinds = every_scalar_kind();
  SMatrixModel low(2, 1e9, 2e9, names);
  for (std::size_t k = 0; k < 4; ++k)
    low.set(k / 2, k % 2, kinds[k].get());
  low.setZref(0, kinds[4].get());
  low.setZref(1, kinds[5].get());
  low.set({"Gamma", 1}, kinds[2].get());
  low.set({"Zpi", 0}, kinds[5].get());
  c.add(low);
  SMatrixModel high(2, 3e9, 4e9, names);
  high.set(1, 1, kinds[4].get());
  c.add(high);
  return c;
}

/// Native-order values for hand-made binary files.
class Bytes {
 public:
  Bytes& raw(const std::string& s) {
    data_ += s;
    return *this;
  }
  Bytes& i32(std::int32_t v) { return pod(v); }
  Bytes& f64(double v) { return pod(v); }
  Bytes& complex(C z) { return f64(z.real()).f64(z.imag()); }
  Bytes& str(const std::string& s) {
    i32(static_cast<std::int32_t>(s.size()));
    return raw(s);
  }
  /// Magic, version and endianness marker.
  Bytes& header(int major, int minor, int patch) {
    return raw("BINARYKORVANTIX").i32(major).i32(minor).i32(patch).i32(0x11223344);
  }
  const std::string& str() const { return data_; }

 private:
  template <class T>
  Bytes& pod(T v) {
    char bytes[sizeof v];
    std::memcpy(bytes, &v, sizeof v);
    data_.append(bytes, sizeof v);
    return *this;
  }
  std::string data_;
};

}  // namespace korvantix::test
