#include "QAutoLock.h"

void QAutoLock::Lock(char** handle) {
  Unlock();
  mHandle = handle;
  if (handle && !(HGetState(handle) & kHandleLockedMask)) {
    HLock(handle);
    mDidLock = true;
  }
}

void QAutoLock::Unlock() {
  if (mHandle && mDidLock) HUnlock(mHandle);
  mDidLock = false;
  mHandle = nullptr;
}
