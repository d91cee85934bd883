#include "NSUITransparentWindow.h"

#include "CocoaX_Verify.h"
#include "NSWindow_Platform.h"

#include "CoreMachDebugLog.h"

#include <QEvent>
#include <QPaintEvent>
#include <QPainter>

void NSUITransparentWindow_RegisterClasses() {
  NS_REGISTER_CLASS(NSUITransparentWindow);
  NS_REGISTER_CLASS(NSUITransparentWindowView);
}

NSUITransparentWindow::NSUITransparentWindow(QWidget* parent)
    : QWidget(parent, Qt::Window | Qt::FramelessWindowHint) {}

void NSUITransparentWindow::initWithContentRect(QRectF const& contentRect, unsigned, unsigned,
                                                bool) {
  setWindowFlag(Qt::FramelessWindowHint, true);
  if (!contentRect.isEmpty()) NSWindow_Platform::setFrame(this, contentRect);
  NSWindow_Platform::setOpaque(this, false);
  NSWindow_Platform::setLevel(this, NSWindow_Platform::CGWindowLevelForKey(9));
  NSWindow_Platform::setAlphaValue(this, 1.0f);
  NSWindow_Platform::setHasShadow(this, false);
}

void NSUITransparentWindow::awakeFromNib() {
  if (!mUIOverlayView) mUIOverlayView = findChild<NSUITransparentWindowView*>();
  if (mUnderlayWindow) bindToUnderlayWindow();
}

void NSUITransparentWindow::setUnderlayWindow(QWidget* window) {
  mUnderlayWindow = window;
  if (mUnderlayWindow) bindToUnderlayWindow();
}

void NSUITransparentWindow::setUnderlayWindowObject(QObject* sender) {
  auto* const window = qobject_cast<QWidget*>(sender);
  if (!CocoaXVerifyText(window && window->isWindow(), "[sender isKindOfClass:[NSWindow class]]"))
    return;
  setUnderlayWindow(window);
}

void NSUITransparentWindow::bindToUnderlayWindow() {
  if (!CoreVerify(mUnderlayWindow)) return;
  if (mObservedWindow == mUnderlayWindow) return;
  if (mObservedWindow) mObservedWindow->removeEventFilter(this);
  mObservedWindow = mUnderlayWindow;
  mObservedWindow->installEventFilter(this);
}

bool NSUITransparentWindow::eventFilter(QObject* watched, QEvent* event) {
  if (watched == mObservedWindow) {
    if (event->type() == QEvent::Resize) windowDidResize(watched);
    else if (event->type() == QEvent::Move) windowDidMove(watched);
  }
  return QWidget::eventFilter(watched, event);
}

void NSUITransparentWindow::windowDidResize(QObject* object) {
  if (object == mUnderlayWindow) syncronizeWindowSizes();
}

void NSUITransparentWindow::windowWillMove(QObject* object) {
  if (object == mUnderlayWindow) syncronizeWindowPositions();
}

void NSUITransparentWindow::windowDidMove(QObject* object) {
  if (object == mUnderlayWindow) syncronizeWindowPositions();
}

void NSUITransparentWindow::syncronizeWindowPositions() {
  if (!CoreVerify(mUnderlayWindow)) return;
  NSWindow_Platform::setFrameOrigin(this, NSWindow_Platform::frame(mUnderlayWindow).topLeft());
}

void NSUITransparentWindow::syncronizeWindowSizes() {
  if (!CoreVerify(mUnderlayWindow)) return;
  NSWindow_Platform::setFrame(this, NSWindow_Platform::frame(mUnderlayWindow));
}

void NSUITransparentWindow::syncUnderlayWindowSizePosition(QObject*) {
  syncronizeWindowSizes();
  syncronizeWindowPositions();
}

void NSUITransparentWindow::syncOverlayPositionFromUnderlayPosition() {
  syncronizeWindowPositions();
}

void NSUITransparentWindow::setSmoothShowHideWindowOpacity(float opacity) {
  NSWindow_Platform::setAlphaValue(this, opacity);
}

void NSUITransparentWindow::smoothShowWindow(QObject*) { setSmoothShowHideWindowOpacity(kShowOpacity); }

void NSUITransparentWindow::smoothHideWindow(QObject*) { setSmoothShowHideWindowOpacity(kHideOpacity); }

void NSUITransparentWindow::showOverlayView(QObject* sender) {
  NSWindow_Platform::setHasShadow(this, false);
  if (mUIOverlayView) mUIOverlayView->setVisible(true);
  smoothShowWindow(sender);
}

void NSUITransparentWindow::hideOverlayView(QObject* sender) {
  NSWindow_Platform::setHasShadow(this, false);
  if (mUIOverlayView) mUIOverlayView->setVisible(false);
  // The window stays at the show opacity: the hidden view is what disappears.
  smoothShowWindow(sender);
}

NSUITransparentWindowView::NSUITransparentWindowView(QWidget* parent) : QWidget(parent) {}

void NSUITransparentWindowView::initWithFrame(QRect const& frame) {
  if (!frame.isEmpty()) setGeometry(frame);
}

void NSUITransparentWindowView::awakeFromNib() { update(); }

void NSUITransparentWindowView::ensureOverlayVisible(QObject*) {
  if (QWidget* const w = window(); w && w != this)
    NSWindow_Platform::setAlphaValue(w, NSUITransparentWindow::kShowOpacity);
  if (isHidden()) setVisible(true);
}

void NSUITransparentWindowView::ensureOverlayHidden(QObject*) {
  if (QWidget* const w = window(); w && w != this)
    NSWindow_Platform::setAlphaValue(w, NSUITransparentWindow::kShowOpacity);
  if (!isHidden()) setVisible(false);
}

void NSUITransparentWindowView::paintEvent(QPaintEvent* event) {
  QPainter context(this);
  context.setCompositionMode(QPainter::CompositionMode_Clear);
  context.fillRect(event->rect(), Qt::transparent);
}
