#!/usr/bin/env bash
# The sample host's command line: bad input gives one clear line and exit status 2; a good
# record opens the wizard (rendered offscreen) and the screenshot shows it.
set -u
host="$1"
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
export QT_QPA_PLATFORM=offscreen HOME="$work/home"
mkdir -p "$HOME"
failures=0
passed=0

expect_status() {  # expected-status description command...
    local want=$1 what=$2
    shift 2
    "$@" >"$work/out" 2>"$work/err"
    local got=$?
    if [ "$got" -ne "$want" ]; then
        echo "FAIL: $what: exit $got, wanted $want"; cat "$work/err"; failures=$((failures + 1))
    elif [ "$want" -eq 2 ] && [ "$(wc -l <"$work/err")" -ne 1 ]; then
        echo "FAIL: $what: expected exactly one error line, got:"; cat "$work/err"
        failures=$((failures + 1))
    else
        passed=$((passed + 1))
    fi
}

printf 'not a property list' >"$work/garbage.plist"
printf '<?xml version="1.0"?><plist version="1.0"><array><string>x</string></array></plist>' \
    >"$work/array.plist"

expect_status 2 "no arguments" "$host"
expect_status 2 "unknown flag" "$host" --bogus
expect_status 2 "missing record file" "$host" --record "$work/none.plist"
expect_status 2 "malformed record file" "$host" --record "$work/garbage.plist"
expect_status 2 "record that is not a dictionary" "$host" --record "$work/array.plist"
expect_status 2 "nas without serial" "$host" --nas 127.0.0.1 --name Box
expect_status 2 "nas without name" "$host" --nas 127.0.0.1 --serial SN1
expect_status 2 "das without folders" "$host" --das
expect_status 2 "record flag without value" "$host" --record
printf '<?xml version="1.0"?><plist version="1.0"><dict><key>deviceType</key><string>USB</string></dict></plist>' \
    >"$work/unknown-kind.plist"
expect_status 2 "record of no known kind of device" timeout 20 "$host" --record "$work/unknown-kind.plist"

# A folder that is no mounted volume: the host says so at once, names the volume and what to
# do, and ends with 1 (the screenshot shows the message).
mkdir -p "$work/Volume"
expect_status 1 "das folder that is not mounted" "$host" --das "$work/Volume" --name "Demo Drive" \
    --screenshot "$work/missing.png"
if grep -q "The disk's volume is not there: Volume ($work/Volume). Attach the disk" "$work/err" &&
    [ -s "$work/missing.png" ]; then
    passed=$((passed + 1))
else
    echo "FAIL: the missing volume was not told"; cat "$work/err"; failures=$((failures + 1))
fi

# In the user's language, as the wizard itself speaks it.
expect_status 1 "das folder that is not mounted, in German" env LC_ALL=de_DE.UTF-8 LANGUAGE= "$host" \
    --das "$work/Volume" --name "Demo Drive" --screenshot "$work/missing-de.png"
if grep -q "Das Volume der Festplatte ist nicht da: Volume ($work/Volume). Schließen Sie" \
    "$work/err"; then
    passed=$((passed + 1))
else
    echo "FAIL: the missing volume was not told in German"; cat "$work/err"
    failures=$((failures + 1))
fi

# The volume of a directly attached device is a mounted file system: the folder mounted onto
# itself is one.
mount --bind "$work/Volume" "$work/Volume"
trap 'umount "$work/Volume" 2>/dev/null; rm -rf "$work"' EXIT
expect_status 0 "das screenshot" "$host" --das "$work/Volume" --name "Demo Drive" \
    --screenshot "$work/shot.png"
if [ ! -s "$work/shot.png" ]; then
    echo "FAIL: no screenshot written"; failures=$((failures + 1))
else
    passed=$((passed + 1))
fi

# An interrupted upload recorded for the device: the host offers to take it up before anything
# else, and the screenshot shows the question.
mkdir -p "$HOME/.local/share/QVTransfer" "$work/Volume/Uploads" "$work/src"
printf 'x' >"$work/src/a.txt"
cat >"$HOME/.local/share/QVTransfer/qvtransfer.plist" <<PLIST
<?xml version="1.0" encoding="UTF-8"?>
<plist version="1.0"><dict><key>0000-VOLUME</key><dict>
<key>isFileTransferCompleted</key><false/>
<key>selectedDestinationShare</key><string>$work/Volume/Uploads</string>
<key>sourceFilesPendingArray</key><array><dict>
<key>filesSelectCheckbox</key><integer>1</integer><key>fileName</key><string>a.txt</string>
<key>fullFilePath</key><string>$work/src/a.txt</string><key>numberOfFiles</key><string>1 file</string>
<key>numberOfFolders</key><string>0 folders</string><key>fileSize</key><integer>1</integer>
</dict></array></dict></dict></plist>
PLIST
expect_status 0 "resume offered" "$host" --das "$work/Volume" --name "Demo Drive" \
    --screenshot "$work/offer.png"
