#include <korvantix/container.hpp>
#include <korvantix/io.hpp>
#include <korvantix/scalar.hpp>

#include <gtest/gtest.h>

#include <cmath>
#include <stdexcept>
#include <string>

#include "io/ascii_reader.hpp"
#include "io/ascii_writer.hpp"
#include "io_test_support.hpp"
#include "test_support.hpp"

namespace korvantix {
namespace {

using test::C;

const std::string kHead = "ASCII KORVANTIX2 3 0\n";
// A 2.3 file up to the samples: two ports, one port data name.
const std::string kPorts = kHead +
                           "PORTS 2 <a> <b> PORT DATA NAMES 1 Zpi 1 GLOBAL PROPERTIES 1 <g> <h>\n"
                           "PORT PROPERTIES 0 0 PORT PROPERTIES 1 1 <x> <y>\n";
const std::string kSample = "FREQ 1 Hz S 1 2 3 4 Zref 5 6 Zpi 1 (7,8)\n";

SMatrixContainer parse(const std::string& text) {
  SMatrixContainer c;
  detail::parse_ascii(text, c);
  return c;
}

std::unique_ptr<ScalarModel> scalar(const std::string& text) {
  detail::AsciiTokens tokens(text);
  return detail::read_scalar_model(tokens);
}

TEST(AsciiReader, VersionDispatch) {
  EXPECT_THROW_MSG(parse("ASCII KORVANTIX2 4 0\n"), std::runtime_error,
                   "Current version <2.11.3> can not read files generated with version 2.4.0");
  EXPECT_THROW_MSG(parse("ASCII KORVANTIX0 -1 5"), std::runtime_error,
                   "Current version <2.11.3> can not read files generated with version 0.-1.5");
  EXPECT_THROW_MSG(parse("ASCII KORVANTIX99999999999 3 0"), std::runtime_error,
                   "Current version <2.11.3> can not read files generated with version "
                   "2147483647.0.0");
  EXPECT_THROW_MSG(parse("ASCII KORVANTIX1 9 9"), std::runtime_error,
                   "scii kvx version 1.x.x not supported (development version)");
  for (const std::string bad : {"", "ASCII KORVANTI", "ascii KORVANTIX2 3 0", "BINARYKORVANTIX"}) {
    EXPECT_THROW_MSG(parse(bad), std::runtime_error, "not an ascii kvx-file");
  }
  // The patch number plays no part; a version that cannot be read is version 0.0.0.
  EXPECT_EQ(parse(kPorts + "SAMPLES 0 MODELS 0").nbPorts(), 2u);
  EXPECT_THROW_MSG(parse("ASCII KORVANTIXv2"), std::runtime_error,
                   "Current version <2.11.3> can not read files generated with version 0.0.0");
}

TEST(AsciiReader, OlderGrammars) {
  SMatrixContainer c;
  read_ascii(c, test::data_file("ascii_v21_two_ports.kvx").c_str());
  ASSERT_EQ(c.nbPorts(), 2u);
  EXPECT_EQ(c.name(1), "out");
  EXPECT_EQ(c.get_port_property(1, "a"), "b c");
  ASSERT_EQ(c.nbSamples(), 1u);
  const SMatrixSample& s = *c.begin_samples();
  EXPECT_EQ(s.S(), (std::vector<C>{C(1, 0), C(0, 0.5), C(0.5, 0), C(-2.5, 0)}));
  EXPECT_EQ(s.Zref(1), C(75, 0));
  ASSERT_EQ(c.nbModels(), 1u);
  const PolynomialModel entry(C(0, 1), C(0, -1e-9));
  EXPECT_TRUE(c.begin_models()->S()[3]->equal(&entry));

  read_ascii(c, test::data_file("ascii_v22_portmodels.kvx").c_str());
  EXPECT_EQ(c.nbPorts(), 1u);
  EXPECT_EQ(c.name(0), "p");
  ASSERT_EQ(c.nbSamples(), 1u);
  EXPECT_EQ(c.begin_samples()->S()[0], C(0.5, 0.5));

  read_ascii(c, test::data_file("ascii_v23_propagation_constant.kvx").c_str());
  EXPECT_EQ(c.nbPorts(), 0u);
  EXPECT_EQ(c.get_global_property("k"), "v");
  EXPECT_EQ(c.nbSamples(), 1u);
  EXPECT_EQ(c.nbModels(), 1u);
}

TEST(AsciiReader, CarriageReturnsAndNonFiniteValues) {
  SMatrixContainer c;
  read_ascii(c, test::data_file("ascii_v23_crlf.kvx").c_str());
  EXPECT_EQ(c.get_global_property("k"), "two\r\nlines");
  const std::complex<double> gamma = (*c.begin_samples())({"Gamma", 0});
  EXPECT_TRUE(std::isinf(gamma.real()) && gamma.real() > 0);
  EXPECT_TRUE(std::isnan(gamma.imag()) && std::signbit(gamma.imag()));
  EXPECT_TRUE(std::signbit(c.begin_samples()->S()[0].imag()));
  const auto& table = dynamic_cast<const StaticTableModel&>(*c.begin_models()->S()[0]);
  ASSERT_EQ(table.nbSamples(), 2u);
  EXPECT_EQ(table.getSample(0), std::make_pair(1e9, C(4, 0)));
  EXPECT_EQ(c.begin_models()->Zref()[0]->type(), ScalarModel::Rational);
}

TEST(AsciiReader, Texts) {
  const SMatrixContainer c =
      parse(kHead + "PORTS 2 junk<a<b>c><>\nPORT DATA NAMES 0 GLOBAL PROPERTIES 1 <k> < >" +
            " PORT PROPERTIES 0 1 <x\ny> <> PORT PROPERTIES 1 0 SAMPLES 0 MODELS 0");
  EXPECT_EQ(c.name(0), "a<b>c");
  EXPECT_EQ(c.name(1), "");
  EXPECT_EQ(c.get_global_property("k"), " ");
  EXPECT_EQ(c.get_port_property(0, "x\ny"), "");
  EXPECT_THROW_MSG(parse(kHead + "PORTS 1 abc"), std::runtime_error,
                   "parsing error: reached end of file while searching for '<'");
  EXPECT_THROW_MSG(parse(kHead + "PORTS 1 <a<b>"), std::runtime_error,
                   "parsing error: reached end of file while searching for '>'");
}

TEST(AsciiReader, SyntaxErrors) {
  const std::string end = "SAMPLES 0 MODELS 0";
  EXPECT_THROW_MSG(parse(kHead + "PORT 1"), std::runtime_error,
                   "syntax error: expected PROPAGATIONCONSTANT or PORTS, but found PORT");
  EXPECT_THROW_MSG(parse(kHead + "PORTS 0 PORT DATA NAME 0"), std::runtime_error,
                   "syntax error: expected NAMES, but found NAME");
  EXPECT_THROW_MSG(
      parse(kHead +
            "PORTS 2 <a> <b> PORT DATA NAMES 0 GLOBAL PROPERTIES 0 PORT PROPERTIES 0 0 "
            "PORT PROPERTIES 2 0 " +
            end),
      std::runtime_error, "expected PORT PROPERTIES 1, but found PORT PROPERTIES 2");
  EXPECT_THROW_MSG(parse(kPorts + "SAMPLES 1 FREQ 1 Hz S 1 2 3 4 Zref 5 6 Zpi 0 (7,8)"),
                   std::runtime_error, "unexpected port data name: Zpi[0]");
  EXPECT_THROW_MSG(parse(kPorts + "SAMPLES 1 FREQ 1 Hz S 1 2 3 4 Zref 5 6 Zp 1 (7,8)"),
                   std::runtime_error, "unexpected port data name: Zp[1]");
  const std::string poly4 = " POLY 0 POLY 0 POLY 0 POLY 0 Zref POLY 0 POLY 0 ";
  EXPECT_THROW_MSG(parse(kPorts + "SAMPLES 0 MODELS 1 FREQRANGE 1 2 Hz S" + poly4 + "Zpv 1 POLY 0"),
                   std::runtime_error, "unexpected port data name when parsing the models: Zpv[1]");
  EXPECT_THROW_MSG(parse(kPorts + "SAMPLES 0 MODELS 1 FREQRANGE 1 2 Hz S POLY 0 FOO" + poly4),
                   std::runtime_error,
                   "syntax error: exptected POLY or RAT or POLEZERO or STATICTABLE or SPARASPLINE "
                   "but found <FOO>");
}

TEST(AsciiReader, ScalarModels) {
  const RationalModel rational({C(1, 0)}, {C(1, 0), C(0, 1)}, 2);
  EXPECT_TRUE(scalar("RAT 2 1 2 (1,0) (1,0) (0,1)")->equal(&rational));
  const PoleZeroModel pole_zero(5, {C(-1, 0)}, {C(2, 0)}, C(3, 0), C(0, 1));
  EXPECT_TRUE(scalar("POLEZERO 1 POLES (-1,0) RESIDUES 2 CONSTANT 3 LINEAR (0,1) FREQSCALE 5")
                  ->equal(&pole_zero));
  const auto spline = scalar(
      "CAUSALITYENFORCEDSPARASPLINE 2 1 FREQS 1 2 SAMPLES 3 4 COEFS 0 0 "
      "SUBTRACTION_FREQS 9");
  EXPECT_TRUE(
      dynamic_cast<SparameterSplineModel&>(*spline) ==
      SparameterSplineModel({1, 2}, {C(3, 0), C(4, 0)}, {C(), C()}, std::vector<double>{9}));
  EXPECT_THROW_MSG(scalar("STATICTABLE 1 1 0 Cubed"), std::runtime_error,
                   "parsing error, unknown transformation type <Cubed>");
  EXPECT_THROW_MSG(scalar("STATICTABLE 0 0 1 1 (1,0)"), std::runtime_error,
                   "invalid static table model of degree 0");
  EXPECT_THROW_MSG(scalar("SPARASPLINE 1 FREQS 1 SAMPLES 1 COEFS 0"), std::runtime_error,
                   "invalid spline model with 1 knots");
  EXPECT_THROW(scalar("STATICTABLE 1 0 2 1 (1,0) 1 (2,0)"), std::runtime_error);  // repeated

  // A descending table reads in n log n and comes out sorted.
  std::string table = "STATICTABLE 2 0 20000";
  for (int k = 20000; k > 0; --k)
    table += " " + std::to_string(k) + " (" + std::to_string(k) + ")";
  const auto read = scalar(table);
  const auto& t = dynamic_cast<const StaticTableModel&>(*read);
  EXPECT_EQ(t.getSample(0), std::make_pair(1.0, C(1, 0)));
  EXPECT_EQ(t.getSample(19999), std::make_pair(20000.0, C(20000, 0)));
}

TEST(AsciiReader, FailedNumbers) {
  // A number that cannot be read fails the next keyword, which then finds nothing.
  EXPECT_THROW_MSG(parse(kPorts + "SAMPLES 1 FREQ abc Hz S 1 2 3 4 Zref 5 6 Zpi 1 (7,8)"),
                   std::runtime_error, "syntax error: expected Hz, but found ");
  // A file cut inside its very last value still fails once the grammar is through.
  EXPECT_THROW_MSG(parse(kPorts + "SAMPLES 0 MODELS 1 FREQRANGE 1 2 Hz S POLY 0 POLY 0 POLY 0 "
                                  "POLY 0 Zref POLY 0 POLY 0 Zpi 1 POLY 1 (1,2"),
                   std::runtime_error, "parsing error: invalid or missing number");
  SMatrixContainer c;
  EXPECT_THROW_MSG(read_ascii(c, test::data_file("fail_truncated_sample.kvx").c_str()),
                   std::runtime_error, "syntax error: expected Zref, but found ");
  EXPECT_EQ(c.nbSamples(), 1u);  // the first sample was read
}

TEST(AsciiReader, StateAfterAFailure) {
  SMatrixContainer c(3);
  c.add_global_property("old", "1");
  EXPECT_THROW(parse(kHead + "PORTS 1 <p> PORT DATA NAMES x"), std::runtime_error);
  EXPECT_THROW(detail::parse_ascii(kHead + "PORTS 1 <p> PORT DATA NAME", c), std::runtime_error);
  EXPECT_EQ(c.nbPorts(), 3u);  // failed before the ports were complete: untouched
  EXPECT_THROW(detail::parse_ascii(kPorts + "SAMPLES 2" + kSample + "FREQ", c), std::runtime_error);
  EXPECT_EQ(c.nbPorts(), 2u);
  EXPECT_EQ(c.name(1), "b");
  EXPECT_EQ(c.get_port_property(1, "x"), "y");
  EXPECT_EQ(c.get_global_properties().count("old"), 0u);
  ASSERT_EQ(c.nbSamples(), 1u);
  EXPECT_EQ(c.begin_samples()->S(), (std::vector<C>{C(1, 0), C(2, 0), C(3, 0), C(4, 0)}));
  EXPECT_EQ((*c.begin_samples())({"Zpi", 1}), C(7, 8));
}

TEST(AsciiReader, CountsBoundedByTheFile) {
  // Lists read item by item grow as they arrive: a short file shows the grammar's own fault.
  const std::string one_port =
      kHead + "PORTS 1 <p> PORT DATA NAMES 0 GLOBAL PROPERTIES 0 " + "PORT PROPERTIES 0 0 ";
  const std::pair<std::string, const char*> grammar_first[] = {
      {kHead + "PORTS 1", "parsing error: reached end of file while searching for '<'"},
      {kHead + "PORTS -1 <a>", "parsing error: reached end of file while searching for '<'"},
      {one_port + "SAMPLES 1\nFREQ 1 GHz", "syntax error: expected Hz, but found GHz"},
      {one_port + "SAMPLES 0 MODELS 1 FREQ", "syntax error: expected FREQRANGE, but found FREQ"},
      {one_port + "SAMPLES 0 MODELS 1 FREQRANGE 1 2 Hz S Zref",
       "syntax error: exptected POLY or RAT or POLEZERO or STATICTABLE or SPARASPLINE but found "
       "<Zref>"},
  };
  for (const auto& [text, expected] : grammar_first) {
    EXPECT_THROW_MSG(parse(text), std::runtime_error, expected);
  }
  // A count that sizes an allocation at once is checked against the rest of the file.
  EXPECT_THROW_MSG(scalar("POLY 5 1 2 3 4"), std::runtime_error,
                   "parsing error: count 5 too large for the rest of the file");
  // Many ports with short names cost little; their N x N matrix must fit into what is left.
  std::string ports = kHead + "PORTS 4000";
  for (int i = 0; i < 4000; ++i)
    ports += "<>";
  ports += " PORT DATA NAMES 0 GLOBAL PROPERTIES 0";
  for (int i = 0; i < 4000; ++i)
    ports += " PORT PROPERTIES " + std::to_string(i) + " 0";
  EXPECT_THROW_MSG(parse(ports.substr(0, ports.find(" PORT DATA"))), std::runtime_error,
                   "parsing error: port count 4000 too large for the rest of the file");
  EXPECT_THROW_MSG(parse(ports + " SAMPLES 1 FREQ 1 Hz S Zref"), std::runtime_error,
                   "parsing error: port count 4000 too large for the rest of the file");
}

TEST(AsciiReader, EveryPrefixOfAFileFails) {
  std::string text;
  {
    detail::OutputBuffer out(text);
    detail::format_ascii(test::rich_container(), out, 3);
  }
  // Only a cut inside the final token can leave a shorter number that still reads.
  const std::size_t last_number = text.find_last_of(" \t\n", text.find_last_not_of(" \t\n"));
  for (std::size_t n = 0; n <= last_number; ++n) {
    SMatrixContainer c;
    EXPECT_THROW(detail::parse_ascii(std::string_view(text).substr(0, n), c), std::runtime_error)
        << "prefix of " << n << " bytes";
  }
}

TEST(AsciiReader, PortNames) {
  std::vector<std::string> names = {"kept"};
  detail::parse_port_names_ascii(kPorts, names);
  EXPECT_EQ(names, (std::vector<std::string>{"kept", "a", "b"}));
  detail::parse_port_names_ascii("ASCII KORVANTIX7 0 0 PORTS 1 <x>", names);  // only 1.x refused
  EXPECT_EQ(names.back(), "x");
  EXPECT_THROW_MSG(detail::parse_port_names_ascii("ASCII KORVANTIX1 0 0 PORTS 0", names),
                   std::runtime_error,
                   "scii kvx version 1.x.x not supported (development version)");
  EXPECT_THROW_MSG(detail::parse_port_names_ascii(kHead + "PROPAGATIONCONSTANT YES", names),
                   std::runtime_error,
                   "syntax error: expected PORTS, but found PROPAGATIONCONSTANT");
  EXPECT_THROW_MSG(detail::parse_port_names_ascii("ASCII", names), std::runtime_error,
                   "not an ascii kvx-file");
  readPortNames_ascii(names, test::data_file("ascii_v21_two_ports.kvx").c_str());
  EXPECT_EQ(names.back(), "out");
}

}  // namespace
}  // namespace korvantix
