// Gestalt: answers about the running system.
#pragma once

#include "MacTypes.h"

enum : OSType {
  gestaltSystemVersion = FOUR_CHAR_CODE("sysv"),
};

// gestaltSystemVersion: the kernel release (uname) in BCD, major.minor.bug-fix as 0xMMmb,
// e.g. "6.1.0-18-amd64" gives 0x0610. A minor or bug-fix part above 9 does not fit its
// one digit and is shown as 9 ("5.15.2" gives 0x0592). Unknown selectors give
// gestaltUndefSelectorErr; an unreadable release gives gestaltUnknownErr.
OSErr Gestalt(OSType selector, SInt32* response);

// The same reading of a release text, for any text.
OSErr GestaltVersionFromRelease(char const* release, SInt32* response);
