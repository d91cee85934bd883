#include "XFrameOperations.h"
#include "XFrameTestFrame.h"

#include "FileTestHelpers.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using tavelo_test::LogTail;
using tavelo_test::TestFrame;
using testing::ElementsAre;
using Bytes = std::vector<std::uint8_t>;

namespace {
Bytes RowOf(int width, std::uint8_t v) { return Bytes(size_t(width) * 4, v); }
}  // namespace

TEST(XFrameOperations, DeinterlaceRefusesAnOddHeightOrOtherShapes) {
  TestFrame src(720, 485, 2880), dst(720, 485, 2880);
  EXPECT_FALSE(XFrame_Deinterlace(src.mBuffer, dst.mBuffer, {kXFrameFilter_BlendFieldsTypeA}));
  TestFrame a(8, 4, 32), b(8, 4, 48);
  EXPECT_FALSE(XFrame_Deinterlace(a.mBuffer, b.mBuffer, {kXFrameFilter_BlendFieldsTypeA}));
  TestFrame c(8, 4, 32);
  EXPECT_FALSE(XFrame_Deinterlace(a.mBuffer, c.mBuffer, {0x1 | kXFrameFilter_BlendFieldsTypeA}));
  EXPECT_FALSE(XFrame_Deinterlace(a.mBuffer, c.mBuffer, {0}));
  EXPECT_TRUE(XFrame_Deinterlace(a.mBuffer, c.mBuffer, {kXFrameFilter_TopFieldOnly}));
}

TEST(XFrameOperations, BlendTypesAandB) {
  for (int level : {0, 1, 2}) {
    XFrame_SetVectorLevel(level);
    TestFrame src(4, 12, 16), dst(4, 12, 16);
    Bytes rows(12, 9);
    rows[9] = 1, rows[10] = 3, rows[11] = 4;
    src.FillRows(rows);
    ASSERT_TRUE(XFrame_Deinterlace(src.mBuffer, dst.mBuffer, {kXFrameFilter_BlendFieldsTypeB}));
    EXPECT_EQ(RowOf(4, 3), dst.Row(10));  // (3 + 4) >> 1
    EXPECT_EQ(RowOf(4, 3), dst.Row(11));
    rows[9] = 1, rows[10] = 2, rows[11] = 4;
    src.FillRows(rows);
    ASSERT_TRUE(XFrame_BlendFields(src.mBuffer, dst.mBuffer, {kXFrameFilter_BlendFieldsTypeA}));
    EXPECT_EQ(RowOf(4, 2), dst.Row(10));  // ((1 + 4) >> 1 + 2) >> 1
    EXPECT_EQ(RowOf(4, 3), dst.Row(11));  // below of the last row is itself: ((2+4)>>1 + 4)>>1
  }
  XFrame_SetVectorLevel(99);
}

TEST(XFrameOperations, OneFieldOnlyBottomMovesThePictureUp) {
  TestFrame src(4, 4, 16), dst(4, 4, 16);
  src.FillRows({10, 20, 30, 41});
  ASSERT_TRUE(XFrame_OneFieldOnly(src.mBuffer, dst.mBuffer, 1));
  EXPECT_EQ(RowOf(4, 20), dst.Row(0));
  EXPECT_EQ(RowOf(4, 30), dst.Row(1));  // (20 + 41) >> 1
  EXPECT_EQ(RowOf(4, 41), dst.Row(2));
  EXPECT_EQ(RowOf(4, 41), dst.Row(3));
  ASSERT_TRUE(XFrame_OneFieldOnly(src.mBuffer, dst.mBuffer, 0));
  EXPECT_EQ(RowOf(4, 10), dst.Row(0));
  EXPECT_EQ(RowOf(4, 20), dst.Row(1));  // (10 + 30) >> 1
  EXPECT_EQ(RowOf(4, 30), dst.Row(2));
  EXPECT_EQ(RowOf(4, 30), dst.Row(3));
}

TEST(XFrameOperations, AdaptiveIsNotOfferedFromTheFilter) {
  TestFrame src(4, 4, 16), dst(4, 4, 16);
  EXPECT_FALSE(XFrame_DeInterlaceAdaptive(src.mBuffer, dst.mBuffer, {0}));
}

