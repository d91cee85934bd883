#include "NSUILozengeView.h"

#include "NSClassRegistry.h"

#include <QPainter>
#include <QPen>

void NSUILozengeView_RegisterClasses() {
  NS_REGISTER_CLASS(NSUIBaseLozengeView);
  NS_REGISTER_CLASS(NSUIGreyLozengeView);
  NS_REGISTER_CLASS(NSUIMedGreyLozengeView);
  NS_REGISTER_CLASS(NSUIDarkGreyLozengeView);
  NS_REGISTER_CLASS(NSUIBlackLozengeView);
  NS_REGISTER_CLASS(NSUIAccentLozengeView);
}

void NSUIDrawLozenge(QPainter* context, QRectF rect, float const* rgb, float alpha) {
  auto const unit = [](float v) { return qBound(0.0f, v, 1.0f); };
  QColor const color = QColor::fromRgbF(unit(rgb[0]), unit(rgb[1]), unit(rgb[1]), unit(alpha));
  rect = QRectF(rect.x(), rect.y() + 1.0, rect.width(), rect.height() - 2.0);
  qreal const x = rect.x();
  qreal const y = rect.y();
  qreal const w = rect.width();
  qreal const h = rect.height();
  context->save();
  QPen pen(color);
  pen.setCapStyle(Qt::RoundCap);
  if (h < w) {
    pen.setWidthF(h);
    context->setPen(pen);
    context->drawLine(QPointF(x + h / 2.0, y + h / 2.0), QPointF(x + h / 2.0 + (w - h), y + h / 2.0));
  } else if (h > w) {
    pen.setWidthF(w);
    context->setPen(pen);
    context->drawLine(QPointF(x + w / 2.0, y + w / 2.0), QPointF(x + w / 2.0, y + w / 2.0 + (h - w)));
  } else {
    context->setPen(Qt::NoPen);
    context->setBrush(color);
    context->drawEllipse(rect);
  }
  context->restore();
}

void NSUIBaseLozengeView::drawRect(QPainter& context, QRectF const& /*rect*/) {
  NSUIDrawLozenge(&context, bounds(), viewColorRGB, alphaOpacity);
}
