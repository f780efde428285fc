#!/usr/bin/env bash
# Builds the project and runs the whole test suite inside a private session bus with a real
# keyring daemon. Usage: scripts/test.sh [BUILD_DIR] [extra cmake arguments...]
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
build=${1:-$root/build}
shift || true
"$root/scripts/build.sh" "$build" "$@"
cd "$build"
exec "$root/scripts/with-keyring.sh" ctest --output-on-failure --timeout 600 -j 1
