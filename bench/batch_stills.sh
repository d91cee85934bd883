#!/usr/bin/env bash
# Batch stills with tavelo-grab against the peers, side by side in one run, on an authored
# 10-minute NTSC 4:3 title with 20 chapters (one every 30 s; authored once into the build
# folder): a 4x4 contact sheet against ffmpeg's select+scale+tile filter and against a loop
# of ffmpeg -ss seeks; a still every 10 s against ffmpeg -vf fps=1/10; the chapter stills
# against a loop of ffmpeg -ss seeks, one a chapter; one thumbnail against
# ffmpegthumbnailer. Wall times, medians of 3, each side taking turns.
#   bench/batch_stills.sh [build-dir [extra cmake options...]]
set -euo pipefail
source "$(dirname "$0")/disc_bench.sh"
disc_bench_setup tavelo-grab "$@"
grab=$(dirname "$bench")/../tools/tavelo-grab
[ -x "$grab" ] || grab=$(find "$(dirname "$bench")/.." -name tavelo-grab -type f -perm -u+x | head -1)
tenmin_mpg() {
  ffmpeg -nostdin -loglevel error -y -f lavfi -i "testsrc2=s=720x480:r=30000/1001" \
    -f lavfi -i "sine=f=440:r=48000" -t 600 -ac 2 -target ntsc-dvd -aspect 4:3 \
    -g 15 -bf 2 -b:v 3000k -maxrate 6000k "$1"
}
disc=$discs/../tenmin
disc_bench_tenmin "$disc" 4:3 tenmin_mpg
out=$(mktemp -d)
trap 'rm -rf "$out"' EXIT
python3 - "$grab" "$disc" "$out" <<'PY'
import glob, json, os, shutil, statistics, subprocess, sys, time

grab, disc, out = sys.argv[1:4]
vobs = sorted(glob.glob(os.path.join(disc, "VIDEO_TS", "VTS_01_[1-9].VOB")))
src = vobs[0] if len(vobs) == 1 else "concat:" + "|".join(vobs)
info = json.loads(subprocess.run([grab, "--list", "--json", disc], check=True,
                                 stdout=subprocess.PIPE, text=True).stdout)["titles"][0]
frames, chapter_frames = info["frames"], info["chapterFrames"]
fps = 30000 / 1001

def run(cmd, folder):
    shutil.rmtree(folder, ignore_errors=True)
    os.makedirs(folder)
    start = time.monotonic()
    subprocess.run(cmd, check=True, cwd=folder, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    return time.monotonic() - start

def loop(cmds, folder):
    shutil.rmtree(folder, ignore_errors=True)
    os.makedirs(folder)
    start = time.monotonic()
    for cmd in cmds:
        subprocess.run(cmd, check=True, cwd=folder, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    return time.monotonic() - start

def ffss(t, name, scale="640:480"):
    return ["ffmpeg", "-nostdin", "-loglevel", "error", "-y", "-ss", f"{t:.4f}", "-i", src,
            "-frames:v", "1", "-vf", f"scale={scale}", "-q:v", "3", name]

count16 = [((2 * i + 1) * frames + 16) // 32 for i in range(16)]
every10 = [int(10 * k * 30000 / 1001) for k in range(frames) if int(10 * k * 30000 / 1001) < frames]
select = "+".join(f"eq(n\\,{f})" for f in count16)
cases = {
    "sheet 4x4": (
        [grab, "-q", "--sheet", "4x4", "-o", "sheet.jpg", disc],
        [("ffmpeg select+tile", lambda d: run(["ffmpeg", "-nostdin", "-loglevel", "error", "-y", "-i", src,
            "-vf", f"select='{select}',scale=384:288,tile=4x4", "-frames:v", "1", "-q:v", "3", "sheet.jpg"], d)),
         ("ffmpeg -ss loop", lambda d: loop([ffss(f / fps, f"s{i}.jpg", "384:288") for i, f in enumerate(count16)], d))],
        16),
    "every 10 s": (
        [grab, "-q", "--every", "10", "-o", ".", disc],
        [("ffmpeg fps=1/10", lambda d: run(["ffmpeg", "-nostdin", "-loglevel", "error", "-y", "-i", src,
            "-vf", "fps=1/10:round=down,scale=640:480", "-q:v", "3", "e%03d.jpg"], d))],
        len(every10)),
    "chapters": (
        [grab, "-q", "--chapters", "-o", ".", disc],
        [("ffmpeg -ss loop", lambda d: loop([ffss(f / fps, f"c{i}.jpg") for i, f in enumerate(chapter_frames)], d))],
        len(chapter_frames)),
    "one thumbnail": (
        [grab, "-q", "--count", "1", "-o", ".", disc],
        [("ffmpegthumbnailer", lambda d: run(["ffmpegthumbnailer", "-i", src, "-o", "thumb.jpg", "-s", "640", "-t", "50%"], d))],
        1),
}
for name, (ours_cmd, peers, stills) in cases.items():
    ours, theirs = [], {p: [] for p, _ in peers}
    for _ in range(3):
        ours.append(run(ours_cmd, os.path.join(out, "ours")))
        for p, f in peers:
            theirs[p].append(f(os.path.join(out, "peer")))
    o = statistics.median(ours)
    line = f"{name}: ours {o:.3f} s ({stills / o:.1f} stills/s)"
    for p, t in theirs.items():
        m = statistics.median(t)
        line += f"; {p} {m:.3f} s, ours/peer {o / m:.3f}"
    print(line)
PY
