#!/usr/bin/env bash
# End-to-end on a private X server, the controller on the barcoded disc (900 frames,
# chapters at frames 0, 300 and 600): the seek bar moves with playback and stands still when
# paused, its chapter marks sit at the chapters' times, hovering tells the time and chapter,
# a click at its middle shows the frame at half the title; after a quick save the status line
# names the file (read back with OCR), a click on it opens the folder, and it clears after a
# few seconds.
#
#   tavelo_controller_e2e.sh TAVELO_BINARY TEST_DISCS_FOLDER
set -euo pipefail

tavelo=$1
discs=${2:-}
[ -n "$discs" ] && [ -d "$discs/frames/VIDEO_TS" ] || { echo "FAIL: no test discs in '$discs'" >&2; exit 1; }
frames=900
chapters="300 600"
source "$(dirname "$0")/e2e_common.sh"
e2e_start tavelo-controller-e2e
private_pictures
# Opening a folder goes through xdg-open: ours writes down what it was asked to open.
mkdir -p "$work/bin"
printf '#!/bin/sh\necho "$@" >>"%s/opened"\n' "$work" >"$work/bin/xdg-open"
chmod +x "$work/bin/xdg-open"
export PATH=$work/bin:$PATH

read_seek_bar() {  # read_seek_bar: the controller's seek bar into left right top bottom marks
  # handle; fails (1) when no handle is seen (a capture while the window is being drawn)
  "$probe" txt "$control" >"$work/control.txt" 2>/dev/null || return 1
  found=$(awk -f "$e2e_dir/seekbar.awk" "$work/control.txt")
  read -r left right top bottom <<<"$(sed -n 1p <<<"$found")"
  marks=$(sed -n 's/^marks *//p' <<<"$found")
  handle=$(sed -n 's/^handle //p' <<<"$found")
  [ -n "$handle" ]
}
seek_bar() { wait_until 5 read_seek_bar || fail "no handle on the seek bar ($found)"; }
x_of_frame() { echo $((left + $1 * (right - left) / (frames - 1))); }
near() { [ $(($1 - $2)) -le "$3" ] && [ $(($2 - $1)) -le "$3" ]; }
status_words() {  # status_words: tesseract's words (TSV) under the seek bar, three times enlarged
  "$probe" ppm "$control" "$work/control.ppm" 2>/dev/null || return 0
  convert "$work/control.ppm" -crop "+0+$((bottom + 6))" +repage -resize 300% -colorspace gray \
    "$work/status.png"
  tesseract "$work/status.png" - tsv 2>/dev/null | awk -F'\t' 'NR > 1 && $12 != "" { print $7, $8, $9, $10, $12 }'
}
status_text() { status_words | cut -d' ' -f5- | tr '\n' ' '; }
# Leaves the words read in `words` and `text`: the status line may be gone by a second reading.
status_has() { words=$(status_words); text=$(cut -d' ' -f5- <<<"$words" | tr '\n' ' '); grep -q "$1" <<<"$text"; }
status_lacks() { ! status_has "$1"; }
handle_at() { read_seek_bar && [ "$handle" = "$1" ]; }
handle_past() { read_seek_bar && [ "$handle" -gt "$1" ]; }
handle_steady() { read_seek_bar && paused=$handle && holds 1 handle_at "$paused"; }
# A tip is read on its own: it may close before the big windows have been read.
tip_shows() { text=$(screen_text "$video" "$control"); grep -qF -- "$1" <<<"$text"; }
frame_near() { frame=$(shown_frame); [ "$frame" -ge 0 ] && near "$frame" "$1" "$2"; }

launch "$discs/frames"
keys ctrl+2  # normal size: the 640 x 480 picture under the menu bar
wait_until 5 has_width "$video" 640 || fail "normal size is not 640 wide"
wait_moving 30 || fail "the video does not play"

step "the seek bar moves with playback"
seek_bar
first=$handle
[ $((right - left)) -gt 300 ] || fail "the seek bar found is $left..$right"
wait_until 5 handle_past "$first" || fail "the handle stayed at $first while playing (now $handle)"

step "chapter marks at the chapters' first frames"
want=
for c in $chapters; do want="$want $(x_of_frame "$c")"; done
set -- $want
for m in $marks; do
  near "$m" "$1" 1 || fail "marks at$(printf ' %s' $marks), chapters at$want"
  shift
done
[ $# = 0 ] || fail "marks at$(printf ' %s' $marks), chapters at$want"

step "paused, the handle stands still"
keys space
wait_until 6 handle_steady || fail "paused, the handle moved from $paused to $handle"

step "hovering over the seek bar tells the time and chapter under the pointer"
# Frame 465 is 15.5 s in: a pixel either way is still 0:15.
x=$(x_of_frame 465)
# The tip shows once the pointer rests; read until it does (a tip read as it opens or
# closes gives nothing).
text=
for attempt in 1 2 3; do
  xdotool mousemove --window "$control" "$x" $(((top + bottom) / 2))
  sleep 0.2
  xdotool mousemove --window "$control" $((x + 1)) $(((top + bottom) / 2))
  wait_until 5 tip_shows "0:15, chapter 2" && break
done
grep -qF "0:15, chapter 2" <<<"$text" || fail "hovering shows: $text (not \"0:15, chapter 2\")"

step "a click at the middle of the seek bar shows the frame at half the title"
middle=$(((left + right) / 2))
expected=$(((middle - left) * (frames - 1) / (right - left)))
near "$expected" $((frames / 2)) 3 || fail "the middle found ($middle of $left..$right) is frame $expected"
xdotool mousemove --window "$control" "$middle" $(((top + bottom) / 2)) click 1
wait_until 5 frame_near "$expected" 1 || fail "a click at the middle shows frame $frame, not $expected"
seek_bar
near "$handle" "$middle" 2 || fail "after the click the handle is at $handle, not $middle"

step "the status line names the last quick save; a click on it opens the folder"
[ -z "$(status_text | grep -i saved)" ] || fail "a status before any save: $(status_text)"
keys ctrl+g
wait_file "$grabs/Tavelo 0000.jpg"
wait_until 5 status_has "Tavelo 0000" || fail "after the first save the status line reads: $text"
# Where its first word is; the second save's status is clicked there at once, for the status
# lasts five seconds and reading it takes a while on a busy machine.
read -r wl wt ww wh _ <<<"$(grep -m1 -i 'saved' <<<"$words")" || fail "no 'Saved' word to click"
keys period ctrl+g
wait_file "$grabs/Tavelo 0001.jpg"
xdotool mousemove --window "$control" $(((wl + ww / 2) / 3)) $((bottom + 6 + (wt + wh / 2) / 3)) click 1
wait_until 5 status_has "Tavelo 0001" || fail "after the second save the status line reads: $text"
grep -q "Tavelo 0000" <<<"$text" && fail "the status line still names the first save: $text"
wait_until 3 test -s "$work/opened" || fail "nothing was opened"
grep -qx "file://$grabs" "$work/opened" || fail "opened $(cat "$work/opened"), not $grabs"

step "the status line clears after a few seconds"
wait_until 8 status_lacks "Tavelo 0001" || fail "the status line still reads: $text"

quit_app
echo "PASS"
