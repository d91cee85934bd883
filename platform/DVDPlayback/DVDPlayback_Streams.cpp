// The service's C interface for sound and subtitle streams.
#include "DVDPlayback.h"

#include "DVDService.h"

using dvd::DVDNavigator;
using dvd::WithNavigator;

namespace {

// Answers through out (which must not be null) with the navigator.
template <class T, class F>
OSStatus Ask(T* out, F&& f) {
  if (!out) return kDVDErrorInvalidArgument;
  return WithNavigator([&](DVDNavigator& n) { return f(n, out); });
}

}  // namespace

OSStatus DVDGetNumAudioStreams(UInt16* outNumStreams) {
  return Ask(outNumStreams, [](DVDNavigator& n, UInt16* o) { return n.GetNumAudioStreams(o); });
}

OSStatus DVDGetAudioStream(UInt16* outStreamNum) {
  return Ask(outStreamNum, [](DVDNavigator& n, UInt16* o) { return n.GetAudioStream(o); });
}

OSStatus DVDSetAudioStream(UInt16 inStreamNum) {
  return WithNavigator([&](DVDNavigator& n) { return n.SetAudioStream(inStreamNum); });
}

OSStatus DVDGetAudioLanguageCode(UInt16 inStreamNum, DVDLanguageCode* outCode) {
  return Ask(outCode, [&](DVDNavigator& n, UInt16* o) {
    return n.GetAudioLanguageCode(inStreamNum, o);
  });
}

OSStatus DVDGetNumSubPictureStreams(UInt16* outNumStreams) {
  return Ask(outNumStreams,
             [](DVDNavigator& n, UInt16* o) { return n.GetNumSubPictureStreams(o); });
}

OSStatus DVDGetSubPictureStream(UInt16* outStreamNum) {
  return Ask(outStreamNum, [](DVDNavigator& n, UInt16* o) { return n.GetSubPictureStream(o); });
}

OSStatus DVDSetSubPictureStream(UInt16 inStreamNum) {
  return WithNavigator([&](DVDNavigator& n) { return n.SetSubPictureStream(inStreamNum); });
}

OSStatus DVDGetSubPictureLanguageCode(UInt16 inStreamNum, DVDLanguageCode* outCode) {
  return Ask(outCode, [&](DVDNavigator& n, UInt16* o) {
    return n.GetSubPictureLanguageCode(inStreamNum, o);
  });
}

OSStatus DVDEnableSubPicture(Boolean inEnable) {
  return WithNavigator([&](DVDNavigator& n) { return n.EnableSubPicture(inEnable != 0); });
}

OSStatus DVDIsSubPictureEnabled(Boolean* outEnabled) {
  return Ask(outEnabled, [](DVDNavigator& n, Boolean* o) { return n.IsSubPictureEnabled(o); });
}
