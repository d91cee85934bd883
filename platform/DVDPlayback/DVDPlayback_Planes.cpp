// The presented picture's planes and overlay for a view that converts them itself.
#include "DVDPlayback.h"

#include "DVDService.h"

#include <algorithm>
#include <cstdint>
#include <vector>

OSStatus DVDCopyPresentedPlanes(DVDPresentedPlanesInfo* outInfo, void* outPlanes,
                                UInt32 inPlanesSize, void* outOverlay, UInt32 inOverlaySize) {
  if (!outInfo) return kDVDErrorInvalidArgument;
  // Not under the session's lock, like DVDCopyPresentedFrame; one picture for both layers.
  auto const picture = dvd::DVDPresenter::LatestPicture();
  if (!picture) return kDVDErrorNotAllowedNow;
  DVDDecodedFrameInfo decoded{};
  UInt32 size = 0;
  OSStatus status = dvd::CopyDecoded(*picture, 0, &decoded, nullptr, &size);
  if (status != noErr) return status;
  *outInfo = DVDPresentedPlanesInfo{};
  dvd::FillPresentedInfo(*picture, &outInfo->frame);
  outInfo->frame.rowBytes = UInt32(picture->width) * 4;
  outInfo->matrix = decoded.matrix;
  outInfo->fullRange = decoded.fullRange;
  outInfo->hasOverlay = picture->subpicture != nullptr || picture->caption != nullptr;
  outInfo->planesBytes = size;
  outInfo->overlayBytes = outInfo->frame.rowBytes * UInt32(picture->height);
  if (!outPlanes) return noErr;
  if (inPlanesSize < size) return kDVDErrorInvalidArgument;
  status = dvd::CopyDecoded(*picture, 0, &decoded, outPlanes, &size);
  if (status != noErr || !outInfo->hasOverlay || !outOverlay) return status;
  if (inOverlaySize < outInfo->overlayBytes) return kDVDErrorInvalidArgument;
  // Drawn once a picture and kept with it: later copies of the same picture only copy.
  std::vector<uint8_t> const& overlay = picture->Overlay();
  if (overlay.size() != outInfo->overlayBytes) {
    outInfo->hasOverlay = false;
    return noErr;
  }
  std::copy(overlay.begin(), overlay.end(), static_cast<UInt8*>(outOverlay));
  return noErr;
}
