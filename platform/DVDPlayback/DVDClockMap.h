// Where stream time lands on the service clock. A picture group is placed by the navigator at
// a clock time for its first time stamp and a scan rate; each change of speed after that
// bends the clock beyond the moment it is made. The changes are kept in order, so that a
// clock time worked out before one (in an earlier epoch) is carried through those made since
// when it is needed: the pipeline's stages, the presenter's queue and the subpicture layer
// keep times with the epoch they were placed in and ask here, and a change of speed is made
// here only. Behind a lock of its own, a leaf (DVDLockOrder.h).
#pragma once

#include <cstdint>
#include <mutex>
#include <vector>

namespace dvd {

// A picture group's place: the clock time its first time stamp is due at, in an epoch.
struct DVDPlacement {
  int64_t clockStart = 0;
  int64_t ptsStart = 0;
  int speed = 1;       // scan rate it was read at (1: normal play)
  uint32_t epoch = 0;  // of the map, when placed
};

// A clock time and the epoch it was worked out in.
struct DVDClockTime {
  int64_t at = 0;
  uint32_t epoch = 0;
};

class DVDClockMap {
 public:
  // The number of speed changes made so far.
  uint32_t Epoch() const;
  // The speed goes from num to den (in scan rates) at clock time from: later times run
  // num / den as long. Returns the epoch it starts.
  uint32_t ChangeSpeed(int64_t from, int num, int den);

  // t, worked out in epoch from, as it stands in epoch to (or now).
  int64_t Carry(int64_t t, uint32_t from, uint32_t to) const;
  int64_t Now(DVDClockTime t) const { return Carry(t.at, t.epoch, Epoch()); }
  // A group's scan rate as the changes from epoch from to to left it.
  int SpeedIn(int speed, uint32_t from, uint32_t to) const;

  // The clock time in epoch to of a group's time stamp pts.
  int64_t ClockOf(DVDPlacement const& group, int64_t pts, uint32_t to) const;
  // Where the group starts in epoch to.
  int64_t StartIn(DVDPlacement const& group, uint32_t to) const {
    return Carry(group.clockStart, group.epoch, to);
  }
  // Stream ticks into the group at clock time t of epoch to (at or after its start).
  int64_t TicksInto(DVDPlacement const& group, int64_t t, uint32_t to) const;

 private:
  struct Change {
    int64_t from;
    int num;
    int den;
  };

  mutable std::mutex mMutex;  // DVDLockOrder.h: a leaf (8)
  std::vector<Change> mChanges;  // change n starts epoch n + 1
};

}  // namespace dvd
