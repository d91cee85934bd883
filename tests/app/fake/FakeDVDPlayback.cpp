#include "FakeDVDPlayback.h"

#include "TestTime.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <condition_variable>
#include <cstring>
#include <mutex>

namespace fake_dvd {

namespace {
std::mutex gMutex;
std::condition_variable gReleased;
bool gHold = false;
bool gHeld = false;
std::thread::id gOpenThread;
}  // namespace

State& S() {
  static State state;
  return state;
}

void Reset() {
  std::lock_guard<std::mutex> g(gMutex);
  S() = State();
  gHold = false;
  gHeld = false;
  gOpenThread = std::thread::id();
}

int Calls(char const* name) {
  std::lock_guard<std::mutex> g(gMutex);
  auto const it = S().calls.find(name);
  return it == S().calls.end() ? 0 : it->second;
}

void HoldOpens() {
  std::lock_guard<std::mutex> g(gMutex);
  gHold = true;
}

void ReleaseOpens() {
  std::lock_guard<std::mutex> g(gMutex);
  gHold = false;
  gReleased.notify_all();
}

bool OpenIsHeld() {
  std::lock_guard<std::mutex> g(gMutex);
  return gHeld;
}

void WaitWhileHeld() {
  std::unique_lock<std::mutex> lk(gMutex);
  gOpenThread = std::this_thread::get_id();
  gHeld = gHold;
  // Bounded, so that an open made on the UI thread fails its test instead of hanging it.
  gReleased.wait_for(lk, std::chrono::milliseconds(tavelo_test::ScaledMilliseconds(5000)),
                     [] { return !gHold; });
  gHeld = false;
}

bool LastOpenRanOnAnotherThreadThan(std::thread::id id) {
  std::lock_guard<std::mutex> g(gMutex);
  return gOpenThread != std::thread::id() && gOpenThread != id;
}

}  // namespace fake_dvd

using fake_dvd::S;

namespace {

OSStatus Call(char const* name) {
  std::lock_guard<std::mutex> g(fake_dvd::gMutex);
  ++S().calls[name];
  auto const it = S().status.find(name);
  return it == S().status.end() ? noErr : it->second;
}

}  // namespace

OSStatus DVDInitialize() {
  OSStatus const r = Call("DVDInitialize");
  if (r == noErr) S().initialized = true;
  return r;
}
OSStatus DVDDispose() {
  S().initialized = false;
  return Call("DVDDispose");
}
OSStatus DVDRegisterEventCallBack(DVDEventCallBackFunctionPtr proc, DVDEventCode const* codes,
                                  UInt32 count, void* refCon, DVDEventCallBackRef* outID) {
  OSStatus const r = Call("DVDRegisterEventCallBack");
  if (r != noErr) return r;
  S().registeredCodes.assign(codes, codes + count);
  S().eventCallBack = proc;
  S().eventRefCon = refCon;
  *outID = 77;
  return r;
}
OSStatus DVDUnregisterEventCallBack(DVDEventCallBackRef) {
  S().eventCallBack = nullptr;
  return Call("DVDUnregisterEventCallBack");
}
OSStatus DVDSetFatalErrorCallBack(DVDFatalErrCallBackFunctionPtr proc, void* refCon) {
  S().fatalCallBack = proc;
  S().fatalRefCon = refCon;
  return Call("DVDSetFatalErrorCallBack");
}
OSStatus DVDSetTimeEventRate(UInt32 ms) {
  S().timeEventRate = ms;
  return Call("DVDSetTimeEventRate");
}
OSStatus DVDSleep() { return Call("DVDSleep"); }
OSStatus DVDWakeUp() { return Call("DVDWakeUp"); }

