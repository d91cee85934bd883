#include "ColourWidget.h"
#include "NSBitmapImageRep.h"
#include "TestLog.h"
#include "namespace_Apple_CGL_GrabContext.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QGuiApplication>
#include <QPainter>
#include <QRectF>
#include <QScreen>
#include <QWidget>

#include <array>
#include <memory>
#include <string>

using testing::ElementsAre;
using testing::MatchesRegex;
using tavelo_test::ColourWidget;

namespace {

using Pixel = std::array<int, 4>;

std::string CategoryLine(std::string const& code, char const* function) {
  return "VERIFY FAILED:  code : " + code +
         " in /Code/sdk/CocoaX/NSBitmapImageRep_OpenGLCategory:[0-9]+ \\(" + function + "\\)";
}

Pixel At(NSBitmapImageRep const& b, long row, long column) {
  unsigned char const* p = b.getStartOfScanLine(row, column);
  return {p[0], p[1], p[2], p[3]};
}

// 6 x 4 screen picture; every pixel's bytes name its row and column.
std::unique_ptr<NSBitmapImageRep> ScreenPicture() {
  auto b = std::make_unique<NSBitmapImageRep>(nullptr, 6, 4, 8, 3, false, 24, 32);
  for (long r = 0; r < 4; ++r)
    for (long c = 0; c < 6; ++c) {
      unsigned char* p = b->getStartOfScanLine(r, c);
      p[0] = static_cast<unsigned char>(r * 16 + c);
      p[1] = static_cast<unsigned char>(0x40 + r);
      p[2] = static_cast<unsigned char>(0x80 + c);
      p[3] = 0xC0;
    }
  return b;
}

Pixel Expected(long r, long c) { return {int(r * 16 + c), int(0x40 + r), int(0x80 + c), 0xC0}; }

TEST(OpenGLCategory, ScanLineAddresses) {
  auto const b = ScreenPicture();
  EXPECT_EQ(b->getStartOfScanLine(0), b->bitmapData());
  EXPECT_EQ(b->getStartOfScanLine(3), b->bitmapData() + 72);
  EXPECT_EQ(b->getStartOfScanLine(2, 5), b->bitmapData() + 48 + 20);
}

TEST(OpenGLCategory, CropAtTheBottomTakesTheBottomRows) {
  auto const screen = ScreenPicture();
  auto const crop = NSBitmapImageRep::bitmapCroppedWithRect(screen.get(), QRectF(1, 0, 3, 2));
  ASSERT_TRUE(crop);
  EXPECT_EQ(crop->pixelsWide(), 3);
  EXPECT_EQ(crop->pixelsHigh(), 2);
  EXPECT_EQ(crop->samplesPerPixel(), 3);
  EXPECT_FALSE(crop->hasAlpha());
  EXPECT_EQ(crop->bitsPerPixel(), 32);
  EXPECT_EQ(crop->bytesPerRow(), 12);
  for (long r = 0; r < 2; ++r)
    for (long c = 0; c < 3; ++c) EXPECT_EQ(At(*crop, r, c), Expected(2 + r, 1 + c)) << r << "," << c;
}

TEST(OpenGLCategory, CropAtTheTopAndWithFractions) {
  auto const screen = ScreenPicture();
  auto const top = NSBitmapImageRep::bitmapCroppedWithRect(screen.get(), QRectF(0, 2, 6, 2));
  ASSERT_TRUE(top);
  for (long r = 0; r < 2; ++r)
    for (long c = 0; c < 6; ++c) EXPECT_EQ(At(*top, r, c), Expected(r, c));
  // Integer parts: x 1, width 2, height 1, top row int(4 - 2.4) = 1.
  auto const odd = NSBitmapImageRep::bitmapCroppedWithRect(screen.get(), QRectF(1.7, 0.9, 2.9, 1.5));
  ASSERT_TRUE(odd);
  EXPECT_EQ(odd->pixelsWide(), 2);
  EXPECT_EQ(odd->pixelsHigh(), 1);
  EXPECT_EQ(At(*odd, 0, 0), Expected(1, 1));
  EXPECT_EQ(At(*odd, 0, 1), Expected(1, 2));
}

TEST(OpenGLCategory, CropWithoutABitmapOrWithAnEmptyRectangleIsNil) {
  tavelo_test::LogTail tail;
  EXPECT_FALSE(NSBitmapImageRep::bitmapCroppedWithRect(nullptr, QRectF(0, 0, 2, 2)));
  auto const screen = ScreenPicture();
  EXPECT_FALSE(NSBitmapImageRep::bitmapCroppedWithRect(screen.get(), QRectF(1, 1, 0, 2)));
  EXPECT_THAT(
      tail.Lines(),
      ElementsAre(
          MatchesRegex(CategoryLine("bitmap", "NSBitmapImageRep::bitmapCroppedWithRect")),
          MatchesRegex(CategoryLine(
              "newBitmap = \\[\\[self alloc\\] initWithBitmapDataPlanes:NULL pixelsWide:bitmapWidth "
              "pixelsHigh:bitmapHeight bitsPerSample:8 samplesPerPixel:3 hasAlpha:NO isPlanar:NO "
              "colorSpaceName:NSDeviceRGBColorSpace bytesPerRow:dest_row_bytes_stride bitsPerPixel:8 "
              "\\* sizeof\\(Apple_CGL::ReadPixels::uint_pixel_t\\) \\]",
              "NSBitmapImageRep::bitmapCroppedWithRect"))));
}

TEST(OpenGLCategory, FlipAndSwizzleOfTheReceiver) {
  // 10 x 3 as read: X, R, G, B bottom-up.
  NSBitmapImageRep b(nullptr, 10, 3, 8, 3, false, 40, 32);
  for (long r = 0; r < 3; ++r)
    for (long c = 0; c < 10; ++c) {
      unsigned char* p = b.getStartOfScanLine(r, c);
      p[0] = 0x11;
      p[1] = static_cast<unsigned char>(r);
      p[2] = static_cast<unsigned char>(c);
      p[3] = 0x77;
    }
  b.flipVerticalAndSwizzle_BGRX_to_RGBA(false);
  EXPECT_EQ(At(b, 0, 0), (Pixel{2, 0, 0x77, 255}));
  EXPECT_EQ(At(b, 0, 7), (Pixel{2, 7, 0x77, 255}));
  EXPECT_EQ(At(b, 0, 8), (Pixel{255, 8, 0x77, 0x11}));
  EXPECT_EQ(At(b, 1, 3), (Pixel{0x11, 1, 3, 0x77}));  // middle row as read
  EXPECT_EQ(At(b, 2, 9), (Pixel{255, 9, 0x77, 0x11}));
  // Once more, mirrored: the bottom row (0, c, 0x77, 255 | 255, c, 0x77, 0x11) comes up
  // reversed, its last two pixels through the tail rule, the others through the bulk one.
  b.flipVerticalAndSwizzle_BGRX_to_RGBA(true);
  EXPECT_EQ(At(b, 0, 0), (Pixel{255, 0x77, 0x11, 255}));
  EXPECT_EQ(At(b, 0, 2), (Pixel{7, 0x77, 255, 255}));
}

TEST(OpenGLCategory, NoCurrentContextReadsNothing) {
  tavelo_test::LogTail tail;
  QRectF viewport(1, 2, 3, 4);
  EXPECT_FALSE(NSBitmapImageRep::bitmapWithOpenGLViewportContents(&viewport, false));
  EXPECT_EQ(viewport, QRectF(0, 0, 0, 0));
  EXPECT_THAT(tail.Lines(), ElementsAre(MatchesRegex(CategoryLine(
                                "newBitmap", "NSBitmapImageRep::bitmapWithOpenGLViewportContents"))));
}

// The offscreen platform shows no X screen: grabs see the registered window's own pixels.
class OpenGLCategoryFallback : public testing::Test {
 protected:
  void SetUp() override {
    ASSERT_EQ(QGuiApplication::platformName(), QStringLiteral("offscreen"));
    mWindow = std::make_unique<ColourWidget>(QColor(255, 0, 0));
    mWindow->setGeometry(40, 30, 100, 60);
    mView = new ColourWidget(QColor(0, 255, 0), mWindow.get());
    mView->setGeometry(10, 20, 50, 30);
    mWindow->show();
    NSBitmapImageRep::setScreenFallbackWindow(mWindow.get());
  }
  void TearDown() override { NSBitmapImageRep::setScreenFallbackWindow(nullptr); }

