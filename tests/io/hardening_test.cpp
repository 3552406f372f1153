// The readers under attack: every proper prefix of every golden file is refused and reads in
// pieces exactly as from memory, single-byte damage reads or is refused with a plain
// runtime_error, and the token layer's fast numbers agree with the stream-exact parsers.

#include <algorithm>
#include <filesystem>
#include <map>
#include <set>
#include <tuple>

#include "detail/number_parse.hpp"
#include "io/ascii_tokens.hpp"
#include "io_test_support.hpp"
#include "pieces.hpp"

namespace korvantix {
namespace {

using test::C;

// Every kvx-file under tests/data by its magic (the failing examples too: a prefix of a bad file
// must be refused as well), then inputs with a text and a word longer than a small window, which
// have no ".kvx" in their names and are read whole only.
std::map<std::string, std::string> inputs() {
  std::map<std::string, std::string> all;
  for (const auto& entry : std::filesystem::directory_iterator(KORVANTIX_TEST_DATA_DIR)) {
    std::string bytes = test::read_bytes(entry.path().string());
    if (detail::has_ascii_magic(bytes) || detail::has_binary_magic(bytes)) {
      all[entry.path().filename().string()] = std::move(bytes);
    }
  }
  const std::string ascii = test::read_bytes(test::data_file("ascii_v23_every_kind.kvx"));
  const std::string long_text = ascii.substr(0, ascii.find("GLOBAL PROPERTIES 1")) +
                                "GLOBAL PROPERTIES 1 <" + std::string(300, 'k') + "> <v> " +
                                ascii.substr(ascii.find("PORT PROPERTIES 0"));
  all["long text"] = long_text;
  all["fail_long_word"] = ascii.substr(0, ascii.find("GLOBAL")) + std::string(200, 'W');
  return all;
}

TEST(Goldens, AreWhatTheWritersWriteAndTheReadersRead) {
  const std::string binary = test::read_bytes(test::data_file("binary_v23_every_kind.kvx"));
  const std::string ascii = test::read_bytes(test::data_file("ascii_v23_every_kind.kvx"));
  EXPECT_EQ(test::written(test::parse(binary)), binary);
  EXPECT_EQ(test::written(test::parse(binary), 16), ascii);
  EXPECT_EQ(test::written(test::parse(ascii)), binary);
  EXPECT_EQ(test::written(test::parse(test::read_bytes(test::data_file("binary_v23_empty.kvx")))),
            test::written(SMatrixContainer()));
  // The older files read as the 2.3 file without their extra sections: 2.0 has no port data
  // names (the 2.3 file has an empty list behind the ports, here the 9 bytes after the 31 of
  // the header), 2.2 adds a dropped list of (text, count) "port models".
  const std::string v20 = test::read_bytes(test::data_file("binary_v20_one_port.kvx"));
  const std::string v22 = test::read_bytes(test::data_file("binary_v22_port_models.kvx"));
  const std::string as_v23 =
      test::Bytes().header(2, 3, 0).raw(v20.substr(31, 9)).i32(0).raw(v20.substr(40)).str();
  EXPECT_EQ(test::written(test::parse(v20)), as_v23);
  EXPECT_EQ(test::written(test::parse(v22)), as_v23);
}

// An ASCII file may end in a number or a keyword that a shorter cut still spells correctly:
// those prefixes are genuine files and read. Every other proper prefix must be refused.
const std::tuple<const char*, std::size_t, std::size_t> kReadableAsciiPrefixes[] = {
    // "MODELS 0\n" without its line end.
    {"ascii_v22_portmodels.kvx", 158, 158},
    // "FREQSCALE\t6.283185307179586e+00\r\n" cut after a digit, after the "." or inside the
    // exponent ("6.28e+0"), and without its line end.
    {"ascii_v23_crlf.kvx", 605, 622},
    {"ascii_v23_crlf.kvx", 625, 627},
    // "FREQSCALE\t2.0000000000000000e+09" cut after a digit or after the ".", and cut to
    // "e+0"; cuts to "e" and "e+" leave no number.
    {"ascii_v23_every_kind.kvx", 2374, 2391},
    {"ascii_v23_every_kind.kvx", 2394, 2394},
};

// Each input whole through windows of pieces of 1, 3 and 1000 bytes with the size unknown and
// known (six ways, "way" 0 to 5); each prefix in one of those ways, in turn. Each byte of the
// smaller goldens is also damaged in turn: the file then reads or is refused with a plain
// runtime_error.
const std::size_t kPieces[] = {1, 3, 1000};

TEST(Hostile, CutFilesAreRefusedAndReadInPiecesAsFromMemoryDamagedOnesReadOrAreRefused) {
  std::set<std::pair<std::string, std::size_t>> readable;
  std::set<std::string> messages;
  std::size_t goldens = 0, damaged = 0;
  for (const auto& [name, bytes] : inputs()) {
    const bool ascii = detail::has_ascii_magic(bytes);
    const bool prefixes = name.find(".kvx") != std::string::npos;
    goldens += prefixes;
    const std::size_t size = bytes.size();
    for (std::size_t n = prefixes ? 0 : size; n <= size; ++n) {
      const std::string_view prefix = std::string_view(bytes).substr(0, n);
      SCOPED_TRACE(name + " cut to " + std::to_string(n) + " bytes");
      const std::string read = test::outcome(detail::Window(prefix), ascii);
      const std::string names = test::outcome(detail::Window(prefix), ascii, true);
      const bool refused = read.rfind("error: ", 0) == 0;
      if (n < size && !refused) readable.emplace(name, n);
      if (n == size) {
        EXPECT_EQ(refused, name.rfind("fail_", 0) == 0) << read;
      }
      const std::size_t first = n < size ? n % 6 : 0, last = n < size ? first + 1 : 6;
      for (std::size_t way = first; way < last; ++way) {
        const std::size_t piece = kPieces[way % 3];
        const std::int64_t hint = way < 3 ? -1 : static_cast<std::int64_t>(n);
        test::Pieces source(prefix, piece), again(prefix, piece);
        EXPECT_EQ(test::outcome(detail::Window(source, hint, 1), ascii), read) << way;
        EXPECT_EQ(test::outcome(detail::Window(again, hint, 1), ascii, true), names) << way;
      }
      for (const unsigned char value : {0x00, 0xFF, 0x7F, 0x80}) {
        if (!prefixes || n == size || size > 4096) break;
        std::string bad = bytes;
        bad[n] = static_cast<char>(value);
        SCOPED_TRACE("uncut, byte " + std::to_string(n) + " set to " + std::to_string(value));
        messages.insert(test::outcome(detail::Window(bad), ascii));
        test::outcome(detail::Window(bad), ascii, true);
        ++damaged;
      }
    }
  }
  EXPECT_GE(goldens, 8u);
  EXPECT_GT(damaged, 10000u);
  std::set<std::pair<std::string, std::size_t>> expected;
  for (const auto& [file, first, last] : kReadableAsciiPrefixes) {
    for (std::size_t n = first; n <= last; ++n)
      expected.emplace(file, n);
  }
  EXPECT_EQ(readable, expected);
  // The damage reaches the checks a hostile file has to pass, not just the magic.
  for (const char* message :
       {"not a binary kvx-file", "not an ascii kvx-file",
        "reader and file use different endianness", "binary read for scalar model 0 not supported",
        "S-matrix list of 0 entries for 2 ports"}) {
    EXPECT_EQ(messages.count(std::string("error: ") + message), 1u) << message;
  }
}

// The token layer reads the writers' number form straight through from_chars and leaves
// everything else to the stream-exact parsers; both ways must agree on value (bit for bit),
// position and failure for every spelling, near misses included. Tokens are split at '|'.
TEST(AsciiTokens, NumbersAgreeWithTheStreamExactParsers) {
  const std::string list =
      "1|-1|1.|-.5|.5|+1|-0|00012|1e5|1e+05|1E-5|1e|1e+|1e+x|1.5.3|1..|1e5e|1e5.|0x1p3|1e400|"
      "-1e400|1e-400|-1e-400|4.9406564584124654e-324|2.4703282292062327e-324|"
      "2.2250738585072011e-308|1-2|1+2|inf|-inf|nan|-nan|Infinity|12345678901234567890123|-|.|e5|"
      "1.0000000000000000e+09|-9.9999999999999995e-01|1,|1)|1(|7\t|\r\n3|"
      "(1,2)|(1, 2)|( 1,2)|(1,2 )|(1)|(1,2|(1,2]|(1e,2)|(inf,-nan)|(-0,-0)|(1.5e+09,-2.5e-09)|"
      "(+1,2)|(1,+2)|(1;2)|(1,2e400)|(1e-400,5)|(1,2)x|(1.,.5)|(1e5e,2)|(1,2e+)|((1,2)|(1,(2)|"
      "(5e-324,-0)|(-nan,nan)x|(|()|(,)|(1,)";
  for (std::size_t at = 0; at < list.size();) {
    const std::size_t bar = std::min(list.find('|', at), list.size());
    const std::string token = list.substr(at, bar - at);
    at = bar + 1;
    for (const std::string& text : {token, token + " rest"}) {
      const char* const end = text.data() + text.size();
      detail::AsciiTokens reals(text), complexes(text);
      const double fast_real = reals.real();
      const C fast_complex = complexes.complex();
      double real = 0.0;
      C complex;
      const detail::ParseResult r = detail::parse_real(text.data(), end, real);
      const detail::ParseResult z = detail::parse_complex(text.data(), end, complex);
      EXPECT_EQ(reals.failed(), !r.ok) << text;
      EXPECT_EQ(complexes.failed(), !z.ok) << text;
      EXPECT_EQ(reals.remaining(), static_cast<std::size_t>(end - r.ptr)) << text;
      EXPECT_EQ(complexes.remaining(), static_cast<std::size_t>(end - z.ptr)) << text;
      EXPECT_EQ(std::memcmp(&fast_real, &real, sizeof real), 0) << text << ": " << fast_real;
      if (z.ok) {
        EXPECT_EQ(std::memcmp(&fast_complex, &complex, sizeof complex), 0)
            << text << ": " << fast_complex;
      }
    }
  }
}

}  // namespace
}  // namespace korvantix
