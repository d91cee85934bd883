#!/usr/bin/env bash
# Windowed playback against mpv, side by side in one run on one private X server (Xvfb): the
# CPU time (user + system, every thread) each player's process takes over 20 s of the authored
# 60 s NTSC title playing in a 1440 x 1080 picture. Tavelo's GPU output against
# mpv --vo=gpu on the same OpenGL driver through the same binding (EGL on X11, the one mpv has
# on Debian; Mesa's llvmpipe where there is no GPU, as on Xvfb), and Tavelo's software output
# against mpv --vo=x11. Rounds take turns so that a busy
# moment of the machine falls on all alike; the medians are compared. Builds in release mode
# and authors the test discs:
#   bench/gpu_playback.sh [build-dir [extra cmake options...]]
# BENCH_ROUNDS sets the rounds (3 by default).
set -euo pipefail
source "$(dirname "$0")/disc_bench.sh"
disc_bench_setup tavelo "$@"
tavelo=$(dirname "$(dirname "$bench")")/app/tavelo
work=$(mktemp -d)
xvfb_pid=
cleanup() {
  [ -n "$xvfb_pid" ] && kill "$xvfb_pid" 2>/dev/null || true
  rm -rf "$work"
}
trap cleanup EXIT
exec 3>"$work/display"
Xvfb -displayfd 3 -screen 0 1920x1200x24 -nolisten tcp >"$work/xvfb.log" 2>&1 &
xvfb_pid=$!
for _ in $(seq 100); do [ -s "$work/display" ] && break; sleep 0.05; done
export DISPLAY=":$(head -n1 "$work/display")"
# Private folders, no sound server (both players keep time without one), no session bus.
export HOME=$work/home XDG_STATE_HOME=$work/state XDG_CONFIG_HOME=$work/config
export XDG_RUNTIME_DIR=$work/runtime QT_QPA_PLATFORM=xcb
mkdir -p "$HOME" "$XDG_RUNTIME_DIR" && chmod 700 "$XDG_RUNTIME_DIR"
unset DBUS_SESSION_BUS_ADDRESS PULSE_SERVER

python3 - "$tavelo" "$discs/long" "$work" "${BENCH_ROUNDS:-3}" <<'PY'
import json, os, re, socket, statistics, subprocess, sys, time

tavelo, disc, work, rounds = sys.argv[1], sys.argv[2], sys.argv[3], int(sys.argv[4])
WIDTH, HEIGHT = 1440, 1080
WARM_UP, MEASURED = 3.0, 20.0
TICK = os.sysconf("SC_CLK_TCK")

def cpu_seconds(pid):
    fields = open(f"/proc/{pid}/stat").read().rsplit(")", 1)[1].split()
    return (int(fields[11]) + int(fields[12])) / TICK  # utime, stime

def xdotool(*args):
    return subprocess.run(["xdotool", *args], check=True, stdout=subprocess.PIPE,
                          text=True).stdout.split()

def window(name):
    ids = subprocess.run(["timeout", "30", "xdotool", "search", "--sync", "--onlyvisible",
                          "--name", name], check=True, stdout=subprocess.PIPE,
                         text=True).stdout.split()
    return ids[0]

def children(win):
    """(width, height, y) of the windows under win."""
    tree = subprocess.run(["xwininfo", "-tree", "-id", win], check=True,
                          stdout=subprocess.PIPE, text=True).stdout
    return [(int(w), int(h), int(y))
            for w, h, y in re.findall(r"\s(\d+)x(\d+)\+-?\d+\+(-?\d+)\s", tree)]

def measure(proc):
    """CPU seconds of proc over MEASURED s of playback, from WARM_UP s after its window."""
    time.sleep(WARM_UP)
    start = cpu_seconds(proc.pid)
    time.sleep(MEASURED)
    if proc.poll() is not None:
        raise SystemExit(f"{proc.args[0]} ended while measured")
    return cpu_seconds(proc.pid) - start

def ended(proc):
    try:
        proc.wait(timeout=30)
    except subprocess.TimeoutExpired:
        proc.kill()
        proc.wait()
        raise SystemExit(f"{proc.args[0]} did not quit")

menu_bar = None
log = os.path.join(os.environ["XDG_STATE_HOME"], "org.tavelo.Tavelo.log")

def run_tavelo(output):
    """Tavelo with TAVELO_VIDEO_OUTPUT=output, its video view at 1440 x 1080."""
    global menu_bar
    env = dict(os.environ, TAVELO_VIDEO_OUTPUT=output, QT_XCB_GL_INTEGRATION="xcb_egl")
    started = time.monotonic()
    proc = subprocess.Popen([tavelo, disc], env=env, stdout=subprocess.DEVNULL,
                            stderr=subprocess.DEVNULL, stdin=subprocess.DEVNULL)
    video = window("^Tavelo$")
    # The controller goes beside the picture, not over it.
    xdotool("windowmove", "--sync", window("^Controller$"), str(WIDTH + 10), "0")
    if menu_bar is None:
        # The GPU output's window covers the view: its top is the menu bar's height.
        views = children(video)
        if output != "gpu" or len(views) != 1:
            raise SystemExit("run the GPU output first: its view tells the menu bar's height")
        menu_bar = views[0][2]
    # The window keeps its picture's aspect: at this height the view is 1440 x 1080.
    xdotool("windowsize", "--sync", video, str(WIDTH), str(HEIGHT + menu_bar))
    xdotool("windowmove", "--sync", video, "0", "0")
    for _ in range(50):
        if output != "gpu" or (WIDTH, HEIGHT, menu_bar) in children(video):
            break
        time.sleep(0.1)
    else:
        raise SystemExit(f"Tavelo's view is not {WIDTH}x{HEIGHT}: {children(video)}")
    cpu = measure(proc)
    total = cpu_seconds(proc.pid)
    xdotool("windowfocus", "--sync", video)
    xdotool("key", "ctrl+q")
    ended(proc)
    seconds = time.monotonic() - started
    drawn = re.findall(r"video output: (\d+) pictures drawn \((\w+)\)", open(log).read())
    if not drawn or drawn[-1][1] != output:
        raise SystemExit(f"Tavelo did not tell the pictures it drew with the {output} output")
    pictures = int(drawn[-1][0])
    each = total * 1000 / max(1, pictures)
    return cpu, each, (f"{pictures} pictures drawn in {seconds:.1f} s from its start, "
                       f"{each:.1f} ms CPU each")

