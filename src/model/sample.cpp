#include <korvantix/evaluator.hpp>
#include <korvantix/model.hpp>

#include <algorithm>
#include <stdexcept>
#include <utility>

#include "detail/facts.hpp"
#include "detail/message.hpp"

namespace korvantix {

namespace {

[[noreturn]] void throw_not_available(const PortDataName& key) {
  throw std::runtime_error(detail::message(key.first, "[", key.second, "] is not available"));
}

bool same_key(const PortDataName& a, const PortDataName& b) {
  return a.second == b.second && a.first == b.first;  // the index rejects most entries cheaply
}

// The entry under `key`, or null. Entries are sorted by key; a sample usually has a few, which
// a scan matching indices first finds with fewer string comparisons than a bisection.
template <class PortData>
auto find_entry(PortData& data, const PortDataName& key) -> decltype(&data.front()) {
  constexpr std::size_t kScanned = 8;
  if (data.size() <= kScanned) {
    for (auto& entry : data) {
      if (same_key(entry.first, key)) return &entry;
    }
    return nullptr;
  }
  auto it =
      std::lower_bound(data.begin(), data.end(), key,
                       [](const auto& entry, const PortDataName& k) { return entry.first < k; });
  return it != data.end() && it->first == key ? &*it : nullptr;
}

}  // namespace

SMatrixEvaluator::~SMatrixEvaluator() = default;

bool SMatrixEvaluator::equal(const SMatrixEvaluator* a, const SMatrixEvaluator* b) {
  if (a == nullptr || b == nullptr) return false;
  const Type type = a->type();
  if (type != b->type()) return false;
  switch (type) {
    case SAMPLE:
      return static_cast<const SMatrixSample&>(*a) == static_cast<const SMatrixSample&>(*b);
    case MODEL:
      return static_cast<const SMatrixModel&>(*a) == static_cast<const SMatrixModel&>(*b);
    case MIXED:
      throw std::runtime_error("ModelInterface::equal not supported for MIXED");
  }
  return true;
}

SMatrixSample::SMatrixSample(std::size_t nbPorts, double frequency)
    : SMatrixEvaluator(nbPorts),
      frequency_(frequency),
      s_(detail::matrix_size(nbPorts)),
      zref_(nbPorts) {}

SMatrixSample::SMatrixSample(std::size_t nbPorts, double frequency,
                             const std::vector<PortDataName>& names)
    : SMatrixSample(nbPorts, frequency) {
  port_data_.reserve(names.size());
  for (const PortDataName& key : names)
    port_data_.emplace_back(key, std::complex<double>());
  // Lists handed over by a container are sorted and unique already; anything else is put in
  // order here, a repeated name kept once.
  auto by_key = [](const auto& a, const auto& b) { return a.first < b.first; };
  if (!std::is_sorted(port_data_.begin(), port_data_.end(), by_key)) {
    std::sort(port_data_.begin(), port_data_.end(), by_key);
  }
  auto same = [](const auto& a, const auto& b) { return same_key(a.first, b.first); };
  port_data_.erase(std::unique(port_data_.begin(), port_data_.end(), same), port_data_.end());
}

SMatrixSample::SMatrixSample(const SMatrixSample& other) = default;
SMatrixSample& SMatrixSample::operator=(const SMatrixSample& other) = default;

SMatrixSample::SMatrixSample(SMatrixSample&& other) noexcept
    : SMatrixEvaluator(other),
      frequency_(other.frequency_),
      s_(std::move(other.s_)),
      zref_(std::move(other.zref_)),
      port_data_(std::move(other.port_data_)) {
  other.nb_ports_ = 0;
  other.frequency_ = -1.0;
  other.s_.clear();
  other.zref_.clear();
  other.port_data_.clear();
}

SMatrixSample& SMatrixSample::operator=(SMatrixSample&& other) noexcept {
  if (this == &other) return *this;
  nb_ports_ = other.nb_ports_;
  frequency_ = other.frequency_;
  s_ = std::move(other.s_);
  zref_ = std::move(other.zref_);
  port_data_ = std::move(other.port_data_);
  other.nb_ports_ = 0;
  other.frequency_ = -1.0;
  other.s_.clear();
  other.zref_.clear();
  other.port_data_.clear();
  return *this;
}

SMatrixSample::~SMatrixSample() = default;

SMatrixEvaluator::Type SMatrixSample::type() const {
  return SAMPLE;
}

bool SMatrixSample::is_symmetric() const {
  const std::size_t n = nb_ports_;
  for (std::size_t i = 0; i < n; ++i) {
    for (std::size_t j = i + 1; j < n; ++j) {
      if (!(s_[i * n + j] == s_[j * n + i])) return false;
    }
  }
  return true;
}

SMatrixEvaluator* SMatrixSample::clone() const {
  return new SMatrixSample(*this);
}

double SMatrixSample::from() const {
  return frequency_;
}

double SMatrixSample::to() const {
  return frequency_;
}

SMatrixSample SMatrixSample::evaluate(double frequency, InterpolationType) const {
  if (frequency == frequency_) return *this;
  throw std::out_of_range("");
}

std::complex<double>& SMatrixSample::operator()(const PortDataName& key) {
  auto* entry = find_entry(port_data_, key);
  if (entry == nullptr) throw_not_available(key);
  return entry->second;
}

const std::complex<double>& SMatrixSample::operator()(const PortDataName& key) const {
  const auto* entry = find_entry(port_data_, key);
  if (entry == nullptr) throw_not_available(key);
  return entry->second;
}

void SMatrixSample::set(const PortDataName& key, const std::complex<double>& value) {
  (*this)(key) = value;
}

std::complex<double>& SMatrixSample::modalParameter(std::size_t port, ModalPortParameterType type) {
  return (*this)(detail::modal_key(port, type));
}

const std::complex<double>& SMatrixSample::modalParameter(std::size_t port,
                                                          ModalPortParameterType type) const {
  return (*this)(detail::modal_key(port, type));
}

std::vector<PortDataName> SMatrixSample::port_data_names() const {
  std::vector<PortDataName> names;
  names.reserve(port_data_.size());
  for (const auto& entry : port_data_)
    names.push_back(entry.first);
  return names;
}

bool SMatrixSample::operator==(const SMatrixSample& other) const {
  // std::complex compares real and imaginary parts with ==, which is the exact test wanted
  // (a NaN never equal, -0.0 equal to 0.0); the containers compare sizes first.
  return nb_ports_ == other.nb_ports_ && frequency_ == other.frequency_ && s_ == other.s_ &&
         zref_ == other.zref_ && port_data_ == other.port_data_;
}

SMatrixSample SMatrixSample::permute(const std::vector<std::size_t>& p) const {
  std::vector<PortDataName> names;
  names.reserve(port_data_.size());
  for (const auto& entry : port_data_)
    names.emplace_back(entry.first.first, p[entry.first.second]);
  SMatrixSample result(nb_ports_, frequency_, names);
  const std::size_t n = nb_ports_;
  for (std::size_t i = 0; i < n; ++i) {
    result.zref_[p[i]] = zref_[i];
    for (std::size_t j = 0; j < n; ++j)
      result.s_[p[i] * n + p[j]] = s_[i * n + j];
  }
  for (const auto& entry : port_data_) {
    result({entry.first.first, p[entry.first.second]}) = entry.second;
  }
  return result;
}

}  // namespace korvantix
