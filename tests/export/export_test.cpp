#include <korvantix/container.hpp>
#include <korvantix/export.hpp>

#include <gtest/gtest.h>

#include <complex>
#include <cstddef>
#include <cstdio>
#include <stdexcept>
#include <string>
#include <vector>

#include "export/export_support.hpp"
#include "export/writers.hpp"
#include "test_support.hpp"

namespace korvantix {
namespace {

using testing_export::kFixedTime;
using testing_export::read_file;
using testing_export::scratch_path;
using C = std::complex<double>;

SMatrixContainer two_port(double z2) {
  SMatrixContainer c(2);
  for (double f : {1e9, 2e9}) {
    SMatrixSample s(2, f);
    s(0, 0) = C(0.5, 0);
    s(1, 0) = C(f / 4e9, 0);
    s.Zref(0) = 50;
    s.Zref(1) = z2;
    c.add(s);
  }
  return c;
}

bool exists(const std::string& path) {
  std::FILE* f = std::fopen(path.c_str(), "rb");
  if (f != nullptr) std::fclose(f);
  return f != nullptr;
}

class ExportTest : public ::testing::Test {
 protected:
  void SetUp() override {
    testing_export::use_utc();
    std::remove(path_.c_str());
  }
  std::string text() const { return read_file(path_); }
  const std::string path_ = scratch_path("entry.out");
};

TEST_F(ExportTest, UnsupportedFormatWritesNothing) {
  const SMatrixContainer c = two_port(50);
  for (int value : {0, 5, -1}) {
    const auto format = static_cast<ExportFormat>(value);
    const std::string message = "export format " + std::to_string(value) + " not supported";
    EXPECT_THROW_MSG(write(c, path_.c_str(), format), std::runtime_error, message);
    EXPECT_THROW_MSG(write(c, path_.c_str(), format, {1e9}, 0.0), std::runtime_error, message);
    EXPECT_THROW_MSG(write(c, path_.c_str(), format, 1, 0.0, static_cast<SamplingType>(9)),
                     std::runtime_error, message);
  }
  EXPECT_FALSE(exists(path_));
}

TEST_F(ExportTest, TouchstoneVersionFollowsTheFormat) {
  detail::write_export(two_port(50), path_.c_str(), Touchstone, kFixedTime);
  EXPECT_EQ(text().rfind("! Touchstone file version 1.1\n", 0), 0u);
  detail::write_export(two_port(75), path_.c_str(), Touchstone, kFixedTime);
  EXPECT_EQ(text().rfind("[Version] 2.0\n# Hz S RI\n", 0), 0u);
  detail::write_export(two_port(50), path_.c_str(), TouchstoneV2, kFixedTime);
  EXPECT_EQ(text().rfind("[Version] 2.0\n# Hz S RI R 50\n", 0), 0u);
  EXPECT_THROW_MSG(write(two_port(75), path_.c_str(), TouchstoneV1), std::runtime_error,
                   "Cannot set the reference impedance for all ports, use touchstone file format "
                   "version 2 instead.");

  // The public entry point stamps the current time in the fixed ctime form.
  write(two_port(50), path_.c_str(), TouchstoneV1);
  const std::string stamped = text();
  const std::size_t date = stamped.find("! Date : ");
  ASSERT_NE(date, std::string::npos);
  EXPECT_EQ(stamped.compare(date + 9 + 24, 15, "\n# Hz S RI R 50"), 0) << stamped;
}

TEST_F(ExportTest, CitifileUsesSeventeenDigits) {
  const SMatrixContainer c = two_port(50);
  detail::write_export(c, path_.c_str(), Citifile, kFixedTime);
  const std::string via_entry = text();
  detail::write_cti(c, path_.c_str(), 17, kFixedTime);
  EXPECT_EQ(via_entry, text());
  EXPECT_NE(via_entry.find("\nBEGIN\n0.25, 0\n0.5, 0\nEND\n"), std::string::npos);
}

TEST_F(ExportTest, ToleranceAppliesToCitifileOnly) {
  const SMatrixContainer c = two_port(50);
  const std::vector<double> close{1e9, 1e9 + 1.0, 2e9};
  detail::write_export(c, path_.c_str(), TouchstoneV2, close, 0.5, kFixedTime);
  EXPECT_NE(text().find("[Number of Frequencies] 3\n"), std::string::npos);
  detail::write_export(c, path_.c_str(), Citifile, close, 0.5, kFixedTime);
  EXPECT_NE(text().find("VAR freq MAG 2\n"), std::string::npos);
  EXPECT_NE(text().find("VAR_LIST_BEGIN\n1000000000\n2000000000\nVAR_LIST_END\n"),
            std::string::npos);
}

TEST_F(ExportTest, SamplingPlanOverload) {
  const SMatrixContainer c = two_port(50);
  detail::write_export(c, path_.c_str(), TouchstoneV2, 3, 0.0, Linear, kFixedTime);
  const std::string touchstone = text();
  EXPECT_NE(touchstone.find("[Number of Frequencies] 3\n"), std::string::npos);
  EXPECT_NE(touchstone.find("\n1.5000000000000000e+09 5.0000000000000000e-01 "), std::string::npos);
  detail::write_export(c, path_.c_str(), Citifile, 3, 0.0, Linear, kFixedTime);
  EXPECT_NE(text().find("VAR_LIST_BEGIN\n1000000000\n1500000000\n2000000000\nVAR_LIST_END\n"),
            std::string::npos);
  // As many points as samples: exactly the discrete frequencies, whatever the type.
  detail::write_export(c, path_.c_str(), Citifile, 2, 0.0, static_cast<SamplingType>(9),
                       kFixedTime);
  EXPECT_NE(text().find("VAR freq MAG 2\n"), std::string::npos);
  EXPECT_THROW_MSG(write(c, path_.c_str(), TouchstoneV2, 3, 0.0, static_cast<SamplingType>(9)),
                   std::runtime_error, "Sampling type 9 not supported");
  EXPECT_THROW_MSG(write(c, path_.c_str(), Citifile, 1, 0.0, Linear), std::runtime_error,
                   "The container contains more discrete frequencies than the requested number "
                   "of frequencies");
}

}  // namespace
}  // namespace korvantix
