#include "CFBaseDLL.h"

#include "CoreMachDebugLog.h"

#include <string>

CFURLRef CFBaseDLL::URLOfNameInFindFolder(CFStringRef dllName, unsigned long kFindFolderLocation,
                                          short FindFolderDomain, CFStringRef subFolderName) {
  FSRef bundleFolderRef{};
  CFURLRef bundleFolderURL = nullptr;
  CFURLRef bundleSubFolderURL = nullptr;
  CFURLRef bundleURL = nullptr;
  bool fOk = 0 == CoreVerifyOSerr(FSFindFolder(FindFolderDomain, kFindFolderLocation, kDontCreateFolder, &bundleFolderRef));
  if (fOk) fOk = CoreVerify(bundleFolderURL = ::CFURLCreateFromFSRef(kCFAllocatorDefault,&bundleFolderRef));
  if (fOk && subFolderName) {
    fOk = CoreVerify(bundleSubFolderURL = ::CFURLCreateCopyAppendingPathComponent(kCFAllocatorDefault,bundleFolderURL,subFolderName, 1 ));
    if (fOk) CoreMachDebugVerify(bundleURL = ::CFURLCreateCopyAppendingPathComponent(kCFAllocatorDefault,bundleSubFolderURL,dllName, 0 ));
  } else if (fOk) {
    CoreMachDebugVerify(bundleURL = ::CFURLCreateCopyAppendingPathComponent(kCFAllocatorDefault,bundleFolderURL,dllName, 0 ));
  }
  if (bundleSubFolderURL) CFRelease(bundleSubFolderURL);
  if (bundleFolderURL) CFRelease(bundleFolderURL);
  return bundleURL;
}

CFURLRef CFBaseDLL::URLOfNameInLocation(CFStringRef dllName, Location where) {
  switch (where) {
    case kSystemFrameworks:
      return URLOfNameInFindFolder(dllName, kFrameworksFolderType, kSystemDomain, nullptr);
    case kLocalFrameworks:
      return URLOfNameInFindFolder(dllName, kFrameworksFolderType, kLocalDomain, nullptr);
    case kLocalComponents:
      return URLOfNameInFindFolder(dllName, FOUR_CHAR_CODE("wcmp"), kLocalDomain, nullptr);
    case kSystemComponents:
      return URLOfNameInFindFolder(dllName, FOUR_CHAR_CODE("wcmp"), kSystemDomain, nullptr);
    case kUserComponents:
      return URLOfNameInFindFolder(dllName, FOUR_CHAR_CODE("wcmp"), kUserDomain, nullptr);
    default:
      break;
  }
  CFBundleRef const mainBundle = ::CFBundleGetMainBundle();
  if (!mainBundle) return nullptr;
  CFURLRef folderURL = nullptr;
  switch (where) {
    case kMainExecutableFolder:
      if (CFURLRef const executableURL = ::CFBundleCopyExecutableURL(mainBundle)) {
        folderURL = ::CFURLCreateCopyDeletingLastPathComponent(kCFAllocatorDefault, executableURL);
        CFRelease(executableURL);
      }
      break;
    case kPrivateFrameworks: folderURL = ::CFBundleCopyPrivateFrameworksURL(mainBundle); break;
    case kSharedFrameworks: folderURL = ::CFBundleCopySharedFrameworksURL(mainBundle); break;
    case kResources: folderURL = ::CFBundleCopyResourcesDirectoryURL(mainBundle); break;
    case kBuiltInPlugIns: folderURL = ::CFBundleCopyBuiltInPlugInsURL(mainBundle); break;
    case kSupportFiles: folderURL = ::CFBundleCopySupportFilesDirectoryURL(mainBundle); break;
    default: return nullptr;
  }
  if (!folderURL) return nullptr;
  CFURLRef const bundleURL =
      ::CFURLCreateCopyAppendingPathComponent(kCFAllocatorDefault, folderURL, dllName, 0);
  CFRelease(folderURL);
  return bundleURL;
}

void CFBaseDLL::print_URL(char const* label, CFURLRef theURL) {
  char path[1024];
  Boolean const resolveAgainstBase = true;
  if (CoreVerify(CFURLGetFileSystemRepresentation(theURL, resolveAgainstBase, (unsigned char*)path, sizeof(path)))) {
    CoreMachDebugLog("%s %s\n", label, path);
    return;
  }
  std::string description = "(null)";
  if (CFStringRef const text = theURL ? ::CFCopyDescription(theURL) : nullptr) {
    char buffer[1024];
    if (::CFStringGetCString(text, buffer, sizeof buffer, kCFStringEncodingUTF8)) description = buffer;
    CFRelease(text);
  }
  CoreMachDebugLog("%s %s\n", label, description.c_str());
}

I_CFBundleDLL::I_CFBundleDLL(CFStringRef dllName)
    : mDLLName(dllName ? static_cast<CFStringRef>(::CFRetain(dllName)) : nullptr),
      mDLLHandle(nullptr) {}

I_CFBundleDLL::~I_CFBundleDLL() {
  // The executable itself stays loaded: pointers taken from it may still be in use.
  if (mDLLHandle) CFRelease(mDLLHandle);
  if (mDLLName) CFRelease(mDLLName);
}

bool I_CFBundleDLL::LoadFromURL(CFURLRef bundleURL) {
  bool fOk = CoreVerify(bundleURL);
  if (fOk) {
    // A bundle that failed to load before is made again.
    if (mDLLHandle) CFRelease(mDLLHandle);
    fOk = CoreVerify(mDLLHandle = ::CFBundleCreate(kCFAllocatorSystemDefault,bundleURL));
    if (!fOk) CFBaseDLL::print_URL("I_CFBundleDLL::LoadFromURL: ", bundleURL);
  }
  if (fOk) CoreMachDebugVerify(fOk = ::CFBundleLoadExecutable(mDLLHandle));
  return fOk;
}

bool I_CFBundleDLL::IsLoaded() const {
  return mDLLHandle != nullptr && ::CFBundleIsExecutableLoaded(mDLLHandle);
}

void* I_CFBundleDLL::FunctionPointerForName(char const* functionName) const {
  if (!functionName || !IsLoaded()) return nullptr;
  CFStringRef const name =
      ::CFStringCreateWithCString(kCFAllocatorDefault, functionName, kCFStringEncodingUTF8);
  if (!name) return nullptr;
  void* const address = ::CFBundleGetFunctionPointerForName(mDLLHandle, name);
  CFRelease(name);
  return address;
}

bool CFBundleDLL::LoadLocation(CFBaseDLL::Location where, CFStringRef dllName) {
  if (dllName && dllName != mDLLName) {
    ::CFRetain(dllName);
    if (mDLLName) CFRelease(mDLLName);
    mDLLName = dllName;
  }
  if (IsLoaded()) return true;
  CFURLRef bundleURL = CFBaseDLL::URLOfNameInLocation(mDLLName, where);
  bool fOk;
  CoreMachDebugVerify(fOk = T_Executable::LoadFromURL(bundleURL));
  if (bundleURL) CFRelease(bundleURL);
  return fOk;
}
