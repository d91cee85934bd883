// Relocatable memory blocks (handles): a pointer to a master pointer to the block, with a
// size that can change and a lock state. Blocks come from the C heap.
#pragma once

#include "MacTypes.h"

// State bits of HGetState/HSetState.
enum : SInt8 {
  kHandleLockedBit = 7,
  kHandleLockedMask = SInt8(0x80),
};

Handle NewHandle(Size byteCount);
Handle NewHandleClear(Size byteCount);
void DisposeHandle(Handle h);
Size GetHandleSize(Handle h);
// Grows or shrinks the block (a locked block too: nothing here moves behind a pointer
// someone still holds except on growth, which the caller asked for).
void SetHandleSize(Handle h, Size newSize);
// Status of the last handle call on this thread: noErr, memFullErr or nilHandleErr.
OSErr MemError();

SInt8 HGetState(Handle h);
void HSetState(Handle h, SInt8 flags);
void HLock(Handle h);
void HUnlock(Handle h);

// *theHandle is replaced by a new handle holding a copy of its block.
OSErr HandToHand(Handle* theHandle);
// A new handle holding size bytes copied from srcPtr.
OSErr PtrToHand(void const* srcPtr, Handle* dstHandle, long size);

constexpr OSErr nilHandleErr = -109;
