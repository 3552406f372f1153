// Touchstone 1.0, 1.1, 2.0 and 2.1. The grammar is line-driven: each line is split at its first
// "!" into content and comment, the content is an option line, a keyword or data; data values
// are counted, so a frequency's values may spread over lines and end where the count is full.
#include <korvantix/container.hpp>
#include <korvantix/import.hpp>
#include <korvantix/network.hpp>

#include <cmath>
#include <complex>
#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "detail/message.hpp"
#include "import/readers.hpp"
#include "import/text_lines.hpp"

namespace korvantix::detail {
namespace {

constexpr double kDegree = 3.14159265358979323846 / 180.0;
constexpr double kDefaultReference = 50.0;
constexpr std::size_t kNoiseValues = 5;

enum class Parameter { S, Y, Z, H, G };
enum class ValueFormat { MA, DB, RI };
enum class MatrixFormat { Full, Lower, Upper };
enum class Section { Header, Network, Noise };

// The per-frequency field-solver comments: "! Gamma" and "! Port Impedance".
constexpr const char* kSolverWords[2] = {"Gamma", "Port Impedance"};
constexpr const char* kSolverData[2] = {"Gamma", "Zpi"};

// The port count of a ".sNp" name (any case), 0 when the name does not tell.
std::uint64_t extension_ports(const std::string& path) {
  const std::size_t dot = path.rfind('.');
  if (dot == std::string::npos || path.size() - dot < 4) return 0;
  const std::string_view ext(path.data() + dot + 1, path.size() - dot - 1);
  if ((ext.front() != 's' && ext.front() != 'S') || (ext.back() != 'p' && ext.back() != 'P'))
    return 0;
  std::uint64_t n = 0;
  return parse_count(ext.substr(1, ext.size() - 2), n) && ext[1] != '+' ? n : 0;
}

// Reads a whole text of numbers; false when any token is not one.
bool read_numbers(std::string_view text, std::vector<double>& values) {
  for (std::string_view t = next_token(text); !t.empty(); t = next_token(text)) {
    double v = 0.0;
    if (!parse_number(t, v)) return false;
    values.push_back(v);
  }
  return true;
}

class TouchstoneReader {
 public:
  TouchstoneReader(Window& window, const std::string& path, std::uint64_t size)
      : lines_(window, path), size_(size), extension_ports_(extension_ports(path)) {}

  void read(SMatrixContainer& container, std::vector<NoiseParameters>* noise) {
    noise_ = noise;
    std::string_view line;
    while (!ended_ && lines_.next(line))
      read_line(line);
    finish();
    container = std::move(result_);
    if (noise != nullptr) noise->swap(noise_read_);
  }

 private:
  void read_line(std::string_view line) {
    const std::size_t bang = line.find('!');
    std::string_view content = trim(line.substr(0, bang));
    const std::string_view comment =
        bang == std::string_view::npos ? std::string_view() : line.substr(bang + 1);
    if (in_information_) {
      if (istarts_with(content, "[End Information]")) in_information_ = false;
      return;
    }
    if (solver_kind_ >= 0) {
      if (content.empty() && bang != std::string_view::npos && continue_solver_comment(comment))
        return;
      close_solver_comment();
    }
    if (bang != std::string_view::npos) read_comment(comment);
    if (content.empty()) return;
    if (content.front() == '#' || content.front() == '[') {
      if (reference_wanted_) {
        lines_.fail("expected ", ports_, " reference impedances after [Reference], found ",
                    reference_.size());
      }
      if (content.front() == '#')
        read_option_line(content.substr(1));
      else
        read_keyword(content);
    } else if (reference_wanted_) {
      read_reference(content);
    } else if (section_ == Section::Noise) {
      read_noise_data(content);
    } else if (version2_ && section_ != Section::Network) {
      lines_.fail("expected [Network Data] before the data, found ", found(next_token(content)));
    } else {
      read_network_data(content);
    }
  }

