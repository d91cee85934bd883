// MPEG-2 video through libavcodec: elementary-stream bytes in, frames out in display
// order, each with the time stamp its picture was sent with.
#pragma once

#include "DVDCodecContext.h"
#include "DVDDemuxer.h"

#include <cstddef>
#include <cstdint>
#include <functional>

struct AVFrame;
struct AVPacket;

namespace dvd {

class DVDVideoDecoder {
 public:
  // Called with each decoded frame; its pts is the one the picture's bytes came with, or
  // extrapolated by the frame rate when they had none.
  using Sink = std::function<void(AVFrame*)>;

  DVDVideoDecoder() = default;
  ~DVDVideoDecoder() = default;
  DVDVideoDecoder(DVDVideoDecoder const&) = delete;
  DVDVideoDecoder& operator=(DVDVideoDecoder const&) = delete;

  bool Construct(Sink sink);

  // pts: 90 kHz, or kNoTime when these bytes carry none.
  void Decode(uint8_t const* data, size_t size, int64_t pts);
  // Gives out the pictures still held for reordering (end of a still's stream).
  void Drain();
  // Forgets everything held: the stream continues elsewhere.
  void Flush();
  // Fast scans decode intra pictures only.
  void SetKeyFramesOnly(bool only);
  // Time stamps come scaled down by a scan's speed; a picture without one follows the one
  // before by a frame at that speed.
  void SetSpeed(int speed) { mSpeed = speed > 0 ? speed : 1; }

 private:
  // A whole picture from the parser.
  void SendParsed(uint8_t* data, int size);
  void Send(AVPacket* packet);
  void Receive();

  Sink mSink;
  DVDCodecContext mCodec;
  int64_t mNextPts = kNoTime;
  int mSpeed = 1;
  bool mKeyFramesOnly = false;
};

}  // namespace dvd
