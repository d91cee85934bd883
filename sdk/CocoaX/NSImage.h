// An image: an ordered list of representations of the same picture.
#pragma once

#include "NSImageRep.h"

#include <memory>
#include <vector>

class NSBitmapImageRep;
class QGWorld;
struct tagQGWorldData;

class NSImage {
 public:
  void addRepresentation(std::shared_ptr<NSImageRep> const& rep);
  std::vector<std::shared_ptr<NSImageRep>> const& representations() const { return mRepresentations; }

  // --- QGWorlds (NSImage_QGWorld.cpp): offscreen surfaces from and for images ---
  // An image of one bitmap over the record's memory (not copied): the memory must outlive it.
  static std::shared_ptr<NSImage> imageWithGWorldData(tagQGWorldData const* bitmapData);
  std::shared_ptr<NSBitmapImageRep> firstBitmapImageRep() const;
  bool copyToWorldWithAnyDimensions(QGWorld& theWorld) const;
  bool copyToWorldWithSameDimensions(QGWorld& theWorld) const;
  bool constructNewWorldWithImageContents(QGWorld& theWorld) const;
  void dumpImageRepresentations() const;
  // --- end QGWorlds ---

  std::vector<std::shared_ptr<NSImageRep>> mRepresentations;
};
