#!/usr/bin/env bash
# Judges signed files through Wine's certificate chains, with authorities and revocation lists made
# on the spot: see validity.py.
#
#   TARNWELL_BUILD  the folder with validity.exe (default: build/windows/bin)
set -euo pipefail
cd "$(dirname "$0")/../.."
export TARNWELL_BUILD=${TARNWELL_BUILD:-$PWD/build/windows/bin}
if [[ ! -f $TARNWELL_BUILD/validity.exe ]]; then
    echo "There is no validity.exe in $TARNWELL_BUILD: build it first, or set TARNWELL_BUILD." >&2
    exit 2
fi
TARNWELL_WINEPREFIX=$(scripts/wine-prefix.sh new)
export TARNWELL_WINEPREFIX
trap 'scripts/wine-prefix.sh drop "$TARNWELL_WINEPREFIX"' EXIT
python3 tests/e2e/validity.py "$@"
