// Views that paint their whole area in one colour and opacity. Drawing happens in the
// kit's coordinates: origin at the bottom-left of the view, y growing upwards.
#pragma once

#include <QRectF>
#include <QWidget>

class QPainter;

// Registers this module's classes by name (CocoaX_RegisterClasses registers the kit's).
void NSUIColorContentView_RegisterClasses();

class NSUIColorContentView : public QWidget {
  Q_OBJECT
 public:
  // Transparent black until initWithFrame runs the colour set-up.
  explicit NSUIColorContentView(QWidget* parent = nullptr);

  // A new view of that colour (initialised, white opacity 1 then the colour); the caller owns it.
  static NSUIColorContentView* colorViewWith(float red, float green, float blue,
                                             QWidget* parent = nullptr);

  // An empty frame keeps the current geometry (the nib loader sets it afterwards).
  void initWithFrame(QRect const& frame);
  // The colour set-up of the class.
  virtual void initColorContentView();

  bool isOpaque() const { return false; }
  bool acceptsFirstResponder() const { return false; }

  void setGreyColor(float grey);
  void setGreyColor(float grey, float opacity);
  void setColor(float red, float green, float blue);
  void setOpacity(float opacity);

  void setOpaqueBlack();
  void setDarkGreyOpaque();
  void setMedGreyOpaque();
  void setGreyOpaque();
  void setWhiteOpaque();
  void setAccentColors();

  // The colour every drawing of the family uses: the third component repeats green.
  QColor drawingColor(float opacity) const;
  QColor drawingColor() const { return drawingColor(alphaOpacity); }
  QRectF bounds() const;

  virtual void drawRect(QPainter& context, QRectF const& rect);
  // The shape always fills the bounds; rect is not used. Flags: 3 all corners, 2 bottom
  // pair, 1 top pair (drawn so that it shows as a plain rectangle), others nothing.
  void drawRect_roundRect(QPainter& context, QRectF const& rect, float corner, int flags);
  void drawRect_roundRect(QPainter& context, QRectF const& rect, float corner);
  void drawRect_roundRectWithCornerPixels(QPainter& context, QRectF const& rect, float corner);
  void drawRect_roundRect(QPainter& context, QRectF const& rect);
  void drawRect_roundRectCorner10(QPainter& context, QRectF const& rect);
  void drawRect_EllipseRect(QPainter& context, QRectF const& rect);

  float viewColorRGB[3] = {0.0f, 0.0f, 0.0f};
  float alphaOpacity = 0.0f;

 protected:
  void paintEvent(QPaintEvent* event) override;
};

class NSUIWhiteOpaqueView : public NSUIColorContentView {
 public:
  using NSUIColorContentView::NSUIColorContentView;
  void initColorContentView() override { setWhiteOpaque(); }
};

class NSUIGreyOpaqueView : public NSUIColorContentView {
 public:
  using NSUIColorContentView::NSUIColorContentView;
  void initColorContentView() override { setGreyOpaque(); }
};

class NSUIMedGreyOpaqueView : public NSUIColorContentView {
 public:
  using NSUIColorContentView::NSUIColorContentView;
  void initColorContentView() override { setMedGreyOpaque(); }
};

class NSUIDarkGreyOpaqueView : public NSUIColorContentView {
 public:
  using NSUIColorContentView::NSUIColorContentView;
  void initColorContentView() override { setDarkGreyOpaque(); }
};

class NSUIOpaqueBlackView : public NSUIColorContentView {
 public:
  using NSUIColorContentView::NSUIColorContentView;
  void initColorContentView() override { setOpaqueBlack(); }
};

class NSUITransparentView : public NSUIColorContentView {
 public:
  using NSUIColorContentView::NSUIColorContentView;
  void initColorContentView() override { setGreyColor(1.0f, 0.0f); }
};

// Circles: the bounds are cleared, then the inscribed ellipse is filled.
template <class Base>
class NSUICircleShape : public Base {
 public:
  using Base::Base;
  void drawRect(QPainter& context, QRectF const& rect) override;
};

class NSUIGreyCircleView : public NSUICircleShape<NSUIGreyOpaqueView> {
 public:
  using NSUICircleShape::NSUICircleShape;
};

class NSUIDarkGreyCircleView : public NSUICircleShape<NSUIDarkGreyOpaqueView> {
 public:
  using NSUICircleShape::NSUICircleShape;
};

class NSUIBlackCircleView : public NSUICircleShape<NSUIOpaqueBlackView> {
 public:
  using NSUICircleShape::NSUICircleShape;
};
