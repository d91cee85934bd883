// The navigator's title commands: which title plays, playing another from its start, and
// going to a chapter of the one playing. Checked at once; the jumps are the reader's to make.
// Chapters go by the picture on screen and the table's first frames where the table has them.
#include "DVDNavigator.h"

#include "PlatformLog.h"

#include <dvdnav/dvdnav.h>

namespace dvd {

OSStatus DVDNavigator::GetTitle(UInt16* title) {
  std::lock_guard<std::mutex> g(mMutex);
  if (!mDisc.IsOpen()) return kDVDErrorNoMedia;
  // The title last announced: the one whose pictures are on their way to the screen.
  bool const playing = mState != kDVDStateIdle && mState != kDVDStateStopped;
  *title = playing && mAnnounced.mTitle > 0 ? UInt16(mAnnounced.mTitle) : 0;
  return noErr;
}

OSStatus DVDNavigator::SetTitle(UInt16 title) {
  std::lock_guard<std::mutex> g(mMutex);
  if (!mDisc.IsOpen()) return kDVDErrorNoMedia;
  if (title < 1 || title > mDisc.TitleCount()) return kDVDErrorInvalidArgument;
  bool const restart = mState == kDVDStateIdle || mState == kDVDStateStopped;
  Post([this, title, restart] {
    // From a stop the machine starts over first: it only jumps once it runs.
    bool const started = !restart || StartOver();
    // A menu waiting on its still lets go of it: the machine jumps only once it reads on.
    bool still = false;
    {
      std::lock_guard<std::mutex> g(mMutex);  // a seek may clear it meanwhile
      still = mTime.mStillInfinite;
    }
    if (started && still) dvdnav_still_skip(mDisc.Nav());
    bool const there = started && dvdnav_title_play(mDisc.Nav(), title) == DVDNAV_STATUS_OK;
    std::lock_guard<std::mutex> g(mMutex);
    if (restart) ForgetAnnounced();
    if (!there) {
      PlatformLog("DVD: title %d cannot be played", int(title));
      return;
    }
    EndScan();
    Jumped();
    SetState(kDVDStatePlaying);
  });
  return noErr;
}

OSStatus DVDNavigator::SetChapter(UInt16 chapter) {
  std::lock_guard<std::mutex> g(mMutex);
  if (!mDisc.IsOpen()) return kDVDErrorNoMedia;
  if (!TitleUnderway()) return kDVDErrorNotAllowedNow;
  int32_t const title = mDisc.mView.position.title;
  if (chapter < 1 || chapter > mDisc.TitleParts(title)) return kDVDErrorInvalidArgument;
  std::vector<UInt32> const* const firsts = ChapterFirstFrames();
  if (firsts && chapter <= firsts->size()) {
    SeekChapter((*firsts)[chapter - 1u]);
    return noErr;
  }
  Post([this, title, chapter] {
    bool const found = dvdnav_part_play(mDisc.Nav(), title, chapter) == DVDNAV_STATUS_OK;
    std::lock_guard<std::mutex> g(mMutex);
    if (found) Jumped();
  });
  return noErr;
}

std::vector<UInt32> const* DVDNavigator::ChapterFirstFrames() {
  if (!mPipeline || !mDisc.mTitleTable || mState == kDVDStatePlayingStill) return nullptr;
  DVDTitleTable::Title const* const known = mDisc.mTitleTable->Find(UInt32(mDisc.mView.position.title));
  if (!known || known->chapterFirstFrames.empty() ||
      int64_t(known->chapterFirstFrames.back()) >= mDisc.mView.titleFrames) {
    return nullptr;
  }
  return &known->chapterFirstFrames;
}

int64_t DVDNavigator::ChapterCountedFrom() {
  // Pressed again before the last one shows, a command counts from where that one goes.
  int64_t const pending = mSeek.mActive ? mSeek.mTarget : mPipeline->Target();
  if (pending >= 0) return pending;
  DVDPicturePosition const shown = mPipeline->Shown();
  return shown.title == mDisc.mView.position.title ? shown.frameInTitle : -1;
}

void DVDNavigator::SeekChapter(int64_t frame) {
  if (mState == kDVDStateScanning) SetState(kDVDStatePlaying);
  StartSeek(frame);
}

}  // namespace dvd
