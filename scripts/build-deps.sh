#!/usr/bin/env bash
# Builds the third-party libraries once per target into the cache, outside the tree.
#
#   scripts/build-deps.sh TARGET...     builds what is not there yet
#   scripts/build-deps.sh --where       prints the folder that holds the targets' folders
#
# TARGET is mingw (the Windows builds), native (the Linux builds) or fuzz (clang, instrumented for
# the fuzzers). Each gives <folder>/<target>/include and <folder>/<target>/lib with OpenSSL
# (libcrypto, libssl) and miniz. The folder's name is a hash of the recipe: another recipe never
# meets old results, and a second checkout of the same one builds nothing. With the results in the
# cache no network is needed.
set -euo pipefail
. "$(dirname "$0")/lib.sh"

# --- The recipe: everything that decides what comes out. Its hash names the folder. -------------

openssl_version=3.5.7
openssl_tarball=openssl_3.5.7.orig.tar.gz
openssl_sha256=a8c0d28a529ca480f9f36cf5792e2cd21984552a3c8e4aa11a24aa31aeac98e8

# miniz 3.0 (MZ_VERSION 11.0.2) has no package of its own; this source package carries it whole.
miniz_version=3.0
miniz_package=assimp
miniz_tarball=assimp_5.4.3+ds.orig.tar.xz
miniz_sha256=2b373ab10594803516a69911e361edc49e3473ef95053c4a58015ba816de4bd3
miniz_member=contrib/zip/src/miniz.h

# What a PKCS#7 and TLS client needs and nothing else. no-pinshared lets the DLL unload again;
# no-autoload-config keeps an openssl.cnf from being read inside other people's processes. RIPEMD,
# MD5, DSA, DES and binary curves stay: real files use them.
openssl_options=(
    no-shared no-pinshared no-dso no-module no-engine no-legacy no-tests no-docs no-apps
    no-autoload-config no-comp no-ct no-ts no-cmp no-cms no-http no-srp no-psk no-srtp no-dtls
    no-quic no-nextprotoneg no-ssl-trace no-tls1 no-tls1_1 no-aria no-bf no-blake2 no-camellia
    no-cast no-idea no-seed no-rc2 no-rc4 no-md4 no-mdc2 no-whirlpool no-siphash no-siv no-ocb
    no-sm2 no-sm3 no-sm4 no-scrypt no-gost no-rfc3779 no-multiblock no-ml-dsa no-ml-kem no-slh-dsa
    no-ui-console no-filenames no-thread-pool
)

declare -A compiler=(
    [mingw]=x86_64-w64-mingw32-gcc-posix
    [native]=gcc
    [fuzz]=clang-14
)
declare -A archiver=([mingw]=x86_64-w64-mingw32-ar [native]=ar [fuzz]=ar)
declare -A flags=(
    [mingw]="-O2 -ffunction-sections -fdata-sections"
    [native]="-O2 -ffunction-sections -fdata-sections"
    [fuzz]="-O1 -g -fno-omit-frame-pointer -fsanitize=fuzzer-no-link,address"
)
# The folder for certificates and settings that libcrypto would look into by default: on Windows a
# name that cannot exist, because C:\usr\ssl would belong to whoever makes it first.
declare -A openssl_target=(
    [mingw]="mingw64 --cross-compile-prefix=x86_64-w64-mingw32- --openssldir=C:/none"
    [native]="linux-x86_64 --openssldir=/etc/ssl"
    [fuzz]="linux-x86_64-clang --openssldir=/etc/ssl"
)

