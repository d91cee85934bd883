#include "QDOffscreen.h"

#include <cstdlib>
#include <cstring>
#include <new>

struct GWorld {
  PixMap pixMap;
  PixMap* master;  // &pixMap: the world's PixMapHandle is &master
  char* owned;     // pixels the world allocated, or null over caller memory
};

namespace {

constexpr long kRowAlignment = 16;

void Fill(PixMap& pm, OSType pixelFormat, Rect const& bounds, char* base, long rowBytes) {
  pm = PixMap{};
  pm.baseAddr = base;
  pm.rowBytes = SInt16(0x8000 | (rowBytes & 0x3FFF));
  pm.bounds = bounds;
  pm.hRes = pm.vRes = 72 << 16;
  pm.pixelSize = SInt16(QTGetPixelSize(pixelFormat) * 8);
  pm.pixelFormat = pixelFormat;
  pm.cmpCount = pixelFormat == k8IndexedGrayPixelFormat ? 1 : 3;
  pm.cmpSize = 8;
  pm.rowBytesLong = SInt32(rowBytes);
  pm.requestedGamma = 0;
}

QDErr Make(GWorldPtr* gw, OSType pixelFormat, Rect const* bounds, char* base, long rowBytes) {
  if (!gw || !bounds) return paramErr;
  *gw = nullptr;
  long const pixelBytes = QTGetPixelSize(pixelFormat);
  long const width = long(bounds->right) - bounds->left;
  long const height = long(bounds->bottom) - bounds->top;
  if (pixelBytes == 0) return cDepthErr;
  if (width < 0 || height < 0) return paramErr;
  auto* world = new (std::nothrow) GWorld{};
  if (!world) return memFullErr;
  if (!base) {
    rowBytes = (width * pixelBytes + kRowAlignment - 1) / kRowAlignment * kRowAlignment;
    size_t const size = size_t(rowBytes) * size_t(height);
    world->owned = static_cast<char*>(std::aligned_alloc(kRowAlignment, size ? size : kRowAlignment));
    if (!world->owned) {
      delete world;
      return memFullErr;
    }
    std::memset(world->owned, 0, size);
    base = world->owned;
  }
  Fill(world->pixMap, pixelFormat, *bounds, base, rowBytes);
  world->master = &world->pixMap;
  *gw = world;
  return noErr;
}

}  // namespace

long QTGetPixelSize(OSType pixelFormat) {
  switch (pixelFormat) {
    case k8IndexedGrayPixelFormat:
    case 8:  // 8-bit indexed
      return 1;
    case 16:
    case k2vuyPixelFormat:
    case FOUR_CHAR_CODE("yuvs"):
    case FOUR_CHAR_CODE("yuvu"):
    case FOUR_CHAR_CODE("UYVY"):
    case FOUR_CHAR_CODE("YVYU"):
      return 2;
    case k24RGBPixelFormat:
      return 3;
    case k32ARGBPixelFormat:
    case k4444YpCbCrA8PixelFormat:
    case k4444YpCbCrA8RPixelFormat:
    case FOUR_CHAR_CODE("BGRA"):
    case FOUR_CHAR_CODE("RGBA"):
    case FOUR_CHAR_CODE("ABGR"):
      return 4;
    case FOUR_CHAR_CODE("b48r"):
      return 6;
    case FOUR_CHAR_CODE("b64a"):
      return 8;
    default:
      return 0;
  }
}

QDErr QTNewGWorld(GWorldPtr* offscreenGWorld, OSType pixelFormat, Rect const* boundsRect,
                  CTabHandle, GDHandle, GWorldFlags) {
  return Make(offscreenGWorld, pixelFormat, boundsRect, nullptr, 0);
}

QDErr QTNewGWorldFromPtr(GWorldPtr* gw, OSType pixelFormat, Rect const* boundsRect, CTabHandle,
                         GDHandle, GWorldFlags, void* baseAddr, long rowBytes) {
  if (!baseAddr || rowBytes <= 0) {
    if (gw) *gw = nullptr;
    return paramErr;
  }
  return Make(gw, pixelFormat, boundsRect, static_cast<char*>(baseAddr), rowBytes);
}

