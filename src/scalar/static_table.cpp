#include <korvantix/scalar.hpp>

#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>
#include <stdexcept>
#include <utility>
#include <vector>

#include "detail/message.hpp"

namespace korvantix {

namespace {

constexpr double kEpsilon = std::numeric_limits<double>::epsilon();

[[noreturn]] void throw_duplicate(double freq) {
  // No blank before the number: the text is exact, and callers match it as it stands.
  throw std::runtime_error(
      detail::message("The FittedScalarModel already contains a sample at", freq, " Hz"));
}

// A NaN frequency cannot be placed in the sorted table, and every later search would be
// undefined: refuse it like a duplicate.
[[noreturn]] void throw_not_a_number(double freq) {
  throw std::runtime_error(
      detail::message("The FittedScalarModel cannot hold a sample at ", freq, " Hz"));
}

std::complex<double> forward(Transformation::Type transformation, const std::complex<double>& v) {
  switch (transformation) {
    case Transformation::Inverse:
      return 1.0 / v;
    case Transformation::Squared:
      return {v.real() * v.real() - v.imag() * v.imag(), 2.0 * v.real() * v.imag()};
    default:
      return v;  // unknown codes are skipped
  }
}

std::complex<double> backward(Transformation::Type transformation, const std::complex<double>& v) {
  switch (transformation) {
    case Transformation::Inverse:
      return 1.0 / v;
    case Transformation::Squared:
      return std::sqrt(v);
    default:
      return v;
  }
}

// Room for one more element with geometric growth, so an insert cannot throw afterwards.
template <class T>
void make_room(std::vector<T>& v) {
  if (v.size() == v.capacity()) v.reserve(v.empty() ? 8 : 2 * v.size());
}

using SamplePairs = std::vector<std::pair<double, std::complex<double>>>;

// The list indices of the samples with a frequency, ordered by it; equal frequencies keep their
// list order, so the first of a group is the one a one-by-one fill would have accepted.
std::vector<std::size_t> frequency_order(const SamplePairs& samples) {
  std::vector<std::size_t> order(samples.size());
  std::iota(order.begin(), order.end(), std::size_t{0});
  order.erase(std::remove_if(order.begin(), order.end(),
                             [&](std::size_t j) { return std::isnan(samples[j].first); }),
              order.end());
  std::stable_sort(order.begin(), order.end(), [&](std::size_t x, std::size_t y) {
    return samples[x].first < samples[y].first;
  });
  return order;
}

// The list index of the sample at which a one-by-one fill would first fail, or samples.size():
// the first NaN frequency, or the earliest sample that repeats a frequency held before the call
// or one that came earlier in the list.
std::size_t first_refused(const SamplePairs& samples, const std::vector<std::size_t>& order,
                          const std::vector<double>& held) {
  std::size_t first = samples.size();
  for (std::size_t j = 0; j < samples.size(); ++j) {
    if (std::isnan(samples[j].first)) {
      first = j;
      break;
    }
  }
  for (std::size_t g = 0; g < order.size();) {
    std::size_t end = g + 1;
    while (end < order.size() && samples[order[end]].first == samples[order[g]].first)
      ++end;
    if (std::binary_search(held.begin(), held.end(), samples[order[g]].first)) {
      first = std::min(first, order[g]);
    } else if (end - g > 1) {
      first = std::min(first, order[g + 1]);
    }
    g = end;
  }
  return first;
}

}  // namespace

FittedScalarModel::FittedScalarModel(const std::vector<Transformation::Type>& transformations)
    : transformations_(transformations) {}

std::complex<double> FittedScalarModel::applyTrafo(double /*freq*/,
                                                   const std::complex<double>& value) const {
  std::complex<double> v = value;
  for (Transformation::Type t : transformations_)
    v = forward(t, v);
  return v;
}

std::complex<double> FittedScalarModel::applyInvTrafo(double /*freq*/,
                                                      const std::complex<double>& value) const {
  std::complex<double> v = value;
  for (auto t = transformations_.rbegin(); t != transformations_.rend(); ++t)
    v = backward(*t, v);
  return v;
}

void FittedScalarModel::applyInvTrafo(const std::vector<double>& /*freqs*/,
                                      std::vector<std::complex<double>>& values) const {
  for (auto t = transformations_.rbegin(); t != transformations_.rend(); ++t) {
    for (std::complex<double>& v : values)
      v = backward(*t, v);
  }
}

void FittedScalarModel::addSample(double freq, const std::complex<double>& value) {
  if (std::isnan(freq)) throw_not_a_number(freq);
  const std::complex<double> stored = applyTrafo(freq, value);
  // Tables are mostly filled in ascending order: appending needs no search.
  const bool at_end = sample_freqs_.empty() || sample_freqs_.back() < freq;
  const auto at = at_end ? sample_freqs_.end()
                         : std::lower_bound(sample_freqs_.begin(), sample_freqs_.end(), freq);
  if (at != sample_freqs_.end() && *at == freq) throw_duplicate(freq);
  const auto index = at - sample_freqs_.begin();
  // Both arrays get their room first: the inserts below cannot fail half-way.
  make_room(sample_freqs_);
  make_room(sample_values_);
  sample_freqs_.insert(sample_freqs_.begin() + index, freq);
  sample_values_.insert(sample_values_.begin() + index, stored);
}

void FittedScalarModel::addSamples(
    const std::vector<std::pair<double, std::complex<double>>>& samples) {
  const std::vector<std::size_t> order = frequency_order(samples);
  const std::size_t refused = first_refused(samples, order, sample_freqs_);
  if (refused < samples.size()) {
    const double freq = samples[refused].first;
    if (std::isnan(freq)) throw_not_a_number(freq);
    throw_duplicate(freq);
  }

  // Merge the ordered new samples into the held ones.
  std::vector<double> freqs;
  std::vector<std::complex<double>> values;
  freqs.reserve(sample_freqs_.size() + samples.size());
  values.reserve(sample_freqs_.size() + samples.size());
  std::size_t held = 0;
  for (std::size_t j : order) {
    const double freq = samples[j].first;
    while (held < sample_freqs_.size() && sample_freqs_[held] < freq) {
      freqs.push_back(sample_freqs_[held]);
      values.push_back(sample_values_[held]);
      ++held;
    }
    freqs.push_back(freq);
    values.push_back(applyTrafo(freq, samples[j].second));
  }
  freqs.insert(freqs.end(), sample_freqs_.begin() + static_cast<std::ptrdiff_t>(held),
               sample_freqs_.end());
  values.insert(values.end(), sample_values_.begin() + static_cast<std::ptrdiff_t>(held),
                sample_values_.end());
  sample_freqs_.swap(freqs);
  sample_values_.swap(values);
}

std::pair<double, std::complex<double>> FittedScalarModel::getSample(std::size_t i) const {
  return {sample_freqs_[i], applyInvTrafo(sample_freqs_[i], sample_values_[i])};
}

bool FittedScalarModel::empty() const {
  return sample_freqs_.empty();
}

void FittedScalarModel::evaluate(const std::vector<double>& freqs,
                                 std::vector<std::complex<double>>& values,
                                 std::vector<std::complex<double>>& work) const {
  evaluate_fit(freqs, values, work);
  applyInvTrafo(freqs, values);
}

std::complex<double> FittedScalarModel::evaluate(double freq) const {
  return applyInvTrafo(freq, evaluate_fit(freq));
}

std::complex<double> FittedScalarModel::evaluate_derivative(double /*freq*/) const {
  throw std::runtime_error("FittedScalarModel::evaluate_derivative is not supported yet");
}

std::complex<double> FittedScalarModel::evaluate_derivative_2(double /*freq*/) const {
  throw std::runtime_error("FittedScalarModel::evaluate_derivative_2 is not supported yet");
}

StaticTableModel::StaticTableModel(std::size_t degree) : degree_(degree) {}

StaticTableModel::StaticTableModel(std::size_t degree,
                                   const std::vector<Transformation::Type>& transformations)
    : FittedScalarModel(transformations), degree_(degree) {}

bool StaticTableModel::operator==(const StaticTableModel& other) const {
  if (degree_ != other.degree_ || nbSamples() != other.nbSamples()) return false;
  if (sample_freqs() != other.sample_freqs() || sample_values() != other.sample_values()) {
    return false;
  }
  if (nbTransformations() != other.nbTransformations()) return false;
  for (std::size_t i = 0; i < nbTransformations(); ++i) {
    if (getTransformation(i) != other.getTransformation(i)) return false;
  }
  return true;
}

ScalarModel* StaticTableModel::clone() const {
  return new StaticTableModel(*this);
}

ScalarModel::Type StaticTableModel::type() const {
  return StaticTable;
}

void StaticTableModel::evaluate_fit(const std::vector<double>& freqs,
                                    std::vector<std::complex<double>>& values,
                                    std::vector<std::complex<double>>& /*work*/) const {
  values.resize(freqs.size());
  for (std::size_t i = 0; i < freqs.size(); ++i)
    values[i] = evaluate_fit(freqs[i]);
}

namespace {

// One part (real or imaginary) of the Lagrange polynomial through the stencil
// [start, start + count) at freq.
template <class Part>
double lagrange(const std::vector<double>& t, const std::vector<std::complex<double>>& y,
                std::size_t start, std::size_t count, double freq, Part part) {
  const double x0 = part(y[start]);
  bool flat = true;
  for (std::size_t j = 1; j < count && flat; ++j) {
    const double xj = part(y[start + j]);
    flat = std::fabs(x0 - xj) <= std::fabs(xj + x0) * kEpsilon;
  }
  if (flat) return x0;
  double sum = 0.0;
  for (std::size_t j = start; j < start + count; ++j) {
    double term = part(y[j]);
    for (std::size_t i = start; i < start + count; ++i) {
      if (i != j) term *= (freq - t[i]) / (t[j] - t[i]);
    }
    sum += term;
  }
  return sum;
}

}  // namespace

std::complex<double> StaticTableModel::evaluate_fit(double freq) const {
  const std::vector<double>& t = sample_freqs();
  const std::vector<std::complex<double>>& y = sample_values();
  const std::size_t n = t.size();
  if (n == 0) throw std::runtime_error("static table model without samples cannot be evaluated");
  if (degree_ == 0) throw std::runtime_error("static table model of degree 0 cannot be evaluated");
  if (freq < t.front() || freq > t.back()) {
    throw std::out_of_range(detail::message(freq, " does not belong to tabulation interval [",
                                            t.front(), " , ", t.back(), "]"));
  }
  // Only a NaN frequency gets past the range test without a sample at or above it.
  const std::size_t k0 =
      std::min<std::size_t>(std::lower_bound(t.begin(), t.end(), freq) - t.begin(), n - 1);
  if (std::fabs(freq - t[k0]) <= std::fabs(freq + t[k0]) * kEpsilon) return y[k0];

  std::size_t start = 0;
  std::size_t count = n;
  if (degree_ < n) {
    // k is the last sample below freq. A frequency below the first sample (k0 == 0) takes the
    // last stencil: k wraps round to the largest size_t and the clamp gives n - degree_.
    const std::size_t k = k0 - 1;
    const std::size_t half = (degree_ - 1) >> 1;
    start = std::min(k > half ? k - half : 0, n - degree_);
    count = degree_;
  }
  const double re =
      lagrange(t, y, start, count, freq, [](const std::complex<double>& v) { return v.real(); });
  const double im =
      lagrange(t, y, start, count, freq, [](const std::complex<double>& v) { return v.imag(); });
  return {re, im};
}

}  // namespace korvantix
