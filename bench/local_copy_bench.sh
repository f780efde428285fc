#!/bin/bash
# One 512 MiB file copied locally: the file layer against `cp`.
# Usage: local_copy_bench.sh [BUILD_DIR] [MiB]
set -euo pipefail
here="$(cd "$(dirname "$0")" && pwd)"
build="${1:-$here/../build}"
bin="$("$here/build_bench.sh" "$build" "$build/files_copy_bench")"
"$bin" local "${2:-512}"
