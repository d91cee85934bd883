#!/usr/bin/env bash
# Lining two releases up against decoding them: two 10-minute NTSC titles of one barcoded
# source in 60 scenes (authored once into the build folder), the second at half the bit rate,
# 37 frames later (8 of black, 29 of colour bars in front), between 6-row black bands and 6
# levels brighter. bench_align reads both titles' frame signatures and lines them up; ffmpeg
# decodes the video of both titles (what finding the offset by hand starts with). Wall times,
# medians of 3 taking turns. Targets: at most 1.5 times ffmpeg's time, under 10 s, the
# signatures under 50 MB, and the 37-frame lead found.
#   bench/align_titles.sh [build-dir [extra cmake options...]]
set -euo pipefail
source "$(dirname "$0")/disc_bench.sh"
disc_bench_setup bench_align "$@"

# Scenes of 10 s from generators that give the same pictures every time, each seeded or set
# apart, under the barcode band of the test discs.
scenes_graph() {
  local rate=30000/1001 i inputs="" labels="" source
  for i in $(seq 0 59); do
    case $((i % 4)) in
      0) source="life=mold=10:ratio=0.$((i % 7 + 2)):seed=$i:death_color=#203040:life_color=#c0a060" ;;
      1) source="cellauto=rule=$((30 + i * 2)):seed=$i" ;;
      2) source="testsrc2" ;;
      3) source="sierpinski=seed=$i:jump=$((i % 5 + 1))" ;;
    esac
    case $source in *=*) source="$source:" ;; *) source="$source=" ;; esac
    inputs="$inputs${source}s=720x480:r=$rate,trim=end_frame=300,setpts=PTS-STARTPTS,format=yuv420p,setsar=1[s$i];"
    labels="$labels[s$i]"
  done
  local bit="floor(N/pow(2\\,15-floor(X/45)))-2*floor(N/pow(2\\,16-floor(X/45)))"
  echo "$inputs${labels}concat=n=60:v=1:a=0[c];nullsrc=s=720x32:r=$rate,format=gray,geq=lum='if(gt($bit,0),235,16)',format=yuv420p[b]"
}
sound() {
  ffmpeg -nostdin -loglevel error -y -f lavfi -i "sine=f=1000:r=48000" -t "$1" -ac 2 \
    -c:a ac3 -b:a 192k "$2"
}
first_mpg() {
  local work
  work=$(dirname "$1")
  sound 600.6 "$work/a.ac3"
  ffmpeg -nostdin -loglevel error -y -filter_complex "$(scenes_graph);[c][b]overlay=0:8:shortest=1,format=yuv420p[out]" \
    -i "$work/a.ac3" -map "[out]" -map 0:a -c:a copy -frames:v 18000 \
    -target ntsc-dvd -aspect 4:3 -g 15 -bf 2 -b:v 6000k -maxrate 8000k "$1"
}
second_mpg() {
  local work rate=30000/1001
  work=$(dirname "$1")
  sound 601.9 "$work/b.ac3"
  ffmpeg -nostdin -loglevel error -y -filter_complex "$(scenes_graph);[c]lutyuv=y=val+6[v];[v][b]overlay=0:8:shortest=1,drawbox=x=0:y=0:w=720:h=6:c=black:t=fill,drawbox=x=0:y=474:w=720:h=6:c=black:t=fill,format=yuv420p[p];color=c=black:s=720x480:r=$rate,trim=end_frame=8,format=yuv420p,setsar=1[k];smptebars=s=720x480:r=$rate,trim=end_frame=29,setpts=PTS-STARTPTS,format=yuv420p,setsar=1[l];[k][l][p]concat=n=3:v=1:a=0[out]" \
    -i "$work/b.ac3" -map "[out]" -map 0:a -c:a copy -frames:v 18037 \
    -target ntsc-dvd -aspect 4:3 -g 15 -bf 2 -b:v 3000k -maxrate 6000k "$1"
}
first=$discs/../align-a second=$discs/../align-b
disc_bench_tenmin "$first" 4:3 first_mpg
disc_bench_tenmin "$second" 4:3 second_mpg

python3 - "$bench" "$first" "$second" <<'PY'
import glob, os, resource, statistics, subprocess, sys, time

bench, first, second = sys.argv[1:4]

def title_vobs(disc):
    return sorted(glob.glob(os.path.join(disc, "VIDEO_TS", "VTS_01_[1-9].VOB")))

# The processor time the children took, beside the wall time: on a busy machine the wall time
# says more of the others than of the program.
def cpu():
    r = resource.getrusage(resource.RUSAGE_CHILDREN)
    return r.ru_utime + r.ru_stime

def ffmpeg_decode(disc):
    start, used = time.monotonic(), cpu()
    concat = "concat:" + "|".join(title_vobs(disc))
    subprocess.run(["ffmpeg", "-nostdin", "-loglevel", "error", "-i", concat, "-map", "0:v",
                    "-f", "null", "-"], check=True)
    return time.monotonic() - start, cpu() - used

def ours():
    start, used = time.monotonic(), cpu()
    done = subprocess.run([bench, first, second], capture_output=True, text=True)
    took = time.monotonic() - start, cpu() - used
    if done.returncode != 0:
        sys.exit(f"bench_align: exit status {done.returncode}\n{done.stderr}")
    figures = dict(line.split(" ", 1) for line in done.stdout.splitlines())
    return took, figures

mine, theirs, mine_cpu, theirs_cpu, figures = [], [], [], [], None
for _ in range(3):
    (took, used), figures = ours()
    mine.append(took)
    mine_cpu.append(used)
    (a, a_cpu), (b, b_cpu) = ffmpeg_decode(first), ffmpeg_decode(second)
    theirs.append(a + b)
    theirs_cpu.append(a_cpu + b_cpu)
m, t = statistics.median(mine), statistics.median(theirs)
mc, tc = statistics.median(mine_cpu), statistics.median(theirs_cpu)
print(f"frames: A {figures['frames_a']}, B {figures['frames_b']}")
print(f"found: offset {figures['offset']} (authored 37), confidence {figures['confidence']}, "
      f"pieces {figures['pieces']}")
print(f"last run: reading both {figures['read_both_s']} s (B alone {figures['read_b_s']} s), "
      f"aligning {figures['align_s']} s")
print(f"lining up (whole program) {m:.3f} s; ffmpeg decoding both {t:.3f} s; "
      f"ratio {m / t:.3f} (target at most 1.5; under 10 s)")
print(f"processor time: lining up {mc:.3f} s; ffmpeg decoding both {tc:.3f} s; ratio {mc / tc:.3f}; "
      f"load average {os.getloadavg()[0]:.1f} on {os.cpu_count()} cores")
print(f"signatures {int(figures['signature_bytes']) / 1e6:.1f} MB (target under 50 MB); "
      f"peak memory of the program {int(figures['peak_rss_bytes']) / 1e6:.1f} MB")
PY
