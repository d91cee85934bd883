#include "StillTaker.h"

#include <QFile>
#include <QFileInfo>

#include <algorithm>
#include <chrono>

namespace {

bool Shows(UInt32 first, UInt32 count, uint32_t frame) {
  return first != kDVDNoFrame && first <= frame && frame - first < std::max<UInt32>(1, count);
}

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
  self->mShownFrames = std::max<UInt32>(1, info.framesShown);
  self->mShownTitle = info.title;
  self->mChanged.notify_all();
}

bool StillTaker::WaitFor(UInt16 title, uint32_t frame, int timeoutMs) {
  std::unique_lock<std::mutex> lk(mMutex);
  return mChanged.wait_for(lk, std::chrono::milliseconds(timeoutMs), [&] {
    return mShownTitle == title && mShownFrame != kDVDNoFrame &&
           (frame == kDVDNoFrame || Shows(mShownFrame, mShownFrames, frame));
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

bool StillTaker::ChooseStreams(int audio, int subPicture) {
  if (!mOpen) return false;
  if (audio >= 0 && DVDSetAudioStream(UInt16(audio)) != noErr) return false;
  return subPicture < 0 || (DVDSetSubPictureStream(UInt16(subPicture)) == noErr &&
                            DVDEnableSubPicture(true) == noErr);
}

bool StillTaker::ShowCaptions(UInt16 title, std::vector<StillCaption>* cues) {
  if (!mOpen) return false;
  std::vector<StillCaption> read;
  auto const proc = [](UInt32 first, UInt32 end, char const* text, void* refCon) {
    static_cast<std::vector<StillCaption>*>(refCon)->push_back({first, end, text});
  };
  if (DVDReadClosedCaptions(title, proc, &read) != noErr) return false;
  if (cues) *cues = std::move(read);
  return DVDSetClosedCaptionsShown(true) == noErr;
}

bool StillTaker::Take(uint32_t frame, bool withSubtitles, DVDStillRequest* request) {
  if (!mOpen) return false;
  UInt16 title = 0;
  uint32_t shown = kDVDNoFrame;
  UInt32 shownFrames = 1;
  {
    std::lock_guard<std::mutex> g(mMutex);
    title = mShownTitle;
    shown = mShownFrame;
    shownFrames = mShownFrames;
  }
  if (!Shows(shown, shownFrames, frame)) {
    bool const step = shown != kDVDNoFrame && frame > shown && frame - shown <= kStepAtMost;
    OSStatus const status = step ? DVDStepFrame(SInt32(frame - shown)) : DVDSeekToFrame(frame);
    if (status != noErr || !WaitFor(title, frame, 10000)) return false;
  }
  return DVDTakeStill(withSubtitles, request) == noErr &&
         Shows(request->info.frameInTitle, request->info.framesShown, frame);
}

StillContent StillTaker::Examine(StillTitleInfo const& title) {
  // Ten pictures hold two whole 3:2 cadences.
  constexpr int kPictures = 10;
  if (title.info.frames == 0 || !StartTitle(title.number)) return StillContent::kUnknown;
  uint32_t frame = title.info.frames > 3 * kPictures ? title.info.frames / 3 : 0;
  int taken = 0;
  int repeating = 0;
  int interlaced = 0;
  int otherField = 0;  // made whole by a field of the picture before or after
  int combed = 0;      // whole with no field at hand
  for (int i = 0; i < kPictures && frame < title.info.frames; ++i) {
    DVDStillRequest request;
    if (!Take(frame, false, &request)) break;
    DVDDecodedFrameInfo const& info = request.info;
    ++taken;
    if (info.framesShown > 1 || info.repeatFirstField) ++repeating;
    if (!info.progressive) {
      ++interlaced;
      DVDStillFieldMatch match = kDVDStillFieldMatchNone;
      if (DVDGetStillFieldMatch(request, &match) == noErr) {
        if (match == kDVDStillFieldMatchNone) ++combed;
        if (match == kDVDStillFieldMatchPrevious || match == kDVDStillFieldMatchNext) {
          ++otherField;
        }
      }
    }
    frame = info.frameInTitle + std::max<UInt32>(1, info.framesShown);
  }
  if (taken < 5) return StillContent::kUnknown;
  if (title.PAL()) return StillContent::kVideo;
  // Pulldown flags: 2 of every 4 pictures repeat a field.
  if (repeating * 4 >= taken) return StillContent::kSoftTelecine;
  // Telecined: 2 of every 5 frames need a field of a neighbour, and none stays combed.
  if (interlaced == taken && otherField * 10 >= taken * 3 && combed * 10 <= taken) {
    return StillContent::kHardTelecine;
  }
  return StillContent::kVideo;
}
