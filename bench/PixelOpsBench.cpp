// Pixel operations on 720 x 480 frames against the physical limit (memcpy of the same bytes)
// and against libswscale's bilinear scaler on the same sizes.
#include "QGWorld.h"
#include "QPixMap.h"
#include "XFrameBufferMemory.h"
#include "XFrameOperations.h"
#include "XPixMapFrameBuffer.h"

#include <benchmark/benchmark.h>

extern "C" {
#include <libavutil/pixfmt.h>
#include <libswscale/swscale.h>
}

#include <cstring>
#include <random>
#include <vector>

namespace {

constexpr int kWidth = 720, kHeight = 480, kScaledWidth = 640;

// A frame in padded, aligned memory, as the vector variants want it.
struct AlignedFrame {
  AlignedFrame(int width, int height) {
    mMemory.SetFrameDimensions(width, height);
    mBuffer.Width = width;
    mBuffer.Height = height;
    mBuffer.PixelType = kXFrame_Pel_Format_8RGB;
    mBuffer.Pixels = mMemory.FrameStart();
    mBuffer.RowBytes = SInt32(mMemory.FrameStride());
    mBuffer.PelBytes = 4;
    std::mt19937 random(1);
    for (int y = 0; y < height; ++y)
      for (int i = 0; i < width * 4; ++i) mBuffer.RowStart(y)[i] = std::uint8_t(random());
  }
  XFrameBufferMemory mMemory;
  XFrameBuffer mBuffer;
};

void Memcpy(benchmark::State& state, size_t bytes) {
  std::vector<unsigned char> a(bytes, 1), b(bytes);
  for (auto _ : state) {
    std::memcpy(b.data(), a.data(), bytes);
    benchmark::DoNotOptimize(b.data());
    benchmark::ClobberMemory();
  }
  state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(bytes));
}

void BM_Memcpy_Frame(benchmark::State& state) { Memcpy(state, size_t(kWidth) * kHeight * 4); }
BENCHMARK(BM_Memcpy_Frame);

template <class Filter>
void RunFilter(benchmark::State& state, Filter filter) {
  XFrame_SetVectorLevel(int(state.range(0)));
  state.SetLabel("vector level " + std::to_string(XFrame_VectorLevel()));
  AlignedFrame src(kWidth, kHeight), dst(kWidth, kHeight);
  for (auto _ : state) {
    benchmark::DoNotOptimize(filter(src.mBuffer, dst.mBuffer));
    benchmark::ClobberMemory();
  }
  state.SetBytesProcessed(int64_t(state.iterations()) * kWidth * kHeight * 4);
  XFrame_SetVectorLevel(99);
}

void BM_XFrame_BlendFields_TypeA(benchmark::State& state) {
  RunFilter(state, [](auto const& s, auto const& d) {
    return XFrame_BlendFields(s, d, {kXFrameFilter_BlendFieldsTypeA});
  });
}
void BM_XFrame_BlendFields_TypeB(benchmark::State& state) {
  RunFilter(state, [](auto const& s, auto const& d) {
    return XFrame_BlendFields(s, d, {kXFrameFilter_BlendFieldsTypeB});
  });
}
void BM_XFrame_OneFieldOnly(benchmark::State& state) {
  RunFilter(state, [](auto const& s, auto const& d) { return XFrame_OneFieldOnly(s, d, 0); });
}
BENCHMARK(BM_XFrame_BlendFields_TypeA)->Arg(0)->Arg(1)->Arg(2);
BENCHMARK(BM_XFrame_BlendFields_TypeB)->Arg(0)->Arg(1)->Arg(2);
BENCHMARK(BM_XFrame_OneFieldOnly)->Arg(0)->Arg(1)->Arg(2);

