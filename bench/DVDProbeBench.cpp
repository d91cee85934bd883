// What probing a disc's information files in child processes costs on opening it: every file
// of the manager and the titlesets parsed alone in a child of this process.
#include "DVDIFOProbe.h"

#include <benchmark/benchmark.h>

#include <cstdlib>
#include <string>

namespace {

std::string Discs() {
  char const* env = std::getenv("TAVELO_BENCH_DISCS");
  if (env && *env) return env;
#ifdef TAVELO_TEST_DISCS
  return TAVELO_TEST_DISCS;
#else
  return "discs";
#endif
}

void Probe(benchmark::State& state, char const* disc) {
  std::string const folder = Discs() + "/" + disc + "/VIDEO_TS";
  long const before = dvd::DVDIFOProbe::ChildrenStarted();
  for (auto _ : state) {
    dvd::DVDIFOProbe::ForgetResults();
    auto const result = dvd::DVDIFOProbe::Probe(folder, folder, {});
    if (result.status != 0 || result.overlay) state.SkipWithError("the disc did not probe clean");
  }
  state.counters["children"] = double(dvd::DVDIFOProbe::ChildrenStarted() - before) /
                               double(state.iterations());
}

void BM_ProbeOneTitleset(benchmark::State& state) { Probe(state, "ntsc43"); }
void BM_ProbeThreeTitlesets(benchmark::State& state) { Probe(state, "three"); }
BENCHMARK(BM_ProbeOneTitleset)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ProbeThreeTitlesets)->Unit(benchmark::kMillisecond);

// A reopen: the remembered result.
void BM_ProbeRemembered(benchmark::State& state) {
  std::string const folder = Discs() + "/three/VIDEO_TS";
  dvd::DVDIFOProbe::ForgetResults();
  dvd::DVDIFOProbe::Probe(folder, folder, {});
  for (auto _ : state) benchmark::DoNotOptimize(dvd::DVDIFOProbe::Probe(folder, folder, {}));
}
BENCHMARK(BM_ProbeRemembered)->Unit(benchmark::kMicrosecond);

}  // namespace

BENCHMARK_MAIN();
