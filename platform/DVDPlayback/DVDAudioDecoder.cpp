#include "DVDAudioDecoder.h"

#include <algorithm>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavutil/channel_layout.h>
}

namespace dvd {

namespace {

int16_t Clip(float v) {
  float const s = std::clamp(v, -1.0f, 1.0f) * 32767.0f;
  // Half away from zero, as lround, without a library call per sample.
  return int16_t(s + (s >= 0.0f ? 0.5f : -0.5f));
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
  return mCodec.Open(id);
}

void DVDAudioDecoder::Decode(uint8_t const* data, size_t size, int64_t pts) {
  if (mKind == DVDStreamKind::LPCM) {
    DecodeLPCM(data, size, pts);
    return;
  }
  mCodec.Parse(data, size, pts, [this](uint8_t* out, int outSize) {
    AVPacket* const packet = mCodec.Packet();
    packet->data = out;
    packet->size = outSize;
    packet->pts = mCodec.Parser()->pts;
    // A damaged frame is refused; the next one decodes.
    avcodec_send_packet(mCodec.Context(), packet);
    Receive();
  });
}

void DVDAudioDecoder::Receive() {
  AVFrame* const frame = mCodec.Frame();
  while (avcodec_receive_frame(mCodec.Context(), frame) == 0) {
    int const rate = frame->sample_rate;
    int const frames = frame->nb_samples;
    int64_t pts = frame->pts;
    if (pts == AV_NOPTS_VALUE) pts = mNextPts;
    if (rate <= 0 || frames <= 0 || pts == kNoTime) {
      av_frame_unref(frame);
      continue;
    }
    // Stereo from whatever the stream has: the fronts, the centre and the surrounds.
    AVChannelLayout const& layout = frame->ch_layout;
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
    auto const mixWith = [&](auto sample) {
      for (int i = 0; i < frames; ++i) {
        float l = sample(fl, i);
        float r = sample(fr, i);
        if (fc >= 0) {
          float const c = sample(fc, i) * 0.7071f;
          l += c;
          r += c;
        }
        if (sl >= 0) l += sample(sl, i) * 0.7071f;
        if (sr >= 0) r += sample(sr, i) * 0.7071f;
        mOut[size_t(i) * 2] = Clip(l * gain);
        mOut[size_t(i) * 2 + 1] = Clip(r * gain);
      }
    };
    // AC-3 and MPEG audio decode to planar floats: read those directly.
    if (frame->format == AV_SAMPLE_FMT_FLTP) {
      mixWith([frame](int ch, int i) {
        return reinterpret_cast<float const*>(frame->extended_data[ch])[i];
      });
    } else {
      mixWith([frame](int ch, int i) { return Sample(frame, ch, i); });
    }
    mNextPts = pts + int64_t(frames) * 90000 / rate;
    mSink(pts, rate, mOut.data(), size_t(frames));
    av_frame_unref(frame);
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
  mCodec.Flush();
}

}  // namespace dvd
