// The service's C interface over the process's one session.
#include "DVDPlayback.h"

#include "DVDLibraryLog.h"
#include "DVDNullAudioSink.h"
#include "DVDService.h"

#include <algorithm>
#include <chrono>
#include <thread>
#include <vector>

namespace dvd {

namespace {
std::mutex gMutex;  // DVDLockOrder.h: the service's (1), taken first
std::unique_ptr<DVDService> gService;
bool gManualClock = false;
}  // namespace

DVDService* Service() { return gService.get(); }
std::mutex& ServiceMutex() { return gMutex; }

void UseManualClock(bool manual) {
  std::lock_guard<std::mutex> g(gMutex);
  gManualClock = manual;
}

void UseReadFaults(std::shared_ptr<DVDReadFaults> faults) {
  std::lock_guard<std::mutex> g(gMutex);
  if (gService) gService->mReadFaults = std::move(faults);
}

void UseProbeOptions(DVDProbeOptions const& options) {
  std::lock_guard<std::mutex> g(gMutex);
  if (gService) gService->mProbeOptions = options;
}

void AdvanceManualClock(UInt32 milliseconds) {
  std::lock_guard<std::mutex> g(gMutex);
  if (gService && gService->mClock.IsManual()) {
    gService->mClock.Advance(int64_t(milliseconds) * DVDClock::kTicksPerSecond / 1000);
  }
}

bool WaitUntilQuiet(UInt32 timeoutMs) {
  auto const until = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeoutMs);
  for (;;) {
    {
      std::lock_guard<std::mutex> g(gMutex);
      if (!gService) return true;
      bool const navQuiet = !gService->mNavigator || gService->mNavigator->IsQuiet();
      bool const shown = !gService->mPipeline || gService->mPipeline->IsQuiet();
      if (navQuiet && shown && gService->mEvents.IsDrained()) return true;
    }
    if (std::chrono::steady_clock::now() > until) return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
}

int HighlightedButton() {
  std::lock_guard<std::mutex> g(gMutex);
  if (!gService || !gService->mNavigator) return 0;
  return gService->mNavigator->HighlightedButton();
}

int64_t AudioFramesDelivered(bool* isDevice) {
  std::lock_guard<std::mutex> g(gMutex);
  if (!gService || !gService->mPipeline) return -1;
  if (isDevice) *isDevice = gService->mPipeline->AudioIsDevice();
  return gService->mPipeline->AudioDelivered();
}

void FillPresentedInfo(DVDPicture const& picture, DVDPresentedFrameInfo* info) {
  info->width = UInt16(picture.width);
  info->height = UInt16(picture.height);
  info->displayHeight = UInt16(picture.height);
  info->displayWidth = UInt16(picture.DisplayWidth());
  info->rowBytes = UInt32(picture.width) * 3;
  info->aspect = picture.aspect;
  info->title = UInt16(picture.title);
  info->chapter = UInt16(picture.chapter);
  info->elapsedMs = UInt32(picture.titleTime / 90);
  info->frameNumber = picture.number;
  info->frameInTitle = picture.frameInTitle >= 0 ? UInt32(picture.frameInTitle) : kDVDNoFrame;
  info->framesShown = UInt32(std::max<int64_t>(1, picture.framesShown));
}

int DecodedAudioStream() {
  std::lock_guard<std::mutex> g(gMutex);
  if (!gService || !gService->mPipeline) return -1;
  return gService->mPipeline->DecodedAudioStream();
}

}  // namespace dvd

using dvd::DVDService;
using dvd::WithNavigator;
using dvd::WithService;

