#!/bin/bash
# Builds the copy benchmark against a built library: build_bench.sh BUILD_DIR OUTPUT
set -euo pipefail
root="$(cd "$(dirname "$0")/.." && pwd)"
build="${1:-$root/build}"
out="${2:-$build/files_copy_bench}"
cmake --build "$build" --target qvtransfer >/dev/null
g++ -std=c++20 -O2 -Wall -Wextra -I"$root/include" -I"$root/src" -I"$root/apps/devicesim" \
  "$root/bench/files_copy_bench.cpp" "$root/apps/devicesim/samba_server.cpp" \
  -L"$build" -lqvtransfer -Wl,-rpath,"$build" -pthread -o "$out"
echo "$out"
