// Bundles found by location, loaded once and called by function name.
#pragma once

#include "CoreFoundation.h"

#include <type_traits>

class CFBaseDLL {
 public:
  // Where a bundle is looked for.
  enum Location : short {
    kMainExecutableFolder = 0,
    kSystemFrameworks = 1,      // 'fram', system domain
    kLocalFrameworks = 2,       // 'fram', local domain
    kPrivateFrameworks = 3,     // the main bundle's folders ...
    kSharedFrameworks = 4,
    kResources = 5,
    kBuiltInPlugIns = 6,
    kSupportFiles = 7,
    kLocalComponents = 8,       // 'wcmp', local domain
    kSystemComponents = 9,      // 'wcmp', system domain
    kUserComponents = 10,       // 'wcmp', user domain
  };

  // The name inside a find-folder folder (and its sub-folder). A new URL, or null.
  static CFURLRef URLOfNameInFindFolder(CFStringRef dllName, unsigned long kFindFolderLocation,
                                        short FindFolderDomain, CFStringRef subFolderName);
  // The name in a location; null for an unknown location. A new URL, or null.
  static CFURLRef URLOfNameInLocation(CFStringRef dllName, Location where);
  // Logs "<label> <path>\n".
  static void print_URL(char const* label, CFURLRef theURL);
};

// A bundle's executable: made from a URL, loaded once, never unloaded.
class I_CFBundleDLL {
 public:
  explicit I_CFBundleDLL(CFStringRef dllName);
  ~I_CFBundleDLL();
  I_CFBundleDLL(I_CFBundleDLL const&) = delete;
  I_CFBundleDLL& operator=(I_CFBundleDLL const&) = delete;

  bool LoadFromURL(CFURLRef bundleURL);
  bool IsLoaded() const;

  // The function's address once loaded; null when not loaded or not found.
  void* FunctionPointerForName(char const* functionName) const;

  // Calls the named function with the arguments (their types are the function's
  // parameter types); false when it cannot be called.
  template <typename R, typename... Params>
  bool CallByName(char const* functionName, R& result, Params... params) const {
    void* const address = FunctionPointerForName(functionName);
    if (!address) return false;
    result = reinterpret_cast<R (*)(Params...)>(address)(params...);
    return true;
  }
  template <typename... Params>
  bool CallVoidByName(char const* functionName, Params... params) const {
    void* const address = FunctionPointerForName(functionName);
    if (!address) return false;
    reinterpret_cast<void (*)(Params...)>(address)(params...);
    return true;
  }

  CFStringRef mDLLName;
  CFBundleRef mDLLHandle;
};

// A named bundle loaded from a location on first use.
class CFBundleDLL : public I_CFBundleDLL {
 public:
  using T_Executable = I_CFBundleDLL;

  explicit CFBundleDLL(CFStringRef dllName) : I_CFBundleDLL(dllName) {}

  // A name given replaces the stored one. An already loaded executable is success.
  bool LoadLocation(CFBaseDLL::Location where, CFStringRef dllName = nullptr);
  bool LoadSystemFramework() { return LoadLocation(CFBaseDLL::kSystemFrameworks); }
};
