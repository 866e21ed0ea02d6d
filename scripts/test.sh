#!/usr/bin/env bash
# All tests: native with memory checks, Windows with heap checks, then the finished DLL end to end.
# Ends with the line "<N> passed, <N> failed"; exit status 0 only if nothing failed.
set -uo pipefail
. "$(dirname "$0")/lib.sh"
cd "$root" || exit

begin=$SECONDS
passed=0 failed=0 failures=()

# finish: the closing lines, whatever has happened until then.
finish() {
    if ((${#failures[@]} > 0)); then
        printf '\nFailed:\n'
        printf '  %s\n' "${failures[@]}"
    fi
    printf '\nTook %d s.\n%d passed, %d failed\n' $((SECONDS - begin)) "$passed" "$failed"
    ((failed == 0 && passed > 0))
    exit
}

# one NAME COMMAND...: a step that counts as one test and ends the run where it fails.
one() {
    local name=$1
    shift
    if "$@"; then
        passed=$((passed + 1))
    else
        failed=$((failed + 1))
        failures+=("$name")
        [[ $name != build* ]] || finish
    fi
}

# tests PRESET TITLE CTEST-ARGUMENT...: one run of ctest, added to the totals.
tests() {
    local preset=$1 title=$2 log=build/$1/tests.log good all
    shift 2
    say "$title"
    ctest --test-dir "build/$preset" --output-on-failure --no-tests=error -j2 "$@" 2>&1 | tee "$log"
    local status=${PIPESTATUS[0]}
    all=$(sed -n 's/.*tests failed out of \([0-9]*\)$/\1/p' "$log")
    good=$(grep -cE '^ *[0-9]+/[0-9]+ Test .* Passed ' "$log")
    passed=$((passed + good))
    failed=$((failed + ${all:-0} - good))
    while read -r name; do
        failures+=("$preset: $name")
    done < <(sed -n 's/^[[:space:]]*[0-9]* - \([^ ]*\) (.*)$/\1/p' "$log")
    if ((status != 0 && ${all:-0} == good)); then
        failed=$((failed + 1))
        failures+=("$preset: ctest itself (no tests found?)")
    fi
}

scripts/setup.sh mingw native test demo package || exit

one "build of native-asan" scripts/build.sh native-asan "seconds when built, 3 minutes from nothing"
tests native-asan "Native tests with address, leak and undefined-behaviour checks (about 20 s)"

one "build of windows-debug" scripts/build.sh windows-debug "seconds when built, 3 minutes from nothing"
TARNWELL_HEAP_CHECKS=1 tests windows-debug \
    "Windows tests under Wine with every heap call checked (about a minute)" -L unit

one "build of windows" scripts/build.sh windows "seconds when built, 3 minutes from nothing"
say "Size, imports and hardening of the release DLL"
one "check of Tarnwell.dll" scripts/check-dll build/windows/bin/Tarnwell.dll
tests windows "Windows tests of the release, and the DLL end to end under Wine (about a minute)"
finish
