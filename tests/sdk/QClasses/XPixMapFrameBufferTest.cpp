#include "PixMapWorld.h"
#include "QGWorld.h"
#include "QPixMap.h"
#include "XFrameOperations.h"
#include "XPixMapFrameBuffer.h"

#include "LogLines.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <random>

using QClasses::QRect;
using tavelo_test::LogTail;
using tavelo_test::MaskedLines;
using tavelo_test::PixMapWorld;
using testing::ElementsAre;

namespace {
std::string V(std::string const& code, std::string const& function) {
  return tavelo_test::Verify(code, "QClasses/XPixMapFrameBuffer", function);
}
}  // namespace

TEST(MacPixMapFrameBuffer, DescribesAPixMap) {
  PixMapWorld argb(6, 4, k32ARGBPixelFormat, 32);
  MacPixMapFrameBuffer b(argb.mPixMap);
  EXPECT_EQ(FOUR_CHAR_CODE("8RGB"), b.PixelType);
  EXPECT_EQ(6, b.Width);
  EXPECT_EQ(4, b.Height);
  EXPECT_EQ(32, b.RowBytes);
  EXPECT_EQ(4, b.PelBytes);
  EXPECT_EQ(reinterpret_cast<XFramePixels>(GetPixBaseAddr(argb.mPixMap)), b.Pixels);
  EXPECT_EQ(Fixed(0x0001CCCD), QTGetPixMapHandleRequestedGammaLevel(argb.mPixMap));
  QRect bounds;
  EXPECT_TRUE(b.GetPixMapBounds(bounds));
  EXPECT_EQ(QRect(0, 0, 4, 6), bounds);
  PixMapWorld r408(2, 2, k4444YpCbCrA8RPixelFormat);
  EXPECT_EQ(FOUR_CHAR_CODE("RYUV"), MacPixMapFrameBuffer(r408.mPixMap).PixelType);
  EXPECT_EQ(Fixed(0x00023333), QTGetPixMapHandleRequestedGammaLevel(r408.mPixMap));
  PixMapWorld v408(2, 2, k4444YpCbCrA8PixelFormat);
  EXPECT_EQ(FOUR_CHAR_CODE("VYUV"), MacPixMapFrameBuffer(v408.mPixMap).PixelType);
}

TEST(MacPixMapFrameBuffer, FailuresAreReportedNotThrown) {
  LogTail tail;
  MacPixMapFrameBuffer b(nullptr);
  EXPECT_TRUE(b.IsEmpty());
  PixMapWorld w(2, 2, k32ARGBPixelFormat);
  (*w.mPixMap)->rowBytesLong = 0;
  MacPixMapFrameBuffer noRows(w.mPixMap);
  (*w.mPixMap)->baseAddr = nullptr;
  MacPixMapFrameBuffer noPixels(w.mPixMap);
  EXPECT_THAT(MaskedLines(tail),
              ElementsAre(V("hPixMap", "MacPixMapFrameBuffer::Construct"),
                          V("Construct(hPixMap)", "MacPixMapFrameBuffer::MacPixMapFrameBuffer"),
                          V("RowBytes = QPixMap_GetRowBytes(hPixMap)", "MacPixMapFrameBuffer::Construct"),
                          V("Construct(hPixMap)", "MacPixMapFrameBuffer::MacPixMapFrameBuffer"),
                          V("Pixels = (XFramePixels)GetPixBaseAddr(hPixMap)", "MacPixMapFrameBuffer::Construct"),
                          V("Construct(hPixMap)", "MacPixMapFrameBuffer::MacPixMapFrameBuffer")));
  LogTail gamma;
  MacPixMapFrameBuffer unbound;
  EXPECT_FALSE(unbound.SetRequestedGammaLevel());
  EXPECT_THAT(MaskedLines(gamma), ElementsAre(V("mPixMap", "MacPixMapFrameBuffer::SetRequestedGammaLevel")));
}

TEST(MacPixMapFrameBuffer, FieldsFromTheDescription) {
  struct Case {
    UInt8 fields, detail;
    SInt32 expected;
  };
  for (Case const c : {Case{1, 0, 1}, Case{2, 1, 258}, Case{2, 9, 258}, Case{2, 6, 514},
                       Case{2, 14, 514}, Case{2, 3, 2}, Case{3, 1, 0}}) {
    QImageDescription d(FOUR_CHAR_CODE("2vuy"));
    FieldInfoImageDescriptionExtension2 const fiel{c.fields, c.detail};
    ASSERT_TRUE(d.AddExtension(fiel, 'fiel'));
    MacPixMapFrameBuffer b;
    b.Fields = 77;
    b.SetFramePropertiesWithImageDescription(d);
    EXPECT_EQ(c.expected, b.Fields) << int(c.fields) << "/" << int(c.detail);
  }
  MacPixMapFrameBuffer b;
  b.Fields = 77;
  b.SetFramePropertiesWithImageDescription(QImageDescription(FOUR_CHAR_CODE("2vuy")));
  EXPECT_EQ(0, b.Fields);
}

