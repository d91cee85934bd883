// Grabs that take the decoded picture instead of the screen ("Video Frame"), at the chosen
// shape, with the choices kept in the user defaults; frame stepping from the menu and keys.
#include <QAction>
#include <QDir>
#include <QFileInfo>
#include <QImage>
#include <QKeySequence>
#include <QSettings>
#include <QTest>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include <sys/xattr.h>

#include "AppTestSupport.h"
#include "DVDEvent.h"
#include "FakeDVDPlayback.h"
#include "GrabDVDController.h"
#include "MainMenuNib.h"
#include "NSBitmapImageRep.h"
#include "TestLog.h"

namespace {

class VideoFrameGrabTest : public testing::Test {
 protected:
  void SetUp() override {
    tavelo_app_test::ProcessEvents();
    fake_dvd::Reset();
    ASSERT_TRUE(mNib.Construct());
    mNib.controller()->applicationDidFinishLaunching();
    mNib.videoWindow()->show();
    tavelo_app_test::ProcessEvents();
    // After the restored folder choice: quick saves go to a folder of the test's own.
    mFolder = tavelo_app_test::NewFolder("quicksave");
    ASSERT_TRUE(NSBitmapImageRep::setQuickSaveFolderUnixPath(mFolder));
  }
  void TearDown() override {
    QSettings settings(QStringLiteral("Tavelo"), QStringLiteral("Tavelo"));
    for (char const* key : {"GrabSourceSelectorGroup", "GrabSizeSelectorGroup",
                            "GrabDeinterlaceSelectorGroup", "GrabIncludeSubtitles",
                            "GrabCropBorders", "GrabJPEGQualitySelectorGroup",
                            "GrabNamesSelectorGroup",
                            "DefaultFileTypeSelectorGroup",
                            "DefaultFolderSelectorGroup", "DefaultCreatorSelectorGroup"}) {
      settings.remove(QString::fromLatin1(key));
    }
    NSBitmapImageRep::setScreenFallbackWindow(nullptr);
    NSBitmapImageRep::setQuikJPEGCompressionFactor(0.75f);
  }
  QStringList Files() const { return QDir(mFolder).entryList(QDir::Files, QDir::Name); }
  bool Choose(char const* action) {
    QAction* item = mNib.menuItemWithAction(action);
    return item && mNib.performMenuItem(item);
  }
  bool Checked(char const* action) {
    QAction* item = mNib.menuItemWithAction(action);
    return item && item->isChecked();
  }
  // Grabs with the menu command; the grabbed picture's size, or 0 x 0.
  QSize Grab() {
    GrabDVDController* c = mNib.controller();
    c->grabCurrentFrameSaveNumberedFile(nullptr);
    if (!c->hasGrabbedImage()) return QSize();
    return QSize(int(c->grabbedBitmapImageRep()->pixelsWide()),
                 int(c->grabbedBitmapImageRep()->pixelsHigh()));
  }

  // Saves of video frames are written on the save queue; then the controller hears of them.
  void WaitForSaves() {
    mNib.controller()->saveQueue().WaitUntilDone();
    tavelo_app_test::ProcessEvents();
  }
  // A saved picture's luma at its centre (the fake's frames differ in it).
  static int CentreGrey(QString const& path) {
    QImage const image(path);
    return image.isNull() ? -1 : qGreen(image.pixel(image.width() / 2, image.height() / 2));
  }

