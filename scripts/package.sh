#!/usr/bin/env bash
# Packs the built programs into the installer Tarnwell-<version>-x64.msi.
#
#   scripts/package.sh [--bin FOLDER] [--out FOLDER] [--version VERSION]
#                             FOLDER: the built programs (default build/windows/bin), and where the
#                             installer goes (default build/package); VERSION: another than the
#                             tree's, for trying upgrades
#   scripts/package.sh --check-reproducible
#                             builds and packs the last commit in two fresh clones, without the
#                             compiler's cache, and compares every program and the installer
#
#   SIGN_CERT, SIGN_KEY   sign the programs and the installer: PEM files of the certificate, followed
#                         by those up to the root, and of its key
#   SIGN_TIMESTAMP        the address of a time-stamp server, without which signatures end with the
#                         certificate
#   SOURCE_DATE_EPOCH     the time that the package carries (default: the last commit's; without
#                         git the change log's)
#
# Prints the installer's path. Beside it stand its bill of materials and, in "files", what is in it.
# The same programs, documents and time give the same bytes, but for signatures.
set -euo pipefail
. "$(dirname "$0")/lib.sh"

bin=$root/build/windows/bin out=$root/build/package version='' check=''
while (($# > 0)); do
    [[ $1 != --@(bin|out|version) || -n ${2-} ]] ||
        die "$1 needs a value behind it" "See: scripts/package.sh --help"
    case $1 in
    --bin) bin=$(realpath "$2") && shift 2 ;;
    --out) out=$2 && shift 2 ;;
    --version) version=$2 && shift 2 ;;
    --check-reproducible) check=1 && shift ;;
    -h | --help)
        print_help
        exit 0
        ;;
    *) die "\"$1\" is not understood" "See: scripts/package.sh --help" ;;
    esac
done
parts=$root/packaging
upgrade_code=6301403E-0BC2-406E-A2C7-740E7D3F7E03 # one for all versions, for good
: "${version:=$(sed -n 's/^project(Tarnwell VERSION \([0-9.]*\) .*/\1/p' "$root/CMakeLists.txt")}"
[[ $version =~ ^[0-9]+\.[0-9]+\.[0-9]+$ ]] || die "\"$version\" is no version (three numbers)"
[[ ${SIGN_CERT:+given} == "${SIGN_KEY:+given}" ]] || die "SIGN_CERT and SIGN_KEY go together"

check_reproducible() {
    local folder clone different=0 file
    mkdir -p "$root/build"
    work=$(mktemp -d "$root/build/reproducible.XXXXXX") # not local: the trap comes after the function
    trap 'rm -rf "$work"' EXIT
    for folder in one another/of-another-length; do
        clone=$work/$folder
        git clone -q "$root" "$clone"
        (
            export CCACHE_DISABLE=1
            cd "$clone"
            scripts/build.sh windows "everything anew, in a clone" programs
            SIGN_CERT='' SIGN_KEY='' scripts/package.sh >/dev/null
        )
    done
    cd "$work/one/build"
    while read -r file; do
        cmp "$file" "$work/another/of-another-length/build/$file" || different=1
    done < <(find package windows/bin -type f | sort)
    ((different == 0)) || die "two builds of one commit differ (above)"
    say "Two builds of one commit are the same, file by file:"
    sha256sum package/*.msi windows/bin/*.{dll,exe}
}
if [[ -n $check ]]; then
    check_reproducible
    exit
fi

need wixl msibuild python3
# Sources that were unpacked from an archive have their commit's time themselves.
epoch=${SOURCE_DATE_EPOCH:-$(git -C "$root" log -1 --format=%ct 2>/dev/null ||
    stat -c %Y "$root/CHANGELOG.md")}
for file in Tarnwell.dll zelLog.dll p7tool.exe shellprobe.exe Corvane.exe resources/kestrix.bin \
    package/registry.sql; do
    [[ -f $bin/$file ]] || die "there is no $file in $bin" "Build it first: make package"
done
mkdir -p "$out"
out=$(realpath "$out")
msi=$out/Tarnwell-$version-x64.msi
rm -rf "$out/files" "$msi" "$msi.spdx.json" # and nothing else: the folder may be anybody's
export TZ=UTC LC_ALL=C.UTF-8 # the cabinet's times are local ones

# sign FILE: with the given certificate; nothing without one.
sign() {
    [[ -n ${SIGN_CERT-} ]] || return 0
    need osslsigncode
    osslsigncode sign -certs "$SIGN_CERT" -key "$SIGN_KEY" -h sha256 -n Tarnwell \
        ${SIGN_TIMESTAMP:+-ts "$SIGN_TIMESTAMP"} -in "$1" -out "$1.signed" >"$out/sign.log" 2>&1 ||
        die "$(basename "$1") could not be signed: $(tail -n 3 "$out/sign.log")"
    mv "$1.signed" "$1"
    rm "$out/sign.log"
}

# What is installed, laid out as it will be; "manager" is the manager's folder.
files=$out/files
mkdir -p "$files"/{bin,docs/pictures,licences,manager/{bin,resources}}
install -m 644 "$bin"/{Tarnwell.dll,zelLog.dll,p7tool.exe,shellprobe.exe} "$files/bin"
install -m 644 "$bin/Corvane.exe" "$files/manager/bin"
install -m 644 "$bin/resources/kestrix.bin" "$files/manager/resources"
install -m 644 "$root"/*.md "$root/LICENSE" "$files"
install -m 644 "$root"/docs/*.md "$files/docs"
install -m 644 "$root"/docs/pictures/* "$files/docs/pictures"
"$parts/licences.sh" "$files/licences"
for file in "$files"/{,manager/}bin/*; do
    sign "$file"
done
"$parts/bill_of_materials.py" "$files" "$version" "$epoch" >"$files/tarnwell.spdx.json"
cp "$files/tarnwell.spdx.json" "$msi.spdx.json"
find "$files" -type f -exec touch -d "@$epoch" {} +

"$parts/documents.py" "$files" >"$out/documents.wxs"
product_code=$(python3 -c 'import sys, uuid; print(str(uuid.uuid5(uuid.UUID(sys.argv[1]), sys.argv[2])).upper())' \
    $upgrade_code "$version")
cp "$parts/tarnwell.wxs" "$out" # wixl takes only relative paths, and those from its source's folder
(cd "$out" && wixl -a x64 -D Version="$version" -D ProductCode="$product_code" \
    -D UpgradeCode=$upgrade_code -D Files=files -o "$msi" tarnwell.wxs documents.wxs)
mapfile -t statements < <(sed "s/@VERSION@/$version/" "$bin/package/registry.sql" "$parts/finish.sql")
said=$(msibuild "$msi" -q "${statements[@]}" 2>&1) ||
    die "the installer's database refused a statement: $(head -n 4 <<<"$said")"
"$parts/settle.py" "$msi" "$epoch"
sign "$msi"
rm "$out"/{documents,tarnwell}.wxs
echo "$msi"
