#!/usr/bin/env bash
# Builds both releases' benchmarks and runs them, the Windows ones under Wine; prints their rows and
# fails if one of them missed a limit.
set -euo pipefail
. "$(dirname "$0")/lib.sh"
cd "$root"

"$root/scripts/build.sh" native "a minute from nothing" benches
"$root/scripts/build.sh" windows "a minute from nothing" benches
shopt -s nullglob
programs=(build/native/bin/*_bench bench/*_bench.py)
((${#programs[@]} > 0)) || die "there is no benchmark (bench/<name>_bench.cpp)"
missed=()
for program in "${programs[@]}" build/windows/bin/*_bench.exe; do
    name=$(basename "$program" .exe) run=()
    say "$name"
    [[ $program != *.exe ]] || run=(env TARNWELL_TIMEOUT=1200 scripts/wine-run)
    TARNWELL_BUILD=$root/build/native/bin "${run[@]}" "$program" || missed+=("$name")
done
((${#missed[@]} == 0)) || die "these failed or missed a limit: ${missed[*]}"
