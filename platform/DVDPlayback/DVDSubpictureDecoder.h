// DVD subpictures: packets assembled from their fragments, run-length pictures decoded
// into 2-bit pixels, and drawn over RGB pictures in the disc's palette, with a menu
// button's highlight colours inside its rectangle.
#pragma once

#include "DVDDemuxer.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <vector>

namespace dvd {

// A menu button's highlight: its rectangle and the colour and contrast of each pixel type.
struct DVDHighlight {
  bool visible = false;
  int x0 = 0, y0 = 0, x1 = 0, y1 = 0;  // inclusive
  uint32_t palette = 0;  // colours in bits 31..16, contrasts in 15..0, pixel type 0 lowest
};

struct DVDSubpicture {
  int64_t start = 0;      // 90 kHz, on the same time line as the packet's time stamp
  int64_t stop = kNoTime;  // kNoTime: until the next one
  bool forced = false;
  int x = 0, y = 0, width = 0, height = 0;
  std::array<uint8_t, 4> colour{};    // palette index of each pixel type
  std::array<uint8_t, 4> contrast{};  // 0 transparent .. 15 opaque
  std::vector<uint8_t> pixels;        // width * height pixel types (0..3)
};

class DVDSubpictureDecoder {
 public:
  // One packet's payload (after the substream byte); pts of its first fragment.
  void Decode(uint8_t const* data, size_t size, int64_t pts);
  void Flush();
  // Every subpicture held stops showing at t at the latest (one not started by then is
  // dropped); those decoded after it show from t at the earliest.
  void EndAt(int64_t t);
  // The subpicture to show at time t, or null; older ones are forgotten.
  DVDSubpicture const* At(int64_t t, bool forcedOnly);
  // Maps every held time through f (a change of scan speed).
  template <class F>
  void Retime(F const& f) {
    for (auto& s : mPictures) {
      s.start = f(s.start);
      if (s.stop != kNoTime) s.stop = f(s.stop);
    }
    if (mFrom != kNoTime) mFrom = f(mFrom);
  }

  // Draws sub (with highlight inside the button's rectangle) over an RGB24 picture.
  // clut: 16 entries of 0x00YYCrCb.
  static void Draw(DVDSubpicture const& sub, DVDHighlight const& highlight,
                   std::array<uint32_t, 16> const& clut, uint8_t* rgb, int width, int height,
                   int rowBytes);
  // The same drawn alone into an RGBA layer (4 bytes a pixel, rows of width * 4 bytes,
  // straight alpha) that is transparent elsewhere.
  static void DrawLayer(DVDSubpicture const& sub, DVDHighlight const& highlight,
                        std::array<uint32_t, 16> const& clut, uint8_t* rgba, int width,
                        int height);

 private:
  void Parse(int64_t pts);

  std::vector<uint8_t> mPacket;
  size_t mExpected = 0;
  int64_t mPts = kNoTime;
  int64_t mFrom = kNoTime;  // the last EndAt: nothing decoded since shows before it
  std::deque<DVDSubpicture> mPictures;  // by start
};

}  // namespace dvd
