#include "common.hpp"

#include "heap.hpp"

#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <iostream>
#include <sstream>
#include <system_error>
#include <utility>

namespace kvx {

using namespace korvantix;

SMatrixContainer load(const std::string& path) {
  std::error_code unknown_size;
  const std::uintmax_t size = std::filesystem::file_size(path, unknown_size);
  // A container takes about as many bytes as a text file holding it.
  const HeapPrefault prefault(unknown_size ? 0 : static_cast<std::size_t>(size));
  SMatrixContainer container;
  read_any(container, path.c_str());
  return container;
}

void write_atomically(const std::string& target, const std::function<void(const char*)>& write) {
  namespace fs = std::filesystem;
  const fs::path final_path(target);
  // Beside the target, so that the rename stays on one file system and is atomic; hidden and
  // unique to this process, so that two runs never share one.
  const fs::path temporary =
      final_path.parent_path() /
      ("." + final_path.filename().string() + ".kvx-" + std::to_string(::getpid()) + ".tmp");
  const std::string temporary_text = temporary.string();
  try {
    write(temporary_text.c_str());
    fs::rename(temporary, final_path);
  } catch (const std::exception& error) {
    std::error_code ignored;
    fs::remove(temporary, ignored);
    // The writers name the file they were given; the user knows the target, not the temporary.
    std::string text = error.what();
    for (auto at = text.find(temporary_text); at != std::string::npos;
         at = text.find(temporary_text, at + target.size()))
      text.replace(at, temporary_text.size(), target);
    if (dynamic_cast<const fs::filesystem_error*>(&error) != nullptr)
      text = "Unable to write to <" + target + ">";
    throw std::runtime_error(text);
  }
}

double parse_frequency(const std::string& text) {
  static const std::pair<const char*, double> kPrefixes[] = {{"T", 1e12}, {"G", 1e9}, {"M", 1e6},
                                                             {"k", 1e3},  {"K", 1e3}, {"", 1.0}};
  const char* first = text.data();
  const char* last = first + text.size();
  double value = 0.0;
  const auto [end, error] = std::from_chars(first, last, value);
  std::string rest(end, last);
  rest.erase(std::remove(rest.begin(), rest.end(), ' '), rest.end());
  if (error == std::errc() && first != end && std::isfinite(value) && value >= 0.0) {
    // "Hz" is optional; a lone "m" would read as milli, so units stay upper-case M for mega.
    if (rest.size() >= 2 && (rest.compare(rest.size() - 2, 2, "Hz") == 0 ||
                             rest.compare(rest.size() - 2, 2, "hz") == 0))
      rest.resize(rest.size() - 2);
    for (const auto& [prefix, factor] : kPrefixes)
      if (rest == prefix) return value * factor;
  }
  throw UsageError("invalid frequency " + text);
}

std::string format_number(double value, int digits) {
  std::ostringstream out;
  out.imbue(std::locale::classic());
  out.precision(digits);
  out << value;
  return out.str();
}

std::string format_frequency(double hertz, int digits) {
  static const std::pair<double, const char*> kUnits[] = {
      {1e12, "THz"}, {1e9, "GHz"}, {1e6, "MHz"}, {1e3, "kHz"}};
  for (const auto& [factor, unit] : kUnits)
    if (std::abs(hertz) >= factor) return format_number(hertz / factor, digits) + " " + unit;
  return format_number(hertz, digits) + " Hz";
}

std::string entry_name(std::size_t row, std::size_t column, std::size_t ports) {
  const std::string separator = ports > 9 ? "_" : "";
  return "S" + std::to_string(row + 1) + separator + std::to_string(column + 1);
}

std::string entry_label(const SMatrixContainer& c, std::size_t row, std::size_t column) {
  const std::string name = entry_name(row, column, c.nbPorts());
  if (row == column) return name + " (" + c.name(row) + ")";
  return name + " (" + c.name(column) + " \u2192 " + c.name(row) + ")";
}

namespace {

bool parse_index(const std::string& text, std::size_t& index) {
  if (text.empty() || text.size() > 6 ||
      !std::all_of(text.begin(), text.end(), [](unsigned char ch) { return std::isdigit(ch); }))
    return false;
  index = std::stoul(text);
  return index > 0;
}

Entry parse_entry(const std::string& text, std::size_t ports) {
  std::size_t row = 0;
  std::size_t column = 0;
  bool valid = text.size() >= 3 && (text[0] == 'S' || text[0] == 's');
  if (valid) {
    const std::string digits = text.substr(1);
    const auto split = digits.find('_');
    if (split != std::string::npos)
      valid = parse_index(digits.substr(0, split), row) &&
              parse_index(digits.substr(split + 1), column);
    else
      valid = digits.size() == 2 && parse_index(digits.substr(0, 1), row) &&
              parse_index(digits.substr(1), column);
  }
  if (!valid) throw UsageError("invalid entry " + text);
  if (row > ports || column > ports)
    throw UsageError("entry " + text + " needs " + std::to_string(std::max(row, column)) +
                     " ports, the network has " + std::to_string(ports));
  return {row - 1, column - 1};
}

}  // namespace

std::vector<Entry> parse_entries(const std::string& list, std::size_t ports, bool symmetric) {
  std::vector<Entry> entries;
  if (list.empty()) {
    // In a symmetric network S(j, i) repeats S(i, j) and would hide beneath it.
    for (std::size_t k = 0; k < ports * ports && entries.size() < 16; ++k)
      if (!symmetric || k / ports >= k % ports) entries.push_back({k / ports, k % ports});
    return entries;
  }
  std::istringstream in(list);
  for (std::string item; std::getline(in, item, ',');)
    entries.push_back(parse_entry(item, ports));
  return entries;
}

std::vector<std::complex<double>> reference_impedances(const SMatrixContainer& c) {
  if (c.empty()) return {};
  try {
    return c.evaluate(c.from(), MAG_PHASE).Zref();
  } catch (const std::exception&) {
    return {};
  }
}

Progress::Progress(std::string label, std::size_t total)
    : label_(std::move(label)), total_(total), enabled_(::isatty(STDERR_FILENO) == 1) {}

Progress::~Progress() {
  if (enabled_ && shown_ >= 0) std::fprintf(stderr, "\r\033[K");
}

void Progress::update(std::size_t done) {
  if (!enabled_ || total_ == 0) return;
  const int percent = static_cast<int>(100.0 * static_cast<double>(done) / total_);
  if (percent == shown_) return;
  shown_ = percent;
  constexpr int kWidth = 30;
  const int filled = percent * kWidth / 100;
  std::fprintf(stderr, "\r%s [%s%s] %3d%%", label_.c_str(), std::string(filled, '#').c_str(),
               std::string(kWidth - filled, ' ').c_str(), percent);
  std::fflush(stderr);
}

SMatrixContainer evaluate_at(const SMatrixContainer& c, const std::vector<double>& frequencies,
                             InterpolationType interpolation, const std::string& progress_label) {
  SMatrixContainer out(c.nbPorts(), c.port_data_names());
  for (std::size_t i = 0; i < c.nbPorts(); ++i) {
    out.name(i) = c.name(i);
    for (const auto& [key, value] : c.get_port_properties(i))
      out.add_port_property(i, key, value);
  }
  for (const auto& [key, value] : c.get_global_properties())
    out.add_global_property(key, value);
  Progress progress(progress_label, frequencies.size());
  const auto& names = c.port_data_names();
  for (std::size_t k = 0; k < frequencies.size(); ++k) {
    const double f = frequencies[k];
    SMatrixSample value = c.evaluate(f, interpolation);
    // An interpolated sample carries no port data; the container's names must be on every one.
    if (!names.empty()) {
      SMatrixSample full(c.nbPorts(), f, names);
      full.S() = std::move(value.S());
      full.Zref() = std::move(value.Zref());
      for (const auto& key : names)
        full.set(key, c(f, key, interpolation));
      value = std::move(full);
    }
    out.add(std::move(value));
    if (k % 1024 == 0) progress.update(k);
  }
  return out;
}

}  // namespace kvx
