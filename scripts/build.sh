#!/usr/bin/env bash
# Configures and builds into the folder given (default: build). Extra arguments go to cmake.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
build=${1:-$root/build}
shift || true
cmake -S "$root" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo -DQVT_WERROR=ON "$@"
cmake --build "$build" -j "$(nproc)"
