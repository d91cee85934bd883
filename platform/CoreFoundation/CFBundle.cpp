// Bundles over dlopen / dlsym.
//
// Where a bundle's executable is found:
// - "Name.framework": "<url>/Name" when that file exists, else "libName.so" beside the
//   framework folder when that exists, else "libName.so" by name through the dynamic
//   linker's own search (the program's run path, LD_LIBRARY_PATH, the system library
//   folders). "System.framework" is the C library, "libc.so.6".
// - any other URL naming an existing file: that file is the executable; an existing folder
//   "X" holds its executable as "X/X"; a URL naming nothing gives no bundle.
// The main bundle is the running program (/proc/self/exe); its folders are those of an
// installed program beside its bin folder:
//   private frameworks  <exe dir>/../lib/tavelo
//   shared frameworks   <exe dir>/../lib
//   resources           <exe dir>/../share/tavelo
//   built-in plug-ins   <exe dir>/../lib/tavelo/plugins
//   support files       <exe dir>/..
// Other bundles keep those folders inside themselves (Frameworks, SharedFrameworks,
// Resources, PlugIns, and the bundle folder itself).
// A loaded executable is never unloaded: function pointers handed out stay valid.
#include "CFObject.h"

#include <climits>
#include <cstdio>
#include <cstring>
#include <dlfcn.h>
#include <filesystem>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

namespace {

CFTypeID BundleTypeID() {
  static CFTypeID const typeID = CFObjectRegisterType("CFBundle");
  return typeID;
}

bool IsFile(std::string const& path) {
  struct stat info {};
  return ::stat(path.c_str(), &info) == 0 && S_ISREG(info.st_mode);
}

bool IsFolder(std::string const& path) {
  struct stat info {};
  return ::stat(path.c_str(), &info) == 0 && S_ISDIR(info.st_mode);
}

std::string Normal(std::string const& path) {
  std::string out = std::filesystem::path(path).lexically_normal().string();
  while (out.size() > 1 && out.back() == '/') out.pop_back();
  return out;
}

CFURLRef FolderURL(std::string const& path) {
  return CFURLCreateFromFileSystemRepresentation(
      kCFAllocatorDefault, reinterpret_cast<UInt8 const*>(path.data()), CFIndex(path.size()), true);
}

CFURLRef FileURL(std::string const& path) {
  return CFURLCreateFromFileSystemRepresentation(
      kCFAllocatorDefault, reinterpret_cast<UInt8 const*>(path.data()), CFIndex(path.size()), false);
}

}  // namespace

struct __CFBundle final : CFObject {
  __CFBundle() : CFObject(BundleTypeID()) {}

  std::string Describe() const override {
    char head[64];
    std::snprintf(head, sizeof head, "<CFBundle %p>", static_cast<void const*>(this));
    return std::string(head) + "{path = " + mPath + ", executable = " + mExecutable +
           (mHandle ? ", loaded}" : ", not loaded}");
  }

  std::string mPath;        // the bundle's own path
  std::string mExecutable;  // a path, or a bare name for the dynamic linker's search
  std::string mMainFolder;  // the executable's folder, for the main bundle only
  void* mHandle = nullptr;
};

namespace {

__CFBundle* AsBundle(CFBundleRef bundle) {
  return CFObjectCast<__CFBundle>(bundle, BundleTypeID());
}

// Where the executable of a bundle at path lives; false when there is no such bundle.
bool ExecutableFor(std::string const& path, std::string& executable) {
  std::filesystem::path const p(path);
  std::string const name = p.filename().string();
  std::string const suffix = ".framework";
  if (name.size() > suffix.size() && name.compare(name.size() - suffix.size(), suffix.size(), suffix) == 0) {
    std::string const stem = name.substr(0, name.size() - suffix.size());
    if (stem == "System") {
      executable = "libc.so.6";
    } else if (IsFile(path + "/" + stem)) {
      executable = path + "/" + stem;
    } else if (std::string const beside = p.parent_path().string() + "/lib" + stem + ".so"; IsFile(beside)) {
      executable = beside;
    } else {
      executable = "lib" + stem + ".so";
    }
    return true;
  }
  if (IsFile(path)) {
    executable = path;
    return true;
  }
  if (IsFolder(path)) {
    executable = IsFile(path + "/" + name) ? path + "/" + name : std::string();
    return true;
  }
  return false;
}

CFURLRef MainFolderURL(CFBundleRef bundle, char const* relative) {
  __CFBundle const* b = AsBundle(bundle);
  if (!b) return nullptr;
  if (!b->mMainFolder.empty()) return FolderURL(Normal(b->mMainFolder + "/" + relative));
  return nullptr;
}

// A folder of a bundle: the main bundle's mapped folder, or one inside another bundle.
CFURLRef BundleFolderURL(CFBundleRef bundle, char const* mainRelative, char const* inside) {
  __CFBundle const* b = AsBundle(bundle);
  if (!b) return nullptr;
  if (!b->mMainFolder.empty()) return MainFolderURL(bundle, mainRelative);
  return FolderURL(*inside ? b->mPath + "/" + inside : b->mPath);
}

}  // namespace

