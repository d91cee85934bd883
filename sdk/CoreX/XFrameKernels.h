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
  // One destination row of the bilinear resize of 32-bit pixels (see XFrame_ResizeBilinear).
  void (*bilinearRow)(std::uint8_t const* r0, std::uint8_t const* r1, std::int32_t const* x0,
                      std::int32_t const* x1, float const* fx, float fy, std::uint8_t* d,
                      size_t pixels);
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

template <class V>
void BilinearRow(std::uint8_t const* r0, std::uint8_t const* r1, std::int32_t const* x0,
                 std::int32_t const* x1, float const* fx, float fy, std::uint8_t* d,
                 size_t pixels) {
  v4f const one = {1, 1, 1, 1};
  v4f const wy = {fy, fy, fy, fy};
  auto load = [](std::uint8_t const* p) {
    return v4f{float(p[0]), float(p[1]), float(p[2]), float(p[3])};
  };
  for (size_t i = 0; i < pixels; ++i) {
    v4f const wx = {fx[i], fx[i], fx[i], fx[i]};
    v4f const top = (one - wx) * load(r0 + x0[i]) + wx * load(r0 + x1[i]);
    v4f const bottom = (one - wx) * load(r1 + x0[i]) + wx * load(r1 + x1[i]);
    v4i const v = __builtin_convertvector((one - wy) * top + wy * bottom, v4i);
    d[4 * i] = std::uint8_t(v[0]);
    d[4 * i + 1] = std::uint8_t(v[1]);
    d[4 * i + 2] = std::uint8_t(v[2]);
    d[4 * i + 3] = std::uint8_t(v[3]);
  }
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

template <class V>
Table MakeTable() {
  return Table{&Average<V>, &Blend121<V>, &Difference<V>, &Weighted<V>, &BilinearRow<V>,
               &Adaptive<V>};
}

}  // namespace

// The 32-byte table (null where the file is not built: not x86).
Table const* AVX2Table();

}  // namespace XFrameKernels
