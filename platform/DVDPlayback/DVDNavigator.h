// Navigation over libdvdnav on a thread of its own: reads the disc block by block, paces
// it against the clock by the stream's time stamps, follows cells, programs, stills and
// jumps, keeps the menu highlight, and reports title, chapter, display, playback-state and
// time events. Only the reading thread touches libdvdnav: the application's commands change
// what they can at once and hand the machine's part to that thread, to be done before its
// next block; questions are answered from what the thread last saw of the machine.
// Its parts: the disc's machine (DVDDiscMachine), the blocks read (DVDBlockSource), where
// reading and presentation stand on the clock (DVDTimeline), seeks (DVDFrameSeek), what was
// announced (DVDAnnouncer) and the thread's work (DVDReaderWork), all under its lock.
#pragma once

#include "DVDAnnouncer.h"
#include "DVDBlockSource.h"
#include "DVDClock.h"
#include "DVDClockMap.h"
#include "DVDDiscMachine.h"
#include "DVDEventQueue.h"
#include "DVDPlayback.h"
#include "DVDFrameSeek.h"
#include "DVDPipeline.h"
#include "DVDReadFaults.h"
#include "DVDReaderWork.h"
#include "DVDTimeline.h"
#include "DVDTitleTable.h"

#include <array>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

struct dvdnav_s;

namespace dvd {

class DVDSubpictureSync;

class DVDNavigator {
 public:
  // pipeline (may be null) receives what is read, in order, with its place on the clock;
  // faults (may be null) are the drive's, for the block reads.
  // map: where stream time lands on the clock, shared with the pipeline.
  DVDNavigator(DVDClock& clock, DVDClockMap& map, DVDEventQueue& events,
               DVDPipeline* pipeline = nullptr, std::shared_ptr<DVDReadFaults> faults = nullptr);
  ~DVDNavigator();
  DVDNavigator(DVDNavigator const&) = delete;
  DVDNavigator& operator=(DVDNavigator const&) = delete;

  // table (may be null): the disc's titles, which title frame counts are taken from.
  OSStatus Open(std::string const& path, std::array<UInt8, 8> const& discID,
                std::shared_ptr<DVDTitleTable const> table = nullptr);
  void Close();

  void SetTimeEventRate(UInt32 milliseconds);
  void Sleep();
  void WakeUp();

  OSStatus Play();
  OSStatus Pause();
  OSStatus Stop();
  OSStatus Scan(DVDScanRate rate, DVDScanDirection direction);
  OSStatus NextChapter();
  OSStatus PreviousChapter();
  // Titles from 1: the one playing (0 on a menu or stopped), one played from its start, and a
  // chapter of the one playing.
  OSStatus GetTitle(UInt16* title);
  OSStatus SetTitle(UInt16 title);
  OSStatus SetChapter(UInt16 chapter);
  OSStatus IsOnMenu(Boolean* onMenu, DVDMenu* menu);
  OSStatus GoToMenu(DVDMenu menu);
  OSStatus ReturnToTitle();
  OSStatus GetAngleInfo(UInt16* numAngles, UInt16* angle);
  OSStatus SetAngle(UInt16 angle);
  OSStatus UserNavigation(DVDUserNavigation navigation);
  // x, y in the disc's picture coordinates; index is the button under the point or -1.
  OSStatus MenuPoint(int x, int y, bool activate, SInt32* index);
  // Frame-exact positions in the current title (frame numbers from 0).
  OSStatus SeekToFrame(UInt32 frame);
  OSStatus StepFrame(SInt32 frames);
  OSStatus GetTitleFrameCount(UInt32* frames);
  // Sound and subtitle streams of the title, numbered as the disc numbers them (from 0).
  using StreamKind = DVDDiscMachine::StreamKind;
  OSStatus GetNumStreams(StreamKind kind, UInt16* count);
  OSStatus GetStream(StreamKind kind, UInt16* stream);
  OSStatus SetStream(StreamKind kind, UInt16 stream);
  OSStatus GetLanguageCode(StreamKind kind, UInt16 stream, UInt16* code);
  OSStatus EnableSubPicture(bool enable);
  OSStatus IsSubPictureEnabled(Boolean* enabled);
  OSStatus GetBookmark(std::vector<UInt8>& data);
  OSStatus GotoBookmark(UInt8 const* data, UInt32 size);

  // Uninitialized / unchanged until playback has reached a picture.
  DVDAspectRatio AspectRatio();
  void NativeSize(UInt16* width, UInt16* height);
  DVDState State();
  // The highlighted menu button (1-based, 0 when none), kept for drawing.
  int HighlightedButton();

  // True while the thread waits for the clock or a command with nothing else to do.
  bool IsQuiet();

 private:
  // An event read ahead of presentation, with what it meant when it was read.
  struct ReadEvent {
    int event = 0;
    std::array<uint8_t, 128> data{};
    DVDNavPosition position;
    int64_t vobuStart = 0;  // picture groups: first time stamp, length, title time
    int64_t vobuSpan = 0;
    int64_t titleTime = 0;
    int64_t seekOffset = 0;  // a seek's landing group: ticks from its start to the target
  };

