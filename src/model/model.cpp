#include <korvantix/model.hpp>

#include <korvantix/scalar.hpp>

#include <stdexcept>
#include <utility>

#include "detail/facts.hpp"
#include "detail/message.hpp"

namespace korvantix {

namespace {

using ScalarModelPtr = SMatrixModel::ScalarModelPtr;

[[noreturn]] void throw_not_available(const PortDataName& key) {
  throw std::runtime_error(detail::message(key.first, "[", key.second, "] is not available"));
}

void check_range(double from, double to) {
  // Written as a negation so that a NaN on either side is refused too.
  if (!(from <= to)) {
    throw std::runtime_error(detail::message("invalid frequency range [", from, " , ", to, "]"));
  }
}

std::vector<ScalarModelPtr> default_models(std::size_t count) {
  std::vector<ScalarModelPtr> models;
  models.reserve(count);
  for (std::size_t k = 0; k < count; ++k)
    models.push_back(std::make_unique<PolynomialModel>());
  return models;
}

std::vector<ScalarModelPtr> clone_all(const std::vector<ScalarModelPtr>& models) {
  std::vector<ScalarModelPtr> copies;
  copies.reserve(models.size());
  for (const ScalarModelPtr& m : models)
    copies.emplace_back(m->clone());
  return copies;
}

bool all_equal(const std::vector<ScalarModelPtr>& a, const std::vector<ScalarModelPtr>& b) {
  if (a.size() != b.size()) return false;
  for (std::size_t k = 0; k < a.size(); ++k) {
    if (!a[k]->equal(b[k].get())) return false;
  }
  return true;
}

}  // namespace

SMatrixModel::SMatrixModel(std::size_t nbPorts, double from, double to)
    : SMatrixEvaluator(nbPorts) {
  // The band is checked before the N * N + N entry models are made, so a refused band costs
  // nothing.
  setFrequencyRange(from, to);
  s_ = default_models(detail::matrix_size(nbPorts));
  zref_ = default_models(nbPorts);
}

SMatrixModel::SMatrixModel(std::size_t nbPorts, double from, double to,
                           const std::vector<PortDataName>& names)
    : SMatrixModel(nbPorts, from, to) {
  for (const PortDataName& key : names) {
    if (port_data_.find(key) == port_data_.end()) {
      port_data_.emplace(key, std::make_unique<PolynomialModel>());
    }
  }
}

SMatrixModel::SMatrixModel(const SMatrixModel& other)
    : SMatrixEvaluator(other),
      from_(other.from_),
      to_(other.to_),
      s_(clone_all(other.s_)),
      zref_(clone_all(other.zref_)) {
  for (const auto& entry : other.port_data_) {
    port_data_.emplace_hint(port_data_.end(), entry.first, ScalarModelPtr(entry.second->clone()));
  }
}

SMatrixModel& SMatrixModel::operator=(const SMatrixModel& other) {
  // Copy first, then take the copy over: a clone that throws leaves this model as it was.
  if (this != &other) *this = SMatrixModel(other);
  return *this;
}

SMatrixModel::SMatrixModel(SMatrixModel&& other) noexcept
    : SMatrixEvaluator(other),
      from_(other.from_),
      to_(other.to_),
      s_(std::move(other.s_)),
      zref_(std::move(other.zref_)),
      port_data_(std::move(other.port_data_)) {
  other.nb_ports_ = 0;
  other.s_.clear();
  other.zref_.clear();
  other.port_data_.clear();
}

SMatrixModel& SMatrixModel::operator=(SMatrixModel&& other) noexcept {
  if (this == &other) return *this;
  nb_ports_ = other.nb_ports_;
  from_ = other.from_;
  to_ = other.to_;
  s_ = std::move(other.s_);
  zref_ = std::move(other.zref_);
  port_data_ = std::move(other.port_data_);
  other.nb_ports_ = 0;
  other.s_.clear();
  other.zref_.clear();
  other.port_data_.clear();
  return *this;
}

SMatrixModel::~SMatrixModel() = default;

SMatrixEvaluator::Type SMatrixModel::type() const {
  return MODEL;
}

bool SMatrixModel::is_symmetric() const {
  const std::size_t n = nb_ports_;
  for (std::size_t i = 0; i < n; ++i) {
    for (std::size_t j = i + 1; j < n; ++j) {
      if (!s_[i * n + j]->equal(s_[j * n + i].get())) return false;
    }
  }
  return true;
}

SMatrixEvaluator* SMatrixModel::clone() const {
  return new SMatrixModel(*this);
}

void SMatrixModel::setFrequencyRange(double from, double to) {
  check_range(from, to);
  from_ = from;
  to_ = to;
}

void SMatrixModel::check_in_band(double frequency) const {
  if (!(from_ <= frequency && frequency <= to_)) {
    throw std::out_of_range(detail::message(frequency, " not in [", from_, " , ", to_, "]"));
  }
}

SMatrixSample SMatrixModel::evaluate_at(double frequency, bool symmetric) const {
  check_in_band(frequency);
  const std::size_t n = nb_ports_;
  SMatrixSample sample(n, frequency, port_data_names());
  // Row by row, each row's reference impedance first: an entry model that throws fails the
  // evaluation at the same entry whichever form is asked for.
  for (std::size_t i = 0; i < n; ++i) {
    sample.Zref(i) = zref_[i]->evaluate(frequency);
    for (std::size_t j = symmetric ? i : 0; j < n; ++j) {
      const std::complex<double> value = s_[i * n + j]->evaluate(frequency);
      sample(i, j) = value;
      if (symmetric) sample(j, i) = value;
    }
  }
  for (const auto& entry : port_data_)
    sample(entry.first) = entry.second->evaluate(frequency);
  return sample;
}

SMatrixSample SMatrixModel::evaluate(double frequency, InterpolationType) const {
  return evaluate_at(frequency, false);
}

SMatrixSample SMatrixModel::evaluate_symm(double frequency, InterpolationType) const {
  return evaluate_at(frequency, true);
}

std::complex<double> SMatrixModel::operator()(double f, std::size_t i, std::size_t j) const {
  if (!(from_ <= f && f <= to_)) throw std::out_of_range("");
  return s_[i * nb_ports_ + j]->evaluate(f);
}

const ScalarModel& SMatrixModel::operator()(const PortDataName& key) const {
  auto it = port_data_.find(key);
  if (it == port_data_.end()) throw_not_available(key);
  return *it->second;
}

std::complex<double> SMatrixModel::Zref(double f, std::size_t i) const {
  if (!(from_ <= f && f <= to_)) throw std::out_of_range("");
  return zref_[i]->evaluate(f);
}

std::vector<PortDataName> SMatrixModel::port_data_names() const {
  std::vector<PortDataName> names;
  names.reserve(port_data_.size());
  for (const auto& entry : port_data_)
    names.push_back(entry.first);
  return names;
}

void SMatrixModel::set(std::size_t i, std::size_t j, const ScalarModel* m) {
  s_[i * nb_ports_ + j].reset(m->clone());
}

void SMatrixModel::setZref(std::size_t i, const ScalarModel* m) {
  zref_[i].reset(m->clone());
}

void SMatrixModel::set(const PortDataName& key, const ScalarModel* m) {
  auto it = port_data_.find(key);
  if (it == port_data_.end()) throw_not_available(key);
  it->second.reset(m->clone());
}

bool SMatrixModel::operator==(const SMatrixModel& other) const {
  if (nb_ports_ != other.nb_ports_ || !(from_ == other.from_) || !(to_ == other.to_)) return false;
  if (!all_equal(s_, other.s_) || !all_equal(zref_, other.zref_)) return false;
  if (port_data_.size() != other.port_data_.size()) return false;
  auto theirs = other.port_data_.begin();
  for (const auto& mine : port_data_) {
    if (mine.first != theirs->first || !mine.second->equal(theirs->second.get())) return false;
    ++theirs;
  }
  return true;
}

SMatrixModel SMatrixModel::permute(const std::vector<std::size_t>& p) const {
  std::vector<PortDataName> names;
  names.reserve(port_data_.size());
  for (const auto& entry : port_data_)
    names.emplace_back(entry.first.first, p[entry.first.second]);
  SMatrixModel result(nb_ports_, from_, to_, names);
  const std::size_t n = nb_ports_;
  for (std::size_t i = 0; i < n; ++i) {
    result.zref_[p[i]].reset(zref_[i]->clone());
    for (std::size_t j = 0; j < n; ++j)
      result.s_[p[i] * n + p[j]].reset(s_[i * n + j]->clone());
  }
  for (const auto& entry : port_data_) {
    result.set({entry.first.first, p[entry.first.second]}, entry.second.get());
  }
  return result;
}

}  // namespace korvantix
