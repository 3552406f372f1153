// The export writers: whole Touchstone and CITIfile texts through every entry point (the date
// stamp fixed, or checked against the clock), the choices the entry points make, and every
// failure message.

#include <korvantix/container.hpp>
#include <korvantix/export.hpp>

#include <gtest/gtest.h>

#include <complex>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <fstream>
#include <functional>
#include <iterator>
#include <limits>
#include <stdexcept>
#include <string>
#include <vector>

#include "export/writers.hpp"
#include "test_support.hpp"

namespace korvantix {
namespace {

using C = std::complex<double>;
constexpr std::time_t kFixedTime = 1700000000;  // Tue Nov 14 22:13:20 2023 UTC
constexpr double kNan = std::numeric_limits<double>::quiet_NaN();
constexpr double kInf = std::numeric_limits<double>::infinity();

// Entry (i, j) of the k-th sample is (30 k + N i + j + 1) + (i + 1)i: every entry differs, and
// real and imaginary parts differ; the port data named m-th is k + m i. Ports p1, p2...
SMatrixContainer numbered(const std::vector<double>& z,
                          std::vector<double> frequencies = {1e9, 2e9},
                          const std::vector<PortDataName>& names = {}) {
  const std::size_t n = z.size();
  SMatrixContainer c(n, names);
  for (std::size_t i = 0; i < n; ++i)
    c.name(i) = "p" + std::to_string(i + 1);
  for (std::size_t k = 0; k < frequencies.size(); ++k) {
    SMatrixSample s(n, frequencies[k], names);
    for (std::size_t m = 0; m < names.size(); ++m)
      s.set(names[m], C(static_cast<double>(k), static_cast<double>(m)));
    for (std::size_t i = 0; i < n; ++i) {
      s.Zref(i) = z[i];
      for (std::size_t j = 0; j < n; ++j)
        s(i, j) = C(static_cast<double>(30 * k + n * i + j + 1), static_cast<double>(i + 1));
    }
    c.add(s);
  }
  return c;
}

// Expected files: ";" stands for a line break (so that short lines share a source line) and
// "~x" for the number x as the Touchstone writer prints it ("%.16e") with the blank after it.
std::string expand(const std::string& text) {
  std::string out;
  for (std::size_t k = 0; k < text.size(); ++k) {
    if (text[k] != '~') out += text[k] == ';' ? '\n' : text[k];
    if (text[k] != '~') continue;
    const std::size_t end = text.find_first_of(" \n;", k);
    char number[40];
    std::snprintf(number, sizeof number, "%.16e ",
                  std::strtod(text.substr(k + 1, end - k - 1).c_str(), nullptr));
    out += number;
    k = text[end] == ' ' ? end : end - 1;
  }
  return out;
}

class Export : public ::testing::Test {
 protected:
  // Date lines are local time: every export test runs in UTC.
  void SetUp() override {
    ::setenv("TZ", "UTC", 1);
    ::tzset();
  }

  std::string read() const {
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
  }

  // The text `write` leaves at `path` (which it must create); a date stamp of the clock at the
  // time of writing is replaced by the fixed date, so that every entry point compares with one
  // expected file.
  std::string written(const std::function<void()>& write) const {
    std::remove(p);
    std::string before, after;
    detail::append_ctime(before, std::time(nullptr));
    write();
    detail::append_ctime(after, std::time(nullptr));
    std::string text = read();
    const std::size_t date = text.find("Date : ");
    const std::string stamp = date == std::string::npos ? "" : text.substr(date + 7, 25);
    if (stamp == before || stamp == after) text.replace(date + 7, 25, "Tue Nov 14 22:13:20 2023\n");
    return text;
  }

