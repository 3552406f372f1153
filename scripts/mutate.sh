#!/usr/bin/env bash
# Measures what the test suite catches: applies a fixed, seeded sample of small faults (mutants)
# to the library's sources one at a time, rebuilds, runs the suite and counts the mutants it
# kills. A mutant that does not compile is not counted. Run it before and after changing the
# tests, on the same sources: the same seed and sources give the same mutants.
#
# Kinds of mutant, each on one line of a src/**/*.cpp file:
#   flip      a relational, equality, arithmetic or logical operator (< to <=, == to !=, + to -,
#             && to ||, ...)
#   boundary  an integer literal n becomes n + 1
#   drop      an expression statement (a call, an assignment, an increment) is removed
#   swap      the two arguments of a two-argument call change places
#
# Usage: scripts/mutate.sh [-n COUNT] [-s SEED] [-o LOG] [-f REGEX] [-r]
#   defaults 150 mutants, seed 1, log build/mutate/mutants.log; -f draws the mutants only from
#   files whose path matches REGEX (to measure the tests of one subsystem before and after a
#   change to them); -r resumes an interrupted run from its log.
# Takes about half a minute a mutant on two cores. It edits files in place and puts each back
# before the next mutant (and on exit), so run it on a checkout you are not editing.
set -euo pipefail
cd "$(dirname "$0")/.."
count=150 seed=1 build=build/mutate log="" filter="" resume=false
while getopts "n:s:o:f:r" opt; do
  case $opt in
    n) count=$OPTARG ;;
    s) seed=$OPTARG ;;
    o) log=$OPTARG ;;
    f) filter=$OPTARG ;;
    r) resume=true ;;
    *) echo "usage: scripts/mutate.sh [-n COUNT] [-s SEED] [-o LOG] [-f REGEX] [-r]" >&2; exit 2 ;;
  esac
done
log=${log:-$build/mutants.log}

# Every mutant relinks each test program against the static library: lld links them fastest.
linker=()
command -v ld.lld >/dev/null &&
  linker=(-DCMAKE_EXE_LINKER_FLAGS=-fuse-ld=lld -DCMAKE_SHARED_LINKER_FLAGS=-fuse-ld=lld)
cmake -S . -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Release -DCMAKE_CXX_FLAGS_RELEASE="-O1 -DNDEBUG" \
  "${linker[@]}" -DKORVANTIX_BUILD_TESTS=ON -DKORVANTIX_BUILD_BENCHMARKS=OFF -DKORVANTIX_WARNINGS_AS_ERRORS=OFF \
  -DKORVANTIX_PACKAGE_TEST=OFF >/dev/null
cmake --build "$build" -j2 >/dev/null
# The browser test only looks at pictures whose text the command tests already check, and takes
# a quarter of a minute; everything else runs for every mutant.
suite=(ctest --test-dir "$build" -j2 --timeout 60 --stop-on-failure -E '^kvx\.browser$')
"${suite[@]}" >/dev/null || { echo "the suite fails before any mutation" >&2; exit 1; }

mutants=$(mktemp)
current=""
restore() { [ -n "$current" ] && git checkout -q -- "$current"; current=""; }
trap 'restore; rm -f "$mutants"' EXIT

/usr/bin/python3 - "$count" "$seed" "$filter" >"$mutants" <<'PY'
import pathlib, random, re, sys

count, seed, only = int(sys.argv[1]), int(sys.argv[2]), re.compile(sys.argv[3])
flips = {" < ": " <= ", " <= ": " < ", " > ": " >= ", " >= ": " > ", " == ": " != ",
         " != ": " == ", " + ": " - ", " - ": " + ", " * ": " / ", " / ": " * ",
         " && ": " || ", " || ": " && "}
