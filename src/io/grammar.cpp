#include "io/grammar.hpp"

#include <korvantix/version.hpp>

#include <stdexcept>
#include <utility>

#include "detail/message.hpp"

namespace korvantix::detail {

SMatrixContainer header_container(std::vector<std::string>& port_names,
                                  const std::vector<PortDataName>& port_data_names) {
  SMatrixContainer container(port_names.size(), port_data_names);
  for (std::size_t i = 0; i < port_names.size(); ++i)
    container.name(i) = std::move(port_names[i]);
  return container;
}

FormatVersion written_format_version() {
  const int major = major_version();
  return {major, major == 2 ? 3 : 0, 0};
}

std::string version_message(int major, int minor, int patch) {
  return message("Current version <", major_version(), ".", minor_version(), ".", patchlevel(),
                 "> can not read files generated with version ", major, ".", minor, ".", patch);
}

Grammar select_grammar(int major, int minor, int patch, const char* development_message) {
  if (major == 1) throw std::runtime_error(development_message);
  if (major == 2) {
    if (minor < 2) return kGrammar20;
    if (minor == 2) return kGrammar22;
    if (minor == 3) return kGrammar23;
  }
  throw std::runtime_error(version_message(major, minor, patch));
}

std::unique_ptr<ScalarModel> make_spline(std::vector<double> freqs,
                                         std::vector<std::complex<double>> samples,
                                         std::vector<std::complex<double>> coefs,
                                         std::optional<std::vector<double>> subtraction_freqs) {
  auto spline = std::make_unique<SparameterSplineModel>(
      std::move(freqs), std::move(samples), std::move(coefs), std::move(subtraction_freqs));
  const std::size_t knots = spline->nbKnots();
  // One knot has no interval to interpolate in; refuse it here rather than at evaluation.
  if (knots < 2) throw std::runtime_error(message("invalid spline model with ", knots, " knots"));
  return spline;
}

void check_static_table_degree(std::uint64_t degree) {
  if (degree == 0) throw std::runtime_error("invalid static table model of degree 0");
}

std::unique_ptr<ScalarModel> make_static_table(
    std::size_t degree, const std::vector<Transformation::Type>& transformations,
    const std::vector<std::pair<double, std::complex<double>>>& samples) {
  check_static_table_degree(degree);
  auto table = std::make_unique<StaticTableModel>(degree, transformations);
  // Writers store tables in ascending order, and some files hold them descending. A strictly
  // monotone list can hold neither a repeated nor a NaN frequency, so adding it from its low
  // end, one sample after the other at the top of the table, gives the same table as the general
  // path, without its sort.
  const std::size_t n = samples.size();
  bool ascending = true;
  bool descending = true;
  for (std::size_t k = 1; k < n && (ascending || descending); ++k) {
    ascending = ascending && samples[k - 1].first < samples[k].first;
    descending = descending && samples[k - 1].first > samples[k].first;
  }
  if (n > 1 && ascending) {
    for (const auto& [f, v] : samples)
      table->addSample(f, v);
  } else if (n > 1 && descending) {
    for (auto s = samples.rbegin(); s != samples.rend(); ++s)
      table->addSample(s->first, s->second);
  } else {
    table->addSamples(samples);
  }
  return table;
}

void check_pole_zero_counts(std::size_t poles, std::size_t residues) {
  if (poles != residues) {
    throw std::runtime_error(
        message("invalid pole-zero model with ", poles, " poles and ", residues, " residues"));
  }
}

void unsupported_scalar_model(const char* what, std::int32_t code) {
  throw std::runtime_error(message(what, " for scalar model ", code, " not supported"));
}

}  // namespace korvantix::detail
