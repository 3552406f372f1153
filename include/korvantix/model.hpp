#pragma once

/// \file
/// The S-matrix model: an N x N matrix of scalar functions of frequency over one band.

#include <korvantix/config.hpp>
#include <korvantix/evaluator.hpp>
#include <korvantix/scalar.hpp>

#include <complex>
#include <cstddef>
#include <cstdint>
#include <iosfwd>
#include <map>
#include <memory>
#include <utility>
#include <vector>

namespace korvantix {

/// How a sampling plan spaces frequencies (any other value is refused where a plan is made).
enum SamplingType : std::int32_t {
  Linear = 1,
  Logarithmic = 2,
  Adaptive = 3,
  LinearLogarithmic = 4
};

/// An N-port S-matrix as a function of frequency over the closed band [from, to] Hz: every S
/// entry, reference impedance and port datum is an exclusively owned ScalarModel. Models passed
/// in are never adopted: the model stores clones.
class KORVANTIX_API SMatrixModel : public SMatrixEvaluator {
 public:
  /// Exclusive owner of one scalar model.
  using ScalarModelPtr = std::unique_ptr<ScalarModel>;
  /// The port data: key to model, in key order.
  using PortData = std::map<PortDataName, ScalarModelPtr>;
  /// Read-only iteration over the port data.
  using port_data_iterator = PortData::const_iterator;

  /// Orders models by band. a precedes b when a ends below b's start, or when both bands are
  /// proper (from < to) and a ends exactly where b starts. Overlapping bands, and a single-
  /// frequency band touching another, are equivalent: that is how a container refuses them.
  struct less_freq {
    bool operator()(const SMatrixModel& a, const SMatrixModel& b) const noexcept {
      if (a.to_ < b.from_) return true;
      if (a.to_ == b.from_) return a.from_ < a.to_ && b.from_ < b.to_;
      return false;
    }
  };

  /// N * N S entries and N Zref entries, each a default PolynomialModel, no port data, band
  /// [from, to]. Throws std::runtime_error "invalid frequency range [<from> , <to>]" unless
  /// from <= to (also for a NaN), then "S-matrix of <N> ports is too large" when N * N does
  /// not fit in a size_t.
  explicit SMatrixModel(std::size_t nbPorts = 0, double from = 0.0, double to = 0.0);
  /// As above, plus one default PolynomialModel per distinct port-data name. Same failures.
  SMatrixModel(std::size_t nbPorts, double from, double to, const std::vector<PortDataName>& names);
  /// Deep copy: every scalar model is cloned.
  SMatrixModel(const SMatrixModel& other);
  /// Deep copy: every scalar model is cloned.
  SMatrixModel& operator=(const SMatrixModel& other);
  /// Takes all models over; `other` keeps its band and is left with 0 ports and no models.
  SMatrixModel(SMatrixModel&& other) noexcept;
  /// Takes all models over; `other` keeps its band and is left with 0 ports and no models.
  SMatrixModel& operator=(SMatrixModel&& other) noexcept;
  ~SMatrixModel() override;

  /// MODEL.
  Type type() const override;
  /// True when the models of (i, j) and (j, i) are equal by ScalarModel::equal for all i < j.
  bool is_symmetric() const override;
  /// A new deep copy; the caller owns it.
  SMatrixEvaluator* clone() const override;
  /// Lower band edge in Hz.
  double from() const override { return from_; }
  /// Upper band edge in Hz.
  double to() const override { return to_; }
  /// The sample at `frequency` (the interpolation is ignored).
  /// Throws std::out_of_range "<f> not in [<from> , <to>]" outside the band; errors of the
  /// scalar models pass through.
  SMatrixSample evaluate(double frequency, InterpolationType interpolation) const override;
  /// As evaluate, but S(j, i) is a copy of S(i, j) for j > i: the lower triangle's models are
  /// never consulted. Same failures.
  SMatrixSample evaluate_symm(double frequency, InterpolationType interpolation) const;

  /// The band (from, to).
  std::pair<double, double> getFrequencyRange() const { return {from_, to_}; }
  /// Stores the band. Throws std::runtime_error "invalid frequency range [<from> , <to>]"
  /// unless from <= to (also for a NaN); the band is then unchanged.
  void setFrequencyRange(double from, double to);

