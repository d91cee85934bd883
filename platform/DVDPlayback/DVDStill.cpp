#include "DVDStill.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>

extern "C" {
#include <libavfilter/avfilter.h>
#include <libavfilter/buffersink.h>
#include <libavfilter/buffersrc.h>
#include <libavutil/frame.h>
#include <libavutil/mathematics.h>
#include <libswscale/swscale.h>
}

namespace {

// A black border's luma may sit a little above black level (noise, ringing); its chroma is
// neutral.
constexpr int kBlackLuma = 24;
constexpr int kNeutralChroma = 8;

struct FrameFree {
  void operator()(AVFrame* f) const { av_frame_free(&f); }
};
using Frame = std::unique_ptr<AVFrame, FrameFree>;
struct GraphFree {
  void operator()(AVFilterGraph* g) const { avfilter_graph_free(&g); }
};
struct ScalerFree {
  void operator()(SwsContext* c) const { sws_freeContext(c); }
};
using Scaler = std::unique_ptr<SwsContext, ScalerFree>;

// A planar 4:2:0 picture in the request's pixels (no copy).
Frame PictureAt(DVDDecodedFrameInfo const& info, UInt8 const* planes, int64_t pts) {
  Frame f(av_frame_alloc());
  if (!f) return f;
  int const w = info.width;
  int const h = info.height;
  f->format = AV_PIX_FMT_YUV420P;
  f->width = w;
  f->height = h;
  f->data[0] = const_cast<UInt8*>(planes);
  f->data[1] = f->data[0] + size_t(w) * size_t(h);
  f->data[2] = f->data[1] + size_t(w / 2) * size_t(h / 2);
  f->linesize[0] = w;
  f->linesize[1] = f->linesize[2] = w / 2;
  f->pts = pts;
  f->interlaced_frame = !info.progressive;
  f->top_field_first = info.topFieldFirst;
  return f;
}

// Pictures are fed as 0, 1, 2 in this time base.
constexpr AVRational kTimeBase{1, 25};

// The picture (pts 1) deinterlaced by bwdif with the neighbours at hand; null on failure.
Frame Bwdif(DVDStillRequest const& r) {
  DVDDecodedFrameInfo const& info = r.info;
  std::unique_ptr<AVFilterGraph, GraphFree> graph(avfilter_graph_alloc());
  if (!graph) return nullptr;
  char source[160];
  std::snprintf(source, sizeof source,
                "video_size=%dx%d:pix_fmt=%d:time_base=%d/%d:pixel_aspect=1/1", info.width,
                info.height, int(AV_PIX_FMT_YUV420P), kTimeBase.num, kTimeBase.den);
  char mode[96];
  std::snprintf(mode, sizeof mode, "mode=send_frame:parity=%s:deint=all",
                info.topFieldFirst ? "tff" : "bff");
  AVFilterContext* in = nullptr;
  AVFilterContext* bwdif = nullptr;
  AVFilterContext* out = nullptr;
  if (avfilter_graph_create_filter(&in, avfilter_get_by_name("buffer"), "in", source, nullptr,
                                   graph.get()) < 0 ||
      avfilter_graph_create_filter(&bwdif, avfilter_get_by_name("bwdif"), "bwdif", mode,
                                   nullptr, graph.get()) < 0 ||
      avfilter_graph_create_filter(&out, avfilter_get_by_name("buffersink"), "out", nullptr,
                                   nullptr, graph.get()) < 0 ||
      avfilter_link(in, 0, bwdif, 0) < 0 || avfilter_link(bwdif, 0, out, 0) < 0 ||
      avfilter_graph_config(graph.get(), nullptr) < 0) {
    return nullptr;
  }
  size_t const one = info.pictureBytes;
  UInt8 const* p = r.planes.data();
  auto const feed = [&](UInt8 const* planes, int64_t pts) {
    Frame f = PictureAt(info, planes, pts);
    // Not reference counted: the source copies it.
    return f && av_buffersrc_write_frame(in, f.get()) >= 0;
  };
  bool fed = true;
  if (info.neighbours & kDVDDecodedBefore) {
    fed = feed(p, 0);
    p += one;
  }
  fed = fed && feed(p, 1);
  if (fed && (info.neighbours & kDVDDecodedAfter)) fed = feed(p + one, 2);
  if (!fed || av_buffersrc_add_frame(in, nullptr) < 0) return nullptr;
  for (;;) {
    Frame f(av_frame_alloc());
    if (!f || av_buffersink_get_frame(out, f.get()) < 0) return nullptr;
    // The filter counts time in fields.
    if (av_rescale_q(f->pts, av_buffersink_get_time_base(out), kTimeBase) == 1) return f;
  }
}

int ColorSpace(DVDColorMatrix matrix) {
  switch (matrix) {
    case kDVDColorMatrixBT709: return SWS_CS_ITU709;
    case kDVDColorMatrixSMPTE240M: return SWS_CS_SMPTE240M;
    default: return SWS_CS_ITU601;
  }
}

// Y'CbCr to ARGB at the same size, once, with the stream's matrix, its range expanded.
bool ToARGB(AVFrame const* f, DVDDecodedFrameInfo const& info, UInt8* argb, int rowBytes) {
  Scaler scaler(sws_getContext(f->width, f->height, AVPixelFormat(f->format), f->width,
                               f->height, AV_PIX_FMT_ARGB,
                               SWS_BICUBIC | SWS_ACCURATE_RND | SWS_FULL_CHR_H_INT, nullptr,
                               nullptr, nullptr));
  if (!scaler) return false;
  int const* const coefficients = sws_getCoefficients(ColorSpace(info.matrix));
  sws_setColorspaceDetails(scaler.get(), coefficients, info.fullRange ? 1 : 0, coefficients, 1,
                           0, 1 << 16, 1 << 16);
  uint8_t* dst[4] = {argb, nullptr, nullptr, nullptr};
  int const dstStride[4] = {rowBytes, 0, 0, 0};
  return sws_scale(scaler.get(), f->data, f->linesize, 0, f->height, dst, dstStride) ==
         f->height;
}

// Straight-alpha RGBA over ARGB, rounded.
void DrawOver(std::vector<UInt8> const& rgba, UInt8* argb, int width, int height) {
  for (size_t i = 0, n = size_t(width) * size_t(height); i < n; ++i) {
    UInt8 const* const o = &rgba[i * 4];
    int const a = o[3];
    if (a == 0) continue;
    UInt8* const px = &argb[i * 4];
    for (int c = 0; c < 3; ++c) px[1 + c] = UInt8((o[c] * a + px[1 + c] * (255 - a) + 127) / 255);
  }
}

// The picture's black borders: rows and columns black across the whole picture, from each
// edge inwards. A picture black all over keeps everything (a dark scene, not a border).
struct Region {
  int left, top, right, bottom;
};
Region Borders(DVDDecodedFrameInfo const& info, UInt8 const* y) {
  int const w = info.width;
  int const h = info.height;
  UInt8 const* const cb = y + size_t(w) * size_t(h);
  UInt8 const* const cr = cb + size_t(w / 2) * size_t(h / 2);
  auto const black = [&](int x, int yy) {
    size_t const c = size_t(yy / 2) * size_t(w / 2) + size_t(x / 2);
    int const black = info.fullRange ? 0 : 16;
    return y[size_t(yy) * size_t(w) + size_t(x)] <= black + kBlackLuma - 16 &&
           std::abs(cb[c] - 128) <= kNeutralChroma && std::abs(cr[c] - 128) <= kNeutralChroma;
  };
  auto const rowBlack = [&](int yy) {
    for (int x = 0; x < w; ++x) {
      if (!black(x, yy)) return false;
    }
    return true;
  };
  Region r{0, 0, w, h};
  while (r.top < h && rowBlack(r.top)) ++r.top;
  if (r.top == h) return Region{0, 0, w, h};
  while (rowBlack(r.bottom - 1)) --r.bottom;
  auto const columnBlack = [&](int x) {
    for (int yy = r.top; yy < r.bottom; ++yy) {
      if (!black(x, yy)) return false;
    }
    return true;
  };
  while (columnBlack(r.left)) ++r.left;
  while (columnBlack(r.right - 1)) --r.right;
  // Whole chroma samples only.
  r.left = (r.left + 1) & ~1;
  r.top = (r.top + 1) & ~1;
  r.right &= ~1;
  r.bottom &= ~1;
  return r;
}

}  // namespace