  // Units, parameter, format and "R value" in any order and case; the first option line counts,
  // later ones are ignored. Several R values (one per port) are taken in any version.
  void read_option_line(std::string_view text) {
    if (option_line_ != 0) return;
    if (data_started()) lines_.fail("expected the option line before the data, found it after");
    option_line_ = lines_.number();
    std::string_view t = next_token(text);
    while (!t.empty()) {
      if (iequals(t, "Hz")) {
        unit_ = 1.0;
      } else if (iequals(t, "kHz")) {
        unit_ = 1e3;
      } else if (iequals(t, "MHz")) {
        unit_ = 1e6;
      } else if (iequals(t, "GHz")) {
        unit_ = 1e9;
      } else if (iequals(t, "S") || iequals(t, "Y") || iequals(t, "Z") || iequals(t, "H") ||
                 iequals(t, "G")) {
        const char c = static_cast<char>(t.front() & ~0x20);
        parameter_ = c == 'S'   ? Parameter::S
                     : c == 'Y' ? Parameter::Y
                     : c == 'Z' ? Parameter::Z
                     : c == 'H' ? Parameter::H
                                : Parameter::G;
      } else if (iequals(t, "MA")) {
        format_ = ValueFormat::MA;
      } else if (iequals(t, "DB")) {
        format_ = ValueFormat::DB;
      } else if (iequals(t, "RI")) {
        format_ = ValueFormat::RI;
      } else if (iequals(t, "R")) {
        option_r_.clear();
        double v = 0.0;
        for (t = next_token(text); parse_number(t, v); t = next_token(text))
          option_r_.push_back(v);
        if (option_r_.empty())
          lines_.fail("expected a reference impedance after R, found ", found(t));
        continue;
      } else {
        lines_.fail(
            "expected Hz, kHz, MHz, GHz, S, Y, Z, H, G, MA, DB, RI or R on the option line, "
            "found ",
            found(t));
      }
      t = next_token(text);
    }
  }

  void read_keyword(std::string_view text) {
    const std::size_t close = text.find(']');
    if (close == std::string_view::npos) lines_.fail("expected a keyword, found ", found(text));
    const std::string_view keyword = text.substr(0, close + 1);
    const std::string_view name = text.substr(1, close - 1);
    std::string_view rest = text.substr(close + 1);
    if (!version2_ && !iequals(name, "Version"))
      lines_.fail("expected [Version] before any other keyword, found ", found(keyword));
    // The layout of the values may not change once they have begun.
    if (data_started() && !iequals(name, "Noise Data") && !iequals(name, "End") &&
        !iequals(name, "Begin Information") && !iequals(name, "End Information"))
      lines_.fail("expected [Noise Data] or [End] after the network data, found ", found(keyword));
    if (iequals(name, "Version")) {
      const std::string_view v = next_token(rest);
      if (v != "2.0" && v != "2.1")
        lines_.fail("expected 2.0 or 2.1 after [Version], found ", found(v));
      version2_ = true;
    } else if (iequals(name, "Number of Ports")) {
      set_ports(positive_count(next_token(rest)));
    } else if (iequals(name, "Two-Port Data Order")) {
      const std::string_view v = next_token(rest);
      if (v != "12_21" && v != "21_12")
        lines_.fail("expected 12_21 or 21_12 after [Two-Port Data Order], found ", found(v));
      order_21_12_ = v == "21_12";
    } else if (iequals(name, "Number of Frequencies")) {
      declared_frequencies_ = count(next_token(rest));
      frequencies_declared_ = true;
    } else if (iequals(name, "Number of Noise Frequencies")) {
      declared_noise_ = count(next_token(rest));
      noise_declared_ = true;
    } else if (iequals(name, "Reference")) {
      if (ports_ == 0) lines_.fail("expected [Number of Ports] before [Reference], found none");
      reference_.clear();
      reference_line_ = lines_.number();
      reference_wanted_ = true;
      read_reference(rest);
    } else if (iequals(name, "Matrix Format")) {
      const std::string_view v = next_token(rest);
      if (iequals(v, "Full")) {
        matrix_format_ = MatrixFormat::Full;
      } else if (iequals(v, "Lower")) {
        matrix_format_ = MatrixFormat::Lower;
      } else if (iequals(v, "Upper")) {
        matrix_format_ = MatrixFormat::Upper;
      } else {
        lines_.fail("expected Full, Lower or Upper after [Matrix Format], found ", found(v));
      }
    } else if (iequals(name, "Mixed-Mode Order")) {
      lines_.fail(
          "expected single-ended data, found [Mixed-Mode Order] (mixed-mode data is not read)");
    } else if (iequals(name, "Begin Information")) {
      in_information_ = true;
    } else if (iequals(name, "End Information")) {
      // A stray end of an information block closes nothing.
    } else if (iequals(name, "Network Data")) {
      if (ports_ == 0) lines_.fail("expected [Number of Ports] before [Network Data], found none");
      section_ = Section::Network;
    } else if (iequals(name, "Noise Data")) {
      end_network_data();
      section_ = Section::Noise;
    } else if (iequals(name, "End")) {
      ended_ = true;
    } else {
      lines_.fail("expected a Touchstone keyword, found ", found(keyword));
    }
  }

