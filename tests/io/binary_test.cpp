#include "io_test_support.hpp"

namespace korvantix {
namespace {

using test::Bytes;
using test::C;

// The writer's bytes of a container holding every kind of binary model, and the reader's way
// back, bit for bit: NaNs with payloads (one signalling, its sign set), a subnormal and -0 in
// samples and models, and a port data index that needs all 32 bits and reads unsigned.
TEST(BinaryWriter, LayoutAndTheWayBack) {
  EXPECT_EQ(test::written(SMatrixContainer()),
            Bytes().header(2, 3, 0).i32(0).i32(0).i32(0).i32(0).i32(0).str());
  const auto from_bits = [](std::uint64_t b) {
    double x;
    std::memcpy(&x, &b, sizeof x);
    return x;
  };
  const C odd(from_bits(0x7FF8000000000123u), from_bits(0xFFF0000000000001u));
  const C tiny(from_bits(1), -0.0);
  const PortDataName zpi("Zpi", 4294967295u);
  SMatrixContainer c(1, {zpi});
  c.name(0) = "p";
  c.add_port_property(0, "k", "vv");
  SMatrixSample s(1, -0.0, {zpi});
  s(0, 0) = odd;
  s.Zref(0) = tiny;
  s.set(zpi, C(3, 4));
  c.add(s);
  SMatrixModel m(1, 1, 2, {zpi});
  StaticTableModel table(2, {Transformation::Squared});
  table.addSample(5, C(3, 0));
  m.set(0, 0, &table);
  const PoleZeroModel pole_zero(4, {C(1, 1)}, {C(2, 2)}, C(3, 3), C(5, 5));
  m.setZref(0, &pole_zero);
  const SparameterSplineModel spline({1, 2}, {C(1, 0), C(2, 0)}, {tiny, odd},
                                     std::vector<double>{9});
  m.set(zpi, &spline);
  c.add(m);
  // clang-format off
  const std::string expected = Bytes().header(2, 3, 0)
      .i32(1).str("p")                                      // ports
      .i32(1).str("Zpi").i32(-1)                            // port data names
      .i32(0)                                               // global properties
      .i32(1).str("k").str("vv")                            // port 0 properties
      .i32(1).f64(-0.0).i32(1).complex(odd).i32(1).complex(tiny).complex(C(3, 4))
      .i32(1).f64(1).f64(2)                                 // one model
      .i32(4).i32(2).i32(1).i32(1).i32(2).f64(5).complex(C(3, 0))
      .i32(3).i32(1).complex(C(1, 1)).i32(1).complex(C(2, 2)).complex(C(3, 3))
          .complex(C(5, 5)).f64(4)
      .i32(6).i32(2).f64(1).f64(2).i32(2).complex(C(1, 0)).complex(C(2, 0))
          .i32(2).complex(tiny).complex(odd).i32(1).f64(9)
      .str();
  // Unknown transformation codes are kept (both chains skip them); a descending table sorts.
  const std::string descending = Bytes().i32(4).i32(2).i32(1).i32(2).i32(9).f64(3)
      .complex(C(1, 0)).f64(1).complex(C(2, 0)).str();
  // clang-format on
  EXPECT_EQ(test::written(c), expected);
  const SMatrixContainer back = test::parse(expected);
  EXPECT_EQ(back.port_data_names().at(0).second, 4294967295u);
  EXPECT_EQ(test::written(back), expected);

  detail::BinaryCursor cursor(descending);
  const auto t = detail::read_scalar_model(cursor);
  EXPECT_EQ(dynamic_cast<const StaticTableModel&>(*t).getTransformation(0), 9);
  EXPECT_EQ(dynamic_cast<const StaticTableModel&>(*t).getSample(0), std::make_pair(1.0, C(2, 0)));
}

TEST(BinaryWriter, UnsupportedModel) {
  const PolynomialModel a(C(1, 0));
  const std::unique_ptr<ScalarModel> norm(ScalarModel::createNorm(&a));
  std::string bytes;
  detail::OutputBuffer out(bytes);
  EXPECT_THROW_MSG(detail::format_scalar_model_binary(*norm, out), std::runtime_error,
                   "binary write for scalar model 102 not supported");
  EXPECT_THROW_MSG(
      detail::format_scalar_model_binary(
          SparameterSplineModel({1, 2}, {C()}, {C(), C()}, std::nullopt), out),
      std::runtime_error,
      "Number of knots undefined : unequal sizes of spline frequencies (2), samples (1) and "
      "coefficients (2)");
}

// Each file is refused with its message; where marked, the port-name reader refuses it alike.
TEST(BinaryReader, Refusals) {
  const std::string too_large = " too large for the rest of the binary kvx-file";
  const Bytes head = Bytes().header(2, 3, 0);
  const Bytes one_port = Bytes().ports(1);
  const Bytes model = Bytes(one_port).i32(0).i32(1).f64(1).f64(2);  // up to its S entry
  // 50000 ports with empty names fit; a 50000 x 50000 model does not.
  const Bytes many = Bytes().ports(50000);
  const std::vector<test::Refusal> cases = {
      // clang-format off
      {"BINARYKORVANTI", "not a binary kvx-file", true},
      {Bytes().header(1, 5, 0).str(),
       "binary kvx version 1.x.x not supported (development version)", true},
      {Bytes().header(2, 4, 1).str(),
       "Current version <2.11.3> can not read files generated with version 2.4.1"},
      {Bytes().raw("BINARYKORVANTIX").i32(2).i32(3).i32(0).i32(0).str(),
       "reader and file use different endianness"},
      // A file of the other byte order: swapped version numbers and marker.
      {"BINARYKORVANTIX" + std::string("\0\0\0\2\0\0\0\3\0\0\0\0\x11\x22\x33\x44\0\0\0\0", 20),
       "reader and file use different endianness", true},
      {Bytes(head).i32(-1).str(), "negative count -1 in binary kvx-file", true},
      {Bytes(head).i32(2147483647).str(), "count 2147483647" + too_large, true},
      {Bytes(head).i32(1).str(), "count 1" + too_large, true},
      {Bytes(head).i32(1).i32(100).raw("abcdefgh").str(), "count 100" + too_large, true},
      {Bytes(model).i32(1).i32(2).complex(C()).str(), "count 2" + too_large},
      {Bytes(one_port).i32(1).f64(1).i32(2).complex(C()).complex(C()).str(),
       "S-matrix list of 2 entries for 1 ports"},
      {Bytes(one_port).i32(1).f64(1).i32(1).complex(C()).i32(0).i32(0).str(),
       "Zref list of 0 entries for 1 ports"},
      {Bytes(model).i32(7).str(), "binary read for scalar model 7 not supported"},
      {Bytes(model).i32(201).str(), "binary read for scalar model 201 not supported"},
      {Bytes(model).i32(3).i32(2).complex(C()).complex(C()).i32(1).complex(C()).complex(C())
           .complex(C()).f64(1).str(),
       "invalid pole-zero model with 2 poles and 1 residues"},
      {Bytes(model).i32(4).i32(0).i32(0).i32(0).str(), "invalid static table model of degree 0"},
      {Bytes(model).i32(5).i32(1).f64(1).i32(1).complex(C()).i32(1).complex(C()).str(),
       "invalid spline model with 1 knots"},
      {Bytes(model).i32(5).i32(2).f64(1).f64(2).i32(1).complex(C()).i32(2).complex(C())
           .complex(C()).str(),
       "Number of knots undefined : unequal sizes of spline frequencies (2), samples (1) and "
       "coefficients (2)"},
      // A model's entries are kept as they arrive: a short file fails at the first one missing.
      {Bytes(many).i32(0).i32(1).f64(1).f64(2).i32(1).i32(0).str(),
       "unexpected end of binary kvx-file"},
      {Bytes(many).i32(1).f64(1).i32(4).raw(std::string(64, '\0')).str(),
       "S-matrix list of 4 entries for 50000 ports"},
      // clang-format on
  };
  test::expect_refusals(false, cases);
  // What was read before a cut stays: here the first of two models, each of two POLY 0.
  SMatrixContainer c;
  const Bytes cut = Bytes(one_port).i32(0).i32(2).f64(1).f64(2).i32(1).i32(0).i32(1).i32(0);
  EXPECT_THROW_MSG(detail::parse_binary(Bytes(cut).f64(3).f64(4).i32(1).str(), c),
                   std::runtime_error, "unexpected end of binary kvx-file");
  EXPECT_EQ(c.nbModels(), 1u);
}

}  // namespace
}  // namespace korvantix
