#include "CocoaX_Lib.h"

#include "CocoaX_Verify.h"
#include "NSBitmapImageRep.h"
#include "NSClassRegistry.h"
#include "NSColorWellWithAlpha.h"
#include "NSUIColorContentView.h"
#include "NSUILozengeView.h"
#include "NSUIRoundRectView.h"
#include "NSUITransparentWindow.h"
#include "PDFSkinView.h"
#include "PDFSkinWindow.h"

bool (*const kCocoaXModuleAnchors[kCocoaXModuleAnchorCount])() = {
    import_NSColorWellWithAlpha, import_NSUIColorContentView,  import_NSUIRoundRectView,
    import_NSUILozengeView,      import_NSUITransparentWindow, import_PDFSkinWindow,
    import_PDFSkinView,          import_category_NSWindow_MouseMoveSize,
};

// The class object of a name must exist; the logged text is the toolkit's class message.
#define CocoaXVerifyClass(name) \
  static_cast<void>(CocoaXVerifyText(NSClassFromString(#name) != nullptr, "[" #name " class]"))

bool CocoaX_Init() {
  import_NSBitmapImageRep_QuickSaveFile();
  CocoaXVerifyClass(NSColorWellWithAlpha);
  CocoaXVerifyClass(NSColorWellWithoutAlpha);
  CocoaXVerifyClass(NSUIColorContentView);
  CocoaXVerifyClass(NSUIWhiteOpaqueView);
  CocoaXVerifyClass(NSUIGreyOpaqueView);
  CocoaXVerifyClass(NSUITransparentView);
  CocoaXVerifyClass(NSUIGreyRoundRectView);
  CocoaXVerifyClass(NSUIGreyStrokedRoundRectView);
  CocoaXVerifyClass(NSUIWhiteRoundRectView);
  CocoaXVerifyClass(NSUITransparentWindow);
  CocoaXVerifyClass(NSUITransparentWindowView);
  return true;
}
