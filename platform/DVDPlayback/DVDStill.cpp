#include "DVDStill.h"

#include "DVDFieldMatch.h"
#include "DVDPicture.h"
#include "DVDSharedLibrary.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <memory>
#include <type_traits>

extern "C" {
#include <libavfilter/avfilter.h>
#include <libavfilter/buffersink.h>
#include <libavfilter/buffersrc.h>
#include <libavutil/frame.h>
#include <libavutil/mathematics.h>
#include <libswscale/swscale.h>
}

#if TAVELO_X86_VECTOR
#include <immintrin.h>
#endif

namespace {

// A border's luma never rises above FFmpeg cropdetect's default limit, 24 of 255, compared
// as stored whatever the range, as cropdetect does (TV black is 16: room for noise and
// ringing). Chroma is not looked at: the band's rows next to the picture carry the
// picture's, bled over by 4:2:0 subsampling and coding.
constexpr int kBorderLimit = 24;

struct FrameFree {
  void operator()(AVFrame* f) const { av_frame_free(&f); }
};
using Frame = std::unique_ptr<AVFrame, FrameFree>;

// libavfilter, loaded with the first picture bwdif is wanted for.
struct FilterLibrary {
  decltype(&avfilter_graph_alloc) graphAlloc = nullptr;
  decltype(&avfilter_graph_free) graphFree = nullptr;
  decltype(&avfilter_get_by_name) getByName = nullptr;
  decltype(&avfilter_graph_create_filter) createFilter = nullptr;
  decltype(&avfilter_link) link = nullptr;
  decltype(&avfilter_graph_config) config = nullptr;
  decltype(&av_buffersrc_write_frame) write = nullptr;
  decltype(&av_buffersrc_add_frame) add = nullptr;
  decltype(&av_buffersink_get_frame) get = nullptr;
  decltype(&av_buffersink_get_time_base) timeBase = nullptr;
  bool loaded = false;
};

FilterLibrary const& Filters() {
  static FilterLibrary const library = [] {
    FilterLibrary f;
    static dvd::DVDSharedLibrary shared;
    f.loaded = shared.Construct("libavfilter.so." AV_STRINGIFY(LIBAVFILTER_VERSION_MAJOR)) &&
               shared.Bind(f.graphAlloc, "avfilter_graph_alloc") &&
               shared.Bind(f.graphFree, "avfilter_graph_free") &&
               shared.Bind(f.getByName, "avfilter_get_by_name") &&
               shared.Bind(f.createFilter, "avfilter_graph_create_filter") &&
               shared.Bind(f.link, "avfilter_link") &&
               shared.Bind(f.config, "avfilter_graph_config") &&
               shared.Bind(f.write, "av_buffersrc_write_frame") &&
               shared.Bind(f.add, "av_buffersrc_add_frame") &&
               shared.Bind(f.get, "av_buffersink_get_frame") &&
               shared.Bind(f.timeBase, "av_buffersink_get_time_base");
    return f;
  }();
  return library;
}

struct GraphFree {
  void operator()(AVFilterGraph* g) const { Filters().graphFree(&g); }
};

// One planar 4:2:0 picture's planes: in a request's pixels or in a decoded picture held.
using Planes = dvd::DVDPlanes;

// The pictures a still is made from, wherever their pixels are.
struct Source {
  Planes before;
  Planes picture;
  Planes after;
  std::vector<UInt8> const* overlay = nullptr;  // null or empty: nothing drawn over it
};

Planes PackedPlanes(DVDDecodedFrameInfo const& info, UInt8 const* p) {
  int const w = info.width;
  int const h = info.height;
  Planes planes;
  planes.data[0] = p;
  planes.data[1] = p + size_t(w) * size_t(h);
  planes.data[2] = planes.data[1] + size_t(w / 2) * size_t(h / 2);
  planes.linesize[0] = w;
  planes.linesize[1] = planes.linesize[2] = w / 2;
  return planes;
}

Planes FramePlanes(AVFrame const* f) {
  Planes planes;
  for (int i = 0; i < 3; ++i) {
    planes.data[i] = f->data[i];
    planes.linesize[i] = f->linesize[i];
  }
  return planes;
}

// What the request holds, checked against its information; false when they disagree.
bool SourceOf(DVDStillRequest const& r, Source* source) {
  DVDDecodedFrameInfo const& info = r.info;
  bool const hasBefore = info.neighbours & kDVDDecodedBefore;
  bool const hasAfter = info.neighbours & kDVDDecodedAfter;
  if (r.taken) {
    auto const* const picture = static_cast<dvd::DVDPicture const*>(r.taken.get());
    auto const fits = [&](AVFrame const* f) {
      return f && f->width == info.width && f->height == info.height && f->data[0] &&
             f->data[1] && f->data[2];
    };
    if (!fits(picture->decoded.get()) || (hasBefore && !fits(picture->before.get())) ||
        (hasAfter && !fits(picture->after.get()))) {
      return false;
    }
    source->picture = FramePlanes(picture->decoded.get());
    if (hasBefore) source->before = FramePlanes(picture->before.get());
    if (hasAfter) source->after = FramePlanes(picture->after.get());
    if (r.takenWithOverlay) source->overlay = &picture->Overlay();
    size_t const pixels = size_t(info.width) * info.height;
    return !source->overlay || source->overlay->empty() || source->overlay->size() == pixels * 4;
  }
  size_t const pictures = 1 + (hasBefore ? 1 : 0) + (hasAfter ? 1 : 0);
  size_t const pixels = size_t(info.width) * info.height;
  if (r.planes.size() != pictures * info.pictureBytes ||
      (!r.overlay.empty() && r.overlay.size() != pixels * 4)) {
    return false;
  }
  UInt8 const* p = r.planes.data();
  if (hasBefore) {
    source->before = PackedPlanes(info, p);
    p += info.pictureBytes;
  }
  source->picture = PackedPlanes(info, p);
  if (hasAfter) source->after = PackedPlanes(info, p + info.pictureBytes);
  source->overlay = &r.overlay;
  return true;
}

// A planar 4:2:0 picture over planes (no copy).
Frame PictureAt(DVDDecodedFrameInfo const& info, Planes const& planes, int64_t pts) {
  Frame f(av_frame_alloc());
  if (!f) return f;
  f->format = AV_PIX_FMT_YUV420P;
  f->width = info.width;
  f->height = info.height;
  for (int i = 0; i < 3; ++i) {
    f->data[i] = const_cast<UInt8*>(planes.data[i]);
    f->linesize[i] = planes.linesize[i];
  }
  f->pts = pts;
  f->interlaced_frame = !info.progressive;
  f->top_field_first = info.topFieldFirst;
  return f;
}

// Pictures are fed as 0, 1, 2 in this time base.
constexpr AVRational kTimeBase{1, 25};

// The picture (pts 1) deinterlaced by bwdif with the neighbours at hand; null on failure.
Frame Bwdif(DVDDecodedFrameInfo const& info, Source const& pictures) {
  FilterLibrary const& av = Filters();
  if (!av.loaded) return nullptr;
  std::unique_ptr<AVFilterGraph, GraphFree> graph(av.graphAlloc());
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
  auto const make = [&](AVFilterContext** c, char const* filter, char const* args) {
    return av.createFilter(c, av.getByName(filter), filter, args, nullptr, graph.get()) >= 0;
  };
  if (!make(&in, "buffer", source) || !make(&bwdif, "bwdif", mode) ||
      !make(&out, "buffersink", nullptr) || av.link(in, 0, bwdif, 0) < 0 ||
      av.link(bwdif, 0, out, 0) < 0 || av.config(graph.get(), nullptr) < 0) {
    return nullptr;
  }
  auto const feed = [&](Planes const& planes, int64_t pts) {
    Frame f = PictureAt(info, planes, pts);
    // Not reference counted: the source copies it.
    return f && av.write(in, f.get()) >= 0;
  };
  bool fed = true;
  if (info.neighbours & kDVDDecodedBefore) fed = feed(pictures.before, 0);
  fed = fed && feed(pictures.picture, 1);
  if (fed && (info.neighbours & kDVDDecodedAfter)) fed = feed(pictures.after, 2);
  if (!fed || av.add(in, nullptr) < 0) return nullptr;
  for (;;) {
    Frame f(av_frame_alloc());
    if (!f || av.get(out, f.get()) < 0) return nullptr;
    // The filter counts time in fields.
    if (av_rescale_q(f->pts, av.timeBase(out), kTimeBase) == 1) return f;
  }
}

dvd::DVDFieldSource FieldsOf(DVDDecodedFrameInfo const& info, Source const& pictures) {
  dvd::DVDFieldSource fields;
  fields.before = pictures.before;
  fields.picture = pictures.picture;
  fields.after = pictures.after;
  fields.width = info.width;
  fields.height = info.height;
  fields.topFieldFirst = info.topFieldFirst;
  return fields;
}

// The film frame a telecined picture holds, woven from its matching fields; null when every
// weave stays combed.
Frame FieldMatched(DVDDecodedFrameInfo const& info, Source const& pictures) {
  dvd::DVDFieldSource const fields = FieldsOf(info, pictures);
  dvd::DVDFieldMatchKind const kind = dvd::DVDMatchFields(fields);
  if (kind == dvd::DVDFieldMatchKind::kNone) return nullptr;
  // Its own fields: nothing to weave.
  if (kind == dvd::DVDFieldMatchKind::kCurrent) return PictureAt(info, pictures.picture, 1);
  Frame f(av_frame_alloc());
  if (!f) return f;
  f->format = AV_PIX_FMT_YUV420P;
  f->width = info.width;
  f->height = info.height;
  if (av_frame_get_buffer(f.get(), 0) < 0 ||
      !dvd::DVDWeaveFields(fields, kind, f->data, f->linesize)) {
    return nullptr;
  }
  return f;
}

// One scaler a thread for each step, kept for the next still of the same shape: making the
// filters (Lanczos weights) costs more than using them.
SwsContext* CachedScaler(int slot, int srcW, int srcH, AVPixelFormat srcFormat, int dstW,
                         int dstH, AVPixelFormat dstFormat, int flags) {
  struct Cache {
    std::array<SwsContext*, 2> contexts{};
    ~Cache() {
      for (SwsContext* c : contexts) sws_freeContext(c);
    }
  };
  thread_local Cache cache;
  SwsContext*& c = cache.contexts[size_t(slot)];
  c = sws_getCachedContext(c, srcW, srcH, srcFormat, dstW, dstH, dstFormat, flags, nullptr,
                           nullptr, nullptr);
  return c;
}

// The matrix's weights of R and B in luma (BT.601 unless the stream says otherwise).
void LumaWeights(DVDColorMatrix matrix, double& kr, double& kb) {
  switch (matrix) {
    case kDVDColorMatrixBT709: kr = 0.2126; kb = 0.0722; break;
    case kDVDColorMatrixSMPTE240M: kr = 0.212; kb = 0.087; break;
    default: kr = 0.299; kb = 0.114; break;
  }
}

// The conversion in fixed point with 16 fraction bits; TV range: Y' 16-235, Cb Cr 16-240
// around 128.
struct Matrix {
  int32_t y0, cy, crR, cbB, cbG, crG;
};

Matrix MatrixOf(DVDDecodedFrameInfo const& info) {
  double kr = 0;
  double kb = 0;
  LumaWeights(info.matrix, kr, kb);
  double const kg = 1 - kr - kb;
  double const ys = info.fullRange ? 1.0 : 255.0 / 219.0;
  double const cs = info.fullRange ? 1.0 : 255.0 / 224.0;
  auto const fixed = [](double v) { return int32_t(std::lround(v * 65536.0)); };
  return Matrix{info.fullRange ? 0 : 16,
                fixed(ys),
                fixed(cs * 2 * (1 - kr)),
                fixed(cs * 2 * (1 - kb)),
                fixed(cs * 2 * (1 - kb) * kb / kg),
                fixed(cs * 2 * (1 - kr) * kr / kg)};
}

// Pixels from..to of a row of Y'CbCr 4:4:4, each rounded to nearest.
void ConvertRow(Matrix const& m, UInt8 const* ys, UInt8 const* cbs, UInt8 const* crs, int from,
                int to, bool rgbx, UInt8* row) {
  int const kR = rgbx ? 0 : 1;  // where red goes
  for (int x = from; x < to; ++x) {
    int32_t const l = (ys[x] - m.y0) * m.cy + 32768;
    int32_t const b = cbs[x] - 128;
    int32_t const r = crs[x] - 128;
    UInt8* const px = row + x * 4;
    px[rgbx ? 3 : 0] = 255;
    px[kR] = UInt8(std::clamp((l + r * m.crR) >> 16, 0, 255));
    px[kR + 1] = UInt8(std::clamp((l - b * m.cbG - r * m.crG) >> 16, 0, 255));
    px[kR + 2] = UInt8(std::clamp((l + b * m.cbB) >> 16, 0, 255));
  }
}

#if TAVELO_X86_VECTOR
bool HasAVX2() {
  __builtin_cpu_init();
  return __builtin_cpu_supports("avx2");
}

__attribute__((target("avx2"))) inline __m256i Load8(UInt8 const* p) {
  return _mm256_cvtepu8_epi32(_mm_loadl_epi64(reinterpret_cast<__m128i const*>(p)));
}

// v >> 16, kept within 0-255.
__attribute__((target("avx2"))) inline __m256i Channel(__m256i v) {
  return _mm256_min_epi32(_mm256_max_epi32(_mm256_srai_epi32(v, 16), _mm256_setzero_si256()),
                          _mm256_set1_epi32(255));
}

// The same sums eight pixels at a time; answers how many pixels it did (a multiple of 8).
__attribute__((target("avx2"))) int ConvertRowAVX2(Matrix const& m, UInt8 const* ys,
                                                   UInt8 const* cbs, UInt8 const* crs, int n,
                                                   bool rgbx, UInt8* row) {
  __m256i const y0 = _mm256_set1_epi32(m.y0);
  __m256i const cy = _mm256_set1_epi32(m.cy);
  __m256i const half = _mm256_set1_epi32(32768);
  __m256i const c128 = _mm256_set1_epi32(128);
  __m256i const crR = _mm256_set1_epi32(m.crR);
  __m256i const cbB = _mm256_set1_epi32(m.cbB);
  __m256i const cbG = _mm256_set1_epi32(m.cbG);
  __m256i const crG = _mm256_set1_epi32(m.crG);
  // Little-endian words: R G B X is R | G << 8 | B << 16 | X << 24; A R G B one byte on.
  __m256i const opaque = _mm256_set1_epi32(rgbx ? int32_t(0xff000000u) : 0xff);
  int x = 0;
  for (; x + 8 <= n; x += 8) {
    __m256i const l =
        _mm256_add_epi32(_mm256_mullo_epi32(_mm256_sub_epi32(Load8(ys + x), y0), cy), half);
    __m256i const b = _mm256_sub_epi32(Load8(cbs + x), c128);
    __m256i const r = _mm256_sub_epi32(Load8(crs + x), c128);
    __m256i const red = Channel(_mm256_add_epi32(l, _mm256_mullo_epi32(r, crR)));
    __m256i const green = Channel(_mm256_sub_epi32(
        _mm256_sub_epi32(l, _mm256_mullo_epi32(b, cbG)), _mm256_mullo_epi32(r, crG)));
    __m256i const blue = Channel(_mm256_add_epi32(l, _mm256_mullo_epi32(b, cbB)));
    __m256i const rgb = _mm256_or_si256(
        red, _mm256_or_si256(_mm256_slli_epi32(green, 8), _mm256_slli_epi32(blue, 16)));
    __m256i const word = _mm256_or_si256(rgbx ? rgb : _mm256_slli_epi32(rgb, 8), opaque);
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(row + x * 4), word);
  }
  return x;
}
#else
bool HasAVX2() { return false; }
#endif

