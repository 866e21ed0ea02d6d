#!/usr/bin/env bash
# Runs every fuzz target for some seconds and fails on the first kind of crash of each.
#
#   scripts/fuzz.sh [SECONDS [TARGET...]]      60 seconds and all targets by default
#
# Inputs start from fuzz/seeds/<name> and grow in build/fuzz/corpus/<name>, which later runs go on
# from; an input that crashes is kept in build/fuzz/crashes.
set -euo pipefail
. "$(dirname "$0")/lib.sh"
cd "$root"

seconds=${1:-60}
[[ $seconds =~ ^[0-9]+$ ]] || die "\"$seconds\" is no number of seconds"
shift || true

names=("$@")
if ((${#names[@]} == 0)); then
    for source in fuzz/*_fuzz.cpp; do
        [[ ! -e $source ]] || names+=("$(basename "$source" _fuzz.cpp)")
    done
fi
((${#names[@]} > 0)) || die "there is no fuzz target (fuzz/<name>_fuzz.cpp)"
for name in "${names[@]}"; do
    [[ -f fuzz/${name}_fuzz.cpp ]] || die "there is no fuzz target \"$name\" (fuzz/${name}_fuzz.cpp)"
done
"$root/scripts/build.sh" fuzz "2 minutes from nothing"

jobs=$(nproc)
say "${#names[@]} targets, $seconds s each, $jobs at a time: about" \
    "$(((${#names[@]} + jobs - 1) / jobs * seconds / 60 + 1)) minutes"
mkdir -p build/fuzz/crashes build/fuzz/logs

fuzz_one() { # NAME SECONDS: one target; prints its row
    local name=$1 seconds=$2 corpus=build/fuzz/corpus/$1 log=build/fuzz/logs/$1.log seeds=() status=0
    local options=()
    mkdir -p "$corpus"
    [[ ! -d fuzz/seeds/$name ]] || seeds=("fuzz/seeds/$name")
    [[ ! -f fuzz/$name.dict ]] || options=(-dict="fuzz/$name.dict")
    "build/fuzz/bin/${name}_fuzz" "$corpus" "${seeds[@]}" "${options[@]}" \
        -max_total_time="$seconds" -timeout=10 -rss_limit_mb=2048 -print_final_stats=1 -close_fd_mask=1 \
        -artifact_prefix="build/fuzz/crashes/$name-" >"$log" 2>&1 </dev/null || status=$?
    local runs coverage
    runs=$(sed -n 's/^stat::number_of_executed_units: *//p' "$log")
    coverage=$(grep -o 'cov: [0-9]*' "$log" | tail -n 1 | cut -d' ' -f2 || true)
    if ((status == 0)); then
        printf '%-16s %12s runs  %6s edges  no finding\n' "$name" "${runs:-?}" "${coverage:-?}"
    else
        printf '%-16s %12s runs  %6s edges  FINDING (status %d), see %s\n' \
            "$name" "${runs:-?}" "${coverage:-?}" "$status" "$log"
        return 1
    fi
}
export -f fuzz_one
status=0
printf '%s\0' "${names[@]}" |
    xargs -0 -P "$jobs" -I{} bash -c 'fuzz_one "$1" "$2"' _ {} "$seconds" || status=1
((status == 0)) ||
    die "at least one target found something" \
        "The inputs are in build/fuzz/crashes; run one again with: build/fuzz/bin/NAME_fuzz INPUT"
