// The process's one session with the DVD playback service: the busy lock, the event
// thread, the open media and its navigator, and the output settings the application gave.
#pragma once

#include "DVDClock.h"
#include "DVDClockMap.h"
#include "DVDEventQueue.h"
#include "DVDMedia.h"
#include "DVDNavigator.h"
#include "DVDPlayback.h"
#include "DVDPipeline.h"
#include "DVDReadFaults.h"
#include "DVDServiceLock.h"

#include <memory>
#include <mutex>

namespace dvd {

struct DVDService {
  explicit DVDService(bool manualClock) : mClock(manualClock) {}

  DVDServiceLock mLock;
  DVDClock mClock;
  // Where stream time lands on the clock: the navigator places, the pipeline asks.
  DVDClockMap mClockMap;
  DVDEventQueue mEvents;
  std::unique_ptr<DVDMedia> mMedia;
  // Declared before the navigator, which feeds it, so that it goes after it.
  std::unique_ptr<DVDPipeline> mPipeline;
  std::unique_ptr<DVDNavigator> mNavigator;
  bool mStillsOnly = false;  // DVDInitializeForStills: no lock, no sound device
  bool mMediaIsVolume = false;
  bool mSleeping = false;
  UInt32 mTimeEventRate = 0;
  Boolean mMuted = false;
  bool mCaptionsShown = false;  // closed captions drawn, for every disc opened
  UInt16 mVolume = 255;
  UInt32 mWindowID = 0;
  Rect mBounds{0, 0, 0, 0};
  UInt32 mDisplay = 0;
  DVDFrameReadyCallBackFunctionPtr mFrameReadyProc = nullptr;
  void* mFrameReadyRefCon = nullptr;
  std::shared_ptr<DVDReadFaults> mReadFaults;  // the drive's, for every disc opened; may be null
  DVDProbeOptions mProbeOptions;               // how every disc opened is probed
};

// The session, or null before DVDInitialize; callers hold ServiceMutex().
DVDService* Service();
std::mutex& ServiceMutex();

// The information DVDCopyPresentedFrame answers for a picture.
void FillPresentedInfo(DVDPicture const& picture, DVDPresentedFrameInfo* info);
// DVDCopyDecodedFrame for a picture taken already.
OSStatus CopyDecoded(DVDPicture const& picture, UInt32 neighbours, DVDDecodedFrameInfo* info,
                     void* pixels, UInt32* pixelsSize);

// Runs f with the session, or answers that there is none.
template <class F>
OSStatus WithService(F&& f) {
  std::lock_guard<std::mutex> g(ServiceMutex());
  DVDService* const s = Service();
  if (!s) return kDVDErrorNotInitialized;
  return f(*s);
}

// Runs f with the open media's navigator.
template <class F>
OSStatus WithNavigator(F&& f) {
  return WithService([&](DVDService& s) -> OSStatus {
    if (!s.mNavigator) return kDVDErrorNoMedia;
    return f(*s.mNavigator);
  });
}

// Playback paced by a clock that only moves when told (for tests); takes effect at the
// next DVDInitialize.
void UseManualClock(bool manual);
// Moves the manual clock forward.
void AdvanceManualClock(UInt32 milliseconds);
// Waits (in real time, at most timeoutMs) until navigation waits for the clock or a
// command and every event has been delivered; false on timeout.
bool WaitUntilQuiet(UInt32 timeoutMs);
// The menu button highlighted now (0 when none).
int HighlightedButton();
// Sample frames the audio sink has played since the media opened, and whether that sink
// is a sound device (false: the null sink); -1 without media.
int64_t AudioFramesDelivered(bool* isDevice = nullptr);
// The drive's faults that the block reads of discs opened from now on go through (null:
// none), as on a damaged disc or a slow drive.
void UseReadFaults(std::shared_ptr<DVDReadFaults> faults);
// How the information files of discs opened from now on are probed: a shorter limit, or
// helpers that stall as on files that hang the parser.
void UseProbeOptions(DVDProbeOptions const& options);
// The disc's number of the sound stream decoded last; -1 before any or without media.
int DecodedAudioStream();

}  // namespace dvd
