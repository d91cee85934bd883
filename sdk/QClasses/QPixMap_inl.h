// Small pixel-map accessors used by every pixmap operation.
#pragma once

#include "CoreMachDebugLog.h"
#include "QDOffscreen.h"
#include "QRect.h"

#include <cstddef>

// The classic null, so that checks read as the library writes them ("hPixMap!=nil").
inline constexpr std::nullptr_t nil = nullptr;

// A classic multi-character literal ('2vuy') as a four-char code.
constexpr OSType FOUR_CHAR_CODE(int literal) { return OSType(literal); }

inline long QPixMap_GetRowBytes(PixMapHandle hPixMap) {
  if (!CoreVerify(hPixMap)) return 0;
  return QTGetPixMapHandleRowBytes(hPixMap);
}

// The four-char format, or for the classic formats (pixelFormat 0) the pixel size.
inline OSType QPixMap_GetPixelFormat(PixMapHandle hPixMap) {
  if (!CoreVerify(hPixMap)) return 0;
  return (*hPixMap)->pixelFormat ? (*hPixMap)->pixelFormat : OSType((*hPixMap)->pixelSize);
}

inline long QPixMap_Width(PixMapHandle hPixMap) {
  return long((*hPixMap)->bounds.right) - (*hPixMap)->bounds.left;
}

inline long QPixMap_Height(PixMapHandle hPixMap) {
  return long((*hPixMap)->bounds.bottom) - (*hPixMap)->bounds.top;
}

// v = height, h = width.
inline QClasses::QPoint QPixMap_Dimensions(PixMapHandle hPixMap) {
  if (!CoreVerify(hPixMap)) return QClasses::QPoint();
  return QClasses::QPoint(SInt16(QPixMap_Width(hPixMap)), SInt16(QPixMap_Height(hPixMap)));
}

inline unsigned char* QPixMap_GetStartOfScanLine(PixMapHandle hPixMap, long row) {
  return reinterpret_cast<unsigned char*>(GetPixBaseAddr(hPixMap)) +
         row * QTGetPixMapHandleRowBytes(hPixMap);
}

inline long QPixMap_PixelDataSizeBytes(PixMapHandle hPixMap) {
  if (!CoreVerify(hPixMap)) return 0;
  return QPixMap_Height(hPixMap) * QTGetPixMapHandleRowBytes(hPixMap);
}
