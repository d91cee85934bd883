#!/usr/bin/env bash
# End-to-end tour of a disc that looks like one, on a private X server: its menu shows with
# the first button highlighted, the arrow keys move the highlight and Return plays the title;
# the title's picture moves and stands still while paused; quick saves are the picture on
# screen; Ctrl+M brings the menu back; a title returns to the menu at its end. With
# TAVELO_E2E_SHOTS set, the README's pictures are saved into that folder.
#
#   tavelo_tour_e2e.sh TAVELO_BINARY TEST_DISCS_FOLDER
set -euo pipefail

tavelo=$1
discs=${2:-}
[ -n "$discs" ] && [ -d "$discs/tour/VIDEO_TS" ] || { echo "FAIL: no tour disc in '$discs'" >&2; exit 1; }
disc=$discs/tour
source "$(dirname "$0")/e2e_common.sh"
e2e_start tavelo-tour-e2e
private_pictures
shots=${TAVELO_E2E_SHOTS:-}
[ -z "$shots" ] || mkdir -p "$shots"

# The picture fills a 640 x 480 view below the menu bar at normal size; the disc's 720 x 480
# pictures are shown 8/9 as wide.
view() {  # view FILE: the video view as it is now
  "$probe" ppm "$video" "$1" "640x480+0+$menubar" 2>/dev/null
}
band() {  # band FILE OUT: the menu's title and the line under it (no buttons)
  convert "$1" -crop 640x160+0+0 +repage "$2"
}
difference() {  # difference A B: how far two pictures are apart, in thousandths (RMSE)
  local out
  # Softened, so that JPEG's noise on fine detail does not count.
  convert "$1" -blur 0x1.5 "$work/a.png"; convert "$2" -blur 0x1.5 "$work/b.png"
  out=$(compare -metric RMSE "$work/a.png" "$work/b.png" null: 2>&1 || true)
  echo "$out" | sed -n 's/.*(\([0-9.e-]*\)).*/\1/p' | awk '{ printf "%d\n", $1 * 1000 }'
}
is_yellow() { [ "$1" -gt 170 ] && [ "$2" -gt 150 ] && [ "$3" -lt 110 ]; }
is_dark() { [ "$1" -lt 70 ] && [ "$2" -lt 70 ] && [ "$3" -lt 110 ]; }
highlighted() {  # highlighted N: the yellow frame is round button N (left edge, halfway down)
  view "$work/hl.ppm"
  is_yellow $(pixel "$work/hl.ppm" $(( (40 + 216 * ($1 - 1) + 3) * 8 / 9 )) 280)
}
wait_highlight() {  # wait_highlight N TENTHS
  wait_until "$(($2 / 10)).$(($2 % 10))" highlighted "$1" && return 0
  fail "button $1 is not highlighted: ($(pixel "$work/hl.ppm" $(( (40 + 216 * ($1 - 1) + 3) * 8 / 9 )) 280))"
}
menu_back() {  # menu_back: the menu's title band is on screen (its distance left in `d`)
  view "$work/now.ppm"; band "$work/now.ppm" "$work/nowband.png"
  d=$(difference "$work/nowband.png" "$work/menuband.png")
  [ "$d" -lt 30 ]
}
wait_menu() {  # wait_menu TENTHS: the menu's title band is on screen again
  d=
  wait_until "$(($1 / 10)).$(($1 % 10))" menu_back ||
    fail "the menu did not come back (its title band is $d/1000 away)"
}
# Pictures of the view compared with one kept: `d` is left with the distance.
moved_from() { view "$work/now.ppm"; d=$(difference "$work/now.ppm" "$1"); [ "$d" -gt "$2" ]; }
same_as() { view "$work/now.ppm"; d=$(difference "$work/now.ppm" "$1"); [ "$d" -lt 3 ]; }
standing_still() { view "$1"; holds 1 same_as "$1"; }  # standing_still FILE: kept in FILE
check_grab() {  # check_grab N [PICTURE]: quick save N is the view's size (and PICTURE)
  local f d
  f=$(printf '%s/Tavelo %04d.jpg' "$grabs" "$1")
  wait_file "$f"
  [ "$(identify -format '%wx%h' "$f")" = 640x480 ] || fail "$f is $(identify -format '%wx%h' "$f"), not 640x480"
  [ -n "${2:-}" ] || return 0
  d=$(difference "$f" "$2")
  [ "$d" -lt 40 ] || fail "$f is $d/1000 away from the picture on screen"
}
shot() {  # shot WINDOW NAME: a picture for the README, the window raised above the others
  [ -n "$shots" ] || return 0
  xdotool windowraise "$1"; sleep 0.2
  import -window "$1" "$shots/$2"
}

