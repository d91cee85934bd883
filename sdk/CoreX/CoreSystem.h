// The running system's version, read once, and comparisons against named minimums.
#pragma once

#include "MacTypes.h"

// A minimum system version in BCD, 0xMMmb (0x1040 is 10.4.0).
class CoreSystemName {
 public:
  constexpr explicit CoreSystemName(SInt32 version) : mVersion(version) {}
  SInt32 mVersion;
};

class CoreSystem {
 public:
  using QueryProc = OSErr (*)(OSType selector, SInt32* response);

  // The process-wide instance, made on first use from Gestalt('sysv').
  static CoreSystem const& Get();

  // A system of the given version (BCD).
  explicit CoreSystem(SInt32 version);
  // Asks query('sysv'); a failure is logged and leaves version 0.
  explicit CoreSystem(QueryProc query);

  // The bug-fix digit is ignored: 10.4.9 counts as 10.4.0.
  bool IsAtLeast(CoreSystemName const& minimum) const;

  SInt32 mSystemVersion;
};
