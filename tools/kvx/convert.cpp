// kvx convert: any readable format to any writable one.

#include "commands.hpp"

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <iostream>

namespace kvx {

using namespace korvantix;

OutputFormat output_format(const std::string& path, const std::string& format_name) {
  static const std::pair<const char*, OutputFormat> kNames[] = {
      {"ascii", OutputFormat::ascii},
      {"binary", OutputFormat::binary},
      {"touchstone", OutputFormat::touchstone},
      {"touchstone1", OutputFormat::touchstone1},
      {"touchstone2", OutputFormat::touchstone2},
      {"citi", OutputFormat::citi}};
  if (!format_name.empty()) {
    for (const auto& [name, format] : kNames)
      if (format_name == name) return format;
    throw UsageError("unknown format " + format_name);
  }
  std::string extension = std::filesystem::path(path).extension().string();
  std::transform(extension.begin(), extension.end(), extension.begin(),
                 [](unsigned char ch) { return static_cast<char>(std::tolower(ch)); });
  if (extension == ".kvx") return OutputFormat::ascii;
  if (extension == ".kvxb") return OutputFormat::binary;
  if (extension == ".ts") return OutputFormat::touchstone2;
  if (extension == ".cti" || extension == ".citi") return OutputFormat::citi;
  if (extension.size() > 3 && extension.compare(0, 2, ".s") == 0 && extension.back() == 'p' &&
      std::all_of(extension.begin() + 2, extension.end() - 1,
                  [](unsigned char ch) { return std::isdigit(ch); }))
    return OutputFormat::touchstone;
  throw UsageError("cannot tell the format of " + path + " from its extension; use --format");
}

void write_output(const SMatrixContainer& c, const std::string& path, OutputFormat format) {
  write_atomically(path, [&](const char* temporary) {
    switch (format) {
      case OutputFormat::ascii:
        write_ascii(c, temporary, 16);
        break;
      case OutputFormat::binary:
        write_binary(c, temporary);
        break;
      case OutputFormat::touchstone:
        write(c, temporary, Touchstone);
        break;
      case OutputFormat::touchstone1:
        write(c, temporary, TouchstoneV1);
        break;
      case OutputFormat::touchstone2:
        write(c, temporary, TouchstoneV2);
        break;
      case OutputFormat::citi:
        write(c, temporary, Citifile);
        break;
    }
  });
}

SamplingType sampling_type(const std::string& plan) {
  if (plan == "linear") return Linear;
  if (plan == "log") return Logarithmic;
  if (plan == "linlog") return LinearLogarithmic;
  if (plan == "adaptive") return Adaptive;
  throw UsageError("unknown plan " + plan);
}

int run_convert(const ConvertOptions& options) {
  const OutputFormat format = output_format(options.output, options.format);
  const bool native = format == OutputFormat::ascii || format == OutputFormat::binary;
  const bool touchstone = !native && format != OutputFormat::citi;
  if (options.renormalize && !touchstone)
    throw UsageError("--renormalize applies to a Touchstone output only");
  const SamplingType plan = sampling_type(options.plan);

  Progress reading("reading " + options.input, 1);
  reading.update(0);
  SMatrixContainer c = load(options.input);
  reading.update(1);

  if (format == OutputFormat::touchstone) {
    // A .s3p file must hold three ports: a reader takes the count from the extension.
    const std::string extension = std::filesystem::path(options.output).extension().string();
    if (extension.size() > 3 &&
        extension.substr(2, extension.size() - 3) != std::to_string(c.nbPorts()))
      throw std::runtime_error(options.output + ": a " + extension + " file holds " +
                               extension.substr(2, extension.size() - 3) +
                               " ports, the network has " + std::to_string(c.nbPorts()));
  }
  if (!native && c.nbModels() > 0) {
    // Foreign formats hold samples only; exporting just the stored ones would lose the models.
    std::cerr << "kvx: note: " << options.input << " holds models; exporting them at "
              << options.points << " frequencies of the " << options.plan << " plan\n";
    const std::vector<double> frequencies = plan == Adaptive
                                                ? c.sample_frequencies_adaptively(options.points)
                                                : c.sample_frequencies(options.points, plan);
    c = evaluate_at(c, frequencies, MAG_PHASE, "evaluating");
  }
  if (options.renormalize)
    c = renormalize(c, std::vector<std::complex<double>>(c.nbPorts(), *options.renormalize));
  Progress writing("writing " + options.output, 1);
  writing.update(0);
  write_output(c, options.output, format);
  writing.update(1);
  return 0;
}

}  // namespace kvx
