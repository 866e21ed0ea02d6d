#!/usr/bin/env bash
# Counts the lines of src/ that the tests run, native and Windows together.
#
# Prints the table by file and the share; the pages are build/coverage/index.html. A share below
# COVERAGE_MINIMUM (default 90) percent is a failure.
set -euo pipefail
. "$(dirname "$0")/lib.sh"
cd "$root"
need gcovr
minimum=${COVERAGE_MINIMUM:-90}

out=build/coverage
rm -rf "$out"
mkdir -p "$out"
for preset in native windows; do
    "$root/scripts/build.sh" $preset-coverage "2 minutes from nothing"
    find "build/$preset-coverage" -name '*.gcda' -delete
    say "Tests of $preset-coverage (about a minute)"
    # With line counters a call costs more than that test allows it.
    GTEST_FILTER='-*TwentyNanoseconds*' \
        ctest --test-dir "build/$preset-coverage" -j2 --no-tests=error --output-on-failure \
        >"$out/$preset.log" 2>&1 || {
        tail -n 30 "$out/$preset.log" >&2
        die "tests fail, so the figures would mean nothing" "The whole log is $out/$preset.log."
    }
    gcov=gcov
    [[ $preset != windows ]] || gcov=x86_64-w64-mingw32-gcov-posix
    say "Reading the counters of $preset-coverage (about half a minute)"
    gcovr --root . --filter 'src/' --gcov-executable "$gcov" --object-directory "build/$preset-coverage" \
        --exclude-throw-branches -j "$(nproc)" --json "$out/$preset.json" "build/$preset-coverage"
done
say "Lines of src/ that the tests of both builds run"
gcovr --root . --add-tracefile "$out/native.json" --add-tracefile "$out/windows.json" \
    --html-details "$out/index.html" --txt "$out/summary.txt" --fail-under-line "$minimum" || {
    cat "$out/summary.txt"
    die "less than $minimum % of the lines are run" "What is missed: $out/index.html"
}
cat "$out/summary.txt"
