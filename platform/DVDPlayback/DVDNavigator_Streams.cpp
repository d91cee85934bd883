// The navigator's sound and subtitle streams: what the title has, in which languages, and
// which are decoded. The disc's machine keeps its own selection; the user's choice is kept
// beside it and wins while the title has that stream. Everything here is answered from what
// the reader last saw of the machine.
#include "DVDNavigator.h"

namespace dvd {

namespace {

constexpr int kHidden = 0x80;

}  // namespace

int DVDNavigator::MaxStreams(StreamKind kind) {
  return kind == StreamKind::kAudio ? View::kAudioStreams : View::kSubPictureStreams;
}

int DVDNavigator::StreamID(StreamKind kind, int logical) {
  if (!InTitle() || logical < 0 || logical >= MaxStreams(kind)) return -1;
  return kind == StreamKind::kAudio ? mView.audioIDs[size_t(logical)]
                                    : mView.subPictureIDs[size_t(logical)];
}

int DVDNavigator::SelectedAudio() {
  int const chosen = StreamID(StreamKind::kAudio, mAudioChoice);
  return chosen >= 0 ? chosen : mView.discAudio;
}

int DVDNavigator::SelectedSubPicture() {
  int const disc = mView.discSubPicture;
  int const chosen = StreamID(StreamKind::kSubPicture, mSubPictureChoice);
  int stream = chosen >= 0 ? chosen : disc;
  if (stream < 0) return stream;
  bool hidden = (disc >= 0 && (disc & kHidden) != 0) || disc < 0;
  if (InTitle() && mSubPictureShown >= 0) hidden = mSubPictureShown == 0;
  stream &= 0x1F;
  return hidden ? stream | kHidden : stream;
}

// The disc's number of the stream decoded now, without the subpicture's flags.
int DVDNavigator::SelectedStream(StreamKind kind) {
  if (kind == StreamKind::kAudio) return SelectedAudio();
  int const spu = SelectedSubPicture();
  return spu < 0 ? spu : spu & 0x1F;
}

void DVDNavigator::ApplyStreams() {
  if (!mPresenter) return;
  int const spu = SelectedSubPicture();
  mPresenter->SelectStreams(SelectedAudio(), spu < 0 ? 0 : spu & 0x1F,
                            spu < 0 || (spu & kHidden) != 0);
}

OSStatus DVDNavigator::GetNumStreams(StreamKind kind, UInt16* count) {
  std::lock_guard<std::mutex> g(mMutex);
  if (!mNav) return kDVDErrorNoMedia;
  if (!InTitle()) return kDVDErrorNotAllowedNow;
  UInt16 n = 0;
  for (int i = 0; i < MaxStreams(kind); ++i) {
    if (StreamID(kind, i) >= 0) n = UInt16(i + 1);
  }
  *count = n;
  return noErr;
}

OSStatus DVDNavigator::GetStream(StreamKind kind, UInt16* stream) {
  std::lock_guard<std::mutex> g(mMutex);
  if (!mNav) return kDVDErrorNoMedia;
  if (!InTitle()) return kDVDErrorNotAllowedNow;
  int const id = SelectedStream(kind);
  if (id < 0) return kDVDErrorNotAllowedNow;
  for (int i = 0; i < MaxStreams(kind); ++i) {
    if (StreamID(kind, i) == id) {
      *stream = UInt16(i);
      return noErr;
    }
  }
  return kDVDErrorNotAllowedNow;
}

OSStatus DVDNavigator::SetStream(StreamKind kind, UInt16 stream) {
  std::lock_guard<std::mutex> g(mMutex);
  if (!mNav) return kDVDErrorNoMedia;
  if (!InTitle()) return kDVDErrorNotAllowedNow;
  if (StreamID(kind, stream) < 0) return kDVDErrorInvalidArgument;
  (kind == StreamKind::kAudio ? mAudioChoice : mSubPictureChoice) = stream;
  ApplyStreams();
  return noErr;
}

OSStatus DVDNavigator::GetLanguageCode(StreamKind kind, UInt16 stream, UInt16* code) {
  std::lock_guard<std::mutex> g(mMutex);
  if (!mNav) return kDVDErrorNoMedia;
  if (!InTitle()) return kDVDErrorNotAllowedNow;
  if (StreamID(kind, stream) < 0) return kDVDErrorInvalidArgument;
  *code = kind == StreamKind::kAudio ? mView.audioLanguages[stream]
                                     : mView.subPictureLanguages[stream];
  return noErr;
}

OSStatus DVDNavigator::EnableSubPicture(bool enable) {
  std::lock_guard<std::mutex> g(mMutex);
  if (!mNav) return kDVDErrorNoMedia;
  mSubPictureShown = enable ? 1 : 0;
  if (InTitle()) ApplyStreams();
  return noErr;
}

OSStatus DVDNavigator::IsSubPictureEnabled(Boolean* enabled) {
  std::lock_guard<std::mutex> g(mMutex);
  if (!mNav) return kDVDErrorNoMedia;
  if (!InTitle()) {
    *enabled = mSubPictureShown != 0;
    return noErr;
  }
  int const spu = SelectedSubPicture();
  *enabled = spu >= 0 && (spu & kHidden) == 0;
  return noErr;
}

}  // namespace dvd
