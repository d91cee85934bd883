#!/usr/bin/env bash
# End-to-end on a private X server: a path that does not exist and a folder that is not a
# DVD, given on the command line, bring a notice while the program keeps running; full screen
# (F) fills the screen, the controller comes over the picture with the mouse and goes when it
# rests, and Escape gives the window back its place; Go → Subtitles and Go → Titles do what
# they name; the controller sits below the video window, and both come back where they were
# after a relaunch.
#
#   tavelo_player_e2e.sh TAVELO_BINARY TEST_DISCS_FOLDER
set -euo pipefail

tavelo=$1
discs=${2:-}
[ -n "$discs" ] && [ -d "$discs/frames/VIDEO_TS" ] || { echo "FAIL: no test discs in '$discs'" >&2; exit 1; }
source "$(dirname "$0")/e2e_common.sh"
e2e_start tavelo-player-e2e

notice() {  # notice: the open-failure notice's window, or a failure
  timeout 15 xdotool search --sync --onlyvisible --name '^Cannot Open Disc$' | head -n1 ||
    fail "no notice"
}

sample() {  # sample X Y: the colour at a point of the picture (640 x 480), as R G B
  "$probe" pixel "$video" "$1" $((menubar + $2)) 2>/dev/null || echo 0 0 0
}
is_white() { [ "$1" -gt 200 ] && [ "$2" -gt 200 ] && [ "$3" -gt 200 ]; }
subtitle_on() { is_white $(sample 114 96); }
subtitle_off() { ! subtitle_on; }
is_blue() { [ "$3" -gt 150 ] && [ "$1" -lt 90 ] && [ "$2" -lt 90 ]; }
title_blue() { is_blue $(sample 320 400); }
geometry_is() { [ "$(geometry "$1")" = "$2" ]; }  # geometry_is WINDOW "W H X Y"
geometry_steady() { local g; g=$(geometry "$1"); holds 0.5 geometry_is "$1" "$g"; }
controller_below() {  # the controller lies below the video window
  local vw vh vx vy cw ch cx cy
  read -r vw vh vx vy <<<"$(geometry "$video")"
  read -r cw ch cx cy <<<"$(geometry "$control")"
  [ "$cy" -ge $((vy + vh)) ]
}
controller_over_bottom() {  # the controller (or the window given) lies over the screen's lower half
  local cw ch cx cy
  read -r cw ch cx cy <<<"$(geometry "${1:-$control}")"
  [ "$cy" -gt 512 ] && [ $((cy + ch)) -le 1024 ]
}

step "a path that does not exist: a notice, and the program runs on"
launch "$work/no such disc"
n=$(notice)
kill -0 "$app_pid" 2>/dev/null || fail "the program ended"
text=$(screen_text)
grep -q "no such disc.*does not exist" <<<"$text" || fail "the notice does not name the path: $text"
xdotool windowfocus --sync "$n" 2>/dev/null || true
xdotool key --clearmodifiers Return
wait_no_window '^Cannot Open Disc$' 5 || fail "the notice stayed"
quit_app

step "a folder that is not a DVD: a notice"
mkdir -p "$work/holiday photos"
launch "$work/holiday photos"
notice >/dev/null
kill -0 "$app_pid" 2>/dev/null || fail "the program ended"
text=$(screen_text)
grep -q "holiday photos.*is not a DVD" <<<"$text" || fail "the notice does not name the folder: $text"
quit_app

step "full screen fills the screen; the controller follows the mouse; Escape restores"
launch "$discs/frames"
wait_until 10 geometry_steady "$video" || fail "the video window keeps changing: $(geometry "$video")"
before=$(geometry "$video")
keys f
wait_until 5 geometry_is "$video" "1280 1024 0 0" || fail "full screen is $(geometry "$video")"
xdotool search --onlyvisible --name '^Controller$' >/dev/null && fail "the controller shows before the mouse moves"
xdotool mousemove --window "$video" 600 500 sleep 0.2 mousemove --window "$video" 640 520
c=$(wait_window '^Controller$' 5) || fail "the controller did not come with the mouse"
wait_until 5 controller_over_bottom "$c" ||
  fail "the controller is not over the picture's bottom ($(geometry "$c"))"
