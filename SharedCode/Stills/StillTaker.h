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

// What a title's pictures carry: video, or film at 24000/1001 frames a second carried to
// NTSC by 3:2 pulldown, either flagged (soft telecine: progressive pictures, every other one
// repeating a field) or in the pictures (hard telecine: 2 of every 5 frames mix the fields of
// two film frames).
enum class StillContent { kUnknown, kVideo, kSoftTelecine, kHardTelecine };

// A closed caption: its words (rows joined by '\n'), shown from firstFrame up to endFrame.
struct StillCaption {
  uint32_t firstFrame = 0;
  uint32_t endFrame = 0;
  std::string text;
};

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
  // The title playing's sound and subtitle streams, numbered from 0 (-1: the disc's own);
  // subtitles chosen are shown. False when the title has no such stream.
  bool ChooseStreams(int audio, int subPicture);
  // Shows the title's closed captions in the stills taken from now on, once they have all
  // been read from the disc; cues (may be null) gets them. False when they cannot be read.
  bool ShowCaptions(UInt16 title, std::vector<StillCaption>* cues);
  // Brings frame on screen and takes it (subpicture layer with it when asked); false when
  // the frame does not come. On film a picture may be shown at two frames: either brings it.
  bool Take(uint32_t frame, bool withSubtitles, DVDStillRequest* request);
  // Looks at a run of a title's pictures a third of the way in (the title is left paused
  // there); kUnknown when they cannot be taken.
  StillContent Examine(StillTitleInfo const& title);

 private:
  static void FrameReady(UInt32, void* refCon);
  // Waits until the picture on screen is the one shown at frame (any frame of title with
  // kDVDNoFrame).
  bool WaitFor(UInt16 title, uint32_t frame, int timeoutMs);

  bool mInitialized = false;
  bool mOpen = false;
  std::vector<StillTitleInfo> mTitles;
  std::mutex mMutex;
  std::condition_variable mChanged;
  UInt32 mShownFrame = kDVDNoFrame;
  UInt32 mShownFrames = 1;  // frames the picture on screen is shown for (2 on film)
  UInt16 mShownTitle = 0;
};
