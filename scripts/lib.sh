# shellcheck shell=bash disable=SC2034
# Shared by the scripts of this folder: where things are kept, and how they speak. Sourced, not run.

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
cache=${XDG_CACHE_HOME:-${HOME:?HOME is not set, so there is no place for the cache: set XDG_CACHE_HOME}/.cache}/tarnwell

# print_help: what the head of the running script tells.
print_help() {
    sed -n '2,/^set/{/^#/s/^# \{0,1\}//p}' "$0"
}
# Asked for it, no script that sources this does anything else.
case ${1-} in
-h | --help)
    print_help
    exit 0
    ;;
esac

# say TEXT: one line of progress.
say() {
    printf '== %s\n' "$*" >&2
}

# die TEXT HINT...: ends the script with one message: what failed, then what to do about it.
die() {
    local what=$1
    shift
    printf '\n** %s: %s\n' "$(basename "$0")" "$what" >&2
    (($# == 0)) || printf '   %s\n' "$@" >&2
    exit 1
}

# tell_from LOG: from now on every 20 s the last line of LOG (of a compiler's command what it makes),
# so that nobody wonders whether anything happens; until stop_telling or the script's end.
tell_from() {
    local log=$1 begin=$SECONDS
    exec {telling}> >(
        # Nothing is written to this pipe. That it ends is what ends the telling.
        until read -r -t 20 _ || (($? <= 128)); do
            printf '   … %d s: %s\n' $((SECONDS - begin)) \
                "$(tail -n 1 "$log" | sed -E 's/^.* -o ([^ ]+) .*/\1/' | cut -c 1-80)" >&2
        done
    )
}
stop_telling() {
    exec {telling}>&-
}

# need PROGRAM...: ends with the install command when a program is missing.
need() {
    local program missing=()
    for program; do
        command -v "$program" >/dev/null || missing+=("$program")
    done
    ((${#missing[@]} == 0)) ||
        die "these programs are missing: ${missing[*]}" \
            "Install what the build needs with: scripts/install-packages.sh"
}

# debian_mirror: the address of the Debian mirror that this machine uses, or TARNWELL_MIRROR.
debian_mirror() {
    local mirror
    # shellcheck disable=SC2016  # apt fills these in
    mirror=${TARNWELL_MIRROR:-$(apt-get indextargets \
        --format '$(COMPONENT) $(RELEASE) $(REPO_URI)' 2>/dev/null |
        awk '$1 == "main" && $2 !~ /-/ { print $3; exit }')}
    [[ -n $mirror ]] ||
        die "this machine's package sources name no Debian mirror" \
            "Set TARNWELL_MIRROR to the address of one (the folder that holds dists/ and pool/)."
    echo "$mirror"
}
