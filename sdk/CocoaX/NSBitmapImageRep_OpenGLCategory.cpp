// Screen read-back into bitmaps, and crops of them.
#include "NSBitmapImageRep.h"

#include "CocoaX_Verify.h"
#include "CoreMachDebugLog.h"
#include "namespace_Apple_CGL_GrabContext.h"

#include <QGuiApplication>
#include <QPainter>
#include <QPixmap>
#include <QPointer>
#include <QRectF>
#include <QScreen>
#include <QWidget>

#include <algorithm>
#include <cstring>

namespace {

QPointer<QWidget> sFallbackWindow;

// The display as the fallback sees it: black, with the window's own pixels where it is.
QImage FallbackScreenPixels(CGDirectDisplayID displayID) {
  QWidget* const window = sFallbackWindow.data();
  QList<QScreen*> const screens = QGuiApplication::screens();
  if (!window || displayID >= CGDirectDisplayID(screens.size())) return {};
  QRect const screenRect = screens[qsizetype(displayID)]->geometry();
  QImage image(screenRect.size(), QImage::Format_RGB32);
  image.fill(Qt::black);
  QPainter painter(&image);
  painter.drawPixmap(window->mapToGlobal(QPoint(0, 0)) - screenRect.topLeft(), window->grab());
  return image;
}

CGDirectDisplayID DisplayOfWindow(QWidget const* window) {
  long const index = QGuiApplication::screens().indexOf(window->screen());
  return index < 0 ? 0 : CGDirectDisplayID(index);
}

}  // namespace

void NSBitmapImageRep::setScreenFallbackWindow(QWidget* window) {
  sFallbackWindow = window;
  if (window) Apple_CGL::GrabContext::SetFallbackProvider(FallbackScreenPixels);
  else Apple_CGL::GrabContext::SetFallbackProvider(nullptr);
}

unsigned char* NSBitmapImageRep::getStartOfScanLine(long row, long x) const {
  return getStartOfScanLine(row) + x * long(sizeof(Apple_CGL::ReadPixels::uint_pixel_t));
}

void NSBitmapImageRep::flipVerticalAndSwizzle_BGRX_to_RGBA(bool flipHorizontal) {
  if (!bitmapData()) return;
  OpenGL::ReadPixels::_swizzle_framebuffer_GL_BGRX_to_RGBA(
      bitmapData(), static_cast<unsigned long>(pixelsHigh()),
      static_cast<unsigned long>(bytesPerRow()), true, flipHorizontal);
}

std::shared_ptr<NSBitmapImageRep> NSBitmapImageRep::bitmapWithOpenGLViewportContents(
    QRectF* outViewportRect, bool hasAlpha, bool flipHorizontal) {
  int viewport[4] = {0, 0, 0, 0};
  Apple_CGL::glGetViewport(viewport);
  long const width = viewport[2];
  long const height = viewport[3];
  if (outViewportRect) *outViewportRect = QRectF(0.0, 0.0, double(width), double(height));

  long const rowBytes =
      long(OpenGL::ReadPixels::scanline_row_bytes_from_frame_pixel_width(static_cast<unsigned long>(std::max(width, 0L))));
  auto newBitmap = std::make_shared<NSBitmapImageRep>();
  if (!newBitmap->Construct(nullptr, width, height, 8, hasAlpha ? 4 : 3, hasAlpha, rowBytes, 32))
    newBitmap.reset();
  if (!CoreVerify(newBitmap)) return nullptr;

  // Always from the origin, whatever the viewport's origin; rows arrive bottom-up.
  if (CoreVerifyOSerr(Apple_CGL::glReadFrontBuffer(0, 0, int(width), int(height), newBitmap->bitmapData(), rowBytes)) != 0)
    return nullptr;
  newBitmap->flipVerticalAndSwizzle_BGRX_to_RGBA(flipHorizontal);
  return newBitmap;
}

std::shared_ptr<NSBitmapImageRep> NSBitmapImageRep::bitmapWithOpenGLViewportContents(
    QRectF* outViewportRect, bool hasAlpha) {
  return bitmapWithOpenGLViewportContents(outViewportRect, hasAlpha, false);
}

std::shared_ptr<NSBitmapImageRep> NSBitmapImageRep::bitmapWithOpenGLViewportContents() {
  return bitmapWithOpenGLViewportContents(nullptr, false, false);
}

