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
  --fuzz SECONDS   the fuzz targets, so long all together, and nothing else
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

# What the fuzzers find is kept below build/fuzz; the seeds of a target are its part of the sources.
run_fuzz_targets() {
    local targets=() target name share
    build build_fuzz_targets
    mapfile -t targets < <(find build/fuzz/fuzz -maxdepth 1 -type f -perm -u+x | sort)
    ((${#targets[@]})) || die "No fuzz target was built."
    share=$(((fuzz + ${#targets[@]} - 1) / ${#targets[@]}))
    for target in "${targets[@]}"; do
        name=${target##*/}
        mkdir -p "build/fuzz/corpus/$name"
        check "fuzz-$name" "$target" -max_total_time="$share" -timeout=20 -artifact_prefix="build/fuzz/$name-" \
            "build/fuzz/corpus/$name" "tests/fuzz/corpus/$name"
    done
    finish
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

# report LOG STATUS: what a command has left that ran beside the tests.
report() {
    cat "$1"
    return "$2"
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
