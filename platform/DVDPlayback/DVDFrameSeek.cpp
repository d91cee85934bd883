#include "DVDFrameSeek.h"

#include <algorithm>

namespace dvd {

namespace {

// Halving a title's sectors finds any group of a 2 GiB program chain in 20 probes.
constexpr int kMaxSeekProbes = 24;

}  // namespace

void DVDFrameSeek::Start(int64_t target) {
  mActive = true;
  mTarget = target;
  mLo = mHi = mAsked = 0;
  mProbes = 0;
  mShown = target;
}

void DVDFrameSeek::Cancel() {
  mActive = false;
  mShown = -1;
  mStepped = false;
}

void DVDFrameSeek::SetRange(int64_t target, uint32_t length) {
  if (mActive && mTarget == target) mHi = length;
}

bool DVDFrameSeek::NextProbe(int64_t from, int64_t end, bool inTitle, bool havePosition,
                             uint32_t position, uint32_t* next) {
  bool const inside = from <= mTarget && mTarget < end;
  if (inside || !inTitle || mProbes >= kMaxSeekProbes || !havePosition) return false;
  if (from > mTarget) {
    // Every group from this one on comes later.
    mHi = std::min(mHi, position);
  } else {
    // This group holds the sector asked for; every one up to it comes earlier.
    mLo = std::max({mLo, position + 1, mAsked + 1});
  }
  if (mLo >= mHi) return false;
  *next = mLo + (mHi - mLo) / 2;
  ++mProbes;
  return true;
}

}  // namespace dvd
