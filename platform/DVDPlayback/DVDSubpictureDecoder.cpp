#include "DVDSubpictureDecoder.h"

#include <algorithm>

namespace dvd {

namespace {

constexpr size_t kMaxPictures = 8;

unsigned Be16(uint8_t const* p) { return unsigned(p[0]) << 8 | p[1]; }

// Reads the run-length lines of one field (every other row) from byte offset start.
class NibbleReader {
 public:
  NibbleReader(uint8_t const* data, size_t size, size_t start)
      : mData(data), mSize(size), mPos(start * 2) {}
  bool AtEnd() const { return mPos / 2 >= mSize; }
  unsigned Next() {
    if (mPos / 2 >= mSize) return 0;
    uint8_t const b = mData[mPos / 2];
    unsigned const v = (mPos & 1) ? (b & 0x0F) : (b >> 4);
    ++mPos;
    return v;
  }
  void Align() { mPos = (mPos + 1) & ~size_t(1); }

 private:
  uint8_t const* mData;
  size_t mSize;
  size_t mPos;
};

void DecodeField(uint8_t const* data, size_t size, size_t offset, int firstRow,
                 DVDSubpicture& sub) {
  NibbleReader r(data, size, offset);
  for (int row = firstRow; row < sub.height; row += 2) {
    int x = 0;
    while (x < sub.width) {
      if (r.AtEnd()) return;
      unsigned v = r.Next();
      if (v < 0x4) {
        v = v << 4 | r.Next();
        if (v < 0x10) {
          v = v << 4 | r.Next();
          if (v < 0x40) v = v << 4 | r.Next();
        }
      }
      int run = int(v >> 2);
      if (run == 0) run = sub.width - x;  // to the end of the line
      run = std::min(run, sub.width - x);
      std::fill_n(sub.pixels.begin() + std::ptrdiff_t(row) * sub.width + x, run, uint8_t(v & 3));
      x += run;
    }
    r.Align();
  }
}

void YCrCbToRGB(uint32_t entry, uint8_t rgb[3]) {
  int const y = int(entry >> 16 & 0xFF) - 16;
  int const cr = int(entry >> 8 & 0xFF) - 128;
  int const cb = int(entry & 0xFF) - 128;
  auto clip = [](int v) { return uint8_t(std::clamp(v, 0, 255)); };
  rgb[0] = clip((298 * y + 409 * cr + 128) >> 8);
  rgb[1] = clip((298 * y - 100 * cb - 208 * cr + 128) >> 8);
  rgb[2] = clip((298 * y + 516 * cb + 128) >> 8);
}

}  // namespace

void DVDSubpictureDecoder::Decode(uint8_t const* data, size_t size, int64_t pts) {
  if (mPacket.empty()) {
    // A unit's first packet carries its time stamp: anything else is the rest of a unit
    // whose start was not read.
    if (size < 4 || pts == kNoTime) return;
    mExpected = Be16(data);
    mPts = pts;
    if (mExpected < 4) return;
  }
  mPacket.insert(mPacket.end(), data, data + size);
  if (mPacket.size() < mExpected) return;
  mPacket.resize(mExpected);
  Parse(mPts);
  mPacket.clear();
}

void DVDSubpictureDecoder::Parse(int64_t pts) {
  uint8_t const* const p = mPacket.data();
  size_t const size = mPacket.size();
  size_t const controlStart = Be16(p + 2);
  if (pts == kNoTime || controlStart + 4 > size) return;
  DVDSubpicture sub;
  sub.start = pts;
  bool shown = false;
  size_t top = 0;
  size_t bottom = 0;
  size_t pos = controlStart;
  for (int guard = 0; guard < 64 && pos + 4 <= size; ++guard) {
    int64_t const at = pts + int64_t(Be16(p + pos)) * 1024;
    size_t const next = Be16(p + pos + 2);
    size_t i = pos + 4;
    while (i < size && p[i] != 0xFF) {
      uint8_t const command = p[i++];
      switch (command) {
        case 0x00:  // forced start
          sub.forced = true;
          [[fallthrough]];
        case 0x01:
          if (!shown) sub.start = at;
          shown = true;
          break;
        case 0x02:
          sub.stop = at;
          break;
        case 0x03:
          if (i + 2 > size) return;
          sub.colour = {uint8_t(p[i + 1] & 0xF), uint8_t(p[i + 1] >> 4), uint8_t(p[i] & 0xF),
                        uint8_t(p[i] >> 4)};
          i += 2;
          break;
        case 0x04:
          if (i + 2 > size) return;
          sub.contrast = {uint8_t(p[i + 1] & 0xF), uint8_t(p[i + 1] >> 4), uint8_t(p[i] & 0xF),
                          uint8_t(p[i] >> 4)};
          i += 2;
          break;
        case 0x05: {
          if (i + 6 > size) return;
          int const x0 = int(p[i]) << 4 | p[i + 1] >> 4;
          int const x1 = (p[i + 1] & 0xF) << 8 | p[i + 2];
          int const y0 = int(p[i + 3]) << 4 | p[i + 4] >> 4;
          int const y1 = (p[i + 4] & 0xF) << 8 | p[i + 5];
          sub.x = x0;
          sub.y = y0;
          sub.width = std::max(0, x1 - x0 + 1);
          sub.height = std::max(0, y1 - y0 + 1);
          i += 6;
          break;
        }
        case 0x06:
          if (i + 4 > size) return;
          top = Be16(p + i);
          bottom = Be16(p + i + 2);
          i += 4;
          break;
        case 0x07:  // colour changes within the picture: not drawn, skipped whole
          if (i + 2 > size) return;
          i += Be16(p + i);
          break;
        default:
          i = size;  // unknown command: the rest of this sequence cannot be read
          break;
      }
    }
    if (next == pos || next <= pos) break;
    pos = next;
  }
  if (!shown || sub.width <= 0 || sub.height <= 0 || sub.width > 720 || sub.height > 576 ||
      top >= size || bottom >= size) {
    return;
  }
  sub.pixels.assign(size_t(sub.width) * size_t(sub.height), 0);
  DecodeField(p, size, top, 0, sub);
  DecodeField(p, size, bottom, 1, sub);
  // A unit read before a jump's landing (the one on screen there) shows from the landing on,
  // unless it ended before.
  if (mFrom != kNoTime && sub.start < mFrom) {
    if (sub.stop != kNoTime && sub.stop <= mFrom) return;
    sub.start = mFrom;
  }
  auto const at = std::upper_bound(mPictures.begin(), mPictures.end(), sub.start,
                                   [](int64_t t, DVDSubpicture const& s) { return t < s.start; });
  mPictures.insert(at, std::move(sub));
  while (mPictures.size() > kMaxPictures) mPictures.pop_front();
}

void DVDSubpictureDecoder::Flush() {
  mPacket.clear();
  mPictures.clear();
  mFrom = kNoTime;
}

void DVDSubpictureDecoder::EndAt(int64_t t) {
  mPacket.clear();
  mFrom = t;
  // Read ahead of where the position was left: never shown, and in the way of what the new
  // position shows.
  std::erase_if(mPictures, [t](DVDSubpicture const& s) { return s.start >= t; });
  for (auto& s : mPictures) {
    if (s.stop == kNoTime || s.stop > t) s.stop = t;
  }
}

DVDSubpicture const* DVDSubpictureDecoder::At(int64_t t, bool forcedOnly) {
  // The newest one that has started replaces those before it.
  while (mPictures.size() > 1 && mPictures[1].start <= t) mPictures.pop_front();
  if (mPictures.empty()) return nullptr;
  DVDSubpicture const& s = mPictures.front();
  if (s.start > t || (s.stop != kNoTime && s.stop <= t)) return nullptr;
  if (forcedOnly && !s.forced) return nullptr;
  return &s;
}

namespace {

// Calls f(x, y, rgb, alpha 0-15) for each pixel of sub that is drawn, with the highlight's
// colours inside the button's rectangle.
template <class F>
void ForEachDrawn(DVDSubpicture const& sub, DVDHighlight const& highlight,
                  std::array<uint32_t, 16> const& clut, int width, int height, F const& f) {
  uint8_t colours[2][4][3];
  int alpha[2][4];
  for (int k = 0; k < 4; ++k) {
    YCrCbToRGB(clut[sub.colour[k]], colours[0][k]);
    alpha[0][k] = sub.contrast[k];
    YCrCbToRGB(clut[highlight.palette >> (16 + 4 * k) & 0xF], colours[1][k]);
    alpha[1][k] = int(highlight.palette >> (4 * k) & 0xF);
  }
  for (int row = 0; row < sub.height; ++row) {
    int const y = sub.y + row;
    if (y < 0 || y >= height) continue;
    for (int col = 0; col < sub.width; ++col) {
      int const x = sub.x + col;
      if (x < 0 || x >= width) continue;
      int const type = sub.pixels[size_t(row) * size_t(sub.width) + size_t(col)];
      int const set = highlight.visible && x >= highlight.x0 && x <= highlight.x1 &&
                              y >= highlight.y0 && y <= highlight.y1
                          ? 1
                          : 0;
      int const a = alpha[set][type];
      if (a != 0) f(x, y, colours[set][type], a);
    }
  }
}

}  // namespace

void DVDSubpictureDecoder::Draw(DVDSubpicture const& sub, DVDHighlight const& highlight,
                                std::array<uint32_t, 16> const& clut, uint8_t* rgb, int width,
                                int height, int rowBytes) {
  ForEachDrawn(sub, highlight, clut, width, height,
               [&](int x, int y, uint8_t const* colour, int a) {
                 uint8_t* const px = rgb + std::ptrdiff_t(y) * rowBytes + x * 3;
                 for (int c = 0; c < 3; ++c) {
                   px[c] = uint8_t((colour[c] * (a + 1) + px[c] * (15 - a)) / 16);
                 }
               });
}

void DVDSubpictureDecoder::DrawLayer(DVDSubpicture const& sub, DVDHighlight const& highlight,
                                     std::array<uint32_t, 16> const& clut, uint8_t* rgba,
                                     int width, int height) {
  ForEachDrawn(sub, highlight, clut, width, height,
               [&](int x, int y, uint8_t const* colour, int a) {
                 uint8_t* const px = rgba + (std::ptrdiff_t(y) * width + x) * 4;
                 px[0] = colour[0];
                 px[1] = colour[1];
                 px[2] = colour[2];
                 // Blended over a picture this gives what Draw does: (a + 1) / 16.
                 px[3] = uint8_t(((a + 1) * 255 + 8) / 16);
               });
}

}  // namespace dvd
