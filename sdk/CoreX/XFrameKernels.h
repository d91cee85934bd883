// The frame filters' inner loops over whole rows, written once over a GCC vector type so that
// each instruction set gets them at its own width: 16 bytes (SSE2, NEON) in XFrameOperations.cpp
// and 32 bytes (AVX2) in XFrameOperations_avx2.cpp. Every kernel gives exactly the bytes of the
// scalar rule it stands for. Internal to the frame filters.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace XFrameKernels {

using v4f = float __attribute__((vector_size(16)));
using v8f = float __attribute__((vector_size(32)));
using v8i = std::int32_t __attribute__((vector_size(32)));
using v4i = std::int32_t __attribute__((vector_size(16)));

// The operations one instruction set offers; the table of a level is filled by its file.
struct Table {
  // d = truncating average of a and b, n bytes.
  void (*average)(std::uint8_t const* a, std::uint8_t const* b, std::uint8_t* d, size_t n);
  // d = average(average(above, below), row): the vertical 1-2-1 blend.
  void (*blend121)(std::uint8_t const* above, std::uint8_t const* row, std::uint8_t const* below,
                   std::uint8_t* d, size_t n);
  // d = |a - b|.
  void (*difference)(std::uint8_t const* a, std::uint8_t const* b, std::uint8_t* d, size_t n);
  // d = a x wa + b x wb in single precision, limited to 0..255, truncated.
  void (*weighted)(std::uint8_t const* a, float wa, std::uint8_t const* b, float wb,
                   std::uint8_t* d, size_t n);
  // The bilinear resize of 32-bit pixels in two passes, each giving exactly the single-precision
  // values of the one-step rule: a source row interpolated across, (1 - fx) a + fx b per byte,
  // then two such rows down, (1 - fy) top + fy bottom, truncated.
  void (*bilinearAcross)(std::uint8_t const* row, std::int32_t const* x0, std::int32_t const* x1,
                         float const* fx, float* out, size_t pixels);
  void (*bilinearDown)(float const* top, float const* bottom, float fy, std::uint8_t* d, size_t n);
  // Adaptive line: where |row - average(above, below)| exceeds the threshold the average is
  // taken; returns the sum of those differences.
  std::uint64_t (*adaptive)(std::uint8_t const* above, std::uint8_t const* row,
                            std::uint8_t const* below, std::uint8_t* d, size_t n, int threshold);
};

