// kvx report: one self-contained HTML page with the info table and the three plots.

#include "chart.hpp"
#include "commands.hpp"

#include <filesystem>
#include <fstream>
#include <sstream>

namespace kvx {

using namespace korvantix;

namespace {

constexpr const char* kStyle = R"(
body { font-family: Helvetica, Arial, sans-serif; color: #222; margin: 32px auto; max-width: 940px; }
h1 { font-size: 24px; margin-bottom: 4px; }
h2 { font-size: 18px; margin: 28px 0 8px; border-bottom: 1px solid #ddd; padding-bottom: 4px; }
p.note { color: #666; margin-top: 0; }
table { border-collapse: collapse; font-size: 14px; }
td { padding: 3px 14px 3px 0; vertical-align: top; }
td.label { color: #666; white-space: nowrap; }
svg { display: block; max-width: 100%; height: auto; border: 1px solid #eee; }
)";

}  // namespace

int run_report(const ReportOptions& options) {
  const SMatrixContainer c = load(options.input);
  const Description d = describe(options.input, c);
  const std::string title = std::filesystem::path(options.input).filename().string();
  std::ostringstream html;
  html << "<!DOCTYPE html>\n<html xmlns=\"http://www.w3.org/1999/xhtml\" lang=\"en\">\n<head>\n"
       << "<meta charset=\"utf-8\"/>\n<title>" << escape_xml(title)
       << " \u2014 kvx report</title>\n"
       << "<style>" << kStyle << "</style>\n</head>\n<body>\n<h1>" << escape_xml(title)
       << "</h1>\n<p class=\"note\">kvx report, korvantix " << major_version() << '.'
       << minor_version() << '.' << patchlevel() << "</p>\n<table>\n";
  for (const auto& [label, value] : description_rows(d))
    html << "<tr><td class=\"label\">" << escape_xml(label) << "</td><td>" << escape_xml(value)
         << "</td></tr>\n";
  html << "</table>\n";
  if (!c.empty()) {
    const bool symmetric = c.is_symmetric();
    const std::vector<Entry> entries = parse_entries("", c.nbPorts(), symmetric);
    const std::size_t shown =
        symmetric ? c.nbPorts() * (c.nbPorts() + 1) / 2 : c.nbPorts() * c.nbPorts();
    if (symmetric)
      html << "<p class=\"note\">The network is symmetric: the plots show the entries on and "
              "below the diagonal.</p>\n";
    if (entries.size() < shown)
      html << "<p class=\"note\">The plots show the first " << entries.size() << " of the " << shown
           << " entries.</p>\n";
    static const std::pair<PlotKind, const char*> kPlots[] = {
        {PlotKind::db, "Magnitude"}, {PlotKind::phase, "Phase"}, {PlotKind::smith, "Smith chart"}};
    for (const auto& [kind, heading] : kPlots)
      html << "<h2>" << heading << "</h2>\n" << plot_svg(c, title, entries, kind, false);
  }
  html << "</body>\n</html>\n";
  const std::string page = html.str();
  write_atomically(options.output, [&](const char* temporary) {
    std::ofstream out(temporary, std::ios::binary);
    out << page;
    out.close();
    if (!out) throw std::runtime_error(std::string("Unable to write to ") + temporary);
  });
  return 0;
}

}  // namespace kvx
