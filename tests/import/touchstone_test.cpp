#include <korvantix/container.hpp>
#include <korvantix/import.hpp>

#include <gtest/gtest.h>

#include <complex>
#include <stdexcept>
#include <string>
#include <vector>

#include "import/import_support.hpp"
#include "import/readers.hpp"
#include "test_support.hpp"

namespace korvantix {
namespace {

using C = std::complex<double>;
using testing_import::data_file;
using testing_import::sample_at;

TEST(Touchstone, Version1MagnitudeAngleWithNoiseBlock) {
  SMatrixContainer c(5);
  std::vector<NoiseParameters> noise(3);
  read_touchstone(c, data_file("touchstone_v1_noise.s2p").c_str(), noise);
  ASSERT_EQ(c.nbPorts(), 2u);
  ASSERT_EQ(c.nbSamples(), 2u);
  EXPECT_EQ(c.name(0), "in");
  EXPECT_EQ(c.name(1), "port_1");
  const SMatrixSample& a = sample_at(c, 1e9);
  // Column order 21_12: S11, S21, S12, S22.
  EXPECT_COMPLEX_NEAR(a(0, 0), C(0, 0.5));
  EXPECT_COMPLEX_NEAR(a(1, 0), C(1, 0));
  EXPECT_COMPLEX_NEAR(a(0, 1), C(-1, 0));
  EXPECT_COMPLEX_NEAR(a(1, 1), C(0, -0.25));
  EXPECT_EQ(a.Zref(1), C(25, 0));
  const SMatrixSample& b = sample_at(c, 2e9);
  EXPECT_EQ(b.S(), (std::vector<C>{0.5, 1, 1, 0.5}));
  ASSERT_EQ(noise.size(), 2u);
  EXPECT_EQ(noise[0].frequency, 1.5e9);
  EXPECT_EQ(noise[0].nfmin_db, 2.5);
  EXPECT_COMPLEX_NEAR(noise[0].gamma_opt, C(0, 0.5));
  EXPECT_EQ(noise[0].rn, 5.0);  // 0.2 of R = 25
  EXPECT_EQ(noise[1].frequency, 3e9);
  EXPECT_COMPLEX_NEAR(noise[1].gamma_opt, C(-0.25, 0));
  EXPECT_EQ(noise[1].rn, 10.0);
  SMatrixContainer without_noise;
  read_touchstone(without_noise, data_file("touchstone_v1_noise.s2p").c_str());
  EXPECT_TRUE(without_noise == c);
}

TEST(Touchstone, Version2UpperTriangleOfImpedancesWithPerPortReference) {
  SMatrixContainer c;
  read_touchstone(c, data_file("touchstone_v2_upper_z.s3p").c_str());
  ASSERT_EQ(c.nbSamples(), 1u);
  EXPECT_EQ(c.name(2), "out");
  const SMatrixSample& s = *c.begin_samples();
  EXPECT_EQ(s.frequency(), 100.0);
  EXPECT_EQ(s.Zref(), (std::vector<C>{50, 100, 200}));
  // A diagonal Z: each port a load Z_k on its own, S_kk = (Z_k - R_k) / (Z_k + R_k).
  const std::vector<double> expected = {0.5, 0, 0, 0, 0, 0, 0, 0, 0.5};
  for (std::size_t k = 0; k < 9; ++k)
    EXPECT_COMPLEX_NEAR(s.S()[k], C(expected[k], 0));
}

TEST(Touchstone, FieldSolverCommentsBecomePortData) {
  SMatrixContainer c;
  read_touchstone(c, data_file("touchstone_field_solver.s2p").c_str());
  EXPECT_EQ(c.name(0), "a b");
  EXPECT_EQ(c.name(1), "c");
  EXPECT_EQ(c.port_data_names(),
            (std::vector<PortDataName>{{"Gamma", 0}, {"Gamma", 1}, {"Zpi", 0}, {"Zpi", 1}}));
  const SMatrixSample& a = sample_at(c, 1e9);
  EXPECT_EQ(a.S(), (std::vector<C>{{0.1, 0.2}, {0.5, 0.6}, {0.3, 0.4}, {0.7, 0.8}}));
  EXPECT_EQ(a({"Gamma", 1}), C(3, 4));
  EXPECT_EQ(a({"Zpi", 0}), C(50, -1));
  EXPECT_EQ(a.Zref(0), C(50, 0));  // the option line's, not the port impedance
  const SMatrixSample& b = sample_at(c, 2e9);
  EXPECT_EQ(b({"Gamma", 0}), C(5, 6));
  EXPECT_EQ(b({"Zpi", 1}), C(46, 2));
}

struct Good {
  const char* name;
  const char* text;
  std::vector<C> s;  // of the last sample
  double frequency;
  double zref;
};

TEST(Touchstone, OptionsAndLayouts) {
  const Good cases[] = {
      // Defaults GHz S MA R 50, data without option line.
      {"a.S1P", "1 2 90\n", {{0, 2}}, 1e9, 50},
      {"a.s1p", "# khz db S\n1 20 180\n", {{-10, 0}}, 1e3, 50},
      {"a.s1p", "#MHz RI y R 25\n2 1 0\n", {{0, 0}}, 2e6, 25},  // y = 1/R matched
      // Z of a shunt resistor r = 2 (normalised): S11 = -1 / (1 + 2r), S21 = 2r / (1 + 2r).
      {"a.s2p", "# Hz Z RI\n1 2 0 2 0 2 0 2 0\n", {-0.2, 0.8, 0.8, -0.2}, 1, 50},
      {"a.s2p",
       "[Version] 2.0\n# Hz S RI\n[Number of Ports] 2\n[Two-Port Data Order] 12_21\n"
       "[Network Data]\n1 1 0 2 0 3 0 4 0\n",
       {1, 2, 3, 4},
       1,
       50},
      {"x.ts",
       "[version] 2.0\n# Hz S RI R 75\n[number of ports] 2\n[Matrix Format] lower\n"
       "[network data]\n1 1 0 2 0\n 3 0\n[Noise Data]\n1 1 1 0 1\n[end]\n",
       {1, 2, 2, 3},
       1,
       75},
      {"a.s3p",
       "# Hz S RI\n1 1 0 2 0 3 0 4 0\n5 0 6 0 7 0 8 0 9 0\n",
       {1, 2, 3, 4, 5, 6, 7, 8, 9},
       1,
       50},
  };
  for (const Good& g : cases) {
    SMatrixContainer c;
    detail::parse_touchstone(g.text, g.name, c, nullptr);
    ASSERT_NE(c.nbSamples(), 0u) << g.text;
    const SMatrixSample& s = *c.rbegin_samples();
    EXPECT_EQ(s.frequency(), g.frequency) << g.text;
    EXPECT_EQ(s.Zref(0), C(g.zref, 0)) << g.text;
    ASSERT_EQ(s.S().size(), g.s.size()) << g.text;
    for (std::size_t k = 0; k < g.s.size(); ++k)
      EXPECT_COMPLEX_NEAR(s.S()[k], g.s[k]);
  }
}

struct Bad {
  const char* name;
  const char* text;
  const char* message;
};

TEST(Touchstone, RefusesDamagedFilesWithPathLineAndWhatWasExpected) {
  const Bad cases[] = {
      {"f.s1p", "# Hz S RI\n1 0 0\n1 0 0\n", "f.s1p:3: expected a frequency above 1, found 1"},
      {"f.s1p", "1 0 x\n", "f.s1p:1: expected a number, found \"x\""},
      {"f.s2p", "1 0 0 0 0\n0 0 0 0 2\n",
       "f.s2p:2: expected 9 values for the frequency 1, found 10"},
      {"f.s2p", "1 0 0 0 0\n0 0\n", "f.s2p:2: expected 9 values for the frequency 1, found 7"},
      {"f.s1p", "-1 0 0\n", "f.s1p:1: expected a finite frequency of at least 0, found -1"},
      {"f.txt", "1 0 0\n",
       "f.txt:1: expected [Number of Ports] or a .sNp file name, found neither"},
      {"f.s1p", "# Hz S RI Q\n",
       "f.s1p:1: expected Hz, kHz, MHz, GHz, S, Y, Z, H, G, MA, DB, RI or R on the option line, "
       "found \"Q\""},
      {"f.s1p", "# R\n", "f.s1p:1: expected a reference impedance after R, found end of line"},
      {"f.s1p", "# R 0\n1 0 0\n", "f.s1p:1: expected a positive reference impedance, found 0"},
      {"f.s2p", "# R 50 60 70\n1 0 0 0 0 0 0 0 0\n",
       "f.s2p:1: expected 1 or 2 reference impedances after R, found 3"},
      {"f.s3p", "# H\n1 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0\n",
       "f.s3p:1: expected 2 ports for H parameters, found 3"},
      {"f.s2p", "[Number of Ports] 2\n",
       "f.s2p:1: expected [Version] before any other keyword, found \"[Number of Ports]\""},
      {"f.s2p", "[Version] 3.0\n", "f.s2p:1: expected 2.0 or 2.1 after [Version], found \"3.0\""},
      {"f.ts", "[Version] 2.0\n[Number of Ports] 0\n",
       "f.ts:2: expected a positive whole number, found \"0\""},
      {"f.ts", "[Version] 2.0\n[Number of Ports] 6\n",
       "f.ts:2: expected at most 5 ports in a file of 34 bytes, found 6"},
      {"f.ts", "[Version] 2.0\n[Number of Ports] 2\n[Two-Port Data Order] 11_22\n",
       "f.ts:3: expected 12_21 or 21_12 after [Two-Port Data Order], found \"11_22\""},
      {"f.ts", "[Version] 2.0\n[Number of Frequencies] x\n",
       "f.ts:2: expected a whole number, found \"x\""},
      {"f.ts", "[Version] 2.0\n[Reference] 50\n",
       "f.ts:2: expected [Number of Ports] before [Reference], found none"},
      {"f.ts", "[Version] 2.0\n[Number of Ports] 2\n[Reference] 50\n[Network Data]\n",
       "f.ts:4: expected 2 reference impedances after [Reference], found 1"},
      {"f.ts", "[Version] 2.0\n[Number of Ports] 1\n[Reference] 50 60\n",
       "f.ts:3: expected 1 reference impedances after [Reference], found 2"},
      {"f.ts", "[Version] 2.0\n[Number of Ports] 1\n[Reference]\n-5\n[Network Data]\n1 0 0\n",
       "f.ts:3: expected a positive reference impedance, found -5"},
      {"f.ts", "[Version] 2.0\n[Matrix Format] Diagonal\n",
       "f.ts:2: expected Full, Lower or Upper after [Matrix Format], found \"Diagonal\""},
      {"f.ts", "[Version] 2.0\n[Mixed-Mode Order] D2,1 C2,1\n",
       "f.ts:2: expected single-ended data, found [Mixed-Mode Order] (mixed-mode data is not "
       "read)"},
      {"f.ts", "[Version] 2.0\n[Begin Information]\n",
       "f.ts:2: expected [End Information], found end of file"},
      {"f.ts", "[Version] 2.0\n[Network Data]\n",
       "f.ts:2: expected [Number of Ports] before [Network Data], found none"},
      {"f.ts", "[Version] 2.0\n[Number of Ports] 1\n1 0 0\n",
       "f.ts:3: expected [Network Data] before the data, found \"1\""},
      {"f.ts", "[Version] 2.0\n[Number of Ports] 1\n[Network Data]\n1 0 0\n[Number of Ports] 2\n",
       "f.ts:5: expected [Noise Data] or [End] after the network data, found \"[Number of "
       "Ports]\""},
      {"f.s1p", "1 0 0\n# Hz\n",
       "f.s1p:2: expected the option line before the data, found it after"},
      {"f.ts",
       "[Version] 2.0\n[Number of Ports] 1\n[Reference] 50\n[Number of Ports] 2\n[Network Data]\n1 "
       "0 0 0 0 0 0 0 0\n",
       "f.ts:3: expected 2 reference impedances after [Reference], found 1"},
      {"f.ts", "[Version] 2.0\n[Bogus]\n",
       "f.ts:2: expected a Touchstone keyword, found \"[Bogus]\""},
      {"f.ts", "[Version] 2.0\n[Number of Ports\n",
       "f.ts:2: expected a keyword, found \"[Number of Ports\""},
      {"f.ts",
       "[Version] 2.0\n[Number of Ports] 1\n[Number of Frequencies] 2\n[Network Data]\n1 0 "
       "0\n[End]\n",
       "f.ts:6: expected 2 frequencies as [Number of Frequencies] says, found 1"},
      {"f.ts",
       "[Version] 2.0\n[Number of Ports] 2\n[Number of Noise Frequencies] 1\n[Network "
       "Data]\n[Noise Data]\n",
       "f.ts:5: expected 1 noise frequencies as [Number of Noise Frequencies] says, found 0"},
      {"f.s2p", "1 0 0 0 0 0 0 0 0\n0.5 1 1 0 1 1\n",
       "f.s2p:2: expected 5 values for the noise frequency 0.5, found 6"},
      {"f.s2p", "1 0 0 0 0 0 0 0 0\n0.5 1 1 0 1\n0.5 1 1 0 1\n",
       "f.s2p:3: expected a frequency above 0.5, found 0.5"},
      {"f.s2p", "1 0 0 0 0 0 0 0 0\n0.5 1 1 0\n",
       "f.s2p:2: expected 5 values for the noise frequency 0.5, found 4"},
      {"f.s1p", "1 0 0\n! Gamma 1 2 3\n", "f.s1p:2: expected 2 values after \"! Gamma\", found 3"},
      {"f.s2p", "1 0 0 0 0\n! Gamma 1 2 3 4\n",
       "f.s2p:2: expected 9 values for the frequency 1, found 5"},
      {"f.s1p", "1 0 0\n! Port Impedance 1 2\n2 0 0\n3 0 0\n",
       "f.s1p:4: expected the same field-solver comments for every frequency, found a difference "
       "at the frequency 2"},
  };
  for (const Bad& b : cases) {
    SMatrixContainer c;
    EXPECT_THROW_MSG(detail::parse_touchstone(b.text, b.name, c, nullptr), std::runtime_error,
                     b.message);
  }
}

TEST(Touchstone, PublicReaderNamesThePathAndKeepsTheContainerOnFailure) {
  SMatrixContainer c(3);
  EXPECT_THROW_MSG(read_touchstone(c, "no/such.s2p"), std::runtime_error,
                   "Unable to read <no/such.s2p>");
  const std::string path = testing_import::scratch_path("bad.s1p");
  testing_import::write_text(path, "! header\n1 0 0\n2 0 zero\n");
  EXPECT_THROW_MSG(read_touchstone(c, path.c_str()), std::runtime_error,
                   path + ":3: expected a number, found \"zero\"");
  EXPECT_EQ(c.nbPorts(), 3u);
  std::remove(path.c_str());
}

}  // namespace
}  // namespace korvantix
