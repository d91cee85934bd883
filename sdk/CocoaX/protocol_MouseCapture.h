// A private mouse-capture loop: after a mouse-down it follows the left button's drags until
// the button goes up, calling the capturing object's steps. Positions are in the kit's
// coordinates (y upwards): screen coordinates for a window, window coordinates for a view.
#pragma once

#include <QMouseEvent>
#include <QPointF>

#include <cstdint>

class QObject;

// What the loop keeps of a mouse event. Qt's events share their point with the device, so a
// later event changes an earlier one; the values are copied when the event arrives.
struct self_MouseCaptureEvent {
  QEvent::Type mType = QEvent::None;
  QPointF mGlobalPosition;
  Qt::KeyboardModifiers mModifiers;
  Qt::MouseButton mButton = Qt::NoButton;
  Qt::MouseButtons mButtons;
};

self_MouseCaptureEvent self_MouseCaptureEventFrom(QMouseEvent const* event);

struct self_MouseCapture {
  explicit self_MouseCapture(QMouseEvent const* startEvent);
  virtual ~self_MouseCapture();

  std::uint8_t mConstrain = 0;  // Shift held in the starting event
  std::uint8_t mIdle = 0;       // the loop last went idle without the constrain flag
  QPointF mStart;
  QPointF mCurrent;
  QPointF mAnchor;
  QPointF mLast;
  self_MouseCaptureEvent mEvent;  // the event being handled
};

// The steps of a capturing object; each does nothing unless the object overrides it.
class protocol_MouseCapture {
 public:
  virtual ~protocol_MouseCapture();
  virtual void mouseCaptureBegin(self_MouseCapture* record);
  virtual void mouseCaptureMove(self_MouseCapture* record);
  virtual void mouseCaptureIdle(self_MouseCapture* record);
  virtual void mouseCaptureUp(self_MouseCapture* record);
  virtual void mouseCaptureEnd(self_MouseCapture* record);
};

// Location of the record's event for object: a window's in screen, a view's in its window.
QPointF mouseCaptureLocation(QObject* object, self_MouseCapture const* record);
QPointF mouseCaptureScreenLocation(self_MouseCapture const* record);
QPointF mouseCaptureWindowLocation(QWidget const* view, self_MouseCapture const* record);

// Runs the loop for object (a window or a view; anything else returns at once). The steps
// are steps when given, else the object's own when it implements them, else nothing.
void protocol_MouseCaptureEventLoop(QObject* object, self_MouseCapture* record,
                                    protocol_MouseCapture* steps = nullptr);
