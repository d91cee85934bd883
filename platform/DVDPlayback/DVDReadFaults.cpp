#include "DVDReadFaults.h"

namespace dvd {

void DVDReadFaults::Fail(uint32_t first, uint32_t count) {
  mFailFirst = first;
  mFailCount = count;
}

bool DVDReadFaults::Fails(uint32_t sector) const {
  uint32_t const count = mFailCount.load();
  uint32_t const first = mFailFirst.load();
  return count != 0 && sector >= first && sector - first < count;
}

void DVDReadFaults::Hold(bool hold) {
  std::lock_guard<std::mutex> g(mMutex);
  mHold = hold;
  mChanged.notify_all();
}

int DVDReadFaults::Held() {
  std::lock_guard<std::mutex> g(mMutex);
  return mHeld;
}

void DVDReadFaults::WaitWhileHeld() {
  if (!mHold.load()) return;
  std::unique_lock<std::mutex> lk(mMutex);
  ++mHeld;
  mChanged.wait(lk, [this] { return !mHold.load(); });
  --mHeld;
}

}  // namespace dvd