// Y'CbCr (the part of f from left, top, width x height) to ARGB or RGBX at outW x height,
// once:
// scaled as Y'CbCr 4:4:4 (Lanczos across, the chroma brought to every pixel), then each
// pixel converted with the stream's matrix, its range expanded, rounded to nearest.
bool ToRGB(AVFrame const* f, DVDDecodedFrameInfo const& info, int left, int top, int width,
           int height, int outW, bool rgbx, UInt8* out, int rowBytes) {
  int const flags = (outW == width ? SWS_BICUBIC : SWS_LANCZOS) | SWS_ACCURATE_RND;
  SwsContext* const scaler = CachedScaler(0, width, height, AVPixelFormat(f->format), outW,
                                          height, AV_PIX_FMT_YUV444P, flags);
  if (!scaler) return false;
  thread_local std::vector<UInt8> planes;
  size_t const plane = size_t(outW) * size_t(height);
  planes.resize(plane * 3);
  // Left and top are even: whole chroma samples.
  uint8_t const* const src[4] = {
      f->data[0] + std::ptrdiff_t(top) * f->linesize[0] + left,
      f->data[1] + std::ptrdiff_t(top / 2) * f->linesize[1] + left / 2,
      f->data[2] + std::ptrdiff_t(top / 2) * f->linesize[2] + left / 2, nullptr};
  uint8_t* dst[4] = {planes.data(), planes.data() + plane, planes.data() + 2 * plane, nullptr};
  int const dstStride[4] = {outW, outW, outW, 0};
  if (sws_scale(scaler, src, f->linesize, 0, height, dst, dstStride) != height) return false;

  Matrix const m = MatrixOf(info);
  bool const avx2 = HasAVX2();
  for (int y = 0; y < height; ++y) {
    UInt8 const* const ys8 = planes.data() + size_t(y) * size_t(outW);
    UInt8* const row = out + size_t(y) * size_t(rowBytes);
    int done = 0;
#if TAVELO_X86_VECTOR
    if (avx2) done = ConvertRowAVX2(m, ys8, ys8 + plane, ys8 + 2 * plane, outW, rgbx, row);
#else
    (void)avx2;
#endif
    ConvertRow(m, ys8, ys8 + plane, ys8 + 2 * plane, done, outW, rgbx, row);
  }
  return true;
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

// The picture's black borders, as cropdetect finds them: rows and columns from each edge
// inwards with no luma sample above the limit. A picture dark all over keeps everything (a
// dark scene, not a border).
struct Region {
  int left, top, right, bottom;
};
Region Borders(DVDDecodedFrameInfo const& info, Planes const& planes) {
  int const w = info.width;
  int const h = info.height;
  UInt8 const* const y = planes.data[0];
  size_t const stride = size_t(planes.linesize[0]);
  auto const dark = [&](int x, int yy) {
    return y[size_t(yy) * stride + size_t(x)] <= kBorderLimit;
  };
  auto const rowBorder = [&](int yy) {
    for (int x = 0; x < w; ++x) {
      if (!dark(x, yy)) return false;
    }
    return true;
  };
  Region r{0, 0, w, h};
  while (r.top < h && rowBorder(r.top)) ++r.top;
  if (r.top == h) return Region{0, 0, w, h};
  while (rowBorder(r.bottom - 1)) --r.bottom;
  auto const columnBorder = [&](int x) {
    for (int yy = r.top; yy < r.bottom; ++yy) {
      if (!dark(x, yy)) return false;
    }
    return true;
  };
  while (columnBorder(r.left)) ++r.left;
  while (columnBorder(r.right - 1)) --r.right;
  // Whole 4:2:0 chroma samples only: inwards to even rows and columns.
  r.left = (r.left + 1) & ~1;
  r.top = (r.top + 1) & ~1;
  r.right &= ~1;
  r.bottom &= ~1;
  return r;
}

bool SizeFits(DVDDecodedFrameInfo const& info) {
  return info.width > 0 && info.height > 0 && info.width % 2 == 0 && info.height % 2 == 0 &&
         info.pictureBytes == UInt32(info.width) * info.height * 3 / 2;
}

}  // namespace

