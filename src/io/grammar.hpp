#pragma once

#include <korvantix/container.hpp>
#include <korvantix/scalar.hpp>

#include <complex>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace korvantix::detail {

/// What sets the kvx-file versions apart; both variants read every version with one grammar.
struct Grammar {
  /// 2.3: a port data name list in the header and one value per name in each sample and model.
  bool has_port_data_names;
  /// 2.2: a list of (text, count) "port models" after the port properties, read and dropped.
  bool has_port_models;
};

constexpr Grammar kGrammar20{false, false};
constexpr Grammar kGrammar22{false, true};
constexpr Grammar kGrammar23{true, false};

/// The container a file's header describes: its ports, named, and its port-data names (none
/// before version 2.3). The names are moved out of port_names.
SMatrixContainer header_container(std::vector<std::string>& port_names,
                                  const std::vector<PortDataName>& port_data_names);

/// A format version as the writers store it.
struct FormatVersion {
  int major;
  int minor;
  int patch;
};

/// The version the writers put into files: the library's major, minor 3 when that major is 2
/// (else 0), patch 0. The format minor is tied to the library major on purpose.
FormatVersion written_format_version();

/// "Current version <2.11.3> can not read files generated with version <major>.<minor>.<patch>".
std::string version_message(int major, int minor, int patch);

/// The grammar of a file version: 2.0 for minor below 2, 2.2, 2.3. Major 1 throws
/// std::runtime_error(development_message), every other version the version message.
Grammar select_grammar(int major, int minor, int patch, const char* development_message);

/// A spline from file data. Throws the spline's nbKnots() error for lists of different sizes and
/// "invalid spline model with <n> knots" for fewer than two knots.
std::unique_ptr<ScalarModel> make_spline(std::vector<double> freqs,
                                         std::vector<std::complex<double>> samples,
                                         std::vector<std::complex<double>> coefs,
                                         std::optional<std::vector<double>> subtraction_freqs);

/// Throws "invalid static table model of degree 0" for degree 0.
void check_static_table_degree(std::uint64_t degree);

/// A static table from file data, its samples added in O(n log n) whatever their order (and
/// without a sort when they are ascending or descending). Throws
/// what addSample throws (a repeated or NaN frequency).
std::unique_ptr<ScalarModel> make_static_table(
    std::size_t degree, const std::vector<Transformation::Type>& transformations,
    const std::vector<std::pair<double, std::complex<double>>>& samples);

/// Throws "invalid pole-zero model with <p> poles and <r> residues" unless the counts match.
void check_pole_zero_counts(std::size_t poles, std::size_t residues);

/// n * per_item bytes fit into `available` (no overflow).
constexpr bool fits(std::uint64_t n, std::uint64_t per_item, std::uint64_t available) noexcept {
  return per_item == 0 || n <= available / per_item;
}

/// n * n, or the largest count where that overflows (a loop over it fails at the end of the
/// file long before).
constexpr std::uint64_t square_saturated(std::uint64_t n) noexcept {
  return n > 0xFFFFFFFFu ? ~std::uint64_t{0} : n * n;
}

/// Throws std::runtime_error "<what> for scalar model <code> not supported", where what names
/// the reader or writer ("ascii io", "binary write", "binary read").
[[noreturn]] void unsupported_scalar_model(const char* what, std::int32_t code);

/// The concrete class that a scalar model's type code names, reached by a checked downcast: a
/// foreign class that borrows a library code is refused as an unsupported model.
template <class Model>
const Model& concrete_model(const ScalarModel& model, const char* what) {
  const auto* concrete = dynamic_cast<const Model*>(&model);
  if (concrete == nullptr) unsupported_scalar_model(what, model.type());
  return *concrete;
}

}  // namespace korvantix::detail
