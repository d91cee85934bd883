// The navigator's reading thread: blocks from libdvdnav, paced by the clock, with the events
// they raise. Its commands are in DVDNavigator_Commands.cpp.
#include "DVDNavigator.h"

#include "DVDLanguage.h"
#include "DVDLibraryLog.h"
#include "DVDSubpictureSync.h"

#include <dvdnav/dvdnav.h>

#include <algorithm>
#include <array>
#include <cstdarg>
#include <cstring>
#include <utility>

namespace dvd {

namespace {

// A reverse scan shows one picture group per half second and steps back rate half-seconds.
constexpr int64_t kReverseStep = DVDClock::kTicksPerSecond / 2;
// A picture group never lasts longer than this; anything else is a damaged time stamp.
constexpr int64_t kMaxVobuSpan = 2 * DVDClock::kTicksPerSecond;

}  // namespace

DVDNavigator::DVDNavigator(DVDClock& clock, DVDEventQueue& events, DVDPresenter* presenter)
    : mClock(clock), mEvents(events), mPresenter(presenter), mBlock(DVD_VIDEO_LB_LEN) {}

DVDNavigator::~DVDNavigator() { Close(); }

OSStatus DVDNavigator::Open(std::string const& path, std::array<UInt8, 8> const& discID,
                           std::shared_ptr<DVDTitleTable const> table) {
  Close();
  dvdnav_t* nav = nullptr;
  if (dvdnav_open2(&nav, nullptr, DVDNavLogger(), path.c_str()) != DVDNAV_STATUS_OK) {
    if (nav) dvdnav_close(nav);
    return kDVDErrorMediaNotDVD;
  }
  dvdnav_set_readahead_flag(nav, 1);
  dvdnav_set_PGC_positioning_flag(nav, 1);
  // Copies on disk carry no drive to enforce a region; play every region.
  dvdnav_set_region_mask(nav, 0xFF);
  std::string language = DVDPreferredLanguage();
  dvdnav_menu_language_select(nav, language.data());
  dvdnav_audio_language_select(nav, language.data());
  dvdnav_spu_language_select(nav, language.data());
  std::vector<int32_t> parts;
  int32_t titles = 0;
  if (dvdnav_get_number_of_titles(nav, &titles) == DVDNAV_STATUS_OK) {
    for (int32_t t = 1; t <= titles; ++t) {
      int32_t n = 0;
      parts.push_back(dvdnav_get_number_of_parts(nav, t, &n) == DVDNAV_STATUS_OK ? n : 0);
    }
  }

  // Not under the lock: the decoders call the listener holding theirs, and it takes ours.
  if (mPresenter) {
    mPresenter->SetRoomListener([this] {
      std::lock_guard<std::mutex> lock(mMutex);
      mWake.notify_all();
    });
  }
  std::lock_guard<std::mutex> g(mMutex);
  mNav = nav;
  mSubpictureSync = std::make_unique<DVDSubpictureSync>(path);
  mTitleParts = std::move(parts);
  mTitleTable = std::move(table);
  mJobs.clear();
  mJobRunning = false;
  mDiscID = discID;
  mQuit = false;
  mState = kDVDStateIdle;
  mReadAhead.clear();
  mAtCellEnd = false;
  mPresentedUntil = mReadUntil = 0;
  mTitle = -1;
  mChapter = -1;
  mAspect = kDVDAspectRatioUninitialized;
  mStandard = kDVDVideoStandardUnknown;
  mButton = 0;
  mSpeed = 1;
  mReverse = false;
  mStillInfinite = mStillTimed = false;
  mAudioChoice = mSubPictureChoice = mSubPictureShown = -1;
  mFramesTitle = -1;
  Publish();
  mListener = mClock.AddListener([this] {
    std::lock_guard<std::mutex> lock(mMutex);
    mWake.notify_all();
  });
  mThread = std::thread([this] { Run(); });
  return noErr;
}

void DVDNavigator::Close() {
  {
    std::lock_guard<std::mutex> g(mMutex);
    if (!mNav) return;
    mQuit = true;
  }
  mWake.notify_all();
  mThread.join();
  mClock.RemoveListener(mListener);
  mListener = 0;
  if (mPresenter) mPresenter->SetRoomListener(nullptr);
  std::lock_guard<std::mutex> g(mMutex);
  dvdnav_close(mNav);
  mNav = nullptr;
  mSubpictureSync.reset();
  if (mState != kDVDStateIdle) SetState(kDVDStateIdle);
}

void DVDNavigator::SetTimeEventRate(UInt32 milliseconds) {
  std::lock_guard<std::mutex> g(mMutex);
  mTimeRate = int64_t(milliseconds) * DVDClock::kTicksPerMs;
  mNextTimeEvent = -1;
}

void DVDNavigator::Sleep() {
  std::lock_guard<std::mutex> g(mMutex);
  if (mSleeping) return;
  mSleeping = true;
  HoldPresentation();
  Poke();
}

void DVDNavigator::WakeUp() {
  std::lock_guard<std::mutex> g(mMutex);
  if (!mSleeping) return;
  mSleeping = false;
  HoldPresentation();
  Poke();
}

bool DVDNavigator::Active() const {
  return !mQuit && !mSleeping &&
         (mState == kDVDStatePlaying || mState == kDVDStateScanning ||
          mState == kDVDStatePlayingStill || (mState == kDVDStatePaused && Seeking()));
}

void DVDNavigator::SetState(DVDState state) {
  if (state == mState) return;
  mState = state;
  HoldPresentation();
  mEvents.Post(kDVDEventPlayback, DVDEventValue(state));
}

void DVDNavigator::HoldPresentation() {
  bool const hold = mSleeping || mState == kDVDStatePaused;
  // Time stands still while nothing plays: what is queued keeps its place on the clock.
  mClock.SetStopped(hold);
  if (mPresenter) mPresenter->Hold(hold);
}

void DVDNavigator::Jumped() {
  mSeek.active = false;
  mSeekShown = -1;
  mStepped = false;
  mDamageSkip = 0;
  mSyncSubpictures = true;
  if (mPresenter) {
    mPresenter->SetTarget(-1);
    mPresenter->Discontinuity();
  }
  ++mSerial;
  mReadAhead.clear();
  mAtCellEnd = false;
  mPresentedUntil = mClock.Now();
  mReadUntil = mPresentedUntil;
  // Title time restarts its once-a-rate rhythm from wherever the jump lands.
  mNextTimeEvent = -1;
  Poke();
}

void DVDNavigator::Restart() { dvdnav_reset(mNav); }

bool DVDNavigator::StartOver() {
  int event = 0;
  int len = 0;
  Restart();
  return dvdnav_get_next_block(mNav, mBlock.data(), &event, &len) == DVDNAV_STATUS_OK;
}

void DVDNavigator::ForgetAnnounced() {
  // Everything is announced again as the disc starts over.
  mTitle = mChapter = -1;
  mAspect = kDVDAspectRatioUninitialized;
  mStandard = kDVDVideoStandardUnknown;
  mStillInfinite = mStillTimed = false;
}

void DVDNavigator::Poke() {
  mQuiet = false;
  mClockWait = -1;
  mWake.notify_all();
}

bool DVDNavigator::IsQuiet() {
  std::lock_guard<std::mutex> g(mMutex);
  if (!mNav) return true;
  if (!mJobs.empty() || mJobRunning) return false;
  return mQuiet || (mClockWait >= 0 && mClock.Now() < mClockWait);
}

DVDState DVDNavigator::State() {
  std::lock_guard<std::mutex> g(mMutex);
  return mState;
}

int DVDNavigator::HighlightedButton() {
  std::lock_guard<std::mutex> g(mMutex);
  return mButton;
}

bool DVDNavigator::InTitle() { return mNav && mView.position.inTitle; }

void DVDNavigator::EndScan() {
  mSpeed = 1;
  mReverse = false;
  mReverseStepDue = false;
}

bool DVDNavigator::TitleUnderway() {
  return InTitle() && mState != kDVDStateIdle && mState != kDVDStateStopped;
}

// ---- the thread

void DVDNavigator::Post(std::function<void()> job) {
  mJobs.push_back(std::move(job));
  Poke();
}

void DVDNavigator::RunJob(std::unique_lock<std::mutex>& lk) {
  std::function<void()> const job = std::move(mJobs.front());
  mJobs.pop_front();
  mJobRunning = true;
  lk.unlock();
  job();
  CountTitleFrames();
  lk.lock();
  mJobRunning = false;
  Publish();
}

bool DVDNavigator::Interrupted(uint64_t serial) const {
  return mQuit || mSerial != serial || !mJobs.empty();
}

void DVDNavigator::WaitForWork(std::unique_lock<std::mutex>& lk) {
  uint64_t const serial = mSerial;
  mQuiet = true;
  mWake.wait(lk, [&] { return Interrupted(serial) || !mQuiet; });
  mQuiet = false;
}

void DVDNavigator::WaitForRoom(std::unique_lock<std::mutex>& lk) {
  uint64_t const serial = mSerial;
  mWake.wait(lk, [&] { return Interrupted(serial) || !Active() || mPresenter->HasRoom(); });
}

void DVDNavigator::Run() {
  std::unique_lock<std::mutex> lk(mMutex);
  while (!mQuit) {
    if (!mJobs.empty()) {
      RunJob(lk);
      continue;
    }
    if (!Active()) {
      WaitForWork(lk);
      continue;
    }
    if (mStillInfinite) {
      if (mSerial == mStillSerial) {
        WaitForWork(lk);
        continue;
      }
      mStillInfinite = false;
    }
    if (mStillTimed) {
      uint64_t const serial = mSerial;
      mClockWait = mStillUntil;
      bool const reached = mClock.WaitUntil(lk, mWake, mStillUntil, [&] {
        return Interrupted(serial) || !Active() || mClockWait < 0;
      });
      mClockWait = -1;
      if (mSerial != serial) {
        mStillTimed = false;
        continue;
      }
      if (!reached) continue;
      mStillTimed = false;
      mPresentedUntil = mStillUntil;
      // What comes after the still is shown after it.
      mReadUntil = std::max(mReadUntil, mPresentedUntil);
      dvdnav_still_skip(mNav);
      if (mState == kDVDStatePlayingStill) SetState(kDVDStatePlaying);
      continue;
    }
    if (CanReadAhead()) {
      if (mPresenter && !mPresenter->HasRoom()) {
        WaitForRoom(lk);
        continue;
      }
      ReadAhead(lk);
      continue;
    }
    if (mReadAhead.empty()) {
      // A cell's end: the machine moves on (cell and post commands) only once the cell has
      // been shown, so that commands given until then act where the viewer is.
      if (WaitPresented(lk)) mAtCellEnd = false;
      continue;
    }
    // Anything else happens once what was read before it has been shown.
    if (!WaitPresented(lk)) continue;
    if (mReverse && mReverseStepDue && InTitle()) {
      mReverseStepDue = false;
      int64_t const target = mVobuTitleTime - int64_t(mSpeed) * kReverseStep;
      // What was read ahead lies forwards.
      mReadAhead.clear();
      mAtCellEnd = false;
      if (mPresenter) mPresenter->Discontinuity();
      mSyncSubpictures = true;
      mReadUntil = mPresentedUntil;
      if (target <= 0) {
        dvdnav_time_search(mNav, 0);
        mReverse = false;
        mSpeed = 1;
        SetState(kDVDStatePlaying);
      } else {
        dvdnav_time_search(mNav, uint64_t(target));
      }
      continue;
    }
    ReadEvent const event = std::move(mReadAhead.front());
    mReadAhead.pop_front();
    Handle(event);
  }
}

bool DVDNavigator::CanReadAhead() const {
  if (mAtCellEnd && mBlocksLeft <= 0) return false;
  int groups = 0;
  for (ReadEvent const& e : mReadAhead) {
    // dvdnav repeats these until they are dealt with.
    if (e.event == DVDNAV_STILL_FRAME || e.event == DVDNAV_WAIT || e.event == DVDNAV_STOP) {
      return false;
    }
    if (e.event == DVDNAV_NAV_PACKET) ++groups;
  }
  return groups < 2;
}

void DVDNavigator::ReadAhead(std::unique_lock<std::mutex>& lk) {
  int event = 0;
  int len = 0;
  uint64_t const serial = mSerial;
  // The block is read without the lock: commands are taken meanwhile.
  lk.unlock();
  bool const read = ReadNextBlock(event, len);
  if (read && event != DVDNAV_BLOCK_OK && event != DVDNAV_NOP) CountTitleFrames();
  lk.lock();
  // A jump came while reading: what was read belongs to before it.
  if (mSerial != serial) return;
  if (!read) {
    SkipDamage();
    return;
  }
  if (event == DVDNAV_NOP) return;
  if (event == DVDNAV_BLOCK_OK) {
    --mBlocksLeft;
    // The cell's last group is whole: its last pictures need not wait for the next cell.
    if (mPresenter && mAtCellEnd && mBlocksLeft == 0) mPresenter->EndOfStream();
    // Picture and sound data go to the decoders as they come.
    if (mPresenter && len > 0) mPresenter->Block(mBlock.data(), size_t(len));
    return;
  }
  Publish();
  ReadEvent e;
  e.event = event;
  std::memcpy(e.data.data(), mBlock.data(),
              std::min<size_t>(e.data.size(), size_t(std::max(len, 0))));
  // What the event means is taken now: by the time it is handled dvdnav has read on.
  e.position = mView.position;
  switch (event) {
    case DVDNAV_NAV_PACKET: {
      pci_t const* const pci = dvdnav_get_current_nav_pci(mNav);
      if (pci) {
        e.vobuStart = int64_t(pci->pci_gi.vobu_s_ptm);
        e.vobuSpan = int64_t(pci->pci_gi.vobu_e_ptm) - e.vobuStart;
      }
      if (e.vobuSpan < 0 || e.vobuSpan > kMaxVobuSpan) e.vobuSpan = 0;
      dsi_t const* const dsi = dvdnav_get_current_nav_dsi(mNav);
      mBlocksLeft = dsi ? int64_t(dsi->dsi_gi.vobu_ea) : 0;
      mAtCellEnd = mInLastCell && dsi && dsi->vobu_sri.next_vobu == SRI_END_OF_CELL;
      PassedDamage();
      e.titleTime = e.position.inTitle ? std::max<int64_t>(0, dvdnav_get_current_time(mNav)) : 0;
      if (mSeek.active && !SeekLanded(e)) return;
      PlaceVobu(e, pci != nullptr);
      if (std::exchange(mSyncSubpictures, false) && !SyncSubpictures(lk, e)) return;
      break;
    }
    case DVDNAV_CELL_CHANGE: {
      dvdnav_cell_change_event_t cell;
      std::memcpy(&cell, e.data.data(), sizeof cell);
      // Only the program chain's end runs commands that may take the machine elsewhere.
      // libdvdnav's "cell_length" is the cell's last sector, counted as the chain's length
      // is (the cell's start comes as a time).
      uint32_t position = 0;
      uint32_t length = 0;
      mInLastCell = dvdnav_get_position(mNav, &position, &length) != DVDNAV_STATUS_OK ||
                    cell.cell_length + 1 >= int64_t(length);
      break;
    }
    case DVDNAV_STILL_FRAME:
    case DVDNAV_WAIT:
    case DVDNAV_STOP:
      // The stream pauses here: the decoder gives out the pictures it holds.
      if (mPresenter) mPresenter->EndOfStream();
      break;
    case DVDNAV_SPU_CLUT_CHANGE:
      if (mPresenter) {
        std::array<uint32_t, 16> clut;
        std::memcpy(clut.data(), e.data.data(), sizeof clut);
        mPresenter->SetPalette(clut);
      }
      break;
    default:
      break;
  }
  mReadAhead.push_back(e);
}

void DVDNavigator::PlaceVobu(ReadEvent const& e, bool hasPci) {
  int64_t const now = mClock.Now();
  int64_t start = mReadUntil;
  if (!mClock.IsManual() && now - start > DVDClock::kTicksPerSecond / 2) start = now;
  // A seek's target is due now; the pictures before it are decoded only.
  start -= e.seekOffset;
  mReadUntil = mReverse ? start + kReverseStep : start + e.vobuSpan / mSpeed;
  if (!mPresenter || !hasPci) return;
  DVDVobuTiming timing;
  timing.clockStart = start;
  timing.ptsStart = e.vobuStart;
  timing.speed = mReverse ? 1 : mSpeed;
  timing.keyFramesOnly = mReverse || mSpeed > 2;
  timing.title = e.position.inTitle ? e.position.title : 0;
  timing.chapter = e.position.inTitle ? e.position.part : 0;
  timing.titleTime = e.titleTime;
  if (e.position.inTitle) {
    timing.firstFrame = FirstFrame(e);
    timing.frameTicks = FrameTicks(e.position);
  }
  timing.audioStream = SelectedAudio();
  int const spu = SelectedSubPicture();
  // Subtitles switched off still show the pictures the disc forces.
  timing.subpictureStream = spu < 0 ? 0 : spu & 0x1F;
  timing.forcedSubpicturesOnly = spu < 0 || (spu & 0x80) != 0;
  mPresenter->StartVobu(timing);
}

bool DVDNavigator::WaitPresented(std::unique_lock<std::mutex>& lk) {
  uint64_t const serial = mSerial;
  for (;;) {
    // Paused, a seek or step reads on as far as its picture needs, whatever the time (the
    // picture after it is only read for while what is read ahead allows).
    if (mClock.IsStopped() && SeekReadsOn()) return true;
    int64_t const now = mClock.Now();
    EmitDueTimeEvents(std::min(now, mPresentedUntil));
    if (now >= mPresentedUntil) return true;
    int64_t target = mPresentedUntil;
    if (TimeEventsDue() && mNextTimeEvent < target) target = mNextTimeEvent;
    mClockWait = target;
    bool const reached = mClock.WaitUntil(lk, mWake, target, [&] {
      return Interrupted(serial) || !Active() || mClockWait < 0;
    });
    mClockWait = -1;
    if (!reached) return false;
  }
}

int64_t DVDNavigator::PresentedTitleTime() {
  int64_t const now = std::min(mClock.Now(), mPresentedUntil);
  int64_t delta = mReverse ? 0 : (now - mVobuClockStart) * mSpeed;
  delta = std::clamp<int64_t>(delta, 0, mVobuSpan);
  return mVobuTitleTime + delta;
}

bool DVDNavigator::TimeEventsDue() const {
  return mTimeRate > 0 && mNextTimeEvent >= 0 && mTitle > 0;
}

void DVDNavigator::EmitDueTimeEvents(int64_t upTo) {
  if (!TimeEventsDue()) return;
  while (mNextTimeEvent <= upTo) {
    int64_t delta = mReverse ? 0 : (mNextTimeEvent - mVobuClockStart) * mSpeed;
    delta = std::clamp<int64_t>(delta, 0, mVobuSpan);
    int64_t const elapsed = mVobuTitleTime + delta;
    mEvents.Post(kDVDEventTitleTime, DVDEventValue(elapsed / DVDClock::kTicksPerMs),
                 DVDEventValue(mTitleLength / DVDClock::kTicksPerMs));
    mNextTimeEvent += mTimeRate;
  }
}

void DVDNavigator::Handle(ReadEvent const& e) {
  switch (e.event) {
    case DVDNAV_NAV_PACKET:
      HandleNavPacket(e);
      break;
    case DVDNAV_VTS_CHANGE:
      ReportPosition(e.position);
      break;
    case DVDNAV_CELL_CHANGE: {
      dvdnav_cell_change_event_t cell;
      std::memcpy(&cell, e.data.data(), sizeof cell);
      if (e.position.inTitle) mTitleLength = cell.pgc_length;
      ReportPosition(e.position);
      break;
    }
    case DVDNAV_STILL_FRAME: {
      dvdnav_still_event_t still;
      std::memcpy(&still, e.data.data(), sizeof still);
      SetState(kDVDStatePlayingStill);
      if (still.length >= 0xFF) {
        mStillInfinite = true;
        mStillSerial = mSerial;
      } else {
        mStillTimed = true;
        mStillUntil = mPresentedUntil + int64_t(still.length) * DVDClock::kTicksPerSecond;
      }
      break;
    }
    case DVDNAV_WAIT:
      dvdnav_wait_skip(mNav);
      break;
    case DVDNAV_HIGHLIGHT: {
      dvdnav_highlight_event_t highlight;
      std::memcpy(&highlight, e.data.data(), sizeof highlight);
      mButton = highlight.display ? int(highlight.buttonN) : 0;
      ShowHighlight(0);
      break;
    }
    case DVDNAV_STOP:
      mReverse = false;
      mSpeed = 1;
      SetState(kDVDStateStopped);
      break;
    default:
      // Stream, palette and channel-hop changes concern the decoders.
      break;
  }
}

void DVDNavigator::HandleNavPacket(ReadEvent const& e) {
  int64_t const now = mClock.Now();
  int64_t start = mPresentedUntil;
  // On the real clock a late reader catches up instead of rushing through the backlog.
  if (!mClock.IsManual() && now - start > DVDClock::kTicksPerSecond / 2) start = now;
  start -= e.seekOffset;
  mVobuClockStart = start;
  mVobuTitleTime = e.titleTime;
  mVobuSpan = e.vobuSpan;
  if (mReverse) {
    mPresentedUntil = start + kReverseStep;
    mReverseStepDue = true;
  } else {
    mPresentedUntil = start + e.vobuSpan / mSpeed;
  }
  if (mNextTimeEvent < 0) mNextTimeEvent = start;
  ReportChapter(e);
  if (mState == kDVDStatePlayingStill) SetState(kDVDStatePlaying);
  ShowHighlight(0);
}

}  // namespace dvd
