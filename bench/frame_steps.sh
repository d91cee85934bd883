#!/usr/bin/env bash
# Frame-exact commands against mpv on the authored 60-second NTSC title, side by side in one
# run: the time from the command to its picture for a step forward, a step back (once, and
# each of a run of ten) and an exact seek 30 s away; mpv plays the same disc through its
# libdvdnav input, driven through its --input-ipc-server socket. Also our application-thread
# call latency while playing. Builds in release mode and authors the test discs:
#   bench/frame_steps.sh [build-dir [extra cmake options...]]
set -euo pipefail
source "$(dirname "$0")/disc_bench.sh"
disc_bench_setup bench_frame_steps "$@"
python3 - "$bench" "$discs/long" <<'PY'
import json, os, select, socket, statistics, subprocess, sys, tempfile, time

bench, disc = sys.argv[1], sys.argv[2]

# Ours, three runs; the median of each figure.
runs = []
for _ in range(3):
    out = subprocess.run([bench, disc], check=True, stdout=subprocess.PIPE, text=True).stdout
    runs.append({k: float(v) for k, v in (line.split() for line in out.splitlines())})
ours = {k: statistics.median(r[k] for r in runs) for k in runs[0]}

class Mpv:
    def __init__(self):
        self.sock_path = os.path.join(tempfile.mkdtemp(), "mpv")
        self.proc = subprocess.Popen(
            ["mpv", "--no-config", "--vo=null", "--ao=null", "--pause", "--hr-seek=yes",
             "--input-ipc-server=" + self.sock_path, "--dvd-device=" + disc, "dvd://"],
            stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, stdin=subprocess.DEVNULL)
        for _ in range(200):
            if os.path.exists(self.sock_path):
                break
            time.sleep(0.05)
        self.sock = socket.socket(socket.AF_UNIX)
        self.sock.connect(self.sock_path)
        self.buffer = b""
        self.next_id = 0
        self.send(["observe_property", 1, "time-pos"])
        self.frame = None

    def send(self, cmd):
        self.next_id += 1
        self.sock.sendall((json.dumps({"command": cmd, "request_id": self.next_id}) + "\n").encode())

    def messages(self, timeout):
        end = time.monotonic() + timeout
        while True:
            while b"\n" in self.buffer:
                line, self.buffer = self.buffer.split(b"\n", 1)
                message = json.loads(line)
                if message.get("name") == "time-pos":
                    self.frame = message.get("data")
                yield message
            left = end - time.monotonic()
            if left <= 0:
                return
            if select.select([self.sock], [], [], left)[0]:
                data = self.sock.recv(65536)
                if not data:
                    return
                self.buffer += data

    def drain(self):
        for _ in self.messages(0.3):
            pass

    def timed(self, cmd, done):
        """Milliseconds from sending cmd to the first message done() accepts."""
        self.drain()
        before = self.frame
        start = time.monotonic()
        self.send(cmd)
        for message in self.messages(10):
            if done(message, before):
                return (time.monotonic() - start) * 1000
        raise SystemExit(f"mpv: no answer to {cmd}")

    def close(self):
        self.proc.kill()
        self.proc.wait()

def new_frame(message, before):
    return (message.get("event") == "property-change" and
            message.get("name") == "time-pos" and
            message.get("data") is not None and message.get("data") != before)

def restarted(message, before):
    return message.get("event") == "playback-restart"

mpv = Mpv()
mpv.timed(["seek", 15, "absolute+exact"], restarted)
forward, back_once, back_run, seek = [], [], [], []
for round in range(10):
    at = 15 + round * 2
    mpv.timed(["seek", at, "absolute+exact"], restarted)
    forward.append(mpv.timed(["frame-step"], new_frame))
    mpv.timed(["seek", at + 1, "absolute+exact"], restarted)
    back_once.append(mpv.timed(["frame-back-step"], new_frame))
    start = time.monotonic()
    for _ in range(10):
        mpv.timed(["frame-back-step"], new_frame)
    back_run.append((time.monotonic() - start) * 1000 / 10)
    seek.append(mpv.timed(["seek", 30 if round % 2 == 0 else -10, "relative+exact"], restarted))
mpv.close()
theirs = {"step_forward": statistics.median(forward), "step_back_once": statistics.median(back_once),
          "step_back_run_each": statistics.median(back_run), "seek_30s": statistics.median(seek)}

print("command to picture, ms (medians)      ours     mpv   ours/mpv")
for key in ("step_forward", "step_back_once", "step_back_run_each", "seek_30s"):
    print(f"  {key:30s} {ours[key]:8.2f} {theirs[key]:8.2f} {ours[key] / theirs[key]:8.2f}")
print("application-thread calls while playing, ms (p50 / p99)")
for key in ("menu_mouse_over", "get_frame", "pause_play"):
    print(f"  {key:30s} {ours[key + '_p50']:8.4f} {ours[key + '_p99']:8.4f}")
PY
