#pragma once

/// \file
/// The evaluator base of everything that yields an N-port S-matrix, the port-data key, the
/// interpolation and modal-parameter enumerations, and the S-matrix sample.

#include <korvantix/config.hpp>

#include <complex>
#include <cstddef>
#include <cstdint>
#include <iosfwd>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

namespace korvantix {

/// Key of one item of per-port data: (data name, 0-based port index). std::pair's ordering is
/// the required one: names byte-wise with a prefix first, then indices.
using PortDataName = std::pair<std::string, std::size_t>;

/// How a container interpolates between neighbouring data. Other values are representable and
/// make every interpolated entry 0+0i.
enum InterpolationType : std::int32_t { REAL_IMAG = 1, MAG_PHASE = 2 };

/// The modal port parameters; each selects the port datum of the same name at a port.
enum ModalPortParameterType : std::int32_t { Zpi = 0, Zpv = 1, Zvi = 2, Gamma = 3 };

class SMatrixSample;

/// Abstract base of everything that yields an N-port S-matrix as a function of frequency.
class KORVANTIX_API SMatrixEvaluator {
 public:
  /// What an evaluator is: a sample, a model, or a container mixing both.
  enum Type : std::int32_t { SAMPLE = 1, MODEL = 2, MIXED = 3 };

  /// An evaluator of nbPorts ports.
  explicit SMatrixEvaluator(std::size_t nbPorts = 0) : nb_ports_(nbPorts) {}
  SMatrixEvaluator(const SMatrixEvaluator&) = default;
  SMatrixEvaluator& operator=(const SMatrixEvaluator&) = default;
  virtual ~SMatrixEvaluator();

  /// The kind of evaluator.
  virtual Type type() const = 0;
  /// Whether the S-matrix is symmetric (see each kind for the exact rule).
  virtual bool is_symmetric() const = 0;
  /// A new heap copy of the dynamic type; the caller owns it.
  virtual SMatrixEvaluator* clone() const = 0;
  /// Lowest frequency in Hz.
  virtual double from() const = 0;
  /// Highest frequency in Hz.
  virtual double to() const = 0;
  /// The S-matrix sample at `frequency` Hz.
  virtual SMatrixSample evaluate(double frequency, InterpolationType interpolation) const = 0;

  /// The number of ports N.
  std::size_t nbPorts() const { return nb_ports_; }

  /// Equality through base pointers: false for a null pointer or different types; samples and
  /// models compare with their operator==; any type outside 1..3 compares true.
  /// Throws std::runtime_error "ModelInterface::equal not supported for MIXED" for containers.
  static bool equal(const SMatrixEvaluator* a, const SMatrixEvaluator* b);

 protected:
  std::size_t nb_ports_;
};

/// One complex N x N S-matrix at one frequency, with one complex reference impedance per port
/// and an ordered table of named per-port complex values (the port data).
class KORVANTIX_API SMatrixSample : public SMatrixEvaluator {
 public:
  /// The port data: (key, value) pairs sorted by key, each key once. A sorted vector rather than
  /// a node-based map: a sample holds a handful of entries and is copied and built in bulk (one
  /// allocation instead of one per entry, and lookups over contiguous keys).
  using PortData = std::vector<std::pair<PortDataName, std::complex<double>>>;
  /// Read-only iteration over the port data.
  using port_data_iterator = PortData::const_iterator;

  /// Orders samples by frequency (strictly smaller first); equal frequencies are equivalent.
  struct less_freq {
    bool operator()(const SMatrixSample& a, const SMatrixSample& b) const noexcept {
      return a.frequency_ < b.frequency_;
    }
  };

  /// N x N zero S-matrix and N zero reference impedances, no port data. The defaults give the
  /// default state: 0 ports at -1 Hz. Throws std::runtime_error "S-matrix of <N> ports is too
  /// large" when N * N does not fit in a size_t.
  explicit SMatrixSample(std::size_t nbPorts = 0, double frequency = -1.0);
  /// As above, plus one port datum 0+0i per distinct name of the list. Same failure.
  SMatrixSample(std::size_t nbPorts, double frequency, const std::vector<PortDataName>& names);
  SMatrixSample(const SMatrixSample& other);
  SMatrixSample& operator=(const SMatrixSample& other);
  /// Takes everything over and leaves `other` in the default state (0 ports, -1 Hz).
  SMatrixSample(SMatrixSample&& other) noexcept;
  /// Takes everything over and leaves `other` in the default state (0 ports, -1 Hz).
  SMatrixSample& operator=(SMatrixSample&& other) noexcept;
  ~SMatrixSample() override;

