#include <korvantix/container.hpp>
#include <korvantix/export.hpp>
#include <korvantix/version.hpp>

#include <cstddef>
#include <cstdint>
#include <ctime>
#include <stdexcept>
#include <string>
#include <vector>

#include "detail/message.hpp"
#include "export/writers.hpp"

namespace korvantix {
namespace detail {
namespace {

constexpr std::size_t kCitiPrecision = 17;

void check_export_format(ExportFormat format) {
  if (format < Citifile || format > TouchstoneV2) {
    throw std::runtime_error(
        message("export format ", static_cast<std::int32_t>(format), " not supported"));
  }
}

// Construct, set path, set version: the entry points behave exactly as that sequence of public
// TouchstoneFile calls does.
TouchstoneFile make_touchstone(const SMatrixContainer& c, const char* path, ExportFormat format) {
  TouchstoneFile file(c);
  file.setPath(path != nullptr ? path : "");
  if (format == Touchstone) {
    TouchstoneAccess::set_automatic_version(file);
  } else {
    file.setVersion(static_cast<int>(format) - 2);
  }
  return file;
}

void put_two_digits(std::string& out, int value) {
  out.push_back(static_cast<char>('0' + value / 10 % 10));
  out.push_back(static_cast<char>('0' + value % 10));
}

}  // namespace

void append_ctime(std::string& out, std::time_t t) {
  std::tm parts{};
#if defined(_WIN32)
  const bool converted = localtime_s(&parts, &t) == 0;
#else
  const bool converted = localtime_r(&t, &parts) != nullptr;
#endif
  if (!converted) {
    throw std::runtime_error(
        message("Unable to convert the time ", static_cast<long long>(t), " to a date"));
  }
  // The names are fixed English abbreviations whatever the host's locale, as ctime prints them.
  static const char* const kDays[] = {"Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat"};
  static const char* const kMonths[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                        "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
  out += kDays[static_cast<unsigned>(parts.tm_wday) % 7];
  out += ' ';
  out += kMonths[static_cast<unsigned>(parts.tm_mon) % 12];
  // The day of the month is right-aligned in three columns: "Nov  4", "Nov 14".
  out += parts.tm_mday < 10 ? "  " : " ";
  out += std::to_string(parts.tm_mday);
  out += ' ';
  put_two_digits(out, parts.tm_hour);
  out += ':';
  put_two_digits(out, parts.tm_min);
  out += ':';
  put_two_digits(out, parts.tm_sec);
  out += ' ';
  out += std::to_string(static_cast<long long>(parts.tm_year) + 1900);
  out += '\n';
}

std::string written_by(const char* comment, const char* after_name, char between, std::time_t now) {
  std::string stamp = comment;
  stamp += "Written by ";
  stamp += libname();
  stamp += after_name;
  stamp += std::to_string(major_version());
  stamp += between;
  stamp += std::to_string(minor_version());
  stamp += between;
  stamp += std::to_string(patchlevel());
  stamp += '\n';
  stamp += comment;
  stamp += "Date : ";
  append_ctime(stamp, now);
  return stamp;
}

void write_export(const SMatrixContainer& c, const char* path, ExportFormat format,
                  std::time_t now) {
  check_export_format(format);
  if (format == Citifile) {
    write_cti(c, path, kCitiPrecision, now);
    return;
  }
  TouchstoneFile file = make_touchstone(c, path, format);
  TouchstoneAccess::write(file, now);
}

void write_export(const SMatrixContainer& c, const char* path, ExportFormat format,
                  const std::vector<double>& frequencies, double tolerance, std::time_t now) {
  check_export_format(format);
  if (format == Citifile) {
    write_cti(c, path, frequencies, tolerance, kCitiPrecision, now);
    return;
  }
  TouchstoneFile file = make_touchstone(c, path, format);
  file.resample(frequencies);
  TouchstoneAccess::write(file, now);
}

void write_export(const SMatrixContainer& c, const char* path, ExportFormat format, std::size_t n,
                  double tolerance, SamplingType type, std::time_t now) {
  check_export_format(format);
  if (format == Citifile) {
    write_cti(c, path, c.sample_frequencies(n, type), tolerance, kCitiPrecision, now);
    return;
  }
  TouchstoneFile file = make_touchstone(c, path, format);
  file.resample(n, type);
  TouchstoneAccess::write(file, now);
}

}  // namespace detail

void write(const SMatrixContainer& c, const char* path, ExportFormat format) {
  detail::write_export(c, path, format, std::time(nullptr));
}

void write(const SMatrixContainer& c, const char* path, ExportFormat format,
           const std::vector<double>& frequencies, double tolerance) {
  detail::write_export(c, path, format, frequencies, tolerance, std::time(nullptr));
}

void write(const SMatrixContainer& c, const char* path, ExportFormat format, std::size_t n,
           double tolerance, SamplingType type) {
  detail::write_export(c, path, format, n, tolerance, type, std::time(nullptr));
}

}  // namespace korvantix
