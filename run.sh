#!/usr/bin/env bash
# SPDX-License-Identifier: GPL-2.0-or-later
# Builds the product, stages it below build/dev/stage, starts the service and opens the window.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")"
# shellcheck source=tools/lib.sh
. tools/lib.sh

usage() {
    cat <<'TEXT'
Usage: ./run.sh [--scope PATH] [--once] [--build FOLDER]

Installs what is missing, builds, starts the service as you, and opens the window. Ctrl-C stops all of it.

  --scope PATH  what the full scan scans; without it a small folder under build/dev with the standard
                anti-malware test file in it
  --once        on a virtual display: ends when the screenshot of the main page is saved
  --build FOLDER
                builds and installs nothing, and runs what is staged in that build folder instead of build/dev
  --help        this text

Without a display a virtual one is started, and a screenshot of the main page is saved in the build folder.
TEXT
}

once=false
scope=""
build=""
while (($#)); do
    case "$1" in
    --once) once=true ;;
    --scope)
        (($# > 1)) || die "--scope needs a path."
        scope=$(realpath -e -- "$2") || die "There is no \"$2\" to scan."
        shift
        ;;
    --scope=*) scope=$(realpath -e -- "${1#*=}") || die "There is no \"${1#*=}\" to scan." ;;
    --build)
        (($# > 1)) || die "--build needs a folder."
        build=$(realpath -e -- "$2") || die "There is no \"$2\" to run from."
        shift
        ;;
    --build=*) build=$(realpath -e -- "${1#*=}") || die "There is no \"${1#*=}\" to run from." ;;
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

if [[ -z $build ]]; then
    install_missing build
    build_and_stage dev
    build=$PWD/build/dev
fi
stage=$build/stage
product=$stage/opt/tolvander/tesl
socket=$stage/var/run/bl4control
logs=$build/logs
[[ -x $product/libexec/tesl-gui ]] || die "Nothing is staged in $build."
((${#socket} < 108)) || die "The folder of this checkout is too deep: the socket's path would be too long."
screenshot=$build/screenshot.png

if [[ -z $scope ]]; then
    scope=$build/scope
    make_scope "$scope"
fi

mkdir -p "$stage"/{tmp,var/run} "$stage"/var/{log,opt}/tolvander/tesl "$stage/var/opt/tolvander/tesl/common" "$logs"
printf '{\n  "scanScope": [%s]\n}\n' "$(json_text "$scope")" >"$stage/var/opt/tolvander/tesl/common/service.json"
printf '[General]\nLocale=en_US.UTF-8\n' >"$stage/var/opt/tolvander/tesl/common/tesl.ini"

trap stop_processes EXIT
trap 'exit 130' INT
trap 'exit 143' TERM
trap 'exit 129' HUP
trap 'exit 141' PIPE

serves() { "$product/bin/tesl-control" --app-info >/dev/null 2>&1; }
serves_or_ended() { is_gone "$service_pid" || { [[ -S $socket ]] && serves; }; }
# The one connection that is left when no command runs is the window's.
has_client() { awk -v path="$socket" '$6 == "03" && $8 == path { n++ } END { exit !n }' /proc/net/unix; }

virtual=false
if $once || [[ -z ${DISPLAY:-} && -z ${WAYLAND_DISPLAY:-} ]]; then
    virtual=true
    unset WAYLAND_DISPLAY
    start_virtual_display "$logs"
fi

start_process "$product/libexec/tesl-service"
service_pid=$started_pid
wait_for 60 serves_or_ended || die "The service did not begin to answer at $socket."
is_alive "$service_pid" || die "The service ended; another one may be running in this checkout."
say "The service is running (process $service_pid); the full scan scans $scope."

start_process "$product/libexec/tesl-gui"
gui_pid=$started_pid

if $virtual; then
    window=""
    has_window() { is_gone "$gui_pid" || window=$(window_of "$gui_pid"); }
    wait_for 30 has_window || die "The window did not open."
    is_alive "$gui_pid" || die "The window's program ended."
    wait_for 30 has_client || die "The window did not connect to the service."
    wait_until_still "$window" 30 || die "The window does not come to rest."
    import -silent -window "$window" "$screenshot"
    say "Screenshot of the main page: $screenshot"
    if $once; then exit 0; fi
    say "The window is on the virtual display $DISPLAY. Press Ctrl-C to stop."
else
    say "The window is open. Press Ctrl-C to stop."
fi

status=0
wait "$gui_pid" || status=$?
exit "$status"
