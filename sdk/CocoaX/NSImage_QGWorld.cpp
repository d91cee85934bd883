#include "NSImage_QGWorld.h"

#include "CocoaX_Verify.h"
#include "CoreMachDebugLog.h"
#include "QPixMap.h"

#include <cstring>

// The surface library's geometry, beside Qt's classes of the same names.
namespace QC = QClasses;

// --- NSBitmapImageRepGWorld ---

unsigned long NSBitmapImageRepGWorld::PixelFormatFromBitmapImageRep(
    NSBitmapImageRep const* inBitmapImageRep) {
  if (!CoreVerify(inBitmapImageRep)) return 0;
  long const bpp = inBitmapImageRep->bitsPerPixel();
  long const spp = inBitmapImageRep->samplesPerPixel();
  if (bpp == 8 && spp == 1) return k8IndexedGrayPixelFormat;
  if (bpp == 24 && spp == 3) return k24RGBPixelFormat;
  if (bpp == 32 && spp == 4) {
    unsigned long const bitmapFormat = inBitmapImageRep->bitmapFormat();
    CoreMachDebugVerify(bitmapFormat==NSAlphaFirstBitmapFormat);
    return k32ARGBPixelFormat;
  }
  return 0;
}

bool NSBitmapImageRepGWorld::Construct(std::shared_ptr<NSBitmapImageRep> const& inBitmapImageRep) {
  Destruct();
  if (!CoreVerify(inBitmapImageRep)) return false;
  mBitmapImageRep = inBitmapImageRep;
  unsigned long const pixelFormat = PixelFormatFromBitmapImageRep(inBitmapImageRep.get());
  if (!CoreVerify(pixelFormat)) return false;
  char* pixelBaseAddress = reinterpret_cast<char*>(inBitmapImageRep->bitmapData());
  QSizeF const size = inBitmapImageRep->size();
  Point const surfaceSize{SInt16(size.height()), SInt16(size.width())};
  long const rowBytes = inBitmapImageRep->bytesPerRow();
  using superclass_t = QGWorld;
  bool fOk;
  CoreMachDebugVerify(fOk = superclass_t::ConstructAlias(pixelBaseAddress, rowBytes, surfaceSize, pixelFormat ));
  return fOk;
}

void NSBitmapImageRepGWorld::Destruct() {
  QGWorld::Destruct();
  mBitmapImageRep.reset();
}

// --- the bitmap's QGWorlds members ---

QSizeF NSBitmapImageRep::sizePixels() const { return QSizeF(double(pixelsWide()), double(pixelsHigh())); }

bool NSBitmapImageRep::sameDimensions(QGWorld const& theWorld) const {
  if (!theWorld.IsConstructed()) return false;
  QSizeF const size = sizePixels();
  QC::QRect const bounds = theWorld.Bounds();
  return bounds.Width() == int(size.width()) && bounds.Height() == int(size.height());
}

bool NSBitmapImageRep::constructNewWorldWithImageContents(QGWorld& theWorld) const {
  if (!(theWorld.IsConstructed() && sameDimensions(theWorld))) {
    theWorld.Destruct();
    QSizeF const imageSize = sizePixels();
    if (!CocoaXVerifyText(theWorld.Construct(QC::QPoint(SInt16(imageSize.width()), SInt16(imageSize.height()))),
                          "theWorld.Construct(QPoint(imageSize.width,imageSize.height))"))
      return false;
    if (!CoreVerify(theWorld.IsConstructed())) return false;
  }
  bool const result = copyToWorldWithSameDimensions(theWorld);
  CocoaXVerifyText(result, "result = [self copyToWorldWithSameDimensions:theWorld]");
  return result;
}

bool NSBitmapImageRep::constructNewWorldForImageContents(NSBitmapImageRepGWorld& theWorld) const {
  theWorld.Destruct();
  auto self = std::static_pointer_cast<NSBitmapImageRep const>(shared_from_this());
  return theWorld.Construct(std::const_pointer_cast<NSBitmapImageRep>(self));
}

bool NSBitmapImageRep::copyToWorldWithSameDimensions(QGWorld& theWorld) const {
  PixMapHandle const hPixMap = theWorld.GetPixMap();
  if (!CoreVerify(hPixMap)) return false;
  if ((*hPixMap)->pixelSize != 32) return false;  // the rows written are A, R, G, B
  LockPixels(hPixMap);
  bool const alphaFirst = isAlphaFirst();
  QSizeF const size = sizePixels();
  long const spp = samplesPerPixel();
  bool const alpha = hasAlpha();
  long const bytesPerPixel = bitsPerPixel() / 8;
  long const width = long(size.width()), height = long(size.height());
  bool ok = true;
  if (!((spp == 1 && !alpha) || (spp == 3 && !alpha) || (spp == 4 && alpha))) ok = false;
  for (long y = 0; ok && y < height; ++y) {
    unsigned char const* s = getStartOfScanLine(y);
    unsigned char* d = QPixMap_GetStartOfScanLine(hPixMap, y);
    for (long x = 0; x < width; ++x, s += bytesPerPixel, d += 4) {
      if (spp == 1) {
        d[0] = 255, d[1] = d[2] = d[3] = s[0];
      } else if (spp == 3) {
        d[0] = 255, d[1] = s[0], d[2] = s[1], d[3] = s[2];
      } else if (alphaFirst) {
        std::memcpy(d, s, 4);
      } else {
        d[0] = s[3], d[1] = s[0], d[2] = s[1], d[3] = s[2];
      }
    }
  }
  UnlockPixels(hPixMap);
  return ok;
}

