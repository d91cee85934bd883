#include "QFramework.h"

#include "CoreMachDebugLog.h"

CFBundleDLL QFramework::sQuickTime(CFSTR("QuickTime.framework"));

OSErr QFramework::NewDataReferenceFromFSRef(FSRef const* fileRef, unsigned long flags,
                                            Handle* dataRef, OSType* dataRefType) {
  return ::QTNewDataReferenceFromFSRef(fileRef, static_cast<UInt32>(flags), dataRef, dataRefType);
}

OSErr QFramework::NewDataReferenceFromFSRefCFString(FSRef const* fileRef, CFStringRef name,
                                                    unsigned long flags, Handle* dataRef,
                                                    OSType* dataRefType) {
  if (!sQuickTime.IsLoaded()) CoreMachDebugVerify(sQuickTime.LoadSystemFramework());
  OSErr status = unimpErr;
  if (sQuickTime.IsLoaded()) {
    CoreMachDebugVerify(sQuickTime.CallByName("QTNewDataReferenceFromFSRefCFString", status, fileRef, name, static_cast<UInt32>(flags), dataRef, dataRefType));
  }
  return status;
}

void QFramework::SampleNumToMediaDecodeTime(Media theMedia, long long sampleNum,
                                            long long* decodeTime, long long* durationPerSample) {
  if (!sQuickTime.IsLoaded()) CoreMachDebugVerify(sQuickTime.LoadSystemFramework());
  bool fOk = CoreVerify(sQuickTime.IsLoaded());
  if (fOk) fOk = CoreVerify(sQuickTime.CallVoidByName("SampleNumToMediaDecodeTime", theMedia, TimeValue64(sampleNum), decodeTime, durationPerSample));
  OSErr error = noErr;
  if (fOk) fOk = CoreVerify(sQuickTime.CallByName("GetMoviesError", error));
  if (fOk && !CoreVerify(error==noErr)) CoreMachDebugLog("%d=SampleNumToMediaDecodeTime()\n", error);
}
