// A platform world for the pixel tests, disposed at the end of the test.
#pragma once

#include "QDOffscreen.h"

#include <gtest/gtest.h>

#include <cstring>
#include <vector>

namespace tavelo_test {

struct PixMapWorld {
  PixMapWorld(short width, short height, OSType format) {
    Rect const bounds{0, 0, height, width};
    EXPECT_EQ(noErr, QTNewGWorld(&mWorld, format, &bounds, nullptr, nullptr, 0));
    mPixMap = GetGWorldPixMap(mWorld);
  }
  // Over caller memory with the given stride (rows need not be aligned).
  PixMapWorld(short width, short height, OSType format, long rowBytes, long offset = 0)
      : mMemory(size_t(rowBytes * (height + 1) + offset), 0xEE) {
    Rect const bounds{0, 0, height, width};
    EXPECT_EQ(noErr, QTNewGWorldFromPtr(&mWorld, format, &bounds, nullptr, nullptr, 0,
                                        mMemory.data() + offset, rowBytes));
    mPixMap = GetGWorldPixMap(mWorld);
  }
  ~PixMapWorld() { DisposeGWorld(mWorld); }
  PixMapWorld(PixMapWorld const&) = delete;
  PixMapWorld& operator=(PixMapWorld const&) = delete;

  unsigned char* Pixel(long x, long y) const {
    return reinterpret_cast<unsigned char*>(GetPixBaseAddr(mPixMap)) +
           y * QTGetPixMapHandleRowBytes(mPixMap) + x * QTGetPixelSize((*mPixMap)->pixelFormat);
  }
  void Set(long x, long y, std::vector<unsigned char> const& bytes) const {
    std::memcpy(Pixel(x, y), bytes.data(), bytes.size());
  }
  std::vector<unsigned char> Get(long x, long y, size_t n) const {
    return std::vector<unsigned char>(Pixel(x, y), Pixel(x, y) + n);
  }

  std::vector<unsigned char> mMemory;
  GWorldPtr mWorld = nullptr;
  PixMapHandle mPixMap = nullptr;
};

}  // namespace tavelo_test
