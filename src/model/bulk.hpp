#pragma once

// S-matrices evaluated straight into caller arrays, the core of SMatrixContainer::load_S.

#include <korvantix/container.hpp>

#include <complex>

#include "model/storage.hpp"

namespace korvantix::detail {

// Where the previous sample search of a run ended. Every sample before that position lies below
// the frequency searched then, so for a frequency at or above it the next search starts there
// and, for ascending queries, ends a step or two later instead of descending the whole tree.
struct SampleCursor {
  SampleSet::const_iterator position;
  double f = 0.0;
  bool valid = false;
};

// The S entries of c.evaluate_symm(f, t) when symmetric, else of c.evaluate(f, t), bit for bit,
// into out[0] to out[N * N - 1] with N = c.nbPorts(). The cursor carries the search from one
// call to the next; a fresh one works for any first frequency. Throws what evaluate throws, and
// "S-matrix sample at <f> Hz has <k> ports, the container has <N>" for a sample of k != N ports.
void evaluate_s_into(const SMatrixContainer& c, double f, InterpolationType t, bool symmetric,
                     SampleCursor& cursor, std::complex<double>* out);

}  // namespace korvantix::detail
