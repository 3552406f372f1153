// A first korvantix program: build a 2-port container from two measured samples and a
// polynomial model, then ask it for S-parameters at a few frequencies.
#include <korvantix/korvantix.hpp>

#include <complex>
#include <iostream>
#include <stdexcept>

int main() {
  using namespace korvantix;
  using cplx = std::complex<double>;

  SMatrixContainer network(2);
  network.name(0) = "input";
  network.name(1) = "output";
  network.add_global_property("device", "bandpass filter");
  network.add_port_property(0, "connector", "SMA");

  // Two measured samples below 1 GHz with 50-ohm ports.
  for (const double f : {0.5e9, 0.8e9}) {
    SMatrixSample sample(2, f);
    sample(0, 0) = sample(1, 1) = cplx(0.1, -0.05 * f / 1e9);
    sample(0, 1) = sample(1, 0) = cplx(0.9, -0.2 * f / 1e9);
    sample.Zref(0) = sample.Zref(1) = 50.0;
    network.add(sample);
  }

  // A model from 1 to 2 GHz: S21 = S12 falls linearly with frequency, Zref = 50 ohm.
  SMatrixModel model(2, 1e9, 2e9);
  const PolynomialModel transmission(cplx(1.0, 0.0), cplx(-2e-10, -1e-10));
  const PolynomialModel reflection(cplx(0.05, 0.0));
  const PolynomialModel fifty_ohm(cplx(50.0, 0.0));
  model.set(0, 1, &transmission);
  model.set(1, 0, &transmission);
  model.set(0, 0, &reflection);
  model.set(1, 1, &reflection);
  model.setZref(0, &fifty_ohm);
  model.setZref(1, &fifty_ohm);
  network.add(model);

  std::cout << "ports: " << network.name(0) << ", " << network.name(1) << '\n'
            << "band:  " << network.from() << " Hz to " << network.to() << " Hz\n";
  std::cout << "S21 at 1.5 GHz (model):          " << network(1.5e9, 1, 0, MAG_PHASE) << '\n';
  std::cout << "S21 at 0.8 GHz (stored sample):  " << network(0.8e9, 1, 0, MAG_PHASE) << '\n';
  std::cout << "S21 at 0.65 GHz (interpolated):  " << network(0.65e9, 1, 0, REAL_IMAG) << '\n';
  // Between the last sample and the first model there is nothing to bridge from below the
  // model: the container says so rather than guess.
  try {
    network(0.9e9, 1, 0, MAG_PHASE);
  } catch (const std::runtime_error& error) {
    std::cout << "S21 at 0.9 GHz: " << error.what() << '\n';
  }
  std::cout << '\n' << network << '\n';
  return 0;
}
