// A borderless overlay window that floats over another window (its underlay) and follows
// the underlay's position and size.
#pragma once

#include "NSClassRegistry.h"

#include <QPointer>
#include <QRectF>
#include <QWidget>

// Registers this module's classes by name (CocoaX_RegisterClasses registers the kit's).
void NSUITransparentWindow_RegisterClasses();

class NSUITransparentWindowView;

class NSUITransparentWindow : public QWidget, public NSNibAwaking {
  Q_OBJECT
 public:
  explicit NSUITransparentWindow(QWidget* parent = nullptr);

  // Borderless and buffered whatever is asked; clear, status level, alpha 1, no shadow.
  void initWithContentRect(QRectF const& contentRect, unsigned styleMask, unsigned backing,
                           bool defer);
  bool canBecomeKeyWindow() const { return true; }
  void awakeFromNib() override;

  void setUnderlayWindow(QWidget* window);
  void setUnderlayWindowObject(QObject* sender);
  void setOverlayView(NSUITransparentWindowView* view) { mUIOverlayView = view; }
  void bindToUnderlayWindow();

  // Notifications from the underlay; each acts only when object is the underlay.
  void windowDidResize(QObject* object);
  void windowWillMove(QObject* object);
  void windowDidMove(QObject* object);

  void syncronizeWindowPositions();
  void syncronizeWindowSizes();
  void syncUnderlayWindowSizePosition(QObject* sender);
  void syncOverlayPositionFromUnderlayPosition();

  void setSmoothShowHideWindowOpacity(float opacity);
  void smoothShowWindow(QObject* sender);
  void smoothHideWindow(QObject* sender);
  void showOverlayView(QObject* sender);
  void hideOverlayView(QObject* sender);

  static constexpr float kShowOpacity = 0.99f;
  static constexpr float kHideOpacity = 0.1f;

  QPointer<QWidget> mUnderlayWindow;
  QPointer<NSUITransparentWindowView> mUIOverlayView;

 protected:
  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  QPointer<QWidget> mObservedWindow;
};

// The overlay's content: clear unless its subviews draw.
class NSUITransparentWindowView : public QWidget, public NSNibAwaking {
  Q_OBJECT
 public:
  explicit NSUITransparentWindowView(QWidget* parent = nullptr);
  void initWithFrame(QRect const& frame);
  void awakeFromNib() override;

  void ensureOverlayVisible(QObject* sender);
  void ensureOverlayHidden(QObject* sender);

 protected:
  void paintEvent(QPaintEvent* event) override;
};
