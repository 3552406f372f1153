// kvx diff: how far apart two networks are, with the exit status of cmp and diff.

#include "commands.hpp"

#include <algorithm>
#include <cmath>
#include <iostream>
#include <sstream>

namespace kvx {

using namespace korvantix;

namespace {

std::string with_db(double value) {
  const std::string db = value > 0 ? format_number(20 * std::log10(value), 4) : "-inf";
  return format_number(value, 6) + " (" + db + " dB)";
}

}  // namespace

int run_diff(const DiffOptions& options) {
  // Everything up to the verdict is "could not compare": exit status 2, as cmp has it.
  std::vector<double> frequencies;
  DistanceLocation largest;
  double rms = 0;
  SMatrixContainer a, b;
  try {
    a = load(options.first);
    b = load(options.second);
    if (!a.empty() && !b.empty()) {
      const double lo = std::max(a.from(), b.from());
      const double hi = std::min(a.to(), b.to());
      if (options.points > 0 && lo <= hi) {
        for (std::size_t k = 0; k < options.points; ++k)
          frequencies.push_back(options.points == 1
                                    ? lo
                                    : lo + (hi - lo) * static_cast<double>(k) /
                                               static_cast<double>(options.points - 1));
      } else {
        for (const auto* c : {&a, &b})
          for (const double f : c->discrete_frequencies())
            if (f >= lo && f <= hi) frequencies.push_back(f);
        std::sort(frequencies.begin(), frequencies.end());
        frequencies.erase(std::unique(frequencies.begin(), frequencies.end()), frequencies.end());
      }
    }
    rms = distance(a, b, frequencies);
    largest = max_distance(a, b, frequencies);
  } catch (const UsageError&) {
    throw;
  } catch (const std::exception& error) {
    std::cerr << "kvx: " << error.what() << '\n';
    return 2;
  }
  const auto [f, row, column] = largest.second;
  std::ostringstream out;
  out << "largest difference  " << with_db(largest.first) << " at " << format_frequency(f) << " in "
      << entry_label(a, row, column) << '\n'
      << "rms difference      " << with_db(rms) << '\n'
      << "compared at         " << frequencies.size() << " frequencies, "
      << format_frequency(frequencies.front()) << " to " << format_frequency(frequencies.back())
      << '\n';
  std::cout << out.str();
  return largest.first <= options.tolerance ? 0 : 1;
}

}  // namespace kvx
