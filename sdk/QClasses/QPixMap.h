// Operations on the pixels of a platform pixel map, in place: fills, colour effects, alpha
// blending and compositing, bilinear sampling and resizing, one Y'CbCr conversion.
// 32-bit pixels are A, R, G, B in memory; a 32-bit value is written big-endian, so 0xAARRGGBB
// lands as those bytes.
#pragma once

#include "QDOffscreen.h"
#include "QPixMap_inl.h"
#include "QRect.h"

#include <cstdint>

struct CGContext;
using CGContextRef = CGContext*;
struct CGRect;

// A pixel map seen as plain numbers; throws CoreException for a nil map.
struct QPixMapInfo {
  explicit QPixMapInfo(PixMapHandle hPixMap);
  long mWidth;
  long mHeight;
  long mPixelSize;  // bits
  unsigned char* mBaseAddr;
  long mRowBytes;
};

// The same for a 32-bit map; throws unless the pixel size is 32.
struct QPixMapSurface32 {
  explicit QPixMapSurface32(PixMapHandle hPixMap);
  unsigned char* Row(long y) const { return mBaseAddr + y * mRowBytes; }
  long mWidth;
  long mHeight;
  long mRowBytes;
  unsigned char* mBaseAddr;
};

// Brightness lookup: entry i = (i / 255) x factor x 255, limited to 0..255.
struct QPixMapBrightness {
  explicit QPixMapBrightness(double factor);
  std::uint16_t mTable[256];
};

long QPixMap_RowBytesFromFormatWidth(OSType pixelFormat, long width);

void QPixMap_Copy32x24(PixMapHandle hPixMap, unsigned char const* source);
void QPixMap_Copy32x32(PixMapHandle hPixMap, unsigned char const* source);
bool QPixMap_MemCopyPixels(PixMapHandle hDest, PixMapHandle hPixMap);
void QPixMap_AlphaBlend32(PixMapHandle hA, double a, PixMapHandle hB, double b, PixMapHandle hDest);
bool QPixMap_IsPartiallyTransparent32(PixMapHandle hPixMap);
void QPixMap_DuoTone32(PixMapHandle hPixMap, UInt32 rgb);
void QPixMap_FillColor32(PixMapHandle hPixMap, UInt32 value);
bool QPixMap_FillPixelARGB32(PixMapHandle hPixMap, UInt32 pixelValue);
void QPixMap_FillColor_RGB_24(PixMapHandle hPixMap, UInt32 rgb);
void QPixMap_Brightness32(PixMapHandle hPixMap, double factor);
void QPixMap_Grayscale32(PixMapHandle hPixMap);
UInt16 QPixMap_SafeGetPixel_BilinearInterpolatedSampleGrey(PixMapHandle hPixMap, double x, double y);
UInt32 QPixMap_SafeGetPixel_BilinearInterpolatedSample32(PixMapHandle hPixMap, double x, double y);
void QPixMap_SafeSetPixel32(PixMapHandle hPixMap, QClasses::QPoint const& p, UInt32 value);
bool QPixMap_Resize_ARGB32_Bilinear(PixMapHandle hDest, PixMapHandle hPixMap);

void QPM_34(PixMapHandle hPixMap, Point at, PixMapHandle hAlphaPixMap, float opacity);
void QPM_44(PixMapHandle hPixMap, Point at, PixMapHandle hAlphaPixMap, float opacity);
void QPM_4(PixMapHandle hPixMap, Point at, PixMapHandle hAlphaPixMap, float opacity);
void QPM_AC32(PixMapHandle hPixMap, PixMapHandle hAlphaPixMap);

OSErr QPixMap_Copy_2vuy_to_r408(PixMapHandle hDestPixMap, PixMapHandle hPixMap);

bool QPixMap_DrawCGContext(PixMapHandle hPixMap, CGContextRef context, CGRect const& rect,
                           bool useAlpha);
