// The service's C interface for sound and subtitle streams.
#include "DVDPlayback.h"

#include "DVDService.h"

using dvd::DVDNavigator;
using dvd::WithNavigator;
using Kind = DVDNavigator::StreamKind;

namespace {

OSStatus NumStreams(Kind kind, UInt16* out) {
  if (!out) return kDVDErrorInvalidArgument;
  return WithNavigator([&](DVDNavigator& n) { return n.GetNumStreams(kind, out); });
}

OSStatus CurrentStream(Kind kind, UInt16* out) {
  if (!out) return kDVDErrorInvalidArgument;
  return WithNavigator([&](DVDNavigator& n) { return n.GetStream(kind, out); });
}

OSStatus ChooseStream(Kind kind, UInt16 stream) {
  return WithNavigator([&](DVDNavigator& n) { return n.SetStream(kind, stream); });
}

OSStatus StreamLanguage(Kind kind, UInt16 stream, DVDLanguageCode* out) {
  if (!out) return kDVDErrorInvalidArgument;
  return WithNavigator([&](DVDNavigator& n) { return n.GetLanguageCode(kind, stream, out); });
}

}  // namespace

OSStatus DVDGetNumAudioStreams(UInt16* outNumStreams) {
  return NumStreams(Kind::kAudio, outNumStreams);
}

OSStatus DVDGetAudioStream(UInt16* outStreamNum) {
  return CurrentStream(Kind::kAudio, outStreamNum);
}

OSStatus DVDSetAudioStream(UInt16 inStreamNum) { return ChooseStream(Kind::kAudio, inStreamNum); }

OSStatus DVDGetAudioLanguageCode(UInt16 inStreamNum, DVDLanguageCode* outCode) {
  return StreamLanguage(Kind::kAudio, inStreamNum, outCode);
}

OSStatus DVDGetNumSubPictureStreams(UInt16* outNumStreams) {
  return NumStreams(Kind::kSubPicture, outNumStreams);
}

OSStatus DVDGetSubPictureStream(UInt16* outStreamNum) {
  return CurrentStream(Kind::kSubPicture, outStreamNum);
}

OSStatus DVDSetSubPictureStream(UInt16 inStreamNum) {
  return ChooseStream(Kind::kSubPicture, inStreamNum);
}

OSStatus DVDGetSubPictureLanguageCode(UInt16 inStreamNum, DVDLanguageCode* outCode) {
  return StreamLanguage(Kind::kSubPicture, inStreamNum, outCode);
}

OSStatus DVDEnableSubPicture(Boolean inEnable) {
  return WithNavigator([&](DVDNavigator& n) { return n.EnableSubPicture(inEnable != 0); });
}

OSStatus DVDIsSubPictureEnabled(Boolean* outEnabled) {
  if (!outEnabled) return kDVDErrorInvalidArgument;
  return WithNavigator([&](DVDNavigator& n) { return n.IsSubPictureEnabled(outEnabled); });
}
