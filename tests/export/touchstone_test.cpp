#include <korvantix/container.hpp>
#include <korvantix/export.hpp>

#include <gtest/gtest.h>

#include <charconv>
#include <complex>
#include <cstddef>
#include <cstdio>
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
using testing_export::sci_int;
using testing_export::scratch_path;
using C = std::complex<double>;

// Entry (i, j) is (base + i * N + j + 1) + (i + 1)i: every entry differs, real and imaginary
// parts differ, and the text of each is easy to write by hand.
SMatrixSample numbered_sample(std::size_t n, double f, int base, const std::vector<double>& z) {
  SMatrixSample s(n, f);
  for (std::size_t i = 0; i < n; ++i) {
    s.Zref(i) = z[i];
    for (std::size_t j = 0; j < n; ++j) {
      s(i, j) = C(static_cast<double>(base + static_cast<int>(i * n + j) + 1),
                  static_cast<double>(i + 1));
    }
  }
  return s;
}

SMatrixContainer numbered(std::size_t n, const std::vector<double>& z) {
  SMatrixContainer c(n);
  for (std::size_t i = 0; i < n; ++i)
    c.name(i) = "p" + std::to_string(i + 1);
  c.add(numbered_sample(n, 1e9, 0, z));
  c.add(numbered_sample(n, 2e9, 30, z));
  return c;
}

// "<re> <im> " of one numbered entry.
std::string e(int re, int im) {
  return sci_int(re) + " " + sci_int(im) + " ";
}

class TouchstoneTest : public ::testing::Test {
 protected:
  void SetUp() override { testing_export::use_utc(); }

  std::string write(TouchstoneFile& file, const std::string& name) {
    const std::string path = scratch_path(name);
    file.setPath(path);
    detail::TouchstoneAccess::write(file, kFixedTime);
    return read_file(path);
  }
};

TEST_F(TouchstoneTest, TwoPortsVersion1ColumnOrder) {
  const SMatrixContainer c = numbered(2, {50, 50});
  TouchstoneFile file(c);
  EXPECT_EQ(file.version(), 1);
  EXPECT_EQ(file.precision(), 16);
  EXPECT_EQ(write(file, "v1.s2p"), std::string("! Touchstone file version 1.1\n"
                                               "! Written by KORVANTIX 2.11.3\n"
                                               "! Date : ") +
                                       kFixedDate +
                                       "# Hz S RI R 50\n"
                                       "! Port[1] p1\n"
                                       "! Port[2] p2\n"
                                       "1.0000000000000000e+09 " +
                                       e(1, 1) + e(3, 2) + e(2, 1) + e(4, 2) +
                                       "\n"
                                       "2.0000000000000000e+09 " +
                                       e(31, 1) + e(33, 2) + e(32, 1) + e(34, 2) + "\n");
}

TEST_F(TouchstoneTest, TwoPortsVersion2WithReferenceLine) {
  const SMatrixContainer c = numbered(2, {50, 123456.7});
  TouchstoneFile file(c);
  file.setVersion(2);
  EXPECT_EQ(write(file, "v2.s2p"),
            "[Version] 2.0\n"
            "# Hz S RI\n"
            "[Number of Ports] 2\n"
            "[Two-Port Data Order] 21_12\n"
            "[Number of Frequencies] 2\n"
            "[Reference]\n"
            "50 123457 \n"
            "[Network Data]\n"
            "! Port[1] p1\n"
            "! Port[2] p2\n"
            "1.0000000000000000e+09 " +
                e(1, 1) + e(3, 2) + e(2, 1) + e(4, 2) +
                "\n"
                "2.0000000000000000e+09 " +
                e(31, 1) + e(33, 2) + e(32, 1) + e(34, 2) +
                "\n"
                "[End]\n");
}

TEST_F(TouchstoneTest, OnePortVersion2HasNoDataOrderLine) {
  const SMatrixContainer c = numbered(1, {50.5});
  TouchstoneFile file(c);
  file.setVersion(2);
  EXPECT_EQ(write(file, "v2.s1p"),
            "[Version] 2.0\n"
            "# Hz S RI R 50.5\n"
            "[Number of Ports] 1\n"
            "[Number of Frequencies] 2\n"
            "[Network Data]\n"
            "! Port[1] p1\n"
            "1.0000000000000000e+09 " +
                e(1, 1) +
                "\n"
                "2.0000000000000000e+09 " +
                e(31, 1) +
                "\n"
                "[End]\n");
}

