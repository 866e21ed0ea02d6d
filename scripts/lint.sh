#!/usr/bin/env bash
# Checks layout (clang-format), the C++ sources (clang-tidy, for every build) and the scripts
# (shellcheck). Changes nothing.
#
#   scripts/lint.sh [FILE...]      all files by default
set -euo pipefail
. "$(dirname "$0")/lib.sh"
cd "$root"
need clang-format clang-tidy shellcheck cmake
status=0

files=("$@")
if ((${#files[@]} == 0)); then
    mapfile -t files < <(find src apps tests fuzz bench packaging -name '*.cpp' -o -name '*.h' 2>/dev/null | sort)
fi

say "Layout of ${#files[@]} files (seconds)"
clang-format --dry-run -Werror "${files[@]}" ||
    { status=1 && say "Mend it with: clang-format -i FILE"; }

say "Scripts (seconds)"
mapfile -t scripts < <(grep -rlE '^#!.*bash|shellcheck shell=' scripts packaging tests/e2e .ci 2>/dev/null)
# SC2154: what lib.sh sets is not seen across the files.
shellcheck -S warning -e SC2154 "${scripts[@]}" || status=1

# tidy PRESET ARGUMENT...: those of the sources to come that the preset builds, with its own flags.
# One that several build is checked once: it has no other code for Windows.
waiting=("${files[@]}")
tidy() {
    local preset=$1 chosen=() others=() file
    shift
    cmake --preset "$preset" >"build/$preset.log" 2>&1 ||
        { tail -n 20 "build/$preset.log" >&2 && die "preset $preset could not be configured"; }
    for file in "${waiting[@]}"; do
        if grep -qF "/$file\"" "build/$preset/compile_commands.json"; then
            chosen+=("$file")
        else
            others+=("$file")
        fi
    done
    waiting=("${others[@]}")
    ((${#chosen[@]} > 0)) || return 0
    say "Static checks of ${#chosen[@]} sources of $preset (20 s each, none where all is as it was)"
    printf '%s\0' "${chosen[@]}" |
        xargs -0 -P "$(nproc)" -I '{}' scripts/tidy.sh "build/$preset" '{}' "$@" || status=1
}
mkdir -p build
"$root/scripts/setup.sh" mingw native fuzz bench
tidy native-asan
tidy native # the benchmarks, for which only release builds have a place
tidy fuzz

# The cross compiler's C++ library, which clang does not find by itself. Not its own compiler
# headers: clang has to take those that belong to clang.
includes=()
while read -r folder; do
    includes+=(--extra-arg=-isystem --extra-arg="$folder")
done < <(x86_64-w64-mingw32-g++-posix -E -x c++ - -v </dev/null 2>&1 |
    sed -n '/#include <...>/,/End of search/{/^ /p}' | grep -vE '/include-fixed$|x86_64-w64-mingw32/[^/]*/include$')
for preset in windows-debug windows; do
    tidy "$preset" --extra-arg=--target=x86_64-w64-mingw32 "${includes[@]}"
done
mapfile -t waiting < <(printf '%s\n' "${waiting[@]}" | grep '\.cpp$')
((${#waiting[@]} == 0)) || say "Of these, which no preset builds, only the layout: ${waiting[*]}"

((status == 0)) || die "there are findings (above)"
say "No findings"
