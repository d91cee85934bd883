#include <QCoreApplication>
#include <QKeyEvent>
#include <QSlider>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>

#include "AppTestSupport.h"
#include "FakeDVDPlayback.h"
#include "GrabDVDController.h"
#include "MainMenuNib.h"
#include "NSApplication.h"
#include "PlaybackTime.h"
#include "TestLog.h"

using tavelo_app_test::NewFolder;
using tavelo_app_test::ProcessEvents;
using testing::ElementsAre;
using testing::MatchesRegex;

namespace {

class CommandTest : public testing::Test {
 protected:
  void SetUp() override {
    ProcessEvents();  // requests left over from earlier tests
    fake_dvd::Reset();
    GrabDVDController::sBookmarkCursor = 0;
    ASSERT_TRUE(mNib.Construct());
    c = mNib.controller();
    c->applicationDidFinishLaunching();
  }
  void OpenMedia() {
    ASSERT_TRUE(tavelo_app_test::OpenMedia(c, NewFolder("disc"), false));
    // Opening sends play; the commands are counted from here.
    fake_dvd::S().calls.clear();
  }
  bool Key(int key, QString const& text = QString(), Qt::KeyboardModifiers mods = Qt::NoModifier) {
    QKeyEvent event(QEvent::KeyPress, key, mods, text);
    return c->onKeyDown(&event);
  }
  void AllCommands() {
    c->onPlay(nullptr);
    c->onPause(nullptr);
    c->onPlayPause(nullptr);
    c->onStop(nullptr);
    c->onScanForward(nullptr);
    c->onScanBackward(nullptr);
    c->onNextScene(nullptr);
    c->onPreviousScene(nullptr);
    c->onToggleMenu(nullptr);
    c->onNextAngle(nullptr);
    c->onNewBookmark(nullptr);
    c->onNextBookmark(nullptr);
    c->onEject(nullptr);
  }
  int ServiceCommands() {
    int n = 0;
    for (char const* name : {"DVDPlay", "DVDPause", "DVDStop", "DVDScan", "DVDNextChapter",
                             "DVDPreviousChapter", "DVDIsOnMenu", "DVDGoToMenu", "DVDReturnToTitle",
                             "DVDSetAngle", "DVDGetBookmark", "DVDGotoBookmark",
                             "DVDCloseMediaFile", "DVDCloseMediaVolume"}) {
      n += fake_dvd::Calls(name);
    }
    return n;
  }

  MainMenuNib mNib;
  GrabDVDController* c = nullptr;
};

}  // namespace

TEST_F(CommandTest, PlayWhilePlayingAndPauseWhilePausedDoNothing) {
  OpenMedia();
  c->mDVDState = kDVDStatePlaying;
  c->onPlay(nullptr);
  EXPECT_EQ(fake_dvd::Calls("DVDPlay"), 0);
  c->onPause(nullptr);
  EXPECT_EQ(fake_dvd::Calls("DVDPause"), 1);
  c->mDVDState = kDVDStatePaused;
  c->onPause(nullptr);
  EXPECT_EQ(fake_dvd::Calls("DVDPause"), 1);
  c->onPlay(nullptr);
  EXPECT_EQ(fake_dvd::Calls("DVDPlay"), 1);
}

TEST_F(CommandTest, PlayPauseTogglesOnTheState) {
  OpenMedia();
  c->mDVDState = kDVDStatePlaying;
  c->onPlayPause(nullptr);
  EXPECT_EQ(fake_dvd::Calls("DVDPause"), 1);
  c->mDVDState = kDVDStateStopped;
  c->onPlayPause(nullptr);
  EXPECT_EQ(fake_dvd::Calls("DVDPlay"), 1);
}

TEST_F(CommandTest, EveryCommandWithoutMediaDoesNothing) {
  // Without media the service reports no playing state.
  for (DVDState state : {kDVDStateUnknown, kDVDStateStopped, kDVDStateIdle}) {
    c->mDVDState = state;
    fake_dvd::S().calls.clear();
    AllCommands();
    EXPECT_EQ(ServiceCommands(), 0) << state;
    EXPECT_TRUE(c->mBookmarks.empty());
  }
}

