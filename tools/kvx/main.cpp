// kvx: the command line of korvantix. This file only wires the subcommands to their functions;
// each command lives in its own file.

#include "commands.hpp"
#include "heap.hpp"

#include <CLI/CLI.hpp>

#include <cstdlib>
#include <iostream>
#include <string>

int main(int argc, char** argv) {
  using namespace kvx;
  prepare_heap();
  CLI::App app{"Look at, convert, resample, compare and plot S-parameter files.", "kvx"};
  app.set_version_flag("--version",
                       "korvantix " + std::to_string(korvantix::major_version()) + "." +
                           std::to_string(korvantix::minor_version()) + "." +
                           std::to_string(korvantix::patchlevel()),
                       "Print the library version and exit");
  app.require_subcommand(1, 1);
  app.footer("Input formats: kvx ASCII and binary, Touchstone, CITIfile (recognised by content).");
  // CLI11's own range checks print the largest double in full; these say what is wrong.
  const auto at_least = [](bool zero_allowed) {
    return CLI::Validator(
        [zero_allowed](std::string& text) {
          double value = 0;
          const bool valid =
              CLI::detail::lexical_cast(text, value) && (zero_allowed ? value >= 0 : value > 0);
          return valid ? std::string()
                       : std::string(zero_allowed ? "expected a number of at least 0"
                                                  : "expected a number above 0") +
                             ", found " + text;
        },
        zero_allowed ? "NONNEGATIVE" : "POSITIVE");
  };
  const CLI::Validator non_negative = at_least(true), positive = at_least(false);
  const auto plans = CLI::IsMember({"linear", "log", "linlog", "adaptive"});
  const auto formats =
      CLI::IsMember({"ascii", "binary", "touchstone", "touchstone1", "touchstone2", "citi"});

  InfoOptions info;
  auto* info_cmd = app.add_subcommand("info", "Show what a file holds: ports, data, band");
  info_cmd->add_option("FILE", info.input, "Input file")->required();
  info_cmd->add_flag("--json", info.json, "Print machine-readable JSON");

  ConvertOptions convert;
  double renormalize = 0;
  auto* convert_cmd = app.add_subcommand("convert", "Convert a file to another format");
  convert_cmd->add_option("IN", convert.input, "Input file")->required();
  convert_cmd
      ->add_option("OUT", convert.output,
                   "Output file; its extension picks the format (.kvx .kvxb .sNp .ts .cti)")
      ->required();
  convert_cmd->add_option("--format", convert.format, "Output format instead of the extension's")
      ->check(formats);
  convert_cmd
      ->add_option("--renormalize", renormalize,
                   "Refer a Touchstone export to R ohms at every port")
      ->check(positive);
  convert_cmd
      ->add_option("--points", convert.points,
                   "Frequencies for exporting models to a foreign format")
      ->capture_default_str()
      ->check(positive);
  convert_cmd->add_option("--plan", convert.plan, "Sampling plan for exporting models")
      ->capture_default_str()
      ->check(plans);

  ResampleOptions resample;
  auto* resample_cmd = app.add_subcommand("resample", "Evaluate a file on a new frequency plan");
  resample_cmd->add_option("IN", resample.input, "Input file")->required();
  resample_cmd->add_option("OUT", resample.output, "Output file (format by extension)")->required();
  resample_cmd->add_option("--points", resample.points, "Number of frequencies")
      ->required()
      ->check(positive);
  resample_cmd->add_option("--plan", resample.plan, "Frequency plan")
      ->capture_default_str()
      ->check(plans);
  resample_cmd->add_option("--from", resample.from, "Lowest frequency (2.4GHz, 500MHz, 1e9)");
  resample_cmd->add_option("--to", resample.to, "Highest frequency");
  resample_cmd->add_option("--interpolation", resample.interpolation, "Between stored samples")
      ->capture_default_str()
      ->check(CLI::IsMember({"mag-phase", "real-imag"}));
  resample_cmd->add_option("--format", resample.format, "Output format instead of the extension's")
      ->check(formats);

  DiffOptions diff;
  auto* diff_cmd = app.add_subcommand(
      "diff", "Compare two networks; exit 0 when equal within tolerance, 1 if not, 2 on trouble");
  diff_cmd->add_option("A", diff.first, "First file")->required();
  diff_cmd->add_option("B", diff.second, "Second file")->required();
  diff_cmd->add_option("--points", diff.points,
                       "Compare at N evenly spaced frequencies of the common band instead of at "
                       "the stored ones");
  diff_cmd->add_option("--tolerance", diff.tolerance, "Largest entry difference still equal")
      ->capture_default_str()
      ->check(non_negative);

  PlotOptions plot;
  bool db = false, phase = false, smith = false;
  auto* plot_cmd = app.add_subcommand("plot", "Draw S-parameters as an SVG picture");
  plot_cmd->add_option("IN", plot.input, "Input file")->required();
  plot_cmd->add_option("-o,--output", plot.output, "Output SVG file")->required();
  plot_cmd->add_option("--entries", plot.entries, "Entries to draw (S11,S21,...; default all)");
  auto* db_flag = plot_cmd->add_flag("--db", db, "Magnitude in dB (the default)");
  auto* phase_flag = plot_cmd->add_flag("--phase", phase, "Unwrapped phase in degrees");
  auto* smith_flag = plot_cmd->add_flag("--smith", smith, "Smith chart");
  db_flag->excludes(phase_flag)->excludes(smith_flag);
  phase_flag->excludes(smith_flag);
  plot_cmd->add_flag("--log-frequency", plot.log_frequency, "Logarithmic frequency axis");

  ReportOptions report;
  auto* report_cmd = app.add_subcommand("report", "Write a one-page HTML report of a file");
  report_cmd->add_option("IN", report.input, "Input file")->required();
  report_cmd->add_option("-o,--output", report.output, "Output HTML file")->required();

  try {
    app.parse(argc, argv);
  } catch (const CLI::Success& e) {
    return app.exit(e);
  } catch (const CLI::ParseError& e) {
    std::cerr << "kvx: " << e.what() << '\n';
    return 2;
  }
  try {
    if (*info_cmd) return run_info(info);
    if (*convert_cmd) {
      if (renormalize > 0) convert.renormalize = renormalize;
      return run_convert(convert);
    }
    if (*resample_cmd) return run_resample(resample);
    if (*diff_cmd) return run_diff(diff);
    if (*plot_cmd) {
      plot.kind = phase ? PlotKind::phase : smith ? PlotKind::smith : PlotKind::db;
      return run_plot(plot);
    }
    return run_report(report);
  } catch (const UsageError& e) {
    std::cerr << "kvx: " << e.what() << '\n';
    return 2;
  } catch (const std::exception& e) {
    std::cerr << "kvx: " << e.what() << '\n';
    return 1;
  }
}
