#!/usr/bin/env bash
# Drives the registered DLL's context menu through shellprobe, installed in the real layout, down
# to signed files that openssl verifies: see menu.py.
#
#   TARNWELL_BUILD  the folder with the built programs (default: build/windows/bin)
set -euo pipefail
cd "$(dirname "$0")/../.."
. scripts/lib.sh
need python3 openssl localedef
export TARNWELL_BUILD=${TARNWELL_BUILD:-$PWD/build/windows/bin}
export LOCPATH=$cache/locales # the French user's locale, which the machine may lack
if [[ ! -d $LOCPATH/fr_FR.UTF-8 ]]; then
    mkdir -p "$LOCPATH"
    localedef -i fr_FR -f UTF-8 "$LOCPATH/fr_FR.UTF-8" ||
        die "the French locale could not be made" "Install its sources: scripts/install-packages.sh"
fi
TARNWELL_WINEPREFIX=$(scripts/wine-prefix.sh new)
export TARNWELL_WINEPREFIX
trap 'scripts/wine-prefix.sh drop "$TARNWELL_WINEPREFIX"' EXIT
scripts/install-layout "$TARNWELL_WINEPREFIX" "$TARNWELL_BUILD"
python3 tests/e2e/menu.py "$@"
