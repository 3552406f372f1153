// What this library writes, it reads back: the same samples bit for bit, the same port names and
// reference impedances (and port data through CITIfile).
#include <korvantix/container.hpp>
#include <korvantix/export.hpp>
#include <korvantix/import.hpp>
#include <korvantix/io.hpp>

#include <gtest/gtest.h>

#include <cmath>
#include <fstream>
#include <iterator>
#include <typeinfo>

#include "import/import_support.hpp"
#include "import/readers.hpp"
#include "test_support.hpp"

namespace korvantix {
namespace {

using C = std::complex<double>;

// n ports with values whose shortest decimal form needs all 17 digits, extremes and signed
// zeros; reference impedances 50 or 25 k, port data Gamma[0] and Zpi[n - 1] if asked for.
SMatrixContainer awkward(std::size_t n, bool equal_references, bool port_data, int samples) {
  const double specials[] = {0.1,
                             -0.0,
                             1.0 / 3.0,
                             4.9406564584124654e-324,
                             1.7976931348623157e308,
                             -2.2250738585072014e-308,
                             123456789.123};
  std::vector<PortDataName> names;
  if (port_data) names = {{"Gamma", 0}, {"Zpi", n - 1}};
  SMatrixContainer c(n, names);
  for (std::size_t i = 0; i < n; ++i)
    c.name(i) = "port " + std::to_string(i + 1) + (i == 0 ? " (in)" : "");
  for (int t = 0, k = 0; t < samples; ++t) {
    SMatrixSample s(n, 1e9 / 3.0 * (t + 1) + t, names);
    for (C& v : s.S())
      v = C(specials[k % 7], std::nextafter(specials[(k + 3) % 7], 1.0)), ++k;
    for (std::size_t i = 0; i < n; ++i)
      s.Zref(i) = equal_references ? 50.0 : 25.0 * static_cast<double>(i + 1);
    if (port_data) s.set({"Gamma", 0}, C(std::sqrt(2.0), -1e-5 * t));
    if (port_data) s.set({"Zpi", n - 1}, C(49.999999999999993, t));
    c.add(s);
  }
  return c;
}

TEST(RoundTrip, EveryExportFormatReadsBackBitForBit) {
  const std::tuple<ExportFormat, bool, bool> cases[] = {{TouchstoneV1, true, false},
                                                        {Touchstone, false, false},
                                                        {TouchstoneV2, true, false},
                                                        {Citifile, false, true}};
  for (const auto& [format, equal_references, port_data] : cases) {
    // Four ports without samples too: their export names "R -1", which nothing uses.
    for (std::size_t n = 1; n <= 5; ++n) {
      const SMatrixContainer written =
          awkward(n == 5 ? 4 : n, equal_references, port_data, n == 5 ? 0 : 3);
      const std::string path = testing_import::scratch_file(
          std::to_string(n) +
              (format == Citifile ? ".cti" : ".s" + std::to_string(written.nbPorts()) + "p"),
          "");
      write(written, path.c_str(), format);
      SMatrixContainer read, any;
      if (format == Citifile)
        read_cti(read, path.c_str());
      else
        read_touchstone(read, path.c_str());
      read_any(any, path.c_str());
      std::remove(path.c_str());
      SCOPED_TRACE(path);
      ASSERT_TRUE(read == written && any == read);
      // operator== takes -0.0 for 0.0: compare the sign bits too.
      for (auto a = read.begin_samples(), b = written.begin_samples(); a != read.end_samples();
           ++a, ++b) {
        for (std::size_t k = 0; k < a->S().size(); ++k)
          EXPECT_EQ(std::signbit(a->S()[k].real()), std::signbit(b->S()[k].real()));
      }
    }
  }
}

// By content first (a kvx-file, "[Version]" or an option line, "CITIFILE"), then by extension.
TEST(RoundTrip, IdentifyByContentThenExtension) {
  for (const auto& row : testing_import::rows(R"(
a.txt | ! c\n# GHz S MA\n | touchstone | 1.1
a.txt | \n[Version] 2.1\n | touchstone | 2.1
a.txt | CITIFILE A.01.01\n | citifile | A.01.01
a.S2P | 1 0 0 0 0 0 0 0 0\n | touchstone | 1.1
a.citi | \n | citifile |
a.txt | 1 0 0\n | unknown |
ascii_v21_two_ports.kvx | | kvx_ascii | 2.1.0
binary_v22_port_models.kvx | | kvx_binary | 2.2.0)")) {
    const std::string path = row[0].find(".kvx") != std::string::npos
                                 ? testing_import::data_file(row[0].c_str())
                                 : testing_import::scratch_file(row[0], row[1]);
    const DataFileIdentity id = identify(path.c_str());
    const char* formats[] = {"unknown", "kvx_ascii", "kvx_binary", "touchstone", "citifile"};
    EXPECT_EQ(std::make_tuple(formats[static_cast<int>(id.format)], id.version),
              std::make_tuple(row[2], row.size() > 3 ? row[3] : ""))
        << path;
    if (id.format == DataFormat::unknown) {
      SMatrixContainer any;
      EXPECT_THROW_MSG(read_any(any, path.c_str()), std::runtime_error,
                       path + ": not a kvx-file, Touchstone file or CITIfile");
    }
    if (row[0].find(".kvx") == std::string::npos) std::remove(path.c_str());
  }
}

// pugixml's progressive truncation: every prefix of a good file reads or is refused with a
// std::runtime_error, never worse.
TEST(RoundTrip, EveryPrefixReadsOrFailsCleanly) {
  for (const char* name : {"touchstone_v1_noise.s2p", "touchstone_v2_upper_z.s3p",
                           "touchstone_field_solver.s2p", "citi_segments.cti"}) {
    std::ifstream in(testing_import::data_file(name), std::ios::binary);
    const std::string text{std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
    for (std::size_t n = 0; n <= text.size(); ++n) {
      SMatrixContainer c;
      try {
        if (name[0] == 'c')
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
