#include <cctype>
#include <cmath>

#include "io_test_support.hpp"

namespace korvantix {
namespace {

using test::C;

const std::string kHead = "ASCII KORVANTIX2 3 0\n";
// A 2.3 file up to the samples: two ports, one port data name.
const std::string kPorts = kHead +
                           "PORTS 2 <a> <b> PORT DATA NAMES 1 Zpi 1 GLOBAL PROPERTIES 1 <g> <h>\n"
                           "PORT PROPERTIES 0 0 PORT PROPERTIES 1 1 <x> <y>\n";
// A one-port file up to its first model's S entry.
const std::string kModel = test::ascii_ports(1) + " SAMPLES 0 MODELS 1 FREQRANGE 1 2 Hz S ";
const std::string kVersion = "Current version <2.11.3> can not read files generated with version ";
const std::string kWanted = "syntax error: exptected POLY or RAT or POLEZERO or STATICTABLE or ";

TEST(AsciiReader, Refusals) {
  // Many ports with short names cost little; their N x N matrix must fit into what is left.
  const std::string many = test::ascii_ports(4000);
  const std::string poly4 = " POLY 0 POLY 0 POLY 0 POLY 0 Zref POLY 0 POLY 0 ";
  const std::vector<test::Refusal> cases = {
      {"ascii KORVANTIX2 3 0", "not an ascii kvx-file"},
      {"BINARYKORVANTIX", "not an ascii kvx-file"},
      {"ASCII KORVANTIX2 4 0\n", kVersion + "2.4.0"},
      {"ASCII KORVANTIX0 -1 5", kVersion + "0.-1.5"},
      {"ASCII KORVANTIX99999999999 3 0", kVersion + "2147483647.0.0"},
      {"ASCII KORVANTIXv2", kVersion + "0.0.0"},  // a version that cannot be read is 0.0.0
      {"ASCII KORVANTIX1 9 9", "scii kvx version 1.x.x not supported (development version)", true},
      {kHead + "PORT 1", "syntax error: expected PROPAGATIONCONSTANT or PORTS, but found PORT"},
      {kHead + "PORTS 0 PORT DATA NAME 0", "syntax error: expected NAMES, but found NAME"},
      {kHead + "PORTS 1 <p> PORT DATA NAMES x", "syntax error: expected GLOBAL, but found "},
      {kHead + "PORTS 1 abc", "parsing error: reached end of file while searching for '<'"},
      {kHead + "PORTS 1", "parsing error: reached end of file while searching for '<'"},
      {kHead + "PORTS -1 <a>", "parsing error: reached end of file while searching for '<'"},
      {kHead + "PORTS 1 <a<b>", "parsing error: reached end of file while searching for '>'"},
      {kHead + "PORTS 2 <a> <b> PORT DATA NAMES 0 GLOBAL PROPERTIES 0 PORT PROPERTIES 0 0 "
               "PORT PROPERTIES 2 0 SAMPLES 0 MODELS 0",
       "expected PORT PROPERTIES 1, but found PORT PROPERTIES 2"},
      {kPorts + "SAMPLES 1 FREQ 1 Hz S 1 2 3 4 Zref 5 6 Zpi 0 (7,8)",
       "unexpected port data name: Zpi[0]"},
      {kPorts + "SAMPLES 1 FREQ 1 Hz S 1 2 3 4 Zref 5 6 Zp 1 (7,8)",
       "unexpected port data name: Zp[1]"},
      {kPorts + "SAMPLES 0 MODELS 1 FREQRANGE 1 2 Hz S" + poly4 + "Zpv 1 POLY 0",
       "unexpected port data name when parsing the models: Zpv[1]"},
      {kPorts + "SAMPLES 0 MODELS 1 FREQRANGE 1 2 Hz S POLY 0 FOO" + poly4,
       kWanted + "SPARASPLINE but found <FOO>"},
      // A number that cannot be read fails the next keyword, which then finds nothing.
      {kPorts + "SAMPLES 1 FREQ abc Hz S 1 2 3 4 Zref 5 6 Zpi 1 (7,8)",
       "syntax error: expected Hz, but found "},
      // A file cut inside its very last value still fails once the grammar is through.
      {kPorts + "SAMPLES 0 MODELS 1 FREQRANGE 1 2 Hz S" + poly4 + "Zpi 1 POLY 1 (1,2",
       "parsing error: invalid or missing number"},
      // Lists read item by item grow as they arrive: a short file shows the grammar's fault.
      {kModel.substr(0, kModel.find("SAMPLES")) + "SAMPLES 1\nFREQ 1 GHz",
       "syntax error: expected Hz, but found GHz"},
      {kModel.substr(0, kModel.find("FREQRANGE")) + "FREQ",
       "syntax error: expected FREQRANGE, but found FREQ"},
      {kModel + "Zref", kWanted + "SPARASPLINE but found <Zref>"},
      {kModel + "STATICTABLE 1 1 0 Cubed", "parsing error, unknown transformation type <Cubed>"},
      {kModel + "STATICTABLE 0 0 1 1 (1,0)", "invalid static table model of degree 0"},
      {kModel + "STATICTABLE 1 0 2 1 (1,0) 1 (2,0)",
       "The FittedScalarModel already contains a sample at1 Hz"},
      {kModel + "SPARASPLINE 1 FREQS 1 SAMPLES 1 COEFS 0", "invalid spline model with 1 knots"},
      // A count that sizes an allocation at once is checked against the rest of the file.
      {kModel + "POLY 5 1 2 3 4", "parsing error: count 5 too large for the rest of the file"},
      {many.substr(0, many.find(" PORT DATA")),
       "parsing error: port count 4000 too large for the rest of the file"},
      {many + " SAMPLES 1 FREQ 1 Hz S Zref",
       "parsing error: port count 4000 too large for the rest of the file"},
  };
  test::expect_refusals(true, cases);
}

// The older grammars read as the 2.3 file without their extra sections: 2.1 has no port data
// names, 2.2 adds a dropped list of (text, count) "port models"; the patch number plays no part.
TEST(AsciiReader, OlderGrammars) {
  std::string v21 = test::read_bytes(test::data_file("ascii_v21_two_ports.kvx"));
  std::string v22 = test::read_bytes(test::data_file("ascii_v22_portmodels.kvx"));
  const SMatrixContainer c21 = test::parse(v21), c22 = test::parse(v22);
  EXPECT_EQ(c21.begin_samples()->S(), (std::vector<C>{C(1, 0), C(0, 0.5), C(0.5, 0), C(-2.5, 0)}));
  EXPECT_EQ(c21.begin_samples()->Zref(1), C(75, 0));
  EXPECT_EQ(c22.name(0), "p");
  v21.replace(0, 20, kHead).insert(v21.find("GLOBAL"), "PORT DATA NAMES 0\n");
  v22.replace(v22.find("PORT MODELS"), v22.find("SAMPLES") - v22.find("PORT MODELS"), "");
  v22.replace(0, 20, kHead).insert(v22.find("GLOBAL"), "PORT DATA NAMES 0\n");
  EXPECT_EQ(test::written(c21), test::written(test::parse(v21)));
  EXPECT_EQ(test::written(c22), test::written(test::parse(v22)));

  SMatrixContainer c;
  read_ascii(c, test::data_file("ascii_v23_propagation_constant.kvx").c_str());
  EXPECT_EQ(c.nbPorts(), 0u);
  EXPECT_EQ(c.get_global_property("k"), "v");
  EXPECT_EQ(c.nbSamples(), 1u);
  EXPECT_EQ(c.nbModels(), 1u);
}

TEST(AsciiReader, CarriageReturnsNonFiniteValuesAndTexts) {
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

  c = test::parse(kHead + "PORTS 2 junk<a<b>c><>\nPORT DATA NAMES 0 GLOBAL PROPERTIES 1 <k> < >" +
                  " PORT PROPERTIES 0 1 <x\ny> <> PORT PROPERTIES 1 0 SAMPLES 0 MODELS 0");
  EXPECT_EQ(c.name(0), "a<b>c");
  EXPECT_EQ(c.name(1), "");
  EXPECT_EQ(c.get_global_property("k"), " ");
  EXPECT_EQ(c.get_port_property(0, "x\ny"), "");
}

TEST(AsciiReader, StateAfterAFailure) {
  SMatrixContainer c(3);
  c.add_global_property("old", "1");
  EXPECT_THROW(detail::parse_ascii(kHead + "PORTS 1 <p> PORT DATA NAME", c), std::runtime_error);
  EXPECT_EQ(c.nbPorts(), 3u);  // failed before the ports were complete: untouched
  EXPECT_THROW(
      detail::parse_ascii(kPorts + "SAMPLES 2 FREQ 1 Hz S 1 2 3 4 Zref 5 6 Zpi 1 (7,8) FREQ", c),
      std::runtime_error);
  EXPECT_EQ(c.nbPorts(), 2u);
  EXPECT_EQ(c.name(1), "b");
  EXPECT_EQ(c.get_port_property(1, "x"), "y");
  EXPECT_EQ(c.get_global_properties().count("old"), 0u);
  ASSERT_EQ(c.nbSamples(), 1u);
  EXPECT_EQ(c.begin_samples()->S(), (std::vector<C>{C(1, 0), C(2, 0), C(3, 0), C(4, 0)}));
  EXPECT_EQ((*c.begin_samples())({"Zpi", 1}), C(7, 8));
  EXPECT_THROW_MSG(read_ascii(c, test::data_file("fail_truncated_sample.kvx").c_str()),
                   std::runtime_error, "syntax error: expected Zref, but found ");
  EXPECT_EQ(c.nbSamples(), 1u);  // the first sample was read
}

TEST(AsciiReader, PortNames) {
  std::vector<std::string> names = {"kept"};
  detail::parse_port_names_ascii(kPorts, names);
  EXPECT_EQ(names, (std::vector<std::string>{"kept", "a", "b"}));
  detail::parse_port_names_ascii("ASCII KORVANTIX7 0 0 PORTS 1 <x>", names);  // only 1.x refused
  EXPECT_EQ(names.back(), "x");
  EXPECT_THROW_MSG(detail::parse_port_names_ascii(kHead + "PROPAGATIONCONSTANT YES", names),
                   std::runtime_error,
                   "syntax error: expected PORTS, but found PROPAGATIONCONSTANT");
  readPortNames_ascii(names, test::data_file("ascii_v21_two_ports.kvx").c_str());
  EXPECT_EQ(names.back(), "out");
}

std::string ascii(const ScalarModel& m, int precision = 2) {
  std::string text;
  detail::OutputBuffer out(text);
  detail::format_scalar_model(m, out, precision);
  out.flush();
  return text;
}

// The every-kind golden shows the layout of every section and kind at precision 16; these show
// what it leaves out: the empty file, other precisions, -nan, and tables without transformations.
TEST(AsciiWriter, LayoutBeyondTheGolden) {
  EXPECT_EQ(test::written(SMatrixContainer(), 16),
            "ASCII KORVANTIX2 3 0\n\nPORTS 0\n\nPORT DATA NAMES 0\n\nGLOBAL PROPERTIES 0\n"
            "\nSAMPLES 0\nMODELS 0");
  // Every value of every section and kind honours the precision: each number is a digit, a
  // point, two fraction digits and an exponent, and no other point is left.
  const std::string p2 = test::written(test::every_kind(), 2);
  std::size_t numbers = 0;
  for (std::size_t point = p2.find('.'); point != std::string::npos;
       point = p2.find('.', point + 1), ++numbers) {
    EXPECT_TRUE(std::isdigit(static_cast<unsigned char>(p2[point - 1])) &&
                p2.find_first_not_of("0123456789", point + 1) == point + 3 && p2[point + 3] == 'e')
        << p2.substr(point - 1, 12);
  }
  EXPECT_GT(numbers, 60u);

  SMatrixContainer two(2);
  SMatrixSample t(2, 1e9);
  t(0, 0) = C(1, 0);
  t(0, 1) = C(-0.0, 0.5);
  t(1, 0) = C(std::numeric_limits<double>::infinity(), -std::numeric_limits<double>::quiet_NaN());
  two.add(t);
  const std::string p0 = test::written(two, 0);
  EXPECT_NE(p0.find("\nFREQ 1e+09 Hz\n\tS\n\t\t(1e+00,0e+00)\t(-0e+00,5e-01)\n\t\t(inf,-nan)\t"
                    "(0e+00,0e+00)\n\tZref\n\t\t(0e+00,0e+00)\t(0e+00,0e+00)\nMODELS 0"),
            std::string::npos)
      << p0;

  StaticTableModel plain(1);
  plain.addSample(2e9, C(0.5, 0));
  plain.addSample(1e9, C(0.25, 0));
  EXPECT_EQ(ascii(plain),
            "\n\t\tSTATICTABLE 1 0 2\n\t\t\t1.00e+09\t(2.50e-01,0.00e+00)\n\t\t\t2.00e+09\t"
            "(5.00e-01,0.00e+00)");
  // An unknown transformation code is counted but has no name.
  EXPECT_EQ(
      ascii(StaticTableModel(3, {static_cast<Transformation::Type>(7), Transformation::Inverse})),
      "\n\t\tSTATICTABLE 3 2 0\n\t\t\tInverse ");
}

TEST(AsciiWriter, Failures) {
  const PolynomialModel a(C(1, 0));
  const std::unique_ptr<ScalarModel> sum(ScalarModel::createSum(&a, &a));
  SMatrixContainer c(1);
  SMatrixModel m(1, 1, 2);
  m.setZref(0, sum.get());
  c.add(m);
  const std::string path = test::scratch("unsupported.kvx");
  EXPECT_THROW_MSG(write_ascii(c, path.c_str(), 3), std::runtime_error,
                   "ascii io for scalar model 201 not supported");
  // Everything before the failing model stays in the file.
  EXPECT_EQ(
      test::read_bytes(path),
      "ASCII KORVANTIX2 3 0\n\nPORTS 1\n\t<port_0>\n\nPORT DATA NAMES 0\n\nGLOBAL PROPERTIES 0\n"
      "PORT PROPERTIES 0 0\n\nSAMPLES 0\nMODELS 1\nFREQRANGE 1.000e+00 2.000e+00 Hz\n\tS\n"
      "\t\tPOLY 0\n\t\t\n\tZref");

  EXPECT_THROW_MSG(write_ascii(c, "/nonexistent-dir/x.kvx", 16), std::runtime_error,
                   "Unable to write to </nonexistent-dir/x.kvx>");
}

}  // namespace
}  // namespace korvantix
