#pragma once

/// \file
/// The S-matrix container: samples and non-overlapping models of one N-port network, with port
/// names, port-data names and string properties, evaluated at any frequency.

#include <korvantix/config.hpp>
#include <korvantix/evaluator.hpp>
#include <korvantix/model.hpp>

#include <complex>
#include <cstddef>
#include <iosfwd>
#include <iterator>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace korvantix {

namespace detail {
struct ContainerStorage;
}  // namespace detail

/// The complete description of one N-port network: port names, the port-data keys every sample
/// and model must carry, global and per-port string properties, samples at distinct frequencies
/// and models over non-overlapping bands. Failed operations leave the container unchanged.
class KORVANTIX_API SMatrixContainer : public SMatrixEvaluator {
 public:
  /// One property map: key to value, in key order.
  using PropertyMap = std::map<std::string, std::string>;

  /// Read-only bidirectional iteration over the stored samples in increasing frequency.
  class KORVANTIX_API SampleIterator {
   public:
    using iterator_category = std::bidirectional_iterator_tag;
    using value_type = SMatrixSample;
    using difference_type = std::ptrdiff_t;
    using pointer = const SMatrixSample*;
    using reference = const SMatrixSample&;

    SampleIterator() = default;
    reference operator*() const;
    pointer operator->() const { return &**this; }
    SampleIterator& operator++();
    SampleIterator operator++(int) {
      SampleIterator old = *this;
      ++*this;
      return old;
    }
    SampleIterator& operator--();
    SampleIterator operator--(int) {
      SampleIterator old = *this;
      --*this;
      return old;
    }
    bool operator==(const SampleIterator& other) const;
    bool operator!=(const SampleIterator& other) const { return !(*this == other); }

   private:
    friend struct detail::ContainerStorage;
    // The position in the container's private storage, held opaquely.
    alignas(void*) unsigned char position_[sizeof(void*)] = {};
  };
  /// Samples in decreasing frequency.
  using ReverseSampleIterator = std::reverse_iterator<SampleIterator>;
  /// Models in increasing band order.
  using ModelIterator = std::set<SMatrixModel, SMatrixModel::less_freq>::const_iterator;
  /// Models in decreasing band order.
  using ReverseModelIterator = std::reverse_iterator<ModelIterator>;

  /// Ports port_0 .. port_<N-1>, no port-data names, N + 1 empty property maps, no data.
  explicit SMatrixContainer(std::size_t nbPorts = 0);
  /// As above with the given port-data names (stored sorted, duplicates kept).
  SMatrixContainer(std::size_t nbPorts, const std::vector<PortDataName>& names);
  /// Deep copy of every field.
  SMatrixContainer(const SMatrixContainer& other);
  /// Deep copy of every field.
  SMatrixContainer& operator=(const SMatrixContainer& other);
  /// Takes every field over; `other` is left as SMatrixContainer(0).
  SMatrixContainer(SMatrixContainer&& other);
  /// Takes every field over; `other` is left as SMatrixContainer(0).
  SMatrixContainer& operator=(SMatrixContainer&& other);
  ~SMatrixContainer() override;

