#pragma once

// What every kvx command shares: reading any input, writing an output atomically, frequency
// and entry texts, the progress bar, and the two kinds of failure the exit status tells apart.

#include <korvantix/korvantix.hpp>

#include <complex>
#include <cstddef>
#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

namespace kvx {

/// A mistake in the command line (exit status 2); any other exception is a failure of the work
/// (exit status 1).
struct UsageError : std::runtime_error {
  using std::runtime_error::runtime_error;
};

/// Reads any file the library recognises (content first, extension second).
korvantix::SMatrixContainer load(const std::string& path);

/// Runs write(temporary) on a temporary name beside `target` and renames it to `target` when
/// write returns; on any failure the temporary is removed and the exception passes on, so a
/// reader never sees a half-written file under the target's name.
void write_atomically(const std::string& target, const std::function<void(const char*)>& write);

/// "2.4GHz", "500 MHz", "1e9", "10k": a frequency in hertz. Throws UsageError
/// "invalid frequency <text>" for anything else or a negative value.
double parse_frequency(const std::string& text);

/// A frequency with an engineering prefix and up to `digits` significant digits: "2.4 GHz".
std::string format_frequency(double hertz, int digits = 6);

/// A number with up to `digits` significant digits in the shortest form ("0.5", "1e-12").
std::string format_number(double value, int digits = 6);

/// S entry (row, column), 0-based: "S21" for (1, 0); "S12,3" style beyond 9 ports.
std::string entry_name(std::size_t row, std::size_t column, std::size_t ports);
/// The entry's meaning in port names: "S11 (in)", "S21 (in → out)".
std::string entry_label(const korvantix::SMatrixContainer& c, std::size_t row, std::size_t column);

/// One S entry, 0-based.
struct Entry {
  std::size_t row;
  std::size_t column;
};
/// The entries of a comma-separated list ("S11,S21"; "S1_12" beyond 9 ports), or when the list
/// is empty the first 16 entries in row-major order (of a symmetric network those on and below
/// the diagonal). Throws UsageError "invalid entry <text>" and "entry <text> needs <n> ports,
/// the network has <N>".
std::vector<Entry> parse_entries(const std::string& list, std::size_t ports, bool symmetric);

/// The ports' reference impedances at the lowest frequency, or an empty list for an empty
/// container or when they cannot be evaluated there.
std::vector<std::complex<double>> reference_impedances(const korvantix::SMatrixContainer& c);

/// A progress bar on stderr, drawn only when stderr is a terminal; it erases itself when done.
class Progress {
 public:
  Progress(std::string label, std::size_t total);
  ~Progress();
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;
  /// Sets the work done so far; redraws when the shown percentage changes.
  void update(std::size_t done);

 private:
  std::string label_;
  std::size_t total_;
  int shown_ = -1;
  bool enabled_;
};

/// A new container with c's ports, names, properties and port-data names whose samples are c
/// evaluated at `frequencies` (port data included); the progress bar counts the evaluations.
korvantix::SMatrixContainer evaluate_at(const korvantix::SMatrixContainer& c,
                                        const std::vector<double>& frequencies,
                                        korvantix::InterpolationType interpolation,
                                        const std::string& progress_label);

}  // namespace kvx
