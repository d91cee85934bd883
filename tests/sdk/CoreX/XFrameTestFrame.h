// Frames over test-owned memory with a chosen stride and alignment.
#pragma once

#include "XFrameBuffer.h"

#include <cstdint>
#include <cstring>
#include <random>
#include <vector>

namespace tavelo_test {

struct TestFrame {
  // offset: bytes past a 64-byte boundary where the first row starts.
  TestFrame(int width, int height, int rowBytes, int offset = 0,
            XFrame_Pel_Format type = kXFrame_Pel_Format_8RGB)
      : mMemory(size_t(rowBytes) * size_t(height) + 128 + size_t(offset), 0xEE) {
    auto const address = reinterpret_cast<std::uintptr_t>(mMemory.data());
    size_t const start = size_t((64 - address % 64) % 64) + size_t(offset);
    mBuffer.Width = width;
    mBuffer.Height = height;
    mBuffer.PixelType = type;
    mBuffer.Pixels = mMemory.data() + start;
    mBuffer.RowBytes = rowBytes;
    mBuffer.PelBytes = 4;
  }
  TestFrame(TestFrame const&) = delete;
  TestFrame& operator=(TestFrame const&) = delete;

  void FillRandom(std::mt19937& random) {
    for (int y = 0; y < mBuffer.Height; ++y)
      for (int i = 0; i < mBuffer.Width * 4; ++i) mBuffer.RowStart(y)[i] = std::uint8_t(random());
  }
  void FillRows(std::vector<std::uint8_t> const& rowValues) {
    for (int y = 0; y < mBuffer.Height; ++y)
      std::memset(mBuffer.RowStart(y), rowValues[size_t(y)], size_t(mBuffer.Width) * 4);
  }
  std::vector<std::uint8_t> Row(int y) const {
    return std::vector<std::uint8_t>(mBuffer.RowStart(y), mBuffer.RowStart(y) + mBuffer.Width * 4);
  }
  // The pixel bytes of every row (padding left out).
  std::vector<std::uint8_t> Pixels() const {
    std::vector<std::uint8_t> out;
    for (int y = 0; y < mBuffer.Height; ++y) {
      auto const r = Row(y);
      out.insert(out.end(), r.begin(), r.end());
    }
    return out;
  }

  std::vector<std::uint8_t> mMemory;
  XFrameBuffer mBuffer;
};

}  // namespace tavelo_test
