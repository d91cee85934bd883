// The media-services shared library: libQuickTime.so, found at run time as
// "QuickTime.framework". Its CF string calls are resolved against the program that loads it.
#include "MediaServices.h"

#include <string>

namespace {
OSErr sLastError = noErr;
}

extern "C" __attribute__((visibility("default"))) OSErr QTNewDataReferenceFromFSRefCFString(
    FSRef const* fileRef, CFStringRef name, UInt32 /*flags*/, Handle* outDataRef,
    OSType* outDataRefType) {
  sLastError = paramErr;
  if (!fileRef || !name || !outDataRef) return sLastError;
  struct stat info {};
  if (!MediaServicesRefPath(fileRef, &info) || !S_ISDIR(info.st_mode))
    return sLastError = invalidDataRef;
  char fileName[1024];
  if (!CFStringGetCString(name, fileName, sizeof fileName, kCFStringEncodingUTF8) ||
      fileName[0] == 0 || std::strchr(fileName, '/'))
    return sLastError;
  std::string path = fileRef->path;
  if (path != "/") path += '/';
  path += fileName;
  return sLastError = MediaServicesNewPathDataRef(path.c_str(), outDataRef, outDataRefType);
}

extern "C" __attribute__((visibility("default"))) void SampleNumToMediaDecodeTime(
    Media theMedia, TimeValue64 logicalSampleNum, TimeValue64* sampleDecodeTime,
    TimeValue64* sampleDecodeDuration) {
  if (!theMedia) {
    sLastError = invalidMedia;
    return;
  }
  if (logicalSampleNum < 0 || logicalSampleNum >= theMedia->sampleCount) {
    sLastError = paramErr;
    return;
  }
  if (sampleDecodeTime) *sampleDecodeTime = logicalSampleNum * theMedia->durationPerSample;
  if (sampleDecodeDuration) *sampleDecodeDuration = theMedia->durationPerSample;
  sLastError = noErr;
}

extern "C" __attribute__((visibility("default"))) OSErr GetMoviesError() { return sLastError; }
