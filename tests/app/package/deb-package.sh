#!/usr/bin/env bash
# The Debian package a build tree makes: its dependencies worked out from the programs, every
# file where a desktop looks for it, and, unpacked into a scratch root, programs that run
# from there and read a disc.
#   deb-package.sh BUILD-DIR DISCS-DIR
set -euo pipefail
build=$1
discs=$2
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
fail() { echo "deb package: $*" >&2; exit 1; }

(cd "$scratch" && cpack -G DEB --config "$build/CPackConfig.cmake" -B "$scratch/out" >"$scratch/cpack.log" 2>&1) ||
  { cat "$scratch/cpack.log" >&2; fail "cpack failed"; }
debs=("$scratch"/out/tavelo_*.deb)
[ "${#debs[@]}" -eq 1 ] && [ -f "${debs[0]}" ] || fail "no single tavelo_*.deb in $(ls "$scratch/out")"
deb=${debs[0]}
[ "$(dpkg-deb -f "$deb" Package)" = tavelo ] || fail "package name"
version=$(sed -n 's/^CMAKE_PROJECT_VERSION:STATIC=//p' "$build/CMakeCache.txt")
[ "$(dpkg-deb -f "$deb" Version)" = "$version" ] || fail "version is not $version"

# Run-time dependencies as dpkg-shlibdeps reads them from the linked libraries, and those
# opened at run time.
depends=$(dpkg-deb -f "$deb" Depends)
for library in libc6 libqt6widgets6 libqt6gui6 libavcodec libswscale libdvdnav4 libdvdread8 libpulse0 libavfilter libx11-6; do
  grep -q "\b$library" <<<"$depends" || fail "Depends lacks $library: $depends"
done

root=$scratch/root
dpkg -x "$deb" "$root"
for f in bin/tavelo bin/tavelo-grab lib/libQuickTime.so share/applications/org.tavelo.Tavelo.desktop \
         share/metainfo/org.tavelo.Tavelo.metainfo.xml share/man/man1/tavelo.1 share/man/man1/tavelo-grab.1 \
         share/icons/hicolor/scalable/apps/tavelo.svg share/icons/hicolor/48x48/apps/tavelo.png \
         share/icons/hicolor/256x256/apps/tavelo.png share/tavelo/help/index.html; do
  [ -e "$root/usr/$f" ] || fail "not in the package: /usr/$f"
done
if dpkg-deb -c "$deb" | grep -F "$build"; then fail "a path of the build tree is packaged"; fi

# The programs find the media services beside themselves, wherever the tree is unpacked.
for program in tavelo tavelo-grab; do
  path=$(readelf -d "$root/usr/bin/$program" | sed -n 's/.*R\(UN\)\{0,1\}PATH.*\[\(.*\)\]/\2/p')
  [ "$path" = '$ORIGIN/../lib' ] || fail "$program's run path is '$path'"
  if ldd "$root/usr/bin/$program" | grep -E 'not found|'"$build"; then fail "$program's libraries"; fi
done

desktop-file-validate "$root/usr/share/applications/org.tavelo.Tavelo.desktop" || fail "desktop entry"
appstreamcli validate --no-net "$root/usr/share/metainfo/org.tavelo.Tavelo.metainfo.xml" >/dev/null ||
  fail "metainfo"
for page in tavelo tavelo-grab; do
  warnings=$(LC_ALL=C.UTF-8 MANWIDTH=80 man --warnings -l "$root/usr/share/man/man1/$page.1" 2>&1 >/dev/null || true)
  [ -z "$warnings" ] || fail "$page man page: $warnings"
done

# The unpacked tavelo-grab lists a disc folder's titles, and a disc image's.
list=$("$root/usr/bin/tavelo-grab" --list "$discs/three") || fail "tavelo-grab --list three"
[ "$(grep -c '^Title [0-9]*: ' <<<"$list")" -eq 3 ] || fail "three titles expected: $list"
for t in 1 2 3; do
  grep -q "^Title $t: 00:00:04.004, 120 frames, 1 chapters, NTSC 4:3" <<<"$list" || fail "title $t: $list"
done
list=$("$root/usr/bin/tavelo-grab" --list "$discs/ntsc43.iso") || fail "tavelo-grab --list ntsc43.iso"
grep -q '^Title 1: 00:00:12.012, 360 frames, .*NTSC 4:3' <<<"$list" || fail "ntsc43.iso: $list"
echo "package $(basename "$deb") unpacked, tavelo-grab lists the discs"
