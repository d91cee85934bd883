#include "DVDAnnouncer.h"

namespace dvd {

bool DVDAnnouncer::Position(DVDNavPosition const& position) {
  int32_t title = position.title;
  bool const inTitle = position.inTitle;
  if (!inTitle) title = 0;
  uint32_t const height = position.height;
  DVDVideoStandard const standard =
      height == 0 ? mStandard : (height == 576 || height == 288 ? kDVDVideoStandardPAL
                                                                : kDVDVideoStandardNTSC);
  DVDAspectRatio const aspect =
      position.aspect == 3 ? kDVDAspectRatio16x9 : kDVDAspectRatio4x3;

  bool const titleChanged = title != mTitle;
  if (titleChanged) {
    mTitle = title;
    mEvents.Post(kDVDEventTitle, DVDEventValue(title));
  }
  if (standard != mStandard) {
    mStandard = standard;
    mEvents.Post(kDVDEventVideoStandard, DVDEventValue(standard));
  }
  if (aspect != mAspect) {
    mAspect = aspect;
    mEvents.Post(kDVDEventDisplayMode, DVDEventValue(aspect));
  }
  // The chapter waits for its pictures: the cell is read ahead of them, and a seek's probes
  // pass through cells never shown.
  if (titleChanged || !inTitle) mChapter = -1;
  return titleChanged;
}

void DVDAnnouncer::Chapter(int32_t chapter) {
  if (chapter == mChapter) return;
  mChapter = chapter;
  mEvents.Post(kDVDEventPTT, DVDEventValue(chapter));
}

void DVDAnnouncer::Forget() {
  mTitle = mChapter = -1;
  mAspect = kDVDAspectRatioUninitialized;
  mStandard = kDVDVideoStandardUnknown;
}

}  // namespace dvd
