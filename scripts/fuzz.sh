#!/usr/bin/env bash
# Builds the libFuzzer harnesses of tests/fuzz (and the code they exercise) with Clang,
# AddressSanitizer and UndefinedBehaviorSanitizer, and runs each for SECONDS (default 60), starting from its seed
# corpus in tests/fuzz/corpus/. New inputs go to BUILD_DIR/corpus, never into the repository.
# A crash, a sanitizer report, a time-out or a leak stops the run; the input that caused it is
# left as BUILD_DIR/crash-<harness>-* (add it to the seeds and a regression test).
#   scripts/fuzz.sh [SECONDS] [BUILD_DIR]
# A longer search: scripts/fuzz.sh 3600
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
seconds=${1:-60}
build=${2:-$root/build-fuzz}
harnesses=(xml_reply property_list share_url destination_paths)

CC=clang CXX=clang++ cmake -S "$root" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo \
    -DQVT_WERROR=ON -DQVT_FUZZ=ON -DQVT_SANITIZE=address,undefined -DQVT_BUILD_TESTS=OFF >/dev/null
cmake --build "$build" -j "$(nproc)" --target "${harnesses[@]/#/fuzz_}"

export ASAN_OPTIONS="detect_leaks=1:abort_on_error=1 ${ASAN_OPTIONS:-}"
export UBSAN_OPTIONS="print_stacktrace=1:halt_on_error=1 ${UBSAN_OPTIONS:-}"
for name in "${harnesses[@]}"; do
    mkdir -p "$build/corpus/$name"
    echo "fuzz: $name for $seconds s"
    log="$build/fuzz-$name.log"
    if ! "$build/tests/fuzz/fuzz_$name" -max_total_time="$seconds" -timeout=10 \
        -rss_limit_mb=2048 -print_final_stats=1 -artifact_prefix="$build/crash-$name-" \
        "$build/corpus/$name" "$root/tests/fuzz/corpus/$name" >"$log" 2>&1; then
        tail -n 60 "$log" >&2
        echo "fuzz: $name failed; the input is in $build/crash-$name-*" >&2
        exit 1
    fi
    grep -E "^(Done|stat::number_of_executed_units|stat::peak_rss_mb)" "$log" || true
done
echo "fuzz: every harness ran $seconds s without a finding"
