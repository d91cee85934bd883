#include "namespace_CoreGraphics_RoundRectPath.h"

#include "CoreMachDebugLog.h"

#include <QPainter>
#include <QPen>

#include <algorithm>

namespace CoreGraphics {

RoundRectPath::RoundRectPath(QRectF const& rect, float radiusX, float radiusY)
    : mRect(rect), mRadiusX(radiusX), mRadiusY(radiusY) {
  CreatePath();
}

bool RoundRectPath::CreatePath() {
  mPath.reset();
  qreal const w = mRect.width();
  qreal const h = mRect.height();
  if (!(w > 0.0 && h > 0.0)) return false;
  auto path = std::make_unique<QPainterPath>();
  // A radius beyond half a side would make the corners overlap.
  qreal const rx = std::clamp<qreal>(mRadiusX, 0.0, w / 2.0);
  qreal const ry = std::clamp<qreal>(mRadiusY, 0.0, h / 2.0);
  if (rx <= 0.0 || ry <= 0.0) {
    path->addRect(0.0, 0.0, w, h);
  } else {
    // Start at the middle of the left edge and go round through the four corner arcs.
    path->moveTo(0.0, h / 2.0);
    path->arcTo(0.0, 0.0, 2.0 * rx, 2.0 * ry, 180.0, -90.0);
    path->lineTo(w - rx, 0.0);
    path->arcTo(w - 2.0 * rx, 0.0, 2.0 * rx, 2.0 * ry, 90.0, -90.0);
    path->lineTo(w, h - ry);
    path->arcTo(w - 2.0 * rx, h - 2.0 * ry, 2.0 * rx, 2.0 * ry, 0.0, -90.0);
    path->lineTo(rx, h);
    path->arcTo(0.0, h - 2.0 * ry, 2.0 * rx, 2.0 * ry, 270.0, -90.0);
    path->closeSubpath();
  }
  mPath = std::move(path);
  return true;
}

void RoundRectPath::Draw(QPainter* context, QPointF origin, float lineWidth) const {
  if (!CoreVerify(mPath)) return;
  context->save();
  context->translate(origin);
  context->scale(mScale, mScale);
  if (lineWidth > 0.0f) {
    QPen pen = context->pen();
    pen.setWidthF(lineWidth);
    context->setPen(pen);
    context->drawPath(*mPath);
  } else {
    context->fillPath(*mPath, context->brush());
  }
  context->restore();
}

}  // namespace CoreGraphics
