#!/usr/bin/env bash
# End-to-end on a private X server: a path that does not exist and a folder that is not a
# DVD, given on the command line, bring a notice while the program keeps running; full screen
# (F) fills the screen, the controller comes over the picture with the mouse and goes when it
# rests, and Escape gives the window back its place; the controller sits below the video
# window, and both come back where they were after a relaunch.
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

step "a path that does not exist: a notice, and the program runs on"
launch "$work/no such disc"
n=$(notice)
kill -0 "$app_pid" 2>/dev/null || fail "the program ended"
xdotool windowfocus --sync "$n" 2>/dev/null || true
xdotool key --clearmodifiers Return
sleep 0.5
xdotool search --onlyvisible --name '^Cannot Open Disc$' >/dev/null && fail "the notice stayed"
quit_app

step "a folder that is not a DVD: a notice"
mkdir -p "$work/holiday photos"
launch "$work/holiday photos"
notice >/dev/null
kill -0 "$app_pid" 2>/dev/null || fail "the program ended"
quit_app

step "full screen fills the screen; the controller follows the mouse; Escape restores"
launch "$discs/frames"
sleep 1
before=$(geometry "$video")
keys f
sleep 1
read -r w h x y <<<"$(geometry "$video")"
[ "$w $h $x $y" = "1280 1024 0 0" ] || fail "full screen is $w x $h at $x,$y"
xdotool search --onlyvisible --name '^Controller$' >/dev/null && fail "the controller shows before the mouse moves"
xdotool mousemove --window "$video" 600 500 sleep 0.2 mousemove --window "$video" 640 520
sleep 0.5
c=$(xdotool search --onlyvisible --name '^Controller$' | head -n1) || fail "the controller did not come with the mouse"
read -r cw ch cx cy <<<"$(geometry "$c")"
[ "$cy" -gt 512 ] && [ $((cy + ch)) -le 1024 ] || fail "the controller is not over the picture's bottom ($cx,$cy $cw x $ch)"
sleep 3
xdotool search --onlyvisible --name '^Controller$' >/dev/null && fail "the controller stayed with the mouse at rest"
keys Escape
sleep 1
[ "$(geometry "$video")" = "$before" ] || fail "after Escape the window is $(geometry "$video"), was $before"
read -r vw vh vx vy <<<"$(geometry "$video")"
read -r cw ch cx cy <<<"$(geometry "$control")"
[ "$cy" -ge $((vy + vh)) ] || fail "the controller ($cx,$cy) overlaps the video window ($vx,$vy ${vw}x$vh)"

step "both windows come back where they were after a relaunch"
xdotool windowmove --sync "$video" 200 40
xdotool windowmove --sync "$control" 260 800
sleep 0.5
video_at=$(geometry "$video" | cut -d' ' -f3-)
control_at=$(geometry "$control" | cut -d' ' -f3-)
quit_app
launch "$discs/frames"
sleep 1
[ "$(geometry "$video" | cut -d' ' -f3-)" = "$video_at" ] || fail "the video window came back at $(geometry "$video"), not $video_at"
[ "$(geometry "$control" | cut -d' ' -f3-)" = "$control_at" ] || fail "the controller came back at $(geometry "$control"), not $control_at"
quit_app
grep -E "libdvdnav|libdvdread|\[mpeg2video|\[ac3|\[mp2" "$work/app.err" && fail "library messages reached the terminal"
echo "PASS"
