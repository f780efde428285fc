#!/bin/bash
# One 512 MiB file to a share of a private smbd: the file layer against `smbclient -c put`.
# Run as root (smbd). Usage: smb_copy_bench.sh [BUILD_DIR] [MiB]
set -euo pipefail
here="$(cd "$(dirname "$0")" && pwd)"
build="${1:-$here/../build}"
bin="$("$here/build_bench.sh" "$build" "$build/files_copy_bench")"
"$bin" smb "${2:-512}"
