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

DVDNavigator::DVDNavigator(DVDClock& clock, DVDClockMap& map, DVDEventQueue& events,
                           DVDPipeline* pipeline, std::shared_ptr<DVDReadFaults> faults)
    : mClock(clock),
      mClockMap(map),
      mEvents(events),
      mPipeline(pipeline),
      mBlocks(std::move(faults)),
      mAnnounced(events) {}

DVDNavigator::~DVDNavigator() { Close(); }

OSStatus DVDNavigator::Open(std::string const& path, std::array<UInt8, 8> const& discID,
                           std::shared_ptr<DVDTitleTable const> table) {
  Close();
  std::vector<int32_t> parts;
  dvdnav_s* const nav = DVDDiscMachine::OpenNav(path, &parts);
  if (!nav) return kDVDErrorMediaNotDVD;

  // Not under the lock: the decoders call the listener holding theirs, and it takes ours.
  if (mPipeline) {
    mPipeline->SetRoomListener([this] {
      std::lock_guard<std::mutex> lock(mMutex);
      mWake.notify_all();
    });
  }
  std::lock_guard<std::mutex> g(mMutex);
  mDisc.Construct(nav, std::move(parts), discID, std::move(table));
  mBlocks.Construct(nav);
  mSubpictureSync = std::make_unique<DVDSubpictureSync>(path);
  mWork.Clear();
  mWork.mQuit = false;
  mState = kDVDStateIdle;
  mReadAhead.clear();
  mTime.mPresentedUntil = mTime.mReadUntil = 0;
  mAnnounced.Forget();
  mAnnounced.mButton = 0;
  mTime.mSpeed = 1;
  mTime.mReverse = false;
  mTime.EndStill();
  mDisc.Publish();
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
    if (!mDisc.IsOpen()) return;
    mWork.mQuit = true;
  }
  mWake.notify_all();
  mThread.join();
  mClock.RemoveListener(mListener);
  mListener = 0;
  if (mPipeline) mPipeline->SetRoomListener(nullptr);
  std::lock_guard<std::mutex> g(mMutex);
  mDisc.Close();
  mSubpictureSync.reset();
  if (mState != kDVDStateIdle) SetState(kDVDStateIdle);
}

void DVDNavigator::SetTimeEventRate(UInt32 milliseconds) {
  std::lock_guard<std::mutex> g(mMutex);
  mTime.mTimeRate = int64_t(milliseconds) * DVDClock::kTicksPerMs;
  mTime.mNextTimeEvent = -1;
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
  return !mWork.mQuit && !mSleeping &&
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
  if (mPipeline) mPipeline->Hold(hold);
}

void DVDNavigator::Jumped() {
  mSeek.Cancel();
  mBlocks.ForgetDamage();
  mSyncSubpictures = true;
  if (mPipeline) {
    mPipeline->SetTarget(-1);
    mPipeline->Discontinuity();
  }
  ++mWork.mSerial;
  mReadAhead.clear();
  mBlocks.DropGroup();
  mTime.Restart(mClock.Now());
  Poke();
}

bool DVDNavigator::StartOver() {
  int event = 0;
  int len = 0;
  mDisc.Restart();
  return dvdnav_get_next_block(mDisc.Nav(), mBlocks.Data(), &event, &len) == DVDNAV_STATUS_OK;
}

void DVDNavigator::ForgetAnnounced() {
  mAnnounced.Forget();
  mTime.EndStill();
}

void DVDNavigator::Poke() {
  mWork.mQuiet = false;
  mWork.mClockWait = -1;
  mWake.notify_all();
}

bool DVDNavigator::IsQuiet() {
  std::lock_guard<std::mutex> g(mMutex);
  if (!mDisc.IsOpen()) return true;
  if (mWork.Busy()) return false;
  return mWork.mQuiet || (mWork.mClockWait >= 0 && mClock.Now() < mWork.mClockWait);
}

DVDState DVDNavigator::State() {
  std::lock_guard<std::mutex> g(mMutex);
  return mState;
}

int DVDNavigator::HighlightedButton() {
  std::lock_guard<std::mutex> g(mMutex);
  return mAnnounced.mButton;
}

bool DVDNavigator::TitleUnderway() {
  return InTitle() && mState != kDVDStateIdle && mState != kDVDStateStopped;
}

// ---- the thread

void DVDNavigator::Post(std::function<void()> job) {
  mWork.Post(std::move(job));
  Poke();
}

