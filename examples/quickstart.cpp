#include <korvantix/korvantix.hpp>

#include <iostream>

int main() {
  std::cout << korvantix::libname() << ' ' << korvantix::major_version() << '.'
            << korvantix::minor_version() << '.' << korvantix::patchlevel() << '\n';
}
