#include "QGWorld.h"
#include "QPixMap.h"

#include "LogLines.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <vector>

using QClasses::QPoint;
using QClasses::QRect;
using QClasses::QSize;
using tavelo_test::LogTail;
using tavelo_test::MaskedLines;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {
std::string V(std::string const& code, std::string const& function) {
  return tavelo_test::Verify(code, "QClasses/QGWorld", function);
}
std::vector<unsigned char> Bytes(QGWorld const& w) {
  auto* base = reinterpret_cast<unsigned char*>(GetPixBaseAddr(w.GetPixMap()));
  return std::vector<unsigned char>(base, base + QPixMap_PixelDataSizeBytes(w.GetPixMap()));
}
}  // namespace

TEST(QGWorld, ANewWorldIsLockedAndSized) {
  QGWorld w(Point{3, 5}, k32ARGBPixelFormat);
  ASSERT_TRUE(w.IsConstructed());
  EXPECT_EQ(1, (*w.GetPixMap())->lockCount);
  EXPECT_EQ(QRect(0, 0, 3, 5), w.Bounds());
  EXPECT_EQ(QPoint(5, 3), w.Dimensions());
  EXPECT_EQ(5, w.SizePixels().width);
  EXPECT_EQ(3, w.SizePixels().height);
  EXPECT_EQ(k32ARGBPixelFormat, w.GetPixelFormat());
  EXPECT_TRUE(w.IsSizePixelFormat(QRect(10, 10, 13, 15), k32ARGBPixelFormat));
  EXPECT_FALSE(w.IsSizePixelFormat(QRect(10, 10, 13, 15), k24RGBPixelFormat));
  QGWorld same(w);
  EXPECT_TRUE(same.IsSizePixelFormat(w.Bounds(), k32ARGBPixelFormat));
  EXPECT_NE(GetPixBaseAddr(w.GetPixMap()), GetPixBaseAddr(same.GetPixMap()));
  QGWorld sized;
  EXPECT_TRUE(sized.Construct(QSize{7, 2}, FOUR_CHAR_CODE("2vuy")));
  EXPECT_EQ(QPoint(7, 2), sized.Dimensions());
}

TEST(QGWorld, FailuresAreLoggedAndConstructorsThrow) {
  LogTail tail;
  QGWorld w;
  EXPECT_FALSE(w.Construct(Point{2, 2}, FOUR_CHAR_CODE("nope")));
  EXPECT_FALSE(w.IsConstructed());
  EXPECT_EQ(0u, w.GetPixelFormat());
  EXPECT_THROW(w.Bounds(), CoreException);
  EXPECT_THROW(QGWorld(Point{2, 2}, FOUR_CHAR_CODE("nope")), CoreException);
  auto const lines = MaskedLines(tail);
  ASSERT_EQ(3u, lines.size());
  EXPECT_EQ("VERIFY_ERR FAILED: OSErr:-157  code : err in /Code/sdk/QClasses/QGWorld:N (QGWorld::Construct)",
            lines[0]);
  EXPECT_EQ(V("mGWorld", "QGWorld::GetPixelFormat"), lines[1]);
  EXPECT_EQ(lines[0], lines[2]);
  try {
    QGWorld bad(Point{2, 2}, 0);
  } catch (CoreException const& e) {
    EXPECT_STREQ("Nil exception pointer", e.what());
  }
}

TEST(QGWorld, FillOpaqueBlackKeepsTheLowByteRule) {
  QGWorld argb(Point{2, 3}, k32ARGBPixelFormat);
  QPixMap_FillColor32(argb.GetPixMap(), 0xFFFFFFFF);
  EXPECT_TRUE(argb.FillOpaqueBlack());
  for (auto b : Bytes(argb)) EXPECT_EQ(0, b);  // alpha 0 too
  QGWorld rgb(Point{1, 2}, k24RGBPixelFormat);
  QPixMap_FillColor_RGB_24(rgb.GetPixMap(), 0x123456);
  EXPECT_TRUE(rgb.FillOpaqueBlack());
  EXPECT_EQ(0, Bytes(rgb)[0] | Bytes(rgb)[4] | Bytes(rgb)[5]);
  QGWorld yuv(Point{2, 2}, FOUR_CHAR_CODE("2vuy"));
  QPixMap_FillPixelARGB32(yuv.GetPixMap(), 0x5A);
  LogTail tail;
  EXPECT_FALSE(yuv.FillOpaqueBlack());
  for (auto b : Bytes(yuv)) EXPECT_EQ(0x5A, b);
  EXPECT_FALSE(yuv.FillTransparentBlack());
  EXPECT_THAT(MaskedLines(tail), ElementsAre(V("k32ARGBPixelFormat == GetPixelFormat()",
                                               "QGWorld::FillTransparentBlack")));
  QPixMap_FillColor32(argb.GetPixMap(), 0x80112233);
  EXPECT_TRUE(argb.FillTransparentBlack());
  for (auto b : Bytes(argb)) EXPECT_EQ(0, b);
}

