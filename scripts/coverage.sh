#!/usr/bin/env bash
# Line and branch coverage of the library's sources by the whole test suite: builds the
# coverage preset, runs the tests and prints gcovr's summary of src/. Branches that only an
# exception's clean-up takes are left out, as are the ones the compiler adds for unreachable code.
# Usage: scripts/coverage.sh [--html DIR]   (also writes a browsable report into DIR)
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/install-deps.sh
find build/coverage -name '*.gcda' -delete 2>/dev/null || true
cmake --workflow --preset coverage >/dev/null
report=()
[ "${1:-}" = --html ] && mkdir -p "$2" && report=(--html-details "$2/index.html")
# The per-file table goes to build/coverage/coverage.txt; the summary is printed.
gcovr --root . --filter 'src/' --exclude-throw-branches --exclude-unreachable-branches \
  --output build/coverage/coverage.txt --print-summary "${report[@]}" build/coverage