namespace {

OSStatus OpenMedia(FSRef const* ref, bool isVolume) {
  if (!ref) return kDVDErrorInvalidArgument;
  if (FSRefValidate(ref) != noErr) return kDVDErrorInvalidArgument;
  dvd::DVDProbeOptions probeOptions;
  if (OSStatus const status = WithService([&](DVDService& s) -> OSStatus {
        probeOptions = s.mProbeOptions;
        return s.mMedia ? kDVDErrorMediaAlreadyOpen : noErr;
      });
      status != noErr) {
    return status;
  }
  // Identifying the disc and probing its information files in helper processes takes up to
  // seconds on a damaged disc: done without the service's lock, which the playing threads'
  // callers need meanwhile.
  auto media = std::make_unique<dvd::DVDMedia>();
  if (OSStatus const status = media->Construct(ref->path, probeOptions); status != noErr) {
    return status;
  }
  return WithService([&](DVDService& s) -> OSStatus {
    if (s.mMedia) return kDVDErrorMediaAlreadyOpen;  // another open came first
    DVDRegionCode code = 0;
    SInt16 changes = 0;
    if (OSStatus const status = media->DriveRegion(&code, &changes); status != noErr) {
      return status;
    }
    std::unique_ptr<dvd::DVDAudioSink> sink =
        s.mStillsOnly ? std::make_unique<dvd::DVDNullAudioSink>(s.mClock, false)
                      : dvd::DVDAudioSink::Create(s.mClock);
    auto pipeline = std::make_unique<dvd::DVDPipeline>(s.mClock, s.mClockMap, std::move(sink));
    if (!pipeline->Construct()) return kDVDErrorReadFailed;
    // A window's menus offer captions as soon as a title has them; stills ask when they draw them.
    pipeline->SetCaptionSource(media->OpenPath(), !s.mStillsOnly);
    pipeline->ShowCaptions(s.mCaptionsShown);
    pipeline->SetVolume(s.mVolume, s.mMuted);
    pipeline->SetFrameReadyCallBack(s.mOutput.frameReadyProc, s.mOutput.frameReadyRefCon);
    auto navigator =
        std::make_unique<dvd::DVDNavigator>(s.mClock, s.mClockMap, s.mEvents, pipeline.get(),
                                           s.mReadFaults);
    if (OSStatus const status =
            navigator->Open(media->OpenPath(), media->UniqueID(), media->Titles());
        status != noErr) {
      return status;
    }
    navigator->SetTimeEventRate(s.mTimeEventRate);
    if (s.mSleeping) navigator->Sleep();
    s.mMedia = std::move(media);
    s.mPipeline = std::move(pipeline);
    s.mNavigator = std::move(navigator);
    s.mMediaIsVolume = isVolume;
    return noErr;
  });
}

OSStatus CloseMedia(bool isVolume) {
  return WithService([&](DVDService& s) -> OSStatus {
    if (!s.mMedia) return kDVDErrorNoMedia;
    if (s.mMediaIsVolume != isVolume) return kDVDErrorNotAllowedNow;
    s.mNavigator.reset();
    s.mPipeline.reset();
    s.mMedia.reset();
    return noErr;
  });
}

}  // namespace

namespace {

OSStatus Initialize(bool stillsOnly) {
  std::lock_guard<std::mutex> g(dvd::ServiceMutex());
  if (dvd::gService) return kDVDErrorNotAllowedNow;
  dvd::RouteCodecMessages();
  auto service = std::make_unique<DVDService>(dvd::gManualClock);
  service->mStillsOnly = stillsOnly;
  if (!stillsOnly && !service->mLock.Lock()) return kDVDErrorServiceBusy;
  dvd::gService = std::move(service);
  return noErr;
}

}  // namespace

OSStatus DVDInitialize() { return Initialize(false); }

OSStatus DVDInitializeForStills() { return Initialize(true); }

OSStatus DVDDispose() {
  std::unique_ptr<DVDService> service;
  {
    std::lock_guard<std::mutex> g(dvd::ServiceMutex());
    if (!dvd::gService) return kDVDErrorNotInitialized;
    // Navigation stops first so that it posts nothing to a queue being torn down.
    dvd::gService->mNavigator.reset();
    dvd::gService->mPipeline.reset();
    dvd::gService->mMedia.reset();
    service = std::move(dvd::gService);
  }
  // Torn down unlocked: a callback still running may call into the service.
  service.reset();
  return noErr;
}

OSStatus DVDRegisterEventCallBack(DVDEventCallBackFunctionPtr inCallBackProc,
                                  DVDEventCode const* inCode, UInt32 inCodeCount,
                                  void* inRefCon, DVDEventCallBackRef* outCallBackID) {
  if (!inCallBackProc || !inCode || inCodeCount == 0 || !outCallBackID) {
    return kDVDErrorInvalidArgument;
  }
  return WithService([&](DVDService& s) -> OSStatus {
    *outCallBackID = s.mEvents.Register(
        inCallBackProc, std::vector<DVDEventCode>(inCode, inCode + inCodeCount), inRefCon);
    return noErr;
  });
}

OSStatus DVDUnregisterEventCallBack(DVDEventCallBackRef inCallBackID) {
  return WithService([&](DVDService& s) -> OSStatus {
    return s.mEvents.Unregister(inCallBackID) ? noErr : kDVDErrorInvalidArgument;
  });
}