TEST(XFrameOperations, BlackenFormatsFieldsAndEdges) {
  TestFrame yuv(3, 2, 16, 0, FOUR_CHAR_CODE("RYUV"));
  ASSERT_TRUE(XFrame_Blacken(yuv.mBuffer));
  EXPECT_EQ(Bytes({255, 0, 128, 128, 255, 0, 128, 128, 255, 0, 128, 128}), yuv.Row(0));
  // Rows are taken as packed: the second row's blackening starts right after the first's
  // 12 bytes, inside the first row's padding.
  EXPECT_EQ(Bytes({255, 0, 128, 128}), Bytes(yuv.mBuffer.Pixels + 12, yuv.mBuffer.Pixels + 16));
  EXPECT_EQ(0xEE, yuv.mBuffer.RowStart(1)[8]);
  TestFrame argb(2, 4, 8);
  argb.FillRows({1, 2, 3, 4});
  ASSERT_TRUE(XFrame_BlackenField(argb.mBuffer, 1));
  EXPECT_EQ(RowOf(2, 1), argb.Row(0));
  EXPECT_EQ(RowOf(2, 0), argb.Row(1));
  EXPECT_EQ(RowOf(2, 0), argb.Row(3));
  EXPECT_TRUE(XFrame_BlackenField(argb.mBuffer, 9));
  XFrameBuffer empty;
  EXPECT_FALSE(XFrame_Blacken(empty));
  EXPECT_FALSE(XFrame_BlackenField(empty, 0));
  TestFrame edges(4, 4, 16);
  edges.FillRows({7, 7, 7, 7});
  ASSERT_TRUE(XFrame_BlackenEdges(edges.mBuffer, XFrameEdges{1, 1, 2, 0}));
  EXPECT_EQ(RowOf(4, 0), edges.Row(0));
  Bytes middle = RowOf(4, 7);
  std::fill(middle.begin(), middle.begin() + 4, 0);
  std::fill(middle.begin() + 8, middle.end(), 0);
  EXPECT_EQ(middle, edges.Row(1));
  EXPECT_EQ(middle, edges.Row(3));
}

TEST(XFrameOperations, CopyNeedsTheSameShape) {
  TestFrame a(3, 2, 16), b(3, 2, 16), c(3, 2, 32);
  std::mt19937 random(5);
  a.FillRandom(random);
  ASSERT_TRUE(XFrame_CopyBufferMemory(a.mBuffer, b.mBuffer));
  EXPECT_EQ(a.Pixels(), b.Pixels());
  EXPECT_EQ(0xEE, b.mBuffer.RowStart(0)[12]);  // padding untouched
  LogTail tail;
  EXPECT_FALSE(XFrame_CopyBufferMemory(a.mBuffer, c.mBuffer));
  EXPECT_THAT(tavelo_test::MaskedLines(tail),
              ElementsAre(tavelo_test::Verify("Source==Destination", "CoreX/XFrameOperations",
                                              "XFrame_CopyBufferMemory")));
}

TEST(XFrameOperations, NearestPixelResize) {
  TestFrame src(4, 2, 16), dst(2, 4, 8);
  for (int y = 0; y < 2; ++y)
    for (int x = 0; x < 4; ++x) std::memset(src.mBuffer.RowStart(y) + 4 * x, 10 * y + x, 4);
  ASSERT_TRUE(XFrame_ResizeNearestPixel(src.mBuffer, dst.mBuffer));
  EXPECT_EQ(Bytes({0, 0, 0, 0, 2, 2, 2, 2}), dst.Row(0));
  EXPECT_EQ(Bytes({0, 0, 0, 0, 2, 2, 2, 2}), dst.Row(1));
  EXPECT_EQ(Bytes({10, 10, 10, 10, 12, 12, 12, 12}), dst.Row(2));
}

TEST(XFrameOperations, UnalignedRowsAreDeclinedWithTheirDiagnostics) {
  TestFrame src(4, 4, 20, 4), dst(4, 4, 20, 0);
  if (XFrame_SetVectorLevel(1) == 0) {
    // Built without vector code: the variants decline, quietly.
    LogTail tail;
    EXPECT_FALSE(XFrame_BlendFields_TypeA_Altivec(src.mBuffer, dst.mBuffer));
    EXPECT_TRUE(tail.Lines().empty());
    return;
  }
  LogTail tail;
  EXPECT_FALSE(XFrame_BlendFields_TypeA_Altivec(src.mBuffer, dst.mBuffer));
  EXPECT_THAT(tail.Lines(), ElementsAre("srcrow0 is not aligned on a 16-byte boundary",
                                        "srcrow1 is not aligned on a 16-byte boundary",
                                        "rowbytes is not aligned on a 16-byte boundary"));
  TestFrame s2(4, 4, 32, 0), d2(4, 4, 32, 8);
  LogTail tail2;
  EXPECT_FALSE(XFrame_OneFieldOnly_Altivec(s2.mBuffer, d2.mBuffer, 0));
  EXPECT_THAT(tail2.Lines(), ElementsAre("destrow0 is not aligned on a 16-byte boundary"));
  TestFrame s3(4, 4, 32, 0), d3(4, 4, 32, 0);
  LogTail quiet;
  EXPECT_TRUE(XFrame_OneFieldOnly_Altivec(s3.mBuffer, d3.mBuffer, 0));
  EXPECT_TRUE(quiet.Lines().empty());
  XFrame_SetVectorLevel(99);
}
