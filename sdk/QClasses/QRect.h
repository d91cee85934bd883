// Integer geometry of the pixel-surface library: rectangles, points and sizes with the
// platform's 16-bit layout. Qt has classes of the same names, so these live in a namespace.
#pragma once

#include "MacTypes.h"

namespace QClasses {

struct QSize {
  SInt16 width = 0;
  SInt16 height = 0;
};

struct QPoint : Point {
  QPoint() : Point{0, 0} {}
  QPoint(SInt16 h, SInt16 v) : Point{v, h} {}  // x then y, as SetPt takes them
  explicit QPoint(Point const& p) : Point(p) {}
  explicit QPoint(QSize const& size) : Point{size.height, size.width} {}
  bool operator==(QPoint const& o) const { return v == o.v && h == o.h; }
  bool operator!=(QPoint const& o) const { return !(*this == o); }
};

struct QRect : Rect {
  // Where GetRelativeRectWithin puts the placed rectangle.
  enum RelativePosition {
    kRelativeTopLeft = 0,
    kRelativeTopRight = 1,
    kRelativeBottomLeft = 2,
    kRelativeBottomRight = 3,
    kRelativeTopCentre = 4,
    kRelativeMiddleLeft = 5,
    kRelativeMiddleRight = 6,
    kRelativeBottomCentre = 7,
  };

  QRect() : Rect{0, 0, 0, 0} {}
  QRect(SInt16 t, SInt16 l, SInt16 b, SInt16 r) : Rect{t, l, b, r} {}
  QRect(Rect const& r) : Rect(r) {}  // NOLINT: the platform record converts freely

  SInt16 Width() const { return SInt16(right - left); }
  SInt16 Height() const { return SInt16(bottom - top); }
  QPoint Dimensions() const { return QPoint(Width(), Height()); }
  bool IsSameSize(QRect const& other) const {
    return Width() == other.Width() && Height() == other.Height();
  }
  bool operator==(QRect const& o) const {
    return top == o.top && left == o.left && bottom == o.bottom && right == o.right;
  }

  void CenterIn(QRect const& within, short width, short height);
  QRect GetCenteredRectWithin(QRect const& inner) const;
  QRect GetCenteredRectScaled(float const& scale) const;
  QRect GetRelativeRectWithin(QSize const& size, RelativePosition where, short inset) const;
  QRect GetRelativeRectWithin(QRect const& placed, RelativePosition where, short inset) const;
};

}  // namespace QClasses