  void read_reference(std::string_view text) {
    for (std::string_view t = next_token(text); !t.empty(); t = next_token(text)) {
      if (reference_.size() == ports_) {
        lines_.fail("expected ", ports_, " reference impedances after [Reference], found ",
                    ports_ + 1 + count_tokens(text));
      }
      reference_.push_back(number(t));
    }
    reference_wanted_ = reference_.size() < ports_;
  }

  void read_network_data(std::string_view text) {
    if (ports_ == 0) {
      if (extension_ports_ == 0)
        lines_.fail("expected [Number of Ports] or a .sNp file name, found neither");
      set_ports(extension_ports_);
    }
    const std::size_t k = values_per_frequency();
    for (std::string_view t = next_token(text); !t.empty(); t = next_token(text)) {
      const double v = number(t);
      if (values_.empty() || values_.size() == k) {
        if (values_.size() == k) finish_sample();
        const double f = frequency(v, t);
        if (frequencies_ > 0 && !(f > previous_)) {
          // Version 1 two-port files append their noise block where the frequency falls back.
          if (!version2_ && ports_ == 2) {
            section_ = Section::Noise;
            read_noise_data(std::string_view(t.data(), text.data() + text.size() - t.data()));
            return;
          }
          lines_.fail("expected a frequency above ", frequency_token_, ", found ", t);
        }
        previous_ = f;
        frequency_token_.assign(t.data(), t.size());
      }
      values_.push_back(v);
      if (values_.size() == k && count_tokens(text) != 0) {
        lines_.fail("expected ", k, " values for the frequency ", frequency_token_, ", found ",
                    k + count_tokens(text));
      }
    }
  }

  void read_noise_data(std::string_view text) {
    for (std::string_view t = next_token(text); !t.empty(); t = next_token(text)) {
      const double v = number(t);
      if (noise_count_ == 0) {
        const double f = frequency(v, t);
        if (noise_lines_ > 0 && !(f > noise_previous_))
          lines_.fail("expected a frequency above ", noise_token_, ", found ", t);
        noise_previous_ = f;
        noise_token_.assign(t.data(), t.size());
      }
      noise_values_[noise_count_++] = v;
      if (noise_count_ < kNoiseValues) continue;
      if (count_tokens(text) != 0) {
        lines_.fail("expected ", kNoiseValues, " values for the noise frequency ", noise_token_,
                    ", found ", kNoiseValues + count_tokens(text));
      }
      noise_count_ = 0;
      ++noise_lines_;
      if (noise_ == nullptr) continue;
      // Version 1 stores the noise resistance normalised to the reference impedance.
      const double r = version2_ || zref_.empty() ? 1.0 : zref_[0];
      noise_read_.push_back({noise_values_[0] * unit_, noise_values_[1],
                             std::polar(noise_values_[2], noise_values_[3] * kDegree),
                             noise_values_[4] * r});
    }
  }

