#!/usr/bin/env bash
# Builds the product and uploads the demo sources to the built-in default device: a directly
# attached drive whose one volume is a demo folder. With a display the wizard window opens on
# it; without one the console uploader carries out the whole upload and says where the files
# went. Needs root: the demo folder is made a volume by mounting it onto itself.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
# A build folder of its own: the test build keeps its tests.
build=${BUILD_DIR:-$root/build-demo}
"$root/scripts/build.sh" "$build" -DQVT_BUILD_TESTS=OFF >/dev/null

demo=${QVT_DEMO_DIR:-$HOME/QVTransfer-Demo}
# The demo keeps its upload's state apart from the user's own: an upload of theirs that did not
# finish stays theirs to take up.
export XDG_DATA_HOME="$demo/.state"
volume="$demo/Demo Volume"
sources="$demo/Sources"
mkdir -p "$volume/Uploads" "$volume/Documents" "$sources/Holiday"
printf 'Meeting notes\n' >"$sources/notes.txt"
printf 'A day at the sea\n' >"$sources/Holiday/diary.txt"
head -c 200000 /dev/urandom >"$sources/Holiday/picture.raw"

# A drive's volume is a mounted file system; a bind mount of the folder onto itself makes the
# demo folder one (and is taken away again at the end).
bound=no
if ! mountpoint -q "$volume"; then
    if [ "$(id -u)" -ne 0 ]; then
        echo "The demo mounts its volume folder and needs root (run it with sudo)." >&2
        exit 1
    fi
    mount --bind "$volume" "$volume"
    bound=yes
fi
release() { if [ "$bound" = yes ]; then umount "$volume" || true; fi; }
trap release EXIT

echo "Demo device: \"Demo Drive\", one volume at $volume"
if [ -n "${DISPLAY:-}${WAYLAND_DISPLAY:-}" ]; then
    echo "In the wizard: add the files and folders of $sources, choose Demo Volume/Uploads, Upload."
    "$build/apps/qvtransfer-host" --das "$volume" --name "Demo Drive"
else
    status=0
    "$build/apps/cli/qvtransfer-cli" --das "$volume" --name "Demo Drive" \
        --destination "Demo Volume/Uploads" "$sources/notes.txt" "$sources/Holiday" </dev/null ||
        status=$?
    echo "The files went to $volume/Uploads:"
    (cd "$volume/Uploads" && find . -type f | sort | sed 's|^\./|  |')
    exit $status
fi