TEST_F(TouchstoneTest, ThreePortsRowPerLine) {
  const SMatrixContainer c = numbered(3, {75, 75, 75});
  TouchstoneFile file(c);
  const std::string text = write(file, "v1.s3p");
  const std::string data = text.substr(text.find("! Port[3] p3\n") + 13);
  EXPECT_EQ(data, "1.0000000000000000e+09 " + e(1, 1) + e(2, 1) + e(3, 1) + "\n    " + e(4, 2) +
                      e(5, 2) + e(6, 2) + "\n    " + e(7, 3) + e(8, 3) + e(9, 3) +
                      "\n2.0000000000000000e+09 " + e(31, 1) + e(32, 1) + e(33, 1) + "\n    " +
                      e(34, 2) + e(35, 2) + e(36, 2) + "\n    " + e(37, 3) + e(38, 3) + e(39, 3) +
                      "\n");
}

TEST_F(TouchstoneTest, FivePortsAtMostFourEntriesPerLine) {
  SMatrixContainer c(5);
  c.add(numbered_sample(5, 1e9, 0, {50, 50, 50, 50, 50}));
  TouchstoneFile file(c);
  file.setVersion(2);
  const std::string text = write(file, "v2.s5p");
  std::string expected = "[Network Data]\n";
  for (int i = 1; i <= 5; ++i)
    expected += "! Port[" + std::to_string(i) + "] port_" + std::to_string(i - 1) + "\n";
  expected += "1.0000000000000000e+09 ";
  for (int i = 0; i < 5; ++i) {
    if (i > 0) expected += "\n    ";
    expected += e(i * 5 + 1, i + 1) + e(i * 5 + 2, i + 1) + e(i * 5 + 3, i + 1) +
                e(i * 5 + 4, i + 1) + "\n    " + e(i * 5 + 5, i + 1);
  }
  expected += "\n[End]\n";
  EXPECT_EQ(text.substr(text.find("[Network Data]")), expected);
}

TEST_F(TouchstoneTest, AutomaticVersionIsFixedAtTheFirstWrite) {
  const SMatrixContainer equal = numbered(2, {50, 50});
  TouchstoneFile v1(equal);
  detail::TouchstoneAccess::set_automatic_version(v1);
  EXPECT_EQ(v1.version(), -1);
  EXPECT_EQ(write(v1, "auto1.s2p").rfind("! Touchstone file version 1.1\n", 0), 0u);
  EXPECT_EQ(v1.version(), 1);

  const SMatrixContainer unequal = numbered(2, {50, 75});
  TouchstoneFile v2(unequal);
  detail::TouchstoneAccess::set_automatic_version(v2);
  const std::string text = write(v2, "auto2.s2p");
  EXPECT_EQ(text.rfind("[Version] 2.0\n# Hz S RI\n", 0), 0u);
  EXPECT_NE(text.find("\n[Reference]\n50 75 \n"), std::string::npos);
  EXPECT_EQ(v2.version(), 2);
}

TEST_F(TouchstoneTest, ResampledDataReplacesTheSamples) {
  const SMatrixContainer c = numbered(2, {50, 50});
  TouchstoneFile file(c);
  file.setVersion(2);
  // A repeated frequency is kept once and the data come out ascending.
  file.resample({2e9, 1e9, 2e9});
  const std::string both = write(file, "resampled.s2p");
  EXPECT_NE(both.find("[Number of Frequencies] 2\n"), std::string::npos);
  EXPECT_EQ(both, [&] {
    TouchstoneFile plain(c);
    plain.setVersion(2);
    return write(plain, "plain.s2p");
  }());
  file.resample({2e9});
  const std::string one = write(file, "resampled1.s2p");
  EXPECT_NE(one.find("[Number of Frequencies] 1\n"), std::string::npos);
  EXPECT_EQ(one.find("1.0000000000000000e+09"), std::string::npos);
  EXPECT_NE(one.find("\n2.0000000000000000e+09 " + e(31, 1)), std::string::npos);
}

TEST_F(TouchstoneTest, EmptyContainerAndNegativeImpedanceQuirk) {
  const SMatrixContainer empty(1);
  TouchstoneFile file(empty);
  EXPECT_EQ(write(file, "empty.s1p"),
            std::string("! Touchstone file version 1.1\n! Written by KORVANTIX 2.11.3\n! Date : ") +
                kFixedDate + "# Hz S RI R -1\n! Port[1] port_0\n");

  // A negative impedance counts as "not yet set": it is replaced at every sample, never compared.
  SMatrixContainer c(1);
  c.add(numbered_sample(1, 1e9, 0, {-5}));
  c.add(numbered_sample(1, 2e9, 0, {7}));
  TouchstoneFile quirk(c);
  EXPECT_NE(write(quirk, "negative.s1p").find("\n# Hz S RI R 7\n"), std::string::npos);
}

