#!/usr/bin/env bash
# tavelo-grab runs without windows: none of Qt Widgets, Qt UI Tools or the windowing kit is
# loaded with it (ldd: the libraries it needs, and theirs), and no object of the kit's static
# library is linked into it (a symbol the kit defines, found in the program).
# Usage: grab-links.sh PROGRAM KIT_ARCHIVE
set -euo pipefail
program=${1:?usage: grab-links.sh PROGRAM KIT_ARCHIVE}
kit=${2:?usage: grab-links.sh PROGRAM KIT_ARCHIVE}
status=0
libraries=$(ldd "$program")
if [ -z "$libraries" ]; then echo "grab-links: ldd lists nothing for $program"; exit 1; fi
for name in libQt6Widgets libQt6UiTools "lib$(basename "$kit" .a | sed 's/^lib//')"; do
  if grep -F "$name" <<<"$libraries"; then
    echo "$(basename "$program") loads $name"
    status=1
  fi
done
# Defined code of the kit (its windows, views, registry), mangled names as the linker sees them.
kit_symbols=$(nm --defined-only --format=posix "$kit" 2>/dev/null | awk '$2 == "T" {print $1}' | sort -u)
if [ -z "$kit_symbols" ]; then echo "grab-links: no symbols in $kit"; exit 1; fi
program_symbols=$(nm --defined-only --format=posix "$program" | awk '{print $1}' | sort -u)
if shared=$(comm -12 <(echo "$kit_symbols") <(echo "$program_symbols")) && [ -n "$shared" ]; then
  echo "$(basename "$program") links the windowing kit's objects:"
  head -5 <<<"$shared" | c++filt
  status=1
fi
[ "$status" = 0 ] && echo "$(basename "$program") links neither Qt Widgets, Qt UI Tools nor the windowing kit"
exit "$status"
