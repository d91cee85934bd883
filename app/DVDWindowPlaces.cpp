#include "DVDWindowPlaces.h"

#include <QEvent>
#include <QGuiApplication>
#include <QPointer>
#include <QRect>
#include <QScreen>
#include <QWidget>

#include "NSUISelectorGroup.h"

namespace {

char const kVideoKey[] = "VideoWindowPlace";
char const kControllerKey[] = "ControllerWindowPlace";

QString Text(QRect const& r) {
  return QStringLiteral("%1 %2 %3 %4").arg(r.x()).arg(r.y()).arg(r.width()).arg(r.height());
}

bool Rect(QString const& text, QRect* r) {
  QStringList const parts = text.split(QLatin1Char(' '));
  if (parts.size() != 4) return false;
  bool ok[4];
  *r = QRect(parts[0].toInt(&ok[0]), parts[1].toInt(&ok[1]), parts[2].toInt(&ok[2]),
             parts[3].toInt(&ok[3]));
  return ok[0] && ok[1] && ok[2] && ok[3] && r->width() > 0 && r->height() > 0;
}

// Some screen shows a good part of r.
bool OnAScreen(QRect const& r) {
  for (QScreen* screen : QGuiApplication::screens()) {
    QRect const shown = screen->availableGeometry().intersected(r);
    if (shown.width() >= 64 && shown.height() >= 32) return true;
  }
  return false;
}

// Watches the video window's size for the controller's sake; owned by the video window.
class ControllerKeeper final : public QObject {
 public:
  ControllerKeeper(QWidget* video, QWidget* controller)
      : QObject(video), mVideo(video), mController(controller) {
    video->installEventFilter(this);
  }

  bool eventFilter(QObject* watched, QEvent* event) override {
    // Full screen places the controller itself, over the picture.
    if (watched == mVideo && event->type() == QEvent::Resize && mController && !mVideo->isFullScreen() &&
        !(mVideo->windowFlags() & Qt::FramelessWindowHint) &&
        mController->frameGeometry().intersects(mVideo->frameGeometry())) {
      DVDWindowPlaces::PlaceControllerBelow(mVideo, mController);
    }
    return QObject::eventFilter(watched, event);
  }

 private:
  QPointer<QWidget> mVideo;
  QPointer<QWidget> mController;
};

}  // namespace

void DVDWindowPlaces::KeepControllerOffVideo(QWidget* video, QWidget* controller) {
  if (video && controller) new ControllerKeeper(video, controller);
}

void DVDWindowPlaces::Save(QWidget const* video, QWidget const* controller) {
  // Frame positions, as move() takes them back.
  if (video) {
    NSUserDefaults_Standard::setString(Text(QRect(video->pos(), video->size())),
                                       QString::fromLatin1(kVideoKey));
  }
  if (controller) {
    NSUserDefaults_Standard::setString(Text(QRect(controller->pos(), controller->size())),
                                       QString::fromLatin1(kControllerKey));
  }
}

bool DVDWindowPlaces::Restore(QWidget* video, QWidget* controller) {
  QRect v;
  if (!video || !Rect(NSUserDefaults_Standard::stringForKey(QString::fromLatin1(kVideoKey)), &v) ||
      !OnAScreen(v)) {
    return false;
  }
  // The size follows the picture's shape: only the place is taken.
  video->move(v.topLeft());
  QRect c;
  if (controller && Rect(NSUserDefaults_Standard::stringForKey(QString::fromLatin1(kControllerKey)), &c) &&
      OnAScreen(c) && !c.intersects(video->frameGeometry())) {
    controller->move(c.topLeft());
  } else if (controller) {
    PlaceControllerBelow(video, controller);
  }
  return true;
}

void DVDWindowPlaces::PlaceControllerBelow(QWidget const* video, QWidget* controller) {
  if (!video || !controller) return;
  QRect const frame = video->frameGeometry();
  int const height = controller->frameGeometry().height();
  int y = frame.bottom() + 8;
  QScreen const* screen = video->screen();
  if (screen && y + height > screen->availableGeometry().bottom()) {
    QRect const area = screen->availableGeometry();
    if (frame.top() - height - 8 >= area.top()) {
      // No room below: above the window's top, still off the picture.
      y = frame.top() - height - 8;
    } else {
      // A window as big as the screen (maximum size): over the picture's bottom, as in full
      // screen, rather than over its menu bar.
      y = area.bottom() + 1 - height;
    }
  }
  controller->move(frame.left(), y);
}
