#include "PixMapWorld.h"
#include "QPixMap.h"

#include "LogLines.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using tavelo_test::LogTail;
using tavelo_test::MaskedLines;
using tavelo_test::PixMapWorld;
using testing::ElementsAre;
using testing::IsEmpty;
using Bytes = std::vector<unsigned char>;

namespace {
std::string V(std::string const& code, std::string const& function, char const* source = "QClasses/QPixMap") {
  return tavelo_test::Verify(code, source, function);
}
}  // namespace

TEST(QPixMap, RowBytesFromFormatWidth) {
  EXPECT_EQ(100, QPixMap_RowBytesFromFormatWidth(FOUR_CHAR_CODE("cmyk"), 100));
  EXPECT_EQ(600, QPixMap_RowBytesFromFormatWidth(FOUR_CHAR_CODE("b48r"), 100));
  EXPECT_EQ(200, QPixMap_RowBytesFromFormatWidth(FOUR_CHAR_CODE("2vuy"), 100));
  EXPECT_EQ(800, QPixMap_RowBytesFromFormatWidth(FOUR_CHAR_CODE("b64a"), 100));
  EXPECT_EQ(400, QPixMap_RowBytesFromFormatWidth(k32ARGBPixelFormat, 100));
  EXPECT_EQ(12, QPixMap_RowBytesFromFormatWidth(k24RGBPixelFormat, 3));  // no rounding, not 3 a pixel
}

TEST(QPixMap, ViewsThrowForANilOrWrongMap) {
  EXPECT_THROW(QPixMapInfo(nullptr), CoreException);
  PixMapWorld rgb(4, 4, k24RGBPixelFormat);
  EXPECT_THROW(QPixMapSurface32(rgb.mPixMap), CoreException);
  PixMapWorld argb(4, 4, k32ARGBPixelFormat);
  QPixMapSurface32 const s(argb.mPixMap);
  EXPECT_EQ(4, s.mWidth);
  EXPECT_EQ(16, s.mRowBytes);
  try {
    QPixMapInfo info(nullptr);
  } catch (CoreException const& e) {
    EXPECT_STREQ("Nil exception pointer", e.what());
  }
}

TEST(QPixMap, FillPixelTakesTheLowByteEverywhereIncludingPadding) {
  PixMapWorld w(3, 2, k32ARGBPixelFormat, 16);
  EXPECT_TRUE(QPixMap_FillPixelARGB32(w.mPixMap, 0x12345678));
  for (size_t i = 0; i < 32; ++i) EXPECT_EQ(0x78, w.mMemory[i]) << i;
  EXPECT_EQ(0xEE, w.mMemory[32]);  // nothing past the last row
  EXPECT_TRUE(QPixMap_FillPixelARGB32(w.mPixMap, 0xFF000000));
  EXPECT_EQ(Bytes({0, 0, 0, 0}), w.Get(1, 1, 4));
}

TEST(QPixMap, FillPixelChecksAreLogged) {
  LogTail tail;
  EXPECT_FALSE(QPixMap_FillPixelARGB32(nullptr, 0));
  PixMapWorld w(3, 2, k32ARGBPixelFormat);
  (*w.mPixMap)->rowBytesLong = 0;
  EXPECT_FALSE(QPixMap_FillPixelARGB32(w.mPixMap, 0));
  (*w.mPixMap)->rowBytesLong = -16;
  EXPECT_FALSE(QPixMap_FillPixelARGB32(w.mPixMap, 0));
  (*w.mPixMap)->rowBytesLong = 16;
  EXPECT_THAT(MaskedLines(tail), ElementsAre(V("hPixMap", "QPixMap_FillPixelARGB32"),
                                             V("rowBytes", "QPixMap_FillPixelARGB32"),
                                             V("rowBytes>0", "QPixMap_FillPixelARGB32")));
}

TEST(QPixMap, FillColorsStoreTheValue) {
  PixMapWorld w(5, 3, k32ARGBPixelFormat, 24);
  QPixMap_FillColor32(w.mPixMap, 0x80112233);
  for (long y = 0; y < 3; ++y)
    for (long x = 0; x < 5; ++x) EXPECT_EQ(Bytes({0x80, 0x11, 0x22, 0x33}), w.Get(x, y, 4));
  EXPECT_EQ(0xEE, w.mMemory[20]);  // row padding untouched
  PixMapWorld rgb(3, 2, k24RGBPixelFormat);
  QPixMap_FillColor_RGB_24(rgb.mPixMap, 0xFFAABBCC);
  EXPECT_EQ(Bytes({0xAA, 0xBB, 0xCC}), rgb.Get(2, 1, 3));
}

