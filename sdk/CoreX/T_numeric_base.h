// Common ground of the platform-number wrappers.
#pragma once

#include "CoreFoundation.h"

class T_numeric_base {
 public:
  // The constant's name of a platform number type, or "Unknown" (the float types included).
  static char const* name_of(CFNumberType type);
};
