// Writes one line to the diagnostic log and prints where it went.
#include "CoreMachDebugLog.h"

#include <cstdio>

extern "C" char const* CoreMachDebugLogBundleIdentifier() { return "org.tavelo.Tavelo"; }

int main() {
  CoreMachDebugLog("Tavelo self-check: the diagnostic log works\n");
  char const* path = CoreMachDebugLogFilePath();
  if (!path[0]) {
    std::fprintf(stderr, "tavelo-selfcheck: the diagnostic log could not be opened\n");
    return 1;
  }
  std::printf("diagnostic log: %s\n", path);
  return 0;
}
