// One DVD playback session per user at a time: an advisory lock on a file in the user's
// runtime folder, released on unlock or when the holding process dies.
#pragma once

#include <string>

namespace dvd {

class DVDServiceLock {
 public:
  DVDServiceLock() = default;
  ~DVDServiceLock();
  DVDServiceLock(DVDServiceLock const&) = delete;
  DVDServiceLock& operator=(DVDServiceLock const&) = delete;

  // False when another open file already holds the lock (or the file cannot be made).
  bool Lock();
  void Unlock();

  // $XDG_RUNTIME_DIR/tavelo-dvd.lock, or a per-user file in /tmp without one.
  static std::string LockPath();

 private:
  int mFD = -1;
};

}  // namespace dvd