TEST_F(CommandTest, StopTwiceClearsTheDisplaysAndStopsAgain) {
  OpenMedia();
  fake_dvd::S().eventCallBack(kDVDEventTitle, 2, 0, c);
  fake_dvd::S().eventCallBack(kDVDEventPTT, 3, 0, c);
  fake_dvd::S().eventCallBack(kDVDEventTitleTime, 5000, 9000, c);
  ProcessEvents();
  c->mDVDState = kDVDStatePlaying;
  c->onStop(nullptr);
  EXPECT_EQ(fake_dvd::Calls("DVDStop"), 1);
  EXPECT_EQ(c->mTitleText->text(), QStringLiteral("2"));
  c->mDVDState = kDVDStateStopped;  // as the service reports
  c->onStop(nullptr);
  EXPECT_EQ(fake_dvd::Calls("DVDStop"), 2);
  EXPECT_EQ(c->mTitleText->text(), QStringLiteral("-"));
  EXPECT_EQ(c->mSceneText->text(), QStringLiteral("-"));
  EXPECT_EQ(c->mTimeText->text(), QStringLiteral("00:00:00"));
}

TEST_F(CommandTest, PausedRefusesScanAngleAndBookmarksButAllowsTheMenu) {
  OpenMedia();
  c->mDVDState = kDVDStatePaused;
  c->onScanForward(nullptr);
  c->onScanBackward(nullptr);
  c->onNextAngle(nullptr);
  c->onNewBookmark(nullptr);
  EXPECT_EQ(fake_dvd::Calls("DVDScan") + fake_dvd::Calls("DVDSetAngle") +
                fake_dvd::Calls("DVDGetBookmark"),
            0);
  EXPECT_TRUE(c->mBookmarks.empty());
  c->onToggleMenu(nullptr);
  EXPECT_EQ(fake_dvd::Calls("DVDGoToMenu"), 1);
  EXPECT_EQ(fake_dvd::S().goToMenu, kDVDMenuRoot);
}

TEST_F(CommandTest, PlayingScansAtFourTimesBothWaysAndSkipsScenes) {
  OpenMedia();
  c->mDVDState = kDVDStatePlaying;
  c->onScanForward(nullptr);
  EXPECT_EQ(fake_dvd::S().scanRate, 4);
  EXPECT_EQ(fake_dvd::S().scanDirection, 0);
  c->onScanBackward(nullptr);
  EXPECT_EQ(fake_dvd::S().scanRate, 4);
  EXPECT_EQ(fake_dvd::S().scanDirection, 1);
  c->onNextScene(nullptr);
  c->onPreviousScene(nullptr);
  EXPECT_EQ(fake_dvd::Calls("DVDNextChapter"), 1);
  EXPECT_EQ(fake_dvd::Calls("DVDPreviousChapter"), 1);
}

TEST_F(CommandTest, PausedSkipsScenesToo) {
  // The service shows the scene's first picture and stays paused.
  OpenMedia();
  c->mDVDState = kDVDStatePaused;
  c->onNextScene(nullptr);
  EXPECT_EQ(fake_dvd::Calls("DVDNextChapter"), 1);
  c->onPreviousScene(nullptr);
  EXPECT_EQ(fake_dvd::Calls("DVDPreviousChapter"), 1);
  EXPECT_EQ(fake_dvd::Calls("DVDPlay") + fake_dvd::Calls("DVDPause"), 0);
}

TEST_F(CommandTest, MenuToggleReturnsToTheTitleFromAMenu) {
  OpenMedia();
  c->mDVDState = kDVDStatePlayingStill;
  fake_dvd::S().onMenu = true;
  c->onToggleMenu(nullptr);
  EXPECT_EQ(fake_dvd::Calls("DVDReturnToTitle"), 1);
  EXPECT_EQ(fake_dvd::Calls("DVDGoToMenu"), 0);
  c->mDVDState = kDVDStateStopped;
  c->onToggleMenu(nullptr);
  EXPECT_EQ(fake_dvd::Calls("DVDIsOnMenu"), 1);
}

