#include "CocoaX_Lib.h"
#include "CoreMachDebugLog.h"
#include "NSApplicationMain.h"

// Names the diagnostic log "org.tavelo.Tavelo.log".
extern "C" char const* CoreMachDebugLogBundleIdentifier() { return "org.tavelo.Tavelo"; }

int main(int argc, char** argv) {
  CocoaX_RegisterClasses();
  CoreMachDebugVerify(CocoaX_Init());
  return NSApplicationMain(argc, argv);
}
