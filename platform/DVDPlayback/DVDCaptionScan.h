// A title's closed captions, read straight from the disc (DVDTitleReader: its pictures decoded
// at 1/8 size, since the caption bytes come with decoded pictures, in display order) and put
// through DVDCaptionDecoder. Pictures are numbered the way the presenter numbers them: by the
// first whole frame they are on screen for, repeated fields counted.
#pragma once

#include "DVDTitleReader.h"

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>

namespace dvd {

struct DVDCaptionCue {
  int64_t firstFrame = 0;
  int64_t endFrame = 0;  // the first frame without it
  std::string text;      // rows joined by '\n'
};

class DVDCaptionScan {
 public:
  // Each cue once it has ended; progress: the frames read so far.
  using CueSink = std::function<void(DVDCaptionCue const&)>;
  using Progress = std::function<void(int64_t frames)>;

  explicit DVDCaptionScan(std::string path);
  ~DVDCaptionScan();
  DVDCaptionScan(DVDCaptionScan const&) = delete;
  DVDCaptionScan& operator=(DVDCaptionScan const&) = delete;

  // Whether the title's pictures carry caption bytes, from its first sectors (no decoding).
  bool Carries(int title);
  // Every caption of the title, in order; false when the disc cannot be read there or stop
  // was set (the cues given until then stand).
  bool Read(int title, CueSink const& cue, Progress const& progress,
            std::atomic<bool> const* stop);

 private:
  DVDTitleReader mReader;
};

}  // namespace dvd
