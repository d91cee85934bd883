#include "XPixMapFrameBuffer.h"

#include "CoreMachDebugLog.h"
#include "QPixMap_inl.h"
#include "XFrameOperations.h"

#include <algorithm>
#include <cstring>

using QClasses::QRect;

OSType PixelFormatFromPelFormat(XFrame_Pel_Format format) {
  switch (format) {
    case kXFrame_Pel_Format_RYUV: return k4444YpCbCrA8RPixelFormat;
    case kXFrame_Pel_Format_VYUV: return k4444YpCbCrA8PixelFormat;
    default: return k32ARGBPixelFormat;
  }
}

namespace {

XFrame_Pel_Format PelFormatFromPixelFormat(OSType format) {
  switch (format) {
    case k4444YpCbCrA8RPixelFormat: return kXFrame_Pel_Format_RYUV;
    case k4444YpCbCrA8PixelFormat: return kXFrame_Pel_Format_VYUV;
    default: return kXFrame_Pel_Format_8RGB;
  }
}

}  // namespace

// --- MacPixMapFrameBuffer ---

MacPixMapFrameBuffer::MacPixMapFrameBuffer(PixMap** hPixMap) {
  CoreMachDebugVerify(Construct(hPixMap));
}

void MacPixMapFrameBuffer::Empty() {
  ResetFrameBuffer();
  mPixMap = nullptr;
}

bool MacPixMapFrameBuffer::Construct(PixMap** hPixMap) {
  MacPixMapFrameBuffer::Empty();
  if (!CoreVerify(hPixMap)) return false;
  PixelType = PelFormatFromPixelFormat(QPixMap_GetPixelFormat(hPixMap));
  PelBytes = 4;
  if (!CoreVerify(Pixels = (XFramePixels)GetPixBaseAddr(hPixMap))) return false;
  Width = SInt32(QPixMap_Width(hPixMap));
  Height = SInt32(QPixMap_Height(hPixMap));
  if (!CoreVerify(Width) || !CoreVerify(Height)) return false;
  // The check's text is the assignment itself, as the log reports it.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wparentheses"
  if (!CoreVerify(RowBytes = QPixMap_GetRowBytes(hPixMap))) return false;
#pragma GCC diagnostic pop
  mPixMap = hPixMap;
  return SetRequestedGammaLevel();
}

bool MacPixMapFrameBuffer::SetRequestedGammaLevel() {
  if (!CoreVerify(mPixMap)) return false;
  return QTSetPixMapHandleRequestedGammaLevel(mPixMap, GammaFromPelFormat(PixelType)) == noErr;
}

void MacPixMapFrameBuffer::SetFramePropertiesWithImageDescription(QImageDescription const& description) {
  Fields = 0;
  FieldInfoImageDescriptionExtension2 field{};
  if (!description.GetExtension(field, 1)) return;
  if (field.fields == 1) {
    Fields = 1;
  } else if (field.fields == 2) {
    switch (field.detail) {
      case 1:
      case 9: Fields = 2 | kXFrameFields_TopFirst; break;
      case 6:
      case 14: Fields = 2 | kXFrameFields_BottomFirst; break;
      default: Fields = 2; break;
    }
  }
}

bool MacPixMapFrameBuffer::GetPixMapBounds(QRect& outBounds) const {
  if (!mPixMap) return false;
  outBounds = QRect((*mPixMap)->bounds);
  return true;
}

// --- MacPixMapFrameWorld ---

void MacPixMapFrameWorld::Destruct() {
  if (mGWorld) {
    UnlockPixels(GetGWorldPixMap(mGWorld));
    DisposeGWorld(mGWorld);
  }
  mGWorld = nullptr;
  mLockedPixMap = nullptr;
  MacPixMapFrameBuffer::Empty();
}

bool MacPixMapFrameWorld::Construct(QRect& rect, XFrame_Pel_Format pelFormat) {
  return ConstructVirtual(rect, pelFormat);
}

bool MacPixMapFrameWorld::Construct(int width, int height, XFrame_Pel_Format pelFormat) {
  QRect rect(0, 0, SInt16(height), SInt16(width));
  return Construct(rect, pelFormat);
}

bool MacPixMapFrameWorld::Construct(MacPixMapFrameWorld const& other) {
  return Construct(other.Width, other.Height, other.PixelType);
}

bool MacPixMapFrameWorld::ConstructGWorld(QRect& rect, XFrame_Pel_Format pelFormat) {
  if (!CoreVerify(IsEmpty())) return false;
  Rect const bounds = rect;
  QTNewGWorld(&mGWorld, PixelFormatFromPelFormat(pelFormat), &bounds, nullptr, nullptr, 0);
  if (!CoreVerify(mGWorld)) return false;
  mLockedPixMap = GetGWorldPixMap(mGWorld);
  LockPixels(mLockedPixMap);
  bool fOk;
  CoreMachDebugVerify(fOk=MacPixMapFrameBuffer::Construct(mLockedPixMap));
  return fOk;
}

