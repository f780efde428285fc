#!/usr/bin/env bash
# Whole processes as a user runs them: the built console uploader against the standard tools,
# each timed from start to exit, with its peak memory (GNU time). Builds nothing.
#
#   local (a loop-mounted ext4 volume): cp -r then sync -f, rsync -a, rclone copy
#   share (the device simulator and its private smbd on loopback): smbclient mput, rclone copy
#   with an SMB remote
#   clash: the same 4,000 files uploaded again over SMB into the folder that holds them, against
#   the first upload (the duplicate-name rule reads the folder once), and, to tell the server's
#   share of it, the upload into a folder of 4,000 other names; smbclient into an empty folder
#   and into one of 4,000 other names shows what the folder's size costs the standard tool
#   memory: peak memory of uploads of 25,000 and 100,000 small files
#
# One warm-up round, then QVT_BENCH_ROUNDS rounds (default 3); inside a round the sides take
# turns, starting with a different one each round, each with its sources read into the page
# cache first. Prints medians, the uploader's time over each tool's, and peak memory. Run as
# root (loop device, smbd) when nothing else is busy.
# Usage: bench/process_bench.sh [BUILD_DIR] [CASE...]
#   cases: local-big local-small one-file share-big share-small clash memory (default: all)
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
root=$(cd "$here/.." && pwd)
build=${1:-$root/build}
shift || true
cases=("$@")
[ "${#cases[@]}" -gt 0 ] || cases=(local-big local-small one-file share-big share-small clash memory)
rounds=${QVT_BENCH_ROUNDS:-3}
cli=$build/apps/cli/qvtransfer-cli
sim=$build/apps/devicesim/qvtransfer-devicesim

for tool in "$cli" "$sim"; do
    [ -x "$tool" ] || { echo "not built: $tool (run scripts/build.sh $build)" >&2; exit 2; }
done
for tool in rsync rclone smbclient /usr/bin/time mkfs.ext4; do
    command -v "$tool" >/dev/null || { echo "missing: $tool (scripts/install-deps.sh)" >&2; exit 2; }
done
[ "$(id -u)" -eq 0 ] || { echo "run as root: the benchmark mounts a loop volume and runs smbd" >&2; exit 2; }

work=$(mktemp -d /var/tmp/qvt-process-bench.XXXXXX)
vol=$work/volume
sim_pid=
cleanup() {
    [ -z "$sim_pid" ] || { kill "$sim_pid" 2>/dev/null; wait "$sim_pid" 2>/dev/null || true; }
    mountpoint -q "$vol" && umount "$vol"
    rm -rf "$work"
}
trap cleanup EXIT

# The destination volume: its own ext4 file system, so a flush flushes only it.
truncate -s 6G "$work/volume.img"
mkfs.ext4 -q -F "$work/volume.img"
mkdir -p "$vol"
mount -o loop "$work/volume.img" "$vol"
mkdir -p "$vol/dst" "$vol/share"
chmod 0777 "$vol/share"

