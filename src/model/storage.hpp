#pragma once

// How SMatrixContainer stores its samples and models; only the library's own code sees it.

#include <korvantix/container.hpp>

#include <atomic>
#include <cstring>
#include <set>
#include <utility>

#include "model/node_arena.hpp"

namespace korvantix::detail {

// Magnitude and phase (atan2(im, re)) of one complex entry.
struct Polar {
  double magnitude;
  double phase;
};

// A sample as the container stores it. Magnitude-phase interpolation needs the magnitude and
// phase of every S and Zref entry of both neighbours at every query; they are computed on a
// sample's first such use and kept, so adding and reading samples does not pay for them. The
// cache is published with one compare-and-swap: concurrent const queries stay safe without a
// lock (threads that race compute identical values, and all but one discard theirs).
class StoredSample {
 public:
  explicit StoredSample(const SMatrixSample& s) : sample(s) {}
  explicit StoredSample(SMatrixSample&& s) : sample(std::move(s)) {}
  // Copies the sample and, when it has been computed, the cache.
  StoredSample(const StoredSample& other);
  StoredSample& operator=(const StoredSample& other);
  ~StoredSample();

  // polar()[k] for S()[k] (row-major), then polar()[S().size() + i] for Zref(i).
  const Polar* polar() const;

  SMatrixSample sample;

 private:
  mutable std::atomic<Polar*> polar_{nullptr};
};

// Orders stored samples by frequency; also compares with a bare frequency (lookups by double).
struct SampleOrder {
  using is_transparent = void;
  bool operator()(const StoredSample& a, const StoredSample& b) const noexcept {
    return a.sample.frequency() < b.sample.frequency();
  }
  bool operator()(const StoredSample& a, double f) const noexcept {
    return a.sample.frequency() < f;
  }
  bool operator()(double f, const StoredSample& b) const noexcept {
    return f < b.sample.frequency();
  }
};

using SampleSet = std::set<StoredSample, SampleOrder, ArenaAllocator<StoredSample>>;
using ModelSet = std::set<SMatrixModel, SMatrixModel::less_freq>;

// The samples and models of one container. A container always holds one: a moved-from
// container gets a fresh, empty one, and a copy copies it deeply.
struct ContainerStorage {
  SampleSet samples;
  ModelSet models;

  static const ContainerStorage& of(const SMatrixContainer& c) { return *c.storage_; }

  // The set position a sample iterator stands for, and back.
  static SampleSet::const_iterator position(const SMatrixContainer::SampleIterator& it) {
    SampleSet::const_iterator position;
    std::memcpy(static_cast<void*>(&position), it.position_, sizeof position);
    return position;
  }
  static SMatrixContainer::SampleIterator iterator(SampleSet::const_iterator position) {
    SMatrixContainer::SampleIterator it;
    std::memcpy(it.position_, static_cast<const void*>(&position), sizeof position);
    return it;
  }
};

}  // namespace korvantix::detail
