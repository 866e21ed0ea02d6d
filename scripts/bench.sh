#!/usr/bin/env bash
# Builds the native release and runs every benchmark; prints their rows.
set -euo pipefail
. "$(dirname "$0")/lib.sh"
cd "$root"

"$root/scripts/build.sh" native "a minute from nothing"
shopt -s nullglob
programs=(build/native/bin/*_bench bench/*_bench.sh)
((${#programs[@]} > 0)) || die "there is no benchmark (bench/<name>_bench.cpp)"
for program in "${programs[@]}"; do
    say "$(basename "$program")"
    TARNWELL_BUILD=$root/build/native/bin "$program"
done
