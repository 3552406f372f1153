#include <korvantix/container.hpp>

#include <algorithm>
#include <cmath>
#include <iterator>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "detail/facts.hpp"
#include "detail/message.hpp"
#include "model/bulk.hpp"
#include "model/interpolation.hpp"
#include "model/storage.hpp"

namespace korvantix {

namespace detail {

void check_interpolation_size(std::size_t na, std::size_t nb) {
  if (na != nb) {
    throw std::runtime_error(
        message("smatrix sample interpolation size mismatch: ", na, " != ", nb));
  }
}

SMatrixSample interpolate_samples(const SMatrixSample& a, const Polar* a_polar,
                                  const SMatrixSample& b, const Polar* b_polar, double w,
                                  InterpolationType t) {
  check_interpolation_size(a.nbPorts(), b.nbPorts());
  SMatrixSample result(a.nbPorts(), (1.0 - w) * a.frequency() + w * b.frequency());
  const std::size_t nb_s = a.S().size();
  const auto one = [&](const std::complex<double>& x, const std::complex<double>& y,
                       std::size_t k) -> std::complex<double> {
    if (same_entry(x, y)) return x;
    if (t == REAL_IMAG) return interpolate_real_imag(x, y, w);
    if (t == MAG_PHASE) {
      return interpolate_mag_phase(a_polar ? a_polar[k] : polar_of(x),
                                   b_polar ? b_polar[k] : polar_of(y), w);
    }
    return {};
  };
  std::complex<double>* s = result.S().data();
  const std::complex<double>* sa = a.S().data();
  const std::complex<double>* sb = b.S().data();
  for (std::size_t k = 0; k < nb_s; ++k)
    s[k] = one(sa[k], sb[k], k);
  std::complex<double>* z = result.Zref().data();
  const std::complex<double>* za = a.Zref().data();
  const std::complex<double>* zb = b.Zref().data();
  const std::size_t nb_z = a.Zref().size();
  for (std::size_t i = 0; i < nb_z; ++i)
    z[i] = one(za[i], zb[i], nb_s + i);
  return result;
}

}  // namespace detail

namespace {

using detail::ModelSet;
using detail::Polar;
using detail::SampleCursor;
using detail::SampleSet;
using detail::StoredSample;

// The steps a cursor may take forward before a search from the root is cheaper.
constexpr int kCursorSteps = 8;

// samples.lower_bound(f), starting from the cursor when it has one at or below f.
SampleSet::const_iterator lower_sample(const SampleSet& samples, double f, SampleCursor* cursor) {
  if (cursor == nullptr) return samples.lower_bound(f);
  auto s = samples.end();
  if (cursor->valid && cursor->f <= f) {
    s = cursor->position;
    int steps = 0;
    while (s != samples.end() && s->sample.frequency() < f) {
      if (++steps > kCursorSteps) {
        s = samples.lower_bound(f);
        break;
      }
      ++s;
    }
  } else {
    s = samples.lower_bound(f);
  }
  *cursor = {s, f, true};
  return s;
}

// Where f falls: inside a model's band, on a stored sample, or between neighbours: the lowest
// model whose band reaches up to f, and the lowest sample at or above f, with their
// predecessors.
struct Located {
  const SMatrixModel* model_hit = nullptr;
  const StoredSample* sample_hit = nullptr;
  const SMatrixModel* model_above = nullptr;
  const SMatrixModel* model_before = nullptr;  // the model preceding model_above
  const StoredSample* sample_above = nullptr;
  const StoredSample* sample_before = nullptr;  // the sample preceding sample_above
};

Located locate(const ModelSet& models, const SampleSet& samples, double f, SampleCursor* cursor) {
  Located at;
  // A NaN compares false with everything: it has neither a hit nor anything above.
  if (std::isnan(f)) return at;
  if (!models.empty()) {
    // Stored bands never overlap, so their upper edges strictly increase. Against the
    // single-point probe [f, f] a model compares lower exactly when its upper edge is below f,
    // so lower_bound yields the lowest model with f <= to().
    const auto m = models.lower_bound(SMatrixModel(0, f, f));
    if (m != models.end()) {
      if (m->from() <= f) {
        at.model_hit = &*m;
        return at;
      }
      at.model_above = &*m;
      if (m != models.begin()) at.model_before = &*std::prev(m);
    }
  }
  const auto s = lower_sample(samples, f, cursor);
  // The extra test keeps a lone NaN-frequency sample (which lower_bound returns for any f)
  // from counting as "above": f <= NaN is false.
  if (s != samples.end() && f <= s->sample.frequency()) {
    if (s->sample.frequency() <= f) {
      at.sample_hit = &*s;
      return at;
    }
    at.sample_above = &*s;
    if (s != samples.begin()) at.sample_before = &*std::prev(s);
  }
  return at;
}

[[noreturn]] void throw_outside(const SMatrixContainer& container, double f) {
  throw std::runtime_error(detail::message(f, " Hz does not belong to [", container.from(), ", ",
                                           container.to(), "] Hz"));
}

// The search shared by every form. A Form supplies: Neighbour (what a lower or upper neighbour
// holds), Value, hit(model, f), hit(stored), set_edge(neighbour, model, f),
// set_sample(neighbour, stored), prefetch(stored) and
// interpolate(lower, f_lower, upper, f_upper, f).
template <class Form>
typename Form::Value query(const SMatrixContainer& container, const ModelSet& models,
                           const SampleSet& samples, double f, const Form& form,
                           SampleCursor* cursor = nullptr) {
  const Located at = locate(models, samples, f, cursor);
  if (at.model_hit) return form.hit(*at.model_hit, f);
  if (at.sample_hit) return form.hit(*at.sample_hit);
  if (at.sample_above) form.prefetch(*at.sample_above);
  if (at.sample_before) form.prefetch(*at.sample_before);

  // Plain objects with flags rather than std::optional: this runs once per query and the
  // compiler clears an optional's whole storage up front.
  typename Form::Neighbour lower;
  typename Form::Neighbour upper;
  bool has_lower = false;
  bool has_upper = false;
  double f_lower = 0.0;
  double f_upper = 0.0;
  // Model edges are evaluated as soon as they are found, even when a sample displaces them
  // below: an edge whose evaluation throws fails the query even when a nearer sample exists.
  if (at.model_above) {
    f_upper = at.model_above->from();
    form.set_edge(upper, *at.model_above, f_upper);
    has_upper = true;
    if (at.model_before) {
      f_lower = at.model_before->to();
      form.set_edge(lower, *at.model_before, f_lower);
      has_lower = true;
    }
  }
  if (at.sample_above) {
    // Ties go to the model edge: only a strictly nearer sample replaces it.
    const double fs = at.sample_above->sample.frequency();
    if (!has_upper || fs < f_upper) {
      form.set_sample(upper, *at.sample_above);
      has_upper = true;
      f_upper = fs;
    }
    if (at.sample_before) {
      const double fb = at.sample_before->sample.frequency();
      if (!has_lower || fb > f_lower) {
        form.set_sample(lower, *at.sample_before);
        has_lower = true;
        f_lower = fb;
      }
    }
  }
  if (!has_lower || !has_upper) throw_outside(container, f);
  return form.interpolate(lower, f_lower, upper, f_upper, f);
}

// The whole sample, models evaluated plainly or symmetrically.
struct WholeSample {
  using Value = SMatrixSample;
  struct Neighbour {
    const StoredSample* stored = nullptr;
    SMatrixSample evaluated;
    const SMatrixSample& sample() const { return stored ? stored->sample : evaluated; }
    const Polar* polar() const { return stored ? stored->polar() : nullptr; }
  };

