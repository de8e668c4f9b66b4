#!/usr/bin/env bash
# Installs the Debian packages the build, the tests and the tools need.
# With --bench, also what the benchmarks need (Google Benchmark, OpenCV); with
# --fuzz, clang and its sanitizer and libFuzzer runtimes.
set -euo pipefail
packages=(build-essential cmake ninja-build python3 python3-numpy python3-pytest pkg-config libgtest-dev libpng-dev binutils libffi-dev nlohmann-json3-dev)
for option in "$@"; do
  case "$option" in
    --bench) packages+=(libbenchmark-dev libopencv-dev) ;;
    --fuzz) packages+=(clang libclang-rt-14-dev) ;;
    *) echo "unknown option $option" >&2; exit 2 ;;
  esac
done
sudo=""
if [[ "$(id -u)" -ne 0 ]]; then sudo="sudo"; fi
missing=()
for p in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done
if [[ ${#missing[@]} -gt 0 ]]; then
  export DEBIAN_FRONTEND=noninteractive
  $sudo apt-get update -qq
  $sudo apt-get install -y -qq --no-install-recommends "${missing[@]}"
fi
