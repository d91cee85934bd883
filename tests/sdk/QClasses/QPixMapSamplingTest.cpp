#include "CGImage.h"
#include "PixMapWorld.h"
#include "QPixMap.h"

#include "LogLines.h"

#include <QImage>
#include <QPainter>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <random>

using tavelo_test::LogTail;
using tavelo_test::MaskedLines;
using tavelo_test::PixMapWorld;
using testing::ElementsAre;
using Bytes = std::vector<unsigned char>;

namespace {
std::string V(std::string const& code, std::string const& function) {
  return tavelo_test::Verify(code, "QClasses/QPixMap", function);
}
void FillRandom(PixMapWorld const& w, unsigned seed) {
  std::mt19937 random(seed);
  long const bytes = QPixMap_PixelDataSizeBytes(w.mPixMap);
  auto* base = reinterpret_cast<unsigned char*>(GetPixBaseAddr(w.mPixMap));
  for (long i = 0; i < bytes; ++i) base[i] = UInt8(random());
}
}  // namespace

TEST(QPixMapSampling, GreySampleWeighsItsFourNeighbours) {
  PixMapWorld w(2, 2, k8IndexedGrayPixelFormat);
  w.Set(0, 0, {0});
  w.Set(1, 0, {100});
  w.Set(0, 1, {200});
  w.Set(1, 1, {40});
  EXPECT_EQ(0, QPixMap_SafeGetPixel_BilinearInterpolatedSampleGrey(w.mPixMap, 0, 0));
  EXPECT_EQ(50, QPixMap_SafeGetPixel_BilinearInterpolatedSampleGrey(w.mPixMap, 0.5, 0));
  // top 50, bottom 120, halfway 85.
  EXPECT_EQ(85, QPixMap_SafeGetPixel_BilinearInterpolatedSampleGrey(w.mPixMap, 0.5, 0.5));
  // At the last column both neighbours are the last column.
  EXPECT_EQ(40, QPixMap_SafeGetPixel_BilinearInterpolatedSampleGrey(w.mPixMap, 1, 1));
  // Outside, only the reads are kept inside: the weights extrapolate (fx = 3 - 1 = 2).
  EXPECT_EQ(100, QPixMap_SafeGetPixel_BilinearInterpolatedSampleGrey(w.mPixMap, 3, 0));
}

TEST(QPixMapSampling, Sample32PacksByteZeroHighest) {
  PixMapWorld w(2, 1, k32ARGBPixelFormat);
  w.Set(0, 0, {10, 20, 30, 40});
  w.Set(1, 0, {30, 40, 50, 60});
  EXPECT_EQ(0x141E2832u, QPixMap_SafeGetPixel_BilinearInterpolatedSample32(w.mPixMap, 0.5, 0));
}

TEST(QPixMapSampling, SetPixelClampAdmitsOnePastTheEdge) {
  PixMapWorld w(2, 2, k32ARGBPixelFormat, 12);
  QPixMap_SafeSetPixel32(w.mPixMap, QClasses::QPoint(-5, -5), 0x01020304);
  EXPECT_EQ(Bytes({1, 2, 3, 4}), w.Get(0, 0, 4));
  QPixMap_SafeSetPixel32(w.mPixMap, QClasses::QPoint(99, 0), 0x05060708);
  // Column clamps to 2 = right: the row's padding bytes 8..11, one past the last pixel.
  EXPECT_EQ(Bytes({5, 6, 7, 8}), Bytes(w.mMemory.begin() + 8, w.mMemory.begin() + 12));
}

TEST(QPixMapSampling, ResizeFollowsTheSinglePrecisionRule) {
  for (auto const& [sw, sh, dw, dh] : {std::array<short, 4>{720, 480, 640, 480},
                                       std::array<short, 4>{7, 5, 13, 9},
                                       std::array<short, 4>{33, 17, 5, 3}}) {
    PixMapWorld src(sw, sh, k32ARGBPixelFormat), dst(dw, dh, k32ARGBPixelFormat);
    FillRandom(src, unsigned(sw * 131 + dw));
    ASSERT_TRUE(QPixMap_Resize_ARGB32_Bilinear(dst.mPixMap, src.mPixMap));
    float const stepX = float(sw) / float(dw), stepY = float(sh) / float(dh);
    float sy = 0;
    int mismatches = 0;
    for (long y = 0; y < dh; ++y, sy += stepY) {
      float sx = 0;
      for (long x = 0; x < dw; ++x, sx += stepX) {
        long const x0 = std::clamp(long(sx), 0L, long(sw) - 1), x1 = x0 < sw - 1 ? x0 + 1 : x0;
        long const y0 = std::clamp(long(sy), 0L, long(sh) - 1);
        long const y1 = std::clamp(long(sy) + 1, 0L, long(sh) - 1);
        float const fx = sx - float(x0), fy = sy - float(y0);
        for (int k = 0; k < 4; ++k) {
          float const top = (1 - fx) * float(src.Pixel(x0, y0)[k]) + fx * float(src.Pixel(x1, y0)[k]);
          float const bottom = (1 - fx) * float(src.Pixel(x0, y1)[k]) + fx * float(src.Pixel(x1, y1)[k]);
          if (dst.Pixel(x, y)[k] != UInt8(int((1 - fy) * top + fy * bottom))) ++mismatches;
        }
      }
    }
    EXPECT_EQ(0, mismatches) << sw << "x" << sh << " -> " << dw << "x" << dh;
  }
  LogTail tail;
  PixMapWorld w(2, 2, k32ARGBPixelFormat);
  EXPECT_FALSE(QPixMap_Resize_ARGB32_Bilinear(nullptr, w.mPixMap));
  EXPECT_FALSE(QPixMap_Resize_ARGB32_Bilinear(w.mPixMap, nullptr));
  EXPECT_THAT(MaskedLines(tail), ElementsAre(V("hDest", "QPixMap_Resize_ARGB32_Bilinear"),
                                             V("hPixMap", "QPixMap_Resize_ARGB32_Bilinear")));
}

