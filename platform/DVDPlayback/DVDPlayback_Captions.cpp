// The service's C interface for closed captions. A title is read through outside the
// service's lock, with a reader of its own, and what it found is kept for stills.
#include "DVDPlayback.h"

#include "DVDCaptionScan.h"
#include "DVDService.h"
#include "PlatformLog.h"

#include <string>
#include <vector>

using dvd::DVDCaptionCue;
using dvd::DVDService;
using dvd::WithService;

OSStatus DVDHasClosedCaptions(Boolean* outHasCaptions) {
  if (!outHasCaptions) return kDVDErrorInvalidArgument;
  *outHasCaptions = false;
  return WithService([&](DVDService& s) -> OSStatus {
    if (!s.mMedia || !s.mPipeline) return kDVDErrorNoMedia;
    int const title = s.mPipeline->Shown().title;
    *outHasCaptions = title > 0 && s.mPipeline->Captions()->Carries(title) == 1;
    return noErr;
  });
}

OSStatus DVDSetClosedCaptionsShown(Boolean inShown) {
  return WithService([&](DVDService& s) -> OSStatus {
    s.mCaptionsShown = inShown != 0;
    if (s.mPipeline) s.mPipeline->ShowCaptions(s.mCaptionsShown);
    return noErr;
  });
}

OSStatus DVDGetClosedCaptionsShown(Boolean* outShown) {
  if (!outShown) return kDVDErrorInvalidArgument;
  return WithService([&](DVDService& s) -> OSStatus {
    *outShown = s.mCaptionsShown;
    return noErr;
  });
}

OSStatus DVDReadClosedCaptions(UInt16 inTitle, DVDClosedCaptionProcPtr inProc, void* inRefCon) {
  if (!inProc) return kDVDErrorInvalidArgument;
  std::string path;
  std::vector<DVDCaptionCue> cues;
  bool known = false;
  OSStatus const status = WithService([&](DVDService& s) -> OSStatus {
    if (!s.mMedia || !s.mPipeline || !s.mMedia->Titles()) return kDVDErrorNoMedia;
    if (!s.mMedia->Titles()->Find(inTitle)) return kDVDErrorInvalidArgument;
    path = s.mMedia->OpenPath();
    known = s.mPipeline->Captions()->Known(inTitle, &cues);
    return noErr;
  });
  if (status != noErr) return status;
  if (!known) {
    dvd::DVDCaptionScan scan(path);
    if (!scan.Read(inTitle, [&](DVDCaptionCue const& cue) { cues.push_back(cue); }, nullptr,
                   nullptr)) {
      PlatformLog("DVDReadClosedCaptions: title %u of %s could not be read through", inTitle,
                  path.c_str());
      return kDVDErrorReadFailed;
    }
    // Kept for stills, when the same disc is still open.
    WithService([&](DVDService& s) -> OSStatus {
      if (s.mMedia && s.mPipeline && s.mMedia->OpenPath() == path) {
        s.mPipeline->Captions()->Keep(inTitle, cues);
      }
      return noErr;
    });
  }
  for (DVDCaptionCue const& cue : cues) {
    inProc(UInt32(cue.firstFrame), UInt32(cue.endFrame), cue.text.c_str(), inRefCon);
  }
  return noErr;
}
