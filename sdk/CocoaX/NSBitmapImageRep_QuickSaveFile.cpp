// Writing the bitmap to picture files stamped with a classic type and creator, and the
// process-wide quick-save settings with the numbered-name allocator.
#include "NSBitmapImageRep.h"

#include "CocoaX_Verify.h"
#include "CoreMachDebugLog.h"
#include "CoreNumberedFilename.h"
#include "Core_FSRef_inl.h"
#include "NSData_AtomicFile.h"
#include "NSImage_QGWorld.h"

#include <QFile>

#include <algorithm>
#include <memory>

namespace {

UInt32 sDefaultCreator = FOUR_CHAR_CODE("prvw");
// Quick saves and saves as JPEG: 0.75 unless the user chose a higher quality.
float sJPEGCompressionFactor = 0.75f;
QuikSaveImageType sDefaultQuikSaveImageType = QuikSaveImageType_JPEG;
folder_enum_t sDefaultLocation = kFolderEnum_Pictures;
CoreNumberedFilename sNumberedFilename;

bool ClassInitialize() {
  if (sNumberedFilename.IsConstructed()) return true;
  bool fOk;
  CoreVerify(fOk=sNumberedFilename.Construct(sDefaultLocation));
  return fOk;
}

}  // namespace

// ---------------------------------------------------------------------------------------
// Settings

void NSBitmapImageRep::setQuikCreatorPreviewApp() { sDefaultCreator = FOUR_CHAR_CODE("prvw"); }
void NSBitmapImageRep::setQuikCreatorQuickTimeApp() { sDefaultCreator = FOUR_CHAR_CODE("TVOD"); }
void NSBitmapImageRep::setQuikCreatorPhotoshopApp() { sDefaultCreator = FOUR_CHAR_CODE("8BIM"); }
void NSBitmapImageRep::setQuikCreatoriPhotoApp() { sDefaultCreator = FOUR_CHAR_CODE("iPho"); }
void NSBitmapImageRep::setQuikCreatorCode(UInt32 creator) { sDefaultCreator = creator; }
UInt32 NSBitmapImageRep::defaultQuikCreatorCode() { return sDefaultCreator; }
void NSBitmapImageRep::setQuikSaveImageType(QuikSaveImageType type) { sDefaultQuikSaveImageType = type; }
QuikSaveImageType NSBitmapImageRep::defaultQuikSaveImageType() { return sDefaultQuikSaveImageType; }
int NSBitmapImageRep::defaultQuikSaveLocation() { return sDefaultLocation; }

bool NSBitmapImageRep::setQuikSaveLocation(int folder) {
  sDefaultLocation = static_cast<folder_enum_t>(folder);
  return CoreVerify(sNumberedFilename.Construct(sDefaultLocation));
}

bool NSBitmapImageRep::setQuickSaveFolderUnixPathUTF8(char const* quickSaveFolderUnixPath) {
  return CoreVerify(sNumberedFilename.Construct(quickSaveFolderUnixPath));
}

bool NSBitmapImageRep::setQuickSaveFolderUnixPath(QString const& quickSaveFolderUnixPath) {
  QByteArray const utf8 = quickSaveFolderUnixPath.toUtf8();
  char const* utf8_unix_path = quickSaveFolderUnixPath.isEmpty() ? nullptr : utf8.constData();
  if (!CoreVerify(utf8_unix_path)) return false;
  bool fOk;
  CoreVerify(fOk=sNumberedFilename.Construct(utf8_unix_path));
  return fOk;
}

QString NSBitmapImageRep::quickSaveFolderUnixPath() {
  if (!CoreVerify(ClassInitialize())) return {};
  return QString::fromUtf8(sNumberedFilename.DefaultFolderPath());
}

bool NSBitmapImageRep::setGrabFolderSubDirectory(QString const&) { return false; }

// ---------------------------------------------------------------------------------------
// Stamping

bool SetFileTypeCreatorCode(char const* in_pathname, QuikSaveImageType type) {
  return SetFileTypeCreatorCode(in_pathname, type, sDefaultCreator);
}