  MainMenuNib mNib;
  QString mFolder;
};

TEST_F(VideoFrameGrabTest, TheScreenStaysTheDefault) {
  GrabDVDController* c = mNib.controller();
  EXPECT_TRUE(Checked("selectDefault_GrabScreen:"));
  EXPECT_FALSE(Checked("selectDefault_GrabVideoFrame:"));
  EXPECT_TRUE(Checked("selectDefault_SizeSquarePixels:"));
  EXPECT_TRUE(Checked("selectDefault_DeinterlaceAuto:"));
  EXPECT_TRUE(Checked("toggleGrabIncludeSubtitles:"));
  EXPECT_FALSE(Checked("toggleGrabCropBorders:"));
  ASSERT_TRUE(tavelo_app_test::OpenMedia(c, tavelo_app_test::NewFolder("disc"), false));
  fake_dvd::S().hasFrame = true;
  QWidget* view = mNib.videoWindow()->grabThisViewContentRect();
  EXPECT_EQ(view->size(), Grab());
  EXPECT_EQ(0, fake_dvd::Calls("DVDTakeStill"));
}

TEST_F(VideoFrameGrabTest, VideoFrameGrabsTakeTheDecodedPictureAtTheChosenShape) {
  GrabDVDController* c = mNib.controller();
  ASSERT_TRUE(tavelo_app_test::OpenMedia(c, tavelo_app_test::NewFolder("disc"), false));
  fake_dvd::S().hasFrame = true;
  ASSERT_TRUE(Choose("selectDefault_GrabVideoFrame:"));
  EXPECT_TRUE(Checked("selectDefault_GrabVideoFrame:"));
  EXPECT_FALSE(Checked("selectDefault_GrabScreen:"));
  EXPECT_EQ(QSize(640, 480), Grab());
  EXPECT_TRUE(fake_dvd::S().stillWithOverlay) << "subtitles are included by default";
  // Grey Y' 126 in TV range.
  unsigned char const* px = c->grabbedBitmapImageRep()->bitmapData();
  EXPECT_NEAR(128, px[0], 2);
  ASSERT_TRUE(Choose("selectDefault_SizeStored:"));
  EXPECT_EQ(QSize(720, 480), Grab());
  ASSERT_TRUE(Choose("selectDefault_SizeSquarePixelsITU:"));
  EXPECT_EQ(QSize(640, 480), Grab());
  ASSERT_TRUE(Choose("toggleGrabIncludeSubtitles:"));
  EXPECT_FALSE(Checked("toggleGrabIncludeSubtitles:"));
  Grab();
  EXPECT_FALSE(fake_dvd::S().stillWithOverlay);
  for (char const* deinterlace : {"selectDefault_DeinterlaceOff:", "selectDefault_DeinterlaceBlend:",
                                  "selectDefault_DeinterlaceAdaptive:"}) {
    ASSERT_TRUE(Choose(deinterlace));
    EXPECT_EQ(QSize(640, 480), Grab()) << deinterlace;
  }
  // The quick save writes the decoded picture.
  c->grabCurrentFrame(nullptr);
  WaitForSaves();
  EXPECT_EQ(Files(), QStringList{"Tavelo 0000.jpg"});
  QImage const saved(mFolder + "/Tavelo 0000.jpg");
  EXPECT_EQ(QSize(640, 480), saved.size());
}

TEST_F(VideoFrameGrabTest, WithoutAPictureOnScreenNothingIsGrabbed) {
  GrabDVDController* c = mNib.controller();
  ASSERT_TRUE(tavelo_app_test::OpenMedia(c, tavelo_app_test::NewFolder("disc"), false));
  ASSERT_TRUE(Choose("selectDefault_GrabVideoFrame:"));
  fake_dvd::S().hasFrame = false;
  c->grabCurrentFrame(nullptr);
  EXPECT_FALSE(c->hasGrabbedImage());
  EXPECT_TRUE(Files().isEmpty());
}

TEST_F(VideoFrameGrabTest, TheChoicesAreSavedAtQuitAndRestoredAtLaunch) {
  GrabDVDController* c = mNib.controller();
  ASSERT_TRUE(Choose("selectDefault_GrabVideoFrame:"));
  ASSERT_TRUE(Choose("selectDefault_SizeStored:"));
  ASSERT_TRUE(Choose("selectDefault_DeinterlaceBlend:"));
  ASSERT_TRUE(Choose("toggleGrabIncludeSubtitles:"));
  ASSERT_TRUE(Choose("toggleGrabCropBorders:"));
  EXPECT_TRUE(Checked("selectDefault_JPEGQuality75:"));
  ASSERT_TRUE(Choose("selectDefault_JPEGQuality90:"));
  EXPECT_FLOAT_EQ(0.9f, NSBitmapImageRep::quikJPEGCompressionFactor());
  c->applicationWillTerminate();
  QSettings settings(QStringLiteral("Tavelo"), QStringLiteral("Tavelo"));
  settings.sync();
  EXPECT_EQ(settings.value(QStringLiteral("GrabSourceSelectorGroup")).toString(),
            "selectDefault_GrabVideoFrame:");
  EXPECT_EQ(settings.value(QStringLiteral("GrabSizeSelectorGroup")).toString(),
            "selectDefault_SizeStored:");
  EXPECT_EQ(settings.value(QStringLiteral("GrabDeinterlaceSelectorGroup")).toString(),
            "selectDefault_DeinterlaceBlend:");
  EXPECT_EQ(settings.value(QStringLiteral("GrabIncludeSubtitles")).toString(), "false");
  EXPECT_EQ(settings.value(QStringLiteral("GrabCropBorders")).toString(), "true");
  EXPECT_EQ(settings.value(QStringLiteral("GrabJPEGQualitySelectorGroup")).toString(),
            "selectDefault_JPEGQuality90:");
  NSBitmapImageRep::setQuikJPEGCompressionFactor(0.75f);

  MainMenuNib relaunched;
  ASSERT_TRUE(relaunched.Construct());
  tavelo_app_test::ProcessEvents();
  GrabStillChoices const& restored = relaunched.controller()->mStillChoices;
  EXPECT_TRUE(restored.mVideoFrame);
  EXPECT_EQ(kDVDStillShapeStored, restored.mShape);
  EXPECT_EQ(GrabStillChoices::kBlend, restored.mDeinterlace);
  EXPECT_FALSE(restored.mIncludeSubtitles);
  EXPECT_TRUE(restored.mCropBorders);
  EXPECT_TRUE(relaunched.menuItemWithAction("selectDefault_GrabVideoFrame:")->isChecked());
  EXPECT_TRUE(relaunched.menuItemWithAction("selectDefault_SizeStored:")->isChecked());
  EXPECT_FALSE(relaunched.menuItemWithAction("toggleGrabIncludeSubtitles:")->isChecked());
  EXPECT_TRUE(relaunched.menuItemWithAction("toggleGrabCropBorders:")->isChecked());
  EXPECT_TRUE(relaunched.menuItemWithAction("selectDefault_JPEGQuality90:")->isChecked());
  EXPECT_FLOAT_EQ(0.9f, NSBitmapImageRep::quikJPEGCompressionFactor());
}

TEST_F(VideoFrameGrabTest, WhilePausedTheControllerShowsTheFrameOnScreen) {
  GrabDVDController* c = mNib.controller();
  ASSERT_NE(c->mFrameText, nullptr);
  ASSERT_TRUE(tavelo_app_test::OpenMedia(c, tavelo_app_test::NewFolder("disc"), false));
  fake_dvd::S().hasFrame = true;
  fake_dvd::S().frameInTitle = 123;
  c->handleDVDEvent(DVDEvent::initWithData(kDVDEventPlayback, kDVDStatePaused, 0));
  EXPECT_EQ(QStringLiteral("Frame 123"), c->mFrameText->text());
  // A step changes the picture on screen; the field follows within a moment.
  fake_dvd::S().frameInTitle = 124;
  QTest::qWait(300);
  EXPECT_EQ(QStringLiteral("Frame 124"), c->mFrameText->text());
  c->handleDVDEvent(DVDEvent::initWithData(kDVDEventPlayback, kDVDStatePlaying, 0));
  EXPECT_TRUE(c->mFrameText->text().isEmpty());
}

TEST_F(VideoFrameGrabTest, QuickSavesCanBeNamedAfterTheDiscAndThePicturesPlace) {
  GrabDVDController* c = mNib.controller();
  EXPECT_TRUE(Checked("selectDefault_NamesNumbered:"));
  QString const disc = tavelo_app_test::NewFolder("My: Film");
  ASSERT_TRUE(tavelo_app_test::OpenMedia(c, disc, false));
  fake_dvd::S().hasFrame = true;
  fake_dvd::S().presentedTitle = 3;
  fake_dvd::S().presentedChapter = 2;
  fake_dvd::S().frameInTitle = 120;  // 4.004 s in
  c->grabCurrentFrame(nullptr);
  EXPECT_EQ(Files(), QStringList{"Tavelo 0000.jpg"}) << "numbered by default";
  ASSERT_TRUE(Choose("selectDefault_NamesDiscTime:"));
  c->grabCurrentFrame(nullptr);
  c->grabCurrentFrame(nullptr);
  // The folder's name (the test's folders carry a suffix of their own), ":" replaced.
  QString const name = GrabStillChoices::DiscName(disc);
  EXPECT_TRUE(name.startsWith(QStringLiteral("My_ Film"))) << name.toStdString();
  QString const stem = name + QStringLiteral(" T3 C2 00-00-04.004");
  EXPECT_EQ(Files(), (QStringList{stem + " 2.jpg", stem + ".jpg", "Tavelo 0000.jpg"}));
  // Stamped like every quick save.
  char info[32] = {};
  QByteArray const path = (mFolder + "/" + stem + ".jpg").toUtf8();
  ASSERT_GE(getxattr(path.constData(), "user.com.apple.FinderInfo", info, sizeof info), 8);
  EXPECT_EQ(std::string("JPEG"), std::string(info, 4));
}

TEST_F(VideoFrameGrabTest, QuickSavesOfVideoFramesAreWrittenInOrderWithThePictureOfTheirCommand) {
  GrabDVDController* c = mNib.controller();
  ASSERT_TRUE(tavelo_app_test::OpenMedia(c, tavelo_app_test::NewFolder("disc"), false));
  fake_dvd::S().hasFrame = true;
  ASSERT_TRUE(Choose("selectDefault_GrabVideoFrame:"));
  // Nothing is written until the queue gets to it; each command keeps its own picture.
  c->saveQueue().HoldForTesting(true);
  for (UInt32 frame = 0; frame < 30; ++frame) {
    fake_dvd::S().frameInTitle = frame * 3;
    c->grabCurrentFrame(nullptr);
  }
  EXPECT_TRUE(Files().isEmpty()) << "the commands returned before anything was written";
  EXPECT_FALSE(c->hasGrabbedImage());
  c->saveQueue().HoldForTesting(false);
  WaitForSaves();
  QStringList const files = Files();
  ASSERT_EQ(30, files.size());
  int const grey0 = CentreGrey(mFolder + "/Tavelo 0000.jpg");
  for (int i = 0; i < 30; ++i) {
    QString const name = QString::asprintf("Tavelo %04d.jpg", i);
    ASSERT_EQ(name, files[i]);
    // Y' 126 + 3i in TV range: 255/219 of a step in RGB each.
    EXPECT_NEAR(grey0 + 3 * i * 255.0 / 219.0, CentreGrey(mFolder + "/" + name), 2) << i;
  }
  EXPECT_TRUE(c->hasGrabbedImage()) << "the last picture written is the last grab";
}

TEST_F(VideoFrameGrabTest, DiscTimeNamesOfQueuedSavesNeverCollide) {
  GrabDVDController* c = mNib.controller();
  QString const disc = tavelo_app_test::NewFolder("Film");
  ASSERT_TRUE(tavelo_app_test::OpenMedia(c, disc, false));
  fake_dvd::S().hasFrame = true;
  fake_dvd::S().presentedTitle = 1;
  fake_dvd::S().presentedChapter = 1;
  fake_dvd::S().frameInTitle = 30;  // 1.001 s in
  ASSERT_TRUE(Choose("selectDefault_GrabVideoFrame:"));
  ASSERT_TRUE(Choose("selectDefault_NamesDiscTime:"));
  c->saveQueue().HoldForTesting(true);
  for (int i = 0; i < 3; ++i) c->grabCurrentFrame(nullptr);
  // The folder chosen at the command is where they go.
  QString const later = tavelo_app_test::NewFolder("later");
  ASSERT_TRUE(NSBitmapImageRep::setQuickSaveFolderUnixPath(later));
  c->saveQueue().HoldForTesting(false);
  WaitForSaves();
  QString const stem = GrabStillChoices::DiscName(disc) + " T1 C1 00-00-01.001";
  EXPECT_EQ(Files(), (QStringList{stem + " 2.jpg", stem + " 3.jpg", stem + ".jpg"}));
  EXPECT_TRUE(QDir(later).entryList(QDir::Files).isEmpty());
}

TEST_F(VideoFrameGrabTest, AQueuedSaveWhoseFolderIsGoneIsLoggedAndWritesNothing) {
  GrabDVDController* c = mNib.controller();
  ASSERT_TRUE(tavelo_app_test::OpenMedia(c, tavelo_app_test::NewFolder("disc"), false));
  fake_dvd::S().hasFrame = true;
  ASSERT_TRUE(Choose("selectDefault_GrabVideoFrame:"));
  c->saveQueue().HoldForTesting(true);
  c->grabCurrentFrame(nullptr);
  ASSERT_TRUE(QDir(mFolder).removeRecursively());
  tavelo_test::LogTail tail;
  c->saveQueue().HoldForTesting(false);
  WaitForSaves();
  EXPECT_FALSE(QFileInfo::exists(mFolder)) << "nothing made the folder again";
  EXPECT_FALSE(tail.Lines().empty()) << "the failed save is logged";
  // The next save, to a folder that is there, goes on as usual.
  ASSERT_TRUE(QDir().mkpath(mFolder));
  c->grabCurrentFrame(nullptr);
  WaitForSaves();
  EXPECT_EQ(Files(), QStringList{"Tavelo 0000.jpg"});
}

TEST(GrabStillNames, TheDiscsNameComesFromWhatWasOpened) {
  EXPECT_EQ(QStringLiteral("Holiday"), GrabStillChoices::DiscName(QStringLiteral("/media/me/Holiday")));
  EXPECT_EQ(QStringLiteral("Holiday"), GrabStillChoices::DiscName(QStringLiteral("/discs/Holiday/VIDEO_TS/")));
  EXPECT_EQ(QStringLiteral("A_B_C"), GrabStillChoices::DiscName(QStringLiteral("/media/A:B*C")));
  EXPECT_EQ(QStringLiteral("DVD"), GrabStillChoices::DiscName(QStringLiteral("/")));
}

TEST_F(VideoFrameGrabTest, PeriodAndCommaStepAFrameEachWay) {
  GrabDVDController* c = mNib.controller();
  QAction* next = mNib.menuItemWithAction("onNextFrame:");
  QAction* previous = mNib.menuItemWithAction("onPreviousFrame:");
  ASSERT_NE(next, nullptr);
  ASSERT_NE(previous, nullptr);
  EXPECT_EQ(QKeySequence(QStringLiteral(".")), next->shortcut());
  EXPECT_EQ(QKeySequence(QStringLiteral(",")), previous->shortcut());
  ASSERT_TRUE(tavelo_app_test::OpenMedia(c, tavelo_app_test::NewFolder("disc"), false));
  EXPECT_TRUE(mNib.performMenuItem(next));
  EXPECT_TRUE(mNib.performMenuItem(previous));
  EXPECT_TRUE(mNib.performMenuItem(previous));
  EXPECT_EQ((std::vector<SInt32>{1, -1, -1}), fake_dvd::S().steps);
}

}  // namespace
