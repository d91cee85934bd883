#include "DVDSharedLibrary.h"

#include <dlfcn.h>

#include "PlatformLog.h"

namespace dvd {

bool DVDSharedLibrary::Construct(char const* soname) {
  mName = soname;
  mHandle = ::dlopen(soname, RTLD_NOW | RTLD_LOCAL);
  if (!mHandle) {
    char const* const why = ::dlerror();
    PlatformLog("DVD: cannot load %s: %s", soname, why ? why : "unknown error");
    return false;
  }
  return true;
}

void* DVDSharedLibrary::Symbol(char const* name) const {
  if (!mHandle) return nullptr;
  void* const symbol = ::dlsym(mHandle, name);
  if (!symbol) PlatformLog("DVD: %s has no %s", mName, name);
  return symbol;
}

}  // namespace dvd
