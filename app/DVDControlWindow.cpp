#include "DVDControlWindow.h"

#include <QAbstractButton>
#include <QIcon>
#include <QKeyEvent>

#include "DVDVideoWindow.h"
#include "DVDWindowDelegate.h"

void DVDControlWindow::setDelegate(DVDWindowDelegate* delegate) {
  mDelegate = delegate ? delegate->delegateObject() : nullptr;
}

DVDControlWindow::DVDControlWindow(QWidget* parent) : QWidget(parent) {}

void DVDControlWindow::keyPressEvent(QKeyEvent* event) {
  if (DVDWindowKeyDown(this, qobject_cast<DVDWindowDelegate*>(mDelegate.data()), event)) return;
  QWidget::keyPressEvent(event);
}

void DVDControlWindow::setButtonIcons() {
  struct Button {
    char const* name;
    char const* icon;  // the freedesktop icon name; ":/icons/controller/<name>.svg" besides
    char const* tip;
  };
  static Button const kButtons[] = {
      {"mPlayPauseButton", "media-playback-start", "Play or pause (Space)"},
      {"stopButton", "media-playback-stop", "Stop"},
      {"previousSceneButton", "media-skip-backward", "Previous scene (Ctrl+Left)"},
      {"nextSceneButton", "media-skip-forward", "Next scene (Ctrl+Right)"},
      {"scanBackwardButton", "media-seek-backward", "Scan backward"},
      {"scanForwardButton", "media-seek-forward", "Scan forward"},
      {"menuButton", "view-list", "Disc menu (Ctrl+M)"},
      {"muteButton", "audio-volume-muted", "Mute"},
      {"mQuickGrabButton", "camera-photo", "Grab the frame and quick-save it (Ctrl+G)"},
  };
  for (Button const& b : kButtons) {
    auto* button = findChild<QAbstractButton*>(QString::fromLatin1(b.name));
    if (!button) continue;
    QString const name = QString::fromLatin1(b.icon);
    QIcon const bundled(QStringLiteral(":/icons/controller/") + name + QStringLiteral(".svg"));
    button->setIcon(QIcon::fromTheme(name, bundled));
    button->setIconSize(QSize(20, 20));
    button->setToolTip(tr(b.tip));
  }
}
