#!/usr/bin/env bash
# End-to-end batch grabs on a private X server: Grab -> Batch Grab... (Ctrl+Shift+B) takes
# the first frame of each chapter of the barcoded disc into the quick-save folder while the
# video keeps playing; a batch of one still a second stopped with Cancel (Escape) leaves
# only whole pictures.
#
#   tavelo_batch_e2e.sh TAVELO_BINARY TEST_DISCS_FOLDER
set -euo pipefail

tavelo=$1
discs=${2:-}
[ -n "$discs" ] && [ -d "$discs/frames/VIDEO_TS" ] || { echo "FAIL: no test discs in '$discs'" >&2; exit 1; }
disc=$discs/frames
source "$(dirname "$0")/e2e_common.sh"
e2e_start tavelo-batch-e2e
private_pictures

dialog_keys() {  # dialog_keys KEY...: to the batch dialog
  xdotool windowfocus --sync "$dialog" 2>/dev/null || true
  xdotool key --clearmodifiers "$@"
  sleep "$key_pause"
}
video_shot() { import -window "$video" "$work/$1.png" 2>/dev/null; }
jpegs_at_least() { [ "$(ls "$grabs" 2>/dev/null | grep -c '\.jpg$')" -ge "$1" ]; }
batch_running() { pgrep -P "$app_pid" -f tavelo-grab >/dev/null; }
batch_stopped() { ! batch_running; }

launch "$disc"
wait_moving 30 || fail "the video does not play"

step "Batch Grab... opens the dialog"
keys ctrl+shift+b
dialog=$(wait_window '^Batch Grab$' 20) || fail "no batch dialog"

step "a chapters batch (the default) writes one picture a chapter while the video plays"
video_shot before
dialog_keys Return
wait_until 15 jpegs_at_least 3 || true
wait_until 10 batch_stopped || fail "the chapters batch does not end"
video_shot during
[ "$(ls "$grabs" | grep -c '\.jpg$')" = 3 ] || fail "chapters batch wrote: $(ls "$grabs" | tr '\n' ' ')"
frames=$(for f in "$grabs"/*.jpg; do barcode "$f"; done | sort -n | tr '\n' ' ')
[ "$frames" = "0 300 600 " ] || fail "chapter stills show frames $frames"
compare -metric AE "$work/before.png" "$work/during.png" null: 2>"$work/ae.txt" || true
[ "$(cut -d' ' -f1 <"$work/ae.txt" | cut -d. -f1)" -gt 1000 ] || fail "the video stood still during the batch"
ls -A "$grabs" | grep -v '\.jpg$' && fail "other files left: $(ls -A "$grabs")"

step "a batch of one a second, cancelled, leaves only whole pictures"
rm -f "$grabs"/*.jpg
dialog_keys Escape  # closes the finished batch's dialog
wait_no_window '^Batch Grab$' 10 || fail "Escape did not close the finished batch's dialog"
keys ctrl+shift+b
dialog=$(wait_window '^Batch Grab$' 20) || fail "no batch dialog again"
# The first field chooses what to take: one every so many seconds; the next, how many: 1.
dialog_keys Down Tab ctrl+a
xdotool type --delay 50 "1"
dialog_keys Return
wait_until 10 jpegs_at_least 2 || fail "the second batch wrote $(ls "$grabs" | grep -c '\.jpg$' || true) pictures"
dialog_keys Escape
wait_until 10 batch_stopped || fail "tavelo-grab still running after the cancel"
n=$(ls "$grabs" | grep -c '\.jpg$' || true)
[ "$n" -ge 2 ] || fail "the second batch wrote $n pictures before the cancel"
[ "$n" -lt 30 ] || fail "the cancel did not stop the batch ($n pictures)"
for f in "$grabs"/*.jpg; do djpeg "$f" >/dev/null 2>"$work/djpeg.err" || fail "$f is not whole: $(cat "$work/djpeg.err")"
  [ -s "$work/djpeg.err" ] && fail "$f is not whole: $(cat "$work/djpeg.err")"; done
ls -A "$grabs" | grep -v '\.jpg$' && fail "other files left: $(ls -A "$grabs")"
xdotool search --onlyvisible --name '^Batch Grab$' >/dev/null || fail "the cancel closed the dialog instead of stopping the batch"
dialog_keys Escape
wait_no_window '^Batch Grab$' 5 || fail "Escape with no batch running should close the dialog"

quit_app
echo "PASS"
