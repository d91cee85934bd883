#include "SystemFramework.h"

#include "CoreMachDebugLog.h"

#include <cstddef>

CFBundleDLL SystemFramework::sSystem(CFSTR("System.framework"));

namespace {
bool Loaded() {
  if (!SystemFramework::sSystem.IsLoaded())
    CoreMachDebugVerify(SystemFramework::sSystem.LoadSystemFramework());
  return SystemFramework::sSystem.IsLoaded();
}
}  // namespace

int SystemFramework::chdir(char const* in_utf8_path_string) {
  if (!Loaded()) return -1;
  if (!CoreVerify(in_utf8_path_string)) return -1;
  int result = -1;
  if (!sSystem.CallByName("chdir", result, in_utf8_path_string)) return -1;
  return result;
}

char* SystemFramework::getcwd(char* buffer, unsigned long size) {
  if (!Loaded()) return nullptr;
  char* result = nullptr;
  if (!sSystem.CallByName("getcwd", result, buffer, static_cast<std::size_t>(size))) return nullptr;
  return result;
}

int SystemFramework::mprotect(void const* address, unsigned long length, int protection) {
  if (!Loaded()) return 0;
  int result = 0;
  if (!sSystem.CallByName("mprotect", result, const_cast<void*>(address),
                          static_cast<std::size_t>(length), protection))
    return 0;
  return result;
}