TEST_F(CommandTest, MenuToggleFailuresAreLogged) {
  OpenMedia();
  c->mDVDState = kDVDStatePlaying;
  fake_dvd::S().status["DVDIsOnMenu"] = kDVDErrorNotAllowedNow;
  fake_dvd::S().status["DVDGoToMenu"] = kDVDErrorNotAllowedNow;
  tavelo_test::LogTail tail;
  c->onToggleMenu(nullptr);
  EXPECT_THAT(tail.Lines(),
              ElementsAre(MatchesRegex(".* code : DVDIsOnMenu \\(&onMenu, &whichMenu\\) in GrabDVDController:[0-9]+ "
                                       "\\(GrabDVDController::onToggleMenu\\)"),
                          MatchesRegex(".* code : DVDGoToMenu\\(kDVDMenuRoot\\) in GrabDVDController:[0-9]+ "
                                       "\\(GrabDVDController::onToggleMenu\\)")));
}

TEST(VolumeStep, SixteenStepsAcrossTheRangeAndClamps) {
  fake_dvd::Reset();
  GrabDVDController controller;
  fake_dvd::S().minVolume = 0;
  fake_dvd::S().maxVolume = 255;
  fake_dvd::S().curVolume = 100;
  EXPECT_EQ(controller.setAudioVolume(true), 116);
  EXPECT_EQ(fake_dvd::S().setVolume, 116);
  fake_dvd::S().curVolume = 250;
  EXPECT_EQ(controller.setAudioVolume(true), 255);
  EXPECT_EQ(fake_dvd::S().setVolume, 255);
  fake_dvd::S().curVolume = 10;
  EXPECT_EQ(controller.setAudioVolume(false), 0);
  EXPECT_EQ(fake_dvd::S().setVolume, 0);
}

TEST_F(CommandTest, VolumeCommandsShowTheVolumeOnTheSlider) {
  fake_dvd::S().curVolume = 250;
  c->onVolumeUp(nullptr);
  EXPECT_EQ(c->mAudioControl->value(), 255);
  fake_dvd::S().curVolume = 100;
  c->onVolumeDown(nullptr);
  EXPECT_EQ(c->mAudioControl->value(), 84);
  // Showing the value is not a new choice: one set per command.
  EXPECT_EQ(fake_dvd::Calls("DVDSetAudioVolume"), 2);
}

TEST_F(CommandTest, SliderSetsTheVolumeAndFailureIsLogged) {
  c->mAudioControl->setValue(200);
  EXPECT_EQ(fake_dvd::S().setVolume, 200);
  fake_dvd::S().status["DVDSetAudioVolume"] = kDVDErrorNotAllowedNow;
  tavelo_test::LogTail tail;
  c->mAudioControl->setValue(100);
  EXPECT_THAT(tail.Lines(), ElementsAre(MatchesRegex(
                                "VERIFY_ERR FAILED: OSErr:-4468  code : DVDSetAudioVolume \\(\\[sender floatValue\\]\\) "
                                "in GrabDVDController:[0-9]+ \\(GrabDVDController::onAudioVolume\\)")));
}

TEST_F(CommandTest, MuteTogglesTheServiceFlag) {
  c->onMute(nullptr);
  EXPECT_TRUE(fake_dvd::S().muted);
  c->onMute(nullptr);
  EXPECT_FALSE(fake_dvd::S().muted);
}

