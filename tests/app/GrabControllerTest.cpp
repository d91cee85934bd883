#include <QAction>
#include <QApplication>
#include <QBuffer>
#include <QPainter>
#include <QClipboard>
#include <QDir>
#include <QFileDialog>
#include <QFileInfo>
#include <QGuiApplication>
#include <QImage>
#include <QLabel>
#include <QLineEdit>
#include <QMainWindow>
#include <QMenu>
#include <QMimeData>
#include <QScreen>
#include <QSettings>
#include <QTest>
#include <QWindow>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sys/xattr.h>

#include "AppTestSupport.h"
#include "FakeDVDPlayback.h"
#include "CoreMachDebugLog.h"
#include "GrabDVDController.h"
#include "GrabThumbnailEditor.h"
#include "GrabWindowController.h"
#include "MainMenuNib.h"
#include "NSMenuItemAction.h"
#include "NSUISelectorGroup.h"
#include "TestLog.h"

using testing::ElementsAre;
using testing::IsEmpty;
using testing::MatchesRegex;

namespace {

QColor const kViewColour(10, 200, 30);

// A grab controller whose save panel answers what the test says and records its question.
class PanelGrabController : public GrabWindowController {
 public:
  struct Question {
    QString requiredFileType, directory, fileName;
  };
  QString runSavePanel(QString const& requiredFileType, QString const& directory,
                       QString const& fileName) override {
    questions.push_back({requiredFileType, directory, fileName});
    return answer;
  }
  std::vector<Question> questions;
  QString answer;
};

// A shown window whose pixels are one colour.
std::unique_ptr<QWidget> ColouredWindow(QSize size) {
  auto window = std::make_unique<QWidget>();
  QPalette palette = window->palette();
  palette.setColor(QPalette::Window, kViewColour);
  window->setPalette(palette);
  window->setAutoFillBackground(true);
  window->resize(size);
  window->move(40, 30);
  window->show();
  tavelo_app_test::ProcessEvents();
  return window;
}

// A 32-bit R, G, B bitmap of one colour.
std::shared_ptr<NSBitmapImageRep> SolidBitmap(long width, long height, QColor colour) {
  auto bitmap = std::make_shared<NSBitmapImageRep>(nullptr, width, height, 8, 3, false, 0, 32);
  for (long y = 0; y < height; ++y) {
    unsigned char* p = bitmap->bitmapData() + y * bitmap->bytesPerRow();
    for (long x = 0; x < width; ++x, p += 4) {
      p[0] = static_cast<unsigned char>(colour.red());
      p[1] = static_cast<unsigned char>(colour.green());
      p[2] = static_cast<unsigned char>(colour.blue());
      p[3] = 255;
    }
  }
  return bitmap;
}

QColor CentreColour(NSBitmapImageRep const& bitmap) {
  unsigned char const* p = bitmap.bitmapData() + (bitmap.pixelsHigh() / 2) * bitmap.bytesPerRow() +
                           (bitmap.pixelsWide() / 2) * (bitmap.bitsPerPixel() / 8);
  return QColor(p[0], p[1], p[2]);
}

std::string FinderTypeCreator(QString const& path) {
  char info[32] = {};
  ssize_t const n = getxattr(path.toUtf8().constData(), "user.com.apple.FinderInfo", info, sizeof info);
  if (n < 8) return {};
  return std::string(info, 8);
}

class GrabControllerTest : public testing::Test {
 protected:
  void SetUp() override {
    tavelo_app_test::ProcessEvents();
    mFolder = tavelo_app_test::NewFolder("quicksave");
    ASSERT_TRUE(NSBitmapImageRep::setQuickSaveFolderUnixPath(mFolder));
    NSBitmapImageRep::setQuikCreatorPreviewApp();
  }
  void TearDown() override { NSBitmapImageRep::setScreenFallbackWindow(nullptr); }
  QStringList Files() const { return QDir(mFolder).entryList(QDir::Files, QDir::Name); }

  QString mFolder;
};

std::string const kSource = "in /Code/SharedCode/GrabWindowController:[0-9]+ ";

}  // namespace

TEST_F(GrabControllerTest, GrabTakesTheGrabViewAndQuickSaveWritesTheNextNumberedFile) {
  auto window = ColouredWindow(QSize(160, 120));
  PanelGrabController c;
  c.setGrabWindow(window.get());
  tavelo_test::LogTail tail;
  c.grabQuickSave(nullptr);
  ASSERT_TRUE(c.hasGrabbedImage());
  EXPECT_EQ(c.grabbedBitmapImageRep()->pixelsWide(), 160);
  EXPECT_EQ(c.grabbedBitmapImageRep()->pixelsHigh(), 120);
  EXPECT_EQ(CentreColour(*c.grabbedBitmapImageRep()), kViewColour);
  c.grabQuickSave(nullptr);
  EXPECT_EQ(Files(), (QStringList{"Tavelo 0000.jpg", "Tavelo 0001.jpg"}));
  EXPECT_EQ(FinderTypeCreator(mFolder + "/Tavelo 0001.jpg"), "JPEGprvw");
  QImage const saved(mFolder + "/Tavelo 0000.jpg");
  EXPECT_EQ(saved.size(), QSize(160, 120));
  EXPECT_THAT(tail.Lines(), IsEmpty());
}

