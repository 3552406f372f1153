#pragma once

// Self-contained SVG charts: curves against frequency and the Smith chart, each with a grid,
// axis titles and a legend. The SVG has no external references, so it can be opened alone or
// pasted into an HTML page.

#include <string>
#include <utility>
#include <vector>

namespace kvx {

/// One curve: its legend text and its points, split into segments where it is not defined.
struct Series {
  std::string label;
  std::vector<std::vector<std::pair<double, double>>> segments;
};

/// A chart of values against frequency in hertz.
struct FrequencyChart {
  std::string title;
  std::string y_title;
  bool log_frequency = false;
  /// When positive, the value axis reaches at most this far below the highest value (deep
  /// notches in dB would otherwise squash everything else into a line).
  double max_y_span = 0.0;
  std::vector<Series> series;
};

/// The chart as an <svg> element (no XML declaration).
std::string render_frequency_chart(const FrequencyChart& chart);
/// A Smith chart of reflection coefficients (points are (re, im)) as an <svg> element.
std::string render_smith_chart(const std::string& title, const std::vector<Series>& series);

/// The text with &, <, >, " and ' replaced by their XML entities.
std::string escape_xml(const std::string& text);
/// The colour of the k-th curve (16 distinct ones, repeated beyond).
const char* series_colour(std::size_t k);

}  // namespace kvx
