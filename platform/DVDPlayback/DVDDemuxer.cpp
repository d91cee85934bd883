#include "DVDDemuxer.h"

namespace dvd {

namespace {

bool StartCode(uint8_t const* p) { return p[0] == 0 && p[1] == 0 && p[2] == 1; }

int64_t ReadPTS(uint8_t const* p) {
  return (int64_t(p[0] & 0x0E) << 29) | (int64_t(p[1]) << 22) | (int64_t(p[2] & 0xFE) << 14) |
         (int64_t(p[3]) << 7) | (int64_t(p[4]) >> 1);
}

}  // namespace

void DVDDemuxer::Block(uint8_t const* data, size_t size) {
  size_t pos = 0;
  while (pos + 6 <= size) {
    uint8_t const* const p = data + pos;
    if (!StartCode(p)) return;
    uint8_t const id = p[3];
    if (id == 0xBA) {
      // MPEG-2 pack header: 14 bytes and its stuffing.
      if (pos + 14 > size) return;
      pos += 14 + (p[13] & 7);
      continue;
    }
    if (id == 0xB9) return;  // program end
    size_t const length = (size_t(p[4]) << 8) | p[5];
    if (pos + 6 + length > size) return;
    Packet(id, p + 6, length);
    pos += 6 + length;
  }
}

void DVDDemuxer::Packet(uint8_t streamID, uint8_t const* p, size_t size) {
  bool const video = (streamID & 0xF0) == 0xE0;
  bool const mpegAudio = (streamID & 0xE0) == 0xC0;
  if (!video && !mpegAudio && streamID != 0xBD) return;  // system, padding, navigation
  // MPEG-2 PES header.
  if (size < 3 || (p[0] & 0xC0) != 0x80) return;
  size_t const headerLength = p[2];
  if (3 + headerLength > size) return;
  int64_t pts = kNoTime;
  if ((p[1] & 0x80) && headerLength >= 5) pts = ReadPTS(p + 3);
  uint8_t const* payload = p + 3 + headerLength;
  size_t length = size - 3 - headerLength;
  if (video) {
    mSink({DVDStreamKind::Video, streamID & 0x0F, pts, payload, length});
    return;
  }
  if (mpegAudio) {
    mSink({DVDStreamKind::MPEGAudio, streamID & 0x07, pts, payload, length});
    return;
  }
  if (length < 1) return;
  uint8_t const sub = payload[0];
  DVDStreamKind kind;
  size_t skip;
  if ((sub & 0xE0) == 0x20) {
    kind = DVDStreamKind::Subpicture;
    skip = 1;
  } else if ((sub & 0xF8) == 0x80) {
    kind = DVDStreamKind::AC3;  // substream, frame count, first access unit
    skip = 4;
  } else if ((sub & 0xF8) == 0x88) {
    kind = DVDStreamKind::DTS;
    skip = 4;
  } else if ((sub & 0xF8) == 0xA0) {
    kind = DVDStreamKind::LPCM;
    skip = 4;
  } else {
    return;
  }
  if (length < skip) return;
  int const index = kind == DVDStreamKind::Subpicture ? sub & 0x1F : sub & 0x07;
  mSink({kind, index, pts, payload + skip, length - skip});
}

}  // namespace dvd
