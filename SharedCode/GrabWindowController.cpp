#include "GrabWindowController.h"

#include <QAction>

#include "CoreMachDebugLog.h"
#include "NSMenuItemAction.h"
#include "NSScreenNumber.h"

QSizeF const GrabWindowController::kDefaultSaveImageSize(0.0, 0.0);

GrabWindowController::GrabWindowController(QObject* parent) : QObject(parent) {
  // The quick-save writer is used only through this class; keep its module linked.
  CoreMachDebugVerify(import_NSBitmapImageRep_QuickSaveFile());
  mDefaultImageType = QuikSaveImageType_JPEG;
  mSaveImageSize = kDefaultSaveImageSize;
}

GrabWindowController::~GrabWindowController() { mBitmapImageRep = nullptr; }

void GrabWindowController::setGrabbedBitmapImageRep(std::shared_ptr<NSBitmapImageRep> bitmap) {
  mBitmapImageRep = std::move(bitmap);
}

int GrabWindowController::grabScreenID() const { return NSScreenNumber(mGrabWindow); }

bool GrabWindowController::validateMenuItem(QAction* item) {
  QByteArray const action = NSMenuItemAction::action(item);
  if (action == "save:" || action == "saveAs:" || action == "copy:" ||
      action == "saveGrabAs_JPEG:" || action == "saveGrabAs_PNG:" || action == "saveGrabAs_TIFF:") {
    return hasGrabbedImage();
  }
  return true;
}
