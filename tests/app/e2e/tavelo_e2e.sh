#!/usr/bin/env bash
# End-to-end run of the program on a private X server: launch (with a test disc when the
# authored discs exist), check the windows, the size commands, the controller toggle and
# the About box, quit with Ctrl+Q, and check the diagnostic log.
#
#   tavelo_e2e.sh TAVELO_BINARY [TEST_DISCS_FOLDER]
set -euo pipefail

tavelo=$1
discs=${2:-}
source "$(dirname "$0")/e2e_common.sh"

# The help command opens the offline page that lies beside the program.
grep -q "Tavelo 0001" "$(dirname "$tavelo")/help/index.html" ||
  { echo "FAIL: no offline help page beside $tavelo" >&2; exit 1; }

e2e_start tavelo-e2e

disc=
if [ -n "$discs" ] && [ -d "$discs/ntsc43/VIDEO_TS" ]; then disc=$discs/ntsc43; fi

check_log() {
  step "log"
  # The log is named after the bundle identifier; no other log file appears.
  local other
  other=$(find "$XDG_STATE_HOME" -maxdepth 1 -name '*.log' ! -name 'org.tavelo.Tavelo.log' 2>/dev/null)
  [ -z "$other" ] || fail "unexpected log file $other"
  # Navigation keys pressed off a disc menu are refused by the service, logged on purpose.
  local expected='code : DVDDoUserNavigation \(kDVDUserNavigation(MoveUp|MoveDown|Enter)\) in GrabDVDController:'
  if [ -f "$log" ] && grep "FAILED" "$log" | grep -Eqv "$expected"; then
    sed 's/^/  log: /' "$log" >&2
    fail "the log has failed checks"
  fi
}

wait_size() {  # wait until the video window is WIDTH wide
  wait_until 5 has_width "$video" "$1" || fail "video window is $(geometry "$video" | cut -d' ' -f1) wide, not $1"
}

launch ${disc:+"$disc"}

if [ -n "$disc" ]; then
  step "the first picture is chapter 1 (red); Space pauses and plays; the next scene is green"
  wait_colour red 200
  keys space
  holds 5 shows_colour red || fail "paused picture is ($colour), not red"
  keys space
  # Chapter 1 has more than two seconds left: green this soon is the skip.
  keys ctrl+Right
  wait_colour green 15

  step "a click on the time switches to remaining time and back"
  keys space  # paused, the time stands still
  read -r _ ch _ _ <<<"$(geometry "$control")"
  # The time is the first field of the lower row (90 wide, its upper half; the row is 60 high).
  time_area() { "$probe" sum "$control" "100x50+0+$((ch - 65))" 2>/dev/null || echo none; }
  time_is() { t=$(time_area); [ "$t" = "$1" ]; }
  # Paused, the time stands still (it changes once a second while playing).
  time_steady() { t0=$(time_area); holds 1.2 time_is "$t0"; }
  wait_until 6 time_steady || fail "paused, the time does not stand still"
  time_is_not() { t=$(time_area); [ "$t" != "$1" ]; }
  # The pointer leaves after each click, so nothing but the text can differ.
  xdotool mousemove --window "$control" 40 $((ch - 55)) click 1 mousemove 1270 1010
  wait_until 5 time_is_not "$t0" || fail "the time field did not change on a click"
  t1=$t
  xdotool mousemove --window "$control" 40 $((ch - 55)) click 1 mousemove 1270 1010
  wait_until 5 time_is "$t0" || fail "a second click did not bring the elapsed time back"
  [ "$t0" != "$t1" ] || fail "the time field did not change on a click"
  keys space
fi

step "normal size (Ctrl+2)"
keys ctrl+2
wait_size 640
read -r w h _ _ <<<"$(geometry "$video")"
menubar=$((h - 480))
[ "$menubar" -gt 0 ] && [ "$menubar" -lt 120 ] || fail "normal size gives a ${w}x${h} window"

step "small size (Ctrl+1)"
keys ctrl+1
wait_size 320
read -r w h _ _ <<<"$(geometry "$video")"
[ "$h" -ge $((240 + menubar)) ] && [ "$h" -le $((240 + 4 * menubar)) ] || fail "small size gives ${w}x${h}"

step "maximum size (Ctrl+3): 4:3 on 1280x1024 is 1280 wide, at the top-left"
keys ctrl+3
wait_size 1280
read -r w h x y <<<"$(geometry "$video")"
[ "$x" = 0 ] && [ "$y" = 0 ] || fail "maximum window at $x,$y"
[ "$h" = $((960 + menubar)) ] || fail "maximum size gives ${w}x${h}"

keys ctrl+2
wait_size 640

step "controller hides and shows (Ctrl+K)"
keys ctrl+k
wait_no_window '^Controller$' 3 || fail "controller still visible"
keys ctrl+k
wait_window '^Controller$' 5 >/dev/null || fail "controller not shown again"

step "About box opens and a click closes it"
xdotool windowfocus --sync "$video" 2>/dev/null || true
# The first menu's first item, just below the menu bar.
base=$(app_windows)
xdotool mousemove --window "$video" 20 $((menubar / 2)) click 1
wait_until 5 windows_at_least $((base + 1)) || fail "the first menu did not open"
xdotool mousemove --window "$video" 50 $((menubar + 12)) click 1
about=$(wait_window '^AboutTavelo.pdf$' 5) || fail "no About box"
xdotool mousemove --window "$about" 60 60 click 1
wait_no_window '^AboutTavelo.pdf$' 3 || fail "About box still open"

quit_app
check_log

if [ -n "$discs" ] && [ -d "$discs/menu/VIDEO_TS" ]; then
  launch "$discs/menu"
  step "the disc starts on its grey menu; a click on button 1 plays the orange title"
  keys ctrl+2
  wait_size 640
  wait_colour grey 200
  # Button 1 is (96,192)-(288,288) of the 720x480 picture, shown in 640x480.
  xdotool mousemove --window "$video" $((192 * 640 / 720)) $((menubar + 240)) click 1
  wait_colour orange 50
  step "keyboard navigation and space reach the window"
  # The 2-second title returns to the menu; Right and Return there play title 2.
  wait_colour grey 60
  xdotool mousemove --window "$video" 5 $((menubar + 470))
  keys Right Return
  wait_colour purple 50
  # Paused, the title stays on screen past its end; played again, it returns to the menu.
  keys space
  holds 3 shows_colour purple || fail "paused, the title left its picture: ($colour)"
  keys space
  wait_colour grey 60
  quit_app
  check_log
elif [ -n "$discs" ]; then
  fail "no menu disc in $discs"
fi

if [ -n "$discs" ] && [ -f "$discs/ntsc43.iso" ]; then
  launch "$discs/ntsc43.iso"
  step "a disc image opens as a volume and plays"
  wait_colour red 200
  quit_app
  check_log
elif [ -n "$discs" ]; then
  fail "no disc image in $discs"
fi
echo "PASS"