TEST_F(GrabControllerTest, SaveGrabAsPNGWithNoPictureGrabsFirst) {
  auto window = ColouredWindow(QSize(100, 80));
  PanelGrabController c;
  c.setGrabWindow(window.get());
  c.answer = mFolder + "/chosen.png";
  ASSERT_FALSE(c.hasGrabbedImage());
  c.saveGrabAs_PNG(nullptr);
  EXPECT_TRUE(c.hasGrabbedImage());
  ASSERT_EQ(c.questions.size(), 1u);
  EXPECT_EQ(c.questions[0].requiredFileType, "png");
  EXPECT_EQ(c.questions[0].directory, NSBitmapImageRep::quickSaveFolderUnixPath());
  EXPECT_EQ(c.questions[0].fileName, "Tavelo 0000");
  QImage const saved(c.answer, "PNG");
  ASSERT_FALSE(saved.isNull());
  EXPECT_EQ(saved.size(), QSize(100, 80));
  EXPECT_EQ(saved.pixelColor(50, 40), kViewColour);
}

TEST_F(GrabControllerTest, SaveAsWithNoPictureDoesNothingAndItsItemIsDisabled) {
  PanelGrabController c;
  c.answer = mFolder + "/never.jpg";
  QAction item;
  NSMenuItemAction::setAction(&item, "saveAs:");
  tavelo_test::LogTail tail;
  c.saveAs(nullptr);
  EXPECT_TRUE(c.questions.empty());
  EXPECT_TRUE(Files().isEmpty());
  EXPECT_FALSE(c.validateMenuItem(&item));
  EXPECT_THAT(tail.Lines(), IsEmpty());
  c.setGrabbedBitmapImageRep(SolidBitmap(8, 8, kViewColour));
  EXPECT_TRUE(c.validateMenuItem(&item));
  c.saveAs(nullptr);
  ASSERT_EQ(c.questions.size(), 1u);
  EXPECT_EQ(c.questions[0].requiredFileType, "jpg");
  EXPECT_EQ(Files(), QStringList{"never.jpg"});
}

TEST_F(GrabControllerTest, GrabOnAWindowWithNoGrabViewKeepsTheWholeScreen) {
  QMainWindow window;  // no central widget: neither a grab view nor a content view
  window.resize(120, 90);
  window.show();
  tavelo_app_test::ProcessEvents();
  PanelGrabController c;
  c.setGrabWindow(&window);
  tavelo_test::LogTail tail;
  c.grab(nullptr);
  ASSERT_TRUE(c.hasGrabbedImage());
  QSize const screen = window.screen()->geometry().size();
  EXPECT_EQ(c.grabbedBitmapImageRep()->pixelsWide(), screen.width());
  EXPECT_EQ(c.grabbedBitmapImageRep()->pixelsHigh(), screen.height());
  EXPECT_THAT(tail.Lines(),
              ElementsAre(MatchesRegex("VERIFY FAILED:  code : grabThisView " + kSource +
                                       "\\(GrabWindowController::grabScreenDisplayID\\)")));
}

TEST_F(GrabControllerTest, GrabWithoutAWindowLogsAndKeepsThePicture) {
  PanelGrabController c;
  auto const old = SolidBitmap(4, 4, kViewColour);
  c.setGrabbedBitmapImageRep(old);
  tavelo_test::LogTail tail;
  c.grab(nullptr);
  EXPECT_EQ(c.grabbedBitmapImageRep(), old);
  EXPECT_THAT(tail.Lines(),
              ElementsAre(MatchesRegex("VERIFY FAILED:  code : mGrabWindow " + kSource +
                                       "\\(GrabWindowController::grabGrabberWindowScreen\\)")));
}

TEST_F(GrabControllerTest, SaveSizeHalfHalvesBothSides) {
  PanelGrabController c;
  c.setGrabbedBitmapImageRep(SolidBitmap(720, 480, kViewColour));
  c.setSaveImageSize(QSizeF(0.5, 0.5));
  EXPECT_EQ(c.imageForSaving().size, QSizeF(360, 240));
  auto const rep = c.imageRepForSaving();
  ASSERT_TRUE(rep);
  EXPECT_EQ(rep->pixelsWide(), 360);
  EXPECT_EQ(rep->pixelsHigh(), 240);
  EXPECT_EQ(CentreColour(*rep), kViewColour);
  // The sign of a factor is ignored.
  c.setSaveImageSize(QSizeF(-0.25, -0.5));
  EXPECT_EQ(c.imageForSaving().size, QSizeF(180, 240));
}

