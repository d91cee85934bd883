// Opening a disc runs the service's open on a thread of its own: the window keeps working
// while the service probes the disc, and what follows the open happens once it is back.
#include <QAction>
#include <QApplication>
#include <QDeadlineTimer>
#include <QFileInfo>
#include <QLabel>
#include <QSignalSpy>
#include <QThread>
#include <QTimer>
#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <thread>

#include "AppTestSupport.h"
#include "FakeDVDPlayback.h"
#include "GrabDVDController.h"
#include "MainMenuNib.h"
#include "TestTime.h"

using tavelo_app_test::NewFolder;

namespace {

class OpenTest : public testing::Test {
 protected:
  void SetUp() override {
    tavelo_app_test::ProcessEvents();
    fake_dvd::Reset();
    ASSERT_TRUE(mNib.Construct());
    c = mNib.controller();
    c->applicationDidFinishLaunching();
  }
  void TearDown() override {
    // An open left held would keep its thread waiting.
    fake_dvd::ReleaseOpens();
    tavelo_app_test::WaitForOpen(c);
  }
  // Runs the event loop until done() or the time limit; whether done() came true.
  static bool RunEventsUntil(std::function<bool()> const& done) {
    QDeadlineTimer const limit(tavelo_test::ScaledMilliseconds(10000));
    while (!done()) {
      if (limit.hasExpired()) return false;
      QCoreApplication::processEvents(QEventLoop::AllEvents, 20);
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return true;
  }
  QString Status() const { return c->mStatusText->text(); }

  MainMenuNib mNib;
  GrabDVDController* c = nullptr;
};

}  // namespace

TEST_F(OpenTest, TheEventLoopRunsWhileTheServiceOpensAndTheDiscShowsWhenItIsBack) {
  ASSERT_NE(c->mStatusText, nullptr);
  QAction* const item = mNib.menuItemWithAction("onMediaFolder:");
  ASSERT_NE(item, nullptr);
  int ticks = 0;
  QTimer ticker;
  ticker.setInterval(10);
  QObject::connect(&ticker, &QTimer::timeout, [&ticks] { ++ticks; });
  ticker.start();
  QSignalSpy finished(c, &GrabDVDController::mediaOpenFinished);

  fake_dvd::HoldOpens();
  QString const folder = NewFolder("slow");
  ASSERT_TRUE(c->openMedia(folder, false));
  // Back at once, the service's open not finished: the window says it is opening.
  EXPECT_TRUE(c->isOpening());
  EXPECT_TRUE(Status().startsWith(QStringLiteral("Opening “"))) << Status().toStdString();
  ASSERT_NE(QApplication::overrideCursor(), nullptr);
  EXPECT_EQ(QApplication::overrideCursor()->shape(), Qt::BusyCursor);

  // The service sits in its open; the timer keeps firing on this thread all the while.
  ASSERT_TRUE(RunEventsUntil([] { return fake_dvd::OpenIsHeld(); }));
  int const before = ticks;
  ASSERT_TRUE(RunEventsUntil([&] { return ticks >= before + 10; }));
  EXPECT_TRUE(fake_dvd::OpenIsHeld());
  EXPECT_TRUE(c->isOpening());
  EXPECT_EQ(finished.count(), 0);
  EXPECT_FALSE(c->hasMedia());
  EXPECT_TRUE(c->mMediaPath.isNull());
  EXPECT_EQ(fake_dvd::Calls("DVDPlay"), 0);
  EXPECT_TRUE(fake_dvd::LastOpenRanOnAnotherThreadThan(std::this_thread::get_id()));
  mNib.validateMenuItems();
  EXPECT_EQ(item->text(), QStringLiteral("Open DVD/VIDEO_TS Folder..."));

  fake_dvd::ReleaseOpens();
  ASSERT_TRUE(RunEventsUntil([&] { return finished.count() > 0; }));
  EXPECT_EQ(finished.at(0).at(0).toString(), folder);
  EXPECT_TRUE(finished.at(0).at(1).toBool());
  EXPECT_FALSE(c->isOpening());
  EXPECT_TRUE(c->hasMedia());
  EXPECT_EQ(c->mMediaPath, folder);
  EXPECT_EQ(fake_dvd::Calls("DVDOpenMediaFile"), 1);
  EXPECT_EQ(fake_dvd::Calls("DVDPlay"), 1);
  EXPECT_EQ(item->text(), QStringLiteral("Close DVD/VIDEO_TS Folder"));
  EXPECT_TRUE(Status().isEmpty()) << Status().toStdString();
  EXPECT_EQ(QApplication::overrideCursor(), nullptr);
  // Its events reach the window as ever.
  fake_dvd::S().eventCallBack(kDVDEventTitle, 4, 0, fake_dvd::S().eventRefCon);
  tavelo_app_test::ProcessEvents();
  EXPECT_EQ(c->mTitleText->text(), QStringLiteral("4"));
}

TEST_F(OpenTest, ADiscChosenDuringAnOpenOpensNextAndTheLastChoiceWins) {
  QSignalSpy finished(c, &GrabDVDController::mediaOpenFinished);
  fake_dvd::HoldOpens();
  QString const first = NewFolder("first");
  QString const second = NewFolder("second");
  QString const third = NewFolder("third");
  ASSERT_TRUE(c->openMedia(first, false));
  ASSERT_TRUE(RunEventsUntil([] { return fake_dvd::OpenIsHeld(); }));
  EXPECT_TRUE(c->openMedia(second, false));
  EXPECT_TRUE(c->openMedia(third, false));
  EXPECT_TRUE(Status().contains(QStringLiteral("third"))) << Status().toStdString();
  // Nothing was refused or closed meanwhile.
  EXPECT_EQ(fake_dvd::Calls("DVDCloseMediaFile"), 0);
  for (QWidget* const window : QApplication::topLevelWidgets()) {
    EXPECT_NE(window->objectName(), QStringLiteral("openFailureNotice"));
  }

  fake_dvd::ReleaseOpens();
  ASSERT_TRUE(RunEventsUntil([&] { return finished.count() == 2; }));
  EXPECT_EQ(finished.at(0).at(0).toString(), first);
  EXPECT_FALSE(finished.at(0).at(1).toBool());
  EXPECT_EQ(finished.at(1).at(0).toString(), third);
  EXPECT_TRUE(finished.at(1).at(1).toBool());
  // The first was let go; the second never opened.
  EXPECT_EQ(fake_dvd::Calls("DVDOpenMediaFile"), 2);
  EXPECT_EQ(fake_dvd::Calls("DVDCloseMediaFile"), 1);
  EXPECT_EQ(c->mMediaPath, third);
  EXPECT_EQ(QString::fromStdString(fake_dvd::S().openedPath), QFileInfo(third).canonicalFilePath());
  EXPECT_EQ(fake_dvd::Calls("DVDPlay"), 1);
}

TEST_F(OpenTest, ADiscThatFailsToOpenIsToldWhenTheOpenIsBack) {
  QSignalSpy finished(c, &GrabDVDController::mediaOpenFinished);
  fake_dvd::S().status["DVDOpenMediaFile"] = kDVDErrorReadFailed;
  fake_dvd::HoldOpens();
  ASSERT_TRUE(c->openMedia(NewFolder("scratched"), false));
  ASSERT_TRUE(RunEventsUntil([] { return fake_dvd::OpenIsHeld(); }));
  EXPECT_TRUE(Status().startsWith(QStringLiteral("Opening “")));
  fake_dvd::ReleaseOpens();
  ASSERT_TRUE(RunEventsUntil([&] { return finished.count() == 1; }));
  EXPECT_FALSE(finished.at(0).at(1).toBool());
  EXPECT_TRUE(Status().contains(QStringLiteral("damaged"))) << Status().toStdString();
  EXPECT_FALSE(c->hasMedia());
  EXPECT_EQ(fake_dvd::Calls("DVDPlay"), 0);
}

TEST_F(OpenTest, EndingTheSessionDuringAnOpenLetsItsDiscGo) {
  QSignalSpy finished(c, &GrabDVDController::mediaOpenFinished);
  fake_dvd::HoldOpens();
  ASSERT_TRUE(c->openMedia(NewFolder("quit"), false));
  ASSERT_TRUE(RunEventsUntil([] { return fake_dvd::OpenIsHeld(); }));
  fake_dvd::ReleaseOpens();
  c->endSession();
  tavelo_app_test::ProcessEvents();
  // The open's late answer changes nothing; what it opened was closed before the service went.
  EXPECT_FALSE(c->isOpening());
  EXPECT_EQ(finished.count(), 0);
  EXPECT_TRUE(c->mMediaPath.isNull());
  EXPECT_EQ(fake_dvd::Calls("DVDOpenMediaFile"), 1);
  EXPECT_EQ(fake_dvd::Calls("DVDCloseMediaFile"), 1);
  EXPECT_EQ(fake_dvd::Calls("DVDDispose"), 1);
  EXPECT_EQ(fake_dvd::Calls("DVDPlay"), 0);
  EXPECT_EQ(QApplication::overrideCursor(), nullptr);
}
