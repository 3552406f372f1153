// What this library writes, it reads back: the same samples bit for bit, the same port names and
// reference impedances (and port data through CITIfile).
#include <korvantix/container.hpp>
#include <korvantix/export.hpp>
#include <korvantix/import.hpp>
#include <korvantix/io.hpp>

#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <limits>
#include <string>
#include <tuple>
#include <typeinfo>
#include <vector>

#include "import/import_support.hpp"
#include "import/readers.hpp"
#include "test_support.hpp"

namespace korvantix {
namespace {

using C = std::complex<double>;

// Values whose shortest decimal form needs all 17 digits, extremes and signed zeros.
SMatrixContainer awkward(std::size_t n, bool equal_references, bool port_data, int samples) {
  std::vector<PortDataName> names;
  if (port_data) names = {{"Gamma", 0}, {"Zpi", n - 1}};
  SMatrixContainer c(n, names);
  for (std::size_t i = 0; i < n; ++i)
    c.name(i) = "port " + std::to_string(i + 1) + (i == 0 ? " (in)" : "");
  const double specials[] = {0.1,
                             -0.0,
                             1.0 / 3.0,
                             4.9406564584124654e-324,
                             1.7976931348623157e308,
                             -2.2250738585072014e-308,
                             123456789.123};
  std::size_t k = 0;
  for (int t = 0; t < samples; ++t) {
    SMatrixSample s(n, 1e9 / 3.0 * (t + 1) + t, names);
    for (C& v : s.S()) {
      v = C(specials[k % 7], std::nextafter(specials[(k + 3) % 7], 1.0));
      ++k;
    }
    for (std::size_t i = 0; i < n; ++i)
      s.Zref(i) = equal_references ? 50.0 : 25.0 * static_cast<double>(i + 1);
    if (port_data) {
      s.set({"Gamma", 0}, C(std::sqrt(2.0), -1e-5 * t));
      s.set({"Zpi", n - 1}, C(49.999999999999993, t));
    }
    c.add(s);
  }
  return c;
}

void expect_same(const SMatrixContainer& read, const SMatrixContainer& written) {
  ASSERT_EQ(read.nbPorts(), written.nbPorts());
  ASSERT_EQ(read.nbSamples(), written.nbSamples());
  for (std::size_t i = 0; i < read.nbPorts(); ++i)
    EXPECT_EQ(read.name(i), written.name(i));
  EXPECT_EQ(read.port_data_names(), written.port_data_names());
  for (auto a = read.begin_samples(), b = written.begin_samples(); a != read.end_samples();
       ++a, ++b) {
    EXPECT_TRUE(*a == *b) << a->frequency();
    // operator== takes -0.0 for 0.0: compare the sign bits too.
    for (std::size_t k = 0; k < a->S().size(); ++k)
      EXPECT_EQ(std::signbit(a->S()[k].real()), std::signbit(b->S()[k].real()));
  }
}

TEST(RoundTrip, EveryExportFormatReadsBackBitForBit) {
  struct Case {
    ExportFormat format;
    bool equal_references;
    bool port_data;
  };
  const Case cases[] = {{TouchstoneV1, true, false},
                        {Touchstone, false, false},
                        {TouchstoneV2, true, false},
                        {Citifile, false, true}};
  for (const Case& k : cases) {
    // Four ports without samples too: their export names "R -1", which nothing uses.
    for (std::size_t n = 1; n <= 5; ++n) {
      const SMatrixContainer written =
          awkward(n == 5 ? 4 : n, k.equal_references, k.port_data, n == 5 ? 0 : 3);
      const std::string path = testing_import::scratch_path(
          "p" + std::to_string(n) +
          (k.format == Citifile ? ".cti" : ".s" + std::to_string(written.nbPorts()) + "p"));
      write(written, path.c_str(), k.format);
      SMatrixContainer read;
      if (k.format == Citifile)
        read_cti(read, path.c_str());
      else
        read_touchstone(read, path.c_str());
      SCOPED_TRACE(path);
      expect_same(read, written);
      SMatrixContainer any;
      read_any(any, path.c_str());
      EXPECT_TRUE(any == read);
      std::remove(path.c_str());
    }
  }
}

TEST(RoundTrip, IdentifyByContentThenExtension) {
  struct Case {
    const char* name;
    const char* text;
    DataFormat format;
    const char* version;
  };
  const Case cases[] = {
      {"a.txt", "! c\n# GHz S MA\n", DataFormat::touchstone, "1.1"},
      {"a.txt", "\n[Version] 2.1\n", DataFormat::touchstone, "2.1"},
      {"a.txt", "CITIFILE A.01.01\n", DataFormat::citifile, "A.01.01"},
      {"a.S2P", "1 0 0 0 0 0 0 0 0\n", DataFormat::touchstone, "1.1"},
      {"a.citi", "\n", DataFormat::citifile, ""},
      {"a.txt", "1 0 0\n", DataFormat::unknown, ""},
  };
  for (const auto& [file, format, version] :
       {std::tuple{"ascii_v21_two_ports.kvx", DataFormat::kvx_ascii, "2.1.0"},
        std::tuple{"binary_v22_port_models.kvx", DataFormat::kvx_binary, "2.2.0"}}) {
    const DataFileIdentity id = identify(testing_import::data_file(file).c_str());
    EXPECT_EQ(id.format, format);
    EXPECT_EQ(id.version, version);
  }
  for (const Case& c : cases) {
    const std::string path = testing_import::scratch_path(c.name);
    testing_import::write_text(path, c.text);
    const DataFileIdentity id = identify(path.c_str());
    EXPECT_EQ(id.format, c.format) << c.text;
    EXPECT_EQ(id.version, c.version) << c.text;
    if (c.format == DataFormat::unknown) {
      SMatrixContainer any;
      EXPECT_THROW_MSG(read_any(any, path.c_str()), std::runtime_error,
                       path + ": not a kvx-file, Touchstone file or CITIfile");
    }
    std::remove(path.c_str());
  }
}

}  // namespace
}  // namespace korvantix

namespace korvantix {
namespace {

// Every prefix of a good file reads or is refused with a std::runtime_error, never worse.
TEST(RoundTrip, EveryPrefixReadsOrFailsCleanly) {
  for (const char* name : {"touchstone_v1_noise.s2p", "touchstone_v2_upper_z.s3p",
                           "touchstone_field_solver.s2p", "citi_segments.cti"}) {
    std::ifstream in(testing_import::data_file(name), std::ios::binary);
    const std::string text{std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
    const bool citi = std::string(name).find(".cti") != std::string::npos;
    for (std::size_t n = 0; n <= text.size(); ++n) {
      SMatrixContainer c;
      try {
        if (citi)
          detail::parse_citi(text.substr(0, n), name, c);
        else
          detail::parse_touchstone(text.substr(0, n), name, c, nullptr);
      } catch (const std::runtime_error& error) {
        EXPECT_EQ(typeid(error), typeid(std::runtime_error)) << name << " " << n;
      }
    }
  }
}

}  // namespace
}  // namespace korvantix
