// kvx run as a process on the example data and on small files: every command, its outputs read
// back with the library, its exit statuses and its exact messages.

#include <korvantix/korvantix.hpp>

#include <gtest/gtest.h>
#include <sys/wait.h>

#include <cmath>
#include <complex>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <string>
#include <tuple>
#include <vector>

namespace {

namespace fs = std::filesystem;
using namespace korvantix;

const std::string kData = KVX_DATA_DIR;

std::string slurp(const fs::path& path) {
  std::ifstream in(path, std::ios::binary);
  std::ostringstream text;
  text << in.rdbuf();
  return text.str();
}

// A file's text without the lines that stamp the time of writing.
std::string undated(const fs::path& path) {
  std::istringstream in(slurp(path));
  std::string out;
  for (std::string line; std::getline(in, line);)
    if (line.find("Date :") == std::string::npos) out += line + '\n';
  return out;
}

SMatrixContainer load(const fs::path& path) {
  SMatrixContainer c;
  read(c, path.string().c_str());
  return c;
}

struct Result {
  int status;
  std::string out;
  std::string err;
};

class Kvx : public ::testing::Test {
 protected:
  void SetUp() override {
    std::string pattern = (fs::temp_directory_path() / "kvx-test-XXXXXX").string();
    ASSERT_NE(::mkdtemp(pattern.data()), nullptr);
    dir = pattern;
  }
  void TearDown() override { fs::remove_all(dir); }

