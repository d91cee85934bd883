// Disc menus: the root menu's two buttons reached by keys, by clicks and by pointing, at
// the authored button rectangles, and the menu / title round trip.
#include "DVDTestSession.h"

#include <gtest/gtest.h>

namespace tavelo_test {
namespace {

class DVDMenuTest : public DVDSessionTest {
 protected:
  // Opens the menu disc and plays up to its root menu, a still with two buttons.
  void OpenMenu() {
    OpenFile(DiscPath("menu"));
    ASSERT_EQ(noErr, DVDPlay());
    Advance(1000);
    std::vector<DVDEventRecord> const expected = {
        {11, 1, 0}, {1, 0, 0}, {12, 1, 0}, {7, 1, 0}, {11, 2, 0}};
    ASSERT_EQ(expected, mRecorder.Changes());
    mRecorder.Clear();
  }

  void ExpectOnRootMenu(bool expected) {
    Boolean onMenu = !expected;
    DVDMenu menu = -1;
    ASSERT_EQ(noErr, DVDIsOnMenu(&onMenu, &menu));
    EXPECT_EQ(expected, bool(onMenu));
    EXPECT_EQ(expected ? kDVDMenuRoot : kDVDMenuNone, menu);
  }
};

TEST_F(DVDMenuTest, StartsOnTheRootMenuWithTheFirstButtonHighlighted) {
  OpenMenu();
  ExpectOnRootMenu(true);
  EXPECT_EQ(1, dvd::HighlightedButton());
  // A still menu waits for the viewer however long the clock runs.
  Advance(60000);
  EXPECT_TRUE(mRecorder.Events().empty());
}

TEST_F(DVDMenuTest, KeysMoveTheHighlightAndEnterPlaysThatTitle) {
  OpenMenu();
  ASSERT_EQ(noErr, DVDDoUserNavigation(kDVDUserNavigationMoveRight));
  EXPECT_EQ(2, dvd::HighlightedButton());
  ASSERT_EQ(noErr, DVDDoUserNavigation(kDVDUserNavigationMoveLeft));
  EXPECT_EQ(1, dvd::HighlightedButton());
  ASSERT_EQ(noErr, DVDDoUserNavigation(kDVDUserNavigationMoveRight));
  EXPECT_EQ(kDVDErrorInvalidArgument, DVDDoUserNavigation(6));
  ASSERT_EQ(noErr, DVDDoUserNavigation(kDVDUserNavigationEnter));
  Advance(100);
  std::vector<DVDEventRecord> const expected = {{1, 2, 0}, {2, 1, 0}, {11, 1, 0}};
  EXPECT_EQ(expected, mRecorder.Changes());
  ExpectOnRootMenu(false);
  // Title 2 is 60 frames; its post command calls the menu again, whose picture (15
  // frames) then stays.
  Advance(3000);
  EXPECT_EQ(DVDEventValue(0), Last(kDVDEventTitle));
  EXPECT_EQ(kDVDStatePlayingStill, LastState());
  ExpectOnRootMenu(true);
}

TEST_F(DVDMenuTest, KeysOutsideAMenuAreRefused) {
  OpenFile(DiscPath("ntsc43"));
  ASSERT_EQ(noErr, DVDPlay());
  Advance(500);
  EXPECT_EQ(kDVDErrorNotAllowedNow, DVDDoUserNavigation(kDVDUserNavigationEnter));
  ExpectOnRootMenu(false);
}

TEST_F(DVDMenuTest, ClicksAtTheAuthoredRectanglesPlayTheirTitles) {
  OpenMenu();
  SInt32 index = 0;
  // Between the buttons nothing happens.
  ASSERT_EQ(noErr, DVDDoMenuClick(Point{240, 360}, &index));
  EXPECT_EQ(-1, index);
  Advance(100);
  EXPECT_TRUE(mRecorder.Events().empty());
  // Button 1 spans x 96..288, y 192..288 of the 720 x 480 picture.
  ASSERT_EQ(noErr, DVDDoMenuClick(Point{200, 100}, &index));
  EXPECT_EQ(1, index);
  Advance(100);
  EXPECT_EQ(DVDEventValue(1), Last(kDVDEventTitle));
  ExpectOnRootMenu(false);
  Advance(2100);
  ExpectOnRootMenu(true);
  mRecorder.Clear();
  ASSERT_EQ(noErr, DVDDoMenuClick(Point{287, 623}, &index));
  EXPECT_EQ(2, index);
  Advance(100);
  EXPECT_EQ(DVDEventValue(2), Last(kDVDEventTitle));
}

TEST_F(DVDMenuTest, PointsMapThroughTheVideoRectangle) {
  OpenMenu();
  // A 640 x 480 picture below a 22-pixel title bar.
  Rect const bounds{22, 0, 502, 640};
  ASSERT_EQ(noErr, DVDSetVideoBounds(&bounds));
  SInt32 index = 0;
  // Picture (528, 240), the middle of button 2: window h 528 * 640 / 720 = 469.3.
  ASSERT_EQ(noErr, DVDDoMenuMouseOver(Point{262, 470}, &index));
  EXPECT_EQ(2, index);
  EXPECT_EQ(2, dvd::HighlightedButton());
  // The title bar is not the picture.
  ASSERT_EQ(noErr, DVDDoMenuMouseOver(Point{10, 470}, &index));
  EXPECT_EQ(-1, index);
  EXPECT_EQ(2, dvd::HighlightedButton());
  // Picture x 300 is just right of button 1: window h 267.
  ASSERT_EQ(noErr, DVDDoMenuMouseOver(Point{262, 267}, &index));
  EXPECT_EQ(-1, index);
  // Picture x 280 is inside it: window h 249.
  ASSERT_EQ(noErr, DVDDoMenuMouseOver(Point{262, 249}, &index));
  EXPECT_EQ(1, index);
  EXPECT_EQ(1, dvd::HighlightedButton());
  Advance(100);
  EXPECT_TRUE(mRecorder.Events().empty()) << "pointing selects, it does not activate";
  ExpectOnRootMenu(true);
}

TEST_F(DVDMenuTest, ReturnToTitleFromTheFirstMenuPlaysTheFirstTitle) {
  OpenMenu();
  ASSERT_EQ(noErr, DVDReturnToTitle());
  Advance(100);
  EXPECT_EQ(DVDEventValue(1), Last(kDVDEventTitle));
  ExpectOnRootMenu(false);
  EXPECT_EQ(kDVDErrorNotAllowedNow, DVDReturnToTitle());
}

TEST_F(DVDMenuTest, RootMenuFromATitleAndBackResumesIt) {
  OpenMenu();
  SInt32 index = 0;
  ASSERT_EQ(noErr, DVDDoMenuClick(Point{200, 100}, &index));
  Advance(1000);
  ASSERT_EQ(noErr, DVDGoToMenu(kDVDMenuRoot));
  Advance(100);
  ExpectOnRootMenu(true);
  EXPECT_EQ(DVDEventValue(0), Last(kDVDEventTitle));
  EXPECT_EQ(kDVDErrorInvalidArgument, DVDGoToMenu(9));
  mRecorder.Clear();
  ASSERT_EQ(noErr, DVDReturnToTitle());
  Advance(100);
  EXPECT_EQ(DVDEventValue(1), Last(kDVDEventTitle));
  // Resumed near where it left, not from the start.
  auto const times = mRecorder.Of(kDVDEventTitleTime);
  ASSERT_FALSE(times.empty());
  EXPECT_GT(times.front().data1, 300u);
}

TEST_F(DVDMenuTest, MenuCallsNeedPlayback) {
  OpenFile(DiscPath("menu"));
  EXPECT_EQ(kDVDErrorNotAllowedNow, DVDGoToMenu(kDVDMenuRoot));
  Boolean onMenu = true;
  DVDMenu menu = 0;
  ASSERT_EQ(noErr, DVDIsOnMenu(&onMenu, &menu));
  EXPECT_FALSE(onMenu);
  SInt32 index = 0;
  ASSERT_EQ(noErr, DVDDoMenuClick(Point{240, 200}, &index));
  EXPECT_EQ(-1, index);
}

}  // namespace
}  // namespace tavelo_test
