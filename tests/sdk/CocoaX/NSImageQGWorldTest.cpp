#include "NSImage_QGWorld.h"
#include "QPixMap.h"

#include "LogLines.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <vector>

namespace QC = QClasses;
using tavelo_test::LogTail;
using tavelo_test::MaskedLines;
using testing::ElementsAre;

namespace {

std::string V(std::string const& code, std::string const& function) {
  return tavelo_test::Verify(code, "CocoaX/NSImage_QGWorld", function);
}

std::shared_ptr<NSBitmapImageRep> Bitmap(long width, long height, long spp, bool alpha, long bpp,
                                         unsigned long format = 0) {
  auto rep = std::make_shared<NSBitmapImageRep>();
  EXPECT_TRUE(rep->Construct(nullptr, width, height, 8, spp, alpha, 0, bpp, format));
  return rep;
}

std::vector<unsigned char> Pixel(QGWorld const& w, long x, long y) {
  unsigned char const* p = QPixMap_GetStartOfScanLine(w.GetPixMap(), y) + 4 * x;
  return {p[0], p[1], p[2], p[3]};
}

// A representation that is not a bitmap.
class DrawingRep : public NSImageRep {
 public:
  QSizeF size() const override { return QSizeF(10, 10); }
};

}  // namespace

TEST(NSImageQGWorld, PixelFormatsOfBitmaps) {
  auto const rgb = Bitmap(4, 2, 3, false, 24);
  EXPECT_EQ(k24RGBPixelFormat, NSBitmapImageRepGWorld::PixelFormatFromBitmapImageRep(rgb.get()));
  NSBitmapImageRepGWorld alias;
  ASSERT_TRUE(alias.Construct(rgb));
  EXPECT_EQ(k24RGBPixelFormat, alias.GetPixelFormat());
  EXPECT_EQ(reinterpret_cast<char*>(rgb->bitmapData()), GetPixBaseAddr(alias.GetPixMap()));
  EXPECT_EQ(12, QTGetPixMapHandleRowBytes(alias.GetPixMap()));
  EXPECT_EQ(2, alias.Dimensions().v);
  EXPECT_EQ(4, alias.Dimensions().h);
  EXPECT_EQ(k8IndexedGrayPixelFormat,
            NSBitmapImageRepGWorld::PixelFormatFromBitmapImageRep(Bitmap(2, 2, 1, false, 8).get()));
  LogTail tail;
  auto const rgba = Bitmap(2, 2, 4, true, 32);  // alpha last
  EXPECT_EQ(k32ARGBPixelFormat, NSBitmapImageRepGWorld::PixelFormatFromBitmapImageRep(rgba.get()));
  EXPECT_EQ(k32ARGBPixelFormat, NSBitmapImageRepGWorld::PixelFormatFromBitmapImageRep(
                                    Bitmap(2, 2, 4, true, 32, NSAlphaFirstBitmapFormat).get()));
  EXPECT_EQ(0u, NSBitmapImageRepGWorld::PixelFormatFromBitmapImageRep(Bitmap(2, 2, 3, false, 32).get()));
  EXPECT_EQ(0u, NSBitmapImageRepGWorld::PixelFormatFromBitmapImageRep(nullptr));
  NSBitmapImageRepGWorld none;
  EXPECT_FALSE(none.Construct(Bitmap(2, 2, 3, false, 32)));
  EXPECT_THAT(MaskedLines(tail),
              ElementsAre(V("bitmapFormat==NSAlphaFirstBitmapFormat", "NSBitmapImageRepGWorld::PixelFormatFromBitmapImageRep"),
                          V("inBitmapImageRep", "NSBitmapImageRepGWorld::PixelFormatFromBitmapImageRep"),
                          V("pixelFormat", "NSBitmapImageRepGWorld::Construct")));
}

TEST(NSImageQGWorld, TheAliasKeepsTheBitmapAlive) {
  NSBitmapImageRepGWorld alias;
  {
    auto rep = Bitmap(3, 3, 4, true, 32, NSAlphaFirstBitmapFormat);
    ASSERT_TRUE(alias.Construct(rep));
  }
  ASSERT_NE(nullptr, alias.mBitmapImageRep);
  QPixMap_FillColor32(alias.GetPixMap(), 0x11223344);  // still the bitmap's memory
  EXPECT_EQ(0x11, alias.mBitmapImageRep->bitmapData()[0]);
  alias.Destruct();
  EXPECT_EQ(nullptr, alias.mBitmapImageRep);
  EXPECT_FALSE(alias.IsConstructed());
  auto rep = Bitmap(5, 1, 4, true, 32, NSAlphaFirstBitmapFormat);
  EXPECT_TRUE(rep->constructNewWorldForImageContents(alias));
  EXPECT_EQ(rep, alias.mBitmapImageRep);
}

