#include <korvantix/container.hpp>
#include <korvantix/evaluator.hpp>
#include <korvantix/export.hpp>

#include <cmath>
#include <complex>
#include <cstddef>
#include <ctime>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "detail/facts.hpp"
#include "detail/message.hpp"
#include "detail/number_format.hpp"
#include "detail/output_buffer.hpp"
#include "export/writers.hpp"
#include "io/path.hpp"

namespace korvantix {
namespace detail {
namespace {

// "%.<p>G" with a larger p prints the same text as with 800: a double's exact decimal expansion
// ends long before, trailing zeros are dropped, and the exponent form starts at the same
// exponent. Clamping keeps any size_t precision meaningful.
int value_precision(std::size_t precision) {
  return precision > static_cast<std::size_t>(kMaxDirectPrecision) ? kMaxDirectPrecision
                                                                   : static_cast<int>(precision);
}

class CitiWriter {
 public:
  CitiWriter(const char* path, std::size_t precision)
      : path_(path != nullptr ? path : ""),
        handle_(open_file(path_.c_str(), "w")),
        precision_(value_precision(precision)) {
    if (!handle_) throw std::runtime_error(message("Unable to open file ", path_));
    out_.emplace(handle_.get());
  }

  void header(const SMatrixContainer& c, std::size_t frequency_count, std::time_t now) {
    const std::string stamp = written_by("# ", " : ", ' ', now);
    OutputBuffer& out = *out_;
    out.put("CITIFILE A.01.01\n\n");
    // The date carries its own newline, so an empty line follows it.
    out.put(stamp);
    out.put("\nNAME DATA\n\n");
    const std::size_t n = c.nbPorts();
    for (std::size_t i = 1; i <= n; ++i) {
      out.put("#qorex Port[");
      out.count(i);
      out.put("] ");
      out.put(c.name(i - 1));
      out.put('\n');
    }
    out.put("\nVAR freq MAG ");
    out.count(frequency_count);
    out.put("\n\n");
    for (std::size_t i = 1; i <= n; ++i) {
      for (std::size_t j = 1; j <= n; ++j) {
        out.put("DATA S[");
        out.count(i);
        out.put(',');
        out.count(j);
        out.put("] RI\n");
      }
    }
    for (std::size_t i = 1; i <= n; ++i) {
      out.put("DATA PORTZ[");
      out.count(i);
      out.put("] RI\n");
    }
    for (const PortDataName& key : c.port_data_names()) {
      out.put("DATA ");
      out.put(key.first);
      out.put('[');
      out.count(key.second);
      out.put("] RI\n");
    }
    out.put('\n');
  }

  void frequency(double f) {
    out_->general_upper(f, precision_);
    out_->put('\n');
  }

  void value(const std::complex<double>& z) {
    out_->general_upper(z.real(), precision_);
    out_->put(", ");
    out_->general_upper(z.imag(), precision_);
    out_->put('\n');
  }

  void put(const char* text) { out_->put(text); }

  void finish() { out_->flush(); }

 private:
  std::string path_;
  File handle_;
  int precision_;
  std::optional<OutputBuffer> out_;
};

}  // namespace

std::vector<double> cti_kept_frequencies(const std::vector<double>& frequencies, double tolerance) {
  std::vector<double> kept;
  double previous = 0.0;
  for (double f : frequencies) {
    const double step = previous > 0.0 ? std::fabs(f - previous) / previous : 1.0;
    if (step > tolerance) kept.push_back(f);
    // Measured from the preceding list element, kept or not, never from the last kept one.
    previous = f;
  }
  return kept;
}

void write_cti(const SMatrixContainer& c, const char* path, std::size_t precision,
               std::time_t now) {
  const std::size_t n = c.nbPorts();
  std::vector<const SMatrixSample*> samples;
  samples.reserve(c.nbSamples());
  for (auto it = c.begin_samples(); it != c.end_samples(); ++it) {
    check_port_count(*it, n);
    samples.push_back(&*it);
  }
  CitiWriter out(path, precision);
  out.header(c, samples.size(), now);
  out.put("VAR_LIST_BEGIN\n");
  for (const SMatrixSample* s : samples)
    out.frequency(s->frequency());
  out.put("VAR_LIST_END\n\n");
  for (std::size_t i = 0; i < n; ++i) {
    for (std::size_t j = 0; j < n; ++j) {
      out.put("BEGIN\n");
      for (const SMatrixSample* s : samples)
        out.value((*s)(i, j));
      out.put("END\n");
    }
  }
  for (std::size_t i = 0; i < n; ++i) {
    out.put("BEGIN\n");
    for (const SMatrixSample* s : samples)
      out.value(s->Zref(i));
    out.put("END\n");
  }
  for (const PortDataName& key : c.port_data_names()) {
    out.put("BEGIN\n");
    for (const SMatrixSample* s : samples)
      out.value((*s)(key));
    out.put("END\n");
  }
  out.finish();
}

void write_cti(const SMatrixContainer& c, const char* path, const std::vector<double>& frequencies,
               double tolerance, std::size_t precision, std::time_t now) {
  const std::vector<double> kept = cti_kept_frequencies(frequencies, tolerance);
  const std::size_t n = c.nbPorts();
  CitiWriter out(path, precision);
  out.header(c, kept.size(), now);
  out.put("VAR_LIST_BEGIN\n");
  for (double f : kept)
    out.frequency(f);
  out.put("VAR_LIST_END\n\n");
  auto block = [&out](const std::vector<std::complex<double>>& values) {
    out.put("BEGIN\n");
    for (const std::complex<double>& z : values)
      out.value(z);
    out.put("END\n");
  };
  for (std::size_t i = 0; i < n; ++i) {
    for (std::size_t j = 0; j < n; ++j)
      block(c(kept, i, j, MAG_PHASE));
  }
  for (std::size_t i = 0; i < n; ++i)
    block(c.Zref(kept, i, MAG_PHASE));
  for (const PortDataName& key : c.port_data_names())
    block(c(kept, key, MAG_PHASE));
  out.finish();
}

}  // namespace detail

void write_cti(const SMatrixContainer& c, const char* path, std::size_t precision) {
  detail::write_cti(c, path, precision, std::time(nullptr));
}

void write_cti(const SMatrixContainer& c, const char* path, const std::vector<double>& frequencies,
               double tolerance, std::size_t precision) {
  detail::write_cti(c, path, frequencies, tolerance, precision, std::time(nullptr));
}

void write_cti(const SMatrixContainer& c, const char* path, std::size_t n, SamplingType type,
               double tolerance, std::size_t precision) {
  const std::vector<double> frequencies = c.sample_frequencies(n, type);
  detail::write_cti(c, path, frequencies, tolerance, precision, std::time(nullptr));
}

}  // namespace korvantix
