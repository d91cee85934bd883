// Full screen: the video window covers its screen without its menu bar, the controller
// floats over the picture's bottom while the mouse moves and hides when it rests; leaving
// (Escape, the menu item or a double click) puts everything back.
#include <QAction>
#include <QMenuBar>
#include <QScreen>
#include <QTest>
#include <gtest/gtest.h>

#include "AppTestSupport.h"
#include "DVDFullScreen.h"
#include "FakeDVDPlayback.h"
#include "GrabDVDController.h"
#include "MainMenuNib.h"

namespace {

class FullScreenTest : public testing::Test {
 protected:
  void SetUp() override {
    tavelo_app_test::ProcessEvents();
    fake_dvd::Reset();
    ASSERT_TRUE(mNib.Construct());
    mNib.videoWindow()->resize(640, 520);
    mNib.videoWindow()->show();
    mNib.controlWindow()->show();
    tavelo_app_test::ProcessEvents();
    mFull = mNib.fullScreen();
    ASSERT_NE(mFull, nullptr);
  }
  MainMenuNib mNib;
  DVDFullScreen* mFull = nullptr;
};

TEST_F(FullScreenTest, TheMenuItemFillsTheScreenAndEscapeRestoresTheWindow) {
  DVDVideoWindow* video = mNib.videoWindow();
  QRect const before = video->geometry();
  QAction* item = mNib.menuItemWithAction("toggleFullScreen:");
  ASSERT_NE(item, nullptr);
  EXPECT_EQ(QKeySequence(QStringLiteral("F")), item->shortcut());
  ASSERT_TRUE(mNib.performMenuItem(item));
  tavelo_app_test::ProcessEvents();
  EXPECT_TRUE(mFull->isFullScreen());
  EXPECT_EQ(video->screen()->geometry(), video->geometry());
  EXPECT_FALSE(video->menuBar()->isVisible());
  EXPECT_FALSE(mNib.controlWindow()->isVisible()) << "hidden until the mouse moves";

  QTest::keyClick(video, Qt::Key_Escape);
  tavelo_app_test::ProcessEvents();
  EXPECT_FALSE(mFull->isFullScreen());
  EXPECT_EQ(before, video->geometry());
  EXPECT_TRUE(video->menuBar()->isVisible());
  EXPECT_TRUE(mNib.controlWindow()->isVisible());
}

TEST_F(FullScreenTest, TheControllerComesOverThePictureWithTheMouseAndGoesWhenItRests) {
  DVDVideoWindow* video = mNib.videoWindow();
  mFull->enter();
  tavelo_app_test::ProcessEvents();
  QWidget* content = video->centralWidget();
  QTest::mouseMove(content, content->rect().center());
  tavelo_app_test::ProcessEvents();
  QWidget* control = mNib.controlWindow();
  EXPECT_TRUE(control->isVisible());
  EXPECT_TRUE(video->geometry().contains(control->geometry())) << "over the picture";
  EXPECT_GT(control->geometry().top(), video->geometry().center().y()) << "at its bottom";
  QTest::qWait(DVDFullScreen::kHideAfterMs + 400);
  EXPECT_FALSE(control->isVisible());
  mFull->leave();
}

TEST_F(FullScreenTest, ADoubleClickOnThePictureGoesInAndOut) {
  DVDVideoWindow* video = mNib.videoWindow();
  QWidget* content = video->centralWidget();
  QTest::mouseDClick(content, Qt::LeftButton, {}, content->rect().center());
  tavelo_app_test::ProcessEvents();
  EXPECT_TRUE(mFull->isFullScreen());
  QTest::mouseDClick(video->centralWidget(), Qt::LeftButton, {}, video->centralWidget()->rect().center());
  tavelo_app_test::ProcessEvents();
  EXPECT_FALSE(mFull->isFullScreen());
}

}  // namespace
