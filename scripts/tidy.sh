#!/usr/bin/env bash
# Checks one source with clang-tidy and prints what it finds; silent if nothing that it reads has
# changed since it was last found clean, which BUILD/tidy remembers.
#
#   scripts/tidy.sh BUILD SOURCE [ARGUMENT...]    BUILD holds compile_commands.json; the arguments
#                                                 are clang-tidy's
set -euo pipefail
. "$(dirname "$0")/lib.sh"
cd "$root"
build=$1 source=$2
shift 2
# Every EXPECT forks the paths through a test, so that the analyzer goes on to its limit of states,
# which takes four fifths of the time. A quarter of them will do there: sanitizers see the tests run.
if [[ $source == tests/unit/* ]]; then
    for word in -Xclang -analyzer-config -Xclang max-nodes=56250; do
        set -- "$@" --extra-arg="$word"
    done
fi

command=$(grep -F -B 1 "\"file\": \"$root/$source\"" "$build/compile_commands.json")
key=$(printf '%s\n' "$command" "$(clang-tidy --version)" "$@" | sha256sum)
clean=$build/tidy/${key%% *}
[[ ! -f $clean ]] || ! sha256sum --check --status "$clean" || exit 0

begun=$(mktemp)
trap 'rm -f "$begun" "$begun".*' EXIT
# The compiler's list of what it read stands under a name that clang-tidy does not strip. What it
# counts on standard error (warnings in system headers) matters only where it fails.
clang-tidy -p "$build" --quiet --warnings-as-errors='*' --extra-arg="-Wp,-MD,$begun.read" "$@" \
    "$source" >"$begun.found" 2>"$begun.errors" || {
    cat "$begun.found" # in one piece: others run beside this one
    grep -vE '^[0-9]+ warnings? ' "$begun.errors" >&2
    exit 1
}

# One that was edited meanwhile may not be the one that was checked.
mapfile -t read < <(tr -s ' \\\n' '\n' <"$begun.read" | grep -v ':$' | grep .)
[[ -z $(find "${read[@]}" .clang-tidy -newer "$begun") ]] || exit 0
mkdir -p "$build/tidy"
sha256sum "${read[@]}" .clang-tidy >"$begun.clean"
mv "$begun.clean" "$clean"
