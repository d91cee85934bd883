#include "KitTestSupport.h"
#include "NSClassRegistry.h"
#include "NSNibLoader.h"
#include "PDFSkinView.h"
#include "PDFSkinWindow.h"
#include "TestLog.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QFile>
#include <QPageSize>
#include <QPainter>
#include <QPdfWriter>

#include <memory>

namespace {

// A folder on the image search path holding a 120 x 80 point PDF: red left half, clear right
// half, and a PNG.
std::string const& SkinFolder() {
  static std::string const dir = [] {
    std::string const d = tavelo_test::MakeTempDir("skins");
    {
      QPdfWriter writer(QString::fromStdString(d + "/About.pdf"));
      writer.setResolution(72);
      writer.setPageSize(QPageSize(QSizeF(120, 80), QPageSize::Point));
      writer.setPageMargins(QMarginsF(0, 0, 0, 0));
      QPainter p(&writer);
      p.fillRect(QRectF(0, 0, 60, 80), QColor(255, 0, 0));
    }
    QFile::copy(QString::fromStdString(d + "/About.pdf"), QString::fromStdString(d + "/Credits.PDF"));
    QImage png(30, 20, QImage::Format_ARGB32);
    png.fill(QColor(0, 0, 255));
    png.save(QString::fromStdString(d + "/Skin.png"));
    QDir::addSearchPath("NSImage", QString::fromStdString(d));
    return d;
  }();
  return dir;
}

struct AboutBox {
  std::unique_ptr<PDFSkinAboutBox> window;
  PDFSkinAboutBoxView* view = nullptr;
};

AboutBox MakeAboutBox(QString const& title) {
  SkinFolder();
  AboutBox box;
  box.window.reset(NSClassInstantiate<PDFSkinAboutBox>(nullptr));
  box.window->setWindowTitle(title);
  box.window->setGeometry(QRect(200, 200, 120, 80));
  box.view = NSClassInstantiate<PDFSkinAboutBoxView>(box.window.get());
  box.view->setGeometry(QRect(0, 0, 120, 80));
  NSNibLoader::AwakeFromNib(box.window.get());
  return box;
}

}  // namespace

TEST(PDFSkinView, WindowTitledAboutPdfShowsThatResource) {
  AboutBox box = MakeAboutBox("About.pdf");
  ASSERT_TRUE(box.view->mPDFSkinImage);
  EXPECT_EQ(QSize(120, 80), box.view->mPDFSkinImage->size());
  QImage const image = tavelo_test::Render(*box.view);
  EXPECT_EQ(QColor(255, 0, 0), image.pixelColor(30, 40));
  EXPECT_EQ(0, image.pixelColor(90, 40).alpha());  // unpainted page stays clear
}

TEST(PDFSkinView, UpperCaseExtensionNamesTheResourceExactly) {
  AboutBox box = MakeAboutBox("Credits.PDF");
  ASSERT_TRUE(box.view->mPDFSkinImage);
  EXPECT_EQ(QSize(120, 80), box.view->mPDFSkinImage->size());
  AboutBox other = MakeAboutBox("About.PDF");  // only About.pdf exists
  EXPECT_FALSE(other.view->mPDFSkinImage);
  EXPECT_TRUE(other.view->setResourceImage("About.pdf"));
}

TEST(PDFSkinView, TitleWithoutExtensionShowsNothing) {
  AboutBox box = MakeAboutBox("About");
  EXPECT_FALSE(box.view->mPDFSkinImage);
  EXPECT_FALSE(box.view->setResourceImageFromWindowTitle());
  QImage const image = tavelo_test::Render(*box.view, Qt::green);
  EXPECT_EQ(0, image.pixelColor(30, 40).alpha());
}

TEST(PDFSkinView, MissingResourceReleasesTheOldImage) {
  AboutBox box = MakeAboutBox("About.pdf");
  ASSERT_TRUE(box.view->mPDFSkinImage);
  EXPECT_FALSE(box.view->setResourceImage("Missing.pdf"));
  EXPECT_FALSE(box.view->mPDFSkinImage);
}

TEST(PDFSkinView, PictureSitsAtTheBottomLeftOrigin) {
  SkinFolder();
  QWidget window;
  auto* const view = NSClassInstantiate<PDFSkinView>(&window);
  view->setGeometry(0, 0, 60, 50);
  ASSERT_TRUE(view->setResourceImage("Skin.png"));
  QImage const image = tavelo_test::Render(*view);
  EXPECT_EQ(QColor(0, 0, 255), image.pixelColor(5, 45));
  EXPECT_EQ(QColor(0, 0, 255), image.pixelColor(29, 30));
  EXPECT_EQ(0, image.pixelColor(5, 25).alpha());
  EXPECT_EQ(0, image.pixelColor(35, 45).alpha());
}

TEST(PDFSkinAboutBox, ClickWithoutMovementClosesIt) {
  AboutBox box = MakeAboutBox("About.pdf");
  box.window->show();
  QCoreApplication::processEvents();
  ASSERT_TRUE(box.window->isVisible());
  tavelo_test::Drag(box.window.get(), QPoint(40, 30), {});
  EXPECT_FALSE(box.window->isVisible());
  EXPECT_EQ(QRect(200, 200, 120, 80), box.window->geometry());
}

TEST(PDFSkinAboutBox, DragMovesIt) {
  AboutBox box = MakeAboutBox("About.pdf");
  box.window->show();
  QCoreApplication::processEvents();
  tavelo_test::Drag(box.window.get(), QPoint(40, 30), {QPoint(55, 40), QPoint(70, 50)});
  EXPECT_TRUE(box.window->isVisible());
  EXPECT_EQ(QRect(230, 220, 120, 80), box.window->geometry());
}

TEST(PDFSkinAboutBox, ClickOnTheSkinViewReachesTheWindow) {
  AboutBox box = MakeAboutBox("About.pdf");
  box.window->show();
  QCoreApplication::processEvents();
  EXPECT_TRUE(box.view->acceptsFirstMouse(nullptr));
  tavelo_test::Drag(box.window.get(), QPoint(40, 30), {}, Qt::NoModifier, box.view);
  EXPECT_FALSE(box.window->isVisible());
}

TEST(PDFSkinWindow, IsBorderlessClearAndTakesKey) {
  std::unique_ptr<QWidget> window(NSClassRegistry::Shared().Create("PDFSkinWindow"));
  auto* const skin = dynamic_cast<PDFSkinWindow*>(window.get());
  ASSERT_NE(nullptr, skin);
  EXPECT_TRUE(skin->canBecomeKeyWindow());
  EXPECT_TRUE(window->windowFlags().testFlag(Qt::FramelessWindowHint));
  EXPECT_TRUE(window->testAttribute(Qt::WA_TranslucentBackground));
}
