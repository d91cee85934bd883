#!/usr/bin/env bash
# The product never forks without exec: a fork of its threaded processes can inherit a lock
# another thread held at that moment and hang in it. Helper programs are started with
# posix_spawn (or QProcess). Usage: no-fork.sh SOURCE_ROOT
set -euo pipefail
root=${1:?usage: no-fork.sh SOURCE_ROOT}
found=0
while IFS= read -r -d '' file; do
  # Calls only: comments may speak of a file's data fork.
  if hits=$(sed -e 's://.*$::' "$file" | grep -nE '(^|[^[:alnum:]_])v?fork[[:space:]]*\([[:space:]]*\)'); then
    while IFS= read -r hit; do
      echo "fork without exec: ${file#"$root"/}:$hit"
    done <<<"$hits"
    found=1
  fi
done < <(find "$root/app" "$root/SharedCode" "$root/sdk" "$root/platform" "$root/tools" \
           -type f \( -name '*.c' -o -name '*.cc' -o -name '*.cpp' -o -name '*.h' -o -name '*.hpp' \) -print0)
if [ "$found" -ne 0 ]; then exit 1; fi
echo "no fork in the product"