OSStatus DVDSetFatalErrorCallBack(DVDFatalErrCallBackFunctionPtr inCallBackProc, void* inRefCon) {
  return WithService([&](DVDService& s) -> OSStatus {
    s.mEvents.SetFatalErrorCallBack(inCallBackProc, inRefCon);
    return noErr;
  });
}

OSStatus DVDSetTimeEventRate(UInt32 inMilliseconds) {
  return WithService([&](DVDService& s) -> OSStatus {
    s.mTimeEventRate = inMilliseconds;
    if (s.mNavigator) s.mNavigator->SetTimeEventRate(inMilliseconds);
    return noErr;
  });
}

OSStatus DVDSleep() {
  return WithService([&](DVDService& s) -> OSStatus {
    if (s.mSleeping) return kDVDErrorNotAllowedNow;
    s.mSleeping = true;
    if (s.mNavigator) s.mNavigator->Sleep();
    return noErr;
  });
}

OSStatus DVDWakeUp() {
  return WithService([&](DVDService& s) -> OSStatus {
    if (!s.mSleeping) return kDVDErrorNotAllowedNow;
    s.mSleeping = false;
    if (s.mNavigator) s.mNavigator->WakeUp();
    return noErr;
  });
}

OSStatus DVDHasMedia(Boolean* outHasMedia) {
  if (!outHasMedia) return kDVDErrorInvalidArgument;
  return WithService([&](DVDService& s) -> OSStatus {
    *outHasMedia = s.mMedia != nullptr;
    return noErr;
  });
}

OSStatus DVDOpenMediaVolume(FSRef const* inRef) { return OpenMedia(inRef, true); }
OSStatus DVDOpenMediaFile(FSRef const* inRef) { return OpenMedia(inRef, false); }
OSStatus DVDCloseMediaVolume() { return CloseMedia(true); }
OSStatus DVDCloseMediaFile() { return CloseMedia(false); }

OSStatus DVDGetMediaUniqueID(DVDMediaUniqueID outDiscID) {
  if (!outDiscID) return kDVDErrorInvalidArgument;
  return WithService([&](DVDService& s) -> OSStatus {
    if (!s.mMedia) return kDVDErrorNoMedia;
    std::copy(s.mMedia->UniqueID().begin(), s.mMedia->UniqueID().end(), outDiscID);
    return noErr;
  });
}

OSStatus DVDGetDiscRegionCode(DVDRegionCode* outCode) {
  if (!outCode) return kDVDErrorInvalidArgument;
  return WithService([&](DVDService& s) -> OSStatus {
    if (!s.mMedia) return kDVDErrorNoMedia;
    *outCode = s.mMedia->DiscRegion();
    return noErr;
  });
}

OSStatus DVDGetDriveRegionCode(DVDRegionCode* outCode, SInt16* outNumberChangesLeft) {
  if (!outCode || !outNumberChangesLeft) return kDVDErrorInvalidArgument;
  return WithService([&](DVDService& s) -> OSStatus {
    *outCode = kDVDRegionCodeUninitialized;
    *outNumberChangesLeft = -1;
    if (!s.mMedia) return noErr;  // no media, no drive
    return s.mMedia->DriveRegion(outCode, outNumberChangesLeft);
  });
}

OSStatus DVDIsMuted(Boolean* outIsMuted) {
  if (!outIsMuted) return kDVDErrorInvalidArgument;
  return WithService([&](DVDService& s) -> OSStatus {
    *outIsMuted = s.mMuted;
    return noErr;
  });
}

OSStatus DVDMute(Boolean inMute) {
  return WithService([&](DVDService& s) -> OSStatus {
    s.mMuted = inMute ? 1 : 0;
    if (s.mPipeline) s.mPipeline->SetVolume(s.mVolume, s.mMuted);
    return noErr;
  });
}

OSStatus DVDGetAudioVolumeInfo(UInt16* outMinVolume, UInt16* outCurVolume, UInt16* outMaxVolume) {
  if (!outMinVolume || !outCurVolume || !outMaxVolume) return kDVDErrorInvalidArgument;
  return WithService([&](DVDService& s) -> OSStatus {
    *outMinVolume = 0;
    *outCurVolume = s.mVolume;
    *outMaxVolume = 255;
    return noErr;
  });
}