bool SetFileTypeCreatorCode(char const* in_pathname, QuikSaveImageType type, UInt32 creator) {
  OSType const filetype = type == QuikSaveImageType_PNG    ? FOUR_CHAR_CODE("PNGf")
                          : type == QuikSaveImageType_TIFF ? FOUR_CHAR_CODE("TIFF")
                                                           : FOUR_CHAR_CODE("JPEG");
  FSRef fileRef{};
  if (!CoreVerify(bool_FSRef_ConstructFromPath(fileRef, in_pathname))) return false;
  bool result;
  CoreVerify(result = FSRef_SetFileTypeCreator(fileRef, filetype, creator ));
  return result;
}

// ---------------------------------------------------------------------------------------
// Writing

bool NSBitmapImageRep::saveAsJPEG(QString const& inOutputFileName) const {
  return saveAsJPEG(inOutputFileName, sJPEGCompressionFactor);
}

void NSBitmapImageRep::setQuikJPEGCompressionFactor(float factor) {
  sJPEGCompressionFactor = std::clamp(factor, 0.01f, 1.0f);
}

float NSBitmapImageRep::quikJPEGCompressionFactor() { return sJPEGCompressionFactor; }

bool NSBitmapImageRep::saveAsJPEG(QString const& inOutputFileName, float compressionFactor) const {
  auto const imageProps = std::make_unique<QVariantMap>(QVariantMap{{NSImageCompressionFactor, compressionFactor}});
  if (!CoreVerify(imageProps)) return false;
  QByteArray const JPEG_ImageData = representationUsingType(NSJPEGFileType, *imageProps);
  if (!CocoaXVerifyText(!JPEG_ImageData.isNull(), "JPEG_ImageData")) return false;
  if (!CocoaXVerifyText(NSData_writeToFile(JPEG_ImageData, inOutputFileName, true),
                       "[JPEG_ImageData writeToFile:inOutputFileName atomically:YES]"))
    return false;
  bool result;
  CocoaXVerifyText(result = SetFileTypeCreatorCode(QFile::encodeName(inOutputFileName).constData(), QuikSaveImageType_JPEG),
                  "result = SetFileTypeCreatorCode( [inOutputFileName UTF8String], QuikSaveImageType_JPEG )");
  return result;
}

bool NSBitmapImageRep::saveAsPNG(QString const& inOutputFileName) const {
  QVariantMap const imageProps{{NSImageInterlaced, false}};
  QByteArray const imageData = representationUsingType(NSPNGFileType, imageProps);
  if (!CocoaXVerifyText(!imageData.isNull(), "imageData")) return false;
  if (!CocoaXVerifyText(NSData_writeToFile(imageData, inOutputFileName, true),
                       "[imageData writeToFile:inOutputFileName atomically:YES]"))
    return false;
  bool result;
  CocoaXVerifyText(result = SetFileTypeCreatorCode(QFile::encodeName(inOutputFileName).constData(), QuikSaveImageType_PNG),
                  "result = SetFileTypeCreatorCode( [inOutputFileName UTF8String], QuikSaveImageType_PNG )");
  return result;
}

bool NSBitmapImageRep::saveAsTIFF(QString const& inOutputFileName) const {
  QByteArray const imageData = TIFFRepresentation();
  if (!CocoaXVerifyText(!imageData.isNull(), "imageData")) return false;
  if (!CocoaXVerifyText(NSData_writeToFile(imageData, inOutputFileName, true),
                       "[imageData writeToFile:inOutputFileName atomically:YES]"))
    return false;
  bool result;
  CocoaXVerifyText(result = SetFileTypeCreatorCode(QFile::encodeName(inOutputFileName).constData(), QuikSaveImageType_TIFF),
                  "result = SetFileTypeCreatorCode( [inOutputFileName UTF8String], QuikSaveImageType_TIFF )");
  return result;
}

bool NSBitmapImageRep::saveToPictureFileName(QString const& inFilePathName, QuikSaveImageType type) const {
  NSBitmapImageRep const& saveImageRep = *this;
  bool result;
  switch (type) {
    case QuikSaveImageType_PNG:
      CocoaXVerifyText(result = saveImageRep.saveAsPNG(inFilePathName), "result=[saveImageRep saveAsPNG:inFilePathName]");
      break;
    case QuikSaveImageType_TIFF:
      CocoaXVerifyText(result = saveImageRep.saveAsTIFF(inFilePathName), "result=[saveImageRep saveAsTIFF:inFilePathName]");
      break;
    default:
      CocoaXVerifyText(result = saveImageRep.saveAsJPEG(inFilePathName), "result=[saveImageRep saveAsJPEG:inFilePathName]");
      break;
  }
  return result;
}

