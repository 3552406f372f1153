#pragma once

/// \file
/// Export of a container to foreign formats: Touchstone (versions 1.1 and 2.0) and CITIfile,
/// from the stored samples, from a list of frequencies, or from a sampling plan.

#include <korvantix/config.hpp>
#include <korvantix/container.hpp>
#include <korvantix/evaluator.hpp>
#include <korvantix/model.hpp>

#include <cstddef>
#include <cstdint>
#include <set>
#include <string>
#include <vector>

namespace korvantix {

/// The foreign formats of the export entry points. Other values are representable and refused.
enum ExportFormat : std::int32_t {
  Citifile = 1,
  Touchstone = 2,
  TouchstoneV1 = 3,
  TouchstoneV2 = 4
};

namespace detail {
class TouchstoneAccess;
}

/// Writes one container as a Touchstone file with real-imaginary data in hertz, one real
/// reference impedance per port: the container's stored samples, or the container evaluated
/// (MAG_PHASE) at the frequencies given to resample. The container is referenced, not owned.
class KORVANTIX_API TouchstoneFile {
 public:
  /// Version 1 (1.1), precision 16, empty path, nothing resampled.
  explicit TouchstoneFile(const SMatrixContainer& container);

  /// The output path used by write.
  void setPath(const std::string& path);
  /// The output path.
  const std::string& path() const { return path_; }
  /// 1 for version 1.1, 2 for version 2.0 (-1 while an automatic choice is pending).
  int version() const { return version_; }
  /// Number of significant digits of the data values (16).
  int precision() const { return precision_; }

  /// Selects version 1 (1.1) or 2 (2.0). Throws std::runtime_error "Unrecorgnized touchstone
  /// file format version: <stored version>" for any other value (the stored one is printed,
  /// not the argument) and keeps the stored version.
  void setVersion(int version);
  /// Replaces the resampled data by the container evaluated (MAG_PHASE) at every frequency of
  /// the list, one sample per distinct frequency (the first evaluation of a repeated one stays).
  /// Errors of evaluation propagate and leave the resampled data partly filled.
  void resample(const std::vector<double>& frequencies);
  /// resample on container.sample_frequencies(n, type) over the whole discrete range. Errors of
  /// the sampling plan and of evaluation propagate.
  void resample(std::size_t n, SamplingType type);

  /// Writes the whole file (truncating it); an automatic version becomes 1 when every port has
  /// the same reference impedance, else 2, and stays fixed. Throws std::runtime_error
  /// "Unable to open file <path>" when the file cannot be opened; after opening (leaving an
  /// empty file) "Complex reference impedance is not supported by the touchstone file format.",
  /// "Frequency-dependent reference impedance is not supported by the touchstone file
  /// format." and, for version 1 with unequal impedances, "Cannot set the reference impedance
  /// for all ports, use touchstone file format version 2 instead."; also "S-matrix sample at
  /// <f> Hz has <k> ports, the container has <N>" for a stored sample of another port count.
  void write();

 private:
  friend class detail::TouchstoneAccess;

  const SMatrixContainer* container_;
  std::string path_;
  int version_ = 1;
  int precision_ = 16;
  std::set<SMatrixSample, SMatrixSample::less_freq> resampled_;
};

/// Writes the stored samples of c as a CITIfile with `precision` significant digits ("%.<p>G").
/// Throws std::runtime_error "Unable to open file <path>", and "S-matrix sample at <f> Hz has
/// <k> ports, the container has <N>" for a stored sample of another port count.
KORVANTIX_API void write_cti(const SMatrixContainer& c, const char* path, std::size_t precision);
/// Writes c evaluated (MAG_PHASE) at the frequencies of the list, in list order, skipping a
/// frequency whose relative distance to the preceding list element is not above `tolerance`
/// (the first counts 1.0). Throws std::runtime_error "Unable to open file <path>"; errors of
/// evaluation propagate and leave a partial file.
KORVANTIX_API void write_cti(const SMatrixContainer& c, const char* path,
                             const std::vector<double>& frequencies, double tolerance,
                             std::size_t precision);
/// The list overload on c.sample_frequencies(n, type) over the whole discrete range; errors of
/// the sampling plan propagate before the file is opened.
KORVANTIX_API void write_cti(const SMatrixContainer& c, const char* path, std::size_t n,
                             SamplingType type, double tolerance, std::size_t precision);

/// Exports the stored samples of c: Citifile with 17 digits, Touchstone with the version chosen
/// automatically, TouchstoneV1 or TouchstoneV2. Throws std::runtime_error "export format
/// <value> not supported" for another value (nothing is written); the writers' errors
/// propagate.
KORVANTIX_API void write(const SMatrixContainer& c, const char* path, ExportFormat format);
/// Exports c evaluated at the given frequencies; `tolerance` is the CITIfile writer's relative
/// tolerance and is not used for Touchstone. Same failures, plus those of evaluation.
KORVANTIX_API void write(const SMatrixContainer& c, const char* path, ExportFormat format,
                         const std::vector<double>& frequencies, double tolerance);
/// Exports c evaluated at a plan of n frequencies of the given type (over the whole discrete
/// range); `tolerance` as above. Same failures, plus those of the sampling plan.
KORVANTIX_API void write(const SMatrixContainer& c, const char* path, ExportFormat format,
                         std::size_t n, double tolerance, SamplingType type);

}  // namespace korvantix
