#!/usr/bin/env bash
# Installs through apt what is missing on a Debian 12 machine, and nothing else.
#
#   scripts/install-packages.sh [SET...]
#
# SET is native (builds for Linux; the default), windows (builds for Windows, Wine), test (the peers
# that the tests talk to), demo (a virtual screen and a camera), bench, fuzz, lint, coverage, package
# or fresh. When all of them is there already, neither the network nor any right is needed. sudo is
# used only by a user other than root.
set -euo pipefail
. "$(dirname "$0")/lib.sh"

# The preloader keeps addresses free that Wine needs. Without it the kernel puts the heap of one
# program in some 3,000 onto one of them, and that program ends with 1 and without a word.
declare -A packages=(
    [native]="
        ca-certificates debian-archive-keyring make perl python3 xz-utils
        cmake ninja-build ccache g++ googletest"
    [windows]="
        g++-mingw-w64-x86-64-posix binutils-mingw-w64-x86-64 librsvg2-bin zip
        wine64 wine64-preloader libgnutls30 fonts-liberation fonts-wine"
    [test]="openssl gpgsm gpg-agent nginx-light curl zip unzip"
    [demo]="
        openssl xvfb openbox xdotool x11-xserver-utils imagemagick locales
        libxcomposite1 libxcursor1 libxfixes3 libxi6 libxinerama1 libxrandr2 libxrender1"
    [bench]="libbenchmark-dev openssl nginx-light curl"
    [fuzz]="clang-14 libclang-rt-14-dev"
    [lint]="clang-format clang-tidy shellcheck"
    [coverage]="gcovr"
    [package]="wixl msitools osslsigncode"
    [fresh]="debootstrap git"
)

missing=()
for set in "${@:-native}"; do
    [[ -n ${packages[$set]-} ]] ||
        die "there is no set \"$set\"" "The sets are: ${!packages[*]}."
    for package in ${packages[$set]}; do
        [[ $(dpkg-query -W -f '${db:Status-Status}' "$package" 2>/dev/null) == installed ]] ||
            missing+=("$package")
    done
done
((${#missing[@]} > 0)) || exit 0

command -v apt-get >/dev/null ||
    die "this is no Debian machine (there is no apt-get)" \
        "Install by other means what Debian 12 calls: ${missing[*]}"
as_root=()
if (($(id -u) != 0)); then
    command -v sudo >/dev/null ||
        die "packages are missing, and installing them needs root: ${missing[*]}" \
            "Run as root: apt-get install --no-install-recommends ${missing[*]}"
    as_root=(sudo)
fi

say "Installing ${#missing[@]} packages (up to 2 minutes, once): ${missing[*]}"
log=$(mktemp)
policy=/usr/sbin/policy-rc.d
guarded=
finish() {
    [[ -z $guarded ]] || "${as_root[@]}" rm -f "$policy"
    rm -f "$log"
}
trap finish EXIT
trap 'exit 130' INT TERM HUP

# The tests start their own nginx; the package's must not begin to serve on this machine.
if [[ " ${missing[*]} " == *" nginx-light "* && ! -e $policy ]]; then
    guarded=1
    printf '#!/bin/sh\nexit 101\n' | "${as_root[@]}" tee "$policy" >/dev/null
    "${as_root[@]}" chmod 755 "$policy"
fi

apt() {
    "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get -q -o Acquire::Retries=3 \
        -o DPkg::Lock::Timeout=300 "$@" </dev/null
}
tell_from "$log"
if ! { apt update && apt install -y --no-install-recommends "${missing[@]}"; } >"$log" 2>&1; then
    tail -n 12 "$log" >&2
    die "apt could not install the packages (its last words are above)" \
        "Check the network and the machine's package sources, then run this again, or by hand:" \
        "  apt-get install --no-install-recommends ${missing[*]}"
fi
stop_telling
if [[ -n $guarded && -d /run/systemd/system ]]; then
    "${as_root[@]}" systemctl disable --quiet nginx || true
fi
say "All packages are there"
