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
