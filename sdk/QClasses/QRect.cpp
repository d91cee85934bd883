#include "QRect.h"

namespace QClasses {

void QRect::CenterIn(QRect const& within, short width, short height) {
  int const dx = (within.Width() - width) / 2;
  int const dy = (within.Height() - height) / 2;
  *this = QRect(SInt16(within.top + dy), SInt16(within.left + dx), SInt16(within.bottom - dy),
                SInt16(within.right - dx));
}

QRect QRect::GetCenteredRectWithin(QRect const& inner) const {
  SInt16 const t = SInt16(top + (Height() - inner.Height()) / 2);
  SInt16 const l = SInt16(left + (Width() - inner.Width()) / 2);
  return QRect(t, l, SInt16(t + inner.Height()), SInt16(l + inner.Width()));
}

QRect QRect::GetCenteredRectScaled(float const& scale) const {
  int const scaledWidth = int(float(Width()) * scale);
  int const scaledHeight = int(float(Height()) * scale);
  return GetCenteredRectWithin(QRect(0, 0, SInt16(scaledHeight), SInt16(scaledWidth)));
}

QRect QRect::GetRelativeRectWithin(QSize const& size, RelativePosition where, short inset) const {
  int const w = size.width, h = size.height;
  QRect const centred = GetCenteredRectWithin(QRect(0, 0, size.height, size.width));
  int t = inset, l = inset;
  // Values 4-7 measure some edges from 0 rather than from this rectangle's corner; the two
  // agree for a rectangle at (0,0), which is how the library is used.
  switch (where) {
    case kRelativeTopLeft: t = top + inset; l = left + inset; break;
    case kRelativeTopRight: t = top + inset; l = right - (inset + w); break;
    case kRelativeBottomLeft: t = bottom - (inset + h); l = left + inset; break;
    case kRelativeBottomRight: t = bottom - (inset + h); l = right - (inset + w); break;
    case kRelativeTopCentre: t = inset; l = centred.left; break;
    case kRelativeMiddleLeft: t = centred.top; l = inset; break;
    case kRelativeMiddleRight: t = centred.top; l = (right - left) - (inset + w); break;
    case kRelativeBottomCentre: t = (bottom - top) - (inset + h); l = centred.left; break;
    default: break;
  }
  return QRect(SInt16(t), SInt16(l), SInt16(t + h), SInt16(l + w));
}

QRect QRect::GetRelativeRectWithin(QRect const& placed, RelativePosition where, short inset) const {
  return GetRelativeRectWithin(QSize{placed.Width(), placed.Height()}, where, inset);
}

}  // namespace QClasses
