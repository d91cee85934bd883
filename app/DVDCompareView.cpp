#include "DVDCompareView.h"

#include <QCloseEvent>
#include <QKeyEvent>
#include <QMainWindow>
#include <QPainter>
#include <QScreen>

#include "DVDVideoWindow.h"
#include "DVDWindowDelegate.h"

namespace {

// Room between the two windows side by side.
constexpr int kGap = 8;

// The picture area of the video window, on the screen.
QRect PictureRect(QWidget* videoWindow) {
  auto* const main = qobject_cast<QMainWindow*>(videoWindow);
  QWidget* const content = main && main->centralWidget() ? main->centralWidget() : videoWindow;
  return QRect(content->mapToGlobal(QPoint(0, 0)), content->size());
}

}  // namespace

DVDCompareView::DVDCompareView(QWidget* videoWindow, DVDWindowDelegate* delegate,
                               QString const& otherName)
    : QWidget(videoWindow, Qt::Tool),
      mVideoWindow(videoWindow),
      mDelegate(delegate ? delegate->delegateObject() : nullptr) {
  setObjectName(QStringLiteral("DVDCompareView"));
  setWindowTitle(tr("Compare: %1").arg(otherName));
  setAttribute(Qt::WA_OpaquePaintEvent);
  setFocusPolicy(Qt::StrongFocus);
}

void DVDCompareView::setPicture(QImage const& picture) {
  mPicture = picture;
  update();
}

void DVDCompareView::setOver(bool over) {
  mOver = over;
  place();
  if (mOver) raise();
}

QRect DVDCompareView::BesidePlace(QRect frame, QSize size, int top, QRect available) {
  QRect place(QPoint(frame.right() + 1 + kGap, top), size);
  if (place.right() > available.right()) {
    place.moveLeft(frame.left() - kGap - size.width());
    if (place.left() < available.left()) place.moveRight(available.right());
  }
  return place;
}

void DVDCompareView::place() {
  if (!mVideoWindow) return;
  QRect const picture = PictureRect(mVideoWindow);
  if (picture.isEmpty()) return;
  QRect target = picture;
  if (!mOver) {
    QScreen* const screen = mVideoWindow->screen();
    QRect const available = screen ? screen->availableGeometry() : QRect(QPoint(0, 0), picture.size() * 3);
    target = BesidePlace(mVideoWindow->frameGeometry(), picture.size(), picture.top(), available);
  }
  if (geometry() != target) setGeometry(target);
}

void DVDCompareView::paintEvent(QPaintEvent*) {
  QPainter painter(this);
  painter.fillRect(rect(), Qt::black);
  if (mPicture.isNull()) return;
  // The whole picture at its own shape, as large as the window holds.
  QSize const shown = mPicture.size().scaled(size(), Qt::KeepAspectRatio);
  QRect const target(QPoint((width() - shown.width()) / 2, (height() - shown.height()) / 2), shown);
  painter.setRenderHint(QPainter::SmoothPixmapTransform);
  painter.drawImage(target, mPicture);
}

bool DVDCompareView::event(QEvent* event) {
  // Escape is the view's own: the video window's shortcut for it (leaving full screen)
  // reaches its tool windows too.
  if (event->type() == QEvent::ShortcutOverride &&
      static_cast<QKeyEvent*>(event)->key() == Qt::Key_Escape) {
    event->accept();
    return true;
  }
  return QWidget::event(event);
}

void DVDCompareView::keyPressEvent(QKeyEvent* event) {
  if (DVDWindowKeyDown(this, qobject_cast<DVDWindowDelegate*>(mDelegate.data()), event)) return;
  // Escape closes the view, and with it the comparison.
  if (event->key() == Qt::Key_Escape) {
    close();
    return;
  }
  QWidget::keyPressEvent(event);
}

void DVDCompareView::closeEvent(QCloseEvent* event) {
  event->accept();
  emit closed();
}
