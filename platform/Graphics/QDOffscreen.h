// Offscreen graphics worlds and their pixel maps: width x height pixels of one format, a row
// stride and a base address. A world either owns its pixels or lies over caller memory.
#pragma once

#include "MacMemory.h"
#include "MacTypes.h"

using QDErr = SInt16;
using GWorldFlags = UInt32;
struct ColorTable;
using CTabHandle = ColorTable**;
struct GDevice;
using GDHandle = GDevice**;

enum : OSType {
  k1MonochromePixelFormat = 0x00000001,
  k8IndexedGrayPixelFormat = 0x00000028,  // 40
  k24RGBPixelFormat = 0x00000018,         // 24: R, G, B
  k32ARGBPixelFormat = 0x00000020,        // 32: A, R, G, B
  k2vuyPixelFormat = FOUR_CHAR_CODE("2vuy"),
  k4444YpCbCrA8PixelFormat = FOUR_CHAR_CODE("v408"),
  k4444YpCbCrA8RPixelFormat = FOUR_CHAR_CODE("r408"),
};

// The classic pixel map record. rowBytes carries flag bits in its top two bits (0x8000:
// this is a pixel map) and only the low 14 bits of the stride; the full stride is in
// rowBytesLong (QTGetPixMapHandleRowBytes reads it).
struct PixMap {
  Ptr baseAddr;
  SInt16 rowBytes;
  Rect bounds;
  SInt16 pmVersion;
  SInt16 packType;
  SInt32 packSize;
  Fixed hRes;
  Fixed vRes;
  SInt16 pixelType;
  SInt16 pixelSize;  // bits a pixel
  SInt16 cmpCount;
  SInt16 cmpSize;
  OSType pixelFormat;  // 0 for the classic formats: then pixelSize names the format
  CTabHandle pmTable;
  void* pmExt;
  // Platform additions.
  SInt32 rowBytesLong;
  Fixed requestedGamma;
  SInt32 lockCount;
};
using PixMapPtr = PixMap*;
using PixMapHandle = PixMap**;

struct GWorld;  // opaque
using GWorldPtr = GWorld*;
using CGrafPtr = GWorld*;

constexpr QDErr cDepthErr = -157;
constexpr QDErr qdNoErr = 0;

// A new world that owns zero-filled pixels; rows are 16-byte aligned.
QDErr QTNewGWorld(GWorldPtr* offscreenGWorld, OSType pixelFormat, Rect const* boundsRect,
                  CTabHandle cTable, GDHandle aGDevice, GWorldFlags flags);
// A world over caller memory, which must outlive it.
QDErr QTNewGWorldFromPtr(GWorldPtr* gw, OSType pixelFormat, Rect const* boundsRect,
                         CTabHandle cTable, GDHandle aGDevice, GWorldFlags flags, void* baseAddr,
                         long rowBytes);
void DisposeGWorld(GWorldPtr offscreenGWorld);
PixMapHandle GetGWorldPixMap(GWorldPtr offscreenGWorld);
PixMapHandle GetPortPixMap(CGrafPtr port);
Rect* GetPortBounds(CGrafPtr port, Rect* rect);

Boolean LockPixels(PixMapHandle pm);
void UnlockPixels(PixMapHandle pm);
Ptr GetPixBaseAddr(PixMapHandle pm);
Rect* GetPixBounds(PixMapHandle pm, Rect* bounds);
long QTGetPixMapHandleRowBytes(PixMapHandle pm);
OSErr QTSetPixMapHandleRowBytes(PixMapHandle pm, long rowBytes);
OSErr QTSetPixMapHandleRequestedGammaLevel(PixMapHandle pm, Fixed desiredGammaLevel);
Fixed QTGetPixMapHandleRequestedGammaLevel(PixMapHandle pm);
// Bytes a pixel of a format, 0 for one that is not known.
long QTGetPixelSize(OSType pixelFormat);

// Transfer modes of CopyBits.
enum : SInt16 { srcCopy = 0 };
// Copies srcRect of one map to dstRect of another (same format; scaled by nearest pixel when
// the sizes differ).
void CopyBits(PixMap const* srcBits, PixMap const* dstBits, Rect const* srcRect,
              Rect const* dstRect, SInt16 mode, void* maskRgn);
