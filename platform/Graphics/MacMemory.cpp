#include "MacMemory.h"

#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <new>

namespace {

// The master pointer is the record's first field, so a Handle is the record's address.
struct HandleRecord {
  char* block;
  Size size;
  SInt8 state;
};
static_assert(offsetof(HandleRecord, block) == 0);

thread_local OSErr sMemError = noErr;

HandleRecord* RecordOf(Handle h) { return reinterpret_cast<HandleRecord*>(h); }

Handle Make(Size byteCount, bool clear) {
  if (byteCount < 0) {
    sMemError = paramErr;
    return nullptr;
  }
  auto* record = new (std::nothrow) HandleRecord{nullptr, byteCount, 0};
  // A zero-size block still gets an address, so that *h is never null for a live handle.
  char* block = record ? static_cast<char*>(clear ? std::calloc(1, byteCount ? byteCount : 1)
                                                  : std::malloc(byteCount ? byteCount : 1))
                       : nullptr;
  if (!block) {
    delete record;
    sMemError = memFullErr;
    return nullptr;
  }
  record->block = block;
  sMemError = noErr;
  return &record->block;
}

}  // namespace

Handle NewHandle(Size byteCount) { return Make(byteCount, false); }
Handle NewHandleClear(Size byteCount) { return Make(byteCount, true); }

void DisposeHandle(Handle h) {
  if (!h) {
    sMemError = nilHandleErr;
    return;
  }
  HandleRecord* record = RecordOf(h);
  std::free(record->block);
  delete record;
  sMemError = noErr;
}

Size GetHandleSize(Handle h) {
  if (!h) {
    sMemError = nilHandleErr;
    return 0;
  }
  sMemError = noErr;
  return RecordOf(h)->size;
}

void SetHandleSize(Handle h, Size newSize) {
  if (!h || newSize < 0) {
    sMemError = h ? paramErr : nilHandleErr;
    return;
  }
  HandleRecord* record = RecordOf(h);
  char* grown = static_cast<char*>(std::realloc(record->block, newSize ? newSize : 1));
  if (!grown) {
    sMemError = memFullErr;
    return;
  }
  record->block = grown;
  record->size = newSize;
  sMemError = noErr;
}

OSErr MemError() { return sMemError; }

SInt8 HGetState(Handle h) {
  if (!h) {
    sMemError = nilHandleErr;
    return 0;
  }
  sMemError = noErr;
  return RecordOf(h)->state;
}

void HSetState(Handle h, SInt8 flags) {
  if (!h) {
    sMemError = nilHandleErr;
    return;
  }
  RecordOf(h)->state = flags;
  sMemError = noErr;
}

void HLock(Handle h) {
  if (h) HSetState(h, SInt8(HGetState(h) | kHandleLockedMask));
  else sMemError = nilHandleErr;
}

void HUnlock(Handle h) {
  if (h) HSetState(h, SInt8(HGetState(h) & ~kHandleLockedMask));
  else sMemError = nilHandleErr;
}

OSErr HandToHand(Handle* theHandle) {
  if (!theHandle || !*theHandle) return sMemError = nilHandleErr;
  Size const size = GetHandleSize(*theHandle);
  Handle copy = NewHandle(size);
  if (!copy) return sMemError;
  std::memcpy(*copy, **theHandle, size_t(size));
  *theHandle = copy;
  return sMemError = noErr;
}

OSErr PtrToHand(void const* srcPtr, Handle* dstHandle, long size) {
  if (!dstHandle || (!srcPtr && size > 0) || size < 0) return sMemError = paramErr;
  Handle h = NewHandle(size);
  if (!h) return sMemError;
  if (size > 0) std::memcpy(*h, srcPtr, size_t(size));
  *dstHandle = h;
  return sMemError = noErr;
}