UInt32 DVDStillDisplayWidth(UInt32 height, DVDAspectRatio aspect) {
  // The nearest even width: 480 lines at 16:9 are 853.3 -> 854.
  UInt32 const num = aspect == kDVDAspectRatio16x9 ? 16 : 4;
  UInt32 const den = aspect == kDVDAspectRatio16x9 ? 9 : 3;
  return (height * num + den) / (2 * den) * 2;
}

OSStatus DVDMakeStill(DVDStillRequest const& r, DVDStillPicture* out) {
  DVDDecodedFrameInfo const& info = r.info;
  if (!out || info.width == 0 || info.height == 0 || info.width % 2 || info.height % 2 ||
      info.pictureBytes != UInt32(info.width) * info.height * 3 / 2) {
    return kDVDErrorInvalidArgument;
  }
  size_t const pictures = 1 + (info.neighbours & kDVDDecodedBefore ? 1 : 0) +
                          (info.neighbours & kDVDDecodedAfter ? 1 : 0);
  size_t const pixels = size_t(info.width) * info.height;
  if (r.planes.size() != pictures * info.pictureBytes ||
      (!r.overlay.empty() && r.overlay.size() != pixels * 4)) {
    return kDVDErrorInvalidArgument;
  }
  UInt8 const* const planes =
      r.planes.data() + (info.neighbours & kDVDDecodedBefore ? info.pictureBytes : 0);

  // 1. Deinterlaced as Y'CbCr, with the fields' motion from the neighbours.
  bool const deinterlace = r.deinterlace == kDVDStillDeinterlaceAdaptive ||
                           (r.deinterlace == kDVDStillDeinterlaceAuto && !info.progressive);
  Frame picture = deinterlace ? Bwdif(r) : nullptr;
  bool const deinterlaced = picture != nullptr;
  if (!picture) picture = PictureAt(info, planes, 1);
  if (!picture) return kDVDErrorInvalidArgument;

  // 2. RGB once, at the stored size; the caller's filter; what is drawn over it.
  int const w = info.width;
  int const h = info.height;
  std::vector<UInt8> stored(pixels * 4);
  if (!ToARGB(picture.get(), info, stored.data(), w * 4)) return kDVDErrorInvalidArgument;
  if (r.fieldFilter) r.fieldFilter(stored.data(), UInt32(w), UInt32(h), UInt32(w) * 4,
                                   r.fieldFilterRefCon);
  if (!r.overlay.empty()) DrawOver(r.overlay, stored.data(), w, h);

  // 3. The part shown: the aperture's columns, inside the borders.
  int const cut = r.shape == kDVDStillShapeSquarePixelsITU ? (w * 8 / 720 + 1) & ~1 : 0;
  Region shown = r.cropBorders ? Borders(info, planes) : Region{0, 0, w, h};
  shown.left = std::max(shown.left, cut);
  shown.right = std::min(shown.right, w - cut);
  if (shown.right <= shown.left) shown = Region{cut, 0, w - cut, h};
  int const shownW = shown.right - shown.left;
  int const shownH = shown.bottom - shown.top;

  // 4. Its true shape: the aperture spans the display width; lines stay lines.
  int outW = shownW;
  if (r.shape != kDVDStillShapeStored) {
    int const display = int(DVDStillDisplayWidth(UInt32(h), info.aspect));
    outW = std::max(1, int((int64_t(shownW) * display * 2 + (w - 2 * cut)) /
                           (2 * int64_t(w - 2 * cut))));
  }
  out->width = UInt32(outW);
  out->height = UInt32(shownH);
  out->rowBytes = UInt32(outW) * 4;
  out->deinterlaced = deinterlaced;
  out->left = UInt32(shown.left);
  out->top = UInt32(shown.top);
  out->right = UInt32(shown.right);
  out->bottom = UInt32(shown.bottom);
  out->argb.assign(size_t(out->rowBytes) * out->height, 0);
  UInt8 const* const from = stored.data() + (size_t(shown.top) * w + shown.left) * 4;
  if (outW == shownW) {
    for (int y = 0; y < shownH; ++y) {
      std::memcpy(&out->argb[size_t(y) * out->rowBytes], from + size_t(y) * w * 4,
                  size_t(outW) * 4);
    }
    return noErr;
  }
  Scaler scaler(sws_getContext(shownW, shownH, AV_PIX_FMT_ARGB, outW, shownH, AV_PIX_FMT_ARGB,
                               SWS_LANCZOS | SWS_ACCURATE_RND | SWS_FULL_CHR_H_INT, nullptr,
                               nullptr, nullptr));
  if (!scaler) return kDVDErrorInvalidArgument;
  uint8_t const* src[4] = {from, nullptr, nullptr, nullptr};
  int const srcStride[4] = {w * 4, 0, 0, 0};
  uint8_t* dst[4] = {out->argb.data(), nullptr, nullptr, nullptr};
  int const dstStride[4] = {int(out->rowBytes), 0, 0, 0};
  sws_scale(scaler.get(), src, srcStride, 0, shownH, dst, dstStride);
  return noErr;
}
