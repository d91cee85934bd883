# Sourced by the end-to-end scripts: a private X server and environment, and the helpers that
# drive the program's windows. Expects `tavelo`; `key_pause` (seconds after a key, at most 0.2)
# may be set. e2e_start sets `work` and `log`; launch sets `app_pid`, `video` and `control`.
# The scripts wait for what they look for (a window, a file, a colour, a barcode, words) with
# wait_until, never for a fixed time; its limits grow with TAVELO_TIME_SCALE (scripts/test sets
# it from the machine's load).

key_pause=$(awk -v p="${key_pause:-0.1}" 'BEGIN { print (p > 0.2 ? 0.2 : p) }')
time_scale=${TAVELO_TIME_SCALE:-1}
work=
xvfb_pid=
app_pid=
e2e_dir=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
# Windows are read with window-probe (built beside the program; CTest names it): the scripts
# look many times a second, and ImageMagick's import took a tenth of a second of CPU a look.
probe=${TAVELO_WINDOW_PROBE:-}
[ -x "$probe" ] || { echo "FAIL: TAVELO_WINDOW_PROBE names no window-probe ('$probe')" >&2; exit 1; }

now_ms() { echo $(( ${EPOCHREALTIME/./} / 1000 )); }
scaled_ms() { awk -v s="$1" -v k="$time_scale" 'BEGIN { printf "%d\n", s * (k < 1 ? 1 : k) * 1000 }'; }
scaled_s() { awk -v s="$1" -v k="$time_scale" 'BEGIN { printf "%d\n", s * (k < 1 ? 1 : k) + 0.999 }'; }

wait_until() {  # wait_until SECONDS CMD...: runs CMD every 0.1 s until it succeeds; fails (1)
  # once SECONDS, scaled by the machine's load, have passed without
  local end
  end=$(($(now_ms) + $(scaled_ms "$1"))); shift
  until "$@"; do
    [ "$(now_ms)" -lt "$end" ] || return 1
    sleep 0.1
  done
}
holds() {  # holds SECONDS CMD...: CMD keeps succeeding for SECONDS (looked at every 0.1 s);
  # fails (1) as soon as it does not. The time watched is not scaled.
  local end
  end=$(($(now_ms) + $(awk -v s="$1" 'BEGIN { printf "%d\n", s * 1000 }'))); shift
  while [ "$(now_ms)" -lt "$end" ]; do
    "$@" || return 1
    sleep 0.1
  done
  "$@"
}
# A search can fail on its own when another window goes while it runs: the id found is kept.
window_shown() {  # window_shown NAME (leaves the first such window's id in `found_window`)
  found_window=$(xdotool search --onlyvisible --name "$1" 2>/dev/null | head -n1)
  [ -n "$found_window" ]
}
window_gone() { ! window_shown "$1"; }
wait_window() {  # wait_window NAME SECONDS: prints the visible window's id, or fails (1)
  wait_until "$2" window_shown "$1" || return 1
  echo "$found_window"
}
wait_no_window() { wait_until "$2" window_gone "$1"; }  # wait_no_window NAME SECONDS

cleanup() {
  [ -n "$app_pid" ] && kill "$app_pid" 2>/dev/null || true
  [ -n "$xvfb_pid" ] && kill "$xvfb_pid" 2>/dev/null || true
  if [ "${TAVELO_E2E_KEEP:-}" = "" ]; then rm -rf "$work"; else echo "kept $work"; fi
}

fail() {
  echo "FAIL: $*" >&2
  [ -f "$work/app.err" ] && sed 's/^/  app: /' "$work/app.err" >&2
  if grep -q 'could not connect to display' "$work/app.err" 2>/dev/null; then
    sed 's/^/  xvfb: /' "$work/xvfb.log" >&2
  fi
  exit 1
}
step() { echo "-- $*"; }

