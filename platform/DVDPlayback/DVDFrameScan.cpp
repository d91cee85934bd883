#include "DVDFrameScan.h"

#include <algorithm>
#include <cstddef>

extern "C" {
#include <libavutil/frame.h>
}

namespace dvd {

DVDFrameScan::DVDFrameScan(std::string path, int width, int height)
    : mReader(std::move(path)), mWidth(width), mHeight(height), mLuma(size_t(width * height)) {}

DVDFrameScan::~DVDFrameScan() = default;

void DVDFrameScan::Shrink(uint8_t const* plane, int stride, int width, int height) {
  for (int y = 0; y < mHeight; ++y) {
    int const top = y * height / mHeight;
    int const bottom = std::max(top + 1, (y + 1) * height / mHeight);
    for (int x = 0; x < mWidth; ++x) {
      int const left = x * width / mWidth;
      int const right = std::max(left + 1, (x + 1) * width / mWidth);
      unsigned sum = 0;
      for (int r = top; r < bottom; ++r) {
        uint8_t const* const row = plane + ptrdiff_t(r) * stride;
        for (int c = left; c < right; ++c) sum += row[c];
      }
      unsigned const count = unsigned((bottom - top) * (right - left));
      mLuma[size_t(y * mWidth + x)] = uint8_t((sum + count / 2) / count);
    }
  }
}

bool DVDFrameScan::Read(int title, Sink const& sink) {
  return mReader.Decode(
      title,
      [&](AVFrame const* f, int64_t firstField, int fields) {
        // A picture starting halfway through a frame is on screen from the next whole one.
        int64_t const first = (firstField + 1) / 2;
        int64_t const end = (firstField + fields + 1) / 2;
        if (f->width < 1 || f->height < 1 || !f->data[0]) return;
        Shrink(f->data[0], f->linesize[0], f->width, f->height);
        for (int64_t frame = first; frame < end; ++frame) sink(frame, mLuma.data());
      },
      nullptr);
}

}  // namespace dvd