void DisposeGWorld(GWorldPtr offscreenGWorld) {
  if (!offscreenGWorld) return;
  std::free(offscreenGWorld->owned);
  delete offscreenGWorld;
}

PixMapHandle GetGWorldPixMap(GWorldPtr offscreenGWorld) {
  return offscreenGWorld ? &offscreenGWorld->master : nullptr;
}

PixMapHandle GetPortPixMap(CGrafPtr port) { return GetGWorldPixMap(port); }

Rect* GetPortBounds(CGrafPtr port, Rect* rect) {
  if (port && rect) *rect = port->pixMap.bounds;
  return rect;
}

Boolean LockPixels(PixMapHandle pm) {
  if (!pm || !*pm) return false;
  ++(*pm)->lockCount;
  return true;
}

void UnlockPixels(PixMapHandle pm) {
  if (pm && *pm && (*pm)->lockCount > 0) --(*pm)->lockCount;
}

Ptr GetPixBaseAddr(PixMapHandle pm) { return pm && *pm ? (*pm)->baseAddr : nullptr; }

Rect* GetPixBounds(PixMapHandle pm, Rect* bounds) {
  if (pm && *pm && bounds) *bounds = (*pm)->bounds;
  return bounds;
}

long QTGetPixMapHandleRowBytes(PixMapHandle pm) { return pm && *pm ? (*pm)->rowBytesLong : 0; }

OSErr QTSetPixMapHandleRowBytes(PixMapHandle pm, long rowBytes) {
  if (!pm || !*pm || rowBytes <= 0) return paramErr;
  (*pm)->rowBytesLong = SInt32(rowBytes);
  (*pm)->rowBytes = SInt16(0x8000 | (rowBytes & 0x3FFF));
  return noErr;
}

OSErr QTSetPixMapHandleRequestedGammaLevel(PixMapHandle pm, Fixed desiredGammaLevel) {
  if (!pm || !*pm) return paramErr;
  (*pm)->requestedGamma = desiredGammaLevel;
  return noErr;
}

Fixed QTGetPixMapHandleRequestedGammaLevel(PixMapHandle pm) {
  return pm && *pm ? (*pm)->requestedGamma : 0;
}

void CopyBits(PixMap const* srcBits, PixMap const* dstBits, Rect const* srcRect,
              Rect const* dstRect, SInt16, void*) {
  if (!srcBits || !dstBits || !srcRect || !dstRect) return;
  if (srcBits->pixelFormat != dstBits->pixelFormat) return;
  long const pixelBytes = QTGetPixelSize(srcBits->pixelFormat);
  long const sw = long(srcRect->right) - srcRect->left, sh = long(srcRect->bottom) - srcRect->top;
  long const dw = long(dstRect->right) - dstRect->left, dh = long(dstRect->bottom) - dstRect->top;
  if (pixelBytes == 0 || sw <= 0 || sh <= 0 || dw <= 0 || dh <= 0) return;
  for (long y = 0; y < dh; ++y) {
    long const sy = srcRect->top - srcBits->bounds.top + y * sh / dh;
    long const dy = dstRect->top - dstBits->bounds.top + y;
    if (sy < 0 || dy < 0 || sy >= srcBits->bounds.bottom - srcBits->bounds.top ||
        dy >= dstBits->bounds.bottom - dstBits->bounds.top)
      continue;
    char const* s = srcBits->baseAddr + sy * srcBits->rowBytesLong;
    char* d = dstBits->baseAddr + dy * dstBits->rowBytesLong;
    for (long x = 0; x < dw; ++x) {
      long const sx = srcRect->left - srcBits->bounds.left + x * sw / dw;
      long const dx = dstRect->left - dstBits->bounds.left + x;
      if (sx < 0 || dx < 0 || sx >= srcBits->bounds.right - srcBits->bounds.left ||
          dx >= dstBits->bounds.right - dstBits->bounds.left)
        continue;
      std::memcpy(d + dx * pixelBytes, s + sx * pixelBytes, size_t(pixelBytes));
    }
  }
}
