#include <korvantix/container.hpp>

#include <cstddef>
#include <map>
#include <stdexcept>
#include <string>
#include <vector>

#include "detail/facts.hpp"
#include "detail/message.hpp"
#include "model/storage.hpp"

namespace korvantix {

namespace {

// Sample and model permutations trust p blindly. A container may hold an item whose port count
// differs from its own (add does not compare them), so each item is checked to map its ports
// into itself before it is handed over.
void check_maps_into(const std::vector<std::size_t>& p, std::size_t n) {
  if (n > p.size()) detail::throw_port_out_of_bounds();
  for (std::size_t i = 0; i < n; ++i) {
    if (p[i] >= n) detail::throw_port_out_of_bounds();
  }
}

}  // namespace

SMatrixContainer SMatrixContainer::permute(const std::vector<std::string>& names) const {
  if (names.size() != nbPorts()) {
    throw std::runtime_error(
        detail::message("expected ", nbPorts(), " port names, found ", names.size()));
  }
  // emplace keeps the first position of a name listed twice.
  std::map<std::string, std::size_t> position;
  for (std::size_t k = 0; k < names.size(); ++k)
    position.emplace(names[k], k);
  std::vector<std::size_t> p(nbPorts());
  for (std::size_t i = 0; i < nbPorts(); ++i) {
    const auto found = position.find(name(i));
    if (found == position.end()) {
      throw std::runtime_error(
          detail::message("port name list does not contain port name <", name(i), ">"));
    }
    p[i] = found->second;
  }
  return permute(p);
}

SMatrixContainer SMatrixContainer::permute(const std::vector<std::size_t>& p) const {
  std::vector<PortDataName> remapped;
  remapped.reserve(port_data_names_.size());
  for (const PortDataName& key : port_data_names_) {
    // A port-data index need not name an existing port; it cannot be remapped then.
    if (key.second >= p.size()) detail::throw_port_out_of_bounds();
    remapped.emplace_back(key.first, p[key.second]);
  }
  SMatrixContainer result(nbPorts(), remapped);
  for (std::size_t i = 0; i < p.size(); ++i) {
    if (i >= port_names_.size() || p[i] >= result.port_names_.size())
      detail::throw_port_out_of_bounds();
    // Two source ports of one name land on the same result port: the later one wins.
    result.port_names_[p[i]] = port_names_[i];
  }
  for (const auto& [key, value] : get_global_properties())
    result.add_global_property(key, value);
  for (std::size_t i = 0; i < p.size(); ++i) {
    for (const auto& [key, value] : properties_[i])
      result.add_port_property(p[i], key, value);
  }
  for (const detail::StoredSample& stored : storage_->samples) {
    check_maps_into(p, stored.sample.nbPorts());
    result.add(stored.sample.permute(p));
  }
  for (const SMatrixModel& model : storage_->models) {
    check_maps_into(p, model.nbPorts());
    result.add(model.permute(p));
  }
  return result;
}

}  // namespace korvantix
