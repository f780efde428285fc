#!/usr/bin/env bash
# Builds the product and opens the upload wizard on the built-in default: a directly attached
# device whose one volume is a demo folder with a few sample files. With a display the wizard
# window opens; without one, the wizard's first screen is rendered offscreen to a PNG.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
build=${BUILD_DIR:-$root/build}
"$root/scripts/build.sh" "$build" -DQVT_BUILD_TESTS=OFF >/dev/null

demo=${QVT_DEMO_DIR:-$HOME/QVTransfer-Demo}
volume="$demo/Demo Volume"
mkdir -p "$volume/Photos/2024" "$volume/Documents" "$demo/Sources/Holiday"
printf 'Meeting notes\n' >"$demo/Sources/notes.txt"
printf 'A day at the sea\n' >"$demo/Sources/Holiday/diary.txt"
head -c 200000 /dev/urandom >"$demo/Sources/Holiday/picture.raw"
echo "Demo device volume: $volume"

host="$build/apps/qvtransfer-host"
if [ -n "${DISPLAY:-}${WAYLAND_DISPLAY:-}" ]; then
    exec "$host" --das "$volume" --name "Demo Drive"
else
    out="$demo/wizard-first-screen.png"
    QT_QPA_PLATFORM=offscreen "$host" --das "$volume" --name "Demo Drive" --screenshot "$out"
    echo "No display: the wizard's first screen was rendered to $out"
fi