TEST_F(GrabControllerTest, SaveSizeOfPixelsAndFactorAreIndependent) {
  PanelGrabController c;
  c.setGrabbedBitmapImageRep(SolidBitmap(720, 480, kViewColour));
  c.setSaveImageSize(QSizeF(320, 0.5));
  auto const rep = c.imageRepForSaving();
  ASSERT_TRUE(rep);
  EXPECT_EQ(rep->pixelsWide(), 320);
  EXPECT_EQ(rep->pixelsHigh(), 240);
  // A quick save writes the scaled picture.
  c.saveGrabImageType(QuikSaveImageType_PNG);
  EXPECT_EQ(QImage(mFolder + "/Tavelo 0000.png").size(), QSize(320, 240));
}

TEST_F(GrabControllerTest, DefaultSaveSizeSavesTheGrabbedPictureItself) {
  PanelGrabController c;
  auto const bitmap = SolidBitmap(720, 480, kViewColour);
  c.setGrabbedBitmapImageRep(bitmap);
  c.setSaveImageSize(QSizeF(0, 0));
  EXPECT_EQ(c.imageRepForSaving(), bitmap);
  EXPECT_EQ(c.imageForSaving().size, QSizeF(720, 480));
  c.setSaveImageSize(QSizeF(2, 3));
  c.setSaveImageSizeDefault();
  EXPECT_EQ(c.saveImageSize(), GrabWindowController::kDefaultSaveImageSize);
  EXPECT_EQ(c.imageRepForSaving(), bitmap);
}

TEST_F(GrabControllerTest, SaveSizeOfZeroWidthGivesAPictureOfWidthZero) {
  PanelGrabController c;
  c.setGrabbedBitmapImageRep(SolidBitmap(720, 480, kViewColour));
  c.setSaveImageSize(QSizeF(0, 240));
  GrabImage const image = c.imageForSaving();
  EXPECT_EQ(image.size, QSizeF(0, 240));
  // Nothing of width 0 can be encoded: the save is logged and writes nothing.
  tavelo_test::LogTail tail;
  EXPECT_EQ(c.imageRepForSaving(), nullptr);
  c.saveGrabImageType(QuikSaveImageType_JPEG);
  EXPECT_TRUE(Files().isEmpty());
  std::vector<std::string> const lines = tail.Lines();
  ASSERT_EQ(lines.size(), 3u);
  EXPECT_THAT(lines[0], MatchesRegex("VERIFY FAILED:  code : TIFF_imageData " + kSource +
                                     "\\(GrabWindowController::imageRepForSaving\\)"));
  EXPECT_THAT(lines[2], MatchesRegex("VERIFY FAILED:  code : saveImageRep " + kSource +
                                     "\\(GrabWindowController::saveGrabImageType\\)"));
}

TEST_F(GrabControllerTest, ImageForSavingWithoutAPictureIsNil) {
  PanelGrabController c;
  tavelo_test::LogTail tail;
  EXPECT_FALSE(c.imageForSaving().size.isValid());
  EXPECT_THAT(tail.Lines(),
              ElementsAre(MatchesRegex("VERIFY FAILED:  code : mBitmapImageRep " + kSource +
                                       "\\(GrabWindowController::grabbedImage\\)"),
                          MatchesRegex("VERIFY FAILED:  code : saveThisImage " + kSource +
                                       "\\(GrabWindowController::imageForSaving\\)"),
                          MatchesRegex("VERIFY FAILED:  code : mBitmapImageRep " + kSource +
                                       "\\(GrabWindowController::imageForSaving\\)")));
}

TEST_F(GrabControllerTest, CancellingTheSavePanelWithoutAFileNameSavesNothing) {
  GrabWindowController c;
  c.setGrabbedBitmapImageRep(SolidBitmap(16, 16, kViewColour));
  QString proposed;
  tavelo_app_test::WhenModal([&proposed](QWidget* modal) {
    auto* panel = qobject_cast<QFileDialog*>(modal);
    ASSERT_NE(panel, nullptr);
    auto* name = panel->findChild<QLineEdit*>(QStringLiteral("fileNameEdit"));
    ASSERT_NE(name, nullptr);
    proposed = name->text();
    name->clear();
    panel->reject();
  });
  tavelo_test::LogTail tail;
  c.saveAsGrabImageType(QuikSaveImageType_TIFF);
  EXPECT_EQ(proposed, "Tavelo 0000");
  EXPECT_TRUE(Files().isEmpty());
  EXPECT_THAT(tail.Lines(), IsEmpty());
}

TEST_F(GrabControllerTest, TheSavePanelWritesWhereItWasPointed) {
  GrabWindowController c;
  c.setGrabbedBitmapImageRep(SolidBitmap(16, 12, kViewColour));
  QString const elsewhere = tavelo_app_test::NewFolder("elsewhere");
  tavelo_app_test::WhenModal([&](QWidget* modal) {
    auto* panel = qobject_cast<QFileDialog*>(modal);
    ASSERT_NE(panel, nullptr);
    EXPECT_EQ(QFileInfo(panel->directory().absolutePath()).canonicalFilePath(),
              QFileInfo(mFolder).canonicalFilePath());
    panel->findChild<QLineEdit*>(QStringLiteral("fileNameEdit"))->setText(elsewhere + "/picked");
    static_cast<QDialog*>(panel)->accept();  // as the Save button does
  });
  c.saveAsGrabImageType(QuikSaveImageType_TIFF);
  QImage const saved(elsewhere + "/picked.tif");
  EXPECT_EQ(saved.size(), QSize(16, 12));
  EXPECT_EQ(FinderTypeCreator(elsewhere + "/picked.tif"), "TIFFprvw");
}

