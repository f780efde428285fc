#!/bin/sh
# Fuzzes the conversion of device replies (XML to records) with libFuzzer and AddressSanitizer.
#
#   scripts/fuzz-xml.sh [SECONDS]     (default 60)
#
# Needs clang-14 and libclang-rt-14-dev. Builds into build-fuzz/ beside the sources and starts
# from the seed replies in tests/data/xml-corpus/; new inputs the fuzzer finds go to
# build-fuzz/corpus/, crashes to build-fuzz/. FUZZ_CPPFLAGS adds compiler flags (for example
# an include folder to look in first).
set -eu

seconds=${1:-60}
root=$(cd "$(dirname "$0")/.." && pwd)
out="$root/build-fuzz"
mkdir -p "$out/corpus"

CXX=${CXX:-clang++-14}
flags="-std=c++20 -g -O1 -fsanitize=fuzzer,address,undefined -fno-omit-frame-pointer"
includes="${FUZZ_CPPFLAGS:-} -I$root/include -I$root/src $(pkg-config --cflags libxml-2.0)"

# Only the conversion and the value model it builds on; nothing else of the library.
$CXX $flags $includes \
    "$root/tests/fuzz/xml_fuzz.cpp" \
    "$root/src/device/xml_record.cpp" \
    "$root/src/platform/value.cpp" \
    "$root/src/platform/format.cpp" \
    $(pkg-config --libs libxml-2.0) \
    -o "$out/xml_fuzz"

cd "$out"
exec ./xml_fuzz -max_total_time="$seconds" -max_len=65536 -timeout=10 -rss_limit_mb=2048 \
    -print_final_stats=1 corpus "$root/tests/data/xml-corpus"
