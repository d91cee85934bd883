// What the application was told last of the position: title, chapter, picture shape and
// standard, and the highlighted menu button; each announced through the event queue as it
// changes. Guarded by the navigator's lock.
#pragma once

#include "DVDDiscMachine.h"
#include "DVDEventQueue.h"
#include "DVDPlayback.h"

#include <cstdint>

namespace dvd {

class DVDAnnouncer {
 public:
  explicit DVDAnnouncer(DVDEventQueue& events) : mEvents(events) {}
  DVDAnnouncer(DVDAnnouncer const&) = delete;
  DVDAnnouncer& operator=(DVDAnnouncer const&) = delete;

  // Title, standard and shape of a position reached; true when the title changed.
  bool Position(DVDNavPosition const& position);
  void Chapter(int32_t chapter);
  // Everything is announced again as the disc starts over.
  void Forget();

  int32_t mTitle = -1;
  int32_t mChapter = -1;
  DVDAspectRatio mAspect = kDVDAspectRatioUninitialized;
  DVDVideoStandard mStandard = kDVDVideoStandardUnknown;
  int mButton = 0;  // the highlighted menu button (1-based, 0 when none)

 private:
  DVDEventQueue& mEvents;
};

}  // namespace dvd