CFTypeID CFBundleGetTypeID() { return BundleTypeID(); }

CFBundleRef CFBundleCreate(CFAllocatorRef, CFURLRef bundleURL) {
  UInt8 path[PATH_MAX];
  if (!bundleURL || !CFURLGetFileSystemRepresentation(bundleURL, true, path, sizeof path))
    return nullptr;
  std::string const bundlePath = Normal(reinterpret_cast<char const*>(path));
  std::string executable;
  if (!ExecutableFor(bundlePath, executable)) return nullptr;
  auto* bundle = new __CFBundle;
  bundle->mPath = bundlePath;
  bundle->mExecutable = executable;
  return bundle;
}

CFBundleRef CFBundleGetMainBundle() {
  // The main bundle lives for the whole process.
  static __CFBundle* const main = [] {
    auto* bundle = new __CFBundle;
    bundle->mImmortal = true;
    char exe[PATH_MAX] = {};
    ssize_t const length = ::readlink("/proc/self/exe", exe, sizeof exe - 1);
    if (length > 0) {
      exe[length] = 0;
      bundle->mExecutable = exe;
      bundle->mMainFolder = std::filesystem::path(exe).parent_path().string();
      bundle->mPath = bundle->mMainFolder;
    }
    bundle->mHandle = ::dlopen(nullptr, RTLD_NOW);
    return bundle;
  }();
  return main;
}

Boolean CFBundleLoadExecutable(CFBundleRef bundle) {
  __CFBundle* b = AsBundle(bundle);
  if (!b) return false;
  if (b->mHandle) return true;
  if (b->mExecutable.empty()) return false;
  // Everything resolved now, so a library that cannot be bound fails here, not at a call.
  b->mHandle = ::dlopen(b->mExecutable.c_str(), RTLD_NOW | RTLD_LOCAL);
  return b->mHandle != nullptr;
}

Boolean CFBundleIsExecutableLoaded(CFBundleRef bundle) {
  __CFBundle const* b = AsBundle(bundle);
  return b && b->mHandle != nullptr;
}

void* CFBundleGetFunctionPointerForName(CFBundleRef bundle, CFStringRef functionName) {
  __CFBundle* b = AsBundle(bundle);
  if (!b || !functionName) return nullptr;
  if (!CFBundleLoadExecutable(bundle)) return nullptr;
  char name[256];
  if (!CFStringGetCString(functionName, name, sizeof name, kCFStringEncodingUTF8)) return nullptr;
  return ::dlsym(b->mHandle, name);
}

CFURLRef CFBundleCopyBundleURL(CFBundleRef bundle) {
  __CFBundle const* b = AsBundle(bundle);
  return b && !b->mPath.empty() ? FolderURL(b->mPath) : nullptr;
}

CFURLRef CFBundleCopyExecutableURL(CFBundleRef bundle) {
  __CFBundle const* b = AsBundle(bundle);
  // An executable left to the dynamic linker's search has no path yet.
  if (!b || b->mExecutable.empty() || b->mExecutable[0] != '/') return nullptr;
  return FileURL(b->mExecutable);
}

CFURLRef CFBundleCopyPrivateFrameworksURL(CFBundleRef bundle) {
  return BundleFolderURL(bundle, "../lib/tavelo", "Frameworks");
}

CFURLRef CFBundleCopySharedFrameworksURL(CFBundleRef bundle) {
  return BundleFolderURL(bundle, "../lib", "SharedFrameworks");
}

CFURLRef CFBundleCopyResourcesDirectoryURL(CFBundleRef bundle) {
  return BundleFolderURL(bundle, "../share/tavelo", "Resources");
}

CFURLRef CFBundleCopyBuiltInPlugInsURL(CFBundleRef bundle) {
  return BundleFolderURL(bundle, "../lib/tavelo/plugins", "PlugIns");
}

CFURLRef CFBundleCopySupportFilesDirectoryURL(CFBundleRef bundle) {
  return BundleFolderURL(bundle, "..", "");
}
