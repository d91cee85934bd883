// The navigator's frame-exact positions: seeking to a frame of the title, stepping by
// frames both ways, and the frame numbers and counts they rest on.
#include "DVDNavigator.h"

#include <dvdnav/dvdnav.h>

#include <algorithm>
#include <cstdio>

namespace dvd {

namespace {

// Steps forward up to this far read on from where the picture shown came from.
constexpr int64_t kStepReadingOn = 60;
// In an open group the first pictures shown (B pictures before its key picture) are made
// from the group before: they cannot be decoded after a jump to it. A target among them is
// reached from the group before, reading on; so each group serves the frames from this far
// into it to as far into the next.
constexpr int64_t kLeadingPictures = 3;

}  // namespace

int64_t DVDNavigator::FirstFrame(ReadEvent const& e) const {
  int64_t const code = e.position.TimeCodeFrameTicks();
  return (e.titleTime + code / 2) / code;
}

bool DVDNavigator::Seeking() const {
  if (mSeek.mActive) return true;
  if (!mPipeline) return false;
  if (mPipeline->TargetPending()) return true;
  // A seek or step has its picture once the one after it is decoded too (a deinterlacer's
  // neighbour), except at the title's end, where reading on would leave the title.
  return mSeek.mShown >= 0 && mSeek.mShown + 1 < mDisc.mView.titleFrames && mPipeline->AfterMissing();
}

bool DVDNavigator::SeekReadsOn() {
  if (mSeek.mActive) return true;
  int64_t const target = mPipeline ? mPipeline->Target() : -1;
  if (target < 0) return false;
  // Never into what may leave the title: the program chain's end, stills, waits, stops.
  if (mReadAhead.empty()) return !mBlocks.InLastCell();
  ReadEvent const& next = mReadAhead.front();
  switch (next.event) {
    case DVDNAV_STOP:
    case DVDNAV_STILL_FRAME:
    case DVDNAV_WAIT:
      return false;
    case DVDNAV_HOP_CHANNEL:
      // Comes with a new program (chapter) of the chain too: only its end may leave.
      return !mBlocks.InLastCell();
    case DVDNAV_NAV_PACKET: {
      return next.position.inTitle && FirstFrame(next) <= target;
    }
    default:
      return true;
  }
}

void DVDNavigator::AnnounceChapterOf(int64_t frame) {
  if (std::vector<UInt32> const* const firsts = ChapterFirstFrames()) {
    mAnnounced.Chapter(int32_t(std::upper_bound(firsts->begin(), firsts->end(), frame) -
                            firsts->begin()));
  }
}

void DVDNavigator::StartSeek(int64_t target) {
  // Told now: paused, the group the target lands in may never take its turn on the clock
  // (the target may be served by the group before it).
  AnnounceChapterOf(target);
  EndScan();
  Jumped();
  mTime.EndStill();
  if (mPipeline) mPipeline->SetTarget(target);
  mSeek.Start(target);
  mBlocks.DropGroup();
  uint64_t const time = uint64_t(target * mDisc.mView.position.TimeCodeFrameTicks());
  int64_t const frames = std::max<int64_t>(1, mDisc.mView.titleFrames);
  Post([this, target, time, frames] {
    uint32_t position = 0;
    uint32_t length = 0;
    if (dvdnav_get_position(mDisc.Nav(), &position, &length) != DVDNAV_STATUS_OK) length = 0;
    // dvdnav interpolates inside the cell: a first guess that the probes correct.
    if (dvdnav_time_search(mDisc.Nav(), time) != DVDNAV_STATUS_OK) {
      dvdnav_sector_search(mDisc.Nav(), int64_t(length) * target / frames, SEEK_SET);
    }
    std::lock_guard<std::mutex> g(mMutex);
    mSeek.SetRange(target, length);
  });
}

bool DVDNavigator::SeekLanded(ReadEvent& e) {
  int64_t const ticks = e.position.FrameTicks();
  int64_t const first = FirstFrame(e);
  int64_t const frames = std::max<int64_t>(1, (e.vobuSpan + ticks / 2) / ticks);
  int64_t const from = first == 0 ? 0 : first + kLeadingPictures;
  uint32_t position = 0;
  uint32_t length = 0;
  bool const known = dvdnav_get_position(mDisc.Nav(), &position, &length) == DVDNAV_STATUS_OK;
  uint32_t next = 0;
  if (mSeek.NextProbe(from, first + frames + kLeadingPictures, e.position.inTitle, known,
                      position, &next) &&
      dvdnav_sector_search(mDisc.Nav(), next, SEEK_SET) == DVDNAV_STATUS_OK) {
    // Nothing of this group is read.
    mSeek.Asked(next);
    mBlocks.DropGroup();
    return false;
  }
  // Here or as near as the disc allows: the pictures before the target are decoded only.
  mSeek.Land();
  e.seekOffset = std::max<int64_t>(0, mSeek.mTarget - first) * ticks;
  return true;
}

OSStatus DVDNavigator::SeekToFrame(UInt32 frame) {
  std::lock_guard<std::mutex> g(mMutex);
  if (!mDisc.IsOpen()) return kDVDErrorNoMedia;
  if (!TitleUnderway() || mState == kDVDStatePlayingStill) return kDVDErrorNotAllowedNow;
  if (int64_t(frame) >= mDisc.mView.titleFrames) return kDVDErrorInvalidArgument;
  if (mState == kDVDStateScanning) SetState(kDVDStatePlaying);
  StartSeek(frame);
  return noErr;
}

OSStatus DVDNavigator::StepFrame(SInt32 frames) {
  std::lock_guard<std::mutex> g(mMutex);
  if (!mDisc.IsOpen()) return kDVDErrorNoMedia;
  if (!TitleUnderway() || mState == kDVDStatePlayingStill || !mPipeline) {
    return kDVDErrorNotAllowedNow;
  }
  DVDPicturePosition const shown = mPipeline->Shown();
  if (shown.frameInTitle < 0) return kDVDErrorNotAllowedNow;
  // Steps count from where a seek or step still on its way will be. A step always shows
  // another picture: on film, where a picture stays on screen for two frames, one step on
  // goes past both, one step back to the picture before.
  int64_t const pending = mSeek.mActive ? mSeek.mTarget : mPipeline->Target();
  DVDPicturePosition const at =
      pending >= 0 ? mPipeline->PictureShowing(shown.title, pending) : shown;
  int64_t const from = at.frameInTitle;
  int64_t const end = at.frameInTitle + at.framesShown;
  int64_t const target = frames > 0 ? std::max(from + frames, end) : from + frames;
  if (target < 0 || target >= mDisc.mView.titleFrames) return kDVDErrorInvalidArgument;
  if (mState != kDVDStatePaused) PauseNow();
  if (frames == 0) return noErr;
  if (mPipeline->HasPicture(shown.title, target) ||
      (target > from && target - from <= kStepReadingOn && !mPipeline->JumpOnItsWay())) {
    // Decoded already (queued, or kept from the way here), or a little further on where
    // reading goes anyway: no jump. Reading goes on until the picture after it is decoded.
    mPipeline->SetTarget(target);
    mSeek.mShown = target;
    mSeek.mStepped = true;
    // No picture group need be handled on the way: the chapter is told here.
    AnnounceChapterOf(target);
    Poke();
    return noErr;
  }
  StartSeek(target);
  mSeek.mStepped = true;
  return noErr;
}

OSStatus DVDNavigator::GetTitleFrameCount(UInt32* frames) {
  std::lock_guard<std::mutex> g(mMutex);
  if (!mDisc.IsOpen()) return kDVDErrorNoMedia;
  int64_t const count = mDisc.mView.titleFrames;
  if (count <= 0) return kDVDErrorNotAllowedNow;
  *frames = UInt32(count);
  return noErr;
}

}  // namespace dvd
