#!/usr/bin/env bash
# The README's main job: installs what is missing (Debian packages, through install-deps.sh),
# builds the kvx tool alone, and shows the bundled example filter: its info table on the
# terminal and a one-page HTML report with its plots, whose location it prints last.
# Usage: scripts/quicklook.sh [FILE]   (default: examples/data/bandpass.kvx)
set -euo pipefail
cd "$(dirname "$0")/.."
input=${1:-examples/data/bandpass.kvx}
build=build/quicklook
mkdir -p "$build"

scripts/install-deps.sh tool
cmake -S . -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Release -DBUILD_TESTING=OFF \
  -DKORVANTIX_BUILD_BENCHMARKS=OFF -DKORVANTIX_BUILD_FUZZERS=OFF -DKORVANTIX_BUILD_TOOLS=ON \
  >"$build/configure.log" 2>&1 || { cat "$build/configure.log"; exit 1; }
cmake --build "$build" --target kvx

kvx="$build/tools/kvx/kvx"
echo
"$kvx" info "$input"
report="$build/$(basename "${input%.*}").html"
"$kvx" report "$input" -o "$report"
echo
echo "report: file://$(pwd)/$report"
echo "kvx:    $kvx --help"
