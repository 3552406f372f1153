"""Benchmark: c.evaluate(freqs, kvx.MAG_PHASE) from Python, against baselines in the same run.

A 4-port container of 100,000 samples is evaluated at 200,000 frequencies. Rows, each the
median of interleaved rounds (wall clock):
  python      c.evaluate(freqs, kvx.MAG_PHASE), numpy array in, (F, 4, 4) complex128 out
  c++         SMatrixContainer::load_S at the same frequencies into a fresh array (numpy's
              memory, as evaluate's), timed inside C++: the library's threaded bulk
              evaluation as a C++ user calls it
  c++ load    SMatrixContainer::load into one sample per frequency, for comparison
  numpy       numpy's magnitude/phase interpolation of the same data (np.interp per entry on
              magnitude and unwrapped phase, precomputed once like the container's polar cache)
  numpy-vec   the same rule with one searchsorted for all entries
Targets: python / c++ <= 1.2, fastest numpy / python >= 3. `--check` exits 1 when missed.

Usage: PYTHONPATH=build/release/python /usr/bin/python3 python/bench/evaluate.py [--rounds 7]
"""

import argparse
import statistics
import sys
import time

import numpy as np

import korvantix as kvx

PORTS, SAMPLES, QUERIES = 4, 100_000, 200_000


def numpy_interp(f, mag, phase, q):
    out = np.empty((len(q), mag.shape[1]), dtype=np.complex128)
    for k in range(mag.shape[1]):
        out[:, k] = np.interp(q, f, mag[:, k]) * np.exp(1j * np.interp(q, f, phase[:, k]))
    return out.reshape(len(q), PORTS, PORTS)


def numpy_vectorised(f, mag, phase, q):
    i = np.clip(np.searchsorted(f, q, side="right") - 1, 0, len(f) - 2)
    w = ((q - f[i]) / (f[i + 1] - f[i]))[:, None]
    m = (1 - w) * mag[i] + w * mag[i + 1]
    p = (1 - w) * phase[i] + w * phase[i + 1]
    return (m * np.exp(1j * p)).reshape(len(q), PORTS, PORTS)


def timed(call):
    start = time.perf_counter()
    result = call()
    return time.perf_counter() - start, result


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--rounds", type=int, default=7)
    parser.add_argument("--check", action="store_true", help="exit 1 when a target is missed")
    args = parser.parse_args()

    rng = np.random.default_rng(1)
    f = np.linspace(1e6, 1e10, SAMPLES)
    s = rng.uniform(-1, 1, (SAMPLES, PORTS, PORTS)) + 1j * rng.uniform(-1, 1, (SAMPLES, PORTS, PORTS))
    c = kvx.SMatrixContainer(PORTS)
    c.add_samples(f, s, 50.0)
    q = np.sort(rng.uniform(f[0], f[-1], QUERIES))
    mag = np.abs(s).reshape(SAMPLES, -1)
    phase = np.unwrap(np.angle(s).reshape(SAMPLES, -1), axis=0)

    # Warm-up: fills the container's polar cache, as numpy's precomputation does for it.
    reference = c.evaluate(q, kvx.MAG_PHASE)
    assert np.allclose(reference, numpy_interp(f, mag, phase, q), atol=1e-9)
    assert np.allclose(reference, numpy_vectorised(f, mag, phase, q), atol=1e-9)

    rows = {"python": [], "c++": [], "c++ load": [], "numpy": [], "numpy-vec": []}
    for _ in range(args.rounds):
        rows["python"].append(timed(lambda: c.evaluate(q, kvx.MAG_PHASE))[0])
        out = np.empty((QUERIES, PORTS, PORTS), dtype=np.complex128)
        rows["c++"].append(kvx._korvantix._cpp_load_seconds(c, q, out))
        rows["c++ load"].append(kvx._korvantix._cpp_load_seconds(c, q, None))
        rows["numpy"].append(timed(lambda: numpy_interp(f, mag, phase, q))[0])
        rows["numpy-vec"].append(timed(lambda: numpy_vectorised(f, mag, phase, q))[0])
    med = {name: statistics.median(times) for name, times in rows.items()}
    for name, t in med.items():
        print(f"{name:10s} {t * 1e3:9.2f} ms  {QUERIES / t / 1e6:7.2f} M frequencies/s")
    overhead = med["python"] / med["c++"]
    speedup = min(med["numpy"], med["numpy-vec"]) / med["python"]
    print(f"python / c++            {overhead:5.2f}x  (target <= 1.2)")
    print(f"fastest numpy / python  {speedup:5.2f}x  (target >= 3)")
    if args.check and (overhead > 1.2 or speedup < 3):
        sys.exit(1)


if __name__ == "__main__":
    main()