def run_mpv(vo):
    sock_path = os.path.join(work, "mpv.sock")
    args = ["mpv", "--no-config", "--ao=null", "--vo=" + vo, "--really-quiet", "--no-border",
            f"--geometry={WIDTH}x{HEIGHT}+0+0", "--title=mpv-bench", "--dvd-device=" + disc,
            "--input-ipc-server=" + sock_path, "dvd://"]
    if vo == "gpu":
        args[4:4] = ["--gpu-api=opengl", "--gpu-context=x11egl"]
    proc = subprocess.Popen(args, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL,
                            stdin=subprocess.DEVNULL)
    window("^mpv-bench$")
    shown = time.monotonic()
    cpu = measure(proc)
    total = cpu_seconds(proc.pid)
    sock = socket.socket(socket.AF_UNIX)
    sock.connect(sock_path)
    sock.sendall(b'{"command": ["get_property", "frame-drop-count"], "request_id": 1}\n'
                 b'{"command": ["get_property", "estimated-frame-number"], "request_id": 2}\n'
                 b'{"command": ["quit"]}\n')
    replies, buffer = {}, b""
    while len(replies) < 2:
        data = sock.recv(65536)
        if not data:
            break
        buffer += data
        while b"\n" in buffer:
            line, buffer = buffer.split(b"\n", 1)
            message = json.loads(line)
            if message.get("request_id") in (1, 2):
                replies[message["request_id"]] = message.get("data")
    ended(proc)
    seconds = time.monotonic() - shown
    shown = (replies.get(2) or 0) - (replies.get(1) or 0)
    each = total * 1000 / max(1, shown)
    return cpu, each, (f"at frame {replies.get(2)} after {seconds:.1f} s, {replies.get(1)} "
                       f"dropped, {each:.1f} ms CPU a frame shown")

runs = {"tavelo gpu": [], "mpv gpu": [], "tavelo software": [], "mpv x11": []}
notes = {k: [] for k in runs}
each = {k: [] for k in runs}
def record(name, result):
    runs[name].append(result[0])
    each[name].append(result[1])
    notes[name].append(result[2])
for _ in range(rounds):
    record("tavelo gpu", run_tavelo("gpu"))
    record("mpv gpu", run_mpv("gpu"))
    record("tavelo software", run_tavelo("software"))
    record("mpv x11", run_mpv("x11"))
# The OpenGL driver each uses.
ours_renderer = re.findall(r"video on the GPU: OpenGL renderer (.*)", open(log).read())
mpv_renderer = re.findall(r"GL_RENDERER='([^']*)'", subprocess.run(
    ["mpv", "--no-config", "--ao=null", "--vo=gpu", "--gpu-api=opengl", "--gpu-context=x11egl",
     "--frames=1", "-v", "--dvd-device=" + disc, "dvd://"], stdout=subprocess.PIPE,
    stderr=subprocess.STDOUT, stdin=subprocess.DEVNULL, text=True).stdout)
print(f"OpenGL driver: Tavelo {ours_renderer[-1] if ours_renderer else '?'}, "
      f"mpv {mpv_renderer[-1] if mpv_renderer else '?'}")
print(f"Windowed playback, {WIDTH}x{HEIGHT}, CPU s over {MEASURED:.0f} s of the 60 s title "
      f"(medians of {rounds} rounds taking turns):")
med = {k: statistics.median(v) for k, v in runs.items()}
for k, v in runs.items():
    print(f"  {k:16} {med[k]:7.2f}  ({' '.join(f'{x:.2f}' for x in v)}); {'; '.join(notes[k])}")
print(f"GPU: Tavelo / mpv --vo=gpu {med['tavelo gpu'] / med['mpv gpu']:.2f} (target at most 1.0)")
print(f"software: Tavelo / mpv --vo=x11 {med['tavelo software'] / med['mpv x11']:.2f} "
      f"(target at most 0.8)")
# Where the driver cannot keep up (llvmpipe on a busy machine) both drop pictures: the CPU
# time of each whole run a picture shown compares the work for the same result.
per = {k: statistics.median(v) for k, v in each.items()}
print(f"CPU a picture shown, ms (medians): GPU {per['tavelo gpu']:.1f} / {per['mpv gpu']:.1f} = "
      f"{per['tavelo gpu'] / per['mpv gpu']:.2f}; software {per['tavelo software']:.1f} / "
      f"{per['mpv x11']:.1f} = {per['tavelo software'] / per['mpv x11']:.2f}")
PY
