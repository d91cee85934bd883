// The navigator's commands: playback, scan, chapters, menus, angles, buttons and bookmarks.
// Each is checked against what the reader last saw of the machine and answered at once; what
// libdvdnav must do is posted to the reader, which does it before its next block. The reading
// thread and its pacing are in DVDNavigator.cpp.
#include "DVDNavigator.h"

#include "PlatformLog.h"

#include <dvdnav/dvdnav.h>

#include <algorithm>
#include <cstring>
#include <iterator>
#include <vector>

namespace dvd {

namespace {

constexpr UInt32 kBookmarkMagic = 0x54564231;  // "TVB1"
// Previous chapter further into a chapter than this starts it again.
constexpr int64_t kChapterRestartSeconds = 3;

struct Bookmark {
  UInt32 magic;
  UInt8 discID[8];
  SInt32 title;
  SInt32 chapter;
  UInt32 timeMs;
  SInt32 angle;
};

}  // namespace

OSStatus DVDNavigator::Play() {
  std::lock_guard<std::mutex> g(mMutex);
  if (!mDisc.IsOpen()) return kDVDErrorNoMedia;
  switch (mState) {
    case kDVDStatePlaying:
    case kDVDStatePlayingStill:
      return noErr;
    case kDVDStatePaused: {
      SetState(mPausedFrom);
      if (mSeek.mStepped && mPipeline) {
        // Pictures stepped to were shown out of the stream's order: it goes on from the
        // one on screen.
        DVDPicturePosition const shown = mPipeline->Shown();
        int64_t const next = shown.frameInTitle + shown.framesShown;
        if (shown.frameInTitle >= 0 && next < mDisc.mView.titleFrames) StartSeek(next);
      }
      break;
    }
    case kDVDStateScanning: {
      int const oldSpeed = mTime.mSpeed;
      bool const wasReverse = mTime.mReverse;
      EndScan();
      mTime.mPresentedUntil = std::min(mTime.mPresentedUntil, mTime.mVobu.clockStart + mTime.mVobuSpan);
      if (wasReverse) {
        // What was read ahead was placed for stepping back.
        mReadAhead.clear();
        mBlocks.DropGroup();
        mTime.mReadUntil = mTime.mPresentedUntil;
        if (mPipeline) mPipeline->Discontinuity();
      } else if (mTime.mReadUntil > mTime.mPresentedUntil) {
        // What was read ahead plays at normal speed after the group on screen.
        ChangeSpeed(mTime.mPresentedUntil, oldSpeed, 1, false);
      }
      SetState(kDVDStatePlaying);
      break;
    }
    case kDVDStateStopped:
      // Playing again after a stop starts the disc from the beginning.
      Jumped();
      SetState(kDVDStatePlaying);
      Post([this] {
        mDisc.Restart();
        std::lock_guard<std::mutex> g(mMutex);
        ForgetAnnounced();
      });
      break;
    default:
      Jumped();
      SetState(kDVDStatePlaying);
      break;
  }
  Poke();
  return noErr;
}

OSStatus DVDNavigator::Pause() {
  std::lock_guard<std::mutex> g(mMutex);
  if (!mDisc.IsOpen()) return kDVDErrorNoMedia;
  if (mState == kDVDStatePaused) return noErr;
  if (mState == kDVDStateIdle || mState == kDVDStateStopped) return kDVDErrorNotAllowedNow;
  PauseNow();
  return noErr;
}

void DVDNavigator::PauseNow() {
  mPausedFrom = mState == kDVDStatePlayingStill ? kDVDStatePlayingStill : kDVDStatePlaying;
  if (mState == kDVDStateScanning) EndScan();
  SetState(kDVDStatePaused);
  Poke();
}

OSStatus DVDNavigator::Stop() {
  std::lock_guard<std::mutex> g(mMutex);
  if (!mDisc.IsOpen()) return kDVDErrorNoMedia;
  if (mState == kDVDStateStopped) return noErr;
  EndScan();
  Jumped();
  SetState(kDVDStateStopped);
  return noErr;
}

OSStatus DVDNavigator::Scan(DVDScanRate rate, DVDScanDirection direction) {
  std::lock_guard<std::mutex> g(mMutex);
  if (!mDisc.IsOpen()) return kDVDErrorNoMedia;
  static constexpr DVDScanRate kRates[] = {1, 2, 4, 8, 16, 32};
  if (std::find(std::begin(kRates), std::end(kRates), rate) == std::end(kRates) ||
      (direction != kDVDScanDirectionForward && direction != kDVDScanDirectionBackward)) {
    return kDVDErrorInvalidArgument;
  }
  if ((mState != kDVDStatePlaying && mState != kDVDStateScanning) || !InTitle()) {
    return kDVDErrorNotAllowedNow;
  }
  int const oldSpeed = mTime.mSpeed;
  bool const wasReverse = mTime.mReverse;
  mTime.mSpeed = rate;
  mTime.mReverse = direction == kDVDScanDirectionBackward;
  mTime.mReverseStepDue = false;
  int64_t const now = mClock.Now();
  if (mTime.mReverse || wasReverse) {
    // The picture group on screen ends at the new speed.
    if (mTime.mPresentedUntil > now) {
      mTime.mPresentedUntil = mTime.mReverse ? now : now + (mTime.mPresentedUntil - now) / rate;
    }
    mTime.mReadUntil = mTime.mPresentedUntil;
    // Pictures queued in the other direction would hold the new ones back.
    if (mPipeline) mPipeline->Discontinuity();
  } else {
    // From now on everything read, shown or not, runs at the new speed.
    ChangeSpeed(now, oldSpeed, rate, rate > 2);
  }
  SetState(kDVDStateScanning);
  Poke();
  return noErr;
}

void DVDNavigator::ChangeSpeed(int64_t from, int num, int den, bool keyFramesOnly) {
  uint32_t const before = mClockMap.Epoch();
  uint32_t const epoch = mClockMap.ChangeSpeed(from, num, den);
  mTime.mPresentedUntil = mClockMap.Carry(mTime.mPresentedUntil, before, epoch);
  mTime.mReadUntil = mClockMap.Carry(mTime.mReadUntil, before, epoch);
  if (mPipeline) mPipeline->Retime(epoch, keyFramesOnly);
}

OSStatus DVDNavigator::NextChapter() { return SearchChapter(false); }

OSStatus DVDNavigator::PreviousChapter() { return SearchChapter(true); }

OSStatus DVDNavigator::SearchChapter(bool previous) {
  std::lock_guard<std::mutex> g(mMutex);
  if (!mDisc.IsOpen()) return kDVDErrorNoMedia;
  if (!TitleUnderway()) return kDVDErrorNotAllowedNow;
  // Counted from the picture on screen: reading, and libdvdnav's chapter, run ahead of it.
  std::vector<UInt32> const* const firsts = ChapterFirstFrames();
  int64_t const from = firsts ? ChapterCountedFrom() : -1;
  if (from >= 0) {
    auto const at = std::upper_bound(firsts->begin() + 1, firsts->end(), from) - 1;
    if (!previous) {
      if (at + 1 == firsts->end()) return kDVDErrorNotAllowedNow;
      SeekChapter(*(at + 1));
      return noErr;
    }
    // A chapter played a while starts again; near its start, the one before is meant.
    int64_t const restart =
        kChapterRestartSeconds * DVDClock::kTicksPerSecond / mDisc.mView.position.TimeCodeFrameTicks();
    bool const into = from - int64_t(*at) > restart;
    SeekChapter(into || at == firsts->begin() ? *at : *(at - 1));
    return noErr;
  }
  // The last chapter has no next one; the first has no previous one: it starts again.
  if (!previous && mDisc.mView.position.part >= mDisc.TitleParts(mDisc.mView.position.title)) return kDVDErrorNotAllowedNow;
  Post([this, previous] {
    bool const found = previous ? dvdnav_prev_pg_search(mDisc.Nav()) == DVDNAV_STATUS_OK ||
                                      dvdnav_top_pg_search(mDisc.Nav()) == DVDNAV_STATUS_OK
                                : dvdnav_next_pg_search(mDisc.Nav()) == DVDNAV_STATUS_OK;
    std::lock_guard<std::mutex> g(mMutex);
    if (found) Jumped();
  });
  return noErr;
}

OSStatus DVDNavigator::IsOnMenu(Boolean* onMenu, DVDMenu* menu) {
  std::lock_guard<std::mutex> g(mMutex);
  if (!mDisc.IsOpen()) return kDVDErrorNoMedia;
  bool const inMenu = mState != kDVDStateIdle && mState != kDVDStateStopped && mDisc.mView.inMenu;
  *onMenu = inMenu;
  *menu = kDVDMenuNone;
  if (!inMenu) return noErr;
  switch (mDisc.mView.position.part) {
    case DVD_MENU_Title: *menu = kDVDMenuTitle; break;
    case DVD_MENU_Root: *menu = kDVDMenuRoot; break;
    case DVD_MENU_Subpicture: *menu = kDVDMenuSubPicture; break;
    case DVD_MENU_Audio: *menu = kDVDMenuAudio; break;
    case DVD_MENU_Angle: *menu = kDVDMenuAngle; break;
    case DVD_MENU_Part: *menu = kDVDMenuPTT; break;
    default: *menu = mDisc.mView.inManagerMenu ? kDVDMenuTitle : kDVDMenuRoot; break;
  }
  return noErr;
}

OSStatus DVDNavigator::GoToMenu(DVDMenu menu) {
  std::lock_guard<std::mutex> g(mMutex);
  if (!mDisc.IsOpen()) return kDVDErrorNoMedia;
  DVDMenuID_t id;
  switch (menu) {
    case kDVDMenuTitle: id = DVD_MENU_Title; break;
    case kDVDMenuRoot: id = DVD_MENU_Root; break;
    case kDVDMenuSubPicture: id = DVD_MENU_Subpicture; break;
    case kDVDMenuAudio: id = DVD_MENU_Audio; break;
    case kDVDMenuAngle: id = DVD_MENU_Angle; break;
    case kDVDMenuPTT: id = DVD_MENU_Part; break;
    default: return kDVDErrorInvalidArgument;
  }
  if (mState == kDVDStateIdle || mState == kDVDStateStopped) return kDVDErrorNotAllowedNow;
  Post([this, id, menu] {
    bool const called = dvdnav_menu_call(mDisc.Nav(), id) == DVDNAV_STATUS_OK;
    std::lock_guard<std::mutex> g(mMutex);
    if (!called) {
      PlatformLog("DVD: the disc has no menu %d here", int(menu));
      return;
    }
    EndScan();
    if (mState == kDVDStateScanning) SetState(kDVDStatePlaying);
    Jumped();
  });
  return noErr;
}

OSStatus DVDNavigator::ReturnToTitle() {
  std::lock_guard<std::mutex> g(mMutex);
  if (!mDisc.IsOpen()) return kDVDErrorNoMedia;
  if (mState == kDVDStateIdle || mState == kDVDStateStopped || !mDisc.mView.inMenu) {
    return kDVDErrorNotAllowedNow;
  }
  Post([this] {
    // Resume the title the menu was called from; a disc that starts on its menu has none,
    // so play its first title.
    bool const resumed = dvdnav_menu_call(mDisc.Nav(), DVD_MENU_Escape) == DVDNAV_STATUS_OK &&
                         dvdnav_is_domain_vts(mDisc.Nav()) == 1;
    bool const played = resumed || dvdnav_title_play(mDisc.Nav(), 1) == DVDNAV_STATUS_OK;
    std::lock_guard<std::mutex> g(mMutex);
    if (played) Jumped();
  });
  return noErr;
}

OSStatus DVDNavigator::GetAngleInfo(UInt16* numAngles, UInt16* angle) {
  std::lock_guard<std::mutex> g(mMutex);
  if (!mDisc.IsOpen()) return kDVDErrorNoMedia;
  if (!InTitle() || !mDisc.mView.hasAngles) return kDVDErrorNotAllowedNow;
  if (numAngles) *numAngles = UInt16(mDisc.mView.angles);
  if (angle) *angle = UInt16(mDisc.mView.angle);
  return noErr;
}

OSStatus DVDNavigator::SetAngle(UInt16 angle) {
  std::lock_guard<std::mutex> g(mMutex);
  if (!mDisc.IsOpen()) return kDVDErrorNoMedia;
  if (!InTitle() || !mDisc.mView.hasAngles) return kDVDErrorNotAllowedNow;
  if (angle < 1 || angle > mDisc.mView.angles) return kDVDErrorInvalidArgument;
  if (angle == mDisc.mView.angle) return noErr;
  Post([this, angle] { dvdnav_angle_change(mDisc.Nav(), angle); });
  return noErr;
}

OSStatus DVDNavigator::UserNavigation(DVDUserNavigation navigation) {
  std::lock_guard<std::mutex> g(mMutex);
  if (!mDisc.IsOpen()) return kDVDErrorNoMedia;
  if (navigation < kDVDUserNavigationMoveUp || navigation > kDVDUserNavigationEnter) {
    return kDVDErrorInvalidArgument;
  }
  if (mState == kDVDStateIdle || mState == kDVDStateStopped || mDisc.mView.buttonCount == 0) {
    return kDVDErrorNotAllowedNow;
  }
  // The button a move lands on is known now, from the menu's own neighbour table.
  mAnnounced.mButton = mDisc.mView.Neighbour(mAnnounced.mButton, navigation);
  Post([this, navigation] {
    pci_t* const pci = dvdnav_get_current_nav_pci(mDisc.Nav());
    if (!pci) return;
    dvdnav_status_t status = DVDNAV_STATUS_ERR;
    switch (navigation) {
      case kDVDUserNavigationMoveUp: status = dvdnav_upper_button_select(mDisc.Nav(), pci); break;
      case kDVDUserNavigationMoveDown: status = dvdnav_lower_button_select(mDisc.Nav(), pci); break;
      case kDVDUserNavigationMoveLeft: status = dvdnav_left_button_select(mDisc.Nav(), pci); break;
      case kDVDUserNavigationMoveRight: status = dvdnav_right_button_select(mDisc.Nav(), pci); break;
      default: status = dvdnav_button_activate(mDisc.Nav(), pci); break;
    }
    std::lock_guard<std::mutex> g(mMutex);
    if (status != DVDNAV_STATUS_OK) return;
    int32_t button = 0;
    if (dvdnav_get_current_highlight(mDisc.Nav(), &button) == DVDNAV_STATUS_OK) mAnnounced.mButton = button;
    ShowHighlight(navigation == kDVDUserNavigationEnter ? 1 : 0);
    if (navigation == kDVDUserNavigationEnter) Jumped();
  });
  return noErr;
}

OSStatus DVDNavigator::MenuPoint(int x, int y, bool activate, SInt32* index) {
  std::lock_guard<std::mutex> g(mMutex);
  *index = -1;
  if (!mDisc.IsOpen()) return kDVDErrorNoMedia;
  if (mState == kDVDStateIdle || mState == kDVDStateStopped) return noErr;
  *index = mDisc.mView.ButtonAt(x, y);
  int const button = *index;
  if (button < 0 || (!activate && button == mAnnounced.mButton)) return noErr;
  mAnnounced.mButton = button;
  Post([this, button, activate] {
    pci_t* const pci = dvdnav_get_current_nav_pci(mDisc.Nav());
    bool const done =
        pci && (activate ? dvdnav_button_select_and_activate(mDisc.Nav(), pci, button)
                         : dvdnav_button_select(mDisc.Nav(), pci, button)) == DVDNAV_STATUS_OK;
    std::lock_guard<std::mutex> g(mMutex);
    if (!done) return;
    ShowHighlight(activate ? 1 : 0);
    if (activate) Jumped();
  });
  return noErr;
}

OSStatus DVDNavigator::GetBookmark(std::vector<UInt8>& data) {
  std::lock_guard<std::mutex> g(mMutex);
  if (!mDisc.IsOpen()) return kDVDErrorNoMedia;
  if (!TitleUnderway()) return kDVDErrorNotAllowedNow;
  Bookmark mark{};
  mark.magic = kBookmarkMagic;
  std::memcpy(mark.discID, mDisc.mDiscID.data(), sizeof mark.discID);
  mark.title = mDisc.mView.position.title;
  mark.chapter = mDisc.mView.position.part;
  mark.timeMs = UInt32(PresentedTitleTime() / DVDClock::kTicksPerMs);
  mark.angle = mDisc.mView.hasAngles ? mDisc.mView.angle : 1;
  data.resize(sizeof mark);
  std::memcpy(data.data(), &mark, sizeof mark);
  return noErr;
}

OSStatus DVDNavigator::GotoBookmark(UInt8 const* data, UInt32 size) {
  std::lock_guard<std::mutex> g(mMutex);
  if (!mDisc.IsOpen()) return kDVDErrorNoMedia;
  Bookmark mark{};
  if (!data || size != sizeof mark) return kDVDErrorInvalidArgument;
  std::memcpy(&mark, data, sizeof mark);
  if (mark.magic != kBookmarkMagic ||
      std::memcmp(mark.discID, mDisc.mDiscID.data(), sizeof mark.discID) != 0) {
    return kDVDErrorInvalidArgument;
  }
  if (mark.chapter < 1 || mark.chapter > mDisc.TitleParts(mark.title)) return kDVDErrorInvalidArgument;
  bool const restart = mState == kDVDStateIdle || mState == kDVDStateStopped;
  Post([this, mark, restart] {
    // The machine must have started before it can jump.
    bool const started = !restart || StartOver();
    bool const there =
        started && dvdnav_part_play(mDisc.Nav(), mark.title, mark.chapter) == DVDNAV_STATUS_OK;
    if (there) {
      dvdnav_time_search(mDisc.Nav(), uint64_t(mark.timeMs) * DVDClock::kTicksPerMs);
      if (mark.angle > 1) dvdnav_angle_change(mDisc.Nav(), mark.angle);
    }
    std::lock_guard<std::mutex> g(mMutex);
    if (restart) ForgetAnnounced();
    if (!there) {
      PlatformLog("DVD: the bookmark's title %d chapter %d cannot be played", int(mark.title),
                  int(mark.chapter));
      return;
    }
    EndScan();
    Jumped();
    if (mState != kDVDStatePaused) SetState(kDVDStatePlaying);
  });
  return noErr;
}

DVDAspectRatio DVDNavigator::AspectRatio() {
  std::lock_guard<std::mutex> g(mMutex);
  return mAnnounced.mAspect;
}

void DVDNavigator::NativeSize(UInt16* width, UInt16* height) {
  std::lock_guard<std::mutex> g(mMutex);
  if (mDisc.Nav() && mAnnounced.mStandard != kDVDVideoStandardUnknown && mDisc.mView.position.width && mDisc.mView.position.height) {
    *width = UInt16(mDisc.mView.position.width);
    *height = UInt16(mDisc.mView.position.height);
  }
}

}  // namespace dvd
