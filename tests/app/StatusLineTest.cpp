// The controller's status line and notices: why a disc did not open, and the last quick
// save, whose name opens its folder.
#include <QLabel>
#include <QMessageBox>
#include <QTest>
#include <QFileInfo>
#include <QUrl>
#include <gtest/gtest.h>

#include "AppTestSupport.h"
#include "FakeDVDPlayback.h"
#include "GrabDVDController.h"
#include "MainMenuNib.h"
#include "NSBitmapImageRep.h"

namespace {

class StatusLineTest : public testing::Test {
 protected:
  void SetUp() override {
    tavelo_app_test::ProcessEvents();
    fake_dvd::Reset();
    ASSERT_TRUE(mNib.Construct());
    mNib.controller()->applicationDidFinishLaunching();
    ASSERT_NE(mNib.controller()->mStatusText, nullptr);
  }
  QString Status() const { return mNib.controller()->mStatusText->text(); }
  QMessageBox* Notice() const {
    return qobject_cast<QMessageBox*>(mNib.controller()->mOpenFailureNotice.data());
  }

  MainMenuNib mNib;
};

TEST_F(StatusLineTest, AFolderThatIsNotADiscIsNamedAndTheProgramGoesOn) {
  GrabDVDController* c = mNib.controller();
  QString const folder = tavelo_app_test::NewFolder("holiday snaps");
  fake_dvd::S().status["DVDOpenMediaFile"] = kDVDErrorMediaNotDVD;
  EXPECT_FALSE(tavelo_app_test::OpenMedia(c, folder, false));
  EXPECT_TRUE(Status().contains(folder.toHtmlEscaped())) << Status().toStdString();
  EXPECT_TRUE(Status().contains(QStringLiteral("is not a DVD")));
  ASSERT_NE(Notice(), nullptr);
  EXPECT_TRUE(Notice()->isVisible());
  EXPECT_FALSE(Notice()->isModal()) << "the program stays usable";
  EXPECT_TRUE(Notice()->text().contains(folder));
  // It goes on: a disc opens next.
  fake_dvd::S().status.erase("DVDOpenMediaFile");
  EXPECT_TRUE(tavelo_app_test::OpenMedia(c, tavelo_app_test::NewFolder("disc"), false));
}

TEST_F(StatusLineTest, APathThatDoesNotExistIsSaidSo) {
  QString const missing = tavelo_app_test::NewFolder("x") + QStringLiteral("/no such disc");
  EXPECT_FALSE(tavelo_app_test::OpenMedia(mNib.controller(), missing, false));
  EXPECT_EQ(0, fake_dvd::Calls("DVDOpenMediaFile"));
  EXPECT_TRUE(Status().contains(QStringLiteral("does not exist"))) << Status().toStdString();
  EXPECT_TRUE(Status().contains(QStringLiteral("no such disc")));
  ASSERT_NE(Notice(), nullptr);
}

TEST_F(StatusLineTest, AnEncryptedDiscNamesLibdvdcssAndItsDebianPackage) {
  fake_dvd::S().status["DVDOpenMediaFile"] = kDVDErrorMediaScrambled;
  EXPECT_FALSE(tavelo_app_test::OpenMedia(mNib.controller(), tavelo_app_test::NewFolder("film"), false));
  EXPECT_TRUE(Status().contains(QStringLiteral("libdvdcss"))) << Status().toStdString();
  EXPECT_TRUE(Status().contains(QStringLiteral("libdvd-pkg")));
  EXPECT_TRUE(GrabDVDController::OpenFailureText(tavelo_app_test::NewFolder("film"),
                                                 kDVDErrorMediaScrambled)
                  .startsWith(QStringLiteral("“film")))
      << "named by the folder's name";
}

TEST_F(StatusLineTest, AnUnreadableDiscSaysSo) {
  fake_dvd::S().status["DVDOpenMediaFile"] = kDVDErrorReadFailed;
  EXPECT_FALSE(tavelo_app_test::OpenMedia(mNib.controller(), tavelo_app_test::NewFolder("scratched"), false));
  EXPECT_TRUE(Status().contains(QStringLiteral("cannot be read"))) << Status().toStdString();
}

TEST_F(StatusLineTest, AQuickSaveShowsItsNameForAFewSecondsAndLinksItsFolder) {
  GrabDVDController* c = mNib.controller();
  ASSERT_TRUE(NSBitmapImageRep::setQuickSaveFolderUnixPath(tavelo_app_test::NewFolder("pictures")));
  ASSERT_TRUE(tavelo_app_test::OpenMedia(c, tavelo_app_test::NewFolder("disc"), false));
  fake_dvd::S().hasFrame = true;
  mNib.videoWindow()->show();
  tavelo_app_test::ProcessEvents();
  QString const next = NSBitmapImageRep().nextNumberedFileNameString(
      GrabWindowController::kNumberedFileFormatString, QuikSaveImageType_JPEG);
  c->grabCurrentFrame(nullptr);
  ASSERT_TRUE(QFileInfo::exists(next)) << next.toStdString();
  EXPECT_TRUE(Status().contains(QFileInfo(next).fileName())) << Status().toStdString();
  QString const savedIn = QFileInfo(next).absolutePath();
  EXPECT_TRUE(Status().contains(QUrl::fromLocalFile(savedIn).toString(QUrl::FullyEncoded)))
      << "a click opens the folder: " << Status().toStdString();
  // Gone after a few seconds.
  c->showStatus(QStringLiteral("x"), 50);
  QTest::qWait(200);
  EXPECT_TRUE(Status().isEmpty());
}

}  // namespace
