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
// Halving a title's sectors finds any group of a 2 GiB program chain in 20 probes.
constexpr int kMaxSeekProbes = 24;
// In an open group the first pictures shown (B pictures before its key picture) are made
// from the group before: they cannot be decoded after a jump to it. A target among them is
// reached from the group before, reading on; so each group serves the frames from this far
// into it to as far into the next.
constexpr int64_t kLeadingPictures = 3;

bool IsPAL(uint32_t height) { return height == 576 || height == 288; }

}  // namespace

int64_t DVDNavigator::FrameTicks(Position const& position) const {
  return IsPAL(position.height) ? 3600 : 3003;
}

// Time codes count NTSC frames as thirtieths of a second.
int64_t DVDNavigator::TimeCodeFrameTicks(Position const& position) const {
  return IsPAL(position.height) ? 3600 : 3000;
}

int64_t DVDNavigator::FirstFrame(ReadEvent const& e) const {
  int64_t const code = TimeCodeFrameTicks(e.position);
  return (e.titleTime + code / 2) / code;
}

bool DVDNavigator::Seeking() const {
  if (mSeek.active) return true;
  if (!mPresenter) return false;
  if (mPresenter->TargetPending()) return true;
  // A seek or step has its picture once the one after it is decoded too (a deinterlacer's
  // neighbour), except at the title's end, where reading on would leave the title.
  return mSeekShown >= 0 && mSeekShown + 1 < mView.titleFrames && mPresenter->AfterMissing();
}

bool DVDNavigator::SeekReadsOn() {
  if (mSeek.active) return true;
  int64_t const target = mPresenter ? mPresenter->Target() : -1;
  if (target < 0) return false;
  // Never into what may leave the title: the program chain's end, stills, waits, stops.
  if (mReadAhead.empty()) return !mInLastCell;
  ReadEvent const& next = mReadAhead.front();
  switch (next.event) {
    case DVDNAV_STOP:
    case DVDNAV_STILL_FRAME:
    case DVDNAV_WAIT:
      return false;
    case DVDNAV_HOP_CHANNEL:
      // Comes with a new program (chapter) of the chain too: only its end may leave.
      return !mInLastCell;
    case DVDNAV_NAV_PACKET: {
      return next.position.inTitle && FirstFrame(next) <= target;
    }
    default:
      return true;
  }
}

void DVDNavigator::AnnounceChapterOf(int64_t frame) {
  if (std::vector<UInt32> const* const firsts = ChapterFirstFrames()) {
    AnnounceChapter(int32_t(std::upper_bound(firsts->begin(), firsts->end(), frame) -
                            firsts->begin()));
  }
}

void DVDNavigator::StartSeek(int64_t target) {
  // Told now: paused, the group the target lands in may never take its turn on the clock
  // (the target may be served by the group before it).
  AnnounceChapterOf(target);
  EndScan();
  Jumped();
  mStillInfinite = mStillTimed = false;
  if (mPresenter) mPresenter->SetTarget(target);
  // The probes' range is the program chain's, known once the reader looks.
  mSeek = Seek{true, target, 0, 0, 0};
  mSeekShown = target;
  mBlocksLeft = 0;
  mAtCellEnd = false;
  uint64_t const time = uint64_t(target * TimeCodeFrameTicks(mView.position));
  int64_t const frames = std::max<int64_t>(1, mView.titleFrames);
  Post([this, target, time, frames] {
    uint32_t position = 0;
    uint32_t length = 0;
    if (dvdnav_get_position(mNav, &position, &length) != DVDNAV_STATUS_OK) length = 0;
    // dvdnav interpolates inside the cell: a first guess that the probes correct.
    if (dvdnav_time_search(mNav, time) != DVDNAV_STATUS_OK) {
      dvdnav_sector_search(mNav, int64_t(length) * target / frames, SEEK_SET);
    }
    std::lock_guard<std::mutex> g(mMutex);
    if (mSeek.active && mSeek.target == target) mSeek.hi = length;
  });
}

