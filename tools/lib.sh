# SPDX-License-Identifier: GPL-2.0-or-later
# Shared pieces of run.sh and test.sh. Sourced from the top folder of the checkout, with `set -euo pipefail`.
# shellcheck shell=bash

say() { printf '%s\n' "$*"; }
warn() { printf '%s\n' "$*" >&2; }
die() {
    warn "$*"
    exit 1
}

# --- packages -------------------------------------------------------------------------------------------------------

# list_packages SECTION...: the names under those sections of the package list, one a line.
list_packages() {
    local section=""
    local line
    while IFS= read -r line; do
        case "$line" in
        "" | "#"*) ;;
        "["*"]") section="${line:1:-1}" ;;
        *) if [[ " $* " == *" $section "* ]]; then printf '%s\n' "$line"; fi ;;
        esac
    done <packaging/packages.txt
}

# install_missing SECTION...: costs one query where nothing is missing.
install_missing() {
    local wanted missing=() name status
    mapfile -t wanted < <(list_packages "$@")
    declare -A have=()
    while read -r status name; do
        [[ $status == installed ]] && have["${name%%:*}"]=1
    done < <(dpkg-query -W -f '${db:Status-Status} ${binary:Package}\n' "${wanted[@]}" 2>/dev/null || true)
    for name in "${wanted[@]}"; do
        [[ -n ${have[$name]:-} ]] || missing+=("$name")
    done
    ((${#missing[@]})) || return 0

    local as_root=()
    if ((EUID != 0)); then
        command -v sudo >/dev/null ||
            die "These packages are missing and sudo isn't here to install them: ${missing[*]}"
        as_root=(sudo)
    fi
    say "Installing what is missing: ${missing[*]}"
    "${as_root[@]}" apt-get -q update
    "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get -q install -y --no-install-recommends "${missing[@]}"
}

# --- building -------------------------------------------------------------------------------------------------------

# configure PRESET: once, and again when the presets have changed.
configure() {
    local made=build/$1/build.ninja
    [[ ! -e $made || CMakePresets.json -nt $made ]] || return 0
    say "Configuring build/$1."
    cmake --preset "$1" >/dev/null
}

# build_and_stage PRESET: builds, and lays the installation out below build/PRESET/stage.
build_and_stage() {
    configure "$1" || return
    say "Building build/$1."
    cmake --build "build/$1" || return
    cmake --install "build/$1" >/dev/null
}

# build_fuzz_targets: into build/fuzz/fuzz.
build_fuzz_targets() {
    configure fuzz || return
    say "Building build/fuzz."
    cmake --build build/fuzz --target fuzz
}

# --- processes ------------------------------------------------------------------------------------------------------

started_pids=()

# start_process COMMAND...: in a session of its own, so that Ctrl-C reaches it through stop_processes alone and in
# order. The pid is left in `started_pid`.
start_process() {
    setsid "$@" </dev/null &
    started_pid=$!
    started_pids+=("$started_pid")
}

is_alive() { kill -0 "$1" 2>/dev/null; }

# wait_for SECONDS COMMAND...: until the command succeeds; fails when the time is over.
wait_for() {
    local deadline=$((SECONDS + $1))
    shift
    until "$@"; do
        ((SECONDS < deadline)) || return 1
        sleep 0.05
    done
}

is_gone() { ! is_alive "$1"; }

# Ends what start_process began, last first, and nothing else: each is asked, and its whole session is killed where it
# doesn't go within ten seconds. The number of one that has ended by itself may be somebody else's by now.
stop_processes() {
    local i pid
    for ((i = ${#started_pids[@]} - 1; i >= 0; i--)); do
        pid=${started_pids[i]}
        jobs -pr | grep -qx "$pid" || continue
        kill -TERM "$pid" 2>/dev/null || true
        wait_for 10 is_gone "$pid" || warn "Process $pid did not end when asked; killing it."
        kill -KILL -- "-$pid" 2>/dev/null || true
        wait "$pid" 2>/dev/null || true
    done
    started_pids=()
}

# --- a screen where there is none -----------------------------------------------------------------------------------

# start_virtual_display LOG-FOLDER: X server, session bus, window manager and tray; exports what clients need.
start_virtual_display() {
    local logs=$1 number address
    mkdir -p "$logs"
    : >"$logs/display"
    start_process Xvfb -displayfd 3 -screen 0 1280x800x24 -nolisten tcp -noreset 3>"$logs/display" 2>"$logs/xvfb.log"
    wait_for 20 test -s "$logs/display" || die "The virtual display did not start; see $logs/xvfb.log."
    number=$(<"$logs/display")
    export DISPLAY=":$number"
    wait_for 20 xprop -root _NET_SUPPORTED >/dev/null 2>&1 || die "The virtual display does not answer."
    if [[ -z ${DBUS_SESSION_BUS_ADDRESS:-} ]]; then
        : >"$logs/bus"
        start_process dbus-daemon --session --nofork --print-address=3 3>"$logs/bus" 2>"$logs/bus.log"
        wait_for 20 test -s "$logs/bus" || die "The session bus did not start; see $logs/bus.log."
        address=$(<"$logs/bus")
        export DBUS_SESSION_BUS_ADDRESS="$address"
    fi
    if [[ -z ${XDG_RUNTIME_DIR:-} ]]; then
        [[ -d $logs/runtime ]] || mkdir -m 700 "$logs/runtime"
        export XDG_RUNTIME_DIR="$logs/runtime"
    fi
    export QT_QUICK_BACKEND=software
    start_process openbox >"$logs/openbox.log" 2>&1
    wait_for 20 has_window_manager || die "The window manager did not start; see $logs/openbox.log."
    start_process trayer --edge bottom --align right --widthtype request --height 28 2>"$logs/trayer.log"
    wait_for 20 has_tray || die "The tray did not start; see $logs/trayer.log."
}

has_window_manager() { [[ $(xprop -root _NET_SUPPORTING_WM_CHECK 2>/dev/null) == *"window id"* ]]; }
has_tray() { [[ $(xwininfo -root -tree 2>/dev/null) == *'("panel" "trayer")'* ]]; }

# window_of PID: the id of the process's first managed window.
window_of() {
    local id
    for id in $(xprop -root _NET_CLIENT_LIST 2>/dev/null | grep -o '0x[0-9a-f]*'); do
        if [[ $(xprop -id "$id" _NET_WM_PID 2>/dev/null) == *" = $1" ]]; then
            printf '%s\n' "$id"
            return 0
        fi
    done
    return 1
}

# picture_of WINDOW: a checksum of what the window shows.
picture_of() { import -silent -window "$1" -depth 8 rgb:- 2>/dev/null | sha256sum; }

# wait_until_still WINDOW SECONDS: until the picture has stayed the same for one and a half seconds.
wait_until_still() {
    local deadline=$((SECONDS + $2)) last="" now same=0
    while ((same < 3)); do
        ((SECONDS < deadline)) || return 1
        now=$(picture_of "$1")
        if [[ $now == "$last" ]]; then same=$((same + 1)); else same=0; fi
        last=$now
        sleep 0.5
    done
}

# --- samples --------------------------------------------------------------------------------------------------------

# The standard anti-malware test file, put together here so that no file of the project holds it.
print_test_file() {
    local first='X5O!P%@AP[4\PZX54(P^)7CC)7}$EICAR-STAND'
    local second='ARD-ANTIVIRUS-TEST-FILE!$H+H*'
    printf '%s%s' "$first" "$second"
}

# make_scope FOLDER: clean files, archives, and the test file, plain and in an archive.
make_scope() {
    local scope=$1 i
    [[ -e $scope/.complete ]] && return 0
    rm -rf "$scope"
    mkdir -p "$scope/documents" "$scope/archives" "$scope/downloads"
    for i in $(seq 1 60); do
        seq "$i" $((i + 2000)) >"$scope/documents/report-$i.txt"
    done
    head -c 4000000 /dev/zero | tr '\0' 'a' >"$scope/documents/plain.dat"
    cp "$scope/documents/report-1.txt" "$scope/documents/naïve name.txt"
    tar -C "$scope" -czf "$scope/archives/documents.tar.gz" documents
    (cd "$scope" && zip -qr archives/documents.zip documents)
    print_test_file >"$scope/downloads/test-file.com"
    (cd "$scope/downloads" && zip -q ../archives/test-file.zip test-file.com)
    touch "$scope/.complete"
}

# json_text TEXT: a JSON string. Control characters are refused.
json_text() {
    [[ $1 != *[[:cntrl:]]* ]] || die "A path with control characters can't be written into the settings."
    local text=${1//\\/\\\\}
    printf '"%s"' "${text//\"/\\\"}"
}
