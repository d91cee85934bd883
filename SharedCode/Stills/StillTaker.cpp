#include "StillTaker.h"

#include <QFile>
#include <QFileInfo>

#include <chrono>

namespace {

// Frames this close ahead are stepped to: cheaper than a seek, which goes back to the
// picture group's start.
constexpr uint32_t kStepAtMost = 12;

}  // namespace

OSStatus StillTaker::Open(QString const& path, QString* why) {
  Close();
  QFileInfo const info(path);
  if (!info.exists()) {
    *why = QStringLiteral("no such file or folder");
    return kDVDErrorInvalidArgument;
  }
  if (OSStatus const status = DVDInitializeForStills(); status != noErr) {
    *why = QStringLiteral("the playback service cannot start (%1)").arg(status);
    return status;
  }
  mInitialized = true;
  DVDSetFrameReadyCallBack(&FrameReady, this);
  DVDMute(true);
  FSRef ref;
  QByteArray const utf8 = QFile::encodeName(info.absoluteFilePath());
  OSStatus status = FSPathMakeRef(reinterpret_cast<UInt8 const*>(utf8.constData()), &ref, nullptr);
  if (status == noErr) status = info.isDir() ? DVDOpenMediaFile(&ref) : DVDOpenMediaVolume(&ref);
  if (status != noErr) {
    *why = status == kDVDErrorMediaScrambled
               ? QStringLiteral("the disc is encrypted (CSS) and libdvdcss is not installed")
           : status == kDVDErrorMediaNotDVD ? QStringLiteral("not a DVD-Video disc or folder")
                                            : QStringLiteral("the disc cannot be read (%1)").arg(status);
    Close();
    return status;
  }
  mOpen = true;
  UInt16 count = 0;
  if (DVDGetNumTitles(&count) != noErr || count == 0) {
    *why = QStringLiteral("the disc has no titles");
    Close();
    return kDVDErrorMediaNotDVD;
  }
  mTitles = StillTitleInfo::ReadAll();
  return noErr;
}

void StillTaker::Close() {
  if (mOpen) DVDCloseMediaFile();
  mOpen = false;
  if (mInitialized) {
    DVDSetFrameReadyCallBack(nullptr, nullptr);
    DVDDispose();
  }
  mInitialized = false;
  mTitles.clear();
}

UInt16 StillTaker::LongestTitle() const { return StillTitleInfo::Longest(mTitles); }

void StillTaker::FrameReady(UInt32, void* refCon) {
  auto* const self = static_cast<StillTaker*>(refCon);
  DVDPresentedFrameInfo info{};
  UInt32 size = 0;
  if (DVDCopyPresentedFrame(&info, nullptr, &size) != noErr) return;
  std::lock_guard<std::mutex> g(self->mMutex);
  self->mShownFrame = info.frameInTitle;
  self->mShownTitle = info.title;
  self->mChanged.notify_all();
}

bool StillTaker::WaitFor(UInt16 title, uint32_t frame, int timeoutMs) {
  std::unique_lock<std::mutex> lk(mMutex);
  return mChanged.wait_for(lk, std::chrono::milliseconds(timeoutMs), [&] {
    return mShownTitle == title && mShownFrame != kDVDNoFrame &&
           (frame == kDVDNoFrame || mShownFrame == frame);
  });
}

bool StillTaker::StartTitle(UInt16 title) {
  if (!mOpen) return false;
  {
    std::lock_guard<std::mutex> g(mMutex);
    mShownTitle = 0;
    mShownFrame = kDVDNoFrame;
  }
  if (DVDSetTitle(title) != noErr) return false;
  if (!WaitFor(title, kDVDNoFrame, 10000)) return false;
  return DVDPause() == noErr;
}

bool StillTaker::Take(uint32_t frame, bool withSubtitles, DVDStillRequest* request) {
  if (!mOpen) return false;
  UInt16 title = 0;
  uint32_t shown = kDVDNoFrame;
  {
    std::lock_guard<std::mutex> g(mMutex);
    title = mShownTitle;
    shown = mShownFrame;
  }
  if (shown != frame) {
    bool const step = shown != kDVDNoFrame && frame > shown && frame - shown <= kStepAtMost;
    OSStatus const status = step ? DVDStepFrame(SInt32(frame - shown)) : DVDSeekToFrame(frame);
    if (status != noErr || !WaitFor(title, frame, 10000)) return false;
  }
  return DVDTakeStill(withSubtitles, request) == noErr && request->info.frameInTitle == frame;
}
