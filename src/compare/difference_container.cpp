#include <korvantix/compare.hpp>
#include <korvantix/io.hpp>

#include <algorithm>
#include <complex>
#include <cstddef>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "compare/difference.hpp"
#include "detail/message.hpp"

namespace korvantix {

namespace {

std::string joined_names(const SMatrixContainer& c) {
  std::string text;
  for (std::size_t i = 0; i < c.nbPorts(); ++i) {
    if (i > 0) text += ", ";
    text += c.name(i);
  }
  return text;
}

// The checks of construction, in the order of the documentation; the common band on success.
std::pair<double, double> common_band(const SMatrixContainer& a, const SMatrixContainer& b) {
  detail::check_port_counts(a.nbPorts(), b.nbPorts());
  for (std::size_t i = 0; i < a.nbPorts(); ++i) {
    if (a.name(i) != b.name(i)) {
      throw std::runtime_error("port names differ: <" + joined_names(a) + "> and <" +
                               joined_names(b) +
                               ">; permute one container to the other's port order first");
    }
  }
  const double a_from = a.from(), a_to = a.to();
  const double b_from = b.from(), b_to = b.to();
  const double from = std::max(a_from, b_from);
  const double to = std::min(a_to, b_to);
  // Bands that merely touch share that one frequency, which is still something to compare
  // (two single-sample networks at the same frequency, say). Written negated so that a NaN
  // edge refuses too.
  if (!(from <= to)) {
    throw std::runtime_error(detail::message("the networks share no frequency band: [", a_from,
                                             " , ", a_to, "] and [", b_from, " , ", b_to, "]"));
  }
  return {from, to};
}

SMatrixContainer read_container(const char* path) {
  SMatrixContainer c;
  read(c, path);
  return c;
}

// The keys present in both samples, in key order (both lists are sorted and unique).
std::vector<PortDataName> shared_keys(const SMatrixSample& a, const SMatrixSample& b) {
  std::vector<PortDataName> keys;
  auto ia = a.begin_port_data();
  auto ib = b.begin_port_data();
  while (ia != a.end_port_data() && ib != b.end_port_data()) {
    if (ia->first < ib->first) {
      ++ia;
    } else if (ib->first < ia->first) {
      ++ib;
    } else {
      keys.push_back(ia->first);
      ++ia;
      ++ib;
    }
  }
  return keys;
}

bool same_keys(const SMatrixSample& a, const SMatrixSample& b) {
  return std::equal(a.begin_port_data(), a.end_port_data(), b.begin_port_data(), b.end_port_data(),
                    [](const auto& x, const auto& y) { return x.first == y.first; });
}

}  // namespace

SMatrixDifferenceContainer::SMatrixDifferenceContainer(const SMatrixContainer& a,
                                                       const SMatrixContainer& b)
    : SMatrixEvaluator(a.nbPorts()) {
  // Checked before anything is copied: a refused pair costs no copy of either network.
  std::tie(from_, to_) = common_band(a, b);
  first_ = a;
  second_ = b;
}

SMatrixDifferenceContainer::SMatrixDifferenceContainer(const char* path_a, const char* path_b)
    : first_(read_container(path_a)), second_(read_container(path_b)) {
  nb_ports_ = first_.nbPorts();
  std::tie(from_, to_) = common_band(first_, second_);
}

SMatrixEvaluator::Type SMatrixDifferenceContainer::type() const {
  return MIXED;
}

bool SMatrixDifferenceContainer::is_symmetric() const {
  return first_.is_symmetric() && second_.is_symmetric();
}

SMatrixEvaluator* SMatrixDifferenceContainer::clone() const {
  return new SMatrixDifferenceContainer(*this);
}

SMatrixSample SMatrixDifferenceContainer::evaluate(double f, InterpolationType t) const {
  if (!(from_ <= f && f <= to_)) {
    throw std::out_of_range(detail::message(f, " not in [", from_, " , ", to_, "]"));
  }
  SMatrixSample a = first_.evaluate(f, t);
  const SMatrixSample b = second_.evaluate(f, t);
  // Each container may hold samples of another size than its port count.
  detail::check_port_counts(a.nbPorts(), b.nbPorts());
  // Both are usually stored samples (the same keys, the containers' port-data names) or
  // interpolated ones (no keys): the first sample then becomes the result in place. Otherwise
  // only the keys both carry are kept, in a sample built for them.
  const bool in_place = same_keys(a, b);
  SMatrixSample result = in_place ? std::move(a) : SMatrixSample(a.nbPorts(), f, shared_keys(a, b));
  const SMatrixSample& minuend = in_place ? result : a;
  result.setFrequency(f);
  // Every entry of the minuend is read before the same entry of the result is written, so the
  // loops stay right when both are the same sample.
  const std::size_t nb_s = b.S().size();
  for (std::size_t k = 0; k < nb_s; ++k)
    result.S()[k] = detail::difference(minuend.S()[k], b.S()[k]);
  const std::size_t nb_z = b.Zref().size();
  for (std::size_t i = 0; i < nb_z; ++i)
    result.Zref()[i] = detail::difference(minuend.Zref()[i], b.Zref()[i]);
  for (auto it = result.begin_port_data(); it != result.end_port_data(); ++it)
    result.set(it->first, detail::difference(minuend(it->first), b(it->first)));
  return result;
}

}  // namespace korvantix