OSStatus DVDHasMedia(Boolean* out) {
  OSStatus const r = Call("DVDHasMedia");
  *out = S().hasMedia;
  return r;
}
OSStatus DVDOpenMediaVolume(FSRef const* ref) {
  fake_dvd::WaitWhileHeld();
  OSStatus const r = Call("DVDOpenMediaVolume");
  if (r == noErr) {
    S().hasMedia = true;
    S().mediaIsVolume = true;
    S().openedPath = ref->path;
  }
  return r;
}
OSStatus DVDOpenMediaFile(FSRef const* ref) {
  fake_dvd::WaitWhileHeld();
  OSStatus const r = Call("DVDOpenMediaFile");
  if (r == noErr) {
    S().hasMedia = true;
    S().mediaIsVolume = false;
    S().openedPath = ref->path;
  }
  return r;
}
OSStatus DVDCloseMediaVolume() {
  S().hasMedia = false;
  return Call("DVDCloseMediaVolume");
}
OSStatus DVDCloseMediaFile() {
  S().hasMedia = false;
  return Call("DVDCloseMediaFile");
}
OSStatus DVDGetMediaUniqueID(DVDMediaUniqueID id) {
  std::memset(id, 0x5A, sizeof(DVDMediaUniqueID));
  return Call("DVDGetMediaUniqueID");
}
OSStatus DVDGetDiscRegionCode(DVDRegionCode* code) {
  *code = 0xFE;
  return Call("DVDGetDiscRegionCode");
}
OSStatus DVDGetDriveRegionCode(DVDRegionCode* code, SInt16* changes) {
  *code = 0xFE;
  *changes = 4;
  return Call("DVDGetDriveRegionCode");
}

OSStatus DVDIsMuted(Boolean* out) {
  *out = S().muted;
  return Call("DVDIsMuted");
}
OSStatus DVDMute(Boolean mute) {
  OSStatus const r = Call("DVDMute");
  if (r == noErr) S().muted = mute;
  return r;
}
OSStatus DVDGetAudioVolumeInfo(UInt16* minV, UInt16* curV, UInt16* maxV) {
  *minV = S().minVolume;
  *curV = S().curVolume;
  *maxV = S().maxVolume;
  return Call("DVDGetAudioVolumeInfo");
}
OSStatus DVDSetAudioVolume(UInt16 v) {
  S().setVolume = v;
  return Call("DVDSetAudioVolume");
}

OSStatus DVDPlay() { return Call("DVDPlay"); }
OSStatus DVDPause() { return Call("DVDPause"); }
OSStatus DVDStop() { return Call("DVDStop"); }
OSStatus DVDScan(DVDScanRate rate, DVDScanDirection direction) {
  S().scanRate = rate;
  S().scanDirection = direction;
  return Call("DVDScan");
}
OSStatus DVDNextChapter() { return Call("DVDNextChapter"); }
OSStatus DVDPreviousChapter() { return Call("DVDPreviousChapter"); }
OSStatus DVDIsOnMenu(Boolean* onMenu, DVDMenu* which) {
  *onMenu = S().onMenu;
  *which = S().onMenu ? kDVDMenuRoot : kDVDMenuNone;
  return Call("DVDIsOnMenu");
}
OSStatus DVDReturnToTitle() { return Call("DVDReturnToTitle"); }
OSStatus DVDGoToMenu(DVDMenu menu) {
  S().goToMenu = menu;
  return Call("DVDGoToMenu");
}
OSStatus DVDGetNumAngles(UInt16* n) {
  *n = S().numAngles;
  return Call("DVDGetNumAngles");
}
OSStatus DVDGetAngle(UInt16* a) {
  *a = S().angle;
  return Call("DVDGetAngle");
}
OSStatus DVDSetAngle(UInt16 a) {
  S().setAngle = a;
  return Call("DVDSetAngle");
}
OSStatus DVDGetNumAudioStreams(UInt16* n) {
  *n = UInt16(S().audioLanguages.size());
  return Call("DVDGetNumAudioStreams");
}
OSStatus DVDGetAudioStream(UInt16* s) {
  *s = S().audioStream;
  return Call("DVDGetAudioStream");
}
OSStatus DVDSetAudioStream(UInt16 s) {
  if (s >= S().audioLanguages.size()) return kDVDErrorInvalidArgument;
  S().audioStream = s;
  return Call("DVDSetAudioStream");
}
OSStatus DVDGetAudioLanguageCode(UInt16 s, DVDLanguageCode* code) {
  if (s >= S().audioLanguages.size()) return kDVDErrorInvalidArgument;
  *code = S().audioLanguages[s];
  return Call("DVDGetAudioLanguageCode");
}
OSStatus DVDGetNumSubPictureStreams(UInt16* n) {
  *n = UInt16(S().subPictureLanguages.size());
  return Call("DVDGetNumSubPictureStreams");
}
OSStatus DVDGetSubPictureStream(UInt16* s) {
  *s = S().subPictureStream;
  return Call("DVDGetSubPictureStream");
}
OSStatus DVDSetSubPictureStream(UInt16 s) {
  if (s >= S().subPictureLanguages.size()) return kDVDErrorInvalidArgument;
  S().subPictureStream = s;
  return Call("DVDSetSubPictureStream");
}
OSStatus DVDGetSubPictureLanguageCode(UInt16 s, DVDLanguageCode* code) {
  if (s >= S().subPictureLanguages.size()) return kDVDErrorInvalidArgument;
  *code = S().subPictureLanguages[s];
  return Call("DVDGetSubPictureLanguageCode");
}
OSStatus DVDEnableSubPicture(Boolean enable) {
  S().subPictureEnabled = enable;
  return Call("DVDEnableSubPicture");
}
OSStatus DVDIsSubPictureEnabled(Boolean* enabled) {
  *enabled = S().subPictureEnabled;
  return Call("DVDIsSubPictureEnabled");
}
OSStatus DVDHasClosedCaptions(Boolean* has) {
  *has = S().hasClosedCaptions;
  return Call("DVDHasClosedCaptions");
}
OSStatus DVDSetClosedCaptionsShown(Boolean shown) {
  S().closedCaptionsShown = shown;
  return Call("DVDSetClosedCaptionsShown");
}
OSStatus DVDGetClosedCaptionsShown(Boolean* shown) {
  *shown = S().closedCaptionsShown;
  return Call("DVDGetClosedCaptionsShown");
}
OSStatus DVDReadClosedCaptions(UInt16, DVDClosedCaptionProcPtr, void*) {
  return Call("DVDReadClosedCaptions");
}
OSStatus DVDDoUserNavigation(DVDUserNavigation n) {
  S().navigation.push_back(n);
  return Call("DVDDoUserNavigation");
}