TEST_F(TouchstoneTest, FailureMessages) {
  const SMatrixContainer c = numbered(2, {50, 50});
  TouchstoneFile file(c);
  EXPECT_THROW_MSG(file.setVersion(3), std::runtime_error,
                   "Unrecorgnized touchstone file format version: 1");
  file.setVersion(2);
  // The stored version is printed, not the rejected one.
  EXPECT_THROW_MSG(file.setVersion(-1), std::runtime_error,
                   "Unrecorgnized touchstone file format version: 2");
  EXPECT_EQ(file.version(), 2);

  file.setPath("/nonexistent-korvantix-dir/out.s2p");
  EXPECT_THROW_MSG(detail::TouchstoneAccess::write(file, kFixedTime), std::runtime_error,
                   "Unable to open file /nonexistent-korvantix-dir/out.s2p");

  const std::string path = scratch_path("fail.s2p");
  auto expect_failure = [&](const SMatrixContainer& bad, int version, const char* text) {
    TouchstoneFile f(bad);
    f.setPath(path);
    f.setVersion(version);
    EXPECT_THROW_MSG(detail::TouchstoneAccess::write(f, kFixedTime), std::runtime_error, text);
    // The file was opened before the header failed: it is left empty.
    EXPECT_EQ(read_file(path), "");
  };
  SMatrixContainer complex_z = numbered(2, {50, 50});
  SMatrixSample s = numbered_sample(2, 3e9, 0, {50, 50});
  s.Zref(1) = C(50, 1e-3);
  complex_z.add(s);
  expect_failure(complex_z, 2,
                 "Complex reference impedance is not supported by the touchstone file format.");
  SMatrixContainer nan_z(1);
  SMatrixSample n = numbered_sample(1, 1e9, 0, {50});
  n.Zref(0) = C(50, std::numeric_limits<double>::quiet_NaN());
  nan_z.add(n);
  expect_failure(nan_z, 2,
                 "Complex reference impedance is not supported by the touchstone file format.");
  SMatrixContainer drifting = numbered(2, {50, 50});
  drifting.add(numbered_sample(2, 3e9, 0, {50, 60}));
  expect_failure(drifting, 2,
                 "Frequency-dependent reference impedance is not supported by the touchstone "
                 "file format.");
  expect_failure(numbered(2, {50, 75}), 1,
                 "Cannot set the reference impedance for all ports, use touchstone file format "
                 "version 2 instead.");
  SMatrixContainer mixed = numbered(2, {50, 50});
  mixed.add(SMatrixSample(1, 5e9));
  expect_failure(mixed, 2, "S-matrix sample at 5e+09 Hz has 1 ports, the container has 2");
}

// A strict reader of what the writer produces: option or version header, port comments, then
// records of exactly 2 N^2 values with the line structure of N ports; every number must be a
// whole token for std::from_chars.
struct ReadBack {
  std::vector<std::string> header;
  std::vector<double> frequencies;
  std::vector<std::vector<C>> matrices;  // row-major
};

double number(const std::string& token) {
  double x = 0;
  const auto [end, error] = std::from_chars(token.data(), token.data() + token.size(), x);
  EXPECT_EQ(error, std::errc()) << token;
  EXPECT_EQ(end, token.data() + token.size()) << token;
  return x;
}

std::vector<std::string> tokens_of(const std::string& line) {
  EXPECT_FALSE(line.empty());
  EXPECT_EQ(line.back(), ' ') << "every data line ends in a blank: " << line;
  std::vector<std::string> tokens;
  std::size_t start = 0;
  while (start < line.size()) {
    const std::size_t blank = line.find(' ', start);
    tokens.push_back(line.substr(start, blank - start));
    start = blank + 1;
  }
  return tokens;
}

