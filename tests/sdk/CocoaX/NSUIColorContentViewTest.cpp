#include "KitTestSupport.h"
#include "NSClassRegistry.h"
#include "NSUIColorContentView.h"
#include "NSUILozengeView.h"
#include "NSUIRoundRectView.h"
#include "TestLog.h"

#include <gtest/gtest.h>

#include <QPainter>

#include <memory>

using tavelo_test::CapsuleDistance;
using tavelo_test::CheckShape;
using tavelo_test::Render;
using tavelo_test::RoundBoxDistance;

namespace {

template <class T>
std::unique_ptr<T> MakeView(int w, int h) {
  std::unique_ptr<T> view(NSClassInstantiate<T>(nullptr));
  view->resize(w, h);
  return view;
}

QColor const kGrey075(191, 191, 191, 255);

// Rounded box over the whole w x h view with radius r, in pixel coordinates.
auto RoundBox(double x, double y, double w, double h, double r) {
  return [=](double px, double py) { return RoundBoxDistance(px, py, QRectF(x, y, w, h), r); };
}

void ExpectRoundRect(QWidget& view, double r, QColor color) {
  QImage const image = Render(view);
  auto const check = CheckShape(image, RoundBox(0, 0, view.width(), view.height(), r), color);
  EXPECT_EQ(0, check.mismatches) << "radius " << r;
  EXPECT_GT(check.inside, 0);
  if (r >= 4.0) {
    EXPECT_GT(check.outside, 0);
  }
}

// A grey view drawing rounded corners with a chosen corner value.
class CornerView : public NSUIGreyOpaqueView {
 public:
  using NSUIGreyOpaqueView::NSUIGreyOpaqueView;
  float mCorner = 0.25f;
  void drawRect(QPainter& context, QRectF const& rect) override {
    drawRect_roundRect(context, rect, mCorner);
  }
};

}  // namespace

TEST(NSUIColorContentView, FreshViewIsTransparentBlackUntilInitialised) {
  NSUIGreyOpaqueView view;
  EXPECT_EQ(0.0f, view.viewColorRGB[0]);
  EXPECT_EQ(0.0f, view.viewColorRGB[1]);
  EXPECT_EQ(0.0f, view.viewColorRGB[2]);
  EXPECT_EQ(0.0f, view.alphaOpacity);
  view.initWithFrame(QRect(0, 0, 10, 10));
  EXPECT_EQ(0.75f, view.viewColorRGB[2]);
  EXPECT_EQ(1.0f, view.alphaOpacity);
  EXPECT_FALSE(view.isOpaque());
  EXPECT_FALSE(view.acceptsFirstResponder());
  EXPECT_EQ(QSize(10, 10), view.size());
}

TEST(NSUIColorContentView, BaseSetUpIsOpaqueWhite) {
  auto view = MakeView<NSUIColorContentView>(8, 8);
  EXPECT_EQ(1.0f, view->viewColorRGB[0]);
  EXPECT_EQ(1.0f, view->alphaOpacity);
  EXPECT_EQ(QColor(255, 255, 255, 255), Render(*view).pixelColor(4, 4));
}

TEST(NSUIColorContentView, NamedColours) {
  NSUIColorContentView view;
  struct Row {
    void (NSUIColorContentView::*set)();
    float grey;
    float opacity;
  } const rows[] = {
      {&NSUIColorContentView::setOpaqueBlack, 0.05f, 1.0f},
      {&NSUIColorContentView::setDarkGreyOpaque, 0.25f, 1.0f},
      {&NSUIColorContentView::setMedGreyOpaque, 0.5f, 1.0f},
      {&NSUIColorContentView::setGreyOpaque, 0.75f, 1.0f},
      {&NSUIColorContentView::setWhiteOpaque, 1.0f, 1.0f},
      {&NSUIColorContentView::setAccentColors, 0.5f, 0.25f},
  };
  for (Row const& row : rows) {
    view.setColor(0.3f, 0.6f, 0.9f);
    view.setOpacity(0.1f);
    (view.*row.set)();
    EXPECT_EQ(row.grey, view.viewColorRGB[0]);
    EXPECT_EQ(row.grey, view.viewColorRGB[1]);
    EXPECT_EQ(row.grey, view.viewColorRGB[2]);
    EXPECT_EQ(row.opacity, view.alphaOpacity);
  }
}