TEST(QPixMapSampling, CompositingBlendsEveryByteAtItsPlace) {
  PixMapWorld dst(3, 3, k32ARGBPixelFormat), src(1, 1, k32ARGBPixelFormat);
  QPixMap_FillColor32(dst.mPixMap, 0x00646464);
  src.Set(0, 0, {255, 200, 0, 100});
  QPM_44(dst.mPixMap, Point{1, 2}, src.mPixMap, 0.5f);
  // alpha 0.5: 0.5 x 0 + 0.5 x 255 = 127; 0.5 x 100 + 0.5 x 200 = 150; 50; 100.
  EXPECT_EQ(Bytes({127, 150, 50, 100}), dst.Get(2, 1, 4));
  EXPECT_EQ(Bytes({0, 100, 100, 100}), dst.Get(1, 2, 4));
  QPM_AC32(dst.mPixMap, src.mPixMap);
  EXPECT_EQ(Bytes({255, 200, 0, 100}), dst.Get(0, 0, 4));
  PixMapWorld rgb(2, 1, k24RGBPixelFormat);
  QPixMap_FillColor_RGB_24(rgb.mPixMap, 0x646464);
  QPM_4(rgb.mPixMap, Point{0, 1}, src.mPixMap, 1.0f);
  EXPECT_EQ(Bytes({100, 100, 100, 200, 0, 100}), rgb.Get(0, 0, 6));
  LogTail tail;
  QPM_4(dst.mPixMap, Point{0, 0}, rgb.mPixMap, 1.0f);
  QPM_44(nullptr, Point{0, 0}, src.mPixMap, 1.0f);
  QPM_34(rgb.mPixMap, Point{0, 0}, nullptr, 1.0f);
  EXPECT_THAT(MaskedLines(tail),
              ElementsAre(V("QPixMap_GetPixelFormat(hAlphaPixMap)==k32ARGBPixelFormat", "QPM_4"),
                          V("hPixMap", "QPM_44"), V("hAlphaPixMap", "QPM_34")));
}

TEST(QPixMapSampling, TwoVuyToR408) {
  PixMapWorld src(3, 1, k2vuyPixelFormat, 16), dst(3, 1, k4444YpCbCrA8RPixelFormat, 20);
  src.Set(0, 0, {128, 10, 130, 235, 60, 100, 70, 17});
  EXPECT_EQ(noErr, QPixMap_Copy_2vuy_to_r408(dst.mPixMap, src.mPixMap));
  EXPECT_EQ(Bytes({255, 0, 128, 130, 255, 219, 128, 130, 255, 84, 60, 70}), dst.Get(0, 0, 12));
  // The odd width writes one pixel past the last column, into the row's padding.
  EXPECT_EQ(Bytes({255, 1, 60, 70}), dst.Get(3, 0, 4));
  LogTail tail;
  PixMapWorld small(2, 1, k4444YpCbCrA8RPixelFormat), argb(3, 1, k32ARGBPixelFormat);
  EXPECT_EQ(paramErr, QPixMap_Copy_2vuy_to_r408(small.mPixMap, src.mPixMap));
  EXPECT_EQ(paramErr, QPixMap_Copy_2vuy_to_r408(dst.mPixMap, argb.mPixMap));
  Bytes const before = argb.Get(0, 0, 12);
  EXPECT_EQ(noErr, QPixMap_Copy_2vuy_to_r408(argb.mPixMap, src.mPixMap));
  EXPECT_EQ(before, argb.Get(0, 0, 12));
  EXPECT_THAT(MaskedLines(tail),
              ElementsAre(V("QPixMap_Dimensions(hDestPixMap)==QPixMap_Dimensions(hPixMap)",
                            "QPixMap_Copy_2vuy_to_r408"),
                          V("FOUR_CHAR_CODE('2vuy')==QPixMap_GetPixelFormat(hPixMap)",
                            "QPixMap_Copy_2vuy_to_r408"),
                          V("FOUR_CHAR_CODE('r408')==QPixMap_GetPixelFormat(hDestPixMap)",
                            "QPixMap_Copy_2vuy_to_r408")));
}

TEST(QPixMapSampling, DrawIntoAPainterWithAndWithoutAlpha) {
  PixMapWorld w(2, 1, k32ARGBPixelFormat);
  w.Set(0, 0, {255, 255, 0, 0});
  w.Set(1, 0, {0, 0, 0, 255});
  QImage canvas(2, 1, QImage::Format_RGBA8888);
  canvas.fill(Qt::white);
  {
    QPainter painter(&canvas);
    CGContextRef context = CGContextCreateWithQPainter(&painter);
    EXPECT_TRUE(QPixMap_DrawCGContext(w.mPixMap, context, CGRect{{0, 0}, {2, 1}}, true));
    CGContextRelease(context);
  }
  EXPECT_EQ(qRgba(255, 0, 0, 255), canvas.pixel(0, 0));
  EXPECT_EQ(qRgba(255, 255, 255, 255), canvas.pixel(1, 0));  // transparent blue leaves white
  {
    QPainter painter(&canvas);
    CGContextRef context = CGContextCreateWithQPainter(&painter);
    EXPECT_TRUE(QPixMap_DrawCGContext(w.mPixMap, context, CGRect{{0, 0}, {2, 1}}, false));
    CGContextRelease(context);
  }
  EXPECT_EQ(qRgba(0, 0, 255, 255), canvas.pixel(1, 0));  // alpha skipped: opaque blue
}
