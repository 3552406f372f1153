#include "io_test_support.hpp"

namespace korvantix {
namespace {

using test::C;

std::string ascii(const ScalarModel& m, int precision = 2) {
  std::string text;
  detail::OutputBuffer out(text);
  detail::format_scalar_model(m, out, precision);
  out.flush();
  return text;
}

TEST(AsciiWriter, Containers) {
  EXPECT_EQ(test::ascii_of(SMatrixContainer(), 16),
            "ASCII KORVANTIX2 3 0\n\nPORTS 0\n\nPORT DATA NAMES 0\n\nGLOBAL PROPERTIES 0\n"
            "\nSAMPLES 0\nMODELS 0");
  SMatrixContainer c(1, {{"Zpi", 0}});
  c.name(0) = "p 1";
  c.add_global_property("k", "v w");
  c.add_port_property(0, "a", "b");
  SMatrixSample s(1, 1e9, {{"Zpi", 0}});
  s(0, 0) = C(1, 0);
  s.Zref(0) = C(50, 0);
  s.set({"Zpi", 0}, C(2, -3));
  c.add(s);
  c.add(SMatrixModel(1, 1e9, 2e9, {{"Zpi", 0}}));
  EXPECT_EQ(test::ascii_of(c, 1),
            "ASCII KORVANTIX2 3 0\n"
            "\nPORTS 1\n\t<p 1>\n"
            "\nPORT DATA NAMES 1\n\tZpi 0\n"
            "\nGLOBAL PROPERTIES 1\n\t<k> <v w>"
            "\nPORT PROPERTIES 0 1\n\t<a> <b>\n"
            "\nSAMPLES 1"
            "\nFREQ 1.0e+09 Hz"
            "\n\tS\n\t\t(1.0e+00,0.0e+00)"
            "\n\tZref\n\t\t(5.0e+01,0.0e+00)"
            "\n\tZpi 0 (2.0e+00,-3.0e+00)"
            "\nMODELS 1"
            "\nFREQRANGE 1.0e+09 2.0e+09 Hz"
            "\n\tS\n\t\tPOLY 0\n\t\t"
            "\n\tZref\n\t\tPOLY 0\n\t\t"
            "\n\tZpi 0 \n\t\tPOLY 0\n\t\t");
  // Matrix rows, signed zeros, non-finite values, and the precision down to none.
  SMatrixContainer two(2);
  SMatrixSample t(2, 1e9);
  t(0, 0) = C(1, 0);
  t(0, 1) = C(-0.0, 0.5);
  t(1, 0) = C(std::numeric_limits<double>::infinity(), -std::numeric_limits<double>::quiet_NaN());
  two.add(t);
  const std::string p16 = test::ascii_of(two, 16);
  EXPECT_NE(p16.find("\nFREQ 1.0000000000000000e+09 Hz\n\tS\n\t\t(1.0000000000000000e+00,"
                     "0.0000000000000000e+00)\t(-0.0000000000000000e+00,5.0000000000000000e-01)"
                     "\n\t\t(inf,-nan)\t(0.0000000000000000e+00,0.0000000000000000e+00)"
                     "\n\tZref\n\t\t(0.0000000000000000e+00,0.0000000000000000e+00)\t"),
            std::string::npos)
      << p16;
  const std::string p0 = test::ascii_of(two, 0);
  EXPECT_NE(p0.find("\nFREQ 1e+09 Hz\n\tS\n\t\t(1e+00,0e+00)\t(-0e+00,5e-01)"), std::string::npos)
      << p0;
}

TEST(AsciiWriter, ScalarModelForms) {
  EXPECT_EQ(ascii(PolynomialModel(C(1, 2), C(3, -4))),
            "\n\t\tPOLY 2\n\t\t\t(1.00e+00,2.00e+00)\t(3.00e+00,-4.00e+00)");
  EXPECT_EQ(ascii(RationalModel({C(1, 0)}, {C(1, 0), C(0, 1)}, 1e9)),
            "\n\t\tRAT 1.00e+09 1 2\n\t\t\t(1.00e+00,0.00e+00)\n\t\t\t(1.00e+00,0.00e+00)"
            "\t(0.00e+00,1.00e+00)");
  EXPECT_EQ(ascii(PoleZeroModel(2, {C(-1, 0)}, {C(2, 0)}, C(0.5, 0), C(0, 0))),
            "\n\t\tPOLEZERO 1\n\t\t\tPOLES\t(-1.00e+00,0.00e+00)\n\t\t\tRESIDUES\t(2.00e+00,"
            "0.00e+00)\n\t\t\tCONSTANT\t(5.00e-01,0.00e+00)\n\t\t\tLINEAR\t(0.00e+00,0.00e+00)"
            "\n\t\t\tFREQSCALE\t2.00e+00");
  StaticTableModel plain(1);
  plain.addSample(2e9, C(0.5, 0));
  plain.addSample(1e9, C(0.25, 0));
  EXPECT_EQ(ascii(plain),
            "\n\t\tSTATICTABLE 1 0 2\n\t\t\t1.00e+09\t(2.50e-01,0.00e+00)\n\t\t\t2.00e+09\t"
            "(5.00e-01,0.00e+00)");
  EXPECT_EQ(ascii(StaticTableModel(2, {Transformation::Inverse, Transformation::Squared})),
            "\n\t\tSTATICTABLE 2 2 0\n\t\t\tInverse Squared ");
  // An unknown transformation code is counted but has no name.
  EXPECT_EQ(
      ascii(StaticTableModel(3, {static_cast<Transformation::Type>(7), Transformation::Inverse})),
      "\n\t\tSTATICTABLE 3 2 0\n\t\t\tInverse ");
  EXPECT_EQ(
      ascii(SparameterSplineModel({1, 2}, {C(1, 0), C(0, 1)}, {C(0, 0), C(0, 0)}, std::nullopt)),
      "\n\t\tSPARASPLINE 2\n\t\t\tFREQS\t1.00e+00\t2.00e+00\n\t\t\tSAMPLES\t(1.00e+00,"
      "0.00e+00)\t(0.00e+00,1.00e+00)\n\t\t\tCOEFS\t(0.00e+00,0.00e+00)\t(0.00e+00,"
      "0.00e+00)");
  EXPECT_EQ(ascii(SparameterSplineModel({1}, {C(1, 0)}, {C(0, 0)}, std::vector<double>{5}), 0),
            "\n\t\tCAUSALITYENFORCEDSPARASPLINE 1 1\n\t\t\tFREQS\t1e+00\n\t\t\tSAMPLES\t(1e+00,"
            "0e+00)\n\t\t\tCOEFS\t(0e+00,0e+00)\n\t\t\tSUBTRACTION_FREQS\t5e+00");
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
  const std::string partial = test::read_bytes(path);
  EXPECT_EQ(partial.substr(0, 20), "ASCII KORVANTIX2 3 0");
  const std::string tail = "Hz\n\tS\n\t\tPOLY 0\n\t\t\n\tZref";
  ASSERT_GT(partial.size(), tail.size());
  EXPECT_EQ(partial.substr(partial.size() - tail.size()), tail);

  EXPECT_THROW(ascii(SparameterSplineModel({1, 2}, {C()}, {C()}, std::nullopt)),
               std::runtime_error);
  EXPECT_THROW_MSG(write_ascii(c, "/nonexistent-dir/x.kvx", 16), std::runtime_error,
                   "Unable to write to </nonexistent-dir/x.kvx>");
}

}  // namespace
}  // namespace korvantix