  bool symmetric;
  InterpolationType t;

  SMatrixSample hit(const SMatrixModel& m, double f) const {
    return symmetric ? m.evaluate_symm(f, t) : m.evaluate(f, t);
  }
  SMatrixSample hit(const StoredSample& s) const { return s.sample; }
  void set_edge(Neighbour& n, const SMatrixModel& m, double f) const {
    // Model edges are taken with MAG_PHASE whatever t is; models ignore it anyway.
    n.evaluated = symmetric ? m.evaluate_symm(f, MAG_PHASE) : m.evaluate(f, MAG_PHASE);
  }
  // A stored sample takes precedence over an evaluated edge, which can stay as it is.
  void set_sample(Neighbour& n, const StoredSample& s) const { n.stored = &s; }
  // The neighbours of a query in a large container are seldom in the cache: requesting their
  // entries as soon as they are known lets the misses overlap with the rest of the search
  // instead of stalling the interpolation loop one line at a time.
  void prefetch(const StoredSample& s) const {
    const SMatrixSample& x = s.sample;
    detail::prefetch(x.S().data(), x.S().size() * sizeof(std::complex<double>));
    detail::prefetch(x.Zref().data(), x.Zref().size() * sizeof(std::complex<double>));
    if (t == MAG_PHASE)
      detail::prefetch(s.polar(), (s.sample.S().size() + s.sample.Zref().size()) * sizeof(Polar));
  }
  SMatrixSample interpolate(const Neighbour& lower, double f_lower, const Neighbour& upper,
                            double f_upper, double f) const {
    const SMatrixSample& a = lower.sample();
    const SMatrixSample& b = upper.sample();
    if (a == b) return a;
    const double w = (f - f_lower) / (f_upper - f_lower);
    // Only magnitude-phase reads the polar cache; other kinds must not make it be computed.
    const bool polar = t == MAG_PHASE;
    return detail::interpolate_samples(a, polar ? lower.polar() : nullptr, b,
                                       polar ? upper.polar() : nullptr, w, t);
  }
};

// The S entries of the whole-sample rule, written straight into the caller's array: no sample
// is built for a stored or interpolated result. It skips the whole-sample rule's "equal
// neighbours give the lower one", which yields the same entries: equal entries already give
// the lower one.
struct SInto : WholeSample {
  using Value = void;

