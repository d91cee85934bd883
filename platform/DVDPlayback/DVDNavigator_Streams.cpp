// The navigator's sound and subtitle streams: what the title has, in which languages, and
// which are decoded. The disc's machine keeps its own selection; the user's choice is kept
// beside it and wins while the title has that stream. Everything here is answered from what
// the reader last saw of the machine.
#include "DVDNavigator.h"

namespace dvd {

namespace {

constexpr int kHidden = DVDDiscMachine::kHidden;

}  // namespace

void DVDNavigator::ApplyStreams() {
  if (!mPipeline) return;
  int const spu = mDisc.SelectedSubPicture();
  mPipeline->SelectStreams(mDisc.SelectedAudio(), spu < 0 ? 0 : spu & 0x1F,
                            spu < 0 || (spu & kHidden) != 0);
}

OSStatus DVDNavigator::GetNumStreams(StreamKind kind, UInt16* count) {
  std::lock_guard<std::mutex> g(mMutex);
  if (!mDisc.IsOpen()) return kDVDErrorNoMedia;
  if (!InTitle()) return kDVDErrorNotAllowedNow;
  UInt16 n = 0;
  for (int i = 0; i < DVDDiscView::MaxStreams(kind); ++i) {
    if (mDisc.StreamID(kind, i) >= 0) n = UInt16(i + 1);
  }
  *count = n;
  return noErr;
}

OSStatus DVDNavigator::GetStream(StreamKind kind, UInt16* stream) {
  std::lock_guard<std::mutex> g(mMutex);
  if (!mDisc.IsOpen()) return kDVDErrorNoMedia;
  if (!InTitle()) return kDVDErrorNotAllowedNow;
  int const id = mDisc.SelectedStream(kind);
  if (id < 0) return kDVDErrorNotAllowedNow;
  for (int i = 0; i < DVDDiscView::MaxStreams(kind); ++i) {
    if (mDisc.StreamID(kind, i) == id) {
      *stream = UInt16(i);
      return noErr;
    }
  }
  return kDVDErrorNotAllowedNow;
}

OSStatus DVDNavigator::SetStream(StreamKind kind, UInt16 stream) {
  std::lock_guard<std::mutex> g(mMutex);
  if (!mDisc.IsOpen()) return kDVDErrorNoMedia;
  if (!InTitle()) return kDVDErrorNotAllowedNow;
  if (mDisc.StreamID(kind, stream) < 0) return kDVDErrorInvalidArgument;
  (kind == StreamKind::kAudio ? mDisc.mAudioChoice : mDisc.mSubPictureChoice) = stream;
  ApplyStreams();
  return noErr;
}

OSStatus DVDNavigator::GetLanguageCode(StreamKind kind, UInt16 stream, UInt16* code) {
  std::lock_guard<std::mutex> g(mMutex);
  if (!mDisc.IsOpen()) return kDVDErrorNoMedia;
  if (!InTitle()) return kDVDErrorNotAllowedNow;
  if (mDisc.StreamID(kind, stream) < 0) return kDVDErrorInvalidArgument;
  *code = mDisc.mView.Language(kind, stream);
  return noErr;
}

OSStatus DVDNavigator::EnableSubPicture(bool enable) {
  std::lock_guard<std::mutex> g(mMutex);
  if (!mDisc.IsOpen()) return kDVDErrorNoMedia;
  mDisc.mSubPictureShown = enable ? 1 : 0;
  if (InTitle()) ApplyStreams();
  return noErr;
}

OSStatus DVDNavigator::IsSubPictureEnabled(Boolean* enabled) {
  std::lock_guard<std::mutex> g(mMutex);
  if (!mDisc.IsOpen()) return kDVDErrorNoMedia;
  if (!InTitle()) {
    *enabled = mDisc.mSubPictureShown != 0;
    return noErr;
  }
  int const spu = mDisc.SelectedSubPicture();
  *enabled = spu >= 0 && (spu & kHidden) == 0;
  return noErr;
}

}  // namespace dvd
