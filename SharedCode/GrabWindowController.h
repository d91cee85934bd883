// The object behind the grab and save commands: it owns the last grabbed picture and knows
// the window whose screen is grabbed. The application's controller derives from it.
#pragma once

#include <QImage>
#include <QObject>
#include <QPointer>
#include <QRectF>
#include <QSizeF>
#include <QWidget>

#include <functional>
#include <memory>

#include "GrabSaveQueue.h"
#include "NSBitmapImageRep.h"
#include "NSUISelectorGroup.h"

class QAction;
class QClipboard;
class QMenu;

// A picture ready to be drawn or encoded: its size in points (which may be empty) and its
// pixels (null when the size is empty).
struct GrabImage {
  QSizeF size;
  QImage pixels;
};

// A video frame as taken at a command, to be made into a picture later on the save queue.
struct GrabTaken {
  // Makes the picture; null when it cannot.
  std::function<std::shared_ptr<NSBitmapImageRep>()> make;
  // Its quick-save file, looked up as it is written; null or empty: the next numbered name.
  std::function<QString(QuikSaveImageType)> quickSavePath;
};

class GrabWindowController : public QObject {
  Q_OBJECT

 public:
  explicit GrabWindowController(QObject* parent = nullptr);
  ~GrabWindowController() override;

  // Saved and copied pictures keep their grabbed size while the save size is this one.
  static QSizeF const kDefaultSaveImageSize;
  // Name format of quick-saved and proposed file names.
  static char const kNumberedFileFormatString[];

  // Grab options.
  enum : UInt32 {
    kGrabCropToView = 0x01,
    kGrabRaiseWindow = 0x10,
    kGrabHideWindow = 0x20,
  };

  QWidget* grabWindow() const { return mGrabWindow; }
  void setGrabWindow(QWidget* window) { mGrabWindow = window; }
  QSizeF saveImageSize() const { return mSaveImageSize; }
  void setSaveImageSize(QSizeF size) { mSaveImageSize = size; }
  void setSaveImageSizeDefault() { mSaveImageSize = kDefaultSaveImageSize; }
  bool hasGrabbedImage() const { return mBitmapImageRep != nullptr; }
  SInt32 defaultGrabImageType() const { return mDefaultImageType; }
  void setDefaultGrabImageType(SInt32 type) { mDefaultImageType = type; }
  SInt32 defaultFolder() const { return mDefaultFolder; }
  void setDefaultFolder(SInt32 folder) { mDefaultFolder = folder; }
  SInt32 defaultCreator() const { return mDefaultCreator; }
  void setDefaultCreator(SInt32 creator) { mDefaultCreator = creator; }
  std::shared_ptr<NSBitmapImageRep> grabbedBitmapImageRep() const { return mBitmapImageRep; }
  void setGrabbedBitmapImageRep(std::shared_ptr<NSBitmapImageRep> bitmap);
  // Display number of the grab window's screen.
  int grabScreenID() const;

  // Save, save-as and copy need a grabbed picture; every other item is enabled here.
  virtual bool validateMenuItem(QAction* item);

  void savePreferences(QMenu* menu);
  void restorePreferences(QMenu* menu);

  // The grab view's rectangle on its screen, origin bottom-left.
  QRectF grabRectScreenCoordinates() const;
  // The view a grab crops to: the window's grab view, else its content view; may be null.
  static QWidget* GrabViewOfWindow(QWidget* window);

  // A grab of the grab view takes the video's own picture instead of the screen when a
  // subclass says so; a null picture then means no grab.
  virtual bool grabsVideoFrames() const { return false; }
  virtual std::shared_ptr<NSBitmapImageRep> grabVideoFrame() { return nullptr; }

  // Where a quick save goes when a subclass names it; empty: the next numbered name.
  virtual QString quickSavePath(QuikSaveImageType) const { return QString(); }

  // With video frames, saves never hold up the command: the subclass takes the picture on
  // screen (takeVideoFrame) and the save queue makes, scales, encodes and writes it, in the
  // order asked; the written picture then becomes the last grab and grabSaved is told.
  virtual GrabTaken takeVideoFrame() { return {}; }
  virtual void grabSaved(QString const& /*writtenPath, empty when nothing was*/) {}
  void queueSave(GrabTaken taken, QuikSaveImageType grabImageType, QString const& path);
  GrabSaveQueue& saveQueue() { return mSaveQueue; }
  // A save size's members of 1 or more are pixels; below 1 scale factors, signs ignored.
  static QSizeF SaveSizeOf(QSizeF pictureSize, QSizeF saveSize);
  // A 32-bit R, G, B bitmap as it is saved at saveSize (itself at the default size).
  static std::shared_ptr<NSBitmapImageRep> ScaledForSaving(std::shared_ptr<NSBitmapImageRep> bitmap,
                                                           QSizeF saveSize);