  /// SAMPLE.
  Type type() const override;
  /// True when S(i, j) and S(j, i) are exactly equal for every i < j (a NaN breaks symmetry).
  bool is_symmetric() const override;
  /// A new heap copy; the caller owns it.
  SMatrixEvaluator* clone() const override;
  /// The sample's frequency.
  double from() const override;
  /// The sample's frequency.
  double to() const override;
  /// A copy of the sample when `frequency` equals its own exactly (the interpolation is ignored).
  /// Throws std::out_of_range with an empty message at any other frequency.
  SMatrixSample evaluate(double frequency, InterpolationType interpolation) const override;

  /// The frequency in Hz.
  double frequency() const { return frequency_; }
  /// Stores the frequency without any check.
  void setFrequency(double frequency) { frequency_ = frequency; }

  /// S entry (i, j); indices are not checked.
  std::complex<double>& operator()(std::size_t i, std::size_t j) { return s_[i * nb_ports_ + j]; }
  /// S entry (i, j); indices are not checked.
  const std::complex<double>& operator()(std::size_t i, std::size_t j) const {
    return s_[i * nb_ports_ + j];
  }
  /// Reference impedance of port i; not checked.
  std::complex<double>& Zref(std::size_t i) { return zref_[i]; }
  /// Reference impedance of port i; not checked.
  const std::complex<double>& Zref(std::size_t i) const { return zref_[i]; }
  /// All N reference impedances.
  std::vector<std::complex<double>>& Zref() { return zref_; }
  /// All N reference impedances.
  const std::vector<std::complex<double>>& Zref() const { return zref_; }
  /// The whole S-matrix, row-major (entry (i, j) at i * N + j).
  std::vector<std::complex<double>>& S() { return s_; }
  /// The whole S-matrix, row-major (entry (i, j) at i * N + j).
  const std::vector<std::complex<double>>& S() const { return s_; }

  /// The port datum under `key`; never inserts.
  /// Throws std::runtime_error "<name>[<index>] is not available" for an absent key.
  std::complex<double>& operator()(const PortDataName& key);
  /// The port datum under `key`.
  /// Throws std::runtime_error "<name>[<index>] is not available" for an absent key.
  const std::complex<double>& operator()(const PortDataName& key) const;
  /// Overwrites the value of an existing key; never adds one.
  /// Throws std::runtime_error "<name>[<index>] is not available" for an absent key.
  void set(const PortDataName& key, const std::complex<double>& value);
  /// The port datum ("Zpi", "Zpv", "Zvi" or "Gamma", port).
  /// Throws std::runtime_error "modalParameter: unknown modalPortParameter" for a type outside
  /// 0..3, and the "is not available" error for an absent key.
  std::complex<double>& modalParameter(std::size_t port, ModalPortParameterType type);
  /// Const form of modalParameter, same failures.
  const std::complex<double>& modalParameter(std::size_t port, ModalPortParameterType type) const;
  /// The port-data keys in key order.
  std::vector<PortDataName> port_data_names() const;
  /// First (key, value) pair of the port data.
  port_data_iterator begin_port_data() const { return port_data_.begin(); }
  /// End of the port data.
  port_data_iterator end_port_data() const { return port_data_.end(); }

  /// Exact equality of port count, frequency, S-matrix, Zref and port data (NaN never equal).
  bool operator==(const SMatrixSample& other) const;
  /// Negation of operator==.
  bool operator!=(const SMatrixSample& other) const { return !(*this == other); }

 private:
  friend class SMatrixContainer;

  // Port i becomes port p[i] (S, Zref and port-data indices); p is trusted to be a permutation
  // of 0..N-1 covering every port-data index.
  SMatrixSample permute(const std::vector<std::size_t>& p) const;

  double frequency_;
  std::vector<std::complex<double>> s_;
  std::vector<std::complex<double>> zref_;
  PortData port_data_;
};

/// "Sample at <f> Hz:", then per port the reference impedance and the S row, then the port data.
KORVANTIX_API std::ostream& operator<<(std::ostream& out, const SMatrixSample& sample);
/// Prints a sample, model, container or difference container (compare.hpp) by its type code
/// and class; any other evaluator, null included, prints nothing.
KORVANTIX_API std::ostream& operator<<(std::ostream& out, const SMatrixEvaluator* evaluator);
/// A port datum name: the name, "[", the index, "]".
KORVANTIX_API std::ostream& operator<<(std::ostream& out,
                                       const std::pair<std::string, std::size_t>& key);
/// A value and where it occurs (frequency, row, column): width 6 precision 3 value, "@(", width
/// 10 precision 4 frequency, " Hz, r=", width 3 row, ", c=", width 3 column, ")". The precision
/// 4 stays in force on the stream afterwards.
KORVANTIX_API std::ostream& operator<<(
    std::ostream& out, const std::pair<double, std::tuple<double, std::size_t, std::size_t>>& at);

}  // namespace korvantix
