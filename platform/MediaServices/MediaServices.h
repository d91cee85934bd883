// The media framework's calls that the library uses. Most are not linked: they live in the
// shared library libQuickTime.so, loaded at run time as "QuickTime.framework" and called
// by name. QTNewDataReferenceFromFSRef is the one direct call (inline below).
#pragma once

#include "CoreFoundation.h"
#include "Files.h"
#include "MacTypes.h"

#include <cstdlib>
#include <cstring>
#include <sys/stat.h>


using TimeValue64 = SInt64;

// A media of fixed-rate samples: sample n (counted from 0) is decoded at
// n * durationPerSample.
struct MediaRecord {
  SInt64 sampleCount;
  TimeValue64 durationPerSample;
};
using Media = MediaRecord*;

// The data reference of this platform: a handle whose block holds the file's POSIX path as
// a C string. Made in one heap block; release it with MediaServicesDisposeDataRef.
enum : OSType {
  PathDataHandlerSubType = FOUR_CHAR_CODE("path"),
};

enum : OSErr {
  invalidMedia = -2008,
  invalidDataRef = -2012,
};

extern "C" {
// Data reference for the object called name in the folder fileRef. The object need not
// exist yet; the folder must. noErr, paramErr, invalidDataRef (no such folder) or
// memFullErr.
OSErr QTNewDataReferenceFromFSRefCFString(FSRef const* fileRef, CFStringRef name, UInt32 flags,
                                          Handle* outDataRef, OSType* outDataRefType);
// Decode time and duration of a sample; the status is left for GetMoviesError
// (invalidMedia for a null media, paramErr for a sample number outside the media).
void SampleNumToMediaDecodeTime(Media theMedia, TimeValue64 logicalSampleNum,
                                TimeValue64* sampleDecodeTime, TimeValue64* sampleDecodeDuration);
// Status of the last call above.
OSErr GetMoviesError();
}

// Signatures of the calls above, for looking them up by name.
using QTNewDataReferenceFromFSRefCFStringProc = OSErr (*)(FSRef const*, CFStringRef, UInt32,
                                                          Handle*, OSType*);
using SampleNumToMediaDecodeTimeProc = void (*)(Media, TimeValue64, TimeValue64*, TimeValue64*);
using GetMoviesErrorProc = OSErr (*)();

// A path data reference in one block: the master pointer, then the text it points to.
inline OSErr MediaServicesNewPathDataRef(char const* path, Handle* outDataRef,
                                         OSType* outDataRefType) {
  if (!path || !outDataRef) return paramErr;
  std::size_t const length = std::strlen(path);
  auto* block = static_cast<char*>(std::malloc(sizeof(char*) + length + 1));
  if (!block) return memFullErr;
  char* text = block + sizeof(char*);
  std::memcpy(text, path, length + 1);
  std::memcpy(block, &text, sizeof text);
  *outDataRef = reinterpret_cast<Handle>(block);
  if (outDataRefType) *outDataRefType = PathDataHandlerSubType;
  return noErr;
}

inline void MediaServicesDisposeDataRef(Handle dataRef) { std::free(dataRef); }

// The reference's path when it still names the same object.
inline bool MediaServicesRefPath(FSRef const* ref, struct stat* info) {
  if (!ref || ref->path[0] != '/' || !std::memchr(ref->path, 0, sizeof ref->path)) return false;
  return ::stat(ref->path, info) == 0 && info->st_dev == ref->device && info->st_ino == ref->inode;
}

// Data reference for the object the reference names.
inline OSErr QTNewDataReferenceFromFSRef(FSRef const* fileRef, UInt32 /*flags*/,
                                         Handle* outDataRef, OSType* outDataRefType) {
  struct stat info {};
  if (!outDataRef) return paramErr;
  if (!MediaServicesRefPath(fileRef, &info)) return invalidDataRef;
  return MediaServicesNewPathDataRef(fileRef->path, outDataRef, outDataRefType);
}
