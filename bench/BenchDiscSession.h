// For the disc benchmarks: the playback service playing a disc on the real clock, and the
// frame of each picture presented as it comes, so that a benchmark can wait for a frame.
#pragma once

#include "DVDPlayback.h"

#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <mutex>

namespace bench_disc {

using Clock = std::chrono::steady_clock;

inline double Ms(Clock::duration d) { return std::chrono::duration<double, std::milli>(d).count(); }

struct Presented {
  std::mutex mutex;
  std::condition_variable changed;
  UInt32 frame = kDVDNoFrame;
};
inline Presented gPresented;

inline void FrameReady(UInt32, void*) {
  DVDPresentedFrameInfo info{};
  UInt32 size = 0;
  if (DVDCopyPresentedFrame(&info, nullptr, &size) != noErr) return;
  std::lock_guard<std::mutex> g(gPresented.mutex);
  gPresented.frame = info.frameInTitle;
  gPresented.changed.notify_all();
}

inline void Events(DVDEventCode, DVDEventValue, DVDEventValue, void*) {}

// Starts the service and plays the disc at path; false (with a message) when it cannot.
inline bool OpenAndPlay(char const* path) {
  if (DVDInitialize() != noErr) return false;
  DVDEventCode const codes[] = {kDVDEventError};
  DVDEventCallBackRef id = 0;
  DVDRegisterEventCallBack(&Events, codes, 1, nullptr, &id);
  DVDSetFrameReadyCallBack(&FrameReady, nullptr);
  FSRef ref;
  if (FSPathMakeRef(reinterpret_cast<UInt8 const*>(path), &ref, nullptr) != noErr ||
      DVDOpenMediaFile(&ref) != noErr || DVDPlay() != noErr) {
    std::fprintf(stderr, "cannot play %s\n", path);
    return false;
  }
  return true;
}

// Waits until the title's pictures are presented; false after 10 s.
inline bool WaitForTitle() {
  std::unique_lock<std::mutex> lk(gPresented.mutex);
  return gPresented.changed.wait_for(lk, std::chrono::seconds(10),
                                     [] { return gPresented.frame != kDVDNoFrame; });
}

// Runs command, then waits until frame is presented: the milliseconds between.
template <class F>
double Until(UInt32 frame, F&& command) {
  auto const start = Clock::now();
  if (OSStatus const status = command(); status != noErr) {
    std::fprintf(stderr, "command refused (%d) on the way to frame %u\n", int(status), frame);
    std::exit(1);
  }
  std::unique_lock<std::mutex> lk(gPresented.mutex);
  if (!gPresented.changed.wait_for(lk, std::chrono::seconds(10),
                                   [&] { return gPresented.frame == frame; })) {
    std::fprintf(stderr, "frame %u never came (at %u)\n", frame, gPresented.frame);
    std::exit(1);
  }
  return Ms(Clock::now() - start);
}

}  // namespace bench_disc
