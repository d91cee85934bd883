// Frame buffers bound to platform pixel maps: over a map someone else owns, over an offscreen
// world of their own, or over padded, vector-aligned memory of their own.
#pragma once

#include "QDOffscreen.h"
#include "QImageDescription.h"
#include "QRect.h"
#include "XFrameBuffer.h"
#include "XFrameBufferMemory.h"

// The platform pixel format that surfaces of a pel format use.
OSType PixelFormatFromPelFormat(XFrame_Pel_Format format);

class MacPixMapFrameBuffer : public XFrameBuffer {
 public:
  MacPixMapFrameBuffer() = default;
  explicit MacPixMapFrameBuffer(PixMap** hPixMap);  // reports a failure, does not throw
  MacPixMapFrameBuffer(MacPixMapFrameBuffer const&) = delete;
  MacPixMapFrameBuffer& operator=(MacPixMapFrameBuffer const&) = delete;

  bool Construct(PixMap** hPixMap);
  bool SetRequestedGammaLevel();
  void SetFramePropertiesWithImageDescription(QImageDescription const& description);
  bool GetPixMapBounds(QClasses::QRect& outBounds) const;
  virtual void Empty();
  virtual void Destruct() { MacPixMapFrameBuffer::Empty(); }

  PixMapHandle mPixMap = nullptr;
};

class MacPixMapFrameWorld : public MacPixMapFrameBuffer {
 public:
  MacPixMapFrameWorld() = default;
  ~MacPixMapFrameWorld() override { MacPixMapFrameWorld::Destruct(); }

  bool Construct(QClasses::QRect& rect, XFrame_Pel_Format pelFormat);
  bool Construct(int width, int height, XFrame_Pel_Format pelFormat);
  bool Construct(MacPixMapFrameWorld const& other);  // same size and type; pixels not copied
  bool ConstructGWorld(QClasses::QRect& rect, XFrame_Pel_Format pelFormat);
  bool ConstructPtrAlias(Rect const& rect, void* pixels, long rowBytes, unsigned long pixelFormat);
  bool ConstructFrameBufferAlias(XFrameBuffer& buffer);
  // One field (0 top, 1 bottom) of the port's pixel map.
  bool ConstructFieldAlias(CGrafPtr port, int field_order);
  bool SetNewWidthHeight(int width, int height);
  // This world's pixels into the rectangle of the port (same format).
  void CopyBits(CGrafPtr port, Rect const& rect, SInt16 mode) const;
  // The rectangle to the background: white, opaque.
  void QDErasePixels(Rect const& rect);
  void Destruct() override;
  bool IsConstructed() const { return mGWorld != nullptr; }

  GWorldPtr mGWorld = nullptr;
  PixMapHandle mLockedPixMap = nullptr;

 protected:
  // How a world of this class is made at a size: an offscreen world here, padded memory in
  // the vector-aligned world.
  virtual bool ConstructVirtual(QClasses::QRect& rect, XFrame_Pel_Format pelFormat) {
    return ConstructGWorld(rect, pelFormat);
  }
};

class MacAltivecFrameWorld : public MacPixMapFrameWorld {
 public:
  ~MacAltivecFrameWorld() override { MacAltivecFrameWorld::Destruct(); }
  bool ConstructVecFrame(QClasses::QRect& in_rect, XFrame_Pel_Format pelFormat);
  void Empty() override;
  void Destruct() override;

  XFrameBufferMemory mMemory;

 protected:
  bool ConstructVirtual(QClasses::QRect& rect, XFrame_Pel_Format pelFormat) override {
    return ConstructVecFrame(rect, pelFormat);
  }
};

// 32-bit pixmap resizes through the frame filters: destination first, as the pixmap operations.
bool QPixMap_ResizeHorizontal32(PixMapHandle hDest, PixMapHandle hPixMap);
bool QPixMap_Copy32Bilinear(PixMapHandle hDest, PixMapHandle hPixMap);
bool QPixMap_Copy32NearestPixel(PixMapHandle hDest, PixMapHandle hPixMap);