UInt32 DVDStillDisplayWidth(UInt32 height, DVDAspectRatio aspect) {
  // The nearest even width: 480 lines at 16:9 are 853.3 -> 854.
  UInt32 const num = aspect == kDVDAspectRatio16x9 ? 16 : 4;
  UInt32 const den = aspect == kDVDAspectRatio16x9 ? 9 : 3;
  return (height * num + den) / (2 * den) * 2;
}

OSStatus DVDGetStillFieldMatch(DVDStillRequest const& r, DVDStillFieldMatch* outMatch) {
  Source source;
  if (!outMatch || !SizeFits(r.info) || !SourceOf(r, &source)) return kDVDErrorInvalidArgument;
  switch (dvd::DVDMatchFields(FieldsOf(r.info, source))) {
    case dvd::DVDFieldMatchKind::kCurrent: *outMatch = kDVDStillFieldMatchCurrent; break;
    case dvd::DVDFieldMatchKind::kPrevious: *outMatch = kDVDStillFieldMatchPrevious; break;
    case dvd::DVDFieldMatchKind::kNext: *outMatch = kDVDStillFieldMatchNext; break;
    case dvd::DVDFieldMatchKind::kNone: *outMatch = kDVDStillFieldMatchNone; break;
  }
  return noErr;
}

