#include "CoreSystem.h"

#include "CoreMachDebugLog.h"
#include "Gestalt.h"

CoreSystem const& CoreSystem::Get() {
  static CoreSystem const sSystem(&Gestalt);
  return sSystem;
}

CoreSystem::CoreSystem(SInt32 version) : mSystemVersion(version) {}

CoreSystem::CoreSystem(QueryProc query) : mSystemVersion(0) {
  OSErr error = query ? query(gestaltSystemVersion, &mSystemVersion) : paramErr;
  if (!CoreVerify(error==noErr)) mSystemVersion = 0;
}

bool CoreSystem::IsAtLeast(CoreSystemName const& minimum) const {
  return static_cast<SInt32>(mSystemVersion & ~SInt32(0xF)) >= minimum.mVersion;
}