TEST(QGWorld, AliasesOverMemoryARecordAPixMapAndARectangle) {
  std::vector<char> memory(4 * 40, 0);
  QGWorld w;
  LogTail tail;
  EXPECT_FALSE(w.ConstructAlias(nullptr, 40, Point{4, 10}, k32ARGBPixelFormat));
  EXPECT_FALSE(w.ConstructAlias(memory.data(), 0, Point{4, 10}, k32ARGBPixelFormat));
  EXPECT_THAT(MaskedLines(tail), ElementsAre(V("inBaseAddr", "QGWorld::ConstructAlias"),
                                             V("inRowBytes", "QGWorld::ConstructAlias")));
  tagQGWorldData const data{k32ARGBPixelFormat, 10, 4, 40, memory.data()};
  ASSERT_TRUE(w.ConstructAlias(data));
  EXPECT_EQ(memory.data(), GetPixBaseAddr(w.GetPixMap()));
  EXPECT_EQ(0, (*w.GetPixMap())->lockCount);  // an alias does not lock
  QGWorld overMap;
  ASSERT_TRUE(overMap.ConstructAlias(w.GetPixMap()));
  EXPECT_EQ(memory.data(), GetPixBaseAddr(overMap.GetPixMap()));
  EXPECT_EQ(40, QTGetPixMapHandleRowBytes(overMap.GetPixMap()));
  QGWorld whole;
  ASSERT_TRUE(whole.ConstructAlias(w));
  EXPECT_EQ(QPoint(10, 4), whole.Dimensions());
  QGWorld part;
  ASSERT_TRUE(part.ConstructAliasOverRect(w, QRect(1, 2, 3, 7)));
  EXPECT_EQ(memory.data() + 40 + 8, GetPixBaseAddr(part.GetPixMap()));
  EXPECT_EQ(QPoint(5, 2), part.Dimensions());
  EXPECT_EQ(40, QTGetPixMapHandleRowBytes(part.GetPixMap()));
  LogTail tail2;
  QGWorld empty, target;
  EXPECT_FALSE(target.ConstructAliasOverRect(empty, QRect(0, 0, 1, 1)));
  EXPECT_FALSE(target.ConstructAlias(static_cast<PixMap**>(nullptr)));
  EXPECT_THAT(MaskedLines(tail2),
              ElementsAre(V("inAliasThisWorld.IsConstructed()", "QGWorld::ConstructAliasOverRect"),
                          V("hPixMap", "QGWorld::ConstructAlias")));
}

TEST(QGWorld, AliasOverAnImageDescriptionTakesItsRowBytes) {
  std::vector<char> memory(100, 0);
  QImageDescription yuv(FOUR_CHAR_CODE("2vuy"));
  yuv.SetWidthHeight(6, 4);
  (*yuv.mHandle)->dataSize = 4 * 16;
  QGWorld w(memory.data(), yuv.mHandle);  // 'rowb' worked out: 64 / 4
  EXPECT_EQ(16, QTGetPixMapHandleRowBytes(w.GetPixMap()));
  EXPECT_EQ(FOUR_CHAR_CODE("2vuy"), w.GetPixelFormat());
  EXPECT_EQ(QPoint(6, 4), w.Dimensions());
  QImageDescription argb(k32ARGBPixelFormat);
  argb.SetWidthHeight(2, 2);
  LogTail tail;
  QGWorld target;
  EXPECT_FALSE(target.ConstructAlias(memory.data(), argb.mHandle));
  EXPECT_FALSE(target.ConstructAlias(memory.data(), static_cast<ImageDescription**>(nullptr)));
  EXPECT_FALSE(target.ConstructAlias(nullptr, argb.mHandle));
  EXPECT_THAT(MaskedLines(tail),
              ElementsAre(V("imageDescription.GetExtension_rowb(useRowBytes)", "QGWorld::ConstructAlias"),
                          V("hImageDescription", "QGWorld::ConstructAlias"),
                          V("inBaseAddr", "QGWorld::ConstructAlias")));
  EXPECT_THROW(QGWorld(memory.data(), argb.mHandle), CoreException);
  ASSERT_TRUE(argb.AddExtension_rowb(8));
  EXPECT_TRUE(target.ConstructAlias(memory.data(), argb.mHandle));
  EXPECT_EQ(8, QTGetPixMapHandleRowBytes(target.GetPixMap()));
}

TEST(QGWorld, DescriptionsAndTheirOddResults) {
  QGWorld w(Point{3, 4}, k32ARGBPixelFormat);
  QImageDescription d;
  LogTail tail;
  EXPECT_FALSE(w.GetImageDescription(d, false));  // complete, yet false
  EXPECT_EQ(4, d.Width());
  long rowBytes = 0;
  EXPECT_TRUE(d.GetExtension_rowb(rowBytes));
  EXPECT_EQ(16, rowBytes);
  EXPECT_TRUE(w.GetImageDescription(d, true));
  unsigned char* data = nullptr;
  long size = 0;
  QImageDescription dd;
  EXPECT_FALSE(w.GetDataDescription(dd, data, size));
  EXPECT_EQ(reinterpret_cast<unsigned char*>(GetPixBaseAddr(w.GetPixMap())), data);
  EXPECT_EQ(48, size);
  EXPECT_EQ(3, dd.Height());
  EXPECT_EQ(k32ARGBPixelFormat, dd.GetPixelFormat());
  EXPECT_THAT(MaskedLines(tail), ElementsAre(V("fOk = GetImageDescription(outDescription)",
                                               "QGWorld::GetDataDescription")));
}

