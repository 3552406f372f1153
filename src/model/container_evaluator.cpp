#include <korvantix/container_evaluator.hpp>

#include <algorithm>
#include <numeric>
#include <stdexcept>

#include "detail/facts.hpp"
#include "detail/message.hpp"

namespace korvantix {

namespace {

[[noreturn]] void throw_not_listed(double frequency) {
  throw std::out_of_range(detail::message(frequency, " Hz is not an evaluated frequency"));
}

}  // namespace

SMatrixContainerEvaluator::SMatrixContainerEvaluator(const SMatrixContainer& container,
                                                     const std::vector<double>& freqs,
                                                     std::size_t nbThreads)
    : SMatrixEvaluator(container.nbPorts()), frequencies_(freqs) {
  // load refuses a NaN frequency (it belongs to no container), so the sort below sees only
  // ordered values.
  container.load(frequencies_, samples_, nbThreads);
  by_frequency_.resize(frequencies_.size());
  std::iota(by_frequency_.begin(), by_frequency_.end(), std::size_t{0});
  std::stable_sort(
      by_frequency_.begin(), by_frequency_.end(),
      [this](std::size_t a, std::size_t b) { return frequencies_[a] < frequencies_[b]; });
  symmetric_ = std::all_of(samples_.begin(), samples_.end(),
                           [](const SMatrixSample& s) { return s.is_symmetric(); });
}

SMatrixEvaluator::Type SMatrixContainerEvaluator::type() const {
  return MIXED;
}

bool SMatrixContainerEvaluator::is_symmetric() const {
  return symmetric_;
}

SMatrixEvaluator* SMatrixContainerEvaluator::clone() const {
  return new SMatrixContainerEvaluator(*this);
}

double SMatrixContainerEvaluator::from() const {
  if (by_frequency_.empty()) detail::throw_empty_container();
  return frequencies_[by_frequency_.front()];
}

double SMatrixContainerEvaluator::to() const {
  if (by_frequency_.empty()) detail::throw_empty_container();
  return frequencies_[by_frequency_.back()];
}

std::size_t SMatrixContainerEvaluator::find(double frequency) const {
  const auto it = std::lower_bound(by_frequency_.begin(), by_frequency_.end(), frequency,
                                   [this](std::size_t k, double f) { return frequencies_[k] < f; });
  if (it == by_frequency_.end() || !(frequencies_[*it] == frequency)) return frequencies_.size();
  return *it;
}

bool SMatrixContainerEvaluator::contains(double frequency) const {
  return find(frequency) != frequencies_.size();
}

const SMatrixSample& SMatrixContainerEvaluator::sample(double frequency) const {
  const std::size_t k = find(frequency);
  if (k == frequencies_.size()) throw_not_listed(frequency);
  return samples_[k];
}

SMatrixSample SMatrixContainerEvaluator::evaluate(double frequency, InterpolationType) const {
  return sample(frequency);
}

std::vector<std::complex<double>> SMatrixContainerEvaluator::Zref(std::size_t i) const {
  std::vector<std::complex<double>> values;
  values.reserve(samples_.size());
  for (const SMatrixSample& s : samples_) {
    if (i >= s.nbPorts()) detail::throw_port_out_of_bounds();
    values.push_back(s.Zref(i));
  }
  return values;
}

std::vector<std::complex<double>> SMatrixContainerEvaluator::operator()(std::size_t i,
                                                                        std::size_t j) const {
  std::vector<std::complex<double>> values;
  values.reserve(samples_.size());
  for (const SMatrixSample& s : samples_) {
    if (i >= s.nbPorts() || j >= s.nbPorts()) detail::throw_port_out_of_bounds();
    values.push_back(s(i, j));
  }
  return values;
}

}  // namespace korvantix