wait_no_window '^Controller$' 8 || fail "the controller stayed with the mouse at rest"
keys Escape
wait_until 5 geometry_is "$video" "$before" || fail "after Escape the window is $(geometry "$video"), was $before"
off_the_picture() {  # off_the_picture WHEN: the controller lies below the video window
  local vw vh vx vy cw ch cx cy
  read -r vw vh vx vy <<<"$(geometry "$video")"
  read -r cw ch cx cy <<<"$(geometry "$control")"
  [ "$cy" -ge $((vy + vh)) ] || fail "$1 the controller ($cx,$cy) overlaps the video window ($vx,$vy ${vw}x$vh)"
}
off_the_picture "after Escape"

step "the video window grows and shrinks; the controller stays off the picture"
for size in 2 1 2; do
  keys "ctrl+$size"
  width=$((size == 1 ? 320 : 640))
  wait_until 5 has_width "$video" "$width" || fail "at size $size the window is $(geometry "$video")"
  wait_until 5 controller_below || off_the_picture "at size $size"
done
# At maximum size there is no room: over the picture's bottom, as in full screen, and off it
# again once the window is smaller.
keys ctrl+3
wait_until 5 has_width "$video" 1280 || fail "at maximum size the window is $(geometry "$video")"
wait_until 5 controller_over_bottom || fail "at maximum size the controller is at $(geometry "$control")"
keys ctrl+2
wait_until 5 has_width "$video" 640 || fail "back at size 2 the window is $(geometry "$video")"
wait_until 5 controller_below || off_the_picture "back at size 2"

step "Go → Subtitles: a stream shows its subtitle, Off takes it away"
quit_app
launch "$discs/streams"
keys ctrl+2
wait_until 5 has_width "$video" 640 || fail "normal size is $(geometry "$video")"
read -r _ h _ _ <<<"$(geometry "$video")"
menubar=$((h - 480))
wait_until 10 title_blue || fail "the title does not play: $(sample 320 400)"
keys space  # paused inside the subtitle's five seconds
# The English subtitle is a white box at 64,64-192,128 of the 720 x 480 picture.
subtitle_on && fail "a subtitle shows before one is chosen"
go_menu Up 1 1   # Subtitles (the last item), its first stream
wait_until 5 subtitle_on || fail "the English subtitle does not show: $(sample 114 96)"
go_menu Up 1 0   # Subtitles, Off
wait_until 5 subtitle_off || fail "Off left the subtitle on the picture"
go_menu Up 1 1
wait_until 5 subtitle_on || fail "the stream did not bring the subtitle back"
quit_app

step "Go → Titles plays the title chosen, from the disc's menu too"
launch "$discs/menu"
keys ctrl+2
wait_colour grey 200
read -r _ h _ _ <<<"$(geometry "$video")"
menubar=$((h - 480))
# Titles is the first item: every title with its duration (60 frames: 0:02).
go_menu Down 1 -
text=$(screen_text)
xdotool key Escape Escape Escape
wait_until 5 windows_at_most "$menu_base" || fail "Escape left the Go menu open"
grep -q "Title 1 (0:02)" <<<"$text" && grep -q "Title 2 (0:02)" <<<"$text" || fail "Go → Titles lists: $text"
# Its second, title 2 (purple).
go_menu Down 1 1
wait_colour purple 50
quit_app

step "both windows come back where they were after a relaunch"
launch "$discs/frames"
wait_until 10 geometry_steady "$video" || fail "the video window keeps changing: $(geometry "$video")"
xdotool windowmove --sync "$video" 200 40
xdotool windowmove --sync "$control" 260 800
wait_until 5 geometry_steady "$video" && wait_until 5 geometry_steady "$control" ||
  fail "the windows keep moving"
video_at=$(geometry "$video" | cut -d' ' -f3-)
control_at=$(geometry "$control" | cut -d' ' -f3-)
quit_app
launch "$discs/frames"
at_place() { [ "$(geometry "$1" | cut -d' ' -f3-)" = "$2" ]; }
wait_until 5 at_place "$video" "$video_at" || fail "the video window came back at $(geometry "$video"), not $video_at"
wait_until 5 at_place "$control" "$control_at" || fail "the controller came back at $(geometry "$control"), not $control_at"
quit_app
echo "PASS"
