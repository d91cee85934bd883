// The DVD playback service's cost: demultiplexing and decoding a title flat out (Google
// Benchmark), and, for bench/dvd_playback.sh, the time from opening a disc to its first
// presented picture and the CPU used by playing it in real time.
//
//   bench_dvd_playback [benchmark flags]          decode benchmark (TAVELO_BENCH_VOB)
//   bench_dvd_playback first-picture DISC          prints ms from open to first picture
//   bench_dvd_playback play DISC SECONDS           prints CPU seconds and pictures shown
#include "DVDAudioDecoder.h"
#include "DVDDemuxer.h"
#include "DVDPlayback.h"
#include "DVDVideoDecoder.h"

#include <benchmark/benchmark.h>

#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <memory>
#include <mutex>
#include <string>
#include <sys/resource.h>
#include <thread>
#include <vector>

namespace {

struct Counts {
  int64_t pictures = 0;
  int64_t samples = 0;
};

// Reads the file block by block as the navigator would hand it over, and decodes the
// first video stream and the first audio stream of whatever kind.
Counts DecodeFile(std::string const& path) {
  Counts counts;
  dvd::DVDVideoDecoder video;
  if (!video.Construct([&](AVFrame*) { ++counts.pictures; })) std::abort();
  std::unique_ptr<dvd::DVDAudioDecoder> audio;
  dvd::DVDDemuxer demuxer([&](dvd::DVDPayload const& p) {
    if (p.kind == dvd::DVDStreamKind::Video) {
      video.Decode(p.data, p.size, p.pts);
    } else if (p.kind != dvd::DVDStreamKind::Subpicture && p.index == 0) {
      if (!audio) {
        audio = std::make_unique<dvd::DVDAudioDecoder>();
        if (!audio->Construct(p.kind, [&](int64_t, int, int16_t const*, size_t n) {
              counts.samples += int64_t(n);
            })) {
          std::abort();
        }
      }
      audio->Decode(p.data, p.size, p.pts);
    }
  });
  std::ifstream in(path, std::ios::binary);
  if (!in) std::abort();
  std::vector<char> block(2048);
  while (in.read(block.data(), std::streamsize(block.size()))) {
    demuxer.Block(reinterpret_cast<uint8_t const*>(block.data()), block.size());
  }
  video.Drain();
  return counts;
}

void DecodeTitle(benchmark::State& state) {
  char const* const vob = std::getenv("TAVELO_BENCH_VOB");
  if (!vob) {
    state.SkipWithError("TAVELO_BENCH_VOB names no VOB file");
    return;
  }
  Counts counts;
  for (auto _ : state) counts = DecodeFile(vob);
  state.counters["pictures"] = double(counts.pictures);
  state.counters["audio_frames"] = double(counts.samples);
}
BENCHMARK(DecodeTitle)->Unit(benchmark::kMillisecond)->MeasureProcessCPUTime()->Iterations(3);

// ---- the service end to end

std::mutex gMutex;
std::condition_variable gShown;
UInt32 gPictures = 0;

void FrameReady(UInt32, void*) {
  std::lock_guard<std::mutex> g(gMutex);
  ++gPictures;
  gShown.notify_all();
}

bool Open(char const* disc) {
  FSRef ref;
  std::memset(&ref, 0, sizeof ref);
  if (DVDInitialize() != noErr) return false;
  if (FSPathMakeRef(reinterpret_cast<UInt8 const*>(disc), &ref, nullptr) != noErr) return false;
  if (DVDSetFrameReadyCallBack(&FrameReady, nullptr) != noErr) return false;
  return DVDOpenMediaFile(&ref) == noErr && DVDPlay() == noErr;
}

double CpuSeconds() {
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  return double(usage.ru_utime.tv_sec + usage.ru_stime.tv_sec) +
         double(usage.ru_utime.tv_usec + usage.ru_stime.tv_usec) / 1e6;
}

int FirstPicture(char const* disc) {
  auto const start = std::chrono::steady_clock::now();
  if (!Open(disc)) return 1;
  {
    std::unique_lock<std::mutex> lk(gMutex);
    if (!gShown.wait_for(lk, std::chrono::seconds(10), [] { return gPictures > 0; })) return 1;
  }
  auto const ms = std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() -
                                                            start)
                      .count();
  std::printf("%.2f\n", ms);
  DVDCloseMediaFile();
  DVDDispose();
  return 0;
}

int Play(char const* disc, int seconds) {
  if (!Open(disc)) return 1;
  std::this_thread::sleep_for(std::chrono::seconds(seconds));
  double const cpu = CpuSeconds();
  UInt32 pictures = 0;
  {
    std::lock_guard<std::mutex> g(gMutex);
    pictures = gPictures;
  }
  std::printf("%.3f %u\n", cpu, pictures);
  DVDCloseMediaFile();
  DVDDispose();
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc == 3 && std::strcmp(argv[1], "first-picture") == 0) return FirstPicture(argv[2]);
  if (argc == 4 && std::strcmp(argv[1], "play") == 0) return Play(argv[2], std::atoi(argv[3]));
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  return 0;
}
