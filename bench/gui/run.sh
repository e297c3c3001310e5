#!/usr/bin/env bash
# SPDX-License-Identifier: GPL-2.0-or-later
# Measures how long the front end takes from main to its first frame, and what it then holds in memory, against a bare
# window with the same imports, empty and with one word in the front end's typeface: one of each in turn, with the
# service running and not, on a virtual display.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/../.."
# shellcheck source=tools/lib.sh
. tools/lib.sh

usage() {
    cat <<'TEXT'
Usage: bench/gui/run.sh [--build PATH] [--stage PATH] [--rounds N]

  --build PATH  the build with the bench programs; build/bench unless told
  --stage PATH  the staged product; the folder "stage" of the build unless told
  --rounds N    how many starts of each for each line of the table; 15 unless told
TEXT
}

build=build/bench
stage=""
rounds=15
while (($#)); do
    case "$1" in
    --build | --stage | --rounds)
        (($# > 1)) || die "$1 needs a value."
        declare "${1#--}=$2"
        shift
        ;;
    --help | -h)
        usage
        exit 0
        ;;
    *)
        usage >&2
        exit 2
        ;;
    esac
    shift
done
build=$(realpath -e -- "$build") || die "Build it first: cmake --preset bench && cmake --build build/bench."
stage=$(realpath -e -- "${stage:-$build/stage}") || die "Stage it first: cmake --install $build."
[[ $rounds =~ ^[1-9][0-9]*$ ]] || die "--rounds takes a number."

product=$stage/opt/tolvander/tesl
bare=$build/bench/gui/bare_window
watcher=$build/bench/gui/libfirst_frame.so
socket=$stage/var/run/bl4control
started_pid=0 # set by start_process
[[ -x $bare && -e $watcher ]] || die "$build has no bench programs: configure it with -DTESL_BENCH=ON."

work=$(mktemp -d)
mkdir "$work/scope"
clean_up() {
    stop_processes
    rm -rf "$work"
}
trap clean_up EXIT
trap 'exit 130' INT
trap 'exit 143' TERM

mkdir -p "$stage"/{tmp,var/run} "$stage"/var/{log,opt}/tolvander/tesl "$stage/var/opt/tolvander/tesl/common"
printf '{\n  "scanScope": [%s]\n}\n' "$(json_text "$work/scope")" >"$stage/var/opt/tolvander/tesl/common/service.json"
printf '[General]\nLocale=en_US.UTF-8\n' >"$stage/var/opt/tolvander/tesl/common/tesl.ini"

unset WAYLAND_DISPLAY QT_LINUX_ACCESSIBILITY_ALWAYS_ON
start_virtual_display "$work/logs"

# measure FILE PROGRAM [ARGUMENT]: appends the program's line of figures.
measure() {
    local report=$work/report file=$1
    shift
    rm -f "$report"
    LD_PRELOAD=$watcher TESL_BENCH_REPORT=$report timeout 60 "$@" </dev/null >"$work/output" 2>&1 || true
    [[ -s $report ]] || die "$1 showed no frame: $(<"$work/output")"
    cat "$report" >>"$file"
}

measure_one() {
    case "$2" in
    empty) measure "$1" "$bare" ;;
    text) measure "$1" "$bare" "$product/resource/RobotoRegular.ttf" ;;
    gui) measure "$1" "$product/libexec/tesl-gui" ;;
    esac
}

# measure_rounds NAME: the first round warms the caches and doesn't count. Who goes first changes.
measure_rounds() {
    local i j
    local windows=(empty text gui)
    for j in 0 1 2; do measure_one /dev/null "${windows[j]}"; done
    for ((i = 0; i < rounds; i++)); do
        for j in 0 1 2; do
            local window=${windows[(i + j) % 3]}
            measure_one "$work/$1.$window" "$window"
        done
    done
}

serves() { "$product/bin/tesl-control" --app-info >/dev/null 2>&1; }
serves_or_ended() { is_gone "$started_pid" || { [[ -S $socket ]] && serves; }; }

measure_rounds "service stopped"
start_process "$product/libexec/tesl-service" >"$work/logs/service.log" 2>&1
wait_for 60 serves_or_ended || die "The service did not begin to answer at $socket."
is_alive "$started_pid" || die "The service ended; another one may be running from $stage."
measure_rounds "service running"

python3 bench/gui/table.py "$work" "service stopped" "service running"
