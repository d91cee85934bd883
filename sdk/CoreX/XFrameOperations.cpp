#include "XFrameOperations.h"

#include "CoreMachDebugLog.h"
#include "XFrameKernels.h"

#include <algorithm>
#include <cstring>
#include <vector>

#if defined(__x86_64__) || defined(__i386__) || defined(__ARM_NEON) || defined(__aarch64__)
#define TAVELO_VECTOR_UNIT 1
#endif

namespace {

using XFrameKernels::Table;

#if TAVELO_VECTOR_UNIT && !defined(TAVELO_NO_VECTOR_CODE)
using v16u8 = std::uint8_t __attribute__((vector_size(16)));
Table const kTable16 = XFrameKernels::MakeTable<v16u8, XFrameKernels::v4f, XFrameKernels::v4i, XFrameKernels::v4u8>();

int BestLevel() {
#if (defined(__x86_64__) || defined(__i386__)) && defined(TAVELO_HAVE_AVX2_KERNELS)
  if (__builtin_cpu_supports("avx2")) return 2;
#endif
  return 1;
}
#else
int BestLevel() { return 0; }
#endif

int sLevel = BestLevel();

Table const* Kernels() {
#if TAVELO_VECTOR_UNIT && !defined(TAVELO_NO_VECTOR_CODE)
#if defined(TAVELO_HAVE_AVX2_KERNELS)
  if (sLevel == 2) return XFrameKernels::AVX2Table();
#endif
  if (sLevel >= 1) return &kTable16;
#endif
  return nullptr;
}

// The vector unit's conditions; each failing one is said once.
bool Aligned(XFrameBuffer const& src, XFrameBuffer const& dst, bool twoSourceRows) {
  auto misaligned = [](void const* p) { return (reinterpret_cast<std::uintptr_t>(p) & 15) != 0; };
  bool ok = true;
  if (misaligned(src.Pixels)) {
    CoreMachDebugLog("srcrow0 is not aligned on a 16-byte boundary\n");
    ok = false;
  }
  if (twoSourceRows && misaligned(src.Pixels + src.RowBytes)) {
    CoreMachDebugLog("srcrow1 is not aligned on a 16-byte boundary\n");
    ok = false;
  }
  if (misaligned(dst.Pixels)) {
    CoreMachDebugLog("destrow0 is not aligned on a 16-byte boundary\n");
    ok = false;
  }
  if ((src.RowBytes & 15) != 0 || (dst.RowBytes & 15) != 0) {
    CoreMachDebugLog("rowbytes is not aligned on a 16-byte boundary\n");
    ok = false;
  }
  return ok;
}

// The kernels of the vector unit in use, or null to decline (after the alignment check).
Table const* VectorFor(XFrameBuffer const& src, XFrameBuffer const& dst, bool twoSourceRows) {
  Table const* k = Kernels();
  if (!k) return nullptr;
  return Aligned(src, dst, twoSourceRows) ? k : nullptr;
}

bool HasPixels(XFrameBuffer const& b) { return b.Pixels && b.Width > 0 && b.Height > 0; }

size_t RowBytesOf(XFrameBuffer const& b) { return size_t(b.Width) * size_t(b.PelBytes); }

// Row y of a field's rows (field + 2k), never past the field's last row.
int FieldRow(XFrameBuffer const& src, int field, int k) {
  int const last = field + 2 * ((src.Height - 1 - field) / 2);
  return std::min(field + 2 * k, last);
}

// Blend rules and one-field rule, row by row, with a row operation of either unit.
template <class Blend>
void BlendTypeA(XFrameBuffer const& src, XFrameBuffer const& dst, Blend blend) {
  size_t const n = RowBytesOf(src);
  for (int y = 0; y < src.Height; ++y) {
    int const above = y == 0 ? 0 : y - 1;
    int const below = y == src.Height - 1 ? y : y + 1;
    blend(src.RowStart(above), src.RowStart(y), src.RowStart(below), dst.RowStart(y), n);
  }
}

template <class Average>
void BlendTypeB(XFrameBuffer const& src, XFrameBuffer const& dst, Average average) {
  size_t const n = RowBytesOf(src);
  for (int y = 0; y + 1 < src.Height; y += 2) {
    average(src.RowStart(y), src.RowStart(y + 1), dst.RowStart(y), n);
    std::memcpy(dst.RowStart(y + 1), dst.RowStart(y), n);
  }
}

template <class Average>
void OneField(XFrameBuffer const& src, XFrameBuffer const& dst, int field, Average average) {
  size_t const n = RowBytesOf(src);
  for (int y = 0; y < dst.Height; ++y) {
    int const k = y / 2;
    std::uint8_t const* f = src.RowStart(FieldRow(src, field, k));
    if (y % 2 == 0) {
      std::memmove(dst.RowStart(y), f, n);
    } else {
      average(f, src.RowStart(FieldRow(src, field, k + 1)), dst.RowStart(y), n);
    }
  }
}

void ScalarAverage(std::uint8_t const* a, std::uint8_t const* b, std::uint8_t* d, size_t n) {
  for (size_t i = 0; i < n; ++i) d[i] = std::uint8_t((a[i] + b[i]) >> 1);
}

void ScalarBlend121(std::uint8_t const* above, std::uint8_t const* row, std::uint8_t const* below,
                    std::uint8_t* d, size_t n) {
  for (size_t i = 0; i < n; ++i) d[i] = std::uint8_t((((above[i] + below[i]) >> 1) + row[i]) >> 1);
}

// The bilinear rule of the 32-bit pixmap resize: single precision, no half-pixel offset.
struct BilinearColumns {
  std::vector<std::int32_t> x0, x1;
  std::vector<float> fx;
};

BilinearColumns ColumnsFor(XFrameBuffer const& src, XFrameBuffer const& dst) {
  BilinearColumns c;
  c.x0.resize(size_t(dst.Width));
  c.x1.resize(size_t(dst.Width));
  c.fx.resize(size_t(dst.Width));
  float const step = float(src.Width) / float(dst.Width);
  float sx = 0.0f;
  for (int i = 0; i < dst.Width; ++i, sx += step) {
    int const n0 = std::clamp(int(sx), 0, src.Width - 1);
    c.x0[size_t(i)] = n0 * src.PelBytes;
    c.x1[size_t(i)] = (n0 < src.Width - 1 ? n0 + 1 : n0) * src.PelBytes;
    c.fx[size_t(i)] = sx - float(n0);
  }
  return c;
}

void ScalarAcross(std::uint8_t const* row, std::int32_t const* x0, std::int32_t const* x1,
                  float const* fx, float* out, size_t pixels) {
  for (size_t i = 0; i < pixels; ++i)
    for (std::int32_t k = 0; k < 4; ++k)
      out[4 * i + size_t(k)] = (1.0f - fx[i]) * float(row[x0[i] + k]) + fx[i] * float(row[x1[i] + k]);
}

void ScalarDown(float const* top, float const* bottom, float fy, std::uint8_t* d, size_t n) {
  for (size_t i = 0; i < n; ++i) d[i] = std::uint8_t(int((1.0f - fy) * top[i] + fy * bottom[i]));
}

// Each source row is interpolated across once, however many destination rows use it.
template <class Across, class Down>
bool Bilinear(XFrameBuffer const& src, XFrameBuffer const& dst, Across across, Down down) {
  if (!HasPixels(src) || !HasPixels(dst) || src.PelBytes != 4 || dst.PelBytes != 4) return false;
  BilinearColumns const c = ColumnsFor(src, dst);
  size_t const n = size_t(dst.Width) * 4;
  std::vector<float> rowA(n), rowB(n);
  float* upper = rowA.data();
  float* lower = rowB.data();
  int upperRow = -1, lowerRow = -1;
  auto rowAcross = [&](int y, float* out) {
    across(src.RowStart(y), c.x0.data(), c.x1.data(), c.fx.data(), out, size_t(dst.Width));
  };
  float const step = float(src.Height) / float(dst.Height);
  float sy = 0.0f;
  for (int y = 0; y < dst.Height; ++y, sy += step) {
    int const y0 = std::clamp(int(sy), 0, src.Height - 1);
    int const y1 = std::clamp(int(sy) + 1, 0, src.Height - 1);
    if (y0 == lowerRow) {
      std::swap(upper, lower);
      std::swap(upperRow, lowerRow);
    }
    if (y0 != upperRow) rowAcross(upperRow = y0, upper);
    if (y1 != lowerRow) rowAcross(lowerRow = y1, lower);
    down(upper, lower, sy - float(y0), dst.RowStart(y), n);
  }
  return true;
}

bool SameShape(XFrameBuffer const& a, XFrameBuffer const& b) {
  return a.PixelType == b.PixelType && a.Width == b.Width && a.Height == b.Height &&
         a.RowBytes == b.RowBytes;
}

bool IsYUV(XFrameBuffer const& b) {
  return b.PixelType == kXFrame_Pel_Format_RYUV || b.PixelType == kXFrame_Pel_Format_VYUV;
}

void BlackenSpan(XFrameBuffer const& b, std::uint8_t* p, int pixels) {
  if (IsYUV(b)) XFrameBlacken_r408_ScanLine(p, pixels);
  else XFrameBlacken_ARGB_ScanLine(p, pixels);
}

constexpr int kAdaptiveThreshold = 24;

}  // namespace

