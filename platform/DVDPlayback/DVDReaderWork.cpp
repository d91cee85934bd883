#include "DVDReaderWork.h"

#include <utility>

namespace dvd {

std::function<void()> DVDReaderWork::Take() {
  std::function<void()> job = std::move(mJobs.front());
  mJobs.pop_front();
  mJobRunning = true;
  return job;
}

void DVDReaderWork::Clear() {
  mJobs.clear();
  mJobRunning = false;
}

}  // namespace dvd