  // Comments that carry data: port names anywhere, and the field-solver lines after the values
  // of a frequency. Anything else is a comment.
  void read_comment(std::string_view text) {
    text = trim(text);
    std::uint64_t k = 0;
    std::string_view name;
    if (parse_port_name(text, k, name)) {
      port_names_.emplace_back(k, std::string(name));
      return;
    }
    for (int kind = 0; kind < 2; ++kind) {
      const std::string_view word = kSolverWords[kind];
      if (!istarts_with(text, word)) continue;
      std::string_view rest = trim(text.substr(word.size()));
      if (!rest.empty() && rest.front() == '!') rest.remove_prefix(1);
      solver_values_.clear();
      if (!read_numbers(rest, solver_values_)) return;
      solver_kind_ = kind;
      solver_line_ = lines_.number();
      return;
    }
  }

  // A comment line of numbers only continues the open field-solver comment.
  bool continue_solver_comment(std::string_view text) {
    text = trim(text);
    if (!text.empty() && text.front() == '!') text.remove_prefix(1);
    const std::size_t before = solver_values_.size();
    if (trim(text).empty() || !read_numbers(text, solver_values_)) {
      solver_values_.resize(before);
      return false;
    }
    return true;
  }

  void close_solver_comment() {
    const int kind = solver_kind_;
    solver_kind_ = -1;
    // Before the first values (a header comment) or in the noise block it is only a comment.
    if (values_.empty() || section_ == Section::Noise) return;
    const std::size_t k = values_per_frequency();
    if (values_.size() != k) {
      lines_.fail_at(solver_line_, "expected ", k, " values for the frequency ", frequency_token_,
                     ", found ", values_.size());
    }
    const std::size_t n = solver_values_.size();
    if (n == 2 * ports_) {
      solver_found_[kind] = true;
      solver_[kind].assign(solver_values_.begin(), solver_values_.end());
    } else if (n != 2 * ports_ * ports_) {
      // The matrix form (terminal data) is skipped; any other count is a damaged line.
      lines_.fail_at(solver_line_, "expected ", 2 * ports_, " values after \"! ",
                     kSolverWords[kind], "\", found ", n);
    }
  }

  void end_network_data() {
    if (values_.empty()) return;
    const std::size_t k = values_per_frequency();
    if (values_.size() != k) {
      lines_.fail("expected ", k, " values for the frequency ", frequency_token_, ", found ",
                  values_.size());
    }
    finish_sample();
  }

  std::complex<double> value(std::size_t index) const {
    const double a = values_[1 + 2 * index];
    const double b = values_[2 + 2 * index];
    switch (format_) {
      case ValueFormat::RI:
        return {a, b};
      case ValueFormat::MA:
        return std::polar(a, b * kDegree);
      case ValueFormat::DB:
        break;
    }
    return std::polar(std::pow(10.0, a / 20.0), b * kDegree);
  }

  void prepare() {
    prepared_ = true;
    for (int kind = 0; kind < 2; ++kind) {
      first_solver_[kind] = solver_found_[kind];
      for (std::size_t i = 0; solver_found_[kind] && i < ports_; ++i)
        names_.emplace_back(kSolverData[kind], i);
    }
    result_.reset(ports_, names_);
    if ((parameter_ == Parameter::H || parameter_ == Parameter::G) && ports_ != 2) {
      lines_.fail_at(option_line_, "expected 2 ports for ", parameter_ == Parameter::H ? "H" : "G",
                     " parameters, found ", ports_);
    }
    std::size_t line = option_line_;
    zref_.assign(ports_, kDefaultReference);
    if (!reference_.empty() && reference_.size() != ports_) {
      lines_.fail_at(reference_line_, "expected ", ports_,
                     " reference impedances after [Reference], found ", reference_.size());
    }
    if (!reference_.empty()) {
      zref_ = reference_;
      line = reference_line_;
    } else if (option_r_.size() == 1) {
      zref_.assign(ports_, option_r_[0]);
    } else if (option_r_.size() == ports_) {
      zref_ = option_r_;
    } else if (!option_r_.empty()) {
      lines_.fail_at(option_line_, "expected 1 or ", ports_,
                     " reference impedances after R, found ", option_r_.size());
    }
    for (double z : zref_) {
      if (!(z > 0.0) || !std::isfinite(z))
        lines_.fail_at(line, "expected a positive reference impedance, found ", z);
    }
    // Version 1 files normalise Y, Z, H and G to the reference impedance.
    normalised_ = version2_ ? std::vector<std::complex<double>>(zref_.begin(), zref_.end())
                            : std::vector<std::complex<double>>(ports_, 1.0);
  }

