#!/usr/bin/env bash
# Wine prefixes: the base prefix is made once in the cache, every user works in a clone of it.
#
#   scripts/wine-prefix.sh base            makes the base prefix if there is none, prints its folder
#   scripts/wine-prefix.sh clone FOLDER [--display] [--heap-checks]
#                                          makes FOLDER a clone of the base prefix
#   scripts/wine-prefix.sh new [OPTIONS]   the same in a fresh folder, whose name it prints
#   scripts/wine-prefix.sh drop FOLDER     ends everything that runs in a clone and removes it
#
# --display      windows go to the X display in DISPLAY; without it they exist but are not shown
# --heap-checks  every heap checks its blocks (wine-run reports what it finds)
# A clone shares the system files with the base by hard links, so it takes 0.1 s and no space;
# "new" puts it into the cache because links do not reach other disks.
set -euo pipefail
. "$(dirname "$0")/lib.sh"
. "$(dirname "$0")/wine-env.sh"

make_base() {
    local work log start=$SECONDS
    need flock "$wine" "$wineserver"
    mkdir -p "$cache"
    exec 9>"$cache/prefix.lock"
    flock 9
    [[ ! -d $base ]] || return 0
    say "Making the base Wine prefix (about 15 s, once)"
    work=$(mktemp -d "$cache/prefix-work.XXXXXX")
    log=$cache/prefix.log
    trap 'end_server "$work"; rm -rf "$work"' EXIT
    # No display is looked for: windows then work unseen, and far faster. No crash dialog either.
    if ! { DISPLAY='' WINEPREFIX=$work WINEDLLOVERRIDES='winedbg.exe=d;mscoree,mshtml=' \
        timeout -k 5 300 "$wine" wineboot -i &&
        WINEPREFIX=$work timeout -k 5 60 "$wine" reg add 'HKCU\Software\Wine\Drivers' \
            /v Graphics /d null /f &&
        WINEPREFIX=$work timeout 60 "$wineserver" -w; } >"$log" 2>&1 9>&-; then
        tail -n 10 "$log" >&2
        die "Wine could not make a prefix (its last words are above)" \
            "The whole log is $log." \
            "Check that there are 1 GB free in $cache, and that wine64 is installed."
    fi
    own_folders "$work"
    mv -T "$work" "$base"
    trap - EXIT
    say "The base prefix is ready after $((SECONDS - start)) s: $base"
}

# Wine links the user's documents to the real home folder; a test must not reach it.
own_folders() {
    local link
    while IFS= read -r -d '' link; do
        rm "$link"
        mkdir "$link"
    done < <(find "$1/drive_c/users" -type l -lname '/*' -print0)
}

clone() {
    local folder=$1 option
    shift
    mkdir -p "$folder/drive_c"
    cp -al "$base/drive_c/windows" "$folder/drive_c/" 2>/dev/null || {
        rm -rf "$folder/drive_c/windows"
        cp -a "$base/drive_c/windows" "$folder/drive_c/"
    }
    find "$base/drive_c" -mindepth 1 -maxdepth 1 ! -name windows -exec cp -a -t "$folder/drive_c" {} +
    find "$base" -mindepth 1 -maxdepth 1 ! -name drive_c -exec cp -a -t "$folder" {} +
    for option; do
        case $option in
        --display) sed -i '/^"Graphics"="null"$/d' "$folder/user.reg" ;;
        --heap-checks)
            sed -i 's/^"GlobalFlag"=dword:00000000$/"GlobalFlag"=dword:000000f0/' "$folder/system.reg"
            grep -q '^"GlobalFlag"=dword:000000f0$' "$folder/system.reg" ||
                die "the prefix has no GlobalFlag to set, so heap checks cannot be turned on"
            ;;
        *) die "there is no option \"$option\"" "See: scripts/wine-prefix.sh --help" ;;
        esac
    done
}

# Another Wine or another way of making the prefix is another prefix.
base=$cache/prefix-$({ declare -f make_base own_folders && stat -L -c '%Y %s' "$wine"; } 2>/dev/null |
    sha256sum | cut -c1-16)

case ${1-} in
base)
    [[ -d $base ]] || (make_base)
    echo "$base"
    ;;
clone)
    [[ -n ${2-} ]] || die "clone needs a folder"
    [[ -d $base ]] || (make_base)
    clone "${@:2}"
    ;;
new)
    [[ -d $base ]] || (make_base)
    mkdir -p "$cache/runs"
    # What a killed run could not remove.
    find "$cache/runs" -mindepth 1 -maxdepth 1 -mtime +0 -exec rm -rf {} +
    folder=$(mktemp -d "$cache/runs/run.XXXXXX")
    clone "$folder" "${@:2}"
    echo "$folder"
    ;;
drop)
    [[ -f ${2-}/system.reg ]] || die "\"${2-}\" is no Wine prefix"
    [[ ! $2 -ef $base ]] || die "this is the base prefix: every clone needs it" \
        "To make it anew, remove the folder by hand."
    folder=$(realpath -s "$2") # as the processes in it know it
    end_server "$folder"
    rm -rf "$folder"
    ;;
*)
    print_help
    exit 2
    ;;
esac
