#!/usr/bin/env bash
# Builds the fuzz targets with clang and libFuzzer and fuzzes each for a while, two at a time.
# Fails on any crash, leak, sanitizer report, timeout, oversized allocation or escaped exception
# of an undocumented type. Installs clang-14 and its runtime from Debian when they are missing.
# Usage: scripts/fuzz.sh [SECONDS_PER_TARGET]   (default 60)
set -euo pipefail
cd "$(dirname "$0")/.."
seconds=${1:-60}

if ! command -v clang++-14 >/dev/null ||
   [ ! -e /usr/lib/llvm-14/lib/clang/14.0.6/lib/linux/libclang_rt.fuzzer-x86_64.a ]; then
  echo "installing clang-14 and libclang-rt-14-dev"
  sudo_cmd=""; [ "$(id -u)" -ne 0 ] && sudo_cmd="sudo"
  $sudo_cmd apt-get update -qq
  DEBIAN_FRONTEND=noninteractive $sudo_cmd apt-get install -y -qq clang-14 libclang-rt-14-dev
fi

cmake --preset fuzz >/dev/null
cmake --build --preset fuzz

# One read may use at most 32 times the input size plus 1 MiB: with inputs of at most 64 KiB no
# single allocation may exceed 3 MiB.
max_len=65536
malloc_limit_mb=3
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

run_target() {
  local name=$1
  local corpus="$work/$name"
  mkdir -p "$corpus"
  cp -r fuzz/corpus/"$name"/. "$corpus"/ 2>/dev/null || true
  local dict=()
  [ -f fuzz/"$name".dict ] && dict=(-dict=fuzz/"$name".dict)
  if build/fuzz/fuzz/"$name"_fuzz "$corpus" "${dict[@]}" -max_total_time="$seconds" \
      -max_len=$max_len -malloc_limit_mb=$malloc_limit_mb -rss_limit_mb=2048 -timeout=10 \
      -artifact_prefix="$work/$name-" -print_final_stats=1 >"$work/$name.log" 2>&1; then
    echo "fuzz $name: clean ($(grep -m1 -o 'stat::number_of_executed_units: *[0-9]*' "$work/$name.log" | grep -o '[0-9]*$') runs)"
  else
    echo "fuzz $name: FAILED"
    tail -n 60 "$work/$name.log"
    ls "$work"/"$name"-* 2>/dev/null || true
    return 1
  fi
}

targets=()
for source in fuzz/*_fuzz.cpp; do
  name=$(basename "$source" _fuzz.cpp)
  targets+=("$name")
done

status=0
for ((i = 0; i < ${#targets[@]}; i += 2)); do
  pids=()
  for name in "${targets[@]:i:2}"; do
    run_target "$name" & pids+=($!)
  done
  for pid in "${pids[@]}"; do wait "$pid" || status=1; done
done
exit $status