void DVDNavigator::RunJob(std::unique_lock<std::mutex>& lk) {
  std::function<void()> const job = mWork.Take();
  lk.unlock();
  job();
  mDisc.CountTitleFrames();
  lk.lock();
  mWork.Done();
  mDisc.Publish();
}

void DVDNavigator::WaitForWork(std::unique_lock<std::mutex>& lk) {
  uint64_t const serial = mWork.mSerial;
  mWork.mQuiet = true;
  mWake.wait(lk, [&] { return mWork.Interrupted(serial) || !mWork.mQuiet; });
  mWork.mQuiet = false;
}

void DVDNavigator::WaitForRoom(std::unique_lock<std::mutex>& lk) {
  uint64_t const serial = mWork.mSerial;
  mWake.wait(lk, [&] { return mWork.Interrupted(serial) || !Active() || mPipeline->HasRoom(); });
}

void DVDNavigator::Run() {
  std::unique_lock<std::mutex> lk(mMutex);
  while (!mWork.mQuit) {
    if (mWork.HasJobs()) {
      RunJob(lk);
      continue;
    }
    if (!Active()) {
      WaitForWork(lk);
      continue;
    }
    if (mTime.mStillInfinite) {
      if (mWork.mSerial == mTime.mStillSerial) {
        WaitForWork(lk);
        continue;
      }
      mTime.mStillInfinite = false;
    }
    if (mTime.mStillTimed) {
      uint64_t const serial = mWork.mSerial;
      mWork.mClockWait = mTime.mStillUntil;
      bool const reached = mClock.WaitUntil(lk, mWake, mTime.mStillUntil, [&] {
        return mWork.Interrupted(serial) || !Active() || mWork.mClockWait < 0;
      });
      mWork.mClockWait = -1;
      if (mWork.mSerial != serial) {
        mTime.mStillTimed = false;
        continue;
      }
      if (!reached) continue;
      mTime.mStillTimed = false;
      mTime.mPresentedUntil = mTime.mStillUntil;
      // What comes after the still is shown after it.
      mTime.mReadUntil = std::max(mTime.mReadUntil, mTime.mPresentedUntil);
      dvdnav_still_skip(mDisc.Nav());
      if (mState == kDVDStatePlayingStill) SetState(kDVDStatePlaying);
      continue;
    }
    if (CanReadAhead()) {
      if (mPipeline && !mPipeline->HasRoom()) {
        WaitForRoom(lk);
        continue;
      }
      ReadAhead(lk);
      continue;
    }
    if (mReadAhead.empty()) {
      // A cell's end: the machine moves on (cell and post commands) only once the cell has
      // been shown, so that commands given until then act where the viewer is.
      if (WaitPresented(lk)) mBlocks.DropGroup();
      continue;
    }
    // Anything else happens once what was read before it has been shown.
    if (!WaitPresented(lk)) continue;
    if (mTime.mReverse && mTime.mReverseStepDue && InTitle()) {
      mTime.mReverseStepDue = false;
      int64_t const target = mTime.mVobuTitleTime - int64_t(mTime.mSpeed) * kReverseStep;
      // What was read ahead lies forwards.
      mReadAhead.clear();
      mBlocks.DropGroup();
      if (mPipeline) mPipeline->Discontinuity();
      mSyncSubpictures = true;
      mTime.mReadUntil = mTime.mPresentedUntil;
      if (target <= 0) {
        dvdnav_time_search(mDisc.Nav(), 0);
        mTime.mReverse = false;
        mTime.mSpeed = 1;
        SetState(kDVDStatePlaying);
      } else {
        dvdnav_time_search(mDisc.Nav(), uint64_t(target));
      }
      continue;
    }
    ReadEvent const event = std::move(mReadAhead.front());
    mReadAhead.pop_front();
    Handle(event);
  }
}

