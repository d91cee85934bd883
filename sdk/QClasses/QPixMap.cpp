#include "QPixMap.h"

#include "CGImage.h"
#include "CoreMachDebugLog.h"
#include "XFrameOperations.h"

#include <algorithm>
#include <cstring>

namespace {

int Clamp255(int v) { return v < 0 ? 0 : (v > 254 ? 255 : v); }

void PutBE32(unsigned char* p, UInt32 v) {
  p[0] = UInt8(v >> 24);
  p[1] = UInt8(v >> 16);
  p[2] = UInt8(v >> 8);
  p[3] = UInt8(v);
}

// Steps 1-2 of the bilinear rule: the two neighbours of a coordinate, kept inside the map.
struct Neighbours {
  long n0, n1;
  double f;  // coordinate - n0
};

Neighbours NeighboursOf(double c, long size) {
  long const i = long(c);
  long const n0 = std::clamp(i, 0L, size - 1);
  return {n0, n0 < size - 1 ? n0 + 1 : n0, c - double(n0)};
}

long ClampIndex(long i, long size) { return std::clamp(i, 0L, size - 1); }

double Bilinear(double p00, double p10, double p01, double p11, double fx, double fy) {
  double const top = (1 - fx) * p00 + fx * p10;
  double const bottom = (1 - fx) * p01 + fx * p11;
  return (1 - fy) * top + fy * bottom;
}

}  // namespace

QPixMapInfo::QPixMapInfo(PixMapHandle hPixMap) {
  if (!hPixMap || !*hPixMap) throw CoreException("Nil exception pointer");
  mWidth = QPixMap_Width(hPixMap);
  mHeight = QPixMap_Height(hPixMap);
  mPixelSize = (*hPixMap)->pixelSize;
  mBaseAddr = reinterpret_cast<unsigned char*>(GetPixBaseAddr(hPixMap));
  mRowBytes = QTGetPixMapHandleRowBytes(hPixMap);
}

QPixMapSurface32::QPixMapSurface32(PixMapHandle hPixMap) {
  if (!hPixMap || !*hPixMap || (*hPixMap)->pixelSize != 32)
    throw CoreException("Nil exception pointer");
  mWidth = QPixMap_Width(hPixMap);
  mHeight = QPixMap_Height(hPixMap);
  mRowBytes = QTGetPixMapHandleRowBytes(hPixMap);
  mBaseAddr = reinterpret_cast<unsigned char*>(GetPixBaseAddr(hPixMap));
}

QPixMapBrightness::QPixMapBrightness(double factor) {
  for (int i = 0; i < 256; ++i) {
    double const v = (double(i) / 255) * factor * 255;
    mTable[i] = v < 0 ? 0 : (v > 255 ? 255 : std::uint16_t(v));
  }
}

long QPixMap_RowBytesFromFormatWidth(OSType pixelFormat, long width) {
  switch (pixelFormat) {
    case FOUR_CHAR_CODE("b48r"): return 6 * width;
    case FOUR_CHAR_CODE("2vuy"): return 2 * width;
    case FOUR_CHAR_CODE("b64a"): return 8 * width;
    case FOUR_CHAR_CODE("cmyk"): return width;  // one byte a pixel, as the library has it
    default: return 4 * width;
  }
}

void QPixMap_Copy32x24(PixMapHandle hPixMap, unsigned char const* source) {
  QPixMapInfo const info(hPixMap);
  long const advance = (*hPixMap)->rowBytes & 0x3FFF;
  unsigned char* row = info.mBaseAddr;
  for (long y = 0; y < info.mHeight; ++y, row += advance) {
    unsigned char* d = row;
    for (long x = 0; x < info.mWidth; ++x, d += 4, source += 3) {
      d[0] = 0;
      d[1] = source[0];
      d[2] = source[1];
      d[3] = source[2];
    }
  }
}

void QPixMap_Copy32x32(PixMapHandle hPixMap, unsigned char const* source) {
  QPixMapInfo const info(hPixMap);
  long const bytes = info.mHeight * info.mRowBytes;
  if (bytes >= 1) std::memcpy(info.mBaseAddr, source, size_t(bytes));
}

bool QPixMap_MemCopyPixels(PixMapHandle hDest, PixMapHandle hPixMap) {
  if (!CoreVerify(hDest!=nil && hPixMap!=nil)) return false;
  long const bytes = QPixMap_Height(hDest) * QTGetPixMapHandleRowBytes(hDest);
  if (bytes > 0) std::memcpy(GetPixBaseAddr(hDest), GetPixBaseAddr(hPixMap), size_t(bytes));
  return true;
}

