#!/usr/bin/env bash
# Stills from film against stills from video with tavelo-grab, side by side in one run, on two
# 10-minute NTSC 16:9 titles of the same moving, barcoded pictures with a chapter every 30 s
# (authored once into the build folder): tenmin-film, 24000/1001 film soft-telecined by
# mpeg2enc -p, and tenmin-prog, 30000/1001 progressive by FFmpeg. A 4x4 contact sheet and 60
# stills spread over the title; wall times, medians of 3, the two titles taking turns. Film
# should take at most 1.3 times as long; every still must be written.
#   bench/film_stills.sh [build-dir [extra cmake options...]]
set -euo pipefail
source "$(dirname "$0")/disc_bench.sh"
disc_bench_setup tavelo-grab "$@"
grab=$(dirname "$bench")/../tools/tavelo-grab
[ -x "$grab" ] || grab=$(find "$(dirname "$bench")/.." -name tavelo-grab -type f -perm -u+x | head -1)

# The source of tests/media/author-film at RATE: testsrc2 under the barcode band of the test
# discs (16 blocks of 45 columns, the frame number, most significant bit first).
graph() {
  local bit="floor(N/pow(2\\,15-floor(X/45)))-2*floor(N/pow(2\\,16-floor(X/45)))"
  echo "testsrc2=s=720x480:r=$1[t];nullsrc=s=720x32:r=$1,format=gray,geq=lum='if(gt($bit,0),235,16)',format=yuv420p[b];[t][b]overlay=0:8:shortest=1,format=yuv420p"
}
film_mpg() {
  local work
  work=$(dirname "$1")
  ffmpeg -nostdin -loglevel error -y -f lavfi -i "sine=f=440:r=48000" -t 600 -ac 2 \
    -c:a ac3 -b:a 192k "$work/t.ac3"
  ffmpeg -nostdin -loglevel error -y -f lavfi -i "$(graph 24000/1001)" -t 600 \
    -f yuv4mpegpipe -pix_fmt yuv420p - |
    mpeg2enc -v 0 -M 2 -f 8 -F 1 -a 3 -n n -p -I 0 -b 5000 -g 15 -G 15 -o "$work/t.m2v" \
      2>"$work/mpeg2enc.log"
  mplex -v 0 -f 8 -o "$1" "$work/t.m2v" "$work/t.ac3"
}
prog_mpg() {
  ffmpeg -nostdin -loglevel error -y -f lavfi -i "$(graph 30000/1001)" \
    -f lavfi -i "sine=f=440:r=48000" -t 600 -ac 2 -target ntsc-dvd -aspect 16:9 \
    -g 15 -bf 2 -b:v 5000k -maxrate 8000k -b:a 192k "$1"
}
film=$discs/../tenmin-film prog=$discs/../tenmin-prog
disc_bench_tenmin "$film" 16:9 film_mpg
disc_bench_tenmin "$prog" 16:9 prog_mpg
out=$(mktemp -d)
trap 'rm -rf "$out"' EXIT
python3 - "$grab" "$film" "$prog" "$out" <<'PY'
import os, shutil, statistics, subprocess, sys, time

grab, film, prog, out = sys.argv[1:5]

def run(args, disc, stills):
    shutil.rmtree(out)
    os.makedirs(out)
    start = time.monotonic()
    done = subprocess.run([grab, *args, disc], cwd=out, stdout=subprocess.DEVNULL,
                          stderr=subprocess.PIPE, text=True)
    took = time.monotonic() - start
    written = sum(os.path.getsize(os.path.join(out, f)) > 0 for f in os.listdir(out))
    if done.returncode != 0 or written != stills:
        sys.exit(f"tavelo-grab {' '.join(args)} {disc}: exit status {done.returncode}, "
                 f"{written} of {stills} stills written\n{done.stderr}")
    return took

cases = [("sheet 4x4", ["-q", "--sheet", "4x4", "-o", "sheet.jpg"], 1),
         ("60 stills", ["-q", "--count", "60", "-o", "."], 60)]
print(f"{'case':<12}{'film':>10}{'progressive':>13}  film/progressive (target at most 1.3)")
for name, args, stills in cases:
    times = {film: [], prog: []}
    for _ in range(3):
        for disc in times:
            times[disc].append(run(args, disc, stills))
    f, p = statistics.median(times[film]), statistics.median(times[prog])
    print(f"{name:<12}{f:>8.3f} s{p:>11.3f} s  {f / p:.3f}")
PY
