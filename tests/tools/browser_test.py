#!/usr/bin/python3
"""Renders kvx's pictures in headless Chromium and checks that curves show.

Usage: browser_test.py KVX DATA_DIR WORK_DIR
Draws each plot kind and the report of the example data, screenshots them, and counts coloured
(curve) pixels inside the plot area: a picture that is only a frame and a grid has none, since
the grid, axes and text are all grey.
"""
import os
import shutil
import struct
import subprocess
import sys
import tempfile
import zlib

CHROMIUM = "/usr/bin/chromium"


def decode_png(path):
    """The rows of (r, g, b) tuples of an 8-bit RGB or RGBA PNG."""
    data = open(path, "rb").read()
    assert data[:8] == b"\x89PNG\r\n\x1a\n", "not a PNG"
    pos, idat = 8, b""
    while pos < len(data):
        length, kind = struct.unpack(">I4s", data[pos:pos + 8])
        chunk = data[pos + 8:pos + 8 + length]
        if kind == b"IHDR":
            width, height, depth, colour = struct.unpack(">IIBB", chunk[:10])
        elif kind == b"IDAT":
            idat += chunk
        pos += 12 + length
    assert depth == 8 and colour in (2, 6), f"unsupported PNG depth {depth} colour {colour}"
    bpp = 3 if colour == 2 else 4
    raw, stride, rows, prev = zlib.decompress(idat), width * bpp, [], bytearray(width * bpp)
    for y in range(height):
        start = y * (stride + 1)
        kind, line = raw[start], bytearray(raw[start + 1:start + 1 + stride])
        for x in range(stride):
            a = line[x - bpp] if x >= bpp else 0
            b, c = prev[x], prev[x - bpp] if x >= bpp else 0
            if kind == 1: line[x] = (line[x] + a) & 255
            elif kind == 2: line[x] = (line[x] + b) & 255
            elif kind == 3: line[x] = (line[x] + (a + b) // 2) & 255
            elif kind == 4:
                p = a + b - c
                pa, pb, pc = abs(p - a), abs(p - b), abs(p - c)
                line[x] = (line[x] + (a if pa <= pb and pa <= pc else b if pb <= pc else c)) & 255
        rows.append([tuple(line[i:i + 3]) for i in range(0, stride, bpp)])
        prev = line
    return rows


def coloured(rows, x0, y0, x1, y1):
    """Pixels in the box whose channels differ by more than a grey's or an anti-aliased edge's."""
    return sum(1 for row in rows[y0:y1] for (r, g, b) in row[x0:x1] if max(r, g, b) - min(r, g, b) > 60)


def screenshot(target, png, size):
    profile = tempfile.mkdtemp(prefix="kvx-chromium-")
    try:
        subprocess.run([CHROMIUM, "--headless", "--no-sandbox", "--disable-gpu", "--disable-quic",
                        "--no-first-run", "--disable-background-networking",
                        "--disable-component-update", "--disable-sync", "--hide-scrollbars",
                        f"--user-data-dir={profile}", f"--screenshot={png}",
                        f"--window-size={size}", "file://" + os.path.abspath(target)],
                       check=True, capture_output=True, timeout=120)
    finally:
        shutil.rmtree(profile, ignore_errors=True)


def main():
    kvx, data, work = sys.argv[1:4]
    os.makedirs(work, exist_ok=True)
    failures = []
    plot = ("900,520", (80, 54, 648, 458), 300)  # window size, plot-area box, least coloured pixels
    cases = {  # name: kvx arguments, then how to look at the picture
        "magnitude": (["plot", f"{data}/bandpass.kvx", "--db"], plot),
        "phase": (["plot", f"{data}/bandpass_model.kvx", "--phase", "--log-frequency"], plot),
        "smith": (["plot", f"{data}/coupler.kvxb", "--smith", "--entries", "S11,S21,S31,S41"],
                  ("900,520", (160, 60, 560, 460), 300)),
        "report": (["report", f"{data}/coupler.kvxb"], ("1000,2400", (0, 0, 1000, 2400), 3000)),
    }
    for name, (arguments, (size, box, least)) in cases.items():
        output = os.path.join(work, name + (".html" if name == "report" else ".svg"))
        subprocess.run([kvx] + arguments + ["-o", output], check=True)
        png = os.path.join(work, name + ".png")
        screenshot(output, png, size)
        rows = decode_png(png)
        count = coloured(rows, *box)
        print(f"{name}: {count} coloured pixels in the plot area ({png})")
        if count < least:
            failures.append(f"{name}: {count} coloured pixels, expected at least {least}")
        # The frame alone: the legend's colour swatches lie outside the box, the curves inside.
        if name != "report" and coloured(rows, 0, 0, 70, 520) != 0:
            failures.append(f"{name}: colour left of the plot area")
    for failure in failures:
        print("FAIL " + failure)
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())