void QPixMap_AlphaBlend32(PixMapHandle hA, double a, PixMapHandle hB, double b, PixMapHandle hDest) {
  QPixMapInfo const dst(hDest), sa(hA), sb(hB);
  for (long y = 0; y < dst.mHeight; ++y) {
    unsigned char const* pa = sa.mBaseAddr + y * sa.mRowBytes;
    unsigned char const* pb = sb.mBaseAddr + y * sb.mRowBytes;
    unsigned char* d = dst.mBaseAddr + y * dst.mRowBytes;
    for (long i = 0; i < dst.mWidth * 4; ++i)  // no clamp: weights above 1 wrap
      d[i] = static_cast<unsigned char>(static_cast<long>(double(pa[i]) * a + double(pb[i]) * b));
  }
}

bool QPixMap_IsPartiallyTransparent32(PixMapHandle hPixMap) {
  QPixMapInfo const info(hPixMap);
  if (info.mPixelSize != 32) return false;
  for (long y = 0; y < info.mHeight; ++y) {
    unsigned char const* p = info.mBaseAddr + y * info.mRowBytes;
    for (long x = 0; x < info.mWidth; ++x)
      if (p[x * 4] < 255) return true;
  }
  return false;
}

void QPixMap_DuoTone32(PixMapHandle hPixMap, UInt32 rgb) {
  QPixMapSurface32 const s(hPixMap);
  double const r = (rgb >> 16) & 0xFF, g = (rgb >> 8) & 0xFF, b = rgb & 0xFF;
  float const cb = float(-0.148 * r - 0.291 * g + 0.439 * b);
  float const cr = float(0.439 * r - 0.368 * g - 0.071 * b);
  for (long y = 0; y < s.mHeight; ++y) {
    unsigned char* p = s.Row(y);
    for (long x = 0; x < s.mWidth; ++x, p += 4) {
      int const R = p[1], G = p[2], B = p[3];
      if (R + G + B > 743) continue;  // near-white stays white
      double const Y = double(float(0.257 * R + 0.504 * G + 0.098 * B)) * 1.164;
      p[1] = UInt8(Clamp255(int(float(Y + 1.596 * cr))));
      p[2] = UInt8(Clamp255(int(float(Y - 0.813 * cb - 0.391 * cr))));
      p[3] = UInt8(Clamp255(int(float(Y + 2.018 * cb))));
    }
  }
}

void QPixMap_FillColor32(PixMapHandle hPixMap, UInt32 value) {
  QPixMapInfo const info(hPixMap);
  if (info.mWidth <= 0) return;
  unsigned char pixel[4];
  PutBE32(pixel, value);
  for (long y = 0; y < info.mHeight; ++y) {
    unsigned char* row = info.mBaseAddr + y * info.mRowBytes;
    std::memcpy(row, pixel, 4);
    // Doubling copies: the row fills in log2(width) memcpy calls.
    long done = 1;
    while (done < info.mWidth) {
      long const n = std::min(done, info.mWidth - done);
      std::memcpy(row + done * 4, row, size_t(n) * 4);
      done += n;
    }
  }
}

bool QPixMap_FillPixelARGB32(PixMapHandle hPixMap, UInt32 pixelValue) {
  if (!CoreVerify(hPixMap)) return false;
  long const rowBytes = QTGetPixMapHandleRowBytes(hPixMap);
  if (!CoreVerify(rowBytes)) return false;
  if (!CoreVerify(rowBytes>0)) return false;
  // Every byte takes the value's low byte, padding included.
  std::memset(GetPixBaseAddr(hPixMap), int(pixelValue & 0xFF),
              size_t(rowBytes) * size_t(std::max(0L, QPixMap_Height(hPixMap))));
  return true;
}

void QPixMap_FillColor_RGB_24(PixMapHandle hPixMap, UInt32 rgb) {
  QPixMapInfo const info(hPixMap);
  for (long y = 0; y < info.mHeight; ++y) {
    unsigned char* p = info.mBaseAddr + y * info.mRowBytes;
    for (long x = 0; x < info.mWidth; ++x, p += 3) {
      p[0] = UInt8(rgb >> 16);
      p[1] = UInt8(rgb >> 8);
      p[2] = UInt8(rgb);
    }
  }
}

void QPixMap_Brightness32(PixMapHandle hPixMap, double factor) {
  QPixMapSurface32 const s(hPixMap);
  QPixMapBrightness const table(factor);
  for (long y = 0; y < s.mHeight; ++y) {
    unsigned char* p = s.Row(y);
    for (long x = 0; x < s.mWidth; ++x, p += 4) {
      p[1] = UInt8(table.mTable[p[1]]);
      p[2] = UInt8(table.mTable[p[2]]);
      p[3] = UInt8(table.mTable[p[3]]);
    }
  }
}

