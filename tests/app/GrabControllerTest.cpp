#include <QAction>
#include <QPainter>
#include <QClipboard>
#include <QDir>
#include <QFileDialog>
#include <QFileInfo>
#include <QGuiApplication>
#include <QImage>
#include <QLineEdit>
#include <QMainWindow>
#include <QMenu>
#include <QMimeData>
#include <QScreen>
#include <QSettings>
#include <QWindow>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sys/xattr.h>

#include "AppTestSupport.h"
#include "CoreMachDebugLog.h"
#include "GrabTestSupport.h"
#include "GrabWindowController.h"
#include "NSMenuItemAction.h"
#include "NSUISelectorGroup.h"
#include "TestLog.h"

using tavelo_grab_test::CentreColour;
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

std::string FinderTypeCreator(QString const& path) {
  char info[32] = {};
  ssize_t const n = getxattr(path.toUtf8().constData(), "user.com.apple.FinderInfo", info, sizeof info);
  if (n < 8) return {};
  return std::string(info, 8);
}

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
