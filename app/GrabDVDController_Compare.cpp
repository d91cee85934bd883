// The comparison commands of the DVD controller: File → Compare With..., Flip Sides, Grab
// Pair and End Comparison (DVDComparison does the work).
#include "GrabDVDController.h"

#include <QAction>
#include <QDir>
#include <QFileDialog>
#include <QFileInfo>
#include <QImage>

#include "CoreMachDebugLog.h"
#include "DVDCompareView.h"
#include "DVDComparison.h"
#include "NSMenuItemAction.h"
#include "NSUISelectorGroup.h"

namespace {

// The last disc compared with, where the panel starts next time.
char const kCompareDiscKey[] = "CompareDisc";

bool IsDiscImage(QString const& path) {
  QFileInfo const info(path);
  return info.isFile() && info.suffix().compare(QLatin1String("iso"), Qt::CaseInsensitive) == 0;
}

// A folder panel like Open's that also takes a disc image named in it.
class ComparePanel : public QFileDialog {
 public:
  ComparePanel() {
    setObjectName(QStringLiteral("ComparePanel"));
    setWindowTitle(tr("Compare With"));
    setFileMode(QFileDialog::Directory);
    setOption(QFileDialog::DontUseNativeDialog, true);
    setNameFilter(tr("DVD folders and disc images (*.iso)"));
  }
  void accept() override {
    QStringList const chosen = selectedFiles();
    if (chosen.size() == 1 && IsDiscImage(chosen.first())) {
      QDialog::accept();
      return;
    }
    QFileDialog::accept();
  }
};

QString Extension(QuikSaveImageType type) {
  return type == QuikSaveImageType_PNG    ? QStringLiteral(".png")
         : type == QuikSaveImageType_TIFF ? QStringLiteral(".tiff")
                                          : QStringLiteral(".jpg");
}

}  // namespace

QString GrabDVDController::runComparePanel() {
  ComparePanel panel;
  QString const last = NSUserDefaults_Standard::stringForKey(QString::fromLatin1(kCompareDiscKey));
  QString const near = !last.isEmpty() ? last : mMediaPath;
  if (!near.isEmpty()) panel.setDirectory(QFileInfo(near).absolutePath());
  if (panel.exec() != QDialog::Accepted) return {};
  QStringList const chosen = panel.selectedFiles();
  return chosen.isEmpty() ? QString() : chosen.first();
}

void GrabDVDController::compareWith(QObject*) {
  if (!hasMedia()) return;
  QString const path = runComparePanel();
  if (!path.isEmpty()) beginComparison(path);
}

bool GrabDVDController::beginComparison(QString const& otherPath) {
  endComparisonNow();
  QFileInfo const other(otherPath);
  if (!hasMedia() || !other.exists()) {
    showStatus(tr("“%1” cannot be compared: there is no such disc").arg(other.fileName()), 10000);
    return false;
  }
  NSUserDefaults_Standard::setString(other.absoluteFilePath(), QString::fromLatin1(kCompareDiscKey));
  DVDComparison::Setup setup;
  setup.first = mMediaPath;
  if (DVDGetTitle(&setup.firstTitle) != noErr) setup.firstTitle = 0;
  setup.other = other.absoluteFilePath();
  // The other side made as grabs are.
  static char const* const kShapes[] = {"square", "itu", "stored"};
  static char const* const kDeinterlace[] = {"auto", "off", "blend", "adaptive"};
  int const shape = mStillChoices.mShape == kDVDStillShapeSquarePixelsITU ? 1
                    : mStillChoices.mShape == kDVDStillShapeStored        ? 2
                                                                           : 0;
  setup.stillArguments << QStringLiteral("--size") << QString::fromLatin1(kShapes[shape])
                       << QStringLiteral("--deinterlace")
                       << QString::fromLatin1(kDeinterlace[mStillChoices.mDeinterlace]);
  if (mStillChoices.mCropBorders) setup.stillArguments << QStringLiteral("--crop");

  auto* const comparison = new DVDComparison(this);
  connect(comparison, &DVDComparison::status, this,
          [this](QString const& text, int milliseconds) { showStatus(text, milliseconds); });
  // Ended from inside the comparison's own handlers: it goes once they are done.
  connect(comparison, &DVDComparison::ended, this, &GrabDVDController::endComparisonNow,
          Qt::QueuedConnection);
  // Another disc opened, or this one closed, ends it.
  connect(this, &GrabDVDController::mediaChanged, comparison, [this, comparison] {
    if (mMediaPath != comparison->First()) endComparisonNow();
  });
  if (!comparison->Construct(setup, mVideoWindow, this)) {
    delete comparison;
    showStatus(tr("tavelo-grab is not installed beside Tavelo."), 10000);
    return false;
  }
  mComparison = comparison;
  return true;
}