OSStatus DVDMakeStill(DVDStillRequest const& r, DVDStillPicture* out) {
  DVDDecodedFrameInfo const& info = r.info;
  if (!out || !SizeFits(info)) return kDVDErrorInvalidArgument;
  Source source;
  if (!SourceOf(r, &source)) return kDVDErrorInvalidArgument;
  size_t const pixels = size_t(info.width) * info.height;
  std::vector<UInt8> const& overlay = source.overlay ? *source.overlay : r.overlay;

  // 1. Deinterlaced as Y'CbCr: on Auto a telecined film frame is woven back from its
  // fields; otherwise with the fields' motion from the neighbours. Adaptive, asked for by
  // name, always deinterlaces.
  bool const automatic = r.deinterlace == kDVDStillDeinterlaceAuto && !info.progressive;
  Frame picture = automatic ? FieldMatched(info, source) : nullptr;
  bool const fieldMatched = picture != nullptr;
  if (!picture && (automatic || r.deinterlace == kDVDStillDeinterlaceAdaptive)) {
    picture = Bwdif(info, source);
  }
  bool const deinterlaced = picture != nullptr;
  if (!picture) picture = PictureAt(info, source.picture, 1);
  if (!picture) return kDVDErrorInvalidArgument;

  // 2. The part shown: the aperture's columns, inside the borders.
  int const w = info.width;
  int const h = info.height;
  int const cut = r.shape == kDVDStillShapeSquarePixelsITU ? (w * 8 / 720 + 1) & ~1 : 0;
  Region shown = r.cropBorders ? Borders(info, source.picture) : Region{0, 0, w, h};
  shown.left = std::max(shown.left, cut);
  shown.right = std::min(shown.right, w - cut);
  if (shown.right <= shown.left) shown = Region{cut, 0, w - cut, h};
  int const shownW = shown.right - shown.left;
  int const shownH = shown.bottom - shown.top;

  // 3. Its true shape: the aperture spans the display width; lines stay lines.
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
  out->fieldMatched = fieldMatched;
  out->left = UInt32(shown.left);
  out->top = UInt32(shown.top);
  out->right = UInt32(shown.right);
  out->bottom = UInt32(shown.bottom);
  out->pixels.resize(size_t(out->rowBytes) * out->height);
  bool const rgbx = r.pixelOrder == kDVDStillPixelsRGBX;

  // 4. RGB once. With nothing to do at the stored size, converted and scaled in one pass;
  // otherwise converted whole, filtered, drawn over, then cut and scaled.
  if (!r.fieldFilter && overlay.empty()) {
    return ToRGB(picture.get(), info, shown.left, shown.top, shownW, shownH, outW, rgbx,
                 out->pixels.data(), int(out->rowBytes))
               ? noErr
               : kDVDErrorInvalidArgument;
  }
  std::vector<UInt8> stored(pixels * 4);
  if (!ToRGB(picture.get(), info, 0, 0, w, h, w, false, stored.data(), w * 4)) {
    return kDVDErrorInvalidArgument;
  }
  if (r.fieldFilter) r.fieldFilter(stored.data(), UInt32(w), UInt32(h), UInt32(w) * 4,
                                   r.fieldFilterRefCon);
  if (!overlay.empty()) DrawOver(overlay, stored.data(), w, h);
  UInt8 const* const from = stored.data() + (size_t(shown.top) * w + shown.left) * 4;
  if (outW == shownW && !rgbx) {
    for (int y = 0; y < shownH; ++y) {
      std::memcpy(&out->pixels[size_t(y) * out->rowBytes], from + size_t(y) * w * 4,
                  size_t(outW) * 4);
    }
    return noErr;
  }
  SwsContext* const scaler =
      CachedScaler(1, shownW, shownH, AV_PIX_FMT_ARGB, outW, shownH,
                   rgbx ? AV_PIX_FMT_RGB0 : AV_PIX_FMT_ARGB,
                   (outW == shownW ? SWS_POINT : SWS_LANCZOS) | SWS_ACCURATE_RND);
  if (!scaler) return kDVDErrorInvalidArgument;
  uint8_t const* src[4] = {from, nullptr, nullptr, nullptr};
  int const srcStride[4] = {w * 4, 0, 0, 0};
  uint8_t* dst[4] = {out->pixels.data(), nullptr, nullptr, nullptr};
  int const dstStride[4] = {int(out->rowBytes), 0, 0, 0};
  sws_scale(scaler, src, srcStride, 0, shownH, dst, dstStride);
  return noErr;
}
