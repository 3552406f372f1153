// CITIfile: the first package. Declarations (VAR, DATA) come first, then the frequency list and
// one BEGIN ... END block per DATA line in declaration order. Values are kept per block until the
// end, when the samples are built: only then is the port count known and every block checked.
#include <korvantix/container.hpp>
#include <korvantix/import.hpp>

#include <algorithm>
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
// The reference impedance of a port without a PORTZ block.
constexpr double kDefaultReference = 50.0;

enum class ValueFormat { RI, MAG, MAGANGLE, DBANGLE };
enum class Kind { S, PortZ, PortData };
enum class State { Declarations, FrequencyList, SegmentList, Block };

struct Block {
  Kind kind = Kind::S;
  std::uint64_t i = 0;  // S and PORTZ: 1-based; port data: the 0-based index
  std::uint64_t j = 0;
  std::string name;  // the DATA name as written, for messages and port data
  ValueFormat format = ValueFormat::RI;
  std::size_t line = 0;
  std::vector<std::complex<double>> values;
};

struct Segment {
  double start;
  double stop;
  std::uint64_t count;
};

class CitiReader {
 public:
  CitiReader(Window& window, const std::string& path) : lines_(window, path) {}

  void read(SMatrixContainer& container) {
    std::string_view line;
    while (lines_.next(line)) {
      if (!read_line(trim(line))) break;
    }
    finish();
    container = std::move(result_);
  }

 private:
  // False at the start of a second package, which is not read.
  bool read_line(std::string_view text) {
    if (text.empty()) return true;
    std::string_view rest = text;
    const std::string_view keyword = next_token(rest);
    if (!started_) {
      if (keyword != "CITIFILE")
        lines_.fail("expected CITIFILE on the first line, found ", found(keyword));
      started_ = true;
      return true;
    }
    if (text.front() == '#') {
      read_comment(text.substr(1));
      return true;
    }
    switch (state_) {
      case State::Block:
        if (keyword == "END")
          end_block();
        else
          read_data_line(text);
        return true;
      case State::FrequencyList:
        if (keyword == "VAR_LIST_END")
          end_list(keyword);
        else
          read_frequencies(text);
        return true;
      case State::SegmentList:
        if (keyword == "SEG_LIST_END")
          end_list(keyword);
        else if (keyword == "SEG")
          read_segment(rest);
        else
          lines_.fail("expected SEG or SEG_LIST_END, found ", found(keyword));
        return true;
      case State::Declarations:
        break;
    }
    if (keyword == "CITIFILE") return false;
    if (keyword == "NAME" || keyword == "COMMENT" || keyword == "CONSTANT") return true;
    if (keyword == "VAR") {
      read_var(rest);
    } else if (keyword == "DATA") {
      read_data(rest);
    } else if (keyword == "VAR_LIST_BEGIN" || keyword == "SEG_LIST_BEGIN") {
      read_list_begin(keyword);
    } else if (keyword == "BEGIN") {
      read_block_begin();
    } else {
      lines_.fail("expected a CITIfile keyword, found ", found(keyword));
    }
    return true;
  }

  // Port names as this library writes them: "#<word> Port[<n>] <name>".
  void read_comment(std::string_view text) {
    text = trim(text);
    if (!istarts_with(text, "Port[")) next_token(text);
    std::uint64_t k = 0;
    std::string_view name;
    if (parse_port_name(text, k, name)) port_names_.emplace_back(k, std::string(name));
  }

  void read_var(std::string_view text) {
    const std::string_view all = trim(text);
    if (var_line_ != 0) lines_.fail("expected one VAR line, found a second");
    const std::string_view name = next_token(text);
    const std::string_view format = next_token(text);
    if (!iequals(name, "freq") || format != "MAG" || !parse_count(next_token(text), declared_) ||
        !next_token(text).empty())
      lines_.fail("expected VAR freq MAG <count>, found ", found(all));
    var_line_ = lines_.number();
  }

  void read_data(std::string_view text) {
    const std::string_view key = next_token(text);
    const std::string_view format = next_token(text);
    Block block;
    block.line = lines_.number();
    if (!parse_key(key, block))
      lines_.fail("expected a data name such as S[1,2], PORTZ[1] or Gamma[0], found ", found(key));
    if (format == "RI") {
      block.format = ValueFormat::RI;
    } else if (format == "MAG") {
      block.format = ValueFormat::MAG;
    } else if (format == "MAGANGLE") {
      block.format = ValueFormat::MAGANGLE;
    } else if (format == "DBANGLE") {
      block.format = ValueFormat::DBANGLE;
    } else {
      lines_.fail("expected RI, MAG, MAGANGLE or DBANGLE, found ", found(format));
    }
    blocks_.push_back(std::move(block));
  }