  void finish_sample() {
    if (!prepared_) prepare();
    if (solver_found_[0] != first_solver_[0] || solver_found_[1] != first_solver_[1]) {
      lines_.fail(
          "expected the same field-solver comments for every frequency, found a difference at "
          "the frequency ",
          frequency_token_);
    }
    SMatrixSample s(ports_, values_[0] * unit_, names_);
    std::vector<std::complex<double>>& m = s.S();
    const std::size_t n = ports_;
    std::size_t index = 0;
    if (matrix_format_ != MatrixFormat::Full) {
      for (std::size_t i = 0; i < n; ++i) {
        const std::size_t first = matrix_format_ == MatrixFormat::Lower ? 0 : i;
        const std::size_t last = matrix_format_ == MatrixFormat::Lower ? i + 1 : n;
        for (std::size_t j = first; j < last; ++j) {
          m[i * n + j] = value(index++);
          m[j * n + i] = m[i * n + j];
        }
      }
    } else if (n == 2 && order_21_12_) {
      m[0] = value(0);
      m[2] = value(1);
      m[1] = value(2);
      m[3] = value(3);
    } else {
      for (std::size_t i = 0; i < n * n; ++i)
        m[i] = value(i);
    }
    switch (parameter_) {
      case Parameter::S:
        break;
      case Parameter::Y:
        m = y_to_s(m, normalised_);
        break;
      case Parameter::Z:
        m = z_to_s(m, normalised_);
        break;
      case Parameter::H:
        m = h_to_s(m, normalised_);
        break;
      case Parameter::G:
        m = g_to_s(m, normalised_);
        break;
    }
    for (std::size_t i = 0; i < n; ++i)
      s.Zref(i) = zref_[i];
    for (int kind = 0; kind < 2; ++kind) {
      for (std::size_t i = 0; solver_found_[kind] && i < n; ++i)
        s.set({kSolverData[kind], i}, {solver_[kind][2 * i], solver_[kind][2 * i + 1]});
      solver_found_[kind] = false;
    }
    result_.add(std::move(s));
    values_.clear();
    ++frequencies_;
  }

  void finish() {
    if (solver_kind_ >= 0) close_solver_comment();
    if (in_information_) lines_.fail("expected [End Information], found end of file");
    if (reference_wanted_) {
      lines_.fail("expected ", ports_, " reference impedances after [Reference], found ",
                  reference_.size());
    }
    if (ports_ == 0) {
      if (extension_ports_ == 0)
        lines_.fail("expected [Number of Ports] or a .sNp file name, found neither");
      set_ports(extension_ports_);
    }
    end_network_data();
    if (noise_count_ != 0) {
      lines_.fail("expected ", kNoiseValues, " values for the noise frequency ", noise_token_,
                  ", found ", noise_count_);
    }
    if (frequencies_declared_ && declared_frequencies_ != frequencies_) {
      lines_.fail("expected ", declared_frequencies_,
                  " frequencies as [Number of Frequencies] says, found ", frequencies_);
    }
    if (noise_declared_ && declared_noise_ != noise_lines_) {
      lines_.fail("expected ", declared_noise_,
                  " noise frequencies as [Number of Noise Frequencies] says, found ", noise_lines_);
    }
    if (!prepared_) result_.reset(ports_, {});
    for (const auto& [k, name] : port_names_) {
      if (k <= ports_) result_.name(k - 1) = name;
    }
  }

