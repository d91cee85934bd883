#include "category_NSWindow_MouseMoveSize.h"

#include "NSWindow_Platform.h"

#include <QWidget>

namespace category_NSWindow_MouseMoveSize {

namespace {

// A window's capture steps: begin, move and up go to the move/size handlers.
class WindowSteps : public protocol_MouseCapture {
 public:
  explicit WindowSteps(QWidget* window) : mWindow(window) {}
  void mouseCaptureBegin(self_MouseCapture* record) override {
    if (auto* const r = dynamic_cast<NSWindow_MouseMoveSize*>(record)) windowMouseDownBegin(mWindow, r);
  }
  void mouseCaptureMove(self_MouseCapture* record) override {
    if (auto* const r = dynamic_cast<NSWindow_MouseMoveSize*>(record)) windowMouseMove(mWindow, r);
  }
  void mouseCaptureUp(self_MouseCapture* record) override {
    if (auto* const r = dynamic_cast<NSWindow_MouseMoveSize*>(record)) windowMouseUp(mWindow, r);
  }

 private:
  QWidget* mWindow;
};

bool PointInRect(QPointF p, QRectF const& r) {
  return p.x() >= r.x() && p.x() < r.x() + r.width() && p.y() >= r.y() &&
         p.y() < r.y() + r.height();
}

void RunMoveSize(QWidget* window, QMouseEvent const* event, NSWindow_HitTest region,
                 std::uint8_t unlimitedMove) {
  NSWindow_MouseMoveSize record(event);
  record.mHitRegion = region;
  record.mUnlimitedMove = unlimitedMove;
  WindowSteps steps(window);
  protocol_MouseCaptureEventLoop(window, &record, &steps);
}

}  // namespace

void windowMouseMoveSize_StandardBehaviour(QWidget* window, QMouseEvent const* event) {
  NSWindow_HitTest region = windowMouseMoveSize_MouseHitTest(window, event, QSizeF(32.0, 32.0));
  if (region != kNSWindow_HitBottomRight) region = kNSWindow_HitNone;
  RunMoveSize(window, event, region, 0);
}

void windowMouseMoveSize_FromHitRegion(QWidget* window, QMouseEvent const* event,
                                       NSWindow_HitTest region) {
  RunMoveSize(window, event, region, 1);
}

NSWindow_HitTest windowMouseMoveSize_MouseHitTest(QWidget* window, QMouseEvent const* event,
                                                  QSizeF cornerSize) {
  QPointF const p = NSWindow_Platform::windowLocation(window, event->globalPosition());
  qreal const w = window->width();
  qreal const h = window->height();
  qreal const cw = cornerSize.width();
  qreal const ch = cornerSize.height();
  if (PointInRect(p, QRectF(0.0, h - ch, cw, ch))) return kNSWindow_HitTopLeft;
  if (PointInRect(p, QRectF(w - cw, h - ch, cw, ch))) return kNSWindow_HitTopRight;
  if (PointInRect(p, QRectF(0.0, 0.0, cw, ch))) return kNSWindow_HitBottomLeft;
  if (PointInRect(p, QRectF(w - cw, 0.0, cw, ch))) return kNSWindow_HitBottomRight;
  return kNSWindow_HitNone;
}

void windowConstrainSize(QWidget* window, QSizeF size, QSizeF* newWindowSize) {
  QSize const minimum = window->minimumSize();
  QSize const maximum = window->maximumSize();
  size.setWidth(qMax<qreal>(size.width(), minimum.width()));
  size.setHeight(qMax<qreal>(size.height(), minimum.height()));
  size.setWidth(qMin<qreal>(size.width(), maximum.width()));
  size.setHeight(qMin<qreal>(size.height(), maximum.height()));
  *newWindowSize = windowMouseMoveSize_ConstrainAspectRatio(window, size);
}

QSizeF windowMouseMoveSize_ConstrainAspectRatio(QWidget* window, QSizeF size) {
  if (auto* const hooks = dynamic_cast<Hooks*>(window))
    return hooks->windowMouseMoveSize_ConstrainAspectRatio(size);
  return size;
}

void windowMouseMoveSize_SingleClick(QWidget* window) {
  if (auto* const hooks = dynamic_cast<Hooks*>(window)) hooks->windowMouseMoveSize_SingleClick();
}

void windowMouseMoveSize_OnDragMoved(QWidget* window) {
  if (auto* const hooks = dynamic_cast<Hooks*>(window)) hooks->windowMouseMoveSize_OnDragMoved();
}

void windowMouseDownBegin(QWidget* window, NSWindow_MouseMoveSize* record) {
  record->mStartFrame = NSWindow_Platform::frame(window);
  switch (record->mHitRegion) {
    case kNSWindow_HitTopLeft: record->mMode = kMouseMoveSize_SizeTopLeft; break;
    case kNSWindow_HitTopRight: record->mMode = kMouseMoveSize_SizeTopRight; break;
    case kNSWindow_HitBottomLeft: record->mMode = kMouseMoveSize_SizeBottomLeft; break;
    case kNSWindow_HitBottomRight: record->mMode = kMouseMoveSize_SizeBottomRight; break;
    default: record->mMode = kMouseMoveSize_Drag; break;
  }
  if (record->mMode == kMouseMoveSize_Drag)
    record->mGrabOffset = record->mStart - record->mStartFrame.topLeft();
}

void windowMouseMove(QWidget* window, NSWindow_MouseMoveSize* record) {
  qreal const dx = record->mCurrent.x() - record->mStart.x();
  qreal const dy = record->mCurrent.y() - record->mStart.y();
  QRectF const start = record->mStartFrame;
  qreal const x0 = start.x();
  qreal const y0 = start.y();
  qreal const w0 = start.width();
  qreal const h0 = start.height();

  auto const resize = [&](QSizeF proposed, auto origin) {
    QSizeF constrained;
    windowConstrainSize(window, proposed, &constrained);
    QPointF const o = origin(proposed, constrained);
    NSWindow_Platform::setFrame(window, QRectF(o, constrained));
  };

  switch (record->mMode) {
    case kMouseMoveSize_Drag: {
      QPointF origin(x0 + dx, y0 + dy);
      qreal const frameHeight = NSWindow_Platform::frame(window).height();
      if (!record->mUnlimitedMove) {
        QRectF const screen = NSWindow_Platform::mainScreenFrame();
        qreal const screenTop = screen.y() + screen.height();
        if (origin.y() + frameHeight > screenTop) origin.setY(screenTop - frameHeight);
      }
      NSWindow_Platform::setFrameOrigin(window, origin);
      windowMouseMoveSize_OnDragMoved(window);
      break;
    }
    case kMouseMoveSize_SizeBottomRight:
      resize(QSizeF(w0 + dx, h0 - dy), [&](QSizeF p, QSizeF c) {
        return QPointF(x0 + (p.width() - c.width()), y0 + h0 - p.height());
      });
      break;
    case kMouseMoveSize_SizeTopRight:
      resize(QSizeF(w0 + dx, h0 + dy), [&](QSizeF p, QSizeF c) {
        return QPointF(x0 + (p.width() - c.width()), y0 + (p.height() - c.height()));
      });
      break;
    case kMouseMoveSize_SizeTopLeft:
      resize(QSizeF(w0 + dx, h0 + dy), [&](QSizeF p, QSizeF c) {
        return QPointF(x0 - dx, y0 + (p.height() - c.height()));
      });
      break;
    case kMouseMoveSize_SizeBottomLeft:
      resize(QSizeF(w0 + dx, h0 - dy), [&](QSizeF p, QSizeF) {
        return QPointF(x0 - dx, y0 + h0 - p.height());
      });
      break;
    default:
      break;
  }
}

void windowMouseUp(QWidget* window, NSWindow_MouseMoveSize* record) {
  if (record->mCurrent == record->mStart) windowMouseMoveSize_SingleClick(window);
  record->mMode = kMouseMoveSize_Idle;
}

}  // namespace category_NSWindow_MouseMoveSize
