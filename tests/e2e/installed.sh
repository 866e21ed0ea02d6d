# shellcheck shell=bash
# A Wine prefix with everything installed in the real layout and registered, for the scripts here
# that source this from the top of the tree; it is gone when they end.
#
#   TARNWELL_BUILD      the folder with the built programs (default: build/windows/bin)
#   TARNWELL_DISPLAY=1  windows go to the X display in DISPLAY
. scripts/lib.sh
. scripts/wine-env.sh
need python3 openssl localedef
export TARNWELL_BUILD=${TARNWELL_BUILD:-$PWD/build/windows/bin}
for language in en_US fr_FR es_ES pl_PL; do
    make_locale $language
done
TARNWELL_WINEPREFIX=$(scripts/wine-prefix.sh new ${TARNWELL_DISPLAY:+--display})
export TARNWELL_WINEPREFIX
trap 'scripts/wine-prefix.sh drop "$TARNWELL_WINEPREFIX"' EXIT
scripts/install-layout "$TARNWELL_WINEPREFIX" "$TARNWELL_BUILD"