OSStatus DVDGetBookmark(void* data, UInt32* size) {
  OSStatus const r = Call("DVDGetBookmark");
  if (r != noErr) return r;
  if (!data) {
    *size = S().bookmarkSize;
  } else if (*size >= sizeof(UInt32)) {
    UInt32 const number = S().bookmarkCounter++;
    std::memcpy(data, &number, sizeof number);
    *size = sizeof number;
  }
  return r;
}
OSStatus DVDGotoBookmark(void const* data, UInt32 size) {
  UInt32 number = 0xFFFFFFFF;
  if (data && size >= sizeof number) std::memcpy(&number, data, sizeof number);
  S().gotoBookmarks.push_back(number);
  return Call("DVDGotoBookmark");
}

OSStatus DVDSetVideoWindowID(UInt32 id) {
  S().windowID = id;
  return Call("DVDSetVideoWindowID");
}
OSStatus DVDSetVideoBounds(Rect const* r) {
  S().videoBounds = *r;
  return Call("DVDSetVideoBounds");
}
OSStatus DVDSwitchToDisplay(UInt32 display, Boolean* supported) {
  S().switchedDisplay = display;
  *supported = S().displaySupported;
  return Call("DVDSwitchToDisplay");
}
OSStatus DVDGetAspectRatio(DVDAspectRatio* ratio) {
  OSStatus const r = Call("DVDGetAspectRatio");
  if (r == noErr) *ratio = S().aspect;
  return r;
}
OSStatus DVDGetNativeVideoSize(UInt16* w, UInt16* h) {
  *w = S().nativeWidth;
  *h = S().nativeHeight;
  return Call("DVDGetNativeVideoSize");
}
OSStatus DVDDoMenuClick(Point pt, SInt32* index) {
  S().menuPoint = pt;
  *index = S().menuIndex;
  return Call("DVDDoMenuClick");
}
OSStatus DVDDoMenuMouseOver(Point pt, SInt32* index) {
  S().menuPoint = pt;
  *index = S().menuIndex;
  return Call("DVDDoMenuMouseOver");
}

