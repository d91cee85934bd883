#include "NSAlphaWindow.h"

#include "NSClassRegistry.h"
#include "NSWindow_Platform.h"

#include "CoreMachDebugLog.h"

#include <QMouseEvent>

void NSAlphaWindow_RegisterClasses() {
  NS_REGISTER_CLASS(NSAlphaWindowWithShadow);
  NS_REGISTER_CLASS(NSAlphaWindowWithoutShadow);
  NS_REGISTER_CLASS(NSAlphaPanelWithShadow);
  NS_REGISTER_CLASS(NSAlphaPanelWithoutShadow);
}

namespace NSAlphaWindow {

void NSAlphaWindow_setProperties(QWidget* window, bool /*shadow*/) {
  NSWindow_Platform::setOpaque(window, false);
  NSWindow_Platform::setLevel(window, NSWindow_Platform::CGWindowLevelForKey(4));
  NSWindow_Platform::setAlphaValue(window, 1.0f);
  NSWindow_Platform::setHasShadow(window, true);
  if (auto* const hooks = dynamic_cast<Hooks*>(window)) hooks->NSAlphaWindow_initSubclass();
}

}  // namespace NSAlphaWindow

NSAlphaWindowBase::NSAlphaWindowBase(QWidget* parent, Qt::WindowFlags flags)
    : QWidget(parent, flags | Qt::FramelessWindowHint) {}

void NSAlphaWindowBase::initAlphaWindow(QRectF const& contentRect, bool shadow) {
  setWindowFlag(Qt::FramelessWindowHint, true);
  if (!contentRect.isEmpty()) NSWindow_Platform::setFrame(this, contentRect);
  NSAlphaWindow::NSAlphaWindow_setProperties(this, shadow);
}

NSAlphaWindowWithShadow::NSAlphaWindowWithShadow(QWidget* parent) : NSAlphaWindowBase(parent) {}

void NSAlphaWindowWithShadow::initWithContentRect(QRectF const& contentRect, unsigned, unsigned,
                                                  bool) {
  initAlphaWindow(contentRect, true);
}

NSAlphaWindowWithoutShadow::NSAlphaWindowWithoutShadow(QWidget* parent)
    : NSAlphaWindowBase(parent) {}

void NSAlphaWindowWithoutShadow::initWithContentRect(QRectF const& contentRect, unsigned,
                                                     unsigned, bool) {
  initAlphaWindow(contentRect, false);
}

NSAlphaPanelBase::NSAlphaPanelBase(QWidget* parent) : NSAlphaWindowBase(parent, Qt::Tool) {}

void NSAlphaPanelBase::mousePressEvent(QMouseEvent* event) {
  if (event->button() != Qt::LeftButton) return QWidget::mousePressEvent(event);
  using namespace category_NSWindow_MouseMoveSize;
  NSWindow_HitTest const region = windowMouseMoveSize_MouseHitTest(this, event, QSizeF(32.0, 32.0));
  windowMouseMoveSize_FromHitRegion(this, event, region);
}

void NSAlphaPanelWithShadow::initWithContentRect(QRectF const& contentRect, unsigned, unsigned,
                                                 bool) {
  initAlphaWindow(contentRect, true);
}

void NSAlphaPanelWithoutShadow::initWithContentRect(QRectF const& contentRect, unsigned,
                                                    unsigned, bool) {
  initAlphaWindow(contentRect, false);
}
