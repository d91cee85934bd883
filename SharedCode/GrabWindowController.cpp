#include "GrabWindowController.h"

#include <QAction>
#include <QApplication>
#include <QBuffer>
#include <QClipboard>
#include <QDir>
#include <QFileDialog>
#include <QFileInfo>
#include <QGuiApplication>
#include <QImageReader>
#include <QImageWriter>
#include <QMainWindow>
#include <QMenu>
#include <QMimeData>
#include <QPainter>
#include <QPointer>
#include <QScreen>
#include <QWindow>

#include <cmath>
#include <cstring>

#include "CocoaX_Verify.h"
#include "CoreMachDebugLog.h"
#include "CoreUserFolder.h"
#include "CoreUnixPath.h"
#include "CoreNumberedFilename.h"
#include "NSMenuItemAction.h"
#include "NSScreenNumber.h"
#include "namespace_Apple_CGL_GrabContext.h"

QSizeF const GrabWindowController::kDefaultSaveImageSize(0.0, 0.0);
char const GrabWindowController::kNumberedFileFormatString[] = "Tavelo %04d";

namespace {

// The bitmap as an image that owns a copy of its pixels.
QImage ImageOfBitmap(NSBitmapImageRep const& bitmap) {
  QByteArray const tiff = bitmap.TIFFRepresentation();
  QImage image;
  if (!tiff.isNull()) image.loadFromData(tiff, "TIFF");
  return image;
}

// A bitmap decoded from picture data: R, G, B in 32 bits, like a read-back.
std::shared_ptr<NSBitmapImageRep> BitmapImageRepWithData(QByteArray const& data) {
  QImage image;
  if (data.isEmpty() || !image.loadFromData(data)) return nullptr;
  return NSBitmapImageRep::imageRepWithImage(image);
}

// Encoded image, or a null array for an image without pixels.
QByteArray TIFFRepresentationOfImage(GrabImage const& image) {
  if (image.pixels.isNull()) return {};
  QByteArray out;
  QBuffer buffer(&out);
  buffer.open(QIODevice::WriteOnly);
  QImageWriter writer(&buffer, "tiff");
  if (!writer.write(image.pixels)) return {};
  return out;
}

// The sender as a menu item of the grab-defaults menu, or null.
QAction* SenderMenuItem(QObject* sender) { return qobject_cast<QAction*>(sender); }

// A rectangle of a view on its window's screen, origin at the screen's bottom-left.
QRectF ScreenRectOfView(QWidget const* view, double screenHeight) {
  QWidget const* const window = view->window();
  QScreen const* const screen = window ? window->screen() : nullptr;
  QPoint const topLeft = view->mapToGlobal(QPoint(0, 0)) - (screen ? screen->geometry().topLeft() : QPoint());
  return QRectF(topLeft.x(), screenHeight - (topLeft.y() + view->height()), view->width(), view->height());
}

double ScreenHeightOfView(QWidget const* view) {
  QWidget const* const window = view->window();
  QScreen const* const screen = window ? window->screen() : nullptr;
  return screen ? screen->geometry().height() : 0.0;
}

// Puts the grab window back after the read, however the read ends: at its saved level
// when it was raised, shown again when it was taken off screen.
class GrabWindowRestorer {
 public:
  GrabWindowRestorer() = default;
  GrabWindowRestorer(GrabWindowRestorer const&) = delete;
  GrabWindowRestorer& operator=(GrabWindowRestorer const&) = delete;
  ~GrabWindowRestorer() { restore(); }

  void raised(QWidget* window, Qt::WindowFlags savedLevel) {
    mWindow = window;
    mSavedLevel = savedLevel;
    mRaised = true;
  }
  void hidden(QWidget* window) { mWindow = window; mHidden = true; }
  void restore() {
    if (mRaised && mWindow) GrabWindowController::SetWindowLevel(mWindow, mSavedLevel);
    else if (mHidden && mWindow) mWindow->show();
    mRaised = mHidden = false;
  }

 private:
  QPointer<QWidget> mWindow;
  Qt::WindowFlags mSavedLevel;
  bool mRaised = false;
  bool mHidden = false;
};

}  // namespace

