// Splits the MPEG program-stream blocks the navigator reads into the payloads of its
// elementary streams: MPEG-2 video, AC-3, DTS, LPCM and MPEG audio, and subpictures.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>

namespace dvd {

// A time stamp that is not there; times before the clock's start are negative.
constexpr int64_t kNoTime = INT64_MIN;

enum class DVDStreamKind { Video, AC3, DTS, LPCM, MPEGAudio, Subpicture };

struct DVDPayload {
  DVDStreamKind kind;
  int index;             // the stream's number within its kind (subpicture 0..31, audio 0..7)
  int64_t pts;           // 90 kHz, kNoTime when the packet carries none
  uint8_t const* data;   // LPCM keeps its 3-byte audio frame header in front
  size_t size;
};

class DVDDemuxer {
 public:
  using Sink = std::function<void(DVDPayload const&)>;

  explicit DVDDemuxer(Sink sink) : mSink(std::move(sink)) {}

  // One 2048-byte block; anything malformed in it is skipped, never read past its end.
  void Block(uint8_t const* data, size_t size);

 private:
  void Packet(uint8_t streamID, uint8_t const* p, size_t size);

  Sink mSink;
};

}  // namespace dvd
