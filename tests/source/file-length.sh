#!/usr/bin/env bash
# No source file is longer than 600 lines: a longer one is split along a seam (a second
# source of the same module, a helper class, a second test file). Checked for C++ sources and
# headers, Python and shell scripts under app/, SharedCode/, sdk/, platform/, tools/, tests/
# and bench/. Usage: file-length.sh SOURCE_ROOT [LIMIT]
set -euo pipefail
root=${1:?usage: file-length.sh SOURCE_ROOT [LIMIT]}
limit=${2:-600}
checked=0
status=0
while IFS= read -r -d '' file; do
  checked=$((checked + 1))
  lines=$(wc -l <"$file")
  if [ "$lines" -gt "$limit" ]; then
    echo "${file#"$root"/} has $lines lines (at most $limit)"
    status=1
  fi
done < <(find "$root/app" "$root/SharedCode" "$root/sdk" "$root/platform" "$root/tools" \
           "$root/tests" "$root/bench" -type f \
           \( -name '*.h' -o -name '*.hpp' -o -name '*.c' -o -name '*.cc' -o -name '*.cpp' \
              -o -name '*.py' -o -name '*.sh' \) -print0)
# An empty walk would pass whatever the tree holds.
if [ "$checked" -eq 0 ]; then
  echo "file-length: no sources found under $root"
  exit 1
fi
[ "$status" = 0 ] && echo "$checked source files, none over $limit lines"
exit "$status"