bool DVDNavigator::CanReadAhead() const {
  if (mBlocks.AtCellEnd()) return false;
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
  uint64_t const serial = mWork.mSerial;
  // The block is read without the lock: commands are taken meanwhile.
  lk.unlock();
  bool const read = mBlocks.Read(event, len);
  if (read && event != DVDNAV_BLOCK_OK && event != DVDNAV_NOP) mDisc.CountTitleFrames();
  lk.lock();
  // A jump came while reading: what was read belongs to before it.
  if (mWork.mSerial != serial) return;
  if (!read) {
    SkipDamage();
    return;
  }
  if (event == DVDNAV_NOP) return;
  if (event == DVDNAV_BLOCK_OK) {
    // The cell's last group is whole: its last pictures need not wait for the next cell.
    if (mBlocks.TakeBlock() && mPipeline) mPipeline->EndOfStream();
    // Picture and sound data go to the decoders as they come.
    if (mPipeline && len > 0) mPipeline->Block(mBlocks.Data(), size_t(len));
    return;
  }
  mDisc.Publish();
  ReadEvent e;
  e.event = event;
  std::memcpy(e.data.data(), mBlocks.Data(),
              std::min<size_t>(e.data.size(), size_t(std::max(len, 0))));
  // What the event means is taken now: by the time it is handled dvdnav has read on.
  e.position = mDisc.mView.position;
  switch (event) {
    case DVDNAV_NAV_PACKET: {
      pci_t const* const pci = dvdnav_get_current_nav_pci(mDisc.Nav());
      if (pci) {
        e.vobuStart = int64_t(pci->pci_gi.vobu_s_ptm);
        e.vobuSpan = int64_t(pci->pci_gi.vobu_e_ptm) - e.vobuStart;
      }
      if (e.vobuSpan < 0 || e.vobuSpan > kMaxVobuSpan) e.vobuSpan = 0;
      dsi_t const* const dsi = dvdnav_get_current_nav_dsi(mDisc.Nav());
      mBlocks.StartGroup(dsi ? int64_t(dsi->dsi_gi.vobu_ea) : 0,
                         dsi && dsi->vobu_sri.next_vobu == SRI_END_OF_CELL);
      mBlocks.PassedDamage();
      e.titleTime = e.position.inTitle ? std::max<int64_t>(0, dvdnav_get_current_time(mDisc.Nav())) : 0;
      if (mSeek.mActive && !SeekLanded(e)) return;
      PlaceVobu(e, pci != nullptr);
      if (std::exchange(mSyncSubpictures, false) && !SyncSubpictures(lk, e)) return;
      break;
    }
    case DVDNAV_CELL_CHANGE: {
      dvdnav_cell_change_event_t cell;
      std::memcpy(&cell, e.data.data(), sizeof cell);
      // Only the program chain's end runs commands that may take the machine elsewhere.
      mBlocks.EnterCell(cell.cell_length);
      break;
    }
    case DVDNAV_STILL_FRAME:
    case DVDNAV_WAIT:
    case DVDNAV_STOP:
      // The stream pauses here: the decoder gives out the pictures it holds.
      if (mPipeline) mPipeline->EndOfStream();
      break;
    case DVDNAV_SPU_CLUT_CHANGE:
      if (mPipeline) {
        std::array<uint32_t, 16> clut;
        std::memcpy(clut.data(), e.data.data(), sizeof clut);
        mPipeline->SetPalette(clut);
      }
      break;
    default:
      break;
  }
  mReadAhead.push_back(e);
}

void DVDNavigator::SkipDamage() {
  if (mBlocks.SkipDamage()) return;
  // Nothing further can be read.
  mEvents.PostError(kDVDErrorReadFailed);
  mReadAhead.clear();
  SetState(kDVDStateStopped);
}

void DVDNavigator::PlaceVobu(ReadEvent const& e, bool hasPci) {
  int64_t const now = mClock.Now();
  int64_t start = mTime.mReadUntil;
  if (!mClock.IsManual() && now - start > DVDClock::kTicksPerSecond / 2) start = now;
  // A seek's target is due now; the pictures before it are decoded only.
  start -= e.seekOffset;
  mTime.mReadUntil = mTime.mReverse ? start + kReverseStep : start + e.vobuSpan / mTime.mSpeed;
  if (!mPipeline || !hasPci) return;
  DVDVobuTiming timing;
  timing.place = {start, e.vobuStart, mTime.mReverse ? 1 : mTime.mSpeed, mClockMap.Epoch()};
  timing.keyFramesOnly = mTime.mReverse || mTime.mSpeed > 2;
  timing.title = e.position.inTitle ? e.position.title : 0;
  timing.chapter = e.position.inTitle ? e.position.part : 0;
  timing.titleTime = e.titleTime;
  if (e.position.inTitle) {
    timing.firstFrame = FirstFrame(e);
    timing.frameTicks = e.position.FrameTicks();
  }
  timing.audioStream = mDisc.SelectedAudio();
  int const spu = mDisc.SelectedSubPicture();
  // Subtitles switched off still show the pictures the disc forces.
  timing.subpictureStream = spu < 0 ? 0 : spu & 0x1F;
  timing.forcedSubpicturesOnly = spu < 0 || (spu & 0x80) != 0;
  mPipeline->StartVobu(timing);
}

