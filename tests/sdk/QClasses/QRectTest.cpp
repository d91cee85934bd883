#include "QRect.h"

#include <gtest/gtest.h>

using QClasses::QPoint;
using QClasses::QRect;
using QClasses::QSize;

namespace {
void ExpectRect(QRect const& r, int t, int l, int b, int rt) {
  EXPECT_EQ(t, r.top);
  EXPECT_EQ(l, r.left);
  EXPECT_EQ(b, r.bottom);
  EXPECT_EQ(rt, r.right);
}
}  // namespace

TEST(QRect, LayoutIsThePlatformRecord) {
  static_assert(sizeof(QRect) == sizeof(Rect));
  static_assert(sizeof(QPoint) == sizeof(Point));
  Rect const platform{1, 2, 3, 4};
  ExpectRect(QRect(platform), 1, 2, 3, 4);
  QPoint const fromSize(QSize{640, 480});
  EXPECT_EQ(480, fromSize.v);
  EXPECT_EQ(640, fromSize.h);
  QPoint const d = QRect(10, 20, 110, 220).Dimensions();
  EXPECT_EQ(100, d.v);
  EXPECT_EQ(200, d.h);
  EXPECT_TRUE(QRect(0, 0, 10, 20).IsSameSize(QRect(5, 5, 15, 25)));
  EXPECT_FALSE(QRect(0, 0, 10, 20).IsSameSize(QRect(0, 0, 10, 21)));
}

TEST(QRect, CenterInAnOddDifferenceLeavesTheResultOneLarger) {
  QRect r;
  r.CenterIn(QRect(0, 0, 50, 101), 100, 50);
  ExpectRect(r, 0, 0, 50, 101);  // dx = 1 / 2 = 0
  r.CenterIn(QRect(10, 10, 110, 110), 50, 40);
  ExpectRect(r, 40, 35, 80, 85);
}

TEST(QRect, CenteredWithinALargerInnerRoundsOffsetsTowardZero) {
  QRect const outer(0, 0, 10, 10);
  // (10 - 13) / 2 = -1 (toward zero), not -2.
  ExpectRect(outer.GetCenteredRectWithin(QRect(0, 0, 13, 13)), -1, -1, 12, 12);
  ExpectRect(QRect(5, 7, 25, 47).GetCenteredRectWithin(QRect(0, 0, 10, 10)), 10, 22, 20, 32);
}

TEST(QRect, CenteredScaledHalf) {
  ExpectRect(QRect(0, 0, 101, 201).GetCenteredRectScaled(0.5f), 25, 50, 75, 150);
}

TEST(QRect, RelativePlacementsAndTheirMixedOrigins) {
  QRect const box(10, 20, 110, 220);  // 100 high, 200 wide
  QSize const size{30, 20};           // 30 wide, 20 high
  ExpectRect(box.GetRelativeRectWithin(size, QRect::kRelativeTopLeft, 5), 15, 25, 35, 55);
  ExpectRect(box.GetRelativeRectWithin(size, QRect::kRelativeTopRight, 5), 15, 185, 35, 215);
  ExpectRect(box.GetRelativeRectWithin(size, QRect::kRelativeBottomLeft, 5), 85, 25, 105, 55);
  ExpectRect(box.GetRelativeRectWithin(size, QRect::kRelativeBottomRight, 5), 85, 185, 105, 215);
  // Centred values come from centring {0,0,20,30} in the box: top 10 + 40, left 20 + 85.
  // Top centre: top = inset from 0, not 10 + inset.
  ExpectRect(box.GetRelativeRectWithin(size, QRect::kRelativeTopCentre, 5), 5, 105, 25, 135);
  ExpectRect(box.GetRelativeRectWithin(size, QRect::kRelativeMiddleLeft, 5), 50, 5, 70, 35);
  ExpectRect(box.GetRelativeRectWithin(size, QRect::kRelativeMiddleRight, 5), 50, 165, 70, 195);
  ExpectRect(box.GetRelativeRectWithin(size, QRect::kRelativeBottomCentre, 5), 75, 105, 95, 135);
  ExpectRect(box.GetRelativeRectWithin(size, QRect::RelativePosition(9), 5), 5, 5, 25, 35);
  // The rectangle form takes only the placed rectangle's size.
  ExpectRect(box.GetRelativeRectWithin(QRect(300, 300, 320, 330), QRect::kRelativeTopLeft, 0),
             10, 20, 30, 50);
}

TEST(QRect, SumsAreTruncatedTo16Bits) {
  QRect const box(0, 32760, 10, 32767);
  QRect const placed = box.GetRelativeRectWithin(QSize{20, 5}, QRect::kRelativeTopLeft, 0);
  EXPECT_EQ(32760, placed.left);
  EXPECT_EQ(SInt16(32780), placed.right);  // wraps to negative
}
