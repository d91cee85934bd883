#include "DVDBlockSource.h"

#include "PlatformLog.h"

#include <dvdnav/dvdnav.h>

#include <cstdio>
#include <utility>

namespace dvd {

namespace {

// The first try past damage skips this many sectors; each try that lands on it again
// doubles it.
constexpr uint32_t kFirstSkip = 16;

}  // namespace

DVDBlockSource::DVDBlockSource(std::shared_ptr<DVDReadFaults> faults)
    : mFaults(std::move(faults)), mBlock(DVD_VIDEO_LB_LEN) {}

void DVDBlockSource::Construct(dvdnav_s* nav) {
  mNav = nav;
  Reset();
}

void DVDBlockSource::Reset() {
  mBlocksLeft = 0;
  mInLastCell = false;
  mAtCellEnd = false;
  mDamageAt = 0;
  mDamageSkip = 0;
}

bool DVDBlockSource::Read(int& event, int& len) {
  if (mFaults) mFaults->WaitWhileHeld();
  for (int attempt = 0; attempt < 2; ++attempt) {
    if (dvdnav_get_next_block(mNav, mBlock.data(), &event, &len) != DVDNAV_STATUS_OK) continue;
    if (!mFaults || !mFaults->FailsAny() ||
        (event != DVDNAV_BLOCK_OK && event != DVDNAV_NAV_PACKET)) {
      return true;
    }
    uint32_t position = 0;
    uint32_t length = 0;
    if (dvdnav_get_position(mNav, &position, &length) != DVDNAV_STATUS_OK) return true;
    if (!mFaults->Fails(position)) return true;
  }
  return false;
}

void DVDBlockSource::PassedDamage() {
  if (mDamageSkip == 0) return;
  uint32_t position = 0;
  uint32_t length = 0;
  if (dvdnav_get_position(mNav, &position, &length) == DVDNAV_STATUS_OK &&
      position > mDamageAt) {
    mDamageSkip = 0;
  }
}

bool DVDBlockSource::SkipDamage() {
  uint32_t position = 0;
  uint32_t length = 0;
  if (dvdnav_get_position(mNav, &position, &length) != DVDNAV_STATUS_OK) return false;
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
      DropGroup();
      return true;
    }
    mDamageSkip *= 2;
  }
  return false;
}

void DVDBlockSource::StartGroup(int64_t blocks, bool lastOfCell) {
  mBlocksLeft = blocks;
  mAtCellEnd = mInLastCell && lastOfCell;
}

void DVDBlockSource::EnterCell(int64_t cellLast) {
  // libdvdnav's "cell_length" is the cell's last sector, counted as the chain's length is.
  uint32_t position = 0;
  uint32_t length = 0;
  mInLastCell = dvdnav_get_position(mNav, &position, &length) != DVDNAV_STATUS_OK ||
                cellLast + 1 >= int64_t(length);
}

bool DVDBlockSource::TakeBlock() {
  --mBlocksLeft;
  return mAtCellEnd && mBlocksLeft == 0;
}

void DVDBlockSource::DropGroup() {
  mBlocksLeft = 0;
  mAtCellEnd = false;
}

}  // namespace dvd
