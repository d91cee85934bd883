// One representation of an image (a bitmap, or drawing instructions); images hold several.
#pragma once

#include <QSizeF>

#include <memory>

class NSImageRep : public std::enable_shared_from_this<NSImageRep> {
 public:
  NSImageRep() = default;
  NSImageRep(NSImageRep const&) = delete;
  NSImageRep& operator=(NSImageRep const&) = delete;
  virtual ~NSImageRep() = default;
  // In points: one pixel a point for bitmaps.
  virtual QSizeF size() const = 0;
};
