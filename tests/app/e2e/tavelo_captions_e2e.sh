#!/usr/bin/env bash
# End-to-end closed captions, on a private X server: on the caption disc (title 1 carries
# line-21 captions, "THE QUICK BROWN FOX / JUMPS OVER 42" from frame 152 to 233; title 2 the
# same pictures without), Go → Subtitles lists "Closed captions" and, chosen, the caption is
# drawn over the picture (white letters on a black box near the bottom) at the second chapter's
# first frame (180), paused; a quick save of the decoded frame carries it; Off takes it away;
# on title 2 the menu does not list captions.
#
#   tavelo_captions_e2e.sh TAVELO_BINARY TEST_DISCS_FOLDER   (the caption disc in ../captions)
set -euo pipefail

tavelo=$1
discs=${2:-}
disc=$(dirname "${discs:-.}")/captions/captions
[ -n "$discs" ] && [ -d "$disc/VIDEO_TS" ] ||
  { echo "FAIL: no caption disc in '$disc' (authored by tests/media/author-captions)" >&2; exit 1; }
source "$(dirname "$0")/e2e_common.sh"
e2e_start tavelo-captions-e2e
private_pictures
grab_decoded_frames
printf '%s\n' 'GrabIncludeSubtitles=true' >>"$XDG_CONFIG_HOME/Tavelo/Tavelo.conf"

close_menus() {  # after go_menu KEY N -
  xdotool key Escape Escape Escape
  wait_until 5 windows_at_most "$menu_base" || fail "a menu stayed open"
}
# The share of black pixels (every channel dark: the blue bar behind is dark in grey) where
# the caption's box lies, 120 x 45 stored pixels under the centre, in an image of the picture
# at TOP,LEFT shown WIDTH x HEIGHT.
dark_share() {  # dark_share IMAGE TOP LEFT WIDTH HEIGHT
  local x=$(($3 + 300 * $4 / 720)) y=$(($2 + 400 * $5 / 480)) w=$((120 * $4 / 720)) h=$((45 * $5 / 480))
  convert "$1" -crop "${w}x${h}+$x+$y" +repage -fx 'r<0.15 && g<0.15 && b<0.15' -format '%[fx:mean]' info:
}
is_boxed() { awk -v s="$1" 'BEGIN { exit !(s > 0.3) }'; }
caption_on() {
  "$probe" ppm "$video" "$work/video.ppm" 2>/dev/null || return 1
  share=$(dark_share "$work/video.ppm" "$menubar" 0 640 480)
  is_boxed "$share"
}
caption_off() { ! caption_on; }

lists_captions() {  # Go → Subtitles names "Closed captions" (the menu closed again)
  go_menu Up 1 -
  text=$(screen_text)
  close_menus
  grep -q "Closed captions" <<<"$text"
}

launch "$disc"
keys ctrl+2
wait_until 5 has_width "$video" 640 || fail "normal size is $(geometry "$video")"
read -r _ h _ _ <<<"$(geometry "$video")"
menubar=$((h - 480))
keys space
wait_until 10 shown_frame_readable || fail "no barcoded picture on screen"

step "Go → Subtitles lists Closed captions on the captioned title and draws them"
wait_until 30 lists_captions || fail "Go → Subtitles lists: $text"
go_menu Up 1 1   # Off, Closed captions
keys ctrl+Right  # the second chapter, frame 180, paused: in the caption of frames 152-233
wait_until 10 shows_frame 180 || fail "the second chapter shows frame $frame"
wait_until 20 caption_on || fail "no caption over the picture (dark share $share)"

step "a quick save of the decoded frame carries the caption"
keys ctrl+g
wait_until 10 ls "$grabs"/*.jpg >/dev/null 2>&1 || fail "no quick save in $grabs"
saved=$(ls "$grabs"/*.jpg | head -n1)
[ "$(barcode "$saved")" = 180 ] || fail "the quick save carries frame $(barcode "$saved")"
share=$(dark_share "$saved" 0 0 720 480)
is_boxed "$share" || fail "the quick save has no caption (dark share $share)"

step "Off takes the caption away"
go_menu Up 1 0
wait_until 10 caption_off || fail "Off left the caption (dark share $share)"

step "a title without captions does not list them"
keys space        # playing again
go_menu Up 4 1    # Go → Titles (the fourth from the bottom), its second: title 2
wait_until 30 screen_shows "Title 2" || fail "title 2 does not play: $text"
lists_captions && fail "Go → Subtitles lists closed captions on title 2: $text"
quit_app
echo PASS