  /// MIXED.
  Type type() const override;
  /// True when every sample and every model is symmetric (an empty container is).
  bool is_symmetric() const override;
  /// A new deep copy; the caller owns it.
  SMatrixEvaluator* clone() const override;
  /// Lowest frequency of the samples and models. Throws std::runtime_error "empty container".
  double from() const override;
  /// Highest frequency of the samples and models. Throws std::runtime_error "empty container".
  double to() const override;
  /// The S-matrix at f: a model's value inside its band, a stored sample at its frequency, or
  /// the interpolation of the neighbours below and above (it carries no port data).
  /// Throws std::runtime_error "<f> Hz does not belong to [<from>, <to>] Hz" without both
  /// neighbours, "smatrix sample interpolation size mismatch: <N1> != <N2>" for neighbours of
  /// different port counts; errors of model evaluation pass through.
  SMatrixSample evaluate(double f, InterpolationType t) const override;
  /// As evaluate, with models evaluated by SMatrixModel::evaluate_symm. Same failures.
  SMatrixSample evaluate_symm(double f, InterpolationType t) const;
  /// S entry (i, j) at f by the same search, tie-breaks and entry rule as evaluate, so it
  /// equals evaluate(f, t)(i, j) bit for bit. Same failures, the size mismatch included (it
  /// applies to single entries too); throws std::runtime_error "port index out of bounds" when
  /// i or j is not a port of the sample or model read.
  std::complex<double> operator()(double f, std::size_t i, std::size_t j,
                                  InterpolationType t) const;
  /// The port datum `key` at f by the same search as evaluate (an interpolated datum comes from
  /// the neighbours' data). Same failures, the size mismatch included; also throws the sample's
  /// and model's "<name>[<index>] is not available".
  std::complex<double> operator()(double f, const PortDataName& key, InterpolationType t) const;
  /// The reference impedance of port i at f by the same search as evaluate; equals
  /// evaluate(f, t).Zref(i). Same failures, the size mismatch and "port index out of bounds"
  /// included.
  std::complex<double> Zref(double f, std::size_t i, InterpolationType t) const;
  /// The port datum of modal parameter m at port `port`.
  /// Throws std::runtime_error "modalParameter: unknown modalPortParameter" for m outside 0..3.
  std::complex<double> modalParameter(double f, std::size_t port, ModalPortParameterType m,
                                      InterpolationType t) const;
  /// S entry (i, j) at every frequency of freqs, in order; the first failure propagates.
  std::vector<std::complex<double>> operator()(const std::vector<double>& freqs, std::size_t i,
                                               std::size_t j, InterpolationType t) const;
  /// The port datum `key` at every frequency of freqs, in order; the first failure propagates.
  std::vector<std::complex<double>> operator()(const std::vector<double>& freqs,
                                               const PortDataName& key, InterpolationType t) const;
  /// Zref(i) at every frequency of freqs, in order; the first failure propagates.
  std::vector<std::complex<double>> Zref(const std::vector<double>& freqs, std::size_t i,
                                         InterpolationType t) const;

  /// New port count; names port_0 ..; property vector resized to N + 1 keeping the existing maps
  /// at their indices (after a change of port count the former global map becomes a port's
  /// map); samples and models dropped; port-data names replaced and sorted (duplicates kept).
  void reset(std::size_t nbPorts, const std::vector<PortDataName>& names);

  /// Adds a copy of s.
  /// Throws std::runtime_error "Port data of S-sample and S-container must be identical:
  /// sample: <keys>:  container: <names>" when its port-data keys differ from the container's
  /// names, and "S-matrix sample at <f> Hz is already available" for a stored frequency.
  void add(const SMatrixSample& s);
  /// As add(const SMatrixSample&), taking the sample's storage over instead of copying it. On
  /// failure s is left untouched.
  void add(SMatrixSample&& s);
  /// Adds a deep copy of m.
  /// Throws std::runtime_error "Port data of S-model and S-container must be identical\n
  /// model: <keys>\n  container: <names>" for other port-data keys, and "S-matrix model at
  /// [<from> , <to>] Hz overlaps with an existing model at [<from> , <to>] Hz" naming the
  /// lowest overlapped model.
  void add(const SMatrixModel& m);
  /// As add(const SMatrixModel&), taking the model's scalar models over instead of cloning
  /// them. On failure m is left untouched.
  void add(SMatrixModel&& m);

  /// Number of stored samples.
  std::size_t nbSamples() const;
  /// Number of stored models.
  std::size_t nbModels() const;
  /// True when there is neither a sample nor a model.
  bool empty() const;
  /// First sample (lowest frequency).
  SampleIterator begin_samples() const;
  /// End of the samples.
  SampleIterator end_samples() const;
  /// Highest-frequency sample first.
  ReverseSampleIterator rbegin_samples() const { return ReverseSampleIterator(end_samples()); }
  /// End of the reversed samples.
  ReverseSampleIterator rend_samples() const { return ReverseSampleIterator(begin_samples()); }
  /// First model (lowest band).
  ModelIterator begin_models() const;
  /// End of the models.
  ModelIterator end_models() const;
  /// Highest band first.
  ReverseModelIterator rbegin_models() const { return ReverseModelIterator(end_models()); }
  /// End of the reversed models.
  ReverseModelIterator rend_models() const { return ReverseModelIterator(begin_models()); }
  /// The port-data names, sorted.
  const std::vector<PortDataName>& port_data_names() const { return port_data_names_; }

