#include "StillMaker.h"

#include <cmath>
#include <cstring>
#include <mutex>
#include <vector>

#include "CoreMachDebugLog.h"
#include "XFrameBuffer.h"
#include "XFrameOperations.h"

namespace {

// The library's field blend (type A) over the still at its stored size.
void BlendFields(UInt8* argb, UInt32 width, UInt32 height, UInt32 rowBytes, void*) {
  std::vector<UInt8> blended(size_t(rowBytes) * height);
  XFrameBuffer src;
  src.Width = SInt32(width);
  src.Height = SInt32(height);
  src.PixelType = kXFrame_Pel_Format_8RGB;
  src.Fields = 2 | kXFrameFields_TopFirst;
  src.Pixels = argb;
  src.RowBytes = SInt32(rowBytes);
  src.PelBytes = 4;
  XFrameBuffer dst = src;
  dst.Pixels = blended.data();
  if (CoreVerify(XFrame_BlendFields(src, dst, XFrameFilters{kXFrameFilter_BlendFieldsTypeA}))) {
    std::memcpy(argb, blended.data(), blended.size());
  }
}

// A bitmap drawn straight over a still's own pixels. Their memory goes back to a few kept
// for the next stills: fresh pages cost more to fault in than a still costs to make.
struct StillBitmap : NSBitmapImageRep {
  StillBitmap() {
    Kept& kept = TheKept();
    std::lock_guard<std::mutex> g(kept.mutex);
    if (!kept.pixels.empty()) {
      still.pixels = std::move(kept.pixels.back());
      kept.pixels.pop_back();
    }
  }
  ~StillBitmap() override {
    Kept& kept = TheKept();
    std::lock_guard<std::mutex> g(kept.mutex);
    if (kept.pixels.size() < 4) kept.pixels.push_back(std::move(still.pixels));
  }
  DVDStillPicture still;

 private:
  struct Kept {
    std::mutex mutex;
    std::vector<std::vector<UInt8>> pixels;
  };
  // Never destroyed: a bitmap may outlive the statics.
  static Kept& TheKept() {
    static Kept* const kept = new Kept;
    return *kept;
  }
};

}  // namespace

bool StillMaker::Take(StillChoices const& choices, DVDStillRequest* request) {
  if (!CoreVerify(DVDTakeStill(choices.subtitles, request) == noErr)) return false;
  Apply(choices, request);
  return true;
}

void StillMaker::Apply(StillChoices const& choices, DVDStillRequest* request) {
  request->shape = choices.shape;
  request->cropBorders = choices.cropBorders;
  request->fieldFilter = nullptr;
  switch (choices.deinterlace) {
    case StillChoices::kAuto: request->deinterlace = kDVDStillDeinterlaceAuto; break;
    case StillChoices::kAdaptive: request->deinterlace = kDVDStillDeinterlaceAdaptive; break;
    case StillChoices::kBlend:
      request->deinterlace = kDVDStillDeinterlaceOff;
      request->fieldFilter = BlendFields;
      break;
    case StillChoices::kOff: request->deinterlace = kDVDStillDeinterlaceOff; break;
  }
  // R, G, B and a fourth byte, as every grabbed picture.
  request->pixelOrder = kDVDStillPixelsRGBX;
}

std::shared_ptr<NSBitmapImageRep> StillMaker::Make(DVDStillRequest const& request) {
  auto bitmap = std::make_shared<StillBitmap>();
  DVDStillPicture& still = bitmap->still;
  if (!CoreVerify(DVDMakeStill(request, &still) == noErr) ||
      !CoreVerify(bitmap->Construct(still.pixels.data(), long(still.width), long(still.height), 8,
                                    3, false, long(still.rowBytes), 32))) {
    return nullptr;
  }
  return bitmap;
}

bool StillMaker::NearlyUniform(NSBitmapImageRep const& bitmap) {
  long const w = bitmap.pixelsWide();
  long const h = bitmap.pixelsHigh();
  if (w <= 0 || h <= 0 || bitmap.bitsPerPixel() != 32) return true;
  // Every fourth pixel of every fourth row is plenty to tell.
  double sum = 0;
  double squares = 0;
  double n = 0;
  for (long y = 0; y < h; y += 4) {
    unsigned char const* const row = bitmap.bitmapData() + y * bitmap.bytesPerRow();
    for (long x = 0; x < w; x += 4) {
      double const g = row[x * 4 + (bitmap.isAlphaFirst() ? 2 : 1)];
      sum += g;
      squares += g * g;
      n += 1;
    }
  }
  double const mean = sum / n;
  return std::sqrt(std::max(0.0, squares / n - mean * mean)) < 4.0;
}