# build_openssl TARGET SOURCE OUT: libcrypto and libssl with their headers.
build_openssl() {
    local target=$1 source=$2 out=$3 cc=${compiler[$1]}
    mkdir "$source/build-$target"
    cd "$source/build-$target"
    [[ $target != mingw ]] || cc=${cc#x86_64-w64-mingw32-}
    # shellcheck disable=SC2086  # the target's words are meant to be split
    CC=$cc CFLAGS=${flags[$target]} ../Configure ${openssl_target[$target]} \
        --prefix=/usr --libdir=lib "${openssl_options[@]}"
    make -j"$(nproc)" build_libs
    make DESTDIR="$source/install-$target" install_dev
    cp -r "$source/install-$target/usr/include" "$source/install-$target/usr/lib" "$out"
    rm -rf "$out/lib/cmake" "$out/lib/pkgconfig" # they name paths that no longer exist
}

# build_miniz TARGET SOURCE OUT: the amalgamated file compiled whole as C; its declarations, which
# come first and end before the implementation's first copyright comment, become the header.
build_miniz() {
    local target=$1 source=$2 out=$3 end
    cd "$source"
    end=$(grep -n -m1 'Copyright' miniz.h | cut -d: -f1)
    { echo '#pragma once' && head -n $((end - 3)) miniz.h; } >"$out/include/miniz.h"
    # shellcheck disable=SC2086
    "${compiler[$target]}" -std=c11 ${flags[$target]} -w -x c -c miniz.h -o "miniz-$target.o"
    "${archiver[$target]}" rcs "$out/lib/libminiz.a" "miniz-$target.o"
    grep -q 'mz_zip_reader_init_mem' "$out/include/miniz.h"
    echo '#include <miniz.h>' | "${compiler[$target]}" -I"$out/include" -x c -fsyntax-only -
}

recipe() {
    declare -p openssl_sha256 openssl_options miniz_sha256 miniz_member \
        compiler flags openssl_target
    declare -f build_openssl build_miniz
}

# --- Fetching ------------------------------------------------------------------------------------

sources=$cache/sources

# A private package configuration: its own list of sources and its own lists, so that the machine's
# own configuration stays as it is. The mirror is the one that this machine already uses.
private_apt() {
    local folder=$1 suite mirror
    mirror=$(debian_mirror)
    mkdir -p "$folder/lists/partial" "$folder/cache/archives/partial"
    for suite in trixie trixie-updates; do
        echo "deb-src [signed-by=/usr/share/keyrings/debian-archive-keyring.gpg] $mirror $suite main"
    done >"$folder/sources.list"
    cat >"$folder/apt.conf" <<CONF
Dir::Etc::SourceList "$folder/sources.list";
Dir::Etc::SourceParts "-";
Dir::State::Lists "$folder/lists";
Dir::Cache "$folder/cache";
APT::Sandbox::User "$(id -un)";
Acquire::Languages "none";
Acquire::Retries "3";
CONF
    printf '%s\n' "${mirror%/}" >"$folder/mirror"
}

# version_with PACKAGE TARBALL SHA256: the source package's version that carries this tarball.
version_with() {
    apt-cache showsrc --only-source "$1" 2>/dev/null |
        awk -v sum="$3" -v name="$2" '
            $1 == "Version:" { version = $2 }
            $1 == sum && $3 == name && !found { print version; found = 1 }'
}

has_sum() {
    [[ -f $1 ]] && echo "$2  $1" | sha256sum --check --status
}

# fetch PACKAGE TARBALL SHA256: brings the pinned tarball into $sources, or says what to do.
fetch() {
    local package=$1 tarball=$2 sum=$3 pool version folder=$work/apt
    has_sum "$sources/$tarball" "$sum" && return
    need apt-get apt-cache sha256sum
    say "Fetching $tarball through apt (a few seconds to a minute)"
    if [[ ! -d $folder ]]; then
        private_apt "$folder"
        APT_CONFIG=$folder/apt.conf apt-get -q update >"$work/apt.log" 2>&1 ||
            say "apt could not read the list of source packages; trying the file's usual place"
    fi
    mkdir -p "$sources" "$work/fetch"
    version=$(APT_CONFIG=$folder/apt.conf version_with "$package" "$tarball" "$sum") || true
    if [[ -n $version ]]; then
        (cd "$work/fetch" && APT_CONFIG=$folder/apt.conf \
            apt-get -q source --tar-only "$package=$version") >>"$work/apt.log" 2>&1 || true
    fi
    if ! has_sum "$work/fetch/$tarball" "$sum"; then
        # The lists may know newer versions only while the file is still served.
        pool=$(<"$folder/mirror")/pool/main/${package:0:1}/$package
        APT_CONFIG=$folder/apt.conf /usr/lib/apt/apt-helper download-file \
            "$pool/$tarball" "$work/fetch/$tarball" "SHA256:$sum" >>"$work/apt.log" 2>&1 || true
    fi
    if ! has_sum "$work/fetch/$tarball" "$sum"; then
        tail -n 6 "$work/apt.log" >&2
        die "$tarball could not be fetched (apt's last words are above)" \
            "Check the network and try again, or set TARNWELL_MIRROR to another Debian mirror," \
            "or put the file itself, SHA-256 $sum," \
            "into $sources and run this again."
    fi
    mv "$work/fetch/$tarball" "$sources/$tarball"
}

# --- Building ------------------------------------------------------------------------------------

# build TARGET: fetches, builds in a scratch folder and renames the result into place when whole.
build() {
    local target=$1 log=$work/$1.log out=$work/$1.out start=$SECONDS
    need tar xz perl make "${compiler[$target]}" "${archiver[$target]}"
    fetch openssl "$openssl_tarball" "$openssl_sha256"
    fetch "$miniz_package" "$miniz_tarball" "$miniz_sha256"
    rm -rf "${work:?}/$target"
    mkdir -p "$work/$target/openssl" "$work/$target/miniz" "$out"
    tar -xf "$sources/$openssl_tarball" -C "$work/$target/openssl" --strip-components=1
    tar -xf "$sources/$miniz_tarball" -C "$work/$target/miniz" --strip-components=4 \
        --wildcards "*/$miniz_member"
    say "Building OpenSSL $openssl_version and miniz $miniz_version for $target" \
        "(2 to 4 minutes on 2 cores, once)"
    tell_from "$log"
    # Not "if ! (...)": there bash would ignore set -e and go on after a failed step.
    set +e
    (
        set -e
        umask 022
        build_openssl "$target" "$work/$target/openssl" "$out"
        build_miniz "$target" "$work/$target/miniz" "$out"
    ) >"$log" 2>&1 </dev/null
    local status=$?
    set -e
    stop_telling
    if ((status != 0)); then
        tail -n 20 "$log" >&2
        cp "$log" "$cache/deps-$target.log"
        die "the libraries for $target did not build (the log's end is above)" \
            "The whole log is $cache/deps-$target.log." \
            "A full disk or a missing package are the usual reasons;" \
            "scripts/install-packages.sh installs what is needed. Then run this again."
    fi
    mkdir -p "$home"
    mv -T "$out" "$home/$target"
    rm -rf "${work:?}/$target"
    say "Libraries for $target are ready after $((SECONDS - start)) s: $home/$target"
}

home=$cache/$(recipe | sha256sum | cut -c1-16)

case ${1-} in
--where)
    echo "$home"
    exit
    ;;
'')
    print_help
    exit 2
    ;;
esac

for target; do
    [[ -n ${compiler[$target]-} ]] ||
        die "there is no target \"$target\"" "The targets are: mingw, native, fuzz."
done

missing=()
for target; do
    [[ -d $home/$target ]] || missing+=("$target")
done
((${#missing[@]} > 0)) || exit 0

mkdir -p "$cache" 2>/dev/null && [[ -w $cache ]] ||
    die "the cache folder $cache cannot be written" \
        "Make it writable, or set XDG_CACHE_HOME to a folder that is."

# One builder at a time: a second one waits and then finds the work done.
exec 9>"$cache/deps.lock"
flock -n 9 || { say "Another build of the libraries is under way; waiting for it" && flock 9; }
work=$(mktemp -d "$cache/deps-work.XXXXXX")
trap 'rm -rf "$work"' EXIT
trap 'exit 130' INT TERM HUP

for target in "${missing[@]}"; do
    [[ -d $home/$target ]] || build "$target"
done
