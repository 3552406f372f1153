#include <korvantix/container.hpp>
#include <korvantix/export.hpp>

#include <gtest/gtest.h>

#include <charconv>
#include <complex>
#include <cstddef>
#include <limits>
#include <stdexcept>
#include <string>
#include <system_error>
#include <vector>

#include "export/export_support.hpp"
#include "export/writers.hpp"
#include "test_support.hpp"

namespace korvantix {
namespace {

using testing_export::bits;
using testing_export::kFixedDate;
using testing_export::kFixedTime;
using testing_export::read_file;
using testing_export::scratch_path;
using C = std::complex<double>;

const std::vector<PortDataName> kNames{{"Zpi", 1}, {"Gamma", 0}};

// Two ports, three samples; every value has a short exact decimal form.
SMatrixContainer three_samples() {
  SMatrixContainer c(2, kNames);
  c.name(0) = "in";
  c.name(1) = "out";
  for (int k = 0; k < 3; ++k) {
    SMatrixSample s(2, 1e9 + k * 0.5e9, kNames);
    for (std::size_t i = 0; i < 2; ++i) {
      for (std::size_t j = 0; j < 2; ++j)
        s(i, j) = C(k + 0.25 * static_cast<double>(i * 2 + j), j == 0 ? 0.0 : -0.5);
    }
    s.Zref(0) = 50;
    s.Zref(1) = C(75, -1.5);
    s.set({"Gamma", 0}, C(0.125 * k, 1));
    s.set({"Zpi", 1}, C(1024, -0.0625));
    c.add(s);
  }
  return c;
}

std::string header(int count) {
  return std::string(
             "CITIFILE A.01.01\n"
             "\n"
             "# Written by KORVANTIX : 2 11 3\n"
             "# Date : ") +
         kFixedDate +
         "\n"
         "NAME DATA\n"
         "\n"
         "#qorex Port[1] in\n"
         "#qorex Port[2] out\n"
         "\n"
         "VAR freq MAG " +
         std::to_string(count) +
         "\n"
         "\n"
         "DATA S[1,1] RI\n"
         "DATA S[1,2] RI\n"
         "DATA S[2,1] RI\n"
         "DATA S[2,2] RI\n"
         "DATA PORTZ[1] RI\n"
         "DATA PORTZ[2] RI\n"
         "DATA Gamma[0] RI\n"
         "DATA Zpi[1] RI\n"
         "\n";
}

class CitiTest : public ::testing::Test {
 protected:
  void SetUp() override { testing_export::use_utc(); }
  const std::string path_ = scratch_path("out.cti");
};

TEST_F(CitiTest, StoredSamplesLayout) {
  detail::write_cti(three_samples(), path_.c_str(), 17, kFixedTime);
  EXPECT_EQ(read_file(path_), header(3) +
                                  "VAR_LIST_BEGIN\n"
                                  "1000000000\n"
                                  "1500000000\n"
                                  "2000000000\n"
                                  "VAR_LIST_END\n"
                                  "\n"
                                  "BEGIN\n0, 0\n1, 0\n2, 0\nEND\n"
                                  "BEGIN\n0.25, -0.5\n1.25, -0.5\n2.25, -0.5\nEND\n"
                                  "BEGIN\n0.5, 0\n1.5, 0\n2.5, 0\nEND\n"
                                  "BEGIN\n0.75, -0.5\n1.75, -0.5\n2.75, -0.5\nEND\n"
                                  "BEGIN\n50, 0\n50, 0\n50, 0\nEND\n"
                                  "BEGIN\n75, -1.5\n75, -1.5\n75, -1.5\nEND\n"
                                  "BEGIN\n0, 1\n0.125, 1\n0.25, 1\nEND\n"
                                  "BEGIN\n1024, -0.0625\n1024, -0.0625\n1024, -0.0625\nEND\n");
}

TEST_F(CitiTest, FrequencyListKeepsListOrderAndSkipsCloseNeighbours) {
  // 1e9 * (1 + 1e-9) is within the tolerance of its predecessor; the list is not sorted.
  detail::write_cti(three_samples(), path_.c_str(), {1e9, 1e9 * (1 + 1e-9), 2e9, 1.5e9}, 1e-6, 17,
                    kFixedTime);
  EXPECT_EQ(read_file(path_), header(3) +
                                  "VAR_LIST_BEGIN\n"
                                  "1000000000\n"
                                  "2000000000\n"
                                  "1500000000\n"
                                  "VAR_LIST_END\n"
                                  "\n"
                                  "BEGIN\n0, 0\n2, 0\n1, 0\nEND\n"
                                  "BEGIN\n0.25, -0.5\n2.25, -0.5\n1.25, -0.5\nEND\n"
                                  "BEGIN\n0.5, 0\n2.5, 0\n1.5, 0\nEND\n"
                                  "BEGIN\n0.75, -0.5\n2.75, -0.5\n1.75, -0.5\nEND\n"
                                  "BEGIN\n50, 0\n50, 0\n50, 0\nEND\n"
                                  "BEGIN\n75, -1.5\n75, -1.5\n75, -1.5\nEND\n"
                                  "BEGIN\n0, 1\n0.25, 1\n0.125, 1\nEND\n"
                                  "BEGIN\n1024, -0.0625\n1024, -0.0625\n1024, -0.0625\nEND\n");
}

TEST(CitiTolerance, MeasuredFromThePrecedingListElement) {
  using detail::cti_kept_frequencies;
  // Steps of 6e-7 each: both dropped, although 1.0000012e9 is 1.2e-6 above the kept 1e9.
  EXPECT_EQ(cti_kept_frequencies({1e9, 1.0000006e9, 1.0000012e9}, 1e-6), std::vector<double>{1e9});
  // The first frequency counts a step of 1.0: a tolerance of 1 or more drops it.
  EXPECT_EQ(cti_kept_frequencies({1e9, 3e9}, 1.0), std::vector<double>{3e9});
  EXPECT_TRUE(cti_kept_frequencies({1e9}, 1.0).empty());
  // After a non-positive element the step is 1.0 again; the step is strictly above tolerance.
  EXPECT_EQ(cti_kept_frequencies({0.0, 0.0, 5.0, 7.0}, 0.5), (std::vector<double>{0.0, 0.0, 5.0}));
  EXPECT_EQ(cti_kept_frequencies({5.0, 10.0, 20.0}, 0.99), (std::vector<double>{5.0, 10.0, 20.0}));
  EXPECT_TRUE(cti_kept_frequencies({5.0, 10.0}, std::numeric_limits<double>::quiet_NaN()).empty());
}

TEST_F(CitiTest, PrecisionAndFailures) {
  SMatrixContainer c(1);
  SMatrixSample s(1, 1.5e9);
  s(0, 0) = C(1.0 / 3.0, -2.5e-7);
  c.add(s);
  detail::write_cti(c, path_.c_str(), 3, kFixedTime);
  const std::string text = read_file(path_);
  EXPECT_NE(text.find("VAR_LIST_BEGIN\n1.5E+09\nVAR_LIST_END\n"), std::string::npos);
  EXPECT_NE(text.find("BEGIN\n0.333, -2.5E-07\nEND\n"), std::string::npos);
  // An absurd precision prints what 17 digits already show (no padding, no overflow).
  detail::write_cti(c, path_.c_str(), std::size_t{1} << 40, kFixedTime);
  EXPECT_NE(read_file(path_).find(
                "BEGIN\n0.333333333333333314829616256247390992939472198486328125, "
                "-2.4999999999999998868702795647156467140348468092270195484161376953125E-07\n"),
            std::string::npos);

  EXPECT_THROW_MSG(detail::write_cti(c, "/nonexistent-korvantix-dir/x.cti", 17, kFixedTime),
                   std::runtime_error, "Unable to open file /nonexistent-korvantix-dir/x.cti");
  EXPECT_THROW_MSG(write_cti(c, "/nonexistent-korvantix-dir/x.cti", {1.5e9}, 0.0, 17),
                   std::runtime_error, "Unable to open file /nonexistent-korvantix-dir/x.cti");
  // Errors of the plan come before the file is touched.
  EXPECT_THROW_MSG(write_cti(c, "/nonexistent-korvantix-dir/x.cti", 3, Linear, 0.0, 17),
                   std::runtime_error,
                   "Unable to obtain 3 samples:\nThe container contains only 1 discrete frequency");
  SMatrixContainer mixed(2);
  mixed.add(SMatrixSample(1, 5e9));
  EXPECT_THROW_MSG(write_cti(mixed, path_.c_str(), 17), std::runtime_error,
                   "S-matrix sample at 5e+09 Hz has 1 ports, the container has 2");
}

// A strict reader: the header up to VAR_LIST_BEGIN, one frequency per line, then exactly one
// BEGIN/END block per declared DATA line, each with one "re, im" line per frequency.
struct CitiData {
  std::vector<std::string> declared;
  std::vector<double> frequencies;
  std::vector<std::vector<C>> blocks;
};

double number(const std::string& token) {
  double x = 0;
  const auto [end, error] = std::from_chars(token.data(), token.data() + token.size(), x);
  EXPECT_EQ(error, std::errc()) << token;
  EXPECT_EQ(end, token.data() + token.size()) << token;
  return x;
}

CitiData read_citi(const std::string& text) {
  CitiData d;
  std::vector<std::string> lines;
  for (std::size_t start = 0; start < text.size();) {
    const std::size_t end = text.find('\n', start);
    EXPECT_NE(end, std::string::npos);
    lines.push_back(text.substr(start, end - start));
    start = end + 1;
  }
  std::size_t k = 0;
  for (; k < lines.size() && lines[k] != "VAR_LIST_BEGIN"; ++k) {
    if (lines[k].rfind("DATA ", 0) == 0) d.declared.push_back(lines[k]);
  }
  for (++k; k < lines.size() && lines[k] != "VAR_LIST_END"; ++k) {
    d.frequencies.push_back(number(lines[k]));
  }
  EXPECT_EQ(lines.at(++k), "");
  for (++k; k < lines.size(); ++k) {
    EXPECT_EQ(lines[k], "BEGIN");
    std::vector<C> block;
    for (++k; k < lines.size() && lines[k] != "END"; ++k) {
      const std::size_t comma = lines[k].find(", ");
      EXPECT_NE(comma, std::string::npos) << lines[k];
      block.emplace_back(number(lines[k].substr(0, comma)), number(lines[k].substr(comma + 2)));
    }
    EXPECT_EQ(block.size(), d.frequencies.size());
    d.blocks.push_back(block);
  }
  return d;
}

void expect_same(const C& a, const C& b) {
  EXPECT_EQ(bits(a.real()), bits(b.real())) << a << " vs " << b;
  EXPECT_EQ(bits(a.imag()), bits(b.imag())) << a << " vs " << b;
}

TEST_F(CitiTest, ReadBackIsBitExact) {
  const std::vector<double> values{0.1,
                                   -0.0,
                                   1.0 / 3.0,
                                   5e-324,
                                   -1.7976931348623157e308,
                                   1e-300,
                                   123.456,
                                   2.5e9,
                                   -7e-7,
                                   std::numeric_limits<double>::infinity(),
                                   0.30000000000000004};
  const std::vector<PortDataName> names{{"Gamma", 0}, {"Gamma", 2}, {"Zvi", 1}};
  SMatrixContainer c(3, names);
  std::size_t next = 0;
  auto value = [&] {
    const C z(values[next % values.size()], values[(next + 3) % values.size()]);
    ++next;
    return z;
  };
  for (double f : {0.0, 1.0 / 3.0, 1e9, 2.0000000000000004e9}) {
    SMatrixSample s(3, f, names);
    for (std::size_t i = 0; i < 3; ++i) {
      s.Zref(i) = value();
      for (std::size_t j = 0; j < 3; ++j)
        s(i, j) = value();
    }
    for (const PortDataName& key : names)
      s.set(key, value());
    c.add(s);
  }
  detail::write_cti(c, path_.c_str(), 17, kFixedTime);
  const CitiData d = read_citi(read_file(path_));
  ASSERT_EQ(d.declared.size(), 9u + 3u + 3u);
  EXPECT_EQ(d.declared[12], "DATA Gamma[0] RI");
  EXPECT_EQ(d.declared[13], "DATA Gamma[2] RI");
  EXPECT_EQ(d.declared[14], "DATA Zvi[1] RI");
  ASSERT_EQ(d.blocks.size(), d.declared.size());
  ASSERT_EQ(d.frequencies.size(), c.nbSamples());
  std::size_t k = 0;
  for (auto it = c.begin_samples(); it != c.end_samples(); ++it, ++k) {
    EXPECT_EQ(bits(d.frequencies[k]), bits(it->frequency()));
    for (std::size_t e = 0; e < 9; ++e)
      expect_same(d.blocks[e][k], it->S()[e]);
    for (std::size_t i = 0; i < 3; ++i)
      expect_same(d.blocks[9 + i][k], it->Zref(i));
    for (std::size_t p = 0; p < names.size(); ++p)
      expect_same(d.blocks[12 + p][k], (*it)(names[p]));
  }
}

}  // namespace
}  // namespace korvantix
