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

DVDSubpictureLayer::DVDSubpictureLayer() : mClut(DefaultClut()) {}

void DVDSubpictureLayer::Decode(int stream, uint8_t const* data, size_t size, int64_t at) {
  if (stream < 0 || size_t(stream) >= kStreams) return;
  std::lock_guard<std::mutex> g(mMutex);
  mStreams[size_t(stream)].Decode(data, size, at);
}

void DVDSubpictureLayer::EndAt(int64_t t) {
  std::lock_guard<std::mutex> g(mMutex);
  for (auto& stream : mStreams) stream.EndAt(t);
}

void DVDSubpictureLayer::Retime(std::function<int64_t(int64_t)> const& f) {
  std::lock_guard<std::mutex> g(mMutex);
  for (auto& stream : mStreams) stream.Retime(f);
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

void DVDSubpictureLayer::Overlay(int stream, bool forcedOnly, int64_t at, DVDPicture* picture) {
  std::lock_guard<std::mutex> g(mMutex);
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
