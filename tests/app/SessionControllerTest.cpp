#include <QFileDialog>
#include <QLabel>
#include <QMessageBox>
#include <QSignalSpy>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <thread>

#include "AppTestSupport.h"
#include "FakeDVDPlayback.h"
#include "GrabDVDController.h"
#include "LocalizedStringTable.h"
#include "MainMenuNib.h"
#include "NSApplication.h"
#include "NSWorkspace.h"
#include "PlaybackTime.h"
#include "TestLog.h"

using tavelo_app_test::NewFolder;
using tavelo_app_test::NewPlainFile;
using tavelo_app_test::ProcessEvents;
using testing::ElementsAre;
using testing::MatchesRegex;
using testing::HasSubstr;

namespace {

class SessionTest : public testing::Test {
 protected:
  void SetUp() override {
    tavelo_app_test::ProcessEvents();  // requests left over from earlier tests
    fake_dvd::Reset();
    ASSERT_TRUE(mNib.Construct());
    c = mNib.controller();
  }
  void Launch() { c->applicationDidFinishLaunching(); }
  QString Title() const { return c->mTitleText->text(); }
  QString Scene() const { return c->mSceneText->text(); }
  QString Time() const { return c->mTimeText->text(); }
  void SendEvent(DVDEventCode code, DVDEventValue d1, DVDEventValue d2 = 0) {
    fake_dvd::S().eventCallBack(code, d1, d2, fake_dvd::S().eventRefCon);
  }

  MainMenuNib mNib;
  GrabDVDController* c = nullptr;
};

}  // namespace

TEST(LocalizedStringTable, MissingKeyGivesNoTranslation) {
  LocalizedStringTable table;
  table.Parse("/* c */ \"known\" = \"Known text\";\n// line\n\"quoted\" = \"say \\\"hi\\\"\";");
  EXPECT_EQ(table.count(), 2);
  EXPECT_EQ(table.localizedStringForKey(QStringLiteral("known")), QStringLiteral("Known text"));
  EXPECT_EQ(table.localizedStringForKey(QStringLiteral("quoted")), QStringLiteral("say \"hi\""));
  EXPECT_EQ(table.localizedStringForKey(QStringLiteral("missing")), QStringLiteral("No translation"));
}

TEST(LocalizedStringTable, ApplicationTableHasTheFourAlertTexts) {
  LocalizedStringTable table;
  ASSERT_TRUE(table.Construct(LocalizedStringTable::PathForTable(QStringLiteral("Localizable"))));
  for (char const* key : {"frameworkBusy", "frameworkBusyInfo", "noRegionCode", "noRegionCodeInfo"}) {
    QString const text = table.localizedStringForKey(QString::fromLatin1(key));
    EXPECT_NE(text, QStringLiteral("No translation")) << key;
    EXPECT_FALSE(text.isEmpty()) << key;
  }
}

TEST_F(SessionTest, AlertShowsCriticalTextsAndMissingKeyAsNoTranslation) {
  QString message, info;
  QMessageBox::Icon icon = QMessageBox::NoIcon;
  tavelo_app_test::WhenModal([&](QWidget* modal) {
    auto* box = qobject_cast<QMessageBox*>(modal);
    ASSERT_NE(box, nullptr);
    message = box->text();
    info = box->informativeText();
    icon = box->icon();
    box->accept();
  });
  c->displayAlertWithMessage(QStringLiteral("frameworkBusy"), QStringLiteral("noSuchKey"));
  EXPECT_EQ(icon, QMessageBox::Critical);
  LocalizedStringTable table;
  ASSERT_TRUE(table.Construct(LocalizedStringTable::PathForTable(QStringLiteral("Localizable"))));
  EXPECT_EQ(message, table.localizedStringForKey(QStringLiteral("frameworkBusy")));
  EXPECT_EQ(info, QStringLiteral("No translation"));
}

