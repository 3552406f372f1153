#!/usr/bin/env bash
# Installs the Debian packages the build, the tool, the Python module and the tests use, and only
# those that are missing, so a machine that has them all is left untouched and no network is used.
# Usage: scripts/install-deps.sh [tool|core|all]   (tool: compiler, CMake, Ninja and CLI11, what
#        the kvx tool needs; core: also GoogleTest and Google Benchmark; all, the default: also
#        Python, numpy, pytest, scikit-rf, Chromium, xmllint, gcovr and clang for fuzzing)
set -euo pipefail
set_name=${1:-all}
packages=(g++ cmake ninja-build libcli11-dev)
if [ "$set_name" != tool ]; then
  packages+=(libgtest-dev libgmock-dev libbenchmark-dev)
fi
if [ "$set_name" = all ]; then
  packages+=(python3-dev pybind11-dev python3-numpy python3-pytest python3-scikit-rf
             chromium libxml2-utils gcovr clang-14 libclang-rt-14-dev)
fi
missing=()
for p in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q 'install ok installed' || missing+=("$p")
done
[ ${#missing[@]} -eq 0 ] && exit 0
echo "installing: ${missing[*]}"
sudo_cmd=""; [ "$(id -u)" -ne 0 ] && sudo_cmd="sudo"
$sudo_cmd apt-get update -qq
DEBIAN_FRONTEND=noninteractive $sudo_cmd apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