display_ours() {  # the server answering DISPLAY is the one this test started
  # When two tests draw one number at once, the second server fails on the first's lock while
  # xdpyinfo reaches the first, which goes when its test ends.
  kill -0 "$xvfb_pid" 2>/dev/null && xdpyinfo >/dev/null 2>&1 &&
    [ "$(tr -d ' \n' <"/tmp/.X${DISPLAY#:}-lock" 2>/dev/null)" = "$xvfb_pid" ]
}
start_display() {  # an Xvfb of this test's own, at a number drawn at random: a number another
  # test's server has just let go can lose its socket to that server's clean-up. -noreset: the
  # server starts over whenever its last client leaves (xdpyinfo, a program that quit), and a
  # program connecting meanwhile is refused ("could not connect to display").
  local n tries=0
  while :; do
    n=$((100 + RANDOM % 900))
    if [ ! -e "/tmp/.X$n-lock" ] && [ ! -e "/tmp/.X11-unix/X$n" ]; then
      Xvfb ":$n" -screen 0 1280x1024x24 -nolisten tcp -noreset >"$work/xvfb.log" 2>&1 &
      xvfb_pid=$!
      export DISPLAY=":$n"
      wait_until 5 display_ours && return 0
      kill "$xvfb_pid" 2>/dev/null || true
      wait "$xvfb_pid" 2>/dev/null || true
    fi
    tries=$((tries + 1))
    [ "$tries" -lt 10 ] || fail "Xvfb did not start"
  done
}

e2e_start() {  # e2e_start NAME: a work folder, a display of our own, private home and XDG folders
  work=$(mktemp -d "${TMPDIR:-/tmp}/$1.XXXXXX")
  trap cleanup EXIT

  start_display

  # No session or system bus.
  export HOME=$work/home XDG_STATE_HOME=$work/state XDG_CONFIG_HOME=$work/config
  export XDG_DATA_HOME=$work/data XDG_CACHE_HOME=$work/cache XDG_RUNTIME_DIR=$work/runtime
  mkdir -p "$HOME" "$XDG_RUNTIME_DIR" && chmod 700 "$XDG_RUNTIME_DIR"
  export DBUS_SYSTEM_BUS_ADDRESS=unix:path=$work/no-system-bus
  unset DBUS_SESSION_BUS_ADDRESS
  export QT_QPA_PLATFORM=xcb
  # Pictures are drawn in software unless a test asks for the GPU (Mesa's llvmpipe here).
  export TAVELO_VIDEO_OUTPUT=${TAVELO_VIDEO_OUTPUT:-software}
  # Sanitizer builds: a third-party leak is not ours to report.
  export LSAN_OPTIONS="${LSAN_OPTIONS:+$LSAN_OPTIONS:}suppressions=$e2e_dir/lsan.supp"
  log=$XDG_STATE_HOME/org.tavelo.Tavelo.log
}

private_pictures() {  # a Pictures folder of the test's own; quick saves go to `grabs`
  export XDG_PICTURES_DIR=$HOME/Pictures
  mkdir -p "$XDG_PICTURES_DIR" "$XDG_CONFIG_HOME"
  echo "XDG_PICTURES_DIR=\"\$HOME/Pictures\"" >"$XDG_CONFIG_HOME/user-dirs.dirs"
  grabs=$XDG_PICTURES_DIR/Tavelo
}

grab_decoded_frames() {  # grabs take the decoded frame at its stored size (saved choices)
  mkdir -p "$XDG_CONFIG_HOME/Tavelo"
  printf '[General]\n%s\n%s\n' 'GrabSourceSelectorGroup=selectDefault_GrabVideoFrame:' \
    'GrabSizeSelectorGroup=selectDefault_SizeStored:' >"$XDG_CONFIG_HOME/Tavelo/Tavelo.conf"
}

launch() {  # launch [PATH]
  step "launch ${1:-(no disc)}"
  if ! display_ours; then
    echo "   the display $DISPLAY no longer answers as this test's own: a new one"
    sed 's/^/   xvfb: /' "$work/xvfb.log"
    kill "$xvfb_pid" 2>/dev/null || true
    start_display
  fi
  "$tavelo" "$@" >"$work/app.out" 2>"$work/app.err" &
  app_pid=$!
  wait_until 30 video_or_exit || true
  app_gone && fail "the program ended at launch"
  video=$(wait_window '^Tavelo$' 30) || fail "no video window"
  control=$(wait_window '^Controller$' 30) || fail "no controller window"
  xdotool windowfocus --sync "$video" 2>/dev/null || true
}

app_gone() { ! kill -0 "$app_pid" 2>/dev/null; }
video_or_exit() { window_shown '^Tavelo$' || app_gone; }
quit_app() {
  step "quit (Ctrl+Q)"
  keys ctrl+q
  wait_until 10 app_gone || fail "still running after Ctrl+Q"
  local status=0; wait "$app_pid" || status=$?
  app_pid=
  [ "$status" = 0 ] || fail "exit status $status"
  if [ "$TAVELO_VIDEO_OUTPUT" = gpu ]; then
    grep -q '^video on the GPU: OpenGL renderer' "$log" || fail "the pictures were not drawn on the GPU"
  fi
  # Decoder and disc library messages go to the diagnostic log, never to the terminal.
  "$e2e_dir/../../library-messages" "$work/app.out" "$work/app.err" >&2 ||
    fail "library messages reached the terminal"
}

geometry() {  # WIDTH HEIGHT X Y of a window
  xdotool getwindowgeometry --shell "$1" | awk -F= '/^(WIDTH|HEIGHT|X|Y)=/{v[$1]=$2} END{print v["WIDTH"], v["HEIGHT"], v["X"], v["Y"]}'
}
keys() {
  xdotool windowfocus --sync "$video" 2>/dev/null || true
  xdotool key --clearmodifiers "$@"
  sleep "$key_pause"
}

wait_file() {  # wait_file PATH: up to 10 s; the failure lists what the Pictures folder has
  wait_until 10 test -s "$1" && return 0
  fail "no file $1 (have: $(ls -R "${XDG_PICTURES_DIR:-$work}" 2>/dev/null | tr '\n' ' '))"
}

pixel() {  # pixel IMAGE X Y: R G B
  convert "$1" -crop "1x1+$2+$3" -depth 8 txt:- 2>/dev/null |
    sed -n 's/.*(\([0-9]*\),\([0-9]*\),\([0-9]*\).*/\1 \2 \3/p' | head -n1
}
video_colour() {  # the colour at three quarters down the middle of the video window: R G B
  local w h
  read -r w h _ _ <<<"$(geometry "$video")"
  "$probe" pixel "$video" $((w / 2)) $((h * 3 / 4)) 2>/dev/null || true
}
is_colour() {  # is_colour NAME R G B
  local r=$2 g=$3 b=$4
  case $1 in
    red) [ "$r" -gt 150 ] && [ "$g" -lt 90 ] && [ "$b" -lt 90 ] ;;
    green) [ "$g" -gt 90 ] && [ "$r" -lt 90 ] && [ "$b" -lt 90 ] ;;
    orange) [ "$r" -gt 180 ] && [ "$g" -gt 70 ] && [ "$g" -lt 200 ] && [ "$b" -lt 80 ] ;;
    purple) [ "$r" -gt 90 ] && [ "$b" -gt 90 ] && [ "$g" -lt 60 ] ;;
    grey) [ "$r" -gt 60 ] && [ "$r" -lt 220 ] && [ $((r - g)) -lt 20 ] && [ $((g - r)) -lt 20 ] &&
          [ $((g - b)) -lt 20 ] && [ $((b - g)) -lt 20 ] ;;
    *) return 1 ;;
  esac
}
shows_colour() {  # shows_colour NAME: the video shows that colour now (it is left in `colour`)
  colour=$(video_colour)
  [ -n "$colour" ] && is_colour "$1" $colour
}
wait_colour() {  # wait_colour NAME TENTHS: until the video shows that colour
  colour=
  wait_until "$(($2 / 10)).$(($2 % 10))" shows_colour "$1" || fail "the video shows ($colour), not $1"
}