# Sources on the machine's own disk: folders of files of one size.
make_files() {  # make_files FOLDER COUNT BYTES PER_FOLDER
    python3 - "$@" <<'EOF'
import os, sys
folder, count, size, per = sys.argv[1], int(sys.argv[2]), int(sys.argv[3]), int(sys.argv[4])
chunk = os.urandom(min(size, 1 << 20))
for n in range(count):
    sub = os.path.join(folder, "part %03d" % (n // per))
    os.makedirs(sub, exist_ok=True)
    with open(os.path.join(sub, "file %06d.bin" % n), "wb") as f:
        left = size
        while left > 0:
            f.write(chunk[: min(left, len(chunk))])
            left -= len(chunk)
EOF
}
src=$work/sources
needs() { local c; for c in "${cases[@]}"; do [[ " $* " == *" $c "* ]] && return 0; done; return 1; }
if needs local-big share-big; then make_files "$src/Big" 8 $((128 << 20)) 8; fi
if needs local-small; then make_files "$src/Small" 20000 4096 200; fi
if needs share-small; then make_files "$src/Share Small" 5000 4096 100; fi
if needs clash; then make_files "$src/Clash" 4000 4096 4000; fi
if needs one-file; then printf 'abc' >"$src/one.txt"; fi

# The device: the simulator's HTTP interface and smbd, one account, the share on the volume.
user=bench
password=bench-$RANDOM$RANDOM
serial=QVT-BENCH-0001
export HOME=$work/home
mkdir -p "$HOME"
printf '%s\n' "$password" >"$work/password"
printf 'username = %s\npassword = %s\n' "$user" "$password" >"$work/smbauth"
chmod 0600 "$work/password" "$work/smbauth"
if needs share-big share-small clash; then
    cat >"$work/device.plist" <<EOF
<?xml version="1.0" encoding="UTF-8"?>
<plist version="1.0"><dict>
<key>serialNumber</key><string>$serial</string>
<key>productName</key><string>Bench Storage</string>
<key>users</key><array><dict><key>username</key><string>$user</string>
<key>password</key><string>$password</string></dict></array>
<key>shares</key><array><dict><key>share_name</key><string>Bench</string>
<key>public_access</key><string>false</string>
<key>share_access</key><array><string>RW</string></array>
<key>path</key><string>$vol/share</string></dict></array>
<key>samba</key><dict/>
</dict></plist>
EOF
    "$sim" --config "$work/device.plist" --smb >"$work/sim.out" 2>"$work/sim.err" &
    sim_pid=$!
    for _ in $(seq 100); do grep -q '^smb ' "$work/sim.out" 2>/dev/null && break; sleep 0.1; done
    http=$(sed -n '1p' "$work/sim.out")
    smb_port=$(sed -n 's/^smb 127.0.0.1://p' "$work/sim.out")
    [ -n "$smb_port" ] || { echo "the device simulator did not start:" >&2; cat "$work/sim.err" >&2; exit 1; }
    export QVTRANSFER_SMB_PORT=$smb_port
    export RCLONE_CONFIG_BENCHSMB_TYPE=smb RCLONE_CONFIG_BENCHSMB_HOST=127.0.0.1
    export RCLONE_CONFIG_BENCHSMB_PORT=$smb_port RCLONE_CONFIG_BENCHSMB_USER=$user
    RCLONE_CONFIG_BENCHSMB_PASS=$(rclone obscure "$password")
    export RCLONE_CONFIG_BENCHSMB_PASS
fi

# One timed process: appends "SECONDS PEAK_KB" to $work/times/NAME. A process that fails
# ends the benchmark: a copy that did not complete has no time.
mkdir -p "$work/times"
timed() {  # timed NAME STDIN COMMAND...
    local name=$1 input=$2
    shift 2
    local start end
    start=$(date +%s.%N)
    if ! /usr/bin/time -f '%M' -o "$work/peak" "$@" <"$input" >"$work/out" 2>&1; then
        echo "failed: $name" >&2
        tail -n 20 "$work/out" >&2
        exit 1
    fi
    end=$(date +%s.%N)
    echo "$(echo "$end - $start" | bc) $(tail -n 1 "$work/peak")" >>"$work/times/$name"
}

others() {  # others FOLDER COUNT: empty files of other names, as another client left them
    mkdir -p "$1"
    (cd "$1" && seq -f 'other %06g.bin' "$2" | xargs -d '\n' touch)
    chmod -R 0777 "$vol/share"
}

fresh() {  # empties the destinations and puts what is left of them on the disk
    rm -rf "$vol/dst" "$vol/share"/*
    mkdir -p "$vol/dst"/{qvt,cp,rsync,rclone} "$vol/share"/{qvt,smbclient,rclone}
    chmod -R 0777 "$vol/share"
    sync -f "$vol"
    # The volume's image is a file on the machine's disk: what the flush above handed to it is
    # written out too, so that no side pays for the writes of the one before.
    sync
}

tree_of() {  # tree_of CASE: the source the case uploads, under $src
    case $1 in
        local-big) echo Big ;; local-small) echo Small ;; share-big) echo Big ;;
        share-small) echo "Share Small" ;; clash) echo Clash ;; one-file) echo one.txt ;;
    esac
}

# Reads the case's sources, so that every side starts with them in the page cache. rclone drops
# the pages of the files it has read from the cache; without this, the side that follows it in
# the turn order would read its sources from the disk in every round.
warm() {  # warm CASE
    find "$src/$(tree_of "$1")" -type f -print0 | xargs -0 cat >/dev/null
}

side() {  # side CASE SIDE: one run of one side of a case
    local c=$1 s=$2 tree
    tree=$(tree_of "$c")
    case $s in
        qvt-local)
            timed "$c/$s" /dev/null "$cli" --das "$vol" --name "Bench Drive" \
                --destination "$vol/dst/qvt" "$src/$tree" ;;
        cp)
            timed "$c/$s" /dev/null bash -c 'cp -r "$1" "$2" && sync -f "$2"' - "$src/$tree" \
                "$vol/dst/cp" ;;
        rsync) timed "$c/$s" /dev/null rsync -a "$src/$tree" "$vol/dst/rsync/" ;;
        rclone-local) timed "$c/$s" /dev/null rclone copy "$src/$tree" "$vol/dst/rclone/$tree" ;;
        qvt-share | qvt-again | qvt-others)
            timed "$c/$s" "$work/password" "$cli" --nas "$http" --serial "$serial" \
                --name "Bench Storage" --user "$user" --password-stdin \
                --destination Bench/qvt "$src/$tree" ;;
        smbclient | smbclient-others)
            timed "$c/$s" /dev/null smbclient //127.0.0.1/Bench -p "$smb_port" -A "$work/smbauth" \
                -c "cd smbclient; lcd \"$src\"; prompt off; recurse on; mput \"$tree\"" ;;
        rclone-share)
            timed "$c/$s" /dev/null rclone copy "$src/$tree" "benchsmb:Bench/rclone/$tree" ;;
    esac
}

sides_of() {
    case $1 in
        local-big | local-small) echo qvt-local cp rsync rclone-local ;;
        one-file) echo qvt-local cp ;;
        share-big | share-small) echo qvt-share smbclient rclone-share ;;
        clash) echo qvt-share ;;
    esac
}

label() {
    case $1 in
        qvt-local | qvt-share) echo "qvtransfer-cli" ;;
        qvt-again) echo "qvtransfer-cli again" ;;
        qvt-others) echo "into 4,000 other names" ;;
        smbclient-others) echo "smbclient, 4,000 others" ;;
        cp) echo "cp -r + sync -f" ;; rsync) echo "rsync -a" ;;
        rclone-local | rclone-share) echo "rclone copy" ;; smbclient) echo "smbclient mput" ;;
    esac
}

title() {
    case $1 in
        local-big) echo "local volume, 1 GiB in 8 files" ;;
        local-small) echo "local volume, 20,000 files of 4 KiB" ;;
        one-file) echo "local volume, one file of 3 bytes" ;;
        share-big) echo "share over SMB, 1 GiB in 8 files" ;;
        share-small) echo "share over SMB, 5,000 files of 4 KiB" ;;
        clash) echo "share over SMB, 4,000 files of 4 KiB, again into the folder holding them" ;;
    esac
}

median() {  # median FILE COLUMN
    sort -g -k"$2","$2" "$1" | awk -v c="$2" '{ v[NR] = $c } END {
        m = (NR % 2) ? v[(NR + 1) / 2] : (v[NR / 2] + v[NR / 2 + 1]) / 2; print m }'
}

run_case() {
    local c=$1 s r i n
    read -r -a sides <<<"$(sides_of "$c")"
    n=${#sides[@]}
    for r in $(seq 0 "$rounds"); do
        for i in $(seq 0 $((n - 1))); do
            s=${sides[$(((i + r) % n))]}
            # Every side writes into an empty destination; the clash case's second upload
            # finds the first one's files there.
            fresh
            warm "$c"
            side "$c" "$s"
            if [ "$c" = clash ]; then
                sync -f "$vol"
                sync
                warm "$c"
                side "$c" qvt-again
                # The same upload into a folder of as many other names: what the folder's size
                # alone costs, since the server looks up every new name in it.
                fresh
                others "$vol/share/qvt/Clash/part 000" 4000
                sync -f "$vol"
                sync
                warm "$c"
                side "$c" qvt-others
                # The standard tool under the same two conditions: what the folder's size
                # costs a client that looks up one new name per file, where the uploader looks
                # up three (its hidden name, the test of the final name, the rename).
                fresh
                warm "$c"
                side "$c" smbclient
                fresh
                others "$vol/share/smbclient/Clash/part 000" 4000
                sync -f "$vol"
                sync
                warm "$c"
                side "$c" smbclient-others
            fi
        done
        # The warm-up round fills the page cache and is not counted.
        if [ "$r" -eq 0 ]; then rm -f "$work/times/$c"/*; fi
    done
    [ "$c" = clash ] && sides+=(qvt-again qvt-others smbclient smbclient-others)
    printf '\n%s (median of %d)\n' "$(title "$c")" "$rounds"
    printf '  %-22s %10s %10s %8s\n' side seconds "peak MB" ratio
    local base
    base=$(median "$work/times/$c/${sides[0]}" 1)
    for s in "${sides[@]}"; do
        local t m
        t=$(median "$work/times/$c/$s" 1)
        m=$(median "$work/times/$c/$s" 2)
        if [ "$s" = "${sides[0]}" ] || { [ "$c" = clash ] && [ "$s" = smbclient ]; }; then
            ratio=""
        elif [ "$s" = smbclient-others ]; then
            ratio=$(echo "scale=2; $t / $(median "$work/times/$c/smbclient" 1)" | bc)
        elif [ "$c" = clash ]; then
            ratio=$(echo "scale=2; $t / $base" | bc)
        else
            ratio=$(echo "scale=2; $base / $t" | bc)
        fi
        printf '  %-22s %10.3f %10.1f %8s\n' "$(label "$s")" "$t" "$(echo "$m / 1024" | bc -l)" "$ratio"
    done
    if [ "$c" = clash ]; then
        echo "  ratio: time over the same client's first upload (into an empty folder)"
    else
        echo "  ratio: qvtransfer-cli's time over the side's"
    fi
}

memory_case() {
    local count
    printf '\nlocal volume, peak memory of one upload of small files\n'
    for count in 25000 100000; do
        rm -rf "$src/Many"
        make_files "$src/Many" "$count" 100 1000
        fresh
        mkdir -p "$work/times/memory"
        rm -f "$work/times/memory/$count"
        timed "memory/$count" /dev/null "$cli" --das "$vol" --name "Bench Drive" \
            --destination "$vol/dst/qvt" "$src/Many"
        read -r t m <"$work/times/memory/$count"
        printf '  %7d files: %8.3f s, peak %6.1f MB\n' "$count" "$t" "$(echo "$m / 1024" | bc -l)"
    done
}

echo "machine: $(nproc) cores, $(awk '/MemTotal/ { printf "%.1f GiB", $2 / 1048576 }' /proc/meminfo)," \
    "$(sed -n 's/^model name\s*: //p' /proc/cpuinfo | head -n 1)"
for c in "${cases[@]}"; do
    mkdir -p "$work/times/$c"
    if [ "$c" = memory ]; then memory_case; else run_case "$c"; fi
done
