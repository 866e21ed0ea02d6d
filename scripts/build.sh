#!/usr/bin/env bash
# Configures and builds one preset.
#
#   scripts/build.sh PRESET DURATION [TARGET...]
#
# DURATION is a text for the line that announces the step. The compiler's words appear only when
# something fails (or TARNWELL_VERBOSE is set).
set -euo pipefail
. "$(dirname "$0")/lib.sh"

if (($# < 2)); then
    print_help
    exit 2
fi
preset=$1 duration=$2 start=$SECONDS
shift 2
targets=(${1+--target "$@"})
cd "$root"
need cmake ninja
say "Building $preset ($duration)"
mkdir -p "build/$preset"
log=build/$preset/build.log
quietly() {
    if [[ -n ${TARNWELL_VERBOSE-} ]]; then
        "$@"
    else
        "$@" >"$log" 2>&1
    fi
}
[[ -n ${TARNWELL_VERBOSE-} ]] || tell_from "$log"
if ! quietly cmake --preset "$preset"; then
    tail -n 20 "$log" >&2
    die "preset $preset could not be configured (cmake's last words are above)" \
        "If a library or program is missing: scripts/setup.sh mingw native. Then try again."
fi
if ! quietly cmake --build "build/$preset" "${targets[@]}"; then
    grep -E -A 12 'FAILED|error:|undefined reference' "$log" | head -n 60 >&2 || tail -n 30 "$log" >&2
    die "preset $preset did not build (the first errors are above)" "The whole log is $log."
fi
say "$preset is built ($((SECONDS - start)) s)"