if grep -q "an interrupted upload to Demo Drive can be resumed" "$work/out" && [ -s "$work/offer.png" ]; then
    passed=$((passed + 1))
else
    echo "FAIL: the resume was not offered"; cat "$work/out"; failures=$((failures + 1))
fi
# A completed upload is not offered.
sed -i 's|<key>isFileTransferCompleted</key><false/>|<key>isFileTransferCompleted</key><true/>|' \
    "$HOME/.local/share/QVTransfer/qvtransfer.plist"
expect_status 0 "nothing to offer" "$host" --das "$work/Volume" --name "Demo Drive" \
    --screenshot "$work/shot2.png"
if grep -q "can be resumed" "$work/out"; then
    echo "FAIL: a completed upload was offered"; failures=$((failures + 1))
else
    passed=$((passed + 1))
fi

# The end of the desktop session during an upload (SIGTERM) is not a stop: the upload taken up
# onto a disk with too little room left for it is recorded again and the host ends with 143.
# (The file is smaller than the whole disk: one larger than that would fail at once.)
if mkdir -p "$work/Disk" && truncate -s 8M "$work/disk.img" && mkfs.ext4 -q -F "$work/disk.img" &&
    loop=$(losetup --find --show "$work/disk.img") && mount "$loop" "$work/Disk"; then
    trap 'umount "$work/Disk" 2>/dev/null; losetup -d "$loop" 2>/dev/null;
          umount "$work/Volume" 2>/dev/null; rm -rf "$work"' EXIT
    uuid=$(blkid -p -s UUID -o value "$loop")
    mkdir -p "$work/big"
    head -c 6291456 /dev/urandom >"$work/Disk/filler.bin"
    head -c 4194304 /dev/urandom >"$work/big/big.bin"
    cat >"$HOME/.local/share/QVTransfer/qvtransfer.plist" <<PLIST
<?xml version="1.0" encoding="UTF-8"?>
<plist version="1.0"><dict><key>$uuid</key><dict>
<key>isFileTransferCompleted</key><false/>
<key>selectedDestinationShare</key><string>$work/Disk</string>
<key>sourceFilesPendingArray</key><array><dict>
<key>filesSelectCheckbox</key><integer>1</integer><key>fileName</key><string>big</string>
<key>fullFilePath</key><string>$work/big</string><key>numberOfFiles</key><string>1 file</string>
<key>numberOfFolders</key><string>1 folder</string><key>fileSize</key><integer>4194304</integer>
</dict></array></dict></dict></plist>
PLIST
    "$host" --das "$work/Disk" --name "Small Disk" --resume >"$work/out" 2>"$work/err" &
    pid=$!
    for _ in $(seq 300); do grep -q "Uploading file 1 of 1" "$work/out" && break; sleep 0.1; done
    kill -TERM "$pid"
    wait "$pid"
    got=$?
    state=$(tr -d '\n\t ' <"$HOME/.local/share/QVTransfer/qvtransfer.plist")
    if [ "$got" -eq 143 ] && grep -q "recorded for --resume" "$work/out" &&
        [[ "$state" == *"<key>isFileTransferPaused</key><true/>"* ]] &&
        [[ "$state" == *sourceFilesPendingArray*"$(printf '%s' "$work/big" | tr -d ' ')"* ]]; then
        passed=$((passed + 1))
    else
        echo "FAIL: SIGTERM during an upload: exit $got"; cat "$work/out" "$work/err"
        echo "$state"; failures=$((failures + 1))
    fi
else
    echo "FAIL: no loop-mounted ext4 volume for the session's end (run as root)"
    failures=$((failures + 1))
fi

# The end of the desktop session with no upload under way says nothing is recorded. The signal
# is sent once the host has its handler for it (its caught signals include SIGTERM).
# (A home of its own: the one above records an upload.)
mkdir -p "$work/home2"
HOME="$work/home2" "$host" --das "$work/Volume" --name "Demo Drive" >"$work/out" 2>"$work/err" &
pid=$!
for _ in $(seq 300); do
    caught=$(awk '/^SigCgt:/ { print $2 }' "/proc/$pid/status" 2>/dev/null)
    [ -n "$caught" ] && (((0x$caught >> 14) & 1)) && break
    sleep 0.1
done
kill -TERM "$pid"
wait "$pid"
got=$?
if [ "$got" -eq 143 ] && grep -q "the desktop session ends" "$work/out" &&
    ! grep -q "recorded for --resume" "$work/out"; then
    passed=$((passed + 1))
else
    echo "FAIL: SIGTERM with no upload: exit $got"; cat "$work/out" "$work/err"
    failures=$((failures + 1))
fi

echo "$passed passed, $failures failed"
[ "$failures" -eq 0 ]