bool operator==(XFrameBuffer const& a, XFrameBuffer const& b) { return SameShape(a, b); }

int XFrame_VectorLevel() { return sLevel; }

int XFrame_SetVectorLevel(int level) {
  sLevel = std::clamp(level, 0, BestLevel());
  return sLevel;
}

bool XFrame_Deinterlace(XFrameBuffer const& src, XFrameBuffer const& dst, XFrameFilters const& filters) {
  if (src.Height % 2 != 0 || !SameShape(src, dst)) return false;
  if (filters.flags & kXFrameFilter_Unhandled) return false;
  if (filters.flags & (kXFrameFilter_BlendFieldsTypeA | kXFrameFilter_BlendFieldsTypeB))
    return XFrame_BlendFields(src, dst, filters);
  if (filters.flags & kXFrameFilter_TopFieldOnly) return XFrame_OneFieldOnly(src, dst, 0);
  if (filters.flags & kXFrameFilter_BottomFieldOnly) return XFrame_OneFieldOnly(src, dst, 1);
  return false;
}

bool XFrame_BlendFields(XFrameBuffer const& src, XFrameBuffer const& dst, XFrameFilters const& filters) {
  if (!SameShape(src, dst) || src.Height % 2 != 0 || !HasPixels(src)) return false;
  if (filters.flags & kXFrameFilter_BlendFieldsTypeA) {
    if (!XFrame_BlendFields_TypeA_Altivec(src, dst)) BlendTypeA(src, dst, ScalarBlend121);
  } else if (!XFrame_BlendFields_TypeB_Altivec(src, dst)) {
    BlendTypeB(src, dst, ScalarAverage);
  }
  return true;
}