  /// The name of port i (renamable in place).
  /// Throws std::runtime_error "port index out of bounds" for i >= N.
  std::string& name(std::size_t i);
  /// The name of port i. Throws std::runtime_error "port index out of bounds" for i >= N.
  const std::string& name(std::size_t i) const;

  /// True exactly when the key is non-empty.
  static bool is_valid_property(const std::string& key, const std::string& value);
  /// Inserts or overwrites a global property.
  /// Throws std::runtime_error "invalid property key=<key>, val=<value>" for an empty key.
  void add_global_property(const std::string& key, const std::string& value);
  /// Inserts or overwrites a property of port i; i = N is the global map.
  /// Throws std::runtime_error "invalid property key=<key>, val=<value>" for an empty key, then
  /// std::out_of_range "invalid vector subscript" for i > N.
  void add_port_property(std::size_t i, const std::string& key, const std::string& value);
  /// A global property.
  /// Throws std::runtime_error "global property <key> does not exist".
  const std::string& get_global_property(const std::string& key) const;
  /// A property of port i (i = N is the global map).
  /// Throws std::out_of_range "invalid vector subscript" for i > N, then std::runtime_error
  /// "property <key> for port <i> does not exist".
  const std::string& get_port_property(std::size_t i, const std::string& key) const;
  /// The global property map.
  const PropertyMap& get_global_properties() const;
  /// The property map of port i (i = N is the global map).
  /// Throws std::out_of_range "invalid vector subscript" for i > N.
  const PropertyMap& get_port_properties(std::size_t i) const;
  /// Erases a global property.
  /// Throws std::runtime_error "global property <key> does not exist".
  void clear_global_property(const std::string& key);
  /// Erases a property of port i. Throws std::out_of_range "invalid vector subscript" for
  /// i > N, then std::runtime_error "property <key> for port <i> does not exist".
  void clear_port_property(std::size_t i, const std::string& key);
  /// Empties the global property map.
  void clear_global_properties();
  /// Empties the property map of port i.
  /// Throws std::out_of_range "invalid vector subscript" for i > N.
  void clear_port_properties(std::size_t i);
  /// Empties all N + 1 property maps.
  void clear_properties();

  /// Drops every sample.
  void clear_samples();
  /// Drops every model.
  void clear_models();
  /// Empties the property maps, the samples and the models; keeps port names and port-data
  /// names.
  void clear();

  /// Exact equality of port count, port names, properties, samples and models (in order).
  bool operator==(const SMatrixContainer& other) const;
  /// Negation of operator==.
  bool operator!=(const SMatrixContainer& other) const { return !(*this == other); }

  /// A container whose port k is the source port named names[k]; the source is unchanged.
  /// Throws std::runtime_error "expected <N> port names, found <count>" and "port name list
  /// does not contain port name <name>".
  SMatrixContainer permute(const std::vector<std::string>& names) const;

  /// Every sample frequency and every model band edge, ascending, without duplicates.
  std::vector<double> discrete_frequencies() const;
  /// The number of discrete frequencies.
  std::size_t minNbSamples() const;
  /// A plan of n frequencies in [fmin, fmax] (defaults: the lowest and highest discrete
  /// frequency) that keeps every discrete frequency inside it. Throws std::runtime_error (n > 0):
  /// "Unable to obtain <n> samples:\n" followed by "The container is empty", "The container
  /// contains only 1 discrete frequency", "The container contains no discrete frequency in
  /// [<lo> , <hi>]" or (Logarithmic ending at or below 1 Hz) "Logarithmic sampling needs
  /// frequencies above 1 Hz"; "The container contains more discrete frequencies than the
  /// requested number of frequencies"; "Sampling type <value> not supported"; "internal error".
  std::vector<double> sample_frequencies(std::size_t n, SamplingType type,
                                         std::optional<double> fmin = {},
                                         std::optional<double> fmax = {}) const;
  /// An adaptive plan of n frequencies that keeps every discrete frequency. Starting from the
  /// discrete frequencies, it repeatedly bisects the gap whose midpoint deviates most (largest
  /// distance over all S entries) from the magnitude/phase interpolation of the gap's ends,
  /// ties to the wider gap, then the lower one; it stops early only when no gap holds a double
  /// strictly inside. Throws std::runtime_error "The requested number of samples (=<n>) must
  /// be >= the number of discrete samples (=<count>)", "only 1 sample available" (one discrete
  /// frequency, n >= 2), "Unable to obtain <n> samples:\nThe container is empty"; errors of
  /// evaluation propagate.
  std::vector<double> sample_frequencies_adaptively(std::size_t n) const;
  /// A decade grid of whole-hertz frequencies inside the container's band, ascending: ten
  /// points per decade down from min(to, 1e9 Hz) to 1e4 Hz, one per decade down from
  /// min(to, 1e4 Hz) to 1 Hz. Throws std::runtime_error "empty container".
  std::vector<double> lf_sample_frequencies() const;