TEST_F(GrabControllerTest, RestoringPreferencesWithANilMenuDoesNothing) {
  QSettings settings(QStringLiteral("Tavelo"), QStringLiteral("Tavelo"));
  settings.setValue(QStringLiteral("DefaultFileTypeSelectorGroup"), QStringLiteral("selectDefault_SavePNG:"));
  settings.sync();
  PanelGrabController c;
  tavelo_test::LogTail tail;
  c.restorePreferences(nullptr);
  c.savePreferences(nullptr);
  tavelo_app_test::ProcessEvents();
  EXPECT_EQ(c.defaultGrabImageType(), QuikSaveImageType_JPEG);
  EXPECT_THAT(tail.Lines(), IsEmpty());
  settings.remove(QStringLiteral("DefaultFileTypeSelectorGroup"));
}

TEST_F(GrabControllerTest, RestoringPreferencesReappliesTypeFolderAndCreator) {
  QSettings settings(QStringLiteral("Tavelo"), QStringLiteral("Tavelo"));
  settings.setValue(QStringLiteral("DefaultFileTypeSelectorGroup"), QStringLiteral("selectDefault_SavePNG:"));
  settings.setValue(QStringLiteral("DefaultFolderSelectorGroup"), QStringLiteral("selectDefault_DocumentsFolder:"));
  settings.setValue(QStringLiteral("DefaultCreatorSelectorGroup"), QStringLiteral("selectDefault_CreatorPhotoShop:"));
  settings.sync();
  ASSERT_TRUE(QDir().mkpath(QString::fromStdString(tavelo_test::TestRoot()) + "/Documents"));
  QMenu menu;
  PanelGrabController c;
  std::map<QByteArray, QAction*> items;
  for (char const* selector :
       {"selectDefault_SaveJPEG:", "selectDefault_SaveTIFF:", "selectDefault_SavePNG:",
        "selectDefault_PicturesFolder:", "selectDefault_DesktopFolder:", "selectDefault_DocumentsFolder:",
        "selectDefault_CreatorPreview:", "selectDefault_CreatorQuickTime:", "selectDefault_CreatorPhotoShop:",
        "selectDefault_CreatoriPhoto:"}) {
    QAction* item = menu.addAction(QString::fromLatin1(selector));
    item->setCheckable(true);
    NSMenuItemAction::setAction(item, selector);
    NSMenuItem_NSUISelectorGroup::setTarget(item, &c);
    items[selector] = item;
  }
  c.restorePreferences(&menu);
  tavelo_app_test::ProcessEvents();
  EXPECT_EQ(c.defaultGrabImageType(), QuikSaveImageType_PNG);
  EXPECT_TRUE(items["selectDefault_SavePNG:"]->isChecked());
  EXPECT_FALSE(items["selectDefault_SaveJPEG:"]->isChecked());
  EXPECT_TRUE(items["selectDefault_DocumentsFolder:"]->isChecked());
  EXPECT_EQ(NSBitmapImageRep::defaultQuikCreatorCode(), FOUR_CHAR_CODE("8BIM"));
  EXPECT_EQ(NSBitmapImageRep::defaultQuikSaveLocation(), 3);
  // Choosing another type and saving stores the new choice.
  c.selectDefault_SaveTIFF(items["selectDefault_SaveTIFF:"]);
  EXPECT_EQ(c.defaultGrabImageType(), QuikSaveImageType_TIFF);
  c.savePreferences(&menu);
  settings.sync();
  EXPECT_EQ(settings.value(QStringLiteral("DefaultFileTypeSelectorGroup")).toString(), "selectDefault_SaveTIFF:");
  for (char const* key : {"DefaultFileTypeSelectorGroup", "DefaultFolderSelectorGroup", "DefaultCreatorSelectorGroup"})
    settings.remove(QString::fromLatin1(key));
  NSBitmapImageRep::setQuikCreatorPreviewApp();
}

TEST_F(GrabControllerTest, ChoosingPicturesQuickSavesIntoItsTaveloFolder) {
  std::string const pictures = tavelo_test::MakeTempDir("Pictures");
  ::setenv("XDG_PICTURES_DIR", pictures.c_str(), 1);
  QMenu menu;
  PanelGrabController c;
  QAction* item = menu.addAction(QStringLiteral("Pictures"));
  item->setCheckable(true);
  NSMenuItemAction::setAction(item, "selectDefault_PicturesFolder:");
  c.selectDefault_PicturesFolder(item);
  EXPECT_EQ(NSBitmapImageRep::defaultQuikSaveLocation(), 0);
  EXPECT_EQ(NSBitmapImageRep::quickSaveFolderUnixPath().toStdString(), pictures + "/Tavelo");
  EXPECT_TRUE(QDir(QString::fromStdString(pictures + "/Tavelo")).exists());
  ::unsetenv("XDG_PICTURES_DIR");
}

