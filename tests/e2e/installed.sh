# shellcheck shell=bash
# A Wine prefix with everything installed in the real layout and registered, for the scripts here
# that source this from the top of the tree: see prefix.sh.
. tests/e2e/prefix.sh
. scripts/wine-env.sh
need python3 openssl localedef
for language in en_US fr_FR es_ES pl_PL; do
    make_locale $language
done
scripts/install-layout "$TARNWELL_WINEPREFIX" "$TARNWELL_BUILD"