  void grabGrabberWindowScreen(UInt32 options);
  void grabScreenDisplayID(CGDirectDisplayID displayID, UInt32 options);

  // A window's level: the flags of its native window, where staying on top lives. Set there
  // rather than on the widget, which would hide and re-create a shown window.
  static Qt::WindowFlags WindowLevel(QWidget const* window);
  static void SetWindowLevel(QWidget* window, Qt::WindowFlags level);

  // Reads the whole screen of the grab context; answers its rectangle in viewportRect.
  // Tests may replace it to look at the grab window at the moment of the read.
  virtual std::shared_ptr<NSBitmapImageRep> readScreenContents(QRectF* viewportRect);
  // Where the screen cannot be read (Wayland): the picture the grab view draws, at its size.
  virtual std::shared_ptr<NSBitmapImageRep> grabViewPicture(QWidget* view);

  // The last grab as an image; without one, null pixels and an invalid size (nil).
  GrabImage grabbedImage() const;
  // The picture as it is saved: scaled to the save size when one is set. Null pixels and
  // an invalid size (nil) when there is no picture.
  GrabImage imageForSaving() const;
  std::shared_ptr<NSBitmapImageRep> imageRepForSaving() const;
  void copyToPasteboard(QClipboard* pasteboard);
  // Puts a bitmap on a pasteboard as TIFF and PNG; false without a pasteboard.
  static bool PutBitmapOnPasteboard(NSBitmapImageRep const& bitmap, QClipboard* pasteboard);

  void saveGrabImageType(QuikSaveImageType grabImageType);
  void saveGrabImageType(QuikSaveImageType grabImageType, QString const& withNamedFilePath);
  void saveAsGrabImageType(QuikSaveImageType grabImageType);
  void saveAsDefaultGrabImageType();
  void saveAsFileExtension(QString const& extension, QuikSaveImageType grabImageType);
  void grabAndSaveType(QObject* sender, QuikSaveImageType grabImageType);

  // The save panel: runs modally, answers the chosen file path or an empty string.
  // Tests and other front ends may replace it.
  virtual QString runSavePanel(QString const& requiredFileType, QString const& directory,
                               QString const& fileName);

 public slots:
  void grab(QObject* sender);
  void grabScreen(QObject* sender);
  void grabQuickSave(QObject* sender);
  void grabScreenQuickSave(QObject* sender);
  void grabAndCopy(QObject* sender);
  void grabScreenAndCopy(QObject* sender);
  void copy(QObject* sender);
  void grabAndSave_JPEG(QObject* sender);
  void grabAndSave_PNG(QObject* sender);
  void grabAndSave_TIFF(QObject* sender);
  void saveGrabAs_JPEG(QObject* sender);
  void saveGrabAs_PNG(QObject* sender);
  void saveGrabAs_TIFF(QObject* sender);
  void saveAs(QObject* sender);
  void selectDefault_SaveJPEG(QObject* sender);
  void selectDefault_SaveTIFF(QObject* sender);
  void selectDefault_SavePNG(QObject* sender);
  void selectDefault_PicturesFolder(QObject* sender);
  // Makes the "Tavelo" folder inside the user's Pictures folder the quick-save folder.
  static bool useUserPicturesTaveloFolder();
  void selectDefault_DesktopFolder(QObject* sender);
  void selectDefault_DocumentsFolder(QObject* sender);
  void selectDefault_CreatorPreview(QObject* sender);
  void selectDefault_CreatorQuickTime(QObject* sender);
  void selectDefault_CreatorPhotoShop(QObject* sender);
  void selectDefault_CreatoriPhoto(QObject* sender);

 protected:
  QPointer<QWidget> mGrabWindow;
  std::shared_ptr<NSBitmapImageRep> mBitmapImageRep;
  QSizeF mSaveImageSize;
  SInt32 mDefaultImageType = QuikSaveImageType_JPEG;
  SInt32 mDefaultFolder = 0;
  SInt32 mDefaultCreator = 0;
  // Last: its saves are finished before anything else goes.
  GrabSaveQueue mSaveQueue;
};
