// The vector variants against the scalar rules, byte for byte, on random frames.
#include "XFrameOperations.h"
#include "XFrameTestFrame.h"

#include <gtest/gtest.h>

#include <functional>

using tavelo_test::TestFrame;
using Bytes = std::vector<std::uint8_t>;

namespace {

struct Shape {
  int width, height, rowBytes, offset;
};

// Sizes odd and even, rows aligned (stride a multiple of 16 at a 16-byte start) or not.
Shape RandomShape(std::mt19937& random) {
  int const width = 1 + int(random() % 70);
  int const height = 2 + int(random() % 40);
  bool const aligned = random() % 3 != 0;
  int const minimum = width * 4;
  int const rowBytes = aligned ? (minimum + 15) / 16 * 16 + 16 * int(random() % 2)
                               : minimum + 1 + int(random() % 13);
  int const offset = aligned ? 16 * int(random() % 3) : 1 + int(random() % 15);
  return {width, height, rowBytes, offset};
}

// Runs `make` at vector level 0 and at every level the processor has; all outputs agree.
void ExpectSameAtEveryLevel(std::function<Bytes()> const& make, std::string const& what) {
  XFrame_SetVectorLevel(0);
  Bytes const scalar = make();
  for (int level = 1; level <= 2; ++level) {
    if (XFrame_SetVectorLevel(level) != level) break;
    ASSERT_EQ(scalar, make()) << what << " at level " << level;
  }
  XFrame_SetVectorLevel(99);
}

}  // namespace

TEST(XFrameVectorProperty, FiltersGiveTheScalarBytes) {
  std::mt19937 random(20261124);
  for (int c = 0; c < 300; ++c) {
    Shape const s = RandomShape(random);
    int const height = s.height + s.height % 2;  // the blends want an even height
    TestFrame src(s.width, height, s.rowBytes, s.offset);
    src.FillRandom(random);
    std::string const what = std::to_string(s.width) + "x" + std::to_string(height) + " rb " +
                             std::to_string(s.rowBytes) + " +" + std::to_string(s.offset);
    auto run = [&](std::function<bool(XFrameBuffer const&, XFrameBuffer const&)> const& f) {
      return [&, f] {
        TestFrame dst(s.width, height, s.rowBytes, s.offset);
        EXPECT_TRUE(f(src.mBuffer, dst.mBuffer));
        return dst.Pixels();
      };
    };
    ExpectSameAtEveryLevel(run([](auto const& a, auto const& b) {
                             return XFrame_BlendFields(a, b, {kXFrameFilter_BlendFieldsTypeA});
                           }), "blend A " + what);
    ExpectSameAtEveryLevel(run([](auto const& a, auto const& b) {
                             return XFrame_BlendFields(a, b, {kXFrameFilter_BlendFieldsTypeB});
                           }), "blend B " + what);
    int const field = int(random() % 2);
    ExpectSameAtEveryLevel(run([field](auto const& a, auto const& b) {
                             return XFrame_OneFieldOnly(a, b, field);
                           }), "one field " + what);
    int const dw = 1 + int(random() % 50), dh = 1 + int(random() % 30);
    int const drb = (s.offset % 16 == 0) ? (dw * 4 + 15) / 16 * 16 : dw * 4 + 3;
    ExpectSameAtEveryLevel([&] {
      TestFrame dst(dw, dh, drb, s.offset % 16 == 0 ? 0 : 4);
      EXPECT_TRUE(XFrame_ResizeBilinear(src.mBuffer, dst.mBuffer));
      return dst.Pixels();
    }, "bilinear " + what);
  }
}

TEST(XFrameVectorProperty, VariantsGiveTheirScalarRules) {
  std::mt19937 random(7);
  for (int c = 0; c < 200; ++c) {
    Shape s = RandomShape(random);
    s.rowBytes = (s.width * 4 + 15) / 16 * 16;  // the variants want aligned rows
    s.offset = 0;
    TestFrame a(s.width, s.height, s.rowBytes), b(s.width, s.height, s.rowBytes);
    a.FillRandom(random);
    b.FillRandom(random);
    float const wa = float(random() % 300) / 100.0f - 0.5f, wb = float(random() % 200) / 100.0f;
    for (int level = 1; level <= 2; ++level) {
      if (XFrame_SetVectorLevel(level) != level) break;
      TestFrame v(s.width, s.height, s.rowBytes), r(s.width, s.height, s.rowBytes);
      ASSERT_TRUE(XFrame_DifferenceDelta_Altivec(a.mBuffer, b.mBuffer, v.mBuffer));
      ASSERT_TRUE(XFrame_DifferenceDelta_Scalar(a.mBuffer, b.mBuffer, r.mBuffer));
      ASSERT_EQ(r.Pixels(), v.Pixels()) << "difference, level " << level;
      ASSERT_TRUE(XFrame_BlendFrames_Altivec(a.mBuffer, wa, b.mBuffer, wb, v.mBuffer));
      ASSERT_TRUE(XFrame_BlendFrames_Scalar(a.mBuffer, wa, b.mBuffer, wb, r.mBuffer));
      ASSERT_EQ(r.Pixels(), v.Pixels()) << "blend frames " << wa << " " << wb << ", level " << level;
      double dv = -1, dr = -2;
      ASSERT_TRUE(XFrame_DeInterlaceAdaptive_Altivec(a.mBuffer, v.mBuffer, dv));
      dr = XFrame_DeInterlaceAdaptive_Scalar(a.mBuffer, r.mBuffer);
      ASSERT_EQ(r.Pixels(), v.Pixels()) << "adaptive, level " << level;
      ASSERT_EQ(dr, dv);
      TestFrame swapV(s.width, s.height, s.rowBytes), swapR(s.width, s.height, s.rowBytes);
      ASSERT_TRUE(XFrame_CopyBufferMemory(a.mBuffer, swapV.mBuffer));
      ASSERT_TRUE(XFrame_CopyBufferMemory(a.mBuffer, swapR.mBuffer));
      ASSERT_TRUE(XFrame_SwapFields_Altivec(swapV.mBuffer));
      ASSERT_TRUE(XFrame_SwapFields_Scalar(swapR.mBuffer));
      ASSERT_EQ(swapR.Pixels(), swapV.Pixels());
      ASSERT_EQ(a.Row(0), swapV.Row(1));  // heights are at least 2
    }
  }
  // D1 to VCD on full-size frames.
  TestFrame d1(720, 480, 2880);
  d1.FillRandom(random);
  for (bool blend : {false, true})
    for (int level = 1; level <= 2; ++level) {
      if (XFrame_SetVectorLevel(level) != level) break;
      TestFrame v(352, 240, 1408), r(352, 240, 1408);
      ASSERT_TRUE(XFrame_FullD1_2_VCD_Altivec(d1.mBuffer, v.mBuffer, blend));
      ASSERT_TRUE(XFrame_FullD1_2_VCD_Scalar(d1.mBuffer, r.mBuffer, blend));
      ASSERT_EQ(r.Pixels(), v.Pixels());
      if (!blend) {
        ASSERT_EQ(Bytes(d1.mBuffer.RowStart(2) + 32, d1.mBuffer.RowStart(2) + 36),
                  Bytes(v.mBuffer.RowStart(1), v.mBuffer.RowStart(1) + 4));
      }
    }
  XFrame_SetVectorLevel(99);
}