  /// Evaluates the container at every frequency of freqs on nbThreads worker threads (0: the
  /// machine's concurrency, at least 1; never more threads than frequencies; the calling thread
  /// is one of them), with evaluate_symm for a symmetric container and evaluate otherwise, both
  /// with MAG_PHASE. samples is replaced by one sample per frequency, in the order of freqs.
  /// The first exception raised by any worker is rethrown to the caller once every thread has
  /// been joined; the other workers stop early and samples is then left unchanged.
  void load(const std::vector<double>& freqs, std::vector<SMatrixSample>& samples,
            std::size_t nbThreads) const;
  /// The S-matrices of evaluate_symm (for a symmetric container) or evaluate with t at count
  /// frequencies, written row-major to out: S at freqs[k] fills out[k * N * N] up to
  /// out[(k + 1) * N * N - 1], N = nbPorts(). Equal bit for bit to evaluating one frequency at a
  /// time, but without a sample per frequency, so it is the fast path for arrays of
  /// frequencies; ascending frequencies are found fastest. Runs on nbThreads threads as load
  /// does, but never more than one per 256 frequencies (a thread costs more than that saves).
  /// Throws what evaluate throws at the lowest failing position (out is then partly written),
  /// and std::runtime_error "S-matrix sample at <f> Hz has <n> ports, the container has <N>"
  /// when a stored sample or a model read has another port count than the container.
  void load_S(const double* freqs, std::size_t count, InterpolationType t,
              std::complex<double>* out, std::size_t nbThreads) const;
  /// Adds one model over [fmin, fmax] (through add, so its checks apply) whose S entries and
  /// port data are random stable PoleZeroModels of nbPoles poles, with S(j, i) equal to
  /// S(i, j), and whose reference impedances are the constant 50 Ohm. The draws come from
  /// std::mt19937_64 with a fixed seed (the same call gives the same model on every platform):
  /// scale = the larger band edge magnitude; conjugate pole pairs with resonances inside the
  /// band and damping 0.05 to 0.5, a negative real pole for an odd count; residues sized for
  /// peaks of about 1. nbZeros is the numerator degree: nbPoles + 1 draws both the constant and
  /// the linear factor, nbPoles the constant factor only; with two poles any other count gives
  /// a strictly proper model (both factors 0).
  /// Throws std::runtime_error "nbZeros must be identical to nbPoles, nbPoles + 1 or nbPoles =
  /// 2" unless nbZeros is nbPoles or nbPoles + 1 or nbPoles is 2, "nbPoles <n> is too large"
  /// beyond what a vector can hold, and the model's and add's errors (reversed band, overlap).
  void load_random_pole_zero_models(double fmin, double fmax, std::size_t nbPoles,
                                    std::size_t nbZeros);

 private:
  // Source port i becomes result port p[i].
  SMatrixContainer permute(const std::vector<std::size_t>& p) const;
  friend struct detail::ContainerStorage;

  // The property map at index i. Throws std::out_of_range "invalid vector subscript".
  PropertyMap& property_map(std::size_t i);
  const PropertyMap& property_map(std::size_t i) const;

  std::vector<std::string> port_names_;
  std::vector<PortDataName> port_data_names_;
  std::vector<PropertyMap> properties_;                // ports 0..N-1, then the global map at N
  std::unique_ptr<detail::ContainerStorage> storage_;  // the samples and models
};

/// The port names, global and per-port properties, then every sample and model.
KORVANTIX_API std::ostream& operator<<(std::ostream& out, const SMatrixContainer& container);

}  // namespace korvantix
