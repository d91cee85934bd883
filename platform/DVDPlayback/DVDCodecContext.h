// A libavcodec decoder with the parser that cuts its stream into whole frames, and the
// packet and frame passed between them: what the audio and video decoders share.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <vector>

extern "C" {
#include <libavcodec/codec_id.h>
}

struct AVCodecContext;
struct AVCodecParserContext;
struct AVFrame;
struct AVPacket;

namespace dvd {

class DVDCodecContext {
 public:
  // One whole frame from the parser; the bytes stay valid until the next Parse.
  using Parsed = std::function<void(uint8_t* data, int size)>;

  DVDCodecContext() = default;
  ~DVDCodecContext();
  DVDCodecContext(DVDCodecContext const&) = delete;
  DVDCodecContext& operator=(DVDCodecContext const&) = delete;

  // lowres: decode at 1/2^lowres of the size, as far as the decoder can (0: full size).
  bool Open(AVCodecID id, int lowres = 0);
  bool IsOpen() const { return mParser != nullptr; }

  // pts: 90 kHz, or kNoTime; it goes with the first frame that starts in these bytes.
  void Parse(uint8_t const* data, size_t size, int64_t pts, Parsed const& parsed);
  // Forgets what the decoder and the parser hold: the stream continues elsewhere.
  void Flush();

  AVCodecContext* Context() const { return mContext; }
  AVCodecParserContext* Parser() const { return mParser; }
  AVPacket* Packet() const { return mPacket; }
  AVFrame* Frame() const { return mFrame; }

 private:
  AVCodecContext* mContext = nullptr;
  AVCodecParserContext* mParser = nullptr;
  AVPacket* mPacket = nullptr;
  AVFrame* mFrame = nullptr;
  std::vector<uint8_t> mInput;
};

}  // namespace dvd
