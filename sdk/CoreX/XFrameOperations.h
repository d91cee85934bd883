// Frame filters: deinterlacing by blending or by keeping one field, resizing (nearest pixel
// and bilinear), copying and blackening. Each filter first offers the work to its vector
// variant (suffix _Altivec, after the library's first vector unit), which takes 16-byte-aligned
// rows only; when it declines, the scalar loop gives the same bytes.
#pragma once

#include "XFrameBuffer.h"

struct XFrameFilters {
  UInt32 flags;
};
enum : UInt32 {
  kXFrameFilter_Unhandled = 0x7,  // modes XFrame_Deinterlace does not handle
  kXFrameFilter_BlendFieldsTypeA = 0x8,
  kXFrameFilter_BlendFieldsTypeB = 0x10,
  kXFrameFilter_TopFieldOnly = 0x20,
  kXFrameFilter_BottomFieldOnly = 0x40,
};

// Widths of the bands XFrame_BlackenEdges clears: pixels left and right, rows top and bottom.
struct XFrameEdges {
  SInt16 left, top, right, bottom;
};

// Same pel type, width, height and row bytes.
bool operator==(XFrameBuffer const& a, XFrameBuffer const& b);

bool XFrame_Deinterlace(XFrameBuffer const& src, XFrameBuffer const& dst, XFrameFilters const& filters);
bool XFrame_BlendFields(XFrameBuffer const& src, XFrameBuffer const& dst, XFrameFilters const& filters);
bool XFrame_OneFieldOnly(XFrameBuffer const& src, XFrameBuffer const& dst, int field);
bool XFrame_DeInterlaceAdaptive(XFrameBuffer const& src, XFrameBuffer const& dst, XFrameFilters const& filters);
bool XFrame_ResizeNearestPixel(XFrameBuffer const& src, XFrameBuffer const& dst);
bool XFrame_ResizeBilinear(XFrameBuffer const& src, XFrameBuffer const& dst);
bool XFrame_ResizeBilinear(XFrameBuffer const& src, XFrameBuffer const& dst, bool wholeFrame);
bool XFrame_ResizeBilinearWithFields(XFrameBuffer const& src, XFrameBuffer const& dst);
bool XFrame_CopyBufferMemory(XFrameBuffer const& Source, XFrameBuffer const& Destination);
bool XFrame_BlackenField(XFrameBuffer const& buffer, int field);
bool XFrame_Blacken(XFrameBuffer const& buffer);
bool XFrame_BlackenEdges(XFrameBuffer const& buffer, XFrameEdges const& edges);
void XFrameBlacken_r408_ScanLine(std::uint8_t* pixels, int count);
void XFrameBlacken_ARGB_ScanLine(std::uint8_t* pixels, int count);

// Vector variants: false to decline (rows or row bytes not 16-byte aligned, or no vector unit).
bool XFrame_BlendFields_TypeA_Altivec(XFrameBuffer const& src, XFrameBuffer const& dst);
bool XFrame_BlendFields_TypeB_Altivec(XFrameBuffer const& src, XFrameBuffer const& dst);
bool XFrame_OneFieldOnly_Altivec(XFrameBuffer const& src, XFrameBuffer const& dst, int field);
bool XFrame_ResizeBilinear_Altivec(XFrameBuffer const& src, XFrameBuffer const& dst);
// Keeps the top field; a bottom-field byte far (> 24) from the average of its neighbours is
// replaced by that average. outDifference = mean |bottom byte - average| over the bottom field.
bool XFrame_DeInterlaceAdaptive_Altivec(XFrameBuffer const& src, XFrameBuffer const& dst,
                                        double& outDifference);
// A full D1 frame (704 or more wide) to VCD size: the destination's pixel (x, y) from the
// source's 2x2 block at (8 + 2x, 2y); blended when inBlend, else its top-left pixel.
bool XFrame_FullD1_2_VCD_Altivec(XFrameBuffer const& src, XFrameBuffer const& dst, bool inBlend);
// |a - b| per byte into dst, or into b in place.
bool XFrame_DifferenceDelta_Altivec(XFrameBuffer const& a, XFrameBuffer const& b, XFrameBuffer const& dst);
bool XFrame_DifferenceDelta_Altivec(XFrameBuffer const& a, XFrameBuffer const& inOutB);
bool XFrame_SwapFields_Altivec(XFrameBuffer const& buffer);
// dst = a x weightA + b x weightB per byte (single precision, limited to 0..255, truncated).
bool XFrame_BlendFrames_Altivec(XFrameBuffer const& a, float weightA, XFrameBuffer const& b,
                                float weightB, XFrameBuffer const& dst);

// The bilinear rule with the best kernel there is, rows at any address (no diagnostics): the
// work behind XFrame_ResizeBilinear and the 32-bit pixmap resize.
bool XFrame_ResizeBilinearAnyRows(XFrameBuffer const& src, XFrameBuffer const& dst);

// The scalar rules of the variants that have no filter of their own, for callers without a
// vector unit and for checking the vector code.
double XFrame_DeInterlaceAdaptive_Scalar(XFrameBuffer const& src, XFrameBuffer const& dst);
bool XFrame_FullD1_2_VCD_Scalar(XFrameBuffer const& src, XFrameBuffer const& dst, bool inBlend);
bool XFrame_DifferenceDelta_Scalar(XFrameBuffer const& a, XFrameBuffer const& b, XFrameBuffer const& dst);
bool XFrame_SwapFields_Scalar(XFrameBuffer const& buffer);
bool XFrame_BlendFrames_Scalar(XFrameBuffer const& a, float weightA, XFrameBuffer const& b,
                               float weightB, XFrameBuffer const& dst);

// Which vector unit the variants use: 0 none (they decline), 1 16-byte (SSE2 / NEON),
// 2 32-byte (AVX2). Starts at the best the processor has; a request above it is lowered.
int XFrame_VectorLevel();
int XFrame_SetVectorLevel(int level);
