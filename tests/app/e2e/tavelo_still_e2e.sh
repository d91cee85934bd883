#!/usr/bin/env bash
# End-to-end stills from the decoded picture on a private X server: with "Video Frame" and
# "Stored Size" chosen, quick saves after stepping with "." and "," carry exactly the stepped
# frames' numbers (the barcoded disc burns each frame's number into its picture); the choices
# are saved at quit.
#
#   tavelo_still_e2e.sh TAVELO_BINARY TEST_DISCS_FOLDER
set -euo pipefail

tavelo=$1
discs=${2:-}
[ -n "$discs" ] && [ -d "$discs/frames/VIDEO_TS" ] || { echo "FAIL: no test discs in '$discs'" >&2; exit 1; }
disc=$discs/frames
source "$(dirname "$0")/e2e_common.sh"
e2e_start tavelo-still-e2e
private_pictures
grab_decoded_frames

grab() {  # grab N: quick save number N; prints its barcode
  keys ctrl+g
  local f
  f=$(printf '%s/Tavelo %04d.jpg' "$grabs" "$1")
  wait_file "$f"
  [ "$(identify -format '%wx%h' "$f")" = 720x480 ] || fail "$f is $(identify -format '%wx%h' "$f"), not the stored 720x480"
  barcode "$f"
}

launch "$disc"
keys ctrl+2  # normal size: the barcode on screen can be read
wait_until 10 has_width "$video" 640 || fail "normal size is not 640 wide"
step "play, then pause"
wait_moving 30 || fail "the picture does not move"
keys space
wait_settled 10 || fail "paused, the picture does not stand still"

step "a quick save is the decoded frame on screen"
first=$(grab 0)
[ "$first" -ge 0 ] || fail "the first grab's barcode cannot be read"
wait_until 10 shows_frame "$first" || fail "frame $first grabbed, frame $frame on screen"

step "three steps forward with '.'"
keys period period period
wait_until 10 shows_frame $((first + 3)) || fail "after three steps from $first the screen shows $frame"
second=$(grab 1)
[ "$second" = $((first + 3)) ] || fail "after three steps from $first the grab shows $second"

step "one step back with ','"
keys comma
wait_until 10 shows_frame $((first + 2)) || fail "after a step back from $second the screen shows $frame"
third=$(grab 2)
[ "$third" = $((first + 2)) ] || fail "after a step back from $second the grab shows $third"

quit_app
grep -q 'GrabSourceSelectorGroup=selectDefault_GrabVideoFrame:' "$XDG_CONFIG_HOME/Tavelo/Tavelo.conf" ||
  fail "the source choice was not kept: $(cat "$XDG_CONFIG_HOME/Tavelo/Tavelo.conf")"
grep -q 'GrabIncludeSubtitles=true' "$XDG_CONFIG_HOME/Tavelo/Tavelo.conf" ||
  fail "the subtitles choice was not saved"
if [ -f "$log" ] && grep -q "FAILED" "$log"; then
  sed 's/^/  log: /' "$log" >&2
  fail "the log has failed checks"
fi
echo "PASS"
