#!/usr/bin/env bash
# Installs the library into a temporary prefix and builds a small host against it, once with
# find_package(QVTransfer) and once with pkg-config; checks that the library exports exactly the
# public API (tests/scripts/exported_symbols.txt) and that the README's embedding example
# compiles against the installed headers as it stands.
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
# Every exported symbol, demangled, without address and kind: the public API and nothing else.
nm -D --defined-only "$lib" | c++filt | awk '{$1=""; $2=""; sub(/^  /, ""); print}' | sort -u \
    >"$work/exported.txt"
check diff -u "$source_dir/tests/scripts/exported_symbols.txt" "$work/exported.txt"
for header in "$work"/prefix/include/qvtransfer/*.h; do
    check bash -c "grep -o '#include \"[^\"]*\"' '$header' | grep -v '\"qvtransfer/' && exit 1 || exit 0"
done
check bash -c "readelf -d '$lib' | grep -q 'SONAME.*libqvtransfer.so.1'"
# The programs, the console uploader's manual page (which renders without a warning) and the
# completion of its options.
check "$work/prefix/bin/qvtransfer-cli" --version
check test -x "$work/prefix/bin/qvtransfer-devicesim"
check bash -c "groff -man -ww -z '$work/prefix/share/man/man1/qvtransfer-cli.1' 2>&1 | (! grep .)"
check bash -c "source '$work/prefix/share/bash-completion/completions/qvtransfer-cli'
    COMP_WORDS=(qvtransfer-cli --pass); COMP_CWORD=1; _qvtransfer_cli
    [ \"\${COMPREPLY[*]}\" = --password-stdin ]"
check cmake -S "$source_dir/tests/consumer" -B "$work/consumer" -G Ninja \
    -DCMAKE_PREFIX_PATH="$work/prefix" -DCMAKE_CXX_FLAGS="$san_flags" \
    -DCMAKE_EXE_LINKER_FLAGS="$san_flags"
check cmake --build "$work/consumer"
check bash -c "LD_LIBRARY_PATH='$(dirname "$lib")' '$work/consumer/consumer' | grep -q 'QVTransfer 1'"
pc_dir=$(dirname "$(ls "$work"/prefix/lib*/pkgconfig/qvtransfer.pc | head -1)")
check bash -c "PKG_CONFIG_PATH='$pc_dir' pkg-config --exists qvtransfer"
check bash -c "PKG_CONFIG_PATH='$pc_dir' c++ -std=c++20 $san_flags -o '$work/pc-consumer' \
    '$source_dir/tests/consumer/consumer.cpp' \$(PKG_CONFIG_PATH='$pc_dir' pkg-config --cflags --libs qvtransfer)"

# The README's example: the declarations up to the delegate class at file scope, the statements
# after it in a function. It must compile and link against the installed library unchanged.
readme_example() {
    awk '/^```cpp$/ {on = 1; next} /^```$/ {on = 0} on' "$source_dir/README.md" >"$work/example.txt"
    local split
    split=$(grep -n '^};' "$work/example.txt" | head -1 | cut -d: -f1)
    [ -n "$split" ] || return 1
    {
        head -n "$split" "$work/example.txt"
        echo "void embed() {"
        tail -n +"$((split + 1))" "$work/example.txt"
        echo "}"
        echo "int main() { return 0; }"
    } >"$work/example.cpp"
    PKG_CONFIG_PATH="$pc_dir" c++ -std=c++20 -Wall -Werror $san_flags -o "$work/example" \
        "$work/example.cpp" $(PKG_CONFIG_PATH="$pc_dir" pkg-config --cflags --libs qvtransfer)
}
check readme_example

# The Debian package: built from the same install, depending on the runtime packages.
if [ -z "$sanitize" ]; then
    check cpack --config "$build/CPackConfig.cmake" -B "$work/package"
    deb=$(ls "$work"/package/qvtransfer_*.deb 2>/dev/null | head -1)
    check test -n "$deb"
    check bash -c "dpkg-deb -f '$deb' Depends | grep -q 'libsmbclient' &&
        dpkg-deb -f '$deb' Depends | grep -q 'libqt6core6'"
    check bash -c "dpkg-deb -c '$deb' | grep -q 'usr/bin/qvtransfer-cli' &&
        dpkg-deb -c '$deb' | grep -q 'usr/share/man/man1/qvtransfer-cli.1'"
fi

echo "$passed passed, $failures failed"
[ "$failures" -eq 0 ]
