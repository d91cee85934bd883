#!/usr/bin/env bash
# End-to-end in a Wayland session: weston with no screen (its headless back end) and a session
# bus of the test's own, on which a stand-in for the desktop's screen saver writes down what it
# is asked. Tavelo plays the barcoded disc (900 frames, chapters at frames 0, 300 and 600)
# driven over MPRIS as media keys and desktop widgets drive it: it plays and says so, its
# position moves, its metadata names the disc, title and chapter, the screen is kept awake
# while it plays and let go when it pauses; Next shows the next chapter's first frame; a
# Screen quick save (the grab command on the bus, as a desktop shortcut sends it) is the
# picture on screen, read back by its barcode; Quit ends it and lets the screen go; no
# library message reaches the terminal.
#
#   tavelo_wayland_e2e.sh TAVELO_BINARY TEST_DISCS_FOLDER
set -euo pipefail

tavelo=$1
discs=${2:-}
[ -n "$discs" ] && [ -d "$discs/frames/VIDEO_TS" ] || { echo "FAIL: no test discs in '$discs'" >&2; exit 1; }

# Everything runs on a session bus of its own, gone when the test ends.
if [ -z "${TAVELO_E2E_OWN_BUS:-}" ]; then
  TAVELO_E2E_OWN_BUS=1 exec dbus-run-session -- "$0" "$@"
fi

source "$(dirname "$0")/e2e_common.sh"
weston_pid=
saver_pid=
monitor_pid=
wayland_cleanup() {
  local p
  for p in "$app_pid" "$monitor_pid" "$saver_pid" "$weston_pid"; do
    [ -n "$p" ] && kill "$p" 2>/dev/null || true
  done
  if [ "${TAVELO_E2E_KEEP:-}" = "" ]; then rm -rf "$work"; else echo "kept $work"; fi
}

work=$(mktemp -d "${TMPDIR:-/tmp}/tavelo-wayland-e2e.XXXXXX")
trap wayland_cleanup EXIT
export HOME=$work/home XDG_STATE_HOME=$work/state XDG_CONFIG_HOME=$work/config
export XDG_DATA_HOME=$work/data XDG_CACHE_HOME=$work/cache XDG_RUNTIME_DIR=$work/runtime
mkdir -p "$HOME" "$XDG_RUNTIME_DIR" && chmod 700 "$XDG_RUNTIME_DIR"
export DBUS_SYSTEM_BUS_ADDRESS=unix:path=$work/no-system-bus
unset DISPLAY
export LSAN_OPTIONS="${LSAN_OPTIONS:+$LSAN_OPTIONS:}suppressions=$e2e_dir/lsan.supp"
log=$XDG_STATE_HOME/org.tavelo.Tavelo.log
private_pictures

# Every wait looks for its condition for up to a minute (wait_until: longer on a loaded machine).
wait_for() {  # wait_for WHAT COMMAND...: until COMMAND succeeds, or fail naming WHAT
  local what=$1; shift
  wait_until 60 "$@" || fail "waited in vain for $what"
}

mpris=org.mpris.MediaPlayer2.tavelo
path=/org/mpris/MediaPlayer2
call() {  # call INTERFACE.METHOD [ARGS...]: a method of the player
  gdbus call --session --dest "$mpris" --object-path "$path" --method "$@"
}
property() {  # property INTERFACE NAME: its value as gdbus prints it, without the wrapping
  call org.freedesktop.DBus.Properties.Get "$1" "$2" | sed -e 's/^(<//' -e 's/>,)$//'
}
player() { property org.mpris.MediaPlayer2.Player "$1"; }
status_is() { [ "$(player PlaybackStatus)" = "'$1'" ]; }
position() { player Position | sed 's/^int64 //'; }
position_is() { [ "$(position)" = "$1" ]; }
position_past() { [ "$(position)" -gt "$1" ]; }
title_is() { player Metadata | grep -q "'xesam:title': <'$1'>"; }
on_bus() {
  gdbus call --session --dest org.freedesktop.DBus --object-path /org/freedesktop/DBus \
    --method org.freedesktop.DBus.NameHasOwner "$1" 2>/dev/null | grep -q true
}
saver_says() { grep -Eq "$1" "$work/screensaver.log"; }
inhibits() { [ "$(grep -c '^Inhibit ' "$work/screensaver.log")" -ge "$1" ]; }  # inhibits N: N or more

step "weston, headless, and the desktop's screen saver"
/usr/bin/python3 "$e2e_dir/fake_screensaver.py" "$work/screensaver.log" 2>"$work/screensaver.err" &
saver_pid=$!
touch "$work/screensaver.log"
wait_for "the screen saver on the bus" saver_says '^ready$'
weston --backend=headless-backend.so --socket=tavelo-e2e --width=1280 --height=1024 \
  --idle-time=0 --no-config --log="$work/weston.log" >/dev/null 2>&1 &
weston_pid=$!
wait_for "weston's socket" test -S "$XDG_RUNTIME_DIR/tavelo-e2e"
export WAYLAND_DISPLAY=tavelo-e2e QT_QPA_PLATFORM=wayland

