// Read, write, read again: whatever a reader accepts, the writers must turn into a file that
// reads back to the same content. Content is compared through the bytes of writing it, since NaN
// values and causality-enforced splines never compare equal. The binary form is checked for
// every readable input, the ASCII form (at the precision that keeps every double) for ASCII
// inputs; an ASCII text of a binary input is written too, but names read from a binary file may
// hold an unbalanced ">" that the ASCII form cannot carry, so its read-back is not compared.
// The port-name readers must also agree with the full readers on every file both accept.
// A static table with transformations stores its values transformed and hands them back
// through the inverse chain, which is exact only up to rounding (and 1/x or a square may
// overflow), so the values of such tables are left out of the comparison.
#include <korvantix/container.hpp>
#include <korvantix/scalar.hpp>

#include <cstdint>
#include <limits>
#include <memory>
#include <string>
#include <vector>

#include "detail/output_buffer.hpp"
#include "fuzz_support.hpp"
#include "io/ascii_reader.hpp"
#include "io/ascii_writer.hpp"
#include "io/binary_reader.hpp"
#include "io/binary_writer.hpp"

namespace {

using korvantix::SMatrixContainer;
namespace detail = korvantix::detail;
namespace fuzz = korvantix::fuzz;

constexpr int kExactPrecision = 16;

bool transforms(const korvantix::ScalarModel& model) {
  if (model.type() != korvantix::ScalarModel::StaticTable) return false;
  const auto& table = dynamic_cast<const korvantix::StaticTableModel&>(model);
  for (std::size_t k = 0; k < table.nbTransformations(); ++k) {
    const korvantix::Transformation::Type t = table.getTransformation(k);
    if (t == korvantix::Transformation::Inverse || t == korvantix::Transformation::Squared) {
      return true;
    }
  }
  return false;
}

// The table with its values replaced by zeros: frequencies, degree and transformations stay.
std::unique_ptr<korvantix::ScalarModel> without_values(const korvantix::ScalarModel& model) {
  const auto& table = dynamic_cast<const korvantix::StaticTableModel&>(model);
  std::vector<korvantix::Transformation::Type> list;
  for (std::size_t k = 0; k < table.nbTransformations(); ++k)
    list.push_back(table.getTransformation(k));
  auto blank = std::make_unique<korvantix::StaticTableModel>(table.degree(), list);
  for (std::size_t k = 0; k < table.nbSamples(); ++k)
    blank->addSample(table.getSample(k).first, 0.0);
  return blank;
}

// The container with the values of transforming tables blanked out.
SMatrixContainer comparable(const SMatrixContainer& c) {
  SMatrixContainer out = c;
  out.clear_models();
  for (auto m = c.begin_models(); m != c.end_models(); ++m) {
    korvantix::SMatrixModel model(*m);
    for (auto* list : {&model.S(), &model.Zref()}) {
      for (auto& entry : *list) {
        if (transforms(*entry)) entry = without_values(*entry);
      }
    }
    for (auto d = m->begin_port_data(); d != m->end_port_data(); ++d) {
      if (transforms(*d->second)) model.set(d->first, without_values(*d->second).get());
    }
    out.add(model);
  }
  return out;
}

std::string binary_text(const SMatrixContainer& container) {
  std::string text;
  {
    detail::OutputBuffer out(text);
    detail::format_binary(container, out);
  }
  return text;
}

std::string ascii_text(const SMatrixContainer& container) {
  std::string text;
  {
    detail::OutputBuffer out(text);
    detail::format_ascii(container, out, kExactPrecision);
  }
  return text;
}

std::vector<std::string> port_names(const SMatrixContainer& container) {
  std::vector<std::string> names;
  for (std::size_t i = 0; i < container.nbPorts(); ++i)
    names.push_back(container.name(i));
  return names;
}

// Port data indices are 4-byte integers in the binary form; larger ones are cut by design.
bool fits_binary_form(const SMatrixContainer& container) {
  for (const korvantix::PortDataName& name : container.port_data_names()) {
    if (name.second > std::numeric_limits<std::uint32_t>::max()) return false;
  }
  return true;
}

void check_binary_round_trip(const SMatrixContainer& first) {
  const std::string written = binary_text(first);
  SMatrixContainer second;
  // Not guarded: a refusal of the writer's own file escapes and is reported.
  detail::parse_binary(written, second);
  if (binary_text(comparable(second)) != binary_text(comparable(first))) {
    fuzz::invariant_broken("binary round trip changed data");
  }
  std::vector<std::string> names;
  detail::parse_port_names_binary(written, names);
  if (names != port_names(second)) fuzz::invariant_broken("binary port names differ");
}

void check_ascii_round_trip(const SMatrixContainer& first) {
  const std::string written = ascii_text(first);
  SMatrixContainer second;
  detail::parse_ascii(written, second);
  if (ascii_text(comparable(second)) != ascii_text(comparable(first))) {
    fuzz::invariant_broken("ASCII round trip changed data");
  }
  std::vector<std::string> names;
  detail::parse_port_names_ascii(written, names);
  if (names != port_names(second)) fuzz::invariant_broken("ASCII port names differ");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view input = fuzz::as_text(data, size);
  const bool ascii = detail::has_ascii_magic(input);
  if (!ascii && !detail::has_binary_magic(input)) return 0;

  SMatrixContainer first;
  const bool read = fuzz::refused_cleanly([&] {
    if (ascii) {
      detail::parse_ascii(input, first);
    } else {
      detail::parse_binary(input, first);
    }
  });
  if (!read) return 0;

  // A file the full reader accepts gives the port-name reader no reason to refuse, except an
  // ASCII file without a port section (a propagation-constant file, read with no ports).
  std::vector<std::string> names;
  const bool names_read = fuzz::refused_cleanly([&] {
    if (ascii) {
      detail::parse_port_names_ascii(input, names);
    } else {
      detail::parse_port_names_binary(input, names);
    }
  });
  if (names_read && names != port_names(first)) fuzz::invariant_broken("port names differ");
  if (!names_read && (!ascii || first.nbPorts() != 0)) {
    fuzz::invariant_broken("port names refused for a readable file");
  }

  if (fits_binary_form(first)) check_binary_round_trip(first);
  if (ascii) {
    check_ascii_round_trip(first);
  } else {
    const std::string text = ascii_text(first);
    SMatrixContainer again;
    fuzz::refused_cleanly([&] { detail::parse_ascii(text, again); });
  }
  return 0;
}
