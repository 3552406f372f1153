// Writes the example data set under examples/data/ with the library's own models and writers:
//   bandpass_model.kvx  a third-order Butterworth bandpass (2.4 GHz, 300 MHz wide) as pole-zero
//                       models over 1.5 to 3.5 GHz
//   bandpass.kvx        the same filter sampled at 401 frequencies, as a measurement would be
//   bandpass.s2p        its Touchstone export
//   coupler.kvxb        a 10 dB quarter-wave directional coupler, 4 ports, 1 to 6 GHz
//   coupler.s4p         its Touchstone export
// Usage: make_example_data DIRECTORY
#include <korvantix/korvantix.hpp>

#include <cmath>
#include <complex>
#include <iostream>
#include <string>
#include <vector>

namespace {

using namespace korvantix;
using cplx = std::complex<double>;

constexpr double kPi = 3.14159265358979323846;

// The lowpass prototype's Butterworth poles moved to the band: each p gives the two roots of
// s^2 - p B s + w0^2 = 0 (s in units of 1e9 rad/s, the models' scale).
SMatrixModel bandpass_model() {
  const double w0 = 2 * kPi * 2.4, bandwidth = 2 * kPi * 0.3;
  std::vector<cplx> poles;
  for (int k = 1; k <= 3; ++k) {
    const cplx p = std::polar(1.0, kPi * (2 * k + 2) / 6.0);
    const cplx root = std::sqrt(p * p * bandwidth * bandwidth - 4 * w0 * w0);
    poles.push_back((p * bandwidth + root) / 2.0);
    poles.push_back((p * bandwidth - root) / 2.0);
  }
  // S21 = (B s)^3 / D(s) and S11 = (s^2 + w0^2)^3 / D(s) with D the monic product over the
  // poles: lossless, |S11|^2 + |S21|^2 = 1. Residues N(p_k) / prod_{j != k} (p_k - p_j).
  const auto residues = [&](auto numerator) {
    std::vector<cplx> out;
    for (std::size_t k = 0; k < poles.size(); ++k) {
      cplx denominator = 1.0;
      for (std::size_t j = 0; j < poles.size(); ++j)
        if (j != k) denominator *= poles[k] - poles[j];
      out.push_back(numerator(poles[k]) / denominator);
    }
    return out;
  };
  const PoleZeroModel s21(1e9, poles, residues([&](cplx s) { return std::pow(bandwidth * s, 3); }),
                          0.0, 0.0);
  const PoleZeroModel s11(1e9, poles,
                          residues([&](cplx s) { return std::pow(s * s + w0 * w0, 3); }), 1.0, 0.0);
  const PolynomialModel fifty(cplx(50.0));
  SMatrixModel model(2, 1.5e9, 3.5e9);
  model.set(0, 0, &s11);
  model.set(1, 1, &s11);
  model.set(1, 0, &s21);
  model.set(0, 1, &s21);
  model.setZref(0, &fifty);
  model.setZref(1, &fifty);
  return model;
}

void describe(SMatrixContainer& c, const std::vector<std::string>& names, const char* device) {
  for (std::size_t i = 0; i < names.size(); ++i) {
    c.name(i) = names[i];
    c.add_port_property(i, "connector", "SMA");
  }
  c.add_global_property("device", device);
  c.add_global_property("source", "examples/make_example_data.cpp");
}

// A quarter-wave coupled-line coupler at 3.5 GHz: ports in, through, coupled, isolated, with a
// little mismatch and leakage so that no entry is exactly zero.
SMatrixSample coupler_sample(double f) {
  const double theta = kPi / 2 * f / 3.5e9, k = std::pow(10.0, -10.0 / 20.0);
  const double q = std::sqrt(1 - k * k);
  const cplx j(0, 1), d = q * std::cos(theta) + j * std::sin(theta);
  const cplx through = q / d, coupled = j * k * std::sin(theta) / d;
  const cplx reflect = 0.03 * std::exp(-2.0 * j * theta), isolated = 0.02 * std::exp(-j * theta);
  const cplx rows[4][4] = {{reflect, through, coupled, isolated},
                           {through, reflect, isolated, coupled},
                           {coupled, isolated, reflect, through},
                           {isolated, coupled, through, reflect}};
  SMatrixSample sample(4, f);
  for (std::size_t r = 0; r < 4; ++r) {
    sample.Zref(r) = 50.0;
    for (std::size_t c = 0; c < 4; ++c)
      sample(r, c) = rows[r][c];
  }
  return sample;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::cerr << "usage: make_example_data DIRECTORY\n";
    return 2;
  }
  const std::string dir = argv[1];
  try {
    SMatrixContainer model(2);
    describe(model, {"in", "out"}, "bandpass filter, 2.4 GHz, 300 MHz bandwidth");
    model.add(bandpass_model());
    write_ascii(model, (dir + "/bandpass_model.kvx").c_str(), 16);

    SMatrixContainer sampled(2);
    describe(sampled, {"in", "out"}, "bandpass filter, 2.4 GHz, 300 MHz bandwidth");
    for (int k = 0; k <= 400; ++k)
      sampled.add(model.evaluate(1.5e9 + k * 5e6, MAG_PHASE));
    write_ascii(sampled, (dir + "/bandpass.kvx").c_str(), 16);
    write(sampled, (dir + "/bandpass.s2p").c_str(), Touchstone);

    SMatrixContainer coupler(4);
    describe(coupler, {"in", "through", "coupled", "isolated"}, "10 dB directional coupler");
    for (int k = 0; k <= 250; ++k)
      coupler.add(coupler_sample(1e9 + k * 20e6));
    write_binary(coupler, (dir + "/coupler.kvxb").c_str());
    write(coupler, (dir + "/coupler.s4p").c_str(), Touchstone);
  } catch (const std::exception& error) {
    std::cerr << "make_example_data: " << error.what() << '\n';
    return 1;
  }
  return 0;
}
