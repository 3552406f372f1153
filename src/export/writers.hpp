#pragma once

// The export writers with the clock passed in, so tests can compare whole files byte for byte;
// the public entry points pass the current time.

#include <korvantix/container.hpp>
#include <korvantix/export.hpp>

#include <cstddef>
#include <ctime>
#include <string>
#include <vector>

namespace korvantix::detail {

/// Appends t in local time exactly as ctime prints it: "Tue Nov 14 22:13:20 2023\n" (the fixed
/// 24-character form and its newline), with the C locale's day and month names.
/// Throws std::runtime_error "Unable to convert the time <t> to a date" when the platform
/// cannot convert t.
void append_ctime(std::string& out, std::time_t t);

/// The stamp both export formats open with, in their comment syntax:
/// "<comment>Written by <libname><after_name><major><between><minor><between><patch>\n"
/// "<comment>Date : <append_ctime of now>" (which ends in its newline). Same failure as
/// append_ctime; the caller builds it before writing anything, so a failure leaves the file
/// empty.
std::string written_by(const char* comment, const char* after_name, char between, std::time_t now);

/// The privileged operations of the export entry points on a TouchstoneFile.
class TouchstoneAccess {
 public:
  /// Version -1: chosen from the reference impedances at the first write.
  static void set_automatic_version(TouchstoneFile& file) { file.version_ = -1; }
  /// TouchstoneFile::write with the date stamp of `now`. Same failures.
  static void write(TouchstoneFile& file, std::time_t now);
};

/// The frequencies the CITIfile list writer keeps, in list order: those whose relative step
/// from the preceding list element (1.0 for the first, or after a non-positive one) is
/// strictly above tolerance.
std::vector<double> cti_kept_frequencies(const std::vector<double>& frequencies, double tolerance);

/// write_cti of the stored samples with the date stamp of `now`. Same failures.
void write_cti(const SMatrixContainer& c, const char* path, std::size_t precision, std::time_t now);
/// write_cti at a list of frequencies with the date stamp of `now`. Same failures.
void write_cti(const SMatrixContainer& c, const char* path, const std::vector<double>& frequencies,
               double tolerance, std::size_t precision, std::time_t now);

/// The export entry points with the date stamp of `now`. Same failures.
void write_export(const SMatrixContainer& c, const char* path, ExportFormat format,
                  std::time_t now);
void write_export(const SMatrixContainer& c, const char* path, ExportFormat format,
                  const std::vector<double>& frequencies, double tolerance, std::time_t now);
void write_export(const SMatrixContainer& c, const char* path, ExportFormat format, std::size_t n,
                  double tolerance, SamplingType type, std::time_t now);

}  // namespace korvantix::detail