  /// S entry (i, j) evaluated at f; indices not checked.
  /// Throws std::out_of_range with an empty message when f lies outside the band.
  std::complex<double> operator()(double f, std::size_t i, std::size_t j) const;
  /// The scalar model of S entry (i, j); not checked.
  const ScalarModel& operator()(std::size_t i, std::size_t j) const {
    return *s_[i * nb_ports_ + j];
  }
  /// The scalar model of a port datum.
  /// Throws std::runtime_error "<name>[<index>] is not available" for an absent key.
  const ScalarModel& operator()(const PortDataName& key) const;
  /// Reference impedance of port i evaluated at f; i not checked.
  /// Throws std::out_of_range with an empty message when f lies outside the band.
  std::complex<double> Zref(double f, std::size_t i) const;
  /// The reference-impedance model of port i; not checked.
  const ScalarModel& Zref(std::size_t i) const { return *zref_[i]; }
  /// All N reference-impedance models.
  std::vector<ScalarModelPtr>& Zref() { return zref_; }
  /// All N reference-impedance models.
  const std::vector<ScalarModelPtr>& Zref() const { return zref_; }
  /// All N * N S-entry models, row-major.
  std::vector<ScalarModelPtr>& S() { return s_; }
  /// All N * N S-entry models, row-major.
  const std::vector<ScalarModelPtr>& S() const { return s_; }
  /// First (key, model) pair of the port data.
  port_data_iterator begin_port_data() const { return port_data_.begin(); }
  /// End of the port data.
  port_data_iterator end_port_data() const { return port_data_.end(); }
  /// The port-data keys in key order.
  std::vector<PortDataName> port_data_names() const;

  /// Replaces S entry (i, j) by a clone of m (not checked; m must not be null).
  void set(std::size_t i, std::size_t j, const ScalarModel* m);
  /// Replaces the reference-impedance model of port i by a clone of m.
  void setZref(std::size_t i, const ScalarModel* m);
  /// Replaces the model of an existing key by a clone of m; never adds a key.
  /// Throws std::runtime_error "<name>[<index>] is not available" for an absent key.
  void set(const PortDataName& key, const ScalarModel* m);

  /// Exact equality: port count, band, then every S, Zref and port-data model by
  /// ScalarModel::equal.
  bool operator==(const SMatrixModel& other) const;
  /// Negation of operator==.
  bool operator!=(const SMatrixModel& other) const { return !(*this == other); }

  /// n frequencies inside the band, spaced by `type`; with includeEndpoints false the band
  /// edges are never among them. Throws std::runtime_error, in this order of checks: "it is
  /// not possible to obtain 0 samples over a range, including the endpoint" (n = 0 with
  /// endpoints); for a band of one frequency, "unable to obtain <n> different samples in
  /// degenerate frequency range [<from> , <to>]" unless n = 1 (which gives that frequency
  /// whatever the type); "Sampling type <value> not supported" for a type other than Linear
  /// and Logarithmic; "unable to obtain 1 samples including the endpoints" (n = 1 with
  /// endpoints).
  std::vector<double> sample_frequencies(std::size_t n, SamplingType type,
                                         bool includeEndpoints) const;

 private:
  // Whole-sample evaluation outside the band: std::out_of_range "<f> not in [<from> , <to>]".
  void check_in_band(double frequency) const;
  // The body of evaluate and evaluate_symm; the symmetric form reads the upper triangle and
  // mirrors it.
  SMatrixSample evaluate_at(double frequency, bool symmetric) const;
  friend class SMatrixContainer;

  // Port i becomes port p[i]; every model is cloned. No checks: p must be a permutation.
  SMatrixModel permute(const std::vector<std::size_t>& p) const;

  double from_ = 0.0;
  double to_ = 0.0;
  std::vector<ScalarModelPtr> s_;
  std::vector<ScalarModelPtr> zref_;
  PortData port_data_;
};

/// "Model in [<from> , <to> ] Hz:", then every Zref, S and port-data model.
KORVANTIX_API std::ostream& operator<<(std::ostream& out, const SMatrixModel& model);

}  // namespace korvantix
