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

TEST(Citi, SegmentsFormatsAndBlocksInAnyOrder) {
  SMatrixContainer c;
  read_cti(c, data_file("citi_segments.cti").c_str());
  ASSERT_EQ(c.nbPorts(), 2u);
  EXPECT_EQ(c.discrete_frequencies(), (std::vector<double>{1e9, 2e9, 4e9}));
  EXPECT_EQ(c.name(0), "port_0");
  EXPECT_EQ(c.name(1), "right");
  EXPECT_EQ(c.port_data_names(), (std::vector<PortDataName>{{"Zpi", 1}}));
  struct Row {
    double f;
    C s11, s12, s21, s22;
  };
  // S11 RI; S12 in dB and degrees (20 dB = 10); S21 magnitudes only; S22 magnitude and degrees.
  const Row rows[] = {{1e9, {1, 2}, {10, 0}, {0.5, 0}, {0, 2}},
                      {2e9, {3, 4}, {0.1, 0}, {-0.5, 0}, {-2, 0}},
                      {4e9, {5, 6}, {-1, 0}, {0.25, 0}, {0, -2}}};
  for (const Row& r : rows) {
    const SMatrixSample& s = sample_at(c, r.f);
    EXPECT_COMPLEX_NEAR(s(0, 0), r.s11);
    EXPECT_COMPLEX_NEAR(s(0, 1), r.s12);
    EXPECT_COMPLEX_NEAR(s(1, 0), r.s21);
    EXPECT_COMPLEX_NEAR(s(1, 1), r.s22);
    EXPECT_EQ(s.Zref(), (std::vector<C>{75, 50}));  // port 2 has no PORTZ block
  }
  EXPECT_EQ(sample_at(c, 2e9)({"Zpi", 1}), C(2, 2));
}

struct Bad {
  const char* text;
  const char* message;
};

// A valid one-port package around the lines under test.
std::string one_port(const std::string& declarations, const std::string& blocks) {
  return "CITIFILE A.01.01\nVAR freq MAG 2\nDATA S[1,1] RI\n" + declarations +
         "VAR_LIST_BEGIN\n1\n2\nVAR_LIST_END\nBEGIN\n1,0\n2,0\nEND\n" + blocks;
}

