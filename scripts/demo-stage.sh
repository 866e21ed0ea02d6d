# shellcheck shell=bash
# What the demo tells its story with: its own way of speaking, and the programs that it drives.
# Sourced by demo.sh after lib.sh, wine-env.sh and display.sh. Works in the Wine prefix in $prefix
# with the programs in $bin, and leaves pictures and logs in $out.

# --- how the story is told ------------------------------------------------------------------------

step=0
title() {
    step=$((step + 1))
    printf '\n%d. %s\n%s\n' "$step" "$1" "$(printf '%*s' $((${#step} + 2 + ${#1})) '' | tr ' ' '-')"
}
tell() { fmt -w 90 <<<"$*"; }
fail() {
    printf '   But: %s\n' "$*"
    exit 1
}
picture() { # NAME [CROP]: photographs the screen
    photograph "$out/$1.png" "${2:-+0+0}"
    printf '   [picture: build/demo/%s.png]\n' "$1"
}

# --- the programs of the demo ---------------------------------------------------------------------

export TARNWELL_DISPLAY=1 TARNWELL_TIMEOUT=60
windows() { TARNWELL_WINEPREFIX=$prefix "$root/scripts/wine-run" "$@" 2>>"$out/programs.log"; }
probe() { windows "$bin/shellprobe.exe" "$@"; }
p7tool() { windows "$bin/p7tool.exe" "$@"; }

# speak LANGUAGE: the language of the user who is shown; the system's locale stands for it.
speak() {
    make_locale "$1"
    end_server "$prefix"
    export TARNWELL_LOCALE=$1.UTF-8
}

show_menu() { # FILE...: the items as the handler inserts them
    probe menu "$@" | python3 "$root/scripts/demo-menu.py"
}

# popup NAME FILE...: shows the real pop-up menu and photographs it; it stays open.
popup() {
    local name=$1
    shift
    probe popup --at=60,60 "$@" >>"$out/programs.log" &
    popup_pid=$!
    wait_for_change
    picture "$name" +40+40 # the menu's owner, a window of one pixel, stands in the corner
}
# click X Y: with the mouse; a click beside an open menu closes it.
click() {
    xdotool mousemove "$1" "$2" sleep 0.2 click 1
}
close_popup() {
    click 700 400
    wait "$popup_pid" || true
}

invoke() { # OFFSET FILE...
    local offset=$1
    shift
    probe invoke --offset="$offset" "$@"
}

# await FILE...: the manager works after it has answered; waits for the files that it makes.
await() {
    local file tries
    for file; do
        for ((tries = 0; tries < 100; tries++)); do
            [[ ! -s $file ]] || break
            sleep 0.1
        done
        [[ -s $file ]] || fail "$file was not made within 10 s"
    done
    sleep 0.3
}

# show_type EXTENSION: makes that type known, with an icon, as its programs do on Windows. Before
# the prefix is used; what Wine has for the type already keeps its own programs.
show_type() {
    python3 "$root/scripts/make-icon.py" --soft "$prefix/drive_c/type_$1.ico" \
        {256,48,32,24,16}="$root/assets/demo/type_$1.svg"
    local name=$1file # as Wine calls those that it has
    printf '\n[Software\\\\Classes\\\\%s]\n@="%s"\n' ".$1" "$name" >>"$prefix/system.reg"
    printf '\n[Software\\\\Classes\\\\%s\\\\DefaultIcon]\n@="C:\\\\type_%s.ico"\n' "$name" "$1" \
        >>"$prefix/system.reg"
}

# open_window FOLDER: shows the folder in shellprobe's window; what the window says of itself, a
# line each, goes to build/demo/window.log.
open_window() {
    said=0
    : >"$out/window.log"
    TARNWELL_RAW_ARGS=1 probe view "$1" >"$out/window.log" &
    window_pid=$!
    heard '"view":"ready"'
}
close_window() {
    xdotool key alt+F4
    wait "$window_pid"
}
# heard TEXT: waits (20 s) for the window's next line that holds the text.
heard() {
    local tries line
    for ((tries = 0; tries < 200; tries++)); do
        if line=$(tail -n "+$((said + 1))" "$out/window.log" | grep -nF -m 1 -- "$1"); then
            said=$((said + ${line%%:*}))
            return
        fi
        sleep 0.1
    done
    fail "the window did not say $1"
}
# point_at NAME: moves the mouse to the file, by the window's last list of what stands where.
point_at() {
    local x y
    read -r x y < <(python3 -c 'import json, sys
line = json.loads(sys.argv[1])
print(*line["at"][line["listed"].index(sys.argv[2])])' "$(grep '"listed"' "$out/window.log" | tail -n 1)" "$1")
    xdotool mousemove "$x" "$y"
}
away() { xdotool mousemove 755 515; }

registry() { # FILE: every key that registering may touch, as the registry holds it
    windows reg export 'HKLM\Software\Classes' 'C:\classes.reg' /y >/dev/null
    iconv -f UTF-16 -t UTF-8 "$prefix/drive_c/classes.reg" | tr -d '\r' >"$1"
}

# verify FILE.p7 CONTENT: checks a signature with OpenSSL's own command line, against the demo CA.
verify() {
    openssl cms -verify -inform DER -in "$1" -CAfile "$authority" -out "$out/content" \
        2>>"$out/programs.log" || fail "openssl cms -verify refuses $1"
    cmp -s "$out/content" "$2" || fail "the content of $1 is not $2"
    rm "$out/content"
    printf '   openssl cms -verify: %s is good, and its content is that of the original\n' \
        "$(basename "$1")"
}
