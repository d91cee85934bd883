// The media framework's calls, looked up by name in "QuickTime.framework" on first use.
#pragma once

#include "CFBaseDLL.h"
#include "MediaServices.h"

class QFramework {
 public:
  static OSErr NewDataReferenceFromFSRef(FSRef const* fileRef, unsigned long flags,
                                         Handle* dataRef, OSType* dataRefType);
  // unimpErr when the framework or the function cannot be had.
  static OSErr NewDataReferenceFromFSRefCFString(FSRef const* fileRef, CFStringRef name,
                                                 unsigned long flags, Handle* dataRef,
                                                 OSType* dataRefType);
  static void SampleNumToMediaDecodeTime(Media theMedia, long long sampleNum,
                                         long long* decodeTime, long long* durationPerSample);

  static CFBundleDLL sQuickTime;
};