TEST_F(SessionTest, LaunchOpensNothingAndShowsDashesAndZeroTime) {
  Launch();
  EXPECT_EQ(fake_dvd::Calls("DVDInitialize"), 1);
  EXPECT_THAT(fake_dvd::S().registeredCodes, ElementsAre(7u, 24u, 11u, 2u, 1u, 20u, 12u));
  EXPECT_EQ(fake_dvd::S().eventRefCon, c);
  EXPECT_EQ(fake_dvd::S().fatalRefCon, c);
  EXPECT_EQ(fake_dvd::S().timeEventRate, 1000u);
  EXPECT_EQ(c->mEventCallBackID, 77u);
  EXPECT_EQ(fake_dvd::Calls("DVDOpenMediaFile") + fake_dvd::Calls("DVDOpenMediaVolume"), 0);
  EXPECT_EQ(Title(), QStringLiteral("-"));
  EXPECT_EQ(Scene(), QStringLiteral("-"));
  EXPECT_EQ(Time(), QStringLiteral("00:00:00"));
  EXPECT_FALSE(c->searchMountedDVDDisc());
  // The video window was handed to the service once.
  EXPECT_EQ(fake_dvd::Calls("DVDSetVideoWindowID"), 1);
  EXPECT_EQ(fake_dvd::Calls("DVDSetVideoBounds"), 1);
}

TEST_F(SessionTest, MountDoesNotOpenAndSleepWakeReachTheService) {
  Launch();
  emit NSWorkspace::sharedWorkspace()->didMount();
  emit NSWorkspace::sharedWorkspace()->willSleep();
  emit NSWorkspace::sharedWorkspace()->didWake();
  EXPECT_EQ(fake_dvd::Calls("DVDOpenMediaFile") + fake_dvd::Calls("DVDOpenMediaVolume"), 0);
  EXPECT_EQ(fake_dvd::Calls("DVDSleep"), 1);
  EXPECT_EQ(fake_dvd::Calls("DVDWakeUp"), 1);
}

TEST_F(SessionTest, MediaFolderItemTitleAndKeyFollowTheMedia) {
  Launch();
  QAction* item = mNib.menuItemWithAction("onMediaFolder:");
  ASSERT_NE(item, nullptr);
  mNib.validateMenuItems();
  EXPECT_EQ(item->text(), QStringLiteral("Open DVD/VIDEO_TS Folder..."));
  EXPECT_EQ(item->shortcut(), QKeySequence(QStringLiteral("Ctrl+O")));
  ASSERT_TRUE(tavelo_app_test::OpenMedia(c, NewFolder("disc"), false));
  // Opening revalidates the menu by itself.
  EXPECT_EQ(item->text(), QStringLiteral("Close DVD/VIDEO_TS Folder"));
  EXPECT_EQ(item->shortcut(), QKeySequence(QStringLiteral("Ctrl+W")));
  // With media open, the command closes them without a panel.
  EXPECT_TRUE(mNib.performMenuItem(item));
  EXPECT_EQ(fake_dvd::Calls("DVDCloseMediaFile"), 1);
  EXPECT_FALSE(c->hasMedia());
  EXPECT_EQ(item->text(), QStringLiteral("Open DVD/VIDEO_TS Folder..."));
  EXPECT_EQ(item->shortcut(), QKeySequence(QStringLiteral("Ctrl+O")));
}

TEST_F(SessionTest, OpenPanelChoosesDirectoriesAndOpensTheChosenFolder) {
  Launch();
  QString const folder = NewFolder("panel");
  QFileDialog::FileMode mode = QFileDialog::AnyFile;
  bool dirsOnly = false;
  tavelo_app_test::WhenModal([&](QWidget* modal) {
    auto* panel = qobject_cast<QFileDialog*>(modal);
    ASSERT_NE(panel, nullptr);
    mode = panel->fileMode();
    dirsOnly = panel->testOption(QFileDialog::ShowDirsOnly);
    panel->setDirectory(folder);
    static_cast<QDialog*>(panel)->accept();
  });
  c->onMediaFolder(nullptr);
  ASSERT_TRUE(tavelo_app_test::WaitForOpen(c));
  EXPECT_EQ(mode, QFileDialog::Directory);
  EXPECT_TRUE(dirsOnly);
  EXPECT_EQ(fake_dvd::Calls("DVDOpenMediaFile"), 1);
  EXPECT_EQ(QString::fromStdString(fake_dvd::S().openedPath), QFileInfo(folder).canonicalFilePath());
  // Opening starts playing.
  EXPECT_EQ(fake_dvd::Calls("DVDPlay"), 1);
}

