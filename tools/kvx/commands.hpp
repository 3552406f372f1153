#pragma once

// The kvx commands. Each run_* function does one command's work and returns its exit status;
// it throws UsageError for a command-line mistake and any other exception for a failure of the
// work (main turns both into "kvx: <message>" and the exit statuses 2 and 1).

#include "common.hpp"

#include <korvantix/korvantix.hpp>

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace kvx {

struct InfoOptions {
  std::string input;
  bool json = false;
};
int run_info(const InfoOptions& options);

struct ConvertOptions {
  std::string input;
  std::string output;
  std::string format;  // empty: from the output's extension
  std::optional<double> renormalize;
  std::size_t points = 201;
  std::string plan = "adaptive";
};
int run_convert(const ConvertOptions& options);

struct ResampleOptions {
  std::string input;
  std::string output;
  std::string format;
  std::size_t points = 0;
  std::string plan = "linear";
  std::string from;
  std::string to;
  std::string interpolation = "mag-phase";
};
int run_resample(const ResampleOptions& options);

struct DiffOptions {
  std::string first;
  std::string second;
  std::size_t points = 0;  // 0: the discrete frequencies of both inside their common band
  double tolerance = 0.0;
};
int run_diff(const DiffOptions& options);

enum class PlotKind { db, phase, smith };
struct PlotOptions {
  std::string input;
  std::string output;
  std::string entries;
  PlotKind kind = PlotKind::db;
  bool log_frequency = false;
};
int run_plot(const PlotOptions& options);

struct ReportOptions {
  std::string input;
  std::string output;
};
int run_report(const ReportOptions& options);

// Shared between the commands.

/// The writable formats.
enum class OutputFormat { ascii, binary, touchstone, touchstone1, touchstone2, citi };
/// The --format name, or else the output's extension (.kvx, .kvxb, .sNp, .ts, .cti, .citi).
/// Throws UsageError "unknown format <name>" and "cannot tell the format of <path> from its
/// extension; use --format".
OutputFormat output_format(const std::string& path, const std::string& format_name);
/// Writes the container's stored samples (and models for the native formats) atomically.
void write_output(const korvantix::SMatrixContainer& c, const std::string& path,
                  OutputFormat format);
/// A --plan name as the library's sampling type. Throws UsageError "unknown plan <name>".
korvantix::SamplingType sampling_type(const std::string& plan);

/// What info shows, ready for text, JSON and HTML.
struct Description {
  std::string file;
  std::string format;   // "kvx ASCII", "kvx binary", "Touchstone", "CITIfile"
  std::string version;  // as the file states it
  struct Port {
    std::string name;
    std::string reference_impedance;  // "50 Ω", "varies", "" when unknown
    korvantix::SMatrixContainer::PropertyMap properties;
  };
  std::vector<Port> ports;
  korvantix::SMatrixContainer::PropertyMap properties;
  std::vector<std::string> port_data;
  std::size_t samples = 0;
  struct Model {
    double from;
    double to;
    std::string kinds;  // "4 pole-zero, 2 polynomial"
  };
  std::vector<Model> models;
  std::optional<double> from;
  std::optional<double> to;
  bool symmetric = true;
};
Description describe(const std::string& path, const korvantix::SMatrixContainer& c);
/// (label, value) rows of the description, as the text and HTML tables show them.
std::vector<std::pair<std::string, std::string>> description_rows(const Description& d);

/// The SVG of one plot kind of the entries (no XML declaration).
std::string plot_svg(const korvantix::SMatrixContainer& c, const std::string& title,
                     const std::vector<Entry>& entries, PlotKind kind, bool log_frequency);

}  // namespace kvx
