#include <korvantix/container.hpp>
#include <korvantix/import.hpp>

#include <gtest/gtest.h>

#include "import/import_support.hpp"
#include "import/readers.hpp"
#include "test_support.hpp"

namespace korvantix {
namespace {

using C = std::complex<double>;
using testing_import::data_file;
using testing_import::expect_near;

TEST(Touchstone, GoldenFiles) {
  // Version 1, magnitude-angle in GHz, column order 21_12 (S11, S21, S12, S22), a noise block
  // whose Rn is normalised to R = 25; the noise list is optional and replaced, not appended to.
  SMatrixContainer c(5), without_noise;
  std::vector<NoiseParameters> noise(3);
  read_touchstone(c, data_file("touchstone_v1_noise.s2p").c_str(), noise);
  read_touchstone(without_noise, data_file("touchstone_v1_noise.s2p").c_str());
  EXPECT_TRUE(without_noise == c);
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
}

// One case a line: file name | text | frequency and Zref(0) of the last sample | its S as real and
// imaginary parts. The defaults are GHz S MA R 50; the Z of a shunt resistor r = 2 (normalised)
// gives S11 = -1 / (1 + 2r), S21 = 2r / (1 + 2r); y = 1/R is matched.
TEST(Touchstone, OptionsAndLayouts) {
  for (const auto& row : testing_import::rows(R"(
a.S1P | 1 2 90\n | 1e9 50 | 0 2
a.s1p | # khz db S\n1 20 180\n | 1e3 50 | -10 0
a.s1p | #MHz RI y R 25\n2 1 0\n | 2e6 25 | 0 0
a.s2p | # Hz Z RI\n1 2 0 2 0 2 0 2 0\n | 1 50 | -0.2 0 0.8 0 0.8 0 -0.2 0
a.s2p | [Version] 2.0\n# Hz S RI\n[Number of Ports] 2\n[Two-Port Data Order] 12_21\n[Network Data]\n1 1 0 2 0 3 0 4 0\n | 1 50 | 1 0 2 0 3 0 4 0
x.ts | [version] 2.0\n# Hz S RI R 75\n[number of ports] 2\n[Matrix Format] lower\n[network data]\n1 1 0 2 0\n 3 0\n[Noise Data]\n1 1 1 0 1\n[end]\n | 1 75 | 1 0 2 0 2 0 3 0
a.s3p | # Hz S RI\n1 1 0 2 0 3 0 4 0\n5 0 6 0 7 0 8 0 9 0\n | 1 50 | 1 0 2 0 3 0 4 0 5 0 6 0 7 0 8 0 9 0)")) {
    SCOPED_TRACE(row[1]);
    std::istringstream at(row[2]), values(row[3]);
    double f = 0, zref = 0;
    at >> f >> zref;
    std::vector<C> s;
    for (double re, im; values >> re >> im;)
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
  for (const auto& row : testing_import::rows(R"(
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

TEST(Touchstone, PublicReaderNamesThePathAndKeepsTheContainerOnFailure) {
  SMatrixContainer c(3);
  EXPECT_THROW_MSG(read_touchstone(c, "no/such.s2p"), std::runtime_error,
                   "Unable to read <no/such.s2p>");
  const std::string path = testing_import::scratch_file("bad.s1p", "! header\n1 0 0\n2 0 zero\n");
  EXPECT_THROW_MSG(read_touchstone(c, path.c_str()), std::runtime_error,
                   path + ":3: expected a number, found \"zero\"");
  EXPECT_EQ(c.nbPorts(), 3u);
  std::remove(path.c_str());
}

}  // namespace
}  // namespace korvantix
