#pragma once

/// \file
/// Comparison of networks: the distance between two scalar models, samples or evaluators, the
/// largest entry difference and where it occurs, and a container that evaluates to the
/// difference of two containers.
///
/// The entry difference of two complex values a and b is |a - b|, and exactly 0 when a and b
/// are equal (so an infinite entry that both hold is no difference, where inf - inf would give
/// NaN). `distance` is the root mean square of the entry differences over every compared entry
/// (all N x N S entries at every frequency); identical inputs give exactly 0, and networks of 0
/// ports give 0. `max_distance` gives the largest entry difference and where it first occurs,
/// scanning frequencies in list order, then rows, then columns (0 at the first location when
/// nothing differs). A NaN difference is never hidden: it counts as larger than any number and
/// is reported as NaN at its first location, and it makes `distance` NaN.
///
/// Failures are checked before anything is evaluated, all std::runtime_error:
/// "no frequencies to compare at" for an empty frequency list, and "cannot compare networks of
/// <Na> and <Nb> ports" for different port counts. Errors of evaluation (a frequency outside a
/// band, a sample asked at another frequency) pass through unchanged; at each frequency the
/// first network is evaluated first. Two evaluated samples of different sizes (a container may
/// hold samples of another port count than its own) throw the port-count message with their
/// sizes.

#include <korvantix/config.hpp>
#include <korvantix/container.hpp>
#include <korvantix/evaluator.hpp>
#include <korvantix/scalar.hpp>

#include <cstddef>
#include <iosfwd>
#include <tuple>
#include <utility>
#include <vector>

namespace korvantix {

/// A difference and where it occurs: (value, (frequency, row, column)).
using DistanceLocation = std::pair<double, std::tuple<double, std::size_t, std::size_t>>;

/// RMS of |a(f) - b(f)| over the frequencies. Throws "no frequencies to compare at"; a is
/// evaluated at every frequency (batch form) before b, so a's evaluation errors come first.
KORVANTIX_API double distance(const ScalarModel& a, const ScalarModel& b,
                              const std::vector<double>& frequencies);
/// Largest |a(f) - b(f)| and its first frequency (row and column 0). Throws as distance does.
KORVANTIX_API DistanceLocation max_distance(const ScalarModel& a, const ScalarModel& b,
                                            const std::vector<double>& frequencies);
/// RMS of the S entry differences of two samples (their frequencies are not compared).
/// Throws "cannot compare networks of <Na> and <Nb> ports".
KORVANTIX_API double distance(const SMatrixSample& a, const SMatrixSample& b);
/// Largest S entry difference of two samples, located at a's frequency. Throws as distance.
KORVANTIX_API DistanceLocation max_distance(const SMatrixSample& a, const SMatrixSample& b);
/// RMS of the S entry differences of a.evaluate(f, t) and b.evaluate(f, t) over the
/// frequencies. Throws both messages above; errors of evaluation pass through.
KORVANTIX_API double distance(const SMatrixEvaluator& a, const SMatrixEvaluator& b,
                              const std::vector<double>& frequencies,
                              InterpolationType t = MAG_PHASE);
/// Largest S entry difference of the two evaluators over the frequencies and where it first
/// occurs. Throws as distance does.
KORVANTIX_API DistanceLocation max_distance(const SMatrixEvaluator& a, const SMatrixEvaluator& b,
                                            const std::vector<double>& frequencies,
                                            InterpolationType t = MAG_PHASE);

/// The difference of two networks as an evaluator: at f, the first container's sample minus the
/// second's (S entries, reference impedances and shared port data), each container evaluated by
/// its own rule. It keeps copies of both containers; its ports are those of the first.
class KORVANTIX_API SMatrixDifferenceContainer : public SMatrixEvaluator {
 public:
  /// Copies both containers. Throws std::runtime_error, checked in this order and before
  /// anything is copied: "cannot compare networks of <Na> and <Nb> ports"; "port names differ:
  /// <a names, ", "-joined> and <b names>; permute one container to the other's port order
  /// first"; "empty container" for an empty one; "the networks share no frequency band:
  /// [<a.from> , <a.to>] and [<b.from> , <b.to>]". Bands that only touch share that frequency.
  SMatrixDifferenceContainer(const SMatrixContainer& a, const SMatrixContainer& b);
  /// Reads both files with read() and checks them as above; read()'s errors pass through.
  SMatrixDifferenceContainer(const char* path_a, const char* path_b);

  /// The first container (the minuend).
  const SMatrixContainer& first() const { return first_; }
  /// The second container (the subtrahend).
  const SMatrixContainer& second() const { return second_; }

  /// MIXED.
  Type type() const override;
  /// True when both containers are symmetric.
  bool is_symmetric() const override;
  /// A new deep copy; the caller owns it.
  SMatrixEvaluator* clone() const override;
  /// The lower edge of the overlap of the two bands.
  double from() const override { return from_; }
  /// The upper edge of the overlap of the two bands.
  double to() const override { return to_; }
  /// first.evaluate(f, t) minus second.evaluate(f, t) at frequency f: S entries and reference
  /// impedances entry by entry (equal entries give exactly 0), and the port data whose keys
  /// both samples carry (an interpolated sample carries none).
  /// Throws std::out_of_range "<f> not in [<from> , <to>]" outside the overlap (also for a
  /// NaN); errors of either container's evaluation pass through; std::runtime_error "cannot
  /// compare networks of <Na> and <Nb> ports" when the evaluated samples differ in size.
  SMatrixSample evaluate(double f, InterpolationType t) const override;

 private:
  SMatrixContainer first_;
  SMatrixContainer second_;
  double from_ = 0.0;
  double to_ = 0.0;
};

/// "Difference of two S-matrix containers over [<from> , <to>] Hz:", then "\n" and the first
/// container, "\n" and the second. The evaluator-pointer printer prints it the same way.
KORVANTIX_API std::ostream& operator<<(std::ostream& out, const SMatrixDifferenceContainer& d);

}  // namespace korvantix