TEST(QPixMap, DuoToneLeavesNearWhiteButRecoloursTheRest) {
  PixMapWorld w(2, 1, k32ARGBPixelFormat);
  w.Set(0, 0, {7, 248, 248, 248});  // sum 744
  w.Set(1, 0, {9, 247, 248, 248});  // sum 743
  QPixMap_DuoTone32(w.mPixMap, 0x336699);
  EXPECT_EQ(Bytes({7, 248, 248, 248}), w.Get(0, 0, 4));
  Bytes const recoloured = w.Get(1, 0, 4);
  EXPECT_EQ(9, recoloured[0]);  // alpha kept
  // Worked by hand: Cb = 0.041865 x 255.., Y = 247.73... x 1.164.
  float const cb = float(-0.148 * 0x33 - 0.291 * 0x66 + 0.439 * 0x99);
  float const cr = float(0.439 * 0x33 - 0.368 * 0x66 - 0.071 * 0x99);
  double const y = double(float(0.257 * 247 + 0.504 * 248 + 0.098 * 248)) * 1.164;
  auto clamp = [](int v) { return v < 0 ? 0 : (v > 255 ? 255 : v); };
  EXPECT_EQ(clamp(int(float(y + 1.596 * cr))), recoloured[1]);
  EXPECT_EQ(clamp(int(float(y - 0.813 * cb - 0.391 * cr))), recoloured[2]);
  EXPECT_EQ(clamp(int(float(y + 2.018 * cb))), recoloured[3]);
  EXPECT_NE(Bytes({9, 247, 248, 248}), recoloured);
}

TEST(QPixMap, GreyscaleWeightsFallOnBlueRedGreen) {
  PixMapWorld w(2, 1, k32ARGBPixelFormat);
  w.Set(0, 0, {0, 0, 0, 255});
  w.Set(1, 0, {200, 255, 0, 0});
  QPixMap_Grayscale32(w.mPixMap);
  EXPECT_EQ(Bytes({0, 54, 54, 54}), w.Get(0, 0, 4));
  EXPECT_EQ(Bytes({200, 182, 182, 182}), w.Get(1, 0, 4));  // 0.7152 x 255 = 182.376
}

TEST(QPixMap, AlphaBlendWrapsWithoutClamp) {
  PixMapWorld a(1, 1, k32ARGBPixelFormat), b(1, 1, k32ARGBPixelFormat), d(1, 1, k32ARGBPixelFormat);
  a.Set(0, 0, {200, 200, 200, 200});
  b.Set(0, 0, {200, 200, 10, 0});
  QPixMap_AlphaBlend32(a.mPixMap, 1.0, b.mPixMap, 1.0, d.mPixMap);
  EXPECT_EQ(Bytes({144, 144, 210, 200}), d.Get(0, 0, 4));
  QPixMap_AlphaBlend32(a.mPixMap, 0.25, b.mPixMap, 0.5, d.mPixMap);
  EXPECT_EQ(Bytes({150, 150, 55, 50}), d.Get(0, 0, 4));
}

TEST(QPixMap, BrightnessTable) {
  QPixMapBrightness const twice(2.0);
  EXPECT_EQ(255, twice.mTable[128]);
  EXPECT_EQ(200, twice.mTable[100]);
  EXPECT_EQ(0, twice.mTable[0]);
  QPixMapBrightness const negative(-1.0);
  for (int i = 0; i < 256; ++i) EXPECT_EQ(0, negative.mTable[i]);
  PixMapWorld w(1, 1, k32ARGBPixelFormat);
  w.Set(0, 0, {77, 128, 100, 3});
  QPixMap_Brightness32(w.mPixMap, 2.0);
  EXPECT_EQ(Bytes({77, 255, 200, 6}), w.Get(0, 0, 4));
}

TEST(QPixMap, PartialTransparencyLooksOnlyWithinTheWidth) {
  PixMapWorld w(2, 2, k32ARGBPixelFormat, 12);
  QPixMap_FillColor32(w.mPixMap, 0xFF000000);
  w.mMemory[8] = 0;  // padding byte after the first row's two pixels
  EXPECT_FALSE(QPixMap_IsPartiallyTransparent32(w.mPixMap));
  w.Set(1, 1, {254, 0, 0, 0});
  EXPECT_TRUE(QPixMap_IsPartiallyTransparent32(w.mPixMap));
  PixMapWorld rgb(2, 2, k24RGBPixelFormat);
  EXPECT_FALSE(QPixMap_IsPartiallyTransparent32(rgb.mPixMap));
}

TEST(QPixMap, CopiesFrom24And32BitSources) {
  PixMapWorld w(2, 2, k32ARGBPixelFormat, 12);
  unsigned char const packed[] = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12};
  QPixMap_Copy32x24(w.mPixMap, packed);
  EXPECT_EQ(Bytes({0, 1, 2, 3, 0, 4, 5, 6}), w.Get(0, 0, 8));
  EXPECT_EQ(Bytes({0, 7, 8, 9, 0, 10, 11, 12}), w.Get(0, 1, 8));
  std::vector<unsigned char> source(24);
  for (size_t i = 0; i < source.size(); ++i) source[i] = UInt8(100 + i);
  QPixMap_Copy32x32(w.mPixMap, source.data());
  EXPECT_EQ(Bytes(source.begin(), source.end()), Bytes(w.mMemory.begin(), w.mMemory.begin() + 24));
  PixMapWorld d(2, 2, k32ARGBPixelFormat, 12);
  EXPECT_TRUE(QPixMap_MemCopyPixels(d.mPixMap, w.mPixMap));
  EXPECT_EQ(Bytes(w.mMemory.begin(), w.mMemory.begin() + 24), Bytes(d.mMemory.begin(), d.mMemory.begin() + 24));
  LogTail tail;
  EXPECT_FALSE(QPixMap_MemCopyPixels(nullptr, w.mPixMap));
  EXPECT_THAT(MaskedLines(tail), ElementsAre(V("hDest!=nil && hPixMap!=nil", "QPixMap_MemCopyPixels")));
}
