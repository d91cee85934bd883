// Hands on a small luma picture of every frame of a title, read straight from the disc
// (DVDTitleReader: the video decoded at 1/8 size) and averaged down. Frames are numbered the
// way the presenter numbers them: a picture goes with every whole frame it is on screen for,
// repeated fields counted.
#pragma once

#include "DVDTitleReader.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace dvd {

class DVDFrameScan {
 public:
  // The frame's luma, width x height bytes, rows top down.
  using Sink = std::function<void(int64_t frame, uint8_t const* luma)>;

  DVDFrameScan(std::string path, int width, int height);
  ~DVDFrameScan();
  DVDFrameScan(DVDFrameScan const&) = delete;
  DVDFrameScan& operator=(DVDFrameScan const&) = delete;

  // Every frame of the title, in order; false when the disc cannot be read there (the frames
  // given until then stand).
  bool Read(int title, Sink const& sink);

 private:
  // Averages a decoded luma plane down to mWidth x mHeight.
  void Shrink(uint8_t const* plane, int stride, int width, int height);

  DVDTitleReader mReader;
  int mWidth = 0;
  int mHeight = 0;
  std::vector<uint8_t> mLuma;
};

}  // namespace dvd
