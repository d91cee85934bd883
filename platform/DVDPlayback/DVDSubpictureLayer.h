// The layer drawn over the pictures: a subpicture decoder for each of the disc's 32
// streams, the disc's palette and the menu button's highlight. Decoded on the subpicture
// stage's thread and read when a picture is composed, behind a lock of its own that is
// taken after the presenter's (DVDLockOrder.h). Its times are all of one epoch of the clock
// map, carried through the map to its latest before they are compared.
#pragma once

#include "DVDClockMap.h"
#include "DVDPicture.h"
#include "DVDSubpictureDecoder.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <mutex>

namespace dvd {

class DVDSubpictureLayer {
 public:
  explicit DVDSubpictureLayer(DVDClockMap& map);
  DVDSubpictureLayer(DVDSubpictureLayer const&) = delete;
  DVDSubpictureLayer& operator=(DVDSubpictureLayer const&) = delete;

  static constexpr size_t kStreams = 32;

  // One packet of a stream (its bytes after the substream byte), at its time on the clock.
  void Decode(int stream, uint8_t const* data, size_t size, DVDClockTime at);
  // What every stream shows stops at t at the latest.
  void EndAt(DVDClockTime t);
  // True when they changed.
  bool SetPalette(std::array<uint32_t, 16> const& clut);
  bool SetHighlight(DVDHighlight const& highlight);
  // Puts on picture what shows over it at time at: stream's subpicture (forced ones only,
  // or all), with the highlight and the palette of now.
  void Overlay(int stream, bool forcedOnly, DVDClockTime at, DVDPicture* picture);

 private:
  // The times held, carried to the map's latest epoch; t as it stands there.
  int64_t CatchUp(DVDClockTime t);

  DVDClockMap& mMap;
  std::mutex mMutex;  // DVDLockOrder.h: the layer's (6)
  uint32_t mEpoch = 0;  // of the times held
  std::array<DVDSubpictureDecoder, kStreams> mStreams;
  std::array<uint32_t, 16> mClut{};
  DVDHighlight mHighlight;
};

}  // namespace dvd