bool XFrame_OneFieldOnly(XFrameBuffer const& src, XFrameBuffer const& dst, int field) {
  if (!HasPixels(src) || !HasPixels(dst) || (field != 0 && field != 1) || src.Height <= field)
    return false;
  if (!XFrame_OneFieldOnly_Altivec(src, dst, field)) OneField(src, dst, field, ScalarAverage);
  return true;
}

bool XFrame_DeInterlaceAdaptive(XFrameBuffer const&, XFrameBuffer const&, XFrameFilters const&) {
  return false;  // the adaptive vector routine is not offered from here
}

bool XFrame_ResizeNearestPixel(XFrameBuffer const& src, XFrameBuffer const& dst) {
  if (!HasPixels(src) || !HasPixels(dst)) return false;
  double const stepX = double(src.Width) / double(dst.Width);
  double const stepY = double(src.Height) / double(dst.Height);
  double sy = 0;
  for (int y = 0; y < dst.Height; ++y, sy += stepY) {
    std::uint8_t const* s = src.RowStart(std::min(int(sy), src.Height - 1));
    std::uint8_t* d = dst.RowStart(y);
    double sx = 0;
    for (int x = 0; x < dst.Width; ++x, sx += stepX)
      std::memcpy(d + x * 4, s + std::min(int(sx), src.Width - 1) * 4, 4);
  }
  return true;
}

bool XFrame_ResizeBilinear(XFrameBuffer const& src, XFrameBuffer const& dst) {
  if (XFrame_ResizeBilinear_Altivec(src, dst)) return true;
  return Bilinear(src, dst, ScalarAcross, ScalarDown);
}

bool XFrame_ResizeBilinearAnyRows(XFrameBuffer const& src, XFrameBuffer const& dst) {
  if (Table const* k = Kernels()) return Bilinear(src, dst, k->bilinearAcross, k->bilinearDown);
  return Bilinear(src, dst, ScalarAcross, ScalarDown);
}

