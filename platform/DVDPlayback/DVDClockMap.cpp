#include "DVDClockMap.h"

#include <algorithm>

namespace dvd {

uint32_t DVDClockMap::Epoch() const {
  std::lock_guard<std::mutex> g(mMutex);
  return uint32_t(mChanges.size());
}

uint32_t DVDClockMap::ChangeSpeed(int64_t from, int num, int den) {
  std::lock_guard<std::mutex> g(mMutex);
  if (num > 0 && den > 0) mChanges.push_back({from, num, den});
  return uint32_t(mChanges.size());
}

int64_t DVDClockMap::Carry(int64_t t, uint32_t from, uint32_t to) const {
  std::lock_guard<std::mutex> g(mMutex);
  to = std::min<uint32_t>(to, uint32_t(mChanges.size()));
  for (uint32_t e = from; e < to; ++e) {
    Change const& c = mChanges[e];
    if (t > c.from) t = c.from + (t - c.from) * c.num / c.den;
  }
  return t;
}

int DVDClockMap::SpeedIn(int speed, uint32_t from, uint32_t to) const {
  std::lock_guard<std::mutex> g(mMutex);
  to = std::min<uint32_t>(to, uint32_t(mChanges.size()));
  for (uint32_t e = from; e < to; ++e) {
    speed = std::max(1, speed * mChanges[e].den / mChanges[e].num);
  }
  return speed;
}

int64_t DVDClockMap::ClockOf(DVDPlacement const& group, int64_t pts, uint32_t to) const {
  int64_t const speed = group.speed > 0 ? group.speed : 1;
  return Carry(group.clockStart + (pts - group.ptsStart) / speed, group.epoch, to);
}

int64_t DVDClockMap::TicksInto(DVDPlacement const& group, int64_t t, uint32_t to) const {
  std::lock_guard<std::mutex> g(mMutex);
  uint32_t const first = std::min<uint32_t>(group.epoch, uint32_t(mChanges.size()));
  to = std::max(first, std::min<uint32_t>(to, uint32_t(mChanges.size())));
  // The group's rate in each epoch since it was placed.
  std::vector<int64_t> speeds{group.speed > 0 ? group.speed : 1};
  for (uint32_t e = first; e < to; ++e) {
    speeds.push_back(std::max<int64_t>(1, speeds.back() * mChanges[e].den / mChanges[e].num));
  }
  // Back from t through the changes since, each stretch at the rate it ran at.
  int64_t ticks = 0;
  for (uint32_t e = to; e > first; --e) {
    Change const& c = mChanges[e - 1];
    if (t > c.from) {
      ticks += (t - c.from) * speeds[e - first];
      t = c.from;
    }
  }
  return ticks + (t - group.clockStart) * speeds.front();
}

}  // namespace dvd
