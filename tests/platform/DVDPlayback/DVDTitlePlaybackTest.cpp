// Playing titles through on the manual clock: the events in order, chapter changes at the
// authored times, title time once a second, and the commands that move the position.
#include "DVDTestSession.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <vector>

namespace tavelo_test {
namespace {

class DVDTitlePlaybackTest : public DVDSessionTest {
 protected:
  // The bookmark of the first disc a second into playing it.
  std::vector<UInt8> BookmarkASecondIn() {
    OpenFile(DiscPath("ntsc43"));
    EXPECT_EQ(noErr, DVDPlay());
    Advance(1000);
    UInt32 size = 64;
    std::vector<UInt8> mark(size);
    EXPECT_EQ(noErr, DVDGetBookmark(mark.data(), &size));
    mark.resize(size);
    return mark;
  }
};

// One NTSC frame, in milliseconds, rounded up.
constexpr int kFrameMs = 34;

TEST_F(DVDTitlePlaybackTest, PlaysATitleThroughWithEventsInOrder) {
  OpenFile(DiscPath("ntsc43"));
  ASSERT_EQ(noErr, DVDPlay());
  Advance(13000);
  std::vector<DVDEventRecord> const expected = {
      {11, 1, 0}, {1, 1, 0}, {12, 1, 0}, {7, 1, 0}, {2, 1, 0}, {2, 2, 0}, {2, 3, 0}, {11, 4, 0}};
  EXPECT_EQ(expected, mRecorder.Changes());

  // Title time: once a second of stream time from the title's start, elapsed within a
  // frame of the second, length the title's authored length (360 frames at 30000/1001).
  auto const times = mRecorder.Of(kDVDEventTitleTime);
  ASSERT_EQ(13u, times.size());
  for (size_t i = 0; i < times.size(); ++i) {
    EXPECT_NEAR(double(i * 1000), double(times[i].data1), kFrameMs) << "event " << i;
    EXPECT_NEAR(12012.0, double(times[i].data2), kFrameMs) << "event " << i;
  }

  // Chapter changes sit between the time events around their authored times.
  auto const all = mRecorder.Events();
  auto indexOf = [&](DVDEventRecord const& e) {
    return std::find(all.begin(), all.end(), e) - all.begin();
  };
  auto const ch2 = indexOf({2, 2, 0});
  ASSERT_GT(ch2, 0);
  EXPECT_EQ(20u, all[ch2 - 1].code);
  EXPECT_NEAR(4000.0, double(all[ch2 - 1].data1), kFrameMs);
  EXPECT_NEAR(5000.0, double(all[ch2 + 1].data1), kFrameMs);
}

TEST_F(DVDTitlePlaybackTest, ChaptersChangeAtTheAuthoredFrames) {
  OpenFile(DiscPath("ntsc43"));
  ASSERT_EQ(noErr, DVDPlay());
  // Chapter 2 starts at frame 120, 4004 ms; chapter 3 at frame 240, 8008 ms.
  Advance(4003);
  EXPECT_EQ(DVDEventValue(1), Last(kDVDEventPTT));
  Advance(2);
  EXPECT_EQ(DVDEventValue(2), Last(kDVDEventPTT));
  Advance(4002);
  EXPECT_EQ(DVDEventValue(2), Last(kDVDEventPTT));
  Advance(2);
  EXPECT_EQ(DVDEventValue(3), Last(kDVDEventPTT));
  EXPECT_EQ(kDVDStatePlaying, LastState());
  // The title ends with its 360th frame, at 12012 ms.
  Advance(4001);
  EXPECT_EQ(kDVDStatePlaying, LastState());
  Advance(3);
  EXPECT_EQ(kDVDStateStopped, LastState());
}

TEST_F(DVDTitlePlaybackTest, NoTimeEventsWhenTheRateIsOff) {
  ASSERT_EQ(noErr, DVDSetTimeEventRate(0));
  OpenFile(DiscPath("ntsc43"));
  ASSERT_EQ(noErr, DVDPlay());
  Advance(13000);
  EXPECT_TRUE(mRecorder.Of(kDVDEventTitleTime).empty());
  EXPECT_EQ(kDVDStateStopped, LastState());
}

TEST_F(DVDTitlePlaybackTest, PalWidescreenReportsItsStandardAndAspect) {
  OpenFile(DiscPath("pal169"));
  DVDAspectRatio aspect = 0;
  ASSERT_EQ(noErr, DVDGetAspectRatio(&aspect));
  EXPECT_EQ(kDVDAspectRatio16x9, aspect);
  ASSERT_EQ(noErr, DVDPlay());
  Advance(7000);
  std::vector<DVDEventRecord> const expected = {
      {11, 1, 0}, {1, 1, 0}, {12, 2, 0}, {7, 3, 0}, {2, 1, 0}, {2, 2, 0}, {11, 4, 0}};
  EXPECT_EQ(expected, mRecorder.Changes());
  auto const times = mRecorder.Of(kDVDEventTitleTime);
  ASSERT_FALSE(times.empty());
  EXPECT_NEAR(6000.0, double(times.back().data2), 40);
}

TEST_F(DVDTitlePlaybackTest, StillThenPostCommandChainsToATitleOfAnotherAspect) {
  OpenFile(DiscPath("chain"));
  ASSERT_EQ(noErr, DVDPlay());
  // Title 1 is 90 frames (3003 ms), then its last picture stays for 2 seconds.
  Advance(3500);
  EXPECT_EQ(kDVDStatePlayingStill, LastState());
  DVDAspectRatio aspect = 0;
  ASSERT_EQ(noErr, DVDGetAspectRatio(&aspect));
  EXPECT_EQ(kDVDAspectRatio4x3, aspect);
  Advance(1400);
  EXPECT_EQ(kDVDStatePlayingStill, LastState());
  Advance(200);
  ASSERT_EQ(noErr, DVDGetAspectRatio(&aspect));
  EXPECT_EQ(kDVDAspectRatio16x9, aspect);
  Advance(3500);
  // Between the titles the title menu's pre command jumps on before any menu picture.
  std::vector<DVDEventRecord> const expected = {{11, 1, 0}, {1, 1, 0}, {12, 1, 0}, {7, 1, 0},
                                                {2, 1, 0},  {11, 2, 0}, {11, 1, 0}, {1, 2, 0},
                                                {7, 3, 0},  {2, 1, 0},  {11, 4, 0}};
  EXPECT_EQ(expected, mRecorder.Changes());
}

TEST_F(DVDTitlePlaybackTest, PauseHoldsTimeAndPlayGoesOn) {
  OpenFile(DiscPath("ntsc43"));
  ASSERT_EQ(noErr, DVDPlay());
  Advance(2500);
  ASSERT_EQ(noErr, DVDPause());
  EXPECT_EQ(noErr, DVDPause());
  Advance(5000);
  EXPECT_EQ(kDVDStatePaused, LastState());
  auto const times = mRecorder.Of(kDVDEventTitleTime);
  EXPECT_NEAR(2000.0, double(times.back().data1), kFrameMs);
  EXPECT_EQ(1u, mRecorder.Of(kDVDEventPTT).size());
  ASSERT_EQ(noErr, DVDPlay());
  Advance(1000);
  EXPECT_EQ(kDVDStatePlaying, LastState());
  // Paused at 2.5 s of the title; one more second of play passes 3 s.
  EXPECT_NEAR(3000.0, double(Last(kDVDEventTitleTime)), kFrameMs);
  EXPECT_EQ((std::vector<DVDEventRecord>{{11, 1, 0}, {11, 3, 0}, {11, 1, 0}}),
            mRecorder.Of(kDVDEventPlayback));
}

TEST_F(DVDTitlePlaybackTest, StopThenPlayStartsAgainFromTheBeginning) {
  OpenFile(DiscPath("ntsc43"));
  EXPECT_EQ(kDVDErrorNotAllowedNow, DVDPause());
  ASSERT_EQ(noErr, DVDPlay());
  Advance(5000);
  ASSERT_EQ(noErr, DVDStop());
  EXPECT_EQ(noErr, DVDStop());
  Advance(3000);
  EXPECT_EQ(kDVDStateStopped, LastState());
  EXPECT_EQ(kDVDErrorNotAllowedNow, DVDNextChapter());
  mRecorder.Clear();
  ASSERT_EQ(noErr, DVDPlay());
  Advance(500);
  std::vector<DVDEventRecord> const expected = {
      {11, 1, 0}, {1, 1, 0}, {12, 1, 0}, {7, 1, 0}, {2, 1, 0}};
  EXPECT_EQ(expected, mRecorder.Changes());
  EXPECT_NEAR(0.0, double(mRecorder.Of(kDVDEventTitleTime).front().data1), kFrameMs);
}

TEST_F(DVDTitlePlaybackTest, NextAndPreviousChapterAtTheEndsOfATitle) {
  OpenFile(DiscPath("ntsc43"));
  ASSERT_EQ(noErr, DVDPlay());
  Advance(1000);
  // Previous at the first chapter starts it again.
  ASSERT_EQ(noErr, DVDPreviousChapter());
  Advance(100);
  EXPECT_EQ(DVDEventValue(1), Last(kDVDEventPTT));
  EXPECT_NEAR(0.0, double(Last(kDVDEventTitleTime)), 150);
  ASSERT_EQ(noErr, DVDNextChapter());
  Advance(100);
  EXPECT_EQ(DVDEventValue(2), Last(kDVDEventPTT));
  ASSERT_EQ(noErr, DVDNextChapter());
  Advance(100);
  EXPECT_EQ(DVDEventValue(3), Last(kDVDEventPTT));
  ASSERT_EQ(noErr, DVDPreviousChapter());
  Advance(100);
  EXPECT_EQ(DVDEventValue(2), Last(kDVDEventPTT));
  ASSERT_EQ(noErr, DVDNextChapter());
  Advance(100);
  EXPECT_EQ(DVDEventValue(3), Last(kDVDEventPTT));
  // The last chapter has no next one: refused, playing on.
  EXPECT_EQ(kDVDErrorNotAllowedNow, DVDNextChapter());
  Advance(100);
  EXPECT_EQ(kDVDStatePlaying, LastState());
  EXPECT_EQ(DVDEventValue(3), Last(kDVDEventPTT));
}

TEST_F(DVDTitlePlaybackTest, ScanForwardRunsFasterAndPlayReturnsToNormalSpeed) {
  OpenFile(DiscPath("ntsc43"));
  EXPECT_EQ(kDVDErrorNotAllowedNow, DVDScan(4, kDVDScanDirectionForward));
  ASSERT_EQ(noErr, DVDPlay());
  Advance(1000);
  EXPECT_EQ(kDVDErrorInvalidArgument, DVDScan(3, kDVDScanDirectionForward));
  EXPECT_EQ(kDVDErrorInvalidArgument, DVDScan(4, 2));
  ASSERT_EQ(noErr, DVDScan(4, kDVDScanDirectionForward));
  EXPECT_EQ(kDVDStateScanning, LastState());
  // One second of clock at four times speed covers four seconds of the title.
  Advance(1000);
  EXPECT_NEAR(5000.0, double(Last(kDVDEventTitleTime)), 700);
  EXPECT_EQ(DVDEventValue(2), Last(kDVDEventPTT));
  ASSERT_EQ(noErr, DVDPlay());
  EXPECT_EQ(kDVDStatePlaying, LastState());
  auto const before = Last(kDVDEventTitleTime);
  Advance(2000);
  EXPECT_NEAR(double(before) + 2000.0, double(Last(kDVDEventTitleTime)), 700);
}

TEST_F(DVDTitlePlaybackTest, ScanBackwardStepsBackToTheStartAndPlays) {
  OpenFile(DiscPath("ntsc43"));
  ASSERT_EQ(noErr, DVDPlay());
  Advance(9000);
  EXPECT_EQ(DVDEventValue(3), Last(kDVDEventPTT));
  // Twice normal speed backwards: every half second of clock, a second of title back.
  ASSERT_EQ(noErr, DVDScan(2, kDVDScanDirectionBackward));
  EXPECT_EQ(kDVDStateScanning, LastState());
  Advance(1000);
  auto const elapsed = Last(kDVDEventTitleTime);
  EXPECT_GT(elapsed, 6000u);
  EXPECT_LT(elapsed, 8500u);
  EXPECT_EQ(kDVDStateScanning, LastState());
  Advance(5000);
  // Back at the start, playing forwards again.
  EXPECT_EQ(kDVDStatePlaying, LastState());
  EXPECT_EQ(DVDEventValue(1), Last(kDVDEventPTT));
  auto const playing = Last(kDVDEventTitleTime);
  EXPECT_LT(playing, 2000u);
  Advance(2000);
  EXPECT_NEAR(double(playing) + 2000.0, double(Last(kDVDEventTitleTime)),
              700.0);
}

TEST_F(DVDTitlePlaybackTest, BookmarkReturnsToTheSameTitleChapterAndTime) {
  OpenFile(DiscPath("ntsc43"));
  UInt32 size = 0;
  EXPECT_EQ(kDVDErrorNotAllowedNow, DVDGetBookmark(nullptr, &size));
  ASSERT_EQ(noErr, DVDPlay());
  Advance(6500);
  ASSERT_EQ(noErr, DVDGetBookmark(nullptr, &size));
  ASSERT_GT(size, 0u);
  std::vector<UInt8> mark(size);
  UInt32 small = size - 1;
  EXPECT_EQ(kDVDErrorInvalidArgument, DVDGetBookmark(mark.data(), &small));
  ASSERT_EQ(noErr, DVDGetBookmark(mark.data(), &size));
  EXPECT_EQ(mark.size(), size);

  Advance(4000);
  EXPECT_EQ(DVDEventValue(3), Last(kDVDEventPTT));
  mRecorder.Clear();
  ASSERT_EQ(noErr, DVDGotoBookmark(mark.data(), size));
  Advance(1);
  EXPECT_TRUE(mRecorder.Of(kDVDEventTitle).empty()) << "still title 1";
  EXPECT_EQ(DVDEventValue(2), Last(kDVDEventPTT));
  // Title time restarts where the jump landed: within a second of 6.5 s.
  auto const times = mRecorder.Of(kDVDEventTitleTime);
  ASSERT_FALSE(times.empty());
  EXPECT_NEAR(6500.0, double(times.front().data1), 1000.0);
  EXPECT_TRUE(mRecorder.Of(kDVDEventPlayback).empty()) << "went on playing";

  // From a stop, the bookmark starts playing there.
  ASSERT_EQ(noErr, DVDStop());
  Advance(100);
  mRecorder.Clear();
  ASSERT_EQ(noErr, DVDGotoBookmark(mark.data(), size));
  Advance(1);
  EXPECT_EQ(kDVDStatePlaying, LastState());
  EXPECT_EQ(DVDEventValue(1), Last(kDVDEventTitle));
  EXPECT_EQ(DVDEventValue(2), Last(kDVDEventPTT));
  ASSERT_FALSE(mRecorder.Of(kDVDEventTitleTime).empty());
  EXPECT_NEAR(6500.0, double(mRecorder.Of(kDVDEventTitleTime).front().data1), 1000.0);

  // A damaged or foreign block is refused.
  std::vector<UInt8> bad = mark;
  bad[0] ^= 0xFF;
  EXPECT_EQ(kDVDErrorInvalidArgument, DVDGotoBookmark(bad.data(), size));
  EXPECT_EQ(kDVDErrorInvalidArgument, DVDGotoBookmark(mark.data(), size - 1));
}

TEST_F(DVDTitlePlaybackTest, BookmarkOfAnotherDiscIsRefused) {
  std::vector<UInt8> const mark = BookmarkASecondIn();
  UInt32 const size = UInt32(mark.size());
  ASSERT_EQ(noErr, DVDCloseMediaFile());
  OpenFile(DiscPath("pal169"));
  ASSERT_EQ(noErr, DVDPlay());
  Advance(100);
  EXPECT_EQ(kDVDErrorInvalidArgument, DVDGotoBookmark(mark.data(), size));
}

TEST_F(DVDTitlePlaybackTest, AnglesOfASingleAngleTitle) {
  OpenFile(DiscPath("ntsc43"));
  UInt16 count = 0;
  EXPECT_EQ(kDVDErrorNotAllowedNow, DVDGetNumAngles(&count));
  ASSERT_EQ(noErr, DVDPlay());
  Advance(500);
  ASSERT_EQ(noErr, DVDGetNumAngles(&count));
  EXPECT_EQ(1, count);
  UInt16 angle = 0;
  ASSERT_EQ(noErr, DVDGetAngle(&angle));
  EXPECT_EQ(1, angle);
  EXPECT_EQ(noErr, DVDSetAngle(1));
  EXPECT_EQ(kDVDErrorInvalidArgument, DVDSetAngle(2));
  EXPECT_EQ(kDVDErrorInvalidArgument, DVDSetAngle(0));
}

TEST_F(DVDTitlePlaybackTest, SleepHoldsPlaybackUntilWake) {
  OpenFile(DiscPath("ntsc43"));
  ASSERT_EQ(noErr, DVDPlay());
  Advance(1000);
  ASSERT_EQ(noErr, DVDSleep());
  Advance(5000);
  EXPECT_NEAR(1000.0, double(Last(kDVDEventTitleTime)), kFrameMs);
  ASSERT_EQ(noErr, DVDWakeUp());
  Advance(1000);
  EXPECT_NEAR(2000.0, double(Last(kDVDEventTitleTime)), kFrameMs);
}

TEST_F(DVDTitlePlaybackTest, ClosingReportsIdle) {
  OpenFile(DiscPath("ntsc43"));
  ASSERT_EQ(noErr, DVDPlay());
  Advance(500);
  ASSERT_EQ(noErr, DVDCloseMediaFile());
  Settle();
  EXPECT_EQ(kDVDStateIdle, LastState());
}

TEST_F(DVDTitlePlaybackTest, ABookmarkForAChapterOrTitleTheDiscLacksIsRefusedAtOnce) {
  std::vector<UInt8> const mark = BookmarkASecondIn();
  UInt32 const size = UInt32(mark.size());
  // Title and chapter follow the block's tag and the disc's ID.
  auto const with = [&](size_t offset, SInt32 value) {
    std::vector<UInt8> changed = mark;
    std::memcpy(changed.data() + offset, &value, sizeof value);
    return changed;
  };
  std::vector<UInt8> const noChapter = with(16, 99);
  std::vector<UInt8> const noTitle = with(12, 42);
  mRecorder.Clear();
  EXPECT_EQ(kDVDErrorInvalidArgument, DVDGotoBookmark(noChapter.data(), size));
  EXPECT_EQ(kDVDErrorInvalidArgument, DVDGotoBookmark(noTitle.data(), size));
  Advance(1500);
  EXPECT_TRUE(mRecorder.Of(kDVDEventPTT).empty()) << "nothing moved";
  EXPECT_TRUE(mRecorder.Of(kDVDEventPlayback).empty()) << "went on playing";
  auto const times = mRecorder.Of(kDVDEventTitleTime);
  ASSERT_FALSE(times.empty());
  EXPECT_GT(times.back().data1, 1500u) << "from where it was";
}

TEST_F(DVDTitlePlaybackTest, AMenuTheDiscLacksLeavesPlaybackWhereItIs) {
  OpenFile(DiscPath("ntsc43"));
  ASSERT_EQ(noErr, DVDPlay());
  Advance(1000);
  mRecorder.Clear();
  // The disc has no menus: the call is taken, the reader finds none and logs it.
  EXPECT_EQ(noErr, DVDGoToMenu(kDVDMenuAudio));
  Advance(1500);
  EXPECT_FALSE(OnMenu());
  EXPECT_TRUE(mRecorder.Of(kDVDEventTitle).empty());
  EXPECT_TRUE(mRecorder.Of(kDVDEventPlayback).empty()) << "went on playing";
  auto const times = mRecorder.Of(kDVDEventTitleTime);
  ASSERT_FALSE(times.empty());
  EXPECT_GT(times.back().data1, 1500u) << "from where it was, not over";
}

}  // namespace
}  // namespace tavelo_test
