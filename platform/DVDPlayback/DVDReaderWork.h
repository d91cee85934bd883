// The navigator's reading thread's work: the commands' jobs for libdvdnav, carried out in
// order before the next block, and what the thread waits on (a command, the clock, a jump
// counted by a serial, the end). Guarded by the navigator's lock.
#pragma once

#include <cstdint>
#include <deque>
#include <functional>

namespace dvd {

class DVDReaderWork {
 public:
  void Post(std::function<void()> job) { mJobs.push_back(std::move(job)); }
  // The next job, taken off the queue and marked running.
  std::function<void()> Take();
  void Done() { mJobRunning = false; }
  bool HasJobs() const { return !mJobs.empty(); }
  bool Busy() const { return !mJobs.empty() || mJobRunning; }
  void Clear();
  // A command, a jump or the end has come: a wait gives way.
  bool Interrupted(uint64_t serial) const { return mQuit || mSerial != serial || !mJobs.empty(); }
  // A command changed something the thread waits on.
  void Poked() {
    mQuiet = false;
    mClockWait = -1;
  }

  std::deque<std::function<void()>> mJobs;
  bool mJobRunning = false;
  bool mQuiet = false;      // waiting for a command
  int64_t mClockWait = -1;  // waiting for the clock to reach this
  uint64_t mSerial = 0;     // counts jumps: what was read before one no longer counts
  bool mQuit = false;
};

}  // namespace dvd