bool MacPixMapFrameWorld::ConstructPtrAlias(Rect const& rect, void* pixels, long rowBytes,
                                            unsigned long pixelFormat) {
  if (!CoreVerify(IsEmpty())) return false;
  OSErr const err = QTNewGWorldFromPtr(&mGWorld, OSType(pixelFormat), &rect, nullptr, nullptr, 0,
                                       pixels, rowBytes);
  if (CoreVerifyOSerr(err)) return false;
  PixMapHandle const hNewPixMap = GetGWorldPixMap(mGWorld);
  if (!CoreVerify(hNewPixMap)) return false;
  mLockedPixMap = hNewPixMap;
  LockPixels(mLockedPixMap);
  return MacPixMapFrameBuffer::Construct(mLockedPixMap);
}

bool MacPixMapFrameWorld::ConstructFrameBufferAlias(XFrameBuffer& buffer) {
  Rect const rect{0, 0, SInt16(buffer.Height), SInt16(buffer.Width)};
  if (!ConstructPtrAlias(rect, buffer.Pixels, buffer.RowBytes, PixelFormatFromPelFormat(buffer.PixelType)))
    return false;
  PixelType = buffer.PixelType;
  Fields = buffer.Fields;
  return true;
}

bool MacPixMapFrameWorld::ConstructFieldAlias(CGrafPtr port, int field_order) {
  if (!CoreVerify((field_order==1) || (field_order==0))) return false;
  PixMapHandle const pixMap = GetPortPixMap(port);
  if (!CoreVerify(pixMap)) return false;
  Rect bounds{};
  GetPortBounds(port, &bounds);
  Rect const field{0, 0, SInt16((bounds.bottom - bounds.top) / 2), SInt16(bounds.right - bounds.left)};
  long const rowBytes = QTGetPixMapHandleRowBytes(pixMap);
  return ConstructPtrAlias(field, GetPixBaseAddr(pixMap) + field_order * rowBytes, rowBytes * 2,
                           QPixMap_GetPixelFormat(pixMap));
}

bool MacPixMapFrameWorld::SetNewWidthHeight(int width, int height) {
  if (IsConstructed() && (Width != width || Height != height)) {
    XFrame_Pel_Format const type = PixelType;
    Destruct();
    QRect rect(0, 0, SInt16(height), SInt16(width));
    ConstructVirtual(rect, type);
  }
  return IsConstructed();
}

void MacPixMapFrameWorld::CopyBits(CGrafPtr port, Rect const& rect, SInt16 mode) const {
  if (!mLockedPixMap || !port) return;
  ::CopyBits(*mLockedPixMap, *GetPortPixMap(port), &(*mLockedPixMap)->bounds, &rect, mode, nullptr);
}

void MacPixMapFrameWorld::QDErasePixels(Rect const& rect) {
  if (!Pixels) return;
  int const top = std::max<int>(rect.top, 0), bottom = std::min<int>(rect.bottom, Height);
  int const left = std::max<int>(rect.left, 0), right = std::min<int>(rect.right, Width);
  for (int y = top; y < bottom && left < right; ++y)
    std::memset(RowStart(y) + left * PelBytes, 0xFF, size_t(right - left) * size_t(PelBytes));
}

// --- MacAltivecFrameWorld ---

bool MacAltivecFrameWorld::ConstructVecFrame(QRect& in_rect, XFrame_Pel_Format pelFormat) {
  if (!CoreVerify(IsEmpty())) return false;
  if (!mMemory.SetFrameDimensions(in_rect.Width(), in_rect.Height())) return false;
  void* vec_aligned_frame_pixels = mMemory.FrameStart();
  long const vec_aligned_row_bytes = mMemory.FrameStride();
  unsigned long const pixelFormat = PixelFormatFromPelFormat(pelFormat);
  if (!CoreVerify(vec_aligned_frame_pixels)) return false;
  bool fOk;
  CoreMachDebugVerify(fOk=ConstructPtrAlias(in_rect, vec_aligned_frame_pixels, vec_aligned_row_bytes, pixelFormat));
  if (fOk) PixelType = pelFormat;
  return fOk;
}

void MacAltivecFrameWorld::Empty() {
  MacPixMapFrameWorld::Destruct();
  mMemory.Empty();
}

void MacAltivecFrameWorld::Destruct() { MacAltivecFrameWorld::Empty(); }

// --- pixmap resizes ---

bool QPixMap_ResizeHorizontal32(PixMapHandle hDest, PixMapHandle hPixMap) {
  MacPixMapFrameBuffer const destination(hDest), source(hPixMap);
  return XFrame_ResizeBilinear(source, destination);
}

bool QPixMap_Copy32Bilinear(PixMapHandle hDest, PixMapHandle hPixMap) {
  return QPixMap_ResizeHorizontal32(hDest, hPixMap);
}

bool QPixMap_Copy32NearestPixel(PixMapHandle hDest, PixMapHandle hPixMap) {
  MacPixMapFrameBuffer const destination(hDest), source(hPixMap);
  return XFrame_ResizeNearestPixel(source, destination);
}
