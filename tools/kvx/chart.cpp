#include "chart.hpp"

#include "drawing.hpp"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <limits>
#include <sstream>

namespace kvx {

namespace {

constexpr double kWidth = 900;
constexpr double kHeight = 520;
constexpr double kLeft = 78;
constexpr double kRight = 650;
constexpr double kTop = 52;
constexpr double kBottom = 460;
constexpr const char* kFont = "font-family=\"Helvetica, Arial, sans-serif\"";

std::string short_number(double value) {
  char text[32];
  std::snprintf(text, sizeof text, "%g", value);
  return text;
}

std::string num(double value) {
  char text[32];
  std::snprintf(text, sizeof text, "%.2f", value);
  return text;
}

// The opening of every chart: white page, title, and a clip path for the curves.
void open_svg(std::ostringstream& out, const std::string& id, const std::string& title,
              const std::string& clip_shape) {
  out << "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"" << kWidth << "\" height=\"" << kHeight
      << "\" viewBox=\"0 0 " << kWidth << ' ' << kHeight << "\" " << kFont
      << ">\n<rect width=\"100%\" height=\"100%\" fill=\"#ffffff\"/>\n"
      << "<defs><clipPath id=\"" << id << "-clip\">" << clip_shape << "</clipPath></defs>\n"
      << "<text x=\"" << kLeft << "\" y=\"30\" font-size=\"17\" font-weight=\"600\" "
      << "fill=\"#222\">" << escape_xml(title) << "</text>\n";
}

// Whether series k repeats an earlier one exactly (S22 of a symmetric filter on S11): it is
// drawn dashed so that both colours show.
bool repeats(const std::vector<Series>& series, std::size_t k) {
  for (std::size_t j = 0; j < k; ++j)
    if (series[j].segments == series[k].segments) return true;
  return false;
}

void legend(std::ostringstream& out, const std::vector<Series>& series) {
  double y = kTop + 8;
  for (std::size_t k = 0; k < series.size(); ++k, y += 22) {
    std::string label = series[k].label;
    if (label.size() > 34) label = label.substr(0, 33) + "\u2026";
    out << "<line x1=\"" << kRight + 24 << "\" y1=\"" << y << "\" x2=\"" << kRight + 50
        << "\" y2=\"" << y << "\" stroke=\"" << series_colour(k) << "\" stroke-width=\"3\""
        << (repeats(series, k) ? " stroke-dasharray=\"5 4\"" : "") << "/>"
        << "<text x=\"" << kRight + 58 << "\" y=\"" << y + 4 << "\" font-size=\"13\" fill=\"#222\">"
        << escape_xml(label) << "</text>\n";
  }
}

template <class Map>
void curves(std::ostringstream& out, const std::string& id, const std::vector<Series>& series,
            const Map& map) {
  out << "<g clip-path=\"url(#" << id << "-clip)\" fill=\"none\" stroke-width=\"1.8\" "
      << "stroke-linejoin=\"round\" stroke-linecap=\"round\">\n";
  for (std::size_t k = 0; k < series.size(); ++k) {
    const bool repeated = repeats(series, k);
    for (const auto& segment : series[k].segments) {
      if (segment.empty()) continue;
      out << "<polyline stroke=\"" << series_colour(k) << "\" "
          << (repeated ? "stroke-dasharray=\"7 7\" " : "") << "points=\"";
      for (const auto& [x, y] : segment) {
        const auto [px, py] = map(x, y);
        out << num(px) << ',' << num(py) << ' ';
      }
      // A single point would draw nothing; repeat it so the round cap shows a dot.
      if (segment.size() == 1) {
        const auto [px, py] = map(segment[0].first, segment[0].second);
        out << num(px) << ',' << num(py);
      }
      out << "\"/>\n";
    }
  }
  out << "</g>\n";
}

void text(std::ostringstream& out, double x, double y, const char* anchor, int size,
          const std::string& content, const char* colour = "#333") {
  out << "<text x=\"" << num(x) << "\" y=\"" << num(y) << "\" text-anchor=\"" << anchor
      << "\" font-size=\"" << size << "\" fill=\"" << colour << "\">" << escape_xml(content)
      << "</text>\n";
}

}  // namespace

std::string escape_xml(const std::string& in) {
  std::string out;
  for (const char ch : in)
    switch (ch) {
      case '&':
        out += "&amp;";
        break;
      case '<':
        out += "&lt;";
        break;
      case '>':
        out += "&gt;";
        break;
      case '"':
        out += "&quot;";
        break;
      case '\'':
        out += "&apos;";
        break;
      default:
        out += ch;
    }
  return out;
}

const char* series_colour(std::size_t k) {
  static const char* const kColours[] = {
      "#1f77b4", "#d62728", "#2ca02c", "#ff7f0e", "#9467bd", "#8c564b", "#e377c2", "#17becf",
      "#bcbd22", "#0b6e4f", "#393b79", "#ad494a", "#637939", "#e6550d", "#5254a3", "#843c39"};
  return kColours[k % 16];
}

std::string render_frequency_chart(const FrequencyChart& chart) {
  const std::string id = "c" + std::to_string(std::hash<std::string>{}(chart.title) % 1000000);
  double x_lo = std::numeric_limits<double>::infinity(), x_hi = -x_lo, y_lo = x_lo, y_hi = -x_lo;
  for (const auto& series : chart.series)
    for (const auto& segment : series.segments)
      for (const auto& [x, y] : segment) {
        if (chart.log_frequency && !(x > 0)) continue;
        x_lo = std::min(x_lo, x), x_hi = std::max(x_hi, x);
        y_lo = std::min(y_lo, y), y_hi = std::max(y_hi, y);
      }
  if (!(x_lo <= x_hi)) x_lo = chart.log_frequency ? 1.0 : 0.0, x_hi = x_lo + 1, y_lo = 0, y_hi = 1;
  if (chart.max_y_span > 0) y_lo = std::max(y_lo, y_hi - chart.max_y_span);
  const Axis y_axis = nice_axis(y_lo, y_hi, 6);
  const UnitScale unit = engineering_unit(std::max(std::abs(x_lo), std::abs(x_hi)), "Hz");

  double x_first = x_lo, x_last = x_hi;
  std::vector<LogTick> x_ticks;
  double x_step = 1;
  bool x_ticks_are_decades = false;
  if (chart.log_frequency) {
    if (!(x_hi > x_lo)) x_first = x_lo / 2, x_last = x_hi * 2;
    x_ticks = log_ticks(x_first, x_last);
    if (x_ticks.size() >= 2) x_step = (x_ticks[1].value - x_ticks[0].value) / unit.divisor;
    x_ticks_are_decades = x_last / x_first >= 10.0;
  } else {
    const Axis x_axis = nice_axis(x_lo / unit.divisor, x_hi / unit.divisor, 8);
    x_first = x_axis.first * unit.divisor, x_last = x_axis.last * unit.divisor;
    x_step = x_axis.step;
    for (const double value : x_axis.ticks())
      x_ticks.push_back({value * unit.divisor, true});
  }
  const auto map_x = [&](double x) {
    const double t = chart.log_frequency ? std::log(x / x_first) / std::log(x_last / x_first)
                                         : (x - x_first) / (x_last - x_first);
    return kLeft + t * (kRight - kLeft);
  };
  const auto map_y = [&](double y) {
    return kBottom - (y - y_axis.first) / (y_axis.last - y_axis.first) * (kBottom - kTop);
  };

  std::ostringstream out;
  open_svg(out, id, chart.title,
           "<rect x=\"" + num(kLeft) + "\" y=\"" + num(kTop) + "\" width=\"" + num(kRight - kLeft) +
               "\" height=\"" + num(kBottom - kTop) + "\"/>");
  out << "<g stroke-width=\"1\">\n";
  for (const double value : y_axis.ticks()) {
    const double y = map_y(value);
    out << "<line x1=\"" << kLeft << "\" y1=\"" << num(y) << "\" x2=\"" << kRight << "\" y2=\""
        << num(y) << "\" stroke=\"#dddddd\"/>\n";
    text(out, kLeft - 8, y + 4, "end", 12, tick_label(value, y_axis.step));
  }
  for (const auto& tick : x_ticks) {
    const double x = map_x(tick.value);
    out << "<line x1=\"" << num(x) << "\" y1=\"" << kTop << "\" x2=\"" << num(x) << "\" y2=\""
        << kBottom << "\" stroke=\"" << (tick.labelled ? "#dddddd" : "#eeeeee") << "\"/>\n";
    if (tick.labelled) {
      // Decades span several prefixes: each carries its own unit ("10 MHz", "1 GHz").
      const UnitScale own = engineering_unit(tick.value, "Hz");
      const std::string label = x_ticks_are_decades
                                    ? short_number(tick.value / own.divisor) + " " + own.unit
                                    : tick_label(tick.value / unit.divisor, x_step);
      text(out, x, kBottom + 19, "middle", 12, label);
    }
  }
  out << "</g>\n<rect x=\"" << kLeft << "\" y=\"" << kTop << "\" width=\"" << kRight - kLeft
      << "\" height=\"" << kBottom - kTop << "\" fill=\"none\" stroke=\"#555\"/>\n";
  text(out, (kLeft + kRight) / 2, kBottom + 44, "middle", 14,
       x_ticks_are_decades ? "Frequency" : "Frequency (" + unit.unit + ")", "#222");
  out << "<text transform=\"translate(24," << num((kTop + kBottom) / 2)
      << ") rotate(-90)\" text-anchor=\"middle\" font-size=\"14\" fill=\"#222\">"
      << escape_xml(chart.y_title) << "</text>\n";
  // Dense data would make a file of megabytes that draws no differently: keep a few points
  // per pixel column.
  std::vector<Series> drawn = chart.series;
  for (auto& series : drawn)
    for (auto& segment : series.segments)
      if (segment.size() > 2 * static_cast<std::size_t>(kRight - kLeft))
        segment = decimate(segment, [&](double x) { return std::lround(map_x(x)); });
  curves(out, id, drawn,
         [&](double x, double y) { return std::pair<double, double>(map_x(x), map_y(y)); });
  legend(out, chart.series);
  out << "</svg>\n";
  return out.str();
}

std::string render_smith_chart(const std::string& title, const std::vector<Series>& series) {
  const std::string id = "s" + std::to_string(std::hash<std::string>{}(title) % 1000000);
  constexpr double kRadius = 196;
  constexpr double kCx = (kLeft + kRight) / 2;
  constexpr double kCy = (kTop + kBottom) / 2 + 6;
  const auto map = [&](double re, double im) {
    return std::pair<double, double>(kCx + re * kRadius, kCy - im * kRadius);
  };
  const auto circle = [&](const Circle& c, const char* stroke, double width) {
    const auto [x, y] = map(c.cx, c.cy);
    return "<circle cx=\"" + num(x) + "\" cy=\"" + num(y) + "\" r=\"" + num(c.r * kRadius) +
           "\" fill=\"none\" stroke=\"" + stroke + "\" stroke-width=\"" + num(width) + "\"/>\n";
  };
  std::ostringstream out;
  open_svg(out, id, title,
           "<rect x=\"" + num(kLeft) + "\" y=\"" + num(kTop - 10) + "\" width=\"" +
               num(kRight - kLeft) + "\" height=\"" + num(kBottom - kTop + 20) + "\"/>");
  out << "<defs><clipPath id=\"" << id << "-disc\"><circle cx=\"" << kCx << "\" cy=\"" << kCy
      << "\" r=\"" << kRadius << "\"/></clipPath></defs>\n<g clip-path=\"url(#" << id
      << "-disc)\">\n";
  static const double kValues[] = {0.2, 0.5, 1.0, 2.0, 5.0};
  for (const double value : kValues) {
    out << circle(resistance_circle(value), "#d4d4d4", 1);
    out << circle(reactance_circle(value), "#d4d4d4", 1);
    out << circle(reactance_circle(-value), "#d4d4d4", 1);
  }
  out << "</g>\n<line x1=\"" << kCx - kRadius << "\" y1=\"" << kCy << "\" x2=\"" << kCx + kRadius
      << "\" y2=\"" << kCy << "\" stroke=\"#bbbbbb\"/>\n"
      << circle({0, 0, 1}, "#555555", 1.2);
  for (const double value : kValues) {
    const auto [x, y] = map((value - 1) / (value + 1), 0);
    text(out, x + 2, y - 4, "start", 10, short_number(value), "#777");
    for (const double sign : {1.0, -1.0}) {
      const auto [re, im] = reactance_on_rim(sign * value);
      const auto [px, py] = map(re * 1.09, im * 1.09);
      text(out, px, py + 4, "middle", 10, (sign > 0 ? "+j" : "\u2212j") + short_number(value),
           "#777");
    }
  }
  text(out, kCx - kRadius - 6, kCy + 4, "end", 10, "0", "#777");
  text(out, kCx + kRadius + 6, kCy + 4, "start", 10, "\u221e", "#777");
  curves(out, id, series, map);
  legend(out, series);
  out << "</svg>\n";
  return out.str();
}

}  // namespace kvx