TEST_F(CommandTest, NextAngleWrapsToOne) {
  OpenMedia();
  c->mDVDState = kDVDStatePlaying;
  fake_dvd::S().numAngles = 3;
  fake_dvd::S().angle = 3;
  c->onNextAngle(nullptr);
  EXPECT_EQ(fake_dvd::S().setAngle, 1);
  fake_dvd::S().angle = 1;
  c->onNextAngle(nullptr);
  EXPECT_EQ(fake_dvd::S().setAngle, 2);
  fake_dvd::S().numAngles = 0;
  fake_dvd::S().angle = 0;
  c->onNextAngle(nullptr);
  EXPECT_EQ(fake_dvd::S().setAngle, 1);
}

TEST_F(CommandTest, BookmarksCycleAndTheCursorIsSharedAcrossMedia) {
  OpenMedia();
  c->mDVDState = kDVDStatePlaying;
  for (int i = 0; i < 3; ++i) c->onNewBookmark(nullptr);
  ASSERT_EQ(c->mBookmarks.size(), 3u);
  for (int i = 0; i < 4; ++i) c->onNextBookmark(nullptr);
  EXPECT_THAT(fake_dvd::S().gotoBookmarks, ElementsAre(0u, 1u, 2u, 0u));
  EXPECT_EQ(GrabDVDController::sBookmarkCursor, 1);
  // A still picture may be bookmarked too.
  c->mDVDState = kDVDStatePlayingStill;
  c->onNewBookmark(nullptr);
  EXPECT_EQ(c->mBookmarks.size(), 4u);
  c->onNextBookmark(nullptr);
  c->onNextBookmark(nullptr);
  EXPECT_EQ(GrabDVDController::sBookmarkCursor, 3);

  // New media: the list is empty, the cursor keeps its value.
  ASSERT_TRUE(tavelo_app_test::OpenMedia(c, NewFolder("other"), false));
  EXPECT_TRUE(c->mBookmarks.empty());
  EXPECT_EQ(GrabDVDController::sBookmarkCursor, 3);
  c->onNextBookmark(nullptr);  // no bookmarks: nothing
  c->mDVDState = kDVDStatePlaying;
  c->onNewBookmark(nullptr);
  c->onNewBookmark(nullptr);
  // The cursor is beyond the new list: an out-of-range request, and it stays there.
  EXPECT_THROW(c->onNextBookmark(nullptr), std::out_of_range);
  EXPECT_THROW(c->onNextBookmark(nullptr), std::out_of_range);
  EXPECT_EQ(GrabDVDController::sBookmarkCursor, 3);
}

TEST_F(CommandTest, FailedBookmarkCaptureStillAddsAnEmptyBookmark) {
  OpenMedia();
  c->mDVDState = kDVDStatePlaying;
  fake_dvd::S().status["DVDGetBookmark"] = kDVDErrorNotAllowedNow;
  c->onNewBookmark(nullptr);
  ASSERT_EQ(c->mBookmarks.size(), 1u);
  EXPECT_EQ(c->mBookmarks[0]->data(), nullptr);
  EXPECT_EQ(c->mBookmarks[0]->size(), 0u);
}

TEST_F(CommandTest, KeyboardNavigationMapsArrowsReturnAndEnter) {
  EXPECT_TRUE(Key(Qt::Key_Up));
  EXPECT_TRUE(Key(Qt::Key_Down));
  EXPECT_TRUE(Key(Qt::Key_Left));
  EXPECT_TRUE(Key(Qt::Key_Right, QString(), Qt::ShiftModifier));
  EXPECT_TRUE(Key(Qt::Key_Return, QStringLiteral("\r")));
  EXPECT_TRUE(Key(Qt::Key_Enter, QStringLiteral("\r"), Qt::KeypadModifier));
  EXPECT_THAT(fake_dvd::S().navigation, ElementsAre(1, 2, 3, 4, 5, 5));
}

TEST_F(CommandTest, NavigationFailureIsLoggedAndTheKeyIsStillHandled) {
  fake_dvd::S().status["DVDDoUserNavigation"] = kDVDErrorNotAllowedNow;
  tavelo_test::LogTail tail;
  EXPECT_TRUE(Key(Qt::Key_Up));
  EXPECT_THAT(tail.Lines(), ElementsAre(MatchesRegex(
                                ".* code : DVDDoUserNavigation \\(kDVDUserNavigationMoveUp\\) in "
                                "GrabDVDController:[0-9]+ \\(GrabDVDController::onKeyDown\\)")));
}

