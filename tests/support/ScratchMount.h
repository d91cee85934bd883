// A private scratch file system for tests that need one the disk is not: ramfs (no user
// extended attributes) or a small tmpfs (fills up). Needs the right to mount; tests skip
// without it.
#pragma once

#include "TestLog.h"

#include <string>
#include <sys/mount.h>
#include <unistd.h>

namespace tavelo_test {

class ScratchMount {
 public:
  // type "ramfs" or "tmpfs"; options e.g. "size=64k".
  explicit ScratchMount(char const* type, char const* options = nullptr)
      : mPath(MakeTempDir("mnt")) {
    mMounted = ::mount(type, mPath.c_str(), type, 0, options) == 0;
  }
  ~ScratchMount() {
    if (mMounted) ::umount2(mPath.c_str(), MNT_DETACH);
    ::rmdir(mPath.c_str());
  }
  ScratchMount(ScratchMount const&) = delete;
  ScratchMount& operator=(ScratchMount const&) = delete;

  bool Mounted() const { return mMounted; }
  bool MakeReadOnly() {
    return mMounted && ::mount(nullptr, mPath.c_str(), nullptr, MS_REMOUNT | MS_RDONLY, nullptr) == 0;
  }
  std::string const& Path() const { return mPath; }

 private:
  std::string mPath;
  bool mMounted = false;
};

}  // namespace tavelo_test
