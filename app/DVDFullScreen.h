// Full screen for the video window: the window fills its screen without frame or menu bar
// (with or without a window manager), the picture kept at its shape in black; the
// controller floats over the picture's bottom while the mouse moves and hides after 2 s of
// stillness. Leaving puts the window, its menu bar and the controller back where they were.
#pragma once

#include <QObject>
#include <QPointer>
#include <QRect>
#include <QTimer>

class DVDVideoWindow;
class QWidget;

class DVDFullScreen : public QObject {
  Q_OBJECT

 public:
  static constexpr int kHideAfterMs = 2000;

  DVDFullScreen(DVDVideoWindow* video, QWidget* controller, QObject* parent = nullptr);

  bool isFullScreen() const { return mFull; }
  void enter();
  void leave();
  void toggle() { mFull ? leave() : enter(); }
  // The mouse moved over the picture: the controller shows (full screen only).
  void mouseMoved();

 protected:
  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  void placeController();

  QPointer<DVDVideoWindow> mVideo;
  QPointer<QWidget> mContent;  // the picture's view, whose mouse is watched
  QPointer<QWidget> mController;
  bool mFull = false;
  QRect mWindowGeometry;
  Qt::WindowFlags mWindowFlags;
  bool mMenuBarShown = true;
  QRect mControllerGeometry;
  bool mControllerShown = false;
  QTimer mHide;
};