video_sum() { "$probe" sum "$video" 2>/dev/null || echo none; }
video_settled() {  # video_settled: the video window looks as it did when last looked at
  local was=${settled_sum:-}
  settled_sum=$(video_sum)
  [ "$settled_sum" = "$was" ]
}
video_moving() { ! video_settled; }
wait_settled() { settled_sum=; wait_until "$1" video_settled; }  # wait_settled SECONDS
wait_moving() { settled_sum=$(video_sum); wait_until "$1" video_moving; }  # wait_moving SECONDS
has_width() { [ "$(geometry "$1" | cut -d' ' -f1)" = "$2" ]; }  # has_width WINDOW WIDTH
app_windows() { xdotool search --onlyvisible --pid "$app_pid" 2>/dev/null | wc -l; }  # menus and tips too
windows_at_least() { [ "$(app_windows)" -ge "$1" ]; }  # windows_at_least N
windows_at_most() { [ "$(app_windows)" -le "$1" ]; }  # windows_at_most N
is_active() { [ "$(xdotool getwindowfocus -f 2>/dev/null)" = "$1" ]; }  # is_active WINDOW: has the keyboard
screen_shows() { text=$(screen_text); grep -qF -- "$1" <<<"$text"; }  # screen_shows TEXT (leaves `text`)