step "launch on the barcoded disc, Wayland's own"
"$tavelo" "$discs/frames" >"$work/app.out" 2>"$work/app.err" &
app_pid=$!
wait_for "the player on the bus" on_bus "$mpris"
gdbus monitor --session --dest "$mpris" >"$work/signals.txt" 2>&1 &
monitor_pid=$!
[ "$(property org.mpris.MediaPlayer2 Identity)" = "'Tavelo'" ] || fail "Identity is $(property org.mpris.MediaPlayer2 Identity)"
[ "$(property org.mpris.MediaPlayer2 DesktopEntry)" = "'org.tavelo.Tavelo'" ] ||
  fail "DesktopEntry is $(property org.mpris.MediaPlayer2 DesktopEntry)"

step "it plays, and the screen is kept awake"
wait_for "PlaybackStatus Playing" status_is Playing
wait_for "an Inhibit call" saver_says '^Inhibit Tavelo [0-9]+$'
cookie=$(sed -n 's/^Inhibit Tavelo //p' "$work/screensaver.log" | head -n1)
meta=$(player Metadata)
grep -q "'xesam:title': <'frames, Title 1, Chapter 1'>" <<<"$meta" || fail "Metadata: $meta"
# 900 frames of 1001/30000 s.
grep -q "'mpris:length': <int64 30030000>" <<<"$meta" || fail "no length of 30.03 s: $meta"
grep -q "'mpris:trackid': <objectpath '/org/tavelo/Tavelo/Disc[0-9]*/Title1'>" <<<"$meta" ||
  fail "no track of title 1: $meta"

step "its position moves while it plays"
first=$(position)
[ "$first" -ge 0 ] || fail "position $first"
wait_for "the position to move past $first" position_past "$first"

step "PlayPause pauses, and the screen is let go"
call org.mpris.MediaPlayer2.Player.PlayPause >/dev/null
wait_for "PlaybackStatus Paused" status_is Paused
wait_for "UnInhibit $cookie" saver_says "^UnInhibit $cookie\$"
wait_for "the change of status signalled" grep -q "'PlaybackStatus': <'Paused'>" "$work/signals.txt"

step "Next shows chapter 2's first frame, still paused"
call org.mpris.MediaPlayer2.Player.Next >/dev/null
# Frame 300 starts at 10.010 s.
wait_for "position 10010000" position_is 10010000
wait_for "Metadata of chapter 2" title_is 'frames, Title 1, Chapter 2'
status_is Paused || fail "Next left the status $(player PlaybackStatus)"
wait_for "chapter 2 signalled" grep -q "'xesam:title': <'frames, Title 1, Chapter 2'>" "$work/signals.txt"

step "a Screen quick save is the picture on screen"
call org.tavelo.Tavelo.Grab.QuickSave >/dev/null
saved="$grabs/Tavelo 0000.jpg"
wait_for "$saved" test -s "$saved"
# The view's picture, whatever its size: the barcode is read at the disc's 720 x 480.
convert "$saved" -resize '720x480!' "$work/saved.png"
shown=$(barcode "$work/saved.png")
[ "$shown" = 300 ] || fail "the quick save shows frame $shown ($(identify -format '%wx%h' "$saved")), not 300"
mean=$(convert "$saved" -colorspace gray -format '%[fx:int(mean*255)]' info:)
[ "$mean" -gt 20 ] || fail "the quick save is dark (mean $mean)"

step "Seek goes back 150 frames and is signalled"
call org.mpris.MediaPlayer2.Player.Seek -- -5005000 >/dev/null
wait_for "position 5005000" position_is 5005000
wait_for "the Seeked signal" grep -q "Player.Seeked (int64 5005000,)" "$work/signals.txt"

step "Play keeps the screen awake again; Quit ends it and lets the screen go"
call org.mpris.MediaPlayer2.Player.Play >/dev/null
wait_for "PlaybackStatus Playing" status_is Playing
wait_for "a second Inhibit call" inhibits 2
cookie=$(sed -n 's/^Inhibit Tavelo //p' "$work/screensaver.log" | tail -n1)
call org.mpris.MediaPlayer2.Quit >/dev/null
ended() { ! kill -0 "$app_pid" 2>/dev/null; }
wait_for "the program to end" ended
status=0; wait "$app_pid" || status=$?
app_pid=
[ "$status" = 0 ] || fail "exit status $status"
saver_says "^UnInhibit $cookie\$" || fail "the screen was not let go at quit: $(tr '\n' ' ' <"$work/screensaver.log")"
saver_says '^UnInhibit-unknown' && fail "a cookie never granted was given back"

step "nothing from the libraries on the terminal, nothing failed in the log"
"$e2e_dir/../../library-messages" "$work/app.out" "$work/app.err" >&2 ||
  fail "library messages reached the terminal"
if [ -f "$log" ] && grep -q "FAILED" "$log"; then
  sed 's/^/  log: /' "$log" >&2
  fail "failed checks in the log"
fi
echo "PASS"
