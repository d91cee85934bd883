// Takes stills from a disc with a playback session of its own, beside the user's player and
// without sound: the disc opened, the title asked for played and paused, and each frame
// brought on screen exactly (a seek, or steps forward when it is close) before it is taken.
// Used from one thread.
#pragma once

#include <QString>

#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <vector>

#include "DVDPlayback.h"
#include "DVDStill.h"
#include "StillTitleInfo.h"

class StillTaker {
 public:
  StillTaker() = default;
  ~StillTaker() { Close(); }
  StillTaker(StillTaker const&) = delete;
  StillTaker& operator=(StillTaker const&) = delete;

  // The disc at path (a VIDEO_TS folder, a folder holding one, a mount point, an image or a
  // device); its titles are read. On failure the status, and *why in a few words.
  OSStatus Open(QString const& path, QString* why);
  void Close();
  std::vector<StillTitleInfo> const& Titles() const { return mTitles; }
  // The longest title's number (0 when there is none).
  UInt16 LongestTitle() const;

  // Plays the title and pauses on its first picture; false when it does not come.
  bool StartTitle(UInt16 title);
  // Brings frame on screen and takes it (subpicture layer with it when asked); false when
  // the frame does not come.
  bool Take(uint32_t frame, bool withSubtitles, DVDStillRequest* request);

 private:
  static void FrameReady(UInt32, void* refCon);
  // Waits until the picture on screen is frame (any frame of title with kDVDNoFrame).
  bool WaitFor(UInt16 title, uint32_t frame, int timeoutMs);

  bool mInitialized = false;
  bool mOpen = false;
  std::vector<StillTitleInfo> mTitles;
  std::mutex mMutex;
  std::condition_variable mChanged;
  UInt32 mShownFrame = kDVDNoFrame;
  UInt16 mShownTitle = 0;
};