bool XFrame_ResizeBilinear(XFrameBuffer const& src, XFrameBuffer const& dst, bool wholeFrame) {
  return wholeFrame ? XFrame_ResizeBilinear(src, dst) : XFrame_ResizeBilinearWithFields(src, dst);
}

bool XFrame_ResizeBilinearWithFields(XFrameBuffer const& src, XFrameBuffer const& dst) {
  XFrameBuffer srcTop, srcBottom, dstTop, dstBottom;
  src.GetFields(srcTop, srcBottom);
  dst.GetFields(dstTop, dstBottom);
  bool const top = XFrame_ResizeBilinear(srcTop, dstTop);
  bool const bottom = XFrame_ResizeBilinear(srcBottom, dstBottom);
  return top && bottom;
}

bool XFrame_CopyBufferMemory(XFrameBuffer const& Source, XFrameBuffer const& Destination) {
  if (!CoreVerify(Source==Destination)) return false;
  size_t const n = RowBytesOf(Source);
  for (int y = 0; y < Source.Height; ++y)
    std::memmove(Destination.RowStart(y), Source.RowStart(y), n);
  return true;
}

void XFrameBlacken_r408_ScanLine(std::uint8_t* pixels, int count) {
  for (int i = 0; i < count; ++i, pixels += 4) {
    pixels[0] = 255;
    pixels[1] = 0;
    pixels[2] = 128;
    pixels[3] = 128;
  }
}

void XFrameBlacken_ARGB_ScanLine(std::uint8_t* pixels, int count) {
  std::memset(pixels, 0, size_t(count) * 4);
}

bool XFrame_BlackenField(XFrameBuffer const& buffer, int field) {
  if (!HasPixels(buffer)) return false;
  for (int y = field; y < buffer.Height; y += 2) std::memset(buffer.RowStart(y), 0, RowBytesOf(buffer));
  return true;
}

bool XFrame_Blacken(XFrameBuffer const& buffer) {
  if (!HasPixels(buffer)) return false;
  // Rows are taken as packed, one after another, whatever RowBytes says.
  std::uint8_t* p = buffer.Pixels;
  for (int y = 0; y < buffer.Height; ++y, p += RowBytesOf(buffer)) BlackenSpan(buffer, p, buffer.Width);
  return true;
}

bool XFrame_BlackenEdges(XFrameBuffer const& buffer, XFrameEdges const& edges) {
  if (!HasPixels(buffer)) return false;
  int const top = std::clamp<int>(edges.top, 0, buffer.Height);
  int const bottom = std::clamp<int>(edges.bottom, 0, buffer.Height - top);
  int const left = std::clamp<int>(edges.left, 0, buffer.Width);
  int const right = std::clamp<int>(edges.right, 0, buffer.Width - left);
  for (int y = 0; y < top; ++y) BlackenSpan(buffer, buffer.RowStart(y), buffer.Width);
  for (int y = buffer.Height - bottom; y < buffer.Height; ++y)
    BlackenSpan(buffer, buffer.RowStart(y), buffer.Width);
  for (int y = top; y < buffer.Height - bottom; ++y) {
    if (left > 0) BlackenSpan(buffer, buffer.RowStart(y), left);
    if (right > 0) BlackenSpan(buffer, buffer.RowStart(y) + (buffer.Width - right) * buffer.PelBytes, right);
  }
  return true;
}

// --- vector variants ---

bool XFrame_BlendFields_TypeA_Altivec(XFrameBuffer const& src, XFrameBuffer const& dst) {
  Table const* k = VectorFor(src, dst, true);
  if (!k) return false;
  BlendTypeA(src, dst, k->blend121);
  return true;
}

bool XFrame_BlendFields_TypeB_Altivec(XFrameBuffer const& src, XFrameBuffer const& dst) {
  Table const* k = VectorFor(src, dst, true);
  if (!k) return false;
  BlendTypeB(src, dst, k->average);
  return true;
}

bool XFrame_OneFieldOnly_Altivec(XFrameBuffer const& src, XFrameBuffer const& dst, int field) {
  Table const* k = VectorFor(src, dst, false);
  if (!k) return false;
  OneField(src, dst, field, k->average);
  return true;
}

