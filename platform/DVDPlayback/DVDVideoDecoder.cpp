#include "DVDVideoDecoder.h"

extern "C" {
#include <libavcodec/avcodec.h>
}

namespace dvd {

bool DVDVideoDecoder::Construct(Sink sink) {
  mSink = std::move(sink);
  return mCodec.Open(AV_CODEC_ID_MPEG2VIDEO);
}

void DVDVideoDecoder::Decode(uint8_t const* input, size_t size, int64_t pts) {
  mCodec.Parse(input, size, pts, [this](uint8_t* data, int parsed) { SendParsed(data, parsed); });
}

void DVDVideoDecoder::SendParsed(uint8_t* data, int size) {
  if (size <= 0) return;
  AVCodecParserContext const* const parser = mCodec.Parser();
  // Skipped pictures are not even sent: the decoder would pair the time stamps of the
  // pictures it skips with the ones it gives out. Only intra pictures that carry their own
  // time stamp are shown, as one cannot be worked out from the pictures between.
  if (mKeyFramesOnly &&
      (parser->pict_type != AV_PICTURE_TYPE_I || parser->pts == AV_NOPTS_VALUE)) {
    return;
  }
  AVPacket* const packet = mCodec.Packet();
  packet->data = data;
  packet->size = size;
  packet->pts = parser->pts;
  packet->dts = AV_NOPTS_VALUE;
  Send(packet);
}

void DVDVideoDecoder::Send(AVPacket* packet) {
  if (avcodec_send_packet(mCodec.Context(), packet) == AVERROR(EAGAIN)) {
    Receive();
    avcodec_send_packet(mCodec.Context(), packet);
  }
  Receive();
}

void DVDVideoDecoder::Receive() {
  AVCodecContext const* const context = mCodec.Context();
  AVFrame* const frame = mCodec.Frame();
  while (avcodec_receive_frame(mCodec.Context(), frame) == 0) {
    int64_t pts = frame->pts;
    if (pts == AV_NOPTS_VALUE) pts = frame->best_effort_timestamp;
    if (pts == AV_NOPTS_VALUE) pts = mNextPts;
    int64_t duration = 3003;
    if (context->framerate.num > 0 && context->framerate.den > 0) {
      duration = int64_t(90000) * context->framerate.den / context->framerate.num;
    }
    if (frame->repeat_pict > 0) duration += duration * frame->repeat_pict / 2;
    duration /= mSpeed;
    if (pts != kNoTime && pts != AV_NOPTS_VALUE) {
      frame->pts = pts;
      mNextPts = pts + duration;
      mSink(frame);
    }
    av_frame_unref(frame);
  }
}

void DVDVideoDecoder::Drain() {
  if (!mCodec.IsOpen()) return;
  uint8_t* out = nullptr;
  int outSize = 0;
  av_parser_parse2(mCodec.Parser(), mCodec.Context(), &out, &outSize, nullptr, 0, AV_NOPTS_VALUE,
                   AV_NOPTS_VALUE, 0);
  SendParsed(out, outSize);
  avcodec_send_packet(mCodec.Context(), nullptr);
  Receive();
  // Draining ends the decoder's stream; what follows is a stream of its own.
  mCodec.Flush();
}

void DVDVideoDecoder::Flush() {
  mCodec.Flush();
  mNextPts = kNoTime;
}

void DVDVideoDecoder::SetKeyFramesOnly(bool only) {
  mKeyFramesOnly = only;
}

}  // namespace dvd
