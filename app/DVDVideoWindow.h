// The window the DVD playback service draws the video into. It keeps its content at the
// title's aspect ratio in three size modes, tells the service where to draw, forwards
// clicks and mouse movement to the disc's menus and passes keys to the controller first.
#pragma once

#include <QMainWindow>
#include <QPointF>
#include <QPointer>
#include <QRectF>
#include <QSizeF>

#include "DVDPlayback.h"
#include "NSClassRegistry.h"

class DVDWindowDelegate;

class DVDVideoWindow : public QMainWindow, public NSNibAwaking {
  Q_OBJECT

 public:
  explicit DVDVideoWindow(QWidget* parent = nullptr);

  // Size modes of setWindowSize.
  enum : SInt32 { kRefit = 0, kSmall = 1, kNormal = 2, kMaximum = 3 };

  struct WindowSize {
    QSizeF content;  // new content size
    QPointF anchor;  // where the window's top-left corner goes
  };
  // The sizing arithmetic, in screen coordinates with y growing downwards.
  static WindowSize ComputeWindowSize(SInt32 mode, float aspect, QSizeF videoSize,
                                      QRectF visible, QRectF frame, QSizeF content);
  // Video area in frame coordinates (origin at the frame's top-left, y down).
  static Rect VideoBounds(double frameHeight, QSizeF content);
  // Point for the disc menu from a location in window base coordinates (origin at the
  // frame's bottom-left, y up).
  static Point MenuPoint(QPointF location, double frameHeight);
  // Asks the service to draw on a new display; the display becomes current only when the
  // service supports it, so a refused display is asked again next time.
  static void SwitchToDisplay(SInt32 newDisplay);
  static SInt32 CurrentDisplay();

  void setDelegate(DVDWindowDelegate* delegate);
  void awakeFromNib() override;

  float titleAspectRatio() const;
  QSizeF getVideoSize() const;
  void setWindowSize(SInt32 mode);
  // Full screen: the window takes the screen's shape, not the picture's.
  void setFullScreen(bool fullScreen) { mFullScreen = fullScreen; }
  void setupVideoWindow();
  void setVideoBounds();
  void setVideoDisplay();
  // The view whose screen area a grab takes: exactly the video, without the window frame.
  QWidget* grabThisViewContentRect() const { return centralWidget(); }
  void dvdSessionOpened() {}
  void dvdSessionClosed() {}

  // The window's number for the service: its native window id.
  UInt32 windowNumber() const;
  // The frame as the service sees it: from the top of the title bar down to the bottom of
  // the content, as wide as the content (side and bottom borders are not part of it).
  QRectF videoFrameRect() const;

 signals:
  // A folder or disc image was dropped on the window.
  void mediaDropped(QString const& path);

 protected:
  bool eventFilter(QObject* watched, QEvent* event) override;
  void keyPressEvent(QKeyEvent* event) override;
  void moveEvent(QMoveEvent* event) override;
  void dragEnterEvent(QDragEnterEvent* event) override;
  void dropEvent(QDropEvent* event) override;

 private:
  void frameDidChange();
  void windowDidMove();
  // The disc menu's handling of one event of the content view; then the toolkit's.
  void sendEvent(QEvent* event, QPointF positionInContent);
  void watchContentView();

  QPointer<QObject> mDelegate;  // the controller
  QPointer<QWidget> mWatchedContentView;
  bool mResizing = false;
  bool mFullScreen = false;
  bool mSetUp = false;  // connected to the service (from launch on)
};

// Key presses of the video and controller windows: ask the controller first; when it
// handled the key, drop key presses already queued for the window.
bool DVDWindowKeyDown(QWidget* window, DVDWindowDelegate* delegate, QKeyEvent* event);