  static bool parse_key(std::string_view key, Block& block) {
    const std::size_t open = key.find('[');
    if (open == 0 || open == std::string_view::npos || key.back() != ']') return false;
    const std::string_view name = key.substr(0, open);
    const std::string_view inside = key.substr(open + 1, key.size() - open - 2);
    block.name.assign(key.data(), key.size());
    if (name == "S") {
      const std::size_t comma = inside.find(',');
      block.kind = Kind::S;
      return comma != std::string_view::npos && parse_count(inside.substr(0, comma), block.i) &&
             parse_count(inside.substr(comma + 1), block.j) && block.i > 0 && block.j > 0;
    }
    if (name == "PORTZ") {
      block.kind = Kind::PortZ;
      return parse_count(inside, block.i) && block.i > 0;
    }
    block.kind = Kind::PortData;
    block.name.assign(name.data(), name.size());
    return parse_count(inside, block.i);
  }

  void read_list_begin(std::string_view keyword) {
    if (var_line_ == 0)
      lines_.fail("expected VAR freq MAG <count> before ", keyword, ", found none");
    if (listed_) lines_.fail("expected one frequency list, found a second");
    listed_ = true;
    state_ = keyword == "VAR_LIST_BEGIN" ? State::FrequencyList : State::SegmentList;
  }

  void check_frequency(double f, std::string_view token) {
    if (!(f >= 0.0) || !std::isfinite(f))
      lines_.fail("expected a finite frequency of at least 0, found ", token);
    if (listed_count_ > 0 && !(f > previous_))
      lines_.fail("expected a frequency above ", previous_token_, ", found ", token);
    previous_ = f;
    previous_token_.assign(token.data(), token.size());
  }

  void read_frequencies(std::string_view text) {
    for (std::string_view t = next_token(text); !t.empty(); t = next_token(text)) {
      const double f = number(t);
      check_frequency(f, t);
      if (listed_count_ == declared_) too_many_frequencies();
      frequencies_.push_back(f);
      ++listed_count_;
    }
  }

  [[noreturn]] void too_many_frequencies() const {
    lines_.fail("expected ", declared_, " frequencies as VAR freq says, found more");
  }

  // "SEG start stop count": count frequencies evenly spaced from start to stop. They are made
  // only once the data blocks have shown that the file holds that many values.
  void read_segment(std::string_view text) {
    const std::string_view start_token = next_token(text);
    const std::string_view stop_token = next_token(text);
    const std::string_view count_token = next_token(text);
    Segment s{number(start_token), number(stop_token), 0};
    if (!parse_count(count_token, s.count) || s.count == 0)
      lines_.fail("expected a positive whole number, found ", found(count_token));
    check_frequency(s.start, start_token);
    if (s.count > 1) {
      if (!(s.stop > s.start))
        lines_.fail("expected a frequency above ", start_token, ", found ", stop_token);
      check_frequency(s.stop, stop_token);
    }
    if (s.count > declared_ - listed_count_) too_many_frequencies();
    listed_count_ += s.count;
    segments_.push_back(s);
  }

  void end_list(std::string_view keyword) {
    if (listed_count_ != declared_) {
      lines_.fail("expected ", declared_, " frequencies as VAR freq says, found ", listed_count_,
                  " before ", keyword);
    }
    state_ = State::Declarations;
  }

  void read_block_begin() {
    if (var_line_ == 0) lines_.fail("expected VAR freq MAG <count> before BEGIN, found none");
    if (next_block_ == blocks_.size()) {
      lines_.fail("expected ", blocks_.size(), " data blocks, one per DATA line, found more");
    }
    state_ = State::Block;
  }

  void read_data_line(std::string_view text) {
    Block& block = blocks_[next_block_];
    const std::size_t wanted = block.format == ValueFormat::MAG ? 1 : 2;
    double v[2] = {0.0, 0.0};
    std::size_t n = 0;
    for (std::string_view t = next_token(text, true); !t.empty(); t = next_token(text, true)) {
      if (n == wanted)
        lines_.fail("expected ", wanted, " values on a data line, found ",
                    n + 1 + count_tokens(text, true));
      v[n++] = number(t);
    }
    if (n != wanted) lines_.fail("expected ", wanted, " values on a data line, found ", n);
    if (block.values.size() == declared_) {
      lines_.fail("expected ", declared_, " data lines between BEGIN and END, found more");
    }
    switch (block.format) {
      case ValueFormat::RI:
        block.values.emplace_back(v[0], v[1]);
        break;
      case ValueFormat::MAG:
        block.values.emplace_back(v[0], 0.0);
        break;
      case ValueFormat::MAGANGLE:
        block.values.push_back(std::polar(v[0], v[1] * kDegree));
        break;
      case ValueFormat::DBANGLE:
        block.values.push_back(std::polar(std::pow(10.0, v[0] / 20.0), v[1] * kDegree));
        break;
    }
  }

  void end_block() {
    const std::size_t n = blocks_[next_block_].values.size();
    if (n != declared_)
      lines_.fail("expected ", declared_, " data lines between BEGIN and END, found ", n);
    ++next_block_;
    state_ = State::Declarations;
  }

