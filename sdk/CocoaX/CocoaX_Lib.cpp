#include "CocoaX_Lib.h"

#include "CocoaX_Verify.h"
#include "NSAlphaWindow.h"
#include "NSClassRegistry.h"
#include "NSColorWell.h"
#include "NSColorWellWithAlpha.h"
#include "NSUIColorContentView.h"
#include "NSUILozengeView.h"
#include "NSUIRoundRectView.h"
#include "NSUITransparentWindow.h"
#include "PDFSkinView.h"
#include "PDFSkinWindow.h"

void CocoaX_RegisterClasses() {
  NSColorWell_RegisterClasses();
  NSColorWellWithAlpha_RegisterClasses();
  NSUIColorContentView_RegisterClasses();
  NSUIRoundRectView_RegisterClasses();
  NSUILozengeView_RegisterClasses();
  NSUITransparentWindow_RegisterClasses();
  NSAlphaWindow_RegisterClasses();
  PDFSkinView_RegisterClasses();
  PDFSkinWindow_RegisterClasses();
}

// The class object of a name must exist; the logged text is the toolkit's class message.
#define CocoaXVerifyClass(name) \
  static_cast<void>(CocoaXVerifyText(NSClassFromString(#name) != nullptr, "[" #name " class]"))

bool CocoaX_Init() {
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
