# Sourced by the end-to-end scripts: a private X server and environment, and the helpers that
# drive the program's windows. Expects `tavelo`; `key_pause` (seconds after a key) may be set.
# e2e_start sets `work` and `log`; launch sets `app_pid`, `video` and `control`.

key_pause=${key_pause:-0.4}
work=
xvfb_pid=
app_pid=
e2e_dir=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)

cleanup() {
  [ -n "$app_pid" ] && kill "$app_pid" 2>/dev/null || true
  [ -n "$xvfb_pid" ] && kill "$xvfb_pid" 2>/dev/null || true
  if [ "${TAVELO_E2E_KEEP:-}" = "" ]; then rm -rf "$work"; else echo "kept $work"; fi
}

fail() { echo "FAIL: $*" >&2; [ -f "$work/app.err" ] && sed 's/^/  app: /' "$work/app.err" >&2; exit 1; }
step() { echo "-- $*"; }

e2e_start() {  # e2e_start NAME: a work folder, a display of our own, private home and XDG folders
  work=$(mktemp -d "${TMPDIR:-/tmp}/$1.XXXXXX")
  trap cleanup EXIT

  # Xvfb names a free display.
  exec 3> "$work/display"
  Xvfb -displayfd 3 -screen 0 1280x1024x24 -nolisten tcp >"$work/xvfb.log" 2>&1 &
  xvfb_pid=$!
  for _ in $(seq 100); do [ -s "$work/display" ] && break; sleep 0.05; done
  [ -s "$work/display" ] || fail "Xvfb did not start"
  export DISPLAY=":$(head -n1 "$work/display")"

  # No session or system bus.
  export HOME=$work/home XDG_STATE_HOME=$work/state XDG_CONFIG_HOME=$work/config
  export XDG_DATA_HOME=$work/data XDG_CACHE_HOME=$work/cache XDG_RUNTIME_DIR=$work/runtime
  mkdir -p "$HOME" "$XDG_RUNTIME_DIR" && chmod 700 "$XDG_RUNTIME_DIR"
  export DBUS_SYSTEM_BUS_ADDRESS=unix:path=$work/no-system-bus
  unset DBUS_SESSION_BUS_ADDRESS
  export QT_QPA_PLATFORM=xcb
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
  "$tavelo" "$@" >"$work/app.out" 2>"$work/app.err" &
  app_pid=$!
  video=$(timeout 30 xdotool search --sync --onlyvisible --name '^Tavelo$' | head -n1) || fail "no video window"
  control=$(timeout 30 xdotool search --sync --onlyvisible --name '^Controller$' | head -n1) || fail "no controller window"
  xdotool windowfocus --sync "$video" 2>/dev/null || true
}

quit_app() {
  step "quit (Ctrl+Q)"
  keys ctrl+q
  for _ in $(seq 100); do kill -0 "$app_pid" 2>/dev/null || break; sleep 0.1; done
  kill -0 "$app_pid" 2>/dev/null && fail "still running after Ctrl+Q"
  local status=0; wait "$app_pid" || status=$?
  app_pid=
  [ "$status" = 0 ] || fail "exit status $status"
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
  for _ in $(seq 100); do [ -s "$1" ] && return 0; sleep 0.1; done
  fail "no file $1 (have: $(ls -R "${XDG_PICTURES_DIR:-$work}" 2>/dev/null | tr '\n' ' '))"
}

pixel() {  # pixel IMAGE X Y: R G B
  convert "$1" -crop "1x1+$2+$3" -depth 8 txt:- 2>/dev/null |
    sed -n 's/.*(\([0-9]*\),\([0-9]*\),\([0-9]*\).*/\1 \2 \3/p' | head -n1
}
video_colour() {  # the colour at three quarters down the middle of the video window: R G B
  local g w h
  g=$(geometry "$video"); w=${g%% *}; h=$(echo "$g" | cut -d' ' -f2)
  import -window "$video" "$work/now.png" 2>/dev/null || return 0
  pixel "$work/now.png" $((w / 2)) $((h * 3 / 4))
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
wait_colour() {  # wait_colour NAME TENTHS: until the video shows that colour
  local c=
  for _ in $(seq "$2"); do
    c=$(video_colour); [ -n "$c" ] && is_colour "$1" $c && return 0; sleep 0.1
  done
  fail "the video shows ($c), not $1"
}

barcode() {  # barcode IMAGE [TOP LEFT WIDTH]: the frame number the barcoded discs burn into
  # rows 8-40 of each 720-wide picture (16 blocks, most significant first), read from the
  # picture at TOP,LEFT shown WIDTH wide (the whole image by default); -1 when unreadable
  local image=$1 top=${2:-0} left=${3:-0} w=${4:-} value=0 r g b
  [ -n "$w" ] || w=$(identify -format '%w' "$image")
  convert "$image" -crop "${w}x1+$left+$((top + 24))" +repage -depth 8 txt:- >"$work/row.txt"
  for i in $(seq 0 15); do
    read -r r g b <<<"$(sed -n "s/^$(((i * 45 + 22) * w / 720)),0: (\([0-9]*\),\([0-9]*\),\([0-9]*\).*/\1 \2 \3/p" "$work/row.txt")"
    if [ "${g:-128}" -ge 192 ]; then value=$((value * 2 + 1))
    elif [ "${g:-128}" -le 64 ]; then value=$((value * 2))
    else echo -1; return; fi
  done
  echo "$value"
}

screen_text() {  # screen_text: the words in the program's windows (menus, tips and notices too),
  # read with OCR, on one line
  local id n=0
  for id in $(xdotool search --onlyvisible --pid "$app_pid" 2>/dev/null); do
    n=$((n + 1))
    # A tip or menu may close while it is read: import then waits for ever for its window.
    timeout 10 import -window "$id" "$work/window-$n.png" 2>/dev/null || continue
    # Three times the size reads best; a second time in negative, for light text on a highlight.
    convert "$work/window-$n.png" -resize 300% -colorspace gray "$work/window-$n-ocr.png"
    convert "$work/window-$n-ocr.png" -negate "$work/window-$n-negative.png"
    timeout 30 tesseract "$work/window-$n-ocr.png" - 2>/dev/null; echo "|"
    timeout 30 tesseract "$work/window-$n-negative.png" - 2>/dev/null; echo "|"
  done | tr -s '\n ' '  '
}
