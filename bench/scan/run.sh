#!/bin/bash
# SPDX-License-Identifier: GPL-2.0-or-later
# Measures our scanner against the packaged daemon (clamdscan --multiscan --fdpass) in one run: the same signatures,
# the same limits, temporary files of both on tmpfs. Prints files and bytes a second and the ratios.
# Usage: run.sh BUILD-FOLDER [ROUNDS]
set -euo pipefail

build=$(realpath "${1:?usage: run.sh BUILD-FOLDER [ROUNDS]}")
rounds=${2:-3}
here=$(dirname "$(realpath "$0")")
bases=$(realpath "$here/../../resources/bases")
bench=$(find "$build" -name bench_scan -type f -perm -u+x | head -1)
scanner=$build/programs/tesl-scanner
work=$(mktemp -d)
memory=$(mktemp -d /dev/shm/bench-scan-XXXXXX)
daemon=

cleanup() {
    if [ -n "$daemon" ]; then
        kill "$daemon" 2>/dev/null || true
        wait "$daemon" 2>/dev/null || true
    fi
    rm -rf "$work" "$memory"
}
trap cleanup EXIT

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
clamd --config-file="$work/clamd.conf" >/dev/null 2>&1 &
daemon=$!
for _ in $(seq 200); do
    [ -S "$work/clamd.socket" ] && break
    sleep 0.1
done
[ -S "$work/clamd.socket" ] || { echo "clamd didn't start: $(cat "$work/clamd.log")" >&2; exit 1; }

seconds_of() { # command... -> seconds
    local begin end
    begin=$(date +%s.%N)
    "$@" >"$work/out" 2>&1 || { cat "$work/out" >&2; return 1; }
    end=$(date +%s.%N)
    awk "BEGIN { printf \"%.4f\", $end - $begin }"
}
ours() { # the run itself, without loading the signatures: the daemon has loaded them too
    "$bench" "$scanner" "$work/bases" "$memory/ours" "$1" >"$work/ours" || return 1
    sed -n 's/^seconds=\([0-9.]*\) .*/\1/p' "$work/ours"
}
theirs() { seconds_of clamdscan --config-file="$work/clamd.conf" --multiscan --fdpass --no-summary --infected "$1"; }
median() { sort -g | awk '{ v[NR] = $1 } END { print v[int((NR + 1) / 2)] }'; }

measure() { # name folder files bytes
    local name=$1 folder=$2 files=$3 bytes=$4
    : >"$work/a"
    : >"$work/b"
    cat "$folder"/* "$folder"/*/* >/dev/null 2>&1 || true # both find the files in memory
    for _ in $(seq "$rounds"); do
        ours "$folder" >>"$work/a"
        theirs "$folder" >>"$work/b"
    done
    local a b
    a=$(median <"$work/a")
    b=$(median <"$work/b")
    awk -v n="$name" -v a="$a" -v b="$b" -v f="$files" -v s="$bytes" 'BEGIN {
        printf "%-6s ours   %9.0f files/s %8.1f MB/s\n", n, f / a, s / a / 1e6
        printf "%-6s theirs %9.0f files/s %8.1f MB/s\n", n, f / b, s / b / 1e6
        printf "%-6s ratio  %.2f\n", n, b / a }'
}

for name in small big; do
    measure "$name" "$work/tree/$name" "$(find "$work/tree/$name" -type f | wc -l)" \
        "$(find "$work/tree/$name" -type f -printf '%s\n' | awk '{ s += $1 } END { print s }')"
done
