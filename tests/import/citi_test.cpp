#include <korvantix/container.hpp>
#include <korvantix/import.hpp>

#include <gtest/gtest.h>

#include "import/import_support.hpp"
#include "import/readers.hpp"
#include "test_support.hpp"

namespace korvantix {
namespace {

using C = std::complex<double>;

// Segments, blocks out of the usual order and every value format: S11 RI; S12 in dB and degrees
// (20 dB = 10); S21 magnitudes only; S22 magnitude and degrees. Port 2 has no PORTZ block.
TEST(Citi, SegmentsFormatsAndBlocksInAnyOrder) {
  SMatrixContainer c;
  read_cti(c, testing_import::data_file("citi_segments.cti").c_str());
  EXPECT_EQ(std::make_tuple(c.nbPorts(), c.discrete_frequencies(), c.name(0), c.name(1),
                            c.port_data_names()),
            std::make_tuple(2u, std::vector<double>{1e9, 2e9, 4e9}, "port_0", "right",
                            std::vector<PortDataName>{{"Zpi", 1}}));
  const std::vector<C> s[] = {{{1, 2}, {10, 0}, {0.5, 0}, {0, 2}},
                              {{3, 4}, {0.1, 0}, {-0.5, 0}, {-2, 0}},
                              {{5, 6}, {-1, 0}, {0.25, 0}, {0, -2}}};
  for (int k = 0; k < 3; ++k) {
    const SMatrixSample at = c.evaluate(c.discrete_frequencies()[k], REAL_IMAG);
    testing_import::expect_near(at.S(), s[k]);
    EXPECT_EQ(at.Zref(), (std::vector<C>{75, 50}));
  }
  EXPECT_EQ(c.evaluate(2e9, REAL_IMAG)({"Zpi", 1}), C(2, 2));
}

// One case a line: text | message. Every text but the first two starts with the CITIFILE line,
// added here; "<1>" stands for a valid one-port package: the case's DATA lines join its
// declarations, the case's blocks follow its own.
TEST(Citi, RefusesDamagedFilesWithPathLineAndWhatWasExpected) {
  const std::string header = "CITIFILE A.01.01\n";
  std::size_t k = 0;
  for (const auto& row : testing_import::rows(R"(
 | c.cti:1: expected CITIFILE on the first line, found end of file
CITI\n | c.cti:1: expected CITIFILE on the first line, found "CITI"
VAR time MAG 2\n | c.cti:2: expected VAR freq MAG <count>, found "time MAG 2"
VAR freq MAG 1\nVAR freq MAG 1\n | c.cti:3: expected one VAR line, found a second
DATA S[1] RI\n | c.cti:2: expected a data name such as S[1,2], PORTZ[1] or Gamma[0], found "S[1]"
DATA S[1,1] XY\n | c.cti:2: expected RI, MAG, MAGANGLE or DBANGLE, found "XY"
VAR_LIST_BEGIN\n | c.cti:2: expected VAR freq MAG <count> before VAR_LIST_BEGIN, found none
VAR freq MAG 2\nVAR_LIST_BEGIN\n1\n1\n | c.cti:5: expected a frequency above 1, found 1
VAR freq MAG 1\nVAR_LIST_BEGIN\n1\n2\n | c.cti:5: expected 1 frequencies as VAR freq says, found more
VAR freq MAG 2\nVAR_LIST_BEGIN\n1\nVAR_LIST_END\n | c.cti:5: expected 2 frequencies as VAR freq says, found 1 before VAR_LIST_END
VAR freq MAG 2\nVAR_LIST_BEGIN\n1\n | c.cti:4: expected VAR_LIST_END, found end of file
VAR freq MAG 9\nSEG_LIST_BEGIN\nSEG 1 2 10\n | c.cti:4: expected 9 frequencies as VAR freq says, found more
VAR freq MAG 9\nSEG_LIST_BEGIN\nSEG 2 1 9\n | c.cti:4: expected a frequency above 2, found 1
VAR freq MAG 9\nSEG_LIST_BEGIN\nSEG 1 2 0\n | c.cti:4: expected a positive whole number, found "0"
VAR freq MAG 9\nSEG_LIST_BEGIN\nSEG 1 2 5\nSEG 2 3 4\n | c.cti:5: expected a frequency above 2, found 2
VAR freq MAG 9\nSEG_LIST_BEGIN\nBEGIN\n | c.cti:4: expected SEG or SEG_LIST_END, found "BEGIN"
VAR freq MAG 1\nVAR_LIST_BEGIN\n1\nVAR_LIST_END\n | c.cti:5: expected DATA S[i,j] lines, found none
VAR freq MAG 0\nDATA S[2,2] RI\nBEGIN\nEND\n | c.cti:5: expected DATA S[i,j] for every i and j up to 2, found 1 of them
VAR freq MAG 0\nDATA S[1,1] RI\nDATA S[1,1] MAG\nBEGIN\nEND\nBEGIN\nEND\n | c.cti:4: expected one DATA line for S[1,1], found a second
VAR freq MAG 0\n | c.cti:2: expected DATA S[i,j] lines, found none
VAR freq MAG 1\n | c.cti:2: expected VAR_LIST_BEGIN or SEG_LIST_BEGIN, found none
FOO\n | c.cti:2: expected a CITIfile keyword, found "FOO"
 | c.cti:1: expected VAR freq MAG <count>, found none
<1>DATA PORTZ[2] RI\nBEGIN\n1,0\n2,0\nEND\n | c.cti:4: expected PORTZ[1] to PORTZ[1], found PORTZ[2]
<1>DATA G[1] RI\nBEGIN\n1,0\n2,0\nEND\n | c.cti:4: expected an index from 0 to 0, found G[1]
<1>DATA G[0] RI\nDATA G[0] RI\nBEGIN\n1,0\n2,0\nEND\nBEGIN\n1,0\n2,0\nEND\n | c.cti:5: expected one DATA line for G[0], found a second
<1>BEGIN\n | c.cti:12: expected 1 data blocks, one per DATA line, found more
<1>DATA G[0] RI\n | c.cti:12: expected 2 data blocks, one per DATA line, found 1
<1>DATA G[0] MAG\nBEGIN\n1,0\n | c.cti:14: expected 1 values on a data line, found 2
<1>DATA G[0] RI\nBEGIN\n1\n | c.cti:14: expected 2 values on a data line, found 1
<1>DATA G[0] RI\nBEGIN\n1,x\n | c.cti:14: expected a number, found "x"
<1>DATA G[0] RI\nBEGIN\n1,0\nEND\n | c.cti:15: expected 2 data lines between BEGIN and END, found 1
<1>DATA G[0] RI\nBEGIN\n1,0\n1,0\n1,0\n | c.cti:16: expected 2 data lines between BEGIN and END, found more
<1>DATA G[0] RI\nBEGIN\n1,0\n | c.cti:14: expected END, found end of file)")) {
    std::string text = k++ < 2 ? row[0] : header + row[0];
    if (const std::size_t at = text.find("<1>"); at != std::string::npos) {
      const std::size_t blocks = std::min(text.find("BEGIN"), text.size());
      text = header + "VAR freq MAG 2\nDATA S[1,1] RI\n" + text.substr(at + 3, blocks - at - 3) +
             "VAR_LIST_BEGIN\n1\n2\nVAR_LIST_END\nBEGIN\n1,0\n2,0\nEND\n" + text.substr(blocks);
    }
    SMatrixContainer c;
    EXPECT_THROW_MSG(detail::parse_citi(text, "c.cti", c), std::runtime_error, row[1]);
  }
}

}  // namespace
}  // namespace korvantix
