// The grab commands of the DVD controller, the preview of the last grab and the grab
// set-up done when the main menu is loaded.
#include "GrabDVDController.h"

#include <QAction>
#include <QFileInfo>
#include <QImage>
#include <QLabel>
#include <QMenu>

#include <cstdio>

#include "BatchGrabDialog.h"
#include "DVDFullScreen.h"
#include "DVDGrabStrip.h"
#include "DVDVideoView.h"
#include "CoreMachDebugLog.h"
#include "GrabThumbnailEditor.h"
#include "NSMenuItemAction.h"
#include "NSUISelectorGroup.h"

namespace {

char const kGrabVersionText[] = TAVELO_VERSION;
char const kGrabShortName[] = "Tavelo";

// The thumbnail's editor; made the first time it is needed. The view owns it.
GrabThumbnailEditor* ThumbnailEditor(QLabel* view, GrabWindowController* controller) {
  if (GrabThumbnailEditor* editor = GrabThumbnailEditor::OfView(view)) return editor;
  return new GrabThumbnailEditor(view, controller);
}

}  // namespace

void GrabDVDController::grabCurrentFrame(QObject* sender) {
  if (grabsVideoFrames()) {
    // Written on the save queue; grabSaved tells of it.
    grabQuickSave(sender);
    grabbedFrameUpdated();
    return;
  }
  auto const type = QuikSaveImageType(defaultGrabImageType());
  QString next = quickSavePath(type);
  if (next.isEmpty()) {
    next = NSBitmapImageRep().nextNumberedFileNameString(kNumberedFileFormatString, type);
  }
  grabQuickSave(sender);
  grabbedFrameUpdated();
  bool const written = !next.isEmpty() && QFileInfo::exists(next);
  if (hasGrabbedImage()) addToGrabStrip(written ? next : QString());
  if (written) quickSaveWritten(next);
}

void GrabDVDController::addToGrabStrip(QString const& path) {
  if (!mGrabStrip || !mBitmapImageRep) return;
  NSBitmapImageRep const& b = *mBitmapImageRep;
  // Grabs are R, G, B in 32 bits; anything else goes the long way.
  QImage const picture =
      b.bitsPerPixel() == 32 && !b.isAlphaFirst()
          ? QImage(b.bitmapData(), int(b.pixelsWide()), int(b.pixelsHigh()),
                   qsizetype(b.bytesPerRow()), QImage::Format_RGBX8888)
                .copy()
          : grabbedImage().pixels;
  mGrabStrip->add(picture, path);
}

void GrabDVDController::grabCurrentFrameSaveNumberedFile(QObject* sender) {
  grab(sender);
  grabbedFrameUpdated();
  if (hasGrabbedImage()) addToGrabStrip(QString());
}

void GrabDVDController::grabbedFrameUpdated() {
  if (!mLastGrabImageView) return;
  ThumbnailEditor(mLastGrabImageView, this)->showBitmap(hasGrabbedImage() ? mBitmapImageRep : nullptr);
}

bool GrabDVDController::validateMenuItemGrab(QAction* item) {
  QByteArray const action = NSMenuItemAction::action(item);
  if (action == "grabCurrentFrame:" || action == "grabCurrentFrameSaveNumberedFile:" ||
      action == "batchGrab:" || action == "contactSheet:") {
    return hasMedia();
  }
  return GrabWindowController::validateMenuItem(item);
}

void GrabDVDController::awakeFromNibGrab() {
  // Quick saves go to a "Tavelo" folder in the user's Pictures folder.
  useUserPicturesTaveloFolder();
  if (mMenuItemAboutApp) {
    char title[128];
    std::snprintf(title, sizeof title, "About %s %s\n", kGrabShortName, kGrabVersionText);
    mMenuItemAboutApp->setText(QString::fromUtf8(title));
  }
  if (CoreVerify(mLastGrabImageView)) {
    // Cut, copy and paste through its context menu and, with the focus, the standard keys.
    ThumbnailEditor(mLastGrabImageView, this);
  }
  if (!CoreVerify(mGrabDefaultsMenu)) return;
  // The nib gives the items only their action; restores perform on the target.
  for (QAction* item : mGrabDefaultsMenu->actions()) {
    if (!NSMenuItemAction::action(item).isEmpty()) NSMenuItem_NSUISelectorGroup::setTarget(item, this);
  }
  restorePreferences(mGrabDefaultsMenu);
  mStillChoices.Construct(mGrabDefaultsMenu, this);
  mStillChoices.RestorePreferences();
}

std::shared_ptr<NSBitmapImageRep> GrabDVDController::grabVideoFrame() {
  return mStillChoices.TakeVideoFrame();
}

