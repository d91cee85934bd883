#include <QDesktopServices>
#include <QFileInfo>
#include <QTest>
#include <QTimer>
#include <QUrl>
#include <QUrlQuery>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "AppTestSupport.h"
#include "FakeDVDPlayback.h"
#include "GrabDVDController.h"
#include "MainMenuNib.h"
#include "TestLog.h"

namespace {

// Receives the addresses the workspace is asked to open.
class UrlCatcher : public QObject {
  Q_OBJECT
 public:
  UrlCatcher() {
    QDesktopServices::setUrlHandler(QStringLiteral("http"), this, "open");
    QDesktopServices::setUrlHandler(QStringLiteral("file"), this, "open");
  }
  ~UrlCatcher() override {
    QDesktopServices::unsetUrlHandler(QStringLiteral("http"));
    QDesktopServices::unsetUrlHandler(QStringLiteral("file"));
  }
  QList<QUrl> urls;
 public slots:
  void open(QUrl const& url) { urls << url; }
};

}  // namespace

TEST(HelpPages, UpdatesPageQuery) {
  QString const address = GrabDVDController::AppWebPageAddress(QStringLiteral("updates"), QStringLiteral("www.example.org"));
  EXPECT_EQ(address, QStringLiteral("http://www.example.org/redirect.php?page=updates&version=1.005&level=1&bundle=Tavelo"));
  QUrl const url(address);
  EXPECT_EQ(url.query(), QStringLiteral("page=updates&version=1.005&level=1&bundle=Tavelo"));
  EXPECT_EQ(url.path(), QStringLiteral("/redirect.php"));
}

TEST(HelpPages, HelpPagePathAndQuery) {
  QUrl const url(GrabDVDController::AppWebPageAddress(QStringLiteral("help"), QStringLiteral("h.example")));
  EXPECT_EQ(url.path() + QStringLiteral("?") + url.query(),
            QStringLiteral("/redirect.php?page=help&version=1.005&level=1&bundle=Tavelo"));
}

TEST(HelpPages, NoHostOpensTheBundledHelpPage) {
  fake_dvd::Reset();
  UrlCatcher catcher;
  GrabDVDController controller;
  controller.menuHelpApplicationHelp(nullptr);
  controller.menuHelpSharePictures(nullptr);
  ASSERT_EQ(catcher.urls.size(), 2);
  EXPECT_TRUE(catcher.urls[0].isLocalFile());
  EXPECT_TRUE(catcher.urls[0].toLocalFile().endsWith(QStringLiteral("/help/index.html")));
}

TEST(AboutBox, WithoutAnAboutWindowTheCommandDoesNothing) {
  fake_dvd::Reset();
  GrabDVDController controller;
  tavelo_test::LogTail tail;
  controller.orderFrontStandardAboutPanel(nullptr);
  EXPECT_TRUE(tail.Lines().empty());
  EXPECT_EQ(controller.mAboutBox, nullptr);
}

TEST(AboutBox, CommandShowsTheSkinnedWindowAndAClickClosesIt) {
  fake_dvd::Reset();
  MainMenuNib nib;
  ASSERT_TRUE(nib.Construct());
  QWidget* about = nib.aboutBox();
  ASSERT_NE(about, nullptr);
  EXPECT_EQ(nib.controller()->mAboutBox, about);
  EXPECT_FALSE(about->isVisible());
  QAction* item = nib.menuItemWithAction("orderFrontStandardAboutPanel:");
  ASSERT_NE(item, nullptr);
  EXPECT_EQ(item->text(), QStringLiteral("About Tavelo 1.005\n"));
  EXPECT_TRUE(nib.performMenuItem(item));
  EXPECT_TRUE(about->isVisible());
  EXPECT_TRUE(about->windowFlags().testFlag(Qt::FramelessWindowHint));
  ASSERT_TRUE(QTest::qWaitForWindowExposed(about));
  // The skin picture is drawn: the window is not one flat colour.
  QImage const shot = about->grab().toImage();
  ASSERT_FALSE(shot.isNull());
  EXPECT_EQ(shot.pixelColor(44, 112), QColor(0xd8, 0xdd, 0xe6));  // the disc
  EXPECT_EQ(shot.pixelColor(300, 200), QColor(0x1b, 0x1f, 0x2a));  // the background
  // The window follows the mouse until the button goes up: the release comes from the loop.
  QTimer::singleShot(50, about, [about] { QTest::mouseRelease(about, Qt::LeftButton, Qt::NoModifier, QPoint(40, 40)); });
  QTest::mousePress(about, Qt::LeftButton, Qt::NoModifier, QPoint(40, 40));
  tavelo_app_test::ProcessEvents();
  EXPECT_FALSE(about->isVisible());
}

#include "AboutHelpTest.moc"
