#!/usr/bin/env bash
# Checks layout (clang-format), the C++ sources (clang-tidy, for both builds) and the scripts
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
    mapfile -t files < <(find src apps tests fuzz bench -name '*.cpp' -o -name '*.h' 2>/dev/null | sort)
fi

say "Layout of ${#files[@]} files (seconds)"
clang-format --dry-run -Werror "${files[@]}" ||
    { status=1 && say "Mend it with: clang-format -i FILE"; }

say "Scripts (seconds)"
mapfile -t scripts < <(grep -rlE '^#!.*bash|shellcheck shell=' scripts tests/e2e .ci 2>/dev/null)
# SC2154: what lib.sh sets is not seen across the files.
shellcheck -S warning -e SC2154 "${scripts[@]}" || status=1

# tidy PRESET FILES ARGUMENT...: the sources that belong to the preset, with its own flags.
tidy() {
    local preset=$1 pattern=$2 chosen=() file
    shift 2
    "$root/scripts/setup.sh" mingw native
    cmake --preset "$preset" >"build/$preset.log" 2>&1 ||
        { tail -n 20 "build/$preset.log" >&2 && die "preset $preset could not be configured"; }
    cmake --build "build/$preset" --target generated >/dev/null 2>&1 || true
    for file in "${files[@]}"; do
        [[ $file =~ $pattern ]] && grep -qF "/$file\"" "build/$preset/compile_commands.json" &&
            chosen+=("$file")
    done
    ((${#chosen[@]} > 0)) || return 0
    say "Static checks of ${#chosen[@]} sources of $preset (about $((${#chosen[@]} * 3)) s)"
    printf '%s\0' "${chosen[@]}" | xargs -0 -n 1 -P "$(nproc)" \
        clang-tidy -p "build/$preset" --quiet --warnings-as-errors='*' "$@" 2>/dev/null || status=1
}
mkdir -p build
tidy native-asan '(^|/)[^/]*\.cpp$'

# The cross compiler's C++ library, which clang does not find by itself. Not its own compiler
# headers: clang has to take those that belong to clang.
includes=()
while read -r folder; do
    includes+=(--extra-arg=-isystem --extra-arg="$folder")
done < <(x86_64-w64-mingw32-g++-posix -E -x c++ - -v </dev/null 2>&1 |
    sed -n '/#include <...>/,/End of search/{/^ /p}' | grep -vE '/include-fixed$|x86_64-w64-mingw32/[^/]*/include$')
tidy windows-debug '_win32(_test)?\.cpp$' --extra-arg=--target=x86_64-w64-mingw32 "${includes[@]}"

((status == 0)) || die "there are findings (above)"
say "No findings"
