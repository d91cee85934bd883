// Bitmaps and images with offscreen surfaces: a surface over a bitmap's own memory, copies of a
// bitmap's pixels into a surface of the same or of any size, and surface memory wrapped as a
// bitmap or image without copying.
#pragma once

#include "NSBitmapImageRep.h"
#include "NSImage.h"
#include "QGWorld.h"

#include <memory>

// A surface aliasing a bitmap's pixels; the bitmap is kept alive while the alias lives.
class NSBitmapImageRepGWorld : public QGWorld {
 public:
  NSBitmapImageRepGWorld() = default;
  ~NSBitmapImageRepGWorld() override { NSBitmapImageRepGWorld::Destruct(); }

  bool Construct(std::shared_ptr<NSBitmapImageRep> const& inBitmapImageRep);
  // The surface first, then the bitmap.
  void Destruct() override;

  // 40 (8-bit grey), 24, 32 by the bitmap's layout; 0 for any other.
  static unsigned long PixelFormatFromBitmapImageRep(NSBitmapImageRep const* inBitmapImageRep);

  std::shared_ptr<NSBitmapImageRep> mBitmapImageRep;
};