  // Named after the running test: ctest runs tests in parallel processes.
  const std::string path = ::testing::TempDir() + "korvantix_export_" +
                           ::testing::UnitTest::GetInstance()->current_test_info()->name();
  const char* p = path.c_str();
};

const char* const kTwoPortsV1 =
    R"(! Touchstone file version 1.1;! Written by KORVANTIX 2.11.3
! Date : Tue Nov 14 22:13:20 2023;# Hz S RI R 50
! Port[1] p1;! Port[2] p2
~1e9 ~1 ~1 ~3 ~2 ~2 ~1 ~4 ~2
~2e9 ~31 ~1 ~33 ~2 ~32 ~1 ~34 ~2
)";

// Every way to a version 1.1 file of the stored samples (or of the same frequencies).
TEST_F(Export, TouchstoneV1ThroughEveryEntryPoint) {
  const SMatrixContainer c = numbered({50, 50});
  const std::vector<double> stored{1e9, 2e9};
  TouchstoneFile file(c), automatic(c), resampled(c);
  detail::TouchstoneAccess::set_automatic_version(automatic);
  resampled.resample({2e9, 1e9, 2e9});  // once each, ascending
  for (TouchstoneFile* f : {&file, &automatic, &resampled})
    f->setPath(path);
  const std::function<void()> ways[] = {
      [&] { file.write(); },
      [&] { detail::TouchstoneAccess::write(automatic, kFixedTime); },
      [&] { detail::TouchstoneAccess::write(resampled, kFixedTime); },
      [&] { detail::write_export(c, p, Touchstone, kFixedTime); },
      [&] { write(c, p, TouchstoneV1); },
      // The tolerance is the CITIfile writer's: at 5 it would keep no frequency.
      [&] { write(c, p, TouchstoneV1, stored, 5.0); },
  };
  for (const auto& way : ways) {
    EXPECT_EQ(written(way), expand(kTwoPortsV1)) << &way - ways;
  }
  EXPECT_EQ(automatic.version(), 1);  // chosen at the first write, then fixed
  // A plan of three frequencies, one more than the samples, replaces them.
  write(c, p, TouchstoneV2, 3, 0.0, Linear);
  EXPECT_NE(read().find("\n[Number of Frequencies] 3\n"), std::string::npos);
  EXPECT_NE(read().find("\n1.5000000000000000e+09 "), std::string::npos);
}

TEST_F(Export, TouchstoneLayouts) {
  SMatrixContainer quirk = numbered({-5}, {1e9});
  quirk.add(*numbered({7}, {2e9}).begin_samples());
  const std::pair<SMatrixContainer, const char*> cases[] = {
      // Unequal impedances need a [Reference] line.
      {numbered({50, 123456.7}),
       R"([Version] 2.0;# Hz S RI;[Number of Ports] 2;[Two-Port Data Order] 21_12
[Number of Frequencies] 2;[Reference];50 123457 ;[Network Data];! Port[1] p1;! Port[2] p2
~1e9 ~1 ~1 ~3 ~2 ~2 ~1 ~4 ~2
~2e9 ~31 ~1 ~33 ~2 ~32 ~1 ~34 ~2
[End]
)"},
      // From three ports on, a row per line, at most four entries per line.
      {numbered({75, 75, 75}, {1e9}), R"(! Touchstone file version 1.1;! Written by KORVANTIX 2.11.3
! Date : Tue Nov 14 22:13:20 2023;# Hz S RI R 75
! Port[1] p1;! Port[2] p2;! Port[3] p3
~1e9 ~1 ~1 ~2 ~1 ~3 ~1
    ~4 ~2 ~5 ~2 ~6 ~2
    ~7 ~3 ~8 ~3 ~9 ~3
)"},
      {numbered({50, 50, 50, 50, 50}, {1e9}),
       R"([Version] 2.0;# Hz S RI R 50;[Number of Ports] 5;[Number of Frequencies] 1
[Network Data];! Port[1] p1;! Port[2] p2;! Port[3] p3;! Port[4] p4;! Port[5] p5
~1e9 ~1 ~1 ~2 ~1 ~3 ~1 ~4 ~1;    ~5 ~1
    ~6 ~2 ~7 ~2 ~8 ~2 ~9 ~2;    ~10 ~2
    ~11 ~3 ~12 ~3 ~13 ~3 ~14 ~3;    ~15 ~3
    ~16 ~4 ~17 ~4 ~18 ~4 ~19 ~4;    ~20 ~4
    ~21 ~5 ~22 ~5 ~23 ~5 ~24 ~5;    ~25 ~5
[End]
)"},
      // No sample names an impedance: "-1", the value of "not set".
      {SMatrixContainer(1), R"(! Touchstone file version 1.1;! Written by KORVANTIX 2.11.3
! Date : Tue Nov 14 22:13:20 2023;# Hz S RI R -1;! Port[1] port_0
)"},
      // A negative impedance counts as "not set": the next sample's replaces it.
      {quirk, R"(! Touchstone file version 1.1;! Written by KORVANTIX 2.11.3
! Date : Tue Nov 14 22:13:20 2023;# Hz S RI R 7;! Port[1] p1;~1e9 ~1 ~1;~2e9 ~1 ~1
)"},
  };
  for (const auto& [c, expected] : cases) {
    TouchstoneFile file(c);
    file.setVersion(expected[0] == '[' ? 2 : 1);
    file.setPath(path);
    EXPECT_EQ(written([&] { detail::TouchstoneAccess::write(file, kFixedTime); }),
              expand(expected));
  }
  // Unequal impedances make the automatic version 2.
  EXPECT_EQ(written([&] { write(cases[0].first, p, Touchstone); }), expand(cases[0].second));
}

// Every digit a double needs, signed zeros and non-finite values, through the public write.
TEST_F(Export, TouchstoneWriteStampsTheClockAndKeepsEveryBit) {
  SMatrixContainer c(2);
  SMatrixSample s(2, 0.1);
  s.S() = {C(0.1, -0.0), C(5e-324, -1.7976931348623157e308), C(kInf, 1.0 / 3.0), C(-kInf, kNan)};
  c.add(s);
  TouchstoneFile file(c);
  file.setPath(path);
  EXPECT_EQ(written([&] { file.write(); }),
            expand(R"(! Touchstone file version 1.1
! Written by KORVANTIX 2.11.3;! Date : Tue Nov 14 22:13:20 2023;# Hz S RI R 0
! Port[1] port_0;! Port[2] port_1;1.0000000000000001e-01 1.0000000000000001e-01 )"
                   "-0.0000000000000000e+00 inf 3.3333333333333331e-01 "
                   "4.9406564584124654e-324 -1.7976931348623157e+308 -inf nan \n"));
}

