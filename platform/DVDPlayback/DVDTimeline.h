// Where reading and presentation stand on the clock: the picture group on screen (its clock
// start, title time and length), how far what was read and what is shown run, the scan speed
// and direction, a still's end, and the rhythm of title-time events. Clock times in ticks of
// the service clock, title times in 90 kHz ticks. Guarded by its owner's lock.
#pragma once

#include "DVDClockMap.h"

#include <cstdint>

namespace dvd {

class DVDTimeline {
 public:
  // Forward at normal speed again.
  void EndScan();
  // Everything placed goes; times start from now.
  void Restart(int64_t now);
  // The title time shown at clock time t (within the group on screen), where the map has
  // the group's pictures now.
  int64_t TitleTimeAt(int64_t t, DVDClockMap const& map) const;
  // The title time on screen now.
  int64_t PresentedTitleTime(int64_t now, DVDClockMap const& map) const;
  bool TimeEventsDue(bool inTitle) const;
  // A still ends at the time of its length after what was shown before it; 0xFF: never.
  void StartStill(int seconds, uint64_t serial);
  void EndStill() { mStillInfinite = mStillTimed = false; }

  int64_t mReadUntil = 0;       // clock time the groups read so far run to
  int64_t mPresentedUntil = 0;  // and the groups handled
  DVDPlacement mVobu;  // the group on screen: its clock start, scan rate and epoch
  int64_t mVobuTitleTime = 0;
  int64_t mVobuSpan = 0;
  int mSpeed = 1;
  bool mReverse = false;
  bool mReverseStepDue = false;
  bool mStillInfinite = false;
  bool mStillTimed = false;
  int64_t mStillUntil = 0;
  uint64_t mStillSerial = 0;
  int64_t mTimeRate = 0;        // between title-time events; 0: none
  int64_t mNextTimeEvent = -1;  // clock time of the next, -1 until a group is handled
  int64_t mTitleLength = 0;
};

}  // namespace dvd