std::shared_ptr<NSBitmapImageRep> NSBitmapImageRep::bitmapWithScreenPixels(CGDirectDisplayID displayID,
                                                                           QRectF* outViewportRect) {
  // Destroyed on every way out, exceptions included.
  Apple_CGL::GrabContext oglContext;
  if (!CoreVerify(oglContext.Construct(displayID))) return nullptr;
  CoreMachDebugVerify(oglContext.MakeCurrent(true));
  QRectF glViewportRect;
  bool const hasAlpha = false;
  std::shared_ptr<NSBitmapImageRep> result;
  CocoaXVerifyText(
      result = bitmapWithOpenGLViewportContents(&glViewportRect, hasAlpha),
      "result = [NSBitmapImageRep bitmapWithOpenGLViewportContents:&glViewportRect hasAlpha:hasAlpha]");
  if (outViewportRect) *outViewportRect = glViewportRect;
  CoreMachDebugVerify(oglContext.MakeCurrent(false));
  oglContext.Destruct();
  return result;
}

std::shared_ptr<NSBitmapImageRep> NSBitmapImageRep::bitmapWithScreenPixels(CGDirectDisplayID displayID) {
  return bitmapWithScreenPixels(displayID, nullptr);
}

std::shared_ptr<NSBitmapImageRep> NSBitmapImageRep::bitmapWithScreenPixelsGrabViewFrame(QWidget* view) {
  QWidget* const grabWindow = view ? view->window() : nullptr;
  if (!CoreVerify(grabWindow)) return nullptr;
  CGDirectDisplayID const displayID = DisplayOfWindow(grabWindow);
  QRectF viewport;
  std::shared_ptr<NSBitmapImageRep> const screenBitmap = bitmapWithScreenPixels(displayID, &viewport);
  if (!CoreVerify(screenBitmap)) return nullptr;

  // The view's frame on its display, origin bottom-left.
  QScreen const* const screen = grabWindow->screen();
  QPoint const topLeft =
      view->mapToGlobal(QPoint(0, 0)) - (screen ? screen->geometry().topLeft() : QPoint());
  QRectF const frame(topLeft.x(), viewport.height() - (topLeft.y() + view->height()), view->width(),
                     view->height());
  return bitmapCroppedWithRect(screenBitmap.get(), frame.intersected(viewport));
}

std::shared_ptr<NSBitmapImageRep> NSBitmapImageRep::bitmapCroppedWithRect(NSBitmapImageRep const* bitmap,
                                                                          QRectF const& rect) {
  if (!CoreVerify(bitmap)) return nullptr;
  long const x0 = long(rect.x());
  long const bitmapWidth = long(rect.width());
  long const bitmapHeight = long(rect.height());
  // The rectangle's top edge as a row number from the top.
  long const top = long(double(bitmap->pixelsHigh()) - (rect.y() + rect.height()));
  long const pixelBytes = long(sizeof(Apple_CGL::ReadPixels::uint_pixel_t));
  long const dest_row_bytes_stride = bitmapWidth * pixelBytes;

  auto newBitmap = std::make_shared<NSBitmapImageRep>();
  if (!newBitmap->Construct(nullptr, bitmapWidth, bitmapHeight, 8, 3, false, dest_row_bytes_stride,
                            8 * pixelBytes))
    newBitmap.reset();
  if (!CocoaXVerifyText(newBitmap,
                        "newBitmap = [[self alloc] initWithBitmapDataPlanes:NULL pixelsWide:bitmapWidth "
                        "pixelsHigh:bitmapHeight bitsPerSample:8 samplesPerPixel:3 hasAlpha:NO "
                        "isPlanar:NO colorSpaceName:NSDeviceRGBColorSpace "
                        "bytesPerRow:dest_row_bytes_stride bitsPerPixel:8 * "
                        "sizeof(Apple_CGL::ReadPixels::uint_pixel_t) ]"))
    return nullptr;

  // Callers pass a rectangle inside the picture; anything outside it is left black rather
  // than read out of bounds.
  if (bitmap->bitsPerPixel() != 8 * pixelBytes) return newBitmap;
  long const first = std::max(x0, 0L);
  long const last = std::min(x0 + bitmapWidth, bitmap->pixelsWide());
  if (last <= first) return newBitmap;
  for (long r = 0; r < bitmapHeight; ++r) {
    long const source = top + r;
    if (source < 0 || source >= bitmap->pixelsHigh()) continue;
    std::memcpy(newBitmap->getStartOfScanLine(r, first - x0), bitmap->getStartOfScanLine(source, first),
                std::size_t((last - first) * pixelBytes));
  }
  return newBitmap;
}