TEST_F(Export, CtimeForm) {
  std::string text;
  for (const std::time_t t : {std::time_t{0}, kFixedTime, std::time_t{951782400}})  // leap day
    detail::append_ctime(text, t);
  EXPECT_EQ(text, "Thu Jan  1 00:00:00 1970\nTue Nov 14 22:13:20 2023\nTue Feb 29 00:00:00 2000\n");
}

// 0.1 needs all 17 digits; port data are written in name order.
const char* const kCiti = R"(CITIFILE A.01.01;
# Written by KORVANTIX : 2 11 3;# Date : Tue Nov 14 22:13:20 2023;
NAME DATA;
#qorex Port[1] p1;#qorex Port[2] p2;
VAR freq MAG 3;
DATA S[1,1] RI;DATA S[1,2] RI;DATA S[2,1] RI;DATA S[2,2] RI;DATA PORTZ[1] RI;DATA PORTZ[2] RI
DATA Gamma[0] RI;DATA Zpi[1] RI;
VAR_LIST_BEGIN;1000000000;1500000000;2000000000;VAR_LIST_END;
BEGIN;1, 1;31, 1;61, 1;END;BEGIN;2, 1;32, 1;62, 1;END;BEGIN;3, 2;33, 2;63, 2;END
BEGIN;4, 2;34, 2;64, 2;END;BEGIN;50, 0;50, 0;50, 0;END
BEGIN;0.10000000000000001, 0;0.10000000000000001, 0;0.10000000000000001, 0;END
BEGIN;0, 1;1, 1;2, 1;END;BEGIN;0, 0;1, 0;2, 0;END
)";

// Every way to a CITIfile of the stored samples (or of the same frequencies) at 17 digits.
TEST_F(Export, CitifileThroughEveryEntryPoint) {
  const SMatrixContainer c = numbered({50, 0.1}, {1e9, 1.5e9, 2e9}, {{"Zpi", 1}, {"Gamma", 0}});
  // 1e9 (1 + 1e-9) lies within the tolerance of the element before it.
  const std::vector<double> close{1e9, 1e9 * (1 + 1e-9), 1.5e9, 2e9};
  const std::function<void()> ways[] = {
      [&] { detail::write_cti(c, p, 17, kFixedTime); },
      [&] { detail::write_cti(c, p, close, 1e-6, 17, kFixedTime); },
      [&] { write_cti(c, p, 17); },
      [&] { write_cti(c, p, close, 1e-6, 17); },
      [&] { write_cti(c, p, 3, Linear, 0.0, 17); },
      [&] { write(c, p, Citifile); },
      [&] { write(c, p, Citifile, close, 1e-6); },
      [&] { write(c, p, Citifile, 3, 0.0, Linear); },
      // As many points as samples: exactly the discrete frequencies, whatever the type.
      [&] { write(c, p, Citifile, 3, 0.0, static_cast<SamplingType>(9)); },
  };
  for (const auto& way : ways) {
    EXPECT_EQ(written(way), expand(kCiti)) << &way - ways;
  }
}

TEST_F(Export, CitifilePrecision) {
  SMatrixContainer c(1);
  SMatrixSample s(1, 1.5e9);
  s(0, 0) = C(1.0 / 3.0, -2.5e-7);
  c.add(s);
  detail::write_cti(c, p, 3, kFixedTime);
  EXPECT_NE(read().find("\n1.5E+09\nVAR_LIST_END\n\nBEGIN\n0.333, -2.5E-07\nEND\n"),
            std::string::npos);
  // An absurd precision prints what the exact expansion holds (no padding, no overflow).
  detail::write_cti(c, p, std::size_t{1} << 40, kFixedTime);
  EXPECT_NE(
      read().find("BEGIN\n0.333333333333333314829616256247390992939472198486328125, "
                  "-2.4999999999999998868702795647156467140348468092270195484161376953125E-07\n"),
      std::string::npos);
}

