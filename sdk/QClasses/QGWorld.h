// An offscreen pixel surface: owns a platform world (pixels locked while it lives) or lies over
// memory someone else owns.
#pragma once

#include "QDOffscreen.h"
#include "QImageDescription.h"
#include "QRect.h"

// Pixel memory owned elsewhere.
struct tagQGWorldData {
  UInt32 pixelFormat;
  SInt16 width;
  SInt16 height;
  UInt32 rowBytes;
  char* baseAddr;
};

class QGWorld {
 public:
  QGWorld() = default;
  // These throw CoreException when the world cannot be made.
  QGWorld(Point size, unsigned long pixelFormat);
  QGWorld(QGWorld const& other);  // same size and format; pixels not copied
  QGWorld(char* inBaseAddr, ImageDescription** hImageDescription);
  QGWorld& operator=(QGWorld const&) = delete;
  virtual ~QGWorld();

  bool Construct(Point const& size, unsigned long pixelFormat = k32ARGBPixelFormat);
  bool Construct(QClasses::QSize const& size, unsigned long pixelFormat);
  bool Construct(QGWorld const& other);
  bool ConstructAlias(char* inBaseAddr, long inRowBytes, Point const& size, unsigned long pixelFormat);
  bool ConstructAlias(tagQGWorldData const& data);
  bool ConstructAlias(char* inBaseAddr, ImageDescription** hImageDescription);
  bool ConstructAlias(PixMap** hPixMap);
  bool ConstructAlias(QGWorld const& inAliasThisWorld);
  // Four bytes a pixel whatever the format: meant for 32-bit worlds.
  bool ConstructAliasOverRect(QGWorld const& inAliasThisWorld, QClasses::QRect const& area);
  virtual void Destruct();

  bool IsConstructed() const { return mGWorld != nullptr; }
  GWorldPtr GetGWorld() const { return mGWorld; }
  PixMapHandle GetPixMap() const { return mGWorld ? GetGWorldPixMap(mGWorld) : nullptr; }
  QClasses::QRect Bounds() const;
  QClasses::QPoint Dimensions() const;
  QClasses::QSize SizePixels() const;
  unsigned long GetPixelFormat() const;
  bool IsSizePixelFormat(QClasses::QRect const& r, unsigned long format) const;

  bool FillOpaqueBlack();
  bool FillTransparentBlack();
  // Returns false when addRowBytes is false, although the description is complete.
  bool GetImageDescription(QImageDescription& outDescription, bool addRowBytes = false);
  // Fills all three outputs and, through the rule above, reports and returns false.
  bool GetDataDescription(QImageDescription& outDescription, unsigned char*& data, long& size);

  GWorldPtr mGWorld = nullptr;
};

