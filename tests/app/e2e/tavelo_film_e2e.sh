#!/usr/bin/env bash
# End-to-end frame steps on film, on a private X server: on the soft-telecined disc (480
# film frames carried at 29.97 by pulldown flags, each picture barcoded with its film frame
# number), "." shows the next film frame every time and "," the previous one, read from the
# video window after each key; a quick save afterwards ("Video Frame", "Stored Size") carries
# the film frame on screen.
#
#   tavelo_film_e2e.sh TAVELO_BINARY TEST_DISCS_FOLDER   (film discs in ../film beside it)
set -euo pipefail

tavelo=$1
discs=${2:-}
film=$(dirname "${discs:-.}")/film
[ -n "$discs" ] && [ -d "$film/soft/VIDEO_TS" ] ||
  { echo "FAIL: no film discs in '$film' (authored by tests/media/author-film)" >&2; exit 1; }
disc=$film/soft
steps=40
# Keys are followed by waits for what they do, not by pauses of their own.
key_pause=0.05
source "$(dirname "$0")/e2e_common.sh"
e2e_start tavelo-film-e2e
private_pictures
grab_decoded_frames


# At normal size (Ctrl+2) the 16:9 picture is 853 x 480, under the menu bar, the window's
# full width: one screen row per picture row, so the barcode's rows are where window-probe looks.
shown() {  # shown: the film frame number on screen, -1 when unreadable
  "$probe" barcode "$video" $((win_h - 480)) 0 "$win_w" 2>/dev/null || echo -1
}
wait_shown() {  # wait_shown NOT SECONDS: until a readable number other than NOT is on screen
  local end=$(($(now_ms) + $(scaled_ms "$2"))) n
  while :; do
    n=$(shown)
    [ "$n" -ge 0 ] && [ "$n" != "$1" ] && { echo "$n"; return 0; }
    [ "$(now_ms)" -lt "$end" ] || { echo "$n"; return 1; }
    sleep 0.05
  done
}
wait_still() {  # wait_still SECONDS: until the same readable number stays for 0.6 s
  local end=$(($(now_ms) + $(scaled_ms "$1"))) n last=-1 since=0
  while [ "$(now_ms)" -lt "$end" ]; do
    n=$(shown)
    if [ "$n" -ge 0 ] && [ "$n" = "$last" ]; then
      [ $(($(now_ms) - since)) -ge 600 ] && { echo "$n"; return 0; }
    else
      last=$n; since=$(now_ms)
    fi
    sleep 0.1
  done
  echo "$last"; return 1
}

launch "$disc"
step "normal size, 16:9"
keys ctrl+2
# The disc's aspect may reach the window after the first Ctrl+2.
for i in $(seq 100); do
  read -r win_w win_h _ _ <<<"$(geometry "$video")"
  [ "$win_w" -ge 850 ] && [ "$win_w" -le 856 ] && break
  [ $((i % 20)) = 0 ] && keys ctrl+2
  sleep 0.1
done
[ "$win_w" -ge 850 ] && [ "$win_w" -le 856 ] || fail "at normal size the window is ${win_w}x$win_h, not 16:9 at 480"

step "playing, then paused"
first=$(wait_shown -1 30) || fail "no barcode readable on screen ($first)"
moved=$(wait_shown "$first" 10) || fail "the picture does not move while playing (film frame $first)"
keys space
start=$(wait_still 10) || fail "after pausing the picture does not stand still (last read $start)"
echo "   paused at film frame $start"
[ $((start + steps)) -lt 480 ] || fail "paused at film frame $start, too near an end to step $steps"

step_to() {  # step_to KEY DELTA: $steps presses, each a new film frame DELTA from the last
  local key=$1 delta=$2 at=$start now seen="$start" i t0
  for i in $(seq "$steps"); do
    # Paused, the picture stands still: whatever changes next is this key's doing.
    now=$(shown)
    [ "$now" = "$at" ] || fail "paused at film frame $at, the screen shows $now before '$key' $i (seen:$seen)"
    t0=$(now_ms)
    keys "$key"
    now=$(wait_shown "$at" 5) ||
      fail "'$key' $i from film frame $at: still film frame $at after 5 s (seen:$seen)"
    [ "$now" = $((at + delta)) ] ||
      fail "'$key' $i from film frame $at shows film frame $now, not $((at + delta)) (seen:$seen $now)"
    at=$now; seen="$seen $now"
    slowest=$(( $(now_ms) - t0 > slowest ? $(now_ms) - t0 : slowest ))
  done
  echo "   seen:$seen"
  start=$at
}
slowest=0
step "$steps steps forward with '.'"
step_to period 1
step "$steps steps back with ','"
step_to comma -1
echo "   slowest step ${slowest} ms"

step "a quick save carries the film frame on screen"
keys ctrl+g
saved=$(printf '%s/Tavelo %04d.jpg' "$grabs" 0)
wait_file "$saved"
[ "$(identify -format '%wx%h' "$saved")" = 720x480 ] ||
  fail "$saved is $(identify -format '%wx%h' "$saved"), not the stored 720x480"
grabbed=$(barcode "$saved")
[ "$grabbed" = "$start" ] || fail "the quick save shows film frame $grabbed, the screen $start"
[ "$(shown)" = "$start" ] || fail "after the quick save the screen shows film frame $(shown), not $start"

quit_app
if [ -f "$log" ] && grep -q "FAILED" "$log"; then
  sed 's/^/  log: /' "$log" >&2
  fail "the log has failed checks"
fi
echo "PASS"
