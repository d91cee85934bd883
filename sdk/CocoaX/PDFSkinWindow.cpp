#include "PDFSkinWindow.h"

#include "NSClassRegistry.h"
#include "PDFSkinView.h"

#include "CoreMachDebugLog.h"

#include <QMouseEvent>

void PDFSkinWindow_RegisterClasses() {
  NS_REGISTER_CLASS(PDFSkinWindow);
  NS_REGISTER_CLASS(PDFSkinAboutBox);
}

PDFSkinWindow::PDFSkinWindow(QWidget* parent) : NSAlphaWindowWithShadow(parent) {}

void PDFSkinWindow::initWithContentRect(QRectF const& contentRect, unsigned styleMask,
                                        unsigned backing, bool defer) {
  NSAlphaWindowWithShadow::initWithContentRect(contentRect, styleMask, backing, defer);
}

void PDFSkinWindow::mousePressEvent(QMouseEvent* event) {
  if (event->button() != Qt::LeftButton) return QWidget::mousePressEvent(event);
  category_NSWindow_MouseMoveSize::windowMouseMoveSize_StandardBehaviour(this, event);
}

void PDFSkinAboutBox::windowMouseMoveSize_SingleClick() { hide(); }
