#include "XFrameBuffer.h"

#include "CoreMachDebugLog.h"

namespace {

struct FrameTypeRow {
  int width, height, type;
};

// Searched in order; the first exact match wins.
constexpr FrameTypeRow kFrameTypes[] = {
    {352, 240, 1},  {352, 288, 2},  {640, 480, 3},   {640, 486, 3},   {352, 480, 5},
    {704, 480, 6},  {704, 486, 6},  {720, 480, 6},   {720, 486, 6},   {768, 480, 7},
    {768, 486, 7},  {352, 576, 8},  {704, 576, 9},   {720, 576, 9},   {768, 576, 10},
    {800, 600, 11}, {1280, 720, 14}, {1920, 1080, 15}, {1920, 1088, 15}, {1920, 1152, 16},
};

// Frame types whose pictures are made of two fields.
constexpr unsigned kTwoFieldTypes = 0x86D8;

}  // namespace

void XFrameBuffer::ResetFrameBuffer() { *this = XFrameBuffer(); }

int XFrameBuffer::FrameTypeOf() const {
  for (auto const& row : kFrameTypes)
    if (row.width == Width && row.height == Height) return row.type;
  return 0;
}

bool XFrameBuffer::HasTwoFields() const {
  if (Fields != 0) return (Fields & 0x2) != 0;
  int const type = FrameTypeOf();
  if (type <= 15 && (kTwoFieldTypes & (1u << type))) return true;
  return Height >= 480 && Height % 2 == 0;
}

void XFrameBuffer::GetCroppedBuffer(XFrameBuffer& out, int left, int top, int right, int bottom) const {
  out = *this;
  out.Width = Width - left - right;
  out.Height = Height - top - bottom;
  out.Pixels = Pixels + std::intptr_t(top) * RowBytes + std::intptr_t(left) * PelBytes;
}

void XFrameBuffer::GetTopField(XFrameBuffer& out) const {
  out = *this;
  out.Height = Height / 2;
  out.RowBytes = RowBytes * 2;
  out.Fields = 1;
}

void XFrameBuffer::GetBottomField(XFrameBuffer& out) const {
  GetTopField(out);
  out.Pixels = Pixels + RowBytes;
}

void XFrameBuffer::GetFields(XFrameBuffer& top, XFrameBuffer& bottom) const {
  GetTopField(top);
  GetBottomField(bottom);
}

void XFrameBuffer::CoreDebugPrint(char const* label) const {
  CoreMachDebugLog("-----------\n%s XFrameBuffer Properties\n", label ? label : "");
  CoreMachDebugLog("Width,Height = (%d,%d)\n", int(Width), int(Height));
  CoreMachDebugLog("Fields  = %04x\n", unsigned(Fields));
}

Fixed GammaFromPelFormat(XFrame_Pel_Format format) {
  switch (format) {
    case kXFrame_Pel_Format_RYUV:
    case kXFrame_Pel_Format_VYUV:
    case kXFrame_Pel_Format_VRGB:
      return Fixed(2.2 * 65536 + 0.5);
    default:
      return Fixed(1.8 * 65536 + 0.5);
  }
}
