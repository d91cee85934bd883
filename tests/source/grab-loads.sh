#!/usr/bin/env bash
# A thumbnail pays only for the libraries it uses: tavelo-grab of a progressive picture loads
# neither libavfilter nor PulseAudio (the dynamic loader's own account, LD_DEBUG=files); of an
# interlaced one it loads libavfilter, for bwdif, and the still is written.
# Usage: grab-loads.sh PROGRAM PROGRESSIVE_DISC INTERLACED_DISC
set -euo pipefail
program=${1:?usage: grab-loads.sh PROGRAM PROGRESSIVE_DISC INTERLACED_DISC}
progressive=${2:?usage: grab-loads.sh PROGRAM PROGRESSIVE_DISC INTERLACED_DISC}
interlaced=${3:?usage: grab-loads.sh PROGRAM PROGRESSIVE_DISC INTERLACED_DISC}
out=$(mktemp -d)
trap 'rm -rf "$out"' EXIT
status=0

# The libraries one thumbnail of DISC loaded, a name to a line; fails when no still is written.
loaded() {
  local folder="$out/$(basename "$1")"
  mkdir -p "$folder"
  LD_DEBUG=files LD_DEBUG_OUTPUT="$out/ld" "$program" -q --count 1 -o "$folder" "$1" >/dev/null
  if [ -z "$(ls "$folder")" ]; then echo "grab-loads: no still of $1" >&2; return 1; fi
  cat "$out"/ld.* | sed -n 's/.*file=\([^ ]*\) \[0\];  \(needed\|dynamically loaded\) by.*/\1/p' | sort -u
  rm -f "$out"/ld.*
}

libraries=$(loaded "$progressive")
if [ -z "$libraries" ]; then echo "grab-loads: the loader reported nothing"; exit 1; fi
for name in libavfilter libpulse; do
  if grep -F "$name" <<<"$libraries"; then
    echo "a still of a progressive picture loads $name"
    status=1
  fi
done
libraries=$(loaded "$interlaced")
if ! grep -q '^libavfilter' <<<"$libraries"; then
  echo "a still of an interlaced picture did not load libavfilter (bwdif)"
  status=1
fi
if grep -F libpulse <<<"$libraries"; then
  echo "a still loads PulseAudio"
  status=1
fi
[ "$status" = 0 ] && echo "$(basename "$program") loads libavfilter only for interlaced pictures, PulseAudio never"
exit "$status"
