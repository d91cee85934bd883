#include "namespace_OpenGL_ReadPixels.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <random>
#include <vector>

using namespace OpenGL::ReadPixels;

namespace {

using Pixel = std::array<std::uint8_t, 4>;

// Source pixel (row, column) as read: X, R, G, B, every byte telling where it came from.
Pixel Source(unsigned long row, unsigned long column) {
  return {std::uint8_t(0x10 + row), std::uint8_t(3 * column + 1), std::uint8_t(0x80 + row),
          std::uint8_t(0xF0 - column)};
}

std::vector<std::uint8_t> Frame(unsigned long width, unsigned long rows) {
  std::vector<std::uint8_t> frame(width * rows * 4);
  for (unsigned long r = 0; r < rows; ++r)
    for (unsigned long c = 0; c < width; ++c) {
      Pixel const p = Source(r, c);
      std::copy(p.begin(), p.end(), frame.begin() + long((r * width + c) * 4));
    }
  return frame;
}

Pixel At(std::vector<std::uint8_t> const& frame, unsigned long width, unsigned long row,
         unsigned long column) {
  auto const at = frame.begin() + long((row * width + column) * 4);
  return {at[0], at[1], at[2], at[3]};
}

Pixel P(int a, int b, int c, int d) {
  return {std::uint8_t(a), std::uint8_t(b), std::uint8_t(c), std::uint8_t(d)};
}

// Runs every test once on the scalar path and once through the vector unit.
class ReadPixelsTest : public testing::TestWithParam<bool> {
 protected:
  void SetUp() override {
    mSaved = UseVectorUnit();
    if (GetParam() && !VectorUnitAvailable()) GTEST_SKIP() << "no SSSE3 on this processor";
    SetUseVectorUnit(GetParam());
    ASSERT_EQ(UseVectorUnit(), GetParam());
  }
  void TearDown() override { SetUseVectorUnit(mSaved); }