  std::unique_ptr<ColourWidget> mWindow;
  ColourWidget* mView = nullptr;
};

TEST_F(OpenGLCategoryFallback, WholeDisplayShowsTheWindowWhereItIs) {
  QRectF viewport;
  auto const screen = NSBitmapImageRep::bitmapWithScreenPixels(CGMainDisplayID(), &viewport);
  ASSERT_TRUE(screen);
  QSize const size = QGuiApplication::primaryScreen()->geometry().size();
  EXPECT_EQ(viewport, QRectF(0, 0, size.width(), size.height()));
  EXPECT_EQ(screen->pixelsWide(), size.width());
  EXPECT_EQ(screen->pixelsHigh(), size.height());
  EXPECT_EQ(screen->samplesPerPixel(), 3);
  // Rows from the top: the window's corner (40, 30) is red, the view at (50, 50) green.
  Pixel const red = At(*screen, 30, 40), green = At(*screen, 50, 50), black = At(*screen, 0, 0);
  EXPECT_EQ((std::array<int, 3>{red[0], red[1], red[2]}), (std::array<int, 3>{255, 0, 0}));
  EXPECT_EQ((std::array<int, 3>{green[0], green[1], green[2]}), (std::array<int, 3>{0, 255, 0}));
  EXPECT_EQ((std::array<int, 3>{black[0], black[1], black[2]}), (std::array<int, 3>{0, 0, 0}));
  EXPECT_EQ(red[3], 255);
}

TEST_F(OpenGLCategoryFallback, GrabViewFrameIsTheViewsOwnPixels) {
  auto const grab = NSBitmapImageRep::bitmapWithScreenPixelsGrabViewFrame(mView);
  ASSERT_TRUE(grab);
  ASSERT_EQ(grab->pixelsWide(), 50);
  ASSERT_EQ(grab->pixelsHigh(), 30);
  int wrong = 0;
  for (long r = 0; r < 30; ++r)
    for (long c = 0; c < 50; ++c) {
      Pixel const p = At(*grab, r, c);
      if (p[0] != 0 || p[1] != 255 || p[2] != 0) ++wrong;
    }
  EXPECT_EQ(wrong, 0);
}

TEST(OpenGLCategoryNoScreen, NoFallbackAndNoXScreenIsNil) {
  NSBitmapImageRep::setScreenFallbackWindow(nullptr);
  tavelo_test::LogTail tail;
  EXPECT_FALSE(NSBitmapImageRep::bitmapWithScreenPixels(0));
  EXPECT_FALSE(NSBitmapImageRep::bitmapWithScreenPixelsGrabViewFrame(nullptr));
  EXPECT_THAT(tail.Lines(),
              ElementsAre(MatchesRegex("VERIFY FAILED:  code : IsValid\\(\\) in "
                                       "/Code/sdk/CoreG/namespace_Apple_CGL_GrabContext:[0-9]+ "
                                       "\\(Apple_CGL::GrabContext::Construct\\)"),
                          MatchesRegex(CategoryLine("oglContext.Construct\\(displayID\\)",
                                                    "NSBitmapImageRep::bitmapWithScreenPixels")),
                          MatchesRegex(CategoryLine("grabWindow",
                                                    "NSBitmapImageRep::bitmapWithScreenPixelsGrabViewFrame"))));
}

}  // namespace
