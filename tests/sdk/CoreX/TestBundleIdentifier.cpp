// The identifier this test program is linked with; it names the log file.
#include "CoreMachDebugLog.h"

extern "C" char const* CoreMachDebugLogBundleIdentifier() { return "org.tavelo.tests"; }