  bool mSaved = false;
};

TEST_P(ReadPixelsTest, RowBytesAreFourAPixel) {
  EXPECT_EQ(scanline_row_bytes_from_frame_pixel_width(10), 40ul);
  EXPECT_EQ(scanline_row_bytes_from_frame_pixel_width(1920), 7680ul);
  EXPECT_EQ(scanline_row_bytes_from_frame_pixel_width(0), 0ul);
}

TEST_P(ReadPixelsTest, TenPixelsWideGivesEightBulkPixelsAndTwoRotatedOnes) {
  unsigned long const width = 10, rows = 2;
  auto frame = Frame(width, rows);
  _swizzle_framebuffer_GL_BGRX_to_RGBA(frame.data(), rows, width * 4, true, false);
  for (unsigned long r = 0; r < rows; ++r) {
    unsigned long const from = rows - 1 - r;
    for (unsigned long c = 0; c < 8; ++c) {
      Pixel const s = Source(from, c);
      EXPECT_EQ(At(frame, width, r, c), P(s[1], s[2], s[3], 255)) << r << "," << c;
    }
    for (unsigned long c = 8; c < 10; ++c) {
      Pixel const s = Source(from, c);
      EXPECT_EQ(At(frame, width, r, c), P(255, s[2], s[3], s[0])) << r << "," << c;
    }
  }
  // One pixel spelled out: row 1 came from row 0, column 9 is X=0x10 R=28 G=0x80 B=0xE7.
  EXPECT_EQ(At(frame, width, 1, 9), P(255, 0x80, 0xE7, 0x10));
  EXPECT_EQ(At(frame, width, 1, 7), P(22, 0x80, 0xE9, 255));
}

TEST_P(ReadPixelsTest, OddHeightLeavesTheMiddleRowAsRead) {
  unsigned long const width = 5, rows = 3;
  auto frame = Frame(width, rows);
  auto const original = frame;
  _swizzle_framebuffer_GL_BGRX_to_RGBA(frame.data(), rows, width * 4, true, false);
  for (unsigned long c = 0; c < width; ++c) EXPECT_EQ(At(frame, width, 1, c), At(original, width, 1, c));
  // Outer rows swapped and reordered: 4 bulk pixels and one tail pixel each.
  for (unsigned long c = 0; c < 4; ++c) {
    Pixel const s2 = Source(2, c), s0 = Source(0, c);
    EXPECT_EQ(At(frame, width, 0, c), P(s2[1], s2[2], s2[3], 255));
    EXPECT_EQ(At(frame, width, 2, c), P(s0[1], s0[2], s0[3], 255));
  }
  Pixel const s2 = Source(2, 4), s0 = Source(0, 4);
  EXPECT_EQ(At(frame, width, 0, 4), P(255, s2[2], s2[3], s2[0]));
  EXPECT_EQ(At(frame, width, 2, 4), P(255, s0[2], s0[3], s0[0]));
}

TEST_P(ReadPixelsTest, SingleRowWithFlipIsItsOwnMiddleRow) {
  auto frame = Frame(8, 1);
  auto const original = frame;
  _swizzle_framebuffer_GL_BGRX_to_RGBA(frame.data(), 1, 32, true, false);
  EXPECT_EQ(frame, original);
}

TEST_P(ReadPixelsTest, WithoutFlipEveryRowIsReorderedInPlace) {
  unsigned long const width = 6, rows = 3;
  auto frame = Frame(width, rows);
  _swizzle_framebuffer_GL_BGRX_to_RGBA(frame.data(), rows, width * 4, false, false);
  for (unsigned long r = 0; r < rows; ++r) {
    for (unsigned long c = 0; c < width; ++c) {
      Pixel const s = Source(r, c);
      Pixel const want = c < 4 ? P(s[1], s[2], s[3], 255) : P(255, s[2], s[3], s[0]);
      EXPECT_EQ(At(frame, width, r, c), want) << r << "," << c;
    }
  }
}

TEST_P(ReadPixelsTest, FlipHorizontalReversesEachRowWithTheSameMapping) {
  unsigned long const width = 10, rows = 2;
  auto frame = Frame(width, rows);
  _swizzle_framebuffer_GL_BGRX_to_RGBA(frame.data(), rows, width * 4, true, true);
  for (unsigned long r = 0; r < rows; ++r) {
    unsigned long const from = rows - 1 - r;
    for (unsigned long c = 0; c < width; ++c) {
      unsigned long const source = width - 1 - c;
      Pixel const s = Source(from, source);
      Pixel const want = source < 8 ? P(s[1], s[2], s[3], 255) : P(255, s[2], s[3], s[0]);
      EXPECT_EQ(At(frame, width, r, c), want) << r << "," << c;
    }
  }
}

TEST_P(ReadPixelsTest, RowsNarrowerThanFourPixelsAreAllTail) {
  unsigned long const width = 3;
  auto frame = Frame(width, 1);
  swizzle_scanline_GL_BGRX_to_RGBA(Frame(width, 1).data(), frame.data(), width * 4);
  for (unsigned long c = 0; c < width; ++c) {
    Pixel const s = Source(0, c);
    EXPECT_EQ(At(frame, width, 0, c), P(255, s[2], s[3], s[0]));
  }
}

TEST_P(ReadPixelsTest, TheOtherChannelOrders) {
  unsigned long const width = 6, rows = 2;
  struct Case {
    void (*fn)(void*, unsigned long, unsigned long, bool, bool);
    Pixel (*want)(Pixel const&);
  } const cases[] = {
      {_swizzle_framebuffer_GL_BGRA_to_RGBA, [](Pixel const& s) { return P(s[1], s[2], s[3], s[0]); }},
      {_swizzle_framebuffer_GL_BGRX_to_ARGB, [](Pixel const& s) { return P(255, s[1], s[2], s[3]); }},
      {_swizzle_framebuffer_GL_BGRA_to_ARGB, [](Pixel const& s) { return P(s[0], s[1], s[2], s[3]); }},
  };
  for (Case const& k : cases) {
    for (bool const flipLR : {false, true}) {
      auto frame = Frame(width, rows);
      k.fn(frame.data(), rows, width * 4, true, flipLR);
      for (unsigned long r = 0; r < rows; ++r)
        for (unsigned long c = 0; c < width; ++c) {
          Pixel const s = Source(rows - 1 - r, flipLR ? width - 1 - c : c);
          EXPECT_EQ(At(frame, width, r, c), k.want(s)) << r << "," << c << " LR " << flipLR;
        }
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Paths, ReadPixelsTest, testing::Values(false, true),
                         [](testing::TestParamInfo<bool> const& info) {
                           return info.param ? std::string("Vector") : std::string("Scalar");
                         });

// Both paths give the same bytes on an odd-sized picture with noise in it.
TEST(ReadPixelsPaths, VectorAndScalarAgree) {
  if (!VectorUnitAvailable()) GTEST_SKIP() << "no SSSE3 on this processor";
  bool const saved = UseVectorUnit();
  unsigned long const width = 1923, rows = 7;
  std::vector<std::uint8_t> noise(width * rows * 4);
  std::mt19937 random(7);
  for (auto& b : noise) b = std::uint8_t(random());
  for (bool const flipV : {false, true})
    for (bool const flipH : {false, true}) {
      auto scalar = noise, vector = noise;
      SetUseVectorUnit(false);
      _swizzle_framebuffer_GL_BGRX_to_RGBA(scalar.data(), rows, width * 4, flipV, flipH);
      SetUseVectorUnit(true);
      _swizzle_framebuffer_GL_BGRX_to_RGBA(vector.data(), rows, width * 4, flipV, flipH);
      EXPECT_EQ(scalar, vector) << flipV << flipH;
      EXPECT_NE(scalar, noise);
    }
  SetUseVectorUnit(saved);
}

}  // namespace
