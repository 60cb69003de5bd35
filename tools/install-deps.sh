#!/usr/bin/env bash
# Installs the Debian packages the build, the tests and the benchmarks need,
# when any is missing. Safe to run again: it does nothing when all are there.
set -euo pipefail

packages=(
    cmake ninja-build g++ pkg-config binutils  # toolchain
    googletest libgtest-dev                    # tests (built from source for -m32 and sanitizers)
    libbenchmark-dev                           # bench/
    libspandsp-dev                             # bench/: the G.726 comparison
    libfftw3-dev libkissfft-dev                # bench/: the real-FFT comparison
    libgsm1-dev                                # bench/: the GSM 06.10 comparison
    libsndfile1-dev                            # tools/kelscodec: audio files
    gcc-multilib g++-multilib                  # the 32-bit build
    clang-format                               # formatting check
    clang libclang-rt-14-dev                   # fuzz/: libFuzzer and the sanitizer run-times
)

missing=()
for p in "${packages[@]}"; do
    dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done
if [ ${#missing[@]} -eq 0 ]; then
    exit 0
fi
echo "installing: ${missing[*]}"
sudo=""
[ "$(id -u)" -eq 0 ] || sudo="sudo"
$sudo apt-get update -qq
DEBIAN_FRONTEND=noninteractive $sudo apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
