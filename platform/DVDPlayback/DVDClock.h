// The clock that playback is paced against, in 90 kHz ticks (the stream's time unit).
// The system clock runs in real time and, while sound plays, follows the audio device so
// that picture and navigation keep step with what is heard; the manual clock moves only
// when told to, so tests play a title through without waiting for it.
#pragma once

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <map>
#include <mutex>

namespace dvd {

class DVDClock {
 public:
  static constexpr int64_t kTicksPerSecond = 90000;
  static constexpr int64_t kTicksPerMs = kTicksPerSecond / 1000;

  explicit DVDClock(bool manual);

  bool IsManual() const { return mManual; }
  int64_t Now() const;

  // Blocks on cv (locked by lk) until Now() reaches deadline or stop() is true; true
  // when the deadline was reached.
  bool WaitUntil(std::unique_lock<std::mutex>& lk, std::condition_variable& cv, int64_t deadline,
                 std::function<bool()> const& stop) const;

  // Manual clock only: moves time forward (unless stopped) and calls the listeners so
  // waiters look again.
  void Advance(int64_t ticks);
  // Stopped, the clock stands still (pause, sleep); started again it goes on from where it
  // stood. Waiters are not called: whoever stops or starts it wakes its own.
  void SetStopped(bool stopped);
  bool IsStopped() const;
  int AddListener(std::function<void()> listener);
  void RemoveListener(int id);

  // System clock only: while following, heard is the clock time of the sound being heard
  // now and the clock is steered towards it (callers pass small differences only); not
  // following leaves the clock where it is.
  void FollowAudio(bool following, int64_t heard);

 private:
  bool mManual;
  int64_t mOrigin;  // steady-clock nanoseconds at construction
  std::atomic<int64_t> mOffset{0};
  std::atomic<bool> mFollowing{false};
  std::atomic<bool> mStopped{false};
  std::atomic<int64_t> mStoppedAt{0};
  mutable std::mutex mMutex;  // DVDLockOrder.h: the last (9)
  int64_t mManualNow = 0;
  int mNextListener = 1;
  std::map<int, std::function<void()>> mListeners;
};

}  // namespace dvd