  std::size_t n;
  std::complex<double>* out;

  void put(const SMatrixSample& s) const {
    detail::check_port_count(s, n);
    std::copy(s.S().begin(), s.S().end(), out);
  }
  void hit(const SMatrixModel& m, double f) const { put(WholeSample::hit(m, f)); }
  void hit(const StoredSample& s) const { put(s.sample); }
  void interpolate(const Neighbour& lower, double f_lower, const Neighbour& upper, double f_upper,
                   double f) const {
    const SMatrixSample& a = lower.sample();
    const SMatrixSample& b = upper.sample();
    detail::check_interpolation_size(a.nbPorts(), b.nbPorts());
    detail::check_port_count(a, n);
    const double w = (f - f_lower) / (f_upper - f_lower);
    const std::complex<double>* sa = a.S().data();
    const std::complex<double>* sb = b.S().data();
    const Polar* pa = t == MAG_PHASE ? lower.polar() : nullptr;
    const Polar* pb = t == MAG_PHASE ? upper.polar() : nullptr;
    const std::size_t size = n * n;
    if (pa && pb) {
      for (std::size_t k = 0; k < size; ++k)
        out[k] = detail::interpolate_entry(sa[k], pa[k], sb[k], pb[k], w, t);
    } else {
      for (std::size_t k = 0; k < size; ++k)
        out[k] = detail::interpolate_entry(sa[k], sb[k], w, t);
    }
  }
};

// One complex entry (an S entry, a reference impedance or a port datum). A model edge holds
// its value, evaluated when found; a stored sample is read only after the port counts of both
// neighbours have been compared, so that a neighbour too small for the indices reports the
// size mismatch first, as the whole-sample evaluation would.
struct EntryNeighbour {
  std::complex<double> value;
  std::size_t nb_ports = 0;
  const StoredSample* stored = nullptr;
};

template <class Derived>
struct EntryForm {
  using Value = std::complex<double>;
  using Neighbour = EntryNeighbour;

