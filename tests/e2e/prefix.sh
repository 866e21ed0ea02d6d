# shellcheck shell=bash
# A Wine prefix of its own for the script here that sources this from the top of the tree; it is gone
# when the script ends.
#
#   TARNWELL_BUILD      the folder with the built programs (default: build/windows/bin)
#   TARNWELL_DISPLAY=1  windows go to the X display in DISPLAY
. scripts/lib.sh
export TARNWELL_BUILD=${TARNWELL_BUILD:-$PWD/build/windows/bin}
[[ -f $TARNWELL_BUILD/Tarnwell.dll ]] ||
    die "there is no Tarnwell.dll in $TARNWELL_BUILD" \
        "Build it first: scripts/build.sh windows \"2 minutes from nothing\""
TARNWELL_WINEPREFIX=$(scripts/wine-prefix.sh new ${TARNWELL_DISPLAY:+--display})
export TARNWELL_WINEPREFIX
trap 'scripts/wine-prefix.sh drop "$TARNWELL_WINEPREFIX"' EXIT
