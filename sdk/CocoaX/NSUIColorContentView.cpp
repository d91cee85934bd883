#include "NSUIColorContentView.h"

#include "NSClassRegistry.h"
#include "NSUIRoundRectView.h"

#include "CoreMachDebugLog.h"

#include <QPaintEvent>
#include <QPainter>

void NSUIColorContentView_RegisterClasses() {
  NS_REGISTER_CLASS(NSUIColorContentView);
  NS_REGISTER_CLASS(NSUIWhiteOpaqueView);
  NS_REGISTER_CLASS(NSUIGreyOpaqueView);
  NS_REGISTER_CLASS(NSUIMedGreyOpaqueView);
  NS_REGISTER_CLASS(NSUIDarkGreyOpaqueView);
  NS_REGISTER_CLASS(NSUIOpaqueBlackView);
  NS_REGISTER_CLASS(NSUITransparentView);
  NS_REGISTER_CLASS(NSUIGreyCircleView);
  NS_REGISTER_CLASS(NSUIDarkGreyCircleView);
  NS_REGISTER_CLASS(NSUIBlackCircleView);
}

NSUIColorContentView::NSUIColorContentView(QWidget* parent) : QWidget(parent) {}

NSUIColorContentView* NSUIColorContentView::colorViewWith(float red, float green, float blue,
                                                          QWidget* parent) {
  NSUIColorContentView* newView = NSClassInstantiate<NSUIColorContentView>(parent);
  if (!CoreVerify(newView)) return nullptr;
  newView->setColor(red, green, blue);
  return newView;
}

void NSUIColorContentView::initWithFrame(QRect const& frame) {
  if (!frame.isEmpty()) setGeometry(frame);
  initColorContentView();
}

void NSUIColorContentView::initColorContentView() { setGreyColor(1.0f, 1.0f); }

void NSUIColorContentView::setGreyColor(float grey) {
  viewColorRGB[0] = viewColorRGB[1] = viewColorRGB[2] = grey;
  update();
}

void NSUIColorContentView::setGreyColor(float grey, float opacity) {
  setGreyColor(grey);
  setOpacity(opacity);
}

void NSUIColorContentView::setColor(float red, float green, float blue) {
  viewColorRGB[0] = red;
  viewColorRGB[1] = green;
  viewColorRGB[2] = blue;
  update();
}

void NSUIColorContentView::setOpacity(float opacity) {
  alphaOpacity = opacity;
  update();
}

void NSUIColorContentView::setOpaqueBlack() { setGreyColor(0.05f, 1.0f); }
void NSUIColorContentView::setDarkGreyOpaque() { setGreyColor(0.25f, 1.0f); }
void NSUIColorContentView::setMedGreyOpaque() { setGreyColor(0.5f, 1.0f); }
void NSUIColorContentView::setGreyOpaque() { setGreyColor(0.75f, 1.0f); }
void NSUIColorContentView::setWhiteOpaque() { setGreyColor(1.0f, 1.0f); }

void NSUIColorContentView::setAccentColors() {
  setMedGreyOpaque();
  setOpacity(0.25f);
}

QColor NSUIColorContentView::drawingColor(float opacity) const {
  auto const unit = [](float v) { return qBound(0.0f, v, 1.0f); };
  // The family has always drawn blue from the green value; greys do not notice.
  return QColor::fromRgbF(unit(viewColorRGB[0]), unit(viewColorRGB[1]), unit(viewColorRGB[1]),
                          unit(opacity));
}

QRectF NSUIColorContentView::bounds() const { return QRectF(0.0, 0.0, width(), height()); }

void NSUIColorContentView::paintEvent(QPaintEvent* event) {
  QPainter context(this);
  context.setRenderHint(QPainter::Antialiasing, true);
  // Flip to the kit's coordinates: origin bottom-left, y upwards.
  context.translate(0.0, height());
  context.scale(1.0, -1.0);
  QRectF const dirty = event->rect();
  drawRect(context, QRectF(dirty.x(), height() - dirty.y() - dirty.height(), dirty.width(),
                           dirty.height()));
}

void NSUIColorContentView::drawRect(QPainter& context, QRectF const& rect) {
  context.save();
  context.fillRect(rect, drawingColor());
  context.restore();
}

void NSUIColorContentView::drawRect_roundRect(QPainter& context, QRectF const& /*rect*/,
                                              float corner, int flags) {
  QRectF shape = bounds();
  switch (flags) {
    case 3:
      break;
    case 2:  // the top corners fall outside the view
      shape.setHeight(shape.height() * 2.0);
      break;
    case 1:  // both pairs fall outside: a plain rectangle, as the family always drew it
      shape.moveTop(shape.y() - shape.height() / 2.0);
      shape.setHeight(shape.height() * 2.0);
      break;
    default:
      return;
  }
  context.save();
  context.setPen(Qt::NoPen);
  context.setBrush(drawingColor());
  NSUIDrawRoundRect(&context, shape, 0.0f, corner);
  context.restore();
}

void NSUIColorContentView::drawRect_roundRect(QPainter& context, QRectF const& rect,
                                              float corner) {
  drawRect_roundRect(context, rect, corner, 3);
}

void NSUIColorContentView::drawRect_roundRectWithCornerPixels(QPainter& context,
                                                              QRectF const& rect, float corner) {
  // NSUIDrawRoundRect tells fractions from pixels.
  drawRect_roundRect(context, rect, corner);
}

void NSUIColorContentView::drawRect_roundRect(QPainter& context, QRectF const& rect) {
  drawRect_roundRect(context, rect, 0.25f);
}

void NSUIColorContentView::drawRect_roundRectCorner10(QPainter& context, QRectF const& rect) {
  drawRect_roundRect(context, rect, 10.0f);
}

void NSUIColorContentView::drawRect_EllipseRect(QPainter& context, QRectF const& /*rect*/) {
  context.save();
  context.setPen(Qt::NoPen);
  context.setBrush(drawingColor());
  context.drawEllipse(bounds());
  context.restore();
}

template <class Base>
void NSUICircleShape<Base>::drawRect(QPainter& context, QRectF const& rect) {
  context.save();
  context.setCompositionMode(QPainter::CompositionMode_Clear);
  context.fillRect(this->bounds(), Qt::transparent);
  context.restore();
  this->drawRect_EllipseRect(context, rect);
}

template class NSUICircleShape<NSUIGreyOpaqueView>;
template class NSUICircleShape<NSUIDarkGreyOpaqueView>;
template class NSUICircleShape<NSUIOpaqueBlackView>;
