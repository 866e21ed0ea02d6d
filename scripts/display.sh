# A screen for programs that show something, and a camera for it. Sourced after lib.sh, not run.

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
    xsetroot -solid '#e9edf2'
    openbox >/dev/null 2>&1 & # title bars, and the keyboard's focus where a person expects it
    window_manager_pid=$!
}

stop_display() {
    [[ -z ${display_pid:-} ]] || kill "$window_manager_pid" "$display_pid" 2>/dev/null || true
    display_pid=
}

# window NAME [SECONDS]: prints the id of the first visible window of that name, waiting for it.
window() {
    timeout "${2:-20}" xdotool search --sync --onlyvisible --name "$1" 2>/dev/null | head -n 1
}

# photograph FILE.png: the whole screen, cut to what stands out from the background.
photograph() {
    import -window root "$1.full.png"
    convert "$1.full.png" -bordercolor '#e9edf2' -border 1 -trim +repage \
        -bordercolor '#e9edf2' -border 16 "$1"
    rm -f "$1.full.png"
}
