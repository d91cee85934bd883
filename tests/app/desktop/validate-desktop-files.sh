#!/usr/bin/env bash
# The desktop entry, the AppStream metadata and the manual page as installed: each accepted by
# its own validator, and what an install puts where a desktop looks for it.
#   validate-desktop-files.sh RESOURCES BUILD-DIR
set -euo pipefail
resources=$1
build=$2
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
for f in bin/tavelo share/applications/org.tavelo.Tavelo.desktop \
         share/metainfo/org.tavelo.Tavelo.metainfo.xml share/man/man1/tavelo.1 \
         share/icons/hicolor/256x256/apps/tavelo.png share/tavelo/help; do
  [ -e "$prefix/$f" ] || { echo "not installed: $f" >&2; exit 1; }
done
echo "desktop files valid and installed"