// Each instruction set's file compiles its own private copy of what follows, so that no
// function built for AVX2 can be shared with (and run by) the baseline path.
namespace {

template <class V>
inline V Load(std::uint8_t const* p) {
  V v;
  std::memcpy(&v, p, sizeof v);
  return v;
}
template <class V>
inline void Store(std::uint8_t* p, V v) {
  std::memcpy(p, &v, sizeof v);
}
template <class V>
inline V Avg(V a, V b) {
  return (a & b) + ((a ^ b) >> 1);
}

inline std::uint8_t AvgByte(unsigned a, unsigned b) { return std::uint8_t((a + b) >> 1); }

template <class V>
void Average(std::uint8_t const* a, std::uint8_t const* b, std::uint8_t* d, size_t n) {
  size_t i = 0;
  for (; i + sizeof(V) <= n; i += sizeof(V)) Store(d + i, Avg(Load<V>(a + i), Load<V>(b + i)));
  for (; i < n; ++i) d[i] = AvgByte(a[i], b[i]);
}

template <class V>
void Blend121(std::uint8_t const* above, std::uint8_t const* row, std::uint8_t const* below,
              std::uint8_t* d, size_t n) {
  size_t i = 0;
  for (; i + sizeof(V) <= n; i += sizeof(V))
    Store(d + i, Avg(Avg(Load<V>(above + i), Load<V>(below + i)), Load<V>(row + i)));
  for (; i < n; ++i) d[i] = AvgByte(AvgByte(above[i], below[i]), row[i]);
}

template <class V>
void Difference(std::uint8_t const* a, std::uint8_t const* b, std::uint8_t* d, size_t n) {
  size_t i = 0;
  for (; i + sizeof(V) <= n; i += sizeof(V)) {
    V const x = Load<V>(a + i), y = Load<V>(b + i);
    V const greater = V(x > y);
    Store(d + i, ((x - y) & greater) | ((y - x) & ~greater));
  }
  for (; i < n; ++i) d[i] = std::uint8_t(a[i] > b[i] ? a[i] - b[i] : b[i] - a[i]);
}

inline std::uint8_t WeightedByte(std::uint8_t a, float wa, std::uint8_t b, float wb) {
  float const v = float(a) * wa + float(b) * wb;
  return v <= 0.0f ? 0 : (v >= 255.0f ? 255 : std::uint8_t(int(v)));
}

template <class V>
void Weighted(std::uint8_t const* a, float wa, std::uint8_t const* b, float wb, std::uint8_t* d,
              size_t n) {
  size_t i = 0;
  v4f const va = {wa, wa, wa, wa}, vb = {wb, wb, wb, wb};
  v4f const zero = {0, 0, 0, 0}, top = {255, 255, 255, 255};
  for (; i + 4 <= n; i += 4) {
    v4f const fa = {float(a[i]), float(a[i + 1]), float(a[i + 2]), float(a[i + 3])};
    v4f const fb = {float(b[i]), float(b[i + 1]), float(b[i + 2]), float(b[i + 3])};
    v4f v = fa * va + fb * vb;
    v = v <= zero ? zero : v;
    v = v >= top ? top : v;
    v4i const iv = __builtin_convertvector(v, v4i);
    for (int k = 0; k < 4; ++k) d[i + size_t(k)] = std::uint8_t(iv[k]);
  }
  for (; i < n; ++i) d[i] = WeightedByte(a[i], wa, b[i], wb);
}

using v4u8 = std::uint8_t __attribute__((vector_size(4)));
using v8u8 = std::uint8_t __attribute__((vector_size(8)));

// The four bytes of a pixel as floats.
inline v4f PixelFloats(std::uint8_t const* p) {
  v4u8 bytes;
  std::memcpy(&bytes, p, 4);
  return __builtin_convertvector(bytes, v4f);
}

// Two pixels' bytes as floats, when the float vector holds eight.
template <class F>
inline F TwoPixelFloats(std::uint8_t const* p, std::uint8_t const* q) {
  v8u8 bytes;
  std::memcpy(&bytes, p, 4);
  std::memcpy(reinterpret_cast<std::uint8_t*>(&bytes) + 4, q, 4);
  return __builtin_convertvector(bytes, F);
}

template <class F>
void BilinearAcross(std::uint8_t const* row, std::int32_t const* x0, std::int32_t const* x1,
                    float const* fx, float* out, size_t pixels) {
  size_t i = 0;
  if constexpr (sizeof(F) == 32) {
    for (; i + 2 <= pixels; i += 2) {
      F const a = TwoPixelFloats<F>(row + x0[i], row + x0[i + 1]);
      F const b = TwoPixelFloats<F>(row + x1[i], row + x1[i + 1]);
      F const w = {fx[i], fx[i], fx[i], fx[i], fx[i + 1], fx[i + 1], fx[i + 1], fx[i + 1]};
      F const v = (1.0f - w) * a + w * b;
      std::memcpy(out + 4 * i, &v, sizeof v);
    }
  }
  for (; i < pixels; ++i) {
    v4f const w = {fx[i], fx[i], fx[i], fx[i]};
    v4f const v = (1.0f - w) * PixelFloats(row + x0[i]) + w * PixelFloats(row + x1[i]);
    std::memcpy(out + 4 * i, &v, sizeof v);
  }
}

template <class F, class I, class Bytes>
void BilinearDown(float const* top, float const* bottom, float fy, std::uint8_t* d, size_t n) {
  size_t i = 0;
  for (; i + sizeof(F) / 4 <= n; i += sizeof(F) / 4) {
    F t, b;
    std::memcpy(&t, top + i, sizeof t);
    std::memcpy(&b, bottom + i, sizeof b);
    // Truncated to int, then its low byte: as the scalar rule's uint8_t(int(v)).
    Bytes const v = __builtin_convertvector(__builtin_convertvector((1.0f - fy) * t + fy * b, I), Bytes);
    std::memcpy(d + i, &v, sizeof v);
  }
  for (; i < n; ++i) d[i] = std::uint8_t(int((1.0f - fy) * top[i] + fy * bottom[i]));
}

template <class V>
std::uint64_t Adaptive(std::uint8_t const* above, std::uint8_t const* row,
                       std::uint8_t const* below, std::uint8_t* d, size_t n, int threshold) {
  std::uint64_t sum = 0;
  size_t i = 0;
  V const limit = V{} + std::uint8_t(threshold);
  for (; i + sizeof(V) <= n; i += sizeof(V)) {
    V const r = Load<V>(row + i);
    V const a = Avg(Load<V>(above + i), Load<V>(below + i));
    V const greater = V(r > a);
    V const diff = ((r - a) & greater) | ((a - r) & ~greater);
    V const moving = V(diff > limit);
    Store(d + i, (a & moving) | (r & ~moving));
    for (size_t k = 0; k < sizeof(V); ++k) sum += diff[k];
  }
  for (; i < n; ++i) {
    std::uint8_t const a = AvgByte(above[i], below[i]);
    int const diff = row[i] > a ? row[i] - a : a - row[i];
    d[i] = diff > threshold ? a : row[i];
    sum += std::uint64_t(diff);
  }
  return sum;
}

// V: the byte vector; F and I: the float and integer vectors of the same width; B: bytes, as
// many as F has lanes.
template <class V, class F, class I, class B>
Table MakeTable() {
  return Table{&Average<V>,        &Blend121<V>,     &Difference<V>, &Weighted<V>,
               &BilinearAcross<F>, &BilinearDown<F, I, B>, &Adaptive<V>};
}

}  // namespace

// The 32-byte table (null where the file is not built: not x86).
Table const* AVX2Table();

}  // namespace XFrameKernels
