#include "DVDGrabStrip.h"

#include <QApplication>
#include <QBuffer>
#include <QDrag>
#include <QFileInfo>
#include <QHBoxLayout>
#include <QLabel>
#include <QMimeData>
#include <QMouseEvent>
#include <QPixmap>
#include <QUrl>

DVDGrabStrip::DVDGrabStrip(QWidget* parent) : QWidget(parent) {
  mLayout = new QHBoxLayout(this);
  mLayout->setContentsMargins(0, 0, 0, 0);
  mLayout->setSpacing(2);
  mLayout->addStretch(1);
  setToolTip(tr("The last grabs: click to see one larger, drag one out"));
}

QSize DVDGrabStrip::sizeHint() const {
  return QSize(kMost * (kThumbWidth + 2), kThumbWidth * 3 / 4);
}

void DVDGrabStrip::add(QImage const& picture, QString const& path) {
  if (picture.isNull()) return;
  if (int(mGrabs.size()) == kMost) {
    delete mGrabs.front().thumb.data();
    mGrabs.erase(mGrabs.begin());
  }
  auto* thumb = new QLabel(this);
  thumb->setPixmap(QPixmap::fromImage(
      picture.scaled(kThumbWidth, kThumbWidth, Qt::KeepAspectRatio, Qt::SmoothTransformation)));
  thumb->setFrameShape(QFrame::Box);
  thumb->setAlignment(Qt::AlignCenter);
  thumb->setFixedSize(kThumbWidth + 2, kThumbWidth * 3 / 4 + 2);
  thumb->setCursor(Qt::PointingHandCursor);
  thumb->installEventFilter(this);
  mLayout->addWidget(thumb);
  mGrabs.push_back(Grab{picture, path, thumb});
}

void DVDGrabStrip::setNewestPath(QString const& path) {
  if (!mGrabs.empty()) mGrabs.back().path = path;
}

int DVDGrabStrip::indexOf(QObject const* thumb) const {
  for (size_t i = 0; i < mGrabs.size(); ++i) {
    if (mGrabs[i].thumb.data() == thumb) return int(i);
  }
  return -1;
}

QWidget* DVDGrabStrip::showLarger(int i) {
  if (i < 0 || i >= count()) return nullptr;
  if (!mLarger) {
    mLarger = new QLabel(window(), Qt::Window);
    mLarger->setObjectName(QStringLiteral("grabLarger"));
    mLarger->setAttribute(Qt::WA_DeleteOnClose);
  }
  Grab const& g = mGrabs[size_t(i)];
  QImage const shown = g.picture.width() > 800
                           ? g.picture.scaledToWidth(800, Qt::SmoothTransformation)
                           : g.picture;
  mLarger->setPixmap(QPixmap::fromImage(shown));
  mLarger->setWindowTitle(g.path.isEmpty() ? tr("Grab") : QFileInfo(g.path).fileName());
  mLarger->resize(shown.size());
  mLarger->show();
  mLarger->raise();
  return mLarger;
}

QMimeData* DVDGrabStrip::mimeDataAt(int i) const {
  if (i < 0 || i >= count()) return nullptr;
  Grab const& g = mGrabs[size_t(i)];
  auto* data = new QMimeData;
  if (!g.path.isEmpty()) data->setUrls({QUrl::fromLocalFile(g.path)});
  QByteArray png;
  QBuffer buffer(&png);
  buffer.open(QIODevice::WriteOnly);
  g.picture.save(&buffer, "PNG");
  data->setData(QStringLiteral("image/png"), png);
  return data;
}

bool DVDGrabStrip::eventFilter(QObject* watched, QEvent* event) {
  int const i = indexOf(watched);
  if (i < 0) return QWidget::eventFilter(watched, event);
  switch (event->type()) {
    case QEvent::MouseButtonPress: {
      auto* e = static_cast<QMouseEvent*>(event);
      if (e->button() == Qt::LeftButton) {
        mPressed = i;
        mPressAt = e->position().toPoint();
      }
      return true;
    }
    case QEvent::MouseMove: {
      auto* e = static_cast<QMouseEvent*>(event);
      if (mPressed == i && (e->buttons() & Qt::LeftButton) &&
          (e->position().toPoint() - mPressAt).manhattanLength() >= QApplication::startDragDistance()) {
        mPressed = -1;
        auto* drag = new QDrag(this);
        drag->setMimeData(mimeDataAt(i));
        drag->setPixmap(QPixmap::fromImage(mGrabs[size_t(i)].picture.scaled(
            kThumbWidth, kThumbWidth, Qt::KeepAspectRatio, Qt::SmoothTransformation)));
        drag->exec(Qt::CopyAction);
      }
      return true;
    }
    case QEvent::MouseButtonRelease:
      if (mPressed == i) showLarger(i);
      mPressed = -1;
      return true;
    default:
      return QWidget::eventFilter(watched, event);
  }
}
