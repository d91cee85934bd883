#include "DVDNullAudioSink.h"

#include <algorithm>

namespace dvd {

void DVDNullAudioSink::Push(int64_t at, int rate, int16_t const*, size_t frames) {
  if (rate <= 0 || frames == 0) return;
  std::lock_guard<std::mutex> g(mMutex);
  Advance(mClock.Now());
  mQueue.push_back({at, rate, int64_t(frames)});
}

void DVDNullAudioSink::Advance(int64_t now) {
  if (mHeld) now = std::min(now, mHeldAt);
  while (!mQueue.empty()) {
    Piece const& p = mQueue.front();
    if (!mHeadStarted) {
      // A piece that follows straight on plays without a gap; after a gap, at its time.
      int64_t const start = mPlayed ? std::max(p.at, mCursor) : p.at;
      if (now < start) return;
      mHeadStarted = true;
      mHeadStart = start;
      mHeadPlayed = 0;
    }
    int64_t const duration = p.frames * DVDClock::kTicksPerSecond / p.rate;
    if (now >= mHeadStart + duration) {
      mDelivered += p.frames - mHeadPlayed;
      mCursor = mHeadStart + duration;
      mPlayed = true;
      mHeadStarted = false;
      mHeadPlayed = 0;
      mQueue.pop_front();
      continue;
    }
    int64_t const played = (now - mHeadStart) * p.rate / DVDClock::kTicksPerSecond;
    mDelivered += played - mHeadPlayed;
    mHeadPlayed = played;
    return;
  }
}

void DVDNullAudioSink::Flush() {
  std::lock_guard<std::mutex> g(mMutex);
  Advance(mClock.Now());
  mQueue.clear();
  mPlayed = false;
  mHeadStarted = false;
  mHeadPlayed = 0;
}

void DVDNullAudioSink::Hold(bool hold) {
  std::lock_guard<std::mutex> g(mMutex);
  if (hold == mHeld) return;
  int64_t const now = mClock.Now();
  Advance(now);
  mHeld = hold;
  mHeldAt = now;
}

void DVDNullAudioSink::SetVolume(UInt16, bool) {}

int64_t DVDNullAudioSink::Delivered() {
  std::lock_guard<std::mutex> g(mMutex);
  Advance(mClock.Now());
  return mDelivered;
}

}  // namespace dvd