bool NSBitmapImageRep::copyToWorldWithAnyDimensions(QGWorld& theWorld) const {
  if (!CoreVerify(theWorld.IsConstructed())) return false;
  if (sameDimensions(theWorld)) {
    bool const result = copyToWorldWithSameDimensions(theWorld);
    CocoaXVerifyText(result, "result=[self copyToWorldWithSameDimensions:theWorld]");
    return result;
  }
  QGWorld tempWorld;
  if (!CocoaXVerifyText(constructNewWorldWithImageContents(tempWorld),
                        "[self constructNewWorldWithImageContents:tempWorld]"))
    return false;
  theWorld.FillTransparentBlack();
  QC::QRect const source = tempWorld.Bounds();
  QC::QRect rect = theWorld.Bounds();
  float const s = float(source.Width()) / float(source.Height());
  float const d = float(rect.Width()) / float(rect.Height());
  bool result = true;
  if (int(s * 100) == int(d * 100))
    result = QPixMap_Resize_ARGB32_Bilinear(theWorld.GetPixMap(), tempWorld.GetPixMap());
  if (s == d) return result;
  if (s < d) {  // narrower: pillarbox
    int const newWidth = int(s * float(rect.Height()));
    int const inset = (rect.Width() - newWidth) / 2;
    rect.left = SInt16(rect.left + inset);
    rect.right = SInt16(rect.right - inset);
  } else {  // wider: letterbox
    int const newHeight = int(double(rect.Width()) * (1.0 / double(s)));
    int const inset = (rect.Height() - newHeight) / 2;
    rect.top = SInt16(rect.top + inset);
    rect.bottom = SInt16(rect.bottom - inset);
  }
  QGWorld constrainedSubImage;
  if (!CoreVerify(constrainedSubImage.ConstructAliasOverRect(theWorld, rect))) return false;
  return QPixMap_Resize_ARGB32_Bilinear(constrainedSubImage.GetPixMap(), tempWorld.GetPixMap()) &&
         result;
}

std::shared_ptr<NSBitmapImageRep> NSBitmapImageRep::bitmapWithGWorldData(tagQGWorldData const* bitmapData) {
  if (!CoreVerify(bitmapData)) return nullptr;
  if (!CoreVerify(bitmapData->pixelFormat==k32ARGBPixelFormat)) return nullptr;
  auto result = std::make_shared<NSBitmapImageRep>();
  if (!CocoaXVerifyText(result, "result = [NSBitmapImageRep alloc]")) return nullptr;
  if (!result->Construct(reinterpret_cast<unsigned char*>(bitmapData->baseAddr), bitmapData->width,
                         bitmapData->height, 8, 4, true, long(bitmapData->rowBytes), 32,
                         NSAlphaFirstBitmapFormat))
    return nullptr;
  return result;
}

// --- the image's QGWorlds members ---

std::shared_ptr<NSImage> NSImage::imageWithGWorldData(tagQGWorldData const* bitmapData) {
  std::shared_ptr<NSBitmapImageRep> bitmapRep = NSBitmapImageRep::bitmapWithGWorldData(bitmapData);
  if (!CoreVerify(bitmapRep)) return nullptr;
  auto image = std::make_shared<NSImage>();
  if (!CocoaXVerifyText(image, "image = [[[NSImage alloc] init] autorelease]")) return nullptr;
  image->addRepresentation(bitmapRep);
  return image;
}

std::shared_ptr<NSBitmapImageRep> NSImage::firstBitmapImageRep() const {
  for (auto const& rep : representations())
    if (auto bitmap = std::dynamic_pointer_cast<NSBitmapImageRep>(rep)) return bitmap;
  return nullptr;
}

bool NSImage::copyToWorldWithAnyDimensions(QGWorld& theWorld) const {
  std::shared_ptr<NSBitmapImageRep> const bitmapRep = firstBitmapImageRep();
  if (!CoreVerify(bitmapRep)) return false;
  bool const result = bitmapRep->copyToWorldWithAnyDimensions(theWorld);
  CocoaXVerifyText(result, "result = [bitmapRep copyToWorldWithAnyDimensions:theWorld]");
  return result;
}

bool NSImage::copyToWorldWithSameDimensions(QGWorld& theWorld) const {
  std::shared_ptr<NSBitmapImageRep> const bitmapRep = firstBitmapImageRep();
  if (!CoreVerify(bitmapRep)) return false;
  bool const result = bitmapRep->copyToWorldWithSameDimensions(theWorld);
  CocoaXVerifyText(result, "result = [bitmapRep copyToWorldWithSameDimensions:theWorld]");
  return result;
}

bool NSImage::constructNewWorldWithImageContents(QGWorld& theWorld) const {
  std::shared_ptr<NSBitmapImageRep> const bitmapRep = firstBitmapImageRep();
  if (!CoreVerify(bitmapRep)) return false;
  bool const result = bitmapRep->constructNewWorldWithImageContents(theWorld);
  CocoaXVerifyText(result, "result = [bitmapRep constructNewWorldWithImageContents:theWorld]");
  return result;
}

void NSImage::dumpImageRepresentations() const {
  for (auto const& rep : representations()) (void)rep->size();
}
