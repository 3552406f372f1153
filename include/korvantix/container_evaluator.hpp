#pragma once

/// \file
/// A container evaluated once on a fixed list of frequencies, answering from the stored
/// results afterwards.

#include <korvantix/config.hpp>
#include <korvantix/container.hpp>
#include <korvantix/evaluator.hpp>

#include <complex>
#include <cstddef>
#include <vector>

namespace korvantix {

/// The samples of a container at a fixed list of frequencies, evaluated once at construction
/// (SMatrixContainer::load, MAG_PHASE interpolation, symmetric evaluation for a symmetric
/// container). Queries then read the stored samples: a frequency is found in O(log n) and the
/// container is never evaluated again (nor referenced: the evaluator keeps no pointer to it).
/// The list keeps the caller's order; a frequency listed twice is evaluated twice and found
/// at its first position.
class KORVANTIX_API SMatrixContainerEvaluator : public SMatrixEvaluator {
 public:
  /// Evaluates `container` at every frequency of `freqs` on `nbThreads` worker threads (0: the
  /// machine's concurrency). Throws what the evaluation throws, for example std::runtime_error
  /// "<f> Hz does not belong to [<from>, <to>] Hz" for a frequency outside the container.
  SMatrixContainerEvaluator(const SMatrixContainer& container, const std::vector<double>& freqs,
                            std::size_t nbThreads = 0);

  /// MIXED, as the container it comes from.
  Type type() const override;
  /// True when every evaluated sample is symmetric (an empty list is).
  bool is_symmetric() const override;
  /// A new heap copy; the caller owns it.
  SMatrixEvaluator* clone() const override;
  /// The lowest listed frequency. Throws std::runtime_error "empty container" for an empty list.
  double from() const override;
  /// The highest listed frequency. Throws std::runtime_error "empty container" for an empty list.
  double to() const override;
  /// A copy of the sample evaluated at `frequency`; the interpolation type is ignored (the
  /// samples were evaluated with MAG_PHASE). Throws std::out_of_range "<f> Hz is not an
  /// evaluated frequency" for a frequency not exactly in the list.
  SMatrixSample evaluate(double frequency, InterpolationType interpolation) const override;

  /// The frequencies, in the order given at construction.
  const std::vector<double>& frequencies() const { return frequencies_; }
  /// The number of listed frequencies.
  std::size_t nbFrequencies() const { return frequencies_.size(); }
  /// The evaluated samples, one per listed frequency, in the same order.
  const std::vector<SMatrixSample>& samples() const { return samples_; }
  /// Whether `frequency` is exactly one of the listed frequencies.
  bool contains(double frequency) const;
  /// The sample evaluated at `frequency`, by reference.
  /// Throws std::out_of_range "<f> Hz is not an evaluated frequency".
  const SMatrixSample& sample(double frequency) const;
  /// The reference impedance of port i at every listed frequency, in list order.
  /// Throws std::runtime_error "port index out of bounds" when a sample has no port i.
  std::vector<std::complex<double>> Zref(std::size_t i) const;
  /// S entry (i, j) at every listed frequency, in list order.
  /// Throws std::runtime_error "port index out of bounds" when a sample has no port i or j.
  std::vector<std::complex<double>> operator()(std::size_t i, std::size_t j) const;

 private:
  // Position in the list of `frequency`, or the list's size when it is not listed.
  std::size_t find(double frequency) const;

  std::vector<double> frequencies_;
  std::vector<SMatrixSample> samples_;
  std::vector<std::size_t> by_frequency_;  // list positions sorted by frequency, ties in order
  bool symmetric_ = true;
};

}  // namespace korvantix