void GrabDVDController::endComparisonNow() {
  if (!mComparison) return;
  DVDComparison* const comparison = mComparison;
  mComparison = nullptr;
  comparison->disconnect(this);
  if (DVDCompareView* view = comparison->View()) view->hide();
  comparison->deleteLater();
}

void GrabDVDController::endComparison(QObject*) { endComparisonNow(); }

void GrabDVDController::flipCompareSides(QObject*) {
  if (mComparison) mComparison->Flip();
}

QString GrabDVDController::pairStem(QuikSaveImageType type) const {
  QString const extension = Extension(type);
  auto const free = [&](QString const& stem) {
    return !QFileInfo::exists(stem + extension) && !QFileInfo::exists(stem + QStringLiteral(" A") + extension) &&
           !QFileInfo::exists(stem + QStringLiteral(" B") + extension);
  };
  // Named after the disc and time: that name, with " 2", " 3"... when the pair is there.
  QString const named = quickSavePath(type);
  if (!named.isEmpty()) {
    QString const stem = named.endsWith(extension) ? named.chopped(extension.size()) : named;
    if (free(stem)) return stem;
    for (int n = 2; n < 1000; ++n) {
      if (free(stem + QStringLiteral(" %1").arg(n))) return stem + QStringLiteral(" %1").arg(n);
    }
    return {};
  }
  // Numbered as quick saves are, from the first number neither a quick save nor a pair has.
  QString const folder = NSBitmapImageRep::quickSaveFolderUnixPath();
  for (int n = 0; n < 1000; ++n) {
    QString const stem = folder + QLatin1Char('/') + QString::asprintf(kNumberedFileFormatString, n);
    if (free(stem)) return stem;
  }
  return {};
}

void GrabDVDController::grabComparePair(QObject*) {
  if (!mComparison || !hasMedia()) return;
  DVDPresentedFrameInfo info{};
  UInt32 size = 0;
  if (DVDCopyPresentedFrame(&info, nullptr, &size) != noErr || info.frameInTitle == kDVDNoFrame) {
    showStatus(tr("There is no frame of a title on screen to grab"), 5000);
    return;
  }
  auto const type = QuikSaveImageType(defaultGrabImageType());
  QString const stem = pairStem(type);
  bool const pairName = !stem.isEmpty();
  if (!CoreVerify(pairName)) return;
  // The A side: the exact frame on screen, written on the save queue as quick saves are.
  GrabTaken taken = takeVideoFrame();
  bool const frameTaken = bool(taken.make);
  if (!CoreVerify(frameTaken)) {
    showStatus(tr("The frame on screen cannot be taken"), 5000);
    return;
  }
  queueSave(std::move(taken), type, stem + QStringLiteral(" A") + Extension(type));
  // The B side: the other disc's match of that frame as the view shows it, once it does.
  QString const other = stem + QStringLiteral(" B") + Extension(type);
  NSBitmapImageRep::QuickSaveSettings const settings = NSBitmapImageRep::quickSaveSettings();
  QSizeF const saveSize = mSaveImageSize;
  mComparison->TakeOther(info.frameInTitle, [this, other, type, settings, saveSize](QImage const& picture) {
    if (picture.isNull()) {
      showStatus(tr("The other disc has no frame matching this one"), 5000);
      return;
    }
    mSaveQueue.Post([this, picture, other, type, settings, saveSize] {
      std::shared_ptr<NSBitmapImageRep> const sized =
          ScaledForSaving(NSBitmapImageRep::imageRepWithImage(picture), saveSize);
      bool const written = CoreVerify(sized) && CoreVerify(sized->saveToPictureFileName(other, type, settings));
      QMetaObject::invokeMethod(
          this,
          [this, other, written] {
            QFileInfo const file(other);
            if (written) showStatus(tr("Saved the pair “%1”").arg(file.completeBaseName().chopped(2)), 5000, file.absolutePath());
            else showStatus(tr("“%1” could not be written").arg(file.fileName()), 5000);
          },
          Qt::QueuedConnection);
    });
  });
}

bool GrabDVDController::validateMenuItemCompare(QAction* item) {
  QByteArray const action = NSMenuItemAction::action(item);
  if (action == "compareWith:") return hasMedia();
  if (action == "flipCompareSides:" || action == "grabComparePair:" || action == "endComparison:") {
    return mComparison != nullptr;
  }
  return true;
}
