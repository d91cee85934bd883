#include "DVDVideoView.h"

#include <QMetaObject>
#include <QPainter>
#include <QPaintEvent>

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
  return true;
}

void DVDVideoView::paintEvent(QPaintEvent* event) {
  NSUIOpaqueBlackView::paintEvent(event);
  if (mPresentedImage.isNull()) return;
  // The content is kept at the picture's display aspect: the picture fills it.
  QPainter painter(this);
  painter.setRenderHint(QPainter::SmoothPixmapTransform, true);
  painter.drawImage(rect(), mPresentedImage);
}
