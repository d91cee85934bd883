#include "DVDVideoWindow.h"

#include <QCoreApplication>
#include <QCursor>
#include <QDragEnterEvent>
#include <QDropEvent>
#include <QFileInfo>
#include <QKeyEvent>
#include <QLayout>
#include <QMimeData>
#include <QMouseEvent>
#include <QMoveEvent>
#include <QScreen>
#include <QUrl>
#include <QWindow>

#include <cmath>

#include "CoreMachDebugLog.h"
#include "DVDVideoView.h"
#include "DVDWindowDelegate.h"
#include "NSScreenNumber.h"
#include "NSUIColorContentView.h"

namespace {

// The display the service last agreed to draw on.
SInt32 sCurrentDisplay = 0;

SInt16 Truncate16(double value) { return static_cast<SInt16>(static_cast<long>(value)); }

}  // namespace

void DVDVideoWindow::setDelegate(DVDWindowDelegate* delegate) {
  mDelegate = delegate ? delegate->delegateObject() : nullptr;
}

DVDVideoWindow::DVDVideoWindow(QWidget* parent) : QMainWindow(parent) {}

void DVDVideoWindow::awakeFromNib() {
  watchContentView();
  setAcceptDrops(true);
  // The video area is black; the menu bar keeps the desktop's colours.
  if (QWidget* content = centralWidget()) {
    QPalette pal = content->palette();
    pal.setColor(QPalette::Window, Qt::black);
    content->setPalette(pal);
    content->setAutoFillBackground(true);
  }
}

void DVDVideoWindow::watchContentView() {
  QWidget* content = centralWidget();
  if (content == mWatchedContentView) return;
  if (mWatchedContentView) mWatchedContentView->removeEventFilter(this);
  mWatchedContentView = content;
  if (content) {
    content->installEventFilter(this);
    // Mouse-moved events reach the disc menu without a button held.
    content->setMouseTracking(true);
  }
}

float DVDVideoWindow::titleAspectRatio() const {
  DVDAspectRatio code = 0;
  DVDGetAspectRatio(&code);
  if (code == kDVDAspectRatio16x9 || code == kDVDAspectRatioLetterBox) return 16.0f / 9.0f;
  return 4.0f / 3.0f;
}

QSizeF DVDVideoWindow::getVideoSize() const {
  UInt16 width = 720, height = 480;
  DVDGetNativeVideoSize(&width, &height);
  return QSizeF(static_cast<float>(height) * titleAspectRatio(), static_cast<float>(height));
}

DVDVideoWindow::WindowSize DVDVideoWindow::ComputeWindowSize(SInt32 mode, float aspect, QSizeF videoSize,
                                                             QRectF visible, QRectF frame, QSizeF content) {
  WindowSize result{content, frame.topLeft()};
  float width = static_cast<float>(content.width());
  float height = static_cast<float>(content.height());
  float const visibleWidth = static_cast<float>(visible.width());
  float const visibleHeight = static_cast<float>(visible.height());
  switch (mode) {
    case kRefit:
      width = aspect * height;
      if (width > visibleWidth) {
        width = visibleWidth;
        height = visibleWidth * (1.0f / aspect);
      }
      break;
    case kSmall:
      width = static_cast<float>(videoSize.width()) * 0.5f;
      height = static_cast<float>(videoSize.height()) * 0.5f;
      break;
    case kNormal:
      width = static_cast<float>(videoSize.width());
      height = static_cast<float>(videoSize.height());
      break;
    case kMaximum:
      if (aspect <= visibleWidth / visibleHeight) {
        height = visibleHeight;
        width = aspect * visibleHeight;
      } else {
        width = visibleWidth;
        height = visibleWidth * (1.0f / aspect);
      }
      result.anchor = visible.topLeft();
      break;
    default:
      break;
  }
  result.content = QSizeF(width, height);
  return result;
}

QRectF DVDVideoWindow::videoFrameRect() const {
  QRect const client = geometry();
  int const top = frameGeometry().top();
  return QRectF(client.left(), top, client.width(), client.bottom() + 1 - top);
}

UInt32 DVDVideoWindow::windowNumber() const { return static_cast<UInt32>(winId()); }

void DVDVideoWindow::setWindowSize(SInt32 mode) {
  QWidget* content = centralWidget();
  if (!content) return;
  if (layout()) layout()->activate();
  QScreen const* screen = this->screen();
  QRectF const visible = screen ? QRectF(screen->availableGeometry()) : QRectF(0, 0, 640, 480);
  WindowSize const size = ComputeWindowSize(mode, titleAspectRatio(), getVideoSize(), visible,
                                            QRectF(frameGeometry()), QSizeF(content->size()));
  // The window around the content (menu bar, borders) keeps its size.
  QSize const extra = this->size() - content->size();
  QSize const newContent(static_cast<int>(std::lround(size.content.width())),
                         static_cast<int>(std::lround(size.content.height())));
  // One change on screen: no refit of the content's own resize while the window is set.
  bool const wasResizing = mResizing;
  mResizing = true;
  setUpdatesEnabled(false);
  resize(newContent + extra);
  if (layout()) layout()->activate();
  // A narrower window may wrap the menu bar: the frame around the content grows.
  if (content->size() != newContent) {
    resize(newContent + (this->size() - content->size()));
    if (layout()) layout()->activate();
  }
  move(QPoint(static_cast<int>(std::lround(size.anchor.x())), static_cast<int>(std::lround(size.anchor.y()))));
  setUpdatesEnabled(true);
  mResizing = wasResizing;
}

Rect DVDVideoWindow::VideoBounds(double frameHeight, QSizeF content) {
  Rect r;
  r.top = Truncate16(frameHeight - content.height());
  r.left = 0;
  r.bottom = Truncate16(frameHeight);
  r.right = Truncate16(content.width());
  return r;
}

