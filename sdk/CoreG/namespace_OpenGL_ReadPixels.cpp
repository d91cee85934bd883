#include "namespace_OpenGL_ReadPixels.h"

#include "CoreMachDebugLog.h"

#if TAVELO_X86_VECTOR
#include <immintrin.h>
#endif

#include <cstring>
#include <memory>
#include <new>

namespace OpenGL {
namespace ReadPixels {
namespace {

// Output byte k of a pixel is source byte index[k], or 255 where index[k] is -1.
struct PixelMap {
  signed char index[4];
};

constexpr PixelMap kBGRX_to_RGBA{{1, 2, 3, -1}};
constexpr PixelMap kBGRA_to_RGBA{{1, 2, 3, 0}};
constexpr PixelMap kBGRX_to_ARGB{{-1, 1, 2, 3}};
constexpr PixelMap kBGRA_to_ARGB{{0, 1, 2, 3}};
// The word rotated left by 8 bits, top byte then forced to 255.
constexpr PixelMap kRotateTail{{-1, 2, 3, 0}};

// Static initialisers may run before the runtime has probed the processor.
bool ProbeSSSE3() {
#if TAVELO_X86_VECTOR
  __builtin_cpu_init();
  return __builtin_cpu_supports("ssse3");
#else
  return false;  // other processors take the portable loop
#endif
}

bool const sHasSSSE3 = ProbeSSSE3();
bool sUseVector = sHasSSSE3;

template <PixelMap M>
inline void MapPixel(std::uint8_t const* s, std::uint8_t* d) {
  std::uint8_t const p0 = s[0], p1 = s[1], p2 = s[2], p3 = s[3];
  std::uint8_t const p[4] = {p0, p1, p2, p3};
  for (int k = 0; k < 4; ++k) d[k] = M.index[k] < 0 ? 0xFF : p[M.index[k]];
}

// Pixels [first, last) of the source, each to its place in the destination row of count
// pixels: the same index, or count - 1 - index when the row is reversed.
template <PixelMap M, bool FlipLR>
inline void MapPixels(std::uint8_t const* src, std::uint8_t* dst, unsigned long first,
                      unsigned long last, unsigned long count) {
  for (unsigned long i = first; i < last; ++i) {
    unsigned long const to = FlipLR ? count - 1 - i : i;
    MapPixel<M>(src + 4 * i, dst + 4 * to);
  }
}

#if TAVELO_X86_VECTOR
template <PixelMap M, bool FlipLR>
__attribute__((target("ssse3"))) void BulkSSSE3(std::uint8_t const* src, std::uint8_t* dst,
                                                unsigned long steps, unsigned long count) {
  alignas(16) signed char order[16];
  alignas(16) unsigned char fill[16];
  for (int pixel = 0; pixel < 4; ++pixel) {
    int const from = FlipLR ? 3 - pixel : pixel;  // reversed inside the vector too
    for (int k = 0; k < 4; ++k) {
      signed char const index = M.index[k];
      order[4 * pixel + k] = index < 0 ? static_cast<signed char>(0x80)
                                       : static_cast<signed char>(4 * from + index);
      fill[4 * pixel + k] = index < 0 ? 0xFF : 0x00;
    }
  }
  __m128i const shuffle = _mm_load_si128(reinterpret_cast<__m128i const*>(order));
  __m128i const constant = _mm_load_si128(reinterpret_cast<__m128i const*>(fill));
  for (unsigned long step = 0; step < steps; ++step) {
    __m128i const v = _mm_loadu_si128(reinterpret_cast<__m128i const*>(src + 16 * step));
    __m128i const out = _mm_or_si128(_mm_shuffle_epi8(v, shuffle), constant);
    unsigned long const to = FlipLR ? count - 4 - 4 * step : 4 * step;
    _mm_storeu_si128(reinterpret_cast<__m128i*>(dst + 4 * to), out);
  }
}
#endif

template <PixelMap Bulk, PixelMap Tail, bool FlipLR>
void SwizzleRow(void const* srcBytes, void* dstBytes, unsigned long byteCount) {
  auto const* src = static_cast<std::uint8_t const*>(srcBytes);
  auto* dst = static_cast<std::uint8_t*>(dstBytes);
  unsigned long const steps = byteCount / 16;
  unsigned long const bulkPixels = steps * 4;
  unsigned long const count = bulkPixels + (byteCount % 16) / 4;
#if TAVELO_X86_VECTOR
  if (sUseVector) BulkSSSE3<Bulk, FlipLR>(src, dst, steps, count);
  else MapPixels<Bulk, FlipLR>(src, dst, 0, bulkPixels, count);
#else
  (void)steps;
  MapPixels<Bulk, FlipLR>(src, dst, 0, bulkPixels, count);
#endif
  MapPixels<Tail, FlipLR>(src, dst, bulkPixels, count, count);
}

}  // namespace

bool VectorUnitAvailable() { return sHasSSSE3; }
void SetUseVectorUnit(bool use) { sUseVector = use && sHasSSSE3; }
bool UseVectorUnit() { return sUseVector; }

void swizzle_scanline_GL_BGRX_to_RGBA(void const* src, void* dst, unsigned long byteCount) {
  SwizzleRow<kBGRX_to_RGBA, kRotateTail, false>(src, dst, byteCount);
}
void swizzle_scanline_GL_BGRX_to_RGBA_flip_LR(void const* src, void* dst, unsigned long byteCount) {
  SwizzleRow<kBGRX_to_RGBA, kRotateTail, true>(src, dst, byteCount);
}
void swizzle_scanline_GL_BGRA_to_RGBA(void const* src, void* dst, unsigned long byteCount) {
  SwizzleRow<kBGRA_to_RGBA, kBGRA_to_RGBA, false>(src, dst, byteCount);
}
void swizzle_scanline_GL_BGRA_to_RGBA_flip_LR(void const* src, void* dst, unsigned long byteCount) {
  SwizzleRow<kBGRA_to_RGBA, kBGRA_to_RGBA, true>(src, dst, byteCount);
}
void swizzle_scanline_GL_BGRX_to_ARGB(void const* src, void* dst, unsigned long byteCount) {
  SwizzleRow<kBGRX_to_ARGB, kBGRX_to_ARGB, false>(src, dst, byteCount);
}
void swizzle_scanline_GL_BGRX_to_ARGB_flip_LR(void const* src, void* dst, unsigned long byteCount) {
  SwizzleRow<kBGRX_to_ARGB, kBGRX_to_ARGB, true>(src, dst, byteCount);
}
void swizzle_scanline_GL_BGRA_to_ARGB(void const* src, void* dst, unsigned long byteCount) {
  SwizzleRow<kBGRA_to_ARGB, kBGRA_to_ARGB, false>(src, dst, byteCount);
}
void swizzle_scanline_GL_BGRA_to_ARGB_flip_LR(void const* src, void* dst, unsigned long byteCount) {
  SwizzleRow<kBGRA_to_ARGB, kBGRA_to_ARGB, true>(src, dst, byteCount);
}

void T_swizzle_framebuffer_GL_BGRX_to_XXXX(swizzle_scanline_t f, void* pixels, unsigned long rows,
                                           unsigned long rowBytes, bool flipVertical) {
  auto* const base = static_cast<std::uint8_t*>(pixels);
  auto const row = [&](unsigned long r) { return base + r * rowBytes; };
  if (flipVertical) {
    std::unique_ptr<std::uint8_t[]> one_scanline_buffer(new (std::nothrow) std::uint8_t[rowBytes]);
    if (!CoreVerify(one_scanline_buffer)) return;
    if (rows == 0) return;
    // Pairs from the outside in; an odd height's middle row is neither moved nor reordered.
    for (unsigned long top = 0, bottom = rows - 1; top < bottom; ++top, --bottom) {
      f(row(top), one_scanline_buffer.get(), rowBytes);
      f(row(bottom), row(top), rowBytes);
      std::memcpy(row(bottom), one_scanline_buffer.get(), rowBytes);
    }
  } else {
    std::unique_ptr<std::uint8_t[]> one_scanline_buffer(new (std::nothrow) std::uint8_t[rowBytes]);
    if (!CoreVerify(one_scanline_buffer)) return;
    for (unsigned long r = 0; r < rows; ++r) {
      f(row(r), one_scanline_buffer.get(), rowBytes);
      std::memcpy(row(r), one_scanline_buffer.get(), rowBytes);
    }
  }
}

void _swizzle_framebuffer_GL_BGRX_to_RGBA(void* pixels, unsigned long rows, unsigned long rowBytes,
                                          bool flipVertical, bool flipHorizontal) {
  T_swizzle_framebuffer_GL_BGRX_to_XXXX(flipHorizontal ? swizzle_scanline_GL_BGRX_to_RGBA_flip_LR
                                                       : swizzle_scanline_GL_BGRX_to_RGBA,
                                        pixels, rows, rowBytes, flipVertical);
}

void _swizzle_framebuffer_GL_BGRA_to_RGBA(void* pixels, unsigned long rows, unsigned long rowBytes,
                                          bool flipVertical, bool flipHorizontal) {
  T_swizzle_framebuffer_GL_BGRX_to_XXXX(flipHorizontal ? swizzle_scanline_GL_BGRA_to_RGBA_flip_LR
                                                       : swizzle_scanline_GL_BGRA_to_RGBA,
                                        pixels, rows, rowBytes, flipVertical);
}

void _swizzle_framebuffer_GL_BGRX_to_ARGB(void* pixels, unsigned long rows, unsigned long rowBytes,
                                          bool flipVertical, bool flipHorizontal) {
  T_swizzle_framebuffer_GL_BGRX_to_XXXX(flipHorizontal ? swizzle_scanline_GL_BGRX_to_ARGB_flip_LR
                                                       : swizzle_scanline_GL_BGRX_to_ARGB,
                                        pixels, rows, rowBytes, flipVertical);
}

void _swizzle_framebuffer_GL_BGRA_to_ARGB(void* pixels, unsigned long rows, unsigned long rowBytes,
                                          bool flipVertical, bool flipHorizontal) {
  T_swizzle_framebuffer_GL_BGRX_to_XXXX(flipHorizontal ? swizzle_scanline_GL_BGRA_to_ARGB_flip_LR
                                                       : swizzle_scanline_GL_BGRA_to_ARGB,
                                        pixels, rows, rowBytes, flipVertical);
}

}  // namespace ReadPixels
}  // namespace OpenGL
