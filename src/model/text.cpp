#include <korvantix/container.hpp>
#include <korvantix/evaluator.hpp>
#include <korvantix/model.hpp>
#include <korvantix/scalar.hpp>

#include <iomanip>
#include <ostream>

namespace korvantix {

std::ostream& operator<<(std::ostream& out, const std::pair<std::string, std::size_t>& key) {
  return out << key.first << "[" << key.second << "]";
}

std::ostream& operator<<(
    std::ostream& out, const std::pair<double, std::tuple<double, std::size_t, std::size_t>>& at) {
  // Each width applies to one insertion only, but the precision is deliberately not restored:
  // later insertions on the same stream print with 4 significant digits.
  out << std::setw(6) << std::setprecision(3) << at.first << "@(";
  out << std::setw(10) << std::setprecision(4) << std::get<0>(at.second) << " Hz";
  out << ", r=" << std::setw(3) << std::get<1>(at.second);
  out << ", c=" << std::setw(3) << std::get<2>(at.second) << ")";
  return out;
}

std::ostream& operator<<(std::ostream& out, const SMatrixSample& sample) {
  out << "Sample at " << sample.frequency() << " Hz:";
  const std::size_t n = sample.nbPorts();
  for (std::size_t i = 0; i < n; ++i) {
    out << "\n\t" << sample.Zref(i) << " | ";
    for (std::size_t j = 0; j < n; ++j)
      out << "\t" << sample(i, j);
  }
  for (auto it = sample.begin_port_data(); it != sample.end_port_data(); ++it) {
    out << "\n\t" << it->first << "\t" << it->second;
  }
  return out;
}

std::ostream& operator<<(std::ostream& out, const SMatrixModel& model) {
  out << "Model in [" << model.from() << " , " << model.to() << " ] Hz:";
  const std::size_t n = model.nbPorts();
  for (std::size_t i = 0; i < n; ++i) {
    out << "\n\tZref(" << i << ") : " << static_cast<const ScalarModel*>(model.Zref()[i].get());
  }
  for (std::size_t i = 0; i < n; ++i) {
    for (std::size_t j = 0; j < n; ++j) {
      out << "\n\tS(" << i << "," << j
          << ") : " << static_cast<const ScalarModel*>(model.S()[i * n + j].get());
    }
  }
  for (auto it = model.begin_port_data(); it != model.end_port_data(); ++it) {
    out << "\n\t" << it->first << " : " << static_cast<const ScalarModel*>(it->second.get());
  }
  return out;
}

std::ostream& operator<<(std::ostream& out, const SMatrixContainer& container) {
  out << "Scattering matrix container: ";
  const std::size_t n = container.nbPorts();
  for (std::size_t i = 0; i < n; ++i)
    out << "\n\t" << container.name(i);
  out << "\nGlobal properties: ";
  for (const auto& property : container.get_global_properties()) {
    out << "\n\t" << property.first << " = " << property.second;
  }
  for (std::size_t i = 0; i < n; ++i) {
    out << "\nProperties for port <" << container.name(i) << "> : ";
    for (const auto& property : container.get_port_properties(i)) {
      out << "\n\t" << property.first << " = " << property.second;
    }
  }
  // One heading, "Port models:", introduces both the samples and the models.
  out << "\nPort models: ";
  for (auto it = container.begin_samples(); it != container.end_samples(); ++it) {
    out << "\n" << *it;
  }
  for (auto it = container.begin_models(); it != container.end_models(); ++it) {
    out << "\n" << *it;
  }
  return out;
}

// The printer through an evaluator pointer is defined with the comparison (src/compare/text.cpp):
// it must know every evaluator kind, the difference container of that later layer included.

}  // namespace korvantix
