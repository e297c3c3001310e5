#!/usr/bin/env bash
# SPDX-License-Identifier: GPL-2.0-or-later
# Measures what the front end's window costs while nobody touches it: against a bare window with as many items of the
# same looks and the same repaint timer, while a scan runs, and hidden in the tray. And, drawn by the processor or by the
# graphics system, how it starts, what it holds in memory and how smoothly its pages come and go.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/../.."
# shellcheck source=tools/lib.sh
. tools/lib.sh

usage() {
    cat <<'TEXT'
Usage: bench/gui/rest.sh [--build PATH] [--stage PATH] [--rounds N] [--seconds N] [--scope PATH]

  --build PATH  the build with the bench programs; build/bench unless told
  --stage PATH  the staged product; the folder "stage" of the build unless told
  --rounds N    how often each is measured; 5 unless told
  --seconds N   for how long each state is watched; 10 unless told
  --scope PATH  what is scanned meanwhile, with work for all rounds; /usr unless told
TEXT
}

build=build/bench
stage=""
rounds=5
seconds=10
scope=/usr
while (($#)); do
    case "$1" in
    --build | --stage | --rounds | --seconds | --scope)
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
[[ $rounds =~ ^[1-9][0-9]*$ && $seconds =~ ^[1-9][0-9]*$ ]] || die "--rounds and --seconds take numbers."

product=$stage/opt/tolvander/tesl
tools=$build/bench/gui
socket=$stage/var/run/bl4control
[[ -x $tools/bare_window && -e $tools/libwindow_work.so ]] ||
    die "$build has no bench programs: configure it with -DTESL_BENCH=ON."

work=$(mktemp -d)
clean_up() {
    stop_processes
    rm -rf "$work"
}
trap clean_up EXIT
trap 'exit 130' INT
trap 'exit 143' TERM

mkdir -p "$stage"/{tmp,var/run} "$stage"/var/{log,opt}/tolvander/tesl "$stage/var/opt/tolvander/tesl/common"
printf '{\n  "scanScope": [%s]\n}\n' "$(json_text "$scope")" >"$stage/var/opt/tolvander/tesl/common/service.json"
printf '[General]\nLocale=en_US.UTF-8\n' >"$stage/var/opt/tolvander/tesl/common/tesl.ini"

unset WAYLAND_DISPLAY QT_LINUX_ACCESSIBILITY_ALWAYS_ON
start_virtual_display "$work/logs"

# The renderer of what follows.
use_renderer() {
    unset QT_QUICK_BACKEND
    export TESL_RENDERER=$1
    [[ $1 != software ]] || export QT_QUICK_BACKEND=software
}

# watch FILE WATCHER PROGRAM [ARGUMENT...]: appends the program's figures.
watch() {
    local report=$work/report file=$1 watcher=$2
    shift 2
    rm -f "$report"
    LD_PRELOAD=$tools/lib$watcher.so TESL_BENCH_REPORT=$report TESL_BENCH_SECONDS=$seconds \
        timeout $((60 + 4 * seconds)) "$@" </dev/null >"$work/output" 2>&1 || true
    [[ -s $report ]] || die "$1 showed nothing: $(<"$work/output")"
    cat "$report" >>"$file"
}

gui=$product/libexec/tesl-gui
serves() { [[ -S $socket ]] && "$product/bin/tesl-control" --app-info >/dev/null 2>&1; }
start_process "$product/libexec/tesl-service" >"$work/logs/service.log" 2>&1
wait_for 60 serves || die "The service did not begin to answer at $socket."

for ((i = 0; i < rounds; i++)); do
    for renderer in software hardware; do
        use_renderer "$renderer"
        watch "$work/$renderer.start" first_frame "$gui"
        TESL_BENCH_ITEMS=$work/items watch "$work/$renderer.gui" window_work "$gui"
        watch "$work/$renderer.bare" window_work "$tools/bare_window" "$product/resource/RobotoRegular.ttf" \
            "$PWD/resources/images/button-reports-normal.svg" "$work/items"
    done
done

use_renderer software
export TESL_BENCH_PAGE=ScanTasks
for ((i = 0; i < rounds; i++)); do
    watch "$work/idle.page" window_work "$gui"
    "$product/bin/tesl-control" --start-task Scan_My_Computer >"$work/logs/start.log" 2>&1 || die "$(<"$work/logs/start.log")"
    watch "$work/scanning.page" window_work "$gui"
    "$product/bin/tesl-control" --get-task-state Scan_My_Computer | grep -q Started ||
        die "The scan was over too soon: name more by --scope."
    "$product/bin/tesl-control" --stop-task Scan_My_Computer >"$work/logs/stop.log" 2>&1 || die "$(<"$work/logs/stop.log")"
done

python3 bench/gui/rest_table.py "$work"
