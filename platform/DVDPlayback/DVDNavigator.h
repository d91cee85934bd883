// Navigation over libdvdnav on a thread of its own: reads the disc block by block, paces
// it against the clock by the stream's time stamps, follows cells, programs, stills and
// jumps, keeps the menu highlight, and reports title, chapter, display, playback-state and
// time events. Only the reading thread touches libdvdnav: the application's commands change
// what they can at once and hand the machine's part to that thread, to be done before its
// next block; questions are answered from what the thread last saw of the machine.
#pragma once

#include "DVDClock.h"
#include "DVDEventQueue.h"
#include "DVDPlayback.h"
#include "DVDPresenter.h"
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
  // presenter (may be null) receives what is read, in order, with its place on the clock.
  DVDNavigator(DVDClock& clock, DVDEventQueue& events, DVDPresenter* presenter = nullptr);
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
  enum class StreamKind { kAudio, kSubPicture };
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
  // A menu button: its rectangle in the picture and its neighbours (1-based).
  struct Button {
    uint16_t x0 = 0, y0 = 0, x1 = 0, y1 = 0;
    uint8_t up = 0, down = 0, left = 0, right = 0;
  };
  // dvdnav's position: title (in a menu: 0, and the menu's number as part) and picture.
  struct Position {
    bool inTitle = false;
    int32_t title = 0;
    int32_t part = 0;
    uint32_t width = 0;
    uint32_t height = 0;
    int aspect = 0;
  };
  // What the machine said when the reader last looked (after each event and command).
  struct View {
    static constexpr int kAudioStreams = 8;
    static constexpr int kSubPictureStreams = 32;
    Position position;
    bool inMenu = false;
    bool inManagerMenu = false;  // the disc's own menus, before any title set
    bool hasAngles = false;
    int32_t angle = 0;
    int32_t angles = 0;
    int64_t titleFrames = 0;
    // Logical stream -> the disc's stream number (-1: none), and its language.
    std::array<int8_t, kAudioStreams> audioIDs{};
    std::array<UInt16, kAudioStreams> audioLanguages{};
    std::array<int8_t, kSubPictureStreams> subPictureIDs{};
    std::array<UInt16, kSubPictureStreams> subPictureLanguages{};
    int discAudio = -1;  // what the machine selects
    int discSubPicture = -1;
    int buttonCount = 0;
    std::array<Button, 36> buttons{};
  };

  // An event read ahead of presentation, with what it meant when it was read.
  struct ReadEvent {
    int event = 0;
    std::array<uint8_t, 128> data{};
    Position position;
    int64_t vobuStart = 0;  // picture groups: first time stamp, length, title time
    int64_t vobuSpan = 0;
    int64_t titleTime = 0;
    int64_t seekOffset = 0;  // a seek's landing group: ticks from its start to the target
  };
  // A seek looks for the picture group holding its target by halving a range of sectors of
  // the program chain, reading each group's navigation packet only.
  struct Seek {
    bool active = false;
    int64_t target = 0;
    uint32_t lo = 0;
    uint32_t hi = 0;
    uint32_t asked = 0;  // the sector the last probe asked for
    int probes = 0;
  };

  void Run();
  // Commands' work on the machine, done by the reading thread without the lock, in order.
  void Post(std::function<void()> job);
  void RunJob(std::unique_lock<std::mutex>& lk);
  // A command, a jump or the end has come: a wait gives way.
  bool Interrupted(uint64_t serial) const;
  // Takes down what the machine says now (reader, lock held).
  void Publish();
  // The current title's frame count, worked out once a title (reader, without the lock: it
  // reads the title set's information file).
  void CountTitleFrames();
  // Reading runs one picture group ahead of presentation so that the sound multiplexed
  // after its pictures arrives in time.
  bool CanReadAhead() const;
  void ReadAhead(std::unique_lock<std::mutex>& lk);
  // Where a group read ahead will be presented.
  void PlaceVobu(ReadEvent const& e, bool hasPci);
  // After a jump, hands the presenter the subpictures on screen at the group just placed
  // that were read before it (read from the disc without the lock); false when a command
  // moved the position meanwhile.
  bool SyncSubpictures(std::unique_lock<std::mutex>& lk, ReadEvent const& e);
  bool Active() const;
  void SetState(DVDState state);
  // A command moved the position: what was read ahead no longer counts.
  void Jumped();
  // Back to the disc's first-play state (reader, without the lock), and what is announced
  // again after it.
  void Restart();
  // Restart, then the machine's first step, after which it can jump (reader, without the
  // lock); false when the disc does not start.
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
  void ReportPosition(Position const& position);
  // The chapter is announced as its pictures reach the screen: with each picture group
  // handled that shows one, and with a step to a picture at hand.
  void ReportChapter(ReadEvent const& e);
  void AnnounceChapter(int32_t chapter);
  // The chapter of a frame of the title playing, from the title table (when it has one).
  void AnnounceChapterOf(int64_t frame);
  int64_t PresentedTitleTime();
  bool InTitle();
  // Forward at normal speed again.
  void EndScan();
  // In a title that plays, pauses or scans: where chapters and bookmarks make sense.
  bool TitleUnderway();
  // Chapters of a title of the disc (0: no such title).
  int32_t TitleParts(int32_t title) const;
  OSStatus SearchChapter(bool previous);
  // The first frames of the title's chapters, from the disc's table; null when chapters
  // cannot go by frames (no table chapters, a still): libdvdnav's searches serve then.
  std::vector<UInt32> const* ChapterFirstFrames();
  // The frame chapter commands count from: a seek or step on its way, else the picture on
  // screen; -1 when there is none of this title.
  int64_t ChapterCountedFrom();
  // To a chapter's first frame, frame-exact, paused or playing.
  void SeekChapter(int64_t frame);
  // Tells the presenter the selected button's rectangle and colours (mode 0 selected,
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
  // A frame's length in ticks, and the length the disc's time codes count a frame as.
  int64_t FrameTicks(Position const& position) const;
  int64_t TimeCodeFrameTicks(Position const& position) const;
  // The title's frame number of a picture group's first picture.
  int64_t FirstFrame(ReadEvent const& e) const;
  // A block, read again once when it cannot be read.
  bool ReadNextBlock(int& event, int& len);
  // Reading failed twice: goes on from the first picture group past the damage, or, when
  // nothing past it can be read, reports the error and stops.
  void SkipDamage();
  // At a navigation packet: reading is past the damage last skipped.
  void PassedDamage();
  static int MaxStreams(StreamKind kind);
  // The disc's stream (MPEG) number of a title's logical stream, -1 when absent.
  int StreamID(StreamKind kind, int logical);
  // What is decoded now: the stream the user chose, else the one the disc selects; the
  // subpicture's 0x80 bit: forced pictures only.
  int SelectedAudio();
  int SelectedSubPicture();
  int SelectedStream(StreamKind kind);
  // The choices take effect on what is queued too.
  void ApplyStreams();

  DVDClock& mClock;
  DVDEventQueue& mEvents;
  DVDPresenter* mPresenter;
  int mListener = 0;
  std::mutex mMutex;
  std::condition_variable mWake;
  dvdnav_s* mNav = nullptr;
  std::array<UInt8, 8> mDiscID{};
  std::thread mThread;
  bool mQuit = false;
  bool mQuiet = false;       // waiting for a command
  int64_t mClockWait = -1;   // waiting for the clock to reach this
  bool mSleeping = false;

  DVDState mState = kDVDStateIdle;
  DVDState mPausedFrom = kDVDStatePlaying;
  uint64_t mSerial = 0;

  // Events read ahead, handled once their turn on the clock comes.
  std::deque<ReadEvent> mReadAhead;
  int64_t mReadUntil = 0;  // clock time the groups read so far run to
  bool mInLastCell = false;  // reading the program chain's last cell
  bool mAtCellEnd = false;   // the group read last ends that cell
  int64_t mBlocksLeft = 0;  // data blocks of that group still to read
  std::vector<uint8_t> mBlock;
  std::unique_ptr<DVDSubpictureSync> mSubpictureSync;  // the reader's own
  bool mSyncSubpictures = false;  // the next group placed comes after a jump

  // Presentation timeline in clock ticks; title times in 90 kHz ticks.
  int64_t mPresentedUntil = 0;
  int64_t mVobuClockStart = 0;
  int64_t mVobuTitleTime = 0;
  int64_t mVobuSpan = 0;
  int mSpeed = 1;
  bool mReverse = false;
  bool mReverseStepDue = false;
  bool mStillInfinite = false;
  bool mStillTimed = false;
  int64_t mStillUntil = 0;
  uint64_t mStillSerial = 0;

  int64_t mTimeRate = 0;
  int64_t mNextTimeEvent = -1;
  int64_t mTitleLength = 0;

  View mView;
  std::vector<int32_t> mTitleParts;  // chapters of each title, from the disc's manager
  std::shared_ptr<DVDTitleTable const> mTitleTable;  // set at open, never changed while open
  std::deque<std::function<void()>> mJobs;
  bool mJobRunning = false;

  // What the application was told last.
  int32_t mTitle = -1;
  int32_t mChapter = -1;
  DVDAspectRatio mAspect = kDVDAspectRatioUninitialized;
  DVDVideoStandard mStandard = kDVDVideoStandardUnknown;
  int mButton = 0;

  uint32_t mDamageAt = 0;    // where reading last failed (sector in the program chain)
  uint32_t mDamageSkip = 0;  // how far past it the last try went
  Seek mSeek;
  int64_t mSeekShown = -1;  // the frame the last seek went to
  bool mStepped = false;  // the picture shown was stepped to: playing goes on from it
  int mAudioChoice = -1;  // logical streams the user chose, -1: as the disc says
  int mSubPictureChoice = -1;
  int mSubPictureShown = -1;  // 1 shown, 0 hidden, -1: as the disc says
  // The reader's own: the title last counted.
  int32_t mFramesTitle = -1;
  int64_t mTitleFrames = 0;
};

}  // namespace dvd
