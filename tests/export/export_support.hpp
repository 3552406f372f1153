#pragma once

// Helpers shared by the export tests: scratch files, exact comparison of doubles and a fixed
// time zone so that date lines are reproducible.

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <fstream>
#include <iterator>
#include <sstream>
#include <string>

namespace korvantix::testing_export {

// 2023-11-14 22:13:20 UTC.
inline constexpr std::time_t kFixedTime = 1700000000;
inline constexpr const char* kFixedDate = "Tue Nov 14 22:13:20 2023\n";

// Date lines are local time: every export test runs in UTC.
inline void use_utc() {
  ::setenv("TZ", "UTC", 1);
  ::tzset();
}

// Named after the running test as well, so that tests run in parallel processes never share a
// file.
inline std::string scratch_path(const std::string& name) {
  const ::testing::TestInfo* test = ::testing::UnitTest::GetInstance()->current_test_info();
  const std::string owner =
      test != nullptr ? std::string(test->test_suite_name()) + "." + test->name() + "_" : "";
  return ::testing::TempDir() + "korvantix_export_" + owner + name;
}

inline std::string read_file(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

inline std::uint64_t bits(double x) {
  std::uint64_t b;
  std::memcpy(&b, &x, sizeof b);
  return b;
}

// The text of a small whole number k (0 <= k < 100) in scientific notation with 16 digits after
// the point, written out by hand: 7 -> "7.0000000000000000e+00", 25 -> "2.5000000000000000e+01".
inline std::string sci_int(int k) {
  if (k < 10) return std::to_string(k) + ".0000000000000000e+00";
  return std::to_string(k / 10) + "." + std::to_string(k % 10) + "000000000000000e+01";
}

}  // namespace korvantix::testing_export
