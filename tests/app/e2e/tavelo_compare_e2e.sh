#!/usr/bin/env bash
# End-to-end comparison on a private X server: disc a of the comparison set plays; File ->
# Compare With... (Ctrl+Shift+O) takes disc b (the same barcoded source with a 37-frame lead,
# another encoder, wider bands) through its panel and shows it in a view of its own beside the
# video window, lined up and locked to the frame on screen. Paused, 10 steps forward and 10
# back show the same barcode in both windows after each step (read from each window's
# pixels), and Grab Pair (Ctrl+Shift+P) after each step saves "Tavelo NNNN A.png" and
# "... B.png" that carry it too. Flip Sides (X) puts the view over the video's picture and
# back; Escape in the view ends the comparison and its tavelo-grab children.
#
#   tavelo_compare_e2e.sh TAVELO_BINARY TEST_DISCS_FOLDER   (comparison discs in ../compare)
set -euo pipefail

tavelo=$1
discs=${2:-}
sets=$(dirname "${discs:-.}")/compare
[ -n "$discs" ] && [ -d "$sets/a/VIDEO_TS" ] && [ -d "$sets/b/VIDEO_TS" ] ||
  { echo "FAIL: no comparison discs in '$sets' (authored by tests/media/author-compare)" >&2; exit 1; }
steps=10
# Keys are followed by waits for what they do.
key_pause=0.05
source "$(dirname "$0")/e2e_common.sh"
e2e_start tavelo-compare-e2e
private_pictures
# Quick saves as PNG: the barcodes are read from lossless pictures.
mkdir -p "$XDG_CONFIG_HOME/Tavelo"
printf '[General]\n%s\n' 'DefaultFileTypeSelectorGroup=selectDefault_SavePNG:' >"$XDG_CONFIG_HOME/Tavelo/Tavelo.conf"

view_frame() {  # view_frame: the barcode the compare view shows (its picture fills it), -1 when unreadable
  local w
  read -r w _ _ _ <<<"$(geometry "$view")"
  "$probe" barcode "$view" 0 0 "$w" 2>/dev/null || echo -1
}
both_show() {  # both_show N: the video window and the compare view show frame N (leaves a, b)
  a=$(shown_frame); b=$(view_frame)
  [ "$a" = "$1" ] && [ "$b" = "$1" ]
}
sides_agree() { a=$(shown_frame); b=$(view_frame); [ "$a" -ge 0 ] && [ "$a" = "$b" ]; }
children() { pgrep -P "$app_pid" -f tavelo-grab 2>/dev/null | wc -l; }
follower_running() { pgrep -P "$app_pid" -f -- '--follow' >/dev/null; }
no_children() { [ "$(children)" = 0 ]; }
panel_takes_path() {  # Return in the panel; once more if a completion list took the first.
  # A second Return goes only to the panel itself: sent while it closes, it would reach the
  # video window and ask the disc for a button press.
  xdotool key Return
  wait_until 5 window_gone '^Compare With$' && return 0
  is_active "$panel" && xdotool key Return
  wait_until 15 window_gone '^Compare With$'
}
view_at() {  # view_at X Y: the compare view's top-left corner is there
  local g; g=$(geometry "$view")
  [ "$(echo "$g" | cut -d' ' -f3)" = "$1" ] && [ "$(echo "$g" | cut -d' ' -f4)" = "$2" ]
}
screen_shows_view() {  # the screen at the video's picture shows what the compare view draws
  # (leaves the number of pixels that differ in `diff`)
  "$probe" ppm "$view" "$work/view.ppm" 2>/dev/null || return 1
  "$probe" ppm root "$work/place.ppm" "640x480+$video_x+$((video_y + video_h - 480))" 2>/dev/null || return 1
  diff=$(compare -metric AE "$work/view.ppm" "$work/place.ppm" null: 2>&1 | cut -d' ' -f1 | cut -d. -f1)
  [ "$diff" = 0 ]
}
view_beside() {  # the view is clear of the video window's picture, to its right
  local g; g=$(geometry "$view")
  [ "$(echo "$g" | cut -d' ' -f3)" -ge $((video_x + video_w)) ]
}

