// The second video view of a comparison: a window of its own showing the other disc's frame
// that matches the frame on screen in the video window. It sits beside the video window, or
// over its picture when the sides are flipped, at the picture's size either way. Keys go to
// the controller as in the video window; Escape closes it.
#pragma once

#include <QImage>
#include <QPointer>
#include <QString>
#include <QWidget>

class DVDWindowDelegate;

class DVDCompareView : public QWidget {
  Q_OBJECT

 public:
  // A tool window of videoWindow: it stays above it.
  DVDCompareView(QWidget* videoWindow, DVDWindowDelegate* delegate, QString const& otherName);

  // The other side's picture (null: none matches the frame on screen).
  void setPicture(QImage const& picture);
  QImage const& picture() const { return mPicture; }
  // Over the video window's picture (flipped) or beside the video window.
  void setOver(bool over);
  bool over() const { return mOver; }
  // Follows the video window's picture: its size and, flipped, its place.
  void place();

  // Where the view goes beside a window whose frame is frame, the view size big, on a screen
  // whose free area is available: right of it, else left of it, else over its right edge.
  static QRect BesidePlace(QRect frame, QSize size, int top, QRect available);

 signals:
  // The window was closed by the user.
  void closed();

 protected:
  bool event(QEvent* event) override;
  void paintEvent(QPaintEvent* event) override;
  void keyPressEvent(QKeyEvent* event) override;
  void closeEvent(QCloseEvent* event) override;

 private:
  QPointer<QWidget> mVideoWindow;
  QPointer<QObject> mDelegate;  // the controller
  QImage mPicture;
  bool mOver = false;
};
