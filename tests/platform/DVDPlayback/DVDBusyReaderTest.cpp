// The application's calls while the reader is stuck inside a block read (a drive spinning up,
// a scratched disc retrying): questions are answered and commands taken at once, and the
// commands act once the read comes back.
#include "DVDService.h"
#include "DVDTestSession.h"

#include <gtest/gtest.h>

#include <chrono>
#include <future>
#include <memory>
#include <thread>

namespace tavelo_test {
namespace {

using namespace std::chrono_literals;

class DVDBusyReaderTest : public DVDSessionTest {
 protected:
  void SetUp() override {
    DVDSessionTest::SetUp();
    // The session's reads go through a drive the test holds.
    dvd::UseReadFaults(mDrive);
  }

  void TearDown() override {
    mDrive->Hold(false);
    DVDSessionTest::TearDown();
  }

  // Holds reads and moves the clock until the reader waits inside one.
  bool ReaderStuckInARead() {
    mDrive->Hold(true);
    for (int i = 0; i < 200 && mDrive->Held() == 0; ++i) {
      dvd::AdvanceManualClock(100);
      std::this_thread::sleep_for(10ms);
    }
    return mDrive->Held() == 1;
  }

  // Runs f on another thread; true when it returned within 5 s.
  template <class F>
  bool ReturnsWhileReading(F f) {
    auto done = std::async(std::launch::async, f);
    bool const returned = done.wait_for(5s) == std::future_status::ready;
    if (!returned) {
      // Let the call finish so that the test can end.
      mDrive->Hold(false);
      done.wait();
    }
    return returned;
  }

  std::shared_ptr<dvd::DVDReadFaults> const mDrive = std::make_shared<dvd::DVDReadFaults>();
};

TEST_F(DVDBusyReaderTest, QuestionsAndCommandsDoNotWaitForTheRead) {
  OpenFile(DiscPath("frames"));
  ASSERT_EQ(noErr, DVDPlay());
  Advance(1000);
  mRecorder.Clear();
  ASSERT_TRUE(ReaderStuckInARead());

  auto const questions = [] {
    UInt32 frame = 0;
    EXPECT_EQ(noErr, DVDGetFrameInTitle(&frame));
    UInt32 frames = 0;
    EXPECT_EQ(noErr, DVDGetTitleFrameCount(&frames));
    EXPECT_EQ(900u, frames);
    UInt16 streams = 0;
    EXPECT_EQ(noErr, DVDGetNumAudioStreams(&streams));
    EXPECT_EQ(1, streams);
    EXPECT_FALSE(OnMenu());
    SInt32 index = 0;
    EXPECT_EQ(noErr, DVDDoMenuMouseOver(Point{100, 100}, &index));
    EXPECT_EQ(-1, index);
    UInt16 width = 0;
    UInt16 height = 0;
    EXPECT_EQ(noErr, DVDGetNativeVideoSize(&width, &height));
    EXPECT_EQ(720, width);
    EXPECT_EQ(noErr, DVDSetAngle(1));
  };
  EXPECT_TRUE(ReturnsWhileReading(questions)) << "questions waited for the read";
  auto const commands = [] {
    EXPECT_EQ(noErr, DVDNextChapter());
    EXPECT_EQ(noErr, DVDPause());
  };
  EXPECT_TRUE(ReturnsWhileReading(commands)) << "commands waited for the read";
  // Everything above was answered while the read was still held.
  EXPECT_EQ(1, mDrive->Held());

  mDrive->Hold(false);
  Settle();
  EXPECT_EQ(kDVDStatePaused, LastState());
  ASSERT_EQ(noErr, DVDPlay());
  Advance(500);
  // The chapter command was carried out once the reader came back.
  EXPECT_EQ(DVDEventValue(2), Last(kDVDEventPTT));
  UInt32 frame = 0;
  ASSERT_EQ(noErr, DVDGetFrameInTitle(&frame));
  EXPECT_GE(frame, 300u);
  EXPECT_LT(frame, 330u);
}

TEST_F(DVDBusyReaderTest, AMenuCallWhileReadingTakesEffectAfterTheRead) {
  OpenFile(DiscPath("menu"));
  ASSERT_EQ(noErr, DVDPlay());
  Advance(500);
  // The menu is a still: the reader waits for the viewer, not in a read. A title reads.
  SInt32 index = 0;
  ASSERT_EQ(noErr, DVDDoMenuClick(Point{200, 100}, &index));
  ASSERT_EQ(1, index);
  Advance(100);
  ASSERT_TRUE(ReaderStuckInARead());
  auto const callMenu = [] { EXPECT_EQ(noErr, DVDGoToMenu(kDVDMenuRoot)); };
  EXPECT_TRUE(ReturnsWhileReading(callMenu)) << "the menu call waited for the read";
  mDrive->Hold(false);
  Advance(100);
  DVDMenu menu = kDVDMenuNone;
  EXPECT_TRUE(OnMenu(&menu));
  EXPECT_EQ(kDVDMenuRoot, menu);
  EXPECT_EQ(DVDEventValue(0), Last(kDVDEventTitle));
}

}  // namespace
}  // namespace tavelo_test
