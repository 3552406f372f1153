#pragma once

// Texts and constants that several parts of the library state, kept here once so that they
// cannot drift apart.

#include <korvantix/evaluator.hpp>

#include <cstddef>
#include <cstdint>
#include <limits>
#include <stdexcept>

#include "detail/message.hpp"

namespace korvantix::detail {

// The literal constants of the phase arithmetic; M_PI is not portable and a computed pi could
// differ in its last bit.
inline constexpr double kPi = 3.141592653589793;
inline constexpr double kTwoPi = 6.283185307179586;

inline constexpr const char* kPortOutOfBounds = "port index out of bounds";
inline constexpr const char* kEmptyContainer = "empty container";

[[noreturn]] inline void throw_port_out_of_bounds() {
  throw std::runtime_error(kPortOutOfBounds);
}

[[noreturn]] inline void throw_empty_container() {
  throw std::runtime_error(kEmptyContainer);
}

// The port-data key of a modal parameter at a port.
// Throws std::runtime_error "modalParameter: unknown modalPortParameter" outside Zpi..Gamma.
inline PortDataName modal_key(std::size_t port, ModalPortParameterType type) {
  static constexpr const char* kModalNames[] = {"Zpi", "Zpv", "Zvi", "Gamma"};
  // The enumeration has a fixed 32-bit type, so a code such as 7 read from a file reaches here
  // as a valid value and must be refused rather than used as a table index.
  const auto code = static_cast<std::int32_t>(type);
  if (code < 0 || code > 3) throw std::runtime_error("modalParameter: unknown modalPortParameter");
  return {kModalNames[code], port};
}

// Throws std::runtime_error "S-matrix sample at <f> Hz has <k> ports, the container has <n>"
// when a sample read from a container of n ports has k != n ports.
inline void check_port_count(const SMatrixSample& sample, std::size_t n) {
  if (sample.nbPorts() != n) {
    throw std::runtime_error(message("S-matrix sample at ", sample.frequency(), " Hz has ",
                                     sample.nbPorts(), " ports, the container has ", n));
  }
}

// N * N for an S-matrix of N ports.
// Throws std::runtime_error "S-matrix of <n> ports is too large" when the product would wrap
// around: a wrapped size would allocate a small matrix that the unchecked accessors overrun.
inline std::size_t matrix_size(std::size_t nb_ports) {
  if (nb_ports != 0 && nb_ports > std::numeric_limits<std::size_t>::max() / nb_ports) {
    throw std::runtime_error(message("S-matrix of ", nb_ports, " ports is too large"));
  }
  return nb_ports * nb_ports;
}

}  // namespace korvantix::detail
