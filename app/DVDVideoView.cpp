#include "DVDVideoView.h"

#include <QByteArray>
#include <QGuiApplication>
#include <QMetaObject>
#include <QPainter>
#include <QPaintEvent>
#include <QResizeEvent>
#include <QSettings>

#include <cmath>

extern "C" {
#include <libavutil/pixfmt.h>
#include <libswscale/swscale.h>
}

#include "CoreMachDebugLog.h"
#include "DVDVideoGLWindow.h"

DVDVideoView::DVDVideoView(QWidget* parent) : NSUIOpaqueBlackView(parent) {
  if (ChosenOutput() != Output::GPU) {
    // Every pixel is painted each time (picture and black bands): no background fill first.
    setAttribute(Qt::WA_OpaquePaintEvent, true);
    return;
  }
  mGL = new DVDVideoGLWindow;
  mGLContainer = QWidget::createWindowContainer(mGL, this);
  // Clicks, moves and drops are the view's (the disc menu, the window's double click).
  mGLContainer->setAttribute(Qt::WA_TransparentForMouseEvents, true);
  mGLContainer->setGeometry(rect());
  connect(mGL, &DVDVideoGLWindow::failed, this, &DVDVideoView::useSoftware, Qt::QueuedConnection);
}

DVDVideoView::~DVDVideoView() {
  // Once this returns the callback no longer runs, so nothing refers to this view.
  if (mPresenting) DVDSetFrameReadyCallBack(nullptr, nullptr);
  sws_freeContext(mScaler);
  if (mPresenting) {
    unsigned const drawn = mPicturesDrawn + (mGL ? mGL->picturesDrawn() : 0);
    CoreMachDebugLog("video output: %u pictures drawn (%s)\n", drawn, mGL ? "gpu" : "software");
  }
}

DVDVideoView::Output DVDVideoView::ChosenOutput() {
  static Output const chosen = [] {
    QByteArray wanted = qgetenv("TAVELO_VIDEO_OUTPUT");
    if (wanted.isEmpty()) {
      wanted = QSettings(QStringLiteral("Tavelo"), QStringLiteral("Tavelo"))
                   .value(QStringLiteral("VideoOutput"))
                   .toString()
                   .toLatin1();
    }
    QString const platform = QGuiApplication::platformName();
    // Without a display (tests, the offscreen platform) nothing is shown anyway.
    if (wanted == "software" || platform == QLatin1String("offscreen") ||
        platform == QLatin1String("minimal")) {
      return Output::Software;
    }
    if (!DVDVideoGLWindow::Available()) {
      CoreMachDebugLog("video output: no OpenGL with shaders, pictures are drawn in software\n");
      return Output::Software;
    }
    return Output::GPU;
  }();
  return chosen;
}

void DVDVideoView::useSoftware() {
  if (!mGL) return;
  CoreMachDebugLog("video output: OpenGL failed, pictures are drawn in software from now on\n");
  delete mGLContainer;  // and the window in it
  mGLContainer = nullptr;
  mGL = nullptr;
  setAttribute(Qt::WA_OpaquePaintEvent, true);
  mScaledCurrent = false;
  update();
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
        if (view->copyPresentedFrame()) emit view->framePresented();
      },
      Qt::QueuedConnection);
}

bool DVDVideoView::copyPresentedFrame() {
  DVDPresentedPlanesInfo info{};
  if (DVDCopyPresentedPlanes(&info, nullptr, 0, nullptr, 0) != noErr) return false;
  UInt32 const width = info.frame.width, height = info.frame.height;
  if (width == 0 || height == 0 || width % 2 || height % 2 ||
      info.planesBytes != width * height * 3 / 2 || info.overlayBytes != width * height * 4) {
    return false;
  }
  if (mPlanes.size() < info.planesBytes) mPlanes.resize(info.planesBytes);
  if (info.hasOverlay && mOverlay.size() < info.overlayBytes) mOverlay.resize(info.overlayBytes);
  // A picture of another size may have come meanwhile: it is copied at the next call.
  if (DVDCopyPresentedPlanes(&info, mPlanes.data(), UInt32(mPlanes.size()), mOverlay.data(),
                             UInt32(mOverlay.size())) != noErr ||
      info.frame.width != width || info.frame.height != height) {
    return false;
  }
  mInfo = info;
  mHavePicture = true;
  mScaledCurrent = false;
  if (mGL) {
    mGL->setPictureRect(pictureRect());
    mGL->setPicture(mInfo, mPlanes.data(), mOverlay.data());
  } else {
    update();
  }
  return true;
}