std::shared_ptr<NSBitmapImageRep> GrabDVDController::grabViewPicture(QWidget* view) {
  if (auto* video = qobject_cast<DVDVideoView*>(view)) {
    QImage const composed = video->composedImage();
    if (!composed.isNull()) return NSBitmapImageRep::imageRepWithImage(composed);
  }
  return GrabWindowController::grabViewPicture(view);
}

void GrabDVDController::onNextFrame(QObject*) { CoreMachDebugVerify(DVDStepFrame(1) == noErr); }

void GrabDVDController::toggleFullScreen(QObject*) {
  if (mFullScreen) mFullScreen->toggle();
}

void GrabDVDController::batchGrab(QObject*) { showBatchDialog(BatchGrabDialog::kFiles); }

void GrabDVDController::contactSheet(QObject*) { showBatchDialog(BatchGrabDialog::kSheet); }

void GrabDVDController::showBatchDialog(int mode) {
  if (!hasMedia()) return;
  if (mBatchDialog) {
    // One batch at a time; a finished one's dialog gives way to the other kind.
    auto* shown = qobject_cast<BatchGrabDialog*>(mBatchDialog.data());
    if (shown && shown->Running()) {
      mBatchDialog->raise();
      mBatchDialog->activateWindow();
      return;
    }
    mBatchDialog->deleteLater();
  }
  UInt16 title = 0;
  if (DVDGetTitle(&title) != noErr) title = 0;
  auto* dialog = new BatchGrabDialog(BatchGrabDialog::Mode(mode), mMediaPath, title,
                                     NSBitmapImageRep::quickSaveFolderUnixPath(),
                                     mVideoWindow ? mVideoWindow->window() : nullptr);
  dialog->setAttribute(Qt::WA_DeleteOnClose, false);
  mBatchDialog = dialog;
  dialog->show();
  dialog->raise();
  dialog->activateWindow();
}

void GrabDVDController::onPreviousFrame(QObject*) {
  CoreMachDebugVerify(DVDStepFrame(-1) == noErr);
}

void GrabDVDController::selectDefault_GrabScreen(QObject* sender) {
  mStillChoices.SelectSource(sender, false);
}
void GrabDVDController::selectDefault_GrabVideoFrame(QObject* sender) {
  mStillChoices.SelectSource(sender, true);
}
void GrabDVDController::selectDefault_SizeSquarePixels(QObject* sender) {
  mStillChoices.SelectShape(sender, kDVDStillShapeSquarePixels);
}
void GrabDVDController::selectDefault_SizeSquarePixelsITU(QObject* sender) {
  mStillChoices.SelectShape(sender, kDVDStillShapeSquarePixelsITU);
}
void GrabDVDController::selectDefault_SizeStored(QObject* sender) {
  mStillChoices.SelectShape(sender, kDVDStillShapeStored);
}
void GrabDVDController::selectDefault_DeinterlaceAuto(QObject* sender) {
  mStillChoices.SelectDeinterlace(sender, GrabStillChoices::kAuto);
}
void GrabDVDController::selectDefault_DeinterlaceOff(QObject* sender) {
  mStillChoices.SelectDeinterlace(sender, GrabStillChoices::kOff);
}
void GrabDVDController::selectDefault_DeinterlaceBlend(QObject* sender) {
  mStillChoices.SelectDeinterlace(sender, GrabStillChoices::kBlend);
}
void GrabDVDController::selectDefault_DeinterlaceAdaptive(QObject* sender) {
  mStillChoices.SelectDeinterlace(sender, GrabStillChoices::kAdaptive);
}
void GrabDVDController::selectDefault_JPEGQuality75(QObject* sender) {
  mStillChoices.SelectJPEGQuality(sender, 75);
}
void GrabDVDController::selectDefault_JPEGQuality90(QObject* sender) {
  mStillChoices.SelectJPEGQuality(sender, 90);
}
void GrabDVDController::selectDefault_JPEGQuality100(QObject* sender) {
  mStillChoices.SelectJPEGQuality(sender, 100);
}
void GrabDVDController::selectDefault_NamesNumbered(QObject* sender) {
  mStillChoices.SelectNames(sender, false);
}
void GrabDVDController::selectDefault_NamesDiscTime(QObject* sender) {
  mStillChoices.SelectNames(sender, true);
}
void GrabDVDController::toggleGrabIncludeSubtitles(QObject* sender) {
  mStillChoices.ToggleSubtitles(sender);
}
void GrabDVDController::toggleGrabCropBorders(QObject* sender) {
  mStillChoices.ToggleCropBorders(sender);
}
