#!/usr/bin/env bash
# Builds the picture-writer benchmark in release mode and runs it, then prints each
# tool's time relative to ours: bench/picture_writer.sh [build-dir [extra cmake options...]]
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
dir=${1:-$root/build-bench}
"$root/scripts/build" "$dir" -DCMAKE_BUILD_TYPE=Release -DTAVELO_BENCH=ON -DTAVELO_TESTS=OFF "${@:2}"
json=$(mktemp)
"$dir/bench/bench_picture_writer" --benchmark_repetitions=5 --benchmark_report_aggregates_only=true \
  --benchmark_out="$json" --benchmark_out_format=json
python3 - "$json" <<'PY'
import json, sys
runs = {b["run_name"]: b for b in json.load(open(sys.argv[1]))["benchmarks"] if b.get("aggregate_name") == "median"}
def ms(name):
    b = runs.get(name)
    return b and b["real_time"]
for size in ("720/480", "1920/1080"):
    print(f"\n{size.replace('/', 'x')}: median ms (ratio = other / ours)")
    for fmt, ours, others in (
        ("JPEG", "Tavelo/JPEG_encode_and_write", ["QtWriter/JPEG_encode", "Cjpeg", "MagickJpeg"]),
        ("PNG", "Tavelo/PNG_encode_and_write", ["LibpngDefaults", "QtWriter/PNG_encode", "MagickPng"]),
        ("TIFF", "Tavelo/TIFF_encode_and_write", ["MagickTiff"])):
        base = ms(f"{ours}/{size}/process_time/real_time")
        encode = ms(f"{ours.replace('_and_write', '')}/{size}/process_time/real_time")
        print(f"  {fmt:4} ours (encode+atomic write) {base:8.2f}   (encode alone {encode:.2f})")
        for o in others:
            t = ms(f"{o}/{size}/process_time/real_time")
            if t: print(f"       {o:28} {t:8.2f}  x{t / base:5.2f}")
PY
rm -f "$json"
