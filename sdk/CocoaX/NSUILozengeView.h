// Capsule-shaped colour views: a round-capped stroke along the longer side.
#pragma once

#include "NSUIColorContentView.h"

class QPainter;

// Registers this module's classes by name (CocoaX_RegisterClasses registers the kit's).
void NSUILozengeView_RegisterClasses();

// Draws a lozenge in (rgb[0], rgb[1], rgb[1], alpha), inset one pixel at top and bottom.
void NSUIDrawLozenge(QPainter* context, QRectF rect, float const* rgb, float alpha);

class NSUIBaseLozengeView : public NSUIColorContentView {
 public:
  using NSUIColorContentView::NSUIColorContentView;
  void initColorContentView() override { setGreyColor(0.75f, 0.8f); }
  void drawRect(QPainter& context, QRectF const& rect) override;
};

class NSUIGreyLozengeView : public NSUIBaseLozengeView {
 public:
  using NSUIBaseLozengeView::NSUIBaseLozengeView;
  void initColorContentView() override {
    setGreyOpaque();
    setOpacity(0.8f);
  }
};

class NSUIMedGreyLozengeView : public NSUIBaseLozengeView {
 public:
  using NSUIBaseLozengeView::NSUIBaseLozengeView;
  void initColorContentView() override {
    setMedGreyOpaque();
    setOpacity(0.75f);
  }
};

class NSUIDarkGreyLozengeView : public NSUIBaseLozengeView {
 public:
  using NSUIBaseLozengeView::NSUIBaseLozengeView;
  void initColorContentView() override {
    setDarkGreyOpaque();
    setOpacity(0.75f);
  }
};

class NSUIBlackLozengeView : public NSUIBaseLozengeView {
 public:
  using NSUIBaseLozengeView::NSUIBaseLozengeView;
  void initColorContentView() override {
    setOpaqueBlack();
    setOpacity(0.75f);
  }
};

class NSUIAccentLozengeView : public NSUIBaseLozengeView {
 public:
  using NSUIBaseLozengeView::NSUIBaseLozengeView;
  void initColorContentView() override { setAccentColors(); }
};
