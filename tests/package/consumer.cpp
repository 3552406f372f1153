// A program a user would write against an installed korvantix: it crosses the library
// boundary with virtual calls, dynamic_cast, exceptions and the file entry points.
#include <korvantix/korvantix.hpp>

#include <cstdio>
#include <cstring>
#include <iostream>
#include <memory>
#include <stdexcept>
#include <string>

namespace {

int fail(const char* what) {
  std::cerr << "consumer: " << what << '\n';
  return 1;
}

}  // namespace

int main() {
  using namespace korvantix;
  if (std::strcmp(libname(), "KORVANTIX") != 0 || major_version() != 2) {
    return fail("unexpected library identity");
  }

  SMatrixContainer network(2);
  SMatrixSample sample(2, 1e9);
  sample(1, 0) = {0.5, -0.25};
  network.add(sample);
  try {
    network.add(sample);
    return fail("a duplicate sample was accepted");
  } catch (const std::runtime_error& error) {
    if (std::string(error.what()) != "S-matrix sample at 1e+09 Hz is already available") {
      return fail("unexpected message");
    }
  }

  const PolynomialModel a({1.0, 2.0});
  const std::unique_ptr<ScalarModel> sum(ScalarModel::createSum(&a, &a));
  if (sum->type() != ScalarModel::Sum || dynamic_cast<const PolynomialModel*>(sum.get())) {
    return fail("scalar operator lost its identity");
  }

  const std::string path = "consumer_roundtrip.kvx";
  write(network, path.c_str(), BINARY);
  SMatrixContainer back;
  read(back, path.c_str());
  std::remove(path.c_str());
  if (!(back == network)) return fail("binary round trip changed the container");

  std::cout << libname() << ' ' << major_version() << '.' << minor_version() << '.' << patchlevel()
            << ": " << network(1e9, 1, 0, MAG_PHASE) << '\n';
  return 0;
}