literal = re.compile(r"(?<![\w.'\"])(\d+)(?![\w.'\"])")
statement = re.compile(r"^\s*[A-Za-z_][\w.:\[\]>-]*(\(.*\)|\s*[-+*/|&]?=\s.*|\+\+|--);\s*$")
# Arguments without blanks: expressions, not parameter declarations such as "const T& a".
call = re.compile(r"\b\w+\(([\w.:>\[\]*&-]+), ([\w.:>\[\]*&-]+)\)")
keywords = re.compile(r"^\s*(return|throw|case|break|continue|using|typedef)\b")

def code_of(line):
    # Leaves out string literals and comments so that no mutant edits a message.
    line = re.sub(r'"(\\.|[^"\\])*"', lambda m: "\x00" * len(m.group()), line)
    return line.split("//")[0]

candidates = []
for path in sorted(p for p in pathlib.Path("src").rglob("*.cpp") if only.search(str(p))):
    for number, line in enumerate(path.read_text().splitlines(), 1):
        code = code_of(line)
        if code.lstrip().startswith(("#", "*", "/*")) or not code.strip():
            continue
        for old, new in flips.items():
            for m in re.finditer(re.escape(old), code):
                candidates.append((path, number, "flip", m.start(), old, new))
        for m in literal.finditer(code):
            candidates.append((path, number, "boundary", m.start(), m.group(1),
                               str(int(m.group(1)) + 1)))
        if statement.match(code) and not keywords.match(code):
            candidates.append((path, number, "drop", 0, line, ""))
        for m in call.finditer(code):
            a, b = m.group(1), m.group(2)
            if a.strip() != b.strip():
                old = f"({a}, {b})"
                start = m.start() + m.group(0).index("(")
                candidates.append((path, number, "swap", start, old, f"({b}, {a})"))

for path, number, kind, start, old, new in sorted(random.Random(seed).sample(candidates, count)):
    lines = path.read_text().splitlines(True)
    line = lines[number - 1]
    mutated = "\n" if kind == "drop" else line[:start] + new + line[start + len(old):]
    print(f"{path}\t{number}\t{kind}\t{repr(mutated)}\t{line.strip()}")
PY

killed=0 survived=0 invalid=0 index=0 done_before=0
mkdir -p "$(dirname "$log")"
if $resume && [ -f "$log" ]; then
  done_before=$(grep -c '^ *[0-9]' "$log" || true)
  killed=$(grep -c '^ *[0-9]* killed' "$log" || true)
  survived=$(grep -c '^ *[0-9]* SURVIVED' "$log" || true)
  invalid=$(grep -c '^ *[0-9]* invalid' "$log" || true)
else
  : >"$log"
fi
while IFS=$'\t' read -r file line kind mutated original; do
  index=$((index + 1))
  [ "$index" -le "$done_before" ] && continue
  # Mutants come sorted by file: the next mutant of the same file replaces this one directly, so
  # a file is put back (and recompiled) only once, when the mutants move on to the next file.
  [ "$file" != "$current" ] && restore
  current=$file
  git show ":$file" | /usr/bin/python3 -c 'import ast, sys
path, number, text = sys.argv[1], int(sys.argv[2]), ast.literal_eval(sys.argv[3])
lines = sys.stdin.read().splitlines(True)
lines[number - 1] = text
open(path, "w").write("".join(lines))' "$file" "$line" "$mutated"
  if ! cmake --build "$build" -j2 >/dev/null 2>&1; then
    outcome=invalid invalid=$((invalid + 1))
  elif (ulimit -v 8000000; "${suite[@]}" >/dev/null 2>&1); then
    outcome=SURVIVED survived=$((survived + 1))
  else
    outcome=killed killed=$((killed + 1))
  fi
  printf '%3d %-8s %s:%s %-8s %s\n' "$index" "$outcome" "$file" "$line" "$kind" "$original" |
    tee -a "$log"
done <"$mutants"
restore
cmake --build "$build" -j2 >/dev/null
valid=$((killed + survived))
echo "killed $killed of $valid compiling mutants ($((100 * killed / (valid > 0 ? valid : 1))) %);" \
  "$invalid did not compile" | tee -a "$log"
