// Saves on the save queue: the picture taken at the command is made, scaled to the save
// size, encoded and written there, one after another; the controller hears of each on its
// own thread once it is written.
#include "GrabWindowController.h"

#include <QMetaObject>
#include <QPainter>

#include <cmath>
#include <utility>

#include "CoreMachDebugLog.h"

QSizeF GrabWindowController::SaveSizeOf(QSizeF pictureSize, QSizeF saveSize) {
  double w = saveSize.width();
  double h = saveSize.height();
  if (w < 1.0) w = std::fabs(w) * pictureSize.width();
  if (h < 1.0) h = std::fabs(h) * pictureSize.height();
  return QSizeF(w, h);
}

std::shared_ptr<NSBitmapImageRep> GrabWindowController::ScaledForSaving(
    std::shared_ptr<NSBitmapImageRep> bitmap, QSizeF saveSize) {
  if (!bitmap || saveSize == kDefaultSaveImageSize) return bitmap;
  QSizeF const size =
      SaveSizeOf(QSizeF(double(bitmap->pixelsWide()), double(bitmap->pixelsHigh())), saveSize);
  int const pixelsWide = int(std::lround(size.width()));
  int const pixelsHigh = int(std::lround(size.height()));
  if (pixelsWide <= 0 || pixelsHigh <= 0) return nullptr;
  // Grabs are R, G, B in 32 bits; read in place.
  bool const rgbx = bitmap->bitsPerPixel() == 32 && bitmap->samplesPerPixel() == 3 &&
                    !bitmap->isAlphaFirst();
  QImage const source =
      rgbx ? QImage(bitmap->bitmapData(), int(bitmap->pixelsWide()), int(bitmap->pixelsHigh()),
                    qsizetype(bitmap->bytesPerRow()), QImage::Format_RGBX8888)
           : QImage::fromData(bitmap->TIFFRepresentation(), "TIFF");
  if (source.isNull()) return nullptr;
  QImage scaled(pixelsWide, pixelsHigh, QImage::Format_RGBX8888);
  if (scaled.isNull()) return nullptr;
  {
    QPainter painter(&scaled);
    painter.setRenderHint(QPainter::SmoothPixmapTransform, true);
    painter.setCompositionMode(QPainter::CompositionMode_Source);
    painter.drawImage(QRectF(0, 0, pixelsWide, pixelsHigh), source);
  }
  return NSBitmapImageRep::imageRepWithImage(scaled);
}

void GrabWindowController::queueSave(GrabTaken taken, QuikSaveImageType grabImageType,
                                     QString const& path) {
  if (!CoreVerify(taken.make)) return;
  // As chosen now, whatever changes before the queue gets to it.
  NSBitmapImageRep::QuickSaveSettings const settings = NSBitmapImageRep::quickSaveSettings();
  QSizeF const saveSize = mSaveImageSize;
  mSaveQueue.Post([this, taken = std::move(taken), grabImageType, path, settings, saveSize] {
    std::shared_ptr<NSBitmapImageRep> const made = taken.make();
    std::shared_ptr<NSBitmapImageRep> const sized = ScaledForSaving(made, saveSize);
    QString written;
    if (CoreVerify(sized)) {
      QString const named =
          !path.isEmpty() ? path
                          : (taken.quickSavePath ? taken.quickSavePath(grabImageType) : QString());
      if (named.isEmpty()) {
        written = sized->saveToNextNumberedFileName(kNumberedFileFormatString, grabImageType,
                                                    settings);
      } else if (sized->saveToPictureFileName(named, grabImageType, settings)) {
        written = named;
      }
    }
    // Dropped unread should the controller be gone by then.
    QMetaObject::invokeMethod(
        this,
        [this, made, written] {
          if (made) setGrabbedBitmapImageRep(made);
          grabSaved(written);
        },
        Qt::QueuedConnection);
  });
}
