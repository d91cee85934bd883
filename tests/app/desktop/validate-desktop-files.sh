#!/usr/bin/env bash
# The desktop entry, the AppStream metadata and the manual page as installed: each accepted by
# its own validator, and what an install puts where a desktop looks for it.
#   validate-desktop-files.sh RESOURCES BUILD-DIR TEST-DISCS
set -euo pipefail
resources=$1
build=$2
discs=${3:?the test discs folder}
desktop-file-validate "$resources/org.tavelo.Tavelo.desktop"
appstreamcli validate --no-net "$resources/org.tavelo.Tavelo.metainfo.xml"
# The manual page renders without a warning.
warnings=$(LC_ALL=C.UTF-8 MANWIDTH=80 man --warnings -l "$resources/tavelo.1" 2>&1 >/dev/null || true)
if [ -n "$warnings" ]; then echo "man page: $warnings" >&2; exit 1; fi
grep -q '^MimeType=.*x-content/video-dvd;' "$resources/org.tavelo.Tavelo.desktop"
grep -q '^MimeType=.*application/x-cd-image;' "$resources/org.tavelo.Tavelo.desktop"
grep -q '^MimeType=.*inode/directory;' "$resources/org.tavelo.Tavelo.desktop"
prefix=$(mktemp -d)
trap 'rm -rf "$prefix"' EXIT
cmake --install "$build" --prefix "$prefix" --component Unspecified >/dev/null
for f in bin/tavelo bin/tavelo-grab share/applications/org.tavelo.Tavelo.desktop \
         share/metainfo/org.tavelo.Tavelo.metainfo.xml share/man/man1/tavelo.1 \
         share/man/man1/tavelo-grab.1 share/icons/hicolor/scalable/apps/tavelo.svg share/tavelo/help; do
  [ -e "$prefix/$f" ] || { echo "not installed: $f" >&2; exit 1; }
done
for size in 16 24 32 48 64 128 256 512; do
  icon=$prefix/share/icons/hicolor/${size}x${size}/apps/tavelo.png
  [ "$(identify -format '%wx%h' "$icon" 2>/dev/null)" = "${size}x${size}" ] || { echo "icon $size: $icon" >&2; exit 1; }
done
# Relocatable: nothing refers into the build tree, and the installed programs run.
for program in tavelo tavelo-grab; do
  if ldd "$prefix/bin/$program" | grep -F "$build"; then echo "$program refers into the build tree" >&2; exit 1; fi
  if readelf -d "$prefix/bin/$program" | grep -E 'R(UN)?PATH' | grep -F "$build"; then
    echo "$program's run path names the build tree" >&2; exit 1
  fi
done
"$prefix/bin/tavelo-grab" --help | grep -q '^usage: tavelo-grab'
[ -e "$prefix/lib/libQuickTime.so" ] || { echo "not installed: lib/libQuickTime.so" >&2; exit 1; }
[ -d "$discs/frames" ] || { echo "no test discs in '$discs'" >&2; exit 1; }
"$prefix/bin/tavelo-grab" --list "$discs/frames" | grep -q '^Title 1: ' ||
  { echo "the installed tavelo-grab cannot read a disc" >&2; exit 1; }
# The version in the About box is the project's, which the metainfo's latest release names.
version=$(sed -n 's/^CMAKE_PROJECT_VERSION:STATIC=//p' "$build/CMakeCache.txt")
grep -q "<release version=\"$version\"" "$resources/org.tavelo.Tavelo.metainfo.xml" ||
  { echo "metainfo does not name version $version" >&2; exit 1; }
man_warnings=$(LC_ALL=C.UTF-8 MANWIDTH=80 man --warnings -l "$prefix/share/man/man1/tavelo-grab.1" 2>&1 >/dev/null || true)
if [ -n "$man_warnings" ]; then echo "tavelo-grab man page: $man_warnings" >&2; exit 1; fi
echo "desktop files valid and installed"
