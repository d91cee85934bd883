#include "DVDTimeline.h"

#include "DVDClock.h"

#include <algorithm>

namespace dvd {

void DVDTimeline::EndScan() {
  mSpeed = 1;
  mReverse = false;
  mReverseStepDue = false;
}

void DVDTimeline::Restart(int64_t now) {
  mPresentedUntil = now;
  mReadUntil = now;
  // Title time restarts its once-a-rate rhythm from wherever the jump lands.
  mNextTimeEvent = -1;
}

int64_t DVDTimeline::TitleTimeAt(int64_t t, DVDClockMap const& map) const {
  int64_t delta = mReverse ? 0 : map.TicksInto(mVobu, t, map.Epoch());
  delta = std::clamp<int64_t>(delta, 0, mVobuSpan);
  return mVobuTitleTime + delta;
}

int64_t DVDTimeline::PresentedTitleTime(int64_t now, DVDClockMap const& map) const {
  return TitleTimeAt(std::min(now, mPresentedUntil), map);
}

bool DVDTimeline::TimeEventsDue(bool inTitle) const {
  return mTimeRate > 0 && mNextTimeEvent >= 0 && inTitle;
}

void DVDTimeline::StartStill(int seconds, uint64_t serial) {
  if (seconds >= 0xFF) {
    mStillInfinite = true;
    mStillSerial = serial;
  } else {
    mStillTimed = true;
    mStillUntil = mPresentedUntil + int64_t(seconds) * DVDClock::kTicksPerSecond;
  }
}

}  // namespace dvd
