// The controller's seek bar: chapters marked at their frames, the position following the
// picture on screen, a click going to the exact frame under the pointer.
#include <QAbstractButton>
#include <QApplication>
#include <QHelpEvent>
#include <QToolTip>
#include <QTest>
#include <gtest/gtest.h>

#include "AppTestSupport.h"
#include "DVDControlWindow.h"
#include "DVDSeekBar.h"
#include "FakeDVDPlayback.h"
#include "MainMenuNib.h"

namespace {

class SeekBarTest : public testing::Test {
 protected:
  void SetUp() override {
    tavelo_app_test::ProcessEvents();
    fake_dvd::Reset();
    fake_dvd::State& s = fake_dvd::S();
    s.hasMedia = true;
    s.hasFrame = true;
    fake_dvd::State::Title t;
    t.info.frames = 900;
    t.info.chapters = 3;
    t.info.standard = kDVDVideoStandardNTSC;
    t.chapterFirstFrames = {0, 300, 600};
    s.titles = {t};
    s.playingTitle = 1;
    s.frameInTitle = 120;
    mBar.resize(406, 18);  // a track of 394 pixels
    mBar.refresh();
  }
  DVDSeekBar mBar;
};

TEST_F(SeekBarTest, ItKnowsTheTitlePlayingItsChaptersAndTheFrameOnScreen) {
  EXPECT_EQ(1, mBar.title());
  EXPECT_EQ(900u, mBar.frames());
  EXPECT_EQ((std::vector<uint32_t>{0, 300, 600}), mBar.chapterFrames());
  EXPECT_EQ(120u, mBar.frame());
  fake_dvd::S().frameInTitle = 450;
  QTest::qWait(300);
  EXPECT_EQ(450u, mBar.frame()) << "it follows playback";
}

TEST_F(SeekBarTest, AClickGoesToTheFrameUnderThePointer) {
  int const middle = mBar.XOfFrame(450);
  EXPECT_NEAR(450.0, double(mBar.FrameAtX(middle)), 2.0);
  EXPECT_EQ(0u, mBar.FrameAtX(-50));
  EXPECT_EQ(899u, mBar.FrameAtX(5000));
  QTest::mouseClick(&mBar, Qt::LeftButton, {}, QPoint(middle, 9));
  ASSERT_FALSE(fake_dvd::S().seeks.empty());
  EXPECT_EQ(mBar.FrameAtX(middle), fake_dvd::S().seeks.back());
  EXPECT_NEAR(450.0, double(fake_dvd::S().seeks.back()), 2.0);
}

TEST_F(SeekBarTest, HoveringTellsTheTimeAndChapter) {
  EXPECT_EQ(QStringLiteral("0:10, chapter 2"), mBar.PlaceText(300));
  EXPECT_EQ(QStringLiteral("0:00, chapter 1"), mBar.PlaceText(0));
  EXPECT_EQ(QStringLiteral("0:29, chapter 3"), mBar.PlaceText(899));
  // The tip that comes when the pointer rests, over a bar that also has a tip of its own.
  mBar.setToolTip(QStringLiteral("Click or drag to go to a frame"));
  mBar.show();
  QPoint const at(mBar.XOfFrame(300), 9);
  QHelpEvent rest(QEvent::ToolTip, at, mBar.mapToGlobal(at));
  QApplication::sendEvent(&mBar, &rest);
  EXPECT_EQ(mBar.PlaceText(mBar.FrameAtX(at.x())), QToolTip::text());
  EXPECT_TRUE(QToolTip::text().endsWith(QStringLiteral("chapter 2"))) << QToolTip::text().toStdString();
  QToolTip::hideText();
  mBar.hide();
}

TEST_F(SeekBarTest, OnAMenuThereIsNothingToSeek) {
  fake_dvd::S().playingTitle = 0;
  mBar.refresh();
  EXPECT_EQ(0u, mBar.frames());
  EXPECT_FALSE(mBar.isEnabled());
  QTest::mouseClick(&mBar, Qt::LeftButton, {}, QPoint(100, 9));
  EXPECT_TRUE(fake_dvd::S().seeks.empty());
}

TEST(Controller, HasASeekBarAndIconsOnItsButtonsWithTheirKeysInTheTips) {
  tavelo_app_test::ProcessEvents();
  fake_dvd::Reset();
  MainMenuNib nib;
  ASSERT_TRUE(nib.Construct());
  DVDControlWindow* control = nib.controlWindow();
  EXPECT_NE(control->findChild<DVDSeekBar*>(QStringLiteral("mSeekBar")), nullptr);
  for (char const* name : {"mPlayPauseButton", "stopButton", "previousSceneButton",
                           "nextSceneButton", "scanBackwardButton", "scanForwardButton",
                           "menuButton", "muteButton", "mQuickGrabButton"}) {
    auto* button = control->findChild<QAbstractButton*>(QString::fromLatin1(name));
    ASSERT_NE(button, nullptr) << name;
    // Drawn, whether from the desktop's theme or from the icons that come with Tavelo.
    EXPECT_FALSE(button->icon().pixmap(20, 20).isNull()) << name;
  }
  EXPECT_TRUE(control->findChild<QAbstractButton*>(QStringLiteral("mPlayPauseButton"))
                  ->toolTip().contains(QStringLiteral("Space")));
}

}  // namespace