  // A file of `size` bytes holds at most one matrix of size entries, so a larger port count is
  // refused before anything is sized by it.
  void set_ports(std::uint64_t n) {
    if (n > size_ / n) {
      std::uint64_t most = static_cast<std::uint64_t>(std::sqrt(static_cast<double>(size_)));
      while (most * most > size_)
        --most;
      while ((most + 1) * (most + 1) <= size_)
        ++most;
      lines_.fail("expected at most ", most, " ports in a file of ", size_, " bytes, found ", n);
    }
    ports_ = n;
  }

  double frequency(double value, std::string_view token) const {
    const double f = value * unit_;
    if (!(f >= 0.0) || !std::isfinite(f))
      lines_.fail("expected a finite frequency of at least 0, found ", token);
    return f;
  }

  bool data_started() const { return frequencies_ > 0 || !values_.empty() || noise_lines_ > 0; }

  std::size_t values_per_frequency() const {
    const std::size_t entries =
        matrix_format_ == MatrixFormat::Full ? ports_ * ports_ : ports_ * (ports_ + 1) / 2;
    return 1 + 2 * entries;
  }

  double number(std::string_view token) const {
    double v = 0.0;
    if (!parse_number(token, v)) lines_.fail("expected a number, found ", found(token));
    return v;
  }

  std::uint64_t count(std::string_view token) const {
    std::uint64_t v = 0;
    if (!parse_count(token, v)) lines_.fail("expected a whole number, found ", found(token));
    return v;
  }

  std::uint64_t positive_count(std::string_view token) const {
    std::uint64_t v = 0;
    if (!parse_count(token, v) || v == 0)
      lines_.fail("expected a positive whole number, found ", found(token));
    return v;
  }

  LineReader lines_;
  std::uint64_t size_;
  std::uint64_t extension_ports_;
  std::vector<NoiseParameters>* noise_ = nullptr;
  SMatrixContainer result_;
  std::vector<NoiseParameters> noise_read_;
  bool ended_ = false;

  // Header state.
  bool version2_ = false;
  std::size_t ports_ = 0;
  double unit_ = 1e9;
  Parameter parameter_ = Parameter::S;
  ValueFormat format_ = ValueFormat::MA;
  MatrixFormat matrix_format_ = MatrixFormat::Full;
  bool order_21_12_ = true;
  std::vector<double> option_r_;
  std::size_t option_line_ = 0;
  std::vector<double> reference_;
  std::size_t reference_line_ = 0;
  bool reference_wanted_ = false;
  bool in_information_ = false;
  bool frequencies_declared_ = false;
  std::uint64_t declared_frequencies_ = 0;
  bool noise_declared_ = false;
  std::uint64_t declared_noise_ = 0;
  std::vector<std::pair<std::uint64_t, std::string>> port_names_;
  Section section_ = Section::Header;

  // Network data: the values of the current frequency, reused from one to the next.
  bool prepared_ = false;
  std::vector<double> zref_;
  std::vector<std::complex<double>> normalised_;
  std::vector<PortDataName> names_;
  std::vector<double> values_;
  std::string frequency_token_;
  double previous_ = 0.0;
  std::size_t frequencies_ = 0;

  // Field-solver comments: the one being collected and those found for the current frequency.
  int solver_kind_ = -1;
  std::size_t solver_line_ = 0;
  std::vector<double> solver_values_;
  std::vector<double> solver_[2];
  bool solver_found_[2] = {false, false};
  bool first_solver_[2] = {false, false};

  // Noise data.
  double noise_values_[kNoiseValues] = {};
  std::size_t noise_count_ = 0;
  std::size_t noise_lines_ = 0;
  double noise_previous_ = 0.0;
  std::string noise_token_;
};

}  // namespace

void parse_touchstone(Window& window, const std::string& path, std::uint64_t size,
                      SMatrixContainer& container, std::vector<NoiseParameters>* noise) {
  TouchstoneReader(window, path, size).read(container, noise);
}

void parse_touchstone(std::string_view text, const std::string& path, SMatrixContainer& container,
                      std::vector<NoiseParameters>* noise) {
  Window window(text);
  parse_touchstone(window, path, text.size(), container, noise);
}

}  // namespace korvantix::detail