bool XFrame_ResizeBilinear_Altivec(XFrameBuffer const& src, XFrameBuffer const& dst) {
  Table const* k = VectorFor(src, dst, false);
  if (!k) return false;
  return Bilinear(src, dst, k->bilinearAcross, k->bilinearDown);
}

namespace {

template <class AdaptiveRow>
double Adaptive(XFrameBuffer const& src, XFrameBuffer const& dst, AdaptiveRow row) {
  size_t const n = RowBytesOf(src);
  std::uint64_t sum = 0;
  for (int y = 0; y < src.Height; ++y) {
    if (y % 2 == 0 || y + 1 >= src.Height) {
      std::memmove(dst.RowStart(y), src.RowStart(y), n);
    } else {
      sum += row(src.RowStart(y - 1), src.RowStart(y), src.RowStart(y + 1), dst.RowStart(y), n,
                 kAdaptiveThreshold);
    }
  }
  long const bottomRows = src.Height / 2 - (src.Height % 2 == 0 ? 1 : 0);
  return bottomRows > 0 ? double(sum) / (double(bottomRows) * double(n)) : 0.0;
}

std::uint64_t ScalarAdaptiveRow(std::uint8_t const* above, std::uint8_t const* row,
                                std::uint8_t const* below, std::uint8_t* d, size_t n, int threshold) {
  std::uint64_t sum = 0;
  for (size_t i = 0; i < n; ++i) {
    int const a = (above[i] + below[i]) >> 1;
    int const diff = row[i] > a ? row[i] - a : a - row[i];
    d[i] = std::uint8_t(diff > threshold ? a : row[i]);
    sum += std::uint64_t(diff);
  }
  return sum;
}

bool FitsVCD(XFrameBuffer const& src, XFrameBuffer const& dst) {
  return HasPixels(src) && HasPixels(dst) && src.PelBytes == 4 && dst.PelBytes == 4 &&
         8 + 2 * dst.Width <= src.Width && 2 * dst.Height <= src.Height;
}

template <class Average>
void ToVCD(XFrameBuffer const& src, XFrameBuffer const& dst, bool inBlend, Average average) {
  std::vector<std::uint8_t> even(size_t(dst.Width) * 4), odd(size_t(dst.Width) * 4),
      rows(size_t(dst.Width) * 8);
  for (int y = 0; y < dst.Height; ++y) {
    std::uint8_t const* s0 = src.RowStart(2 * y) + 8 * 4;
    std::uint8_t* d = dst.RowStart(y);
    if (!inBlend) {
      for (int x = 0; x < dst.Width; ++x) std::memcpy(d + 4 * x, s0 + 8 * x, 4);
      continue;
    }
    // Vertical average of the two rows, then of each pixel pair.
    average(s0, src.RowStart(2 * y + 1) + 8 * 4, rows.data(), rows.size());
    for (int x = 0; x < dst.Width; ++x) {
      std::memcpy(even.data() + 4 * x, rows.data() + 8 * x, 4);
      std::memcpy(odd.data() + 4 * x, rows.data() + 8 * x + 4, 4);
    }
    average(even.data(), odd.data(), d, even.size());
  }
}

bool SameSize(XFrameBuffer const& a, XFrameBuffer const& b) {
  return HasPixels(a) && HasPixels(b) && a.Width == b.Width && a.Height == b.Height &&
         a.PelBytes == b.PelBytes;
}

template <class Diff>
void DifferenceRows(XFrameBuffer const& a, XFrameBuffer const& b, XFrameBuffer const& dst, Diff diff) {
  for (int y = 0; y < a.Height; ++y) diff(a.RowStart(y), b.RowStart(y), dst.RowStart(y), RowBytesOf(a));
}

void SwapRows(XFrameBuffer const& buffer) {
  size_t const n = RowBytesOf(buffer);
  std::vector<std::uint8_t> line(n);
  for (int y = 0; y + 1 < buffer.Height; y += 2) {
    std::memcpy(line.data(), buffer.RowStart(y), n);
    std::memcpy(buffer.RowStart(y), buffer.RowStart(y + 1), n);
    std::memcpy(buffer.RowStart(y + 1), line.data(), n);
  }
}

template <class Weighted>
void BlendRows(XFrameBuffer const& a, float wa, XFrameBuffer const& b, float wb,
               XFrameBuffer const& dst, Weighted weighted) {
  for (int y = 0; y < a.Height; ++y)
    weighted(a.RowStart(y), wa, b.RowStart(y), wb, dst.RowStart(y), RowBytesOf(a));
}

void ScalarDifference(std::uint8_t const* a, std::uint8_t const* b, std::uint8_t* d, size_t n) {
  for (size_t i = 0; i < n; ++i) d[i] = std::uint8_t(a[i] > b[i] ? a[i] - b[i] : b[i] - a[i]);
}

void ScalarWeighted(std::uint8_t const* a, float wa, std::uint8_t const* b, float wb,
                    std::uint8_t* d, size_t n) {
  for (size_t i = 0; i < n; ++i) {
    float const v = float(a[i]) * wa + float(b[i]) * wb;
    d[i] = v <= 0.0f ? 0 : (v >= 255.0f ? 255 : std::uint8_t(int(v)));
  }
}

}  // namespace