OSStatus DVDCopyPresentedFrame(DVDPresentedFrameInfo* info, void* pixels, UInt32* size) {
  OSStatus const r = Call("DVDCopyPresentedFrame");
  if (r != noErr) return r;
  if (!S().hasFrame) return kDVDErrorNotAllowedNow;
  *info = DVDPresentedFrameInfo{};
  info->width = 720;
  info->height = 480;
  info->displayWidth = 640;
  info->displayHeight = 480;
  info->rowBytes = 720 * 3;
  info->aspect = kDVDAspectRatio4x3;
  info->title = S().presentedTitle;
  info->chapter = S().presentedChapter;
  info->frameInTitle = S().frameInTitle;
  info->framesShown = 1;
  UInt32 const needed = info->rowBytes * info->height;
  if (!pixels) {
    *size = needed;
    return noErr;
  }
  if (*size < needed) return kDVDErrorInvalidArgument;
  auto* out = static_cast<unsigned char*>(pixels);
  for (UInt32 i = 0; i < needed; i += 3) std::memcpy(out + i, S().frameRGB, 3);
  return noErr;
}
OSStatus DVDGetFrameInTitle(UInt32* frame) {
  OSStatus const r = Call("DVDGetFrameInTitle");
  if (r != noErr) return r;
  if (!S().hasFrame) return kDVDErrorNotAllowedNow;
  *frame = S().frameInTitle;
  return noErr;
}
OSStatus DVDSeekToFrame(UInt32 frame) {
  OSStatus const r = Call("DVDSeekToFrame");
  if (r != noErr) return r;
  S().seeks.push_back(frame);
  S().frameInTitle = frame;
  return noErr;
}
OSStatus DVDStepFrame(SInt32 frames) {
  S().steps.push_back(frames);
  return Call("DVDStepFrame");
}
// A grey 720 x 480 progressive picture, as decoded, when a frame is presented.
OSStatus DVDTakeStill(bool withOverlay, DVDStillRequest* request) {
  OSStatus const r = Call("DVDTakeStill");
  if (r != noErr) return r;
  if (!S().hasFrame) return kDVDErrorNotAllowedNow;
  S().stillWithOverlay = withOverlay;
  *request = DVDStillRequest{};
  request->info.width = 720;
  request->info.height = 480;
  request->info.pictureBytes = 720 * 480 * 3 / 2;
  request->info.aspect = kDVDAspectRatio4x3;
  request->info.progressive = true;
  request->info.title = S().presentedTitle;
  request->info.chapter = S().presentedChapter;
  request->info.frameInTitle = S().frameInTitle;
  request->info.framesShown = 1;
  request->planes.assign(request->info.pictureBytes, 128);
  // Grey; each frame its own shade (frame 0: Y' 126) so tests can tell which was taken.
  std::fill_n(request->planes.begin(), 720 * 480, UInt8(126 + S().frameInTitle % 100));
  return noErr;
}
// The presented picture's planes: frameRGB as BT.601 video-range Y'CbCr, nothing over it.
OSStatus DVDCopyPresentedPlanes(DVDPresentedPlanesInfo* info, void* planes, UInt32 planesSize,
                                void*, UInt32) {
  OSStatus const r = Call("DVDCopyPresentedPlanes");
  if (r != noErr) return r;
  if (!S().hasFrame) return kDVDErrorNotAllowedNow;
  *info = DVDPresentedPlanesInfo{};
  info->frame.width = 720;
  info->frame.height = 480;
  info->frame.displayWidth = 640;
  info->frame.displayHeight = 480;
  info->frame.rowBytes = 720 * 4;
  info->frame.aspect = kDVDAspectRatio4x3;
  info->frame.title = S().presentedTitle;
  info->frame.chapter = S().presentedChapter;
  info->frame.frameInTitle = S().frameInTitle;
  info->frame.framesShown = 1;
  info->matrix = kDVDColorMatrixBT601;
  info->planesBytes = 720 * 480 * 3 / 2;
  info->overlayBytes = 720 * 480 * 4;
  if (!planes) return noErr;
  if (planesSize < info->planesBytes) return kDVDErrorInvalidArgument;
  double const red = S().frameRGB[0], green = S().frameRGB[1], blue = S().frameRGB[2];
  double const y = 0.299 * red + 0.587 * green + 0.114 * blue;
  auto const level = [](double v) { return UInt8(std::clamp(std::lround(v), 0L, 255L)); };
  auto* out = static_cast<UInt8*>(planes);
  std::fill_n(out, 720 * 480, level(16 + y * 219 / 255));
  std::fill_n(out + 720 * 480, 360 * 240, level(128 + (blue - y) / 1.772 * 224 / 255));
  std::fill_n(out + 720 * 480 + 360 * 240, 360 * 240, level(128 + (red - y) / 1.402 * 224 / 255));
  return noErr;
}
OSStatus DVDSetFrameReadyCallBack(DVDFrameReadyCallBackFunctionPtr proc, void* refCon) {
  S().frameReady = proc;
  S().frameRefCon = refCon;
  return Call("DVDSetFrameReadyCallBack");
}

