// The layer drawn over the pictures: a subpicture decoder for each of the disc's 32
// streams, the disc's palette and the menu button's highlight. Decoded on the subpicture
// stage's thread and read when a picture is composed, behind a lock of its own that is
// taken after the presenter's (DVDLockOrder.h).
#pragma once

#include "DVDPicture.h"
#include "DVDSubpictureDecoder.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <mutex>

namespace dvd {

class DVDSubpictureLayer {
 public:
  DVDSubpictureLayer();
  DVDSubpictureLayer(DVDSubpictureLayer const&) = delete;
  DVDSubpictureLayer& operator=(DVDSubpictureLayer const&) = delete;

  static constexpr size_t kStreams = 32;

  // One packet of a stream (its bytes after the substream byte), at its time on the clock.
  void Decode(int stream, uint8_t const* data, size_t size, int64_t at);
  // What every stream shows stops at t at the latest.
  void EndAt(int64_t t);
  void Retime(std::function<int64_t(int64_t)> const& f);
  // True when they changed.
  bool SetPalette(std::array<uint32_t, 16> const& clut);
  bool SetHighlight(DVDHighlight const& highlight);
  // Puts on picture what shows over it at time at: stream's subpicture (forced ones only,
  // or all), with the highlight and the palette of now.
  void Overlay(int stream, bool forcedOnly, int64_t at, DVDPicture* picture);

 private:
  std::mutex mMutex;  // DVDLockOrder.h: the layer's (6)
  std::array<DVDSubpictureDecoder, kStreams> mStreams;
  std::array<uint32_t, 16> mClut{};
  DVDHighlight mHighlight;
};

}  // namespace dvd
