// kvx info: what a file holds, as a table or as JSON.

#include "commands.hpp"

#include <cmath>
#include <cstdio>
#include <iostream>
#include <map>
#include <sstream>

namespace kvx {

using namespace korvantix;

namespace {

const char* format_name(DataFormat format) {
  switch (format) {
    case DataFormat::kvx_ascii:
      return "kvx ASCII";
    case DataFormat::kvx_binary:
      return "kvx binary";
    case DataFormat::touchstone:
      return "Touchstone";
    case DataFormat::citifile:
      return "CITIfile";
    default:
      return "unknown";
  }
}

const char* kind_name(ScalarModel::Type type) {
  switch (type) {
    case ScalarModel::Polynomial:
      return "polynomial";
    case ScalarModel::Rational:
      return "rational";
    case ScalarModel::PoleZero:
      return "pole-zero";
    case ScalarModel::StaticTable:
      return "static table";
    case ScalarModel::SparameterSpline:
      return "spline";
    case ScalarModel::CausalityEnforcedSparameterSpline:
      return "causal spline";
    case ScalarModel::Conjugate:
      return "conjugate";
    case ScalarModel::Norm:
      return "norm";
    case ScalarModel::Sum:
      return "sum";
    case ScalarModel::Difference:
      return "difference";
    case ScalarModel::Product:
      return "product";
  }
  return "unknown";
}

std::string impedance_text(std::complex<double> z) {
  std::string text = format_number(z.real());
  if (z.imag() != 0) text += (z.imag() < 0 ? " - j" : " + j") + format_number(std::abs(z.imag()));
  return text + " \u03a9";
}

std::string json_string(const std::string& text) {
  std::string out = "\"";
  for (const char ch : text) {
    if (ch == '"' || ch == '\\') {
      out += '\\';
      out += ch;
    } else if (static_cast<unsigned char>(ch) < 0x20) {
      char escaped[8];
      std::snprintf(escaped, sizeof escaped, "\\u%04x", ch);
      out += escaped;
    } else {
      out += ch;
    }
  }
  return out + "\"";
}

std::string json_number(double value) {
  if (!std::isfinite(value)) return "null";
  char text[32];
  std::snprintf(text, sizeof text, "%.17g", value);
  return text;
}

std::string json_map(const SMatrixContainer::PropertyMap& map) {
  std::string out = "{";
  for (const auto& [key, value] : map)
    out += (out.size() > 1 ? ", " : "") + json_string(key) + ": " + json_string(value);
  return out + "}";
}

std::string properties_text(const SMatrixContainer::PropertyMap& map) {
  std::string out;
  for (const auto& [key, value] : map)
    out += (out.empty() ? "" : ", ") + key + "=" + value;
  return out;
}

void print_json(const Description& d, const SMatrixContainer& c) {
  const auto zref = reference_impedances(c);
  std::ostringstream out;
  out << "{\n  \"file\": " << json_string(d.file) << ",\n  \"format\": " << json_string(d.format)
      << ",\n  \"version\": " << json_string(d.version) << ",\n  \"ports\": [";
  for (std::size_t i = 0; i < d.ports.size(); ++i) {
    out << (i ? ",\n" : "\n") << "    {\"name\": " << json_string(d.ports[i].name)
        << ", \"reference_impedance\": ";
    if (i < zref.size() && d.ports[i].reference_impedance != "varies")
      out << '[' << json_number(zref[i].real()) << ", " << json_number(zref[i].imag()) << ']';
    else
      out << "null";
    out << ", \"properties\": " << json_map(d.ports[i].properties) << '}';
  }
  out << (d.ports.empty() ? "" : "\n  ") << "],\n  \"properties\": " << json_map(d.properties)
      << ",\n  \"port_data\": [";
  for (std::size_t k = 0; k < d.port_data.size(); ++k)
    out << (k ? ", " : "") << json_string(d.port_data[k]);
  out << "],\n  \"samples\": " << d.samples << ",\n  \"models\": [";
  for (std::size_t k = 0; k < d.models.size(); ++k)
    out << (k ? ", " : "") << "{\"from\": " << json_number(d.models[k].from)
        << ", \"to\": " << json_number(d.models[k].to)
        << ", \"kinds\": " << json_string(d.models[k].kinds) << '}';
  out << "],\n  \"from\": " << (d.from ? json_number(*d.from) : "null")
      << ",\n  \"to\": " << (d.to ? json_number(*d.to) : "null")
      << ",\n  \"symmetric\": " << (d.symmetric ? "true" : "false") << "\n}\n";
  std::cout << out.str();
}

}  // namespace

Description describe(const std::string& path, const SMatrixContainer& c) {
  Description d;
  d.file = path;
  const DataFileIdentity identity = identify(path.c_str());
  d.format = format_name(identity.format);
  d.version = identity.version;
  const auto zref = reference_impedances(c);
  for (std::size_t i = 0; i < c.nbPorts(); ++i) {
    Description::Port port{c.name(i), "", c.get_port_properties(i)};
    if (i < zref.size()) {
      port.reference_impedance = impedance_text(zref[i]);
      for (auto s = c.begin_samples(); s != c.end_samples(); ++s)
        if (s->Zref(i) != zref[i]) {
          port.reference_impedance = "varies";
          break;
        }
      for (auto m = c.begin_models(); m != c.end_models(); ++m)
        if (!m->Zref(i).is_constant() || m->Zref(m->from(), i) != zref[i])
          port.reference_impedance = "varies";
    }
    d.ports.push_back(port);
  }
  d.properties = c.get_global_properties();
  for (const auto& [name, index] : c.port_data_names())
    d.port_data.push_back(name + "[" + std::to_string(index) + "]");
  d.samples = c.nbSamples();
  for (auto m = c.begin_models(); m != c.end_models(); ++m) {
    std::map<std::string, std::size_t> kinds;
    for (const auto& scalar : m->S())
      ++kinds[kind_name(scalar->type())];
    std::string text;
    for (const auto& [kind, count] : kinds)
      text += (text.empty() ? "" : ", ") + std::to_string(count) + " " + kind;
    d.models.push_back({m->from(), m->to(), text});
  }
  if (!c.empty()) d.from = c.from(), d.to = c.to();
  d.symmetric = c.is_symmetric();
  return d;
}

std::vector<std::pair<std::string, std::string>> description_rows(const Description& d) {
  std::vector<std::pair<std::string, std::string>> rows;
  rows.emplace_back("file", d.file);
  rows.emplace_back("format", d.format + (d.version.empty() ? "" : " " + d.version));
  rows.emplace_back("ports", std::to_string(d.ports.size()));
  for (std::size_t i = 0; i < d.ports.size(); ++i) {
    const auto& port = d.ports[i];
    std::string text = port.name;
    if (!port.reference_impedance.empty()) text += ", reference " + port.reference_impedance;
    if (!port.properties.empty()) text += ", " + properties_text(port.properties);
    rows.emplace_back("  port " + std::to_string(i + 1), text);
  }
  if (!d.properties.empty()) rows.emplace_back("properties", properties_text(d.properties));
  if (!d.port_data.empty()) {
    std::string text;
    for (const auto& name : d.port_data)
      text += (text.empty() ? "" : ", ") + name;
    rows.emplace_back("port data", text);
  }
  rows.emplace_back("samples", std::to_string(d.samples));
  rows.emplace_back("models", std::to_string(d.models.size()));
  for (const auto& model : d.models)
    rows.emplace_back("", format_frequency(model.from) + " to " + format_frequency(model.to) +
                              ": " + model.kinds);
  rows.emplace_back("frequencies",
                    d.from ? format_frequency(*d.from) + " to " + format_frequency(*d.to) : "none");
  rows.emplace_back("symmetric", d.symmetric ? "yes" : "no");
  return rows;
}

int run_info(const InfoOptions& options) {
  const SMatrixContainer c = load(options.input);
  const Description d = describe(options.input, c);
  if (options.json) {
    print_json(d, c);
    return 0;
  }
  std::ostringstream out;
  for (const auto& [label, value] : description_rows(d)) {
    out << label;
    for (std::size_t k = label.size(); k < 13; ++k)
      out << ' ';
    out << value << '\n';
  }
  std::cout << out.str();
  return 0;
}

}  // namespace kvx
