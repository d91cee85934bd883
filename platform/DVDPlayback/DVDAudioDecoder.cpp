#include "DVDAudioDecoder.h"

#include <algorithm>
#include <cmath>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavutil/channel_layout.h>
}

namespace dvd {

namespace {

int16_t Clip(float v) {
  return int16_t(std::lround(std::clamp(v, -1.0f, 1.0f) * 32767.0f));
}

// One sample of channel ch of frame f as a float in -1..1, whatever the layout.
float Sample(AVFrame const* f, int ch, int i) {
  int const channels = f->ch_layout.nb_channels;
  switch (f->format) {
    case AV_SAMPLE_FMT_FLTP: return reinterpret_cast<float const*>(f->extended_data[ch])[i];
    case AV_SAMPLE_FMT_FLT: return reinterpret_cast<float const*>(f->data[0])[i * channels + ch];
    case AV_SAMPLE_FMT_S16P:
      return reinterpret_cast<int16_t const*>(f->extended_data[ch])[i] / 32768.0f;
    case AV_SAMPLE_FMT_S16:
      return reinterpret_cast<int16_t const*>(f->data[0])[i * channels + ch] / 32768.0f;
    case AV_SAMPLE_FMT_S32P:
      return float(reinterpret_cast<int32_t const*>(f->extended_data[ch])[i] / 2147483648.0);
    case AV_SAMPLE_FMT_S32:
      return float(reinterpret_cast<int32_t const*>(f->data[0])[i * channels + ch] / 2147483648.0);
    default: return 0.0f;
  }
}

}  // namespace

DVDAudioDecoder::~DVDAudioDecoder() { Close(); }

void DVDAudioDecoder::Close() {
  if (mParser) av_parser_close(mParser);
  mParser = nullptr;
  avcodec_free_context(&mContext);
  av_packet_free(&mPacket);
  av_frame_free(&mFrame);
}

bool DVDAudioDecoder::Construct(DVDStreamKind kind, Sink sink) {
  mKind = kind;
  mSink = std::move(sink);
  if (kind == DVDStreamKind::LPCM) return true;
  AVCodecID id = AV_CODEC_ID_AC3;
  if (kind == DVDStreamKind::DTS) id = AV_CODEC_ID_DTS;
  if (kind == DVDStreamKind::MPEGAudio) id = AV_CODEC_ID_MP2;
  if (kind != DVDStreamKind::AC3 && kind != DVDStreamKind::DTS &&
      kind != DVDStreamKind::MPEGAudio) {
    return false;
  }
  AVCodec const* const codec = avcodec_find_decoder(id);
  if (!codec) return false;
  mContext = avcodec_alloc_context3(codec);
  mPacket = av_packet_alloc();
  mFrame = av_frame_alloc();
  if (!mContext || !mPacket || !mFrame) return false;
  mContext->thread_count = 1;
  if (avcodec_open2(mContext, codec, nullptr) < 0) return false;
  mParser = av_parser_init(id);
  return mParser != nullptr;
}

void DVDAudioDecoder::Decode(uint8_t const* data, size_t size, int64_t pts) {
  if (mKind == DVDStreamKind::LPCM) {
    DecodeLPCM(data, size, pts);
    return;
  }
  if (!mParser || size == 0) return;
  // The parser reads a little past the end of what it is given: a zeroed tail.
  mInput.assign(data, data + size);
  mInput.resize(size + AV_INPUT_BUFFER_PADDING_SIZE, 0);
  data = mInput.data();
  int64_t in = pts == kNoTime ? AV_NOPTS_VALUE : pts;
  while (size > 0) {
    uint8_t* out = nullptr;
    int outSize = 0;
    int const used = av_parser_parse2(mParser, mContext, &out, &outSize, data, int(size), in, in,
                                      0);
    if (used < 0) return;
    in = AV_NOPTS_VALUE;
    data += used;
    size -= size_t(used);
    if (outSize > 0) {
      mPacket->data = out;
      mPacket->size = outSize;
      mPacket->pts = mParser->pts;
      // A damaged frame is refused; the next one decodes.
      avcodec_send_packet(mContext, mPacket);
      Receive();
    }
    if (used == 0 && outSize == 0) break;
  }
}

void DVDAudioDecoder::Receive() {
  while (avcodec_receive_frame(mContext, mFrame) == 0) {
    int const rate = mFrame->sample_rate;
    int const frames = mFrame->nb_samples;
    int64_t pts = mFrame->pts;
    if (pts == AV_NOPTS_VALUE) pts = mNextPts;
    if (rate <= 0 || frames <= 0 || pts == kNoTime) {
      av_frame_unref(mFrame);
      continue;
    }
    // Stereo from whatever the stream has: the fronts, the centre and the surrounds.
    AVChannelLayout const& layout = mFrame->ch_layout;
    int const n = layout.nb_channels;
    auto index = [&](AVChannel c) { return av_channel_layout_index_from_channel(&layout, c); };
    int fl = index(AV_CHAN_FRONT_LEFT);
    int fr = index(AV_CHAN_FRONT_RIGHT);
    int const fc = index(AV_CHAN_FRONT_CENTER);
    int sl = index(AV_CHAN_SIDE_LEFT);
    int sr = index(AV_CHAN_SIDE_RIGHT);
    if (sl < 0) sl = index(AV_CHAN_BACK_LEFT);
    if (sr < 0) sr = index(AV_CHAN_BACK_RIGHT);
    if (fl < 0 || fr < 0) {
      fl = 0;
      fr = n > 1 ? 1 : 0;
    }
    bool const mix = fc >= 0 || sl >= 0 || sr >= 0;
    float const gain = mix ? 0.5f : 1.0f;
    mOut.resize(size_t(frames) * 2);
    for (int i = 0; i < frames; ++i) {
      float l = Sample(mFrame, fl, i);
      float r = Sample(mFrame, fr, i);
      if (fc >= 0) {
        float const c = Sample(mFrame, fc, i) * 0.7071f;
        l += c;
        r += c;
      }
      if (sl >= 0) l += Sample(mFrame, sl, i) * 0.7071f;
      if (sr >= 0) r += Sample(mFrame, sr, i) * 0.7071f;
      mOut[size_t(i) * 2] = Clip(l * gain);
      mOut[size_t(i) * 2 + 1] = Clip(r * gain);
    }
    mNextPts = pts + int64_t(frames) * 90000 / rate;
    mSink(pts, rate, mOut.data(), size_t(frames));
    av_frame_unref(mFrame);
  }
}

void DVDAudioDecoder::DecodeLPCM(uint8_t const* data, size_t size, int64_t pts) {
  // Audio frame header: frame number, then quantisation, rate and channel count.
  if (size < 3) return;
  int const quant = data[1] >> 6;
  int const rate = (data[1] >> 4 & 3) == 1 ? 96000 : 48000;
  int const channels = (data[1] & 7) + 1;
  data += 3;
  size -= 3;
  if (quant != 0) return;  // 20- and 24-bit LPCM are not played
  size_t const frameBytes = size_t(channels) * 2;
  int64_t const held = int64_t(mPending.size() / frameBytes) * 90000 / rate;
  int64_t const start = pts != kNoTime ? pts - held : mNextPts;
  mPending.insert(mPending.end(), data, data + size);
  size_t const frames = mPending.size() / frameBytes;
  if (frames == 0 || start == kNoTime) return;
  mOut.resize(frames * 2);
  for (size_t i = 0; i < frames; ++i) {
    uint8_t const* s = mPending.data() + i * frameBytes;
    auto value = [&](int ch) { return int16_t(uint16_t(s[ch * 2] << 8 | s[ch * 2 + 1])); };
    mOut[i * 2] = value(0);
    mOut[i * 2 + 1] = value(channels > 1 ? 1 : 0);
  }
  mPending.erase(mPending.begin(), mPending.begin() + std::ptrdiff_t(frames * frameBytes));
  mNextPts = start + int64_t(frames) * 90000 / rate;
  mSink(start, rate, mOut.data(), frames);
}

void DVDAudioDecoder::Flush() {
  mPending.clear();
  mNextPts = kNoTime;
  if (!mContext) return;
  avcodec_flush_buffers(mContext);
  if (mParser) av_parser_close(mParser);
  mParser = av_parser_init(mContext->codec_id);
}

}  // namespace dvd
