#!/usr/bin/env bash
# End-to-end grabbing on a private X server: play a test disc to chapter 2, quick-grab with
# the menu command and the controller button, check the pictures and their type and
# creator, change the grab defaults, relaunch, copy and save as.
#
#   tavelo_grab_e2e.sh TAVELO_BINARY TEST_DISCS_FOLDER
set -euo pipefail

tavelo=$1
discs=${2:-}
[ -n "$discs" ] && [ -d "$discs/ntsc43/VIDEO_TS" ] || { echo "FAIL: no test discs in '$discs'" >&2; exit 1; }
disc=$discs/ntsc43
source "$(dirname "$0")/e2e_common.sh"
e2e_start tavelo-grab-e2e
mkdir -p "$XDG_CONFIG_HOME"
export XDG_PICTURES_DIR=$HOME/Pictures
mkdir -p "$XDG_PICTURES_DIR"
echo "XDG_PICTURES_DIR=\"\$HOME/Pictures\"" >"$XDG_CONFIG_HOME/user-dirs.dirs"

# Quick saves collect in the "Tavelo" folder inside Pictures while Pictures is the folder choice.
grabs=$XDG_PICTURES_DIR/Tavelo

finder_info() {  # type and creator of a file, 8 characters
  getfattr --only-values -n user.com.apple.FinderInfo "$1" 2>/dev/null | head -c 8
}
check_grab() {  # check_grab FILE TYPECREATOR: the video view's size, the chapter's colour
  local f=$1 size c
  wait_file "$f"
  size=$(identify -format '%wx%h' "$f")
  [ "$size" = "${view_w}x${view_h}" ] || fail "$f is $size, the video view ${view_w}x${view_h}"
  c=$(pixel "$f" $((view_w / 2)) $((view_h / 2)))
  is_colour green $c || fail "$f centre is ($c), not green"
  [ "$(finder_info "$f")" = "$2" ] || fail "$f has type/creator '$(finder_info "$f")', not $2"
}
# Chooses an item of the Grab menu's defaults submenu: grab_default N (0 = the first item,
# separators not counted) through the keyboard, from the first menu of the menu bar.
grab_default() {
  local base
  xdotool windowfocus --sync "$video" 2>/dev/null || true
  base=$(app_windows)
  xdotool mousemove --window "$video" 20 $((menubar / 2)) click 1
  wait_until 5 windows_at_least $((base + 1)) || fail "the first menu did not open"
  # Tavelo, File, Edit, Controls, Video, Grab: five to the right; the submenu is last.
  xdotool key Right Right Right Right Right
  xdotool key Up Right
  wait_until 5 windows_at_least $((base + 2)) || fail "the grab defaults submenu did not open"
  for _ in $(seq "$1"); do xdotool key Down; done
  xdotool key Return
  wait_until 5 windows_at_most "$base" || fail "the menu stayed open"
}
play_to_chapter_2() {
  keys ctrl+2
  wait_colour red 200
  keys ctrl+Right
  wait_colour green 30
  keys space  # paused on chapter 2
  wait_settled 5 || fail "paused, the picture does not stand still"
  read -r w h _ _ <<<"$(geometry "$video")"
  menubar=$((h - 480))
  view_w=640 view_h=480
}

launch "$disc"
step "play to chapter 2"
play_to_chapter_2
[ -d "$XDG_PICTURES_DIR/Tavelo" ] || fail "no Tavelo folder in Pictures"

step "quick grab with the menu command (Ctrl+G)"
keys ctrl+g
check_grab "$grabs/Tavelo 0000.jpg" JPEGprvw

step "quick grab with the controller button"
read -r cw ch _ _ <<<"$(geometry "$control")"
# The button sits left of the 80x60 thumbnail at the right end of the lower row.
xdotool mousemove --window "$control" $((cw - 130)) $((ch - 40)) click 1 mousemove 1270 1010
check_grab "$grabs/Tavelo 0001.jpg" JPEGprvw

step "the thumbnail shows the last grab"
import -window "$control" "$work/control.png"
c=$(pixel "$work/control.png" $((cw - 48)) $((ch - 40)))
is_colour green $c || fail "thumbnail centre is ($c), not green"

step "copy puts TIFF and PNG on the clipboard"
keys ctrl+c
targets=$(timeout 5 xclip -selection clipboard -t TARGETS -o) || fail "no clipboard targets"
echo "$targets" | grep -qx image/tiff || fail "no image/tiff in: $targets"
echo "$targets" | grep -qx image/png || fail "no image/png in: $targets"
timeout 5 xclip -selection clipboard -t image/png -o >"$work/clip.png"
[ "$(identify -format '%wx%h' "$work/clip.png")" = "${view_w}x${view_h}" ] || fail "clipboard picture size"

step "save as writes where the dialog was pointed"
mkdir -p "$work/chosen"
keys ctrl+shift+s
panel=$(wait_window 'Save' 10) || fail "no save panel"
xdotool windowfocus --sync "$panel" 2>/dev/null || true
wait_until 5 is_active "$panel" || fail "the save panel does not take the keys"
xdotool key ctrl+a
xdotool type --delay 5 "$work/chosen/picked"
xdotool key Return
wait_file "$work/chosen/picked.jpg"
[ "$(identify -format '%wx%h' "$work/chosen/picked.jpg")" = "${view_w}x${view_h}" ] || fail "saved picture size"

step "default type PNG and creator Photoshop"
grab_default 2   # Save as PNG
grab_default 8   # Open with PhotoShop
quit_app
grep -q 'DefaultFileTypeSelectorGroup=selectDefault_SavePNG:' "$XDG_CONFIG_HOME/Tavelo/Tavelo.conf" ||
  fail "the type choice was not saved: $(cat "$XDG_CONFIG_HOME/Tavelo/Tavelo.conf")"

step "relaunch: the choices are restored"
rm -f "$grabs"/Tavelo\ *
launch "$disc"
play_to_chapter_2
keys ctrl+g
check_grab "$grabs/Tavelo 0000.png" PNGf8BIM
quit_app

if [ -f "$log" ] && grep -q "FAILED" "$log"; then
  sed 's/^/  log: /' "$log" >&2
  fail "the log has failed checks"
fi
echo "PASS"
