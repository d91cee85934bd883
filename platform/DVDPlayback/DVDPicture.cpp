#include "DVDPicture.h"

extern "C" {
#include <libavutil/frame.h>
#include <libswscale/swscale.h>
}

namespace dvd {

namespace {

// One scaler a converting thread, kept for the next picture of the same shape.
struct Scaler {
  SwsContext* context = nullptr;
  ~Scaler() { sws_freeContext(context); }
};

}  // namespace

DVDFieldOrder FieldOrderOf(AVFrame const* f) {
#if LIBAVUTIL_VERSION_MAJOR >= 59
  return {(f->flags & AV_FRAME_FLAG_INTERLACED) != 0,
          (f->flags & AV_FRAME_FLAG_TOP_FIELD_FIRST) != 0};
#else
  return {f->interlaced_frame != 0, f->top_field_first != 0};
#endif
}

std::vector<uint8_t> const& DVDPicture::RGB() const {
  std::lock_guard<std::mutex> g(mMade->mutex);
  if (mMade->rgb) return mMade->rgbPixels;
  mMade->rgb = true;
  AVFrame const* const f = decoded.get();
  if (!f || f->width <= 0 || f->height <= 0) return mMade->rgbPixels;
  thread_local Scaler scaler;
  scaler.context = sws_getCachedContext(scaler.context, f->width, f->height,
                                        AVPixelFormat(f->format), f->width, f->height,
                                        AV_PIX_FMT_RGB24, SWS_BICUBIC, nullptr, nullptr, nullptr);
  if (!scaler.context) return mMade->rgbPixels;
  int const rowBytes = f->width * 3;
  std::vector<uint8_t> pixels(size_t(rowBytes) * size_t(f->height));
  uint8_t* dst[4] = {pixels.data(), nullptr, nullptr, nullptr};
  int dstStride[4] = {rowBytes, 0, 0, 0};
  sws_scale(scaler.context, f->data, f->linesize, 0, f->height, dst, dstStride);
  if (subpicture) {
    DVDSubpictureDecoder::Draw(*subpicture, highlight, clut, pixels.data(), f->width, f->height,
                               rowBytes);
  }
  if (caption) {
    DVDCaption::BlendOverRGB(caption->Layer(f->width, f->height, DisplayWidth()), pixels.data(),
                             f->width, f->height, rowBytes);
  }
  mMade->rgbPixels = std::move(pixels);
  return mMade->rgbPixels;
}

std::vector<uint8_t> const& DVDPicture::Overlay() const {
  std::lock_guard<std::mutex> g(mMade->mutex);
  if (mMade->overlay) return mMade->overlayPixels;
  mMade->overlay = true;
  if ((!subpicture && !caption) || width <= 0 || height <= 0) return mMade->overlayPixels;
  mMade->overlayPixels.assign(size_t(width) * size_t(height) * 4, 0);
  if (subpicture) {
    DVDSubpictureDecoder::DrawLayer(*subpicture, highlight, clut, mMade->overlayPixels.data(),
                                    width, height);
  }
  if (caption) {
    DVDCaption::BlendOverLayer(caption->Layer(width, height, DisplayWidth()),
                               mMade->overlayPixels.data(), width, height);
  }
  return mMade->overlayPixels;
}

int DVDPicture::DisplayWidth() const {
  return aspect == kDVDAspectRatio16x9 ? (height * 16 + 4) / 9 : (height * 4 + 1) / 3;
}

}  // namespace dvd
