// The few drawing-context calls the pixel library uses, drawn with QPainter: a context wraps a
// painter the caller owns; an image is a view of pixel bytes described like the platform's.
#pragma once

#include <cstddef>

class QPainter;

using CGFloat = double;
struct CGPoint {
  CGFloat x, y;
};
struct CGSize {
  CGFloat width, height;
};
struct CGRect {
  CGPoint origin;
  CGSize size;
};

struct CGContext;
using CGContextRef = CGContext*;
struct CGColorSpace;
using CGColorSpaceRef = CGColorSpace*;
struct CGDataProvider;
using CGDataProviderRef = CGDataProvider*;
struct CGImage;
using CGImageRef = CGImage*;

enum CGImageAlphaInfo : unsigned {
  kCGImageAlphaNone = 0,
  kCGImageAlphaPremultipliedLast = 1,
  kCGImageAlphaPremultipliedFirst = 2,
  kCGImageAlphaLast = 3,
  kCGImageAlphaFirst = 4,
  kCGImageAlphaNoneSkipLast = 5,
  kCGImageAlphaNoneSkipFirst = 6,
};
enum CGColorRenderingIntent { kCGRenderingIntentDefault = 0 };
using CGDataProviderReleaseDataCallback = void (*)(void* info, void const* data, size_t size);

// A context that draws through the painter (which must outlive it); rectangles are in the
// painter's coordinates.
CGContextRef CGContextCreateWithQPainter(QPainter* painter);
void CGContextRelease(CGContextRef context);

CGColorSpaceRef CGColorSpaceCreateDeviceRGB();
void CGColorSpaceRelease(CGColorSpaceRef space);
CGDataProviderRef CGDataProviderCreateWithData(void* info, void const* data, size_t size,
                                               CGDataProviderReleaseDataCallback releaseData);
void CGDataProviderRelease(CGDataProviderRef provider);
// 8 bits a component; 32 bits a pixel (alpha first or last, or skipped) or 24 (R, G, B).
// Null for any other layout or when the rows do not fit the provider's bytes.
CGImageRef CGImageCreate(size_t width, size_t height, size_t bitsPerComponent,
                         size_t bitsPerPixel, size_t bytesPerRow, CGColorSpaceRef space,
                         CGImageAlphaInfo bitmapInfo, CGDataProviderRef provider,
                         CGFloat const* decode, bool shouldInterpolate,
                         CGColorRenderingIntent intent);
void CGImageRelease(CGImageRef image);
void CGContextDrawImage(CGContextRef context, CGRect rect, CGImageRef image);
