// A closed caption as it is shown: its words and the frames it is on screen for, drawn with
// libass in the style captions have on a television (white letters on black boxes, centred
// near the bottom) into a layer the picture's size, once for each size asked.
#pragma once

#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace dvd {

struct DVDCaption {
  std::string text;  // rows joined by '\n'
  int64_t firstFrame = 0;
  int64_t endFrame = 0;  // the first frame without it

  // RGBA with straight alpha over a stored picture of width x height shown at displayWidth
  // (its letters keep their shape on screen); empty when it cannot be drawn.
  std::vector<uint8_t> const& Layer(int width, int height, int displayWidth) const;

  // Lays a layer made by Layer over RGB24 rows, or over another RGBA layer.
  static void BlendOverRGB(std::vector<uint8_t> const& layer, uint8_t* rgb, int width,
                           int height, int rowBytes);
  static void BlendOverLayer(std::vector<uint8_t> const& layer, uint8_t* rgba, int width,
                             int height);

 private:
  struct Drawn {
    std::mutex mutex;  // DVDLockOrder.h: drawing (7), after the picture's
    int width = 0;
    int height = 0;
    int displayWidth = 0;
    std::vector<uint8_t> pixels;
  };
  std::shared_ptr<Drawn> mDrawn = std::make_shared<Drawn>();
};

}  // namespace dvd
