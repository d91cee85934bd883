// Where stream time lands on the clock across changes of speed: times worked out before a
// change are carried through it, and a picture's place in its group is found again from its
// clock time, whichever epoch each was worked out in.
#include "DVDClockMap.h"

#include <gtest/gtest.h>

#include <cstdlib>

namespace {

using dvd::DVDClockMap;
using dvd::DVDClockTime;
using dvd::DVDPlacement;

TEST(DVDClockMap, EachChangeOfSpeedStartsAnEpoch) {
  DVDClockMap map;
  EXPECT_EQ(0u, map.Epoch());
  EXPECT_EQ(1u, map.ChangeSpeed(1000, 1, 8));
  // Not a speed: no change.
  EXPECT_EQ(1u, map.ChangeSpeed(2000, 0, 8));
  EXPECT_EQ(2u, map.ChangeSpeed(2000, 8, 1));
  EXPECT_EQ(2u, map.Epoch());
}

TEST(DVDClockMap, TimesAfterAChangeRunAtTheNewSpeed) {
  DVDClockMap map;
  // Eight times faster from 1000 on, then normal again from 2000 on.
  map.ChangeSpeed(1000, 1, 8);
  map.ChangeSpeed(2000, 8, 1);
  // Before the change: where it was.
  EXPECT_EQ(900, map.Carry(900, 0, 2));
  EXPECT_EQ(1000, map.Carry(1000, 0, 1));
  // Read at normal speed: eight seconds' worth after 1000 takes one.
  EXPECT_EQ(1000 + 1000, map.Carry(1000 + 8000, 0, 1));
  // Past the second change, that stretch runs at normal speed again.
  EXPECT_EQ(2000 + 8 * (1000 + 16000 / 8 - 2000), map.Carry(1000 + 16000, 0, 2));
  // Worked out after the first change: only the second bends it.
  EXPECT_EQ(2000 + 8 * 500, map.Carry(2500, 1, 2));
  EXPECT_EQ(2500, map.Carry(2500, 2, 2));
  EXPECT_EQ(map.Carry(1000 + 16000, 0, 2), map.Now(DVDClockTime{1000 + 16000, 0}));
}

TEST(DVDClockMap, AGroupsSpeedFollowsTheChanges) {
  DVDClockMap map;
  map.ChangeSpeed(0, 1, 4);  // normal to 4x
  map.ChangeSpeed(0, 4, 2);  // 4x to 2x
  EXPECT_EQ(4, map.SpeedIn(1, 0, 1));
  EXPECT_EQ(2, map.SpeedIn(1, 0, 2));
  EXPECT_EQ(2, map.SpeedIn(4, 1, 2));
  EXPECT_EQ(4, map.SpeedIn(4, 1, 1));
}

TEST(DVDClockMap, AGroupsTimeStampsLandOnTheClockAtItsSpeed) {
  DVDClockMap map;
  DVDPlacement const group{500, 10000, 2, 0};  // read at twice normal speed
  EXPECT_EQ(500, map.ClockOf(group, 10000, 0));
  EXPECT_EQ(500 + 2000, map.ClockOf(group, 14000, 0));
  // From 1500 on, four times normal speed: what was due at 2500 comes at 2000.
  map.ChangeSpeed(1500, 2, 4);
  EXPECT_EQ(2000, map.ClockOf(group, 14000, 1));
  EXPECT_EQ(1000, map.ClockOf(group, 11000, 1));
  EXPECT_EQ(500, map.StartIn(group, 1));
}

// A picture's ticks into its group, worked back from its clock time, are its time stamp's,
// however many changes came between (to within the rounding of the faster speed).
TEST(DVDClockMap, APicturesPlaceInItsGroupSurvivesChangesOfSpeed) {
  DVDClockMap map;
  DVDPlacement const onScreen{0, 90000, 1, 0};
  DVDPlacement const readAhead{30000, 120000, 1, 0};
  map.ChangeSpeed(12000, 1, 8);  // scan at 8x while onScreen shows
  DVDPlacement const duringScan{map.Carry(40000, 0, 1), 200000, 8, 1};
  map.ChangeSpeed(20000, 8, 1);  // and play again
  uint32_t const now = map.Epoch();
  for (DVDPlacement const& group : {onScreen, readAhead, duringScan}) {
    for (int64_t ticks = 0; ticks < 45000; ticks += 1501) {
      int64_t const clock = map.ClockOf(group, group.ptsStart + ticks, now);
      EXPECT_GE(clock, map.StartIn(group, now));
      EXPECT_LE(std::llabs(map.TicksInto(group, clock, now) - ticks), 8) << ticks;
    }
  }
  // Through the first change only, too.
  int64_t const clock = map.ClockOf(onScreen, 90000 + 20000, 1);
  EXPECT_EQ(12000 + 8000 / 8, clock);
  EXPECT_EQ(20000, map.TicksInto(onScreen, clock, 1));
}

}  // namespace
