#include "DVDCaptionDecoder.h"

#include "DVDLibraryLog.h"
#include "PlatformLog.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavutil/opt.h>
}

#include <cstring>

namespace dvd {

DVDCaptionDecoder::~DVDCaptionDecoder() {
  avcodec_free_context(&mContext);
  av_packet_free(&mPacket);
}

bool DVDCaptionDecoder::Construct() {
  RouteCodecMessages();
  AVCodec const* const codec = avcodec_find_decoder(AV_CODEC_ID_EIA_608);
  if (!codec) {
    PlatformLog("DVDCaptionDecoder::Construct: no closed-caption decoder in libavcodec");
    return false;
  }
  mContext = avcodec_alloc_context3(codec);
  mPacket = av_packet_alloc();
  if (!mContext || !mPacket) return false;
  mContext->pkt_timebase = AVRational{1, 90000};
  // Every change as it comes, so that a caption starts on the picture that shows it.
  av_opt_set_int(mContext, "real_time", 1, AV_OPT_SEARCH_CHILDREN);
  av_opt_set_int(mContext, "real_time_latency_msec", 0, AV_OPT_SEARCH_CHILDREN);
  if (avcodec_open2(mContext, codec, nullptr) < 0) {
    PlatformLog("DVDCaptionDecoder::Construct: the closed-caption decoder does not open");
    return false;
  }
  return true;
}

bool DVDCaptionDecoder::Feed(uint8_t const* data, size_t size, std::string* text) {
  if (!mContext || !data || size < 3) return false;
  if (av_new_packet(mPacket, int(size)) < 0) return false;
  std::memcpy(mPacket->data, data, size);
  // Its own clock, a picture a tick: the decoder wants them rising.
  mPacket->pts = ++mPts;
  AVSubtitle subtitle{};
  int got = 0;
  int const used = avcodec_decode_subtitle2(mContext, &subtitle, &got, mPacket);
  av_packet_unref(mPacket);
  if (used < 0 || !got) return false;
  text->clear();
  for (unsigned i = 0; i < subtitle.num_rects; ++i) {
    AVSubtitleRect const* const rect = subtitle.rects[i];
    if (!rect || !rect->ass) continue;
    std::string const words = PlainText(rect->ass);
    if (words.empty()) continue;
    if (!text->empty()) *text += '\n';
    *text += words;
  }
  avsubtitle_free(&subtitle);
  return true;
}

void DVDCaptionDecoder::Reset() {
  if (mContext) avcodec_flush_buffers(mContext);
}

std::string DVDCaptionDecoder::PlainText(char const* dialogue) {
  // ReadOrder, Layer, Style, Name, MarginL, MarginR, MarginV, Effect, then the text.
  char const* p = dialogue;
  for (int commas = 0; *p && commas < 8; ++p) {
    if (*p == ',') ++commas;
  }
  std::string out;
  for (; *p; ++p) {
    if (*p == '{') {
      char const* const close = std::strchr(p, '}');
      if (!close) break;
      p = close;
    } else if (*p == '\\' && (p[1] == 'N' || p[1] == 'n')) {
      out += '\n';
      ++p;
    } else if (*p == '\\' && p[1] == 'h') {
      out += ' ';
      ++p;
    } else {
      out += *p;
    }
  }
  // Rows keep their words; the spaces that only place them go.
  std::string trimmed;
  size_t start = 0;
  while (start <= out.size()) {
    size_t end = out.find('\n', start);
    if (end == std::string::npos) end = out.size();
    std::string row = out.substr(start, end - start);
    size_t const first = row.find_first_not_of(' ');
    size_t const last = row.find_last_not_of(' ');
    if (first != std::string::npos) {
      if (!trimmed.empty()) trimmed += '\n';
      trimmed += row.substr(first, last - first + 1);
    }
    start = end + 1;
  }
  return trimmed;
}

}  // namespace dvd