  // Runs kvx with the arguments in the scratch folder; "@" stands for the example data folder.
  Result run(std::string args) const {
    for (auto at = args.find('@'); at != std::string::npos; at = args.find('@'))
      args.replace(at, 1, kData + "/");
    const std::string command =
        "cd " + dir.string() + " && " KVX_PATH " " + args + " >stdout.txt 2>stderr.txt";
    const int status = std::system(command.c_str());
    Result r{WIFEXITED(status) ? WEXITSTATUS(status) : -1, slurp(dir / "stdout.txt"),
             slurp(dir / "stderr.txt")};
    fs::remove(dir / "stdout.txt");
    fs::remove(dir / "stderr.txt");
    return r;
  }
  fs::path dir;
};

TEST_F(Kvx, InfoShowsPortsDataAndBand) {
  Result r = run("info @bandpass_model.kvx");
  EXPECT_EQ(r.status, 0);
  EXPECT_EQ(r.err, "");
  EXPECT_EQ(r.out, "file         " + kData + "/bandpass_model.kvx\n" +
                       "format       kvx ASCII 2.3.0\n"
                       "ports        2\n"
                       "  port 1     in, reference 50 \u03a9, connector=SMA\n"
                       "  port 2     out, reference 50 \u03a9, connector=SMA\n"
                       "properties   device=bandpass filter, 2.4 GHz, 300 MHz bandwidth, "
                       "source=examples/make_example_data.cpp\n"
                       "samples      0\n"
                       "models       1\n"
                       "             1.5 GHz to 3.5 GHz: 4 pole-zero\n"
                       "frequencies  1.5 GHz to 3.5 GHz\n"
                       "symmetric    yes\n");
  r = run("info --json @coupler.kvxb");
  EXPECT_EQ(r.status, 0);
  for (const char* part :
       {"\"format\": \"kvx binary\"", "\"version\": \"2.3.0\"", "\"samples\": 251",
        "{\"name\": \"isolated\", \"reference_impedance\": [50, 0], \"properties\": "
        "{\"connector\": \"SMA\"}}",
        "\"from\": 1000000000,", "\"to\": 6000000000,", "\"symmetric\": true"})
    EXPECT_NE(r.out.find(part), std::string::npos) << part;
}

TEST_F(Kvx, ConvertRoundTripsNativeFilesExactly) {
  for (const char* name : {"bandpass.kvx", "bandpass_model.kvx", "coupler.kvxb"}) {
    const SMatrixContainer original = load(kData + "/" + name);
    ASSERT_EQ(run(std::string("convert @") + name + " a.kvxb").status, 0);
    ASSERT_EQ(run("convert a.kvxb b.kvx").status, 0);
    ASSERT_EQ(run("convert b.kvx c.data --format binary").status, 0);
    EXPECT_TRUE(load(dir / "a.kvxb") == original) << name;
    EXPECT_TRUE(load(dir / "b.kvx") == original) << name;
    EXPECT_TRUE(is_binary((dir / "c.data").c_str()) && load(dir / "c.data") == original) << name;
  }
}

TEST_F(Kvx, ConvertExportsAsTheLibraryWrites) {
  const SMatrixContainer bandpass = load(kData + "/bandpass.kvx");
  const SMatrixContainer model = load(kData + "/bandpass_model.kvx");
  const SMatrixContainer coupler = load(kData + "/coupler.kvxb");
  const std::string library = (dir / "library").string();
  const std::vector<std::complex<double>> z25{25.0, 25.0};
  const std::string models = "kvx: note: " + kData + "/bandpass_model.kvx holds models; exporting ";
  // kvx arguments (input, then output), its note, and the library call writing the same file.
  const std::vector<std::tuple<std::string, std::string, std::function<void()>>> cases{
      {"@bandpass.kvx out.s2p", "", [&] { write(bandpass, library.c_str(), Touchstone); }},
      {"@bandpass.kvx out.ts", "", [&] { write(bandpass, library.c_str(), TouchstoneV2); }},
      {"@coupler.kvxb out.cti", "", [&] { write(coupler, library.c_str(), Citifile); }},
      {"@bandpass.kvx out.s2p --renormalize 25", "",
       [&] { write(renormalize(bandpass, z25), library.c_str(), Touchstone); }},
      {"@bandpass_model.kvx out.s2p --points 101 --plan linear",
       models + "them at 101 frequencies of the linear plan\n",
       [&] {
         // Built here rather than with the library's plan export, which writes no reference
         // impedance for a container without samples.
         SMatrixContainer sampled(2);
         for (const double f : model.sample_frequencies(101, Linear))
           sampled.add(model.evaluate(f, MAG_PHASE));
         sampled.name(0) = "in";
         sampled.name(1) = "out";
         write(sampled, library.c_str(), Touchstone);
       }},
      {"@bandpass_model.kvx out.cti", models + "them at 201 frequencies of the adaptive plan\n",
       [&] { write(model, library.c_str(), Citifile, 201, 0.0, Adaptive); }},
  };
  for (const auto& [args, note, expected] : cases) {
    const Result r = run("convert " + args);
    EXPECT_EQ(r.status, 0) << args << r.err;
    EXPECT_EQ(r.err, note) << args;
    expected();
    const std::size_t output = args.find(' ') + 1;
    EXPECT_TRUE(undated(dir / args.substr(output, args.find(' ', output) - output)) ==
                undated(library))
        << args;
  }
}

TEST_F(Kvx, ResampleFollowsThePlanOrThinsOnAPlainGrid) {
  const SMatrixContainer bandpass = load(kData + "/bandpass.kvx");
  const SMatrixContainer model = load(kData + "/bandpass_model.kvx");
  std::vector<double> thin;  // 2 to 3 GHz holds 201 stored frequencies
  for (int k = 0; k <= 10; ++k)
    thin.push_back(2e9 + k * 1e9 / 10);
  // kvx arguments (from the model when it reads it), the frequencies and the note expected.
  const std::vector<std::tuple<std::string, std::vector<double>, std::string>> cases{
      {"@bandpass.kvx out.kvx --points 801", bandpass.sample_frequencies(801, Linear), ""},
      {"@bandpass.kvx out.kvx --points 11 --from 2GHz --to 3000MHz --interpolation real-imag", thin,
       "kvx: note: 11 points are fewer than the 201 frequencies in the band; using a plain "
       "linear grid\n"},
      {"@bandpass_model.kvx out.kvxb --points 50 --plan log",
       model.sample_frequencies(50, Logarithmic), ""},
      {"@bandpass_model.kvx out.kvx --points 40 --plan adaptive",
       model.sample_frequencies_adaptively(40), ""},
  };
  for (const auto& [args, frequencies, note] : cases) {
    const SMatrixContainer& source = args.find("model") != std::string::npos ? model : bandpass;
    const InterpolationType interpolation =
        args.find("real-imag") != std::string::npos ? REAL_IMAG : MAG_PHASE;
    const Result r = run("resample " + args);
    ASSERT_EQ(r.status, 0) << args << r.err;
    EXPECT_EQ(r.err, note);
    const SMatrixContainer out =
        load(dir / (args.find("kvxb") != std::string::npos ? "out.kvxb" : "out.kvx"));
    ASSERT_EQ(out.nbSamples(), frequencies.size()) << args;
    EXPECT_EQ(out.nbModels(), 0u);
    EXPECT_EQ(out.name(1), "out");
    EXPECT_EQ(out.get_global_properties(), source.get_global_properties());
    auto f = frequencies.begin();
    for (auto s = out.begin_samples(); s != out.end_samples(); ++s, ++f) {
      EXPECT_DOUBLE_EQ(s->frequency(), *f) << args;
      EXPECT_TRUE(*s == source.evaluate(s->frequency(), interpolation)) << args << ' ' << *f;
    }
  }
}

TEST_F(Kvx, DiffReportsTheLargestAndRmsDifferenceWithCmpExitStatus) {
  SMatrixContainer changed = load(kData + "/bandpass.kvx");
  SMatrixContainer copy(2);
  for (auto s = changed.begin_samples(); s != changed.end_samples(); ++s) {
    SMatrixSample sample = *s;
    if (sample.frequency() == 2.4e9) sample(1, 0) += 0.1;
    copy.add(sample);
  }
  copy.name(0) = "in";
  copy.name(1) = "out";
  write_binary(copy, (dir / "changed.kvxb").c_str());
  // One entry of 4 x 401 differs by 0.1: rms = 0.1 / sqrt(1604) = 0.00249688, -52.05 dB.
  Result r = run("diff @bandpass.kvx changed.kvxb");
  EXPECT_EQ(r.status, 1);
  EXPECT_EQ(r.out,
            "largest difference  0.1 (-20 dB) at 2.4 GHz in S21 (in \u2192 out)\n"
            "rms difference      0.00249688 (-52.05 dB)\n"
            "compared at         401 frequencies, 1.5 GHz to 3.5 GHz\n");
  EXPECT_EQ(run("diff @bandpass.kvx changed.kvxb --tolerance 0.11").status, 0);
  EXPECT_EQ(run("diff @bandpass.kvx changed.kvxb --tolerance 0.09").status, 1);
  r = run("diff @bandpass.kvx @bandpass.kvx");
  EXPECT_EQ(r.status, 0);
  EXPECT_EQ(r.out,
            "largest difference  0 (-inf dB) at 1.5 GHz in S11 (in)\n"
            "rms difference      0 (-inf dB)\n"
            "compared at         401 frequencies, 1.5 GHz to 3.5 GHz\n");
  // The model and its samples agree at the samples; --points compares between them too.
  r = run("diff @bandpass_model.kvx @bandpass.kvx --points 7");
  EXPECT_EQ(r.status, 1);
  EXPECT_NE(r.out.find("compared at         7 frequencies, 1.5 GHz to 3.5 GHz"), std::string::npos);
}

TEST_F(Kvx, FailuresExitWithTheirStatusAndLeaveNothingBehind) {
  SMatrixContainer complex_reference(1);
  SMatrixSample sample(1, 1e9);
  sample.Zref(0) = {50, 5};
  complex_reference.add(sample);
  write_binary(complex_reference, (dir / "complex.kvxb").c_str());
  struct Case {
    std::string args;
    int status;
    std::string message;
  };
  for (const Case& c : std::vector<Case>{
           {"info missing.kvx", 1, "kvx: Unable to read <missing.kvx>"},
           {"info stdout.txt", 1, "kvx: stdout.txt: not a kvx-file, Touchstone file or CITIfile"},
           {"", 2, "kvx: A subcommand is required"},
           {"info @bandpass.kvx --bogus", 2,
            "kvx: The following argument was not expected: --bogus"},
           {"convert @bandpass.kvx out.xyz", 2,
            "kvx: cannot tell the format of out.xyz from its extension; use --format"},
           {"convert @bandpass.kvx out.kvx --renormalize 25", 2,
            "kvx: --renormalize applies to a Touchstone output only"},
           {"convert @bandpass.kvx out.s2p --renormalize -5", 2,
            "kvx: --renormalize: expected a number above 0, found -5"},
           {"convert @coupler.kvxb out.s2p", 1,
            "kvx: out.s2p: a .s2p file holds 2 ports, the network has 4"},
           {"convert @bandpass.kvx nowhere/out.kvx", 1,
            "kvx: Unable to write to <nowhere/out.kvx>"},
           {"convert complex.kvxb out.s1p", 1,
            "kvx: Complex reference impedance is not supported by the touchstone file format."},
           {"resample @bandpass.kvx out.kvx --points 10 --from 2.4XHz", 2,
            "kvx: invalid frequency 2.4XHz"},
           {"resample @bandpass.kvx out.kvx --points 10 --from 3GHz --to 2GHz", 2,
            "kvx: --from must be below --to"},
           {"resample @bandpass.kvx out.kvx --points 10 --plan adaptive --to 2GHz", 2,
            "kvx: --from and --to apply to the linear, log and linlog plans"},
           {"resample @bandpass.kvx out.kvx", 2, "kvx: --points is required"},
           {"plot @bandpass.kvx -o out.svg --entries S31", 2,
            "kvx: entry S31 needs 3 ports, the network has 2"},
           {"plot @bandpass.kvx -o out.svg --db --smith", 2, "kvx: --db excludes --smith"},
           {"report @bandpass.kvx", 2, "kvx: --output is required"},
           {"diff @bandpass.kvx @coupler.kvxb", 2, "kvx: cannot compare networks of 2 and 4 ports"},
           {"diff @bandpass.kvx missing.kvx", 2, "kvx: Unable to read <missing.kvx>"},
           {"diff @bandpass.kvx", 2, "kvx: B is required"},
           {"diff @bandpass.kvx complex.kvxb --tolerance -1", 2,
            "kvx: --tolerance: expected a number of at least 0, found -1"}}) {
    const Result r = run(c.args);
    EXPECT_EQ(r.status, c.status) << c.args;
    EXPECT_EQ(r.err, c.message + "\n") << c.args;
    EXPECT_EQ(r.out, "") << c.args;
  }
  // Nothing half-written: the scratch folder holds its one input and nothing else.
  for (const auto& entry : fs::directory_iterator(dir))
    EXPECT_EQ(entry.path().filename(), "complex.kvxb");
}

TEST_F(Kvx, PlotsAndReportAreValidSelfContainedXml) {
  for (const auto& [args, output, expected_curves] :
       std::vector<std::tuple<std::string, std::string, std::size_t>>{
           {"plot @bandpass.kvx", "db.svg", 3},  // symmetric: S11, S21, S22
           {"plot @bandpass_model.kvx --phase --log-frequency --entries S21", "phase.svg", 1},
           {"plot @coupler.kvxb --smith --entries S11,S31", "smith.svg", 2},
           {"report @coupler.kvxb", "report.html", 3 * 10}}) {
    const Result r = run(args + " -o " + output);
    ASSERT_EQ(r.status, 0) << args << r.err;
    const std::string text = slurp(dir / output);
    std::size_t curves = 0;
    for (auto at = text.find("<polyline"); at != std::string::npos;
         at = text.find("<polyline", at + 1))
      ++curves;
    EXPECT_EQ(curves, expected_curves) << args;
    EXPECT_EQ(text.find("href"), std::string::npos) << "external reference in " << output;
    if (fs::exists("/usr/bin/xmllint")) {
      EXPECT_EQ(std::system(("/usr/bin/xmllint --noout " + (dir / output).string()).c_str()), 0)
          << output;
    }
  }
}

TEST_F(Kvx, ForeignInputsConvertBackToTheNativeData) {
  ASSERT_EQ(run("convert @coupler.kvxb coupler.cti").status, 0);
  for (const auto& [input, native] :
       std::vector<std::pair<std::string, std::string>>{{kData + "/bandpass.s2p", "bandpass.kvx"},
                                                        {kData + "/coupler.s4p", "coupler.kvxb"},
                                                        {"coupler.cti", "coupler.kvxb"}}) {
    const Result r = run("convert " + input + " back.kvx");
    ASSERT_EQ(r.status, 0) << input << r.err;
    const SMatrixContainer back = load(dir / "back.kvx"), original = load(kData + "/" + native);
    ASSERT_EQ(back.nbSamples(), original.nbSamples()) << input;
    for (auto a = back.begin_samples(), b = original.begin_samples(); a != back.end_samples();
         ++a, ++b)
      EXPECT_TRUE(a->frequency() == b->frequency() && a->S() == b->S() && a->Zref() == b->Zref())
          << input << ' ' << a->frequency();
    if (input.find(".s") != std::string::npos) {
      EXPECT_EQ(back.name(0), "in");  // from "! Port[1] in"
    }
  }
  const Result r = run("info @bandpass.s2p");
  EXPECT_NE(r.out.find("format       Touchstone 1.1\n"), std::string::npos) << r.out << r.err;
}

}  // namespace
