// The toolkit bitmap: a rectangle of pixels, rows from the top, with its picture-file
// representations (JPEG, PNG, TIFF). Owns its pixels or borrows the caller's.
#pragma once

#include <QByteArray>
#include <QString>
#include <QVariantMap>

#include <cstdint>
#include <memory>

#include "MacTypes.h"
#include "NSImageRep.h"

class QImage;
class QRectF;
class QWidget;
class QGWorld;
class NSBitmapImageRepGWorld;
struct tagQGWorldData;
using CGDirectDisplayID = std::uint32_t;

enum NSBitmapImageFileType {
  NSTIFFFileType = 0,
  NSBMPFileType = 1,
  NSGIFFileType = 2,
  NSJPEGFileType = 3,
  NSPNGFileType = 4,
  NSJPEG2000FileType = 5,
};

// Property keys of representationUsingType.
extern QString const NSImageCompressionFactor;  // number 0.0 (smallest) .. 1.0 (best)
extern QString const NSImageInterlaced;         // bool; PNG is always written non-interlaced

// Bitmap layouts (bitmapFormat bits): alpha (or the unused byte) before the colour samples.
enum : unsigned long {
  NSAlphaFirstBitmapFormat = 1,
};

// Picture types of the quick-save writer.
using QuikSaveImageType = SInt32;
enum : QuikSaveImageType {
  QuikSaveImageType_JPEG = 0,
  QuikSaveImageType_PNG = 1,
  QuikSaveImageType_TIFF = 2,
};

class NSBitmapImageRep : public NSImageRep {
 public:
  NSBitmapImageRep() = default;
  // Null data: the bitmap allocates (zeroed) and owns its pixels; bytesPerRow 0 means
  // packed rows. Otherwise the pixels are borrowed and must outlive the bitmap.
  // Supported: 8 bits per sample, 1 to 4 samples per pixel, chunky.
  NSBitmapImageRep(unsigned char* data, long width, long height, long bitsPerSample,
                   long samplesPerPixel, bool hasAlpha, long bytesPerRow, long bitsPerPixel,
                   unsigned long bitmapFormat = 0);
  NSBitmapImageRep(NSBitmapImageRep const&) = delete;
  NSBitmapImageRep& operator=(NSBitmapImageRep const&) = delete;

  bool Construct(unsigned char* data, long width, long height, long bitsPerSample,
                 long samplesPerPixel, bool hasAlpha, long bytesPerRow, long bitsPerPixel,
                 unsigned long bitmapFormat = 0);
  void Empty();
  bool IsConstructed() const { return mData != nullptr; }
  QSizeF size() const override { return QSizeF(double(mWidth), double(mHeight)); }

  long pixelsWide() const { return mWidth; }
  long pixelsHigh() const { return mHeight; }
  long bitsPerSample() const { return mBitsPerSample; }
  long samplesPerPixel() const { return mSamplesPerPixel; }
  bool hasAlpha() const { return mHasAlpha; }
  long bitsPerPixel() const { return mBitsPerPixel; }
  long bytesPerRow() const { return mBytesPerRow; }
  unsigned long bitmapFormat() const { return mBitmapFormat; }
  bool isAlphaFirst() const { return (mBitmapFormat & NSAlphaFirstBitmapFormat) != 0; }
  unsigned char* bitmapData() const { return mData; }
  unsigned char* getStartOfScanLine(long row) const;
  bool ownsData() const { return mOwned != nullptr; }

  // Encoded picture, or a null array when the bitmap cannot be encoded that way.
  // JPEG and PNG use libjpeg-turbo and libpng directly; TIFF goes through Qt's writer.
  QByteArray representationUsingType(NSBitmapImageFileType type, QVariantMap const& properties) const;
  QByteArray TIFFRepresentation() const;
  // A 32-bit R, G, B bitmap of an image's pixels (copied); null for a null image.
  static std::shared_ptr<NSBitmapImageRep> imageRepWithImage(QImage const& image);

  // Quick-save writer (NSBitmapImageRep_QuickSaveFile.cpp).
  bool saveAsJPEG(QString const& inOutputFileName) const;
  bool saveAsJPEG(QString const& inOutputFileName, float compressionFactor) const;
  bool saveAsPNG(QString const& inOutputFileName) const;
  bool saveAsTIFF(QString const& inOutputFileName) const;
  bool saveToPictureFileName(QString const& inFilePathName, QuikSaveImageType type) const;
  QString nextNumberedFileNameString(char const* inNameFormatString, QuikSaveImageType type) const;
  bool saveToNextNumberedFileName(char const* inNameFormatString, QuikSaveImageType type) const;
  bool saveToNextNumberedFileName(char const* inNameFormatString) const;
  // The save panel's extension of a picture type: "jpg", "png" or "tif"; empty for others.
  static QString fileExtensionOfType(QuikSaveImageType type);

