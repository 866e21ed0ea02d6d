#!/usr/bin/env bash
# The main job, told step by step: from the explorer's context menu to PKCS#7 files and back.
#
#   scripts/demo.sh [BIN]     BIN: the built Windows programs (default build/windows/bin)
#
# Installs into the real layout inside a Wine prefix of its own, registers the DLL and drives it as
# the explorer does. All that it shows lands in build/demo: transcript.txt, pictures, the files.
set -euo pipefail
. "$(dirname "$0")/lib.sh"
. "$(dirname "$0")/wine-env.sh"
. "$(dirname "$0")/display.sh"
. "$(dirname "$0")/demo-stage.sh"

bin=$(realpath "${1:-$root/build/windows/bin}")
out=$root/build/demo
[[ -f $bin/Tarnwell.dll ]] || die "there is no Tarnwell.dll in $bin" "Build it first: make demo"
need python3 openssl localedef rsvg-convert

rm -rf "$out"
mkdir -p "$out"
exec > >(tee "$out/transcript.txt")
prefix=
finish() {
    local status=$?
    stop_display
    [[ -z $prefix ]] || "$root/scripts/wine-prefix.sh" drop "$prefix"
    ((status == 0)) || die "the demo stopped at the step above (status $status)" \
        "What it showed so far is in $out/transcript.txt" \
        "What the programs said is in $out/programs.log"
}
trap finish EXIT

say "The demo takes about a minute. Everything it shows lands in build/demo."
echo "Tarnwell, from the explorer's menu to a signed file and back"
start_display 760 520
prefix=$("$root/scripts/wine-prefix.sh" new --display)
smooth_fonts "$prefix"
speak en_US
for type in pdf docx png txt; do
    show_type "$type"
done

title "Installing"
tell "The DLL and its trace library go under the 64-bit program files, the manager and its" \
    "language archive under the 32-bit ones, which is where the DLL looks for them. Then the" \
    "system's own regsvr32 registers the DLL."
registry "$out/classes.before"
"$root/scripts/install-layout" "$prefix" "$bin" 2>>"$out/programs.log"
(cd "$prefix/drive_c" && find 'Program Files' 'Program Files (x86)' -path '*Tarnwell*' -type f) |
    sort | sed 's,/,\\,g; s/^/   C:\\/'
registry "$out/classes.registered"

