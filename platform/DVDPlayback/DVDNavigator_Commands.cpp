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
  if (!mNav) return kDVDErrorNoMedia;
  switch (mState) {
    case kDVDStatePlaying:
    case kDVDStatePlayingStill:
      return noErr;
    case kDVDStatePaused: {
      SetState(mPausedFrom);
      if (mStepped && mPresenter) {
        // Pictures stepped to were shown out of the stream's order: it goes on from the
        // one on screen.
        DVDPicturePosition const shown = mPresenter->Shown();
        int64_t const next = shown.frameInTitle + shown.framesShown;
        if (shown.frameInTitle >= 0 && next < mView.titleFrames) StartSeek(next);
      }
      break;
    }
    case kDVDStateScanning: {
      int const oldSpeed = mSpeed;
      bool const wasReverse = mReverse;
      EndScan();
      mPresentedUntil = std::min(mPresentedUntil, mVobuClockStart + mVobuSpan);
      if (wasReverse) {
        // What was read ahead was placed for stepping back.
        mReadAhead.clear();
        mAtCellEnd = false;
        mReadUntil = mPresentedUntil;
        if (mPresenter) mPresenter->Discontinuity();
      } else if (mReadUntil > mPresentedUntil) {
        // What was read ahead plays at normal speed after the group on screen.
        mReadUntil = mPresentedUntil + (mReadUntil - mPresentedUntil) * oldSpeed;
        if (mPresenter) mPresenter->Retime(mPresentedUntil, oldSpeed, 1, false);
      }
      SetState(kDVDStatePlaying);
      break;
    }
    case kDVDStateStopped:
      // Playing again after a stop starts the disc from the beginning.
      Jumped();
      SetState(kDVDStatePlaying);
      Post([this] {
        Restart();
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
  if (!mNav) return kDVDErrorNoMedia;
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
  if (!mNav) return kDVDErrorNoMedia;
  if (mState == kDVDStateStopped) return noErr;
  EndScan();
  Jumped();
  SetState(kDVDStateStopped);
  return noErr;
}

OSStatus DVDNavigator::Scan(DVDScanRate rate, DVDScanDirection direction) {
  std::lock_guard<std::mutex> g(mMutex);
  if (!mNav) return kDVDErrorNoMedia;
  static constexpr DVDScanRate kRates[] = {1, 2, 4, 8, 16, 32};
  if (std::find(std::begin(kRates), std::end(kRates), rate) == std::end(kRates) ||
      (direction != kDVDScanDirectionForward && direction != kDVDScanDirectionBackward)) {
    return kDVDErrorInvalidArgument;
  }
  if ((mState != kDVDStatePlaying && mState != kDVDStateScanning) || !InTitle()) {
    return kDVDErrorNotAllowedNow;
  }
  int const oldSpeed = mSpeed;
  bool const wasReverse = mReverse;
  mSpeed = rate;
  mReverse = direction == kDVDScanDirectionBackward;
  mReverseStepDue = false;
  int64_t const now = mClock.Now();
  if (mReverse || wasReverse) {
    // The picture group on screen ends at the new speed.
    if (mPresentedUntil > now) {
      mPresentedUntil = mReverse ? now : now + (mPresentedUntil - now) / rate;
    }
    mReadUntil = mPresentedUntil;
    // Pictures queued in the other direction would hold the new ones back.
    if (mPresenter) mPresenter->Discontinuity();
  } else {
    // From now on everything read, shown or not, runs at the new speed.
    auto const retime = [&](int64_t t) {
      return t > now ? now + (t - now) * oldSpeed / rate : t;
    };
    mPresentedUntil = retime(mPresentedUntil);
    mReadUntil = retime(mReadUntil);
    if (mPresenter) mPresenter->Retime(now, oldSpeed, rate, rate > 2);
  }
  SetState(kDVDStateScanning);
  Poke();
  return noErr;
}

OSStatus DVDNavigator::NextChapter() { return SearchChapter(false); }

OSStatus DVDNavigator::PreviousChapter() { return SearchChapter(true); }

OSStatus DVDNavigator::SearchChapter(bool previous) {
  std::lock_guard<std::mutex> g(mMutex);
  if (!mNav) return kDVDErrorNoMedia;
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
        kChapterRestartSeconds * DVDClock::kTicksPerSecond / TimeCodeFrameTicks(mView.position);
    bool const into = from - int64_t(*at) > restart;
    SeekChapter(into || at == firsts->begin() ? *at : *(at - 1));
    return noErr;
  }
  // The last chapter has no next one; the first has no previous one: it starts again.
  if (!previous && mView.position.part >= TitleParts(mView.position.title)) return kDVDErrorNotAllowedNow;
  Post([this, previous] {
    bool const found = previous ? dvdnav_prev_pg_search(mNav) == DVDNAV_STATUS_OK ||
                                      dvdnav_top_pg_search(mNav) == DVDNAV_STATUS_OK
                                : dvdnav_next_pg_search(mNav) == DVDNAV_STATUS_OK;
    std::lock_guard<std::mutex> g(mMutex);
    if (found) Jumped();
  });
  return noErr;
}

OSStatus DVDNavigator::IsOnMenu(Boolean* onMenu, DVDMenu* menu) {
  std::lock_guard<std::mutex> g(mMutex);
  if (!mNav) return kDVDErrorNoMedia;
  bool const inMenu = mState != kDVDStateIdle && mState != kDVDStateStopped && mView.inMenu;
  *onMenu = inMenu;
  *menu = kDVDMenuNone;
  if (!inMenu) return noErr;
  switch (mView.position.part) {
    case DVD_MENU_Title: *menu = kDVDMenuTitle; break;
    case DVD_MENU_Root: *menu = kDVDMenuRoot; break;
    case DVD_MENU_Subpicture: *menu = kDVDMenuSubPicture; break;
    case DVD_MENU_Audio: *menu = kDVDMenuAudio; break;
    case DVD_MENU_Angle: *menu = kDVDMenuAngle; break;
    case DVD_MENU_Part: *menu = kDVDMenuPTT; break;
    default: *menu = mView.inManagerMenu ? kDVDMenuTitle : kDVDMenuRoot; break;
  }
  return noErr;
}

OSStatus DVDNavigator::GoToMenu(DVDMenu menu) {
  std::lock_guard<std::mutex> g(mMutex);
  if (!mNav) return kDVDErrorNoMedia;
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
    bool const called = dvdnav_menu_call(mNav, id) == DVDNAV_STATUS_OK;
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
  if (!mNav) return kDVDErrorNoMedia;
  if (mState == kDVDStateIdle || mState == kDVDStateStopped || !mView.inMenu) {
    return kDVDErrorNotAllowedNow;
  }
  Post([this] {
    // Resume the title the menu was called from; a disc that starts on its menu has none,
    // so play its first title.
    bool const resumed = dvdnav_menu_call(mNav, DVD_MENU_Escape) == DVDNAV_STATUS_OK &&
                         dvdnav_is_domain_vts(mNav) == 1;
    bool const played = resumed || dvdnav_title_play(mNav, 1) == DVDNAV_STATUS_OK;
    std::lock_guard<std::mutex> g(mMutex);
    if (played) Jumped();
  });
  return noErr;
}

OSStatus DVDNavigator::GetAngleInfo(UInt16* numAngles, UInt16* angle) {
  std::lock_guard<std::mutex> g(mMutex);
  if (!mNav) return kDVDErrorNoMedia;
  if (!InTitle() || !mView.hasAngles) return kDVDErrorNotAllowedNow;
  if (numAngles) *numAngles = UInt16(mView.angles);
  if (angle) *angle = UInt16(mView.angle);
  return noErr;
}

OSStatus DVDNavigator::SetAngle(UInt16 angle) {
  std::lock_guard<std::mutex> g(mMutex);
  if (!mNav) return kDVDErrorNoMedia;
  if (!InTitle() || !mView.hasAngles) return kDVDErrorNotAllowedNow;
  if (angle < 1 || angle > mView.angles) return kDVDErrorInvalidArgument;
  if (angle == mView.angle) return noErr;
  Post([this, angle] { dvdnav_angle_change(mNav, angle); });
  return noErr;
}

OSStatus DVDNavigator::UserNavigation(DVDUserNavigation navigation) {
  std::lock_guard<std::mutex> g(mMutex);
  if (!mNav) return kDVDErrorNoMedia;
  if (navigation < kDVDUserNavigationMoveUp || navigation > kDVDUserNavigationEnter) {
    return kDVDErrorInvalidArgument;
  }
  if (mState == kDVDStateIdle || mState == kDVDStateStopped || mView.buttonCount == 0) {
    return kDVDErrorNotAllowedNow;
  }
  // The button a move lands on is known now, from the menu's own neighbour table.
  if (mButton >= 1 && mButton <= mView.buttonCount) {
    Button const& from = mView.buttons[size_t(mButton - 1)];
    int to = mButton;
    switch (navigation) {
      case kDVDUserNavigationMoveUp: to = from.up; break;
      case kDVDUserNavigationMoveDown: to = from.down; break;
      case kDVDUserNavigationMoveLeft: to = from.left; break;
      case kDVDUserNavigationMoveRight: to = from.right; break;
      default: break;
    }
    if (to >= 1 && to <= mView.buttonCount) mButton = to;
  }
  Post([this, navigation] {
    pci_t* const pci = dvdnav_get_current_nav_pci(mNav);
    if (!pci) return;
    dvdnav_status_t status = DVDNAV_STATUS_ERR;
    switch (navigation) {
      case kDVDUserNavigationMoveUp: status = dvdnav_upper_button_select(mNav, pci); break;
      case kDVDUserNavigationMoveDown: status = dvdnav_lower_button_select(mNav, pci); break;
      case kDVDUserNavigationMoveLeft: status = dvdnav_left_button_select(mNav, pci); break;
      case kDVDUserNavigationMoveRight: status = dvdnav_right_button_select(mNav, pci); break;
      default: status = dvdnav_button_activate(mNav, pci); break;
    }
    std::lock_guard<std::mutex> g(mMutex);
    if (status != DVDNAV_STATUS_OK) return;
    int32_t button = 0;
    if (dvdnav_get_current_highlight(mNav, &button) == DVDNAV_STATUS_OK) mButton = button;
    ShowHighlight(navigation == kDVDUserNavigationEnter ? 1 : 0);
    if (navigation == kDVDUserNavigationEnter) Jumped();
  });
  return noErr;
}

OSStatus DVDNavigator::MenuPoint(int x, int y, bool activate, SInt32* index) {
  std::lock_guard<std::mutex> g(mMutex);
  *index = -1;
  if (!mNav) return kDVDErrorNoMedia;
  if (mState == kDVDStateIdle || mState == kDVDStateStopped) return noErr;
  for (int i = 0; i < mView.buttonCount; ++i) {
    Button const& b = mView.buttons[size_t(i)];
    if (x >= int(b.x0) && x <= int(b.x1) && y >= int(b.y0) && y <= int(b.y1)) {
      *index = i + 1;
      break;
    }
  }
  int const button = *index;
  if (button < 0 || (!activate && button == mButton)) return noErr;
  mButton = button;
  Post([this, button, activate] {
    pci_t* const pci = dvdnav_get_current_nav_pci(mNav);
    bool const done =
        pci && (activate ? dvdnav_button_select_and_activate(mNav, pci, button)
                         : dvdnav_button_select(mNav, pci, button)) == DVDNAV_STATUS_OK;
    std::lock_guard<std::mutex> g(mMutex);
    if (!done) return;
    ShowHighlight(activate ? 1 : 0);
    if (activate) Jumped();
  });
  return noErr;
}

OSStatus DVDNavigator::GetBookmark(std::vector<UInt8>& data) {
  std::lock_guard<std::mutex> g(mMutex);
  if (!mNav) return kDVDErrorNoMedia;
  if (!TitleUnderway()) return kDVDErrorNotAllowedNow;
  Bookmark mark{};
  mark.magic = kBookmarkMagic;
  std::memcpy(mark.discID, mDiscID.data(), sizeof mark.discID);
  mark.title = mView.position.title;
  mark.chapter = mView.position.part;
  mark.timeMs = UInt32(PresentedTitleTime() / DVDClock::kTicksPerMs);
  mark.angle = mView.hasAngles ? mView.angle : 1;
  data.resize(sizeof mark);
  std::memcpy(data.data(), &mark, sizeof mark);
  return noErr;
}

OSStatus DVDNavigator::GotoBookmark(UInt8 const* data, UInt32 size) {
  std::lock_guard<std::mutex> g(mMutex);
  if (!mNav) return kDVDErrorNoMedia;
  Bookmark mark{};
  if (!data || size != sizeof mark) return kDVDErrorInvalidArgument;
  std::memcpy(&mark, data, sizeof mark);
  if (mark.magic != kBookmarkMagic ||
      std::memcmp(mark.discID, mDiscID.data(), sizeof mark.discID) != 0) {
    return kDVDErrorInvalidArgument;
  }
  if (mark.chapter < 1 || mark.chapter > TitleParts(mark.title)) return kDVDErrorInvalidArgument;
  bool const restart = mState == kDVDStateIdle || mState == kDVDStateStopped;
  Post([this, mark, restart] {
    // The machine must have started before it can jump.
    bool const started = !restart || StartOver();
    bool const there =
        started && dvdnav_part_play(mNav, mark.title, mark.chapter) == DVDNAV_STATUS_OK;
    if (there) {
      dvdnav_time_search(mNav, uint64_t(mark.timeMs) * DVDClock::kTicksPerMs);
      if (mark.angle > 1) dvdnav_angle_change(mNav, mark.angle);
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
  return mAspect;
}

void DVDNavigator::NativeSize(UInt16* width, UInt16* height) {
  std::lock_guard<std::mutex> g(mMutex);
  if (mNav && mStandard != kDVDVideoStandardUnknown && mView.position.width && mView.position.height) {
    *width = UInt16(mView.position.width);
    *height = UInt16(mView.position.height);
  }
}

int32_t DVDNavigator::TitleParts(int32_t title) const {
  return title >= 1 && size_t(title) <= mTitleParts.size() ? mTitleParts[size_t(title - 1)] : 0;
}

}  // namespace dvd
