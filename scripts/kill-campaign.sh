#!/usr/bin/env bash
# The kill campaign at full length: console uploads to a loop-mounted ext4 volume and to a
# share of the simulator's smbd, killed with SIGKILL at random moments and taken up with
# --resume, each trial checked file by file. Runs as root (loop devices, smbd).
# Usage: scripts/kill-campaign.sh [TRIALS (default 100)] [SEED] [BUILD_DIR]
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
trials=${1:-100}
seed=${2:-}
build=${3:-$root/build}
"$root/scripts/build.sh" "$build" >/dev/null
export QVT_KILL_TRIALS="$trials"
if [ -n "$seed" ]; then export QVT_KILL_SEED="$seed"; fi
export QT_QPA_PLATFORM=offscreen
exec "$root/scripts/with-keyring.sh" "$build/tests/test_cli" --gtest_filter='KillCampaign.*'
