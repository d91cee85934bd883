// The navigator on damaged media: a block that cannot be read is read again once; when that
// fails too, reading goes on from the first picture group past the damage, and only when
// nothing past it can be read does playback stop with the error event.
#include "DVDNavigator.h"
#include "DVDService.h"

#include "PlatformLog.h"

#include <dvdnav/dvdnav.h>

#include <atomic>
#include <condition_variable>
#include <cstdio>
#include <mutex>

namespace dvd {

namespace {

std::atomic<uint32_t> gFailFirst{0};
std::atomic<uint32_t> gFailCount{0};

// Reads held at their start, as on a drive that spins up or retries.
std::atomic<bool> gHoldReads{false};
std::mutex gHoldMutex;
std::condition_variable gHoldChanged;
int gReadsHeld = 0;

void WaitWhileReadsHeld() {
  if (!gHoldReads.load()) return;
  std::unique_lock<std::mutex> lk(gHoldMutex);
  ++gReadsHeld;
  gHoldChanged.wait(lk, [] { return !gHoldReads.load(); });
  --gReadsHeld;
}

// The first try past damage skips this many sectors; each try that lands on it again
// doubles it.
constexpr uint32_t kFirstSkip = 16;

}  // namespace

void FailReadsForTesting(uint32_t first, uint32_t count) {
  gFailFirst = first;
  gFailCount = count;
}

void HoldReadsForTesting(bool hold) {
  std::lock_guard<std::mutex> g(gHoldMutex);
  gHoldReads = hold;
  gHoldChanged.notify_all();
}

int ReadsHeldForTesting() {
  std::lock_guard<std::mutex> g(gHoldMutex);
  return gReadsHeld;
}

bool DVDNavigator::ReadNextBlock(int& event, int& len) {
  WaitWhileReadsHeld();
  for (int attempt = 0; attempt < 2; ++attempt) {
    if (dvdnav_get_next_block(mNav, mBlock.data(), &event, &len) != DVDNAV_STATUS_OK) continue;
    uint32_t const count = gFailCount.load();
    if (count == 0 || (event != DVDNAV_BLOCK_OK && event != DVDNAV_NAV_PACKET)) return true;
    uint32_t position = 0;
    uint32_t length = 0;
    if (dvdnav_get_position(mNav, &position, &length) != DVDNAV_STATUS_OK) return true;
    uint32_t const first = gFailFirst.load();
    if (position < first || position - first >= count) return true;
  }
  return false;
}

void DVDNavigator::PassedDamage() {
  if (mDamageSkip == 0) return;
  uint32_t position = 0;
  uint32_t length = 0;
  if (dvdnav_get_position(mNav, &position, &length) == DVDNAV_STATUS_OK &&
      position > mDamageAt) {
    mDamageSkip = 0;
  }
}

void DVDNavigator::SkipDamage() {
  uint32_t position = 0;
  uint32_t length = 0;
  if (dvdnav_get_position(mNav, &position, &length) == DVDNAV_STATUS_OK) {
    if (mDamageSkip > 0 && position <= mDamageAt) {
      // Landed before the damage's end again: further this time.
      mDamageSkip *= 2;
    } else {
      mDamageSkip = kFirstSkip;
      mDamageAt = position;
    }
    for (uint32_t to = mDamageAt + mDamageSkip; to < length; to = mDamageAt + mDamageSkip) {
      if (dvdnav_sector_search(mNav, to, SEEK_SET) == DVDNAV_STATUS_OK) {
        PlatformLog("DVD: unreadable blocks at sector %u; playing on from sector %u", mDamageAt,
                    to);
        mBlocksLeft = 0;
        mAtCellEnd = false;
        return;
      }
      mDamageSkip *= 2;
    }
  }
  // Nothing further can be read.
  mEvents.PostError(kDVDErrorReadFailed);
  mReadAhead.clear();
  SetState(kDVDStateStopped);
}

}  // namespace dvd
