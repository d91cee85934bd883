// Frame-exact commands on the real clock, for bench/frame_steps.sh: the time from the call
// to the picture it asks for being presented (step forward, step back once and ten times in
// a row, seek 30 s away), and how long calls from the application's thread take while the
// disc plays (p50 / p99 of DVDDoMenuMouseOver, DVDPause + DVDPlay, DVDGetFrameInTitle).
//
//   bench_frame_steps DISC     (a title of at least 40 s: the authored long disc)
// Prints one "name value" line per figure, times in milliseconds.
#include "BenchDiscSession.h"
#include "DVDPlayback.h"

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace {

using bench_disc::Clock;
using bench_disc::Ms;
using bench_disc::Until;

double Median(std::vector<double> v) {
  std::sort(v.begin(), v.end());
  return v.empty() ? 0 : v[v.size() / 2];
}

double Percentile(std::vector<double> v, double p) {
  std::sort(v.begin(), v.end());
  return v.empty() ? 0 : v[std::min(v.size() - 1, size_t(double(v.size()) * p))];
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "usage: bench_frame_steps DISC\n");
    return 2;
  }
  if (!bench_disc::OpenAndPlay(argv[1])) return 1;
  std::this_thread::sleep_for(std::chrono::seconds(2));

  // Calls from the application's thread while playing, once a millisecond.
  std::vector<double> over, pause, frame;
  for (int i = 0; i < 1000; ++i) {
    SInt32 index = 0;
    Point const pt{100, 100};
    auto t = Clock::now();
    DVDDoMenuMouseOver(pt, &index);
    over.push_back(Ms(Clock::now() - t));
    UInt32 f = 0;
    t = Clock::now();
    DVDGetFrameInTitle(&f);
    frame.push_back(Ms(Clock::now() - t));
    if (i % 50 == 0) {
      t = Clock::now();
      DVDPause();
      DVDPlay();
      pause.push_back(Ms(Clock::now() - t));
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  std::printf("menu_mouse_over_p50 %.4f\nmenu_mouse_over_p99 %.4f\n", Percentile(over, 0.5),
              Percentile(over, 0.99));
  std::printf("get_frame_p50 %.4f\nget_frame_p99 %.4f\n", Percentile(frame, 0.5),
              Percentile(frame, 0.99));
  std::printf("pause_play_p50 %.4f\npause_play_p99 %.4f\n", Percentile(pause, 0.5),
              Percentile(pause, 0.99));

  // Steps and seeks, paused, from a frame in the title's second quarter.
  DVDPause();
  UInt32 base = 450;
  Until(base, [&] { return DVDSeekToFrame(base); });
  std::vector<double> forward, backOnce, backRun, seek;
  for (int round = 0; round < 10; ++round) {
    UInt32 const at = base + UInt32(round) * 60;
    Until(at, [&] { return DVDSeekToFrame(at); });
    forward.push_back(Until(at + 1, [] { return DVDStepFrame(1); }));
    // Back once from a fresh seek: the group before has not been decoded yet.
    UInt32 const fresh = at + 31;
    Until(fresh, [&] { return DVDSeekToFrame(fresh); });
    backOnce.push_back(Until(fresh - 1, [] { return DVDStepFrame(-1); }));
    // Ten back in a row.
    auto const start = Clock::now();
    for (UInt32 k = 2; k <= 11; ++k) Until(fresh - k, [] { return DVDStepFrame(-1); });
    backRun.push_back(Ms(Clock::now() - start) / 10);
    // 30 s away (900 frames), forward then back.
    UInt32 const far = round % 2 == 0 ? fresh + 900 : fresh - 11 - 300;
    if (far < 1790) seek.push_back(Until(far, [&] { return DVDSeekToFrame(far); }));
  }
  std::printf("step_forward %.3f\nstep_back_once %.3f\nstep_back_run_each %.3f\n"
              "seek_30s %.3f\n",
              Median(forward), Median(backOnce), Median(backRun), Median(seek));
  DVDSetFrameReadyCallBack(nullptr, nullptr);
  DVDCloseMediaFile();
  DVDDispose();
  return 0;
}
