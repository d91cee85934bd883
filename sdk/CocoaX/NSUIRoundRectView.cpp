#include "NSUIRoundRectView.h"

#include "NSClassRegistry.h"
#include "namespace_CoreGraphics_RoundRectPath.h"

#include <QPainter>
#include <QPen>

#include <algorithm>

void NSUIRoundRectView_RegisterClasses() {
  NS_REGISTER_CLASS(NSUIWhiteRoundRectView);
  NS_REGISTER_CLASS(NSUIGreyRoundRectView);
  NS_REGISTER_CLASS(NSUIDarkGreyRoundRectView);
  NS_REGISTER_CLASS(NSUIBlackRoundRectView);
  NS_REGISTER_CLASS(NSUIWhiteRoundRectViewCorner10);
  NS_REGISTER_CLASS(NSUIGreyRoundRectViewCorner10);
  NS_REGISTER_CLASS(NSUIDarkGreyRoundRectViewCorner10);
  NS_REGISTER_CLASS(NSUIBlackRoundRectViewCorner10);
  NS_REGISTER_CLASS(NSUIMedGreyRoundRectViewCorner10);
  NS_REGISTER_CLASS(NSUIWhiteRoundRectTopViewCorner10);
  NS_REGISTER_CLASS(NSUIGreyRoundRectTopViewCorner10);
  NS_REGISTER_CLASS(NSUIMedGreyRoundRectTopViewCorner10);
  NS_REGISTER_CLASS(NSUIDarkGreyRoundRectTopViewCorner10);
  NS_REGISTER_CLASS(NSUIBlackRoundRectTopViewCorner10);
  NS_REGISTER_CLASS(NSUIWhiteRoundRectBottomViewCorner10);
  NS_REGISTER_CLASS(NSUIGreyRoundRectBottomViewCorner10);
  NS_REGISTER_CLASS(NSUIMedGreyRoundRectBottomViewCorner10);
  NS_REGISTER_CLASS(NSUIDarkGreyRoundRectBottomViewCorner10);
  NS_REGISTER_CLASS(NSUIBlackRoundRectBottomViewCorner10);
  NS_REGISTER_CLASS(NSUIAccentRoundRectView);
  NS_REGISTER_CLASS(NSUIAccentRoundRectViewCorner10);
  NS_REGISTER_CLASS(NSUIGreyStrokedRoundRectView);
}

float NSUIRoundRectRadius(QRectF const& rect, float corner) {
  if (corner < 1.0f) return corner * static_cast<float>(std::min(rect.width(), rect.height()));
  return corner;
}

void NSUIDrawRoundRect(QPainter* context, QRectF const& rect, float lineWidth, float corner) {
  float const radius = NSUIRoundRectRadius(rect, corner);
  CoreGraphics::RoundRectPath const path(QRectF(QPointF(0.0, 0.0), rect.size()), radius, radius);
  path.Draw(context, rect.topLeft(), lineWidth);
}

void NSUIGreyStrokedRoundRectView::drawRect(QPainter& context, QRectF const& /*rect*/) {
  context.save();
  context.setBrush(drawingColor());
  context.setPen(QPen(drawingColor(1.0f)));
  NSUIDrawRoundRect(&context, bounds(), 3.0f, 0.25f);
  context.restore();
}
