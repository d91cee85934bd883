// The frame number the barcoded test discs burn into every picture: 16 blocks of 45
// columns at rows 8-39, most significant bit first, white for one and black for zero.
#pragma once

#include "MacTypes.h"

namespace tavelo_test {

constexpr int kBarcodeBlocks = 16;
constexpr int kBarcodeBlockWidth = 45;
constexpr int kBarcodeRow = 24;

// From one row of pixels (bytesPerPixel apart, the channel to read first); -1 when a block
// is neither clearly black nor clearly white.
inline int ReadBarcode(UInt8 const* row, int bytesPerPixel) {
  int value = 0;
  for (int i = 0; i < kBarcodeBlocks; ++i) {
    int const level = row[(i * kBarcodeBlockWidth + kBarcodeBlockWidth / 2) * bytesPerPixel];
    if (level > 64 && level < 192) return -1;
    value = value * 2 + (level >= 192 ? 1 : 0);
  }
  return value;
}

}  // namespace tavelo_test