TEST_F(GrabControllerTest, CopyPutsTIFFAndPNGOnThePasteboard) {
  PanelGrabController c;
  tavelo_test::LogTail tail;
  c.copy(nullptr);
  EXPECT_THAT(tail.Lines(),
              ElementsAre(MatchesRegex("VERIFY FAILED:  code : \\[self hasGrabbedImage\\] " + kSource +
                                       "\\(GrabWindowController::copy\\)")));
  c.setGrabbedBitmapImageRep(SolidBitmap(24, 10, kViewColour));
  c.copy(nullptr);
  QMimeData const* data = QGuiApplication::clipboard()->mimeData();
  ASSERT_NE(data, nullptr);
  QImage tiff;
  ASSERT_TRUE(tiff.loadFromData(data->data(QStringLiteral("image/tiff")), "TIFF"));
  QImage png;
  ASSERT_TRUE(png.loadFromData(data->data(QStringLiteral("image/png")), "PNG"));
  EXPECT_EQ(tiff.size(), QSize(24, 10));
  EXPECT_EQ(png.size(), QSize(24, 10));
  EXPECT_EQ(png.pixelColor(3, 3), kViewColour);
}

TEST_F(GrabControllerTest, GrabScreenTakesTheWholeScreenAndShowsTheWindowAgain) {
  auto window = ColouredWindow(QSize(64, 48));
  PanelGrabController c;
  c.setGrabWindow(window.get());
  c.grabScreen(nullptr);
  ASSERT_TRUE(c.hasGrabbedImage());
  EXPECT_EQ(c.grabbedBitmapImageRep()->pixelsWide(), window->screen()->geometry().width());
  EXPECT_TRUE(window->isVisible());
}

// ---- the grab window during the read

// A one-colour window that counts its paints.
class CountingWindow : public QWidget {
 public:
  int paints = 0;

 protected:
  void paintEvent(QPaintEvent*) override {
    ++paints;
    QPainter(this).fillRect(rect(), kViewColour);
  }
};

// Looks at the grab window at the moment of the read, then reads, fails or throws.
class WatchingGrabController : public PanelGrabController {
 public:
  enum class Read { kScreen, kFail, kThrow };
  struct Moment {
    Qt::WindowFlags level;
    bool visible = false;
    WId nativeWindow = 0;
    int paints = 0;
  };
  std::shared_ptr<NSBitmapImageRep> readScreenContents(QRectF* viewportRect) override {
    auto* const window = static_cast<CountingWindow*>(grabWindow());
    moments.push_back({WindowLevel(window), window->isVisible(),
                       window->windowHandle() ? window->windowHandle()->winId() : 0, window->paints});
    if (read == Read::kThrow) throw CoreException("read failed");
    if (read == Read::kFail) return nullptr;
    return PanelGrabController::readScreenContents(viewportRect);
  }
  Read read = Read::kScreen;
  std::vector<Moment> moments;
};

std::unique_ptr<CountingWindow> ShownCountingWindow(Qt::WindowFlags flags) {
  auto window = std::make_unique<CountingWindow>();
  window->setWindowFlags(flags);
  window->resize(96, 64);
  window->move(40, 30);
  window->show();
  tavelo_app_test::ProcessEvents();
  return window;
}

TEST_F(GrabControllerTest, GrabRaisesTheWindowAboveAllForTheReadAndRestoresItsLevel) {
  auto window = ShownCountingWindow(Qt::Window | Qt::FramelessWindowHint);
  Qt::WindowFlags const saved = GrabWindowController::WindowLevel(window.get());
  ASSERT_FALSE(saved.testFlag(Qt::WindowStaysOnTopHint));
  Qt::WindowFlags const widgetFlags = window->windowFlags();
  WId const nativeWindow = window->winId();
  int const paintsBefore = window->paints;
  WatchingGrabController c;
  c.setGrabWindow(window.get());
  tavelo_test::LogTail tail;
  c.grab(nullptr);
  ASSERT_EQ(c.moments.size(), 1u);
  // At the read: above everything, still shown, freshly painted, the same native window.
  EXPECT_EQ(c.moments[0].level, saved | Qt::WindowStaysOnTopHint);
  EXPECT_TRUE(c.moments[0].visible);
  EXPECT_GT(c.moments[0].paints, paintsBefore);
  EXPECT_EQ(c.moments[0].nativeWindow, nativeWindow);
  // After it: the saved level exactly, nothing re-created, and the crop of the view.
  EXPECT_EQ(GrabWindowController::WindowLevel(window.get()), saved);
  EXPECT_EQ(window->windowFlags(), widgetFlags);
  EXPECT_EQ(window->winId(), nativeWindow);
  EXPECT_TRUE(window->isVisible());
  ASSERT_TRUE(c.hasGrabbedImage());
  EXPECT_EQ(c.grabbedBitmapImageRep()->pixelsWide(), 96);
  EXPECT_EQ(CentreColour(*c.grabbedBitmapImageRep()), kViewColour);
  EXPECT_THAT(tail.Lines(), IsEmpty());
}