launch "$disc"
# The pointer stays off the picture: a button under it would take the highlight.
xdotool mousemove 1270 1010
keys ctrl+2
wait_until 5 has_width "$video" 640 || true
read -r w h _ _ <<<"$(geometry "$video")"
menubar=$((h - 480))
[ "$w" = 640 ] && [ "$menubar" -gt 0 ] && [ "$menubar" -lt 120 ] || fail "normal size gives a ${w}x${h} window"

step "the disc starts on its menu, the first button highlighted"
menu_shown() {
  view "$work/menu.ppm"
  colours=$(identify -format '%k' "$work/menu.ppm")
  [ "$colours" -gt 500 ] && is_dark $(pixel "$work/menu.ppm" 8 470) && highlighted 1
}
wait_until 20 menu_shown || true
[ "$colours" -gt 500 ] || fail "the menu's picture has only $colours colours"
is_dark $(pixel "$work/menu.ppm" 8 470) || fail "the menu's background is ($(pixel "$work/menu.ppm" 8 470)), not dark"
wait_highlight 1 5
highlighted 2 && fail "buttons 1 and 2 are both highlighted"
band "$work/menu.ppm" "$work/menuband.png"
shot "$video" disc-menu.png

step "Right moves the highlight to button 2, Left back to 1"
keys Right
wait_highlight 2 20
highlighted 1 && fail "button 1 kept its highlight"
keys Left
wait_highlight 1 20

step "Return plays title 1, whose picture moves"
keys Return
wait_until 5 moved_from "$work/menu.ppm" 100 || fail "the menu stayed after Return"
view "$work/t1a.ppm"
wait_until 5 moved_from "$work/t1a.ppm" 10 || fail "the title's picture does not move ($d/1000)"

step "Space pauses: the picture stands still; a quick save is that picture"
keys space
wait_until 6 standing_still "$work/p2.ppm" || fail "the paused picture changed by $d/1000"
keys ctrl+g
check_grab 0 "$work/p2.ppm"
shot "$video" video-window.png

step "played again, a second quick save has the picture that moved on"
keys space
wait_until 5 moved_from "$work/p2.ppm" 10 || fail "played again, the picture does not move ($d/1000)"
keys ctrl+g
check_grab 1
d=$(difference "$grabs/Tavelo 0000.jpg" "$grabs/Tavelo 0001.jpg")
[ "$d" -gt 10 ] || fail "the two quick saves are only $d/1000 apart"

step "Ctrl+M brings the menu back; Right and Return play the test card"
keys ctrl+m
wait_menu 50
wait_highlight 1 20
keys Right
wait_highlight 2 20
keys Return
# Its colour bars: red on the left, blue right of the middle.
test_card() {
  view "$work/t2.ppm"
  read -r r g b <<<"$(pixel "$work/t2.ppm" 53 440)"; read -r r2 g2 b2 <<<"$(pixel "$work/t2.ppm" 373 440)"
  [ "$r" -gt 150 ] && [ "$g" -lt 90 ] && [ "$b2" -gt 150 ] && [ "$r2" -lt 90 ]
}
wait_until 5 test_card || fail "no test card: ($r $g $b) and ($r2 $g2 $b2)"
keys space
wait_until 6 standing_still "$work/t2.ppm" || fail "the paused test card changed by $d/1000"
keys ctrl+g
check_grab 2 "$work/t2.ppm"

step "the controller shows the last grab"
xdotool windowraise "$control"
read -r cw ch _ _ <<<"$(geometry "$control")"
thumbnail_shown() {  # the last grab's 80 x 60 thumbnail, at the right end of the lower row
  "$probe" ppm "$control" "$work/thumb.ppm" "60x40+$((cw - 78))+$((ch - 60))" || return 1
  colours=$(identify -format '%k' "$work/thumb.ppm")
  [ "$colours" -gt 20 ]
}
wait_until 5 thumbnail_shown || fail "the last grab's thumbnail has $colours colours"
shot "$control" controller-window.png

step "played on, the title returns to the menu at its end"
keys space
wait_menu 150

step "About box opens and a click closes it"
base=$(app_windows)
xdotool mousemove --window "$video" 20 $((menubar / 2)) click 1
wait_until 5 windows_at_least $((base + 1)) || fail "the first menu did not open"
xdotool mousemove --window "$video" 50 $((menubar + 12)) click 1
about=$(wait_window '^AboutTavelo.pdf$' 5) || fail "no About box"
shot "$about" about-box.png
xdotool mousemove --window "$about" 60 60 click 1 mousemove 1270 1010
wait_no_window '^AboutTavelo.pdf$' 3 || fail "About box still open"

quit_app
if [ -f "$log" ] && grep -q "FAILED" "$log"; then
  sed 's/^/  log: /' "$log" >&2
  fail "the log has failed checks"
fi
echo "PASS"