TEST(NSUIColorContentView, SubclassColours) {
  EXPECT_EQ(1.0f, MakeView<NSUIWhiteOpaqueView>(1, 1)->viewColorRGB[0]);
  EXPECT_EQ(0.75f, MakeView<NSUIGreyOpaqueView>(1, 1)->viewColorRGB[0]);
  EXPECT_EQ(0.5f, MakeView<NSUIMedGreyOpaqueView>(1, 1)->viewColorRGB[0]);
  EXPECT_EQ(0.25f, MakeView<NSUIDarkGreyOpaqueView>(1, 1)->viewColorRGB[0]);
  EXPECT_EQ(0.05f, MakeView<NSUIOpaqueBlackView>(1, 1)->viewColorRGB[0]);
  auto transparent = MakeView<NSUITransparentView>(1, 1);
  EXPECT_EQ(1.0f, transparent->viewColorRGB[0]);
  EXPECT_EQ(0.0f, transparent->alphaOpacity);
  auto stroked = MakeView<NSUIGreyStrokedRoundRectView>(1, 1);
  EXPECT_EQ(0.75f, stroked->viewColorRGB[0]);
  EXPECT_EQ(0.0f, stroked->alphaOpacity);
  auto lozenge = MakeView<NSUIBaseLozengeView>(1, 1);
  EXPECT_EQ(0.75f, lozenge->viewColorRGB[0]);
  EXPECT_EQ(0.8f, lozenge->alphaOpacity);
  EXPECT_EQ(0.8f, MakeView<NSUIGreyLozengeView>(1, 1)->alphaOpacity);
  auto med = MakeView<NSUIMedGreyLozengeView>(1, 1);
  EXPECT_EQ(0.5f, med->viewColorRGB[0]);
  EXPECT_EQ(0.75f, med->alphaOpacity);
  EXPECT_EQ(0.25f, MakeView<NSUIDarkGreyLozengeView>(1, 1)->viewColorRGB[0]);
  EXPECT_EQ(0.05f, MakeView<NSUIBlackLozengeView>(1, 1)->viewColorRGB[0]);
  EXPECT_EQ(0.25f, MakeView<NSUIAccentLozengeView>(1, 1)->alphaOpacity);
  auto accent = MakeView<NSUIAccentRoundRectViewCorner10>(1, 1);
  EXPECT_EQ(0.5f, accent->viewColorRGB[0]);
  EXPECT_EQ(0.25f, accent->alphaOpacity);
  EXPECT_EQ(0.75f, MakeView<NSUIGreyRoundRectTopViewCorner10>(1, 1)->viewColorRGB[0]);
  EXPECT_EQ(0.05f, MakeView<NSUIBlackRoundRectBottomViewCorner10>(1, 1)->viewColorRGB[0]);
}

TEST(NSUIColorContentView, PlainViewFillsItsWholeArea) {
  auto view = MakeView<NSUIGreyOpaqueView>(30, 20);
  QImage const image = Render(*view);
  EXPECT_EQ(kGrey075, image.pixelColor(0, 0));
  EXPECT_EQ(kGrey075, image.pixelColor(29, 19));
  EXPECT_EQ(kGrey075, image.pixelColor(15, 10));
}

TEST(NSUIColorContentView, BlueIsDrawnFromGreen) {
  std::unique_ptr<NSUIColorContentView> view(NSUIColorContentView::colorViewWith(1.0f, 0.0f, 0.5f));
  ASSERT_TRUE(view);
  view->resize(10, 10);
  EXPECT_EQ(0.5f, view->viewColorRGB[2]);  // kept as set
  EXPECT_EQ(QColor(255, 0, 0, 255), Render(*view).pixelColor(5, 5));
}

TEST(NSUIColorContentView, TransparentViewDrawsNothingVisible) {
  auto view = MakeView<NSUITransparentView>(20, 20);
  QImage const image = Render(*view);
  for (int y = 0; y < 20; ++y)
    for (int x = 0; x < 20; ++x) ASSERT_EQ(0, image.pixelColor(x, y).alpha()) << x << "," << y;
}

TEST(NSUIRoundRectView, FractionalCornerIsQuarterOfSmallerSide) {
  auto view = MakeView<NSUIGreyRoundRectView>(100, 40);
  ExpectRoundRect(*view, 10.0, kGrey075);
  view->resize(100, 20);
  ExpectRoundRect(*view, 5.0, kGrey075);
  EXPECT_FLOAT_EQ(10.0f, NSUIRoundRectRadius(QRectF(0, 0, 100, 40), 0.25f));
  EXPECT_FLOAT_EQ(5.0f, NSUIRoundRectRadius(QRectF(0, 0, 100, 20), 0.25f));
}

