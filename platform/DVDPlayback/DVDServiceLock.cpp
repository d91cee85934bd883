#include "DVDServiceLock.h"

#include <cstdlib>
#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

namespace dvd {

DVDServiceLock::~DVDServiceLock() { Unlock(); }

std::string DVDServiceLock::LockPath() {
  char const* const runtime = std::getenv("XDG_RUNTIME_DIR");
  if (runtime && *runtime == '/') return std::string(runtime) + "/tavelo-dvd.lock";
  return "/tmp/tavelo-dvd-" + std::to_string(::getuid()) + ".lock";
}

bool DVDServiceLock::Lock() {
  if (mFD >= 0) return true;
  int const fd = ::open(LockPath().c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
  if (fd < 0) return false;
  // flock belongs to this open file: a second open, even in a forked child, conflicts.
  if (::flock(fd, LOCK_EX | LOCK_NB) != 0) {
    ::close(fd);
    return false;
  }
  mFD = fd;
  return true;
}

void DVDServiceLock::Unlock() {
  if (mFD < 0) return;
  ::flock(mFD, LOCK_UN);
  ::close(mFD);
  mFD = -1;
}

}  // namespace dvd