TEST_F(SessionTest, CancelledPanelOpensNothing) {
  Launch();
  tavelo_app_test::WhenModal([](QWidget* modal) { static_cast<QDialog*>(modal)->reject(); });
  c->onMediaFolder(nullptr);
  EXPECT_FALSE(c->isOpening());
  EXPECT_EQ(fake_dvd::Calls("DVDOpenMediaFile"), 0);
}

TEST_F(SessionTest, PlainFileOrMissingPathOpensNothingAndKeepsTheState) {
  Launch();
  ASSERT_TRUE(tavelo_app_test::OpenMedia(c, NewFolder("disc"), false));
  SendEvent(kDVDEventTitle, 3);
  ProcessEvents();
  int const closes = fake_dvd::Calls("DVDCloseMediaFile");
  EXPECT_FALSE(tavelo_app_test::OpenMedia(c, NewPlainFile("file"), false));
  EXPECT_FALSE(tavelo_app_test::OpenMedia(c, QStringLiteral("/nonexistent/tavelo/disc"), false));
  EXPECT_EQ(fake_dvd::Calls("DVDOpenMediaFile"), 1);
  EXPECT_EQ(fake_dvd::Calls("DVDCloseMediaFile"), closes);
  EXPECT_TRUE(c->hasMedia());
  EXPECT_EQ(Title(), QStringLiteral("3"));
}

TEST_F(SessionTest, OpeningNewMediaClosesTheOldOnesFirst) {
  Launch();
  ASSERT_TRUE(tavelo_app_test::OpenMedia(c, NewFolder("first"), false));
  fake_dvd::S().status.erase("DVDGetBookmark");
  c->mDVDState = kDVDStatePlaying;
  c->onNewBookmark(nullptr);
  c->onNewBookmark(nullptr);
  ASSERT_EQ(c->mBookmarks.size(), 2u);
  SendEvent(kDVDEventTitle, 2);
  SendEvent(kDVDEventPTT, 5);
  SendEvent(kDVDEventTitleTime, 61000, 3600000);
  ProcessEvents();
  ASSERT_EQ(Scene(), QStringLiteral("5"));
  ASSERT_TRUE(tavelo_app_test::OpenMedia(c, NewFolder("second"), false));
  EXPECT_EQ(fake_dvd::Calls("DVDCloseMediaFile"), 1);
  EXPECT_EQ(fake_dvd::Calls("DVDOpenMediaFile"), 2);
  EXPECT_TRUE(c->mBookmarks.empty());
  EXPECT_EQ(Title(), QStringLiteral("-"));
  EXPECT_EQ(Scene(), QStringLiteral("-"));
  EXPECT_EQ(Time(), QStringLiteral("00:00:00"));
}

TEST_F(SessionTest, VolumeOpensAndClosesAsAVolume) {
  Launch();
  QString const volume = NewFolder("volume");
  ASSERT_TRUE(tavelo_app_test::OpenMedia(c, volume, true));
  EXPECT_EQ(fake_dvd::Calls("DVDOpenMediaVolume"), 1);
  EXPECT_EQ(c->mVolumePath, volume);
  c->closeMedia();
  EXPECT_EQ(fake_dvd::Calls("DVDCloseMediaVolume"), 1);
  EXPECT_EQ(fake_dvd::Calls("DVDCloseMediaFile"), 0);
  EXPECT_TRUE(c->mVolumePath.isNull());
}

