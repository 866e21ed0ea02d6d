# shellcheck shell=bash disable=SC2034
# How the scripts run Wine. Sourced after lib.sh, not run.

# The 64-bit loader itself: the wrapper in the path would complain that the 32-bit one is missing.
wine=/usr/lib/wine/wine64
[[ -x $wine ]] || wine=$(command -v wine64 || command -v wine || echo wine64)
wineserver=/usr/lib/wine/wineserver64
[[ -x $wineserver ]] || wineserver=$(command -v wineserver || echo wineserver)
export WINESERVER=$wineserver WINELOADER=$wine

export WINEDEBUG=${WINEDEBUG--all}
# A crash ends the program at once with its code (5: access violation) instead of a debugger, and
# nobody writes desktop entries for what programs register.
export WINEDLLOVERRIDES=${WINEDLLOVERRIDES-winedbg.exe=d;winemenubuilder.exe=d}
# Names on disk are UTF-8, whatever the caller's locale; LANGUAGE and LANG may still choose texts.
export LC_ALL=${TARNWELL_LOCALE:-C.UTF-8}

# make_locale NAME: makes the UTF-8 locale of that language and country, such as fr_FR, which the
# machine may lack, and lets programs find it.
make_locale() {
    export LOCPATH=$cache/locales
    [[ ! -d $LOCPATH/$1.UTF-8 ]] || return 0
    mkdir -p "$LOCPATH"
    localedef -i "$1" -f UTF-8 "$LOCPATH/$1.UTF-8" ||
        die "the locale $1 could not be made" "Install its sources: scripts/install-packages.sh"
}

# end_server PREFIX: ends every process of the prefix and waits until its server is gone.
end_server() {
    local process
    WINEPREFIX=$1 "$wineserver" -k >/dev/null 2>&1 || true
    WINEPREFIX=$1 timeout 20 "$wineserver" -w >/dev/null 2>&1 || true
    # A service that was only starting misses the server's word, and would hold on to the caller's
    # output for good.
    for process in /proc/[0-9]*; do
        if [[ $process/exe -ef $wine || $process/exe -ef $wine-preloader ||
            $process/exe -ef $wineserver ]] &&
            grep -qzFx "WINEPREFIX=$1" "$process/environ" 2>/dev/null; then
            kill -KILL "${process#/proc/}" 2>/dev/null || true
        fi
    done
}