bool DVDNavigator::WaitPresented(std::unique_lock<std::mutex>& lk) {
  uint64_t const serial = mWork.mSerial;
  for (;;) {
    // Paused, a seek or step reads on as far as its picture needs, whatever the time (the
    // picture after it is only read for while what is read ahead allows).
    if (mClock.IsStopped() && SeekReadsOn()) return true;
    int64_t const now = mClock.Now();
    EmitDueTimeEvents(std::min(now, mTime.mPresentedUntil));
    if (now >= mTime.mPresentedUntil) return true;
    int64_t target = mTime.mPresentedUntil;
    if (TimeEventsDue() && mTime.mNextTimeEvent < target) target = mTime.mNextTimeEvent;
    mWork.mClockWait = target;
    bool const reached = mClock.WaitUntil(lk, mWake, target, [&] {
      return mWork.Interrupted(serial) || !Active() || mWork.mClockWait < 0;
    });
    mWork.mClockWait = -1;
    if (!reached) return false;
  }
}

int64_t DVDNavigator::PresentedTitleTime() { return mTime.PresentedTitleTime(mClock.Now(), mClockMap); }

bool DVDNavigator::TimeEventsDue() const { return mTime.TimeEventsDue(mAnnounced.mTitle > 0); }

void DVDNavigator::EmitDueTimeEvents(int64_t upTo) {
  if (!TimeEventsDue()) return;
  while (mTime.mNextTimeEvent <= upTo) {
    int64_t const elapsed = mTime.TitleTimeAt(mTime.mNextTimeEvent, mClockMap);
    mEvents.Post(kDVDEventTitleTime, DVDEventValue(elapsed / DVDClock::kTicksPerMs),
                 DVDEventValue(mTime.mTitleLength / DVDClock::kTicksPerMs));
    mTime.mNextTimeEvent += mTime.mTimeRate;
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
      if (e.position.inTitle) mTime.mTitleLength = cell.pgc_length;
      ReportPosition(e.position);
      break;
    }
    case DVDNAV_STILL_FRAME: {
      dvdnav_still_event_t still;
      std::memcpy(&still, e.data.data(), sizeof still);
      SetState(kDVDStatePlayingStill);
      mTime.StartStill(still.length, mWork.mSerial);
      break;
    }
    case DVDNAV_WAIT:
      dvdnav_wait_skip(mDisc.Nav());
      break;
    case DVDNAV_HIGHLIGHT: {
      dvdnav_highlight_event_t highlight;
      std::memcpy(&highlight, e.data.data(), sizeof highlight);
      mAnnounced.mButton = highlight.display ? int(highlight.buttonN) : 0;
      ShowHighlight(0);
      break;
    }
    case DVDNAV_STOP:
      mTime.mReverse = false;
      mTime.mSpeed = 1;
      SetState(kDVDStateStopped);
      break;
    default:
      // Stream, palette and channel-hop changes concern the decoders.
      break;
  }
}

void DVDNavigator::HandleNavPacket(ReadEvent const& e) {
  int64_t const now = mClock.Now();
  int64_t start = mTime.mPresentedUntil;
  // On the real clock a late reader catches up instead of rushing through the backlog.
  if (!mClock.IsManual() && now - start > DVDClock::kTicksPerSecond / 2) start = now;
  start -= e.seekOffset;
  mTime.mVobu = {start, 0, mTime.mReverse ? 1 : mTime.mSpeed, mClockMap.Epoch()};
  mTime.mVobuTitleTime = e.titleTime;
  mTime.mVobuSpan = e.vobuSpan;
  if (mTime.mReverse) {
    mTime.mPresentedUntil = start + kReverseStep;
    mTime.mReverseStepDue = true;
  } else {
    mTime.mPresentedUntil = start + e.vobuSpan / mTime.mSpeed;
  }
  if (mTime.mNextTimeEvent < 0) mTime.mNextTimeEvent = start;
  ReportChapter(e);
  if (mState == kDVDStatePlayingStill) SetState(kDVDStatePlaying);
  ShowHighlight(0);
}

}  // namespace dvd
