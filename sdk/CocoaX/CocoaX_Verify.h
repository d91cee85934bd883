// Checks whose logged text is the toolkit expression they stand for, given whole.
#pragma once

#include "CoreMachDebugLog.h"

#define CocoaXVerifyText(condition, text)                                                   \
  _CoreMachDebugCheck(static_cast<bool>(condition), __PRETTY_FUNCTION__, __FILE__, __LINE__, \
                      " code : " text)
