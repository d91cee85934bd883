#include "LFileFork.h"

#include "CoreMachDebugLog.h"
#include "LFSRef.h"
#include "LHFSUnicodeName.h"

LFileFork::~LFileFork() { Close(); }

bool LFileFork::Open(FSRef const* theFileRef, HFSUniStr255 const* forkName, signed char permissions) {
  Close();
  if (!CoreVerify(theFileRef)) return false;
  HFSUniStr255 const& name = forkName ? *forkName : static_cast<HFSUniStr255 const&>(LHFSUnicodeName::sDataFork);
  FSIORefNum refNum = -1;
  OSErr const err = ::FSOpenFork(theFileRef, name.length, name.unicode, permissions, &refNum);
  bool fOk;
  CoreVerify(fOk = (err==noErr));
  mRef = fOk ? refNum : SInt16(-1);
  return fOk;
}

bool LFileFork::OpenData(FSRef const* theFileRef, signed char permissions) {
  return Open(theFileRef, &LHFSUnicodeName::sDataFork, permissions);
}

bool LFileFork::OpenData(LFSRef const& theFileRef, signed char permissions) {
  FSRef normalRef{};
  if (!CoreVerify(theFileRef.GetNormalizedRef(normalRef))) return false;
  return Open(&normalRef, &LHFSUnicodeName::sDataFork, permissions);
}

bool LFileFork::Create(FSRef const* theFileRef, HFSUniStr255 const* forkName) {
  if (!CoreVerify(theFileRef)) return false;
  HFSUniStr255 const& name = forkName ? *forkName : static_cast<HFSUniStr255 const&>(LHFSUnicodeName::sDataFork);
  if (!CoreVerify(noErr==::FSCreateFork(theFileRef, name.length, name.unicode))) return false;
  return Open(theFileRef, &name, fsRdWrPerm);
}

bool LFileFork::CreateData(FSRef const* theFileRef) {
  return Create(theFileRef, &LHFSUnicodeName::sDataFork);
}

bool LFileFork::CreateData(LFSRef const& theFileRef) {
  FSRef normalRef{};
  if (!CoreVerify(theFileRef.GetNormalizedRef(normalRef))) return false;
  FSRef const theRef = normalRef;
  bool fOk;
  CoreVerify(fOk=Create(&theRef,LHFSUnicodeName::sDataFork));
  return fOk;
}

bool LFileFork::Read(void* buffer, unsigned long count, unsigned short positionMode, long long offset,
                     unsigned long* actual) {
  if (!CoreVerify(IsOpen())) return false;
  ByteCount got = 0;
  OSErr const err = ::FSReadFork(mRef, positionMode, offset, count, buffer, &got);
  if (actual) *actual = got;
  bool fOk;
  CoreVerify(fOk = ((err==noErr) || (err==eofErr)));
  return fOk;
}

bool LFileFork::Write(void const* buffer, unsigned long count, unsigned short positionMode,
                      long long offset, unsigned long* actual) {
  if (!CoreVerify(IsOpen())) return false;
  ByteCount done = 0;
  OSErr const err = ::FSWriteFork(mRef, positionMode, offset, count, buffer, &done);
  if (actual) *actual = done;
  return err == noErr;
}

bool LFileFork::GetPosition(long long& out_position) {
  if (!CoreVerify(IsOpen())) return false;
  SInt64 position = 0;
  if (::FSGetForkPosition(mRef, &position) != noErr) return false;
  out_position = position;
  return true;
}

bool LFileFork::SetPosition(long long position, unsigned short positionMode) {
  if (!CoreVerify(IsOpen())) return false;
  return ::FSSetForkPosition(mRef, positionMode, position) == noErr;
}

bool LFileFork::Close() {
  if (!IsOpen()) return true;
  OSErr err;
  bool const fOk = CoreVerify(noErr==(err=::FSCloseFork(mRef)));
  mRef = -1;
  return fOk;
}

bool LFileFork::DeleteForkName(FSRef const& theFileRef, HFSUniStr255 const& forkName) {
  return ::FSDeleteFork(&theFileRef, forkName.length, forkName.unicode) == noErr;
}

bool LFileFork::DeleteDataFork(FSRef const& theFileRef) {
  return DeleteForkName(theFileRef, LHFSUnicodeName::sDataFork);
}

bool LFileFork::DeleteResourceFork(FSRef const& theFileRef) {
  return DeleteForkName(theFileRef, LHFSUnicodeName::sResourceFork);
}
