// A program a user would write against an installed korvantix.
#include <korvantix/korvantix.hpp>

#include <cstring>
#include <iostream>

int main() {
  if (std::strcmp(korvantix::libname(), "KORVANTIX") != 0 || korvantix::major_version() != 2) {
    std::cerr << "unexpected library identity\n";
    return 1;
  }
  std::cout << korvantix::libname() << ' ' << korvantix::major_version() << '.'
            << korvantix::minor_version() << '.' << korvantix::patchlevel() << '\n';
  return 0;
}
