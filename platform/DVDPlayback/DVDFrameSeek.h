// A seek to a frame of the title: looks for the picture group holding its target by halving a
// range of sectors of the program chain, reading each group's navigation packet only; and
// the frame the last seek or step went to. Guarded by the navigator's lock.
#pragma once

#include <cstdint>

namespace dvd {

class DVDFrameSeek {
 public:
  void Start(int64_t target);
  // A jump elsewhere: no seek or step is on its way.
  void Cancel();
  // The probes' range is the program chain's, known once the reader looks.
  void SetRange(int64_t target, uint32_t length);
  // At a group of the title whose pictures serve frames [from, end), read at sector position:
  // false when it serves the target (or the search can go no further); otherwise *next is the
  // sector to look at next.
  bool NextProbe(int64_t from, int64_t end, bool inTitle, bool havePosition, uint32_t position,
                 uint32_t* next);
  void Asked(uint32_t sector) { mAsked = sector; }
  void Land() { mActive = false; }

  bool mActive = false;
  int64_t mTarget = 0;
  uint32_t mLo = 0;
  uint32_t mHi = 0;
  uint32_t mAsked = 0;  // the sector the last probe asked for
  int mProbes = 0;
  int64_t mShown = -1;    // the frame the last seek or step went to
  bool mStepped = false;  // the picture shown was stepped to: playing goes on from it
};

}  // namespace dvd