QString NSBitmapImageRep::nextNumberedFileNameString(char const* inNameFormatString, QuikSaveImageType type) const {
  if (!CoreVerify(ClassInitialize())) return {};
  char const* fileExtension = type == QuikSaveImageType_PNG    ? "png"
                              : type == QuikSaveImageType_TIFF ? "tiff"
                                                               : "jpg";
  char firstUnixPathAvailable[1024];
  if (!CoreVerify(sNumberedFilename.FindFirstAvailableNamedPath(firstUnixPathAvailable, inNameFormatString, fileExtension)))
    return {};
  QString const result = QString::fromUtf8(firstUnixPathAvailable);
  CocoaXVerifyText(!result.isEmpty(), "result = [NSString stringWithUTF8String:firstUnixPathAvailable ]");
  return result;
}

bool NSBitmapImageRep::saveToNextNumberedFileName(char const* inNameFormatString, QuikSaveImageType imageType) const {
  // The name is not reserved between finding it and writing it.
  QString const withNamedFilePath = nextNumberedFileNameString(inNameFormatString, imageType);
  if (!CocoaXVerifyText(!withNamedFilePath.isNull(), "withNamedFilePath")) return false;
  bool result;
  CoreVerify(result = saveToPictureFileName(withNamedFilePath, imageType));
  return result;
}

QString NSBitmapImageRep::fileExtensionOfType(QuikSaveImageType type) {
  // Indexed by picture type.
  static char const* const kFileExtensions[] = {"jpg", "png", "tif"};
  if (type < 0 || type > 2) return QString();
  return QString::fromLatin1(kFileExtensions[type]);
}

bool NSBitmapImageRep::saveToNextNumberedFileName(char const* inNameFormatString) const {
  QuikSaveImageType imageType = sDefaultQuikSaveImageType;
  QByteArray const format(inNameFormatString ? inNameFormatString : "");
  if (format.contains(".jpg")) imageType = QuikSaveImageType_JPEG;
  else if (format.contains(".png")) imageType = QuikSaveImageType_PNG;
  else if (format.contains(".tif")) imageType = QuikSaveImageType_TIFF;
  bool result;
  CocoaXVerifyText(result = saveToNextNumberedFileName(inNameFormatString, imageType),
                  "[self saveToNextNumberedFileName:inNameFormatString withQuikSaveImageType:imageType ]");
  return result;
}

// ---------------------------------------------------------------------------------------
// Saves finished away from the settings' thread

NSBitmapImageRep::QuickSaveSettings NSBitmapImageRep::quickSaveSettings() {
  return QuickSaveSettings{quickSaveFolderUnixPath(), sDefaultCreator, sJPEGCompressionFactor};
}

bool NSBitmapImageRep::saveToPictureFileName(QString const& path, QuikSaveImageType type,
                                             QuickSaveSettings const& settings) const {
  QByteArray data;
  if (type == QuikSaveImageType_PNG) {
    data = representationUsingType(NSPNGFileType, QVariantMap{{NSImageInterlaced, false}});
  } else if (type == QuikSaveImageType_TIFF) {
    data = TIFFRepresentation();
  } else {
    data = representationUsingType(
        NSJPEGFileType, QVariantMap{{NSImageCompressionFactor, settings.jpegCompressionFactor}});
  }
  if (!CoreVerify(!data.isNull()) || !CoreVerify(NSData_writeToFile(data, path, true))) return false;
  bool result;
  CoreVerify(result = SetFileTypeCreatorCode(QFile::encodeName(path).constData(), type,
                                             settings.creator));
  return result;
}

QString NSBitmapImageRep::saveToNextNumberedFileName(char const* inNameFormatString,
                                                     QuikSaveImageType type,
                                                     QuickSaveSettings const& settings) const {
  CoreNumberedFilename folder;
  QByteArray const folderPath = settings.folder.toUtf8();
  if (!CoreVerify(!folderPath.isEmpty() && folder.Construct(folderPath.constData()))) return {};
  char const* const extension = type == QuikSaveImageType_PNG    ? "png"
                                : type == QuikSaveImageType_TIFF ? "tiff"
                                                                 : "jpg";
  char path[1024];
  if (!CoreVerify(folder.FindFirstAvailableNamedPath(path, inNameFormatString, extension))) {
    return {};
  }
  QString const written = QString::fromUtf8(path);
  return saveToPictureFileName(written, type, settings) ? written : QString();
}