TEST_F(GrabControllerTest, AWindowAlreadyOnTopStaysOnTopAfterTheGrab) {
  auto window = ShownCountingWindow(Qt::Tool | Qt::WindowStaysOnTopHint);
  Qt::WindowFlags const saved = GrabWindowController::WindowLevel(window.get());
  ASSERT_TRUE(saved.testFlag(Qt::WindowStaysOnTopHint));
  WatchingGrabController c;
  c.setGrabWindow(window.get());
  c.grab(nullptr);
  ASSERT_EQ(c.moments.size(), 1u);
  EXPECT_EQ(c.moments[0].level, saved);
  EXPECT_EQ(GrabWindowController::WindowLevel(window.get()), saved);
}

TEST_F(GrabControllerTest, AFailedReadStillRestoresTheLevel) {
  auto window = ShownCountingWindow(Qt::Window);
  Qt::WindowFlags const saved = GrabWindowController::WindowLevel(window.get());
  WatchingGrabController c;
  c.setGrabWindow(window.get());
  c.setGrabbedBitmapImageRep(SolidBitmap(4, 4, kViewColour));
  c.read = WatchingGrabController::Read::kFail;
  c.grab(nullptr);
  ASSERT_EQ(c.moments.size(), 1u);
  EXPECT_TRUE(c.moments[0].level.testFlag(Qt::WindowStaysOnTopHint));
  // The failed read replaced the old picture with nothing.
  EXPECT_FALSE(c.hasGrabbedImage());
  EXPECT_EQ(GrabWindowController::WindowLevel(window.get()), saved);
  EXPECT_TRUE(window->isVisible());
}

TEST_F(GrabControllerTest, AReadThatThrowsStillRestoresTheLevel) {
  auto window = ShownCountingWindow(Qt::Window);
  Qt::WindowFlags const saved = GrabWindowController::WindowLevel(window.get());
  WatchingGrabController c;
  c.setGrabWindow(window.get());
  c.read = WatchingGrabController::Read::kThrow;
  EXPECT_THROW(c.grab(nullptr), CoreException);
  ASSERT_EQ(c.moments.size(), 1u);
  EXPECT_TRUE(c.moments[0].level.testFlag(Qt::WindowStaysOnTopHint));
  EXPECT_EQ(GrabWindowController::WindowLevel(window.get()), saved);
}

TEST_F(GrabControllerTest, GrabScreenTakesTheWindowOffScreenOnlyForTheRead) {
  auto window = ShownCountingWindow(Qt::Window);
  Qt::WindowFlags const saved = GrabWindowController::WindowLevel(window.get());
  WatchingGrabController c;
  c.setGrabWindow(window.get());
  c.read = WatchingGrabController::Read::kThrow;
  EXPECT_THROW(c.grabScreen(nullptr), CoreException);
  c.read = WatchingGrabController::Read::kScreen;
  c.grabScreen(nullptr);
  ASSERT_EQ(c.moments.size(), 2u);
  for (auto const& moment : c.moments) {
    EXPECT_FALSE(moment.visible);
    EXPECT_EQ(moment.level, saved);
  }
  EXPECT_TRUE(window->isVisible());
  EXPECT_EQ(GrabWindowController::WindowLevel(window.get()), saved);
}

// ---- the DVD controller's grab commands

class DVDGrabTest : public GrabControllerTest {
 protected:
  void SetUp() override {
    GrabControllerTest::SetUp();
    fake_dvd::Reset();
    ASSERT_TRUE(mNib.Construct());
    mNib.controller()->applicationDidFinishLaunching();
    mNib.videoWindow()->show();
    tavelo_app_test::ProcessEvents();
    // The restored folder choice moved the quick-save folder; tests save in their own.
    ASSERT_TRUE(NSBitmapImageRep::setQuickSaveFolderUnixPath(mFolder));
  }
  MainMenuNib mNib;
};

TEST_F(DVDGrabTest, GrabCurrentFrameQuickSavesAndShowsTheThumbnail) {
  GrabDVDController* c = mNib.controller();
  QAction* item = mNib.menuItemWithAction("grabCurrentFrame:");
  ASSERT_NE(item, nullptr);
  EXPECT_FALSE(mNib.performMenuItem(item));  // no media
  ASSERT_TRUE(tavelo_app_test::OpenMedia(c, tavelo_app_test::NewFolder("disc"), false));
  EXPECT_TRUE(mNib.performMenuItem(item));
  EXPECT_EQ(Files(), QStringList{"Tavelo 0000.jpg"});
  ASSERT_TRUE(c->hasGrabbedImage());
  QWidget* view = mNib.videoWindow()->grabThisViewContentRect();
  EXPECT_EQ(c->grabbedBitmapImageRep()->pixelsWide(), view->width());
  EXPECT_EQ(c->grabbedBitmapImageRep()->pixelsHigh(), view->height());
  EXPECT_FALSE(c->mLastGrabImageView->pixmap().isNull());
  c->mQuickGrabButton->click();
  EXPECT_EQ(Files(), (QStringList{"Tavelo 0000.jpg", "Tavelo 0001.jpg"}));
}

