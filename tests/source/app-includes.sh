#!/usr/bin/env bash
# The application is written against the playback service's public headers only: those of
# platform/DVDPlayback/include (DVDPlayback.h, the service's C interface, and DVDStill.h, stills
# from a decoded picture), with what they include themselves (MacTypes.h, Files/Files.h). Every
# other header of platform/DVDPlayback is the service's own. Checked in app/, SharedCode/, sdk/
# and tools/, by name, whatever folder the include names. Usage: app-includes.sh SOURCE_ROOT
set -euo pipefail
root=${1:?usage: app-includes.sh SOURCE_ROOT}
service=$root/platform/DVDPlayback
public=" $(find "$service/include" -name '*.h' -printf '%f ') "
own=" $(find "$service" -path "$service/include" -prune -o -name '*.h' -printf '%f ') "
[[ $public == *" DVDPlayback.h "* && $own == *" DVDNavigator.h "* ]] || {
  echo "app-includes: the service's headers are not where this check looks ($service)"; exit 1; }
status=0
while IFS= read -r -d '' file; do
  dir=$(dirname "$file")
  while IFS=: read -r line text; do
    include=$(sed 's/^[^"]*"\([^"]*\)".*/\1/' <<<"$text")
    name=${include##*/}
    # A header beside the includer is its own folder's.
    [ -e "$dir/$include" ] && continue
    if [[ $own == *" $name "* && $public != *" $name "* ]]; then
      echo "${file#"$root"/}:$line includes the playback service's own header $include"
      status=1
    fi
  done < <(grep -nE '^[[:space:]]*#[[:space:]]*include[[:space:]]*"' "$file" || true)
done < <(find "$root/app" "$root/SharedCode" "$root/sdk" "$root/tools" -type f \
           \( -name '*.h' -o -name '*.hpp' -o -name '*.cpp' -o -name '*.cc' \) -print0)
[ "$status" = 0 ] && echo "app/, SharedCode/, sdk/ and tools/ use the playback service's public headers only"
exit "$status"