namespace {

// A title of the open disc's table, or null (and why) when there is none.
fake_dvd::State::Title const* FindTitle(UInt16 title, OSStatus* status) {
  if (!S().hasMedia) {
    *status = kDVDErrorNotAllowedNow;
    return nullptr;
  }
  if (title < 1 || title > S().titles.size()) {
    *status = kDVDErrorInvalidArgument;
    return nullptr;
  }
  return &S().titles[title - 1];
}

}  // namespace

OSStatus DVDGetNumTitles(UInt16* count) {
  OSStatus const r = Call("DVDGetNumTitles");
  if (r != noErr) return r;
  if (!S().hasMedia) return kDVDErrorNotAllowedNow;
  *count = UInt16(S().titles.size());
  return noErr;
}
OSStatus DVDGetTitleInfo(UInt16 title, DVDTitleInfo* info) {
  OSStatus r = Call("DVDGetTitleInfo");
  if (r != noErr) return r;
  fake_dvd::State::Title const* const found = FindTitle(title, &r);
  if (!found) return r;
  *info = found->info;
  return noErr;
}
OSStatus DVDGetChapterFirstFrames(UInt16 title, UInt32* frames, UInt16* count) {
  OSStatus r = Call("DVDGetChapterFirstFrames");
  if (r != noErr) return r;
  fake_dvd::State::Title const* const found = FindTitle(title, &r);
  if (!found) return r;
  std::vector<UInt32> const& firsts = found->chapterFirstFrames;
  size_t const n = std::min<size_t>(*count, firsts.size());
  if (n > 0) std::copy_n(firsts.begin(), n, frames);
  *count = UInt16(firsts.size());
  return noErr;
}
OSStatus DVDGetTitle(UInt16* title) {
  OSStatus const r = Call("DVDGetTitle");
  if (r != noErr) return r;
  if (!S().hasMedia) return kDVDErrorNotAllowedNow;
  *title = S().playingTitle;
  return noErr;
}
// The title starts: its first picture is presented.
OSStatus DVDSetTitle(UInt16 title) {
  S().setTitles.push_back(title);
  OSStatus r = Call("DVDSetTitle");
  if (r != noErr) return r;
  if (!FindTitle(title, &r)) return r;
  S().playingTitle = title;
  S().presentedTitle = title;
  S().presentedChapter = 1;
  S().frameInTitle = 0;
  return noErr;
}
// The chapter's first frame of the table is presented.
OSStatus DVDSetChapter(UInt16 chapter) {
  S().setChapters.push_back(chapter);
  OSStatus r = Call("DVDSetChapter");
  if (r != noErr) return r;
  if (!S().hasMedia || S().playingTitle == 0) return kDVDErrorNotAllowedNow;
  fake_dvd::State::Title const* const found = FindTitle(S().playingTitle, &r);
  if (!found) return r;
  if (chapter < 1 || chapter > found->chapterFirstFrames.size()) return kDVDErrorInvalidArgument;
  S().presentedChapter = chapter;
  S().frameInTitle = found->chapterFirstFrames[chapter - 1];
  return noErr;
}