ReadBack read_touchstone(const std::string& text, std::size_t n) {
  ReadBack r;
  std::vector<std::string> lines;
  std::size_t start = 0;
  while (start < text.size()) {
    const std::size_t end = text.find('\n', start);
    EXPECT_NE(end, std::string::npos) << "the file ends with a line break";
    lines.push_back(text.substr(start, end - start));
    start = end + 1;
  }
  std::size_t k = 0;
  while (k < lines.size() &&
         (lines[k].empty() || lines[k][0] == '!' || lines[k][0] == '#' || lines[k][0] == '[')) {
    r.header.push_back(lines[k++]);
  }
  while (k < lines.size() && lines[k] != "[End]") {
    std::vector<std::string> record = tokens_of(lines[k++]);
    r.frequencies.push_back(number(record.front()));
    record.erase(record.begin());
    if (n >= 3) {
      EXPECT_EQ(record.size(), 2 * std::min<std::size_t>(n, 4));
      for (std::size_t row_entries = record.size() / 2; k < lines.size(); ++k) {
        if (lines[k].compare(0, 4, "    ") != 0) break;
        const std::vector<std::string> more = tokens_of(lines[k].substr(4));
        const std::size_t column = row_entries % n;
        EXPECT_EQ(more.size(), 2 * std::min<std::size_t>(n - column, 4));
        record.insert(record.end(), more.begin(), more.end());
        row_entries += more.size() / 2;
      }
    }
    EXPECT_EQ(record.size(), 2 * n * n);
    std::vector<C> matrix(n * n);
    for (std::size_t e = 0; e < n * n && 2 * e + 1 < record.size(); ++e) {
      const C z(number(record[2 * e]), number(record[2 * e + 1]));
      // One and two ports are written column by column.
      matrix[n <= 2 ? (e % n) * n + e / n : e] = z;
    }
    r.matrices.push_back(matrix);
  }
  return r;
}

void expect_same_bits(const ReadBack& r, const std::vector<SMatrixSample>& samples) {
  ASSERT_EQ(r.frequencies.size(), samples.size());
  for (std::size_t k = 0; k < samples.size(); ++k) {
    EXPECT_EQ(bits(r.frequencies[k]), bits(samples[k].frequency()));
    ASSERT_EQ(r.matrices[k].size(), samples[k].S().size());
    for (std::size_t e = 0; e < r.matrices[k].size(); ++e) {
      EXPECT_EQ(bits(r.matrices[k][e].real()), bits(samples[k].S()[e].real())) << k << "," << e;
      EXPECT_EQ(bits(r.matrices[k][e].imag()), bits(samples[k].S()[e].imag())) << k << "," << e;
    }
  }
}

// Awkward doubles: both zeros, subnormals, extremes, values that need all 17 digits.
std::vector<double> awkward_values() {
  return {0.1,
          -0.0,
          0.0,
          1.0 / 3.0,
          -2.0 / 3.0,
          5e-324,
          -2.2250738585072014e-308,
          1.7976931348623157e308,
          -1e-300,
          123456789.12345678,
          9007199254740993.0,
          std::numeric_limits<double>::infinity(),
          -std::numeric_limits<double>::infinity(),
          0.30000000000000004,
          6.02214076e23,
          -1.602176634e-19};
}

TEST_F(TouchstoneTest, ReadBackIsBitExact) {
  const std::vector<double> values = awkward_values();
  for (std::size_t n : {1u, 2u, 3u, 5u, 6u}) {
    SMatrixContainer c(n);
    std::vector<SMatrixSample> written;
    std::size_t next = 0;
    for (double f : {0.0, 1.0 / 7.0, 12345.678901234567, 2.4e9, 1.7976931348623157e308}) {
      SMatrixSample s(n, f);
      for (std::size_t i = 0; i < n; ++i) {
        s.Zref(i) = 50;
        for (std::size_t j = 0; j < n; ++j) {
          s(i, j) = C(values[next % values.size()], values[(next + 7) % values.size()]);
          ++next;
        }
      }
      c.add(s);
      written.push_back(s);
    }
    for (int version : {1, 2}) {
      TouchstoneFile file(c);
      file.setVersion(version);
      const ReadBack r = read_touchstone(write(file, "roundtrip.snp"), n);
      SCOPED_TRACE(::testing::Message() << n << " ports, version " << version);
      expect_same_bits(r, written);
    }
  }
}

TEST(TouchstoneDate, CtimeForm) {
  testing_export::use_utc();
  std::string text;
  detail::append_ctime(text, 0);
  detail::append_ctime(text, kFixedTime);
  detail::append_ctime(text, 951782400);  // leap day 2000
  EXPECT_EQ(text, "Thu Jan  1 00:00:00 1970\nTue Nov 14 22:13:20 2023\nTue Feb 29 00:00:00 2000\n");
}

}  // namespace
}  // namespace korvantix