TEST_F(SessionTest, FailedOpenLeavesNoMediaAndLogsTwoLines) {
  Launch();
  ASSERT_TRUE(tavelo_app_test::OpenMedia(c, NewFolder("old"), false));
  fake_dvd::S().status["DVDOpenMediaFile"] = kDVDErrorMediaNotDVD;
  tavelo_test::LogTail tail;
  EXPECT_FALSE(tavelo_app_test::OpenMedia(c, NewFolder("notadvd"), false));
  EXPECT_FALSE(c->hasMedia());
  EXPECT_EQ(fake_dvd::Calls("DVDCloseMediaFile"), 1);
  // The status is logged as the 16-bit value the log takes.
  EXPECT_THAT(tail.Lines(),
              ElementsAre(MatchesRegex("VERIFY_ERR FAILED: OSErr:-4479  code : result = DVDOpenMediaFile"
                                       "\\(&fileRef\\) in GrabDVDController_Open:[0-9]+ "
                                       "\\(OpenInService\\)"),
                          MatchesRegex("VERIFY_ERR FAILED: OSErr:-4479  code : result in "
                                       "GrabDVDController_Open:[0-9]+ "
                                       "\\(GrabDVDController::openFinished\\)")));
}

TEST_F(SessionTest, UnsetRegionShowsTheAlertAndTerminates) {
  Launch();
  fake_dvd::S().status["DVDOpenMediaVolume"] = kDVDErrorRegionCodeUninitialized;
  QString message;
  tavelo_app_test::WhenModal([&](QWidget* modal) {
    message = static_cast<QMessageBox*>(modal)->text();
    static_cast<QMessageBox*>(modal)->accept();
  });
  int const before = NSApp->terminateRequests();
  EXPECT_FALSE(tavelo_app_test::OpenMedia(c, NewFolder("region"), true));
  LocalizedStringTable table;
  ASSERT_TRUE(table.Construct(LocalizedStringTable::PathForTable(QStringLiteral("Localizable"))));
  EXPECT_EQ(message, table.localizedStringForKey(QStringLiteral("noRegionCode")));
  EXPECT_EQ(NSApp->terminateRequests(), before + 1);
  EXPECT_TRUE(c->mVolumePath.isNull());
}

TEST_F(SessionTest, BusyServiceShowsTheAlertAndTerminates) {
  fake_dvd::S().status["DVDInitialize"] = kDVDErrorServiceBusy;
  bool alerted = false;
  tavelo_app_test::WhenModal([&](QWidget* modal) {
    alerted = true;
    static_cast<QMessageBox*>(modal)->accept();
  });
  int const before = NSApp->terminateRequests();
  Launch();
  EXPECT_TRUE(alerted);
  EXPECT_EQ(NSApp->terminateRequests(), before + 1);
  EXPECT_EQ(c->mEventCallBackID, 0u);
}

TEST_F(SessionTest, OtherInitialisationFailureTerminatesWithoutAlert) {
  fake_dvd::S().status["DVDInitialize"] = kDVDErrorNotAllowedNow;
  int const before = NSApp->terminateRequests();
  Launch();  // an alert would block here
  EXPECT_EQ(NSApp->terminateRequests(), before + 1);
  EXPECT_EQ(fake_dvd::Calls("DVDRegisterEventCallBack"), 0);
}

TEST_F(SessionTest, FailedRegistrationIsAnAssertionFailure) {
  fake_dvd::S().status["DVDRegisterEventCallBack"] = kDVDErrorInvalidArgument;
  try {
    c->beginSession();
    FAIL() << "no assertion failure";
  } catch (NSInternalInconsistencyException const& e) {
    EXPECT_THAT(e.what(), testing::HasSubstr("DVDRegisterEventCallBack returned -70016"));
    EXPECT_THAT(e.what(), testing::HasSubstr("GrabDVDController:"));
  }
  fake_dvd::Reset();
  fake_dvd::S().status["DVDSetTimeEventRate"] = kDVDErrorInvalidArgument;
  EXPECT_THROW(c->beginSession(), NSInternalInconsistencyException);
}

