#!/usr/bin/env bash
# Builds the test programs with ThreadSanitizer and runs them, all in one private D-Bus session
# with a keyring (scripts/with-keyring.sh). Every report is a failure: the run stops at the
# first one (halt_on_error) and the script exits non-zero.
#
#   scripts/tsan.sh BUILD_DIR [TEST_PROGRAM...]
#
# QVT_TSAN_STEP=build only builds them, QVT_TSAN_STEP=run only runs what was built (CI builds
# while the sanitized suite runs, and runs them afterwards).
#
# Without programs it runs every test program (one per tests/<area> folder, as tests/
# CMakeLists.txt makes them): each of them starts threads. A program named whose tests/<area>
# folder does not exist is named as missing and makes the run fail, so a renamed folder is not
# silently dropped from the check.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
build=${1:-$root/build-tsan}
shift || true
programs=("$@")
if [ "${#programs[@]}" -eq 0 ]; then
    for dir in "$root"/tests/*/; do
        area=$(basename "$dir")
        case "$area" in support | data | scripts | consumer | fuzz) continue ;; esac
        compgen -G "$dir*.cpp" >/dev/null && programs+=("test_$area")
    done
fi

missing=()
present=()
for p in "${programs[@]}"; do
    if [ -d "$root/tests/${p#test_}" ]; then present+=("$p"); else missing+=("$p"); fi
done
if [ "${#missing[@]}" -gt 0 ]; then
    echo "tsan: no test folder for: ${missing[*]}" >&2
fi
if [ "${#present[@]}" -eq 0 ]; then
    echo "tsan: nothing to run" >&2
    exit 1
fi

step=${QVT_TSAN_STEP:-all}
start=$SECONDS
if [ "$step" != run ]; then
    cmake -S "$root" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo -DQVT_WERROR=ON \
        -DQVT_SANITIZE=thread >/dev/null
    cmake --build "$build" -j "$(nproc)" --target "${present[@]}"
fi
built=$SECONDS
if [ "$step" = build ]; then
    echo "tsan: built in $((built - start)) s"
    exit 0
fi

# halt_on_error: the first race ends the program with a failure. second_deadlock_stack: both
# stacks of a lock-order inversion. The suppressions cover GLib's own locking only (see the
# file). The reports go to standard error with the test's output.
export TSAN_OPTIONS="halt_on_error=1 second_deadlock_stack=1 suppressions=$root/scripts/tsan.supp ${TSAN_OPTIONS:-}"
export QT_QPA_PLATFORM=offscreen
# GLib's slice allocator keeps freed list nodes in per-thread caches and hands them to another
# thread without going through malloc, so the sanitizer sees a node that Qt's event loop on one
# thread wrote and libsecret's search on another thread reads as a race in our code. With every
# slice taken from malloc, each node's life starts afresh where the sanitizer can see it.
export G_SLICE=always-malloc

# One keyring session for all programs: each program runs once, its failures counted.
runner='
failed=()
for program in "$@"; do
    echo "== $program (ThreadSanitizer) =="
    if ! "$QVT_TSAN_BUILD/tests/$program"; then failed+=("$program"); fi
done
if [ "${#failed[@]}" -gt 0 ]; then
    echo "tsan: failed: ${failed[*]}" >&2
    exit 1
fi
'
status=0
QVT_TSAN_BUILD="$build" "$root/scripts/with-keyring.sh" bash -c "$runner" tsan "${present[@]}" ||
    status=$?

echo "tsan: build $((built - start)) s, tests $((SECONDS - built)) s, total $((SECONDS - start)) s"
if [ "${#missing[@]}" -gt 0 ]; then exit 1; fi
exit "$status"