TEST_F(DVDGrabTest, GrabCurrentFrameSaveNumberedFileOnlyGrabs) {
  GrabDVDController* c = mNib.controller();
  ASSERT_TRUE(tavelo_app_test::OpenMedia(c, tavelo_app_test::NewFolder("disc"), false));
  c->mLastGrabImageView->clear();
  c->grabCurrentFrameSaveNumberedFile(nullptr);
  EXPECT_TRUE(c->hasGrabbedImage());
  EXPECT_TRUE(Files().isEmpty());
  EXPECT_FALSE(c->mLastGrabImageView->pixmap().isNull());
}

TEST_F(DVDGrabTest, GrabDefaultsAreRestoredAtLoadAndSavedAtTermination) {
  GrabDVDController* c = mNib.controller();
  QAction* png = mNib.menuItemWithAction("selectDefault_SavePNG:");
  ASSERT_NE(png, nullptr);
  // The nib's items were given the controller as target when the grab was set up.
  EXPECT_EQ(NSMenuItem_NSUISelectorGroup::target(png), c);
  EXPECT_TRUE(mNib.menuItemWithAction("selectDefault_SaveJPEG:")->isChecked());
  EXPECT_TRUE(mNib.performMenuItem(png));
  EXPECT_EQ(c->defaultGrabImageType(), QuikSaveImageType_PNG);
  c->applicationWillTerminate();
  QSettings settings(QStringLiteral("Tavelo"), QStringLiteral("Tavelo"));
  EXPECT_EQ(settings.value(QStringLiteral("DefaultFileTypeSelectorGroup")).toString(), "selectDefault_SavePNG:");
  settings.remove(QStringLiteral("DefaultFileTypeSelectorGroup"));
  settings.remove(QStringLiteral("DefaultFolderSelectorGroup"));
  settings.remove(QStringLiteral("DefaultCreatorSelectorGroup"));
}

// ---- cut, copy and paste on the thumbnail

// The picture of an image-typed clipboard entry, or a null image.
QImage ClipboardImage(char const* type) {
  QMimeData const* data = QGuiApplication::clipboard()->mimeData();
  QImage image;
  if (data) image.loadFromData(data->data(QString::fromLatin1(type)));
  return image;
}

class ThumbnailTest : public DVDGrabTest {
 protected:
  void SetUp() override {
    DVDGrabTest::SetUp();
    QGuiApplication::clipboard()->clear();
    mView = mNib.controller()->mLastGrabImageView;
    ASSERT_NE(mView, nullptr);
    mEditor = GrabThumbnailEditor::OfView(mView);
    ASSERT_NE(mEditor, nullptr);
  }
  // Focus on the thumbnail, as a click on it gives.
  void Focus() {
    QWidget* window = mView->window();
    window->show();
    window->activateWindow();
    QApplication::setActiveWindow(window);
    mView->setFocus(Qt::MouseFocusReason);
    tavelo_app_test::ProcessEvents();
    ASSERT_TRUE(mView->hasFocus());
  }
  // A picture on the clipboard as another program puts it there.
  static void PutImage(QImage const& image) {
    auto* data = new QMimeData();
    data->setImageData(image);
    QGuiApplication::clipboard()->setMimeData(data);
  }
  QLabel* mView = nullptr;
  GrabThumbnailEditor* mEditor = nullptr;
};

TEST_F(ThumbnailTest, ItsContextMenuOffersCutCopyAndPaste) {
  EXPECT_EQ(mView->contextMenuPolicy(), Qt::ActionsContextMenu);
  QList<QAction*> const actions = mView->actions();
  EXPECT_TRUE(actions.contains(mEditor->cutAction()));
  EXPECT_TRUE(actions.contains(mEditor->copyAction()));
  EXPECT_TRUE(actions.contains(mEditor->pasteAction()));
  EXPECT_EQ(mEditor->copyAction()->shortcut(), QKeySequence(QKeySequence::Copy));
  // Nothing shown yet: nothing to copy.
  EXPECT_FALSE(mEditor->copyAction()->isEnabled());
  EXPECT_FALSE(mEditor->cutAction()->isEnabled());
}

