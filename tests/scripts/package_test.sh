#!/usr/bin/env bash
# Installs the library into a temporary prefix and builds a small host against it, once with
# find_package(QVTransfer) and once with pkg-config; checks the exported C symbols.
set -u
build="$1"
source_dir="$2"
# A library built with sanitizers needs a host built with the same ones (their runtime must
# come first).
sanitize="${3:-}"
san_flags=""
[ -n "$sanitize" ] && san_flags="-fsanitize=$sanitize"
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
failures=0
passed=0
check() {
    if "$@" >"$work/log" 2>&1; then passed=$((passed + 1)); else
        echo "FAIL: $*"; tail -30 "$work/log"; failures=$((failures + 1)); fi
}

check cmake --install "$build" --prefix "$work/prefix"
lib=$(ls "$work"/prefix/lib*/libqvtransfer.so.1 2>/dev/null | head -1)
check test -n "$lib"
for sym in QVTransferFrameworkVersionString QVTransferFrameworkVersionNumber; do
    check bash -c "nm -D --defined-only '$lib' | grep -qw '$sym'"
done
check bash -c "readelf -d '$lib' | grep -q 'SONAME.*libqvtransfer.so.1'"
check cmake -S "$source_dir/tests/consumer" -B "$work/consumer" -G Ninja \
    -DCMAKE_PREFIX_PATH="$work/prefix" -DCMAKE_CXX_FLAGS="$san_flags" \
    -DCMAKE_EXE_LINKER_FLAGS="$san_flags"
check cmake --build "$work/consumer"
check bash -c "LD_LIBRARY_PATH='$(dirname "$lib")' '$work/consumer/consumer' | grep -q 'QVTransfer 1'"
pc_dir=$(dirname "$(ls "$work"/prefix/lib*/pkgconfig/qvtransfer.pc | head -1)")
check bash -c "PKG_CONFIG_PATH='$pc_dir' pkg-config --exists qvtransfer"
check bash -c "PKG_CONFIG_PATH='$pc_dir' c++ -std=c++20 $san_flags -o '$work/pc-consumer' \
    '$source_dir/tests/consumer/consumer.cpp' \$(PKG_CONFIG_PATH='$pc_dir' pkg-config --cflags --libs qvtransfer)"

echo "$passed passed, $failures failed"
[ "$failures" -eq 0 ]