  void finish() {
    if (!started_) lines_.fail("expected CITIFILE on the first line, found end of file");
    if (state_ == State::Block) lines_.fail("expected END, found end of file");
    if (state_ == State::FrequencyList) lines_.fail("expected VAR_LIST_END, found end of file");
    if (state_ == State::SegmentList) lines_.fail("expected SEG_LIST_END, found end of file");
    if (var_line_ == 0) lines_.fail("expected VAR freq MAG <count>, found none");
    if (declared_ > 0 && !listed_)
      lines_.fail("expected VAR_LIST_BEGIN or SEG_LIST_BEGIN, found none");
    if (next_block_ != blocks_.size()) {
      lines_.fail("expected ", blocks_.size(), " data blocks, one per DATA line, found ",
                  next_block_);
    }
    const std::size_t n = port_count();
    // Every S block holds `declared_` values, so the segment frequencies are now justified.
    for (const Segment& s : segments_) {
      for (std::uint64_t k = 0; k < s.count; ++k) {
        frequencies_.push_back(s.count == 1
                                   ? s.start
                                   : s.start + (s.stop - s.start) * static_cast<double>(k) /
                                                   static_cast<double>(s.count - 1));
      }
    }
    std::vector<const Block*> s_blocks(n * n, nullptr);
    std::vector<const Block*> zref_blocks(n, nullptr);
    std::vector<std::pair<PortDataName, const Block*>> data;
    for (const Block& b : blocks_) {
      const Block** slot = nullptr;
      if (b.kind == Kind::S) {
        slot = &s_blocks[(b.i - 1) * n + (b.j - 1)];
      } else if (b.kind == Kind::PortZ) {
        if (b.i > n) lines_.fail_at(b.line, "expected PORTZ[1] to PORTZ[", n, "], found ", b.name);
        slot = &zref_blocks[b.i - 1];
      } else {
        if (b.i >= n) {
          lines_.fail_at(b.line, "expected an index from 0 to ", n - 1, ", found ", b.name, '[',
                         b.i, ']');
        }
        data.emplace_back(PortDataName(b.name, b.i), &b);
        continue;
      }
      if (*slot != nullptr)
        lines_.fail_at(b.line, "expected one DATA line for ", b.name, ", found a second");
      *slot = &b;
    }
    std::sort(data.begin(), data.end(),
              [](const auto& a, const auto& b) { return a.first < b.first; });
    std::vector<PortDataName> names;
    for (const auto& [key, block] : data) {
      if (!names.empty() && names.back() == key) {
        lines_.fail_at(block->line, "expected one DATA line for ", key.first, '[', key.second,
                       "], found a second");
      }
      names.push_back(key);
    }
    result_.reset(n, names);
    for (std::size_t t = 0; t < frequencies_.size(); ++t) {
      SMatrixSample s(n, frequencies_[t], names);
      for (std::size_t k = 0; k < n * n; ++k)
        s.S()[k] = s_blocks[k]->values[t];
      for (std::size_t i = 0; i < n; ++i)
        s.Zref(i) = zref_blocks[i] != nullptr ? zref_blocks[i]->values[t] : kDefaultReference;
      for (const auto& [key, block] : data)
        s.set(key, block->values[t]);
      result_.add(std::move(s));
    }
    for (const auto& [k, name] : port_names_) {
      if (k <= n) result_.name(k - 1) = name;
    }
  }

  // The largest S index; the S blocks must cover the whole matrix. Counting them first keeps a
  // large index from sizing anything.
  std::size_t port_count() const {
    std::uint64_t n = 0;
    std::uint64_t count = 0;
    for (const Block& b : blocks_) {
      if (b.kind != Kind::S) continue;
      n = std::max({n, b.i, b.j});
      ++count;
    }
    if (count == 0) lines_.fail("expected DATA S[i,j] lines, found none");
    if (n > count / n) {
      lines_.fail("expected DATA S[i,j] for every i and j up to ", n, ", found ", count,
                  " of them");
    }
    std::vector<bool> seen(n * n, false);
    for (const Block& b : blocks_) {
      if (b.kind != Kind::S) continue;
      const std::size_t k = (b.i - 1) * n + (b.j - 1);
      if (seen[k])
        lines_.fail_at(b.line, "expected one DATA line for ", b.name, ", found a second");
      seen[k] = true;
    }
    return n;
  }

  double number(std::string_view token) const {
    double v = 0.0;
    if (!parse_number(token, v)) lines_.fail("expected a number, found ", found(token));
    return v;
  }

  LineReader lines_;
  SMatrixContainer result_;
  bool started_ = false;
  State state_ = State::Declarations;
  std::size_t var_line_ = 0;
  std::uint64_t declared_ = 0;
  bool listed_ = false;
  std::uint64_t listed_count_ = 0;
  std::vector<double> frequencies_;
  std::vector<Segment> segments_;
  double previous_ = 0.0;
  std::string previous_token_;
  std::vector<Block> blocks_;
  std::size_t next_block_ = 0;
  std::vector<std::pair<std::uint64_t, std::string>> port_names_;
};

}  // namespace

void parse_citi(Window& window, const std::string& path, SMatrixContainer& container) {
  CitiReader(window, path).read(container);
}

void parse_citi(std::string_view text, const std::string& path, SMatrixContainer& container) {
  Window window(text);
  parse_citi(window, path, container);
}

}  // namespace korvantix::detail