TEST_F(SessionTest, TitleTimeEventGivesElapsedAndRemaining) {
  Launch();
  SendEvent(kDVDEventTitleTime, 61000, 3600000);
  ProcessEvents();
  EXPECT_EQ(c->mTimeText->timeElapsed, 61000);
  EXPECT_EQ(c->mTimeText->timeRemaining, 3539000);
  EXPECT_EQ(Time(), QStringLiteral("00:01:01"));
}

TEST_F(SessionTest, EventsFromTheServiceThreadArriveInOrderOnTheMainThread) {
  Launch();
  std::thread service([this] {
    for (DVDEventValue title = 1; title <= 50; ++title) SendEvent(kDVDEventTitle, title);
    SendEvent(kDVDEventPlayback, kDVDStatePaused);
  });
  service.join();
  // Nothing is handled on the service's thread.
  EXPECT_EQ(Title(), QStringLiteral("-"));
  for (int i = 0; i < 200 && c->mDVDState != kDVDStatePaused; ++i) {
    QCoreApplication::processEvents(QEventLoop::AllEvents, 5);
  }
  // The last title event was handled before the playback event that followed it.
  EXPECT_EQ(Title(), QStringLiteral("50"));
  EXPECT_EQ(c->mDVDState, kDVDStatePaused);
}

TEST_F(SessionTest, EventTableUpdatesFieldsAndState) {
  Launch();
  SendEvent(kDVDEventTitle, 4);
  SendEvent(kDVDEventPTT, 9);
  SendEvent(kDVDEventPlayback, kDVDStatePlayingStill);
  ProcessEvents();
  EXPECT_EQ(Title(), QStringLiteral("4"));
  EXPECT_EQ(Scene(), QStringLiteral("9"));
  EXPECT_EQ(c->mDVDState, kDVDStatePlayingStill);
  // The playback state is not reset by closing media.
  ASSERT_TRUE(tavelo_app_test::OpenMedia(c, NewFolder("m"), false));
  c->closeMedia();
  EXPECT_EQ(c->mDVDState, kDVDStatePlayingStill);
}

TEST_F(SessionTest, UnknownEventCodeHasNoEffect) {
  Launch();
  SendEvent(kDVDEventTitle, 6);
  ProcessEvents();
  c->mDVDState = kDVDStatePlaying;
  int const terminates = NSApp->terminateRequests();
  for (DVDEventCode code : {0u, 3u, 10u, 13u, 19u, 21u, 23u, 25u, 999u}) SendEvent(code, 1234, 99);
  ProcessEvents();
  EXPECT_EQ(Title(), QStringLiteral("6"));
  EXPECT_EQ(Scene(), QStringLiteral("-"));
  EXPECT_EQ(Time(), QStringLiteral("00:00:00"));
  EXPECT_EQ(c->mDVDState, kDVDStatePlaying);
  EXPECT_EQ(NSApp->terminateRequests(), terminates);
}

TEST_F(SessionTest, ErrorEventAndFatalErrorTerminate) {
  Launch();
  int const before = NSApp->terminateRequests();
  tavelo_test::LogTail tail;
  testing::internal::CaptureStderr();
  SendEvent(kDVDEventError, static_cast<DVDEventValue>(kDVDErrorReadFailed));
  ProcessEvents();
  std::string const terminal = testing::internal::GetCapturedStderr();
  EXPECT_EQ(NSApp->terminateRequests(), before + 1);
  // The reason, on the terminal and in the log, before the program ends.
  EXPECT_THAT(terminal, HasSubstr("playback stopped: the disc can no longer be read"));
  EXPECT_THAT(tail.Text(), HasSubstr("playback stopped: the disc can no longer be read"));
  std::thread service([] { fake_dvd::S().fatalCallBack(kDVDErrorReadFailed, fake_dvd::S().fatalRefCon); });
  service.join();
  ProcessEvents();
  EXPECT_EQ(NSApp->terminateRequests(), before + 2);
}