void DVDVideoWindow::setVideoBounds() {
  QWidget* content = centralWidget();
  if (!content) return;
  Rect qdRect = VideoBounds(videoFrameRect().height(), QSizeF(content->size()));
  CoreMachDebugVerifyOSerr(DVDSetVideoBounds (&qdRect));
}

void DVDVideoWindow::setupVideoWindow() {
  mSetUp = true;
  CoreMachDebugVerifyOSerr(DVDSetVideoWindowID (windowNumber()));
  if (auto* view = qobject_cast<DVDVideoView*>(centralWidget())) view->startPresenting();
  setVideoDisplay();
  setVideoBounds();
}

SInt32 DVDVideoWindow::CurrentDisplay() { return sCurrentDisplay; }

void DVDVideoWindow::SwitchToDisplay(SInt32 newDisplay) {
  if (newDisplay == sCurrentDisplay) return;
  Boolean isSupported = false;
  CoreMachDebugVerifyOSerr(DVDSwitchToDisplay (newDisplay, &isSupported));
  if (isSupported) sCurrentDisplay = newDisplay;
}

void DVDVideoWindow::setVideoDisplay() { SwitchToDisplay(NSScreenNumber(this)); }

void DVDVideoWindow::frameDidChange() {
  // The window's own resize is already at the right aspect.
  if (!mResizing && !mFullScreen) setWindowSize(kRefit);
  // Before launch the session has not started: the set-up tells the service the bounds.
  if (mSetUp) setVideoBounds();
}

void DVDVideoWindow::windowDidMove() {
  if (mSetUp) setVideoDisplay();
}

void DVDVideoWindow::moveEvent(QMoveEvent* event) {
  QMainWindow::moveEvent(event);
  windowDidMove();
}

Point DVDVideoWindow::MenuPoint(QPointF location, double frameHeight) {
  Point pt;
  pt.h = Truncate16(location.x());
  pt.v = Truncate16(frameHeight - location.y());
  return pt;
}

void DVDVideoWindow::sendEvent(QEvent* event, QPointF positionInContent) {
  // Window base coordinates: from the frame's bottom-left corner, y up.
  QRectF const frame = videoFrameRect();
  QPointF const inClient = QPointF(centralWidget()->mapTo(this, QPoint(0, 0))) + positionInContent;
  QPointF const inFrame = inClient + QPointF(0, geometry().top() - frameGeometry().top());
  QPointF const location(inFrame.x(), frame.height() - inFrame.y());
  Point const pt = MenuPoint(location, frame.height());
  SInt32 buttonIndex = -1;
  if (event->type() == QEvent::MouseButtonPress &&
      static_cast<QMouseEvent*>(event)->button() == Qt::LeftButton) {
    DVDDoMenuClick(pt, &buttonIndex);
  } else if (event->type() == QEvent::MouseMove) {
    DVDDoMenuMouseOver(pt, &buttonIndex);
  }
  centralWidget()->setCursor(buttonIndex != -1 ? Qt::PointingHandCursor : Qt::ArrowCursor);
}

bool DVDVideoWindow::eventFilter(QObject* watched, QEvent* event) {
  if (watched == mWatchedContentView && mWatchedContentView) {
    switch (event->type()) {
      case QEvent::MouseButtonPress:
      case QEvent::MouseButtonRelease:
      case QEvent::MouseMove:
      case QEvent::MouseButtonDblClick:
        sendEvent(event, static_cast<QMouseEvent*>(event)->position());
        break;
      case QEvent::Enter:
      case QEvent::Leave:
      case QEvent::Wheel:
        sendEvent(event, QPointF(mWatchedContentView->mapFromGlobal(QCursor::pos())));
        break;
      case QEvent::Resize:
        frameDidChange();
        break;
      default:
        break;
    }
  }
  return QMainWindow::eventFilter(watched, event);
}

bool DVDWindowKeyDown(QWidget* window, DVDWindowDelegate* delegate, QKeyEvent* event) {
  if (!delegate || !delegate->onKeyDown(event)) return false;
  // Key presses that piled up while this one was handled (a held-down arrow) are dropped.
  QCoreApplication::removePostedEvents(window, QEvent::KeyPress);
  if (QWidget* focus = window->focusWidget()) QCoreApplication::removePostedEvents(focus, QEvent::KeyPress);
  if (QWindow* handle = window->windowHandle()) QCoreApplication::removePostedEvents(handle, QEvent::KeyPress);
  event->accept();
  return true;
}

void DVDVideoWindow::keyPressEvent(QKeyEvent* event) {
  if (DVDWindowKeyDown(this, qobject_cast<DVDWindowDelegate*>(mDelegate.data()), event)) return;
  QMainWindow::keyPressEvent(event);
}

namespace {

// A local folder or disc image among the dropped URLs.
QString DroppedMediaPath(QMimeData const* mime) {
  if (!mime || !mime->hasUrls()) return {};
  for (QUrl const& url : mime->urls()) {
    if (!url.isLocalFile()) continue;
    QFileInfo const info(url.toLocalFile());
    if (info.isDir() || (info.isFile() && info.suffix().compare(QLatin1String("iso"), Qt::CaseInsensitive) == 0))
      return info.absoluteFilePath();
  }
  return {};
}

}  // namespace

void DVDVideoWindow::dragEnterEvent(QDragEnterEvent* event) {
  if (!DroppedMediaPath(event->mimeData()).isEmpty()) event->acceptProposedAction();
}

void DVDVideoWindow::dropEvent(QDropEvent* event) {
  QString const path = DroppedMediaPath(event->mimeData());
  if (path.isEmpty()) return;
  event->acceptProposedAction();
  emit mediaDropped(path);
}
