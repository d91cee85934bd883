// Skinned windows: borderless, clear, with the look drawn by a PDFSkinView; dragged
// anywhere to move, from the bottom-right corner to resize.
#pragma once

#include "NSAlphaWindow.h"

// Registers this module's classes by name (CocoaX_RegisterClasses registers the kit's).
void PDFSkinWindow_RegisterClasses();

class PDFSkinWindow : public NSAlphaWindowWithShadow {
  Q_OBJECT
 public:
  explicit PDFSkinWindow(QWidget* parent = nullptr);
  void initWithContentRect(QRectF const& contentRect, unsigned styleMask, unsigned backing,
                           bool defer) override;
  bool canBecomeKeyWindow() const { return true; }

 protected:
  void mousePressEvent(QMouseEvent* event) override;
};

// The About window: a click without dragging closes it.
class PDFSkinAboutBox : public PDFSkinWindow {
  Q_OBJECT
 public:
  using PDFSkinWindow::PDFSkinWindow;
  void windowMouseMoveSize_SingleClick() override;
};