TEST(NSImageQGWorld, SameDimensionCopiesMakeARGB) {
  auto grey = Bitmap(2, 1, 1, false, 8);
  grey->bitmapData()[0] = 7;
  grey->bitmapData()[1] = 9;
  QGWorld w(Point{1, 2}, k32ARGBPixelFormat);
  EXPECT_TRUE(grey->sameDimensions(w));
  ASSERT_TRUE(grey->copyToWorldWithSameDimensions(w));
  EXPECT_EQ((std::vector<unsigned char>{255, 9, 9, 9}), Pixel(w, 1, 0));
  auto rgbx = Bitmap(2, 1, 3, false, 32);  // R, G, B and an unused byte
  std::memcpy(rgbx->bitmapData(), "\x01\x02\x03\x00\x04\x05\x06\x00", 8);
  ASSERT_TRUE(rgbx->copyToWorldWithSameDimensions(w));
  EXPECT_EQ((std::vector<unsigned char>{255, 4, 5, 6}), Pixel(w, 1, 0));
  auto rgba = Bitmap(2, 1, 4, true, 32);
  std::memcpy(rgba->bitmapData(), "\x01\x02\x03\x80\x04\x05\x06\x90", 8);
  ASSERT_TRUE(rgba->copyToWorldWithSameDimensions(w));
  EXPECT_EQ((std::vector<unsigned char>{0x90, 4, 5, 6}), Pixel(w, 1, 0));
  auto argb = Bitmap(2, 1, 4, true, 32, NSAlphaFirstBitmapFormat);
  std::memcpy(argb->bitmapData(), "\x01\x02\x03\x80\x04\x05\x06\x90", 8);
  ASSERT_TRUE(argb->copyToWorldWithSameDimensions(w));
  EXPECT_EQ((std::vector<unsigned char>{4, 5, 6, 0x90}), Pixel(w, 1, 0));
  QGWorld other(Point{2, 2}, k32ARGBPixelFormat);
  EXPECT_FALSE(grey->sameDimensions(other));
  EXPECT_FALSE(grey->sameDimensions(QGWorld()));
}

TEST(NSImageQGWorld, NewWorldWithImageContentsRebuildsAtTheBitmapsSize) {
  auto rep = Bitmap(6, 3, 4, true, 32, NSAlphaFirstBitmapFormat);
  QGWorld w(Point{10, 10}, k24RGBPixelFormat);
  ASSERT_TRUE(rep->constructNewWorldWithImageContents(w));
  EXPECT_EQ(k32ARGBPixelFormat, w.GetPixelFormat());
  EXPECT_EQ(6, w.SizePixels().width);
  EXPECT_EQ(3, w.SizePixels().height);
}

TEST(NSImageQGWorld, LetterboxOf400x300Into400x400) {
  auto rep = Bitmap(400, 300, 4, true, 32, NSAlphaFirstBitmapFormat);
  for (long i = 0; i < 400 * 300; ++i) std::memcpy(rep->bitmapData() + 4 * i, "\xFF\x10\x80\xF0", 4);
  QGWorld w(Point{400, 400}, k32ARGBPixelFormat);
  QPixMap_FillColor32(w.GetPixMap(), 0x01010101);
  ASSERT_TRUE(rep->copyToWorldWithAnyDimensions(w));
  std::vector<unsigned char> const clear{0, 0, 0, 0}, picture{0xFF, 0x10, 0x80, 0xF0};
  for (long x : {0L, 200L, 399L}) {
    EXPECT_EQ(clear, Pixel(w, x, 0));
    EXPECT_EQ(clear, Pixel(w, x, 49));
    EXPECT_EQ(picture, Pixel(w, x, 50));
    EXPECT_EQ(picture, Pixel(w, x, 349));
    EXPECT_EQ(clear, Pixel(w, x, 350));
    EXPECT_EQ(clear, Pixel(w, x, 399));
  }
}

TEST(NSImageQGWorld, PillarboxAndTheDoubleResizeOfNearlyEqualRatios) {
  auto tall = Bitmap(100, 200, 4, true, 32, NSAlphaFirstBitmapFormat);
  std::memset(tall->bitmapData(), 0xAA, 100 * 200 * 4);
  QGWorld w(Point{100, 100}, k32ARGBPixelFormat);
  ASSERT_TRUE(tall->copyToWorldWithAnyDimensions(w));
  // s = 0.5 < d = 1: width 50, inset 25 each side.
  EXPECT_EQ((std::vector<unsigned char>{0, 0, 0, 0}), Pixel(w, 24, 50));
  EXPECT_EQ((std::vector<unsigned char>{0xAA, 0xAA, 0xAA, 0xAA}), Pixel(w, 25, 50));
  EXPECT_EQ((std::vector<unsigned char>{0xAA, 0xAA, 0xAA, 0xAA}), Pixel(w, 74, 50));
  EXPECT_EQ((std::vector<unsigned char>{0, 0, 0, 0}), Pixel(w, 75, 50));
  // 301 x 300 into 300 x 300: both 100 per cent, the floats differ: the whole destination is
  // resized first, then the narrowed rectangle (new height 299, insets 0): no band stays clear.
  auto wide = Bitmap(301, 300, 4, true, 32, NSAlphaFirstBitmapFormat);
  std::memset(wide->bitmapData(), 0x55, 301 * 300 * 4);
  QGWorld square(Point{300, 300}, k32ARGBPixelFormat);
  ASSERT_TRUE(wide->copyToWorldWithAnyDimensions(square));
  EXPECT_EQ((std::vector<unsigned char>{0x55, 0x55, 0x55, 0x55}), Pixel(square, 0, 0));
  EXPECT_EQ((std::vector<unsigned char>{0x55, 0x55, 0x55, 0x55}), Pixel(square, 299, 299));
}

