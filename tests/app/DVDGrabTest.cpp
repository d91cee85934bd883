// The DVD controller's grab commands, and cut, copy and paste on its grab thumbnail.
#include <QAction>
#include <QApplication>
#include <QBuffer>
#include <QClipboard>
#include <QGuiApplication>
#include <QImage>
#include <QLabel>
#include <QMimeData>
#include <QSettings>
#include <QTest>
#include <gtest/gtest.h>

#include "AppTestSupport.h"
#include "FakeDVDPlayback.h"
#include "GrabDVDController.h"
#include "GrabTestSupport.h"
#include "GrabThumbnailEditor.h"
#include "MainMenuNib.h"
#include "NSMenuItemAction.h"
#include "NSUISelectorGroup.h"

using tavelo_grab_test::CentreColour;

namespace {

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

}  // namespace

// ---- the DVD controller's grab commands

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
