"""Quick look at a network file: read it, evaluate it on a dense grid, plot |S21| in dB.

Usage: PYTHONPATH=build/release/python /usr/bin/python3 python/examples/quicklook.py FILE [--out PNG]

FILE is a kvx-file, a Touchstone file or a CITIfile. Without matplotlib the figures are printed.
"""

import argparse

import numpy as np

import korvantix as kvx


def main():
    parser = argparse.ArgumentParser(description="Plot |S21| of a network file in dB.")
    parser.add_argument("file")
    parser.add_argument("--points", type=int, default=1001)
    parser.add_argument("--out", help="write the plot to this image instead of showing it")
    args = parser.parse_args()

    c = kvx.read(args.file)
    fmin, fmax = c.band()
    freqs = np.linspace(fmin, fmax, args.points)
    s = c.evaluate(freqs, kvx.MAG_PHASE)  # (F, N, N)
    row, column = (1, 0) if c.nbPorts() > 1 else (0, 0)
    label = f"S{row + 1}{column + 1}"
    db = 20 * np.log10(np.maximum(np.abs(s[:, row, column]), 1e-300))
    print(f"{args.file}: {c.nbPorts()} ports {c.port_names}, {c.nbSamples()} samples, "
          f"{c.nbModels()} models, {fmin:g} .. {fmax:g} Hz")
    print(f"|{label}|: {db.min():.2f} .. {db.max():.2f} dB")

    try:
        import matplotlib
        if args.out:
            matplotlib.use("Agg")
        import matplotlib.pyplot as plt
    except ImportError:
        print("matplotlib is not installed: no plot")
        return
    fig, ax = plt.subplots()
    ax.plot(freqs / 1e9, db)
    ax.set_xlabel("frequency / GHz")
    ax.set_ylabel(f"|{label}| / dB")
    ax.set_title(args.file)
    ax.grid(True)
    if args.out:
        fig.savefig(args.out)
    else:
        plt.show()


if __name__ == "__main__":
    main()