  // The quick-save settings at one moment: a save finished later, on another thread, is
  // written as they were when it was asked for.
  struct QuickSaveSettings {
    QString folder;
    UInt32 creator = 0;
    float jpegCompressionFactor = 0.75f;
  };
  static QuickSaveSettings quickSaveSettings();
  bool saveToPictureFileName(QString const& inFilePathName, QuikSaveImageType type,
                             QuickSaveSettings const& settings) const;
  // The path written, or an empty string when nothing was.
  QString saveToNextNumberedFileName(char const* inNameFormatString, QuikSaveImageType type,
                                     QuickSaveSettings const& settings) const;

  static void setQuikCreatorPreviewApp();
  static void setQuikCreatorQuickTimeApp();
  static void setQuikCreatorPhotoshopApp();
  static void setQuikCreatoriPhotoApp();
  static void setQuikCreatorCode(UInt32 creator);
  // The compression factor saveAsJPEG: without one uses (0.75 until set).
  static void setQuikJPEGCompressionFactor(float factor);
  static float quikJPEGCompressionFactor();
  static UInt32 defaultQuikCreatorCode();
  static void setQuikSaveImageType(QuikSaveImageType type);
  static QuikSaveImageType defaultQuikSaveImageType();
  static int defaultQuikSaveLocation();
  static bool setQuikSaveLocation(int folder);
  static bool setQuickSaveFolderUnixPathUTF8(char const* quickSaveFolderUnixPath);
  static bool setQuickSaveFolderUnixPath(QString const& quickSaveFolderUnixPath);
  static QString quickSaveFolderUnixPath();
  static bool setGrabFolderSubDirectory(QString const& subDirectory);

  // --- OpenGLAdditions (NSBitmapImageRep_OpenGLCategory.cpp): screen read-back and crop ---
  // Rectangles are in screen coordinates, origin bottom-left. Read-backs are R, G, B, 255
  // pixels, 3 samples (4 with alpha) in 32 bits, rows from the top.
  static std::shared_ptr<NSBitmapImageRep> bitmapWithOpenGLViewportContents(
      QRectF* outViewportRect, bool hasAlpha, bool flipHorizontal);
  static std::shared_ptr<NSBitmapImageRep> bitmapWithOpenGLViewportContents(QRectF* outViewportRect,
                                                                           bool hasAlpha);
  static std::shared_ptr<NSBitmapImageRep> bitmapWithOpenGLViewportContents();
  static std::shared_ptr<NSBitmapImageRep> bitmapWithScreenPixels(CGDirectDisplayID displayID,
                                                                  QRectF* outViewportRect);
  static std::shared_ptr<NSBitmapImageRep> bitmapWithScreenPixels(CGDirectDisplayID displayID);
  static std::shared_ptr<NSBitmapImageRep> bitmapWithScreenPixelsGrabViewFrame(QWidget* view);
  static std::shared_ptr<NSBitmapImageRep> bitmapCroppedWithRect(NSBitmapImageRep const* bitmap,
                                                                 QRectF const& rect);
  // Where no X screen can be read, grabs see this window's own pixels (null: none).
  static void setScreenFallbackWindow(QWidget* window);
  unsigned char* getStartOfScanLine(long row, long x) const;
  void flipVerticalAndSwizzle_BGRX_to_RGBA(bool flipHorizontal);
  // --- end OpenGLAdditions ---

  // --- QGWorlds (NSImage_QGWorld.cpp): offscreen surfaces from and for bitmaps ---
  QSizeF sizePixels() const;
  bool sameDimensions(QGWorld const& theWorld) const;
  bool constructNewWorldWithImageContents(QGWorld& theWorld) const;
  // Rebuilds the alias over this bitmap, which must be owned by a shared pointer.
  bool constructNewWorldForImageContents(NSBitmapImageRepGWorld& theWorld) const;
  bool copyToWorldWithSameDimensions(QGWorld& theWorld) const;
  bool copyToWorldWithAnyDimensions(QGWorld& theWorld) const;
  // A bitmap over the record's 32-bit A,R,G,B memory (not copied): the memory must outlive it.
  static std::shared_ptr<NSBitmapImageRep> bitmapWithGWorldData(tagQGWorldData const* bitmapData);
  // --- end QGWorlds ---

 private:
  long mWidth = 0;
  long mHeight = 0;
  long mBitsPerSample = 0;
  long mSamplesPerPixel = 0;
  bool mHasAlpha = false;
  long mBitsPerPixel = 0;
  long mBytesPerRow = 0;
  unsigned long mBitmapFormat = 0;
  unsigned char* mData = nullptr;
  std::unique_ptr<unsigned char[]> mOwned;
};

// Stamps the file with the classic type of the picture type and the default creator.
bool SetFileTypeCreatorCode(char const* in_pathname, QuikSaveImageType type);
bool SetFileTypeCreatorCode(char const* in_pathname, QuikSaveImageType type, UInt32 creator);