TEST_F(CommandTest, SpacePausesAndPlaysAndDoesNothingWhileStopped) {
  OpenMedia();
  c->mDVDState = kDVDStateStopped;
  EXPECT_TRUE(Key(Qt::Key_Space, QStringLiteral(" ")));
  EXPECT_EQ(fake_dvd::Calls("DVDPlay") + fake_dvd::Calls("DVDPause"), 0);
  c->mDVDState = kDVDStatePlaying;
  EXPECT_TRUE(Key(Qt::Key_Space, QStringLiteral(" ")));
  EXPECT_EQ(fake_dvd::Calls("DVDPause"), 1);
  c->mDVDState = kDVDStatePaused;
  EXPECT_TRUE(Key(Qt::Key_Space, QStringLiteral(" ")));
  EXPECT_EQ(fake_dvd::Calls("DVDPlay"), 1);
}

TEST_F(CommandTest, LetterKeysAreNotHandled) {
  EXPECT_FALSE(Key(Qt::Key_A, QStringLiteral("a")));
  EXPECT_FALSE(Key(Qt::Key_Q, QStringLiteral("q")));
  EXPECT_FALSE(Key(Qt::Key_Shift));
  EXPECT_TRUE(fake_dvd::S().navigation.empty());
}

TEST_F(CommandTest, EjectWithAFolderOpenDoesNothing) {
  OpenMedia();
  tavelo_test::LogTail tail;
  c->onEject(nullptr);
  EXPECT_TRUE(c->hasMedia());
  EXPECT_EQ(fake_dvd::Calls("DVDCloseMediaFile") + fake_dvd::Calls("DVDCloseMediaVolume"), 0);
  EXPECT_TRUE(tail.Lines().empty());
}

TEST_F(CommandTest, EjectClosesTheVolumeAndAsksTheWorkspace) {
  // The test process has no system bus: the unmount is logged and nothing else happens.
  qputenv("DBUS_SYSTEM_BUS_ADDRESS", "unix:path=/nonexistent/tavelo-test-bus");
  ASSERT_TRUE(tavelo_app_test::OpenMedia(c, NewFolder("vol"), true));
  c->onEject(nullptr);
  EXPECT_EQ(fake_dvd::Calls("DVDCloseMediaVolume"), 1);
  EXPECT_FALSE(c->hasMedia());
  EXPECT_TRUE(c->mVolumePath.isNull());
}

TEST_F(CommandTest, ShowControllerTogglesTheWindow) {
  c->mControlWindow->show();
  c->onShowController(nullptr);
  EXPECT_FALSE(c->mControlWindow->isVisible());
  c->onShowController(nullptr);
  EXPECT_TRUE(c->mControlWindow->isVisible());
}

TEST_F(CommandTest, AnOutOfRangeBookmarkIsReportedByTheLoopWhichGoesOn) {
  OpenMedia();
  c->mDVDState = kDVDStatePlaying;
  c->onNewBookmark(nullptr);
  GrabDVDController::sBookmarkCursor = 5;
  QAction* next = mNib.menuItemWithAction("onNextBookmark:");
  ASSERT_NE(next, nullptr);
  // The menu command runs from the loop, as a click on the item would.
  QMetaObject::invokeMethod(next, [next] { next->trigger(); }, Qt::QueuedConnection);
  QMetaObject::invokeMethod(c, [this] { c->onStop(nullptr); }, Qt::QueuedConnection);
  ProcessEvents();
  EXPECT_THAT(NSApp->lastReportedException(), testing::HasSubstr("range"));
  // The next event was handled.
  EXPECT_EQ(fake_dvd::Calls("DVDStop"), 1);
  EXPECT_EQ(GrabDVDController::sBookmarkCursor, 5);
}
