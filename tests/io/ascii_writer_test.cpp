#include <cctype>

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

// The every-kind golden shows the layout of every section and kind at precision 16; these show
// what it leaves out: the empty file, other precisions, -nan, and tables without transformations.
TEST(AsciiWriter, LayoutBeyondTheGolden) {
  EXPECT_EQ(test::ascii_of(SMatrixContainer(), 16),
            "ASCII KORVANTIX2 3 0\n\nPORTS 0\n\nPORT DATA NAMES 0\n\nGLOBAL PROPERTIES 0\n"
            "\nSAMPLES 0\nMODELS 0");
  // Every value of every section and kind honours the precision.
  const std::string p2 = test::ascii_of(test::every_kind(), 2);
  // Each number is a digit, a point, its fraction digits and an exponent: "d.ffe...".
  std::size_t numbers = 0;
  for (std::size_t point = p2.find('.'); point != std::string::npos;
       point = p2.find('.', point + 1), ++numbers) {
    ASSERT_TRUE(point > 0 && std::isdigit(static_cast<unsigned char>(p2[point - 1]))) << point;
    const std::size_t e = p2.find_first_not_of("0123456789", point + 1);
    EXPECT_EQ(e - point - 1, 2u) << p2.substr(point - 1, 12);
    EXPECT_EQ(p2[e], 'e') << p2.substr(point - 1, 12);
  }
  EXPECT_GT(numbers, 60u);

  SMatrixContainer two(2);
  SMatrixSample t(2, 1e9);
  t(0, 0) = C(1, 0);
  t(0, 1) = C(-0.0, 0.5);
  t(1, 0) = C(std::numeric_limits<double>::infinity(), -std::numeric_limits<double>::quiet_NaN());
  two.add(t);
  const std::string p0 = test::ascii_of(two, 0);
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
