#include "DVDFullScreen.h"

#include "DVDVideoWindow.h"

#include <QEvent>
#include <QGuiApplication>
#include <QMainWindow>
#include <QMenuBar>
#include <QMouseEvent>
#include <QScreen>
#include <QShortcut>
#include <QKeySequence>

#include <algorithm>
#include <QWindow>

DVDFullScreen::DVDFullScreen(DVDVideoWindow* video, QWidget* controller, QObject* parent)
    : QObject(parent), mVideo(video), mController(controller) {
  mHide.setSingleShot(true);
  mHide.setInterval(kHideAfterMs);
  connect(&mHide, &QTimer::timeout, this, [this] {
    if (mFull && mController) mController->hide();
  });
  mContent = video ? video->centralWidget() : nullptr;
  if (mContent) {
    mContent->setMouseTracking(true);
    mContent->installEventFilter(this);
  }
  if (mVideo) {
    // Escape leaves full screen; otherwise it is the window's as before.
    auto* escape = new QShortcut(QKeySequence(Qt::Key_Escape), mVideo);
    escape->setObjectName(QStringLiteral("leaveFullScreen"));
    connect(escape, &QShortcut::activated, this, &DVDFullScreen::leave);
  }
}

void DVDFullScreen::enter() {
  if (mFull || !mVideo) return;
  QScreen* const screen = mVideo->screen() ? mVideo->screen() : QGuiApplication::primaryScreen();
  if (!screen) return;
  mWindowGeometry = mVideo->geometry();
  mWindowFlags = mVideo->windowFlags();
  mMenuBarShown = mVideo->menuBar() && mVideo->menuBar()->isVisible();
  if (mController) {
    mControllerGeometry = mController->geometry();
    mControllerShown = mController->isVisible();
  }
  mFull = true;
  mVideo->setFullScreen(true);
  if (mVideo->menuBar()) mVideo->menuBar()->hide();
  // A window manager is asked for full screen; without one, the window is made to cover
  // the screen itself.
  mVideo->setWindowFlags(mWindowFlags | Qt::FramelessWindowHint);
  mVideo->setGeometry(screen->geometry());
  mVideo->showFullScreen();
  mVideo->raise();
  mVideo->activateWindow();
  if (mController) {
    mController->hide();
    placeController();
  }
}

void DVDFullScreen::leave() {
  if (!mFull || !mVideo) return;
  mFull = false;
  mHide.stop();
  mVideo->setWindowFlags(mWindowFlags);
  mVideo->showNormal();
  mVideo->setGeometry(mWindowGeometry);
  mVideo->setFullScreen(false);
  if (mVideo->menuBar()) mVideo->menuBar()->setVisible(mMenuBarShown);
  mVideo->show();
  if (mController) {
    mController->setGeometry(mControllerGeometry);
    mController->setVisible(mControllerShown);
  }
}

void DVDFullScreen::placeController() {
  if (!mController || !mVideo) return;
  QRect const screen = mVideo->geometry();
  QSize const size = mController->sizeHint().expandedTo(mController->minimumSize());
  int const width = std::min(screen.width() - 40, std::max(size.width(), screen.width() / 2));
  mController->setGeometry(screen.left() + (screen.width() - width) / 2,
                           screen.bottom() - size.height() - 24, width, size.height());
}

void DVDFullScreen::mouseMoved() {
  if (!mFull || !mController) return;
  if (!mController->isVisible()) {
    placeController();
    mController->show();
    mController->raise();
  }
  mHide.start();
}

bool DVDFullScreen::eventFilter(QObject* watched, QEvent* event) {
  // Only the view is looked at: the window may be on its way out.
  if (watched == mContent.data() && mContent) {
    if (event->type() == QEvent::MouseMove) mouseMoved();
    if (event->type() == QEvent::MouseButtonDblClick &&
        static_cast<QMouseEvent*>(event)->button() == Qt::LeftButton) {
      toggle();
      return true;
    }
  }
  return QObject::eventFilter(watched, event);
}
