// The service's C interface for frame-exact positions and the pictures as decoded.
#include "DVDPlayback.h"

#include "DVDService.h"
#include "DVDStill.h"

#include <algorithm>
#include <cstring>

extern "C" {
#include <libavutil/frame.h>
#include <libavutil/pixfmt.h>
}

using dvd::DVDNavigator;
using dvd::WithNavigator;

namespace {

bool IsPlanar420(AVFrame const* f) {
  return f && (f->format == AV_PIX_FMT_YUV420P || f->format == AV_PIX_FMT_YUVJ420P) &&
         f->width > 0 && f->height > 0 && f->width % 2 == 0 && f->height % 2 == 0;
}

// Y, then Cb, then Cr rows without padding.
void CopyPlanes(AVFrame const* f, UInt8* out) {
  for (int plane = 0; plane < 3; ++plane) {
    int const w = plane == 0 ? f->width : f->width / 2;
    int const h = plane == 0 ? f->height : f->height / 2;
    for (int y = 0; y < h; ++y) {
      std::memcpy(out, f->data[plane] + std::ptrdiff_t(y) * f->linesize[plane], size_t(w));
      out += w;
    }
  }
}

DVDColorMatrix MatrixOf(AVFrame const* f) {
  switch (f->colorspace) {
    case AVCOL_SPC_BT709:
      return kDVDColorMatrixBT709;
    case AVCOL_SPC_SMPTE240M:
      return kDVDColorMatrixSMPTE240M;
    default:
      return kDVDColorMatrixBT601;
  }
}

}  // namespace

OSStatus DVDGetFrameInTitle(UInt32* outFrame) {
  if (!outFrame) return kDVDErrorInvalidArgument;
  // Answered from the picture on screen, without waiting for the reader.
  return dvd::WithService([&](dvd::DVDService& s) -> OSStatus {
    if (!s.mPipeline) return kDVDErrorNoMedia;
    dvd::DVDPicturePosition const shown = s.mPipeline->Shown();
    if (shown.title <= 0 || shown.frameInTitle < 0) return kDVDErrorNotAllowedNow;
    *outFrame = UInt32(shown.frameInTitle);
    return noErr;
  });
}

OSStatus DVDGetTitleFrameCount(UInt32* outFrames) {
  if (!outFrames) return kDVDErrorInvalidArgument;
  return WithNavigator([&](DVDNavigator& n) { return n.GetTitleFrameCount(outFrames); });
}

OSStatus DVDSeekToFrame(UInt32 inFrame) {
  return WithNavigator([&](DVDNavigator& n) { return n.SeekToFrame(inFrame); });
}

OSStatus DVDStepFrame(SInt32 inFrames) {
  return WithNavigator([&](DVDNavigator& n) { return n.StepFrame(inFrames); });
}

