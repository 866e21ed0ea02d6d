#!/usr/bin/env bash
# Prepares this machine: packages, libraries, Wine prefix; what is there already costs no time.
#
#   scripts/setup.sh WHAT...
#
# WHAT is mingw (all that the Windows builds need), native or fuzz (likewise), or one of the sets of
# packages test, demo, bench, lint, coverage and package.
set -euo pipefail
. "$(dirname "$0")/lib.sh"

sets=(native) libraries=() prefix=
for what; do
    case $what in
    mingw) libraries+=(mingw) sets+=(windows) prefix=1 ;;
    native) libraries+=(native) ;;
    fuzz) libraries+=(fuzz) sets+=(fuzz) ;;
    test | demo | bench | lint | coverage | package) sets+=("$what") ;;
    *) die "there is nothing called \"$what\" to prepare" ;;
    esac
done
"$root/scripts/install-packages.sh" "${sets[@]}"
((${#libraries[@]} == 0)) || "$root/scripts/build-deps.sh" "${libraries[@]}"
[[ -z $prefix ]] || "$root/scripts/wine-prefix.sh" base >/dev/null