  InterpolationType t;

  const Derived& self() const { return static_cast<const Derived&>(*this); }
  Value hit(const SMatrixModel& m, double f) const { return self().of_model(m, f); }
  Value hit(const StoredSample& s) const { return self().of_sample(s.sample); }
  void set_edge(Neighbour& n, const SMatrixModel& m, double f) const {
    n = {self().of_model(m, f), m.nbPorts(), nullptr};
  }
  void set_sample(Neighbour& n, const StoredSample& s) const { n = {{}, s.sample.nbPorts(), &s}; }
  void prefetch(const StoredSample&) const {}
  // The whole-sample rule applied to one entry. Its "equal neighbours give the lower one" step
  // needs no test of its own here: equal samples have equal entries, and equal entries already
  // give the lower one.
  Value interpolate(const Neighbour& lower, double f_lower, const Neighbour& upper, double f_upper,
                    double f) const {
    detail::check_interpolation_size(lower.nb_ports, upper.nb_ports);
    const std::complex<double> a =
        lower.stored ? self().of_sample(lower.stored->sample) : lower.value;
    const std::complex<double> b =
        upper.stored ? self().of_sample(upper.stored->sample) : upper.value;
    const double w = (f - f_lower) / (f_upper - f_lower);
    const bool polar = t == MAG_PHASE;
    const Polar* pa = polar && lower.stored ? self().cached(*lower.stored) : nullptr;
    const Polar* pb = polar && upper.stored ? self().cached(*upper.stored) : nullptr;
    if (pa && pb) return detail::interpolate_entry(a, *pa, b, *pb, w, t);
    return detail::interpolate_entry(a, b, w, t);
  }
};

struct SEntry : EntryForm<SEntry> {
  std::size_t i;
  std::size_t j;
  SEntry(InterpolationType type, std::size_t row, std::size_t column)
      : EntryForm<SEntry>{type}, i(row), j(column) {}
  void check(std::size_t n) const {
    if (i >= n || j >= n) detail::throw_port_out_of_bounds();
  }
  std::complex<double> of_model(const SMatrixModel& m, double f) const {
    check(m.nbPorts());
    return m(f, i, j);
  }
  std::complex<double> of_sample(const SMatrixSample& s) const {
    check(s.nbPorts());
    return s(i, j);
  }
  const Polar* cached(const StoredSample& s) const {
    return s.polar() + i * s.sample.nbPorts() + j;
  }
};

struct ZrefEntry : EntryForm<ZrefEntry> {
  std::size_t i;
  ZrefEntry(InterpolationType type, std::size_t port) : EntryForm<ZrefEntry>{type}, i(port) {}
  std::complex<double> of_model(const SMatrixModel& m, double f) const {
    if (i >= m.nbPorts()) detail::throw_port_out_of_bounds();
    return m.Zref(f, i);
  }
  std::complex<double> of_sample(const SMatrixSample& s) const {
    if (i >= s.nbPorts()) detail::throw_port_out_of_bounds();
    return s.Zref(i);
  }
  const Polar* cached(const StoredSample& s) const { return s.polar() + s.sample.S().size() + i; }
};

struct PortDatum : EntryForm<PortDatum> {
  const PortDataName* key;
  PortDatum(InterpolationType type, const PortDataName& k) : EntryForm<PortDatum>{type}, key(&k) {}
  std::complex<double> of_model(const SMatrixModel& m, double f) const {
    return m(*key).evaluate(f);
  }
  std::complex<double> of_sample(const SMatrixSample& s) const { return s(*key); }
  // Port data have no cached polar form; it is computed at the query.
  const Polar* cached(const StoredSample&) const { return nullptr; }
};

template <class Form>
std::vector<std::complex<double>> query_each(const SMatrixContainer& container,
                                             const ModelSet& models, const SampleSet& samples,
                                             const std::vector<double>& freqs, const Form& form) {
  std::vector<std::complex<double>> values;
  values.reserve(freqs.size());
  for (const double f : freqs)
    values.push_back(query(container, models, samples, f, form));
  return values;
}

}  // namespace

void detail::evaluate_s_into(const SMatrixContainer& c, double f, InterpolationType t,
                             bool symmetric, SampleCursor& cursor, std::complex<double>* out) {
  const ContainerStorage& storage = ContainerStorage::of(c);
  query(c, storage.models, storage.samples, f, SInto{{symmetric, t}, c.nbPorts(), out}, &cursor);
}

double SMatrixContainer::from() const {
  if (empty()) detail::throw_empty_container();
  const auto& [samples, models] = *storage_;
  if (samples.empty()) return models.begin()->from();
  if (models.empty()) return samples.begin()->sample.frequency();
  return std::min(models.begin()->from(), samples.begin()->sample.frequency());
}

double SMatrixContainer::to() const {
  if (empty()) detail::throw_empty_container();
  const auto& [samples, models] = *storage_;
  if (samples.empty()) return models.rbegin()->to();
  if (models.empty()) return samples.rbegin()->sample.frequency();
  return std::max(models.rbegin()->to(), samples.rbegin()->sample.frequency());
}

bool SMatrixContainer::is_symmetric() const {
  for (const StoredSample& s : storage_->samples) {
    if (!s.sample.is_symmetric()) return false;
  }
  for (const SMatrixModel& m : storage_->models) {
    if (!m.is_symmetric()) return false;
  }
  return true;
}

SMatrixSample SMatrixContainer::evaluate(double f, InterpolationType t) const {
  return query(*this, storage_->models, storage_->samples, f, WholeSample{false, t});
}

SMatrixSample SMatrixContainer::evaluate_symm(double f, InterpolationType t) const {
  return query(*this, storage_->models, storage_->samples, f, WholeSample{true, t});
}

std::complex<double> SMatrixContainer::operator()(double f, std::size_t i, std::size_t j,
                                                  InterpolationType t) const {
  return query(*this, storage_->models, storage_->samples, f, SEntry(t, i, j));
}

std::complex<double> SMatrixContainer::operator()(double f, const PortDataName& key,
                                                  InterpolationType t) const {
  return query(*this, storage_->models, storage_->samples, f, PortDatum(t, key));
}

std::complex<double> SMatrixContainer::Zref(double f, std::size_t i, InterpolationType t) const {
  return query(*this, storage_->models, storage_->samples, f, ZrefEntry(t, i));
}

std::complex<double> SMatrixContainer::modalParameter(double f, std::size_t port,
                                                      ModalPortParameterType m,
                                                      InterpolationType t) const {
  return (*this)(f, detail::modal_key(port, m), t);
}

std::vector<std::complex<double>> SMatrixContainer::operator()(const std::vector<double>& freqs,
                                                               std::size_t i, std::size_t j,
                                                               InterpolationType t) const {
  return query_each(*this, storage_->models, storage_->samples, freqs, SEntry(t, i, j));
}

std::vector<std::complex<double>> SMatrixContainer::operator()(const std::vector<double>& freqs,
                                                               const PortDataName& key,
                                                               InterpolationType t) const {
  return query_each(*this, storage_->models, storage_->samples, freqs, PortDatum(t, key));
}

std::vector<std::complex<double>> SMatrixContainer::Zref(const std::vector<double>& freqs,
                                                         std::size_t i, InterpolationType t) const {
  return query_each(*this, storage_->models, storage_->samples, freqs, ZrefEntry(t, i));
}

}  // namespace korvantix
