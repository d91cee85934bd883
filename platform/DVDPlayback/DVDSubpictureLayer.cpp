#include "DVDSubpictureLayer.h"

#include <memory>

namespace dvd {

namespace {

// Default subpicture palette until the disc gives one: greys.
std::array<uint32_t, 16> DefaultClut() {
  std::array<uint32_t, 16> clut{};
  for (int i = 0; i < 16; ++i) clut[size_t(i)] = uint32_t(16 + i * 14) << 16 | 0x8080;
  return clut;
}

}  // namespace

DVDSubpictureLayer::DVDSubpictureLayer(DVDClockMap& map)
    : mMap(map), mEpoch(map.Epoch()), mClut(DefaultClut()) {}

int64_t DVDSubpictureLayer::CatchUp(DVDClockTime t) {
  uint32_t const latest = mMap.Epoch();
  if (latest != mEpoch) {
    for (auto& stream : mStreams) {
      stream.Retime([&](int64_t held) { return mMap.Carry(held, mEpoch, latest); });
    }
    mEpoch = latest;
  }
  return t.at == kNoTime ? kNoTime : mMap.Carry(t.at, t.epoch, latest);
}

void DVDSubpictureLayer::Decode(int stream, uint8_t const* data, size_t size, DVDClockTime at) {
  if (stream < 0 || size_t(stream) >= kStreams) return;
  std::lock_guard<std::mutex> g(mMutex);
  mStreams[size_t(stream)].Decode(data, size, CatchUp(at));
}

void DVDSubpictureLayer::EndAt(DVDClockTime t) {
  std::lock_guard<std::mutex> g(mMutex);
  int64_t const end = CatchUp(t);
  for (auto& stream : mStreams) stream.EndAt(end);
}

bool DVDSubpictureLayer::SetPalette(std::array<uint32_t, 16> const& clut) {
  std::lock_guard<std::mutex> g(mMutex);
  if (clut == mClut) return false;
  mClut = clut;
  return true;
}

bool DVDSubpictureLayer::SetHighlight(DVDHighlight const& h) {
  std::lock_guard<std::mutex> g(mMutex);
  DVDHighlight const& o = mHighlight;
  if (h.visible == o.visible && h.x0 == o.x0 && h.y0 == o.y0 && h.x1 == o.x1 && h.y1 == o.y1 &&
      h.palette == o.palette) {
    return false;
  }
  mHighlight = h;
  return true;
}

void DVDSubpictureLayer::Overlay(int stream, bool forcedOnly, DVDClockTime when,
                                 DVDPicture* picture) {
  std::lock_guard<std::mutex> g(mMutex);
  int64_t const at = CatchUp(when);
  for (auto& s : mStreams) s.At(at, false);  // forgets what has been replaced
  if (DVDSubpicture const* const sub =
          mStreams[size_t(stream) % kStreams].At(at, forcedOnly)) {
    // Drawn when the picture is converted, in the colours of now.
    picture->subpicture = std::make_shared<DVDSubpicture const>(*sub);
    picture->highlight = mHighlight;
    picture->clut = mClut;
  }
}

}  // namespace dvd
