#include "DVDVideoView.h"

#include <QMetaObject>
#include <QPainter>
#include <QPaintEvent>

#include <cmath>
#include <cstring>
#include <vector>

#include "NSClassRegistry.h"

NS_REGISTER_CLASS(DVDVideoView);

DVDVideoView::DVDVideoView(QWidget* parent) : NSUIOpaqueBlackView(parent) {}

DVDVideoView::~DVDVideoView() {
  // Once this returns the callback no longer runs, so nothing refers to this view.
  if (mPresenting) DVDSetFrameReadyCallBack(nullptr, nullptr);
}

void DVDVideoView::startPresenting() {
  mPresenting = DVDSetFrameReadyCallBack(FrameReadyCallBack, this) == noErr;
}

void DVDVideoView::FrameReadyCallBack(UInt32, void* refCon) {
  auto* view = static_cast<DVDVideoView*>(refCon);
  if (view->mFramePending.exchange(true)) return;
  QMetaObject::invokeMethod(
      view,
      [view] {
        view->mFramePending = false;
        if (view->copyPresentedFrame()) view->update();
      },
      Qt::QueuedConnection);
}

bool DVDVideoView::copyPresentedFrame() {
  DVDPresentedFrameInfo info{};
  UInt32 size = 0;
  if (DVDCopyPresentedFrame(&info, nullptr, &size) != noErr || size == 0) return false;
  std::vector<unsigned char> pixels(size);
  if (DVDCopyPresentedFrame(&info, pixels.data(), &size) != noErr) return false;
  if (info.width == 0 || info.height == 0 || info.rowBytes < info.width * 3u ||
      size < info.rowBytes * info.height) {
    return false;
  }
  QImage image(info.width, info.height, QImage::Format_RGB888);
  for (int y = 0; y < info.height; ++y) {
    std::memcpy(image.scanLine(y), pixels.data() + std::size_t(y) * info.rowBytes, info.width * 3u);
  }
  mPresentedImage = std::move(image);
  mDisplayWidth = info.displayWidth;
  return true;
}

void DVDVideoView::paintEvent(QPaintEvent* event) {
  NSUIOpaqueBlackView::paintEvent(event);
  if (mPresentedImage.isNull()) return;
  // A window keeps its content at the picture's display aspect and the picture fills it;
  // a content of another shape (full screen) shows it at its shape, in black.
  QRect target = rect();
  if (mDisplayWidth > 0 && height() > 0) {
    double const picture = double(mDisplayWidth) / mPresentedImage.height();
    double const content = double(width()) / height();
    if (std::abs(picture / content - 1.0) > 0.01) {
      QSize const fitted = picture > content ? QSize(width(), int(std::lround(width() / picture)))
                                             : QSize(int(std::lround(height() * picture)), height());
      target = QRect(QPoint((width() - fitted.width()) / 2, (height() - fitted.height()) / 2), fitted);
    }
  }
  QPainter painter(this);
  painter.setRenderHint(QPainter::SmoothPixmapTransform, true);
  painter.drawImage(target, mPresentedImage);
}
