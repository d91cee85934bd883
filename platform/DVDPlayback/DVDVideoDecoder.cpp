#include "DVDVideoDecoder.h"

extern "C" {
#include <libavcodec/avcodec.h>
}

namespace dvd {

DVDVideoDecoder::~DVDVideoDecoder() {
  if (mParser) av_parser_close(mParser);
  avcodec_free_context(&mContext);
  av_packet_free(&mPacket);
  av_frame_free(&mFrame);
}

bool DVDVideoDecoder::Construct(Sink sink) {
  mSink = std::move(sink);
  AVCodec const* const codec = avcodec_find_decoder(AV_CODEC_ID_MPEG2VIDEO);
  if (!codec) return false;
  mContext = avcodec_alloc_context3(codec);
  mPacket = av_packet_alloc();
  mFrame = av_frame_alloc();
  if (!mContext || !mPacket || !mFrame) return false;
  // One picture at a time keeps the decoder's delay at the stream's own reordering.
  mContext->thread_count = 1;
  if (avcodec_open2(mContext, codec, nullptr) < 0) return false;
  mParser = av_parser_init(AV_CODEC_ID_MPEG2VIDEO);
  return mParser != nullptr;
}

void DVDVideoDecoder::ResetParser() {
  if (mParser) av_parser_close(mParser);
  mParser = av_parser_init(AV_CODEC_ID_MPEG2VIDEO);
}

void DVDVideoDecoder::Decode(uint8_t const* input, size_t size, int64_t pts) {
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
    in = AV_NOPTS_VALUE;  // a time stamp belongs to the first picture starting in its bytes
    data += used;
    size -= size_t(used);
    SendParsed(out, outSize);
    if (used == 0 && outSize == 0) break;
  }
}

void DVDVideoDecoder::SendParsed(uint8_t* data, int size) {
  if (size <= 0) return;
  // Skipped pictures are not even sent: the decoder would pair the time stamps of the
  // pictures it skips with the ones it gives out. Only intra pictures that carry their own
  // time stamp are shown, as one cannot be worked out from the pictures between.
  if (mKeyFramesOnly &&
      (mParser->pict_type != AV_PICTURE_TYPE_I || mParser->pts == AV_NOPTS_VALUE)) {
    return;
  }
  mPacket->data = data;
  mPacket->size = size;
  mPacket->pts = mParser->pts;
  mPacket->dts = AV_NOPTS_VALUE;
  Send(mPacket);
}

void DVDVideoDecoder::Send(AVPacket* packet) {
  if (avcodec_send_packet(mContext, packet) == AVERROR(EAGAIN)) {
    Receive();
    avcodec_send_packet(mContext, packet);
  }
  Receive();
}

void DVDVideoDecoder::Receive() {
  while (avcodec_receive_frame(mContext, mFrame) == 0) {
    int64_t pts = mFrame->pts;
    if (pts == AV_NOPTS_VALUE) pts = mFrame->best_effort_timestamp;
    if (pts == AV_NOPTS_VALUE) pts = mNextPts;
    int64_t duration = 3003;
    if (mContext->framerate.num > 0 && mContext->framerate.den > 0) {
      duration = int64_t(90000) * mContext->framerate.den / mContext->framerate.num;
    }
    if (mFrame->repeat_pict > 0) duration += duration * mFrame->repeat_pict / 2;
    duration /= mSpeed;
    if (pts != kNoTime && pts != AV_NOPTS_VALUE) {
      mFrame->pts = pts;
      mNextPts = pts + duration;
      mSink(mFrame);
    }
    av_frame_unref(mFrame);
  }
}

void DVDVideoDecoder::Drain() {
  if (!mParser) return;
  uint8_t* out = nullptr;
  int outSize = 0;
  av_parser_parse2(mParser, mContext, &out, &outSize, nullptr, 0, AV_NOPTS_VALUE, AV_NOPTS_VALUE,
                   0);
  SendParsed(out, outSize);
  avcodec_send_packet(mContext, nullptr);
  Receive();
  // Draining ends the decoder's stream; what follows is a stream of its own.
  avcodec_flush_buffers(mContext);
  ResetParser();
}

void DVDVideoDecoder::Flush() {
  if (!mContext) return;
  avcodec_flush_buffers(mContext);
  ResetParser();
  mNextPts = kNoTime;
}

void DVDVideoDecoder::SetKeyFramesOnly(bool only) {
  mKeyFramesOnly = only;
}

}  // namespace dvd
