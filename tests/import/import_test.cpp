// The foreign-format readers: lines and numbers, Touchstone and CITIfile (golden files, options
// and layouts, every refusal with its exact message), and what the writers write read back.
#include <korvantix/export.hpp>

#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <iterator>
#include <sstream>

#include "import/readers.hpp"
#include "io/pieces.hpp"
#include "test_support.hpp"

namespace korvantix {
namespace {

using C = std::complex<double>;

std::string data_file(const char* name) {
  return std::string(KORVANTIX_TEST_DATA_DIR) + "/" + name;
}

// Writes text to a file in the test's temporary directory, named for the test, and gives its
// path.
std::string scratch_file(const std::string& name, const std::string& text) {
  const std::string path = ::testing::TempDir() + "korvantix_import_" + name;
  std::ofstream(path, std::ios::binary) << text;
  return path;
}

// Entry-wise within 1e-14: values read in magnitude-angle or dB form, or converted.
void expect_near(const std::vector<C>& got, const std::vector<C>& want) {
  ASSERT_EQ(got.size(), want.size());
  for (std::size_t k = 0; k < got.size(); ++k)
    EXPECT_LE(std::abs(got[k] - want[k]), 1e-14) << k << ": " << got[k] << " != " << want[k];
}

// The rows of a case table: one case a line, fields separated by "|" with one blank on each
// side trimmed, "\n" standing for a line end.
std::vector<std::vector<std::string>> rows(const std::string& table) {
  std::vector<std::vector<std::string>> out;
  std::istringstream lines(table);
  for (std::string line, field; std::getline(lines, line);) {
    if (line.empty()) continue;
    out.emplace_back();
    for (std::istringstream fields(line); std::getline(fields, field, '|');) {
      if (field.size() > 0 && field.front() == ' ') field.erase(0, 1);
      if (field.size() > 0 && field.back() == ' ') field.pop_back();
      for (std::size_t at; (at = field.find("\\n")) != std::string::npos;)
        field.replace(at, 2, "\n");
      out.back().push_back(field);
    }
  }
  return out;
}

// CRLF and LF ends, an empty line, a line longer than the smallest window and a last line
// without an end, read from memory and from sources that deliver a few bytes at a time.
TEST(TextLines, LinesTokensAndNumbers) {
  const std::string long_line(300, 'x');
  const std::string text = "first\r\n\n" + long_line + "\r\nlast without end";
  const std::vector<std::string> expected = {"first", "", long_line, "last without end"};
  for (std::size_t piece : {0, 1, 3, 7, 4096}) {
    for (std::size_t capacity : {0, 4096}) {
      test::Pieces source(text, piece);
      detail::Window window =
          piece == 0 ? detail::Window(text) : detail::Window(source, -1, capacity);
      detail::LineReader lines(window, "t");
      std::vector<std::string> got;
      for (std::string_view line; lines.next(line);) {
        got.emplace_back(line);
        EXPECT_EQ(lines.number(), got.size());
      }
      EXPECT_EQ(got, expected) << piece << " " << capacity;
    }
  }
  // An endless input without line ends (a device such as /dev/zero) ends in a message, not in an
  // unbounded window.
  struct Zeros final : detail::ByteSource {
    std::size_t read(char* out, std::size_t n) override { return std::memset(out, 0, n), n; }
  } zeros;
  detail::Window window(zeros, -1);
  detail::LineReader lines(window, "zero.s2p");
  std::string_view line;
  EXPECT_THROW_MSG(lines.next(line), std::runtime_error,
                   "zero.s2p:1: expected a line of at most 67108864 bytes, found a longer one");
  // Numbers are exact (the C library's strtod gives the expected values) and whole tokens.
  EXPECT_EQ(detail::count_tokens(" a\t bb,c ,, d "), 4u);  // "bb,c" and ",," are tokens
  EXPECT_EQ(detail::count_tokens(" a\t bb,c ,, d ", true), 4u);
  EXPECT_EQ(detail::found(""), "end of line");
  EXPECT_EQ(detail::found(std::string(41, 'x')), "\"" + std::string(40, 'x') + "...\"");
  for (const char* good :
       {"0.10000000000000001", "+1.0000000000000000e+09", "-2.2250738585072014E-308",
        "4.9406564584124654e-324", "1.7976931348623157e308", "1.", ".5", "-INF", "nan"}) {
    double v = 0.0;
    const double want = std::strtod(good, nullptr);
    EXPECT_TRUE(detail::parse_number(good, v) && (v == want || (std::isnan(v) && std::isnan(want))))
        << good;
  }
  double v = 0.0;
  for (const char* bad : {"", "+", "++1", "+-1", "1e", "1e400", "0x10", "1,5", "1.5.", "e5"})
    EXPECT_FALSE(detail::parse_number(bad, v)) << bad;
  std::uint64_t n = 0;
  EXPECT_TRUE(detail::parse_count("+18446744073709551615", n) && n == 18446744073709551615u);
  for (const char* bad : {"18446744073709551616", "-1", "1.0", ""})
    EXPECT_FALSE(detail::parse_count(bad, n)) << bad;
}

TEST(Touchstone, GoldenFilesAndThePublicReader) {
  // Version 1, magnitude-angle in GHz, column order 21_12 (S11, S21, S12, S22), a noise block
  // whose Rn is normalised to R = 25; the noise list is replaced, not appended to.
  SMatrixContainer c(5);
  std::vector<NoiseParameters> noise(3);
  read_touchstone(c, data_file("touchstone_v1_noise.s2p").c_str(), noise);
  ASSERT_EQ(std::make_tuple(c.nbPorts(), c.nbSamples(), c.name(0), c.name(1), noise.size()),
            std::make_tuple(2u, 2u, "in", "port_1", 2u));
  expect_near(c.begin_samples()->S(), {C(0, 0.5), -1, 1, C(0, -0.25)});
  EXPECT_EQ(std::make_tuple(c.begin_samples()->Zref(1), c.rbegin_samples()->S()),
            std::make_tuple(C(25), std::vector<C>{0.5, 1, 1, 0.5}));
  EXPECT_EQ(std::make_tuple(noise[0].frequency, noise[0].nfmin_db, noise[0].rn, noise[1].frequency,
                            noise[1].rn),
            std::make_tuple(1.5e9, 2.5, 5.0, 3e9, 10.0));
  expect_near({noise[0].gamma_opt, noise[1].gamma_opt}, {C(0, 0.5), C(-0.25, 0)});

  // Version 2: upper triangle of impedances, per-port [Reference] over the option line's R. A
  // diagonal Z makes each port a load Z_k on its own: S_kk = (Z_k - R_k) / (Z_k + R_k).
  read_touchstone(c, data_file("touchstone_v2_upper_z.s3p").c_str());
  ASSERT_EQ(std::make_tuple(c.nbSamples(), c.name(2), c.begin_samples()->frequency(),
                            c.begin_samples()->Zref()),
            std::make_tuple(1u, "out", 100.0, std::vector<C>{50, 100, 200}));
  expect_near(c.begin_samples()->S(), {0.5, 0, 0, 0, 0, 0, 0, 0, 0.5});

  // Field-solver comments become port data; the port impedance is not the reference.
  read_touchstone(c, data_file("touchstone_field_solver.s2p").c_str());
  const SMatrixSample &a = *c.begin_samples(), &b = *c.rbegin_samples();
  EXPECT_EQ(
      std::make_tuple(c.name(0), c.name(1), c.port_data_names(), a.S(), a.Zref(0)),
      std::make_tuple("a b", "c",
                      std::vector<PortDataName>{{"Gamma", 0}, {"Gamma", 1}, {"Zpi", 0}, {"Zpi", 1}},
                      std::vector<C>{{0.1, 0.2}, {0.5, 0.6}, {0.3, 0.4}, {0.7, 0.8}}, C(50)));
  EXPECT_EQ(std::make_tuple(a({"Gamma", 1}), a({"Zpi", 0}), b({"Gamma", 0}), b({"Zpi", 1})),
            std::make_tuple(C(3, 4), C(50, -1), C(5, 6), C(46, 2)));
  // The public reader names the path and keeps the container on failure.
  EXPECT_THROW_MSG(read_touchstone(c, "no/such.s2p"), std::runtime_error,
                   "Unable to read <no/such.s2p>");
  const std::string path = scratch_file("bad.s1p", "! header\n1 0 0\n2 0 zero\n");
  EXPECT_THROW_MSG(read_touchstone(c, path.c_str()), std::runtime_error,
                   path + ":3: expected a number, found \"zero\"");
  EXPECT_EQ(c.nbPorts(), 2u);
  std::remove(path.c_str());
}

// One case a line: file name | text | frequency, Zref(0) and S (real and imaginary parts) of the
// last sample. The defaults are GHz S MA R 50; the H and G rows are a through (V2 = V1,
// I2 = -I1); the Z of a shunt resistor r = 2 (normalised)
// gives S11 = -1 / (1 + 2r), S21 = 2r / (1 + 2r); y = 1/R is matched.
TEST(Touchstone, OptionsAndLayouts) {
  for (const auto& row : rows(R"(
a.S1P | 1 2 90\n | 1e9 50 0 2
a.s1p | # khz db S\n1 20 180\n | 1e3 50 -10 0
a.s1p | #MHz RI y R 25\n2 1 0\n | 2e6 25 0 0
a.s2p | # Hz Z RI\n1 2 0 2 0 2 0 2 0\n | 1 50 -0.2 0 0.8 0 0.8 0 -0.2 0
a.s2p | # Hz H RI\n1 0 0 -1 0 1 0 0 0\n | 1 50 0 0 1 0 1 0 0 0
a.s2p | # Hz G RI\n1 0 0 1 0 -1 0 0 0\n | 1 50 0 0 1 0 1 0 0 0
a.s2p | [Version] 2.0\n# Hz S RI\n[Number of Ports] 2\n[Two-Port Data Order] 12_21\n[Network Data]\n1 1 0 2 0 3 0 4 0\n | 1 50 1 0 2 0 3 0 4 0
x.ts | [version] 2.0\n# Hz S RI R 75\n[number of ports] 2\n[Matrix Format] lower\n[network data]\n1 1 0 2 0\n 3 0\n[Noise Data]\n1 1 1 0 1\n[end]\n | 1 75 1 0 2 0 2 0 3 0
a.s3p | # Hz S RI\n1 1 0 2 0 3 0 4 0\n5 0 6 0 7 0 8 0 9 0\n | 1 50 1 0 2 0 3 0 4 0 5 0 6 0 7 0 8 0 9 0)")) {
    SCOPED_TRACE(row[1]);
    std::istringstream values(row[2]);
    double f = 0, zref = 0, re = 0, im = 0;
    std::vector<C> s;
    for (values >> f >> zref; values >> re >> im;)
      s.emplace_back(re, im);
    SMatrixContainer c;
    detail::parse_touchstone(row[1], row[0], c, nullptr);
    ASSERT_NE(c.nbSamples(), 0u);
    EXPECT_EQ(std::make_tuple(c.rbegin_samples()->frequency(), c.rbegin_samples()->Zref(0)),
              std::make_tuple(f, C(zref)));
    expect_near(c.rbegin_samples()->S(), s);
  }
}

// One case a line: file name | text | message. Every .ts text starts with "[Version] 2.0",
// added here.
TEST(Touchstone, RefusesDamagedFilesWithPathLineAndWhatWasExpected) {
  for (const auto& row : rows(R"(
f.s1p | # Hz S RI\n1 0 0\n1 0 0\n | f.s1p:3: expected a frequency above 1, found 1
f.s1p | 1 0 x\n | f.s1p:1: expected a number, found "x"
f.s2p | 1 0 0 0 0\n0 0 0 0 2\n | f.s2p:2: expected 9 values for the frequency 1, found 10
f.s2p | 1 0 0 0 0\n0 0\n | f.s2p:2: expected 9 values for the frequency 1, found 7
f.s1p | -1 0 0\n | f.s1p:1: expected a finite frequency of at least 0, found -1
f.txt | 1 0 0\n | f.txt:1: expected [Number of Ports] or a .sNp file name, found neither
f.s1p | # Hz S RI Q\n | f.s1p:1: expected Hz, kHz, MHz, GHz, S, Y, Z, H, G, MA, DB, RI or R on the option line, found "Q"
f.s1p | # R\n | f.s1p:1: expected a reference impedance after R, found end of line
f.s1p | # R 0\n1 0 0\n | f.s1p:1: expected a positive reference impedance, found 0
f.s2p | # R 50 60 70\n1 0 0 0 0 0 0 0 0\n | f.s2p:1: expected 1 or 2 reference impedances after R, found 3
f.s3p | # H\n1 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0\n | f.s3p:1: expected 2 ports for H parameters, found 3
f.s2p | [Number of Ports] 2\n | f.s2p:1: expected [Version] before any other keyword, found "[Number of Ports]"
f.s2p | [Version] 3.0\n | f.s2p:1: expected 2.0 or 2.1 after [Version], found "3.0"
f.ts | [Number of Ports] 0\n | f.ts:2: expected a positive whole number, found "0"
f.ts | [Number of Ports] 6\n | f.ts:2: expected at most 5 ports in a file of 34 bytes, found 6
f.ts | [Number of Ports] 2\n[Two-Port Data Order] 11_22\n | f.ts:3: expected 12_21 or 21_12 after [Two-Port Data Order], found "11_22"
f.ts | [Number of Frequencies] x\n | f.ts:2: expected a whole number, found "x"
f.ts | [Reference] 50\n | f.ts:2: expected [Number of Ports] before [Reference], found none
f.ts | [Number of Ports] 2\n[Reference] 50\n[Network Data]\n | f.ts:4: expected 2 reference impedances after [Reference], found 1
f.ts | [Number of Ports] 1\n[Reference] 50 60\n | f.ts:3: expected 1 reference impedances after [Reference], found 2
f.ts | [Number of Ports] 1\n[Reference]\n-5\n[Network Data]\n1 0 0\n | f.ts:3: expected a positive reference impedance, found -5
f.ts | [Matrix Format] Diagonal\n | f.ts:2: expected Full, Lower or Upper after [Matrix Format], found "Diagonal"
f.ts | [Mixed-Mode Order] D2,1 C2,1\n | f.ts:2: expected single-ended data, found [Mixed-Mode Order] (mixed-mode data is not read)
f.ts | [Begin Information]\n | f.ts:2: expected [End Information], found end of file
f.ts | [Network Data]\n | f.ts:2: expected [Number of Ports] before [Network Data], found none
f.ts | [Number of Ports] 1\n1 0 0\n | f.ts:3: expected [Network Data] before the data, found "1"
f.ts | [Number of Ports] 1\n[Network Data]\n1 0 0\n[Number of Ports] 2\n | f.ts:5: expected [Noise Data] or [End] after the network data, found "[Number of Ports]"
f.s1p | 1 0 0\n# Hz\n | f.s1p:2: expected the option line before the data, found it after
f.ts | [Number of Ports] 1\n[Reference] 50\n[Number of Ports] 2\n[Network Data]\n1 0 0 0 0 0 0 0 0\n | f.ts:3: expected 2 reference impedances after [Reference], found 1
f.ts | [Bogus]\n | f.ts:2: expected a Touchstone keyword, found "[Bogus]"
f.ts | [Number of Ports\n | f.ts:2: expected a keyword, found "[Number of Ports"
f.ts | [Number of Ports] 1\n[Number of Frequencies] 2\n[Network Data]\n1 0 0\n[End]\n | f.ts:6: expected 2 frequencies as [Number of Frequencies] says, found 1
f.ts | [Number of Ports] 2\n[Number of Noise Frequencies] 1\n[Network Data]\n[Noise Data]\n | f.ts:5: expected 1 noise frequencies as [Number of Noise Frequencies] says, found 0
f.s2p | 1 0 0 0 0 0 0 0 0\n0.5 1 1 0 1 1\n | f.s2p:2: expected 5 values for the noise frequency 0.5, found 6
f.s2p | 1 0 0 0 0 0 0 0 0\n0.5 1 1 0 1\n0.5 1 1 0 1\n | f.s2p:3: expected a frequency above 0.5, found 0.5
f.s2p | 1 0 0 0 0 0 0 0 0\n0.5 1 1 0\n | f.s2p:2: expected 5 values for the noise frequency 0.5, found 4
f.s1p | 1 0 0\n! Gamma 1 2 3\n | f.s1p:2: expected 2 values after "! Gamma", found 3
f.s2p | 1 0 0 0 0\n! Gamma 1 2 3 4\n | f.s2p:2: expected 9 values for the frequency 1, found 5
f.s1p | 1 0 0\n! Port Impedance 1 2\n2 0 0\n3 0 0\n | f.s1p:4: expected the same field-solver comments for every frequency, found a difference at the frequency 2)")) {
    const std::string text = row[0] == "f.ts" ? "[Version] 2.0\n" + row[1] : row[1];
    SMatrixContainer c;
    EXPECT_THROW_MSG(detail::parse_touchstone(text, row[0], c, nullptr), std::runtime_error,
                     row[2]);
  }
}

// Segments, blocks out of the usual order and every value format: S11 RI; S12 in dB and degrees
// (20 dB = 10); S21 magnitudes only; S22 magnitude and degrees. Port 2 has no PORTZ block. Port
// names come with or without a word after the "#".
TEST(Citi, SegmentsFormatsAndBlocksInAnyOrder) {
  SMatrixContainer c;
  read_cti(c, data_file("citi_segments.cti").c_str());
  EXPECT_EQ(std::make_tuple(c.nbPorts(), c.discrete_frequencies(), c.name(0), c.name(1),
                            c.port_data_names()),
            std::make_tuple(2u, std::vector<double>{1e9, 2e9, 4e9}, "left", "right",
                            std::vector<PortDataName>{{"Zpi", 1}}));
  const std::vector<C> s[] = {{{1, 2}, {10, 0}, {0.5, 0}, {0, 2}},
                              {{3, 4}, {0.1, 0}, {-0.5, 0}, {-2, 0}},
                              {{5, 6}, {-1, 0}, {0.25, 0}, {0, -2}}};
  for (int k = 0; k < 3; ++k) {
    const SMatrixSample at = c.evaluate(c.discrete_frequencies()[k], REAL_IMAG);
    expect_near(at.S(), s[k]);
    EXPECT_EQ(at.Zref(), (std::vector<C>{75, 50}));
  }
  EXPECT_EQ(c.evaluate(2e9, REAL_IMAG)({"Zpi", 1}), C(2, 2));
}

// One case a line: text | message.
TEST(Citi, RefusesDamagedFilesWithPathLineAndWhatWasExpected) {
  for (const auto& row : rows(R"(
 | c.cti:1: expected CITIFILE on the first line, found end of file
CITI\n | c.cti:1: expected CITIFILE on the first line, found "CITI"
CITIFILE A.01.01\nVAR time MAG 2\n | c.cti:2: expected VAR freq MAG <count>, found "time MAG 2"
CITIFILE A.01.01\nVAR freq MAG 1\nVAR freq MAG 1\n | c.cti:3: expected one VAR line, found a second
CITIFILE A.01.01\nDATA S[1] RI\n | c.cti:2: expected a data name such as S[1,2], PORTZ[1] or Gamma[0], found "S[1]"
CITIFILE A.01.01\nDATA S[1,1] XY\n | c.cti:2: expected RI, MAG, MAGANGLE or DBANGLE, found "XY"
CITIFILE A.01.01\nVAR_LIST_BEGIN\n | c.cti:2: expected VAR freq MAG <count> before VAR_LIST_BEGIN, found none
CITIFILE A.01.01\nVAR freq MAG 2\nVAR_LIST_BEGIN\n1\n1\n | c.cti:5: expected a frequency above 1, found 1
CITIFILE A.01.01\nVAR freq MAG 1\nVAR_LIST_BEGIN\n1\n2\n | c.cti:5: expected 1 frequencies as VAR freq says, found more
CITIFILE A.01.01\nVAR freq MAG 2\nVAR_LIST_BEGIN\n1\nVAR_LIST_END\n | c.cti:5: expected 2 frequencies as VAR freq says, found 1 before VAR_LIST_END
CITIFILE A.01.01\nVAR freq MAG 2\nVAR_LIST_BEGIN\n1\n | c.cti:4: expected VAR_LIST_END, found end of file
CITIFILE A.01.01\nVAR freq MAG 9\nSEG_LIST_BEGIN\nSEG 1 2 10\n | c.cti:4: expected 9 frequencies as VAR freq says, found more
CITIFILE A.01.01\nVAR freq MAG 9\nSEG_LIST_BEGIN\nSEG 2 1 9\n | c.cti:4: expected a frequency above 2, found 1
CITIFILE A.01.01\nVAR freq MAG 9\nSEG_LIST_BEGIN\nSEG 1 2 0\n | c.cti:4: expected a positive whole number, found "0"
CITIFILE A.01.01\nVAR freq MAG 9\nSEG_LIST_BEGIN\nSEG 1 2 5\nSEG 2 3 4\n | c.cti:5: expected a frequency above 2, found 2
CITIFILE A.01.01\nVAR freq MAG 9\nSEG_LIST_BEGIN\nBEGIN\n | c.cti:4: expected SEG or SEG_LIST_END, found "BEGIN"
CITIFILE A.01.01\nVAR freq MAG 1\nVAR_LIST_BEGIN\n1\nVAR_LIST_END\n | c.cti:5: expected DATA S[i,j] lines, found none
CITIFILE A.01.01\nVAR freq MAG 0\nDATA S[2,2] RI\nBEGIN\nEND\n | c.cti:5: expected DATA S[i,j] for every i and j up to 2, found 1 of them
CITIFILE A.01.01\nVAR freq MAG 0\nDATA S[1,1] RI\nDATA S[1,1] MAG\nBEGIN\nEND\nBEGIN\nEND\n | c.cti:4: expected one DATA line for S[1,1], found a second
CITIFILE A.01.01\nVAR freq MAG 0\n | c.cti:2: expected DATA S[i,j] lines, found none
CITIFILE A.01.01\nVAR freq MAG 1\n | c.cti:2: expected VAR_LIST_BEGIN or SEG_LIST_BEGIN, found none
CITIFILE A.01.01\nFOO\n | c.cti:2: expected a CITIfile keyword, found "FOO"
CITIFILE A.01.01\n | c.cti:1: expected VAR freq MAG <count>, found none
CITIFILE A.01.01\nVAR freq MAG 2\nDATA S[1,1] RI\nDATA PORTZ[2] RI\nVAR_LIST_BEGIN\n1\n2\nVAR_LIST_END\nBEGIN\n1,0\n2,0\nEND\nBEGIN\n1,0\n2,0\nEND\n | c.cti:4: expected PORTZ[1] to PORTZ[1], found PORTZ[2]
CITIFILE A.01.01\nVAR freq MAG 2\nDATA S[1,1] RI\nDATA G[1] RI\nVAR_LIST_BEGIN\n1\n2\nVAR_LIST_END\nBEGIN\n1,0\n2,0\nEND\nBEGIN\n1,0\n2,0\nEND\n | c.cti:4: expected an index from 0 to 0, found G[1]
CITIFILE A.01.01\nVAR freq MAG 2\nDATA S[1,1] RI\nDATA G[0] RI\nDATA G[0] RI\nVAR_LIST_BEGIN\n1\n2\nVAR_LIST_END\nBEGIN\n1,0\n2,0\nEND\nBEGIN\n1,0\n2,0\nEND\nBEGIN\n1,0\n2,0\nEND\n | c.cti:5: expected one DATA line for G[0], found a second
CITIFILE A.01.01\nVAR freq MAG 2\nDATA S[1,1] RI\nVAR_LIST_BEGIN\n1\n2\nVAR_LIST_END\nBEGIN\n1,0\n2,0\nEND\nBEGIN\n | c.cti:12: expected 1 data blocks, one per DATA line, found more
CITIFILE A.01.01\nVAR freq MAG 2\nDATA S[1,1] RI\nDATA G[0] RI\nVAR_LIST_BEGIN\n1\n2\nVAR_LIST_END\nBEGIN\n1,0\n2,0\nEND\n | c.cti:12: expected 2 data blocks, one per DATA line, found 1
CITIFILE A.01.01\nVAR freq MAG 2\nDATA S[1,1] RI\nDATA G[0] MAG\nVAR_LIST_BEGIN\n1\n2\nVAR_LIST_END\nBEGIN\n1,0\n2,0\nEND\nBEGIN\n1,0\n | c.cti:14: expected 1 values on a data line, found 2
CITIFILE A.01.01\nVAR freq MAG 2\nDATA S[1,1] RI\nDATA G[0] RI\nVAR_LIST_BEGIN\n1\n2\nVAR_LIST_END\nBEGIN\n1,0\n2,0\nEND\nBEGIN\n1\n | c.cti:14: expected 2 values on a data line, found 1
CITIFILE A.01.01\nVAR freq MAG 2\nDATA S[1,1] RI\nDATA G[0] RI\nVAR_LIST_BEGIN\n1\n2\nVAR_LIST_END\nBEGIN\n1,0\n2,0\nEND\nBEGIN\n1,x\n | c.cti:14: expected a number, found "x"
CITIFILE A.01.01\nVAR freq MAG 2\nDATA S[1,1] RI\nDATA G[0] RI\nVAR_LIST_BEGIN\n1\n2\nVAR_LIST_END\nBEGIN\n1,0\n2,0\nEND\nBEGIN\n1,0\nEND\n | c.cti:15: expected 2 data lines between BEGIN and END, found 1
CITIFILE A.01.01\nVAR freq MAG 2\nDATA S[1,1] RI\nDATA G[0] RI\nVAR_LIST_BEGIN\n1\n2\nVAR_LIST_END\nBEGIN\n1,0\n2,0\nEND\nBEGIN\n1,0\n1,0\n1,0\n | c.cti:16: expected 2 data lines between BEGIN and END, found more
CITIFILE A.01.01\nVAR freq MAG 2\nDATA S[1,1] RI\nDATA G[0] RI\nVAR_LIST_BEGIN\n1\n2\nVAR_LIST_END\nBEGIN\n1,0\n2,0\nEND\nBEGIN\n1,0\n | c.cti:14: expected END, found end of file)")) {
    SMatrixContainer c;
    EXPECT_THROW_MSG(detail::parse_citi(row[0], "c.cti", c), std::runtime_error, row[1]);
  }
}

// n ports with values whose shortest decimal form needs all 17 digits, extremes and signed
// zeros; reference impedances 50 or 25 k, port data Gamma[0] and Zpi[n - 1] if asked for.
SMatrixContainer awkward(std::size_t n, bool equal_references, bool port_data, int samples) {
  const std::vector<double> specials({0.1, -0.0, 1.0 / 3.0, 4.9406564584124654e-324,
                                      1.7976931348623157e308, -2.2250738585072014e-308,
                                      123456789.123});
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
      const std::string path =
          ::testing::TempDir() + "korvantix_read_back." +
          (format == Citifile ? "cti" : "s" + std::to_string(written.nbPorts()) + "p");
      write(written, path.c_str(), format);
      SMatrixContainer read;
      read_any(read, path.c_str());
      std::remove(path.c_str());
      ASSERT_TRUE(read == written) << path;
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
  for (const auto& row : rows(R"(
a.txt | ! c\n# GHz S MA\n | touchstone | 1.1
a.txt | \n[Version] 2.1\n | touchstone | 2.1
a.txt | CITIFILE A.01.01\n | citifile | A.01.01
a.S2P | 1 0 0 0 0 0 0 0 0\n | touchstone | 1.1
a.citi | \n | citifile |
a.txt | 1 0 0\n | unknown |
ascii_v21_two_ports.kvx | | kvx_ascii | 2.1.0
binary_v22_port_models.kvx | | kvx_binary | 2.2.0)")) {
    const std::string path = row[0].find(".kvx") != std::string::npos
                                 ? data_file(row[0].c_str())
                                 : scratch_file(row[0], row[1]);
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

// Progressive truncation: every prefix of a good file reads or is refused with a
// std::runtime_error, never worse.
TEST(RoundTrip, EveryPrefixReadsOrFailsCleanly) {
  for (const char* name : {"touchstone_v1_noise.s2p", "touchstone_v2_upper_z.s3p",
                           "touchstone_field_solver.s2p", "citi_segments.cti"}) {
    std::ifstream in(data_file(name), std::ios::binary);
    const std::string text{std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
    for (std::size_t n = 0; n <= text.size(); ++n) {
      SMatrixContainer c;
      try {
        name[0] == 'c' ? detail::parse_citi(text.substr(0, n), name, c)
                       : detail::parse_touchstone(text.substr(0, n), name, c, nullptr);
      } catch (const std::runtime_error& error) {
        EXPECT_EQ(typeid(error), typeid(std::runtime_error)) << name << " " << n;
      }
    }
  }
}

}  // namespace
}  // namespace korvantix