bool XFrame_DeInterlaceAdaptive_Altivec(XFrameBuffer const& src, XFrameBuffer const& dst,
                                        double& outDifference) {
  if (!HasPixels(src) || !SameShape(src, dst)) return false;
  Table const* k = VectorFor(src, dst, true);
  if (!k) return false;
  outDifference = Adaptive(src, dst, k->adaptive);
  return true;
}

double XFrame_DeInterlaceAdaptive_Scalar(XFrameBuffer const& src, XFrameBuffer const& dst) {
  if (!HasPixels(src) || !SameShape(src, dst)) return 0.0;
  return Adaptive(src, dst, ScalarAdaptiveRow);
}

bool XFrame_FullD1_2_VCD_Altivec(XFrameBuffer const& src, XFrameBuffer const& dst, bool inBlend) {
  if (!FitsVCD(src, dst)) return false;
  Table const* k = VectorFor(src, dst, true);
  if (!k) return false;
  ToVCD(src, dst, inBlend, k->average);
  return true;
}

bool XFrame_FullD1_2_VCD_Scalar(XFrameBuffer const& src, XFrameBuffer const& dst, bool inBlend) {
  if (!FitsVCD(src, dst)) return false;
  ToVCD(src, dst, inBlend, ScalarAverage);
  return true;
}

bool XFrame_DifferenceDelta_Altivec(XFrameBuffer const& a, XFrameBuffer const& b, XFrameBuffer const& dst) {
  if (!SameSize(a, b) || !SameSize(a, dst)) return false;
  Table const* k = VectorFor(a, dst, false);
  if (!k || !Aligned(b, dst, false)) return false;
  DifferenceRows(a, b, dst, k->difference);
  return true;
}

bool XFrame_DifferenceDelta_Altivec(XFrameBuffer const& a, XFrameBuffer const& inOutB) {
  return XFrame_DifferenceDelta_Altivec(a, inOutB, inOutB);
}

bool XFrame_DifferenceDelta_Scalar(XFrameBuffer const& a, XFrameBuffer const& b, XFrameBuffer const& dst) {
  if (!SameSize(a, b) || !SameSize(a, dst)) return false;
  DifferenceRows(a, b, dst, ScalarDifference);
  return true;
}

bool XFrame_SwapFields_Altivec(XFrameBuffer const& buffer) {
  if (!HasPixels(buffer) || !VectorFor(buffer, buffer, true)) return false;
  SwapRows(buffer);  // whole rows change places: memcpy is the vector unit's own copy
  return true;
}

bool XFrame_SwapFields_Scalar(XFrameBuffer const& buffer) {
  if (!HasPixels(buffer)) return false;
  SwapRows(buffer);
  return true;
}

bool XFrame_BlendFrames_Altivec(XFrameBuffer const& a, float weightA, XFrameBuffer const& b,
                                float weightB, XFrameBuffer const& dst) {
  if (!SameSize(a, b) || !SameSize(a, dst)) return false;
  Table const* k = VectorFor(a, dst, false);
  if (!k || !Aligned(b, dst, false)) return false;
  BlendRows(a, weightA, b, weightB, dst, k->weighted);
  return true;
}

bool XFrame_BlendFrames_Scalar(XFrameBuffer const& a, float weightA, XFrameBuffer const& b,
                               float weightB, XFrameBuffer const& dst) {
  if (!SameSize(a, b) || !SameSize(a, dst)) return false;
  BlendRows(a, weightA, b, weightB, dst, ScalarWeighted);
  return true;
}
