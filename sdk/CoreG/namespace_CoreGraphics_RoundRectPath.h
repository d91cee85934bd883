// A rounded-rectangle path: four elliptic corners joined by straight edges.
#pragma once

#include <QPainterPath>
#include <QPointF>
#include <QRectF>

#include <memory>

class QPainter;

namespace CoreGraphics {

class RoundRectPath {
 public:
  // No path: drawing logs and does nothing.
  RoundRectPath() = default;
  // The path takes the rectangle's size with its corner at (0, 0); Draw places it.
  RoundRectPath(QRectF const& rect, float radiusX, float radiusY);
  RoundRectPath(RoundRectPath const&) = delete;
  RoundRectPath& operator=(RoundRectPath const&) = delete;

  // Builds the path again; an empty rectangle leaves none.
  bool CreatePath();
  // Fills with the painter's brush; with a line width above 0 also strokes with its pen.
  void Draw(QPainter* context, QPointF origin, float lineWidth) const;

  QRectF mRect;
  float mRadiusX = 0.0f;
  float mRadiusY = 0.0f;
  float mScale = 1.0f;
  std::unique_ptr<QPainterPath> mPath;
};

}  // namespace CoreGraphics