void BM_XFrame_ResizeBilinear(benchmark::State& state) {
  XFrame_SetVectorLevel(int(state.range(0)));
  state.SetLabel("vector level " + std::to_string(XFrame_VectorLevel()));
  AlignedFrame src(kWidth, kHeight), dst(kScaledWidth, kHeight);
  for (auto _ : state) benchmark::DoNotOptimize(XFrame_ResizeBilinear(src.mBuffer, dst.mBuffer));
  XFrame_SetVectorLevel(99);
}
BENCHMARK(BM_XFrame_ResizeBilinear)->Arg(0)->Arg(1)->Arg(2);

void BM_Swscale_Bilinear(benchmark::State& state) {
  AlignedFrame src(kWidth, kHeight), dst(kScaledWidth, kHeight);
  SwsContext* sws = sws_getContext(kWidth, kHeight, AV_PIX_FMT_ARGB, kScaledWidth, kHeight,
                                   AV_PIX_FMT_ARGB, SWS_BILINEAR, nullptr, nullptr, nullptr);
  uint8_t const* const in[1] = {src.mBuffer.Pixels};
  int const inStride[1] = {src.mBuffer.RowBytes};
  uint8_t* const out[1] = {dst.mBuffer.Pixels};
  int const outStride[1] = {dst.mBuffer.RowBytes};
  for (auto _ : state) benchmark::DoNotOptimize(sws_scale(sws, in, inStride, 0, kHeight, out, outStride));
  sws_freeContext(sws);
}
BENCHMARK(BM_Swscale_Bilinear);

void BM_QPixMap_Resize_ARGB32_Bilinear(benchmark::State& state) {
  QGWorld src(Point{kHeight, kWidth}, k32ARGBPixelFormat), dst(Point{kHeight, kScaledWidth}, k32ARGBPixelFormat);
  std::mt19937 random(2);
  auto* base = reinterpret_cast<unsigned char*>(GetPixBaseAddr(src.GetPixMap()));
  for (long i = 0; i < QPixMap_PixelDataSizeBytes(src.GetPixMap()); ++i) base[i] = UInt8(random());
  for (auto _ : state)
    benchmark::DoNotOptimize(QPixMap_Resize_ARGB32_Bilinear(dst.GetPixMap(), src.GetPixMap()));
}
BENCHMARK(BM_QPixMap_Resize_ARGB32_Bilinear);

void BM_QPixMap_Copy32Bilinear(benchmark::State& state) {
  QGWorld src(Point{kHeight, kWidth}, k32ARGBPixelFormat), dst(Point{kHeight, kScaledWidth}, k32ARGBPixelFormat);
  for (auto _ : state) benchmark::DoNotOptimize(QPixMap_Copy32Bilinear(dst.GetPixMap(), src.GetPixMap()));
}
BENCHMARK(BM_QPixMap_Copy32Bilinear);

void BM_QPixMap_Copy_2vuy_to_r408(benchmark::State& state) {
  QGWorld src(Point{kHeight, kWidth}, FOUR_CHAR_CODE("2vuy")), dst(Point{kHeight, kWidth}, FOUR_CHAR_CODE("r408"));
  for (auto _ : state) {
    benchmark::DoNotOptimize(QPixMap_Copy_2vuy_to_r408(dst.GetPixMap(), src.GetPixMap()));
    benchmark::ClobberMemory();
  }
  state.SetBytesProcessed(int64_t(state.iterations()) * kWidth * kHeight * 4);
}
BENCHMARK(BM_QPixMap_Copy_2vuy_to_r408);

void BM_QPixMap_FillColor32(benchmark::State& state) {
  QGWorld w(Point{kHeight, kWidth}, k32ARGBPixelFormat);
  for (auto _ : state) {
    QPixMap_FillColor32(w.GetPixMap(), 0xFF102030);
    benchmark::ClobberMemory();
  }
  state.SetBytesProcessed(int64_t(state.iterations()) * kWidth * kHeight * 4);
}
BENCHMARK(BM_QPixMap_FillColor32);

}  // namespace

BENCHMARK_MAIN();
