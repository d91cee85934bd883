#!/usr/bin/env bash
# The end-to-end scripts wait for what they look for, through the shared helpers in
# e2e_common.sh, never for a fixed time: no sleep longer than 0.2 s, and one wait_file.
# Usage: e2e-waits.sh SOURCE_ROOT
set -euo pipefail
root=${1:?usage: e2e-waits.sh SOURCE_ROOT}
dir=$root/tests/app/e2e
status=0
# A sleep of a literal time (`sleep 1`, `sleep 0.5`, xdotool's own `sleep 1`) over 0.2 s.
if hits=$(grep -nE '(^|[^[:alnum:]_])sleep[[:space:]]+[0-9.]+' "$dir"/*.sh |
          awk '{ for (i = 1; i < NF; i++) if ($i ~ /(^|[^[:alnum:]_])sleep$/ && $(i + 1) ~ /^[0-9.]+;?$/) {
                   v = $(i + 1); sub(/;$/, "", v); if (v + 0 > 0.2) { print; next } } }'); [ -n "$hits" ]; then
  echo "fixed pauses over 0.2 s:"; echo "$hits"; status=1
fi
defined=$(cat "$dir"/*.sh | grep -cE '^[[:space:]]*wait_file[[:space:]]*\(\)' || true)
if [ "$defined" != 1 ]; then echo "wait_file is defined $defined times"; status=1; fi
[ "$status" = 0 ] && echo "the end-to-end scripts wait for conditions"
exit "$status"
