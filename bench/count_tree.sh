#!/bin/sh
# Times the source count against `du -sb` on generated trees of 20,000 and 200,000 entries and
# prints the time ratio and the peak memory of both.
#   bench/count_tree.sh [BUILD_DIR]
# Uses BUILD_DIR/bench/count_tree when the build has it (-DQVT_BUILD_BENCH=ON), else compiles
# the driver itself.
set -eu
here=$(cd "$(dirname "$0")" && pwd)
repo=$(dirname "$here")
build=${1:-$repo/build}
work=$(mktemp -d /tmp/qvt-bench-XXXXXX)
trap 'rm -rf "$work"' EXIT INT TERM

driver=$build/bench/count_tree
if [ ! -x "$driver" ]; then
    driver=$work/count_tree
    c++ -O2 -std=c++20 -I "$repo/src" "$here/count_tree_main.cpp" "$repo/src/source/tree_count.cpp" \
        -o "$driver"
fi

# Best wall time of three runs (seconds) and peak resident memory (KiB) of a command.
measure() {
    best=""
    peak=0
    for run in 1 2 3; do
        /usr/bin/time -f '%e %M' -o "$work/time.txt" "$@" > "$work/out.txt"
        read -r secs kib < "$work/time.txt"
        if [ -z "$best" ] || [ "$(echo "$secs < $best" | bc -l)" = 1 ]; then best=$secs; fi
        if [ "$kib" -gt "$peak" ]; then peak=$kib; fi
    done
    echo "$best $peak"
}

for entries in 20000 200000; do
    tree=$work/tree-$entries
    python3 "$here/make_tree.py" "$tree" "$entries" > /dev/null
    # Warm the caches for both the same way.
    "$driver" "$tree" > /dev/null
    du -sb "$tree" > /dev/null
    set -- $(measure "$driver" "$tree"); count_secs=$1; count_kib=$2
    counted=$(cat "$work/out.txt")
    set -- $(measure du -sb "$tree"); du_secs=$1; du_kib=$2
    ratio=$(echo "scale=2; if ($du_secs > 0) $count_secs / $du_secs else 0" | bc -l)
    echo "entries $entries: count $counted"
    echo "  time:   count ${count_secs}s, du ${du_secs}s, ratio ${ratio}"
    echo "  memory: count ${count_kib} KiB peak, du ${du_kib} KiB peak"
    rm -rf "$tree"
done
