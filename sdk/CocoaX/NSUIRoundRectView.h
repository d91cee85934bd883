// Colour views with rounded corners, and the rounded-rectangle drawing they share.
#pragma once

#include "NSUIColorContentView.h"

class QPainter;

// Registers this module's classes by name (CocoaX_RegisterClasses registers the kit's).
void NSUIRoundRectView_RegisterClasses();

// A rounded rectangle in the painter's brush (and, with a line width above 0, its pen).
// A corner below 1.0 is a fraction of the smaller side, 1.0 and above a radius in pixels.
void NSUIDrawRoundRect(QPainter* context, QRectF const& rect, float lineWidth, float corner);
// The radius NSUIDrawRoundRect uses for a corner value.
float NSUIRoundRectRadius(QRectF const& rect, float corner);

template <class Base, int Flags, float Corner>
class NSUIRoundRectShape : public Base {
 public:
  using Base::Base;
  void drawRect(QPainter& context, QRectF const& rect) override {
    this->drawRect_roundRect(context, rect, Corner, Flags);
  }
};

#define NSUI_ROUND_RECT_VIEW(Name, Base, Flags, Corner)                         \
  class Name : public NSUIRoundRectShape<Base, Flags, Corner> {                \
   public:                                                                      \
    using NSUIRoundRectShape<Base, Flags, Corner>::NSUIRoundRectShape;          \
  }

NSUI_ROUND_RECT_VIEW(NSUIWhiteRoundRectView, NSUIWhiteOpaqueView, 3, 0.25f);
NSUI_ROUND_RECT_VIEW(NSUIGreyRoundRectView, NSUIGreyOpaqueView, 3, 0.25f);
NSUI_ROUND_RECT_VIEW(NSUIDarkGreyRoundRectView, NSUIDarkGreyOpaqueView, 3, 0.25f);
NSUI_ROUND_RECT_VIEW(NSUIBlackRoundRectView, NSUIOpaqueBlackView, 3, 0.25f);

NSUI_ROUND_RECT_VIEW(NSUIWhiteRoundRectViewCorner10, NSUIWhiteOpaqueView, 3, 10.0f);
NSUI_ROUND_RECT_VIEW(NSUIGreyRoundRectViewCorner10, NSUIGreyOpaqueView, 3, 10.0f);
NSUI_ROUND_RECT_VIEW(NSUIDarkGreyRoundRectViewCorner10, NSUIDarkGreyOpaqueView, 3, 10.0f);
NSUI_ROUND_RECT_VIEW(NSUIBlackRoundRectViewCorner10, NSUIOpaqueBlackView, 3, 10.0f);
NSUI_ROUND_RECT_VIEW(NSUIMedGreyRoundRectViewCorner10, NSUIMedGreyOpaqueView, 3, 10.0f);

NSUI_ROUND_RECT_VIEW(NSUIWhiteRoundRectTopViewCorner10, NSUIWhiteOpaqueView, 1, 10.0f);
NSUI_ROUND_RECT_VIEW(NSUIGreyRoundRectTopViewCorner10, NSUIGreyOpaqueView, 1, 10.0f);
NSUI_ROUND_RECT_VIEW(NSUIMedGreyRoundRectTopViewCorner10, NSUIMedGreyOpaqueView, 1, 10.0f);
NSUI_ROUND_RECT_VIEW(NSUIDarkGreyRoundRectTopViewCorner10, NSUIDarkGreyOpaqueView, 1, 10.0f);
NSUI_ROUND_RECT_VIEW(NSUIBlackRoundRectTopViewCorner10, NSUIOpaqueBlackView, 1, 10.0f);

NSUI_ROUND_RECT_VIEW(NSUIWhiteRoundRectBottomViewCorner10, NSUIWhiteOpaqueView, 2, 10.0f);
NSUI_ROUND_RECT_VIEW(NSUIGreyRoundRectBottomViewCorner10, NSUIGreyOpaqueView, 2, 10.0f);
NSUI_ROUND_RECT_VIEW(NSUIMedGreyRoundRectBottomViewCorner10, NSUIMedGreyOpaqueView, 2, 10.0f);
NSUI_ROUND_RECT_VIEW(NSUIDarkGreyRoundRectBottomViewCorner10, NSUIDarkGreyOpaqueView, 2, 10.0f);
NSUI_ROUND_RECT_VIEW(NSUIBlackRoundRectBottomViewCorner10, NSUIOpaqueBlackView, 2, 10.0f);

class NSUIAccentRoundRectView : public NSUIColorContentView {
 public:
  using NSUIColorContentView::NSUIColorContentView;
  void initColorContentView() override { setAccentColors(); }
  void drawRect(QPainter& context, QRectF const& rect) override {
    drawRect_roundRect(context, rect);
  }
};

class NSUIAccentRoundRectViewCorner10 : public NSUIAccentRoundRectView {
 public:
  using NSUIAccentRoundRectView::NSUIAccentRoundRectView;
  void drawRect(QPainter& context, QRectF const& rect) override {
    drawRect_roundRectCorner10(context, rect);
  }
};

// A 3-pixel grey outline with a clear inside.
class NSUIGreyStrokedRoundRectView : public NSUITransparentView {
 public:
  using NSUITransparentView::NSUITransparentView;
  void initColorContentView() override { setGreyColor(0.75f); }
  void drawRect(QPainter& context, QRectF const& rect) override;
};
