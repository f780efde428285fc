#!/usr/bin/env bash
# The sample host's window read over the real accessibility bus, as a screen reader reads it:
# the host runs on a virtual X display with Qt's accessibility bridge on, inside a private
# D-Bus session whose accessibility bus starts on demand; tests/scripts/atspi_probe.py reads the
# tree with pyatspi.
#   1. A network device (the device simulator): the users screen shows a named, focusable
#      password field.
#   2. An attached disk too small for the upload taken up with --resume: the upload stops at
#      the full disk, and the status screen shows named, focusable pause/resume and stop
#      buttons.
# Usage: atspi_test.sh HOST DEVICE_SIMULATOR    (run as root: the disk is a tmpfs)
set -u
host="$1"
sim="$2"
here=$(cd "$(dirname "$0")" && pwd)
probe="$here/atspi_probe.py"

for tool in xvfb-run dbus-run-session /usr/libexec/at-spi-bus-launcher; do
    command -v "$tool" >/dev/null 2>&1 || { echo "atspi_test: $tool is not installed"; exit 1; }
done
/usr/bin/python3 -c "import pyatspi" 2>/dev/null ||
    { echo "atspi_test: python3-pyatspi is not installed"; exit 1; }

if [ "${QVT_ATSPI_INSIDE:-}" != 1 ]; then
    # Again, on a display of its own and inside a session bus of its own.
    QVT_ATSPI_INSIDE=1 exec xvfb-run -a dbus-run-session -- "$0" "$@"
fi

work=$(mktemp -d)
pids=()
cleanup() {
    for p in "${pids[@]}"; do kill "$p" 2>/dev/null; done
    wait 2>/dev/null
    umount "$work/Small Disk" 2>/dev/null
    rm -rf "$work"
}
trap cleanup EXIT
export QT_QPA_PLATFORM=xcb QT_LINUX_ACCESSIBILITY_ALWAYS_ON=1
failures=0

# start_host NAME ARGS...: the host on the virtual display, with the home $work/NAME and its
# output in $work/NAME.out. On a busy machine the display has once refused a client outright
# ("could not connect to display"); a host that ended for that reason within its first three
# seconds is started once more, as what is tested here is the window, not the display.
start_host() {
    local name=$1 attempt pid
    shift
    for attempt in 1 2; do
        HOME="$work/$name" "$host" "$@" >"$work/$name.out" 2>&1 &
        pid=$!
        pids+=("$pid")
        for _ in $(seq 30); do
            kill -0 "$pid" 2>/dev/null || break
            sleep 0.1
        done
        kill -0 "$pid" 2>/dev/null && return
        grep -q "could not connect to display" "$work/$name.out" || return
        echo "atspi_test: the display refused the host (attempt $attempt)"
    done
}

# 1. The users screen of a network device.
"$sim" --config "$here/../../resources/devicesim/demo-device.plist" >"$work/sim.out" 2>&1 &
pids+=($!)
address=""
for _ in $(seq 100); do
    address=$(grep -o "127\.0\.0\.1:[0-9]*" "$work/sim.out" | head -1)
    [ -n "$address" ] && break
    sleep 0.1
done
[ -n "$address" ] || { echo "atspi_test: the device simulator did not start"; exit 1; }
mkdir -p "$work/home1"
start_host home1 --nas "$address" --serial QVT-DEMO-0001 --name "Demo Storage"
if ! /usr/bin/python3 "$probe" qvtransfer-host 30 "Password:password text:focusable:showing"; then
    echo "FAIL: the users screen's password field"; cat "$work/home1.out"
    failures=$((failures + 1))
fi
for p in "${pids[@]:1}"; do kill "$p" 2>/dev/null; done

# 2. The status screen of an upload stopped by a full disk.
mkdir -p "$work/Small Disk" "$work/home2/.local/share/QVTransfer" \
    "$work/home3/.local/share/QVTransfer" "$work/src"
mount -t tmpfs -o size=2M tmpfs "$work/Small Disk" ||
    { echo "atspi_test: cannot mount a tmpfs (run as root)"; exit 1; }
# Less room left than the file needs, though the disk as a whole could hold it.
head -c 1572864 /dev/urandom >"$work/Small Disk/filler.bin"
head -c 1048576 /dev/urandom >"$work/src/big.bin"
cat >"$work/home2/.local/share/QVTransfer/qvtransfer.plist" <<EOF
<?xml version="1.0" encoding="UTF-8"?>
<plist version="1.0"><dict><key>LOCAL-DRIVE</key><dict>
<key>isFileTransferCompleted</key><false/>
<key>selectedDestinationShare</key><string>$work/Small Disk</string>
<key>sourceFilesPendingArray</key><array><dict>
<key>filesSelectCheckbox</key><integer>1</integer><key>fileName</key><string>big.bin</string>
<key>fullFilePath</key><string>$work/src/big.bin</string>
<key>numberOfFiles</key><string>1 file</string><key>numberOfFolders</key><string>0 folders</string>
<key>fileSize</key><integer>1048576</integer></dict></array>
</dict></dict></plist>
EOF
# The same record for the third case, copied before the second case's host rewrites its own.
cp "$work/home2/.local/share/QVTransfer/qvtransfer.plist" "$work/home3/.local/share/QVTransfer/"
start_host home2 --das "$work/Small Disk" --name "Small Disk" --resume
if ! /usr/bin/python3 "$probe" qvtransfer-host 30 "Resume upload:push button:focusable:showing" \
    "Stop Upload:push button:focusable:showing"; then
    echo "FAIL: the status screen's buttons"; cat "$work/home2.out"
    failures=$((failures + 1))
fi

# The probe finds a program by its name: the second case's host goes first.
kill "${pids[-1]}" 2>/dev/null
wait "${pids[-1]}" 2>/dev/null

# 3. The host's offer to take up that upload, for a disk whose name looks like markup: the name
# is shown as it is written, not as a heading and a link.
# In German, the question and its buttons are in the user's language too.
LC_ALL=de_DE.UTF-8 LANGUAGE= start_host home3 --das "$work/Small Disk" --name '<h1>Small</h1><a href="x">Disk</a>'
if ! /usr/bin/python3 "$probe" qvtransfer-host 30 \
    'Ein Upload auf <h1>Small</h1><a href="x">Disk</a> wurde unterbrochen. Möchten Sie ihn dort fortsetzen, wo er angehalten hat?:label:showing' \
    "Upload fortsetzen:push button:focusable:showing" \
    "Neuen Upload beginnen:push button:focusable:showing"; then
    echo "FAIL: the offer to take up the upload"; cat "$work/home3.out"
    failures=$((failures + 1))
fi

[ "$failures" -eq 0 ] && echo "accessibility bus: every control found"
exit "$failures"