QRect DVDVideoView::pictureRect() const {
  // A window keeps its content at the picture's display aspect and the picture fills it;
  // a content of another shape (full screen) shows it at its shape, in black.
  QRect target = rect();
  if (!mHavePicture || mInfo.frame.displayWidth == 0 || height() <= 0) return target;
  double const picture = double(mInfo.frame.displayWidth) / mInfo.frame.height;
  double const content = double(width()) / height();
  if (std::abs(picture / content - 1.0) > 0.01) {
    QSize const fitted = picture > content ? QSize(width(), int(std::lround(width() / picture)))
                                           : QSize(int(std::lround(height() * picture)), height());
    QPoint const corner((width() - fitted.width()) / 2, (height() - fitted.height()) / 2);
    target = QRect(corner, fitted);
  }
  return target;
}

void DVDVideoView::resizeEvent(QResizeEvent* event) {
  NSUIOpaqueBlackView::resizeEvent(event);
  if (mGLContainer) {
    mGLContainer->setGeometry(rect());
    mGL->setPictureRect(pictureRect());
  }
}

bool DVDVideoView::convertTo(QSize size) {
  if (mScaledCurrent && mScaled.size() == size) return true;
  int const width = mInfo.frame.width, height = mInfo.frame.height;
  SwsContext* const scaler =
      sws_getCachedContext(mScaler, width, height, AV_PIX_FMT_YUV420P, size.width(), size.height(),
                           AV_PIX_FMT_BGRA, SWS_BILINEAR, nullptr, nullptr, nullptr);
  if (!CoreVerify(scaler != nullptr)) return false;
  if (scaler != mScaler || mScalerMatrix != mInfo.matrix ||
      mScalerFullRange != bool(mInfo.fullRange)) {
    // The stream's matrix and range, to full-range RGB, as the stills convert.
    int const space = mInfo.matrix == kDVDColorMatrixBT709       ? SWS_CS_ITU709
                      : mInfo.matrix == kDVDColorMatrixSMPTE240M ? SWS_CS_SMPTE240M
                                                                  : SWS_CS_ITU601;
    sws_setColorspaceDetails(scaler, sws_getCoefficients(space), mInfo.fullRange ? 1 : 0,
                             sws_getCoefficients(SWS_CS_DEFAULT), 1, 0, 1 << 16, 1 << 16);
    mScalerMatrix = mInfo.matrix;
    mScalerFullRange = mInfo.fullRange;
  }
  mScaler = scaler;
  if (mScaled.size() != size) mScaled = QImage(size, QImage::Format_RGB32);
  std::uint8_t const* const planes = mPlanes.data();
  std::uint8_t const* const source[4] = {planes, planes + width * height,
                                         planes + width * height * 5 / 4, nullptr};
  int const sourceStride[4] = {width, width / 2, width / 2, 0};
  std::uint8_t* const destination[4] = {mScaled.bits(), nullptr, nullptr, nullptr};
  int const destinationStride[4] = {int(mScaled.bytesPerLine()), 0, 0, 0};
  sws_scale(mScaler, source, sourceStride, 0, height, destination, destinationStride);
  if (mInfo.hasOverlay) {
    QImage const overlay(mOverlay.data(), width, height, width * 4, QImage::Format_RGBA8888);
    QPainter painter(&mScaled);
    painter.setRenderHint(QPainter::SmoothPixmapTransform, true);
    painter.drawImage(QRect(QPoint(0, 0), size), overlay);
  }
  mScaledCurrent = true;
  return true;
}

QImage DVDVideoView::composedImage() {
  if (!mHavePicture) return {};
  QImage composed(size(), QImage::Format_RGB32);
  composed.fill(Qt::black);
  QRect const target = pictureRect();
  if (!target.isEmpty() && convertTo(target.size())) {
    QPainter painter(&composed);
    painter.drawImage(target.topLeft(), mScaled);
  }
  return composed;
}

void DVDVideoView::paintEvent(QPaintEvent* event) {
  if (mGL) return;  // the window over the view shows everything
  QRect const target = pictureRect();
  if (mHavePicture && !mScaledCurrent) ++mPicturesDrawn;
  if (!mHavePicture || target.isEmpty() || !convertTo(target.size())) {
    NSUIOpaqueBlackView::paintEvent(event);
    return;
  }
  QPainter painter(this);
  // The black bands, then the picture as converted: a copy, nothing scaled here.
  QRegion const bands = QRegion(event->rect()).subtracted(target);
  for (QRect const& band : bands) painter.fillRect(band, Qt::black);
  painter.drawImage(target.topLeft(), mScaled);
}
