#!/usr/bin/env bash
# Builds the libFuzzer harnesses of fuzz/ with clang, AddressSanitizer and
# UndefinedBehaviorSanitizer, and runs each for a bounded time, starting from
# its committed corpus (fuzz/corpus/<name>, copied: the run does not write
# into the tree). Fails on the first finding; the reproducer is left in the
# work folder.
#
#   tools/fuzz.sh [seconds per harness, default 20] [build dir, default build-fuzz] [harness ...]
#
# A finding is replayed with: build-fuzz/fuzz/kelsc_fuzz_<name> <reproducer>
set -euo pipefail
cd "$(dirname "$0")/.."
seconds=${1:-20}
build=${2:-build-fuzz}
shift $(($# < 2 ? $# : 2))

CC=clang CXX=clang++ cmake -S . -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo \
    -DKELSC_BUILD_FUZZ=ON -DKELSC_SANITIZE=address,undefined \
    -DKELSC_BUILD_TESTS=OFF -DKELSC_BUILD_BENCH=OFF -DKELSC_BUILD_TOOLS=OFF >/dev/null
cmake --build "$build" -j"$(nproc)"

if [ $# -gt 0 ]; then
    harnesses=("$@")
else
    harnesses=()
    for f in fuzz/*_fuzz.cpp; do
        n=$(basename "$f" _fuzz.cpp)
        harnesses+=("$n")
    done
fi

work="$build/fuzz-runs"
mkdir -p "$work"
export ASAN_OPTIONS=abort_on_error=1:detect_leaks=1
export UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1
for n in "${harnesses[@]}"; do
    corpus="$work/$n-corpus"
    rm -rf "$corpus"
    mkdir -p "$corpus"
    if [ -d "fuzz/corpus/$n" ]; then cp fuzz/corpus/"$n"/* "$corpus"/; fi
    echo "== fuzz $n (${seconds} s)"
    if ! "$build/fuzz/kelsc_fuzz_$n" -max_total_time="$seconds" -max_len=16384 -timeout=20 -rss_limit_mb=3072 \
        -artifact_prefix="$work/$n-" -print_final_stats=1 "$corpus" >"$work/$n.log" 2>&1; then
        tail -40 "$work/$n.log"
        echo "fuzz $n: finding, see $work/$n.log and $work/$n-*"
        exit 1
    fi
    grep -E "^stat::number_of_executed_units|^#[0-9]+ +DONE" "$work/$n.log" | tail -2
done
echo "fuzzing passed"