launch "$sets/a"
wait_moving 30 || fail "the video does not play"
step "normal size: the 4:3 picture 640 x 480 under the menu bar"
keys ctrl+2
wait_until 10 has_width "$video" 640 || fail "at normal size the window is $(geometry "$video")"
read -r video_w video_h video_x video_y <<<"$(geometry "$video")"

step "File -> Compare With... takes disc b through its panel"
keys ctrl+shift+o
panel=$(wait_window '^Compare With$' 20) || fail "no Compare With panel"
xdotool windowfocus --sync "$panel" 2>/dev/null || true
wait_until 5 is_active "$panel" || fail "the Compare With panel does not take the keys"
xdotool type --delay 20 "$sets/b"
panel_takes_path || fail "the panel did not take $sets/b"
view=$(wait_window '^Compare: b$' 20) || fail "no compare view"
wait_until 20 follower_running || fail "no tavelo-grab following disc b"

step "paused, the two sides line up on one frame"
keys space
wait_until 60 sides_agree || fail "the sides do not agree: the video shows $a, the compare view $b"
start=$a
echo "   paused at frame $start, both sides"
[ "$start" -ge "$steps" ] && [ $((start + steps)) -lt 600 ] || fail "paused at frame $start, too near an end"
view_beside || fail "the compare view is not beside the video window: $(geometry "$view") (video $video_x,$video_y ${video_w}x$video_h)"

pairs=0
grab_pair() {  # grab_pair N: Grab Pair saves the next pair, both sides showing frame N
  local name
  name=$(printf '%s/Tavelo %04d' "$grabs" "$pairs")
  keys ctrl+shift+p
  wait_file "$name A.png"
  wait_file "$name B.png"
  [ "$(barcode "$name A.png")" = "$1" ] || fail "pair $pairs: side A shows $(barcode "$name A.png"), not $1"
  [ "$(barcode "$name B.png")" = "$1" ] || fail "pair $pairs: side B shows $(barcode "$name B.png"), not $1"
  pairs=$((pairs + 1))
}
step_both() {  # step_both KEY DELTA: $steps presses, both sides on the new frame after each
  local key=$1 delta=$2 at=$start i seen=""
  for i in $(seq "$steps"); do
    keys "$key"
    wait_until 15 both_show $((at + delta)) ||
      fail "'$key' $i from frame $at: the video shows $a, the compare view $b (seen:$seen)"
    at=$((at + delta)); seen="$seen $at"
    grab_pair "$at"
  done
  echo "   seen:$seen"
  start=$at
}
step "$steps steps forward with '.', a pair grabbed after each"
step_both period 1
step "$steps steps back with ',', a pair grabbed after each"
step_both comma -1
[ "$(ls "$grabs" | grep -c '\.png$')" = $((2 * pairs)) ] || fail "the pictures folder has $(ls "$grabs" | tr '\n' ' ')"

step "Flip Sides (X) puts the view over the picture, and back"
keys x
wait_until 10 view_at "$video_x" $((video_y + video_h - 480)) ||
  fail "flipped, the view is at $(geometry "$view"), not over the picture at $video_x,$((video_y + video_h - 480))"
# The screen where the video's picture was shows the compare view's own pixels, frame and all.
wait_until 10 screen_shows_view || fail "flipped, the picture's place on the screen is not the view's picture ($diff pixels differ)"
[ "$(view_frame)" = "$start" ] || fail "flipped, the compare view shows $(view_frame), not $start"
keys x
wait_until 10 view_beside || fail "flipped back, the view is at $(geometry "$view")"

step "Escape in the view ends the comparison and its children"
xdotool windowfocus --sync "$view" 2>/dev/null || true
xdotool key Escape
wait_no_window '^Compare: b$' 10 || fail "the compare view stayed"
wait_until 15 no_children || fail "$(children) tavelo-grab children left"

quit_app
if [ -f "$log" ] && grep -q "FAILED" "$log"; then
  sed 's/^/  log: /' "$log" >&2
  fail "the log has failed checks"
fi
echo "PASS"
