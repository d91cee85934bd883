// One open fork of a file: the data fork (its bytes) or the resource fork.
#pragma once

#include "Files.h"

class LFSRef;

class LFileFork {
 public:
  LFileFork() = default;
  ~LFileFork();
  LFileFork(LFileFork const&) = delete;
  LFileFork& operator=(LFileFork const&) = delete;

  bool IsOpen() const { return mRef != -1; }

  bool Open(FSRef const* theFileRef, HFSUniStr255 const* forkName, signed char permissions);
  bool OpenRead(FSRef const* theFileRef, HFSUniStr255 const* forkName) { return Open(theFileRef, forkName, fsRdPerm); }
  bool OpenWrite(FSRef const* theFileRef, HFSUniStr255 const* forkName) { return Open(theFileRef, forkName, fsRdWrPerm); }
  bool OpenData(FSRef const* theFileRef, signed char permissions);
  bool OpenData(LFSRef const& theFileRef, signed char permissions);

  bool Create(FSRef const* theFileRef, HFSUniStr255 const* forkName);
  bool Create(FSRef const* theFileRef, HFSUniStr255 const& forkName) { return Create(theFileRef, &forkName); }
  bool CreateData(FSRef const* theFileRef);
  bool CreateData(LFSRef const& theFileRef);

  // A read that reaches the end succeeds with the shorter count.
  bool Read(void* buffer, unsigned long count, unsigned short positionMode, long long offset,
            unsigned long* actual);
  bool Write(void const* buffer, unsigned long count, unsigned short positionMode, long long offset,
             unsigned long* actual);
  bool GetPosition(long long& out_position);
  bool SetPosition(long long position, unsigned short positionMode);
  // The fork counts as closed afterwards even when the platform reports a failure.
  bool Close();

  static bool DeleteForkName(FSRef const& theFileRef, HFSUniStr255 const& forkName);
  static bool DeleteDataFork(FSRef const& theFileRef);
  static bool DeleteResourceFork(FSRef const& theFileRef);

  SInt16 mRef = -1;
};