namespace dvd {

OSStatus CopyDecoded(DVDPicture const& picture, UInt32 inNeighbours, DVDDecodedFrameInfo* outInfo,
                     void* outPixels, UInt32* ioPixelsSize) {
  if (!IsPlanar420(picture.decoded.get())) return kDVDErrorNotAllowedNow;
  AVFrame const* const f = picture.decoded.get();
  auto const same = [&](AVFrame const* g) {
    return IsPlanar420(g) && g->width == f->width && g->height == f->height;
  };
  UInt32 neighbours = 0;
  if ((inNeighbours & kDVDDecodedBefore) && same(picture.before.get())) {
    neighbours |= kDVDDecodedBefore;
  }
  if ((inNeighbours & kDVDDecodedAfter) && same(picture.after.get())) {
    neighbours |= kDVDDecodedAfter;
  }
  UInt32 const one = UInt32(f->width) * UInt32(f->height) * 3 / 2;
  UInt32 const count = 1 + (neighbours & kDVDDecodedBefore ? 1 : 0) +
                       (neighbours & kDVDDecodedAfter ? 1 : 0);
  UInt32 const size = one * count;
  if (outPixels && *ioPixelsSize < size) return kDVDErrorInvalidArgument;
  outInfo->width = UInt16(f->width);
  outInfo->height = UInt16(f->height);
  outInfo->pictureBytes = one;
  outInfo->aspect = picture.aspect;
  outInfo->title = UInt16(picture.title);
  outInfo->chapter = UInt16(picture.chapter);
  outInfo->elapsedMs = UInt32(picture.titleTime / 90);
  outInfo->frameInTitle =
      picture.frameInTitle >= 0 ? UInt32(picture.frameInTitle) : kDVDNoFrame;
  outInfo->frameNumber = picture.number;
  DVDFieldOrder const fields = FieldOrderOf(f);
  outInfo->progressive = !fields.interlaced;
  outInfo->topFieldFirst = fields.topFieldFirst;
  outInfo->repeatFirstField = f->repeat_pict > 0;
  outInfo->matrix = MatrixOf(f);
  outInfo->fullRange = f->color_range == AVCOL_RANGE_JPEG || f->format == AV_PIX_FMT_YUVJ420P;
  outInfo->neighbours = neighbours;
  outInfo->framesShown = UInt32(std::max<int64_t>(1, picture.framesShown));
  *ioPixelsSize = size;
  if (!outPixels) return noErr;
  auto* out = static_cast<UInt8*>(outPixels);
  if (neighbours & kDVDDecodedBefore) {
    CopyPlanes(picture.before.get(), out);
    out += one;
  }
  CopyPlanes(f, out);
  out += one;
  if (neighbours & kDVDDecodedAfter) CopyPlanes(picture.after.get(), out);
  return noErr;
}

}  // namespace dvd

OSStatus DVDCopyDecodedFrame(UInt32 inNeighbours, DVDDecodedFrameInfo* outInfo, void* outPixels,
                             UInt32* ioPixelsSize) {
  if (!outInfo || !ioPixelsSize) return kDVDErrorInvalidArgument;
  if (inNeighbours & ~UInt32(kDVDDecodedBefore | kDVDDecodedAfter)) {
    return kDVDErrorInvalidArgument;
  }
  // Not under the session's lock, like DVDCopyPresentedFrame.
  auto const picture = dvd::DVDPresenter::LatestPicture();
  if (!picture) return kDVDErrorNotAllowedNow;
  return dvd::CopyDecoded(*picture, inNeighbours, outInfo, outPixels, ioPixelsSize);
}

OSStatus DVDCopyPresentedOverlay(DVDPresentedFrameInfo* outInfo, void* outPixels,
                                 UInt32* ioPixelsSize) {
  if (!outInfo || !ioPixelsSize) return kDVDErrorInvalidArgument;
  auto const picture = dvd::DVDPresenter::LatestPicture();
  if (!picture) return kDVDErrorNotAllowedNow;
  UInt32 const rowBytes = UInt32(picture->width) * 4;
  UInt32 const size = rowBytes * UInt32(picture->height);
  if (outPixels && *ioPixelsSize < size) return kDVDErrorInvalidArgument;
  dvd::FillPresentedInfo(*picture, outInfo);
  outInfo->rowBytes = rowBytes;
  *ioPixelsSize = size;
  if (!outPixels) return noErr;
  std::vector<uint8_t> const& overlay = picture->Overlay();
  if (overlay.size() == size) {
    std::copy(overlay.begin(), overlay.end(), static_cast<UInt8*>(outPixels));
  } else {
    std::fill_n(static_cast<UInt8*>(outPixels), size, UInt8(0));
  }
  return noErr;
}

OSStatus DVDTakeStill(bool withOverlay, DVDStillRequest* outRequest) {
  if (!outRequest) return kDVDErrorInvalidArgument;
  // One picture for everything taken: the one on screen now, held, not copied.
  auto const picture = dvd::DVDPresenter::LatestPicture();
  if (!picture) return kDVDErrorNotAllowedNow;
  UInt32 const both = kDVDDecodedBefore | kDVDDecodedAfter;
  UInt32 size = 0;
  OSStatus const status = dvd::CopyDecoded(*picture, both, &outRequest->info, nullptr, &size);
  if (status != noErr) return status;
  outRequest->planes.clear();
  outRequest->overlay.clear();
  outRequest->taken = picture;
  outRequest->takenWithOverlay = withOverlay;
  return noErr;
}
