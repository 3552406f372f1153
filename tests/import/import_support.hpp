#pragma once

// Shared helpers of the import tests.

#include <korvantix/container.hpp>

#include <gtest/gtest.h>

#include <complex>
#include <cstdio>
#include <string>

namespace korvantix::testing_import {

inline std::string data_file(const char* name) {
  return std::string(KORVANTIX_TEST_DATA_DIR) + "/" + name;
}

// A file in the test's temporary directory, named for the test.
inline std::string scratch_path(const std::string& name) {
  const ::testing::TestInfo* test = ::testing::UnitTest::GetInstance()->current_test_info();
  return ::testing::TempDir() + "korvantix_import_" + test->test_suite_name() + "." + test->name() +
         "_" + name;
}

inline void write_text(const std::string& path, const std::string& text) {
  std::FILE* f = std::fopen(path.c_str(), "wb");
  ASSERT_NE(f, nullptr);
  std::fwrite(text.data(), 1, text.size(), f);
  std::fclose(f);
}

// The sample at frequency f (which must exist).
inline const SMatrixSample& sample_at(const SMatrixContainer& c, double f) {
  for (auto it = c.begin_samples(); it != c.end_samples(); ++it) {
    if (it->frequency() == f) return *it;
  }
  ADD_FAILURE() << "no sample at " << f;
  return *c.begin_samples();
}

#define EXPECT_COMPLEX_NEAR(actual, expected)                              \
  do {                                                                     \
    const std::complex<double> korvantix_a = (actual);                     \
    const std::complex<double> korvantix_e = (expected);                   \
    EXPECT_NEAR(korvantix_a.real(), korvantix_e.real(), 1e-14) << #actual; \
    EXPECT_NEAR(korvantix_a.imag(), korvantix_e.imag(), 1e-14) << #actual; \
  } while (false)

}  // namespace korvantix::testing_import