  void Run();
  // Commands' work on the machine, done by the reading thread without the lock, in order.
  void Post(std::function<void()> job);
  void RunJob(std::unique_lock<std::mutex>& lk);
  // Reading runs one picture group ahead of presentation so that the sound multiplexed
  // after its pictures arrives in time.
  bool CanReadAhead() const;
  void ReadAhead(std::unique_lock<std::mutex>& lk);
  // Where a group read ahead will be presented.
  void PlaceVobu(ReadEvent const& e, bool hasPci);
  // After a jump, hands the pipeline the subpictures on screen at the group just placed
  // that were read before it (read from the disc without the lock); false when a command
  // moved the position meanwhile.
  bool SyncSubpictures(std::unique_lock<std::mutex>& lk, ReadEvent const& e);
  bool Active() const;
  void SetState(DVDState state);
  // A command moved the position: what was read ahead no longer counts.
  void Jumped();
  // Back to the disc's first-play state, then the machine's first step, after which it can
  // jump (reader, without the lock); false when the disc does not start.
  bool StartOver();
  void ForgetAnnounced();
  // A command changed something the thread waits on.
  void Poke();
  bool WaitPresented(std::unique_lock<std::mutex>& lk);
  void WaitForWork(std::unique_lock<std::mutex>& lk);
  // The decoders are full: waits until they take more (or something else happens).
  void WaitForRoom(std::unique_lock<std::mutex>& lk);
  // Title time is reported in titles only, at the rate asked for.
  bool TimeEventsDue() const;
  void EmitDueTimeEvents(int64_t upTo);
  void Handle(ReadEvent const& e);
  void HandleNavPacket(ReadEvent const& e);
  void ReportPosition(DVDNavPosition const& position);
  // The chapter is announced as its pictures reach the screen: with each picture group
  // handled that shows one, and with a step to a picture at hand.
  void ReportChapter(ReadEvent const& e);
  // The chapter of a frame of the title playing, from the title table (when it has one).
  void AnnounceChapterOf(int64_t frame);
  int64_t PresentedTitleTime();
  bool InTitle() const { return mDisc.InTitle(); }
  // Forward at normal speed again.
  void EndScan() { mTime.EndScan(); }
  // The speed goes from num to den at clock time from: made in the clock map, which what was
  // read and shown so far and everything queued are carried through.
  void ChangeSpeed(int64_t from, int num, int den, bool keyFramesOnly);
  // In a title that plays, pauses or scans: where chapters and bookmarks make sense.
  bool TitleUnderway();
  OSStatus SearchChapter(bool previous);
  // The first frames of the title's chapters, from the disc's table; null when chapters
  // cannot go by frames (no table chapters, a still): libdvdnav's searches serve then.
  std::vector<UInt32> const* ChapterFirstFrames();
  // The frame chapter commands count from: a seek or step on its way, else the picture on
  // screen; -1 when there is none of this title.
  int64_t ChapterCountedFrom();
  // To a chapter's first frame, frame-exact, paused or playing.
  void SeekChapter(int64_t frame);
  // Tells the pipeline the selected button's rectangle and colours (mode 0 selected,
  // 1 activated), or that none shows.
  void ShowHighlight(int mode);
  // Pictures and sound stop while paused or asleep.
  void HoldPresentation();
  void PauseNow();
  // A seek or step has not yet shown its picture (and the one after it): reading goes on
  // while paused.
  bool Seeking() const;
  // Paused, a seek or step still needs what is read next: nothing after its picture group.
  bool SeekReadsOn();
  void StartSeek(int64_t target);
  // At a navigation packet during a seek: true when this group holds the target (e gets
  // its offset); otherwise the next probe has been started.
  bool SeekLanded(ReadEvent& e);
  // The title's frame number of a picture group's first picture.
  int64_t FirstFrame(ReadEvent const& e) const;
  // Reading failed twice: goes on from the first picture group past the damage, or, when
  // nothing past it can be read, reports the error and stops.
  void SkipDamage();
  // The choices take effect on what is queued too.
  void ApplyStreams();

  DVDClock& mClock;
  DVDClockMap& mClockMap;
  DVDEventQueue& mEvents;
  DVDPipeline* mPipeline;
  int mListener = 0;
  std::mutex mMutex;  // DVDLockOrder.h: the navigator's (3)
  std::condition_variable mWake;
  std::thread mThread;
  bool mSleeping = false;
  DVDState mState = kDVDStateIdle;
  DVDState mPausedFrom = kDVDStatePlaying;

  DVDReaderWork mWork;
  DVDDiscMachine mDisc;
  DVDBlockSource mBlocks;
  // Events read ahead, handled once their turn on the clock comes.
  std::deque<ReadEvent> mReadAhead;
  std::unique_ptr<DVDSubpictureSync> mSubpictureSync;  // the reader's own
  bool mSyncSubpictures = false;  // the next group placed comes after a jump
  DVDTimeline mTime;
  DVDFrameSeek mSeek;
  DVDAnnouncer mAnnounced;
};

}  // namespace dvd