OSStatus DVDSetAudioVolume(UInt16 inVolume) {
  if (inVolume > 255) return kDVDErrorInvalidArgument;
  return WithService([&](DVDService& s) -> OSStatus {
    s.mVolume = inVolume;
    if (s.mPipeline) s.mPipeline->SetVolume(s.mVolume, s.mMuted);
    return noErr;
  });
}

OSStatus DVDPlay() {
  return WithNavigator([](dvd::DVDNavigator& n) { return n.Play(); });
}
OSStatus DVDPause() {
  return WithNavigator([](dvd::DVDNavigator& n) { return n.Pause(); });
}
OSStatus DVDStop() {
  return WithNavigator([](dvd::DVDNavigator& n) { return n.Stop(); });
}
OSStatus DVDScan(DVDScanRate inRate, DVDScanDirection inDirection) {
  return WithNavigator([&](dvd::DVDNavigator& n) { return n.Scan(inRate, inDirection); });
}
OSStatus DVDNextChapter() {
  return WithNavigator([](dvd::DVDNavigator& n) { return n.NextChapter(); });
}
OSStatus DVDPreviousChapter() {
  return WithNavigator([](dvd::DVDNavigator& n) { return n.PreviousChapter(); });
}

OSStatus DVDIsOnMenu(Boolean* outOnMenu, DVDMenu* outMenu) {
  if (!outOnMenu || !outMenu) return kDVDErrorInvalidArgument;
  return WithNavigator([&](dvd::DVDNavigator& n) { return n.IsOnMenu(outOnMenu, outMenu); });
}
OSStatus DVDReturnToTitle() {
  return WithNavigator([](dvd::DVDNavigator& n) { return n.ReturnToTitle(); });
}
OSStatus DVDGoToMenu(DVDMenu inMenu) {
  return WithNavigator([&](dvd::DVDNavigator& n) { return n.GoToMenu(inMenu); });
}

OSStatus DVDGetNumAngles(UInt16* outNumAngles) {
  if (!outNumAngles) return kDVDErrorInvalidArgument;
  return WithNavigator([&](dvd::DVDNavigator& n) { return n.GetAngleInfo(outNumAngles, nullptr); });
}
OSStatus DVDGetAngle(UInt16* outAngle) {
  if (!outAngle) return kDVDErrorInvalidArgument;
  return WithNavigator([&](dvd::DVDNavigator& n) { return n.GetAngleInfo(nullptr, outAngle); });
}
OSStatus DVDSetAngle(UInt16 inAngle) {
  return WithNavigator([&](dvd::DVDNavigator& n) { return n.SetAngle(inAngle); });
}
OSStatus DVDDoUserNavigation(DVDUserNavigation inNavigation) {
  return WithNavigator([&](dvd::DVDNavigator& n) { return n.UserNavigation(inNavigation); });
}

OSStatus DVDGetBookmark(void* outBookmarkData, UInt32* ioBookmarkDataSize) {
  if (!ioBookmarkDataSize) return kDVDErrorInvalidArgument;
  return WithNavigator([&](dvd::DVDNavigator& n) -> OSStatus {
    std::vector<UInt8> data;
    if (OSStatus const status = n.GetBookmark(data); status != noErr) return status;
    if (!outBookmarkData) {
      *ioBookmarkDataSize = UInt32(data.size());
      return noErr;
    }
    if (*ioBookmarkDataSize < data.size()) return kDVDErrorInvalidArgument;
    std::copy(data.begin(), data.end(), static_cast<UInt8*>(outBookmarkData));
    *ioBookmarkDataSize = UInt32(data.size());
    return noErr;
  });
}

OSStatus DVDGotoBookmark(void const* inBookmarkData, UInt32 inBookmarkDataSize) {
  if (!inBookmarkData) return kDVDErrorInvalidArgument;
  return WithNavigator([&](dvd::DVDNavigator& n) {
    return n.GotoBookmark(static_cast<UInt8 const*>(inBookmarkData), inBookmarkDataSize);
  });
}

OSStatus DVDSetVideoWindowID(UInt32 inWindowID) {
  return WithService([&](DVDService& s) -> OSStatus {
    s.mOutput.windowID = inWindowID;
    return noErr;
  });
}

OSStatus DVDSetVideoBounds(Rect const* inRect) {
  if (!inRect || inRect->bottom < inRect->top || inRect->right < inRect->left) {
    return kDVDErrorInvalidArgument;
  }
  return WithService([&](DVDService& s) -> OSStatus {
    s.mOutput.bounds = *inRect;
    return noErr;
  });
}

