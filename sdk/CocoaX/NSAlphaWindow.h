// Borderless windows and panels with a clear background; the views they hold give the look.
#pragma once

#include "category_NSWindow_MouseMoveSize.h"

#include <QRectF>
#include <QWidget>

// Registers this module's classes by name (CocoaX_RegisterClasses registers the kit's).
void NSAlphaWindow_RegisterClasses();

namespace NSAlphaWindow {

// Subclass step run last by NSAlphaWindow_setProperties.
class Hooks {
 public:
  virtual ~Hooks() = default;
  virtual void NSAlphaWindow_initSubclass() {}
};

// Clear background, normal window level, alpha 1.0, not opaque, shadow on. The shadow
// argument is not used: windows "without shadow" have always had one too.
void NSAlphaWindow_setProperties(QWidget* window, bool shadow);

}  // namespace NSAlphaWindow

// Common ground of the four classes: borderless, buffered, movable through the hooks.
class NSAlphaWindowBase : public QWidget,
                          public NSAlphaWindow::Hooks,
                          public category_NSWindow_MouseMoveSize::Hooks {
  Q_OBJECT
 public:
  explicit NSAlphaWindowBase(QWidget* parent = nullptr, Qt::WindowFlags flags = Qt::Window);

 protected:
  // Borderless (style 0) and buffered (2) whatever is asked; contentRect is in the kit's
  // screen coordinates, an empty one keeps the geometry.
  void initAlphaWindow(QRectF const& contentRect, bool shadow);
};

class NSAlphaWindowWithShadow : public NSAlphaWindowBase {
  Q_OBJECT
 public:
  explicit NSAlphaWindowWithShadow(QWidget* parent = nullptr);
  virtual void initWithContentRect(QRectF const& contentRect, unsigned styleMask,
                                   unsigned backing, bool defer);
};

class NSAlphaWindowWithoutShadow : public NSAlphaWindowBase {
  Q_OBJECT
 public:
  explicit NSAlphaWindowWithoutShadow(QWidget* parent = nullptr);
  void initWithContentRect(QRectF const& contentRect, unsigned styleMask, unsigned backing,
                           bool defer);
};

// Panels take the first click and move or resize from any of their four corners.
class NSAlphaPanelBase : public NSAlphaWindowBase {
  Q_OBJECT
 public:
  explicit NSAlphaPanelBase(QWidget* parent = nullptr);
  bool acceptsFirstMouse(QMouseEvent const*) const { return true; }

 protected:
  void mousePressEvent(QMouseEvent* event) override;
};

class NSAlphaPanelWithShadow : public NSAlphaPanelBase {
  Q_OBJECT
 public:
  using NSAlphaPanelBase::NSAlphaPanelBase;
  void initWithContentRect(QRectF const& contentRect, unsigned styleMask, unsigned backing,
                           bool defer);
};

class NSAlphaPanelWithoutShadow : public NSAlphaPanelBase {
  Q_OBJECT
 public:
  using NSAlphaPanelBase::NSAlphaPanelBase;
  void initWithContentRect(QRectF const& contentRect, unsigned styleMask, unsigned backing,
                           bool defer);
};