barcode() {  # barcode IMAGE: the frame number the barcoded discs burn into a saved picture,
  # read as on screen (window-probe, from the picture as PPM); -1 when unreadable
  local w
  convert "$1" -depth 8 "$work/barcode.ppm" 2>/dev/null && w=$(identify -format '%w' "$1") ||
    { echo -1; return; }
  "$probe" barcode "$work/barcode.ppm" 0 0 "$w"
}

screen_text() {  # screen_text [WINDOW...]: the words in the program's windows (menus, tips and
  # notices too) but those given, read with OCR, on one line; " | " between windows
  local id n=0 list=$work/ocr-list.txt
  : >"$list"
  for id in $(xdotool search --onlyvisible --pid "$app_pid" 2>/dev/null); do
    [[ " $* " == *" $id "* ]] && continue
    n=$((n + 1))
    # A tip or menu may close while it is read.
    "$probe" ppm "$id" "$work/window-$n.ppm" 2>/dev/null || continue
    # Three times the size reads best; a second time in negative, for light text on a highlight.
    convert "$work/window-$n.ppm" -resize 300% -colorspace gray -write "$work/window-$n-ocr.pgm" \
      -negate "$work/window-$n-negative.pgm"
    printf '%s\n' "$work/window-$n-ocr.pgm" "$work/window-$n-negative.pgm" >>"$list"
  done
  # One tesseract for all of them: loading its model is most of a run's time.
  [ -s "$list" ] || return 0
  timeout 60 tesseract "$list" - 2>/dev/null | sed 's/\f/ | /g' | tr -s '\n ' '  ' || true
}

shown_frame() {  # shown_frame: the number the barcoded picture in the video window carries, at
  # normal size (480 rows under the menu bar, the window's width); -1 when unreadable
  local w h
  read -r w h _ _ <<<"$(geometry "$video")"
  "$probe" barcode "$video" $((h - 480)) 0 "$w" 2>/dev/null || echo -1
}
shows_frame() { frame=$(shown_frame); [ "$frame" = "$1" ]; }  # shows_frame N (leaves `frame`)
shown_frame_readable() { frame=$(shown_frame); [ "$frame" -ge 0 ]; }  # (leaves `frame`)

go_menu() {  # go_menu KEY N DOWN: Go, N presses of KEY (Up: from its bottom, Down: from its
            # top) to a submenu, then its item DOWN from the top (-: the submenu left open).
            # Needs `menubar`, the menu bar's height in the video window.
  xdotool windowfocus --sync "$video" 2>/dev/null || true
  menu_base=$(app_windows)
  xdotool mousemove --window "$video" 20 $((menubar / 2)) click 1
  wait_until 5 windows_at_least $((menu_base + 1)) || fail "the first menu did not open"
  # Tavelo, File, Edit, Controls, Video, Grab, Go: six to the right.
  for _ in 1 2 3 4 5 6; do xdotool key Right; done
  for _ in $(seq "$2"); do xdotool key "$1"; done
  xdotool key Right
  wait_until 5 windows_at_least $((menu_base + 2)) || fail "the Go menu's submenu did not open"
  [ "$3" = - ] && return  # left open
  for _ in $(seq "$3"); do xdotool key Down; done
  xdotool key Return
  wait_until 5 windows_at_most "$menu_base" || fail "the menu stayed open"
}
