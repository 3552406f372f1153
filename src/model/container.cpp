#include <korvantix/container.hpp>

#include <algorithm>
#include <cmath>
#include <iterator>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <utility>

#include "detail/facts.hpp"
#include "detail/message.hpp"
#include "model/storage.hpp"

namespace korvantix {

namespace {

// The item's keys, taken in map order, must match the container's sorted names one by one.
template <class Iterator>
bool conforms(Iterator first, Iterator last, const std::vector<PortDataName>& names) {
  if (static_cast<std::size_t>(std::distance(first, last)) != names.size()) return false;
  auto name = names.begin();
  for (; first != last; ++first, ++name) {
    if (first->first.second != name->second || first->first.first != name->first) return false;
  }
  return true;
}

template <class Iterator>
void append_keys(std::string& text, Iterator first, Iterator last) {
  for (; first != last; ++first)
    text += detail::message(" ", first->first.first, "[", first->first.second, "]");
}

void append_names(std::string& text, const std::vector<PortDataName>& names) {
  for (const PortDataName& key : names)
    text += detail::message(" ", key.first, "[", key.second, "]");
}

// Throws std::runtime_error head, the item's keys, middle, then the container's names (each
// key and name after a blank) unless the keys match the names.
template <class Iterator>
void check_port_data(Iterator first, Iterator last, const std::vector<PortDataName>& names,
                     const char* head, const char* middle) {
  if (conforms(first, last, names)) return;
  std::string text = head;
  append_keys(text, first, last);
  text += middle;
  append_names(text, names);
  throw std::runtime_error(text);
}

[[noreturn]] void throw_bad_subscript() {
  throw std::out_of_range("invalid vector subscript");
}

[[noreturn]] void throw_missing_global(const std::string& key) {
  throw std::runtime_error(detail::message("global property <", key, "> does not exist"));
}

[[noreturn]] void throw_missing_port(std::size_t i, const std::string& key) {
  throw std::runtime_error(
      detail::message("property <", key, "> for port <", i, "> does not exist"));
}

void check_property(const std::string& key, const std::string& value) {
  if (!SMatrixContainer::is_valid_property(key, value)) {
    throw std::runtime_error(
        detail::message("invalid property key=<", key, ">, val=<", value, ">"));
  }
}

}  // namespace

namespace detail {

namespace {

std::size_t polar_size(const SMatrixSample& sample) {
  return sample.S().size() + sample.Zref().size();
}

Polar* copy_polar(const Polar* polar, std::size_t n) {
  if (polar == nullptr) return nullptr;
  Polar* copy = new Polar[n];
  std::copy(polar, polar + n, copy);
  return copy;
}

}  // namespace

StoredSample::StoredSample(const StoredSample& other)
    : sample(other.sample),
      polar_(copy_polar(other.polar_.load(std::memory_order_acquire), polar_size(sample))) {}

StoredSample& StoredSample::operator=(const StoredSample& other) {
  if (this != &other) {
    Polar* copy =
        copy_polar(other.polar_.load(std::memory_order_acquire), polar_size(other.sample));
    sample = other.sample;
    delete[] polar_.exchange(copy, std::memory_order_acq_rel);
  }
  return *this;
}

StoredSample::~StoredSample() {
  delete[] polar_.load(std::memory_order_relaxed);
}

const Polar* StoredSample::polar() const {
  if (const Polar* ready = polar_.load(std::memory_order_acquire)) return ready;
  // std::abs and std::atan2 as the interpolation would call them at the query: the cache holds
  // exactly the bits it would compute.
  const std::size_t n = polar_size(sample);
  Polar* fresh = new Polar[n];
  std::size_t k = 0;
  for (const std::complex<double>& value : sample.S())
    fresh[k++] = {std::abs(value), std::atan2(value.imag(), value.real())};
  for (const std::complex<double>& value : sample.Zref())
    fresh[k++] = {std::abs(value), std::atan2(value.imag(), value.real())};
  Polar* expected = nullptr;
  if (polar_.compare_exchange_strong(expected, fresh, std::memory_order_acq_rel,
                                     std::memory_order_acquire)) {
    return fresh;
  }
  delete[] fresh;  // another thread published the same values first
  return expected;
}

// A sample iterator holds its set position as bytes: the position must fit and be copyable
// bit for bit.
static_assert(std::is_trivially_copyable_v<SampleSet::const_iterator>);
static_assert(sizeof(SampleSet::const_iterator) <= sizeof(void*));
static_assert(alignof(SampleSet::const_iterator) <= alignof(void*));

}  // namespace detail

using detail::ContainerStorage;

namespace {

// Where a sample at s's frequency goes. Throws add's failures.
detail::SampleSet::const_iterator sample_position(const detail::SampleSet& samples,
                                                  const std::vector<PortDataName>& names,
                                                  const SMatrixSample& s) {
  check_port_data(
      s.begin_port_data(), s.end_port_data(), names,
      "Port data of S-sample and S-container must be identical:  sample:", ":  container:");
  const double f = s.frequency();
  // Readers and loaders add in ascending frequency: the common case appends at the end in
  // constant time. Otherwise the first sample not below f is the only candidate for an
  // equivalent one (a NaN frequency is equivalent to every sample, so it finds the first).
  auto hint = samples.end();
  if (!samples.empty() && !(std::prev(hint)->sample.frequency() < f)) {
    hint = samples.lower_bound(f);
    if (hint != samples.end() && !(f < hint->sample.frequency())) {
      throw std::runtime_error(
          detail::message("S-matrix sample at ", f, " Hz is already available"));
    }
  }
  return hint;
}

// Where a model over m's band goes. Throws add's failures.
detail::ModelSet::const_iterator model_position(const detail::ModelSet& models,
                                                const std::vector<PortDataName>& names,
                                                const SMatrixModel& m) {
  check_port_data(
      m.begin_port_data(), m.end_port_data(), names,
      "Port data of S-model and S-container must be identical\n  model:", "\n  container:");
  // The stored bands form a chain under less_freq, so the models below m are a prefix and the
  // models above m a suffix; the first one not below m is the lowest overlapping model if any.
  auto position = models.lower_bound(m);
  if (position != models.end() && !models.key_comp()(m, *position)) {
    throw std::runtime_error(detail::message("S-matrix model at [", m.from(), " , ", m.to(),
                                             "] Hz overlaps with an existing model at [",
                                             position->from(), " , ", position->to(), "] Hz"));
  }
  return position;
}

}  // namespace

const SMatrixSample& SMatrixContainer::SampleIterator::operator*() const {
  return ContainerStorage::position(*this)->sample;
}

SMatrixContainer::SampleIterator& SMatrixContainer::SampleIterator::operator++() {
  *this = ContainerStorage::iterator(std::next(ContainerStorage::position(*this)));
  return *this;
}

SMatrixContainer::SampleIterator& SMatrixContainer::SampleIterator::operator--() {
  *this = ContainerStorage::iterator(std::prev(ContainerStorage::position(*this)));
  return *this;
}

bool SMatrixContainer::SampleIterator::operator==(const SampleIterator& other) const {
  return ContainerStorage::position(*this) == ContainerStorage::position(other);
}

SMatrixContainer::SMatrixContainer(std::size_t nbPorts)
    : SMatrixEvaluator(nbPorts), storage_(std::make_unique<ContainerStorage>()) {
  reset(nbPorts, {});
}

SMatrixContainer::SMatrixContainer(std::size_t nbPorts, const std::vector<PortDataName>& names)
    : SMatrixEvaluator(nbPorts), storage_(std::make_unique<ContainerStorage>()) {
  reset(nbPorts, names);
}

SMatrixContainer::SMatrixContainer(const SMatrixContainer& other)
    : SMatrixEvaluator(other),
      port_names_(other.port_names_),
      port_data_names_(other.port_data_names_),
      properties_(other.properties_),
      storage_(std::make_unique<ContainerStorage>(*other.storage_)) {}

SMatrixContainer& SMatrixContainer::operator=(const SMatrixContainer& other) {
  // Copy first, then take the copy over: a failing copy leaves this container as it was.
  if (this != &other) *this = SMatrixContainer(other);
  return *this;
}

SMatrixContainer::SMatrixContainer(SMatrixContainer&& other)
    : SMatrixEvaluator(other),
      port_names_(std::move(other.port_names_)),
      port_data_names_(std::move(other.port_data_names_)),
      properties_(std::move(other.properties_)),
      storage_(std::exchange(other.storage_, std::make_unique<ContainerStorage>())) {
  other.properties_.clear();
  other.reset(0, {});
}

SMatrixContainer& SMatrixContainer::operator=(SMatrixContainer&& other) {
  if (this == &other) return *this;
  nb_ports_ = other.nb_ports_;
  port_names_ = std::move(other.port_names_);
  port_data_names_ = std::move(other.port_data_names_);
  properties_ = std::move(other.properties_);
  storage_ = std::exchange(other.storage_, std::make_unique<ContainerStorage>());
  other.properties_.clear();
  other.reset(0, {});
  return *this;
}

SMatrixContainer::~SMatrixContainer() = default;

SMatrixEvaluator::Type SMatrixContainer::type() const {
  return MIXED;
}

SMatrixEvaluator* SMatrixContainer::clone() const {
  return new SMatrixContainer(*this);
}

void SMatrixContainer::reset(std::size_t nbPorts, const std::vector<PortDataName>& names) {
  std::vector<PortDataName> sorted(names);
  std::sort(sorted.begin(), sorted.end());
  nb_ports_ = nbPorts;
  port_names_.resize(nbPorts);
  for (std::size_t i = 0; i < nbPorts; ++i)
    port_names_[i] = "port_" + std::to_string(i);
  // The maps keep their indices rather than their roles: after a change of port count the
  // former global map is the map of port <old N>, and the global map is whatever stands at
  // index N (a fresh empty map when the count grew).
  properties_.resize(nbPorts + 1);
  clear_samples();
  clear_models();
  port_data_names_ = std::move(sorted);
}

void SMatrixContainer::add(const SMatrixSample& s) {
  storage_->samples.emplace_hint(sample_position(storage_->samples, port_data_names_, s), s);
}

void SMatrixContainer::add(SMatrixSample&& s) {
  auto& samples = storage_->samples;
  samples.emplace_hint(sample_position(samples, port_data_names_, s), std::move(s));
}

void SMatrixContainer::add(const SMatrixModel& m) {
  storage_->models.emplace_hint(model_position(storage_->models, port_data_names_, m), m);
}

void SMatrixContainer::add(SMatrixModel&& m) {
  auto& models = storage_->models;
  models.emplace_hint(model_position(models, port_data_names_, m), std::move(m));
}

std::size_t SMatrixContainer::nbSamples() const {
  return storage_->samples.size();
}

std::size_t SMatrixContainer::nbModels() const {
  return storage_->models.size();
}

bool SMatrixContainer::empty() const {
  return storage_->samples.empty() && storage_->models.empty();
}

SMatrixContainer::SampleIterator SMatrixContainer::begin_samples() const {
  return ContainerStorage::iterator(storage_->samples.begin());
}

SMatrixContainer::SampleIterator SMatrixContainer::end_samples() const {
  return ContainerStorage::iterator(storage_->samples.end());
}

SMatrixContainer::ModelIterator SMatrixContainer::begin_models() const {
  return storage_->models.begin();
}

SMatrixContainer::ModelIterator SMatrixContainer::end_models() const {
  return storage_->models.end();
}

std::string& SMatrixContainer::name(std::size_t i) {
  if (i >= port_names_.size()) detail::throw_port_out_of_bounds();
  return port_names_[i];
}

const std::string& SMatrixContainer::name(std::size_t i) const {
  if (i >= port_names_.size()) detail::throw_port_out_of_bounds();
  return port_names_[i];
}

bool SMatrixContainer::is_valid_property(const std::string& key, const std::string&) {
  return !key.empty();
}

SMatrixContainer::PropertyMap& SMatrixContainer::property_map(std::size_t i) {
  if (i >= properties_.size()) throw_bad_subscript();
  return properties_[i];
}

const SMatrixContainer::PropertyMap& SMatrixContainer::property_map(std::size_t i) const {
  if (i >= properties_.size()) throw_bad_subscript();
  return properties_[i];
}

void SMatrixContainer::add_global_property(const std::string& key, const std::string& value) {
  check_property(key, value);
  property_map(nb_ports_).insert_or_assign(key, value);
}

void SMatrixContainer::add_port_property(std::size_t i, const std::string& key,
                                         const std::string& value) {
  check_property(key, value);
  // i == N is accepted and reaches the global map; only indices above N are refused.
  property_map(i).insert_or_assign(key, value);
}

const std::string& SMatrixContainer::get_global_property(const std::string& key) const {
  const PropertyMap& map = property_map(nb_ports_);
  auto it = map.find(key);
  if (it == map.end()) throw_missing_global(key);
  return it->second;
}

const std::string& SMatrixContainer::get_port_property(std::size_t i,
                                                       const std::string& key) const {
  const PropertyMap& map = property_map(i);
  auto it = map.find(key);
  if (it == map.end()) throw_missing_port(i, key);
  return it->second;
}

const SMatrixContainer::PropertyMap& SMatrixContainer::get_global_properties() const {
  return property_map(nb_ports_);
}

const SMatrixContainer::PropertyMap& SMatrixContainer::get_port_properties(std::size_t i) const {
  return property_map(i);
}

void SMatrixContainer::clear_global_property(const std::string& key) {
  if (property_map(nb_ports_).erase(key) == 0) throw_missing_global(key);
}

void SMatrixContainer::clear_port_property(std::size_t i, const std::string& key) {
  if (property_map(i).erase(key) == 0) throw_missing_port(i, key);
}

void SMatrixContainer::clear_global_properties() {
  property_map(nb_ports_).clear();
}

void SMatrixContainer::clear_port_properties(std::size_t i) {
  property_map(i).clear();
}

void SMatrixContainer::clear_properties() {
  for (PropertyMap& map : properties_)
    map.clear();
}

void SMatrixContainer::clear_samples() {
  // A fresh set rather than clear(): the old set's arena goes with it, returning its blocks.
  storage_->samples = detail::SampleSet();
}

void SMatrixContainer::clear_models() {
  storage_->models.clear();
}

void SMatrixContainer::clear() {
  clear_global_properties();
  for (std::size_t i = 0; i < nb_ports_; ++i)
    properties_[i].clear();
  clear_samples();
  clear_models();
}

bool SMatrixContainer::operator==(const SMatrixContainer& other) const {
  if (nb_ports_ != other.nb_ports_ || port_names_ != other.port_names_ ||
      properties_ != other.properties_) {
    return false;
  }
  const ContainerStorage& mine = *storage_;
  const ContainerStorage& theirs = *other.storage_;
  if (mine.samples.size() != theirs.samples.size() || mine.models.size() != theirs.models.size()) {
    return false;
  }
  if (!std::equal(mine.samples.begin(), mine.samples.end(), theirs.samples.begin(),
                  [](const detail::StoredSample& a, const detail::StoredSample& b) {
                    return a.sample == b.sample;
                  })) {
    return false;
  }
  return std::equal(mine.models.begin(), mine.models.end(), theirs.models.begin());
}

}  // namespace korvantix
