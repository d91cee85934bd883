#!/usr/bin/env bash
# A Video Frame quick save against the peers, side by side in one run, on the authored 60 s
# NTSC title paused on the same frame (frame 900, 30.03 s): ours from the grab command to a
# 640 x 480 JPEG on disk; mpv (dvd://, paused, exact seek) from its screenshot-to-file
# command through the --input-ipc-server socket to its reply with the file written; ffmpeg
# extracting that frame from the title's VOB at 640 x 480 as a whole process
# (ffmpeg -ss T -i VOB -frames:v 1). Then, playing the title in real time, pictures shown
# late or never during 6 s of playback, without saves and with a burst of 30 quick saves
# asked for at once. Builds in release mode and authors the test discs:
#   bench/still_save.sh [build-dir [extra cmake options...]]
set -euo pipefail
source "$(dirname "$0")/disc_bench.sh"
disc_bench_setup bench_still_save "$@"
out=$(mktemp -d)
trap 'rm -rf "$out"' EXIT
python3 - "$bench" "$discs/long" "$out" <<'PY'
import json, os, select, socket, statistics, subprocess, sys, time

bench, disc, out = sys.argv[1:4]
frame = 900
at = frame * 1001 / 30000  # the frame's start
ours = {}
os.makedirs(os.path.join(out, "ours"), exist_ok=True)
for line in subprocess.run([bench, disc, os.path.join(out, "ours"), str(frame)], check=True,
                           stdout=subprocess.PIPE, text=True).stdout.splitlines():
    name, value = line.split()
    ours[name] = float(value)

os.makedirs(os.path.join(out, "burst"), exist_ok=True)
for line in subprocess.run([bench, disc, os.path.join(out, "burst"), "burst"], check=True,
                           stdout=subprocess.PIPE, text=True).stdout.splitlines():
    name, value = line.split()
    ours[name] = int(value)

sock_path = os.path.join(out, "mpv.sock")
proc = subprocess.Popen(
    ["mpv", "--no-config", "--vo=null", "--ao=null", "--pause", "--hr-seek=yes",
     "--screenshot-jpeg-quality=75", "--input-ipc-server=" + sock_path,
     "--dvd-device=" + disc, "dvd://"],
    stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, stdin=subprocess.DEVNULL)
for _ in range(200):
    if os.path.exists(sock_path):
        break
    time.sleep(0.05)
sock = socket.socket(socket.AF_UNIX)
sock.connect(sock_path)
buffer = b""
next_id = 0

def call(cmd, timeout=20):
    """Sends cmd; milliseconds until mpv's reply to it (or the playback-restart of a seek)."""
    global buffer, next_id
    next_id += 1
    wanted = next_id
    start = time.monotonic()
    sock.sendall((json.dumps({"command": cmd, "request_id": wanted}) + "\n").encode())
    replied = False
    end = start + timeout
    while time.monotonic() < end:
        while b"\n" in buffer:
            line, buffer = buffer.split(b"\n", 1)
            message = json.loads(line)
            if message.get("request_id") == wanted:
                if message.get("error") != "success":
                    raise SystemExit(f"mpv: {cmd}: {message}")
                replied = True
                if cmd[0] != "seek":
                    return (time.monotonic() - start) * 1000
            if replied and message.get("event") == "playback-restart":
                return (time.monotonic() - start) * 1000
        if select.select([sock], [], [], end - time.monotonic())[0]:
            data = sock.recv(65536)
            if not data:
                break
            buffer += data
    raise SystemExit(f"mpv: no answer to {cmd}")

time.sleep(1.0)
call(["seek", at + 0.001, "absolute+exact"])
theirs = []
for i in range(30):
    path = os.path.join(out, f"mpv{i}.jpg")
    ms = call(["screenshot-to-file", path, "video"])
    if not os.path.getsize(path):
        raise SystemExit("mpv wrote no picture")
    theirs.append(ms)
size = subprocess.run(["identify", "-format", "%wx%h", os.path.join(out, "mpv0.jpg")],
                      check=True, stdout=subprocess.PIPE, text=True).stdout
proc.kill()
proc.wait()

vob = os.path.join(disc, "VIDEO_TS", "VTS_01_1.VOB")
ff = []
for i in range(5):
    start = time.monotonic()
    subprocess.run(["ffmpeg", "-nostdin", "-loglevel", "error", "-y", "-ss", f"{at:.4f}", "-i", vob,
                    "-frames:v", "1", "-vf", "scale=640:480", "-q:v", "5",
                    os.path.join(out, f"ff{i}.jpg")], check=True)
    ff.append((time.monotonic() - start) * 1000)
mpv_ms, ff_ms = statistics.median(theirs), statistics.median(ff)
print(f"Video Frame quick save, command to file, ms (medians): ours {ours['quick_save']:.2f} "
      f"(still made {ours['still_made']:.2f})")
print(f"  mpv screenshot-to-file ({size}) {mpv_ms:.2f}: ours/mpv {ours['quick_save'] / mpv_ms:.3f}, "
      f"{mpv_ms / ours['quick_save']:.1f} times as fast")
print(f"  ffmpeg -ss -i VOB -frames:v 1 (process) {ff_ms:.2f}: ours/ffmpeg "
      f"{ours['quick_save'] / ff_ms:.3f}")
print(f"Pictures shown late or never in 6 s of playback: {ours['late_without_saves']} without "
      f"saves, {ours['late_with_burst']} with a burst of 30 quick saves "
      f"({ours['late_with_burst'] - ours['late_without_saves']:+d})")
PY
