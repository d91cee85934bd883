// The strip of the last eight grabs: each grab joins it, a click shows one larger, a drag
// carries its file (or, unsaved, its picture).
#include <QLabel>
#include <QMimeData>
#include <QTest>
#include <QUrl>
#include <gtest/gtest.h>

#include <memory>

#include "AppTestSupport.h"
#include "DVDGrabStrip.h"
#include "FakeDVDPlayback.h"
#include "GrabDVDController.h"
#include "MainMenuNib.h"
#include "NSBitmapImageRep.h"

namespace {

QImage Solid(QColor colour) {
  QImage image(64, 48, QImage::Format_RGB32);
  image.fill(colour);
  return image;
}

TEST(GrabStrip, KeepsTheLastEightNewestLast) {
  DVDGrabStrip strip;
  for (int i = 0; i < 10; ++i) strip.add(Solid(QColor(i * 20, 0, 0)), QStringLiteral("/p/%1.jpg").arg(i));
  ASSERT_EQ(8, strip.count());
  EXPECT_EQ(QStringLiteral("/p/2.jpg"), strip.pathAt(0));
  EXPECT_EQ(QStringLiteral("/p/9.jpg"), strip.pathAt(7));
  EXPECT_EQ(8, int(strip.findChildren<QLabel*>().size()));
}

TEST(GrabStrip, ADragCarriesTheFileOrThePicture) {
  DVDGrabStrip strip;
  strip.add(Solid(Qt::green), QStringLiteral("/pictures/Tavelo 0003.jpg"));
  strip.add(Solid(Qt::blue));
  std::unique_ptr<QMimeData> saved(strip.mimeDataAt(0));
  ASSERT_NE(saved, nullptr);
  EXPECT_EQ(QList<QUrl>{QUrl::fromLocalFile(QStringLiteral("/pictures/Tavelo 0003.jpg"))}, saved->urls());
  std::unique_ptr<QMimeData> unsaved(strip.mimeDataAt(1));
  EXPECT_TRUE(unsaved->urls().isEmpty());
  QImage const carried = QImage::fromData(unsaved->data(QStringLiteral("image/png")), "PNG");
  ASSERT_FALSE(carried.isNull());
  EXPECT_EQ(QColor(Qt::blue).rgb(), carried.pixel(10, 10));
}

TEST(GrabStrip, AClickShowsTheGrabLarger) {
  DVDGrabStrip strip;
  strip.add(Solid(Qt::red), QStringLiteral("/p/a.jpg"));
  strip.show();
  auto* thumb = strip.findChildren<QLabel*>().value(0);
  ASSERT_NE(thumb, nullptr);
  QTest::mouseClick(thumb, Qt::LeftButton);
  auto* larger = strip.window()->findChild<QLabel*>(QStringLiteral("grabLarger"));
  ASSERT_NE(larger, nullptr);
  EXPECT_TRUE(larger->isVisible());
  EXPECT_EQ(QSize(64, 48), larger->pixmap().size());
  EXPECT_EQ(QStringLiteral("a.jpg"), larger->windowTitle());
}

TEST(GrabStrip, QuickSavesOfTheControllerJoinIt) {
  tavelo_app_test::ProcessEvents();
  fake_dvd::Reset();
  MainMenuNib nib;
  ASSERT_TRUE(nib.Construct());
  GrabDVDController* c = nib.controller();
  ASSERT_NE(c->mGrabStrip, nullptr);
  ASSERT_TRUE(NSBitmapImageRep::setQuickSaveFolderUnixPath(tavelo_app_test::NewFolder("pictures")));
  ASSERT_TRUE(tavelo_app_test::OpenMedia(c, tavelo_app_test::NewFolder("disc"), false));
  fake_dvd::S().hasFrame = true;
  nib.videoWindow()->show();
  tavelo_app_test::ProcessEvents();
  c->grabCurrentFrame(nullptr);
  c->grabCurrentFrameSaveNumberedFile(nullptr);
  ASSERT_EQ(2, c->mGrabStrip->count());
  EXPECT_TRUE(c->mGrabStrip->pathAt(0).endsWith(QStringLiteral("Tavelo 0000.jpg")))
      << c->mGrabStrip->pathAt(0).toStdString();
  EXPECT_TRUE(c->mGrabStrip->pathAt(1).isEmpty()) << "a grab alone has no file";
}

}  // namespace
