#include "DVDCodecContext.h"

#include "DVDDemuxer.h"

#include <algorithm>

extern "C" {
#include <libavcodec/avcodec.h>
}

namespace dvd {

DVDCodecContext::~DVDCodecContext() {
  if (mParser) av_parser_close(mParser);
  avcodec_free_context(&mContext);
  av_packet_free(&mPacket);
  av_frame_free(&mFrame);
}

bool DVDCodecContext::Open(AVCodecID id, int lowres) {
  AVCodec const* const codec = avcodec_find_decoder(id);
  if (!codec) return false;
  mContext = avcodec_alloc_context3(codec);
  mPacket = av_packet_alloc();
  mFrame = av_frame_alloc();
  if (!mContext || !mPacket || !mFrame) return false;
  // One frame at a time keeps the decoder's delay at the stream's own reordering.
  mContext->thread_count = 1;
  mContext->lowres = std::min(lowres, int(codec->max_lowres));
  if (avcodec_open2(mContext, codec, nullptr) < 0) return false;
  mParser = av_parser_init(id);
  return mParser != nullptr;
}

void DVDCodecContext::Parse(uint8_t const* input, size_t size, int64_t pts,
                            Parsed const& parsed) {
  if (!mParser || size == 0) return;
  // The parser reads a little past the end of what it is given: a zeroed tail.
  mInput.assign(input, input + size);
  mInput.resize(size + AV_INPUT_BUFFER_PADDING_SIZE, 0);
  uint8_t const* data = mInput.data();
  int64_t in = pts == kNoTime ? AV_NOPTS_VALUE : pts;
  while (size > 0) {
    uint8_t* out = nullptr;
    int outSize = 0;
    int const used = av_parser_parse2(mParser, mContext, &out, &outSize, data, int(size), in, in,
                                      0);
    if (used < 0) return;
    in = AV_NOPTS_VALUE;  // a time stamp belongs to the first frame starting in its bytes
    data += used;
    size -= size_t(used);
    if (outSize > 0) parsed(out, outSize);
    if (used == 0 && outSize == 0) break;
  }
}

void DVDCodecContext::Flush() {
  if (!mContext) return;
  avcodec_flush_buffers(mContext);
  if (mParser) av_parser_close(mParser);
  mParser = av_parser_init(mContext->codec_id);
}

}  // namespace dvd
