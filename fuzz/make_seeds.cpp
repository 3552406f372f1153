// Writes the seed corpus of the fuzz targets with the library's own writers, so that every seed
// is a file the library itself produces (plus a few older-version files written by hand, which
// the writers no longer produce). Usage: make_fuzz_seeds OUTPUT_DIRECTORY (normally fuzz/corpus).
#include <korvantix/container.hpp>
#include <korvantix/export.hpp>
#include <korvantix/scalar.hpp>

#include <complex>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <limits>
#include <memory>
#include <string>
#include <vector>

#include "detail/output_buffer.hpp"
#include "io/ascii_writer.hpp"
#include "io/binary_writer.hpp"

namespace {

using korvantix::PortDataName;
using korvantix::SMatrixContainer;
using korvantix::SMatrixModel;
using korvantix::SMatrixSample;
using C = std::complex<double>;
namespace detail = korvantix::detail;
namespace fs = std::filesystem;

std::vector<std::unique_ptr<korvantix::ScalarModel>> every_scalar_kind() {
  using namespace korvantix;
  std::vector<std::unique_ptr<ScalarModel>> kinds;
  kinds.push_back(std::make_unique<PolynomialModel>(C(1, -2), C(0.5, 0)));
  kinds.push_back(std::make_unique<RationalModel>(std::vector<C>{C(1, 1)},
                                                  std::vector<C>{C(1, 0), C(2, -1)}, 1e9));
  kinds.push_back(std::make_unique<PoleZeroModel>(2e9, std::vector<C>{C(-1, 2)},
                                                  std::vector<C>{C(3, 0)}, C(0.25, 0), C(0, -1)));
  auto table = std::make_unique<StaticTableModel>(
      2, std::vector<Transformation::Type>{Transformation::Inverse, Transformation::Squared});
  table->addSample(2e9, C(0.5, 0.25));
  table->addSample(1e9, C(1, 0));
  kinds.push_back(std::move(table));
  kinds.push_back(std::make_unique<SparameterSplineModel>(
      std::vector<double>{1e9, 2e9}, std::vector<C>{C(1, 0), C(0, 1)},
      std::vector<C>{C(0, 0), C(0, 0)}, std::nullopt));
  kinds.push_back(std::make_unique<SparameterSplineModel>(
      std::vector<double>{1e9, 3e9}, std::vector<C>{C(1, 1), C(2, 2)},
      std::vector<C>{C(0, 0), C(0, 0)}, std::vector<double>{5e8}));
  return kinds;
}

// Two ports with bracketed names, properties with blanks and line breaks, two port data names,
// samples with non-finite and signed-zero values, and models using every scalar kind.
SMatrixContainer rich_container() {
  const std::vector<PortDataName> names = {{"Gamma", 1}, {"Zpi", 0}};
  SMatrixContainer c(2, names);
  c.name(0) = "in <a> port";
  c.name(1) = "out";
  c.add_global_property("note", "two\nlines");
  c.add_port_property(0, "k e y", "<v>");
  SMatrixSample a(2, 1e9, names);
  a(0, 0) = C(-0.0, 0.5);
  a(0, 1) = C(std::numeric_limits<double>::infinity(), std::numeric_limits<double>::quiet_NaN());
  a(1, 0) = C(4.9406564584124654e-324, -1e300);
  a.Zref(0) = C(50, 0);
  a.Zref(1) = C(75, -1);
  a.set({"Gamma", 1}, C(0.125, 2));
  c.add(a);
  auto kinds = every_scalar_kind();
  SMatrixModel low(2, 2e9, 3e9, names);
  for (std::size_t k = 0; k < 4; ++k)
    low.set(k / 2, k % 2, kinds[k].get());
  low.setZref(0, kinds[4].get());
  low.setZref(1, kinds[5].get());
  low.set({"Zpi", 0}, kinds[2].get());
  c.add(low);
  return c;
}

// One port, one sample, one model: the smallest file that has every section filled.
SMatrixContainer small_container() {
  SMatrixContainer c(1);
  c.name(0) = "p";
  SMatrixSample s(1, 5e9);
  s(0, 0) = C(0.5, -0.5);
  s.Zref(0) = C(50, 0);
  c.add(s);
  SMatrixModel m(1, 1e9, 2e9);
  korvantix::PolynomialModel poly(C(1, 0));
  m.set(0, 0, &poly);
  c.add(m);
  return c;
}

std::string ascii_text(const SMatrixContainer& c, int precision) {
  std::string text;
  {
    detail::OutputBuffer out(text);
    detail::format_ascii(c, out, precision);
  }
  return text;
}

std::string binary_text(const SMatrixContainer& c) {
  std::string text;
  {
    detail::OutputBuffer out(text);
    detail::format_binary(c, out);
  }
  return text;
}

template <class T>
void append(std::string& out, T value) {
  char bytes[sizeof value];
  std::memcpy(bytes, &value, sizeof value);
  out.append(bytes, sizeof value);
}

void append_string(std::string& out, const std::string& s) {
  append(out, static_cast<std::int32_t>(s.size()));
  out += s;
}

// Versions 2.0 and 2.2 of the binary form, which only the readers still know.
std::string binary_old_version(int minor) {
  std::string b = "BINARYKORVANTIX";
  for (std::int32_t v : {2, minor, 0, 0x11223344})
    append(b, v);
  append(b, std::int32_t{1});  // ports
  append_string(b, "p");
  append(b, std::int32_t{1});  // global properties
  append_string(b, "k");
  append_string(b, "v");
  append(b, std::int32_t{0});  // properties of port 0
  if (minor == 2) {
    append(b, std::int32_t{1});  // dropped port models
    append_string(b, "m");
    append(b, std::int32_t{3});
  }
  append(b, std::int32_t{1});  // samples
  append(b, 1e9);
  append(b, std::int32_t{1});
  append(b, C(0.5, 0.5));
  append(b, std::int32_t{1});
  append(b, C(50, 0));
  append(b, std::int32_t{0});  // models
  return b;
}

const char* const kAsciiOld[][2] = {
    {"ascii_v21",
     "ASCII KORVANTIX2 1 0\nPORTS 1 <p>\nGLOBAL PROPERTIES 1 <k> <v>\nPORT PROPERTIES 0 0\n"
     "SAMPLES 1\nFREQ 1e9 Hz S (0.5,0.5) Zref (50,0)\nMODELS 1\nFREQRANGE 1 2 Hz\nS\n"
     "POLY 1 (1,0)\nZref\nRAT 1 1 1 (1,0) (1)"},
    {"ascii_v22",
     "ASCII KORVANTIX2 2 7\r\nPORTS 1 <p>\r\nGLOBAL PROPERTIES 0\r\n"
     "PORT PROPERTIES 0 0\r\nPORT MODELS 1 <m<1>> 3\r\nSAMPLES 0\r\nMODELS 0\r\n"},
    {"ascii_propagation",
     "ASCII KORVANTIX2 3 0\nPROPAGATIONCONSTANT YES\nPORT DATA NAMES 0\nGLOBAL PROPERTIES 0\n"
     "SAMPLES 1\nFREQ 1 Hz S Zref PROPAGATIONCONSTANT\nMODELS 1\nFREQRANGE 1 2 Hz S Zref "
     "PROPAGATIONCONSTANT"},
    {"ascii_nonfinite",
     "ASCII KORVANTIX2 3 0 PORTS 1 <p> PORT DATA NAMES 1 Zpv 0 GLOBAL PROPERTIES 0 "
     "PORT PROPERTIES 0 0 SAMPLES 1 FREQ 1 Hz S (inf,-nan) Zref (-inf) Zpv 0 (nan,1e-320) "
     "MODELS 0"},
};

const char* const kPaths[][2] = {
    {"drive", "C:/data//x.txt"},
    {"prefixed", "//?/C:/x"},
    {"relative", "a/../b/./x.kvx"},
    {"unc", "\\\\server\\share\\x"},
    {"utf8", "d\xC3\xBC\xE2\x82\xAC\xF0\x9D\x84\x9E.kvx"},
};

// n ports, three samples with real impedances (25, 50, ...) and, for two ports and more, one
// port datum, as the foreign exporters take them.
SMatrixContainer export_container(std::size_t n, bool equal_references) {
  std::vector<PortDataName> names;
  if (n > 1) names = {{"Gamma", 1}};
  SMatrixContainer c(n, names);
  for (std::size_t i = 0; i < n; ++i)
    c.name(i) = "p " + std::to_string(i + 1);
  for (int t = 0; t < 3; ++t) {
    SMatrixSample s(n, 1e9 * (t + 1) / 3.0, names);
    for (std::size_t k = 0; k < n * n; ++k)
      s.S()[k] = C(0.1 * static_cast<double>(k) - t, 1.0 / (3.0 + static_cast<double>(k)));
    for (std::size_t i = 0; i < n; ++i)
      s.Zref(i) = equal_references ? 50.0 : 25.0 * static_cast<double>(i + 1);
    if (n > 1) s.set({"Gamma", 1}, C(t, -t));
    c.add(s);
  }
  return c;
}

// What the exporter writes for c, read back from a scratch file.
std::string exported(const SMatrixContainer& c, korvantix::ExportFormat format,
                     const fs::path& scratch) {
  korvantix::write(c, scratch.string().c_str(), format);
  std::ifstream in(scratch, std::ios::binary);
  std::string text{std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
  fs::remove(scratch);
  return text;
}

// Touchstone seeds start with the byte that picks the fuzzed file name (see the target).
const char* const kTouchstoneByHand[][2] = {
    {"ts_v1_noise",
     "\x01! MA\n# ghz ma r 25\n1 0.5 90 1 0 1 180 0.25 -90\n2 0.5 0 1 0\n 1 0 0.5 0\n"
     "1.5 2.5 0.5 90 0.2\n3 3.5 0.25 180 0.4\n"},
    {"ts_v2_upper",
     "\x04[Version] 2.1\n# Hz Z RI R 10 20 40\n[Number of Ports] 3\n"
     "[Number of Frequencies] 1\n[Reference] 50\n 100\n 200\n[Matrix Format] Upper\n"
     "[Begin Information]\n[End Information]\n[Network Data]\n100 150 0 0 0 0 0\n"
     "    100 0 0 0\n    600 0\n[Noise Data]\n1 1 1 0 1\n[End]\n"},
    {"ts_solver",
     "\x01# GHz S RI R 50\n! Port[1] = a\n1 0.1 0.2 0.3 0.4 0.5 0.6 0.7 0.8\n"
     "! Gamma ! 1 2\n!   3 4\n! Port Impedance 50 -1 45 2\n2 1 2 3 4 5 6 7 8\n"
     "! Gamma ! 5 6 7 8\n! Port Impedance 51 -1 46 2\n"},
    {"ts_y_db", "\x00# khz Y db R 75\r\n1 20 180 ! c\r\n2\t-3 45\r\n"},
};

const char* const kCitiByHand[][2] = {
    {"citi_segments",
     "CITIFILE A.01.01\nNAME DATA\n#x Port[2] r\nVAR freq MAG 3\nDATA PORTZ[1] MAG\n"
     "DATA S[1,1] RI\nDATA S[2,2] MAGANGLE\nDATA S[1,2] DBANGLE\nDATA S[2,1] MAG\n"
     "DATA Zpi[1] RI\nSEG_LIST_BEGIN\nSEG 1000000000 2000000000 2\nSEG 4E9 4E9 1\n"
     "SEG_LIST_END\nBEGIN\n75\n75\n75\nEND\nBEGIN\n1,2\n3, 4\n5 6\nEND\nBEGIN\n2, 90\n"
     "2, 180\n2, -90\nEND\nBEGIN\n20, 0\n-20, 0\n0, 180\nEND\nBEGIN\n0.5\n-0.5\n0.25\n"
     "END\nBEGIN\n1,1\n2,2\n3,3\nEND\nCITIFILE A.01.01\n"},
};

void put(const fs::path& dir, const std::string& name, const std::string& bytes) {
  fs::create_directories(dir);
  std::ofstream(dir / name, std::ios::binary | std::ios::trunc) << bytes;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::cerr << "usage: make_fuzz_seeds OUTPUT_DIRECTORY\n";
    return 2;
  }
  const fs::path root(argv[1]);
  std::vector<std::pair<std::string, std::string>> ascii, binary;
  ascii.emplace_back("ascii_empty", ascii_text(SMatrixContainer(), 16));
  ascii.emplace_back("ascii_small", ascii_text(small_container(), 16));
  ascii.emplace_back("ascii_rich_p16", ascii_text(rich_container(), 16));
  ascii.emplace_back("ascii_rich_p2", ascii_text(rich_container(), 2));
  ascii.emplace_back("ascii_rich_p0", ascii_text(rich_container(), 0));
  for (const auto& [name, text] : kAsciiOld)
    ascii.emplace_back(name, text);
  binary.emplace_back("binary_empty", binary_text(SMatrixContainer()));
  binary.emplace_back("binary_small", binary_text(small_container()));
  binary.emplace_back("binary_rich", binary_text(rich_container()));
  binary.emplace_back("binary_v20", binary_old_version(0));
  binary.emplace_back("binary_v22", binary_old_version(2));

  for (const auto& [name, bytes] : ascii) {
    put(root / "ascii_reader", name, bytes);
    put(root / "ascii_port_names", name, bytes);
    put(root / "round_trip", name, bytes);
  }
  for (const auto& [name, bytes] : binary) {
    put(root / "binary_reader", name, bytes);
    put(root / "binary_port_names", name, bytes);
    put(root / "round_trip", name, bytes);
  }
  for (const auto& [name, path] : kPaths)
    put(root / "path", name, path);

  const fs::path scratch = fs::temp_directory_path() / "korvantix_fuzz_seed";
  for (std::size_t n = 1; n <= 4; ++n) {
    const std::string tag = std::to_string(n);
    // The first byte picks the name "f.s<n>p".
    const std::string prefix(1, static_cast<char>(n - 1));
    const SMatrixContainer equal = export_container(n, true);
    const SMatrixContainer unequal = export_container(n, false);
    put(root / "touchstone_reader", "ts_v1_p" + tag,
        prefix + exported(equal, korvantix::TouchstoneV1, scratch));
    put(root / "touchstone_reader", "ts_v2_p" + tag,
        prefix + exported(unequal, korvantix::TouchstoneV2, scratch));
    put(root / "citi_reader", "citi_p" + tag, exported(unequal, korvantix::Citifile, scratch));
  }
  for (const auto& [name, text] : kTouchstoneByHand)
    put(root / "touchstone_reader", name, std::string(text, std::strlen(text + 1) + 1));
  for (const auto& [name, text] : kCitiByHand)
    put(root / "citi_reader", name, text);
  return 0;
}
