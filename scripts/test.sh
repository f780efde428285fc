#!/usr/bin/env bash
# Builds the project and runs the whole test suite inside a private session bus with a real
# keyring daemon. Usage: scripts/test.sh [BUILD_DIR] [extra cmake arguments...]
#
# The suite is built with AddressSanitizer (its leak checker on) and UndefinedBehaviorSanitizer,
# so every run of it also checks memory use and undefined behaviour: the first report ends the
# test with a failure. QVT_TEST_SANITIZE=thread, or empty for a plain build, chooses otherwise
# (a plain build's suite runs about twice as fast).
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
build=${1:-$root/build-test}
shift || true
sanitize=${QVT_TEST_SANITIZE-address,undefined}
if [[ $sanitize == *address* ]]; then
    export ASAN_OPTIONS=${ASAN_OPTIONS:-detect_leaks=1:abort_on_error=1}
    export LSAN_OPTIONS=${LSAN_OPTIONS:-suppressions=$root/scripts/lsan.supp}
fi
if [[ $sanitize == *undefined* ]]; then
    export UBSAN_OPTIONS=${UBSAN_OPTIONS:-print_stacktrace=1:halt_on_error=1}
fi
if [[ $sanitize == *thread* ]]; then
    export TSAN_OPTIONS=${TSAN_OPTIONS:-halt_on_error=1 second_deadlock_stack=1 suppressions=$root/scripts/tsan.supp}
    # See scripts/tsan.sh: GLib's slice cache would hand memory between threads unseen.
    export G_SLICE=always-malloc
fi
"$root/scripts/build.sh" "$build" -DQVT_SANITIZE="$sanitize" "$@"
cd "$build"
exec "$root/scripts/with-keyring.sh" ctest --output-on-failure --timeout 600 -j 1