TEST(NSImageQGWorld, AnyDimensionsNeedsAConstructedWorld) {
  auto rep = Bitmap(2, 2, 4, true, 32, NSAlphaFirstBitmapFormat);
  QGWorld none;
  LogTail tail;
  EXPECT_FALSE(rep->copyToWorldWithAnyDimensions(none));
  EXPECT_THAT(MaskedLines(tail), ElementsAre(V("theWorld.IsConstructed()",
                                               "NSBitmapImageRep::copyToWorldWithAnyDimensions")));
}

TEST(NSImageQGWorld, WrappingSurfaceMemory) {
  std::vector<char> memory(16 * 3, 0);
  tagQGWorldData const data{k32ARGBPixelFormat, 4, 3, 16, memory.data()};
  auto bitmap = NSBitmapImageRep::bitmapWithGWorldData(&data);
  ASSERT_NE(nullptr, bitmap);
  EXPECT_EQ(reinterpret_cast<unsigned char*>(memory.data()), bitmap->bitmapData());
  EXPECT_EQ(4, bitmap->samplesPerPixel());
  EXPECT_TRUE(bitmap->hasAlpha());
  EXPECT_EQ(NSAlphaFirstBitmapFormat, bitmap->bitmapFormat());
  EXPECT_EQ(16, bitmap->bytesPerRow());
  auto image = NSImage::imageWithGWorldData(&data);
  ASSERT_NE(nullptr, image);
  EXPECT_EQ(1u, image->representations().size());
  EXPECT_NE(nullptr, image->firstBitmapImageRep());
  LogTail tail;
  tagQGWorldData const rgb{k24RGBPixelFormat, 4, 3, 12, memory.data()};
  EXPECT_EQ(nullptr, NSBitmapImageRep::bitmapWithGWorldData(&rgb));
  EXPECT_EQ(nullptr, NSBitmapImageRep::bitmapWithGWorldData(nullptr));
  EXPECT_EQ(nullptr, NSImage::imageWithGWorldData(&rgb));
  EXPECT_THAT(MaskedLines(tail),
              ElementsAre(V("bitmapData->pixelFormat==k32ARGBPixelFormat", "NSBitmapImageRep::bitmapWithGWorldData"),
                          V("bitmapData", "NSBitmapImageRep::bitmapWithGWorldData"),
                          V("bitmapData->pixelFormat==k32ARGBPixelFormat", "NSBitmapImageRep::bitmapWithGWorldData"),
                          V("bitmapRep", "NSImage::imageWithGWorldData")));
}

TEST(NSImageQGWorld, ImagesForwardToTheirFirstBitmap) {
  NSImage drawing;
  drawing.addRepresentation(std::make_shared<DrawingRep>());
  EXPECT_EQ(nullptr, drawing.firstBitmapImageRep());
  QGWorld w(Point{2, 2}, k32ARGBPixelFormat);
  LogTail tail;
  EXPECT_FALSE(drawing.copyToWorldWithAnyDimensions(w));
  EXPECT_FALSE(drawing.copyToWorldWithSameDimensions(w));
  EXPECT_FALSE(drawing.constructNewWorldWithImageContents(w));
  drawing.dumpImageRepresentations();  // reads sizes, writes nothing
  EXPECT_THAT(MaskedLines(tail), ElementsAre(V("bitmapRep", "NSImage::copyToWorldWithAnyDimensions"),
                                             V("bitmapRep", "NSImage::copyToWorldWithSameDimensions"),
                                             V("bitmapRep", "NSImage::constructNewWorldWithImageContents")));
  auto bitmap = Bitmap(2, 2, 4, true, 32, NSAlphaFirstBitmapFormat);
  std::memset(bitmap->bitmapData(), 0x42, 16);
  drawing.addRepresentation(bitmap);
  EXPECT_EQ(bitmap, drawing.firstBitmapImageRep());
  EXPECT_TRUE(drawing.copyToWorldWithSameDimensions(w));
  EXPECT_EQ((std::vector<unsigned char>{0x42, 0x42, 0x42, 0x42}), Pixel(w, 1, 1));
  // A forwarded failure names the forwarded call.
  QGWorld yuv(Point{2, 2}, FOUR_CHAR_CODE("2vuy"));
  LogTail failed;
  EXPECT_FALSE(drawing.copyToWorldWithSameDimensions(yuv));
  EXPECT_THAT(MaskedLines(failed),
              ElementsAre(V("result = [bitmapRep copyToWorldWithSameDimensions:theWorld]",
                            "NSImage::copyToWorldWithSameDimensions")));
}
