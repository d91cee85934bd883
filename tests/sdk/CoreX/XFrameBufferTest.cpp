#include "XFrameBuffer.h"
#include "XFrameBufferMemory.h"

#include "FileTestHelpers.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>

using tavelo_test::LogTail;
using testing::ElementsAre;

namespace {
XFrameBuffer Sized(int width, int height, int fields = 0) {
  XFrameBuffer b;
  b.Width = width;
  b.Height = height;
  b.Fields = fields;
  return b;
}
}  // namespace

TEST(XFrameBuffer, ANewBufferIsEmpty) {
  XFrameBuffer const b;
  EXPECT_EQ(0, b.Width);
  EXPECT_EQ(0, b.Height);
  EXPECT_EQ(0, b.Fields);
  EXPECT_EQ(nullptr, b.Pixels);
  EXPECT_EQ(0, b.PelBytes);
  EXPECT_EQ(FOUR_CHAR_CODE("0000"), b.PixelType);
  EXPECT_TRUE(b.IsEmpty());
}

TEST(XFrameBuffer, FrameTypes) {
  EXPECT_EQ(9, Sized(720, 576).FrameTypeOf());
  EXPECT_EQ(0, Sized(721, 576).FrameTypeOf());
  EXPECT_EQ(6, Sized(720, 480).FrameTypeOf());
  EXPECT_EQ(3, Sized(640, 486).FrameTypeOf());
  EXPECT_EQ(10, Sized(768, 576).FrameTypeOf());
  EXPECT_EQ(16, Sized(1920, 1152).FrameTypeOf());
}

TEST(XFrameBuffer, TwoFieldsFromTheFieldsWordOrTheSize) {
  EXPECT_FALSE(Sized(352, 240).HasTwoFields());
  EXPECT_FALSE(Sized(352, 288).HasTwoFields());
  EXPECT_TRUE(Sized(640, 480).HasTwoFields());   // type 3
  EXPECT_TRUE(Sized(1280, 720).HasTwoFields());  // type 14: the height rule
  EXPECT_TRUE(Sized(352, 480).HasTwoFields());   // type 5: the height rule
  EXPECT_FALSE(Sized(720, 479).HasTwoFields());
  EXPECT_TRUE(Sized(1920, 1152).HasTwoFields());  // type 16: above 15, height rule
  EXPECT_FALSE(Sized(720, 480, 1).HasTwoFields());
  EXPECT_FALSE(Sized(1920, 1080, 1).HasTwoFields());
  EXPECT_TRUE(Sized(100, 100, 258).HasTwoFields());
  EXPECT_TRUE(Sized(100, 100, 514).HasTwoFields());
}

TEST(XFrameBuffer, CropsAndFields) {
  std::vector<std::uint8_t> memory(720 * 4 * 485);
  XFrameBuffer b = Sized(720, 485);
  b.PixelType = FOUR_CHAR_CODE("8RGB");
  b.Pixels = memory.data();
  b.RowBytes = 2880;
  b.PelBytes = 4;
  b.Fields = 258;
  XFrameBuffer c;
  b.GetCroppedBuffer(c, 8, 2, 8, 3);
  EXPECT_EQ(704, c.Width);
  EXPECT_EQ(480, c.Height);
  EXPECT_EQ(memory.data() + 2 * 2880 + 32, c.Pixels);
  EXPECT_EQ(2880, c.RowBytes);
  EXPECT_EQ(258, c.Fields);
  XFrameBuffer top, bottom;
  b.GetFields(top, bottom);
  EXPECT_EQ(242, top.Height);
  EXPECT_EQ(5760, top.RowBytes);
  EXPECT_EQ(1, top.Fields);
  EXPECT_EQ(720, top.Width);
  EXPECT_EQ(memory.data(), top.Pixels);
  EXPECT_EQ(memory.data() + 2880, bottom.Pixels);
  EXPECT_EQ(242, bottom.Height);
}

TEST(XFrameBuffer, DebugPrint) {
  LogTail tail;
  Sized(720, 480, 258).CoreDebugPrint("frame");
  EXPECT_THAT(tail.Lines(), ElementsAre("-----------", "frame XFrameBuffer Properties",
                                        "Width,Height = (720,480)", "Fields  = 0102"));
}

TEST(XFrameBufferMemory, PaddedAlignedRows) {
  XFrameBufferMemory m;
  ASSERT_TRUE(m.SetFrameDimensions(720, 480));
  EXPECT_EQ(2944, m.FrameStride());
  EXPECT_EQ(m.m_base_malloc + 2960, m.FrameStart());
  EXPECT_EQ(0u, reinterpret_cast<std::uintptr_t>(m.FrameStart()) % 16);
  // The whole block (2944 x 484) is ours to write.
  std::memset(m.m_base_malloc, 1, 2944 * 484);
  m.Empty();
  EXPECT_EQ(nullptr, m.m_base_malloc);
  EXPECT_EQ(nullptr, m.FrameStart());
}

TEST(XFrameBufferMemory, AZeroSizeIsRefused) {
  LogTail tail;
  XFrameBufferMemory m;
  // (width + 8) x 4 + 32 = 0 for a width of -16.
  EXPECT_FALSE(m.SetFrameDimensions(-16, 10));
  EXPECT_THAT(tavelo_test::MaskedLines(tail),
              ElementsAre(tavelo_test::Verify("frame_malloc_size!=0", "CoreX/XFrameBufferMemory",
                                              "XFrameBufferMemory::SetFrameDimensions")));
}

TEST(XFrameBuffer, GammaOfPelFormats) {
  EXPECT_EQ(Fixed(0x0001CCCD), GammaFromPelFormat(FOUR_CHAR_CODE("8RGB")));
  EXPECT_EQ(Fixed(0x00023333), GammaFromPelFormat(FOUR_CHAR_CODE("RYUV")));
  EXPECT_EQ(Fixed(0x0001CCCD), GammaFromPelFormat(FOUR_CHAR_CODE("0000")));
}