void QPixMap_Grayscale32(PixMapHandle hPixMap) {
  QPixMapSurface32 const s(hPixMap);
  for (long y = 0; y < s.mHeight; ++y) {
    unsigned char* p = s.Row(y);
    for (long x = 0; x < s.mWidth; ++x, p += 4) {
      // The weights fall on bytes 3, 1, 2 in that order.
      double const grey = 0.2126 * double(float(p[3])) + 0.7152 * double(float(p[1])) +
                          0.0722 * double(float(p[2]));
      p[1] = p[2] = p[3] = UInt8(int(grey));
    }
  }
}

UInt16 QPixMap_SafeGetPixel_BilinearInterpolatedSampleGrey(PixMapHandle hPixMap, double x, double y) {
  QPixMapInfo const info(hPixMap);
  Neighbours const nx = NeighboursOf(x, info.mWidth);
  long const y0 = ClampIndex(long(y), info.mHeight);
  long const y1 = ClampIndex(long(y) + 1, info.mHeight);
  auto p = [&](long col, long row) { return double(info.mBaseAddr[row * info.mRowBytes + col]); };
  return UInt16(long(Bilinear(p(nx.n0, y0), p(nx.n1, y0), p(nx.n0, y1), p(nx.n1, y1), nx.f,
                              y - double(y0))));
}

UInt32 QPixMap_SafeGetPixel_BilinearInterpolatedSample32(PixMapHandle hPixMap, double x, double y) {
  QPixMapInfo const info(hPixMap);
  Neighbours const nx = NeighboursOf(x, info.mWidth);
  long const y0 = ClampIndex(long(y), info.mHeight);
  long const y1 = ClampIndex(long(y) + 1, info.mHeight);
  UInt32 packed = 0;
  for (int k = 0; k < 4; ++k) {
    auto p = [&](long col, long row) {
      return double(info.mBaseAddr[row * info.mRowBytes + col * 4 + k]);
    };
    long const v = long(Bilinear(p(nx.n0, y0), p(nx.n1, y0), p(nx.n0, y1), p(nx.n1, y1), nx.f,
                                 y - double(y0)));
    packed |= (UInt32(v) & 0xFF) << (24 - 8 * k);
  }
  return packed;
}

void QPixMap_SafeSetPixel32(PixMapHandle hPixMap, QClasses::QPoint const& p, UInt32 value) {
  QPixMapInfo const info(hPixMap);
  Rect const& b = (*hPixMap)->bounds;
  // Both limits inclusive: row bottom and column right, one past the last pixel, are admitted.
  long const row = std::clamp<long>(p.v, b.top, b.bottom) - b.top;
  long const col = std::clamp<long>(p.h, b.left, b.right) - b.left;
  PutBE32(info.mBaseAddr + row * info.mRowBytes + col * 4, value);
}

bool QPixMap_Resize_ARGB32_Bilinear(PixMapHandle hDest, PixMapHandle hPixMap) {
  if (!CoreVerify(hDest)) return false;
  if (!CoreVerify(hPixMap)) return false;
  QPixMapSurface32 const dst(hDest), src(hPixMap);
  if (dst.mWidth <= 0 || dst.mHeight <= 0 || src.mWidth <= 0 || src.mHeight <= 0) return false;
  // The frame filters' bilinear rule is this one; their kernels do the work.
  auto frame = [](QPixMapSurface32 const& s) {
    XFrameBuffer b;
    b.Width = SInt32(s.mWidth);
    b.Height = SInt32(s.mHeight);
    b.PixelType = kXFrame_Pel_Format_8RGB;
    b.Pixels = s.mBaseAddr;
    b.RowBytes = SInt32(s.mRowBytes);
    b.PelBytes = 4;
    return b;
  };
  return XFrame_ResizeBilinearAnyRows(frame(src), frame(dst));
}

namespace {

// One destination byte of the compositing rule.
UInt8 Over(UInt8 destination, UInt8 source, float alpha) {
  return UInt8(Clamp255(int((1.0f - alpha) * float(destination) + alpha * float(source))));
}

// destination bytes per pixel 4: bytes 0..3 from source bytes 0..3; 3: bytes 0..2 from 1..3.
void Composite(PixMapHandle hPixMap, Point at, PixMapHandle hAlphaPixMap, float opacity,
               int destinationBytes) {
  QPixMapInfo const dst(hPixMap), src(hAlphaPixMap);
  int const skip = 4 - destinationBytes;
  for (long y = 0; y < src.mHeight; ++y) {
    unsigned char const* s = src.mBaseAddr + y * src.mRowBytes;
    unsigned char* d = dst.mBaseAddr + (at.v + y) * dst.mRowBytes + long(at.h) * destinationBytes;
    for (long x = 0; x < src.mWidth; ++x, s += 4, d += destinationBytes) {
      float const alpha = (float(s[0]) / 255.0f) * opacity;
      for (int k = 0; k < destinationBytes; ++k) d[k] = Over(d[k], s[k + skip], alpha);
    }
  }
}

}  // namespace