TEST(NSUIRoundRectView, Corner10IsTenPixels) {
  auto view = MakeView<NSUIGreyRoundRectViewCorner10>(100, 40);
  ExpectRoundRect(*view, 10.0, kGrey075);
  view->resize(100, 20);
  ExpectRoundRect(*view, 10.0, kGrey075);
  // The two radii differ visibly at this pixel.
  EXPECT_EQ(0, Render(*view).pixelColor(1, 1).alpha());
  auto fractional = MakeView<NSUIGreyRoundRectView>(100, 20);
  EXPECT_EQ(255, Render(*fractional).pixelColor(2, 2).alpha());
  EXPECT_LT(100, Render(*fractional).pixelColor(1, 1).alpha());
}

TEST(NSUIRoundRectView, CornerOfExactlyOneIsOnePixel) {
  EXPECT_FLOAT_EQ(1.0f, NSUIRoundRectRadius(QRectF(0, 0, 100, 40), 1.0f));
  EXPECT_FLOAT_EQ(0.99f * 40.0f, NSUIRoundRectRadius(QRectF(0, 0, 100, 40), 0.99f));
  auto view = MakeView<CornerView>(100, 40);
  view->mCorner = 1.0f;
  ExpectRoundRect(*view, 1.0, kGrey075);
  QImage const image = Render(*view);
  EXPECT_EQ(255, image.pixelColor(1, 1).alpha());
  // The corner pixel loses only what lies outside a one-pixel arc (1 - pi/4 of it).
  EXPECT_NEAR(255 * 3.14159 / 4, image.pixelColor(0, 0).alpha(), 20);
}

TEST(NSUIRoundRectView, TopFlagShowsPlainRectangle) {
  auto view = MakeView<NSUIGreyRoundRectTopViewCorner10>(100, 40);
  QImage const image = Render(*view);
  EXPECT_EQ(kGrey075, image.pixelColor(0, 0));
  EXPECT_EQ(kGrey075, image.pixelColor(99, 0));
  EXPECT_EQ(kGrey075, image.pixelColor(0, 39));
  EXPECT_EQ(kGrey075, image.pixelColor(99, 39));
}

TEST(NSUIRoundRectView, BottomFlagRoundsOnlyTheBottomCorners) {
  auto view = MakeView<NSUIGreyRoundRectBottomViewCorner10>(100, 40);
  QImage const image = Render(*view);
  // Drawn as a box twice as high reaching above the view.
  auto const check = CheckShape(image, RoundBox(0, -40, 100, 80, 10), kGrey075);
  EXPECT_EQ(0, check.mismatches);
  EXPECT_EQ(kGrey075, image.pixelColor(0, 0));
  EXPECT_EQ(0, image.pixelColor(0, 39).alpha());
  EXPECT_EQ(0, image.pixelColor(99, 39).alpha());
}

TEST(NSUIRoundRectView, UnknownFlagDrawsNothing) {
  class FlagView : public NSUIGreyOpaqueView {
   public:
    using NSUIGreyOpaqueView::NSUIGreyOpaqueView;
    void drawRect(QPainter& context, QRectF const& rect) override {
      drawRect_roundRect(context, rect, 10.0f, 4);
    }
  };
  auto view = MakeView<FlagView>(30, 30);
  EXPECT_EQ(0, Render(*view).pixelColor(15, 15).alpha());
}

TEST(NSUIRoundRectView, AccentColourIsHalfGreyQuarterOpacity) {
  auto view = MakeView<NSUIAccentRoundRectView>(100, 40);
  QColor const c = Render(*view).pixelColor(50, 20);
  EXPECT_NEAR(64, c.alpha(), 1);
  EXPECT_NEAR(128, c.red(), 2);
  ExpectRoundRect(*view, 10.0, c);
}