TEST(Citi, RefusesDamagedFilesWithPathLineAndWhatWasExpected) {
  const std::string cases[][2] = {
      {"", "c.cti:1: expected CITIFILE on the first line, found end of file"},
      {"CITI\n", "c.cti:1: expected CITIFILE on the first line, found \"CITI\""},
      {"CITIFILE A.01.01\nVAR time MAG 2\n",
       "c.cti:2: expected VAR freq MAG <count>, found \"time MAG 2\""},
      {"CITIFILE A.01.01\nVAR freq MAG 1\nVAR freq MAG 1\n",
       "c.cti:3: expected one VAR line, found a second"},
      {"CITIFILE A.01.01\nDATA S[1] RI\n",
       "c.cti:2: expected a data name such as S[1,2], PORTZ[1] or Gamma[0], found \"S[1]\""},
      {"CITIFILE A.01.01\nDATA S[1,1] XY\n",
       "c.cti:2: expected RI, MAG, MAGANGLE or DBANGLE, found \"XY\""},
      {"CITIFILE A.01.01\nVAR_LIST_BEGIN\n",
       "c.cti:2: expected VAR freq MAG <count> before VAR_LIST_BEGIN, found none"},
      {"CITIFILE A.01.01\nVAR freq MAG 2\nVAR_LIST_BEGIN\n1\n1\n",
       "c.cti:5: expected a frequency above 1, found 1"},
      {"CITIFILE A.01.01\nVAR freq MAG 1\nVAR_LIST_BEGIN\n1\n2\n",
       "c.cti:5: expected 1 frequencies as VAR freq says, found more"},
      {"CITIFILE A.01.01\nVAR freq MAG 2\nVAR_LIST_BEGIN\n1\nVAR_LIST_END\n",
       "c.cti:5: expected 2 frequencies as VAR freq says, found 1 before VAR_LIST_END"},
      {"CITIFILE A.01.01\nVAR freq MAG 2\nVAR_LIST_BEGIN\n1\n",
       "c.cti:4: expected VAR_LIST_END, found end of file"},
      {"CITIFILE A.01.01\nVAR freq MAG 9\nSEG_LIST_BEGIN\nSEG 1 2 10\n",
       "c.cti:4: expected 9 frequencies as VAR freq says, found more"},
      {"CITIFILE A.01.01\nVAR freq MAG 9\nSEG_LIST_BEGIN\nSEG 2 1 9\n",
       "c.cti:4: expected a frequency above 2, found 1"},
      {"CITIFILE A.01.01\nVAR freq MAG 9\nSEG_LIST_BEGIN\nSEG 1 2 0\n",
       "c.cti:4: expected a positive whole number, found \"0\""},
      {"CITIFILE A.01.01\nVAR freq MAG 9\nSEG_LIST_BEGIN\nSEG 1 2 5\nSEG 2 3 4\n",
       "c.cti:5: expected a frequency above 2, found 2"},
      {"CITIFILE A.01.01\nVAR freq MAG 9\nSEG_LIST_BEGIN\nBEGIN\n",
       "c.cti:4: expected SEG or SEG_LIST_END, found \"BEGIN\""},
      {"CITIFILE A.01.01\nVAR freq MAG 1\nVAR_LIST_BEGIN\n1\nVAR_LIST_END\n",
       "c.cti:5: expected DATA S[i,j] lines, found none"},
      {"CITIFILE A.01.01\nVAR freq MAG 0\nDATA S[2,2] RI\nBEGIN\nEND\n",
       "c.cti:5: expected DATA S[i,j] for every i and j up to 2, found 1 of them"},
      {"CITIFILE A.01.01\nVAR freq MAG 0\nDATA S[1,1] RI\nDATA S[1,1] "
       "MAG\nBEGIN\nEND\nBEGIN\nEND\n",
       "c.cti:4: expected one DATA line for S[1,1], found a second"},
      {"CITIFILE A.01.01\nVAR freq MAG 0\n", "c.cti:2: expected DATA S[i,j] lines, found none"},
      {"CITIFILE A.01.01\nVAR freq MAG 1\n",
       "c.cti:2: expected VAR_LIST_BEGIN or SEG_LIST_BEGIN, found none"},
      {"CITIFILE A.01.01\nFOO\n", "c.cti:2: expected a CITIfile keyword, found \"FOO\""},
      {"CITIFILE A.01.01\n", "c.cti:1: expected VAR freq MAG <count>, found none"},
      {one_port("DATA PORTZ[2] RI\n", "BEGIN\n1,0\n2,0\nEND\n"),
       "c.cti:4: expected PORTZ[1] to PORTZ[1], found PORTZ[2]"},
      {one_port("DATA G[1] RI\n", "BEGIN\n1,0\n2,0\nEND\n"),
       "c.cti:4: expected an index from 0 to 0, found G[1]"},
      {one_port("DATA G[0] RI\nDATA G[0] RI\n", "BEGIN\n1,0\n2,0\nEND\nBEGIN\n1,0\n2,0\nEND\n"),
       "c.cti:5: expected one DATA line for G[0], found a second"},
      {one_port("", "BEGIN\n"), "c.cti:12: expected 1 data blocks, one per DATA line, found more"},
      {one_port("DATA G[0] RI\n", ""),
       "c.cti:12: expected 2 data blocks, one per DATA line, found 1"},
      {one_port("DATA G[0] MAG\n", "BEGIN\n1,0\n"),
       "c.cti:14: expected 1 values on a data line, found 2"},
      {one_port("DATA G[0] RI\n", "BEGIN\n1\n"),
       "c.cti:14: expected 2 values on a data line, found 1"},
      {one_port("DATA G[0] RI\n", "BEGIN\n1,x\n"), "c.cti:14: expected a number, found \"x\""},
      {one_port("DATA G[0] RI\n", "BEGIN\n1,0\nEND\n"),
       "c.cti:15: expected 2 data lines between BEGIN and END, found 1"},
      {one_port("DATA G[0] RI\n", "BEGIN\n1,0\n1,0\n1,0\n"),
       "c.cti:16: expected 2 data lines between BEGIN and END, found more"},
      {one_port("DATA G[0] RI\n", "BEGIN\n1,0\n"), "c.cti:14: expected END, found end of file"},
  };
  for (const auto& [text, expected] : cases) {
    SMatrixContainer c;
    EXPECT_THROW_MSG(detail::parse_citi(text, "c.cti", c), std::runtime_error, expected);
  }
}

}  // namespace
}  // namespace korvantix