TEST_F(SessionTest, EndingTheSessionTwiceOrWithoutOneDoesNothingMore) {
  c->endSession();
  EXPECT_EQ(fake_dvd::Calls("DVDDispose"), 0);
  Launch();
  ASSERT_TRUE(tavelo_app_test::OpenMedia(c, NewFolder("m"), false));
  c->endSession();
  EXPECT_EQ(fake_dvd::Calls("DVDCloseMediaFile"), 1);
  EXPECT_EQ(fake_dvd::Calls("DVDUnregisterEventCallBack"), 1);
  EXPECT_EQ(fake_dvd::Calls("DVDDispose"), 1);
  EXPECT_EQ(c->mEventCallBackID, 0u);
  c->endSession();
  EXPECT_EQ(fake_dvd::Calls("DVDDispose"), 1);
  EXPECT_EQ(fake_dvd::Calls("DVDUnregisterEventCallBack"), 1);
}

TEST_F(SessionTest, WillTerminateEndsTheSession) {
  Launch();
  tavelo_test::LogTail tail;
  c->applicationWillTerminate();
  EXPECT_EQ(fake_dvd::Calls("DVDDispose"), 1);
  // The grab defaults menu is connected: nothing is logged.
  EXPECT_TRUE(tail.Lines().empty());
  c->mGrabDefaultsMenu = nullptr;
  c->applicationWillTerminate();
  EXPECT_THAT(tail.Lines(), ElementsAre(MatchesRegex(
                                "VERIFY FAILED:  code : mGrabDefaultsMenu in GrabDVDController:[0-9]+ "
                                "\\(GrabDVDController::applicationWillTerminate\\)")));
}

TEST(SessionAwake, MissingAboutBoxIsLogged) {
  fake_dvd::Reset();
  GrabDVDController controller;
  tavelo_test::LogTail tail;
  controller.awakeFromNib();
  std::vector<std::string> const lines = tail.Lines();
  ASSERT_FALSE(lines.empty());
  EXPECT_THAT(lines.front(), MatchesRegex("VERIFY FAILED:  code : mAboutBox in GrabDVDController:[0-9]+ "
                                          "\\(GrabDVDController::awakeFromNib\\)"));
}

TEST_F(SessionTest, HasMediaFailureIsLoggedAndAnswersFalse) {
  fake_dvd::S().hasMedia = true;
  fake_dvd::S().status["DVDHasMedia"] = kDVDErrorNotInitialized;
  tavelo_test::LogTail tail;
  EXPECT_FALSE(c->hasMedia());
  EXPECT_THAT(tail.Lines(), ElementsAre(MatchesRegex(
                                "VERIFY_ERR FAILED: OSErr:-4467  code : DVDHasMedia \\(&hasMedia\\) in "
                                "GrabDVDController:[0-9]+ \\(GrabDVDController::hasMedia\\)")));
}

TEST_F(SessionTest, MuteAndControllerItemsFollowTheirState) {
  Launch();
  QAction* mute = mNib.menuItemWithAction("onMute:");
  QAction* show = mNib.menuItemWithAction("onShowController:");
  ASSERT_NE(mute, nullptr);
  ASSERT_NE(show, nullptr);
  fake_dvd::S().muted = true;
  c->mControlWindow->show();
  mNib.validateMenuItems();
  EXPECT_TRUE(mute->isChecked());
  EXPECT_EQ(show->text(), QStringLiteral("Hide Controller"));
  c->mControlWindow->hide();
  fake_dvd::S().muted = false;
  mNib.validateMenuItems();
  EXPECT_FALSE(mute->isChecked());
  EXPECT_EQ(show->text(), QStringLiteral("Show Controller"));
}
