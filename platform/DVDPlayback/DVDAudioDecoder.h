// The disc's sound through libavcodec (AC-3, DTS, MPEG audio) or directly (16-bit LPCM),
// given out as interleaved 16-bit stereo with the time stamp of its first sample.
#pragma once

#include "DVDCodecContext.h"
#include "DVDDemuxer.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <vector>

namespace dvd {

class DVDAudioDecoder {
 public:
  // pts in 90 kHz; samples holds frames * 2 values.
  using Sink = std::function<void(int64_t pts, int rate, int16_t const* samples, size_t frames)>;

  DVDAudioDecoder() = default;
  ~DVDAudioDecoder() = default;
  DVDAudioDecoder(DVDAudioDecoder const&) = delete;
  DVDAudioDecoder& operator=(DVDAudioDecoder const&) = delete;

  bool Construct(DVDStreamKind kind, Sink sink);
  DVDStreamKind Kind() const { return mKind; }

  void Decode(uint8_t const* data, size_t size, int64_t pts);
  void Flush();

 private:
  void Receive();
  void DecodeLPCM(uint8_t const* data, size_t size, int64_t pts);
  void Emit(int rate, size_t frames);

  DVDStreamKind mKind = DVDStreamKind::AC3;
  Sink mSink;
  DVDCodecContext mCodec;
  std::vector<int16_t> mOut;
  std::vector<uint8_t> mPending;  // LPCM bytes short of a whole sample frame
  int64_t mNextPts = kNoTime;
};

}  // namespace dvd
