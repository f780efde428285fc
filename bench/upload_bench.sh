#!/bin/bash
# Whole uploads through the controller against cp, smbclient put and smbclient mput, and the
# peak memory of uploads of 25,000 and 100,000 small files. Run as root (smbd).
# Usage: upload_bench.sh [BUILD_DIR] [MODE...]   (modes: local-big local-small smb-big smb-small
# memory; all of them by default). QVT_BENCH_ROUNDS sets the rounds per side (default 3).
# The machine may be shared: run it when nothing else is building, and read the ratios as
# measured in one run, side by side.
set -euo pipefail
here="$(cd "$(dirname "$0")" && pwd)"
root="$(cd "$here/.." && pwd)"
build="${1:-$root/build}"
shift || true
modes=("$@")
[ "${#modes[@]}" -gt 0 ] || modes=(local-big local-small smb-big smb-small memory)

cmake --build "$build" --target qvtransfer >/dev/null
bin="$build/upload_bench"
g++ -std=c++20 -O2 -Wall -Wextra -Werror -I"$root/include" -I"$root/src" \
  -I"$root/apps/devicesim" "$here/upload_bench.cpp" "$root/apps/devicesim/samba_server.cpp" \
  -L"$build" -lqvtransfer -Wl,-rpath,"$build" -pthread -o "$bin"

for mode in "${modes[@]}"; do
    if [ "$mode" = memory ]; then
        # One process per size: the peak resident size only ever grows within a process.
        small="$("$bin" memory 25000)"
        large="$("$bin" memory 100000)"
        printf '%s\n%s\n' "$small" "$large"
        # Growth between the two sizes: what each further file costs (target: none).
        peak() { sed -n 's/.*peak RSS \([0-9.]*\) MB.*/\1/p' <<<"$1"; }
        awk -v a="$(peak "$small")" -v b="$(peak "$large")" 'BEGIN {
            printf "memory: growth from 25,000 to 100,000 files %.1f MB (%.0f bytes per file)\n",
                   b - a, (b - a) * 1048576 / 75000 }'
    else
        "$bin" "$mode"
    fi
done
