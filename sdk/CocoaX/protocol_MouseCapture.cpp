#include "protocol_MouseCapture.h"

#include "NSWindow_Platform.h"

#include <QCoreApplication>
#include <QEventLoop>
#include <QPointer>
#include <QWidget>

#include <deque>

self_MouseCaptureEvent self_MouseCaptureEventFrom(QMouseEvent const* event) {
  self_MouseCaptureEvent copy;
  if (!event) return copy;
  copy.mType = event->type();
  copy.mGlobalPosition = event->globalPosition();
  copy.mModifiers = event->modifiers();
  copy.mButton = event->button();
  copy.mButtons = event->buttons();
  return copy;
}

self_MouseCapture::self_MouseCapture(QMouseEvent const* startEvent)
    : mEvent(self_MouseCaptureEventFrom(startEvent)) {}

self_MouseCapture::~self_MouseCapture() = default;

protocol_MouseCapture::~protocol_MouseCapture() = default;
void protocol_MouseCapture::mouseCaptureBegin(self_MouseCapture*) {}
void protocol_MouseCapture::mouseCaptureMove(self_MouseCapture*) {}
void protocol_MouseCapture::mouseCaptureIdle(self_MouseCapture*) {}
void protocol_MouseCapture::mouseCaptureUp(self_MouseCapture*) {}
void protocol_MouseCapture::mouseCaptureEnd(self_MouseCapture*) {}

QPointF mouseCaptureScreenLocation(self_MouseCapture const* record) {
  return NSWindow_Platform::screenLocation(record->mEvent.mGlobalPosition);
}

QPointF mouseCaptureWindowLocation(QWidget const* view, self_MouseCapture const* record) {
  return NSWindow_Platform::windowLocation(view->window(), record->mEvent.mGlobalPosition);
}

QPointF mouseCaptureLocation(QObject* object, self_MouseCapture const* record) {
  auto* const widget = qobject_cast<QWidget*>(object);
  if (!widget) return QPointF();
  return widget->isWindow() ? mouseCaptureScreenLocation(record)
                            : mouseCaptureWindowLocation(widget, record);
}

namespace {

// Takes the window's left-button drags and releases out of normal dispatch while capturing.
class CaptureFilter : public QObject {
 public:
  explicit CaptureFilter(QWidget* window) : mWindow(window) {
    QCoreApplication::instance()->installEventFilter(this);
  }
  ~CaptureFilter() override { QCoreApplication::instance()->removeEventFilter(this); }

  bool eventFilter(QObject* receiver, QEvent* event) override {
    QEvent::Type const type = event->type();
    if (type != QEvent::MouseMove && type != QEvent::MouseButtonRelease) return false;
    if (!receiver->isWidgetType() || static_cast<QWidget*>(receiver)->window() != mWindow)
      return false;
    auto const* const mouse = static_cast<QMouseEvent const*>(event);
    if (type == QEvent::MouseMove && !(mouse->buttons() & Qt::LeftButton)) return false;
    if (type == QEvent::MouseButtonRelease && mouse->button() != Qt::LeftButton) return false;
    mQueue.push_back(self_MouseCaptureEventFrom(mouse));
    return true;
  }

  QPointer<QWidget> mWindow;
  std::deque<self_MouseCaptureEvent> mQueue;
};

}  // namespace

void protocol_MouseCaptureEventLoop(QObject* object, self_MouseCapture* record,
                                    protocol_MouseCapture* steps) {
  protocol_MouseCapture none;
  if (!steps) steps = dynamic_cast<protocol_MouseCapture*>(object);
  if (!steps) steps = &none;

  record->mCurrent = record->mStart = mouseCaptureLocation(object, record);
  auto* const widget = qobject_cast<QWidget*>(object);
  if (!widget) return;
  QWidget* const window = widget->window();

  bool const shift = record->mEvent.mModifiers.testFlag(Qt::ShiftModifier);
  if (shift) {
    record->mConstrain = 1;
    record->mAnchor = record->mLast = record->mStart;
  } else {
    record->mConstrain = 0;
  }
  steps->mouseCaptureBegin(record);

  CaptureFilter filter(window);
  QPointer<QObject> const alive(object);
  // One event as it arrives; true when it ended the capture.
  auto const handle = [&](self_MouseCaptureEvent const& event) {
    bool const up = event.mType == QEvent::MouseButtonRelease;
    record->mEvent = event;
    record->mCurrent = mouseCaptureLocation(object, record);
    if (!record->mConstrain) steps->mouseCaptureMove(record);
    if (up) {
      steps->mouseCaptureUp(record);
      record->mConstrain = 0;
      steps->mouseCaptureEnd(record);
    }
    return up;
  };

  for (;;) {
    while (filter.mQueue.empty()) {
      // A window closed under the mouse ends the capture without an up step.
      if (!alive || !filter.mWindow) return;
      QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    }
    record->mIdle = 0;
    do {
      while (!filter.mQueue.empty()) {
        self_MouseCaptureEvent const event = filter.mQueue.front();
        filter.mQueue.pop_front();
        if (handle(event)) return;
      }
      if (!alive || !filter.mWindow) return;
      QCoreApplication::processEvents(QEventLoop::AllEvents);
    } while (!filter.mQueue.empty());
    if (record->mConstrain) {
      record->mLast = record->mCurrent;
    } else {
      record->mIdle = 1;
    }
    steps->mouseCaptureIdle(record);
  }
}
