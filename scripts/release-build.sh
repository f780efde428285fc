#!/usr/bin/env bash
# Builds the library and the console uploader as a packager would: CMake's Release type (-O3),
# with warnings as errors, so a warning that only the optimiser finds fails the build here
# rather than on a packager's machine.
#
#   scripts/release-build.sh BUILD_DIR [C_COMPILER C++_COMPILER]
#
# For example `scripts/release-build.sh build-release clang clang++`.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
build=${1:-$root/build-release}
cc=${2:-gcc}
cxx=${3:-g++}
start=$SECONDS
cmake -S "$root" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Release -DQVT_WERROR=ON \
    -DCMAKE_C_COMPILER="$cc" -DCMAKE_CXX_COMPILER="$cxx" -DQVT_BUILD_TESTS=OFF >/dev/null
cmake --build "$build" -j "$(nproc)" --target qvtransfer qvtransfer-cli
"$build/apps/cli/qvtransfer-cli" --version
echo "release build ($cxx): $((SECONDS - start)) s"
