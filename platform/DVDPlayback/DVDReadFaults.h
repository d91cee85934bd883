// Faults of a drive, given to a session's block reads from outside: sectors that cannot be
// read, and reads held at their start as on a drive that spins up or retries. Tests hand one
// to the session; without one every read goes straight to the disc.
#pragma once

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <mutex>

namespace dvd {

class DVDReadFaults {
 public:
  DVDReadFaults() = default;
  DVDReadFaults(DVDReadFaults const&) = delete;
  DVDReadFaults& operator=(DVDReadFaults const&) = delete;

  // Sectors first..first+count-1 of the program chain fail (count 0: none fail).
  void Fail(uint32_t first, uint32_t count);
  bool Fails(uint32_t sector) const;
  bool FailsAny() const { return mFailCount.load() != 0; }

  // Held, a read waits at its start until released; how many wait now.
  void Hold(bool hold);
  int Held();
  void WaitWhileHeld();

 private:
  std::atomic<uint32_t> mFailFirst{0};
  std::atomic<uint32_t> mFailCount{0};
  std::atomic<bool> mHold{false};
  std::mutex mMutex;  // DVDLockOrder.h: a leaf (8)
  std::condition_variable mChanged;
  int mHeld = 0;
};

}  // namespace dvd
