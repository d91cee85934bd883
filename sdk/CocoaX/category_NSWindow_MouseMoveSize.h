// Moving and resizing borderless windows with the mouse, through the capture loop. Frames
// and points are in the kit's screen coordinates (y upwards, origin bottom-left).
#pragma once

#include "protocol_MouseCapture.h"

#include <QRectF>
#include <QSizeF>

#include <cstdint>

class QWidget;

namespace category_NSWindow_MouseMoveSize {

enum NSWindow_HitTest : std::int32_t {
  kNSWindow_HitNone = 0,
  kNSWindow_HitTopLeft = 1,
  kNSWindow_HitTopRight = 2,
  kNSWindow_HitBottomLeft = 3,
  kNSWindow_HitBottomRight = 4,
};

enum : std::int32_t {
  kMouseMoveSize_Idle = 0,
  kMouseMoveSize_Drag = 1,
  kMouseMoveSize_SizeTopLeft = 2,
  kMouseMoveSize_SizeTopRight = 3,
  kMouseMoveSize_SizeBottomRight = 4,
  kMouseMoveSize_SizeBottomLeft = 5,
};

struct NSWindow_MouseMoveSize : self_MouseCapture {
  using self_MouseCapture::self_MouseCapture;

  NSWindow_HitTest mHitRegion = kNSWindow_HitNone;
  QPointF mGrabOffset;
  QRectF mStartFrame;
  std::int32_t mMode = kMouseMoveSize_Idle;
  std::uint8_t mUnlimitedMove = 0;  // 0 keeps the window below the main screen's top
};

// Steps a window class may override; a window without them gets the defaults.
class Hooks {
 public:
  virtual ~Hooks() = default;
  virtual QSizeF windowMouseMoveSize_ConstrainAspectRatio(QSizeF size) { return size; }
  virtual void windowMouseMoveSize_SingleClick() {}
  virtual void windowMouseMoveSize_OnDragMoved() {}
};

// The usual mouse-down handler: the bottom-right 32 x 32 corner resizes, anywhere else moves.
void windowMouseMoveSize_StandardBehaviour(QWidget* window, QMouseEvent const* event);
// The same from the caller's region; the window may leave the top of the screen.
void windowMouseMoveSize_FromHitRegion(QWidget* window, QMouseEvent const* event,
                                       NSWindow_HitTest region);
NSWindow_HitTest windowMouseMoveSize_MouseHitTest(QWidget* window, QMouseEvent const* event,
                                                  QSizeF cornerSize);
// newWindowSize := size raised to the minimum, lowered to the maximum, then the aspect hook.
void windowConstrainSize(QWidget* window, QSizeF size, QSizeF* newWindowSize);

QSizeF windowMouseMoveSize_ConstrainAspectRatio(QWidget* window, QSizeF size);
void windowMouseMoveSize_SingleClick(QWidget* window);
void windowMouseMoveSize_OnDragMoved(QWidget* window);

// The capture steps of a window.
void windowMouseDownBegin(QWidget* window, NSWindow_MouseMoveSize* record);
void windowMouseMove(QWidget* window, NSWindow_MouseMoveSize* record);
void windowMouseUp(QWidget* window, NSWindow_MouseMoveSize* record);

}  // namespace category_NSWindow_MouseMoveSize