desk=$prefix/drive_c/Papers
mkdir "$desk"
printf 'Minutes of the spring meeting.\r\n' >"$desk/Meeting notes.txt"
printf 'Une journée au bord de la mer.\r\n' >"$desk/été.txt"
printf 'Final plan, with a comma in its name.\r\n' >"$desk/Plan, final.txt"
one='C:\Papers\Meeting notes.txt'
three=("$one" 'C:\Papers\été.txt' 'C:\Papers\Plan, final.txt')
mkdir "$out/originals"
cp "$desk"/*.txt "$out/originals"

title "The menu of one text file"
tell "Any file that is not a .p7 gets the three protecting commands, each with its picture."
show_menu "$one"
tell "(Wine draws menu pictures without their transparency, hence the dark corners in the" \
    "photographs; Windows blends them into the menu.)"
popup 1-menu-text-file "$one"
close_popup

title "The menu of three files, in French"
tell "The user's language decides. The texts come from the manager's archive, read afresh for" \
    "each menu, so that the extension speaks as the manager does."
speak fr_FR
show_menu "${three[@]}"
popup 2-menu-french "${three[@]}"
close_popup
speak en_US

title "Signing the three files"
tell "The command goes to the manager. The extension starts it, reads its port from the pipe and" \
    "sends one request over the loopback address. The names hold a blank, an accent and a comma." \
    "The manager has a demo identity here; on its first start it makes it."
invoke 0 "${three[@]}"
await "$desk/Meeting notes.txt.p7" "$desk/été.txt.p7" "$desk/Plan, final.txt.p7"
authority=$(find "$prefix/drive_c" -path '*demo*' -name '*ca*.pem' ! -name '*key*' | head -n 1)
[[ -n $authority ]] || fail "the manager's demo CA is not in the user's profile"
for name in 'Meeting notes' 'été' 'Plan, final'; do
    verify "$desk/$name.txt.p7" "$out/originals/$name.txt"
done
echo "   p7tool info says of the first:"
p7tool info "$one.p7" | python3 -m json.tool --no-ensure-ascii | sed 's/^/   /'

title "The menu of the new .p7 file"
tell "One .p7 file gets the opening commands; opening is what a double click does."
show_menu "$one.p7"
popup 3-menu-p7 "$one.p7"
close_popup

title "Opening the signed file"
tell "A file that is only signed needs no card and no manager: its content is written beside it" \
    "and opened. The original is moved away first, so what appears comes out of the .p7."
rm "$desk/Meeting notes.txt"
invoke 0 "$one.p7"
await "$desk/Meeting notes.txt"
cmp "$desk/Meeting notes.txt" "$out/originals/Meeting notes.txt" ||
    fail "the content that was opened is not the original"
echo "   C:\\Papers\\Meeting notes.txt is back, byte for byte"
window 'Meeting notes' >/dev/null || fail "no program opened the content"
wait_for_change
picture 4-content-opened
end_server "$prefix"

title "Encrypting, and signing and encrypting"
tell "Offsets 1 and 2 of the same menu. An existing file is never overwritten."
invoke 1 'C:\Papers\été.txt'
await "$desk/été.txt (2).p7"
invoke 2 'C:\Papers\Plan, final.txt'
await "$desk/Plan, final.txt (2).p7"
p7tool info 'C:\Papers\été.txt (2).p7' 'C:\Papers\Plan, final.txt (2).p7' |
    python3 -c 'import json, sys
for line in sys.stdin:
    file = json.loads(line)
    print("   {}: {}, {} recipient(s), {} signer(s)".format(
        file["file"], file["type"], len(file["recipients"]), len(file["signers"])))'

title "Recovering the encrypted file"
tell "The menu of an encrypted file offers to open it; the manager has the key and decrypts." \
    "The file that was encrypted has been edited since: it keeps its new content."
printf 'Une autre journée.\r\n' >"$desk/été.txt"
show_menu 'C:\Papers\été.txt (2).p7'
popup 5-menu-encrypted 'C:\Papers\été.txt (2).p7'
close_popup
invoke 2 'C:\Papers\été.txt (2).p7'
await "$desk/été (2).txt"
cmp "$desk/été (2).txt" "$out/originals/été.txt" || fail "the recovered content differs"
echo "   C:\\Papers\\été (2).txt holds what was encrypted; the edited file was not touched"

title "Icons that tell what a file is"
tell "Five files, one of each kind. The demo's CA is put among the trusted roots, as a company does" \
    "with its own; one signed file is changed after signing. (Wine has no icons for documents, so" \
    "the demo brings some.)"
"$root/scripts/trust" "$prefix" "$authority"
kinds=$prefix/drive_c/Kinds
mkdir "$kinds"
for name in 'Annual report.pdf' Contract.docx Holiday.png Salaries.txt Statement.pdf Minutes.txt \
    Photo.png Plan.docx; do
    printf 'What is in %s.\r\n' "$name" >"$kinds/$name"
done
invoke 0 'C:\Kinds\Annual report.pdf' 'C:\Kinds\Contract.docx' 'C:\Kinds\Statement.pdf' \
    >>"$out/programs.log"
invoke 1 'C:\Kinds\Holiday.png' >>"$out/programs.log"
invoke 2 'C:\Kinds\Salaries.txt' >>"$out/programs.log"
await "$kinds"/{'Annual report.pdf',Contract.docx,Holiday.png,Salaries.txt,Statement.pdf}.p7
rm "$kinds"/{'Annual report.pdf',Contract.docx,Holiday.png,Salaries.txt,Statement.pdf}
sed 's/What is in Contract/What was in Contrat/' "$kinds/Contract.docx.p7" >"$kinds/Contract.docx.p7m"
rm "$kinds/Contract.docx.p7"
mv "$kinds/Salaries.txt.p7" "$kinds/Salaries.txt.p7m"
cp "$root/tests/data/corpus/osslcms-data.p7" "$kinds/Bundle.txt.p7m"
sheet=()
while IFS='|' read -r name kind; do
    probe icon --large=256 --small=16 --png="$out/icon" "C:\\Kinds\\$name" >>"$out/programs.log"
    printf '   %-22s %s\n' "$name" "$kind"
    mv "$out/icon-large.png" "$out/icon-${#sheet[@]}.png"
    rm "$out/icon-small.png"
    sheet+=(-label "$kind" "$out/icon-${#sheet[@]}.png")
done <<'KINDS'
Annual report.pdf.p7|signed, valid
Contract.docx.p7m|signed, changed since
Holiday.png.p7|encrypted
Salaries.txt.p7m|signed and encrypted
Bundle.txt.p7m|something else
KINDS
montage "${sheet[@]}" -tile 5x1 -geometry 144x144+8+8 -background white -font Liberation-Sans \
    -pointsize 13 "$out/6-icons.png"
rm "$out"/icon-*.png
printf '   [picture: build/demo/6-icons.png]\n'
"$root/scripts/contact-sheet" "$out/7-overlays.png" "$bin/../generated/icons"
printf '   [picture: build/demo/7-overlays.png, every overlay at every size]\n'

title "Tips that name the signer"
tell "Hovering over a signed file asks for this, in the user's language."
for language in en_US fr_FR es_ES pl_PL; do
    speak "$language"
    probe tip 'C:\Kinds\Annual report.pdf.p7' | python3 -c 'import json, sys
print("   " + sys.argv[1] + "   " + json.load(sys.stdin)["tip"].replace("\n", "\n           "))' "$language"
done
speak en_US

title "A folder in a window"
tell "shellprobe's window asks the handlers for all this as the explorer does: icons in three sizes" \
    "of view, the tip under the mouse, the menu under its right button."
open_window 'C:\Kinds'
away
for _ in "$kinds"/*; do
    heard '"icon"'
done
for mode in large:1 small:2 details:3; do
    away
    xdotool key "ctrl+${mode#*:}"
    heard "\"mode\":\"${mode%:*}\""
    wait_for_change
    point_at 'Statement.pdf.p7'
    heard '"tip"'
    wait_for_change
    picture "8-window-${mode%:*}-tip"
    xdotool click 3
    heard '"menu"'
    wait_for_change
    picture "8-window-${mode%:*}-menu"
    xdotool key Escape
    heard '"chosen":null'
done
close_window

title "What the user sees when the manager is missing"
end_server "$prefix"
manager="$prefix/drive_c/Program Files (x86)/Quorva/Tarnwell/bin/Corvane.exe"
mv "$manager" "$manager.away"
popup 9-choosing-sign "$one"
click 100 75
wait_for_change
picture 10-manager-missing +61+61
xdotool key Return
wait "$popup_pid" || true
tell "The same, as data:"
invoke 0 "$one" | sed 's/^/   /' || true
mv "$manager.away" "$manager"

title "Unregistering"
tell "What stays on purpose is the file type's own description; everything else is as it was."
windows regsvr32 /s /u 'C:\Program Files\Quorva\Tarnwell\bin\Tarnwell.dll'
registry "$out/classes.after"
diff "$out/classes.before" "$out/classes.after" | grep '^[<>]' | sed 's/^/   /' || true

cp -r "$desk" "$out/files"
printf '\nThe files are in build/demo/files, the pictures and this text in build/demo.\n'
