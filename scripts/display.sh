# shellcheck shell=bash
# A screen for programs that show something, and a camera for it. Sourced after lib.sh, not run.

background='#e9edf2'

# start_display WIDTH HEIGHT: starts a virtual X server on a free display and sets DISPLAY.
start_display() {
    need Xvfb openbox import convert xdotool xsetroot
    local fifo
    fifo=$(mktemp -u)
    mkfifo "$fifo"
    Xvfb -displayfd 3 -screen 0 "${1}x${2}x24" -nolisten tcp -noreset 3>"$fifo" >/dev/null 2>&1 &
    display_pid=$!
    local number
    read -r -t 20 number <"$fifo" ||
        die "the virtual screen (Xvfb) did not start" "Try it by hand: Xvfb :99 -screen 0 800x600x24"
    rm -f "$fifo"
    export DISPLAY=:$number
    xsetroot -solid "$background"
    empty_screen=$(screen_sum)
    openbox >/dev/null 2>&1 & # title bars, and the keyboard's focus where a person expects it
    window_manager_pid=$!
}

stop_display() {
    local process
    for process in ${window_manager_pid-} ${display_pid-}; do
        kill "$process" 2>/dev/null || true
    done
    window_manager_pid='' display_pid=''
}

# window NAME [SECONDS]: prints the id of the first visible window of that name, waiting for it.
window() {
    timeout "${2:-20}" xdotool search --sync --onlyvisible --name "$1" 2>/dev/null | head -n 1
}

screen_sum() {
    import -window root rgb:- | md5sum
}

# wait_for_change: waits (10 s at most) until the screen shows more than the background, and then
# until it stands still.
wait_for_change() {
    local tries last=
    for ((tries = 0; tries < 25; tries++)); do
        sleep 0.4
        [[ $(screen_sum) != "$empty_screen" && $(screen_sum) == "$last" ]] && return
        last=$(screen_sum)
    done
}

# photograph FILE.png [CROP]: the screen, or what lies right of and below CROP (+X+Y), cut to what
# stands out from the background.
photograph() {
    import -window root -crop "${2:-+0+0}" "$1.full.png"
    convert "$1.full.png" +repage -bordercolor "$background" -border 1 -trim +repage \
        -bordercolor "$background" -border 16 "$1"
    rm -f "$1.full.png"
}

# smooth_fonts PREFIX: menus and messages in a smooth font of the size that Windows has; without it
# Wine draws them with small bitmaps. For a prefix in which nothing runs yet.
smooth_fonts() {
    python3 - >>"$1/user.reg" <<'PYTHON'
import struct


def font(height, face="Liberation Sans"):
    """A LOGFONTW (Windows documentation, "LOGFONTW structure") as a registry file spells bytes."""
    head = struct.pack("<5i8B", height, 0, 0, 0, 400, 0, 0, 0, 1, 0, 0, 5, 0x22)
    return ",".join(f"{byte:02x}" for byte in head + face.encode("utf-16-le").ljust(64, b"\0"))


print('\n[Control Panel\\\\Desktop]')
print('"FontSmoothing"="2"\n"FontSmoothingType"=dword:00000001')
print('\n[Control Panel\\\\Desktop\\\\WindowMetrics]')
print(f'"MenuFont"=hex:{font(-14)}\n"MessageFont"=hex:{font(-14)}')
PYTHON
}
