#!/usr/bin/env bash
# SPDX-License-Identifier: GPL-2.0-or-later
# Builds everything, runs all tests and checks, and ends with "N passed, N failed".
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")"
# shellcheck source=tools/lib.sh
. tools/lib.sh

usage() {
    cat <<'TEXT'
Usage: ./test.sh [--sanitize address|thread] [--fuzz SECONDS] [--only REGEX]

Installs what is missing, builds, and runs the unit, QML and end-to-end tests and the checks under tools/.
The last line tells how many passed and failed; the exit code is 0 when none failed.

  --sanitize KIND  the same tests, built with the address or the thread sanitizer; without the checks of the sources
  --fuzz SECONDS   each fuzz target for so long, as many at a time as there are processors, and nothing else
  --only REGEX     only tests and checks with such a name
TEXT
}

sanitize=""
fuzz=""
only="."
while (($#)); do
    case "$1" in
    --sanitize | --fuzz | --only)
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
case "$sanitize" in
"") preset="test" ;;
address) preset=asan ;;
thread) preset=tsan ;;
*) die "--sanitize takes address or thread." ;;
esac
[[ -z $fuzz || $fuzz =~ ^[1-9][0-9]*$ ]] || die "--fuzz takes a number of seconds."

passed=0
failed=0

# finish: the last line, and the exit code.
finish() {
    say "$passed passed, $failed failed"
    ((failed == 0)) || exit 1
    exit 0
}

# check NAME COMMAND...: one check is one test.
check() {
    local name=$1 output
    shift
    [[ $name =~ $only ]] || return 0
    if output=$("$@" 2>&1); then
        passed=$((passed + 1))
        say "ok      check $name"
    else
        failed=$((failed + 1))
        say "FAILED  check $name"
        say "$output"
    fi
}

# build FUNCTION PRESET: a build that fails is one failed test and the end.
build() {
    if ! "$@"; then
        failed=1
        finish
    fi
}

# fuzz_target TARGET: runs it and leaves TARGET.log and TARGET.status in the folder of the logs.
fuzz_target() {
    local name=${1##*/} status=0
    mkdir -p "build/fuzz/corpus/$name"
    "$1" -max_total_time="$fuzz" -timeout=20 -artifact_prefix="build/fuzz/$name-" \
        "build/fuzz/corpus/$name" "tests/fuzz/corpus/$name" "${@:2}" >"build/fuzz/logs/$name.log" 2>&1 &
    # shellcheck disable=SC2064
    trap "kill $!" TERM # a script that is ended leaves no fuzzer behind
    wait $! || status=$?
    echo "$status" >"build/fuzz/logs/$name.status"
}

# What the fuzzers find is kept below build/fuzz; the seeds of a target are its part of the sources.
run_fuzz_targets() {
    local targets=() target name more processors
    build build_fuzz_targets
    mapfile -t targets < <(find build/fuzz/fuzz -maxdepth 1 -type f -perm -u+x | sort)
    ((${#targets[@]})) || die "No fuzz target was built."
    processors=$(nproc)
    rm -rf build/fuzz/logs
    mkdir -p build/fuzz/logs
    trap 'jobs -rp | xargs -r kill 2>/dev/null || true' EXIT
    for target in "${targets[@]}"; do
        name=${target##*/}
        [[ fuzz-$name =~ $only ]] || continue
        while (($(jobs -rp | wc -l) >= processors)); do wait -n || true; done
        more=()
        if [[ -d build/fuzz/seeds/$name ]]; then more=("build/fuzz/seeds/$name"); fi
        say "started check fuzz-$name, $fuzz seconds"
        fuzz_target "$target" "${more[@]}" &
    done
    wait
    for target in "${targets[@]}"; do
        name=${target##*/}
        [[ fuzz-$name =~ $only ]] || continue
        check "fuzz-$name" report "build/fuzz/logs/$name.log" "$(cat "build/fuzz/logs/$name.status" || echo 1)"
    done
    finish
}

# report LOG STATUS: what a command has left that ran beside the others.
report() {
    cat "$1"
    return "$2"
}

run_tests() {
    local folder=build/$preset report counts
    report=$PWD/$folder/junit.xml
    rm -f "$report"
    if [[ -n $sanitize ]]; then
        export ASAN_OPTIONS=detect_leaks=1:abort_on_error=0 UBSAN_OPTIONS=halt_on_error=1:print_stacktrace=1
        export LSAN_OPTIONS=suppressions=$PWD/tools/lsan.supp TSAN_OPTIONS=halt_on_error=1:suppressions=$PWD/tools/tsan.supp
    fi
    ctest --test-dir "$folder" -j2 --output-on-failure --no-tests=ignore -R "$only" --output-junit "$report" || true
    if [[ ! -e $report ]]; then
        failed=$((failed + 1))
        say "FAILED  the test run left no report"
        return 0
    fi
    counts=$(python3 tools/count_results.py "$report")
    passed=$((passed + ${counts% *}))
    failed=$((failed + ${counts#* }))
}

# The longest check takes what the tests leave of the processors.
tidy=""
start_tidy() {
    [[ tidy =~ $only ]] || return 0
    chrt --idle 0 tools/check_tidy.py "build/$preset" >"build/$preset/tidy.log" 2>&1 &
    tidy=$!
    trap 'kill "$tidy" 2>/dev/null || true' EXIT
}

finish_tidy() {
    local status=0
    [[ -n $tidy ]] || return 0
    wait "$tidy" || status=$?
    trap - EXIT
    check tidy report "build/$preset/tidy.log" "$status"
}

run_checks() {
    local rule
    check includes-self-test tools/check_includes.py --self-test
    check includes tools/check_includes.py
    check loc-self-test tools/check_loc.py --self-test
    check sources-self-test tools/check_sources.py --self-test
    for rule in $(tools/check_sources.py); do
        check "$rule" tools/check_sources.py "$rule"
    done
    check format tools/check_format.sh
    check qml tools/check_qml.sh
    check shell tools/check_shell.sh
    check desktop tools/check_desktop.sh
    check units tools/check_units.sh
    finish_tidy
}

install_missing build test
if [[ -n $fuzz ]]; then run_fuzz_targets; fi
build build_and_stage "$preset"
if [[ -z $sanitize ]]; then start_tidy; fi
run_tests
if [[ -z $sanitize ]]; then run_checks; fi
((passed + failed > 0)) || die "Nothing has such a name: $only"
finish
