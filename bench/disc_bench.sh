# Sourced by the disc benchmarks: builds TARGET in release mode into the build folder given
# (or build-bench), authors the test discs there and sets bench (the program) and discs.
#   disc_bench_setup TARGET [build-dir [extra cmake options...]]
disc_bench_setup() {
  local target=$1; shift
  local root
  root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
  local dir=${1:-$root/build-bench}
  [ $# -gt 0 ] && shift
  export CCACHE_BASEDIR="$root" CCACHE_NOHASHDIR=1
  cmake -S "$root" -B "$dir" -G Ninja -DCMAKE_BUILD_TYPE=Release -DTAVELO_BENCH=ON \
        -DTAVELO_TESTS=OFF -DCMAKE_CXX_COMPILER_LAUNCHER=ccache \
        -DCMAKE_C_COMPILER_LAUNCHER=ccache "$@" >/dev/null
  cmake --build "$dir" --target "$target"
  discs=$dir/discs
  "$root/tests/media/author-discs" "$discs"
  bench=$dir/bench/$target
  export XDG_RUNTIME_DIR=${XDG_RUNTIME_DIR:-$(mktemp -d)}
}

# Authors DISC once (a stamp marks it done): MAKE FILE writes a 10-minute NTSC program
# stream to FILE, which becomes title 1 with a chapter every 30 s.
#   disc_bench_tenmin DISC ASPECT MAKE
disc_bench_tenmin() {
  local disc=$1 aspect=$2 make=$3 chapters=0 m
  [ -f "$disc/stamp" ] && return
  rm -rf "$disc" "$disc.work"
  mkdir -p "$disc.work"
  "$make" "$disc.work/t.mpg"
  for m in $(seq 1 19); do chapters="$chapters,$((m * 30 / 60)):$(printf %02d $((m * 30 % 60)))"; done
  cat > "$disc.work/t.xml" <<XML
<dvdauthor dest="$disc"><vmgm /><titleset><titles><video format="ntsc" aspect="$aspect" />
<pgc><vob file="$disc.work/t.mpg" chapters="$chapters" /></pgc></titles></titleset></dvdauthor>
XML
  VIDEO_FORMAT=NTSC dvdauthor -x "$disc.work/t.xml" >"$disc.work/log" 2>&1
  rm -rf "$disc.work"
  touch "$disc/stamp"
}
