// A frame buffer: a non-owning description of one video frame in memory (size, pel format,
// field layout, first pixel, row stride) for the frame filters.
#pragma once

#include "MacTypes.h"

#include <cstdint>

using XFrame_Pel_Format = UInt32;
enum : XFrame_Pel_Format {
  kXFrame_Pel_Format_None = FOUR_CHAR_CODE("0000"),
  kXFrame_Pel_Format_8RGB = FOUR_CHAR_CODE("8RGB"),  // A, R, G, B
  kXFrame_Pel_Format_RYUV = FOUR_CHAR_CODE("RYUV"),  // A, Y', Cb, Cr
  kXFrame_Pel_Format_VYUV = FOUR_CHAR_CODE("VYUV"),  // the same, video range
  kXFrame_Pel_Format_VRGB = FOUR_CHAR_CODE("VRGB"),  // video-range RGB
};

using XFramePixels = std::uint8_t*;

// Fields: low byte = number of fields, 0x100 top field first, 0x200 bottom field first.
enum : SInt32 {
  kXFrameFields_TopFirst = 0x100,
  kXFrameFields_BottomFirst = 0x200,
};

class XFrameBuffer {
 public:
  XFrameBuffer() = default;
  XFrameBuffer(XFrameBuffer const&) = default;
  XFrameBuffer& operator=(XFrameBuffer const&) = default;
  virtual ~XFrameBuffer() = default;

  bool IsEmpty() const { return PixelType == kXFrame_Pel_Format_None || Pixels == nullptr; }
  void ResetFrameBuffer();

  // The frame type number of the size (0 when the size is not a known one).
  int FrameTypeOf() const;
  bool HasTwoFields() const;
  void GetCroppedBuffer(XFrameBuffer& out, int left, int top, int right, int bottom) const;
  void GetTopField(XFrameBuffer& out) const;
  void GetBottomField(XFrameBuffer& out) const;
  void GetFields(XFrameBuffer& top, XFrameBuffer& bottom) const;
  std::uint8_t* RowStart(int row) const { return Pixels + std::intptr_t(row) * RowBytes; }
  int RowPixelBytes() const { return Width * PelBytes; }

  void CoreDebugPrint(char const* label) const;

  SInt32 Width = 0;
  SInt32 Height = 0;
  XFrame_Pel_Format PixelType = kXFrame_Pel_Format_None;
  SInt32 Fields = 0;
  XFramePixels Pixels = nullptr;
  SInt32 RowBytes = 0;
  SInt32 PelBytes = 0;
};

// Gamma (16.16) that surfaces of a pel format ask for.
Fixed GammaFromPelFormat(XFrame_Pel_Format format);
