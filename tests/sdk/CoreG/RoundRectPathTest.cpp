#include "namespace_CoreGraphics_RoundRectPath.h"

#include "TestLog.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QImage>
#include <QPainter>

#include <cmath>

namespace {

// Signed distance from a pixel centre to a rounded box (negative inside).
double RoundBoxDistance(double px, double py, QRectF const& box, double r) {
  double const qx = std::abs(px - box.center().x()) - (box.width() / 2.0 - r);
  double const qy = std::abs(py - box.center().y()) - (box.height() / 2.0 - r);
  double const ox = std::max(qx, 0.0);
  double const oy = std::max(qy, 0.0);
  return std::hypot(ox, oy) + std::min(std::max(qx, qy), 0.0) - r;
}

// Pixels clearly inside must be fully covered, pixels clearly outside empty.
int ShapeMismatches(QImage const& image, QRectF const& box, double r) {
  int bad = 0;
  for (int y = 0; y < image.height(); ++y) {
    for (int x = 0; x < image.width(); ++x) {
      double const d = RoundBoxDistance(x + 0.5, y + 0.5, box, r);
      int const a = qAlpha(image.pixel(x, y));
      if (d < -1.0 && a < 250) ++bad;
      if (d > 1.0 && a > 5) ++bad;
    }
  }
  return bad;
}

QImage Blank(int w, int h) {
  QImage image(w, h, QImage::Format_ARGB32_Premultiplied);
  image.fill(Qt::transparent);
  return image;
}

}  // namespace

TEST(RoundRectPath, FillsRoundedRectangleAtOrigin) {
  QImage image = Blank(140, 70);
  {
    QPainter p(&image);
    p.setRenderHint(QPainter::Antialiasing);
    p.setBrush(Qt::red);
    p.setPen(Qt::NoPen);
    CoreGraphics::RoundRectPath const path(QRectF(0, 0, 100, 40), 10.0f, 10.0f);
    ASSERT_TRUE(path.mPath);
    path.Draw(&p, QPointF(20, 15), 0.0f);
  }
  EXPECT_EQ(0, ShapeMismatches(image, QRectF(20, 15, 100, 40), 10.0));
  EXPECT_EQ(qRgba(255, 0, 0, 255), image.pixel(70, 35));
  EXPECT_EQ(0, qAlpha(image.pixel(21, 16)));  // cut off by the corner arc
}

TEST(RoundRectPath, ZeroRadiusIsPlainRectangle) {
  QImage image = Blank(50, 30);
  {
    QPainter p(&image);
    p.setBrush(Qt::blue);
    p.setPen(Qt::NoPen);
    CoreGraphics::RoundRectPath const path(QRectF(0, 0, 50, 30), 0.0f, 0.0f);
    path.Draw(&p, QPointF(0, 0), 0.0f);
  }
  EXPECT_EQ(qRgba(0, 0, 255, 255), image.pixel(0, 0));
  EXPECT_EQ(qRgba(0, 0, 255, 255), image.pixel(49, 29));
}

TEST(RoundRectPath, DifferentRadiiMakeEllipticCorners) {
  CoreGraphics::RoundRectPath const path(QRectF(0, 0, 100, 40), 20.0f, 5.0f);
  ASSERT_TRUE(path.mPath);
  QRectF const bounds = path.mPath->boundingRect();
  EXPECT_DOUBLE_EQ(0.0, bounds.x());
  EXPECT_DOUBLE_EQ(100.0, bounds.width());
  EXPECT_DOUBLE_EQ(40.0, bounds.height());
  // On the top edge the arc of a 20-wide corner has not reached y = 0 at x = 5.
  EXPECT_FALSE(path.mPath->contains(QPointF(5.0, 0.5)));
  EXPECT_TRUE(path.mPath->contains(QPointF(25.0, 0.5)));
  // Vertically the corner is only 5 high.
  EXPECT_TRUE(path.mPath->contains(QPointF(0.5, 6.0)));
}

TEST(RoundRectPath, StrokesWithLineWidthAndFillsInside) {
  QImage image = Blank(60, 60);
  {
    QPainter p(&image);
    p.setBrush(QColor(0, 255, 0));
    p.setPen(QPen(QColor(255, 0, 0)));
    CoreGraphics::RoundRectPath const path(QRectF(0, 0, 40, 40), 0.0f, 0.0f);
    path.Draw(&p, QPointF(10, 10), 4.0f);
  }
  // A 4-pixel line centred on the edge: 2 pixels each side.
  EXPECT_EQ(qRgba(255, 0, 0, 255), image.pixel(30, 8));
  EXPECT_EQ(qRgba(255, 0, 0, 255), image.pixel(30, 11));
  EXPECT_EQ(qRgba(0, 255, 0, 255), image.pixel(30, 30));
  EXPECT_EQ(0, qAlpha(image.pixel(30, 7)));
}

TEST(RoundRectPath, WithoutPathLogsAndDrawsNothing) {
  QImage image = Blank(20, 20);
  tavelo_test::LogTail tail;
  {
    QPainter p(&image);
    p.setBrush(Qt::red);
    CoreGraphics::RoundRectPath const none;
    none.Draw(&p, QPointF(0, 0), 0.0f);
  }
  EXPECT_THAT(tail.Text(), testing::MatchesRegex(
                               "VERIFY FAILED:  code : mPath in "
                               "/Code/sdk/CoreG/namespace_CoreGraphics_RoundRectPath:[0-9]+ "
                               "\\(CoreGraphics::RoundRectPath::Draw\\)\n"));
  EXPECT_EQ(0, qAlpha(image.pixel(10, 10)));
}

TEST(RoundRectPath, EmptyRectangleHasNoPath) {
  CoreGraphics::RoundRectPath path(QRectF(0, 0, 0, 10), 2.0f, 2.0f);
  EXPECT_FALSE(path.mPath);
  path.mRect = QRectF(0, 0, 10, 10);
  EXPECT_TRUE(path.CreatePath());
  EXPECT_TRUE(path.mPath);
}