TEST(NSUIRoundRectView, StrokedOutlineShowsOnlyItsBorder) {
  auto view = MakeView<NSUIGreyStrokedRoundRectView>(100, 40);
  QImage const image = Render(*view);
  // The 3-pixel line is centred on the bounds: inside the view it is 1.5 pixels wide.
  EXPECT_EQ(kGrey075, image.pixelColor(50, 0));
  EXPECT_EQ(kGrey075, image.pixelColor(50, 39));
  EXPECT_EQ(kGrey075, image.pixelColor(0, 20));
  EXPECT_EQ(kGrey075, image.pixelColor(99, 20));
  EXPECT_EQ(0, image.pixelColor(50, 3).alpha());
  EXPECT_EQ(0, image.pixelColor(50, 20).alpha());
  EXPECT_EQ(0, image.pixelColor(0, 0).alpha());  // the corner is rounded (radius 10)
  // Everything more than 3 pixels inside the outline is clear.
  int total = 0;
  int clear = 0;
  for (int y = 0; y < 40; ++y) {
    for (int x = 0; x < 100; ++x) {
      if (RoundBoxDistance(x + 0.5, y + 0.5, QRectF(0, 0, 100, 40), 10) >= -3.0) continue;
      ++total;
      if (image.pixelColor(x, y).alpha() == 0) ++clear;
    }
  }
  EXPECT_GT(total, 2000);
  EXPECT_EQ(total, clear);
}

TEST(NSUIColorContentView, CircleClearsItsBoundsThenFillsTheEllipse) {
  auto view = MakeView<NSUIGreyCircleView>(30, 30);
  QImage const image = Render(*view, Qt::red);
  auto const check = CheckShape(
      image, [](double x, double y) { return std::hypot(x - 15.0, y - 15.0) - 15.0; }, kGrey075);
  EXPECT_EQ(0, check.mismatches);
  EXPECT_GT(check.outside, 0);
  EXPECT_EQ(0, image.pixelColor(0, 0).alpha());  // the red background was cleared
  EXPECT_EQ(QColor(64, 64, 64), Render(*MakeView<NSUIDarkGreyCircleView>(10, 10)).pixelColor(5, 5));
  EXPECT_EQ(QColor(13, 13, 13), Render(*MakeView<NSUIBlackCircleView>(10, 10)).pixelColor(5, 5));
}

TEST(NSUILozengeView, WideViewStrokesHorizontalSegment) {
  auto view = MakeView<NSUIBaseLozengeView>(100, 22);
  QImage const image = Render(*view);
  QColor const color(191, 191, 191, 204);
  auto const check = CheckShape(
      image,
      [](double x, double y) { return CapsuleDistance(x, y, QPointF(10, 11), QPointF(90, 11), 10); },
      color);
  EXPECT_EQ(0, check.mismatches);
  EXPECT_GT(check.inside, 0);
  EXPECT_EQ(0, image.pixelColor(50, 0).alpha());   // one pixel inset at the top
  EXPECT_EQ(0, image.pixelColor(50, 21).alpha());  // and at the bottom
  EXPECT_EQ(0, image.pixelColor(1, 2).alpha());    // round cap, not a box
}

TEST(NSUILozengeView, AlmostSquareViewStrokesShortSegment) {
  auto view = MakeView<NSUIBaseLozengeView>(22, 22);
  auto const check = CheckShape(
      Render(*view),
      [](double x, double y) { return CapsuleDistance(x, y, QPointF(10, 11), QPointF(12, 11), 10); },
      QColor(191, 191, 191, 204));
  EXPECT_EQ(0, check.mismatches);
  EXPECT_GT(check.outside, 0);
}

TEST(NSUILozengeView, SquareInsetFillsCircle) {
  auto view = MakeView<NSUIBaseLozengeView>(20, 22);
  auto const check = CheckShape(
      Render(*view), [](double x, double y) { return std::hypot(x - 10.0, y - 11.0) - 10.0; },
      QColor(191, 191, 191, 204));
  EXPECT_EQ(0, check.mismatches);
  EXPECT_GT(check.inside, 0);
  EXPECT_GT(check.outside, 0);
}

TEST(NSUILozengeView, TallViewStrokesVerticalSegment) {
  auto view = MakeView<NSUIBaseLozengeView>(20, 62);
  // Inset rect (0, 1, 20, 60): segment from (10, 11) to (10, 51), kit coordinates.
  auto const check = CheckShape(
      Render(*view),
      [](double x, double y) { return CapsuleDistance(x, y, QPointF(10, 11), QPointF(10, 51), 10); },
      QColor(191, 191, 191, 204));
  EXPECT_EQ(0, check.mismatches);
}

TEST(NSUILozengeView, LozengeColourTakesBlueFromGreen) {
  QImage image(40, 12, QImage::Format_ARGB32_Premultiplied);
  image.fill(Qt::transparent);
  {
    QPainter p(&image);
    float const rgb[3] = {0.0f, 1.0f, 0.0f};
    NSUIDrawLozenge(&p, QRectF(0, 0, 40, 12), rgb, 1.0f);
  }
  EXPECT_EQ(qRgba(0, 255, 255, 255), image.pixel(20, 6));
}
