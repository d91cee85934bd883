#!/usr/bin/env bash
# One thumbnail and one sheet, side by side in one run, on the authored 10-minute NTSC 4:3
# title (authored once into the build folder): `tavelo-grab --count 1` against
# ffmpegthumbnailer on the title's VOB (wall time, medians of 7, each side taking turns, and
# the ratio), and the peak memory of a 5x4 sheet (`--sheet 5x4`) beside ffmpeg's
# select+scale+tile of the same 20 frames (maximum resident size of the child).
#   bench/thumbnail.sh [build-dir [extra cmake options...]]
# TAVELO_GRAB=path times a tavelo-grab built elsewhere instead of building one.
set -euo pipefail
source "$(dirname "$0")/disc_bench.sh"
if [ -n "${TAVELO_GRAB:-}" ]; then
  root=$(cd "$(dirname "$0")/.." && pwd)
  discs=${1:-$root/build-bench}/discs
  grab=$TAVELO_GRAB
else
  disc_bench_setup tavelo-grab "$@"
  grab=$(dirname "$bench")/../tools/tavelo-grab
fi
command -v ffmpegthumbnailer >/dev/null || { echo "thumbnail: ffmpegthumbnailer is missing (scripts/setup)" >&2; exit 1; }
tenmin_mpg() {
  ffmpeg -nostdin -loglevel error -y -f lavfi -i "testsrc2=s=720x480:r=30000/1001" \
    -f lavfi -i "sine=f=440:r=48000" -t 600 -ac 2 -target ntsc-dvd -aspect 4:3 \
    -g 15 -bf 2 -b:v 3000k -maxrate 6000k "$1"
}
disc=$discs/../tenmin
mkdir -p "$discs/.."
disc_bench_tenmin "$disc" 4:3 tenmin_mpg
out=$(mktemp -d)
trap 'rm -rf "$out"' EXIT
python3 - "$grab" "$disc" "$out" "${TAVELO_BENCH_RUNS:-7}" <<'PY'
import glob, json, os, shutil, statistics, subprocess, sys, time

grab, disc, out, runs = sys.argv[1], sys.argv[2], sys.argv[3], int(sys.argv[4])
vobs = sorted(glob.glob(os.path.join(disc, "VIDEO_TS", "VTS_01_[1-9].VOB")))
src = vobs[0] if len(vobs) == 1 else "concat:" + "|".join(vobs)
frames = json.loads(subprocess.run([grab, "--list", "--json", disc], check=True,
                                   stdout=subprocess.PIPE, text=True).stdout)["titles"][0]["frames"]

def run(cmd, folder):
    """Wall time in seconds and peak resident size in MB of one run in a fresh folder."""
    shutil.rmtree(folder, ignore_errors=True)
    os.makedirs(folder)
    start = time.monotonic()
    child = subprocess.Popen(cmd, cwd=folder, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    _, status, usage = os.wait4(child.pid, 0)
    wall = time.monotonic() - start
    child.returncode = os.waitstatus_to_exitcode(status)
    if child.returncode != 0:
        sys.exit(f"thumbnail: {cmd[0]} failed ({child.returncode})")
    if not os.listdir(folder):
        sys.exit(f"thumbnail: {cmd[0]} wrote nothing")
    return wall, usage.ru_maxrss / 1024

def median(samples, i):
    return statistics.median(s[i] for s in samples)

ours_thumb = [grab, "-q", "--count", "1", "-o", ".", disc]
peer_thumb = ["ffmpegthumbnailer", "-i", src, "-o", "thumb.jpg", "-s", "640", "-t", "50%"]
sheet20 = [((2 * i + 1) * frames + 20) // 40 for i in range(20)]
select = "+".join(f"eq(n\\,{f})" for f in sheet20)
ours_sheet = [grab, "-q", "--sheet", "5x4", "-o", "sheet.jpg", disc]
peer_sheet = ["ffmpeg", "-nostdin", "-loglevel", "error", "-y", "-i", src, "-vf",
              f"select='{select}',scale=320:240,tile=5x4", "-frames:v", "1", "-q:v", "3", "sheet.jpg"]

ours, peer = [], []
for _ in range(runs):
    ours.append(run(ours_thumb, os.path.join(out, "ours")))
    peer.append(run(peer_thumb, os.path.join(out, "peer")))
o, p = median(ours, 0), median(peer, 0)
print(f"one thumbnail: tavelo-grab --count 1 {o:.3f} s (peak {median(ours, 1):.0f} MB); "
      f"ffmpegthumbnailer {p:.3f} s (peak {median(peer, 1):.0f} MB); ours/peer {o / p:.2f}")

ours, peer = [], []
for _ in range(max(3, runs // 2)):
    ours.append(run(ours_sheet, os.path.join(out, "ours")))
    peer.append(run(peer_sheet, os.path.join(out, "peer")))
print(f"sheet 5x4: tavelo-grab --sheet 5x4 {median(ours, 0):.3f} s, peak {max(s[1] for s in ours):.0f} MB; "
      f"ffmpeg select+tile {median(peer, 0):.3f} s, peak {max(s[1] for s in peer):.0f} MB")
PY
