#include <korvantix/scalar.hpp>

#include <stdexcept>

#include "detail/message.hpp"
#include "scalar/complex_division.hpp"

namespace korvantix {

namespace {

constexpr double kTwoPi = 6.283185307179586;

}  // namespace

PoleZeroModel::PoleZeroModel(double scale, const std::vector<std::complex<double>>& poles,
                             const std::vector<std::complex<double>>& residues,
                             std::complex<double> constantFactor, std::complex<double> linearFactor)
    : scale_(scale),
      poles_(poles),
      residues_(residues),
      constantFactor_(constantFactor),
      linearFactor_(linearFactor) {}

bool PoleZeroModel::operator==(const PoleZeroModel& other) const {
  return poles_ == other.poles_ && residues_ == other.residues_ &&
         constantFactor_ == other.constantFactor_ && linearFactor_ == other.linearFactor_ &&
         scale_ == other.scale_;
}

ScalarModel* PoleZeroModel::clone() const {
  return new PoleZeroModel(*this);
}

bool PoleZeroModel::empty() const {
  return poles_.empty() && constantFactor_ == std::complex<double>() &&
         linearFactor_ == std::complex<double>();
}

ScalarModel::Type PoleZeroModel::type() const {
  return PoleZero;
}

namespace {

// Every pole term reads the residue of the same index; surplus residues are harmless.
void check_residues(const std::vector<std::complex<double>>& poles,
                    const std::vector<std::complex<double>>& residues) {
  if (residues.size() < poles.size()) {
    throw std::runtime_error(detail::message("pole-zero model needs one residue per pole, found ",
                                             residues.size(), " residues for ", poles.size(),
                                             " poles"));
  }
}

}  // namespace

void PoleZeroModel::evaluate(const std::vector<double>& freqs,
                             std::vector<std::complex<double>>& values,
                             std::vector<std::complex<double>>& /*work*/) const {
  check_residues(poles_, residues_);
  values.resize(freqs.size());
  const double c = kTwoPi / scale_;
  const std::size_t nb_poles = poles_.size();
  const std::complex<double>* poles = poles_.data();
  const std::complex<double>* residues = residues_.data();
  // The same operations as the single form, per frequency, without its checks and calls.
  for (std::size_t i = 0; i < freqs.size(); ++i) {
    const std::complex<double> s(0.0, freqs[i] * c);
    std::complex<double> h = constantFactor_ + linearFactor_ * s;
    for (std::size_t k = 0; k < nb_poles; ++k)
      h += detail::divide(residues[k], s - poles[k]);
    values[i] = h;
  }
}

std::complex<double> PoleZeroModel::evaluate(double freq) const {
  check_residues(poles_, residues_);
  const double c = kTwoPi / scale_;
  const std::complex<double> s(0.0, freq * c);
  std::complex<double> h = constantFactor_ + linearFactor_ * s;
  for (std::size_t k = 0; k < poles_.size(); ++k)
    h += detail::divide(residues_[k], s - poles_[k]);
  return h;
}

// With respect to the frequency in hertz: ds/df = j*c.
std::complex<double> PoleZeroModel::evaluate_derivative(double freq) const {
  check_residues(poles_, residues_);
  const double c = kTwoPi / scale_;
  const std::complex<double> s(0.0, freq * c);
  std::complex<double> sum;
  for (std::size_t k = 0; k < poles_.size(); ++k) {
    const std::complex<double> x = s - poles_[k];
    sum += detail::divide(residues_[k], x * x);
  }
  return std::complex<double>(0.0, c) * (linearFactor_ - sum);
}

std::complex<double> PoleZeroModel::evaluate_derivative_2(double freq) const {
  check_residues(poles_, residues_);
  const double c = kTwoPi / scale_;
  const std::complex<double> s(0.0, freq * c);
  std::complex<double> sum;
  for (std::size_t k = 0; k < poles_.size(); ++k) {
    const std::complex<double> x = s - poles_[k];
    sum += detail::divide(residues_[k], x * x * x);
  }
  return -2.0 * c * c * sum;
}

}  // namespace korvantix
