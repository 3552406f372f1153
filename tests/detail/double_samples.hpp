#pragma once

// Varied doubles for the formatting and parsing comparisons: the classes of values where
// number text goes wrong (rounding ties, subnormals, three-digit exponents, powers of ten,
// signed zeros and NaNs) mixed with random bit patterns.

#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <random>
#include <string>
#include <vector>

namespace korvantix::test {

#ifdef NDEBUG
constexpr std::size_t kComparisonCount = 1'000'000;
#else
constexpr std::size_t kComparisonCount = 150'000;  // Debug streams are slow
#endif

inline double from_bits(std::uint64_t bits) {
  double x;
  std::memcpy(&x, &bits, sizeof x);
  return x;
}

inline std::uint64_t to_bits(double x) {
  std::uint64_t bits;
  std::memcpy(&bits, &x, sizeof bits);
  return bits;
}

inline double power_of_ten(int k) {
  const std::string text = "1e" + std::to_string(k);
  double x = 0.0;
  std::from_chars(text.data(), text.data() + text.size(), x);
  return x;
}

inline std::vector<double> varied_doubles(std::size_t n, std::uint64_t seed = 20240611) {
  std::mt19937_64 random(seed);
  const auto below = [&](std::uint64_t bound) { return random() % bound; };
  const double specials[] = {0.0,
                             -0.0,
                             std::numeric_limits<double>::infinity(),
                             -std::numeric_limits<double>::infinity(),
                             std::numeric_limits<double>::quiet_NaN(),
                             -std::numeric_limits<double>::quiet_NaN(),
                             std::numeric_limits<double>::max(),
                             -std::numeric_limits<double>::max(),
                             std::numeric_limits<double>::min(),
                             std::numeric_limits<double>::denorm_min(),
                             -std::numeric_limits<double>::denorm_min(),
                             0.1,
                             1e9,
                             2.5e9,
                             50.0,
                             9.5,
                             0.95,
                             99999.5,
                             1e-5,
                             1e-4,
                             123456.0,
                             1234567.0};
  std::vector<double> values;
  values.reserve(n);
  for (std::size_t i = 0; i < n; ++i) {
    const double sign = (random() & 1) != 0 ? -1.0 : 1.0;
    double x = 0.0;
    switch (i % 8) {
      case 0:  // any bit pattern, NaN payloads and infinities included
        x = from_bits(random());
        break;
      case 1:  // subnormal
        x = sign * from_bits(below(std::uint64_t{1} << 52));
        break;
      case 2: {  // three-digit decimal exponent
        const int k = static_cast<int>(below(424)) - 323;
        x = sign * power_of_ten(k < 0 ? std::min(k, -100) : std::max(k, 100)) *
            (1.0 + static_cast<double>(below(1'000'000)) / 1e6);
        break;
      }
      case 3: {  // a binary fraction ending in a decimal 5 (an exact tie at some precision),
                 // or one of its neighbours
        const double tie = static_cast<double>(2 * below(1 << 20) + 1) /
                           static_cast<double>(std::uint64_t{1} << (1 + below(20)));
        x = sign * std::ldexp(tie, static_cast<int>(below(40)) - 10);
        if (below(3) == 1) x = std::nextafter(x, 0.0);
        if (below(3) == 2) x = std::nextafter(x, 2 * x);
        break;
      }
      case 4:  // integers, small and up to 2^53
        x = sign *
            static_cast<double>(below(2) == 0 ? below(100000) : below(std::uint64_t{1} << 53));
        break;
      case 5: {  // powers of ten and their neighbours
        x = sign * power_of_ten(static_cast<int>(below(632)) - 323);
        if (below(3) == 1) x = std::nextafter(x, 0.0);
        if (below(3) == 2) x = std::nextafter(x, 2 * x);
        break;
      }
      case 6:
        x = specials[below(std::size(specials))];
        break;
      default:  // moderate magnitudes, where %g switches between fixed and exponent form
        x = sign * power_of_ten(static_cast<int>(below(24)) - 6) *
            std::ldexp(static_cast<double>(random() >> 11), -53);
        break;
    }
    values.push_back(x);
  }
  return values;
}

}  // namespace korvantix::test
