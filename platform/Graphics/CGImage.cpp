#include "CGImage.h"

#include <QImage>
#include <QPainter>

#include <new>

struct CGContext {
  QPainter* painter;
};
struct CGColorSpace {
  int unused;
};
struct CGDataProvider {
  void* info;
  unsigned char const* data;
  size_t size;
  CGDataProviderReleaseDataCallback release;
};
struct CGImage {
  QImage picture;
};

CGContextRef CGContextCreateWithQPainter(QPainter* painter) {
  return painter ? new (std::nothrow) CGContext{painter} : nullptr;
}
void CGContextRelease(CGContextRef context) { delete context; }

CGColorSpaceRef CGColorSpaceCreateDeviceRGB() { return new (std::nothrow) CGColorSpace{0}; }
void CGColorSpaceRelease(CGColorSpaceRef space) { delete space; }

CGDataProviderRef CGDataProviderCreateWithData(void* info, void const* data, size_t size,
                                               CGDataProviderReleaseDataCallback releaseData) {
  if (!data) return nullptr;
  return new (std::nothrow)
      CGDataProvider{info, static_cast<unsigned char const*>(data), size, releaseData};
}

void CGDataProviderRelease(CGDataProviderRef provider) {
  if (!provider) return;
  if (provider->release) provider->release(provider->info, provider->data, provider->size);
  delete provider;
}

CGImageRef CGImageCreate(size_t width, size_t height, size_t bitsPerComponent,
                         size_t bitsPerPixel, size_t bytesPerRow, CGColorSpaceRef space,
                         CGImageAlphaInfo bitmapInfo, CGDataProviderRef provider, CGFloat const*,
                         bool, CGColorRenderingIntent) {
  if (!space || !provider || bitsPerComponent != 8 || width == 0 || height == 0) return nullptr;
  if (bitsPerPixel != 32 && bitsPerPixel != 24) return nullptr;
  size_t const pixelBytes = bitsPerPixel / 8;
  if (bytesPerRow < width * pixelBytes || bytesPerRow * (height - 1) + width * pixelBytes > provider->size)
    return nullptr;
  // The bytes are copied into an RGBA picture once, so drawing never reads the caller's
  // memory after the call.
  QImage picture(int(width), int(height), QImage::Format_RGBA8888);
  if (picture.isNull()) return nullptr;
  bool const alphaFirst = bitmapInfo == kCGImageAlphaFirst || bitmapInfo == kCGImageAlphaPremultipliedFirst ||
                          bitmapInfo == kCGImageAlphaNoneSkipFirst;
  bool const useAlpha = bitmapInfo != kCGImageAlphaNone && bitmapInfo != kCGImageAlphaNoneSkipFirst &&
                        bitmapInfo != kCGImageAlphaNoneSkipLast;
  for (size_t y = 0; y < height; ++y) {
    unsigned char const* s = provider->data + y * bytesPerRow;
    unsigned char* d = picture.scanLine(int(y));
    for (size_t x = 0; x < width; ++x, s += pixelBytes, d += 4) {
      if (pixelBytes == 3) {
        d[0] = s[0], d[1] = s[1], d[2] = s[2], d[3] = 255;
      } else if (alphaFirst) {
        d[0] = s[1], d[1] = s[2], d[2] = s[3], d[3] = useAlpha ? s[0] : 255;
      } else {
        d[0] = s[0], d[1] = s[1], d[2] = s[2], d[3] = useAlpha ? s[3] : 255;
      }
    }
  }
  if (bitmapInfo == kCGImageAlphaPremultipliedFirst || bitmapInfo == kCGImageAlphaPremultipliedLast)
    picture.reinterpretAsFormat(QImage::Format_RGBA8888_Premultiplied);
  return new (std::nothrow) CGImage{std::move(picture)};
}

void CGImageRelease(CGImageRef image) { delete image; }

void CGContextDrawImage(CGContextRef context, CGRect rect, CGImageRef image) {
  if (!context || !context->painter || !image) return;
  context->painter->drawImage(
      QRectF(rect.origin.x, rect.origin.y, rect.size.width, rect.size.height), image->picture);
}
