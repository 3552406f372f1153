#include <korvantix/compare.hpp>

#include <cmath>
#include <complex>
#include <cstddef>
#include <stdexcept>
#include <vector>

#include "compare/entry_difference.hpp"
#include "detail/message.hpp"

namespace korvantix {

namespace detail {

void check_port_counts(std::size_t na, std::size_t nb) {
  if (na != nb) {
    throw std::runtime_error(message("cannot compare networks of ", na, " and ", nb, " ports"));
  }
}

}  // namespace detail

namespace {

using detail::entry_difference;

void check_frequencies(const std::vector<double>& frequencies) {
  if (frequencies.empty()) throw std::runtime_error("no frequencies to compare at");
}

// Root mean square of the entry differences offered to it.
class Rms {
 public:
  void offer(double d, double, std::size_t, std::size_t) {
    sum_of_squares_ += d * d;
    ++count_;
  }
  // No entry at all (networks without ports) differs by nothing.
  double result() const {
    return count_ == 0 ? 0.0 : std::sqrt(sum_of_squares_ / static_cast<double>(count_));
  }

 private:
  double sum_of_squares_ = 0.0;
  std::size_t count_ = 0;
};

// The largest entry difference offered and where it was offered first.
class Worst {
 public:
  explicit Worst(double first_frequency) : at_{0.0, {first_frequency, 0, 0}} {}
  void offer(double d, double f, std::size_t i, std::size_t j) {
    // Only a strictly larger value moves the location, so ties keep the first one in scan
    // order. A NaN beats every number and, once held, is never displaced (every comparison
    // with it is false), which keeps its first location.
    if (!seen_ || d > at_.first || (std::isnan(d) && !std::isnan(at_.first))) {
      at_ = {d, {f, i, j}};
      seen_ = true;
    }
  }
  const DistanceLocation& result() const { return at_; }

 private:
  DistanceLocation at_;
  bool seen_ = false;
};

// Offers the differences of the S entries of two samples of n ports, row by row, as found at
// frequency f.
template <class Tally>
void offer_samples(const SMatrixSample& a, const SMatrixSample& b, double f, Tally& tally) {
  // A container may hold samples of other sizes than its own port count, so the evaluated
  // samples are checked too; without it the loop below would read past the smaller one.
  detail::check_port_counts(a.nbPorts(), b.nbPorts());
  const std::size_t n = a.nbPorts();
  const std::complex<double>* sa = a.S().data();
  const std::complex<double>* sb = b.S().data();
  for (std::size_t i = 0; i < n; ++i) {
    for (std::size_t j = 0; j < n; ++j) {
      const std::size_t k = i * n + j;
      tally.offer(entry_difference(sa[k], sb[k]), f, i, j);
    }
  }
}

template <class Tally>
void tally_models(const ScalarModel& a, const ScalarModel& b,
                  const std::vector<double>& frequencies, Tally& tally) {
  check_frequencies(frequencies);
  // The batch forms: several kinds evaluate a whole list faster than one value at a time.
  std::vector<std::complex<double>> va, vb, work;
  a.evaluate(frequencies, va, work);
  b.evaluate(frequencies, vb, work);
  for (std::size_t k = 0; k < frequencies.size(); ++k)
    tally.offer(entry_difference(va[k], vb[k]), frequencies[k], 0, 0);
}

template <class Tally>
void tally_evaluators(const SMatrixEvaluator& a, const SMatrixEvaluator& b,
                      const std::vector<double>& frequencies, InterpolationType t, Tally& tally) {
  check_frequencies(frequencies);
  detail::check_port_counts(a.nbPorts(), b.nbPorts());
  // Moved into rather than declared per frequency: the only allocations left are those
  // evaluate itself makes for the samples it returns.
  SMatrixSample sa, sb;
  for (const double f : frequencies) {
    sa = a.evaluate(f, t);
    sb = b.evaluate(f, t);
    offer_samples(sa, sb, f, tally);
  }
}

}  // namespace

double distance(const ScalarModel& a, const ScalarModel& b,
                const std::vector<double>& frequencies) {
  Rms rms;
  tally_models(a, b, frequencies, rms);
  return rms.result();
}

DistanceLocation max_distance(const ScalarModel& a, const ScalarModel& b,
                              const std::vector<double>& frequencies) {
  check_frequencies(frequencies);
  Worst worst(frequencies.front());
  tally_models(a, b, frequencies, worst);
  return worst.result();
}

double distance(const SMatrixSample& a, const SMatrixSample& b) {
  Rms rms;
  offer_samples(a, b, a.frequency(), rms);
  return rms.result();
}

DistanceLocation max_distance(const SMatrixSample& a, const SMatrixSample& b) {
  Worst worst(a.frequency());
  offer_samples(a, b, a.frequency(), worst);
  return worst.result();
}

double distance(const SMatrixEvaluator& a, const SMatrixEvaluator& b,
                const std::vector<double>& frequencies, InterpolationType t) {
  Rms rms;
  tally_evaluators(a, b, frequencies, t, rms);
  return rms.result();
}

DistanceLocation max_distance(const SMatrixEvaluator& a, const SMatrixEvaluator& b,
                              const std::vector<double>& frequencies, InterpolationType t) {
  check_frequencies(frequencies);
  Worst worst(frequencies.front());
  tally_evaluators(a, b, frequencies, t, worst);
  return worst.result();
}

}  // namespace korvantix