OSStatus DVDSwitchToDisplay(UInt32 inDisplay, Boolean* outSupported) {
  if (!outSupported) return kDVDErrorInvalidArgument;
  return WithService([&](DVDService& s) -> OSStatus {
    // Pictures are drawn by the window's own toolkit, which reaches every display.
    s.mOutput.display = inDisplay;
    *outSupported = true;
    return noErr;
  });
}

OSStatus DVDGetAspectRatio(DVDAspectRatio* outRatio) {
  if (!outRatio) return kDVDErrorInvalidArgument;
  return WithService([&](DVDService& s) -> OSStatus {
    if (!s.mNavigator) return kDVDErrorNoMedia;
    *outRatio = s.mNavigator->AspectRatio();
    if (*outRatio == kDVDAspectRatioUninitialized) *outRatio = s.mMedia->Aspect();
    return noErr;
  });
}

OSStatus DVDGetNativeVideoSize(UInt16* outWidth, UInt16* outHeight) {
  if (!outWidth || !outHeight) return kDVDErrorInvalidArgument;
  return WithService([&](DVDService& s) -> OSStatus {
    if (!s.mNavigator) return kDVDErrorNoMedia;
    *outWidth = s.mMedia->NativeWidth();
    *outHeight = s.mMedia->NativeHeight();
    s.mNavigator->NativeSize(outWidth, outHeight);
    return noErr;
  });
}

namespace {

// Maps a window point through the video rectangle onto the disc's picture; without a
// rectangle the window is the picture.
OSStatus MenuPoint(Point pt, SInt32* outIndex, bool activate) {
  if (!outIndex) return kDVDErrorInvalidArgument;
  *outIndex = -1;
  return WithNavigator([&](dvd::DVDNavigator& n) -> OSStatus {
    DVDService& s = *dvd::Service();
    UInt16 width = s.mMedia->NativeWidth();
    UInt16 height = s.mMedia->NativeHeight();
    n.NativeSize(&width, &height);
    int x = pt.h;
    int y = pt.v;
    Rect const& b = s.mOutput.bounds;
    int const bw = b.right - b.left;
    int const bh = b.bottom - b.top;
    if (bw > 0 && bh > 0) {
      if (pt.h < b.left || pt.h >= b.right || pt.v < b.top || pt.v >= b.bottom) return noErr;
      x = (pt.h - b.left) * width / bw;
      y = (pt.v - b.top) * height / bh;
    }
    return n.MenuPoint(x, y, activate, outIndex);
  });
}

}  // namespace

OSStatus DVDDoMenuClick(Point inPortPt, SInt32* outIndex) {
  return MenuPoint(inPortPt, outIndex, true);
}

OSStatus DVDDoMenuMouseOver(Point inPortPt, SInt32* outIndex) {
  return MenuPoint(inPortPt, outIndex, false);
}

OSStatus DVDCopyPresentedFrame(DVDPresentedFrameInfo* outInfo, void* outPixels,
                               UInt32* ioPixelsSize) {
  if (!outInfo || !ioPixelsSize) return kDVDErrorInvalidArgument;
  // Not under the session's lock: the frame-ready callback may call this while the
  // session is closing.
  auto const picture = dvd::DVDPresenter::LatestPicture();
  if (!picture) return kDVDErrorNotAllowedNow;
  UInt32 const size = UInt32(picture->width) * 3 * UInt32(picture->height);
  if (outPixels && *ioPixelsSize < size) return kDVDErrorInvalidArgument;
  dvd::FillPresentedInfo(*picture, outInfo);
  *ioPixelsSize = size;
  if (outPixels) {
    std::vector<uint8_t> const& rgb = picture->RGB();
    if (rgb.size() != size) return kDVDErrorNotAllowedNow;
    std::copy(rgb.begin(), rgb.end(), static_cast<UInt8*>(outPixels));
  }
  return noErr;
}

OSStatus DVDSetFrameReadyCallBack(DVDFrameReadyCallBackFunctionPtr inCallBackProc,
                                  void* inRefCon) {
  return WithService([&](DVDService& s) -> OSStatus {
    s.mOutput.frameReadyProc = inCallBackProc;
    s.mOutput.frameReadyRefCon = inRefCon;
    if (s.mPipeline) s.mPipeline->SetFrameReadyCallBack(inCallBackProc, inRefCon);
    return noErr;
  });
}
