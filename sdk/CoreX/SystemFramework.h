// chdir, getcwd and mprotect looked up by name in "System.framework" (the C library).
#pragma once

#include "CFBaseDLL.h"

class SystemFramework {
 public:
  // -1 when the framework cannot be had or the path is null.
  static int chdir(char const* in_utf8_path_string);
  // null when the framework cannot be had.
  static char* getcwd(char* buffer, unsigned long size);
  // 0 when the framework cannot be had.
  static int mprotect(void const* address, unsigned long length, int protection);

  static CFBundleDLL sSystem;
};