TEST(MacPixMapFrameWorld, OwnWorldsAliasesAndFields) {
  MacPixMapFrameWorld w;
  ASSERT_TRUE(w.Construct(8, 6, FOUR_CHAR_CODE("RYUV")));
  EXPECT_EQ(k4444YpCbCrA8RPixelFormat, QPixMap_GetPixelFormat(w.mLockedPixMap));
  EXPECT_EQ(8, w.Width);
  LogTail tail;
  EXPECT_FALSE(w.Construct(4, 4, FOUR_CHAR_CODE("8RGB")));  // not empty
  EXPECT_THAT(MaskedLines(tail), ElementsAre(V("IsEmpty()", "MacPixMapFrameWorld::ConstructGWorld")));
  MacPixMapFrameWorld same;
  ASSERT_TRUE(same.Construct(w));
  EXPECT_EQ(FOUR_CHAR_CODE("RYUV"), same.PixelType);
  EXPECT_NE(w.Pixels, same.Pixels);
  EXPECT_TRUE(w.SetNewWidthHeight(8, 6));
  EXPECT_TRUE(w.SetNewWidthHeight(10, 2));
  EXPECT_EQ(10, w.Width);
  EXPECT_EQ(FOUR_CHAR_CODE("RYUV"), w.PixelType);

  QGWorld port(Point{6, 4}, k32ARGBPixelFormat);
  MacPixMapFrameWorld bottom;
  ASSERT_TRUE(bottom.ConstructFieldAlias(port.GetGWorld(), 1));
  EXPECT_EQ(3, bottom.Height);
  EXPECT_EQ(32, bottom.RowBytes);
  EXPECT_EQ(reinterpret_cast<XFramePixels>(GetPixBaseAddr(port.GetPixMap())) + 16, bottom.Pixels);
  LogTail bad;
  MacPixMapFrameWorld other;
  EXPECT_FALSE(other.ConstructFieldAlias(port.GetGWorld(), 2));
  EXPECT_THAT(MaskedLines(bad), ElementsAre(V("(field_order==1) || (field_order==0)",
                                              "MacPixMapFrameWorld::ConstructFieldAlias")));
  MacPixMapFrameWorld alias;
  ASSERT_TRUE(alias.ConstructFrameBufferAlias(w));
  EXPECT_EQ(w.Pixels, alias.Pixels);
  EXPECT_EQ(FOUR_CHAR_CODE("RYUV"), alias.PixelType);
  alias.Destruct();
  EXPECT_TRUE(alias.IsEmpty());
  EXPECT_FALSE(alias.IsConstructed());
}

TEST(MacPixMapFrameWorld, EraseAndCopyBits) {
  MacPixMapFrameWorld w;
  ASSERT_TRUE(w.Construct(4, 2, FOUR_CHAR_CODE("8RGB")));
  w.QDErasePixels(Rect{0, 1, 2, 3});
  EXPECT_EQ(0, w.RowStart(0)[0]);
  EXPECT_EQ(0xFF, w.RowStart(1)[4]);
  EXPECT_EQ(0, w.RowStart(1)[12]);
  QGWorld port(Point{2, 4}, k32ARGBPixelFormat);
  w.CopyBits(port.GetGWorld(), Rect{0, 0, 2, 4}, srcCopy);
  EXPECT_EQ(0xFF, reinterpret_cast<UInt8*>(GetPixBaseAddr(port.GetPixMap()))[4]);
}

TEST(MacAltivecFrameWorld, PaddedAlignedMemory) {
  MacAltivecFrameWorld w;
  QRect rect(0, 0, 480, 720);
  ASSERT_TRUE(w.ConstructVecFrame(rect, FOUR_CHAR_CODE("8RGB")));
  EXPECT_EQ(2944, w.RowBytes);
  EXPECT_EQ(w.mMemory.FrameStart(), w.Pixels);
  EXPECT_EQ(0u, reinterpret_cast<std::uintptr_t>(w.Pixels) % 16);
  EXPECT_TRUE(w.SetNewWidthHeight(352, 240));  // rebuilt over padded memory again
  EXPECT_EQ((352 + 8) * 4 + 32, w.RowBytes);
  EXPECT_EQ(w.mMemory.FrameStart(), w.Pixels);
  w.Empty();
  EXPECT_EQ(nullptr, w.mMemory.m_base_malloc);
  EXPECT_TRUE(w.IsEmpty());
}

TEST(QPixMapFrameResize, EntryPointsRunTheFilters) {
  PixMapWorld src(9, 7, k32ARGBPixelFormat), a(5, 4, k32ARGBPixelFormat), b(5, 4, k32ARGBPixelFormat),
      n(5, 4, k32ARGBPixelFormat), n2(5, 4, k32ARGBPixelFormat);
  std::mt19937 random(3);
  for (long y = 0; y < 7; ++y)
    for (long x = 0; x < 9 * 4; ++x) src.Pixel(0, y)[x] = UInt8(random());
  EXPECT_TRUE(QPixMap_ResizeHorizontal32(a.mPixMap, src.mPixMap));
  EXPECT_TRUE(QPixMap_Copy32Bilinear(b.mPixMap, src.mPixMap));
  // The frame resize follows the pixmap resize's rule exactly.
  PixMapWorld reference(5, 4, k32ARGBPixelFormat);
  ASSERT_TRUE(QPixMap_Resize_ARGB32_Bilinear(reference.mPixMap, src.mPixMap));
  for (long y = 0; y < 4; ++y) {
    EXPECT_EQ(reference.Get(0, y, 20), a.Get(0, y, 20));
    EXPECT_EQ(reference.Get(0, y, 20), b.Get(0, y, 20));
  }
  EXPECT_TRUE(QPixMap_Copy32NearestPixel(n.mPixMap, src.mPixMap));
  MacPixMapFrameBuffer const from(src.mPixMap), to(n2.mPixMap);
  ASSERT_TRUE(XFrame_ResizeNearestPixel(from, to));
  for (long y = 0; y < 4; ++y) EXPECT_EQ(n2.Get(0, y, 20), n.Get(0, y, 20));
  EXPECT_EQ(src.Get(0, 0, 4), n.Get(0, 0, 4));
}
