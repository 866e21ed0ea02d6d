#!/usr/bin/env bash
# Puts the licences of everything that is inside the programs into a folder.
#
#   packaging/licences.sh FOLDER
#
# Those of OpenSSL and miniz come out of their pinned sources, once a recipe, and are kept in the
# cache beside the libraries; those of the compiler's run-time libraries from their packages.
set -euo pipefail
. "$(dirname "$0")/../scripts/lib.sh"

out=$1
mkdir -p "$out"
cp "$root/LICENSE" "$out/tarnwell.txt"

libraries=$("$root/scripts/build-deps.sh" --where)
kept=$libraries/licences
if [[ ! -d $kept ]]; then
    pin() { sed -n "s/^$1=//p" "$root/scripts/build-deps.sh"; }
    openssl=$cache/sources/$(pin openssl_tarball)
    miniz=$cache/sources/$(pin miniz_tarball)
    for source in "$openssl" "$miniz"; do
        [[ -f $source ]] || die "$source is not there, and the licence is in it" \
            "To fetch it again: rm -r $libraries/mingw && scripts/build-deps.sh mingw"
    done
    work=$(mktemp -d "$libraries/licences.XXXXXX")
    trap 'rm -rf "$work"' EXIT
    chmod 755 "$work"
    tar -xOf "$openssl" --wildcards '*/LICENSE.txt' >"$work/openssl.txt"
    # From the first copyright to the end of the comment that it stands in.
    tar -xOf "$miniz" --wildcards "*/$(pin miniz_member)" |
        awk '/Copyright/ && !ended { found = 1 } /\*\// && found { ended = 1 }
             found && !ended { sub(/^ \* ?/, ""); print }' >"$work/miniz.txt"
    grep -q 'Apache License' "$work/openssl.txt" && grep -q 'Permission is hereby' "$work/miniz.txt" ||
        die "the licences are not where they used to be in the sources"
    mv -T "$work" "$kept" 2>/dev/null || [[ -d $kept ]]
fi
cp "$kept/openssl.txt" "$kept/miniz.txt" "$out/"
cp /usr/share/doc/gcc-mingw-w64-base/copyright "$out/gcc-runtime.txt"
cp /usr/share/doc/mingw-w64-x86-64-dev/copyright "$out/mingw-w64-runtime.txt"
