// Locks a handle for the life of the object, unless it was locked already.
#pragma once

#include "MacMemory.h"

class QAutoLock {
 public:
  QAutoLock() = default;
  explicit QAutoLock(char** handle) { Lock(handle); }
  ~QAutoLock() { Unlock(); }
  QAutoLock(QAutoLock const&) = delete;
  QAutoLock& operator=(QAutoLock const&) = delete;

  // Releases the current handle first.
  void Lock(char** handle);
  void Unlock();
  unsigned long HandleSizeBytes() const { return mHandle ? (unsigned long)GetHandleSize(mHandle) : 0; }

  bool mDidLock = false;
  char** mHandle = nullptr;
};
