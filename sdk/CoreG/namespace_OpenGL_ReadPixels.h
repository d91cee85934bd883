// Channel reorder of read-back pixels, in place, with the vertical flip folded into the same
// pass. Source pixels are the bytes X (or A), R, G, B, rows bottom-up, as the read delivers.
#pragma once

#include <cstddef>
#include <cstdint>

namespace OpenGL {
namespace ReadPixels {

using uint_pixel_t = std::uint32_t;

inline unsigned long scanline_row_bytes_from_frame_pixel_width(unsigned long width) {
  return width * sizeof(uint_pixel_t);
}

// The bulk of a row goes 16 bytes at a time through the vector unit when the processor has
// SSSE3; tests and benchmarks may force the scalar path. Both give the same bytes.
bool VectorUnitAvailable();
void SetUseVectorUnit(bool use);  // ignored (stays off) without SSSE3
bool UseVectorUnit();

// Row functions: byteCount bytes of src into dst (which must not overlap). The bulk,
// byteCount / 16 steps of 4 pixels, gives the function's mapping. In BGRX_to_RGBA the pixels
// after it (fewer than 4) are each rotated left by a byte with the first byte set to 255,
// so X, R, G, B comes out 255, G, B, X; the other functions map their tail like their bulk.
// The _flip_LR variants also reverse the pixel order.
void swizzle_scanline_GL_BGRX_to_RGBA(void const* src, void* dst, unsigned long byteCount);
void swizzle_scanline_GL_BGRX_to_RGBA_flip_LR(void const* src, void* dst, unsigned long byteCount);
void swizzle_scanline_GL_BGRA_to_RGBA(void const* src, void* dst, unsigned long byteCount);
void swizzle_scanline_GL_BGRA_to_RGBA_flip_LR(void const* src, void* dst, unsigned long byteCount);
void swizzle_scanline_GL_BGRX_to_ARGB(void const* src, void* dst, unsigned long byteCount);
void swizzle_scanline_GL_BGRX_to_ARGB_flip_LR(void const* src, void* dst, unsigned long byteCount);
void swizzle_scanline_GL_BGRA_to_ARGB(void const* src, void* dst, unsigned long byteCount);
void swizzle_scanline_GL_BGRA_to_ARGB_flip_LR(void const* src, void* dst, unsigned long byteCount);

using swizzle_scanline_t = void (*)(void const* src, void* dst, unsigned long byteCount);

// Whole frames of rows x rowBytes, in place. With flipVertical the rows are swapped
// pairwise from the outside in; the middle row of an odd height is left as it was read.
void T_swizzle_framebuffer_GL_BGRX_to_XXXX(swizzle_scanline_t f, void* pixels, unsigned long rows,
                                           unsigned long rowBytes, bool flipVertical);

void _swizzle_framebuffer_GL_BGRX_to_RGBA(void* pixels, unsigned long rows, unsigned long rowBytes,
                                          bool flipVertical, bool flipHorizontal);  // R, G, B, 255
void _swizzle_framebuffer_GL_BGRA_to_RGBA(void* pixels, unsigned long rows, unsigned long rowBytes,
                                          bool flipVertical, bool flipHorizontal);  // R, G, B, A
void _swizzle_framebuffer_GL_BGRX_to_ARGB(void* pixels, unsigned long rows, unsigned long rowBytes,
                                          bool flipVertical, bool flipHorizontal);  // 255, R, G, B
void _swizzle_framebuffer_GL_BGRA_to_ARGB(void* pixels, unsigned long rows, unsigned long rowBytes,
                                          bool flipVertical, bool flipHorizontal);  // A, R, G, B

}  // namespace ReadPixels
}  // namespace OpenGL