GrabWindowController::GrabWindowController(QObject* parent) : QObject(parent) {
  // These modules are used only through this class; keep them linked.
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

void GrabWindowController::savePreferences(QMenu* menu) {
  if (!menu) return;
  NSMenu_NSUISelectorGroup::saveSelectorGroupPreferences(menu, DefaultFileTypeSelectorGroup);
  NSMenu_NSUISelectorGroup::saveSelectorGroupPreferences(menu, DefaultFolderSelectorGroup);
  NSMenu_NSUISelectorGroup::saveSelectorGroupPreferences(menu, DefaultCreatorSelectorGroup);
}

void GrabWindowController::restorePreferences(QMenu* menu) {
  if (!menu) return;
  NSMenu_NSUISelectorGroup::restoreSelectorGroupPreferences(menu, DefaultFileTypeSelectorGroup);
  NSMenu_NSUISelectorGroup::restoreSelectorGroupPreferences(menu, DefaultFolderSelectorGroup);
  NSMenu_NSUISelectorGroup::restoreSelectorGroupPreferences(menu, DefaultCreatorSelectorGroup);
}

QWidget* GrabWindowController::GrabViewOfWindow(QWidget* window) {
  if (!window) return nullptr;
  // A main window grabs its central view; it has no other content view.
  if (auto* mainWindow = qobject_cast<QMainWindow*>(window)) return mainWindow->centralWidget();
  return window;
}

QRectF GrabWindowController::grabRectScreenCoordinates() const {
  QRectF const rect(0.0, 0.0, 640.0, 480.0);
  QWidget* const grabThisView = GrabViewOfWindow(mGrabWindow);
  if (!CoreVerify(grabThisView)) return rect;
  return ScreenRectOfView(grabThisView, ScreenHeightOfView(grabThisView));
}

// ---- grabbing

void GrabWindowController::grabGrabberWindowScreen(UInt32 options) {
  if ((options & kGrabCropToView) && grabsVideoFrames()) {
    setGrabbedBitmapImageRep(grabVideoFrame());
    return;
  }
  if (!CoreVerify(mGrabWindow)) return;
  grabScreenDisplayID(CGDirectDisplayID(grabScreenID()), options);
}

Qt::WindowFlags GrabWindowController::WindowLevel(QWidget const* window) {
  if (!window) return {};
  QWindow const* const native = window->windowHandle();
  return native ? native->flags() : window->windowFlags();
}

void GrabWindowController::SetWindowLevel(QWidget* window, Qt::WindowFlags level) {
  if (!window) return;
  // On X11 the native window asks the window manager for _NET_WM_STATE_ABOVE in place;
  // the widget's own flags stay as they are, so nothing re-creates the window.
  if (QWindow* const native = window->windowHandle()) native->setFlags(level);
  else window->setWindowFlags(level);
}

std::shared_ptr<NSBitmapImageRep> GrabWindowController::readScreenContents(QRectF* viewportRect) {
  return NSBitmapImageRep::bitmapWithOpenGLViewportContents(viewportRect, false);
}

std::shared_ptr<NSBitmapImageRep> GrabWindowController::grabViewPicture(QWidget* view) {
  if (!CoreVerify(view)) return nullptr;
  // Drawn now, at the view's size: the video with its subtitle and highlight as shown.
  return NSBitmapImageRep::imageRepWithImage(view->grab().toImage());
}

void GrabWindowController::grabScreenDisplayID(CGDirectDisplayID inCGScreenDisplayID, UInt32 options) {
  if ((options & kGrabCropToView) && Apple_CGL::GrabContext::ScreenIsPrivate()) {
    // Under Wayland no client reads the screen, and the view's own picture is what shows there.
    setGrabbedBitmapImageRep(grabViewPicture(GrabViewOfWindow(mGrabWindow)));
    return;
  }
  // Where the screen cannot be read, the grab window's own pixels stand for it.
  NSBitmapImageRep::setScreenFallbackWindow(mGrabWindow);
  // Destroyed on every way out, exceptions included.
  Apple_CGL::GrabContext oglContext;
  if (!CoreVerify(oglContext.Construct(inCGScreenDisplayID))) return;

  QWidget* const window = mGrabWindow;
  GrabWindowRestorer restorer;
  if (window) {
    if (options & kGrabRaiseWindow) {
      Qt::WindowFlags const savedLevel = WindowLevel(window);
      restorer.raised(window, savedLevel);
      SetWindowLevel(window, savedLevel | Qt::WindowStaysOnTopHint);
      // Without a window manager, or one that ignores the request, this stacks it on top.
      window->raise();
    } else if (options & kGrabHideWindow) {
      restorer.hidden(window);
      window->hide();
    }
    if (options & (kGrabRaiseWindow | kGrabHideWindow)) {
      if (window->isVisible()) window->repaint();
      // The screen is read through another connection: the server must have drawn
      // everything this one asked for (a round trip) before the read.
      QGuiApplication::sync();
    }
  }
  CoreMachDebugVerify(oglContext.MakeCurrent(true));

  QRectF glViewportRect;
  setGrabbedBitmapImageRep(readScreenContents(&glViewportRect));

  restorer.restore();

  if (window && (options & kGrabCropToView)) {
    QWidget* const grabThisView = GrabViewOfWindow(window);
    if (CoreVerify(grabThisView)) {
      QRectF const frame = ScreenRectOfView(grabThisView, glViewportRect.height());
      QRectF const cropRect = frame.intersected(glViewportRect);
      setGrabbedBitmapImageRep(NSBitmapImageRep::bitmapCroppedWithRect(mBitmapImageRep.get(), cropRect));
    }
  }
  CoreMachDebugVerify(oglContext.MakeCurrent(false));
  oglContext.Destruct();
}

// ---- images for saving

GrabImage GrabWindowController::grabbedImage() const {
  GrabImage newImage;
  if (!CoreVerify(mBitmapImageRep)) return newImage;
  // The image holds its own copy of the pixels, as a drawn image would.
  newImage.pixels = ImageOfBitmap(*mBitmapImageRep);
  newImage.size = QSizeF(mBitmapImageRep->pixelsWide(), mBitmapImageRep->pixelsHigh());
  if (!CocoaXVerifyText(!newImage.pixels.isNull(), "newImage = [[NSImage alloc] init]")) return GrabImage();
  return newImage;
}

GrabImage GrabWindowController::imageForSaving() const {
  GrabImage const saveThisImage = grabbedImage();
  bool const hasImage = CocoaXVerifyText(!saveThisImage.pixels.isNull(), "saveThisImage");
  bool const hasBitmap = CoreVerify(mBitmapImageRep);
  if (!hasImage || !hasBitmap) return GrabImage();
  if (mSaveImageSize == kDefaultSaveImageSize) return saveThisImage;

  QSizeF const sourceSize = saveThisImage.size;
  QSizeF const saveSize = SaveSizeOf(sourceSize, mSaveImageSize);
  double const w = saveSize.width();
  double const h = saveSize.height();

  GrabImage smallImage;
  smallImage.size = QSizeF(w, h);
  int const pixelsWide = int(std::lround(w));
  int const pixelsHigh = int(std::lround(h));
  if (pixelsWide > 0 && pixelsHigh > 0) {
    smallImage.pixels = QImage(pixelsWide, pixelsHigh, QImage::Format_RGB32);
    if (!CoreVerify(!smallImage.pixels.isNull())) return GrabImage();
    QPainter painter(&smallImage.pixels);
    painter.setRenderHint(QPainter::SmoothPixmapTransform, true);
    painter.setCompositionMode(QPainter::CompositionMode_Source);
    painter.drawImage(QRectF(0, 0, pixelsWide, pixelsHigh), saveThisImage.pixels,
                      QRectF(0, 0, sourceSize.width(), sourceSize.height()));
  }
  return smallImage;
}

std::shared_ptr<NSBitmapImageRep> GrabWindowController::imageRepForSaving() const {
  if (mSaveImageSize == kDefaultSaveImageSize) return mBitmapImageRep;
  GrabImage const saveImageSized = imageForSaving();
  if (!CocoaXVerifyText(saveImageSized.size.isValid(), "saveImageSized"))
    return nullptr;
  QByteArray const TIFF_imageData = TIFFRepresentationOfImage(saveImageSized);
  if (!CocoaXVerifyText(!TIFF_imageData.isEmpty(), "TIFF_imageData")) return nullptr;
  std::shared_ptr<NSBitmapImageRep> saveThisImageRep;
  CocoaXVerifyText(saveThisImageRep = BitmapImageRepWithData(TIFF_imageData),
                   "saveThisImageRep = [NSBitmapImageRep imageRepWithData:TIFF_imageData]");
  return saveThisImageRep;
}

void GrabWindowController::copyToPasteboard(QClipboard* pasteboard) {
  std::shared_ptr<NSBitmapImageRep> const bitmap = imageRepForSaving();
  if (bitmap) PutBitmapOnPasteboard(*bitmap, pasteboard);
}

bool GrabWindowController::PutBitmapOnPasteboard(NSBitmapImageRep const& bitmap, QClipboard* pasteboard) {
  if (!pasteboard) return false;
  auto* data = new QMimeData();
  data->setData(QStringLiteral("image/tiff"), bitmap.TIFFRepresentation());
  // Linux programs paste PNG rather than TIFF.
  data->setData(QStringLiteral("image/png"), bitmap.representationUsingType(NSPNGFileType, {}));
  pasteboard->setMimeData(data);
  return true;
}

// ---- saving

void GrabWindowController::saveGrabImageType(QuikSaveImageType grabImageType) {
  if (!CocoaXVerifyText(hasGrabbedImage(), "[self hasGrabbedImage]")) return;
  std::shared_ptr<NSBitmapImageRep> const saveImageRep = imageRepForSaving();
  if (!CoreVerify(saveImageRep)) return;
  if (QString const named = quickSavePath(grabImageType); !named.isEmpty()) {
    CoreMachDebugVerify(saveImageRep->saveToPictureFileName(named, grabImageType));
    return;
  }
  if (!saveImageRep->saveToNextNumberedFileName(kNumberedFileFormatString, grabImageType)) {
    CocoaXVerifyText(false,
                     "[saveImageRep saveToNextNumberedFileName:GrabWindowController_NumberedFileFormatString "
                     "withQuikSaveImageType:grabImageType ]");
  }
}

void GrabWindowController::saveGrabImageType(QuikSaveImageType grabImageType, QString const& withNamedFilePath) {
  bool const hasImage = CocoaXVerifyText(hasGrabbedImage(), "[self hasGrabbedImage]");
  bool const hasPath = CocoaXVerifyText(!withNamedFilePath.isEmpty(), "withNamedFilePath");
  if (!hasImage || !hasPath) return;
  if (grabsVideoFrames()) {
    queueSave(GrabTaken{[bitmap = mBitmapImageRep] { return bitmap; }, {}}, grabImageType,
              withNamedFilePath);
    return;
  }
  std::shared_ptr<NSBitmapImageRep> const saveImageRep = imageRepForSaving();
  if (!CoreVerify(saveImageRep)) return;
  if (!saveImageRep->saveToPictureFileName(withNamedFilePath, grabImageType)) {
    CocoaXVerifyText(false,
                     "[saveImageRep saveToPictureFileName:withNamedFilePath "
                     "withQuikSaveImageType:grabImageType ]");
  }
}

void GrabWindowController::saveAsGrabImageType(QuikSaveImageType grabImageType) {
  saveAsFileExtension(NSBitmapImageRep::fileExtensionOfType(grabImageType), grabImageType);
}

void GrabWindowController::saveAsDefaultGrabImageType() { saveAsGrabImageType(mDefaultImageType); }

void GrabWindowController::saveAsFileExtension(QString const& extension, QuikSaveImageType grabImageType) {
  // The proposed name is the next free numbered name of the quick-save folder.
  NSBitmapImageRep const probe;
  QString const nextPath = probe.nextNumberedFileNameString(kNumberedFileFormatString, grabImageType);
  QString const name = QFileInfo(nextPath).completeBaseName();
  QString const directory = NSBitmapImageRep::quickSaveFolderUnixPath();
  QString const fileName = runSavePanel(extension, directory, name);
  if (fileName.isEmpty()) return;
  saveGrabImageType(grabImageType, fileName);
}

QString GrabWindowController::runSavePanel(QString const& requiredFileType, QString const& directory,
                                           QString const& fileName) {
  QFileDialog panel(mGrabWindow ? mGrabWindow->window() : nullptr);
  panel.setObjectName(QStringLiteral("savePanel"));
  panel.setAcceptMode(QFileDialog::AcceptSave);
  panel.setFileMode(QFileDialog::AnyFile);
  // The same dialog everywhere, and one that tests and scripts can drive.
  panel.setOption(QFileDialog::DontUseNativeDialog, true);
  panel.setNameFilter(QStringLiteral("*.") + requiredFileType);
  panel.setDefaultSuffix(requiredFileType);
  panel.setDirectory(directory);
  panel.selectFile(fileName);
  panel.exec();
  // The dialog's answer is not examined: what counts is whether it holds a file name.
  QString const chosen = panel.selectedFiles().value(0);
  if (chosen.isEmpty() || QFileInfo(chosen).isDir()) return QString();
  if (QFileInfo(chosen).suffix().compare(requiredFileType, Qt::CaseInsensitive) != 0)
    return chosen + QLatin1Char('.') + requiredFileType;
  return chosen;
}

void GrabWindowController::grabAndSaveType(QObject* sender, QuikSaveImageType grabImageType) {
  grab(sender);
  saveAsGrabImageType(grabImageType);
}

// ---- actions

void GrabWindowController::grab(QObject*) { grabGrabberWindowScreen(kGrabCropToView | kGrabRaiseWindow); }

void GrabWindowController::grabScreen(QObject*) { grabGrabberWindowScreen(kGrabHideWindow); }

void GrabWindowController::grabQuickSave(QObject* sender) {
  if (grabsVideoFrames()) {
    queueSave(takeVideoFrame(), QuikSaveImageType(mDefaultImageType), QString());
    return;
  }
  grab(sender);
  if (hasGrabbedImage()) saveGrabImageType(mDefaultImageType);
}

void GrabWindowController::grabScreenQuickSave(QObject* sender) {
  grabScreen(sender);
  if (hasGrabbedImage()) saveGrabImageType(mDefaultImageType);
}

void GrabWindowController::grabAndCopy(QObject* sender) {
  grab(sender);
  CocoaXVerifyText(hasGrabbedImage(), "[self hasGrabbedImage]");
  copyToPasteboard(QGuiApplication::clipboard());
}

void GrabWindowController::grabScreenAndCopy(QObject* sender) {
  grabScreen(sender);
  if (hasGrabbedImage()) copy(sender);
}

void GrabWindowController::copy(QObject*) {
  CocoaXVerifyText(hasGrabbedImage(), "[self hasGrabbedImage]");
  copyToPasteboard(QGuiApplication::clipboard());
}

void GrabWindowController::grabAndSave_JPEG(QObject* sender) { grabAndSaveType(sender, QuikSaveImageType_JPEG); }
void GrabWindowController::grabAndSave_PNG(QObject* sender) { grabAndSaveType(sender, QuikSaveImageType_PNG); }
void GrabWindowController::grabAndSave_TIFF(QObject* sender) { grabAndSaveType(sender, QuikSaveImageType_TIFF); }

void GrabWindowController::saveGrabAs_JPEG(QObject* sender) {
  if (!hasGrabbedImage()) grab(sender);
  saveAsGrabImageType(QuikSaveImageType_JPEG);
}

void GrabWindowController::saveGrabAs_PNG(QObject* sender) {
  if (!hasGrabbedImage()) grab(sender);
  saveAsGrabImageType(QuikSaveImageType_PNG);
}

void GrabWindowController::saveGrabAs_TIFF(QObject* sender) {
  if (!hasGrabbedImage()) grab(sender);
  saveAsGrabImageType(QuikSaveImageType_TIFF);
}

void GrabWindowController::saveAs(QObject*) {
  if (hasGrabbedImage()) saveAsDefaultGrabImageType();
}

void GrabWindowController::selectDefault_SaveJPEG(QObject* sender) {
  if (QAction* item = SenderMenuItem(sender))
    NSMenuItem_NSUISelectorGroup::selectSelfFromSelectorGroup(item, DefaultFileTypeSelectorGroup);
  setDefaultGrabImageType(QuikSaveImageType_JPEG);
}

void GrabWindowController::selectDefault_SaveTIFF(QObject* sender) {
  if (QAction* item = SenderMenuItem(sender))
    NSMenuItem_NSUISelectorGroup::selectSelfFromSelectorGroup(item, DefaultFileTypeSelectorGroup);
  setDefaultGrabImageType(QuikSaveImageType_TIFF);
}

void GrabWindowController::selectDefault_SavePNG(QObject* sender) {
  if (QAction* item = SenderMenuItem(sender))
    NSMenuItem_NSUISelectorGroup::selectSelfFromSelectorGroup(item, DefaultFileTypeSelectorGroup);
  setDefaultGrabImageType(QuikSaveImageType_PNG);
}

void GrabWindowController::selectDefault_PicturesFolder(QObject* sender) {
  if (QAction* item = SenderMenuItem(sender))
    NSMenuItem_NSUISelectorGroup::selectSelfFromSelectorGroup(item, DefaultFolderSelectorGroup);
  NSBitmapImageRep::setQuikSaveLocation(kFolderEnum_Pictures);
  // Choosing Pictures keeps the program's own folder inside it, as at start-up: pictures
  // collect in Pictures/Tavelo until the user picks another folder.
  useUserPicturesTaveloFolder();
}

bool GrabWindowController::useUserPicturesTaveloFolder() {
  CoreUserFolder UserPicturesTavelo("Tavelo", kPictureDocumentsFolderType, kUserDomain);
  CoreUnixPath sUserPictureTaveloPath;
  bool const fOk = CoreVerify(UserPicturesTavelo.GetUnixPath(sUserPictureTaveloPath));
  if (fOk)
    NSBitmapImageRep::setQuickSaveFolderUnixPathUTF8(static_cast<char const*>(sUserPictureTaveloPath));
  return fOk;
}

void GrabWindowController::selectDefault_DesktopFolder(QObject* sender) {
  if (QAction* item = SenderMenuItem(sender))
    NSMenuItem_NSUISelectorGroup::selectSelfFromSelectorGroup(item, DefaultFolderSelectorGroup);
  NSBitmapImageRep::setQuikSaveLocation(kFolderEnum_Desktop);
}

void GrabWindowController::selectDefault_DocumentsFolder(QObject* sender) {
  if (QAction* item = SenderMenuItem(sender))
    NSMenuItem_NSUISelectorGroup::selectSelfFromSelectorGroup(item, DefaultFolderSelectorGroup);
  NSBitmapImageRep::setQuikSaveLocation(kFolderEnum_Documents);
}

void GrabWindowController::selectDefault_CreatorPreview(QObject* sender) {
  if (QAction* item = SenderMenuItem(sender))
    NSMenuItem_NSUISelectorGroup::selectSelfFromSelectorGroup(item, DefaultCreatorSelectorGroup);
  NSBitmapImageRep::setQuikCreatorPreviewApp();
}

void GrabWindowController::selectDefault_CreatorQuickTime(QObject* sender) {
  if (QAction* item = SenderMenuItem(sender))
    NSMenuItem_NSUISelectorGroup::selectSelfFromSelectorGroup(item, DefaultCreatorSelectorGroup);
  NSBitmapImageRep::setQuikCreatorQuickTimeApp();
}

void GrabWindowController::selectDefault_CreatorPhotoShop(QObject* sender) {
  if (QAction* item = SenderMenuItem(sender))
    NSMenuItem_NSUISelectorGroup::selectSelfFromSelectorGroup(item, DefaultCreatorSelectorGroup);
  NSBitmapImageRep::setQuikCreatorPhotoshopApp();
}

void GrabWindowController::selectDefault_CreatoriPhoto(QObject* sender) {
  if (QAction* item = SenderMenuItem(sender))
    NSMenuItem_NSUISelectorGroup::selectSelfFromSelectorGroup(item, DefaultCreatorSelectorGroup);
  NSBitmapImageRep::setQuikCreatoriPhotoApp();
}
