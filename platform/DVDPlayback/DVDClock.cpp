#include "DVDClock.h"

#include <chrono>
#include <vector>

namespace dvd {

namespace {
int64_t SteadyNanos() {
  return std::chrono::duration_cast<std::chrono::nanoseconds>(
             std::chrono::steady_clock::now().time_since_epoch())
      .count();
}
}  // namespace

DVDClock::DVDClock(bool manual) : mManual(manual), mOrigin(SteadyNanos()) {}

int64_t DVDClock::Now() const {
  if (mStopped.load()) return mStoppedAt.load();
  if (mManual) {
    std::lock_guard<std::mutex> g(mMutex);
    return mManualNow;
  }
  return (SteadyNanos() - mOrigin) * 9 / 100000 + mOffset.load();
}

bool DVDClock::WaitUntil(std::unique_lock<std::mutex>& lk, std::condition_variable& cv,
                         int64_t deadline, std::function<bool()> const& stop) const {
  if (mManual) {
    cv.wait(lk, [&] { return stop() || Now() >= deadline; });
    return !stop() && Now() >= deadline;
  }
  while (!stop() && Now() < deadline) {
    if (mStopped.load()) {
      // Stands still until whoever starts it wakes cv.
      cv.wait(lk);
      continue;
    }
    // The offset may move while waiting: the wake-up time is worked out again each round.
    auto const until = std::chrono::steady_clock::time_point(
        std::chrono::nanoseconds(mOrigin + (deadline - mOffset.load()) * 100000 / 9));
    cv.wait_until(lk, until);
  }
  return !stop();
}

void DVDClock::Advance(int64_t ticks) {
  std::vector<std::function<void()>> listeners;
  {
    std::lock_guard<std::mutex> g(mMutex);
    if (!mStopped.load()) mManualNow += ticks;
    for (auto const& [id, listener] : mListeners) listeners.push_back(listener);
  }
  for (auto const& listener : listeners) listener();
}

int DVDClock::AddListener(std::function<void()> listener) {
  std::lock_guard<std::mutex> g(mMutex);
  int const id = mNextListener++;
  mListeners.emplace(id, std::move(listener));
  return id;
}

void DVDClock::RemoveListener(int id) {
  std::lock_guard<std::mutex> g(mMutex);
  mListeners.erase(id);
}

void DVDClock::SetStopped(bool stopped) {
  std::lock_guard<std::mutex> g(mMutex);
  if (stopped == mStopped.load()) return;
  if (stopped) {
    mStoppedAt = mManual ? mManualNow : (SteadyNanos() - mOrigin) * 9 / 100000 + mOffset.load();
    mStopped = true;
    return;
  }
  if (!mManual) {
    // Goes on from where it stood.
    mOffset += mStoppedAt.load() - ((SteadyNanos() - mOrigin) * 9 / 100000 + mOffset.load());
  }
  mStopped = false;
}

bool DVDClock::IsStopped() const { return mStopped.load(); }

void DVDClock::FollowAudio(bool following, int64_t heard) {
  if (mManual || mStopped.load()) return;
  mFollowing = following;
  if (!following) return;
  // Spread out, so that the picture does not stutter.
  mOffset += (heard - Now()) / 16;
}

}  // namespace dvd