TEST(CitiTolerance, MeasuredFromThePrecedingListElement) {
  using detail::cti_kept_frequencies;
  using V = std::vector<double>;
  // Steps of 6e-7 each: both dropped, although 1.0000012e9 is 1.2e-6 above the kept 1e9.
  EXPECT_EQ(cti_kept_frequencies({1e9, 1.0000006e9, 1.0000012e9}, 1e-6), V{1e9});
  // The first frequency counts a step of 1.0: a tolerance of 1 or more drops it.
  EXPECT_EQ(cti_kept_frequencies({1e9, 3e9}, 1.0), V{3e9});
  // After a non-positive element the step is 1.0 again; the step is strictly above tolerance.
  EXPECT_EQ(cti_kept_frequencies({0.0, 0.0, 5.0, 7.0}, 0.5), (V{0.0, 0.0, 5.0}));
  EXPECT_EQ(cti_kept_frequencies({5.0, 10.0, 20.0}, 0.99), (V{5.0, 10.0, 20.0}));
  EXPECT_EQ(cti_kept_frequencies({2e9, 1e9}, 0.1), (V{2e9, 1e9}));  // in list order
  EXPECT_TRUE(cti_kept_frequencies({5.0, 10.0}, kNan).empty());
}

TEST_F(Export, FailureMessages) {
  const char* nowhere = "/nonexistent-korvantix-dir/x.out";
  const SMatrixContainer equal = numbered({50, 50}), unequal = numbered({50, 75});
  SMatrixContainer complex_z(1), nan_z(1), drifting = equal, mixed = equal;
  SMatrixSample s(1, 1e9);
  s.Zref(0) = C(50, 1e-3);
  complex_z.add(s);
  s.Zref(0) = C(50, kNan);
  nan_z.add(s);
  drifting.add(*numbered({50, 60}, {3e9}).begin_samples());
  mixed.add(SMatrixSample(1, 5e9));
  TouchstoneFile file(equal);
  const std::string complex_message =
      "Complex reference impedance is not supported by the touchstone file format.";
  const std::string unable = std::string("Unable to open file ") + nowhere;
  const std::string ports = "S-matrix sample at 5e+09 Hz has 1 ports, the container has 2";
  const std::pair<std::function<void()>, std::string> cases[] = {
      {[&] { file.setVersion(3); }, "Unrecorgnized touchstone file format version: 1"},
      // The stored version is printed, not the rejected one.
      {[&] { file.setVersion(2), file.setVersion(-1); },
       "Unrecorgnized touchstone file format version: 2"},
      {[&] { file.setPath(nowhere), file.write(); }, unable},
      {[&] { write(complex_z, p, TouchstoneV2); }, complex_message},
      {[&] { write(nan_z, p, TouchstoneV2); }, complex_message},
      {[&] { write(drifting, p, TouchstoneV2); },
       "Frequency-dependent reference impedance is not supported by the touchstone file format."},
      {[&] { write(unequal, p, TouchstoneV1); },
       "Cannot set the reference impedance for all ports, use touchstone file format version 2 "
       "instead."},
      {[&] { write(mixed, p, TouchstoneV2); }, ports},
      {[&] { write_cti(mixed, p, 17); }, ports},
      {[&] { detail::write_cti(equal, nowhere, 17, kFixedTime); }, unable},
      {[&] { write_cti(equal, nowhere, {1.5e9}, 0.0, 17); }, unable},
      // Errors of the plan come before the file is touched.
      {[&] { write_cti(numbered({50}, {1e9}), nowhere, 3, Linear, 0.0, 17); },
       "Unable to obtain 3 samples:\nThe container contains only 1 discrete frequency"},
      {[&] { write(equal, p, TouchstoneV2, 3, 0.0, static_cast<SamplingType>(9)); },
       "Sampling type 9 not supported"},
      {[&] { write(equal, p, Citifile, 1, 0.0, Linear); },
       "The container contains more discrete frequencies than the requested number of "
       "frequencies"},
  };
  for (const auto& [call, message] : cases) {
    EXPECT_THROW_MSG(call(), std::runtime_error, message);
    // A Touchstone file opened before its header failed is left empty.
    EXPECT_EQ(read(), "") << message;
  }
  EXPECT_EQ(file.version(), 2);
  std::remove(p);
  for (const int value : {0, 5, -1}) {
    const auto format = static_cast<ExportFormat>(value);
    const std::string message = "export format " + std::to_string(value) + " not supported";
    EXPECT_THROW_MSG(write(equal, p, format), std::runtime_error, message);
    EXPECT_THROW_MSG(write(equal, p, format, {1e9}, 0.0), std::runtime_error, message);
    EXPECT_THROW_MSG(write(equal, p, format, 1, 0.0, static_cast<SamplingType>(9)),
                     std::runtime_error, message);
  }
  EXPECT_FALSE(std::ifstream(path).is_open()) << "nothing written for an unknown format";
}

}  // namespace
}  // namespace korvantix
