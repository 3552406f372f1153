#include <korvantix/compare.hpp>

#include <algorithm>
#include <cmath>
#include <complex>
#include <cstddef>
#include <limits>
#include <stdexcept>
#include <typeinfo>
#include <vector>

#include "compare/difference.hpp"
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

void check_frequencies(const std::vector<double>& frequencies) {
  if (frequencies.empty()) throw std::runtime_error("no frequencies to compare at");
}

// Root mean square of the magnitudes of the differences offered to it, accumulated scaled by
// the largest component seen so far: a plain sum of squares would overflow for differences
// above 1e154 and lose those below 1e-154, and std::abs per entry costs more than the rest of a
// comparison of stored samples. The scale changes only when a larger component comes, so the
// common entry costs two multiplications and two additions.
class Rms {
 public:
  void offer(const std::complex<double>& d, double, std::size_t, std::size_t) {
    ++count_;
    const double x = std::fabs(d.real());
    const double y = std::fabs(d.imag());
    if (!(x <= scale_ && y <= scale_)) {  // a larger component, or a NaN
      if (std::isnan(x) || std::isnan(y)) {
        nan_ = true;
        return;
      }
      const double m = std::max(x, y);
      if (std::isinf(m)) {
        inf_ = true;
        return;
      }
      // Subnormal components are scaled as if by the smallest normal number, so that the
      // inverse stays finite (it is then a power of two and the products are exact).
      const double scale = std::max(m, std::numeric_limits<double>::min());
      const double r = scale_ / scale;
      sum_ *= r * r;
      scale_ = scale;
      inverse_ = 1.0 / scale;
    }
    const double u = x * inverse_;
    const double v = y * inverse_;
    sum_ += u * u + v * v;
  }
  // No entry at all (networks without ports) differs by nothing.
  double result() const {
    if (nan_) return std::numeric_limits<double>::quiet_NaN();
    if (inf_) return std::numeric_limits<double>::infinity();
    if (count_ == 0 || sum_ == 0.0) return 0.0;
    return scale_ * std::sqrt(sum_ / static_cast<double>(count_));
  }

 private:
  double scale_ = 0.0;
  double inverse_ = 0.0;  // 1 / scale_, and 0 while every difference so far is 0
  double sum_ = 0.0;
  std::size_t count_ = 0;
  bool nan_ = false;
  bool inf_ = false;
};

// The largest magnitude of the differences offered and where it was offered first.
class Worst {
 public:
  explicit Worst(double first_frequency) : at_{0.0, {first_frequency, 0, 0}} {}
  void offer(const std::complex<double>& d, double f, std::size_t i, std::size_t j) {
    // |d| <= sqrt(2) max(|re|, |im|): an entry whose bound stays below the largest magnitude so
    // far cannot replace it and needs no exact magnitude. The factor lies above sqrt(2) by far
    // more than the rounding of either side. Once the largest is a NaN nothing passes this test.
    constexpr double kAboveSqrt2 = 1.4142136;
    const double x = std::fabs(d.real());
    const double y = std::fabs(d.imag());
    if (x * kAboveSqrt2 < largest_ && y * kAboveSqrt2 < largest_) return;
    if (std::isnan(largest_)) return;  // a NaN held is never displaced: its first location stays
    const double m = std::abs(d);
    // Only a strictly larger value moves the location, so ties keep the first one in scan
    // order; a NaN beats every number.
    if (m > largest_ || std::isnan(m)) {
      largest_ = m;
      at_ = {m, {f, i, j}};
    }
  }
  const DistanceLocation& result() const { return at_; }

 private:
  DistanceLocation at_;
  double largest_ = -1.0;  // below every magnitude, so the first entry is always taken
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
      tally.offer(detail::difference(sa[k], sb[k]), f, i, j);
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
    tally.offer(detail::difference(va[k], vb[k]), frequencies[k], 0, 0);
}

// The sample of one evaluator at each frequency of a list. Comparing two networks measured or
// simulated at the same frequencies asks a container for its stored samples, and evaluate
// would copy each one (two allocations) only for the copy to be read once. A plain container
// without models answers such a frequency with the stored sample itself, exactly as evaluate
// does (models would come first), so that sample is read in place. It is found by a cursor that
// only moves forward: a list in increasing order, the usual one, costs one walk over the
// samples; any other frequency is evaluated, into the same reused sample each time.
class SampleSource {
 public:
  explicit SampleSource(const SMatrixEvaluator& e) : evaluator_(e) {
    // A class derived from the container may evaluate otherwise: only the container itself.
    if (typeid(e) == typeid(SMatrixContainer)) {
      const auto& c = static_cast<const SMatrixContainer&>(e);
      if (c.nbModels() == 0) {
        container_ = &c;
        cursor_ = c.begin_samples();
      }
    }
  }

  const SMatrixSample& at(double f, InterpolationType t) {
    if (container_) {
      const auto end = container_->end_samples();
      while (cursor_ != end && cursor_->frequency() < f)
        ++cursor_;
      if (cursor_ != end && cursor_->frequency() == f) return *cursor_;
    }
    evaluated_ = evaluator_.evaluate(f, t);
    return evaluated_;
  }

 private:
  const SMatrixEvaluator& evaluator_;
  const SMatrixContainer* container_ = nullptr;
  SMatrixContainer::SampleIterator cursor_;
  SMatrixSample evaluated_;
};

template <class Tally>
void tally_evaluators(const SMatrixEvaluator& a, const SMatrixEvaluator& b,
                      const std::vector<double>& frequencies, InterpolationType t, Tally& tally) {
  check_frequencies(frequencies);
  detail::check_port_counts(a.nbPorts(), b.nbPorts());
  SampleSource source_a(a), source_b(b);
  for (const double f : frequencies) {
    const SMatrixSample& sa = source_a.at(f, t);
    const SMatrixSample& sb = source_b.at(f, t);
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