TEST_F(ThumbnailTest, CopyPutsTheShownGrabOnTheClipboardAsPNGAndTIFF) {
  GrabDVDController* c = mNib.controller();
  ASSERT_TRUE(tavelo_app_test::OpenMedia(c, tavelo_app_test::NewFolder("disc"), false));
  c->grabCurrentFrameSaveNumberedFile(nullptr);
  ASSERT_TRUE(c->hasGrabbedImage());
  EXPECT_EQ(mEditor->shownBitmap(), c->grabbedBitmapImageRep());
  ASSERT_TRUE(mEditor->copyAction()->isEnabled());
  QSize const grabSize(int(c->grabbedBitmapImageRep()->pixelsWide()), int(c->grabbedBitmapImageRep()->pixelsHigh()));
  mEditor->copyAction()->trigger();
  EXPECT_EQ(ClipboardImage("image/png").size(), grabSize);
  EXPECT_EQ(ClipboardImage("image/tiff").size(), grabSize);
  // The standard key does the same while the thumbnail has the focus.
  QGuiApplication::clipboard()->clear();
  ASSERT_TRUE(ClipboardImage("image/png").isNull());
  Focus();
  QTest::keySequence(mView, QKeySequence::Copy);
  EXPECT_EQ(ClipboardImage("image/png").size(), grabSize);
  EXPECT_EQ(ClipboardImage("image/tiff").size(), grabSize);
}

TEST_F(ThumbnailTest, CutCopiesAndTheThumbnailKeepsShowingTheGrab) {
  GrabDVDController* c = mNib.controller();
  ASSERT_TRUE(tavelo_app_test::OpenMedia(c, tavelo_app_test::NewFolder("disc"), false));
  c->grabCurrentFrameSaveNumberedFile(nullptr);
  auto const grab = c->grabbedBitmapImageRep();
  ASSERT_TRUE(grab);
  Focus();
  QTest::keySequence(mView, QKeySequence::Cut);
  EXPECT_EQ(ClipboardImage("image/png").size(), QSize(int(grab->pixelsWide()), int(grab->pixelsHigh())));
  EXPECT_EQ(c->grabbedBitmapImageRep(), grab);
  EXPECT_EQ(mEditor->shownBitmap(), grab);
  EXPECT_FALSE(mView->pixmap().isNull());
  QGuiApplication::clipboard()->clear();
  mEditor->cutAction()->trigger();
  EXPECT_FALSE(ClipboardImage("image/tiff").isNull());
  EXPECT_EQ(mEditor->shownBitmap(), grab);
}

TEST_F(ThumbnailTest, PasteShowsTheClipboardPictureAndCopyGivesItBack) {
  GrabDVDController* c = mNib.controller();
  ASSERT_TRUE(tavelo_app_test::OpenMedia(c, tavelo_app_test::NewFolder("disc"), false));
  c->grabCurrentFrameSaveNumberedFile(nullptr);
  auto const grab = c->grabbedBitmapImageRep();
  QImage pasted(30, 20, QImage::Format_RGB32);
  pasted.fill(QColor(200, 20, 40));
  PutImage(pasted);
  Focus();
  QTest::keySequence(mView, QKeySequence::Paste);
  ASSERT_NE(mEditor->shownBitmap(), nullptr);
  EXPECT_EQ(mEditor->shownBitmap()->pixelsWide(), 30);
  EXPECT_EQ(mEditor->shownBitmap()->pixelsHigh(), 20);
  EXPECT_EQ(CentreColour(*mEditor->shownBitmap()), QColor(200, 20, 40));
  EXPECT_EQ(mView->pixmap().toImage().pixelColor(mView->pixmap().width() / 2, mView->pixmap().height() / 2),
            QColor(200, 20, 40));
  // Pasting shows a picture; it does not replace the grab.
  EXPECT_EQ(c->grabbedBitmapImageRep(), grab);
  // Copy now gives the pasted picture, through the key rather than the menu's Copy.
  QGuiApplication::clipboard()->clear();
  QTest::keySequence(mView, QKeySequence::Copy);
  QImage const copied = ClipboardImage("image/png");
  EXPECT_EQ(copied.size(), QSize(30, 20));
  EXPECT_EQ(copied.pixelColor(15, 10), QColor(200, 20, 40));
  EXPECT_FALSE(ClipboardImage("image/tiff").isNull());
}

TEST_F(ThumbnailTest, PasteFromTheContextMenuTakesPNGData) {
  QImage pasted(12, 8, QImage::Format_RGB32);
  pasted.fill(QColor(5, 60, 250));
  QByteArray png;
  QBuffer buffer(&png);
  buffer.open(QIODevice::WriteOnly);
  ASSERT_TRUE(pasted.save(&buffer, "PNG"));
  auto* data = new QMimeData();
  data->setData(QStringLiteral("image/png"), png);
  QGuiApplication::clipboard()->setMimeData(data);
  mEditor->pasteAction()->trigger();
  ASSERT_NE(mEditor->shownBitmap(), nullptr);
  EXPECT_EQ(mEditor->shownBitmap()->pixelsWide(), 12);
  EXPECT_EQ(CentreColour(*mEditor->shownBitmap()), QColor(5, 60, 250));
  EXPECT_TRUE(mEditor->copyAction()->isEnabled());
  // Text is no picture: pasting it keeps what is shown.
  QGuiApplication::clipboard()->setText(QStringLiteral("not a picture"));
  mEditor->pasteAction()->trigger();
  EXPECT_EQ(mEditor->shownBitmap()->pixelsWide(), 12);
}
