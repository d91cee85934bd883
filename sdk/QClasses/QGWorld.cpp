#include "QGWorld.h"

#include "CoreMachDebugLog.h"
#include "QPixMap.h"

using QClasses::QPoint;
using QClasses::QRect;
using QClasses::QSize;

QGWorld::QGWorld(Point size, unsigned long pixelFormat) {
  if (!Construct(size, pixelFormat)) throw CoreException("Nil exception pointer");
}

QGWorld::QGWorld(QGWorld const& other) {
  if (!Construct(other)) throw CoreException("Nil exception pointer");
}

QGWorld::QGWorld(char* inBaseAddr, ImageDescription** hImageDescription) {
  if (!ConstructAlias(inBaseAddr, hImageDescription)) throw CoreException("Nil exception pointer");
}

QGWorld::~QGWorld() { QGWorld::Destruct(); }

void QGWorld::Destruct() {
  if (!mGWorld) return;
  UnlockPixels(GetGWorldPixMap(mGWorld));
  DisposeGWorld(mGWorld);
  mGWorld = nullptr;
}

bool QGWorld::Construct(Point const& size, unsigned long pixelFormat) {
  QGWorld::Destruct();
  Rect const bounds{0, 0, size.v, size.h};
  OSErr const err = QTNewGWorld(&mGWorld, OSType(pixelFormat), &bounds, nullptr, nullptr, 0);
  if (CoreVerifyOSerr(err)) return false;
  if (!CoreVerify(mGWorld!=0)) return false;
  LockPixels(GetGWorldPixMap(mGWorld));
  return true;
}

bool QGWorld::Construct(QSize const& size, unsigned long pixelFormat) {
  return Construct(Point{size.height, size.width}, pixelFormat);
}

bool QGWorld::Construct(QGWorld const& other) {
  if (!other.IsConstructed()) {
    QGWorld::Destruct();
    return false;
  }
  return Construct(other.Dimensions(), other.GetPixelFormat());
}

bool QGWorld::ConstructAlias(char* inBaseAddr, long inRowBytes, Point const& size,
                             unsigned long pixelFormat) {
  QGWorld::Destruct();
  if (!CoreVerify(inBaseAddr)) return false;
  if (!CoreVerify(inRowBytes)) return false;
  Rect const bounds{0, 0, size.v, size.h};
  OSErr const err = QTNewGWorldFromPtr(&mGWorld, OSType(pixelFormat), &bounds, nullptr, nullptr,
                                       0, inBaseAddr, inRowBytes);
  return CoreVerifyOSerr(err) == noErr && mGWorld != nullptr;
}

bool QGWorld::ConstructAlias(tagQGWorldData const& data) {
  return ConstructAlias(data.baseAddr, long(data.rowBytes), Point{data.height, data.width},
                        data.pixelFormat);
}

bool QGWorld::ConstructAlias(char* inBaseAddr, ImageDescription** hImageDescription) {
  QGWorld::Destruct();
  if (!CoreVerify(hImageDescription)) return false;
  if (!CoreVerify(inBaseAddr)) return false;
  QImageDescription imageDescription(hImageDescription);
  long useRowBytes = 0;
  if (!CoreVerify(imageDescription.GetExtension_rowb(useRowBytes))) return false;
  return ConstructAlias(inBaseAddr, useRowBytes, imageDescription.Dimensions(),
                        imageDescription.GetPixelFormat());
}

bool QGWorld::ConstructAlias(PixMap** hPixMap) {
  QGWorld::Destruct();
  if (!CoreVerify(hPixMap)) return false;
  char* pixmapBaseAddr = GetPixBaseAddr(hPixMap);
  if (!CoreVerify(pixmapBaseAddr)) return false;
  long const rowBytes = QTGetPixMapHandleRowBytes(hPixMap);
  if (!CoreVerify(rowBytes)) return false;
  return ConstructAlias(pixmapBaseAddr, rowBytes, QPixMap_Dimensions(hPixMap),
                        QPixMap_GetPixelFormat(hPixMap));
}

bool QGWorld::ConstructAlias(QGWorld const& inAliasThisWorld) {
  return ConstructAliasOverRect(inAliasThisWorld, inAliasThisWorld.IsConstructed()
                                                      ? inAliasThisWorld.Bounds()
                                                      : QRect());
}

bool QGWorld::ConstructAliasOverRect(QGWorld const& inAliasThisWorld, QRect const& area) {
  if (this != &inAliasThisWorld) QGWorld::Destruct();
  if (!CoreVerify(inAliasThisWorld.IsConstructed())) return false;
  PixMapHandle const pixMap = inAliasThisWorld.GetPixMap();
  char* pixelData = reinterpret_cast<char*>(QPixMap_GetStartOfScanLine(pixMap, area.top));
  if (!CoreVerify(pixelData)) return false;
  pixelData += area.left * 4;
  return ConstructAlias(pixelData, QTGetPixMapHandleRowBytes(pixMap), area.Dimensions(),
                        inAliasThisWorld.GetPixelFormat());
}

QRect QGWorld::Bounds() const {
  PixMapHandle const pixMap = GetPixMap();
  if (!pixMap) throw CoreException("Nil exception pointer");
  return QRect((*pixMap)->bounds);
}

QPoint QGWorld::Dimensions() const { return Bounds().Dimensions(); }

QSize QGWorld::SizePixels() const {
  QRect const b = Bounds();
  return QSize{b.Width(), b.Height()};
}

unsigned long QGWorld::GetPixelFormat() const {
  if (!CoreVerify(mGWorld)) return 0;
  return QPixMap_GetPixelFormat(GetPixMap());
}

bool QGWorld::IsSizePixelFormat(QRect const& r, unsigned long format) const {
  return IsConstructed() && Bounds().IsSameSize(r) && GetPixelFormat() == format;
}

bool QGWorld::FillOpaqueBlack() {
  UInt32 const pixelValue = 0xFF000000;
  switch (GetPixelFormat()) {
    case k32ARGBPixelFormat: {
      // Fills every byte with the value's low byte: the pixels become 0x00000000.
      bool fOk;
      CoreMachDebugVerify(fOk = QPixMap_FillPixelARGB32(GetPixMap(), pixelValue));
      return fOk;
    }
    case k24RGBPixelFormat:
      QPixMap_FillColor_RGB_24(GetPixMap(), pixelValue);
      return true;
    default:
      return false;
  }
}

bool QGWorld::FillTransparentBlack() {
  if (!CoreVerify(k32ARGBPixelFormat == GetPixelFormat())) return false;
  return QPixMap_FillPixelARGB32(GetPixMap(), 0x00000000);
}

bool QGWorld::GetImageDescription(QImageDescription& outDescription, bool addRowBytes) {
  if (!outDescription.Construct(GetPixMap())) return false;
  if (!addRowBytes) return false;
  outDescription.AddExtension_rowb(QTGetPixMapHandleRowBytes(GetPixMap()));
  return true;
}

bool QGWorld::GetDataDescription(QImageDescription& outDescription, unsigned char*& data,
                                 long& size) {
  PixMapHandle const pixMap = GetPixMap();
  data = reinterpret_cast<unsigned char*>(GetPixBaseAddr(pixMap));
  size = pixMap ? QPixMap_Height(pixMap) * QTGetPixMapHandleRowBytes(pixMap) : 0;
  bool fOk;
  CoreMachDebugVerify(fOk = GetImageDescription(outDescription));
  return fOk;
}
