#include <korvantix/container.hpp>
#include <korvantix/evaluator.hpp>
#include <korvantix/export.hpp>

#include <complex>
#include <cstddef>
#include <ctime>
#include <set>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "detail/facts.hpp"
#include "detail/message.hpp"
#include "detail/output_buffer.hpp"
#include "export/writers.hpp"
#include "io/path.hpp"

namespace korvantix {
namespace {

// Header numbers are written as a stream with default flags prints them, before the data
// precision is set.
constexpr int kHeaderPrecision = 6;

void put_entry(detail::OutputBuffer& out, const std::complex<double>& z, int precision) {
  out.scientific(z.real(), precision);
  out.put(' ');
  out.scientific(z.imag(), precision);
  out.put(' ');
}

void put_sample(detail::OutputBuffer& out, const SMatrixSample& s, std::size_t n, int precision) {
  out.put('\n');
  out.scientific(s.frequency(), precision);
  out.put(' ');
  if (n <= 2) {
    // One and two ports go column by column on one line: S11 S21 S12 S22, the "21_12" order,
    // in version 1.1 as well.
    for (std::size_t j = 0; j < n; ++j) {
      for (std::size_t i = 0; i < n; ++i)
        put_entry(out, s(i, j), precision);
    }
    return;
  }
  for (std::size_t i = 0; i < n; ++i) {
    for (std::size_t j = 0; j < n; ++j) {
      if (j % 4 == 0 && (i != 0 || j != 0)) out.put("\n    ");
      put_entry(out, s(i, j), precision);
    }
  }
}

}  // namespace

TouchstoneFile::TouchstoneFile(const SMatrixContainer& container) : container_(&container) {}

void TouchstoneFile::setPath(const std::string& path) {
  path_ = path;
}

void TouchstoneFile::setVersion(int version) {
  if (version != 1 && version != 2) {
    // The stored version is printed, not the rejected argument; the message (typo included)
    // is what callers match on.
    throw std::runtime_error(
        detail::message("Unrecorgnized touchstone file format version: ", version_));
  }
  version_ = version;
}

void TouchstoneFile::resample(const std::vector<double>& frequencies) {
  resampled_.clear();
  for (double f : frequencies)
    resampled_.insert(container_->evaluate(f, MAG_PHASE));
}

void TouchstoneFile::resample(std::size_t n, SamplingType type) {
  resample(container_->sample_frequencies(n, type));
}

void TouchstoneFile::write() {
  detail::TouchstoneAccess::write(*this, std::time(nullptr));
}

namespace detail {
namespace {

// The reference impedance of every port, which the format states once for the whole file.
struct References {
  std::vector<double> zref;  // per port; -1 for a port no sample names
  bool all_equal;
  double common;  // the impedance of port 0, or -1 without ports
};

// Validation: every stored sample has the container's port count and real reference
// impedances that do not change with frequency; resampled samples have the port count.
References check_references(const SMatrixContainer& c,
                            const std::set<SMatrixSample, SMatrixSample::less_freq>& resampled) {
  const std::size_t n = c.nbPorts();
  // -1 marks a port whose impedance is not known yet; a port whose impedance is itself
  // negative is therefore taken afresh at every sample and never compared.
  std::vector<double> zref(n, -1.0);
  for (auto it = c.begin_samples(); it != c.end_samples(); ++it) {
    check_port_count(*it, n);
    for (std::size_t i = 0; i < n; ++i) {
      const std::complex<double> z = it->Zref(i);
      if (!(z.imag() == 0.0)) {
        throw std::runtime_error(
            "Complex reference impedance is not supported by the touchstone file format.");
      }
      if (zref[i] < 0.0) {
        zref[i] = z.real();
      } else if (!(z.real() == zref[i])) {
        throw std::runtime_error(
            "Frequency-dependent reference impedance is not supported by the touchstone file "
            "format.");
      }
    }
  }
  for (const SMatrixSample& s : resampled)
    check_port_count(s, n);
  bool all_equal = true;
  for (std::size_t i = 0; i < n; ++i)
    all_equal = all_equal && zref[i] == zref[0];
  // Without ports there is no impedance to name; -1 is the "not set" value of every port.
  const double common = n > 0 ? zref[0] : -1.0;
  return {std::move(zref), all_equal, common};
}

// Version 1.1: a comment header with the stamp, then the option line naming one impedance.
void put_header_v1(OutputBuffer& out, const References& refs, std::time_t now) {
  if (!refs.all_equal) {
    throw std::runtime_error(
        "Cannot set the reference impedance for all ports, use touchstone file format version "
        "2 instead.");
  }
  const std::string stamp = written_by("! ", " ", '.', now);
  out.put("! Touchstone file version 1.1\n");
  // The date ends in its own newline, which opens the option line.
  out.put(stamp);
  out.put("# Hz S RI R ");
  out.general(refs.common, kHeaderPrecision);
}

// Version 2.0: keywords for the port and frequency counts, and a [Reference] line when the
// ports' impedances differ.
void put_header_v2(OutputBuffer& out, const References& refs, std::size_t n,
                   std::size_t frequency_count) {
  out.put("[Version] 2.0");
  if (refs.all_equal) {
    out.put("\n# Hz S RI R ");
    out.general(refs.common, kHeaderPrecision);
  } else {
    out.put("\n# Hz S RI");
  }
  out.put("\n[Number of Ports] ");
  out.count(n);
  if (n == 2) out.put("\n[Two-Port Data Order] 21_12");
  out.put("\n[Number of Frequencies] ");
  out.count(frequency_count);
  if (!refs.all_equal) {
    out.put("\n[Reference]\n");
    for (double z : refs.zref) {
      out.general(z, kHeaderPrecision);
      out.put(' ');
    }
  }
  out.put("\n[Network Data]");
}

void put_port_names(OutputBuffer& out, const SMatrixContainer& c) {
  for (std::size_t i = 0; i < c.nbPorts(); ++i) {
    out.put("\n! Port[");
    out.count(i + 1);
    out.put("] ");
    out.put(c.name(i));
  }
}

}  // namespace

void TouchstoneAccess::write(TouchstoneFile& file, std::time_t now) {
  const File handle = open_file(file.path_.c_str(), "w");
  if (!handle) throw std::runtime_error(message("Unable to open file ", file.path_));
  const SMatrixContainer& c = *file.container_;
  const std::size_t n = c.nbPorts();
  const References refs = check_references(c, file.resampled_);
  // An automatic version is chosen once, by the first write, and then stays.
  if (file.version_ == -1) file.version_ = refs.all_equal ? 1 : 2;

  OutputBuffer out(handle.get());
  const bool resampled = !file.resampled_.empty();
  if (file.version_ == 1) {
    put_header_v1(out, refs, now);
  } else {
    put_header_v2(out, refs, n, resampled ? file.resampled_.size() : c.nbSamples());
  }
  put_port_names(out, c);
  if (resampled) {
    for (const SMatrixSample& s : file.resampled_)
      put_sample(out, s, n, file.precision_);
  } else {
    for (auto it = c.begin_samples(); it != c.end_samples(); ++it)
      put_sample(out, *it, n, file.precision_);
  }
  if (file.version_ == 2) out.put("\n[End]");
  out.put('\n');
  // A failing flush or close is not reported, as for a stream whose close sets its fail state.
  out.flush();
}

}  // namespace detail
}  // namespace korvantix
