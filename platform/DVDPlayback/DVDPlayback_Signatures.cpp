// The service's C interface for frame signatures: the title is read through outside the
// service's lock, with a reader of its own, as closed captions are.
#include "DVDPlayback.h"

#include "DVDFrameScan.h"
#include "DVDService.h"
#include "PlatformLog.h"

#include <string>

using dvd::DVDService;
using dvd::WithService;

OSStatus DVDReadFrameSignatures(UInt16 inTitle, DVDFrameSignatureProcPtr inProc, void* inRefCon) {
  if (!inProc) return kDVDErrorInvalidArgument;
  std::string path;
  OSStatus const status = WithService([&](DVDService& s) -> OSStatus {
    if (!s.mMedia || !s.mMedia->Titles()) return kDVDErrorNoMedia;
    if (!s.mMedia->Titles()->Find(inTitle)) return kDVDErrorInvalidArgument;
    path = s.mMedia->OpenPath();
    return noErr;
  });
  if (status != noErr) return status;
  dvd::DVDFrameScan scan(path, kDVDSignatureWidth, kDVDSignatureHeight);
  if (!scan.Read(inTitle, [&](int64_t frame, uint8_t const* luma) {
        inProc(UInt32(frame), luma, inRefCon);
      })) {
    PlatformLog("DVDReadFrameSignatures: title %u of %s could not be read through", inTitle,
                path.c_str());
    return kDVDErrorReadFailed;
  }
  return noErr;
}