bool DVDNavigator::SeekLanded(ReadEvent& e) {
  int64_t const ticks = FrameTicks(e.position);
  int64_t const first = FirstFrame(e);
  int64_t const frames = std::max<int64_t>(1, (e.vobuSpan + ticks / 2) / ticks);
  int64_t const from = first == 0 ? 0 : first + kLeadingPictures;
  bool const inside = from <= mSeek.target && mSeek.target < first + frames + kLeadingPictures;
  uint32_t position = 0;
  uint32_t length = 0;
  if (!inside && e.position.inTitle && mSeek.probes < kMaxSeekProbes &&
      dvdnav_get_position(mNav, &position, &length) == DVDNAV_STATUS_OK) {
    if (from > mSeek.target) {
      // Every group from this one on comes later.
      mSeek.hi = std::min(mSeek.hi, position);
    } else {
      // This group holds the sector asked for; every one up to it comes earlier.
      mSeek.lo = std::max({mSeek.lo, position + 1, mSeek.asked + 1});
    }
    if (mSeek.lo < mSeek.hi) {
      uint32_t const next = mSeek.lo + (mSeek.hi - mSeek.lo) / 2;
      ++mSeek.probes;
      if (dvdnav_sector_search(mNav, next, SEEK_SET) == DVDNAV_STATUS_OK) {
        // Nothing of this group is read.
        mSeek.asked = next;
        mBlocksLeft = 0;
        mAtCellEnd = false;
        return false;
      }
    }
  }
  // Here or as near as the disc allows: the pictures before the target are decoded only.
  mSeek.active = false;
  e.seekOffset = std::max<int64_t>(0, mSeek.target - first) * ticks;
  return true;
}

OSStatus DVDNavigator::SeekToFrame(UInt32 frame) {
  std::lock_guard<std::mutex> g(mMutex);
  if (!mNav) return kDVDErrorNoMedia;
  if (!TitleUnderway() || mState == kDVDStatePlayingStill) return kDVDErrorNotAllowedNow;
  if (int64_t(frame) >= mView.titleFrames) return kDVDErrorInvalidArgument;
  if (mState == kDVDStateScanning) SetState(kDVDStatePlaying);
  StartSeek(frame);
  return noErr;
}

OSStatus DVDNavigator::StepFrame(SInt32 frames) {
  std::lock_guard<std::mutex> g(mMutex);
  if (!mNav) return kDVDErrorNoMedia;
  if (!TitleUnderway() || mState == kDVDStatePlayingStill || !mPresenter) {
    return kDVDErrorNotAllowedNow;
  }
  DVDPicturePosition const shown = mPresenter->Shown();
  if (shown.frameInTitle < 0) return kDVDErrorNotAllowedNow;
  // Steps count from where a seek or step still on its way will be. A step always shows
  // another picture: on film, where a picture stays on screen for two frames, one step on
  // goes past both, one step back to the picture before.
  int64_t const pending = mSeek.active ? mSeek.target : mPresenter->Target();
  DVDPicturePosition const at =
      pending >= 0 ? mPresenter->PictureShowing(shown.title, pending) : shown;
  int64_t const from = at.frameInTitle;
  int64_t const end = at.frameInTitle + at.framesShown;
  int64_t const target = frames > 0 ? std::max(from + frames, end) : from + frames;
  if (target < 0 || target >= mView.titleFrames) return kDVDErrorInvalidArgument;
  if (mState != kDVDStatePaused) PauseNow();
  if (frames == 0) return noErr;
  if (mPresenter->HasPicture(shown.title, target) ||
      (target > from && target - from <= kStepReadingOn && !mPresenter->JumpOnItsWay())) {
    // Decoded already (queued, or kept from the way here), or a little further on where
    // reading goes anyway: no jump. Reading goes on until the picture after it is decoded.
    mPresenter->SetTarget(target);
    mSeekShown = target;
    mStepped = true;
    // No picture group need be handled on the way: the chapter is told here.
    AnnounceChapterOf(target);
    Poke();
    return noErr;
  }
  StartSeek(target);
  mStepped = true;
  return noErr;
}

OSStatus DVDNavigator::GetTitleFrameCount(UInt32* frames) {
  std::lock_guard<std::mutex> g(mMutex);
  if (!mNav) return kDVDErrorNoMedia;
  int64_t const count = mView.titleFrames;
  if (count <= 0) return kDVDErrorNotAllowedNow;
  *frames = UInt32(count);
  return noErr;
}

}  // namespace dvd
