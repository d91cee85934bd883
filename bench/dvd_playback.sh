#!/usr/bin/env bash
# The DVD playback service against ffmpeg and mpv on the authored 60-second NTSC title,
# side by side in one run: decoding flat out (wall time of the decode loops), open to first
# picture (wall time), and real-time playback for 60 s (CPU time). Builds in release mode
# and authors the test discs into the build tree:
#   bench/dvd_playback.sh [build-dir [extra cmake options...]]
set -euo pipefail
source "$(dirname "$0")/disc_bench.sh"
disc_bench_setup bench_dvd_playback "$@"
python3 - "$bench" "$discs/long" <<'PY'
import json, os, resource, statistics, subprocess, sys, time

bench, disc = sys.argv[1], sys.argv[2]
vob = os.path.join(disc, "VIDEO_TS", "VTS_01_1.VOB")

def child_cpu(cmd):
    """Runs cmd to the end; answers its CPU seconds (user + system) and its output."""
    before = resource.getrusage(resource.RUSAGE_CHILDREN)
    out = subprocess.run(cmd, check=True, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL,
                         stdin=subprocess.DEVNULL, text=True).stdout
    after = resource.getrusage(resource.RUSAGE_CHILDREN)
    cpu = (after.ru_utime - before.ru_utime) + (after.ru_stime - before.ru_stime)
    return cpu, out

def wall(cmd):
    start = time.monotonic()
    out = subprocess.run(cmd, check=True, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL,
                         stdin=subprocess.DEVNULL, text=True).stdout
    return time.monotonic() - start, out

# 1. Decoding flat out: demultiplex + MPEG-2 + AC-3, one thread, whole 60 s title. Ours and
# ffmpeg's take turns, five each, so that a busy moment of the machine falls on both alike.
env = dict(os.environ, TAVELO_BENCH_VOB=vob)

def ours_decode():
    report = json.loads(subprocess.run([bench, "--benchmark_format=json"], check=True, env=env,
                                       stdout=subprocess.PIPE, text=True).stdout)
    run = report["benchmarks"][0]
    return run["real_time"] / 1000.0, int(run["pictures"])

def ffmpeg_rtime():
    """ffmpeg's own decode loop: the rtime its -benchmark reports, not the whole process."""
    err = subprocess.run(["ffmpeg", "-nostdin", "-benchmark", "-threads", "1", "-i", vob,
                          "-f", "null", "-"], check=True, stdout=subprocess.DEVNULL,
                         stderr=subprocess.PIPE, text=True).stderr
    line = [l for l in err.splitlines() if l.startswith("bench:") and "rtime=" in l][-1]
    return float(line.split("rtime=")[1].rstrip("s"))

ours_times, ff_times = [], []
for _ in range(5):
    seconds, pictures = ours_decode()
    ours_times.append(seconds)
    ff_times.append(ffmpeg_rtime())
ours, ffmpeg = statistics.median(ours_times), statistics.median(ff_times)
print(f"decode 60 s title, s (medians of 5, taking turns): ours {ours:.3f} ({pictures} pictures), "
      f"ffmpeg -benchmark -threads 1 rtime {ffmpeg:.3f}, ratio ours/ffmpeg {ours / ffmpeg:.2f}")

# 2. Open to first picture, whole processes (ours also reports open->picture inside).
inner, ours_wall, ff_wall = [], [], []
for _ in range(5):
    t, out = wall([bench, "first-picture", disc])
    ours_wall.append(t)
    inner.append(float(out.split()[0]))
    ff_wall.append(wall(["ffmpeg", "-nostdin", "-i", vob, "-frames:v", "1", "-f", "null", "-"])[0])
o, f = statistics.median(ours_wall), statistics.median(ff_wall)
print(f"open to first picture, wall ms (median of 5): ours {o * 1000:.1f} "
      f"(DVDOpenMediaFile to picture {statistics.median(inner):.1f}), "
      f"ffmpeg -frames:v 1 {f * 1000:.1f}, ratio ours/ffmpeg {o / f:.2f}")

# 3. Real-time playback for 60 s.
cpu, out = child_cpu([bench, "play", disc, "60"])
pictures = int(out.split()[1])
mpv, _ = child_cpu(["mpv", "--no-config", "--ao=null", "--vo=null", "--really-quiet", vob])
print(f"real-time playback 60 s, CPU s: ours {cpu:.3f} ({pictures} pictures presented), "
      f"mpv {mpv:.3f}, ratio ours/mpv {cpu / mpv:.2f}")
PY
