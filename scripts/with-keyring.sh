#!/usr/bin/env bash
# Runs a command inside a private D-Bus session that holds a running, unlocked gnome-keyring
# (the freedesktop Secret Service), and exits with the command's exit code.
#
#   scripts/with-keyring.sh ctest --test-dir build --output-on-failure
#
# The keyring daemon keeps its files under a temporary folder, so the real user's keyrings are
# never read or written. The command itself keeps its environment; only the session bus
# (DBUS_SESSION_BUS_ADDRESS), the keyring's control socket (GNOME_KEYRING_CONTROL) and the marker
# QVT_TEST_KEYRING=1 (the keychain tests refuse to run against any other keyring) are added.
# Works headless, as root, without a terminal and with stdin closed or empty (CI).
set -euo pipefail

if [ "$#" -eq 0 ]; then
    echo "usage: $0 COMMAND [ARGUMENTS...]" >&2
    exit 2
fi
for tool in dbus-run-session gnome-keyring-daemon; do
    if ! command -v "$tool" >/dev/null 2>&1; then
        echo "with-keyring: '$tool' is not installed (packages: dbus, gnome-keyring)" >&2
        exit 127
    fi
done

keyring_root="$(mktemp -d "${TMPDIR:-/tmp}/qvt-keyring.XXXXXX")"
trap 'rm -rf "$keyring_root"' EXIT
mkdir -p "$keyring_root/home" "$keyring_root/data" "$keyring_root/config" "$keyring_root/run"
chmod 700 "$keyring_root/run"
export QVT_KEYRING_ROOT="$keyring_root"

# Inside the session: start the daemon with its own home and data folders, unlocking (and on
# first use creating) the "login" keyring with a throw-away password read from the pipe, then run
# the command. The daemon is stopped by its pid when the command ends.
inner='
set -u
root="$QVT_KEYRING_ROOT"
unset QVT_KEYRING_ROOT
# A fresh random password per run: the keyring is thrown away with the folder.
password=$(head -c 24 /dev/urandom | base64)
daemon_env=$(printf "%s" "$password" |
    HOME="$root/home" XDG_DATA_HOME="$root/data" XDG_CONFIG_HOME="$root/config" \
    XDG_RUNTIME_DIR="$root/run" \
    gnome-keyring-daemon --unlock --components=secrets --control-directory="$root/run/keyring")
status=$?
if [ "$status" -ne 0 ]; then
    echo "with-keyring: gnome-keyring-daemon failed to start ($status)" >&2
    exit 1
fi
while IFS= read -r line; do
    case "$line" in
        GNOME_KEYRING_CONTROL=*) export "$line" ;;
    esac
done <<<"$daemon_env"
# The daemon answers the start request before it owns its bus name; a client calling earlier
# would have the bus start a second daemon. Wait (at most 10 s) for the name.
bus_call() {
    dbus-send --session --print-reply --dest=org.freedesktop.DBus /org/freedesktop/DBus \
        "org.freedesktop.DBus.$1" string:org.freedesktop.secrets 2>/dev/null
}
deadline=$((SECONDS + 10))
until bus_call NameHasOwner | grep -q "boolean true"; do
    if [ "$SECONDS" -ge "$deadline" ]; then
        echo "with-keyring: the Secret Service did not appear on the session bus" >&2
        exit 1
    fi
    sleep 0.05
done
daemon_pid=$(bus_call GetConnectionUnixProcessID | awk "/uint32/ {print \$2}")
export QVT_TEST_KEYRING=1
"$@"
rc=$?
if [ -n "$daemon_pid" ]; then kill "$daemon_pid" 2>/dev/null || true; fi
exit "$rc"
'

set +e
dbus-run-session -- bash -c "$inner" with-keyring "$@"
rc=$?
set -e
exit "$rc"
