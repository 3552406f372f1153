#pragma once

// Shared helpers of the import tests.

#include <korvantix/container.hpp>

#include <gtest/gtest.h>

#include <complex>
#include <cstdio>
#include <sstream>
#include <string>
#include <vector>

namespace korvantix::testing_import {

inline std::string data_file(const char* name) {
  return std::string(KORVANTIX_TEST_DATA_DIR) + "/" + name;
}

// Writes text to a file in the test's temporary directory, named for the test, and gives its
// path.
inline std::string scratch_file(const std::string& name, const std::string& text) {
  const ::testing::TestInfo* test = ::testing::UnitTest::GetInstance()->current_test_info();
  const std::string path = ::testing::TempDir() + "korvantix_import_" + test->name() + "_" + name;
  std::FILE* f = std::fopen(path.c_str(), "wb");
  EXPECT_TRUE(f && std::fwrite(text.data(), 1, text.size(), f) == text.size()) << path;
  if (f) std::fclose(f);
  return path;
}

// Entry-wise within 1e-14: values read in magnitude-angle or dB form, or converted.
inline void expect_near(const std::vector<std::complex<double>>& got,
                        const std::vector<std::complex<double>>& want) {
  ASSERT_EQ(got.size(), want.size());
  for (std::size_t k = 0; k < got.size(); ++k)
    EXPECT_LE(std::abs(got[k] - want[k]), 1e-14) << k << ": " << got[k] << " != " << want[k];
}

// The rows of a case table: one case a line, fields separated by "|" with one blank on each
// side trimmed, "\n" standing for a line end.
inline std::vector<std::vector<std::string>> rows(const std::string& table) {
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

}  // namespace korvantix::testing_import
