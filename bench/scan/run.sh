#!/bin/bash
# SPDX-License-Identifier: GPL-2.0-or-later
# Measures our scanner against the packaged daemon (clamdscan --multiscan --fdpass) in one run: the same signatures,
# the same limits, temporary files of both on tmpfs. Both remember clean files, so each round begins with fresh
# processes on either side; the rounds take turns. Prints files and bytes a second of the medians and their ratio; ends
# with 1 where it misses the goal.
# Usage: run.sh BUILD-FOLDER [ROUNDS]
set -euo pipefail

build=$(realpath "${1:?usage: run.sh BUILD-FOLDER [ROUNDS]}")
rounds=${2:-5}
goal=1.8
missed=0
here=$(dirname "$(realpath "$0")")
bases=$(realpath "$here/../../resources/bases")
bench=$(find "$build" -name bench_scan -type f -perm -u+x | head -1)
scanner=$build/programs/tesl-scanner
for tool in clamd clamdscan; do
    command -v "$tool" >/dev/null || { echo "$tool is missing: see [bench] in packaging/packages.txt" >&2; exit 1; }
done
[ -x "$bench" ] && [ -x "$scanner" ] || { echo "build bench_scan and tesl-scanner first" >&2; exit 1; }
work=$(mktemp -d)
memory=$(mktemp -d /dev/shm/bench-scan-XXXXXX)
daemon=

stop_daemon() {
    [ -z "$daemon" ] && return
    kill "$daemon" 2>/dev/null || true
    wait "$daemon" 2>/dev/null || true
    daemon=
}
cleanup() {
    stop_daemon
    rm -rf "$work" "$memory"
}
trap cleanup EXIT

start_daemon() {
    rm -f "$work/clamd.socket"
    clamd --config-file="$work/clamd.conf" >/dev/null 2>&1 &
    daemon=$!
    for _ in $(seq 300); do
        [ -S "$work/clamd.socket" ] && return
        sleep 0.1
    done
    echo "clamd didn't start: $(cat "$work/clamd.log")" >&2
    return 1
}

mkdir "$work/bases" "$memory/theirs" "$memory/ours"
cp "$bases"/tolvander.* "$work/bases/"
cat >"$work/clamd.conf" <<END
LocalSocket $work/clamd.socket
DatabaseDirectory $work/bases
TemporaryDirectory $memory/theirs
Foreground yes
MaxThreads $(nproc)
MaxFileSize 1024M
MaxScanSize 2048M
MaxFiles 100000
LogFile $work/clamd.log
END
echo "making the trees"
python3 "$here/make_tree.py" "$work/tree"

# The scan alone on either side, without the loading of the signatures.
ours() { # folder files
    "$bench" "$scanner" "$work/bases" "$memory/ours" "$1" >"$work/ours" 2>"$work/ours.err" || { cat "$work/ours.err" >&2; return 1; }
    grep -q "files=$2 .* notprocessed=0 " "$work/ours" || { cat "$work/ours" "$work/ours.err" >&2; return 1; }
    sed -n 's/^seconds=\([0-9.]*\) .*/\1/p' "$work/ours"
}
theirs() { # folder
    local begin end
    begin=$(date +%s.%N)
    clamdscan --config-file="$work/clamd.conf" --multiscan --fdpass --no-summary --infected "$1" >"$work/theirs" 2>&1 ||
        { cat "$work/theirs" >&2; return 1; }
    end=$(date +%s.%N)
    awk -v b="$begin" -v e="$end" 'BEGIN { printf "%.4f\n", e - b }'
}
median() { sort -g | awk '{ v[NR] = $1 } END { print v[int((NR + 1) / 2)] }'; }

measure() { # name folder files bytes
    local name=$1 folder=$2 files=$3 bytes=$4 round
    : >"$work/a"
    : >"$work/b"
    cat "$folder"/* "$folder"/*/* >/dev/null 2>&1 || true # both find the files in memory
    for round in $(seq "$rounds"); do
        ours "$folder" "$files" >>"$work/a"
        start_daemon
        theirs "$folder" >>"$work/b"
        stop_daemon
        printf '%-6s round %d  ours %7.3f s  theirs %7.3f s\n' "$name" "$round" "$(tail -1 "$work/a")" "$(tail -1 "$work/b")"
    done
    awk -v n="$name" -v g="$goal" -v a="$(median <"$work/a")" -v b="$(median <"$work/b")" -v f="$files" -v s="$bytes" 'BEGIN {
        printf "%-6s ours   %9.0f files/s %8.1f MB/s\n", n, f / a, s / a / 1e6
        printf "%-6s theirs %9.0f files/s %8.1f MB/s\n", n, f / b, s / b / 1e6
        printf "%-6s ratio  %.2f (goal: at least %.1f)\n", n, b / a, g
        exit b / a < g }' || missed=1
}

for name in small big; do
    measure "$name" "$work/tree/$name" "$(find "$work/tree/$name" -type f | wc -l)" \
        "$(find "$work/tree/$name" -type f -printf '%s\n' | awk '{ s += $1 } END { print s }')"
done
if ((missed)); then
    echo "A GOAL IS MISSED."
    exit 1
fi
echo "All goals are met."