void QPM_34(PixMapHandle hPixMap, Point at, PixMapHandle hAlphaPixMap, float opacity) {
  if (!CoreVerify(hPixMap)) return;
  if (!CoreVerify(hAlphaPixMap)) return;
  Composite(hPixMap, at, hAlphaPixMap, opacity, 3);
}

void QPM_44(PixMapHandle hPixMap, Point at, PixMapHandle hAlphaPixMap, float opacity) {
  if (!CoreVerify(hPixMap)) return;
  if (!CoreVerify(hAlphaPixMap)) return;
  Composite(hPixMap, at, hAlphaPixMap, opacity, 4);
}

void QPM_4(PixMapHandle hPixMap, Point at, PixMapHandle hAlphaPixMap, float opacity) {
  if (!CoreVerify(QPixMap_GetPixelFormat(hAlphaPixMap)==k32ARGBPixelFormat)) return;
  switch (QPixMap_GetPixelFormat(hPixMap)) {
    case k24RGBPixelFormat: QPM_34(hPixMap, at, hAlphaPixMap, opacity); break;
    case k32ARGBPixelFormat: QPM_44(hPixMap, at, hAlphaPixMap, opacity); break;
    default: break;
  }
}

void QPM_AC32(PixMapHandle hPixMap, PixMapHandle hAlphaPixMap) {
  QPM_44(hPixMap, Point{0, 0}, hAlphaPixMap, 1.0f);
}

OSErr QPixMap_Copy_2vuy_to_r408(PixMapHandle hDestPixMap, PixMapHandle hPixMap) {
  if (!CoreVerify(QPixMap_Dimensions(hDestPixMap)==QPixMap_Dimensions(hPixMap))) return paramErr;
  if (!CoreVerify(FOUR_CHAR_CODE('2vuy')==QPixMap_GetPixelFormat(hPixMap))) return paramErr;
  if (!CoreVerify(FOUR_CHAR_CODE('r408')==QPixMap_GetPixelFormat(hDestPixMap))) return noErr;
  QPixMapInfo const dst(hDestPixMap), src(hPixMap);
  for (long y = 0; y < src.mHeight; ++y) {
    unsigned char const* s = src.mBaseAddr + y * src.mRowBytes;
    unsigned char* d = dst.mBaseAddr + y * dst.mRowBytes;
    // Two pixels a step: an odd width writes one pixel past the row's last column.
    for (long x = 0; x < src.mWidth; x += 2, s += 4, d += 8) {
      UInt8 const cb = s[0], y0 = s[1], cr = s[2], y1 = s[3];
      d[0] = 255;
      d[1] = UInt8(std::max(y0 - 16, 0));
      d[2] = cb;
      d[3] = cr;
      d[4] = 255;
      d[5] = UInt8(std::max(y1 - 16, 0));
      d[6] = cb;
      d[7] = cr;
    }
  }
  return noErr;
}

bool QPixMap_DrawCGContext(PixMapHandle hPixMap, CGContextRef context, CGRect const& rect,
                           bool useAlpha) {
  QPixMapInfo const info(hPixMap);
  CGColorSpaceRef cs = CGColorSpaceCreateDeviceRGB();
  if (!CoreVerify(cs)) return false;
  CGDataProviderRef provider = CGDataProviderCreateWithData(
      nullptr, info.mBaseAddr, size_t(QPixMap_PixelDataSizeBytes(hPixMap)), nullptr);
  if (!CoreVerify(provider)) {
    CGColorSpaceRelease(cs);
    return false;
  }
  CGImageAlphaInfo const alpha = info.mPixelSize == 32 && useAlpha ? kCGImageAlphaFirst
                                                                   : kCGImageAlphaNoneSkipFirst;
  CGImageRef image = CGImageCreate(size_t(info.mWidth), size_t(info.mHeight), 8,
                                   size_t(info.mPixelSize), size_t(info.mRowBytes), cs, alpha,
                                   provider, nullptr, false, kCGRenderingIntentDefault);
  bool const ok = CoreVerify(image);
  if (ok) CGContextDrawImage(context, rect, image);
  CGImageRelease(image);
  CGDataProviderRelease(provider);
  CGColorSpaceRelease(cs);
  return ok;
}
