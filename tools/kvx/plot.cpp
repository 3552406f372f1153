// kvx plot: magnitude, phase or Smith chart of chosen entries as a self-contained SVG.

#include "chart.hpp"
#include "commands.hpp"
#include "drawing.hpp"

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <utility>

namespace kvx {

using namespace korvantix;

namespace {

// One S-matrix per point; a new segment starts where the container cannot bridge two points
// (a gap between stored samples and a model's band, or a point it cannot evaluate).
struct Trace {
  std::vector<std::vector<std::pair<double, SMatrixSample>>> segments;
};

constexpr std::size_t kModelPoints = 600;

Trace trace(const SMatrixContainer& c, bool log_frequency) {
  // (frequency, source): -1 for a stored sample, else the model's index.
  std::vector<std::pair<double, long>> points;
  for (auto s = c.begin_samples(); s != c.end_samples(); ++s)
    points.emplace_back(s->frequency(), -1);
  long index = 0;
  for (auto m = c.begin_models(); m != c.end_models(); ++m, ++index) {
    const double lo = m->from(), hi = m->to();
    const bool logarithmic = log_frequency && lo > 0;
    const std::size_t n = hi > lo ? kModelPoints : 1;
    for (std::size_t k = 0; k < n; ++k) {
      const double t = n == 1 ? 0 : static_cast<double>(k) / static_cast<double>(n - 1);
      points.emplace_back(k + 1 == n    ? hi
                          : logarithmic ? lo * std::pow(hi / lo, t)
                                        : lo + t * (hi - lo),
                          index);
    }
  }
  std::stable_sort(points.begin(), points.end(),
                   [](const auto& x, const auto& y) { return x.first < y.first; });
  Trace out;
  out.segments.emplace_back();
  long previous_source = -2;
  double previous_f = 0;
  for (const auto& [f, source] : points) {
    auto& segment = out.segments.back();
    bool joined =
        !segment.empty() && (source == previous_source || source == -1 || previous_source == -1);
    if (joined && source != previous_source) {
      try {
        c.evaluate(previous_f + (f - previous_f) / 2, MAG_PHASE);
      } catch (const std::exception&) {
        joined = false;
      }
    }
    if (!joined && !segment.empty()) out.segments.emplace_back();
    if (!out.segments.back().empty() && out.segments.back().back().first == f) continue;
    try {
      out.segments.back().emplace_back(f, c.evaluate(f, MAG_PHASE));
    } catch (const std::exception&) {
      if (!out.segments.back().empty()) out.segments.emplace_back();
    }
    previous_source = source;
    previous_f = f;
  }
  return out;
}

}  // namespace

std::string plot_svg(const SMatrixContainer& c, const std::string& title,
                     const std::vector<Entry>& entries, PlotKind kind, bool log_frequency) {
  const Trace data = trace(c, log_frequency);
  std::vector<Series> series;
  for (const auto& [row, column] : entries) {
    Series s{entry_label(c, row, column), {}};
    for (const auto& segment : data.segments) {
      std::vector<std::pair<double, double>> points;
      for (const auto& [f, sample] : segment) {
        const std::complex<double> value = sample(row, column);
        if (kind == PlotKind::smith) {
          points.emplace_back(value.real(), value.imag());
        } else if (kind == PlotKind::phase) {
          points.emplace_back(f, std::arg(value) * 180.0 / M_PI);
        } else if (const double db = 20.0 * std::log10(std::abs(value)); std::isfinite(db)) {
          points.emplace_back(f, db);
        } else if (!points.empty()) {
          s.segments.push_back(std::move(points));
          points.clear();
        }
      }
      if (kind == PlotKind::phase) {
        std::vector<double> phase;
        for (const auto& point : points)
          phase.push_back(point.second);
        phase = unwrap_degrees(phase);
        for (std::size_t k = 0; k < phase.size(); ++k)
          points[k].second = phase[k];
      }
      if (!points.empty()) s.segments.push_back(std::move(points));
    }
    series.push_back(std::move(s));
  }
  if (kind == PlotKind::smith) return render_smith_chart(title + ": Smith chart", series);
  FrequencyChart chart;
  chart.log_frequency = log_frequency;
  chart.series = std::move(series);
  if (kind == PlotKind::db) {
    chart.title = title + ": magnitude";
    chart.y_title = "Magnitude (dB)";
    chart.max_y_span = 100;
  } else {
    chart.title = title + ": phase";
    chart.y_title = "Phase (degrees, unwrapped)";
  }
  return render_frequency_chart(chart);
}

int run_plot(const PlotOptions& options) {
  const SMatrixContainer c = load(options.input);
  const std::vector<Entry> entries = parse_entries(options.entries, c.nbPorts(), c.is_symmetric());
  if (c.empty()) throw std::runtime_error(options.input + ": no data to plot");
  const std::string title = std::filesystem::path(options.input).filename().string();
  const std::string svg = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n" +
                          plot_svg(c, title, entries, options.kind, options.log_frequency);
  write_atomically(options.output, [&](const char* temporary) {
    std::ofstream out(temporary, std::ios::binary);
    out << svg;
    out.close();
    if (!out) throw std::runtime_error(std::string("Unable to write to ") + temporary);
  });
  return 0;
}

}  // namespace kvx
